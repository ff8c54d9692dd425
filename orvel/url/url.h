// URL: a URL reference as a value, parsed by RFC 3986 (through uriparser) and kept with
// its absolute string. Link cleaning, the link filter and resolution against a base page
// build on it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "orvel/text/cf_encodings.h"

struct UriUriStructA;

namespace orvel {

class URL {
 public:
  // Nullopt when the text is not a URL reference (for example, it holds a space or a
  // character outside ASCII that is not percent-escaped).
  [[nodiscard]] static std::optional<URL> URLWithString(std::u16string_view text);
  // A file URL for a path: "file://" and the path with the characters a URL path may not
  // hold percent-escaped; a relative path is taken from the current folder.
  [[nodiscard]] static URL fileURLWithPath(const std::filesystem::path& path);
  // A file URL for a string starting with "/" or "~" (a path), else URLWithString.
  [[nodiscard]] static std::optional<URL> URLWithStringOrPath(std::u16string_view text);
  // A URL from a cleaned link (normalizedStringURL): as it is when it parses; mail and
  // message links give none; otherwise with "%22" back to quotes and then percent-escaped
  // in `encoding` (UTF-8 by default) where a URL may not hold a character.
  [[nodiscard]] static std::optional<URL> URLWithNormalizedStringURL(
      std::u16string_view text, NSStringEncoding encoding = NSUTF8StringEncoding);

  // A reference resolved against a base URL by RFC 3986 (section 5.2): "/b" against
  // "http://h/a/x" is "http://h/b", "c" is "http://h/a/c"; nullopt when either is no URL.
  [[nodiscard]] static std::optional<URL> URLWithStringRelativeToURL(std::u16string_view text,
                                                                     const URL& base);

  [[nodiscard]] const std::u16string& absoluteString() const { return _absoluteString; }
  // The parts, as written (not percent-decoded); empty when absent.
  [[nodiscard]] const std::u16string& scheme() const { return _scheme; }
  [[nodiscard]] const std::u16string& host() const { return _host; }
  [[nodiscard]] const std::u16string& path() const { return _path; }
  [[nodiscard]] bool isFileURL() const { return _scheme == u"file"; }
  // A remote web address: scheme http, https or feed (ftp, ftps and sftp too when
  // fileTransferSchemesEnabled()), and a host with a letter or digit and without "...".
  [[nodiscard]] bool isRemoteWebKitURL() const;

  friend bool operator==(const URL& a, const URL& b) {
    return a._absoluteString == b._absoluteString;
  }

 private:
  URL() = default;
  static URL fromParsed(std::u16string absoluteString, const UriUriStructA& uri);

  std::u16string _absoluteString;
  std::u16string _scheme;
  std::u16string _host;
  std::u16string _path;
};

}  // namespace orvel

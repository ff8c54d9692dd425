#include "orvel/url/url.h"

#include <algorithm>
#include <cstdlib>

#include <uriparser/Uri.h>

#include "orvel/base/utf8.h"
#include "orvel/text/character_sets.h"
#include "orvel/url/link_cleaning.h"

namespace orvel {
namespace {

std::u16string textOf(const UriTextRangeA& range) {
  if (range.first == nullptr || range.afterLast == nullptr) return {};
  return std::u16string(range.first, range.afterLast);  // ASCII: URL text is never wider
}

// The path segments joined by "/", absolute when the URI says so.
std::u16string pathOf(const UriUriA& uri) {
  std::u16string path;
  if (uri.absolutePath || uri.hostText.first != nullptr) path = u"/";
  for (const UriPathSegmentA* segment = uri.pathHead; segment != nullptr; segment = segment->next) {
    path += textOf(segment->text);
    if (segment->next != nullptr) path += u"/";
  }
  return path;
}

bool keptInPath(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~/!$&'()*+,;=:@").find(static_cast<char>(c)) !=
             std::string_view::npos;
}

}  // namespace

namespace {

// The text as ASCII, or nullopt when a unit is not (a URL reference never holds one).
std::optional<std::string> asciiOf(std::u16string_view text) {
  if (text.empty()) return std::nullopt;
  for (char16_t unit : text) {
    if (unit >= 0x80) return std::nullopt;
  }
  return std::string(text.begin(), text.end());
}

// Parses a reference; the caller frees the members when true.
bool parseReference(const std::string& ascii, UriUriA& uri) {
  const char* errorPosition = nullptr;
  return uriParseSingleUriA(&uri, ascii.c_str(), &errorPosition) == URI_SUCCESS;
}

}  // namespace

URL URL::fromParsed(std::u16string absoluteString, const UriUriA& uri) {
  URL url;
  url._absoluteString = std::move(absoluteString);
  url._scheme = textOf(uri.scheme);
  url._host = textOf(uri.hostText);
  url._path = pathOf(uri);
  return url;
}

std::optional<URL> URL::URLWithString(std::u16string_view text) {
  const auto ascii = asciiOf(text);
  UriUriA uri;
  if (!ascii || !parseReference(*ascii, uri)) return std::nullopt;
  URL url = fromParsed(std::u16string(text), uri);
  uriFreeUriMembersA(&uri);
  return url;
}

std::optional<URL> URL::URLWithStringRelativeToURL(std::u16string_view text, const URL& base) {
  const auto ascii = asciiOf(text);
  const auto baseAscii = asciiOf(base._absoluteString);
  UriUriA reference, baseUri, resolved;
  if (!ascii || !baseAscii || !parseReference(*ascii, reference)) return std::nullopt;
  std::optional<URL> url;
  if (parseReference(*baseAscii, baseUri)) {
    if (uriAddBaseUriA(&resolved, &reference, &baseUri) == URI_SUCCESS) {
      int length = 0;
      if (uriToStringCharsRequiredA(&resolved, &length) == URI_SUCCESS) {
        std::string written(static_cast<std::size_t>(length) + 1, '\0');
        if (uriToStringA(written.data(), &resolved, length + 1, nullptr) == URI_SUCCESS) {
          written.resize(static_cast<std::size_t>(length));
          url = fromParsed(std::u16string(written.begin(), written.end()), resolved);
        }
      }
      uriFreeUriMembersA(&resolved);
    }
    uriFreeUriMembersA(&baseUri);
  }
  uriFreeUriMembersA(&reference);
  return url;
}

URL URL::fileURLWithPath(const std::filesystem::path& path) {
  const std::string absolute = std::filesystem::absolute(path).lexically_normal().string();
  std::u16string escaped;
  static constexpr char kHex[] = "0123456789ABCDEF";
  for (unsigned char c : absolute) {
    if (keptInPath(c)) {
      escaped += static_cast<char16_t>(c);
    } else {
      escaped += u'%';
      escaped += static_cast<char16_t>(kHex[c >> 4]);
      escaped += static_cast<char16_t>(kHex[c & 15]);
    }
  }
  URL url;
  url._absoluteString = u"file://" + escaped;
  url._scheme = u"file";
  url._path = escaped;
  return url;
}

std::optional<URL> URL::URLWithStringOrPath(std::u16string_view text) {
  if (text.empty()) return std::nullopt;
  if (text.front() == u'/' || text.front() == u'~') {
    std::string path = utf16ToUtf8(text);
    if (path.front() == '~') {
      const char* home = std::getenv("HOME");
      path = std::string(home != nullptr ? home : "") + path.substr(1);
    }
    return fileURLWithPath(path);
  }
  return URLWithString(text);
}

std::optional<URL> URL::URLWithNormalizedStringURL(std::u16string_view text,
                                                   NSStringEncoding encoding) {
  if (text.empty()) return std::nullopt;
  if (auto url = URLWithStringOrPath(text)) return url;
  if (isMailStringURL(text)) return std::nullopt;
  std::u16string unescaped(text);
  if (unescaped.find(u'"') != std::u16string::npos) {
    for (std::size_t at = unescaped.find(u"%22"); at != std::u16string::npos;
         at = unescaped.find(u"%22", at + 1)) {
      unescaped.replace(at, 3, u"\"");
    }
  }
  const auto escaped = stringByAddingPercentEscapesToURL(unescaped, encoding);
  if (!escaped) return std::nullopt;
  return URLWithStringOrPath(*escaped);
}

bool URL::isRemoteWebKitURL() const {
  std::u16string scheme = _scheme;
  for (char16_t& c : scheme) {
    if (c >= u'A' && c <= u'Z') c += 32;
  }
  const bool fileTransfer = fileTransferSchemesEnabled();
  const bool remote =
      scheme == u"https" || scheme == u"http" || scheme == u"feed" ||
      (fileTransfer && (scheme == u"ftps" || scheme == u"sftp" || scheme == u"ftp"));
  if (!remote || _host.empty()) return false;
  const bool alphaNum = std::any_of(_host.begin(), _host.end(), [](char16_t c) {
    return isMemberOfCharacterSetRep(alphaNumCharacterSetRep(), c);
  });
  return alphaNum && _host.find(u"...") == std::u16string::npos;
}

}  // namespace orvel

#include "orvel/formats/markdown_files.h"

#include <algorithm>

#include "orvel/base/file_bytes.h"
#include "orvel/base/file_extension.h"
#include "orvel/base/utf8.h"
#include "orvel/formats/file_operations.h"
#include "orvel/text/encoding_converters.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

bool equalsNoCase(std::u16string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char16_t x, char y) {
           return (x < 0x80 ? static_cast<char16_t>(std::tolower(x)) : x) ==
                  static_cast<char16_t>(y);
         });
}

bool endsWithNoCase(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         std::equal(suffix.begin(), suffix.end(), text.end() - static_cast<long>(suffix.size()),
                    [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

bool beginsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), text.begin(),
                    [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

// The folder's entries, sorted by name (listings come in no particular order).
std::vector<fs::path> sortedEntries(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) entries.push_back(entry.path());
  std::sort(entries.begin(), entries.end());
  return entries;
}

std::optional<std::u16string> decodeFileBytes(const std::string& bytes,
                                              std::optional<NSStringEncoding> encoding,
                                              NSStringEncoding* usedEncoding) {
  const auto report = [&](NSStringEncoding used) {
    if (usedEncoding != nullptr) *usedEncoding = used;
  };
  if (encoding) {
    const CFStringEncoding cf = cfStringEncodingFromNSStringEncoding(*encoding);
    std::u16string text(bytes.size() + 1, u'\0');
    std::size_t written = 0;
    if (convertEncodingToUnicode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                                 cf, text.data(), text.size(), &written) != 1) {
      return std::nullopt;
    }
    text.resize(written);
    report(*encoding);
    return text;
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) {
    report(NSUTF8StringEncoding);
    return utf8ToUtf16Lenient(std::string_view(bytes).substr(3));
  }
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    const bool little = bytes[0] == '\xFF';
    report(nsStringEncodingFromCFStringEncoding(little ? kCFStringEncodingUTF16LE
                                                       : kCFStringEncodingUTF16BE));
    std::u16string text;
    for (std::size_t k = 2; k + 1 < bytes.size(); k += 2) {
      const auto first = static_cast<unsigned char>(bytes[k]);
      const auto second = static_cast<unsigned char>(bytes[k + 1]);
      text += static_cast<char16_t>(little ? first | second << 8 : first << 8 | second);
    }
    return text;
  }
  if (isValidUtf8(bytes)) {
    report(NSUTF8StringEncoding);
    return utf8ToUtf16Lenient(bytes);
  }
  report(nsStringEncodingFromCFStringEncoding(kCFStringEncodingWindowsLatin1));
  return decodeStringLeniently(bytes, kCFStringEncodingWindowsLatin1);
}

// The first "text.*" file of a bundle folder.
std::optional<fs::path> textFileOfBundle(const fs::path& bundle) {
  for (const fs::path& entry : sortedEntries(bundle)) {
    if (beginsWithNoCase(entry.filename().string(), "text.")) return entry;
  }
  return std::nullopt;
}

// "NAME.textbundle/text.EXT" at the top of a pack (a leading "./" aside).
bool isBundleTextEntry(const std::string& entryPath) {
  fs::path path = fs::path(entryPath).lexically_normal();
  std::vector<std::string> parts;
  for (const fs::path& part : path) {
    if (!part.empty() && part != ".") parts.push_back(part.string());
  }
  return parts.size() == 2 && endsWithNoCase(parts[0], ".textbundle") &&
         beginsWithNoCase(parts[1], "text.");
}

}  // namespace

const std::vector<std::u16string>& MarkDownFileTypes() {
  static const std::vector<std::u16string> types = {
      u"markdown", u"MARKDOWN", u"mdtext", u"MDTEXT", u"mkdown",  u"MKDOWN",
      u"mdown",    u"MDOWN",    u"mark",   u"MARK",   u"mdwn",    u"MDWN",
      u"mmd",      u"MMD",      u"md",     u"MD",     u"textile", u"TEXTILE"};
  return types;
}

bool isMarkDownExtension(std::optional<std::u16string_view> extension,
                         std::optional<std::u16string_view>) {
  if (!extension) return false;
  switch (extension->size()) {
    case 2: return equalsNoCase(*extension, "md");
    case 3: return equalsNoCase(*extension, "mmd");
    case 4: return equalsNoCase(*extension, "mdwn") || equalsNoCase(*extension, "mark");
    case 5: return equalsNoCase(*extension, "mdown");
    case 6: return equalsNoCase(*extension, "mdtext") || equalsNoCase(*extension, "mkdown");
    case 7: return equalsNoCase(*extension, "textile");
    case 8: return equalsNoCase(*extension, "markdown");
    default: return false;
  }
}

bool isMarkDownFile(const fs::path& path) { return isMarkDownExtension(fileExtensionUnits(path)); }

const std::vector<std::u16string>& TextBundleFileTypes() {
  static const std::vector<std::u16string> types = {u"textbundle", u"TEXTBUNDLE", u"textpack",
                                                    u"TEXTPACK"};
  return types;
}

bool isTextBundleExtension(std::optional<std::u16string_view> extension,
                           std::optional<std::u16string_view>) {
  return extension &&
         (equalsNoCase(*extension, "textbundle") || equalsNoCase(*extension, "textpack"));
}

bool isTextBundleFile(const fs::path& path) {
  return isTextBundleExtension(fileExtensionUnits(path));
}

std::optional<std::u16string> stringWithContentsOfFile(const fs::path& path,
                                                       std::optional<NSStringEncoding> encoding,
                                                       NSStringEncoding* usedEncoding) {
  const std::optional<std::string> bytes = bytesOfFile(path);
  if (!bytes) return std::nullopt;
  return decodeFileBytes(*bytes, encoding, usedEncoding);
}

std::optional<std::u16string> stringWithContentsOfTextBundleFile(
    const fs::path& path, std::optional<NSStringEncoding> encoding,
    NSStringEncoding* usedEncoding) {
  const std::string name = path.string();
  if (endsWithNoCase(name, ".textbundle")) {
    const auto text = textFileOfBundle(path);
    if (!text) return std::nullopt;
    return stringWithContentsOfFile(*text, encoding, usedEncoding);
  }
  if (endsWithNoCase(name, ".textpack")) {
    const auto bytes = readArchiveEntry(path, isBundleTextEntry);
    if (!bytes) return std::nullopt;
    return decodeFileBytes(*bytes, encoding, usedEncoding);
  }
  return std::nullopt;
}

bool decompressTextBundleFile(const fs::path& source, const fs::path& destination,
                              std::string* error) {
  const auto fail = [&](const std::string& why) {
    if (error != nullptr) *error = why;
    return false;
  };
  if (source.empty() || destination.empty()) return fail("no source or destination");
  const std::string name = source.string();
  std::error_code failure;
  if (endsWithNoCase(name, ".textbundle")) {
    if (!fs::exists(destination, failure)) {
      fs::copy(source, destination, fs::copy_options::recursive, failure);
      if (!failure) return true;
    }
  }
  if (!endsWithNoCase(name, ".textpack")) {
    return fail(endsWithNoCase(name, ".textbundle")
                    ? "cannot be copied to " + destination.string() +
                          (failure ? ": " + failure.message() : ": it exists")
                    : "not a .textbundle folder or .textpack archive");
  }
  const fs::path folder = destination.parent_path().empty() ? "." : destination.parent_path();
  std::string why;
  if (!decompressFileAtPath(source, folder, {}, &why)) return fail(why);
  for (const fs::path& entry : sortedEntries(folder)) {
    if (!endsWithNoCase(entry.filename().string(), ".textbundle")) continue;
    const std::string here = entry.string(), wanted = (folder / destination.filename()).string();
    if (here.size() == wanted.size() && beginsWithNoCase(here, wanted)) return true;
    fs::rename(entry, destination, failure);
    return failure ? fail("cannot be moved to " + destination.string() + ": " + failure.message())
                   : true;
  }
  return fail("holds no .textbundle folder");
}

}  // namespace orvel

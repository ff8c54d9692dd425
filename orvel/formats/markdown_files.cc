#include "orvel/formats/markdown_files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>

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

// Whether the path names a regular file or a real folder itself, not through a link.
bool isRegularFile(const fs::path& path) {
  std::error_code error;
  return fs::symlink_status(path, error).type() == fs::file_type::regular;
}
bool isRealFolder(const fs::path& path) {
  std::error_code error;
  return fs::symlink_status(path, error).type() == fs::file_type::directory;
}

// The first "text.*" file of a bundle folder. Only a regular file counts: a bundle may come
// from anywhere, and its text as a link could show any file, as a FIFO hang the reader.
std::optional<fs::path> textFileOfBundle(const fs::path& bundle) {
  for (const fs::path& entry : sortedEntries(bundle)) {
    if (beginsWithNoCase(entry.filename().string(), "text.") && isRegularFile(entry)) return entry;
  }
  return std::nullopt;
}

// Removes a folder and everything in it when it goes (links are removed, not followed).
class FolderRemover {
 public:
  explicit FolderRemover(fs::path folder) : _folder(std::move(folder)) {}
  ~FolderRemover() {
    std::error_code ignored;
    fs::remove_all(_folder, ignored);
  }
  FolderRemover(const FolderRemover&) = delete;
  FolderRemover& operator=(const FolderRemover&) = delete;

 private:
  fs::path _folder;
};

// A fresh folder of mode 0700 in `parent` (made when missing), hidden by its name; nullopt
// when none can be made.
std::optional<fs::path> privateFolderIn(const fs::path& parent) {
  std::error_code ignored;  // a failure shows below
  fs::create_directories(parent, ignored);
  std::string pattern = (parent / ".orvel-unpacking-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) return std::nullopt;
  return fs::path(pattern);
}

// Unpacks a pack into a private folder beside the destination (on its file system, so that
// the bundle can be renamed out of it), and moves the pack's first bundle folder (by name) to
// the destination, or beside it under its own name when that is the destination's in another
// case. Nothing else the pack holds leaves the private folder, which goes; nothing already
// there is replaced. Symbolic links are refused.
bool unpackTextPack(const fs::path& pack, const fs::path& destination, std::string& error) {
  const fs::path parent = destination.parent_path().empty() ? "." : destination.parent_path();
  std::error_code failure;
  if (fs::exists(fs::symlink_status(destination, failure))) {
    error = destination.string() + ": already exists";
    return false;
  }
  const auto folder = privateFolderIn(parent);
  if (!folder) {
    error = parent.string() + ": cannot make a folder to unpack into: " + std::strerror(errno);
    return false;
  }
  const FolderRemover remover(*folder);
  // The bundle is moved out of the folder it was unpacked into, and a link of it that led
  // to a sibling there would then lead into the user's folder: a bundle needs no links.
  if (!decompressFileAtPath(pack, *folder, {.symbolicLinks = false}, &error)) return false;
  for (const fs::path& entry : sortedEntries(*folder)) {
    const std::string name = entry.filename().string();
    if (!endsWithNoCase(name, ".textbundle") || !isRealFolder(entry)) continue;
    const std::string wanted = destination.filename().string();
    const bool sameName = name.size() == wanted.size() && beginsWithNoCase(name, wanted);
    const fs::path target = sameName ? parent / name : destination;
    if (::renameat2(AT_FDCWD, entry.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0) {
      error = "cannot be moved to " + target.string() + ": " + std::strerror(errno);
      return false;
    }
    return true;
  }
  error = "holds no .textbundle folder";
  return false;
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
    const fs::path& path, std::optional<NSStringEncoding> encoding, NSStringEncoding* usedEncoding,
    std::string* error) {
  const auto none = [error](const std::string& why) {
    if (error != nullptr) *error = why;
    return std::nullopt;
  };
  const std::string name = path.string();
  std::optional<std::string> bytes;
  if (endsWithNoCase(name, ".textbundle")) {
    std::error_code missing;
    if (!fs::is_directory(path, missing)) return none("no such bundle folder");
    const auto text = textFileOfBundle(path);
    if (!text) return none("no text.* file in the bundle (a regular file, not a link)");
    int reason = 0;
    bytes = bytesOfFile(*text, &reason, {.regularFileOnly = true});
    if (!bytes) return none(text->filename().string() + ": " + std::strerror(reason));
  } else if (endsWithNoCase(name, ".textpack")) {
    std::string why;
    bytes = readArchiveEntry(path, isBundleTextEntry, {}, &why);
    if (!bytes && why == "no entry wanted") return none("no NAME.textbundle/text.* in the pack");
    if (!bytes) return none(why);
  } else {
    return none("not a .textbundle folder or .textpack archive");
  }
  auto text = decodeFileBytes(*bytes, encoding, usedEncoding);
  if (!text) return none("bytes not in the encoding asked for");
  return text;
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
    if (!fs::exists(fs::symlink_status(destination, failure))) {
      // Links inside are copied as links: a bundle's link is no reason to copy what it shows.
      fs::copy(source, destination, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
               failure);
      if (!failure) return true;
    }
  }
  if (!endsWithNoCase(name, ".textpack")) {
    return fail(endsWithNoCase(name, ".textbundle")
                    ? "cannot be copied to " + destination.string() +
                          (failure ? ": " + failure.message() : ": it exists")
                    : "not a .textbundle folder or .textpack archive");
  }
  std::string why;
  return unpackTextPack(source, destination, why) || fail(why);
}

}  // namespace orvel

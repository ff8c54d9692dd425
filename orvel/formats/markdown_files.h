// Markdown files and TextBundle documents: recognising them by their extensions, and the
// text of a bundle, whether a ".textbundle" folder (its text is the file whose name begins
// with "text.") or a ".textpack" archive of one (a ZIP; read without unpacking it).
// Rendering Markdown is not done here.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/text/cf_encodings.h"

namespace orvel {

// markdown, mdtext, mkdown, mdown, mark, mdwn, mmd, md, textile, each in lower and upper case.
[[nodiscard]] const std::vector<std::u16string>& MarkDownFileTypes();
// An extension (without its dot) of 2 to 8 units that is one of those, in any case. The type
// (a file type code of the platform this library comes from) is not consulted.
[[nodiscard]] bool isMarkDownExtension(std::optional<std::u16string_view> extension,
                                       std::optional<std::u16string_view> type = std::nullopt);
[[nodiscard]] bool isMarkDownFile(const std::filesystem::path& path);

// textbundle, TEXTBUNDLE, textpack, TEXTPACK.
[[nodiscard]] const std::vector<std::u16string>& TextBundleFileTypes();
// "textbundle" or "textpack" in any case.
[[nodiscard]] bool isTextBundleExtension(std::optional<std::u16string_view> extension,
                                         std::optional<std::u16string_view> type = std::nullopt);
[[nodiscard]] bool isTextBundleFile(const std::filesystem::path& path);

// The text of a file: decoded in `encoding` when one is given (nullopt when the bytes are not
// valid in it), else by its byte-order mark, else as UTF-8 when valid, else as Windows
// Latin 1; *usedEncoding (when given) receives the encoding read. nullopt when the file
// cannot be read.
[[nodiscard]] std::optional<std::u16string> stringWithContentsOfFile(
    const std::filesystem::path& path, std::optional<NSStringEncoding> encoding = std::nullopt,
    NSStringEncoding* usedEncoding = nullptr);

// The text of a bundle, read as stringWithContentsOfFile reads it: in a ".textbundle" folder
// the first file (by name) whose name begins with "text." in any case; in a ".textpack" the
// same file of the bundle inside, the last bundle winning when there are several. nullopt for
// any other path, a bundle without such a file, or an archive that cannot be read, with
// *error (when given) saying which in one line. Only a regular file is read as a folder's
// text (never a link, FIFO or device), and at most kMaxFileBytes of it.
[[nodiscard]] std::optional<std::u16string> stringWithContentsOfTextBundleFile(
    const std::filesystem::path& path, std::optional<NSStringEncoding> encoding = std::nullopt,
    NSStringEncoding* usedEncoding = nullptr, std::string* error = nullptr);

// Makes a ".textbundle" folder stand at `destination`: a bundle folder is copied there (its
// links as links); a pack is unpacked (safely, see file_operations.h, and without symbolic
// links) into a fresh private folder beside the destination, its first ".textbundle" folder
// (by name) is moved to the destination, or beside it under its own name when that is the
// destination's in another case, and the rest is removed. An existing destination is left
// alone. False on any failure, with *error (when given) saying why in one line.
bool decompressTextBundleFile(const std::filesystem::path& source,
                              const std::filesystem::path& destination,
                              std::string* error = nullptr);

}  // namespace orvel

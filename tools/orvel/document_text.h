// The text of a document, as the search commands see it. Plain text and Markdown are read
// as UTF-8 (a leading byte-order mark is dropped); other document types extend this one
// function.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvel::cli {

struct DocumentText {
  std::string bytes;                   // the file as read
  std::optional<std::u16string> text;  // nullopt when the bytes are not text
  std::string notTextReason;           // why, for --verbose
};

// The file's bytes; throws CommandError when it cannot be read.
[[nodiscard]] std::string readDocumentBytes(const std::filesystem::path& path);

// The text of bytes read from a document: UTF-8 without NUL bytes.
[[nodiscard]] DocumentText documentText(std::string bytes);

}  // namespace orvel::cli

// The text of a document, as the search commands see it. Plain text and Markdown are read
// as UTF-8 (a leading byte-order mark is dropped); other document types extend this one
// function.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace orvel::cli {

struct DocumentText {
  std::string bytes;                   // the file as read
  std::optional<std::u16string> text;  // nullopt when the bytes are not text
  std::string notTextReason;           // why, for --verbose
};

// Reads a document's bytes, all at once or a prefix first; throws CommandError when the
// file cannot be opened or read.
class DocumentReader {
 public:
  explicit DocumentReader(const std::filesystem::path& path);
  ~DocumentReader();
  DocumentReader(const DocumentReader&) = delete;
  DocumentReader& operator=(const DocumentReader&) = delete;

  // Reads on until at least `size` bytes are read or the file ends; answers the bytes so far.
  const std::string& readAtLeast(std::size_t size);
  // Reads the rest.
  std::string readAll();
  [[nodiscard]] bool atEnd() const { return _atEnd; }

 private:
  std::filesystem::path _path;
  int _fd = -1;
  std::size_t _size = 0;  // as the file reported it when opened
  std::string _bytes;
  bool _atEnd = false;
};

// Why bytes read from a document are not its text (NUL bytes, or invalid UTF-8 at an
// offset), or "" when they are.
[[nodiscard]] std::string whyNotText(std::string_view bytes);

// The text of bytes read from a document: UTF-8 without NUL bytes.
[[nodiscard]] DocumentText documentText(std::string bytes);

}  // namespace orvel::cli

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

// A document is text when its first kTextSniffBytes bytes (after a byte-order mark) hold
// no NUL byte and are well-formed UTF-8, a character cut by the end of that window aside:
// the test grep tools make, so that a search that has read a few kilobytes knows what the
// whole file is. The rest is decoded leniently: an ill-formed sequence there reads as
// U+FFFD, and a NUL byte as U+0000 (both separate words).
inline constexpr std::size_t kTextSniffBytes = 4096;
// Bytes that are always enough to decide: the window, a byte-order mark before it, and a
// character that its end may cut.
inline constexpr std::size_t kBytesDecidingText = 3 + kTextSniffBytes + 4;

// Why a document whose bytes begin so is not text (NUL bytes, or invalid UTF-8 at an
// offset), or "" when it is; `bytes` is the whole document or at least its first
// kBytesDecidingText bytes.
[[nodiscard]] std::string whyNotText(std::string_view bytes);

// The text of a document known to be text by the rule above, decoded leniently.
[[nodiscard]] std::u16string decodeDocumentText(std::string_view bytes);

// The text of bytes read from a document, by the rule above.
[[nodiscard]] DocumentText documentText(std::string bytes);

}  // namespace orvel::cli

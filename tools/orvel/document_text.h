// Reading documents for the commands: a reader that can stop after a prefix, and the text
// of an input named on the command line, with errors as the commands report them. The kinds
// of documents and how each is read are the library's (orvel/formats/documents.h).
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "orvel/formats/documents.h"
#include "orvel/markup/web_page.h"

namespace orvel::cli {

// Reads a document's bytes, all at once or a prefix first; throws CommandError when the
// file cannot be opened or read. The bytes go into this thread's read buffer, which is
// reused from file to file and keeps its largest size, so that reading costs no allocation
// and no clearing per file: the views answered stay valid until the next reader of the
// thread reads.
class DocumentReader {
 public:
  explicit DocumentReader(const std::filesystem::path& path);
  ~DocumentReader();
  DocumentReader(const DocumentReader&) = delete;
  DocumentReader& operator=(const DocumentReader&) = delete;

  // Reads on until at least `size` bytes are read or the file ends; answers the bytes so far.
  std::string_view readAtLeast(std::size_t size);
  // Reads the rest; answers every byte. A file larger than kMaxInputBytes is refused.
  std::string_view readAll();
  [[nodiscard]] bool atEnd() const { return _atEnd; }

 private:
  std::filesystem::path _path;
  int _fd = -1;
  std::size_t _read = 0;  // bytes in the thread's buffer
  bool _atEnd = false;
};

// The text of an input (a FILE, or stdin for "-") by the rules above; throws CommandError
// naming it when it cannot be read or is not text (told by its first bytes when they can).
[[nodiscard]] std::u16string readDocumentText(const std::string& input);

// A web page or feed given as an input, read in its own encoding; throws CommandError naming
// it when it cannot be read or is binary (told by its first bytes).
[[nodiscard]] WebPage readWebPageInput(const std::string& input);

}  // namespace orvel::cli

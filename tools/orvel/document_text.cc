#include "tools/orvel/document_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/formats/markdown_files.h"

#include "tools/orvel/command_support.h"

namespace orvel::cli {

DocumentReader::DocumentReader(const std::filesystem::path& path) : _path(path) {
  _fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (_fd < 0) throw CommandError(path.string(), std::strerror(errno));
  struct stat info {};
  if (::fstat(_fd, &info) == 0 && info.st_size > 0) _size = static_cast<std::size_t>(info.st_size);
}

DocumentReader::~DocumentReader() { ::close(_fd); }

const std::string& DocumentReader::readAtLeast(std::size_t size) {
  while (!_atEnd && _bytes.size() < size) {
    const std::size_t have = _bytes.size();
    const std::size_t want = size - have;  // straight into the string
    _bytes.resize(have + want);
    const ssize_t n = ::read(_fd, _bytes.data() + have, want);
    if (n < 0 && errno == EINTR) {
      _bytes.resize(have);
      continue;
    }
    if (n < 0) {
      const int error = errno;
      _bytes.resize(have);
      throw CommandError(_path.string(), std::strerror(error));
    }
    _bytes.resize(have + static_cast<std::size_t>(n));
    _atEnd = n == 0;
  }
  return _bytes;
}

std::string DocumentReader::readAll() {
  // One more byte than the file reported, so that the end shows at once.
  while (!_atEnd) readAtLeast(std::max(_size + 1, 2 * _bytes.size() + 4096));
  return std::move(_bytes);
}

std::u16string readDocumentText(const std::string& input) {
  if (input != "-" && isTextBundleFile(input)) {
    DocumentText bundle = textBundleDocumentText(input);
    if (!bundle.text) throw CommandError(input, bundle.notTextReason);
    return std::move(*bundle.text);
  }
  std::string bytes = readAll(input);
  const DocumentKind kind =
      documentKind(input == "-" ? std::filesystem::path() : std::filesystem::path(input), bytes);
  DocumentText document = documentText(std::move(bytes), kind);
  if (!document.text) throw CommandError(displayName(input), document.notTextReason);
  return std::move(*document.text);
}

}  // namespace orvel::cli

#include "tools/orvel/document_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/formats/markdown_files.h"

#include "tools/orvel/command_support.h"

namespace orvel::cli {

namespace {

// This thread's read buffer: uninitialised bytes, grown by doubling, never shrunk.
struct ReadBuffer {
  std::unique_ptr<char[]> bytes;
  std::size_t capacity = 0;

  void reserve(std::size_t size, std::size_t keep) {
    if (size <= capacity) return;
    const std::size_t grown = std::max(size, 2 * capacity);
    auto larger = std::make_unique_for_overwrite<char[]>(grown);
    if (keep > 0) std::memcpy(larger.get(), bytes.get(), keep);
    bytes = std::move(larger);
    capacity = grown;
  }
};

ReadBuffer& threadBuffer() {
  thread_local ReadBuffer buffer;
  return buffer;
}

}  // namespace

DocumentReader::DocumentReader(const std::filesystem::path& path) : _path(path) {
  _fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (_fd < 0) throw CommandError(path.string(), std::strerror(errno));
  struct stat info {};
  if (::fstat(_fd, &info) == 0 && info.st_size > 0) _size = static_cast<std::size_t>(info.st_size);
}

DocumentReader::~DocumentReader() { ::close(_fd); }

std::string_view DocumentReader::readAtLeast(std::size_t size) {
  ReadBuffer& buffer = threadBuffer();
  while (!_atEnd && _read < size) {
    buffer.reserve(size, _read);
    const ssize_t n = ::read(_fd, buffer.bytes.get() + _read, size - _read);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw CommandError(_path.string(), std::strerror(errno));
    _read += static_cast<std::size_t>(n);
    _atEnd = n == 0;
  }
  return {buffer.bytes.get(), _read};
}

std::string_view DocumentReader::readAll() {
  // One more byte than the file reported, so that the end shows at once.
  while (!_atEnd) readAtLeast(std::max(_size + 1, _read + 4096));
  return readAtLeast(0);
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
  DocumentText document = documentText(bytes, kind);
  if (!document.text) throw CommandError(displayName(input), document.notTextReason);
  return std::move(*document.text);
}

}  // namespace orvel::cli

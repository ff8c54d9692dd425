#include "orvel/find/internal/document_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace orvel::internal {

ReadingThread::~ReadingThread() {
  if (_folderFd >= 0) ::close(_folderFd);
}

int ReadingThread::openFile(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash + 1 == path.size()) {
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  }
  const std::string_view folder(path.data(), slash == 0 ? 1 : slash);
  if (_folderFd < 0 || folder != _folder) {
    if (_folderFd >= 0) ::close(_folderFd);
    _folder.assign(folder);
    _folderFd = ::open(_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (_folderFd < 0) return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  }
  return ::openat(_folderFd, path.c_str() + slash + 1, O_RDONLY | O_CLOEXEC);
}

void ReadingThread::reserve(std::size_t size, std::size_t keep) {
  if (size <= _capacity) return;
  const std::size_t grown = std::max(size, 2 * _capacity);
  auto larger = std::make_unique_for_overwrite<char[]>(grown);
  if (keep > 0) std::memcpy(larger.get(), _bytes.get(), keep);
  _bytes = std::move(larger);
  _capacity = grown;
}

DocumentReader::DocumentReader(ReadingThread& thread, const std::string& path, bool stream)
    : _thread(thread), _stream(stream) {
  _fd = thread.openFile(path);
  if (_fd < 0) throw DocumentReadError{errno, std::strerror(errno)};
}

DocumentReader::~DocumentReader() { ::close(_fd); }

// Each read asks for at least kReadChunk bytes, so that most files come in one call; a read
// that brings fewer bytes than asked is the end of a regular file (a file growing meanwhile
// is read as it was), which spares the call that would answer 0 and a stat for the size.
constexpr std::size_t kReadChunk = std::size_t{64} << 10;

std::string_view DocumentReader::readAtLeast(std::size_t size) {
  while (!_atEnd && _read < size) {
    const std::size_t want = std::max(size - _read, kReadChunk);
    _thread.reserve(_read + want, _read);
    const ssize_t n = ::read(_fd, _thread._bytes.get() + _read, want);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw DocumentReadError{errno, std::strerror(errno)};
    _read += static_cast<std::size_t>(n);
    _atEnd = _stream ? n == 0 : static_cast<std::size_t>(n) < want;
  }
  return {_thread._bytes.get(), _read};
}

std::string_view DocumentReader::readAll() {
  const DocumentReadError tooLarge{0, "larger than 1 GiB, the most read"};
  while (!_atEnd) {
    if (_read > kMaxDocumentBytes) throw tooLarge;
    readAtLeast(std::min(2 * _read + kReadChunk, kMaxDocumentBytes + 1));
  }
  if (_read > kMaxDocumentBytes) throw tooLarge;
  return readAtLeast(0);
}

}  // namespace orvel::internal

#include "tools/orvel/document_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
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

// The folder this thread last opened a file in, kept open: a search opens the files of one
// folder one after another, and opening each by its name in the folder spares the kernel
// walking the whole path again for every file.
class FolderHandle {
 public:
  FolderHandle() = default;
  FolderHandle(const FolderHandle&) = delete;
  FolderHandle& operator=(const FolderHandle&) = delete;
  ~FolderHandle() { close(); }

  // Opens the file read-only, as open(2) would by its path; errno tells a failure.
  int openFile(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos || slash + 1 == path.size()) {
      return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    }
    const std::string_view folder(path.data(), slash == 0 ? 1 : slash);
    if (_fd < 0 || folder != _folder) {
      close();
      _folder.assign(folder);
      _fd = ::open(_folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
      if (_fd < 0) return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    }
    return ::openat(_fd, path.c_str() + slash + 1, O_RDONLY | O_CLOEXEC);
  }

 private:
  void close() {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
  }

  std::string _folder;
  int _fd = -1;
};

FolderHandle& threadFolder() {
  thread_local FolderHandle folder;
  return folder;
}

}  // namespace

DocumentReader::DocumentReader(const std::filesystem::path& path) : _path(path) {
  _fd = threadFolder().openFile(path.native());
  if (_fd < 0) throw CommandError(path.string(), std::strerror(errno));
}

DocumentReader::~DocumentReader() { ::close(_fd); }

// Each read asks for at least kReadChunk bytes, so that most files come in one call; a read
// that brings fewer bytes than asked is the end of a regular file (a file growing meanwhile
// is read as it was), which spares the call that would answer 0 and a stat for the size.
constexpr std::size_t kReadChunk = std::size_t{64} << 10;

std::string_view DocumentReader::readAtLeast(std::size_t size) {
  ReadBuffer& buffer = threadBuffer();
  while (!_atEnd && _read < size) {
    const std::size_t want = std::max(size - _read, kReadChunk);
    buffer.reserve(_read + want, _read);
    const ssize_t n = ::read(_fd, buffer.bytes.get() + _read, want);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) throw CommandError(_path.string(), std::strerror(errno));
    _read += static_cast<std::size_t>(n);
    _atEnd = static_cast<std::size_t>(n) < want;
  }
  return {buffer.bytes.get(), _read};
}

std::string_view DocumentReader::readAll() {
  while (!_atEnd) {
    if (_read > kMaxInputBytes)
      throw CommandError(_path.string(), "larger than 1 GiB, the most read");
    readAtLeast(std::min(2 * _read + kReadChunk, kMaxInputBytes + 1));
  }
  if (_read > kMaxInputBytes)
    throw CommandError(_path.string(), "larger than 1 GiB, the most read");
  return readAtLeast(0);
}

std::u16string readDocumentText(const std::string& input) {
  if (input != "-" && isTextBundleFile(input)) {
    DocumentText bundle = textBundleDocumentText(input);
    if (!bundle.text) throw CommandError(input, bundle.notTextReason);
    return std::move(*bundle.text);
  }
  const std::filesystem::path path =
      input == "-" ? std::filesystem::path() : std::filesystem::path(input);
  const std::string bytes = readAll(input, [&](std::string_view first) {
    return whyNotDocument(first, documentKind(path, first));
  });
  DocumentText document = documentText(bytes, documentKind(path, bytes));
  if (!document.text) throw CommandError(displayName(input), document.notTextReason);
  return std::move(*document.text);
}

WebPage readWebPageInput(const std::string& input) {
  WebPage page = readWebPage(readAll(
      input, [](std::string_view first) { return whyNotMarkup(webPageText(first)).value_or(""); }));
  if (const auto why = whyNotMarkup(page.text)) throw CommandError(displayName(input), *why);
  return page;
}

}  // namespace orvel::cli

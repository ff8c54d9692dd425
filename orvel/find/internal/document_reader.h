// Reading the documents of a search: a reader that can stop after a prefix, into a buffer
// that one searching thread reuses from file to file.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace orvel::internal {

// The most a search reads of one document (1 GiB): a larger one is reported, not read until
// memory runs out.
inline constexpr std::size_t kMaxDocumentBytes = std::size_t{1} << 30;

// Why a document could not be read: the system's error number (0 for none) and the message
// the search reports.
struct DocumentReadError {
  int code = 0;
  std::string message;
};

// What one searching thread keeps from file to file: its read buffer (uninitialised bytes,
// grown by doubling, never shrunk, so that reading costs no allocation and no clearing per
// file), and the folder it last opened a file in, kept open: a search opens the files of one
// folder one after another, and opening each by its name in the folder spares the kernel
// walking the whole path again for every file.
class ReadingThread {
 public:
  ReadingThread() = default;
  ~ReadingThread();
  ReadingThread(const ReadingThread&) = delete;
  ReadingThread& operator=(const ReadingThread&) = delete;

 private:
  friend class DocumentReader;

  // Opens the file read-only, as open(2) would by its path; errno tells a failure.
  int openFile(const std::string& path);
  void reserve(std::size_t size, std::size_t keep);

  std::unique_ptr<char[]> _bytes;
  std::size_t _capacity = 0;
  std::string _folder;
  int _folderFd = -1;
};

// Reads a document's bytes into its thread's buffer, all at once or a prefix first; throws
// DocumentReadError when the file cannot be opened or read. The views answered stay valid
// until the thread's next reader reads.
class DocumentReader {
 public:
  // A stream (a pipe, a device) is read until a read answers nothing; a regular file until
  // a read brings fewer bytes than asked.
  DocumentReader(ReadingThread& thread, const std::string& path, bool stream = false);
  ~DocumentReader();
  DocumentReader(const DocumentReader&) = delete;
  DocumentReader& operator=(const DocumentReader&) = delete;

  // Reads on until at least `size` bytes are read or the file ends; answers the bytes so far.
  std::string_view readAtLeast(std::size_t size);
  // Reads the rest; answers every byte. A file larger than kMaxDocumentBytes is refused.
  std::string_view readAll();
  [[nodiscard]] bool atEnd() const { return _atEnd; }

 private:
  ReadingThread& _thread;
  int _fd = -1;
  std::size_t _read = 0;  // bytes in the thread's buffer
  bool _stream;
  bool _atEnd = false;
};

}  // namespace orvel::internal

#include "orvel/base/file_bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvel {
namespace {

// Closes the descriptor when the read ends, however it ends.
class Descriptor {
 public:
  explicit Descriptor(int fd) : _fd(fd) {}
  ~Descriptor() {
    if (_fd >= 0) ::close(_fd);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int get() const { return _fd; }

 private:
  int _fd;
};

std::optional<std::string> failure(int reason, int* error) {
  if (error != nullptr) *error = reason;
  return std::nullopt;
}

// Reads to the end, or past maxBytes (EFBIG); `size` is the size fstat reported, 0 for none.
std::optional<std::string> readToEnd(int fd, off_t size, std::size_t maxBytes, int* error) {
  std::string bytes;
  // One byte more than the size reported, so that the end shows at once.
  std::size_t capacity = size > 0 ? static_cast<std::size_t>(size) + 1 : std::size_t{1} << 16;
  for (;;) {
    if (bytes.size() == capacity) capacity = std::min(2 * capacity, maxBytes + 1);
    const std::size_t have = bytes.size();
    bytes.resize(capacity);
    const ssize_t n = ::read(fd, bytes.data() + have, capacity - have);
    if (n < 0 && errno == EINTR) {
      bytes.resize(have);
      continue;
    }
    if (n < 0) return failure(errno, error);
    bytes.resize(have + static_cast<std::size_t>(n));
    if (bytes.size() > maxBytes) return failure(EFBIG, error);
    if (n == 0) return bytes;
  }
}

}  // namespace

std::optional<std::string> bytesOfFile(const std::filesystem::path& path, int* error,
                                       const FileReadLimits& limits) {
  // O_NONBLOCK so that opening a FIFO does not wait for a writer; it is refused below.
  const int flags = O_RDONLY | O_CLOEXEC | (limits.regularFileOnly ? O_NOFOLLOW | O_NONBLOCK : 0);
  const Descriptor file(::open(path.c_str(), flags));
  if (file.get() < 0) return failure(errno, error);
  struct stat info {};
  const bool known = ::fstat(file.get(), &info) == 0;
  if (limits.regularFileOnly && !(known && S_ISREG(info.st_mode))) return failure(EINVAL, error);
  if (known && S_ISREG(info.st_mode) &&
      static_cast<std::uint64_t>(info.st_size) > limits.maxBytes) {
    return failure(EFBIG, error);
  }
  try {
    return readToEnd(file.get(), known ? info.st_size : 0, limits.maxBytes, error);
  } catch (const std::bad_alloc&) {
    return failure(ENOMEM, error);
  }
}

}  // namespace orvel

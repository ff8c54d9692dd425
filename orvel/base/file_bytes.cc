#include "orvel/base/file_bytes.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvel {

std::optional<std::string> bytesOfFile(const std::filesystem::path& path, int* error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    if (error != nullptr) *error = errno;
    return std::nullopt;
  }
  struct stat info {};
  std::string bytes;
  // One byte more than the size reported, so that the end shows at once.
  std::size_t capacity = ::fstat(fd, &info) == 0 && info.st_size > 0
                             ? static_cast<std::size_t>(info.st_size) + 1
                             : std::size_t{1} << 16;
  for (;;) {
    if (bytes.size() == capacity) capacity *= 2;
    const std::size_t have = bytes.size();
    bytes.resize(capacity);
    const ssize_t n = ::read(fd, bytes.data() + have, capacity - have);
    if (n < 0 && errno == EINTR) {
      bytes.resize(have);
      continue;
    }
    if (n <= 0) {
      const int reason = errno;
      bytes.resize(have);
      ::close(fd);
      if (n == 0) return bytes;
      if (error != nullptr) *error = reason;
      return std::nullopt;
    }
    bytes.resize(have + static_cast<std::size_t>(n));
  }
}

}  // namespace orvel

#include "orvel/base/locked_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "orvel/base/log.h"

namespace orvel {

std::FILE* openLockedFile(const std::filesystem::path& path, int flags, const char* mode,
                          int lock) {
  const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
  if (fd < 0) return nullptr;
  std::FILE* file = fdopen(fd, mode);
  if (file == nullptr) {
    log("Failed fdopen: %s %d", path.c_str(), errno);
    ::close(fd);
    return nullptr;
  }
  if (::flock(fd, lock | LOCK_NB) != 0) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

}  // namespace orvel

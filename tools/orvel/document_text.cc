#include "tools/orvel/document_text.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/utf8.h"

#include "tools/orvel/command_support.h"

namespace orvel::cli {

std::string readDocumentBytes(const std::filesystem::path& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw CommandError(path.string(), std::strerror(errno));
  std::string bytes;
  struct stat info {};
  if (::fstat(fd, &info) == 0 && info.st_size > 0)
    bytes.reserve(static_cast<std::size_t>(info.st_size));
  char buffer[1 << 16];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      ::close(fd);
      throw CommandError(path.string(), std::strerror(error));
    }
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return bytes;
}

DocumentText documentText(std::string bytes) {
  DocumentText document{std::move(bytes), std::nullopt, {}};
  std::string_view view = document.bytes;
  if (view.substr(0, 3) == "\xEF\xBB\xBF") view.remove_prefix(3);
  if (view.find('\0') != std::string_view::npos) {
    document.notTextReason = "binary (holds NUL bytes)";
    return document;
  }
  std::size_t invalidOffset = 0;
  document.text = utf8ToUtf16(view, &invalidOffset);
  if (!document.text) {
    document.notTextReason =
        "not UTF-8 text (invalid byte at offset " + std::to_string(invalidOffset) + ")";
  }
  return document;
}

}  // namespace orvel::cli

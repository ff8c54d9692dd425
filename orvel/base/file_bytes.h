// Reading a whole file into memory, never more than a limit: a device or FIFO has no end and a
// file can be larger than memory, so every whole-file read in the library passes through here.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace orvel {

// The most a whole-file read takes in unless asked otherwise (1 GiB).
inline constexpr std::size_t kMaxFileBytes = std::size_t{1} << 30;

struct FileReadLimits {
  std::size_t maxBytes = kMaxFileBytes;
  // Only a regular file, not reached through a symbolic link in its last component: a link,
  // FIFO, device or socket is refused (ELOOP or EINVAL) without waiting for a writer.
  bool regularFileOnly = false;
};

// The bytes of the file at path; nullopt when it cannot be opened or read (a folder, a
// missing file) or is larger than the limit (EFBIG), with the errno value in *error when
// given.
[[nodiscard]] std::optional<std::string> bytesOfFile(const std::filesystem::path& path,
                                                     int* error = nullptr,
                                                     const FileReadLimits& limits = {});

}  // namespace orvel

// Opening a file as a stdio stream under an advisory lock, as the block files do.
#pragma once

#include <cstdio>
#include <filesystem>

namespace orvel {

// Opens `path` with open(2) `flags` (O_CLOEXEC added) as a stream of `mode` and takes the
// flock(2) `lock` (LOCK_SH or LOCK_EX) without waiting; nullptr, with nothing left open,
// when the file cannot be opened, made a stream ("Failed fdopen: PATH ERRNO" is logged) or
// locked. Closing the stream releases the lock.
[[nodiscard]] std::FILE* openLockedFile(const std::filesystem::path& path, int flags,
                                        const char* mode, int lock);

}  // namespace orvel

// File operations the document formats need: a private temporary folder, and unpacking an
// archive (any format libarchive reads: ZIP, tar, 7z, ... compressed or not) safely.
//
// Unpacking trusts nothing in the archive. An entry is refused, and the unpacking stops with
// a message naming it, when its path is absolute or has a ".." component, when a symbolic
// link would point outside the destination, when it is a hard link, or when writing it would
// go through a symbolic link; device files, FIFOs and sockets are refused too, and files and
// folders are created with their permission bits only (never setuid, setgid or sticky).
// Unpacking also stops past a total of unpacked bytes, and past a ratio of unpacked to packed
// bytes once more than 1 MiB is out (so that a small archive cannot fill the disk); what was
// written before it stopped stays.
//
// Archives may be read on several threads at once. libarchive converts entry times with
// mktime, which while TZ is unset reads the time zone again on every call, under a lock of
// glibc's own that ThreadSanitizer cannot see (it reports a race in tzset_internal): a
// program that reads archives on threads under ThreadSanitizer sets TZ before they start, as
// the orvel program does.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace orvel {

// A fresh folder of mode 0700 under $TMPDIR (else /tmp); nullopt when none can be made.
[[nodiscard]] std::optional<std::filesystem::path> uniqueTemporaryDirectory();

struct UnpackLimits {
  std::uint64_t maxBytes = std::uint64_t{1} << 30;  // unpacked bytes in all
  double maxRatio = 200;                            // unpacked bytes per packed byte
  // Whether symbolic links (that stay inside) are made, or refused. A part of what is
  // unpacked that is later moved elsewhere takes its links along, and a link that stayed
  // inside may then point out.
  bool symbolicLinks = true;
};

// Unpacks the archive into `destination` (made when missing, with its parents). True when
// every entry was unpacked; else false with *error (when given) saying why in one line.
bool decompressFileAtPath(const std::filesystem::path& archive,
                          const std::filesystem::path& destination, const UnpackLimits& limits = {},
                          std::string* error = nullptr);

// The bytes of the archive's entries whose path matches `wanted` (a function of the entry's
// path), read without unpacking anything; the last match wins. nullopt when none matches
// (*error "no entry wanted") or the archive cannot be read; the limits hold as for unpacking.
// *error (when given) says why in one line.
[[nodiscard]] std::optional<std::string> readArchiveEntry(
    const std::filesystem::path& archive, bool (*wanted)(const std::string& entryPath),
    const UnpackLimits& limits = {}, std::string* error = nullptr);

}  // namespace orvel

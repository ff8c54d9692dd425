#include "orvel/formats/file_operations.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvel {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kRatioFloor = std::uint64_t{1} << 20;  // the ratio counts past 1 MiB

struct ArchiveCloser {
  void operator()(archive* a) const { archive_read_free(a); }
};

// libarchive decodes entry names into the character set of the locale, and the C locale has
// none for a name outside ASCII (the name reads as null). So the thread reading an archive
// takes a UTF-8 locale for as long as the archive is open, whatever the process's locale.
class Utf8ThreadLocale {
 public:
  Utf8ThreadLocale() {
    if (utf8() != locale_t{}) _previous = ::uselocale(utf8());
  }
  ~Utf8ThreadLocale() {
    if (utf8() != locale_t{}) ::uselocale(_previous);
  }
  Utf8ThreadLocale(const Utf8ThreadLocale&) = delete;
  Utf8ThreadLocale& operator=(const Utf8ThreadLocale&) = delete;

 private:
  // Made once and kept: making and freeing a locale opens and closes glibc's shared
  // conversion tables, which threads would race for.
  static locale_t utf8() {
    static const locale_t made = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    return made;
  }

  locale_t _previous{};
};

// An archive open for reading, in any format and compression libarchive knows, with its
// names in UTF-8.
class ArchiveReader {
 public:
  // Check reader() for null; *error says why it is.
  ArchiveReader(const fs::path& path, std::string& error) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {  // libarchive would say only "Failed to open"
      error = std::string("cannot be opened: ") + std::strerror(errno);
      return;
    }
    if (!S_ISREG(info.st_mode)) {  // a FIFO would hold the open until a writer comes
      error = "not a regular file";
      return;
    }
    _reader.reset(archive_read_new());
    archive_read_support_filter_all(_reader.get());
    archive_read_support_format_all(_reader.get());
    if (archive_read_open_filename(_reader.get(), path.c_str(), 64 * 1024) != ARCHIVE_OK) {
      const char* why = archive_error_string(_reader.get());
      error = "not a readable archive" + (why != nullptr ? ": " + std::string(why) : std::string());
      _reader.reset();
    }
  }
  [[nodiscard]] archive* reader() const { return _reader.get(); }

 private:
  Utf8ThreadLocale _locale;  // set before the reader is made, restored after it is freed
  std::unique_ptr<archive, ArchiveCloser> _reader;
};

// An entry's path, or null for none.
const char* entryPath(archive_entry* entry) {
  const char* name = archive_entry_pathname_utf8(entry);
  return name != nullptr ? name : archive_entry_pathname(entry);
}

// The entry's path as a relative path without "." or ".." components; nullopt for an
// absolute path, one that climbs, or an empty one.
std::optional<fs::path> safeRelativePath(const char* name) {
  if (name == nullptr || *name == '\0' || *name == '/') return std::nullopt;
  fs::path relative;
  for (const fs::path& part : fs::path(name)) {
    if (part == "..") return std::nullopt;
    if (part.empty() || part == ".") continue;
    relative /= part;
  }
  if (relative.empty() || relative.is_absolute()) return std::nullopt;
  return relative;
}

// Makes the folders above the entry, refusing to pass through anything but real folders.
bool makeParentFolders(const fs::path& destination, const fs::path& relative) {
  fs::path at = destination;
  for (auto part = relative.begin(); std::next(part) != relative.end(); ++part) {
    at /= *part;
    struct stat info {};
    if (::lstat(at.c_str(), &info) == 0) {
      if (!S_ISDIR(info.st_mode)) return false;
    } else if (::mkdir(at.c_str(), 0755) != 0) {
      return false;
    }
  }
  return true;
}

// Counts unpacked bytes against the limits.
struct Budget {
  UnpackLimits limits;
  std::uint64_t packed = 0;
  std::uint64_t unpacked = 0;

  // Empty when within the limits, else why not.
  std::string add(std::size_t bytes) {
    unpacked += bytes;
    if (unpacked > limits.maxBytes) {
      return "unpacks to more than " + std::to_string(limits.maxBytes) + " bytes";
    }
    if (unpacked > kRatioFloor && packed > 0 &&
        static_cast<double>(unpacked) > limits.maxRatio * static_cast<double>(packed)) {
      return "unpacks to more than " + std::to_string(static_cast<long long>(limits.maxRatio)) +
             " times its size";
    }
    return {};
  }
};

std::string writeFile(archive* reader, const fs::path& target, mode_t mode, Budget& budget) {
  const int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                        (mode & 0777) | 0600);
  if (fd < 0) return std::string("cannot be written: ") + std::strerror(errno);
  std::string failure;
  char buffer[64 * 1024];
  for (;;) {
    const la_ssize_t read = archive_read_data(reader, buffer, sizeof buffer);
    if (read == 0) break;
    if (read < 0) {
      const char* why = archive_error_string(reader);
      failure = std::string("cannot be read: ") + (why != nullptr ? why : "damaged archive");
      break;
    }
    failure = budget.add(static_cast<std::size_t>(read));
    if (!failure.empty()) break;
    if (::write(fd, buffer, static_cast<std::size_t>(read)) != read) {
      failure = std::string("cannot be written: ") + std::strerror(errno);
      break;
    }
  }
  ::close(fd);
  return failure;
}

// The components of a relative path, "." and empty ones left out.
std::deque<std::string> componentsOf(const fs::path& path) {
  std::deque<std::string> parts;
  for (const fs::path& part : path) {
    if (!part.empty() && part != ".") parts.push_back(part.string());
  }
  return parts;
}

// Whether a symbolic link made at `relative` with `target` leads to a place inside the
// destination. Its text alone cannot tell: with "x -> .", "x/x/../.." climbs out though it reads
// as staying in. So the target is followed as the kernel will follow it, component by
// component through what the destination holds now, each link met on the way read and followed
// in turn. ".." is refused above the destination, and after a component that does not exist
// yet: an entry made there later (a link to ".") could make it climb anywhere. What stands
// below a missing component only descends, through links that were themselves checked.
bool linkStaysInside(const fs::path& destination, const fs::path& relative, const char* target) {
  constexpr int kMaxLinksFollowed = 40;  // as the kernel's limit; a loop ends here
  if (target == nullptr || *target == '\0' || *target == '/') return false;
  std::vector<std::string> at;  // where the walk stands: real folders below the destination
  for (const std::string& part : componentsOf(relative.parent_path())) at.push_back(part);
  std::deque<std::string> pending = componentsOf(target);
  bool missing = false;
  int followed = 0;
  while (!pending.empty()) {
    std::string part = std::move(pending.front());
    pending.pop_front();
    if (part == "..") {
      if (at.empty() || missing) return false;
      at.pop_back();
      continue;
    }
    at.push_back(std::move(part));
    if (missing) continue;
    fs::path here = destination;
    for (const std::string& name : at) here /= name;
    struct stat info {};
    if (::lstat(here.c_str(), &info) != 0) {
      missing = true;
      continue;
    }
    if (!S_ISLNK(info.st_mode)) continue;
    char link[PATH_MAX];
    const ssize_t length = ::readlink(here.c_str(), link, sizeof link);
    if (++followed > kMaxLinksFollowed || length <= 0 || link[0] == '/' ||
        static_cast<std::size_t>(length) == sizeof link) {
      return false;
    }
    at.pop_back();
    std::deque<std::string> inner =
        componentsOf(std::string(link, static_cast<std::size_t>(length)));
    pending.insert(pending.begin(), inner.begin(), inner.end());
  }
  return true;
}

// Unpacks one entry; empty when done, else why not.
std::string unpackEntry(archive* reader, archive_entry* entry, const fs::path& destination,
                        Budget& budget) {
  const auto relative = safeRelativePath(entryPath(entry));
  if (!relative) return "path outside the destination";
  if (archive_entry_hardlink(entry) != nullptr || archive_entry_hardlink_utf8(entry) != nullptr)
    return "hard links are not unpacked";
  const fs::path target = destination / *relative;
  if (!makeParentFolders(destination, *relative)) {
    return "would be written through a symbolic link or a file";
  }
  const mode_t mode = archive_entry_mode(entry);
  switch (archive_entry_filetype(entry)) {
    case AE_IFDIR: {
      struct stat info {};
      if (::lstat(target.c_str(), &info) == 0) {
        return S_ISDIR(info.st_mode) ? "" : "would replace a file or link with a folder";
      }
      return ::mkdir(target.c_str(), (mode & 0777) | 0700) == 0
                 ? ""
                 : std::string("cannot be made: ") + std::strerror(errno);
    }
    case AE_IFREG: return writeFile(reader, target, mode, budget);
    case AE_IFLNK: {
      if (!budget.limits.symbolicLinks) return "symbolic links are not unpacked here";
      const char* link = archive_entry_symlink_utf8(entry);
      if (link == nullptr) link = archive_entry_symlink(entry);
      if (!linkStaysInside(destination, *relative, link))
        return "symbolic link points outside the destination";
      return ::symlink(link, target.c_str()) == 0
                 ? ""
                 : std::string("cannot be made: ") + std::strerror(errno);
    }
    default: return "device files, FIFOs and sockets are not unpacked";
  }
}

bool fail(std::string* error, const std::string& message) {
  if (error != nullptr) *error = message;
  return false;
}

std::uint64_t sizeOf(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  return error ? 0 : size;
}

}  // namespace

std::optional<fs::path> uniqueTemporaryDirectory() {
  const char* variable = std::getenv("TMPDIR");
  const fs::path base = variable != nullptr && *variable != '\0' ? variable : "/tmp";
  std::string pattern = (base / "orvel-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) return std::nullopt;  // mode 0700
  return fs::path(pattern);
}

bool decompressFileAtPath(const fs::path& archivePath, const fs::path& destination,
                          const UnpackLimits& limits, std::string* error) {
  std::string why;
  const ArchiveReader opened(archivePath, why);
  archive* const reader = opened.reader();
  if (reader == nullptr) return fail(error, why);
  std::error_code made;
  fs::create_directories(destination, made);
  if (made || !fs::is_directory(destination)) {
    return fail(error, destination.string() + ": cannot make the destination folder");
  }
  Budget budget{limits, sizeOf(archivePath)};
  archive_entry* entry = nullptr;
  for (;;) {
    const int status = archive_read_next_header(reader, &entry);
    if (status == ARCHIVE_EOF) return true;
    if (status < ARCHIVE_WARN) {
      const char* message = archive_error_string(reader);
      return fail(error, std::string("damaged archive: ") + (message ? message : "unreadable"));
    }
    const std::string failure = unpackEntry(reader, entry, destination, budget);
    if (!failure.empty()) {
      const char* name = entryPath(entry);
      return fail(error, std::string(name != nullptr ? name : "(no name)") + ": " + failure);
    }
  }
}

std::optional<std::string> readArchiveEntry(const fs::path& archivePath,
                                            bool (*wanted)(const std::string& entryPath),
                                            const UnpackLimits& limits, std::string* error) {
  const auto none = [error](const std::string& why) {
    fail(error, why);
    return std::nullopt;
  };
  std::string why;
  const ArchiveReader opened(archivePath, why);
  archive* const reader = opened.reader();
  if (reader == nullptr) return none(why);
  Budget budget{limits, sizeOf(archivePath)};
  std::optional<std::string> found;
  archive_entry* entry = nullptr;
  int status = ARCHIVE_OK;
  while ((status = archive_read_next_header(reader, &entry)) == ARCHIVE_OK ||
         status == ARCHIVE_WARN) {
    const char* name = entryPath(entry);
    if (name == nullptr || archive_entry_filetype(entry) != AE_IFREG || !wanted(name)) continue;
    std::string bytes;
    // Taken at its word up to the limit, the entry's size spares growing the bytes by doubling.
    if (archive_entry_size_is_set(entry) != 0 && archive_entry_size(entry) > 0) {
      bytes.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(
          static_cast<std::uint64_t>(archive_entry_size(entry)), limits.maxBytes)));
    }
    char buffer[64 * 1024];
    la_ssize_t read = 0;
    while ((read = archive_read_data(reader, buffer, sizeof buffer)) > 0) {
      why = budget.add(static_cast<std::size_t>(read));
      if (!why.empty()) return none(std::string(name) + ": " + why);
      bytes.append(buffer, static_cast<std::size_t>(read));
    }
    if (read < 0) return none(std::string(name) + ": damaged archive");
    found = std::move(bytes);
  }
  if (status != ARCHIVE_EOF) {
    const char* message = archive_error_string(reader);
    return none(std::string("damaged archive: ") + (message ? message : "unreadable"));
  }
  return found ? found : none("no entry wanted");
}

}  // namespace orvel

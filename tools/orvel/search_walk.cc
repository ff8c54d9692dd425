#include "tools/orvel/search_walk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "orvel/formats/markdown_files.h"

#include "tools/orvel/command_support.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

bool isHiddenName(std::string_view name) { return name.size() > 1 && name[0] == '.'; }

// What a folder entry is, from the type the folder itself records, so that a walk costs
// no stat per file; only a file system that records no types is asked per entry.
fs::file_type entryType(DIR* folder, const dirent& entry) {
  switch (entry.d_type) {
    case DT_REG: return fs::file_type::regular;
    case DT_DIR: return fs::file_type::directory;
    case DT_UNKNOWN: break;
    default: return fs::file_type::unknown;  // links, FIFOs, devices, sockets: not searched
  }
  struct stat info {};
  if (::fstatat(::dirfd(folder), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return fs::file_type::unknown;
  }
  if (S_ISREG(info.st_mode)) return fs::file_type::regular;
  return S_ISDIR(info.st_mode) ? fs::file_type::directory : fs::file_type::unknown;
}

struct WalkEntry {
  std::string path;
  std::size_t nameStart;  // where the entry's own name begins in path
  bool folder;

  [[nodiscard]] std::string_view name() const { return std::string_view(path).substr(nameStart); }
};

// Adds a folder's regular files and folders to `children`; answers the error that ended
// the reading (0 when none).
int readFolder(const std::string& folderPath, bool hidden, std::vector<WalkEntry>& children) {
  DIR* folder = ::opendir(folderPath.c_str());
  if (folder == nullptr) return errno;
  const std::string prefix = folderPath.back() == '/' ? folderPath : folderPath + '/';
  int error = 0;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(folder);
    if (entry == nullptr) {
      error = errno;
      break;
    }
    const std::string_view name = entry->d_name;
    if (name == "." || name == ".." || (!hidden && isHiddenName(name))) continue;
    const fs::file_type type = entryType(folder, *entry);
    if (type != fs::file_type::regular && type != fs::file_type::directory) continue;
    std::string path = prefix;
    path += name;
    // A .textbundle folder is one document, not a folder to walk into.
    const bool walkInto = type == fs::file_type::directory && !isTextBundleFile(path);
    children.push_back({std::move(path), prefix.size(), walkInto});
  }
  ::closedir(folder);
  return error;
}

// The regular files below a folder, in the order of their path components (as fs::path
// compares them): a depth-first walk that takes each folder's entries sorted by name, so
// that only siblings' names are ever compared. Entries wait on an explicit stack, so a deep
// tree costs memory, not stack; a folder that cannot be read is reported and passed over.
void walkFolder(SearchFiles& files, const std::string& root, bool hidden, bool& failed) {
  std::vector<WalkEntry> pending = {{root, 0, true}};
  std::vector<WalkEntry> children;
  while (!pending.empty()) {
    WalkEntry next = std::move(pending.back());
    pending.pop_back();
    if (!next.folder) {
      files.add(next.path, false);
      continue;
    }
    children.clear();
    if (const int error = readFolder(next.path, hidden, children); error != 0) {
      reportError(next.path, std::strerror(error));
      failed = true;
    }
    // Reversed, so that the first name comes off the stack first.
    std::sort(children.begin(), children.end(),
              [](const WalkEntry& a, const WalkEntry& b) { return a.name() > b.name(); });
    for (WalkEntry& child : children) pending.push_back(std::move(child));
  }
}

}  // namespace

void SearchFiles::add(std::string_view path, bool named) {
  _starts.push_back(_paths.size() | (named ? kNamed : 0));
  _paths.append(path);
  _paths += '\0';
}

std::string_view SearchFiles::path(std::size_t index) const {
  const std::size_t start = _starts[index] & ~kNamed;
  const std::size_t end =
      index + 1 < _starts.size() ? (_starts[index + 1] & ~kNamed) - 1 : _paths.size() - 1;
  return std::string_view(_paths).substr(start, end - start);
}

void addSearchPath(SearchFiles& files, const std::string& root, bool hidden, bool& failed) {
  std::error_code error;
  const fs::file_status status = fs::status(root, error);
  if (error || !fs::exists(status)) {
    reportError(root, error ? error.message() : "No such file or directory");
    failed = true;
  } else if (fs::is_directory(status) && isTextBundleFile(root)) {
    files.add(root, true);
  } else if (fs::is_directory(status)) {
    walkFolder(files, root, hidden, failed);
  } else if (fs::is_regular_file(status)) {
    files.add(root, true);
  } else {
    reportError(root, "not a regular file or folder (a FIFO, device or socket is not searched)");
    failed = true;
  }
}

void readPathList(const std::string& source, bool nulSeparated,
                  const std::function<void(const std::string&)>& take) {
  // Thrown from inside the reading, and told apart from a list that cannot be read.
  struct Refused {
    std::string why;
  };
  const char separator = nulSeparated ? '\0' : '\n';
  std::string path;  // the entry being read
  const auto endEntry = [&] {
    if (!nulSeparated && !path.empty() && path.back() == '\r') path.pop_back();
    if (path.find('\0') != std::string::npos) {
      throw Refused{"a listed path holds a NUL byte (a NUL-separated list needs -0)"};
    }
    if (!path.empty()) take(path);
    path.clear();
  };
  std::size_t total = 0;
  try {
    readChunks(source, [&](std::span<const std::uint8_t> chunk) {
      total += chunk.size();
      if (total > kMaxInputBytes) throw Refused{"the list of files is larger than 1 GiB"};
      std::string_view rest(reinterpret_cast<const char*>(chunk.data()), chunk.size());
      for (;;) {
        if (path.empty()) {  // runs of empty entries are passed over at once
          rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of(separator)));
        }
        const std::size_t end = rest.find(separator);
        path.append(rest.substr(0, end));
        if (path.size() > kMaxListedPathBytes) {
          throw Refused{"a listed path is longer than " + std::to_string(kMaxListedPathBytes) +
                        " bytes"};
        }
        if (end == std::string_view::npos) break;
        endEntry();
        rest.remove_prefix(end + 1);
      }
    });
    endEntry();
  } catch (const Refused& refused) {
    throw CommandError(displayName(source), refused.why);
  } catch (const CommandError& error) {
    throw CommandError(error.name(), std::string("cannot read the list of files: ") + error.what());
  }
}

}  // namespace orvel::cli

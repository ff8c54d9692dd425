#include "tools/orvel/search_walk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
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
std::vector<std::string> walkFolder(const std::string& root, bool hidden, bool& failed) {
  std::vector<std::string> files;
  std::vector<WalkEntry> pending = {{root, 0, true}};
  std::vector<WalkEntry> children;
  while (!pending.empty()) {
    WalkEntry next = std::move(pending.back());
    pending.pop_back();
    if (!next.folder) {
      files.push_back(std::move(next.path));
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
  return files;
}

}  // namespace

std::vector<SearchFile> collectSearchFiles(const std::vector<std::string>& paths, bool hidden,
                                           bool& failed) {
  std::vector<SearchFile> files;
  for (const std::string& root : paths) {
    std::error_code error;
    const fs::file_status status = fs::status(root, error);
    if (error || !fs::exists(status)) {
      reportError(root, error ? error.message() : "No such file or directory");
      failed = true;
    } else if (fs::is_directory(status) && isTextBundleFile(root)) {
      files.push_back({root, true});
    } else if (fs::is_directory(status)) {
      for (std::string& path : walkFolder(root, hidden, failed)) {
        files.push_back({std::move(path), false});
      }
    } else if (fs::is_regular_file(status)) {
      files.push_back({root, true});
    } else {
      reportError(root, "not a regular file or folder (a FIFO, device or socket is not searched)");
      failed = true;
    }
  }
  return files;
}

std::vector<std::string> readPathList(const std::string& source, bool nulSeparated) {
  std::ifstream file;
  if (source != "-") {
    file.open(source, std::ios::binary);
    if (!file)
      throw CommandError(source,
                         std::string("cannot read the list of files: ") + std::strerror(errno));
  }
  std::istream& in = source == "-" ? std::cin : file;
  const char separator = nulSeparated ? '\0' : '\n';
  std::vector<std::string> paths;
  for (std::string path; std::getline(in, path, separator);) {
    if (!nulSeparated && !path.empty() && path.back() == '\r') path.pop_back();
    if (!path.empty()) paths.push_back(std::move(path));
  }
  if (in.bad()) throw CommandError(source, "cannot read the list of files");
  return paths;
}

}  // namespace orvel::cli

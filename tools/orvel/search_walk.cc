#include "tools/orvel/search_walk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "orvel/formats/markdown_files.h"

#include "tools/orvel/command_support.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

bool isHidden(const fs::path& path) {
  const std::string name = path.filename().string();
  return name.size() > 1 && name[0] == '.' && name != "..";
}

// The regular files below a folder, in the order of their path components (as fs::path
// compares them): a depth-first walk that takes each folder's entries sorted by name, so
// that only siblings' names are ever compared. Entries wait on an explicit stack, so a deep
// tree costs memory, not stack; a folder that cannot be read is reported and passed over.
std::vector<std::string> walkFolder(const std::string& root, bool hidden, bool& failed) {
  struct Entry {
    std::string path;
    std::string name;
    bool folder;
  };
  std::vector<std::string> files;
  std::vector<Entry> pending = {{root, {}, true}};
  std::vector<Entry> children;
  while (!pending.empty()) {
    Entry next = std::move(pending.back());
    pending.pop_back();
    if (!next.folder) {
      files.push_back(std::move(next.path));
      continue;
    }
    children.clear();
    std::error_code error;
    fs::directory_iterator entries(next.path, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
      const fs::directory_entry& entry = *entries;
      if (!hidden && isHidden(entry.path())) continue;
      std::error_code typeError;
      const fs::file_type type = entry.symlink_status(typeError).type();
      // A .textbundle folder is one document, not a folder to walk into.
      if (type == fs::file_type::directory && !isTextBundleFile(entry.path())) {
        children.push_back({entry.path().native(), entry.path().filename().native(), true});
      } else if (type == fs::file_type::regular || type == fs::file_type::directory) {
        children.push_back({entry.path().native(), entry.path().filename().native(), false});
      }
    }
    if (error) {
      reportError(next.path, error.message());
      failed = true;
    }
    // Reversed, so that the first name comes off the stack first.
    std::sort(children.begin(), children.end(),
              [](const Entry& a, const Entry& b) { return a.name > b.name; });
    for (Entry& child : children) pending.push_back(std::move(child));
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

// The files a search reads: the paths it was given, folders walked recursively.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvel::cli {

struct SearchFile {
  std::filesystem::path path;
  bool named;  // given on the command line, not found in a folder
};

// The regular files under the paths, in order: a named file as it stands; a folder's
// files recursively (a .textbundle folder counts as one file, not walked into), sorted by path,
// without symbolic links, FIFOs, devices and sockets, and without hidden entries unless asked. A
// path that is missing or neither a regular file nor a folder, and a folder that cannot be read,
// are reported as one line each
// ("orvel: PATH: what is wrong"); the walk goes on and `failed` is set.
[[nodiscard]] std::vector<SearchFile> collectSearchFiles(const std::vector<std::string>& paths,
                                                         bool hidden, bool& failed);

}  // namespace orvel::cli

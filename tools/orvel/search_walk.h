// The files a search reads: the paths it was given, folders walked recursively.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvel::cli {

// Paths are kept as strings: a std::filesystem::path also keeps its components, which for
// a tree of many files costs more memory than everything else a search holds.
struct SearchFile {
  std::string path;
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

// The paths listed in a file ("-": standard input), one a line (a CR before the line end is
// dropped), or with nulSeparated each ended by a NUL byte, which lets names hold line ends.
// Empty entries are skipped. A list that cannot be read throws CommandError.
[[nodiscard]] std::vector<std::string> readPathList(const std::string& source, bool nulSeparated);

}  // namespace orvel::cli

// The files a search reads: the paths it was given, folders walked recursively.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::cli {

// The files a search reads, kept compactly: every path in one buffer, each followed by a NUL,
// so that a list of millions of short paths costs little more than its bytes (a
// std::filesystem::path, or even a std::string, per file costs several times that).
class SearchFiles {
 public:
  void add(std::string_view path, bool named);
  [[nodiscard]] std::size_t size() const { return _starts.size(); }
  // A view of the path, NUL-terminated in the buffer.
  [[nodiscard]] std::string_view path(std::size_t index) const;
  // Given on the command line or in a list, not found in a folder.
  [[nodiscard]] bool named(std::size_t index) const { return (_starts[index] & kNamed) != 0; }

 private:
  static constexpr std::uint64_t kNamed = std::uint64_t{1} << 63;
  std::string _paths;
  std::vector<std::uint64_t> _starts;  // where each path begins, kNamed set when named
};

// Adds the regular files under a path, in order: a named file as it stands; a folder's files
// recursively (a .textbundle folder counts as one file, not walked into), sorted by path,
// without symbolic links, FIFOs, devices and sockets, and without hidden entries unless asked.
// A path that is missing or neither a regular file nor a folder, and a folder that cannot be
// read, are reported as one line each ("orvel: PATH: what is wrong"); the walk goes on and
// `failed` is set.
void addSearchPath(SearchFiles& files, const std::string& root, bool hidden, bool& failed);

// The longest path a list may hold: the system's PATH_MAX.
inline constexpr std::size_t kMaxListedPathBytes = 4096;

// Calls `take` with each path listed in a file ("-": standard input), in order, one a line (a
// CR before the line end is dropped), or with nulSeparated each ended by a NUL byte, which
// lets names hold line ends. Empty entries are skipped. A list that cannot be read, a list
// larger than kMaxInputBytes, and an entry longer than kMaxListedPathBytes or holding a NUL
// byte throw CommandError.
void readPathList(const std::string& source, bool nulSeparated,
                  const std::function<void(const std::string&)>& take);

}  // namespace orvel::cli

// The files a search reads, found one at a time: the paths it was given, folders walked
// recursively, and the paths listed in a file, so that the memory a walk holds does not grow
// with the number of files (a folder's entries at a time, and one listed path).
#pragma once

#include <cstddef>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "orvel/find/ignore_rules.h"

namespace orvel {

class IndexSelection;

// The longest path a list may hold: the system's PATH_MAX.
inline constexpr std::size_t kMaxListedPathBytes = 4096;
// The most of a list that is read (1 GiB): a list that runs on (a device, an endless pipe)
// is refused, not read for ever.
inline constexpr std::size_t kMaxPathListBytes = std::size_t{1} << 30;

// A file to search, or a path that could not be walked.
struct WalkItem {
  std::string path;
  // Given by the caller (a path or a listed path), not found in a folder.
  bool named = false;
  // Nonzero when the path could not be walked: the system's error number, or -1 for a
  // failure that has none (a FIFO given as a path, a list entry refused).
  int error = 0;
  std::string message;  // what was wrong, when error is nonzero
  // A pipe or device named with readStreams: read to its end, however its reads come.
  bool stream = false;
  // Not a file to search, and no trouble either: a symbolic link not followed (message says
  // so).
  bool skipped = false;
};

// Where the paths of a walk come from: the paths themselves, then those listed in a file.
struct WalkInputs {
  std::vector<std::filesystem::path> paths;
  // A file listing paths, one a line (a CR before the line end is dropped), or each ended by
  // a NUL byte when pathListNulSeparated, which lets names hold line ends. Empty entries are
  // skipped; each entry is walked as a path given.
  std::optional<std::filesystem::path> pathList;
  bool pathListNulSeparated = false;
  bool hidden = false;  // walk hidden files and folders too
  // A named path that is a FIFO or a character device (standard input as /dev/stdin, a
  // process substitution's /dev/fd/N) is read to its end as one document, instead of being
  // refused as something a search would wait on for ever.
  bool readStreams = false;
  // Follow symbolic links found in folders, to files and folders; a link to a folder already
  // on the way down from the path given is answered as a failure (a loop), not followed.
  // Without it, each link is answered as a skipped item.
  bool followLinks = false;
  // Globs in the Unix wildcard language (*, ?, [sets]; * also matches a /): a file found in a
  // folder is taken when it matches one of them (or there are none), and a file or folder is
  // left out when it matches one written with a leading "!". A glob without a / is matched
  // against the entry's name, one with a / against its path below the folder given. Paths
  // given and listed are always taken.
  std::vector<std::string> globs;
  // Leave out what the .gitignore, .ignore and .orvelignore files of the folders walked
  // ignore, as git reads such files (see ignore_rules.h); the paths given and listed are
  // always taken.
  bool ignoreFiles = false;
  // What an index says of the files (see collection_index.h): files found in folders that it
  // rules out are not answered.
  std::shared_ptr<const IndexSelection> index;
  // How deep below a folder given the walk goes: 1 takes the folder's own files only, 0
  // nothing in it. No limit by default.
  std::size_t maxDepth = std::numeric_limits<std::size_t>::max();
};

// Answers, one at a time and in order, the regular files under each path: a named file as
// it stands; a folder's files recursively (a .textbundle folder counts as one file, not
// walked into), in the order of their path components (as std::filesystem::path compares
// them), without symbolic links, FIFOs, devices and sockets, and without hidden entries
// unless asked. A path that is missing or neither a regular file nor a folder, and a folder
// that cannot be read, are answered as items with their error, in their place; the walk goes
// on. A list that cannot be read, holds a NUL byte in a line-separated entry, is larger than
// kMaxPathListBytes or has an entry longer than kMaxListedPathBytes is answered as an error
// item naming the list, and the list ends there.
class CollectionWalk {
 public:
  explicit CollectionWalk(WalkInputs inputs);
  ~CollectionWalk();
  CollectionWalk(const CollectionWalk&) = delete;
  CollectionWalk& operator=(const CollectionWalk&) = delete;

  // The next item, nullopt once every path and the whole list are walked.
  std::optional<WalkItem> next();

 private:
  class PathList;
  class Globs;
  // A folder on the way down, when links are followed: its identity and the folder above.
  struct FolderOnPath {
    dev_t device;
    ino_t inode;
    std::shared_ptr<const FolderOnPath> parent;
  };
  struct Entry {
    Entry(std::string entryPath, std::size_t start, bool isFolder, std::size_t level)
        : path(std::move(entryPath)), nameStart(start), folder(isFolder), depth(level) {}

    std::string path;
    std::size_t nameStart;  // where the entry's own name begins in path
    bool folder;
    std::size_t depth;        // 0 for a path given, 1 for its entries, ...
    std::size_t rootEnd = 0;  // where the path given ends in path
    std::shared_ptr<const FolderOnPath> onPath = nullptr;  // a folder's, when links are followed
    std::shared_ptr<const IgnoreChain> ignore = nullptr;   // a folder's rules from above it
    int error = 0;                                         // not walked: a failure (-1) ...
    bool skipped = false;                                  // ... or skipped
    std::string message;                                   // why
    [[nodiscard]] std::string_view name() const { return std::string_view(path).substr(nameStart); }
  };

  // The item for a path given or listed; a folder is put on the stack instead (nullopt).
  std::optional<WalkItem> start(const std::string& path);
  int readFolder(const Entry& folder);
  // Leaves out the children the rules in force in their folder ignore, and hands the rules
  // down to the folders among them. `found` holds a bit for each of kIgnoreFileNames the
  // folder has.
  void applyIgnoreFiles(const Entry& folder, const std::string& prefix, unsigned found);
  // The entry for a symbolic link found in a folder (open at folderFd).
  Entry linkEntry(int folderFd, const Entry& parent, std::string path, std::size_t nameStart);

  WalkInputs _inputs;
  std::size_t _nextPath = 0;
  std::unique_ptr<PathList> _list;
  std::unique_ptr<Globs> _globs;  // none when there are no globs
  bool _listDone = false;
  // Entries waiting to be answered or walked into, the next one last: each folder's entries
  // sorted by name, so that only siblings' names are ever compared, and a deep tree costs
  // memory, not stack.
  std::vector<Entry> _pending;
  std::vector<Entry> _children;
};

}  // namespace orvel

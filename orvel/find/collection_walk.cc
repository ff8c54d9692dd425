#include "orvel/find/collection_walk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <variant>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_index.h"
#include "orvel/formats/markdown_files.h"
#include "orvel/search/wildcard_matcher.h"

namespace orvel {
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
    case DT_LNK: return fs::file_type::symlink;
    default: return fs::file_type::unknown;  // FIFOs, devices, sockets: not searched
  }
  struct stat info {};
  if (::fstatat(::dirfd(folder), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return fs::file_type::unknown;
  }
  if (S_ISREG(info.st_mode)) return fs::file_type::regular;
  if (S_ISLNK(info.st_mode)) return fs::file_type::symlink;
  return S_ISDIR(info.st_mode) ? fs::file_type::directory : fs::file_type::unknown;
}

WalkItem failure(std::string path, int error, std::string message) {
  return WalkItem{std::move(path), true, error, std::move(message)};
}

}  // namespace

// A list of paths read a chunk at a time: only the entry being read is held.
class CollectionWalk::PathList {
 public:
  PathList(const fs::path& source, bool nulSeparated)
      : _name(source.string()), _separator(nulSeparated ? '\0' : '\n') {
    _fd = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (_fd < 0) _failure = failure(_name, errno, cannotRead(errno));
  }
  ~PathList() {
    if (_fd >= 0) ::close(_fd);
  }
  PathList(const PathList&) = delete;
  PathList& operator=(const PathList&) = delete;

  // The next listed path, or an error item, or nullopt at the end.
  std::optional<std::variant<std::string, WalkItem>> next() {
    if (_failure) return std::exchange(_failure, std::nullopt).value();
    std::string path;
    for (;;) {
      if (_rest.empty() && !fill()) break;
      if (path.empty()) {  // runs of empty entries are passed over at once
        _rest.remove_prefix(std::min(_rest.size(), _rest.find_first_not_of(_separator)));
        if (_rest.empty()) continue;
      }
      const std::size_t end = _rest.find(_separator);
      path.append(_rest.substr(0, end));
      _rest.remove_prefix(end == std::string_view::npos ? _rest.size() : end + 1);
      if (path.size() > kMaxListedPathBytes) {
        return refusal("a listed path is longer than " + std::to_string(kMaxListedPathBytes) +
                       " bytes");
      }
      if (end != std::string_view::npos) return ended(std::move(path));
    }
    if (_failure) return std::exchange(_failure, std::nullopt).value();
    if (path.empty()) return std::nullopt;
    return ended(std::move(path));
  }

 private:
  static std::string cannotRead(int error) {
    return std::string("cannot read the list of files: ") + std::strerror(error);
  }

  // Reads the next chunk; false at the end or on a failure (then kept in _failure).
  bool fill() {
    if (_fd < 0) return false;
    for (;;) {
      const ssize_t n = ::read(_fd, _chunk, sizeof _chunk);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) _failure = failure(_name, errno, cannotRead(errno));
      if (n <= 0) {
        ::close(_fd);
        _fd = -1;
        return false;
      }
      _total += static_cast<std::size_t>(n);
      if (_total > kMaxPathListBytes) {
        _failure = refusal("the list of files is larger than 1 GiB");
        return false;
      }
      _rest = std::string_view(_chunk, static_cast<std::size_t>(n));
      return true;
    }
  }

  // An entry ended by its separator (or the list's end): a CR before a line end is dropped.
  std::optional<std::variant<std::string, WalkItem>> ended(std::string path) {
    if (_separator == '\n' && !path.empty() && path.back() == '\r') path.pop_back();
    if (path.find('\0') != std::string::npos) {
      return refusal(
          "a listed path holds a NUL byte (a NUL-separated list is read with --files0-from)");
    }
    if (path.empty()) return next();
    return path;
  }

  // Ends the list with an error item naming it.
  WalkItem refusal(std::string why) {
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
    _rest = {};
    return failure(_name, -1, std::move(why));
  }

  std::string _name;
  char _separator;
  int _fd = -1;
  char _chunk[64 * 1024];
  std::string_view _rest;
  std::size_t _total = 0;
  std::optional<WalkItem> _failure;
};

// The globs of a walk, compiled once: matchers of names, and of paths below the folder given.
class CollectionWalk::Globs {
 public:
  explicit Globs(const std::vector<std::string>& globs) {
    for (const std::string& glob : globs) {
      const bool exclude = glob.starts_with('!');
      const std::u16string pattern = utf8ToUtf16Lenient(exclude ? glob.substr(1) : glob);
      const bool ofPath = pattern.find(u'/') != std::u16string::npos;
      _globs.push_back({WildcardMatcher(pattern, true, nullptr), exclude, ofPath});
      _anyInclude = _anyInclude || !exclude;
    }
  }

  // Whether an entry (its name, and its path below the folder given) is taken.
  [[nodiscard]] bool takes(std::string_view name, std::string_view below, bool folder) const {
    const std::u16string name16 = utf8ToUtf16Lenient(name);
    std::u16string below16;
    bool included = !_anyInclude || folder;
    for (const Glob& glob : _globs) {
      if (glob.exclude == false && included) continue;
      if (glob.ofPath && below16.empty()) below16 = utf8ToUtf16Lenient(below);
      if (!glob.matcher.matches(glob.ofPath ? below16 : name16)) continue;
      if (glob.exclude) return false;
      included = true;
    }
    return included;
  }

 private:
  struct Glob {
    WildcardMatcher matcher;
    bool exclude;
    bool ofPath;
  };
  std::vector<Glob> _globs;
  bool _anyInclude = false;
};

CollectionWalk::CollectionWalk(WalkInputs inputs) : _inputs(std::move(inputs)) {
  if (!_inputs.globs.empty()) _globs = std::make_unique<Globs>(_inputs.globs);
}

CollectionWalk::~CollectionWalk() = default;

std::optional<WalkItem> CollectionWalk::next() {
  for (;;) {
    if (!_pending.empty()) {
      Entry entry = std::move(_pending.back());
      _pending.pop_back();
      if (entry.error != 0 || entry.skipped) {
        WalkItem item{std::move(entry.path), false, entry.error, std::move(entry.message)};
        item.skipped = entry.skipped;
        return item;
      }
      if (!entry.folder) return WalkItem{std::move(entry.path), false, 0, {}};
      if (const int error = readFolder(entry); error != 0) {
        return failure(std::move(entry.path), error, std::strerror(error));
      }
      continue;
    }
    if (_nextPath < _inputs.paths.size()) {
      if (auto item = start(_inputs.paths[_nextPath++].native())) return item;
      continue;
    }
    if (_listDone || !_inputs.pathList) return std::nullopt;
    if (!_list) _list = std::make_unique<PathList>(*_inputs.pathList, _inputs.pathListNulSeparated);
    auto listed = _list->next();
    if (!listed) {
      _listDone = true;
      _list.reset();
      return std::nullopt;
    }
    if (auto* item = std::get_if<WalkItem>(&*listed)) {
      _listDone = true;
      _list.reset();
      return std::move(*item);
    }
    if (auto item = start(std::get<std::string>(*listed))) return item;
  }
}

std::optional<WalkItem> CollectionWalk::start(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return failure(path, errno, std::strerror(errno));
  if (S_ISDIR(info.st_mode) && !isTextBundleFile(path)) {
    _pending.emplace_back(path, 0, true, 0);
    _pending.back().rootEnd = path.size();
    if (_inputs.followLinks) {
      _pending.back().onPath =
          std::make_shared<const FolderOnPath>(FolderOnPath{info.st_dev, info.st_ino, nullptr});
    }
    return std::nullopt;
  }
  if (S_ISDIR(info.st_mode) || S_ISREG(info.st_mode)) return WalkItem{path, true, 0, {}};
  if (_inputs.readStreams && (S_ISFIFO(info.st_mode) || S_ISCHR(info.st_mode))) {
    return WalkItem{path, true, 0, {}, true};
  }
  return failure(path, -1,
                 "not a regular file or folder (a FIFO, device or socket is not searched)");
}

// Puts a folder's regular files and folders on the stack, the first name on top; answers the
// error that ended the reading (0 when none).
int CollectionWalk::readFolder(const Entry& parent) {
  if (parent.depth >= _inputs.maxDepth) return 0;
  const std::string& folderPath = parent.path;
  DIR* folder = ::opendir(folderPath.c_str());
  if (folder == nullptr) return errno;
  const std::string prefix = folderPath.back() == '/' ? folderPath : folderPath + '/';
  int error = 0;
  unsigned foundIgnoreFiles = 0;
  _children.clear();
  // The files the index rules out are left here, before anything else is done for them.
  const IndexSelection* index = _inputs.index.get();
  const IndexSelection::Folder* indexed = index != nullptr ? index->folder(folderPath) : nullptr;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(folder);
    if (entry == nullptr) {
      error = errno;
      break;
    }
    const std::string_view name = entry->d_name;
    if (_inputs.ignoreFiles && name.starts_with('.')) {
      for (std::size_t k = 0; k < std::size(kIgnoreFileNames); ++k) {
        if (name == kIgnoreFileNames[k]) foundIgnoreFiles |= 1u << k;
      }
    }
    if (name == "." || name == ".." || (!_inputs.hidden && isHiddenName(name))) continue;
    // An index's own files are never searched, wherever they lie.
    if (name.starts_with(kDefaultIndexName)) continue;
    const fs::file_type type = entryType(folder, *entry);
    if (type != fs::file_type::regular && type != fs::file_type::directory &&
        type != fs::file_type::symlink) {
      continue;
    }
    if (indexed != nullptr && type == fs::file_type::regular &&
        index->rulesOut(*indexed, ::dirfd(folder), name)) {
      continue;
    }
    std::string path = prefix;
    path += name;
    // A .textbundle folder is one document, not a folder to walk into.
    const bool walkInto = type == fs::file_type::directory && !isTextBundleFile(path);
    const std::string_view below = std::string_view(path).substr(parent.rootEnd + 1);
    if (_globs && !_globs->takes(name, below, walkInto)) continue;
    if (type == fs::file_type::symlink) {
      _children.push_back(linkEntry(::dirfd(folder), parent, std::move(path), prefix.size()));
      continue;
    }
    _children.emplace_back(std::move(path), prefix.size(), walkInto, parent.depth + 1);
    _children.back().rootEnd = parent.rootEnd;
    if (walkInto && _inputs.followLinks) {
      // Its identity, for the links below that may lead back to it.
      struct stat info {};
      if (::fstatat(::dirfd(folder), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0) {
        _children.back().onPath = std::make_shared<const FolderOnPath>(
            FolderOnPath{info.st_dev, info.st_ino, parent.onPath});
      }
    }
  }
  ::closedir(folder);
  if (_inputs.ignoreFiles) applyIgnoreFiles(parent, prefix, foundIgnoreFiles);
  std::sort(_children.begin(), _children.end(),
            [](const Entry& a, const Entry& b) { return a.name() > b.name(); });
  for (Entry& child : _children) _pending.push_back(std::move(child));
  return error;
}

namespace {

// The text of an ignore file, empty when it cannot be read; at most a megabyte of it (a
// file of rules is a few lines).
std::string ignoreFileText(const std::string& path) {
  constexpr std::size_t kMaxIgnoreFileBytes = std::size_t{1} << 20;
  std::string text;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return text;
  char buffer[16 * 1024];
  for (ssize_t got;
       text.size() < kMaxIgnoreFileBytes && (got = ::read(fd, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(fd);
  return text;
}

}  // namespace

void CollectionWalk::applyIgnoreFiles(const Entry& parent, const std::string& prefix,
                                      unsigned found) {
  std::shared_ptr<const IgnoreChain> chain = parent.ignore;
  if (found != 0) {
    auto own = std::make_shared<IgnoreChain>(IgnoreChain{{}, prefix.size(), parent.ignore});
    for (std::size_t k = 0; k < std::size(kIgnoreFileNames); ++k) {
      if ((found & (1u << k)) != 0)
        own->rules.add(ignoreFileText(prefix + std::string(kIgnoreFileNames[k])));
    }
    if (!own->rules.empty()) chain = std::move(own);
  }
  if (!chain) return;
  std::erase_if(_children,
                [&chain](const Entry& child) { return chain->ignores(child.path, child.folder); });
  for (Entry& child : _children) {
    if (child.folder) child.ignore = chain;
  }
}

CollectionWalk::Entry CollectionWalk::linkEntry(int folderFd, const Entry& parent, std::string path,
                                                std::size_t nameStart) {
  Entry link{std::move(path), nameStart, false, parent.depth + 1};
  link.rootEnd = parent.rootEnd;
  const auto skip = [&](std::string why) {
    link.skipped = true;
    link.message = std::move(why);
    return std::move(link);
  };
  if (!_inputs.followLinks) return skip("a symbolic link, not followed");
  struct stat info {};
  if (::fstatat(folderFd, link.path.c_str() + nameStart, &info, 0) != 0) {
    return skip(std::string("a symbolic link that leads nowhere: ") + std::strerror(errno));
  }
  if (S_ISREG(info.st_mode)) return link;
  if (!S_ISDIR(info.st_mode)) return skip("a symbolic link to no file or folder");
  for (const FolderOnPath* above = parent.onPath.get(); above != nullptr;
       above = above->parent.get()) {
    if (above->device == info.st_dev && above->inode == info.st_ino) {
      link.error = -1;
      link.message = "a symbolic link to a folder already on the path (a loop): not followed";
      return link;
    }
  }
  // A linked .textbundle folder is one document, as a folder of that name is.
  link.folder = !isTextBundleFile(link.path);
  if (link.folder) {
    link.onPath =
        std::make_shared<const FolderOnPath>(FolderOnPath{info.st_dev, info.st_ino, parent.onPath});
  }
  return link;
}

}  // namespace orvel

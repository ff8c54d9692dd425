// The Finder comments of files, with a per-thread cache of the last store opened, and the
// comment Linux desktops keep in an extended attribute where a folder has no store.
#include <chrono>
#include <string>

#include <sys/xattr.h>

#include "orvel/base/calendar.h"
#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"

namespace orvel {
namespace {

constexpr TimeInterval kCacheLifetime = 60.0;

// The calling thread's last store and when it was opened. A store is used by one thread,
// so the cache needs no lock.
struct FinderCommentsCache {
  std::unique_ptr<DSStore> store;  // "DSStoreCache"
  TimeInterval openedAt = 0;       // "DSStoreTime"
};

FinderCommentsCache& threadCache() {
  thread_local FinderCommentsCache cache;
  return cache;
}

TimeInterval now() {
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(since).count() - kReferenceDateUnixSeconds;
}

}  // namespace

std::optional<std::u16string> finderCommentAtPath(const std::filesystem::path& path) {
  const std::filesystem::path folder = path.parent_path();
  if (folder.empty()) return std::nullopt;
  const std::u16string name = utf8ToUtf16Lenient(path.filename().string());
  FinderCommentsCache& cache = threadCache();
  const TimeInterval time = now();
  if (cache.store != nullptr && cache.store->directory().native() == folder.native() &&
      time - cache.openedAt <= kCacheLifetime) {
    return cache.store->finderCommentForFilename(name);
  }
  cache.store.reset();
  auto store = DSStore::storeWithDirectory(folder);
  if (store == nullptr) return spotlightCommentAtPath(path);
  cache.store = std::move(store);
  cache.openedAt = time;
  return cache.store->finderCommentForFilename(name);
}

std::optional<std::u16string> spotlightCommentAtPath(const std::filesystem::path& path) {
  char small[1024];
  ssize_t length = ::getxattr(path.c_str(), "user.xdg.comment", small, sizeof small);
  std::string value;
  if (length < 0 && errno == ERANGE) {
    // Longer than most comments: ask for the size, then read it.
    const ssize_t size = ::getxattr(path.c_str(), "user.xdg.comment", nullptr, 0);
    if (size <= 0) return std::nullopt;
    value.resize(static_cast<std::size_t>(size));
    length = ::getxattr(path.c_str(), "user.xdg.comment", value.data(), value.size());
    if (length < 0) return std::nullopt;
    value.resize(static_cast<std::size_t>(length));
  } else if (length > 0) {
    value.assign(small, static_cast<std::size_t>(length));
  }
  if (value.empty()) return std::nullopt;
  return utf8ToUtf16Lenient(value);
}

void invalidateFinderCommentsCache() { threadCache().store.reset(); }

}  // namespace orvel

// A folder's ".DS_Store" file: the B-tree of records the Finder keeps there, and the Finder
// comments of the folder's files.
//
// The table of contents names the tree's header block "DSDB": the root node's block index,
// the number of levels, records and nodes, and the page size (4 bytes each, big-endian; only
// the root is used). A node starts with P (0 for a leaf; else the block index of its
// rightmost child) and a record count m, then m records (leaf) or m pairs of a child's
// block index and a record (internal node). See ds_store_entry.h for records.
//
// Lookups walk the whole tree depth-first (a record before the subtree left of it) without
// relying on the order of keys, so that a tree that is not quite sorted is still read. Each
// block is read once per walk: a node met again ("Node %d already used.") or an index past
// the table ("Invalid node %d (max %d).") ends that branch, so cycles and shared subtrees are
// harmless; a walk also stops descending below 64 levels (real trees have a few).
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "orvel/dsstore/ds_store_allocator.h"
#include "orvel/dsstore/ds_store_entry.h"

namespace orvel {

class DSStore : public DSStoreAllocator {
 public:
  // The store of a folder's ".DS_Store" file, opened read-only with a shared advisory lock
  // taken without waiting; nullptr when the path is empty or no folder, or the file cannot
  // be opened, locked or read as a store. The file stays open, locked, while the store lives.
  [[nodiscard]] static std::unique_ptr<DSStore> storeWithDirectory(
      const std::filesystem::path& directory);
  // The store in a file of any name (a ".DS_Store" file copied elsewhere, say), opened as
  // storeWithDirectory opens one; its directory is the file's folder.
  [[nodiscard]] static std::unique_ptr<DSStore> storeAtPath(const std::filesystem::path& file);
  // The store in an open file, which it then owns (as allocatorWithFile); for callers that
  // have the file already, and for stores that live in memory (fmemopen).
  [[nodiscard]] static std::unique_ptr<DSStore> storeWithFile(std::FILE* file,
                                                              std::filesystem::path directory);

  // The value stored for a file name (compared unit for unit: no case folding or Unicode
  // normalisation) under a structure identifier; nullopt when there is none.
  [[nodiscard]] std::optional<DSStoreValue> valueForFilename(std::u16string_view filename,
                                                             std::uint32_t codec) const;
  [[nodiscard]] std::optional<DSStoreEntry> entryForFilename(std::u16string_view filename,
                                                             std::uint32_t codec) const;
  // The "cmmt" string, when there is one. The first call walks the tree once, as a lookup
  // does, and keeps every comment by name (the first of a name, as a lookup finds it), so
  // that the comments of a folder's files cost a hash lookup each.
  [[nodiscard]] std::optional<std::u16string> finderCommentForFilename(
      std::u16string_view filename) const;

  // Every record in the tree's order (the Finder's order of names), with the guards of the
  // lookups; a record of unknown type ends its node (nothing after it can be read). `visit`
  // answers false to stop.
  void enumerateEntries(const std::function<bool(const DSStoreEntry&)>& visit) const;

  [[nodiscard]] const std::filesystem::path& directory() const { return _directory; }
  [[nodiscard]] std::uint32_t rootNode() const { return _rootnode; }
  [[nodiscard]] std::uint32_t levels() const { return _levels; }
  [[nodiscard]] std::uint32_t records() const { return _records; }
  [[nodiscard]] std::uint32_t nodes() const { return _nodes; }
  [[nodiscard]] std::uint32_t pageSize() const { return _page_size; }
  // "DSStore: 256 blocks, Root: 2, Entries:\n{...}".
  [[nodiscard]] std::string description() const override;

 protected:
  [[nodiscard]] const char* className() const override { return "DSStore"; }

 private:
  DSStore(std::FILE* file, std::uint32_t fileLength) : DSStoreAllocator(file, fileLength) {}

  enum class Visit { kNext, kStop, kEndNode };
  // Walks the tree from the root; readRecord consumes one record from the node's stream.
  void walk(bool recordBeforeChild, const std::function<Visit(DSStoreStream&)>& readRecord) const;

  std::uint32_t _rootnode = 0;
  std::uint32_t _levels = 0;
  std::uint32_t _records = 0;
  std::uint32_t _nodes = 0;
  std::uint32_t _page_size = 0;
  std::filesystem::path _directory;
  // The comments by file name, once asked for; a store is used by one thread at a time.
  // (A name whose first comment record holds no string maps to nullopt.)
  mutable std::optional<std::unordered_map<std::u16string, std::optional<std::u16string>>>
      _comments;
};

// The Finder comment of a file: from its folder's ".DS_Store" file, through a per-thread
// cache of the last store opened (kept 60 seconds, for the same folder path as written);
// when the folder has no store that can be opened, from spotlightCommentAtPath. A store that
// opens but holds no comment for the file answers nullopt.
[[nodiscard]] std::optional<std::u16string> finderCommentAtPath(const std::filesystem::path& path);

// The comment the metadata service keeps for a file. On the platform this library comes from,
// the Finder-comment attribute of the file's metadata item; on Linux, the comment desktops
// keep in the extended attribute "user.xdg.comment" (freedesktop.org), read as UTF-8.
// nullopt when there is none, it is empty, or the file system has no extended attributes.
[[nodiscard]] std::optional<std::u16string> spotlightCommentAtPath(
    const std::filesystem::path& path);

// Drops the calling thread's cached store.
void invalidateFinderCommentsCache();

}  // namespace orvel

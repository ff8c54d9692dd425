#include "orvel/dsstore/ds_store.h"

#include <vector>

#include <fcntl.h>
#include <sys/file.h>

#include "orvel/base/locked_file.h"
#include "orvel/base/log.h"

namespace orvel {
namespace {

constexpr std::size_t kStreamBuffer = 1024;
constexpr std::size_t kMaxDepth = 64;

// The file stream of a store, locked shared, with a small buffer: reads are of blocks.
std::FILE* openStoreFile(const std::filesystem::path& path) {
  std::FILE* file = openLockedFile(path, O_RDONLY, "rb", LOCK_SH);
  if (file != nullptr) std::setvbuf(file, nullptr, _IOFBF, kStreamBuffer);
  return file;
}

}  // namespace

std::unique_ptr<DSStore> DSStore::storeWithDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  if (directory.empty() || !std::filesystem::is_directory(directory, error)) return nullptr;
  return storeWithFile(openStoreFile(directory / ".DS_Store"), directory);
}

std::unique_ptr<DSStore> DSStore::storeAtPath(const std::filesystem::path& file) {
  if (file.empty()) return nullptr;
  return storeWithFile(openStoreFile(file), file.parent_path());
}

std::unique_ptr<DSStore> DSStore::storeWithFile(std::FILE* file, std::filesystem::path directory) {
  if (file == nullptr) return nullptr;
  if (fseeko(file, 0, SEEK_END) != 0 || ftello(file) < 0 || ftello(file) > off_t{UINT32_MAX}) {
    std::fclose(file);
    return nullptr;
  }
  std::unique_ptr<DSStore> store(new DSStore(file, static_cast<std::uint32_t>(ftello(file))));
  if (!store->parse()) return nullptr;
  const auto header = store->blockForEntryNamed("DSDB");
  if (header == nullptr) return nullptr;
  store->_rootnode = header->readUInt32();
  store->_levels = header->readUInt32();
  store->_records = header->readUInt32();
  store->_nodes = header->readUInt32();
  store->_page_size = header->readUInt32();
  store->_directory = std::move(directory);
  return store;
}

void DSStore::walk(bool recordBeforeChild,
                   const std::function<Visit(DSStoreStream&)>& readRecord) const {
  struct Frame {
    std::unique_ptr<DSStoreBlock> node;
    std::uint32_t index, rightmost, remaining;
    bool recordPending;  // the subtree left of the next record has been walked
  };
  std::vector<bool> visited(numberOfBlocks());
  std::vector<Frame> stack;
  const auto enter = [&](std::uint32_t index) {
    if (index >= numberOfBlocks()) {
      log("Invalid node %u (max %u).", index, numberOfBlocks());
      return;
    }
    if (visited[index]) {
      log("Node %u already used.", index);
      return;
    }
    if (stack.size() >= kMaxDepth) return;
    auto node = blockAtIndex(index);
    if (node == nullptr) return;
    const std::uint32_t rightmost = node->readUInt32();
    const std::uint32_t count = node->readUInt32();
    visited[index] = true;
    stack.push_back(Frame{std::move(node), index, rightmost, count, false});
  };
  enter(_rootnode);
  while (!stack.empty()) {
    Frame& frame = stack.back();
    if (frame.recordPending) {
      frame.recordPending = false;
      const Visit visit = readRecord(*frame.node);
      if (visit == Visit::kStop) return;
      if (visit == Visit::kEndNode) frame.remaining = 0;
      continue;
    }
    if (frame.remaining == 0 || frame.node->isEOF()) {
      const std::uint32_t rightmost = frame.rightmost, index = frame.index;
      stack.pop_back();
      if (rightmost != 0 && rightmost != index) enter(rightmost);
      continue;
    }
    --frame.remaining;
    if (frame.rightmost == 0) {
      const Visit visit = readRecord(*frame.node);
      if (visit == Visit::kStop) return;
      if (visit == Visit::kEndNode) frame.remaining = 0;
      continue;
    }
    const std::uint32_t child = frame.node->readUInt32();
    const std::uint32_t index = frame.index;
    if (recordBeforeChild) {
      const Visit visit = readRecord(*frame.node);
      if (visit == Visit::kStop) return;
      if (visit == Visit::kEndNode) frame.remaining = 0;
    } else {
      frame.recordPending = true;
    }
    if (child != index) enter(child);  // may move the stack: frame is not used after this
  }
}

std::optional<DSStoreEntry> DSStore::entryForFilename(std::u16string_view filename,
                                                      std::uint32_t codec) const {
  if (filename.empty()) return std::nullopt;
  const std::vector<std::uint8_t> name = bigEndianUnitsOf(filename);
  std::optional<DSStoreEntry> found;
  walk(true, [&](DSStoreStream& node) {
    found = DSStoreEntry::entryForFilenameWithBytes(name.data(), name.size(), codec, &node);
    return found ? Visit::kStop : Visit::kNext;
  });
  return found;
}

std::optional<DSStoreValue> DSStore::valueForFilename(std::u16string_view filename,
                                                      std::uint32_t codec) const {
  auto entry = entryForFilename(filename, codec);
  if (!entry) return std::nullopt;
  return entry->value();
}

std::optional<std::u16string> DSStore::finderCommentForFilename(
    std::u16string_view filename) const {
  if (!_comments) {
    // The walk of a lookup that never stops: records read in the same order, a record of
    // unknown type followed by whatever its node holds after it, the first value of a name
    // kept.
    _comments.emplace();
    walk(true, [&](DSStoreStream& node) {
      const auto entry = DSStoreEntry::readEntry(node, nullptr);
      if (entry && entry->codec() == kDSStoreCommentCodec && entry->value()) {
        const auto* text = std::get_if<std::u16string>(&*entry->value());
        _comments->emplace(entry->filename(),
                           text != nullptr ? std::optional(*text) : std::nullopt);
      }
      return Visit::kNext;
    });
  }
  if (filename.empty()) return std::nullopt;
  const auto found = _comments->find(std::u16string(filename));
  if (found == _comments->end()) return std::nullopt;
  return found->second;
}

void DSStore::enumerateEntries(const std::function<bool(const DSStoreEntry&)>& visit) const {
  walk(false, [&](DSStoreStream& node) {
    bool knownType = false;
    const auto entry = DSStoreEntry::readEntry(node, &knownType);
    if (!entry) return Visit::kEndNode;
    if (!visit(*entry)) return Visit::kStop;
    return knownType ? Visit::kNext : Visit::kEndNode;
  });
}

std::string DSStore::description() const {
  std::string allocator = DSStoreAllocator::description();
  const std::size_t entries = allocator.find("Entries:");
  return "DSStore: " + std::to_string(numberOfBlocks()) +
         " blocks, Root: " + std::to_string(_rootnode) + ", " + allocator.substr(entries);
}

}  // namespace orvel

// The salvage walk of a KeyedStorage file, and what is built on it: copying the intact
// blocks to a new file, and repairing a torn tail.
//
// Conventions of this file: the file is read by offset (pread) through a descriptor of its
// own, so that the walk works in every mode (an appending storage's stream cannot read)
// and leaves the stream's position alone. "Intact" is the test of one block: whole header,
// known marker, payload inside the file and matching its checksum, compressed payloads
// inflating. Only intact live blocks serve to find the way again after damage: a deleted
// header has no checksum to tell it from chance bytes.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/big_endian.h"
#include "orvel/records/compression.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/text/crc32.h"

namespace orvel {
namespace {

// The most zeros a repair adds to complete the padding of a torn last block.
constexpr std::uint64_t kLargestTornPadding = 1 << 20;

struct Header {
  std::uint32_t marker;
  std::uint32_t length;
  std::uint32_t slack;
  std::uint32_t checksum;
};

// A block file read by offset.
class FileBytes {
 public:
  explicit FileBytes(const std::filesystem::path& path)
      : _fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat info {};
    if (_fd >= 0 && ::fstat(_fd, &info) == 0) _length = static_cast<std::uint64_t>(info.st_size);
  }
  ~FileBytes() {
    if (_fd >= 0) ::close(_fd);
  }
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  [[nodiscard]] bool isOpen() const { return _fd >= 0; }
  [[nodiscard]] std::uint64_t length() const { return _length; }

  // Up to count bytes at offset; answers how many were read.
  std::size_t read(std::uint64_t offset, void* destination, std::size_t count) const {
    std::size_t done = 0;
    while (done < count) {
      const ssize_t n = ::pread(_fd, static_cast<char*>(destination) + done, count - done,
                                static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      done += static_cast<std::size_t>(n);
    }
    return done;
  }

  // The whole header at offset with a known marker, or nullopt.
  [[nodiscard]] std::optional<Header> headerAt(std::uint64_t offset) const {
    std::uint8_t bytes[kBlockHeaderSize];
    if (read(offset, bytes, kBlockHeaderSize) < kBlockHeaderSize) return std::nullopt;
    const Header header{loadBigEndian32(bytes), loadBigEndian32(bytes + 4),
                        loadBigEndian32(bytes + 8), loadBigEndian32(bytes + 12)};
    if (!isKnownBlockMarker(header.marker)) return std::nullopt;
    return header;
  }

  // The stored payload of a live block when it lies inside the file and matches the
  // checksum.
  [[nodiscard]] std::optional<Block> intactPayload(std::uint64_t offset,
                                                   const Header& header) const {
    const std::uint64_t start = offset + kBlockHeaderSize;
    if (header.length == 0 || start > _length || header.length > _length - start) {
      return std::nullopt;
    }
    Block payload(header.length);
    if (read(start, payload.data(), payload.size()) < payload.size() ||
        CRC32(payload.data(), payload.size()) != header.checksum) {
      return std::nullopt;
    }
    return payload;
  }

  // The first offset in [from, to) where an intact live block starts (its checksum right;
  // inflation is not asked here), or nullopt.
  [[nodiscard]] std::optional<std::uint64_t> findIntactLiveBlock(std::uint64_t from,
                                                                 std::uint64_t to) const {
    constexpr std::size_t kWindow = 1 << 16;
    std::vector<std::uint8_t> window(kWindow + 3);
    for (std::uint64_t base = from; base < to; base += kWindow) {
      const std::size_t count = read(base, window.data(), window.size());
      for (std::size_t i = 0; i + 4 <= count && base + i < to; ++i) {
        const std::uint8_t first = window[i];
        if (first != 0x31 && first != 0x98 && first != 0x53) continue;  // no marker starts so
        if (!isKnownBlockMarker(loadBigEndian32(window.data() + i))) continue;
        const auto header = headerAt(base + i);
        if (header && intactPayload(base + i, *header)) return base + i;
      }
    }
    return std::nullopt;
  }

 private:
  int _fd = -1;
  std::uint64_t _length = 0;
};

// Whether the bytes from offset to the end could be the start of a block header that was
// cut off: a prefix of a known marker.
bool isPartialHeader(const FileBytes& file, std::uint64_t offset) {
  std::uint8_t bytes[kBlockHeaderSize] = {};
  const std::size_t count = file.read(offset, bytes, kBlockHeaderSize);
  if (count == 0 || count >= kBlockHeaderSize) return false;
  for (const std::uint32_t marker :
       {kPlainBlockMarker, kCompressedBlockMarker, kLegacyPlainBlockMarker}) {
    std::uint8_t expected[4];
    storeBigEndian32(expected, marker);
    if (std::memcmp(bytes, expected, std::min<std::size_t>(count, 4)) == 0) return true;
  }
  return false;
}

class SalvageWalk {
 public:
  explicit SalvageWalk(const FileBytes& file) : _file(file) { _result.fileLength = file.length(); }

  StorageSalvage run() && {
    std::uint64_t position = 0;
    while (position < _file.length()) {
      const auto header = _file.headerAt(position);
      std::optional<Block> payload;
      if (header && header->length > 0) payload = _file.intactPayload(position, *header);
      const bool deleted = header && header->length == 0 && header->checksum == 0;
      position = payload || deleted ? afterBlock(position, *header, payload)
                                    : afterDamage(position, header);
    }
    return std::move(_result);
  }

 private:
  void anomaly(StorageAnomalyKind kind, std::uint64_t offset, std::uint64_t end) {
    _result.anomalies.push_back({kind, offset, end - offset});
  }

  // Records the block at offset (intact but for its inflation, which is tested here) and
  // answers where the walk goes on: after its slack, or at an intact block found inside it.
  std::uint64_t afterBlock(std::uint64_t offset, const Header& header,
                           const std::optional<Block>& payload) {
    const std::uint64_t size = _file.length();
    const std::uint64_t payloadEnd = offset + kBlockHeaderSize + header.length;
    const std::uint64_t next = payloadEnd + header.slack;
    if (payload && header.marker == kCompressedBlockMarker && !canInflateData(*payload)) {
      anomaly(StorageAnomalyKind::kUninflatable, offset, std::min(next, size));
    } else {
      _result.blocks.push_back({offset, header.marker, header.length, header.slack});
    }
    if (const auto hidden = _file.findIntactLiveBlock(payloadEnd, std::min(next, size))) {
      anomaly(StorageAnomalyKind::kSlackJump, offset, *hidden);
      return *hidden;
    }
    if (next > size) {
      anomaly(StorageAnomalyKind::kTornTail, std::min(payloadEnd, size), size);
      return size;
    }
    return next;
  }

  // Names the damage at offset and answers the next intact live block, or the end.
  std::uint64_t afterDamage(std::uint64_t offset, const std::optional<Header>& header) {
    const std::uint64_t size = _file.length();
    const auto found = _file.findIntactLiveBlock(offset + 1, size);
    const std::uint64_t end = found.value_or(size);
    const bool payloadInside =
        header && header->length <= size - std::min(size, offset + kBlockHeaderSize);
    if (header && payloadInside && offset + kBlockHeaderSize + header->length <= end) {
      anomaly(StorageAnomalyKind::kBadChecksum, offset, end);
    } else if (header && found) {
      anomaly(StorageAnomalyKind::kCutShort, offset, end);
    } else if (!found && (header || isPartialHeader(_file, offset))) {
      anomaly(StorageAnomalyKind::kTornTail, offset, end);
    } else {
      anomaly(StorageAnomalyKind::kUnaccounted, offset, end);
    }
    return end;
  }

  const FileBytes& _file;
  StorageSalvage _result;
};

std::string decimal(std::uint64_t value) { return std::to_string(value); }

// The payload of a block the walk found, decompressed, when it is still intact; the stored
// bytes of a compressed one go to storedCompressed when given.
std::optional<Block> intactBlock(const FileBytes& file, const SalvagedBlock& block,
                                 std::optional<Block>* storedCompressed) {
  if (block.isDeleted()) return std::nullopt;
  const auto header = file.headerAt(block.offset);
  if (!header || header->length != block.length) return std::nullopt;
  auto payload = file.intactPayload(block.offset, *header);
  if (!payload || header->marker != kCompressedBlockMarker) return payload;
  auto inflated = dataByInflatingData(*payload);
  if (inflated && storedCompressed != nullptr) *storedCompressed = std::move(payload);
  return inflated;
}

}  // namespace

std::size_t StorageSalvage::liveBlocks() const {
  return static_cast<std::size_t>(std::count_if(
      blocks.begin(), blocks.end(), [](const SalvagedBlock& block) { return !block.isDeleted(); }));
}

std::string describeStorageAnomaly(const StorageAnomaly& anomaly) {
  const std::string at = decimal(anomaly.offset);
  const std::string bytes = " (" + decimal(anomaly.length) + " bytes)";
  switch (anomaly.kind) {
    case StorageAnomalyKind::kBadChecksum: return "bad checksum at " + at + bytes;
    case StorageAnomalyKind::kCutShort:
      return "block cut short at " + at + bytes + ", intact blocks follow";
    case StorageAnomalyKind::kUninflatable:
      return "compressed block that does not inflate at " + at + bytes;
    case StorageAnomalyKind::kSlackJump:
      return "slack of the block at " + at + " runs over the intact block at " +
             decimal(anomaly.offset + anomaly.length);
    case StorageAnomalyKind::kTornTail: return "file ends inside a block at " + at + bytes;
    case StorageAnomalyKind::kUnaccounted: return "bytes no block accounts for at " + at + bytes;
  }
  return "damage at " + at + bytes;
}

std::optional<StorageSalvage> KeyedStorage::salvageWalk() {
  if (_file == nullptr || std::fflush(_file) != 0) return std::nullopt;
  const FileBytes file(_path);
  if (!file.isOpen()) return std::nullopt;
  return SalvageWalk(file).run();
}

std::optional<Block> KeyedStorage::readSalvagedBlock(const SalvagedBlock& block,
                                                     std::optional<Block>* storedCompressed) {
  if (storedCompressed != nullptr) storedCompressed->reset();
  if (_file == nullptr || std::fflush(_file) != 0) return std::nullopt;
  return intactBlock(FileBytes(_path), block, storedCompressed);
}

bool KeyedStorage::salvageToPath(const std::filesystem::path& destination,
                                 KeyedStorageHandler* handler) {
  // Never onto this file, however its name is spelled: the copy starts by emptying it.
  std::error_code error;
  if (destination.empty() || _file == nullptr || destination == _path ||
      std::filesystem::equivalent(destination, _path, error)) {
    return false;
  }
  const auto walk = salvageWalk();
  if (!walk) return false;
  KeyedStorage copy = forAppending(destination);
  if (!copy.isValid() || !copy.truncateFileAtOffset(0)) return false;
  copy.setBlockSize(_blockSize);
  const FileBytes file(_path);  // one descriptor for every block
  bool result = true;
  for (const SalvagedBlock& block : walk->blocks) {
    std::optional<Block> stored;
    const auto payload = intactBlock(file, block, &stored);
    if (!payload) continue;
    if (handler == nullptr || handler->handleData(copy, *payload, copy.lengthOfFile())) {
      result =
          (stored ? copy.appendCompressedBlock(*stored) : copy.appendUncompressedBlock(*payload)) &&
          result;
    }
    if (handler != nullptr && handler->shouldCancelIterationOfStorage(*this)) {
      result = false;
      break;
    }
  }
  return !copy.closeFile() && result;
}

std::uint64_t KeyedStorage::endOfHeaderChain() {
  if (_file == nullptr || std::fflush(_file) != 0) return 0;
  const FileBytes file(_path);
  std::uint64_t position = 0;
  while (position < file.length()) {
    const auto header = file.headerAt(position);
    if (!header) return position;
    const std::uint64_t next =
        position + kBlockHeaderSize + std::uint64_t{header->length} + header->slack;
    if (next > file.length()) return position;
    position = next;
  }
  return position;
}

bool KeyedStorage::truncateTornTail() {
  const auto walk = salvageWalk();
  if (!walk) return false;
  // Where the last intact block ends as its header says, and the anomalies after it.
  std::uint64_t blocksEnd = 0;
  std::uint64_t payloadsEnd = 0;
  if (!walk->blocks.empty()) {
    const SalvagedBlock& last = walk->blocks.back();
    payloadsEnd = last.offset + kBlockHeaderSize + last.length;
    blocksEnd = payloadsEnd + last.slack;
  }
  std::vector<StorageAnomaly> after;
  std::copy_if(walk->anomalies.begin(), walk->anomalies.end(), std::back_inserter(after),
               [&](const StorageAnomaly& anomaly) { return anomaly.offset >= payloadsEnd; });
  if (after.empty()) return true;
  if (after.size() > 1 || after[0].kind != StorageAnomalyKind::kTornTail) return false;
  if (blocksEnd > walk->fileLength) {
    // The writer stopped in the padding of an intact block: the rest is zeros. Only a live
    // block is appended, and no padding is longer than the largest block size in use; a
    // deleted block or a longer slack past the end is damage, not a torn append.
    return !walk->blocks.back().isDeleted() && after[0].offset == payloadsEnd &&
           blocksEnd - walk->fileLength <= kLargestTornPadding && truncateFileAtOffset(blocksEnd);
  }
  return after[0].offset == blocksEnd && truncateFileAtOffset(blocksEnd);
}

}  // namespace orvel

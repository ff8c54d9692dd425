// KeyedStorage: a file of checksummed, optionally compressed, optionally block-aligned
// blocks (keyed_storage_format.h), written by appending and read in order. Blocks can be
// rewritten in place when the new payload fits, deleted, moved towards the start to
// compact the file, and copied to a new file through a filter.
//
// Reading follows the blocks as their headers chain them: from each block to the offset its
// length and slack name. Nothing checks a header itself, so damage there misleads the
// reader: a wrong slack makes it jump over the next block without noticing, a compressed
// block that does not inflate ends the reading without the damage flag, and blocks written
// after a torn one are never reached. That is the reading rule of this format, kept as it
// is. The salvage walk (salvageWalk, salvageToPath, truncateTornTail) does not trust the
// chain: it checks every block's checksum and inflation, looks into every slack for an
// intact block, and after damage scans the bytes for the next header whose marker, length
// and checksum agree, so that it finds every intact block whatever lies before it, and
// names every anomaly on its way. A payload that itself holds a whole block of this format
// and is left in a slack by a deletion or a shorter update is found as a block too.
//
// Processes exclude each other with advisory whole-file locks taken without waiting:
// readers share, an updating or appending storage is exclusive, and a lock that cannot be
// had makes the opening fail (isValid() false). An instance is used by one thread at a
// time. Damage is reported on the log: "Invalid header at OFFSET", "Invalid checksum at
// OFFSET", "Truncated data at OFFSET", "Failed fdopen: PATH ERRNO".
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "orvel/records/keyed_storage_salvage.h"

namespace orvel {

class KeyedStorage;

using BlockBytes = std::span<const std::uint8_t>;
using Block = std::vector<std::uint8_t>;

// Decides, block by block, what optimizeToPath copies.
class KeyedStorageHandler {
 public:
  virtual ~KeyedStorageHandler() = default;
  // The destination, the block's payload (decompressed) and the offset at which it would
  // be written; true keeps the block.
  virtual bool handleData(KeyedStorage& destination, BlockBytes data, std::uint64_t key) = 0;
  // True stops the copy (which then answers false).
  virtual bool shouldCancelIterationOfStorage(KeyedStorage& source) = 0;
};

class KeyedStorage {
 public:
  // Read-only, shared lock, at offset 0.
  [[nodiscard]] static KeyedStorage forReading(const std::filesystem::path& path);
  // Read-write (the file is created if missing), exclusive lock, at offset 0.
  [[nodiscard]] static KeyedStorage forUpdating(const std::filesystem::path& path);
  // Write-only at the end (created if missing), exclusive lock.
  [[nodiscard]] static KeyedStorage forAppending(const std::filesystem::path& path);

  KeyedStorage(KeyedStorage&& other) noexcept;
  KeyedStorage& operator=(KeyedStorage&& other) noexcept;
  KeyedStorage(const KeyedStorage&) = delete;
  KeyedStorage& operator=(const KeyedStorage&) = delete;
  ~KeyedStorage();

  [[nodiscard]] bool isValid() const { return _file != nullptr; }
  [[nodiscard]] const std::filesystem::path& path() const { return _path; }
  [[nodiscard]] bool isCompressed() const { return _compressed; }
  // Compress blocks on writing where that makes them smaller (zlib level 1).
  void setCompressed(bool compressed) { _compressed = compressed; }
  [[nodiscard]] std::uint64_t blockSize() const { return _blockSize; }
  // Should be a multiple of 512 (a debug assertion says so otherwise; it is kept anyway).
  void setBlockSize(std::uint64_t blockSize);

  [[nodiscard]] std::uint64_t offsetInFile();
  // Both move the position to the end and answer the file's length.
  std::uint64_t lengthOfFile();
  std::uint64_t seekToEndOfFile();
  bool seekToFileOffset(std::uint64_t offset);
  // The block last read (deleted blocks passed over and blocks with a bad checksum count).
  [[nodiscard]] std::uint64_t offsetOfLastBlock() const { return _lastPosition; }
  [[nodiscard]] std::uint64_t lengthOfLastBlock() const { return _lastLength; }

  // The payload of the next live block from the current position, decompressed; nullopt
  // at the end or on damage. Deleted blocks are passed over, blocks whose checksum fails
  // are skipped (damage). storedCompressed, when given, receives the stored bytes of a
  // compressed block (nullopt for a plain one); damaged is set to true when damage was met
  // and never cleared here.
  [[nodiscard]] std::optional<Block> nextAvailableBlock(
      std::optional<Block>* storedCompressed = nullptr, bool* damaged = nullptr);

  // Appends the payload, compressed when that is on and makes it shorter. The block is
  // handed to the kernel before this returns, so that it survives the process.
  bool appendBlock(BlockBytes payload);
  // Appends the payloads as appendBlock does, handing them to the kernel together once
  // the last is written: one system call for many small blocks. A process killed inside
  // leaves a prefix of them (the last maybe torn); false at the first that fails.
  bool appendBlocks(std::span<const BlockBytes> payloads);
  // Appends bytes that are a zlib stream already, or plain bytes.
  bool appendCompressedBlock(BlockBytes stored);
  bool appendUncompressedBlock(BlockBytes payload);
  // Rewrites the block at offset in place when the new stored form fits in its payload and
  // slack; the bytes behind the new payload stay as they were.
  bool updateBlock(BlockBytes payload, std::uint64_t offset);
  // Turns the block at offset into free space (true at once for a deleted block).
  bool deleteBlockAtFileOffset(std::uint64_t offset);
  // Moves the block last read down to target when it fits before the end of its old place
  // and moves or shrinks; nextOffset gets the next free offset either way. The stored
  // compressed bytes, when given and compression is on, are written as they are.
  bool optimizeLastBlock(BlockBytes payload, std::optional<BlockBytes> storedCompressed,
                         std::uint64_t target, std::uint64_t* nextOffset);
  // Copies the live blocks to a new file (not this one, by name compared without case or
  // by identity), through the handler when given.
  // Without skipErrors, damage met while reading stops the copy with false.
  bool optimizeToPath(const std::filesystem::path& destination, bool skipErrors,
                      KeyedStorageHandler* handler);

  // The salvage walk over the whole file (see above); nullopt without a file or when it
  // cannot be read. The stream's position is left as it was.
  [[nodiscard]] std::optional<StorageSalvage> salvageWalk();
  // The payload of a block the salvage walk found, decompressed; storedCompressed as in
  // nextAvailableBlock. Nullopt when it is deleted or no longer intact.
  [[nodiscard]] std::optional<Block> readSalvagedBlock(const SalvagedBlock& block,
                                                       std::optional<Block>* storedCompressed);
  // Copies every live block the salvage walk finds to a new file (not this one), as
  // optimizeToPath does: through the handler when given, compressed bytes as they are
  // stored. False when the walk or a write fails, or the handler cancels.
  bool salvageToPath(const std::filesystem::path& destination, KeyedStorageHandler* handler);
  // Where following the headers from the start, without reading payloads, stops: the
  // file's length when the chain ends exactly there, else the offset of the first header
  // that is cut off, unknown, or whose block passes the end of the file. The position is
  // left at the end of the file.
  [[nodiscard]] std::uint64_t endOfHeaderChain();
  // Makes a file torn by a killed writer end at a block boundary, so that blocks appended
  // next are reachable: a torn last block is cut off, the torn padding of an intact live
  // last block is completed with zeros (at most 1 MiB of them). True when the file ends at
  // a boundary afterwards; false, with nothing changed, when other damage than a torn tail
  // follows the last intact block. Needs a storage open for updating or appending.
  bool truncateTornTail();

  bool truncateFileAtOffset(std::uint64_t length);
  bool synchronizeFile();
  // Unlocks and closes. Answers the low byte of the close's result: false after a
  // successful close, true when closing failed or there was no file.
  bool closeFile();

 private:
  KeyedStorage() = default;
  static KeyedStorage open(const std::filesystem::path& path, int flags, const char* mode, int lock,
                           bool append);

  // What appending a payload stores: its compressed bytes, or the payload itself.
  struct StoredBlock {
    std::optional<Block> compressed;  // owns the bytes when compressed
    BlockBytes bytes;
    std::uint32_t marker;
  };
  std::optional<StoredBlock> blockForWriting(BlockBytes payload) const;
  bool appendStored(BlockBytes stored, std::uint32_t marker);
  bool writeAppended(BlockBytes stored, std::uint32_t marker);
  bool writeBlock(BlockBytes stored, std::uint32_t marker, std::uint64_t slack);
  bool writeZeros(std::uint64_t count);
  [[nodiscard]] std::uint64_t fileSize() const;
  // Up to count bytes at offset, leaving the position after them; answers how many.
  std::size_t readAt(std::uint64_t offset, std::uint8_t* destination, std::size_t count);
  // The 16 header bytes at offset; logs "Invalid header at OFFSET" when short or unknown.
  std::optional<std::array<std::uint8_t, 16>> readHeaderAt(std::uint64_t offset, bool* nothing);

  std::FILE* _file = nullptr;
  std::filesystem::path _path;
  std::uint64_t _lastPosition = 0;
  std::uint64_t _lastLength = 0;
  std::uint64_t _blockSize = 0;
  bool _compressed = false;
  // The stream's buffer, owned here so that the stream uses the size asked for.
  std::unique_ptr<char[]> _buffer;
};

}  // namespace orvel

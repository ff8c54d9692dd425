// KeyedStorage over any file: the reader returns only payloads whose stored bytes match
// their checksum, the salvage walk reports blocks in order inside the file and reads each
// back intact, and repairing a torn tail keeps every intact block.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "orvel/base/big_endian.h"
#include "orvel/base/log.h"
#include "orvel/records/compression.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/text/crc32.h"

#include "fuzz/fuzz_support.h"

namespace {

const std::filesystem::path& scratchFile() {
  static const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("orvel-storage-fuzz-" + std::to_string(::getpid()));
  return path;
}

// The payload the reader returned for the block at offset is that block's stored bytes,
// matching its checksum, inflated when compressed.
void checkReadBlock(const std::uint8_t* data, std::size_t size, std::uint64_t offset,
                    const orvel::Block& payload) {
  ORVEL_FUZZ_CHECK(offset + orvel::kBlockHeaderSize <= size);
  const std::uint8_t* header = data + offset;
  const std::uint32_t length = orvel::loadBigEndian32(header + 4);
  ORVEL_FUZZ_CHECK(length > 0 && offset + orvel::kBlockHeaderSize + length <= size);
  const std::uint8_t* stored = header + orvel::kBlockHeaderSize;
  ORVEL_FUZZ_CHECK(orvel::CRC32(stored, length) == orvel::loadBigEndian32(header + 12));
  if (orvel::loadBigEndian32(header) == orvel::kCompressedBlockMarker) {
    ORVEL_FUZZ_CHECK(orvel::dataByInflatingData({stored, length}) == payload);
  } else {
    ORVEL_FUZZ_CHECK(orvel::Block(stored, stored + length) == payload);
  }
}

std::size_t checkSalvage(orvel::KeyedStorage& storage, std::size_t size) {
  const auto walk = storage.salvageWalk();
  ORVEL_FUZZ_CHECK(walk.has_value() && walk->fileLength == size);
  std::uint64_t end = 0;
  for (const orvel::SalvagedBlock& block : walk->blocks) {
    ORVEL_FUZZ_CHECK(block.offset >= end);
    end = block.offset + orvel::kBlockHeaderSize + block.length;
    ORVEL_FUZZ_CHECK(end <= size);
    if (!block.isDeleted()) ORVEL_FUZZ_CHECK(storage.readSalvagedBlock(block, nullptr).has_value());
  }
  for (const orvel::StorageAnomaly& anomaly : walk->anomalies) {
    ORVEL_FUZZ_CHECK(anomaly.offset + anomaly.length <= size);
    static_cast<void>(orvel::describeStorageAnomaly(anomaly));
  }
  return walk->liveBlocks();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = (orvel::setLogSink([](std::string_view) {}), true);
  static_cast<void>(quiet);
  {
    std::ofstream out(scratchFile(), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  std::size_t live = 0;
  {
    orvel::KeyedStorage storage = orvel::KeyedStorage::forReading(scratchFile());
    ORVEL_FUZZ_CHECK(storage.isValid());
    bool damaged = false;
    for (int blocks = 0; blocks < 100000; ++blocks) {
      const auto payload = storage.nextAvailableBlock(nullptr, &damaged);
      if (!payload) break;
      checkReadBlock(data, size, storage.offsetOfLastBlock(), *payload);
    }
    live = checkSalvage(storage, size);
    ORVEL_FUZZ_CHECK(storage.endOfHeaderChain() <= size);
  }
  // A repair only cuts off a torn tail or completes a padding with zeros: every intact block
  // stays. (Zeros completing a padding may complete a block that was cut off, too: a header
  // whose checksum is 0 over zeros is intact.)
  orvel::KeyedStorage storage = orvel::KeyedStorage::forUpdating(scratchFile());
  if (storage.truncateTornTail()) {
    const std::size_t repaired = static_cast<std::size_t>(storage.lengthOfFile());
    ORVEL_FUZZ_CHECK(repaired <= size + (1 << 20));
    ORVEL_FUZZ_CHECK(checkSalvage(storage, repaired) >= live);
  }
  return 0;
}

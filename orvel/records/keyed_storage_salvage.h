// What the salvage walk of a KeyedStorage file finds (KeyedStorage::salvageWalk): the
// intact blocks, and every anomaly between and around them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvel {

enum class StorageAnomalyKind {
  kBadChecksum,   // a header whose payload does not match its checksum
  kCutShort,      // a header whose block runs into the next intact block: a torn append
                  // that more blocks followed
  kUninflatable,  // a compressed block whose checksum is right but whose bytes do not inflate
  kSlackJump,     // a block's slack runs over an intact block (a damaged slack field)
  kTornTail,      // the file ends inside a block: a partial header, payload or slack
  kUnaccounted,   // bytes that no intact block accounts for
};

struct StorageAnomaly {
  StorageAnomalyKind kind;
  std::uint64_t offset;  // where the damaged block or the bytes start
  std::uint64_t length;  // how many bytes of the file it concerns
};

// One line: "bad checksum at 64 (48 bytes)", "slack of the block at 0 runs over the intact
// block at 64", ...
[[nodiscard]] std::string describeStorageAnomaly(const StorageAnomaly& anomaly);

// An intact block: its header is whole and known, its payload lies inside the file and
// matches the checksum, and a compressed payload inflates. A deleted block (length 0) is
// intact when its header is.
struct SalvagedBlock {
  std::uint64_t offset;
  std::uint32_t marker;
  std::uint32_t length;  // stored payload bytes; 0: deleted
  std::uint32_t slack;
  [[nodiscard]] bool isDeleted() const { return length == 0; }
};

struct StorageSalvage {
  std::uint64_t fileLength = 0;
  std::vector<SalvagedBlock> blocks;  // in file order, live and deleted
  std::vector<StorageAnomaly> anomalies;

  [[nodiscard]] std::size_t liveBlocks() const;
  [[nodiscard]] bool isDamaged() const { return !anomalies.empty(); }
};

}  // namespace orvel

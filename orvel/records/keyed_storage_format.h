// The KeyedStorage block file: blocks one after another, no file header.
//
// All integers are big-endian. One block:
//
//   OFFSET  SIZE  DESCRIPTION
//   0       4     marker: kPlainBlockMarker, kCompressedBlockMarker (a zlib stream made at
//                 level 1), or kLegacyPlainBlockMarker (plain; read, never written)
//   4       4     payload length n; 0 marks a deleted block
//   8       4     slack s: unused bytes after the payload
//   12      4     CRC32 (register from 0, no final XOR) of the n stored bytes; 0 when deleted
//   16      n     payload as stored
//   16 + n  s     slack: zeros when appended; left as they were by updates and deletion
//
// The next block starts at 16 + n + s. With a block size B, appended and moved blocks are
// padded so that 16 + n + s is a multiple of B.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel {

inline constexpr std::uint32_t kPlainBlockMarker = 0x31415926;
inline constexpr std::uint32_t kCompressedBlockMarker = 0x98765432;
inline constexpr std::uint32_t kLegacyPlainBlockMarker = 0x53545354;  // "STST"

inline constexpr std::size_t kBlockHeaderSize = 16;

[[nodiscard]] constexpr bool isKnownBlockMarker(std::uint32_t marker) {
  return marker == kPlainBlockMarker || marker == kCompressedBlockMarker ||
         marker == kLegacyPlainBlockMarker;
}

// The slack that pads a payload of n bytes to the block size (0: no padding).
[[nodiscard]] constexpr std::uint64_t blockSlack(std::uint64_t n, std::uint64_t blockSize) {
  if (blockSize == 0) return 0;
  const std::uint64_t rest = (n + kBlockHeaderSize) % blockSize;
  return rest == 0 ? 0 : blockSize - rest;
}

}  // namespace orvel

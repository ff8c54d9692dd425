// Reading and writing big-endian integers byte by byte, whatever the host order.
// Binary formats go through these helpers, never through struct casts.
#pragma once

#include <cstdint>

namespace orvel {

[[nodiscard]] constexpr std::uint16_t loadBigEndian16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

[[nodiscard]] constexpr std::uint32_t loadBigEndian32(const std::uint8_t* p) {
  return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
         std::uint32_t{p[3]};
}

[[nodiscard]] constexpr std::uint64_t loadBigEndian64(const std::uint8_t* p) {
  return (std::uint64_t{loadBigEndian32(p)} << 32) | loadBigEndian32(p + 4);
}

constexpr void storeBigEndian16(std::uint8_t* p, std::uint16_t value) {
  p[0] = static_cast<std::uint8_t>(value >> 8);
  p[1] = static_cast<std::uint8_t>(value);
}

constexpr void storeBigEndian32(std::uint8_t* p, std::uint32_t value) {
  p[0] = static_cast<std::uint8_t>(value >> 24);
  p[1] = static_cast<std::uint8_t>(value >> 16);
  p[2] = static_cast<std::uint8_t>(value >> 8);
  p[3] = static_cast<std::uint8_t>(value);
}

constexpr void storeBigEndian64(std::uint8_t* p, std::uint64_t value) {
  storeBigEndian32(p, static_cast<std::uint32_t>(value >> 32));
  storeBigEndian32(p + 4, static_cast<std::uint32_t>(value));
}

}  // namespace orvel

// Portable CRC-32: slicing-by-8 over tables computed at compile time from the polynomial.
#include <array>
#include <bit>
#include <cstring>

#include "orvel/text/crc32.h"
#include "orvel/text/internal/crc32_kernels.h"

namespace orvel {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;

// kSlices[0] is the byte table; kSlices[k][i] is the CRC of byte i followed by k zero bytes,
// so eight table lookups advance the register over eight bytes at once.
constexpr auto kSlices = [] {
  std::array<std::array<std::uint32_t, 256>, 8> slices{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t crc = i;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) ? kPolynomial : 0);
    slices[0][i] = crc;
  }
  for (std::size_t k = 1; k < 8; ++k) {
    for (std::uint32_t i = 0; i < 256; ++i) {
      const std::uint32_t previous = slices[k - 1][i];
      slices[k][i] = (previous >> 8) ^ slices[0][previous & 0xFF];
    }
  }
  return slices;
}();

static_assert(kSlices[0][0x80] == 0xEDB88320);

}  // namespace

const std::array<std::uint32_t, 256> CRC32_TAB = kSlices[0];

namespace internal {

std::uint32_t crc32UpdatePortable(std::uint32_t crc, const std::uint8_t* data, std::size_t length) {
  if constexpr (std::endian::native == std::endian::little) {
    for (; length >= 8; data += 8, length -= 8) {
      std::uint64_t word;
      std::memcpy(&word, data, 8);
      word ^= crc;
      crc = kSlices[7][word & 0xFF] ^ kSlices[6][(word >> 8) & 0xFF] ^
            kSlices[5][(word >> 16) & 0xFF] ^ kSlices[4][(word >> 24) & 0xFF] ^
            kSlices[3][(word >> 32) & 0xFF] ^ kSlices[2][(word >> 40) & 0xFF] ^
            kSlices[1][(word >> 48) & 0xFF] ^ kSlices[0][word >> 56];
    }
  }
  for (; length > 0; ++data, --length) crc = (crc >> 8) ^ kSlices[0][(crc ^ *data) & 0xFF];
  return crc;
}

}  // namespace internal
}  // namespace orvel

// The CRC-32 register update behind every CRC of the library, in three implementations:
// a portable slicing-by-8 loop, a carry-less-multiplication fold on 128-bit registers (x86
// PCLMULQDQ), and the same fold on 512-bit registers (VPCLMULQDQ with AVX-512) for inputs
// of 256 bytes or more; chosen once at run time. Both continue a register value: reflected
// polynomial 0xEDB88320, register (r >> 8) ^ T[(r ^ byte) & 0xFF] per byte, no pre- or
// post-inversion.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel::internal {

[[nodiscard]] std::uint32_t crc32UpdatePortable(std::uint32_t crc, const std::uint8_t* data,
                                                std::size_t length);

// Whether this CPU can run crc32UpdateClmul.
[[nodiscard]] bool crc32ClmulSupported();
[[nodiscard]] std::uint32_t crc32UpdateClmul(std::uint32_t crc, const std::uint8_t* data,
                                             std::size_t length);

// Whether this CPU can run crc32UpdateVpclmul512 (shorter inputs go to the 128-bit fold).
[[nodiscard]] bool crc32Vpclmul512Supported();
[[nodiscard]] std::uint32_t crc32UpdateVpclmul512(std::uint32_t crc, const std::uint8_t* data,
                                                  std::size_t length);

// The fastest implementation this CPU supports.
[[nodiscard]] std::uint32_t crc32Update(std::uint32_t crc, const std::uint8_t* data,
                                        std::size_t length);

}  // namespace orvel::internal

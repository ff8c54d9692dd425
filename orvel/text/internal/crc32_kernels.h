// The CRC-32 register update behind every CRC of the library, in two implementations:
// a portable slicing-by-8 loop and a carry-less-multiplication fold (x86 PCLMULQDQ),
// chosen once at run time. Both continue a register value: reflected polynomial
// 0xEDB88320, register (r >> 8) ^ T[(r ^ byte) & 0xFF] per byte, no pre- or post-inversion.
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

// The fastest implementation this CPU supports.
[[nodiscard]] std::uint32_t crc32Update(std::uint32_t crc, const std::uint8_t* data,
                                        std::size_t length);

}  // namespace orvel::internal

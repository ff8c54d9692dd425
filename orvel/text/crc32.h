// CRC-32 fingerprints of bytes, of UTF-16 code units and of folded or filtered strings.
//
// The parameters are part of the block-file format that checksums with them:
//   polynomial  0xEDB88320 (IEEE 802.3, reflected)
//   register    starts at 0, no final XOR, no length mixed in
//   check value CRC32("123456789") == 0x2DFD2D88 (the usual CRC-32's 0xCBF43926 starts
//               from and XORs with 0xFFFFFFFF; zlib's crc32(0xFFFFFFFF, b, n) ^ 0xFFFFFFFF
//               equals CRC32(b, n))
//   code units  fed high byte first (big-endian), whatever the host order
// An absent or empty input gives 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {

// Entry i is the CRC of the single byte i.
extern const std::array<std::uint32_t, 256> CRC32_TAB;

[[nodiscard]] std::uint32_t CRC32(const void* bytes, std::size_t length);
// Continues a CRC over more bytes: updateCRC32(CRC32(a, n), b, m) is the CRC of a then b.
[[nodiscard]] std::uint32_t updateCRC32(std::uint32_t crc, const void* bytes, std::size_t length);
[[nodiscard]] std::uint32_t CRC32UniChars(const unichar* units, std::size_t length);
// Each unit folded through table first (null: no folding).
[[nodiscard]] std::uint32_t CRC32UniCharsUsingConversionTable(const unichar* units,
                                                              std::size_t length,
                                                              ConversionTable table);
[[nodiscard]] std::uint32_t stringCRC32UsingConversionTable(std::u16string_view string,
                                                            ConversionTable table);

[[nodiscard]] inline std::uint32_t crc32(std::u16string_view string) {
  return stringCRC32UsingConversionTable(string, nullptr);
}
[[nodiscard]] inline std::uint32_t crc32UsingConversionTable(std::u16string_view string,
                                                             ConversionTable table) {
  return stringCRC32UsingConversionTable(string, table);
}
[[nodiscard]] inline std::uint32_t crc32(std::span<const std::uint8_t> data) {
  return CRC32(data.data(), data.size());
}

// The CRC of the member units only, each folded through the upper table; membership is
// tested before folding. 0 for a null set or when no unit is kept.
[[nodiscard]] std::uint32_t caseInsensitiveCrc32UsingCharactersPartOfCharacterSetRep(
    std::u16string_view string, CharacterSetRep set);
[[nodiscard]] std::uint32_t caseInsensitiveCrc32ByRemovingNonAlphaCharacters(
    std::u16string_view string);
[[nodiscard]] std::uint32_t caseInsensitiveCrc32ByRemovingNonAlphaNumericCharacters(
    std::u16string_view string);

// The CRC of a whole file's bytes; 0 for an empty path or an unreadable file.
[[nodiscard]] std::uint32_t crc32ForFileAtPath(const std::filesystem::path& path);

}  // namespace orvel

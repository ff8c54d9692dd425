#include "orvel/text/crc32.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "orvel/text/internal/crc32_kernels.h"

namespace orvel {
namespace {

// CRC of units (folded through table when given), each fed high byte first. The units are
// turned into big-endian bytes a block at a time so the byte kernel does the work.
std::uint32_t crcOfUnits(const unichar* units, std::size_t length, ConversionTable table) {
  if (units == nullptr) return 0;
  constexpr std::size_t kBlockUnits = 2048;
  std::uint8_t block[2 * kBlockUnits];
  std::uint32_t crc = 0;
  while (length > 0) {
    const std::size_t n = length < kBlockUnits ? length : kBlockUnits;
    for (std::size_t i = 0; i < n; ++i) {
      const unichar u = table != nullptr ? table[units[i]] : units[i];
      block[2 * i] = static_cast<std::uint8_t>(u >> 8);
      block[2 * i + 1] = static_cast<std::uint8_t>(u);
    }
    crc = internal::crc32Update(crc, block, 2 * n);
    units += n;
    length -= n;
  }
  return crc;
}

}  // namespace

std::uint32_t CRC32(const void* bytes, std::size_t length) { return updateCRC32(0, bytes, length); }

std::uint32_t updateCRC32(std::uint32_t crc, const void* bytes, std::size_t length) {
  if (bytes == nullptr) return crc;
  return internal::crc32Update(crc, static_cast<const std::uint8_t*>(bytes), length);
}

std::uint32_t CRC32UniChars(const unichar* units, std::size_t length) {
  return crcOfUnits(units, length, nullptr);
}

std::uint32_t CRC32UniCharsUsingConversionTable(const unichar* units, std::size_t length,
                                                ConversionTable table) {
  return crcOfUnits(units, length, table);
}

std::uint32_t stringCRC32UsingConversionTable(std::u16string_view string, ConversionTable table) {
  return crcOfUnits(string.data(), string.size(), table);
}

std::uint32_t caseInsensitiveCrc32UsingCharactersPartOfCharacterSetRep(std::u16string_view string,
                                                                       CharacterSetRep set) {
  if (set == nullptr || string.empty()) return 0;
  initLowerCharsTable();
  ConversionTable upper = initUpperCharsTable();
  std::u16string kept;
  kept.reserve(string.size());
  for (unichar u : string) {
    if (isMemberOfCharacterSetRep(set, u)) kept.push_back(upper[u]);
  }
  return crcOfUnits(kept.data(), kept.size(), nullptr);
}

std::uint32_t caseInsensitiveCrc32ByRemovingNonAlphaCharacters(std::u16string_view string) {
  return caseInsensitiveCrc32UsingCharactersPartOfCharacterSetRep(string, alphaCharacterSetRep());
}

std::uint32_t caseInsensitiveCrc32ByRemovingNonAlphaNumericCharacters(std::u16string_view string) {
  return caseInsensitiveCrc32UsingCharactersPartOfCharacterSetRep(string,
                                                                  alphaNumCharacterSetRep());
}

std::uint32_t crc32ForFileAtPath(const std::filesystem::path& path) {
  if (path.empty()) return 0;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  std::uint32_t crc = 0;
  std::uint8_t buffer[1 << 16];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n == 0) break;
    if (n < 0) {
      if (errno == EINTR) continue;
      crc = 0;
      break;
    }
    crc = updateCRC32(crc, buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return crc;
}

}  // namespace orvel

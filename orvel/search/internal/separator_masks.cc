#include "orvel/search/internal/separator_masks.h"

#include <bit>
#include <optional>

#include "orvel/text/internal/cpu_features.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define ORVEL_SEPARATOR_MASKS_SIMD 1
#endif

namespace orvel::internal {

SeparatorMasks::SeparatorMasks(CharacterSetRep set, bool useSimd)
    : _set(set), _useSimd(useSimd && simdSupported()) {
  for (unsigned unit = 0; unit < 128; ++unit) {
    if (isMemberOfCharacterSetRep(set, static_cast<unichar>(unit))) {
      _asciiRows[unit & 15] |= static_cast<std::uint8_t>(1u << (unit >> 4));
    }
  }
}

std::uint64_t SeparatorMasks::classifyPortable(const unichar* units, std::size_t count) const {
  std::uint64_t mask = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const unichar c = units[k];
    mask |= static_cast<std::uint64_t>((_set[c >> 3] >> (c & 7)) & 1) << k;
  }
  return mask;
}

#ifdef ORVEL_SEPARATOR_MASKS_SIMD

bool SeparatorMasks::simdSupported() {
  static const bool supported = cpuHasSsse3() && cpuHasPopcnt();
  return supported;
}

namespace {

// Membership of 64 units as far as they are ASCII; *nonAscii gets a bit for each unit at
// or above U+0080, whose membership bit is meaningless.
__attribute__((target("ssse3,popcnt"))) inline std::uint64_t classifyAscii64(
    const unichar* units, const std::uint8_t* rows, std::uint64_t* nonAscii) {
  const __m128i rowTable = _mm_load_si128(reinterpret_cast<const __m128i*>(rows));
  const __m128i bitTable = _mm_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m128i nibble = _mm_set1_epi8(0x0F);
  const __m128i highBits = _mm_set1_epi16(-128);  // 0xFF80
  std::uint64_t mask = 0;
  std::uint64_t wide = 0;
  for (int block = 0; block < 4; ++block) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 16 * block));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + 16 * block + 8));
    const __m128i asciiA = _mm_cmpeq_epi16(_mm_and_si128(a, highBits), _mm_setzero_si128());
    const __m128i asciiB = _mm_cmpeq_epi16(_mm_and_si128(b, highBits), _mm_setzero_si128());
    const auto ascii =
        static_cast<std::uint16_t>(_mm_movemask_epi8(_mm_packs_epi16(asciiA, asciiB)));
    wide |= static_cast<std::uint64_t>(static_cast<std::uint16_t>(~ascii)) << (16 * block);
    const __m128i bytes = _mm_packus_epi16(a, b);
    const __m128i low = _mm_and_si128(bytes, nibble);
    const __m128i high = _mm_and_si128(_mm_srli_epi16(bytes, 4), nibble);
    const __m128i rowBits = _mm_shuffle_epi8(rowTable, low);
    const __m128i highBit = _mm_shuffle_epi8(bitTable, high);
    const __m128i member = _mm_cmpeq_epi8(_mm_and_si128(rowBits, highBit), highBit);
    mask |= static_cast<std::uint64_t>(static_cast<std::uint16_t>(_mm_movemask_epi8(member)))
            << (16 * block);
  }
  *nonAscii = wide;
  return mask;
}

// The ASCII units by table, the few others one by one; nullopt for a block mostly of
// another script, which is cheaper to classify whole.
__attribute__((target("ssse3,popcnt"))) std::optional<std::uint64_t> classifyMostlyAscii64(
    const unichar* units, const std::uint8_t* rows, CharacterSetRep set) {
  std::uint64_t nonAscii = 0;
  std::uint64_t mask = classifyAscii64(units, rows, &nonAscii);
  if (std::popcount(nonAscii) > 16) return std::nullopt;
  mask &= ~nonAscii;
  for (; nonAscii != 0; nonAscii &= nonAscii - 1) {
    const int k = std::countr_zero(nonAscii);
    const unichar c = units[k];
    mask |= static_cast<std::uint64_t>((set[c >> 3] >> (c & 7)) & 1) << k;
  }
  return mask;
}

}  // namespace

std::uint64_t SeparatorMasks::classify(const unichar* units, std::size_t count) const {
  if (_useSimd && count == 64) {
    if (const auto mask = classifyMostlyAscii64(units, _asciiRows, _set)) return *mask;
  }
  return classifyPortable(units, count);
}

#else

bool SeparatorMasks::simdSupported() { return false; }

std::uint64_t SeparatorMasks::classify(const unichar* units, std::size_t count) const {
  return classifyPortable(units, count);
}

#endif

}  // namespace orvel::internal

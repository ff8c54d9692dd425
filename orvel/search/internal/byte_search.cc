#include "orvel/search/internal/byte_search.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "orvel/search/internal/rare_units.h"
#include "orvel/search/internal/utf8_units.h"
#include "orvel/text/internal/cpu_features.h"

namespace orvel::internal {
namespace {

char lowerAsciiByte(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalAt(const char* text, std::string_view needle, bool ignoreCase) {
  if (!ignoreCase) return std::memcmp(text, needle.data(), needle.size()) == 0;
  for (std::size_t k = 0; k < needle.size(); ++k) {
    if (lowerAsciiByte(text[k]) != needle[k]) return false;
  }
  return true;
}

// What findBytes looks for: the needle at a start position, and there as a whole word when
// asked (the UTF-16 units beside it, read from the UTF-8, no members of wholeWordsOf).
struct ByteMatch {
  std::string_view haystack;
  std::string_view needle;
  bool ignoreCase;
  CharacterSetRep wholeWordsOf;

  [[nodiscard]] bool at(std::size_t start) const {
    if (!equalAt(haystack.data() + start, needle, ignoreCase)) return false;
    if (wholeWordsOf == nullptr) return true;
    const std::size_t end = start + needle.size();
    return (start == 0 ||
            !isMemberOfCharacterSetRep(wholeWordsOf, lastUnitBefore(haystack, start))) &&
           (end == haystack.size() ||
            !isMemberOfCharacterSetRep(wholeWordsOf, firstUnitAt(haystack, end)));
  }
};

#if defined(__x86_64__)
// The candidates among the 32 start positions from `start`: bit k set when the needle's
// two rarest bytes are where a match at start + k would have them.
struct CandidateMasks {
  __m256i firstFold, secondFold, firstWanted, secondWanted;
  std::size_t firstOffset, secondOffset;

  __attribute__((target("avx2"), always_inline)) unsigned at(const char* text,
                                                             std::size_t start) const {
    const __m256i firstBytes = _mm256_or_si256(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + start + firstOffset)),
        firstFold);
    const __m256i secondBytes = _mm256_or_si256(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + start + secondOffset)),
        secondFold);
    return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_and_si256(
        _mm256_cmpeq_epi8(firstBytes, firstWanted), _mm256_cmpeq_epi8(secondBytes, secondWanted))));
  }
};

// The AVX2 form of the candidate scan in findBytes, 64 and then 32 start positions at a
// time: the first match, or npos with `start` moved to where the narrower loops go on.
__attribute__((target("avx2"))) std::size_t findBytesAvx2(const ByteMatch& match,
                                                          std::size_t& start, std::size_t last,
                                                          RareOffsets rare) {
  const char* text = match.haystack.data();
  const std::string_view needle = match.needle;
  const bool ignoreAsciiCase = match.ignoreCase;
  // A letter compared without case: both cases OR 0x20 to the lower one.
  const auto foldBit = [ignoreAsciiCase](char c) {
    return static_cast<char>(ignoreAsciiCase && c >= 'a' && c <= 'z' ? 0x20 : 0);
  };
  const char firstByte = needle[rare.first], secondByte = needle[rare.second];
  const CandidateMasks candidates{_mm256_set1_epi8(foldBit(firstByte)),
                                  _mm256_set1_epi8(foldBit(secondByte)),
                                  _mm256_set1_epi8(firstByte),
                                  _mm256_set1_epi8(secondByte),
                                  rare.first,
                                  rare.second};
  const auto firstMatch = [&](std::uint64_t mask, std::size_t from) {
    for (; mask != 0; mask &= mask - 1) {
      const std::size_t at = from + static_cast<std::size_t>(__builtin_ctzll(mask));
      if (match.at(at)) return at;
    }
    return std::string_view::npos;
  };
  for (; start + 64 <= last + 1; start += 64) {
    const std::uint64_t mask =
        candidates.at(text, start) | (std::uint64_t{candidates.at(text, start + 32)} << 32);
    if (mask == 0) continue;
    if (const std::size_t found = firstMatch(mask, start); found != std::string_view::npos) {
      return found;
    }
  }
  for (; start + 32 <= last + 1; start += 32) {
    if (const std::size_t found = firstMatch(candidates.at(text, start), start);
        found != std::string_view::npos) {
      return found;
    }
  }
  return std::string_view::npos;
}

const bool kHaveAvx2 = cpuHasAvx2();

// 128 bytes at a time: a byte from 0x80 sets the top bit of the OR of all, a NUL makes the
// unsigned minimum 0. False at the first block that fails; `at` is left where the narrower
// loop goes on.
__attribute__((target("avx2"))) bool plainAsciiBlocksAvx2(std::string_view bytes, std::size_t& at) {
  for (; at + 128 <= bytes.size(); at += 128) {
    const auto* blocks = reinterpret_cast<const __m256i*>(bytes.data() + at);
    const __m256i a = _mm256_loadu_si256(blocks), b = _mm256_loadu_si256(blocks + 1);
    const __m256i c = _mm256_loadu_si256(blocks + 2), d = _mm256_loadu_si256(blocks + 3);
    const __m256i any = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
    const __m256i least = _mm256_min_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d));
    const __m256i nul = _mm256_cmpeq_epi8(least, _mm256_setzero_si256());
    if (_mm256_movemask_epi8(_mm256_or_si256(any, nul)) != 0) return false;
  }
  return true;
}
#endif

}  // namespace

std::size_t findBytes(std::string_view haystack, std::string_view needle, bool ignoreAsciiCase,
                      std::size_t from, CharacterSetRep wholeWordsOf) {
  const ByteMatch match{haystack, needle, ignoreAsciiCase, wholeWordsOf};
  const std::size_t n = needle.size();
  if (from > haystack.size()) return std::string_view::npos;
  if (n == 0) return from;
  if (n > haystack.size() - from) return std::string_view::npos;
  const char* text = haystack.data();
  const std::size_t last = haystack.size() - n;  // the last start position
  std::size_t start = from;
  const RareOffsets rare = rarestOffsets(needle);
#if defined(__x86_64__)
  if (kHaveAvx2) {
    const std::size_t found = findBytesAvx2(match, start, last, rare);
    if (found != std::string_view::npos) return found;
  }
#endif
#if defined(__SSE2__)
  // Candidates are positions whose two rarest bytes fit (a letter either case), tested
  // sixteen at a time; only they are compared in full.
  auto bytesLike = [ignoreAsciiCase](char c, __m128i block) {
    const bool letter = ignoreAsciiCase && c >= 'a' && c <= 'z';
    const __m128i folded = letter ? _mm_or_si128(block, _mm_set1_epi8(0x20)) : block;
    return _mm_cmpeq_epi8(folded, _mm_set1_epi8(c));
  };
  for (; start + 16 <= last + 1; start += 16) {
    const __m128i firstBytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + start + rare.first));
    const __m128i secondBytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + start + rare.second));
    auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(
        bytesLike(needle[rare.first], firstBytes), bytesLike(needle[rare.second], secondBytes))));
    for (; mask != 0; mask &= mask - 1) {
      const std::size_t at = start + static_cast<std::size_t>(__builtin_ctz(mask));
      if (match.at(at)) return at;
    }
  }
#endif
  for (; start <= last; ++start) {
    if (match.at(start)) return start;
  }
  return std::string_view::npos;
}

bool isPlainAscii(std::string_view bytes) {
  std::size_t at = 0;
#if defined(__x86_64__)
  if (kHaveAvx2 && !plainAsciiBlocksAvx2(bytes, at)) return false;
#endif
#if defined(__SSE2__)
  for (; at + 16 <= bytes.size(); at += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data() + at));
    // A byte from 0x80 has its top bit set; a NUL equals zero.
    if (_mm_movemask_epi8(_mm_or_si128(v, _mm_cmpeq_epi8(v, _mm_setzero_si128()))) != 0) {
      return false;
    }
  }
#endif
  for (; at < bytes.size(); ++at) {
    const auto byte = static_cast<unsigned char>(bytes[at]);
    if (byte == 0 || byte >= 0x80) return false;
  }
  return true;
}

bool containsBytes(std::string_view haystack, std::string_view needle, bool ignoreAsciiCase) {
  return findBytes(haystack, needle, ignoreAsciiCase) != std::string_view::npos;
}

}  // namespace orvel::internal

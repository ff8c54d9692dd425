// Finding the next unit the scanner must look at: eight UTF-16 units per step with SSE2
// (part of every x86-64 processor), one at a time elsewhere and for the tail.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvel::internal {

// The first index in [from, to) holding a, b, c or d (repeat a unit to look for fewer),
// or `to`.
[[nodiscard]] inline std::size_t findFirstOfUnits(const unichar* units, std::size_t from,
                                                  std::size_t to, unichar a, unichar b, unichar c,
                                                  unichar d) {
  std::size_t k = from;
#if defined(__SSE2__)
  const __m128i va = _mm_set1_epi16(static_cast<short>(a));
  const __m128i vb = _mm_set1_epi16(static_cast<short>(b));
  const __m128i vc = _mm_set1_epi16(static_cast<short>(c));
  const __m128i vd = _mm_set1_epi16(static_cast<short>(d));
  for (; k + 8 <= to; k += 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k));
    const __m128i hits = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(v, va), _mm_cmpeq_epi16(v, vb)),
                                      _mm_or_si128(_mm_cmpeq_epi16(v, vc), _mm_cmpeq_epi16(v, vd)));
    if (const int mask = _mm_movemask_epi8(hits); mask != 0) {
      return k + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
    }
  }
#endif
  for (; k < to; ++k) {
    const unichar unit = units[k];
    if (unit == a || unit == b || unit == c || unit == d) return k;
  }
  return to;
}

// The first index in [from, to) holding a or b, or `to`.
[[nodiscard]] inline std::size_t findEitherUnit(const unichar* units, std::size_t from,
                                                std::size_t to, unichar a, unichar b) {
  std::size_t k = from;
#if defined(__SSE2__)
  const __m128i va = _mm_set1_epi16(static_cast<short>(a));
  const __m128i vb = _mm_set1_epi16(static_cast<short>(b));
  for (; k + 8 <= to; k += 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k));
    const __m128i hits = _mm_or_si128(_mm_cmpeq_epi16(v, va), _mm_cmpeq_epi16(v, vb));
    if (const int mask = _mm_movemask_epi8(hits); mask != 0) {
      return k + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
    }
  }
#endif
  while (k < to && units[k] != a && units[k] != b) ++k;
  return k;
}

// The first index in [from, to) holding one of three ASCII letters (given in lower case) in
// either case, or `to`.
[[nodiscard]] inline std::size_t findFoldedAsciiLetters(const unichar* units, std::size_t from,
                                                        std::size_t to, unichar a, unichar b,
                                                        unichar c) {
  std::size_t k = from;
#if defined(__SSE2__)
  const __m128i fold = _mm_set1_epi16(0x20);
  const __m128i va = _mm_set1_epi16(static_cast<short>(a));
  const __m128i vb = _mm_set1_epi16(static_cast<short>(b));
  const __m128i vc = _mm_set1_epi16(static_cast<short>(c));
  for (; k + 8 <= to; k += 8) {
    const __m128i v =
        _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k)), fold);
    const __m128i hits = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(v, va), _mm_cmpeq_epi16(v, vb)),
                                      _mm_cmpeq_epi16(v, vc));
    if (const int mask = _mm_movemask_epi8(hits); mask != 0) {
      return k + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
    }
  }
#endif
  for (; k < to; ++k) {
    const unichar folded = units[k] | 0x20;
    if (folded == a || folded == b || folded == c) return k;
  }
  return to;
}

// The first index in [from, to) holding a, or `to`: sixteen units a step.
[[nodiscard]] inline std::size_t findUnit(const unichar* units, std::size_t from, std::size_t to,
                                          unichar a) {
  std::size_t k = from;
#if defined(__SSE2__)
  const __m128i va = _mm_set1_epi16(static_cast<short>(a));
  for (; k + 16 <= to; k += 16) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k + 8));
    const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(low, va))) |
                      static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(high, va))) << 16;
    if (mask != 0) return k + static_cast<std::size_t>(__builtin_ctz(mask)) / 2;
  }
  if (k + 8 <= to) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k));
    if (const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(v, va)); mask != 0) {
      return k + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
    }
    k += 8;
  }
#endif
  while (k < to && units[k] != a) ++k;
  return k;
}

// Copies units from `from` while they are printable ASCII or single spaces (a space after a
// space, or first when previousIsWhite, stops it), into out; answers where the first unit
// not copied is (or `to`). Text collapsed this way is copied as it stands, so prose goes
// through eight units a step whatever its word lengths. Eight units are stored at a time:
// out must have room for 8 units past what is copied.
[[nodiscard]] inline std::size_t copySingleSpacedAscii(const unichar* units, std::size_t from,
                                                       std::size_t to, unichar* out,
                                                       bool previousIsWhite) {
  std::size_t k = from;
  bool previousSpace = previousIsWhite;
#if defined(__SSE2__)
  const __m128i space = _mm_set1_epi16(0x20);
  const __m128i high = _mm_set1_epi16(0x7E);
  const __m128i firstLane = _mm_setr_epi16(-1, 0, 0, 0, 0, 0, 0, 0);
  for (; k + 8 <= to; k += 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + k));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + (k - from)), v);
    // Signed comparisons: units from U+8000 count as below the space, which is wanted.
    const __m128i outside = _mm_or_si128(_mm_cmplt_epi16(v, space), _mm_cmpgt_epi16(v, high));
    const __m128i spaces = _mm_cmpeq_epi16(v, space);
    __m128i afterSpace = _mm_slli_si128(spaces, 2);
    if (previousSpace) afterSpace = _mm_or_si128(afterSpace, firstLane);
    const __m128i stop = _mm_or_si128(outside, _mm_and_si128(spaces, afterSpace));
    if (const int mask = _mm_movemask_epi8(stop); mask != 0) {
      return k + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
    }
    previousSpace = units[k + 7] == u' ';
  }
#endif
  for (; k < to; ++k) {
    const unichar unit = units[k];
    if (unit < 0x20 || unit > 0x7E || (unit == u' ' && previousSpace)) break;
    out[k - from] = unit;
    previousSpace = unit == u' ';
  }
  return k;
}

// Whether the units hold `word` (lower-case ASCII) in any case: candidates for its unit at
// `anchor` (best a rare one: the "y" of "style") are found in bulk, then compared.
[[nodiscard]] inline bool containsAsciiIgnoringCase(const unichar* units, std::size_t length,
                                                    std::string_view word, std::size_t anchor = 0) {
  if (word.empty() || word.size() > length || anchor >= word.size()) return false;
  const auto upper = [](char c) {
    return static_cast<unichar>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  };
  const auto matches = [&](std::size_t at, std::size_t m) {
    return units[at] == static_cast<unichar>(word[m]) || units[at] == upper(word[m]);
  };
  const unichar lower = static_cast<unichar>(word[anchor]);
  const unichar capital = upper(word[anchor]);
  const std::size_t last = length - word.size() + anchor;  // the anchor's last place
  for (std::size_t k = findFirstOfUnits(units, anchor, last + 1, lower, capital, lower, capital);
       k <= last; k = findFirstOfUnits(units, k + 1, last + 1, lower, capital, lower, capital)) {
    const std::size_t start = k - anchor;
    std::size_t m = 0;
    while (m < word.size() && matches(start + m, m)) ++m;
    if (m == word.size()) return true;
  }
  return false;
}

}  // namespace orvel::internal

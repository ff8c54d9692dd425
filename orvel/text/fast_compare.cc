#include "orvel/text/fast_compare.h"

namespace orvel {
namespace {

// How each side's element becomes a comparable unit.
inline unichar widen(char c) { return static_cast<unichar>(static_cast<signed char>(c)); }
inline unichar unitOf(unichar c) { return c; }
inline unichar unitOf(char c) { return widen(c); }

struct Exact {
  unichar operator()(unichar c) const { return c; }
};
struct Folded {
  ConversionTable table;
  unichar operator()(unichar c) const { return table[c]; }
};

template <typename A, typename B, typename Fold>
std::ptrdiff_t compareArrays(const A* chars1, std::size_t length1, const B* chars2,
                             std::size_t length2, Fold fold) {
  const std::size_t n = length1 < length2 ? length1 : length2;
  for (std::size_t i = 0; i < n; ++i) {
    const unichar a = fold(unitOf(chars1[i]));
    const unichar b = fold(unitOf(chars2[i]));
    if (a != b) return static_cast<std::ptrdiff_t>(a) - static_cast<std::ptrdiff_t>(b);
  }
  return static_cast<std::ptrdiff_t>(length1) - static_cast<std::ptrdiff_t>(length2);
}

// Tries every start position from 0 to length - needleLength - lastPositionsSkipped.
template <typename B, typename Fold>
const unichar* containsArray(const unichar* chars, std::size_t length, const B* needle,
                             std::size_t needleLength, Fold fold,
                             std::size_t lastPositionsSkipped) {
  if (needleLength - 1 >= length) return nullptr;  // also rejects an empty needle
  const std::size_t last = length - needleLength;
  if (last < lastPositionsSkipped) return nullptr;
  const unichar first = fold(unitOf(needle[0]));
  for (std::size_t start = 0; start <= last - lastPositionsSkipped; ++start) {
    if (fold(chars[start]) != first) continue;
    std::size_t i = 1;
    while (i < needleLength && fold(chars[start + i]) == fold(unitOf(needle[i]))) ++i;
    if (i == needleLength) return chars + start;
  }
  return nullptr;
}

Folded upperFold() { return Folded{initUpperCharsTable()}; }

}  // namespace

std::ptrdiff_t fastCompareUnichars(const unichar* chars1, std::size_t length1,
                                   const unichar* chars2, std::size_t length2) {
  return compareArrays(chars1, length1, chars2, length2, Exact{});
}

std::ptrdiff_t fastCompareUnicharsWithChars(const unichar* chars1, std::size_t length1,
                                            const char* chars2, std::size_t length2) {
  return compareArrays(chars1, length1, chars2, length2, Exact{});
}

std::ptrdiff_t fastCompareChars(const char* chars1, std::size_t length1, const char* chars2,
                                std::size_t length2) {
  const std::size_t n = length1 < length2 ? length1 : length2;
  for (std::size_t i = 0; i < n; ++i) {
    const auto a = static_cast<signed char>(chars1[i]);
    const auto b = static_cast<signed char>(chars2[i]);
    if (a != b) return static_cast<std::ptrdiff_t>(a) - b;
  }
  return static_cast<std::ptrdiff_t>(length1) - static_cast<std::ptrdiff_t>(length2);
}

std::ptrdiff_t fastCompareUnicharsUsingConversionTable(const unichar* chars1, std::size_t length1,
                                                       const unichar* chars2, std::size_t length2,
                                                       ConversionTable table) {
  if (table == nullptr) return fastCompareUnichars(chars1, length1, chars2, length2);
  return compareArrays(chars1, length1, chars2, length2, Folded{table});
}

std::ptrdiff_t fastCaseInsensitiveCompareUnichars(const unichar* chars1, std::size_t length1,
                                                  const unichar* chars2, std::size_t length2) {
  return compareArrays(chars1, length1, chars2, length2, upperFold());
}

std::ptrdiff_t fastCaseInsensitiveCompareUnicharsWithChars(const unichar* chars1,
                                                           std::size_t length1, const char* chars2,
                                                           std::size_t length2) {
  return compareArrays(chars1, length1, chars2, length2, upperFold());
}

std::ptrdiff_t fastCaseInsensitiveCompareChars(const char* chars1, std::size_t length1,
                                               const char* chars2, std::size_t length2) {
  return compareArrays(chars1, length1, chars2, length2, upperFold());
}

const unichar* fastContainsUnichars(const unichar* chars, std::size_t length, const unichar* needle,
                                    std::size_t needleLength) {
  return containsArray(chars, length, needle, needleLength, Exact{}, 1);
}

const unichar* fastCaseInsensitiveContainsUnichars(const unichar* chars, std::size_t length,
                                                   const unichar* needle,
                                                   std::size_t needleLength) {
  return containsArray(chars, length, needle, needleLength, upperFold(), 0);
}

const unichar* fastUnicharsContainChars(const unichar* chars, std::size_t length,
                                        const char* needle, std::size_t needleLength) {
  return containsArray(chars, length, needle, needleLength, Exact{}, 0);
}

const unichar* fastCaseInsensitiveUnicharsContainChars(const unichar* chars, std::size_t length,
                                                       const char* needle,
                                                       std::size_t needleLength) {
  return containsArray(chars, length, needle, needleLength, upperFold(), 0);
}

}  // namespace orvel

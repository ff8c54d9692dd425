// Comparison and containment over raw arrays of UTF-16 code units with explicit lengths.
//
// The 8-bit variants (names ending in Chars) take C characters for ASCII needles; each
// byte is read as a signed char and widened, so bytes 0x80..0xFF become U+FF80..U+FFFF.
// Case-insensitive forms fold both sides through _upperCharsTable.
#pragma once

#include <cstddef>

#include "orvel/base/types.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {

// The difference of the first two differing (folded) units, or when one array is a prefix
// of the other, length1 - length2. Zero means equal.
[[nodiscard]] std::ptrdiff_t fastCompareUnichars(const unichar* chars1, std::size_t length1,
                                                 const unichar* chars2, std::size_t length2);
[[nodiscard]] std::ptrdiff_t fastCompareUnicharsWithChars(const unichar* chars1,
                                                          std::size_t length1, const char* chars2,
                                                          std::size_t length2);
// Both sides 8-bit: the difference of the first differing bytes as signed chars.
[[nodiscard]] std::ptrdiff_t fastCompareChars(const char* chars1, std::size_t length1,
                                              const char* chars2, std::size_t length2);
// Through `table` (null: exact).
[[nodiscard]] std::ptrdiff_t fastCompareUnicharsUsingConversionTable(const unichar* chars1,
                                                                     std::size_t length1,
                                                                     const unichar* chars2,
                                                                     std::size_t length2,
                                                                     ConversionTable table);
[[nodiscard]] std::ptrdiff_t fastCaseInsensitiveCompareUnichars(const unichar* chars1,
                                                                std::size_t length1,
                                                                const unichar* chars2,
                                                                std::size_t length2);
[[nodiscard]] std::ptrdiff_t fastCaseInsensitiveCompareUnicharsWithChars(const unichar* chars1,
                                                                         std::size_t length1,
                                                                         const char* chars2,
                                                                         std::size_t length2);
[[nodiscard]] std::ptrdiff_t fastCaseInsensitiveCompareChars(const char* chars1,
                                                             std::size_t length1,
                                                             const char* chars2,
                                                             std::size_t length2);

// Containment: a pointer to the first unit of the first occurrence of the needle, or null.
// An empty needle, or one longer than the text, is never found.
//
// fastContainsUnichars deliberately stops one start position early: an occurrence that
// ends exactly at the end of the text (including a needle as long as the text) is not
// found. Every other containment function tries that last position too.
[[nodiscard]] const unichar* fastContainsUnichars(const unichar* chars, std::size_t length,
                                                  const unichar* needle, std::size_t needleLength);
[[nodiscard]] const unichar* fastCaseInsensitiveContainsUnichars(const unichar* chars,
                                                                 std::size_t length,
                                                                 const unichar* needle,
                                                                 std::size_t needleLength);
[[nodiscard]] const unichar* fastUnicharsContainChars(const unichar* chars, std::size_t length,
                                                      const char* needle, std::size_t needleLength);
[[nodiscard]] const unichar* fastCaseInsensitiveUnicharsContainChars(const unichar* chars,
                                                                     std::size_t length,
                                                                     const char* needle,
                                                                     std::size_t needleLength);

// The same operations under the names the string extensions give them.
[[nodiscard]] inline std::ptrdiff_t compareCharacters(const unichar* chars1, std::size_t length1,
                                                      const unichar* chars2, std::size_t length2) {
  return fastCompareUnichars(chars1, length1, chars2, length2);
}
[[nodiscard]] inline std::ptrdiff_t compareCharacters(const unichar* chars1, std::size_t length1,
                                                      const char* chars2, std::size_t length2) {
  return fastCompareUnicharsWithChars(chars1, length1, chars2, length2);
}
[[nodiscard]] inline std::ptrdiff_t caseInsensitiveCompareCharacters(const unichar* chars1,
                                                                     std::size_t length1,
                                                                     const unichar* chars2,
                                                                     std::size_t length2) {
  return fastCaseInsensitiveCompareUnichars(chars1, length1, chars2, length2);
}
[[nodiscard]] inline std::ptrdiff_t caseInsensitiveCompareCharacters(const unichar* chars1,
                                                                     std::size_t length1,
                                                                     const char* chars2,
                                                                     std::size_t length2) {
  return fastCaseInsensitiveCompareUnicharsWithChars(chars1, length1, chars2, length2);
}
// Note the order: the 8-bit needle first, then the searched units.
[[nodiscard]] inline const unichar* positionOfCharacters(const char* needle,
                                                         std::size_t needleLength,
                                                         const unichar* chars, std::size_t length,
                                                         bool caseSensitive) {
  return caseSensitive
             ? fastUnicharsContainChars(chars, length, needle, needleLength)
             : fastCaseInsensitiveUnicharsContainChars(chars, length, needle, needleLength);
}

}  // namespace orvel

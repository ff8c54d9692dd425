// Finding and counting single characters, sets of characters and 8-bit needles in strings.
//
// Case rules of findCharacter, findLastCharacter and countCharacter, kept as they are:
// a character without case distinction (its upper and lower forms agree) is searched
// exactly; with caseInsensitive, any unit whose upper form equals the character's upper
// form matches; otherwise (case-sensitive, and the character has case) the search is for
// the character's UPPER-CASE form, so searching "a" case-sensitively finds only "A".
//
// Start indexes below 0 count as 0.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {

// The index of the first match at or after startIndex, or NSNotFound.
[[nodiscard]] std::size_t findCharacter(std::u16string_view string, unichar character,
                                        std::ptrdiff_t startIndex = 0,
                                        bool caseInsensitive = false);
// The index of the last match at or after startIndex, or NSNotFound.
[[nodiscard]] std::size_t findLastCharacter(std::u16string_view string, unichar character,
                                            std::ptrdiff_t startIndex = 0,
                                            bool caseInsensitive = false);
// The number of matches at or after startIndex.
[[nodiscard]] std::size_t countCharacter(std::u16string_view string, unichar character,
                                         std::ptrdiff_t startIndex = 0,
                                         bool caseInsensitive = false);
[[nodiscard]] inline bool containsCharacter(std::u16string_view string, unichar character,
                                            std::ptrdiff_t startIndex = 0,
                                            bool caseInsensitive = false) {
  return findCharacter(string, character, startIndex, caseInsensitive) != NSNotFound;
}

// The first index at or after startIndex whose unit equals any unit of setString (through
// the upper table on both sides when caseInsensitive; here no upper-form rule applies).
// The earliest text position wins, whatever the order of setString.
[[nodiscard]] std::size_t findOneOf(std::u16string_view string, std::u16string_view setString,
                                    std::ptrdiff_t startIndex = 0, bool caseInsensitive = false);

// True when any of the NUL-terminated 8-bit needles (a list ended by a null pointer)
// occurs in the first `length` units. With a table the units are folded through it; the
// needles never are, so a caller folding to lower case passes lower-case needles. A needle
// of length 0 or 1 is compared by its first byte alone: an empty one matches only U+0000.
[[nodiscard]] bool fastContainsSubCStrings(const unichar* string, std::size_t length,
                                           const char* const* needles, ConversionTable table);
// With caseSensitive false the string is folded to LOWER case (the one operation that
// does so); a null list answers false.
[[nodiscard]] bool containsSubCStrings(std::u16string_view string, const char* const* needles,
                                       bool caseSensitive = true);

}  // namespace orvel

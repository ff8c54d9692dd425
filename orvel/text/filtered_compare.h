// Comparisons that look only at some of the code units: the members of a CharacterSetRep
// (everything else is skipped on both sides), or every unit after folding through a table.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {

// True when the member units of chars1, in order, equal those of chars2. Membership is
// tested on each unit as it stands; the NoCase forms then compare through the upper table.
[[nodiscard]] bool equalCharsOfCharacterSetRep(const unichar* chars1, std::size_t length1,
                                               const unichar* chars2, std::size_t length2,
                                               CharacterSetRep set);
[[nodiscard]] bool equalCharsNoCaseOfCharacterSetRep(const unichar* chars1, std::size_t length1,
                                                     const unichar* chars2, std::size_t length2,
                                                     CharacterSetRep set);

// True when the member units of prefixChars are a prefix of the member units of chars.
[[nodiscard]] bool hasPrefixCharsOfCharacterSetRep(const unichar* chars, std::size_t length,
                                                   const unichar* prefixChars,
                                                   std::size_t prefixLength, CharacterSetRep set);
[[nodiscard]] bool hasPrefixCharsNoCaseOfCharacterSetRep(const unichar* chars, std::size_t length,
                                                         const unichar* prefixChars,
                                                         std::size_t prefixLength,
                                                         CharacterSetRep set);

// The same on strings (an empty view stands for a missing string).
[[nodiscard]] bool equalStringsUsingCharacterSetRep(std::u16string_view string1,
                                                    std::u16string_view string2,
                                                    CharacterSetRep set);
[[nodiscard]] bool equalStringsNoCaseUsingCharacterSetRep(std::u16string_view string1,
                                                          std::u16string_view string2,
                                                          CharacterSetRep set);
[[nodiscard]] bool hasPrefixUsingCharacterSetRep(std::u16string_view string,
                                                 std::u16string_view prefix, CharacterSetRep set);
[[nodiscard]] bool hasPrefixNoCaseUsingCharacterSetRep(std::u16string_view string,
                                                       std::u16string_view prefix,
                                                       CharacterSetRep set);

// True when both strings have the same length and table[a[i]] == table[b[i]] everywhere;
// a null table compares the units exactly. Never folds across lengths (no expansions).
[[nodiscard]] bool equalStringsUsingConversionTable(std::u16string_view string1,
                                                    std::u16string_view string2,
                                                    ConversionTable table);

}  // namespace orvel

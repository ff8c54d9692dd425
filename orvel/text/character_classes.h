// Character-class tests and counts over strings, with the bitmaps of character_sets.h.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/text/character_sets.h"

namespace orvel {

// True when at least one unit is a member; false for a null set or an empty string.
[[nodiscard]] bool characterPartOfSet(std::u16string_view string, CharacterSetRep set);
// True when every unit is a member; resultIfEmpty for an empty string.
[[nodiscard]] bool charactersPartOfSet(std::u16string_view string, CharacterSetRep set,
                                       bool resultIfEmpty);
// The number of member units; 0 for a null set.
[[nodiscard]] std::size_t countCharactersPartOfSet(std::u16string_view string, CharacterSetRep set);
// True when every unit is white space (true for length 0).
[[nodiscard]] bool onlyWhiteCharacters(const unichar* chars, std::size_t length);

[[nodiscard]] inline bool containsCharacterPartOfCharacterSetRep(std::u16string_view string,
                                                                 CharacterSetRep set) {
  return characterPartOfSet(string, set);
}
[[nodiscard]] inline bool containsAlphaNumCharacter(std::u16string_view string) {
  return characterPartOfSet(string, alphaNumCharacterSetRep());
}
[[nodiscard]] inline bool containsAlphaCharacter(std::u16string_view string) {
  return characterPartOfSet(string, alphaCharacterSetRep());
}
[[nodiscard]] inline bool containsWhiteCharacter(std::u16string_view string) {
  return characterPartOfSet(string, whiteCharacterSetRep());
}
[[nodiscard]] inline bool containsDigitCharacter(std::u16string_view string) {
  return characterPartOfSet(string, digitCharacterSetRep());
}

[[nodiscard]] inline std::size_t countCharactersPartOfCharacterSetRep(std::u16string_view string,
                                                                      CharacterSetRep set) {
  return countCharactersPartOfSet(string, set);
}
[[nodiscard]] inline std::size_t countAlphaNumCharacters(std::u16string_view string) {
  return countCharactersPartOfSet(string, alphaNumCharacterSetRep());
}
[[nodiscard]] inline std::size_t countAlphaCharacters(std::u16string_view string) {
  return countCharactersPartOfSet(string, alphaCharacterSetRep());
}
[[nodiscard]] inline std::size_t countWhiteCharacters(std::u16string_view string) {
  return countCharactersPartOfSet(string, whiteCharacterSetRep());
}
[[nodiscard]] inline std::size_t countDigitCharacters(std::u16string_view string) {
  return countCharactersPartOfSet(string, digitCharacterSetRep());
}

// The empty string is a space and a white string, but not a digit, alpha or alphanumeric one.
[[nodiscard]] inline bool isSpaceString(std::u16string_view string) {
  return charactersPartOfSet(string, spaceCharacterSetRep(), true);
}
[[nodiscard]] inline bool isWhiteString(std::u16string_view string) {
  return charactersPartOfSet(string, whiteCharacterSetRep(), true);
}
[[nodiscard]] inline bool isDigitString(std::u16string_view string) {
  return charactersPartOfSet(string, digitCharacterSetRep(), false);
}
[[nodiscard]] inline bool isAlphaString(std::u16string_view string) {
  return charactersPartOfSet(string, alphaCharacterSetRep(), false);
}
[[nodiscard]] inline bool isAlphaNumString(std::u16string_view string) {
  return charactersPartOfSet(string, alphaNumCharacterSetRep(), false);
}

// True when the string begins with an internal capital: upper-case letter, a run of
// lower-case letters, upper-case letter, lower-case letter (CamelCase, McKay). Only the
// units up to that second lower-case letter are examined.
[[nodiscard]] bool isMashedWordString(std::u16string_view string);
[[nodiscard]] inline bool isMashedWord(std::u16string_view string) {
  return isMashedWordString(string);
}

}  // namespace orvel

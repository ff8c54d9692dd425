#include "orvel/text/character_classes.h"

namespace orvel {

bool characterPartOfSet(std::u16string_view string, CharacterSetRep set) {
  if (set == nullptr) return false;
  for (unichar c : string) {
    if (isMemberOfCharacterSetRep(set, c)) return true;
  }
  return false;
}

bool charactersPartOfSet(std::u16string_view string, CharacterSetRep set, bool resultIfEmpty) {
  if (string.empty()) return resultIfEmpty;
  if (set == nullptr) return false;
  for (unichar c : string) {
    if (!isMemberOfCharacterSetRep(set, c)) return false;
  }
  return true;
}

std::size_t countCharactersPartOfSet(std::u16string_view string, CharacterSetRep set) {
  if (set == nullptr) return 0;
  std::size_t count = 0;
  for (unichar c : string) count += isMemberOfCharacterSetRep(set, c);
  return count;
}

bool onlyWhiteCharacters(const unichar* chars, std::size_t length) {
  return charactersPartOfSet(std::u16string_view(chars, length), whiteCharacterSetRep(), true);
}

bool isMashedWordString(std::u16string_view string) {
  if (string.size() < 3) return false;
  CharacterSetRep upper = upperCharacterSetRep();
  CharacterSetRep lower = lowerCharacterSetRep();
  if (!isMemberOfCharacterSetRep(upper, string[0])) return false;
  std::size_t k = 1;
  while (k < string.size() && isMemberOfCharacterSetRep(lower, string[k])) ++k;
  return k >= 2 && k + 1 < string.size() && isMemberOfCharacterSetRep(upper, string[k]) &&
         isMemberOfCharacterSetRep(lower, string[k + 1]);
}

}  // namespace orvel

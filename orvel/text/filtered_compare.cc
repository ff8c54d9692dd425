#include "orvel/text/filtered_compare.h"

namespace orvel {
namespace {

// Walks the member units of both arrays in step. resultWhenSecondEndsFirst is what a
// member of the first array answers when the second has no member left: false for
// equality, true for the prefix test. foldTable is null for exact comparison.
bool compareMembers(const unichar* first, std::size_t firstLength, const unichar* second,
                    std::size_t secondLength, CharacterSetRep set, ConversionTable foldTable,
                    bool resultWhenSecondEndsFirst) {
  std::size_t j = 0;
  for (std::size_t i = 0; i < firstLength; ++i) {
    const unichar x = first[i];
    if (!isMemberOfCharacterSetRep(set, x)) continue;
    while (j < secondLength && !isMemberOfCharacterSetRep(set, second[j])) ++j;
    if (j == secondLength) return resultWhenSecondEndsFirst;
    const unichar y = second[j++];
    if (foldTable != nullptr ? foldTable[x] != foldTable[y] : x != y) return false;
  }
  for (; j < secondLength; ++j) {
    if (isMemberOfCharacterSetRep(set, second[j])) return false;
  }
  return true;
}

ConversionTable caseFoldTable() {
  initLowerCharsTable();
  return initUpperCharsTable();
}

}  // namespace

bool equalCharsOfCharacterSetRep(const unichar* chars1, std::size_t length1, const unichar* chars2,
                                 std::size_t length2, CharacterSetRep set) {
  return compareMembers(chars1, length1, chars2, length2, set, nullptr, false);
}

bool equalCharsNoCaseOfCharacterSetRep(const unichar* chars1, std::size_t length1,
                                       const unichar* chars2, std::size_t length2,
                                       CharacterSetRep set) {
  return compareMembers(chars1, length1, chars2, length2, set, caseFoldTable(), false);
}

bool hasPrefixCharsOfCharacterSetRep(const unichar* chars, std::size_t length,
                                     const unichar* prefixChars, std::size_t prefixLength,
                                     CharacterSetRep set) {
  return compareMembers(chars, length, prefixChars, prefixLength, set, nullptr, true);
}

bool hasPrefixCharsNoCaseOfCharacterSetRep(const unichar* chars, std::size_t length,
                                           const unichar* prefixChars, std::size_t prefixLength,
                                           CharacterSetRep set) {
  return compareMembers(chars, length, prefixChars, prefixLength, set, caseFoldTable(), true);
}

bool equalStringsUsingCharacterSetRep(std::u16string_view string1, std::u16string_view string2,
                                      CharacterSetRep set) {
  return equalCharsOfCharacterSetRep(string1.data(), string1.size(), string2.data(), string2.size(),
                                     set);
}

bool equalStringsNoCaseUsingCharacterSetRep(std::u16string_view string1,
                                            std::u16string_view string2, CharacterSetRep set) {
  return equalCharsNoCaseOfCharacterSetRep(string1.data(), string1.size(), string2.data(),
                                           string2.size(), set);
}

bool hasPrefixUsingCharacterSetRep(std::u16string_view string, std::u16string_view prefix,
                                   CharacterSetRep set) {
  return hasPrefixCharsOfCharacterSetRep(string.data(), string.size(), prefix.data(), prefix.size(),
                                         set);
}

bool hasPrefixNoCaseUsingCharacterSetRep(std::u16string_view string, std::u16string_view prefix,
                                         CharacterSetRep set) {
  return hasPrefixCharsNoCaseOfCharacterSetRep(string.data(), string.size(), prefix.data(),
                                               prefix.size(), set);
}

bool equalStringsUsingConversionTable(std::u16string_view string1, std::u16string_view string2,
                                      ConversionTable table) {
  if (string1.size() != string2.size()) return false;
  if (table == nullptr) return string1 == string2;
  for (std::size_t i = 0; i < string1.size(); ++i) {
    if (table[string1[i]] != table[string2[i]]) return false;
  }
  return true;
}

}  // namespace orvel

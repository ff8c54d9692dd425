#include "orvel/text/character_search.h"

#include <algorithm>
#include <cstring>

namespace orvel {
namespace {

// Which units match a character under the case rules of findCharacter.
struct CharacterMatcher {
  unichar target;
  ConversionTable fold;  // null: exact comparison with target

  CharacterMatcher(unichar character, bool caseInsensitive) {
    ConversionTable upper = initUpperCharsTable();
    const unichar up = upper[character];
    const unichar lo = initLowerCharsTable()[character];
    target = (up == lo) ? character : up;
    fold = (up != lo && caseInsensitive) ? upper : nullptr;
  }

  bool matches(unichar u) const { return (fold != nullptr ? fold[u] : u) == target; }
};

std::size_t clampStart(std::ptrdiff_t startIndex) {
  return startIndex < 0 ? 0 : static_cast<std::size_t>(startIndex);
}

}  // namespace

std::size_t findCharacter(std::u16string_view string, unichar character, std::ptrdiff_t startIndex,
                          bool caseInsensitive) {
  const CharacterMatcher matcher(character, caseInsensitive);
  for (std::size_t i = clampStart(startIndex); i < string.size(); ++i) {
    if (matcher.matches(string[i])) return i;
  }
  return NSNotFound;
}

std::size_t findLastCharacter(std::u16string_view string, unichar character,
                              std::ptrdiff_t startIndex, bool caseInsensitive) {
  const CharacterMatcher matcher(character, caseInsensitive);
  const std::size_t start = clampStart(startIndex);
  for (std::size_t i = string.size(); i > start; --i) {
    if (matcher.matches(string[i - 1])) return i - 1;
  }
  return NSNotFound;
}

std::size_t countCharacter(std::u16string_view string, unichar character, std::ptrdiff_t startIndex,
                           bool caseInsensitive) {
  const CharacterMatcher matcher(character, caseInsensitive);
  std::size_t count = 0;
  for (std::size_t i = clampStart(startIndex); i < string.size(); ++i) {
    count += matcher.matches(string[i]);
  }
  return count;
}

std::size_t findOneOf(std::u16string_view string, std::u16string_view setString,
                      std::ptrdiff_t startIndex, bool caseInsensitive) {
  ConversionTable upper = initUpperCharsTable();
  auto fold = [&](unichar c) { return caseInsensitive ? upper[c] : c; };
  for (std::size_t i = clampStart(startIndex); i < string.size(); ++i) {
    const unichar u = fold(string[i]);
    for (unichar s : setString) {
      if (fold(s) == u) return i;
    }
  }
  return NSNotFound;
}

bool fastContainsSubCStrings(const unichar* string, std::size_t length, const char* const* needles,
                             ConversionTable table) {
  if (length == 0 || needles == nullptr) return false;
  auto unitAt = [&](std::size_t i) { return table != nullptr ? table[string[i]] : string[i]; };
  auto widen = [](char c) { return static_cast<unichar>(static_cast<signed char>(c)); };
  for (; *needles != nullptr; ++needles) {
    const char* needle = *needles;
    const std::size_t n = std::max<std::size_t>(std::strlen(needle), 1);
    if (n > length) continue;
    for (std::size_t start = 0; start + n <= length; ++start) {
      std::size_t i = 0;
      while (i < n && unitAt(start + i) == widen(needle[i])) ++i;
      if (i == n) return true;
    }
  }
  return false;
}

bool containsSubCStrings(std::u16string_view string, const char* const* needles,
                         bool caseSensitive) {
  return fastContainsSubCStrings(string.data(), string.size(), needles,
                                 caseSensitive ? nullptr : initLowerCharsTable());
}

}  // namespace orvel

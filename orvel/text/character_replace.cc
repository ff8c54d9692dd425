#include "orvel/text/character_replace.h"

#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

bool isLineBreak(unichar c) {
  switch (c) {
    case 0x0003:
    case 0x000A:
    case 0x000C:
    case 0x000D:
    case 0x2028:
    case 0x2029:
    case 0xFEFF:
    case 0xFFFC: return true;
    default: return false;
  }
}

// Compacts string in place: each run of class units becomes one replacement unit.
template <typename InClass>
void collapseRuns(std::u16string& string, InClass inClass, unichar replacement) {
  std::size_t write = 0;
  for (std::size_t read = 0; read < string.size();) {
    if (inClass(string[read])) {
      // Skip the run before writing: the write may land on the run's first unit.
      while (read < string.size() && inClass(string[read])) ++read;
      string[write++] = replacement;
    } else {
      string[write++] = string[read++];
    }
  }
  string.resize(write);
}

}  // namespace

std::u16string stringByReplacingCharacter(std::u16string_view string, unichar character,
                                          unichar replacement, bool caseInsensitive) {
  std::u16string result(string);
  if (character == replacement) return result;
  ConversionTable upper = initUpperCharsTable();
  const bool folded = caseInsensitive && upper[character] == initLowerCharsTable()[character];
  for (unichar& u : result) {
    if (folded ? upper[u] == upper[character] : u == character) u = replacement;
  }
  return result;
}

void removeMultipleWhiteSpaces(std::u16string& string, bool spacesOnly, bool whiteSpaces,
                               unichar replacement) {
  if (whiteSpaces || spacesOnly) {
    CharacterSetRep set = whiteSpaces ? whiteCharacterSetRep() : spaceCharacterSetRep();
    collapseRuns(
        string, [set](unichar c) { return isMemberOfCharacterSetRep(set, c); }, replacement);
  } else {
    collapseRuns(string, isLineBreak, replacement);
  }
}

std::u16string stringByRemovingMultipleWhiteSpaces(std::u16string_view string, bool spacesOnly,
                                                   bool whiteSpaces, unichar replacement) {
  std::u16string result(string);
  removeMultipleWhiteSpaces(result, spacesOnly, whiteSpaces, replacement);
  return result;
}

std::u16string stringByRemovingMultipleSpaces(std::u16string_view string) {
  return stringByRemovingMultipleWhiteSpaces(string, true, false, u' ');
}

std::u16string stringByRemovingMultipleWhiteSpaces(std::u16string_view string) {
  return stringByRemovingMultipleWhiteSpaces(string, false, true, u' ');
}

std::u16string stringByRemovingMultipleFeeds(std::u16string_view string) {
  return stringByRemovingMultipleWhiteSpaces(string, false, false, u'\n');
}

void removeMultipleSpaces(std::u16string& string) {
  removeMultipleWhiteSpaces(string, true, false, u' ');
}

void removeMultipleWhiteSpaces(std::u16string& string) {
  removeMultipleWhiteSpaces(string, false, true, u' ');
}

void removeMultipleFeeds(std::u16string& string) {
  removeMultipleWhiteSpaces(string, false, false, u'\n');
}

}  // namespace orvel

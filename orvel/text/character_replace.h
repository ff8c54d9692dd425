// Replacing one character, and collapsing runs of white space or line breaks.
#pragma once

#include <string>
#include <string_view>

#include "orvel/base/types.h"

namespace orvel {

// Every unit equal to `character` replaced by `replacement`. With caseInsensitive the
// comparison goes through the upper table, but only for a character without case (upper
// and lower forms agree), where it finds the same units: a character that has case is
// always replaced exactly, so "a" -> "x" turns "aA" into "xA" either way.
[[nodiscard]] std::u16string stringByReplacingCharacter(std::u16string_view string,
                                                        unichar character, unichar replacement,
                                                        bool caseInsensitive = false);

// Replaces every run of class units by one `replacement` unit; a single class unit is
// replaced too (a lone tab becomes a space), nothing is trimmed. The class is white space
// (whiteCharacterSetRep) when whiteSpaces is set, else spaces (spaceCharacterSetRep) when
// spacesOnly is set, else the line breaks U+0003, U+000A, U+000C, U+000D, U+2028, U+2029,
// U+FEFF and U+FFFC.
[[nodiscard]] std::u16string stringByRemovingMultipleWhiteSpaces(std::u16string_view string,
                                                                 bool spacesOnly, bool whiteSpaces,
                                                                 unichar replacement);
// The same, in place.
void removeMultipleWhiteSpaces(std::u16string& string, bool spacesOnly, bool whiteSpaces,
                               unichar replacement);

// Spaces to one U+0020, white space to one U+0020, line breaks to one U+000A.
[[nodiscard]] std::u16string stringByRemovingMultipleSpaces(std::u16string_view string);
[[nodiscard]] std::u16string stringByRemovingMultipleWhiteSpaces(std::u16string_view string);
[[nodiscard]] std::u16string stringByRemovingMultipleFeeds(std::u16string_view string);
void removeMultipleSpaces(std::u16string& string);
void removeMultipleWhiteSpaces(std::u16string& string);
void removeMultipleFeeds(std::u16string& string);

}  // namespace orvel

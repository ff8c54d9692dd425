// Backslash escapes inside JSON and JavaScript string literals (the contents only: no
// quotes are added or removed).
#pragma once

#include <string>
#include <string_view>

namespace orvel {

// Escapes U+0008, U+0009, U+000A, U+000C and U+000D as \b \t \n \f \r, and the double
// quote, "/" and the backslash with a backslash. Every other unit, other control units and
// non-ASCII units included, is left as it is: the caller encodes the result as UTF-8.
[[nodiscard]] std::u16string stringByConvertingCharactersToJSON(std::u16string_view string);

// Resolves \b \f \n \r \t and \uXXXX; any other escaped unit stands for itself. \u reads up
// to four hexadecimal digits, fewer at the end of the text; a unit that is not a digit
// counts as 0 but is consumed ("\uZZZZ" is U+0000). A backslash at the very end is kept.
[[nodiscard]] std::u16string stringByConvertingJSONToCharacters(std::u16string_view string);

// The same, plus the JavaScript-only escapes: \v (U+000B), \xXX (up to two digits, read
// like \u) and \O (the capital letter) for U+0000.
[[nodiscard]] std::u16string stringByConvertingJavaScriptToCharacters(std::u16string_view string);

}  // namespace orvel

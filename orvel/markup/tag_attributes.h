// Reading attributes out of the characters of one tag, out of style text, and header
// fields such as `text/html; charset=utf-8`. Values are returned as written: entities are
// not decoded here.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "orvel/base/range.h"
#include "orvel/base/types.h"

namespace orvel {

// The value of the attribute `name` (upper case, "HREF") in the tag at [location, location
// + length) of characters, or nullopt. Quoted text is never searched for names; a name
// counts after a unit that is no letter, digit, "-" or "_", compared without case, and
// followed by optional white space and "=". A value in quotes ends at its quote or at a
// ">" before it; one without ends at white space or ">". In contentMode (the content of a
// meta tag, which may hold markup) a quoted value may hold balanced "<...>" and ends at a
// ">" outside them or at a nested "<meta". Trailing white space is trimmed; an empty value
// is none. With outRange the value's absolute range is stored there instead ((NSNotFound,
// 0) when there is none) and nullopt is answered.
std::optional<std::u16string> _attributeOfTagCharactersWithName(
    const unichar* characters, std::size_t location, std::size_t length, std::string_view name,
    bool contentMode, Range* outRange = nullptr);

// The class forms: the value in ordinary mode, the CONTENT value in content mode, and the
// value's range ((NSNotFound, 0) when there is none).
[[nodiscard]] inline std::optional<std::u16string> attributeOfTagCharacters(
    const unichar* characters, Range range, std::string_view name) {
  return _attributeOfTagCharactersWithName(characters, range.location, range.length, name, false);
}
[[nodiscard]] inline std::optional<std::u16string> contentAttributeOfTagCharacters(
    const unichar* characters, Range range) {
  return _attributeOfTagCharactersWithName(characters, range.location, range.length, "CONTENT",
                                           true);
}
[[nodiscard]] inline Range rangeOfAttributeOfTagCharacters(const unichar* characters, Range range,
                                                           std::string_view name) {
  Range value;
  _attributeOfTagCharactersWithName(characters, range.location, range.length, name, false, &value);
  return value;
}

// The pixel size a tag gives (`width`, `height`, or the misspelt `heigh` when `height`
// gives 0; without a width, the WIDTH and HEIGHT of its `style`), as integer values; both 0
// for a tag under 10 units. Answers whether the width is above 0.
bool getTagWidth(std::ptrdiff_t* width, std::ptrdiff_t* height, const unichar* characters,
                 Range range);

// The same search in a range of a text, with a separator after the name ("=" for tags,
// ":" for style text) and a terminator that also ends quoted values (">", ";"). The name
// may follow "_" here. Needs minimumExtra + the name's length below the range's length.
[[nodiscard]] std::optional<std::u16string> _attributeOfStringWithName(
    std::u16string_view string, std::size_t location, std::size_t length, std::u16string_view name,
    std::size_t minimumExtra, unichar separator, unichar terminator);

// The string forms: an attribute of the tag text in [range] (or the whole string), and a
// property of style text ("color: red; width: 10"); names in upper case.
[[nodiscard]] inline std::optional<std::u16string> attributeOfTagWithName(
    std::u16string_view tag, std::u16string_view name, Range range = Range{0, NSNotFound}) {
  return _attributeOfStringWithName(tag, range.location, range.length, name, 5, u'=', u'>');
}
[[nodiscard]] inline std::optional<std::u16string> attributeOfStyleWithName(
    std::u16string_view style, std::u16string_view name, Range range = Range{0, NSNotFound}) {
  return _attributeOfStringWithName(style, range.location, range.length, name, 1, u':', u';');
}

// The image of a tag's unrepeated background (`style="background: url('x.png') no-repeat"`):
// for an opening tag whose style names "background:" or "background-image:" and
// "no-repeat", the text between "url(" and ")", less matching pairs of apostrophes around
// it; nullopt otherwise or when nothing remains.
[[nodiscard]] std::optional<std::u16string> backgroundStyleURLOfTagCharacters(
    const unichar* characters, Range range);

// A header field's value (`charset` in `text/html; charset="utf-8"`): the upper-case name is
// looked for anywhere, without a word boundary, until a value is found. In attributeMode the
// name is followed by white space, "=" and white space, and the value is quoted (by the
// given quote, a double quote or an apostrophe; an empty one is passed over) or runs to a
// quote, ">", white space or the separator. Otherwise the value starts right after the "="
// and runs to the given quote when it starts with one, else to the separator (0: the end).
[[nodiscard]] std::optional<std::u16string> _copyOfAttributeOfString(std::u16string_view string,
                                                                     std::string_view name,
                                                                     unichar quote,
                                                                     bool attributeMode,
                                                                     unichar separator);

}  // namespace orvel

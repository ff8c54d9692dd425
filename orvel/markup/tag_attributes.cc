#include "orvel/markup/tag_attributes.h"

#include <algorithm>

#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"
#include "orvel/text/fast_compare.h"
#include "orvel/text/integer_value.h"

namespace orvel {
namespace {

bool isQuote(unichar c) { return c == u'"' || c == u'\''; }

// The walk both attribute readers share, over units [begin, end) of `units`.
class AttributeWalk {
 public:
  AttributeWalk(const unichar* units, std::size_t begin, std::size_t end)
      : _units(units),
        _begin(begin),
        _end(end),
        _upper(initUpperCharsTable()),
        _white(whiteCharacterSetRep()),
        _alphaNum(alphaNumCharacterSetRep()) {}

  bool isWhite(std::size_t k) const { return isMemberOfCharacterSetRep(_white, _units[k]); }

  // Whether `name` (compared through the upper-case table) starts at k, preceded by a unit
  // that may precede a name.
  template <typename Name>
  bool nameAt(std::size_t k, const Name& name, bool underscoreSeparates) const {
    if (k + name.size() > _end) return false;
    // The first unit rules out nearly every position; the unit before it comes next.
    if (_upper[_units[k]] != _upper[static_cast<unichar>(name[0])]) return false;
    if (k > _begin) {
      const unichar before = _units[k - 1];
      if (isMemberOfCharacterSetRep(_alphaNum, before) || before == u'-' ||
          (underscoreSeparates && before == u'_')) {
        return false;
      }
    }
    for (std::size_t m = 0; m < name.size(); ++m) {
      if (_upper[_units[k + m]] != _upper[static_cast<unichar>(name[m])]) return false;
    }
    return true;
  }

  // Whether the units at k, folded to upper case, spell `upperWord`.
  bool foldedAt(std::size_t k, std::u16string_view upperWord) const {
    if (k + upperWord.size() > _end) return false;
    for (std::size_t m = 0; m < upperWord.size(); ++m) {
      if (_upper[_units[k + m]] != upperWord[m]) return false;
    }
    return true;
  }

  // From k, past white space; _end when it runs off.
  std::size_t skipWhite(std::size_t k) const {
    while (k < _end && isWhite(k)) ++k;
    return k;
  }

  // The value range [start, stop) with trailing white space trimmed; nullopt when empty.
  std::optional<Range> trimmed(std::size_t start, std::size_t stop) const {
    while (stop > start && isWhite(stop - 1)) --stop;
    if (stop == start) return std::nullopt;
    return Range{start, stop - start};
  }

  // Finds `name` followed by the separator; answers the position after the separator(s)
  // and white space, or nullopt.
  template <typename Name>
  std::optional<std::size_t> findValueStart(const Name& name, std::size_t walkEnd,
                                            unichar separator, bool manySeparators,
                                            bool underscoreSeparates) const {
    for (std::size_t k = _begin; k < walkEnd; ++k) {
      if (isQuote(_units[k])) {
        const unichar quote = _units[k];
        ++k;
        while (k < _end && _units[k] != quote) ++k;
        continue;
      }
      if (!nameAt(k, name, underscoreSeparates)) continue;
      std::size_t after = skipWhite(k + name.size());
      if (after >= _end || _units[after] != separator) continue;
      ++after;
      while (manySeparators && after < _end && _units[after] == separator) ++after;
      after = skipWhite(after);
      if (after >= _end) return std::nullopt;
      return after;
    }
    return std::nullopt;
  }

  const unichar* _units;
  std::size_t _begin;
  std::size_t _end;
  ConversionTable _upper;
  CharacterSetRep _white;
  CharacterSetRep _alphaNum;
};

// A quoted value of a meta tag's content: "<...>" may nest; a ">" outside them, a nested
// "<meta" or the closing quote ends it.
std::size_t contentValueEnd(const AttributeWalk& walk, std::size_t start, unichar quote) {
  const unichar* units = walk._units;
  int depth = 0;
  std::size_t k = start;
  for (; k < walk._end; ++k) {
    const unichar c = units[k];
    if (c == quote) {
      // A "<" or "</" cut off by the quote belongs to no value.
      if (depth == 1 && k > start && units[k - 1] == u'<') return k - 1;
      if (depth == 1 && k > start + 1 && units[k - 1] == u'/' && units[k - 2] == u'<') return k - 2;
      return k;
    }
    if (c == u'<') {
      if (walk.foldedAt(k + 1, u"META")) return k;  // a nested meta tag
      ++depth;
    } else if (c == u'>' && k != start) {
      if (depth == 0) return k;
      --depth;
    }
  }
  return k;
}

// The integer value of an attribute, 0 when there is none.
std::ptrdiff_t integerOf(const std::optional<std::u16string>& value) {
  return value ? integerValue(*value) : 0;
}

}  // namespace

std::optional<std::u16string> _attributeOfTagCharactersWithName(const unichar* characters,
                                                                std::size_t location,
                                                                std::size_t length,
                                                                std::string_view name,
                                                                bool contentMode, Range* outRange) {
  if (outRange != nullptr) *outRange = Range::notFound();
  const std::size_t n = name.size();
  if (characters == nullptr || n == 0 || n + 5 >= length) return std::nullopt;
  const AttributeWalk walk(characters, location, location + length);
  const auto start = walk.findValueStart(name, location + length - n, u'=', true, true);
  if (!start) return std::nullopt;
  const std::size_t end = location + length;
  std::size_t valueStart = *start, valueEnd = *start;
  const unichar first = characters[valueStart];
  if (!isQuote(first)) {
    while (valueEnd < end && !walk.isWhite(valueEnd) && characters[valueEnd] != u'>') ++valueEnd;
  } else {
    valueStart = valueEnd = *start + 1;
    if (contentMode) {
      valueEnd = contentValueEnd(walk, valueStart, first);
    } else {
      while (valueEnd < end && characters[valueEnd] != first && characters[valueEnd] != u'>') {
        ++valueEnd;
      }
    }
  }
  const auto value = walk.trimmed(valueStart, valueEnd);
  if (!value) return std::nullopt;
  if (outRange != nullptr) {
    *outRange = *value;
    return std::nullopt;
  }
  return std::u16string(characters + value->location, value->length);
}

std::optional<std::u16string> _attributeOfStringWithName(std::u16string_view string,
                                                         std::size_t location, std::size_t length,
                                                         std::u16string_view name,
                                                         std::size_t minimumExtra,
                                                         unichar separator, unichar terminator) {
  if (location > string.size()) return std::nullopt;
  length = std::min(length, string.size() - location);
  if (name.empty() || minimumExtra + name.size() >= length) return std::nullopt;
  const AttributeWalk walk(string.data(), location, location + length);
  const auto start =
      walk.findValueStart(name, location + length - name.size(), separator, false, false);
  if (!start) return std::nullopt;
  const std::size_t end = location + length;
  std::size_t valueStart = *start, valueEnd = *start;
  const unichar first = string[valueStart];
  if (isQuote(first)) {
    valueStart = valueEnd = *start + 1;
    while (valueEnd < end && string[valueEnd] != first && string[valueEnd] != terminator) {
      ++valueEnd;
    }
  } else {
    while (valueEnd < end && !walk.isWhite(valueEnd) && string[valueEnd] != terminator) ++valueEnd;
  }
  const auto value = walk.trimmed(valueStart, valueEnd);
  if (!value) return std::nullopt;
  return std::u16string(string.substr(value->location, value->length));
}

std::optional<std::u16string> _copyOfAttributeOfString(std::u16string_view string,
                                                       std::string_view name, unichar quote,
                                                       bool attributeMode, unichar separator) {
  const std::size_t n = name.size();
  if (n == 0 || string.size() <= n) return std::nullopt;
  const ConversionTable upper = initUpperCharsTable();
  const CharacterSetRep white = whiteCharacterSetRep();
  const auto isWhite = [&](std::size_t k) { return isMemberOfCharacterSetRep(white, string[k]); };
  const std::size_t size = string.size();
  for (std::size_t at = 0; at + n < size; ++at) {
    bool matches = true;
    for (std::size_t m = 0; m < n && matches; ++m) {
      matches = upper[string[at + m]] == static_cast<unichar>(name[m]);
    }
    if (!matches) continue;
    std::size_t k = at + n;
    while (k < size && isWhite(k)) ++k;
    if (k >= size || string[k] != u'=') continue;
    ++k;
    if (attributeMode) {
      while (k < size && isWhite(k)) ++k;
      if (k >= size) return std::nullopt;
      const unichar first = string[k];
      if (first == quote || isQuote(first)) {
        std::size_t stop = k + 1;
        while (stop < size && string[stop] != first) ++stop;
        if (stop == k + 1) continue;  // an empty quoted value: look on
        return std::u16string(string.substr(k + 1, stop - k - 1));
      }
      std::size_t stop = k;
      while (stop < size && !isQuote(string[stop]) && string[stop] != u'>' && !isWhite(stop) &&
             (separator == 0 || string[stop] != separator)) {
        ++stop;
      }
      return std::u16string(string.substr(k, stop - k));
    }
    if (k < size && quote != 0 && string[k] == quote) {
      std::size_t stop = k + 1;
      while (stop < size && string[stop] != quote) ++stop;
      return std::u16string(string.substr(k + 1, stop - k - 1));
    }
    std::size_t stop = k;
    while (stop < size && (separator == 0 || string[stop] != separator)) ++stop;
    return std::u16string(string.substr(k, stop - k));
  }
  return std::nullopt;
}

bool getTagWidth(std::ptrdiff_t* width, std::ptrdiff_t* height, const unichar* characters,
                 Range range) {
  *width = *height = 0;
  if (characters == nullptr || range.length < 10) return false;
  *width = integerOf(attributeOfTagCharacters(characters, range, "WIDTH"));
  if (*width != 0) {
    *height = integerOf(attributeOfTagCharacters(characters, range, "HEIGHT"));
    if (*height == 0) *height = integerOf(attributeOfTagCharacters(characters, range, "HEIGH"));
  } else if (const auto style = attributeOfTagCharacters(characters, range, "STYLE")) {
    *width =
        integerOf(_attributeOfStringWithName(*style, 0, style->size(), u"WIDTH", 1, u':', u';'));
    if (*width != 0) {
      *height =
          integerOf(_attributeOfStringWithName(*style, 0, style->size(), u"HEIGHT", 1, u':', u';'));
    }
  }
  return *width > 0;
}

std::optional<std::u16string> backgroundStyleURLOfTagCharacters(const unichar* characters,
                                                                Range range) {
  if (characters == nullptr || range.length < 3 || characters[range.location + 1] == u'/') {
    return std::nullopt;
  }
  const auto style = attributeOfTagCharacters(characters, range, "STYLE");
  if (!style) return std::nullopt;
  const auto contains = [&](std::string_view needle, std::size_t from = 0) -> const unichar* {
    if (from >= style->size()) return nullptr;
    return fastCaseInsensitiveUnicharsContainChars(style->data() + from, style->size() - from,
                                                   needle.data(), needle.size());
  };
  if ((contains("background:") == nullptr && contains("background-image:") == nullptr) ||
      contains("no-repeat") == nullptr) {
    return std::nullopt;
  }
  const unichar* url = contains("url(");
  if (url == nullptr) return std::nullopt;
  std::size_t start = static_cast<std::size_t>(url - style->data()) + 4;
  std::size_t end = style->find(u')', start);
  if (end == std::u16string::npos) end = style->size();
  while (end - start >= 2 && (*style)[start] == u'\'' && (*style)[end - 1] == u'\'') {
    ++start;
    --end;
  }
  if (start == end) return std::nullopt;
  return style->substr(start, end - start);
}

}  // namespace orvel

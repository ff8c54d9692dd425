#include "orvel/markup/entities.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>

#include "orvel/markup/internal/entity_table.h"
#include "orvel/markup/internal/unit_scan.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

using internal::kEntityTable;

constexpr unichar kSmallestNamed = 0x00A0;  // nbsp
constexpr unichar kLargestNamed = 0x2666;   // diams
constexpr std::size_t kLongestName = 30;
constexpr std::size_t kLongestNumeric = 31;  // units from after "&" through the ending unit

// For each unit from kSmallestNamed to kLargestNamed, its index in the entity table or -1.
using ReverseTable = std::array<std::int16_t, kLargestNamed - kSmallestNamed + 1>;

const ReverseTable& reverseTable() {
  static const ReverseTable table = [] {
    ReverseTable built;
    built.fill(-1);
    for (std::size_t i = 0; i < kEntityTable.size(); ++i) {
      built[kEntityTable[i].character - kSmallestNamed] = static_cast<std::int16_t>(i);
    }
    return built;
  }();
  return table;
}

// The name of a unit, or null.
const char* nameOf(unichar c) {
  if (c < kSmallestNamed || c > kLargestNamed) return nullptr;
  const std::int16_t index = reverseTable()[c - kSmallestNamed];
  return index < 0 ? nullptr : kEntityTable[static_cast<std::size_t>(index)].name;
}

// The character of a name given as 8-bit units (low bytes), or nullopt.
std::optional<unichar> characterNamed(const unichar* name, std::size_t length) {
  char bytes[kLongestName + 1];
  for (std::size_t k = 0; k < length; ++k) bytes[k] = static_cast<char>(name[k] & 0xFF);
  bytes[length] = '\0';
  if (std::strcmp(bytes, "nbsp") == 0) return unichar{0x00A0};
  const auto found = std::lower_bound(kEntityTable.begin(), kEntityTable.end(), bytes,
                                      [](const internal::EntityEntry& entry, const char* key) {
                                        return std::strcmp(entry.name, key) < 0;
                                      });
  if (found == kEntityTable.end() || std::strcmp(found->name, bytes) != 0) return std::nullopt;
  return found->character;
}

bool isDecimalDigit(unichar c) { return c >= u'0' && c <= u'9'; }
bool isHexDigit(unichar c) {
  return isDecimalDigit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}
std::uint32_t digitValue(unichar c) {
  if (isDecimalDigit(c)) return c - u'0';
  return (c | 0x20) - u'a' + 10;
}

// One pass of decoding over [start, end) of source into out. Conventions: `i` reads, the
// writer folds; every branch either decodes one reference and moves `i` past it, or copies
// the "&" and moves on by one.
class EntityDecoder {
 public:
  EntityDecoder(const unichar* source, unichar* destination, bool markupEntities,
                bool onlyNumericEntities, bool nonUmlauted)
      : _source(source),
        _destination(destination),
        _markup(markupEntities),
        _onlyNumeric(onlyNumericEntities),
        _fold(nonUmlauted ? initUmlautsCharsTable() : nullptr),
        _alphaNum(alphaNumCharacterSetRep()) {}

  std::size_t run(std::size_t start, std::size_t end) {
    _end = end;
    std::size_t i = start;
    while (i < end) {
      if (_fold == nullptr) {
        // Text without references moves as a block, or stays where it is.
        const std::size_t next = internal::findUnit(_source, i, end, u'&');
        if (_destination + _written != _source + i) {
          std::memmove(_destination + _written, _source + i, (next - i) * sizeof(unichar));
        }
        _written += next - i;
        i = next;
        if (i == end) break;
      }
      if (_source[i] != u'&' || i + 1 == end) {
        write(_source[i++]);
      } else {
        i = reference(i);
      }
    }
    return _written;
  }

 private:
  void write(unichar c) { _destination[_written++] = _fold != nullptr ? _fold[c] : c; }

  // Whether the units after the "&" at i spell `word`.
  bool follows(std::size_t i, std::u16string_view word) const {
    if (_end - i - 1 < word.size()) return false;
    for (std::size_t m = 0; m < word.size(); ++m) {
      if (_source[i + 1 + m] != word[m]) return false;
    }
    return true;
  }

  // Writes c for the short form `word` after the "&" at i; answers where the walk goes on.
  std::size_t shortForm(std::size_t i, std::size_t wordLength, unichar c) {
    write(c);
    std::size_t next = i + 1 + wordLength;
    if (next < _end && _source[next] == u';') ++next;
    return next;
  }

  std::size_t copyAmpersand(std::size_t i) {
    write(u'&');
    return i + 1;
  }

  // Where the run that starts at `from` ends, and whether its ending unit is consumed.
  struct Ending {
    std::size_t at;  // the ending unit (kept unless consumed)
    bool consumed;
  };
  template <typename InRun>
  Ending endOfRun(std::size_t from, InRun inRun) const {
    std::size_t j = from;
    while (j < _end && inRun(_source[j])) ++j;
    if (j == _end) return {_end - 1, false};  // the last unit stands in for the ending one
    return {j, _source[j] == u';'};
  }

  std::size_t reference(std::size_t i) {
    if (follows(i, u"apos")) return shortForm(i, 4, u'\'');
    if (follows(i, u"nbsp")) return shortForm(i, 4, 0x00A0);
    if (_markup && follows(i, u"quot")) return shortForm(i, 4, u'"');
    if (_markup && follows(i, u"amp")) return shortForm(i, 3, u'&');
    if (_markup && follows(i, u"gt")) return shortForm(i, 2, u'>');
    if (_markup && follows(i, u"lt")) return shortForm(i, 2, u'<');
    return _source[i + 1] == u'#' ? numeric(i) : named(i);
  }

  std::size_t named(std::size_t i) {
    if (_onlyNumeric) return copyAmpersand(i);
    const std::size_t start = i + 1;
    const Ending ending =
        endOfRun(start, [this](unichar c) { return isMemberOfCharacterSetRep(_alphaNum, c); });
    const std::size_t length = ending.at - start;
    if (length < 1 || length > kLongestName) return copyAmpersand(i);
    const auto c = characterNamed(_source + start, length);
    if (!c) return copyAmpersand(i);
    write(*c);
    return ending.consumed ? ending.at + 1 : ending.at;
  }

  std::size_t numeric(std::size_t i) {
    std::size_t start = i + 2;
    const bool hex = start < _end && (_source[start] == u'x' || _source[start] == u'X');
    if (hex) ++start;
    const Ending ending = endOfRun(start, hex ? isHexDigit : isDecimalDigit);
    if (ending.at + 1 - (i + 1) > kLongestNumeric) return copyAmpersand(i);
    std::uint32_t value = 0;
    for (std::size_t k = start; k < ending.at; ++k) {
      value = value * (hex ? 16 : 10) + digitValue(_source[k]);
    }
    const bool makesMarkup = value == u'"' || value == u'&' || value == u'<' || value == u'>';
    if ((!_markup && makesMarkup) || value > 0x10FFFF) return copyAmpersand(i);
    if (value > 0xFFFF) {
      write(static_cast<unichar>(0xD7C0 + (value >> 10)));
      write(static_cast<unichar>(0xDC00 | (value & 0x3FF)));
    } else {
      write(static_cast<unichar>(value));
    }
    return ending.consumed ? ending.at + 1 : ending.at;
  }

  const unichar* _source;
  unichar* _destination;
  bool _markup;
  bool _onlyNumeric;
  ConversionTable _fold;
  CharacterSetRep _alphaNum;
  std::size_t _end = 0;
  std::size_t _written = 0;
};

// Appends the decimal value of c as "&#N;".
void appendNumericReference(std::u16string& out, unichar c) {
  out += u"&#";
  char digits[8];
  const int count = std::snprintf(digits, sizeof digits, "%u", static_cast<unsigned>(c));
  out.append(digits, digits + count);
  out += u';';
}

// Replaces the units `select` picks by what `replace` appends; the text itself when none.
template <typename Select, typename Replace>
std::u16string replaceUnits(std::u16string_view string, Select select, Replace replace) {
  const auto first = std::find_if(string.begin(), string.end(), select);
  if (first == string.end()) return std::u16string(string);
  std::u16string out(string.begin(), first);
  out.reserve(string.size() + 16);
  auto run = first;
  for (auto p = first; p != string.end(); ++p) {
    if (!select(*p)) continue;
    out.append(run, p);
    replace(out, *p);
    run = p + 1;
  }
  out.append(run, string.end());
  return out;
}

}  // namespace

std::size_t convertEntities2Characters(const unichar* source, unichar* destination,
                                       std::size_t start, std::size_t length, bool markupEntities,
                                       bool onlyNumericEntities, bool nonUmlauted) {
  return EntityDecoder(source, destination, markupEntities, onlyNumericEntities, nonUmlauted)
      .run(start, start + length);
}

std::u16string stringByConvertingEntitiesToCharacters(std::u16string_view string,
                                                      bool markupEntities, bool onlyNumericEntities,
                                                      bool nonUmlauted) {
  if (string.size() < 4) return std::u16string(string);
  std::u16string units(string);
  const std::size_t written =
      convertEntities2Characters(units.data(), units.data(), 0, units.size(), markupEntities,
                                 onlyNumericEntities, nonUmlauted);
  if (written == units.size()) return std::u16string(string);
  units.resize(written);
  return units;
}

std::u16string stringByConvertingEntitiesToCharacters(std::u16string_view string) {
  return stringByConvertingEntitiesToCharacters(string, true, false, false);
}

std::u16string stringByConvertingEntitiesToCharactersNonUmlauted(std::u16string_view string,
                                                                 bool nonUmlauted) {
  return stringByConvertingEntitiesToCharacters(string, true, false, nonUmlauted);
}

std::size_t convertStandardEntities2Characters(unichar* characters, std::size_t length) {
  struct Reference {
    std::u16string_view text;
    unichar character;
  };
  // Grouped by where their ";" stands: 5, 4 or 3 units after the "&".
  static constexpr Reference kFive[] = {{u"&quot;", u'"'}};
  static constexpr Reference kFour[] = {
      {u"&#60;", u'<'}, {u"&#62;", u'>'}, {u"&#38;", u'&'}, {u"&#34;", u'"'}, {u"&amp;", u'&'}};
  static constexpr Reference kThree[] = {{u"&gt;", u'>'}, {u"&lt;", u'<'}};
  const std::u16string_view string(characters, length);
  const auto semicolonAt = [&](std::size_t i, std::size_t offset) {
    return i + offset < length && string[i + offset] == u';';
  };
  std::size_t written = 0;
  for (std::size_t i = 0; i < length;) {
    std::span<const Reference> candidates;
    if (string[i] == u'&') {
      candidates = semicolonAt(i, 5)   ? std::span<const Reference>(kFive)
                   : semicolonAt(i, 4) ? std::span<const Reference>(kFour)
                   : semicolonAt(i, 3) ? std::span<const Reference>(kThree)
                                       : std::span<const Reference>();
    }
    const auto match = std::find_if(candidates.begin(), candidates.end(), [&](const Reference& r) {
      return string.substr(i, r.text.size()) == r.text;
    });
    if (match == candidates.end()) {
      characters[written++] = string[i++];
    } else {
      characters[written++] = match->character;
      i += match->text.size();
    }
  }
  return written;
}

std::u16string stringByConvertingStandardEntitiesToCharacters(std::u16string_view string) {
  if (string.size() < 4) return std::u16string(string);
  std::u16string out(string);
  out.resize(convertStandardEntities2Characters(out.data(), out.size()));
  return out;
}

std::u16string stringByConvertingCharactersToEntities(std::u16string_view string) {
  if (string.empty()) return {};
  // One pass to size, one to write.
  std::size_t size = 0;
  for (const unichar c : string) {
    if (const char* name = nameOf(c)) {
      size += std::strlen(name) + 2;
    } else if (c < 128) {
      size += 1;
    } else {
      size += 3 + (c >= 10000 ? 5 : c >= 1000 ? 4 : 3);
    }
  }
  std::u16string out;
  out.reserve(size);
  for (const unichar c : string) {
    if (const char* name = nameOf(c)) {
      out += u'&';
      out.append(name, name + std::strlen(name));
      out += u';';
    } else if (c < 128) {
      out += c;
    } else {
      appendNumericReference(out, c);
    }
  }
  return out;
}

std::u16string stringByConvertingHighCharactersToEntities(std::u16string_view string) {
  return replaceUnits(
      string, [](unichar c) { return c > 127; }, appendNumericReference);
}

std::u16string stringByConvertingCharactersToStandardEntities(std::u16string_view string) {
  return replaceUnits(
      string, [](unichar c) { return c == u'"' || c == u'&' || c == u'<' || c == u'>'; },
      [](std::u16string& out, unichar c) {
        out += c == u'"' ? u"&quot;" : c == u'&' ? u"&amp;" : c == u'<' ? u"&lt;" : u"&gt;";
      });
}

void initConversionTables() {
  static_cast<void>(reverseTable());
  static_cast<void>(alphaNumCharacterSetRep());
}

}  // namespace orvel

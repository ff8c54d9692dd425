#include "orvel/search/wildcard_matcher.h"

#include <algorithm>

#include "orvel/search/wildcard.h"

namespace orvel {

namespace {

bool isLiteral(unichar unit) {
  return unit != u'*' && unit != u'?' && unit != u'[' && unit != u']';
}

// Whether some bracket set of a Unix pattern spans a number of pattern units that depends
// on the text: a range whose upper bound is the set's "]" ("[a-]", "[-]") reads on past it,
// up to the next "]" after the member that matched, or to the end of the pattern.
bool hasOpenEndedRange(std::u16string_view pattern) {
  for (std::size_t open = pattern.find(u'['); open != std::u16string_view::npos;) {
    std::size_t q = open + 1;
    if (q < pattern.size() && pattern[q] == u'^') ++q;
    while (q < pattern.size() && pattern[q] != u']') {
      if (pattern[q] == u'-' && q + 1 < pattern.size()) {
        if (pattern[q + 1] == u']') return true;
        q += 2;
      } else {
        ++q;
      }
    }
    open = pattern.find(u'[', q);
  }
  return false;
}

}  // namespace

// Every element but "*" consumes one unit, so a literal first (last) element must equal the
// text's first (last) unit. In the Unix language a unit inside a set is no literal.
void WildcardMatcher::findLiteralEnds(bool brackets) {
  if (_pattern.empty()) return;
  const bool setsMatter = brackets && _unix;
  if (isLiteral(_pattern.front())) _firstLiteral = _pattern.front();
  const std::size_t lastOpen = _pattern.rfind(u'[');
  const bool lastInsideSet = setsMatter && lastOpen != std::u16string::npos &&
                             _pattern.find(u']', lastOpen) == std::u16string::npos;
  if (isLiteral(_pattern.back()) && !lastInsideSet) _lastLiteral = _pattern.back();
}

WildcardMatcher::WildcardMatcher(std::u16string_view pattern, bool unix, ConversionTable table)
    : _pattern(pattern), _table(table), _unix(unix) {
  prepareWildcardUsingUnicharTable(_pattern.data(), _pattern.data() + _pattern.size(), table);
  const bool brackets = _pattern.find_first_of(u"[]") != std::u16string::npos;
  // A set of no fixed extent leaves no quick test sound: every text runs the matcher.
  if (brackets && unix && hasOpenEndedRange(_pattern)) return;
  // Without brackets both languages agree with the optimiser's reading of the pattern;
  // with them only the Unix language does, and then only for the length bounds.
  if (!brackets || unix) {
    const unichar* begin = _pattern.data();
    _minLength = minWildcardLen(begin, begin + _pattern.size());
    _maxLength = maxWildcardLen(begin, begin + _pattern.size());
  }
  findLiteralEnds(brackets);
  if (brackets) return;
  std::u16string optimised = _pattern;
  Range fixed;
  std::size_t length = 0;
  const int type =
      optimizeWildcard(optimised.data(), optimised.data() + optimised.size(), &fixed, 0, &length);
  switch (type) {
    case kWildcardLiteral: _shape = Shape::kExact; break;
    case kWildcardSingles: _shape = Shape::kSingles; break;
    case kWildcardPrefix: _shape = Shape::kPrefix; break;
    case kWildcardSuffix: _shape = Shape::kSuffix; break;
    case kWildcardInfix: _shape = Shape::kInfix; break;
    default: return;
  }
  _fixed = optimised.substr(fixed.location, fixed.length);
}

bool WildcardMatcher::equalFolded(const unichar* text, std::size_t length) const {
  const unichar* fixed = _fixed.data();
  for (std::size_t i = 0; i < length; ++i) {
    if (fold(text[i]) != fixed[i] && !(_shape == Shape::kSingles && fixed[i] == u'?')) return false;
  }
  return true;
}

bool WildcardMatcher::containsFolded(const unichar* text, std::size_t length) const {
  const std::size_t n = _fixed.size();
  const unichar first = _fixed[0];
  for (std::size_t start = 0; start + n <= length; ++start) {
    if (fold(text[start]) == first && equalFolded(text + start, n)) return true;
  }
  return false;
}

bool WildcardMatcher::matches(const unichar* text, std::size_t length) const {
  if (length == 0) return matchesGeneral(text, 0);
  // One branch for all the quick tests, computed without jumps: most texts fail one.
  const bool lengthFits = length - _minLength <= _maxLength - _minLength;
  const bool firstFits = (_firstLiteral == 0) | (fold(text[0]) == _firstLiteral);
  const bool lastFits = (_lastLiteral == 0) | (fold(text[length - 1]) == _lastLiteral);
  if (!(lengthFits & firstFits & lastFits)) return false;
  const std::size_t n = _fixed.size();
  switch (_shape) {
    case Shape::kExact:
    case Shape::kSingles:
    case Shape::kPrefix: return equalFolded(text, n);
    case Shape::kSuffix: return equalFolded(text + length - n, n);
    case Shape::kInfix: return containsFolded(text, length);
    case Shape::kGeneral: break;
  }
  return matchesGeneral(text, length);
}

bool WildcardMatcher::matchesGeneral(const unichar* text, std::size_t length) const {
  const unichar* begin = _pattern.data();
  const unichar* end = begin + _pattern.size();
  return _unix ? stringMatchesUnixWildcardUsingUnicharTable(text, text + length, begin, end, _table)
               : stringMatchesWildcardUsingUnicharTable(text, text + length, begin, end, _table);
}

}  // namespace orvel

#include "orvel/search/wildcard_find.h"

#include <algorithm>
#include <string>
#include <vector>

#include "orvel/search/wildcard.h"
#include "orvel/search/wildcard_extensions.h"

namespace orvel {
namespace {

// A pattern folded and optimised once, ready to test words.
class CompiledWildcard {
 public:
  CompiledWildcard(std::u16string_view pattern, unsigned comparison, std::size_t minCharacters)
      : _pattern(pattern),
        _table(unicharTableForWildcardComparison(comparison)),
        _exactWords((comparison & kWildcardExactWords) != 0) {
    _loneStar = !_pattern.empty() &&
                std::all_of(_pattern.begin(), _pattern.end(), [](unichar c) { return c == u'*'; });
    prepareWildcardUsingUnicharTable(_pattern.data(), _pattern.data() + _pattern.size(), _table);
    std::size_t length = 0;
    _type = _pattern.empty() ? kWildcardUnusable
                             : optimizeWildcard(_pattern.data(), _pattern.data() + _pattern.size(),
                                                &_found, minCharacters, &length);
    _pattern.resize(_type == kWildcardUnusable ? 0 : length);
    _minLength = minWildcardLen(begin(), end());
    _maxLength = maxWildcardLen(begin(), end());
  }

  [[nodiscard]] bool usable() const { return _type != kWildcardUnusable; }
  [[nodiscard]] bool loneStar() const { return _loneStar; }

  [[nodiscard]] bool matches(const unichar* word, std::size_t length) const {
    if (_type == kWildcardLiteral) return matchesPlainWord(word, length);
    if (length < _minLength || length > _maxLength) return false;
    const unichar* fixed = begin() + _found.location;
    switch (_type) {
      case kWildcardPrefix: return equalFolded(word, fixed, _found.length);
      case kWildcardSuffix: return equalFolded(word + length - _found.length, fixed, _found.length);
      case kWildcardInfix:
        for (std::size_t start = 0; start + _found.length <= length; ++start) {
          if (equalFolded(word + start, fixed, _found.length)) return true;
        }
        return false;
      case kWildcardSingles:
      case kWildcardSimple:
        return stringMatchesWildcardUsingUnicharTable(word, word + length, begin(), end(), _table);
      default:
        return stringMatchesUnixWildcardUsingUnicharTable(word, word + length, begin(), end(),
                                                          _table);
    }
  }

 private:
  const unichar* begin() const { return _pattern.data(); }
  const unichar* end() const { return _pattern.data() + _pattern.size(); }

  bool equalFolded(const unichar* word, const unichar* fixed, std::size_t length) const {
    for (std::size_t i = 0; i < length; ++i) {
      if ((_table != nullptr ? _table[word[i]] : word[i]) != fixed[i]) return false;
    }
    return true;
  }

  bool matchesPlainWord(const unichar* word, std::size_t length) const {
    if (_exactWords) return length == _pattern.size() && equalFolded(word, begin(), length);
    const double threshold = minWildcardFuzzyAnalogy();
    const double shorter = static_cast<double>(std::min(length, _pattern.size()));
    const double longer = static_cast<double>(std::max(length, _pattern.size()));
    if (longer == 0 || shorter / longer < threshold) return false;
    // The pattern is folded already; folding it again changes nothing.
    return stringMatchesUnixWildcardFuzzyUsingUnicharTable(begin(), _pattern.size(), word, length,
                                                           _table) >= threshold;
  }

  std::u16string _pattern;
  ConversionTable _table;
  bool _exactWords;
  bool _loneStar = false;
  int _type = kWildcardUnusable;
  Range _found;
  std::size_t _minLength = 0;
  std::size_t _maxLength = 0;
};

struct SearchFlags {
  bool backwards;
  bool wholeWords;
  bool nextWordOnly;
  bool loneStarMatches;
};

// Walks the words of text inside range in the search direction and answers the first
// that the pattern matches.
Range findWord(const unichar* text, std::size_t textLength, Range range,
               const CompiledWildcard& pattern, CharacterSetRep separators, SearchFlags flags) {
  const bool star = flags.loneStarMatches && pattern.loneStar();
  if (text == nullptr || range.length == 0 || range.location >= textLength ||
      (!pattern.usable() && !star)) {
    return Range::notFound();
  }
  const std::size_t low = range.location;
  const std::size_t high = std::min(range.end(), textLength);
  auto isSeparator = [&](std::size_t i) { return isMemberOfCharacterSetRep(separators, text[i]); };
  auto cutAtLow = [&](std::size_t start) {
    return start == low && low > 0 && !isSeparator(low - 1);
  };
  auto cutAtHigh = [&](std::size_t end) {
    return end == high && high < textLength && !isSeparator(high);
  };

  std::size_t i = flags.backwards ? high : low;
  for (;;) {
    std::size_t start, end;
    if (flags.backwards) {
      while (i > low && isSeparator(i - 1)) --i;
      if (i == low) return Range::notFound();
      end = i;
      while (i > low && !isSeparator(i - 1)) --i;
      start = i;
    } else {
      while (i < high && isSeparator(i)) ++i;
      if (i == high) return Range::notFound();
      start = i;
      while (i < high && !isSeparator(i)) ++i;
      end = i;
    }
    const bool whole = !flags.wholeWords || (!cutAtLow(start) && !cutAtHigh(end));
    if (whole && (star || pattern.matches(text + start, end - start))) {
      return Range{start, end - start};
    }
    if (flags.nextWordOnly) return Range::notFound();
  }
}

}  // namespace

Range FindWildcardInCharacters(const unichar* text, std::size_t textLength, Range range,
                               std::u16string_view pattern, unsigned comparison,
                               std::size_t minCharacters, CharacterSetRep separators,
                               bool backwards, bool wholeWords, bool nextWordOnly,
                               bool loneStarMatches) {
  const CompiledWildcard compiled(pattern, comparison, minCharacters);
  return findWord(text, textLength, range, compiled, separators,
                  SearchFlags{backwards, wholeWords, nextWordOnly, loneStarMatches});
}

Range FindWildcardStringInCharacters(const unichar* text, std::size_t textLength, Range range,
                                     std::u16string_view pattern, unsigned comparison,
                                     std::size_t minCharacters, CharacterSetRep separators,
                                     bool backwards, bool wholeWords) {
  std::vector<CompiledWildcard> words;
  for (const std::u16string& word : wordsUsingWildcardSeparation(pattern)) {
    words.emplace_back(word, comparison, minCharacters);
  }
  if (words.empty() || range.location >= textLength) return Range::notFound();
  const std::size_t high = std::min(range.end(), textLength);
  Range searched{range.location, high - range.location};
  while (searched.length > 0) {
    const Range first = findWord(text, textLength, searched, words[0], separators,
                                 SearchFlags{backwards, wholeWords, false, true});
    if (!first.found()) return Range::notFound();
    std::size_t end = first.end();
    bool matched = true;
    for (std::size_t k = 1; k < words.size() && matched; ++k) {
      const Range next = findWord(text, textLength, Range{end, high - end}, words[k], separators,
                                  SearchFlags{false, wholeWords, true, true});
      matched = next.found();
      if (matched) end = next.end();
    }
    if (matched) return Range{first.location, end - first.location};
    searched = backwards ? Range{searched.location, first.location - searched.location}
                         : Range{first.end(), high - first.end()};
  }
  return Range::notFound();
}

}  // namespace orvel

#include "orvel/search/text_query.h"

#include <algorithm>

#include "orvel/search/query_wildcards.h"

namespace orvel {

TextQuery::TextQuery(std::u16string_view query, bool caseSensitive, bool wildcard)
    : _tree(wildcard ? QueryTerms::withWildcard(query) : QueryTerms(query)),
      _caseSensitive(caseSensitive),
      _wildcard(wildcard),
      _words(_tree.plusParts(1)),
      _substrings(_tree.plusParts(2)),
      _patterns(wildcard ? _tree.plusWildcards() : std::nullopt),
      _allParts(_tree.plusParts()) {
  initSeparatorsAndTables();
}

WildcardComparison TextQuery::comparison() const {
  return _caseSensitive ? WildcardComparison{0} : WildcardComparison{kWildcardCaseInsensitive};
}

bool TextQuery::matches(std::u16string_view text) const {
  return _wildcard ? _tree.matchesString(text, comparison())
                   : _tree.matchesString(text, _caseSensitive);
}

std::vector<Occurrence> TextQuery::occurrences(std::u16string_view text, bool paragraphs) const {
  std::vector<Occurrence> found;
  auto add = [&found](std::optional<std::vector<Occurrence>> more) {
    if (more) found.insert(found.end(), more->begin(), more->end());
  };
  if (_wildcard) {
    if (_patterns) add(getOccurrencesOfWildcards(text, *_patterns, comparison(), 1, paragraphs));
    return found;
  }
  add(getOccurrencesOfQueryTerm(text, _words, _caseSensitive, true, false, paragraphs));
  add(getOccurrencesOfQueryTerm(text, _substrings, _caseSensitive, false, false, paragraphs));
  std::sort(found.begin(), found.end(), [](const Occurrence& a, const Occurrence& b) {
    return a.range.location < b.range.location;
  });
  found.erase(
      std::unique(found.begin(), found.end(),
                  [](const Occurrence& a, const Occurrence& b) { return a.range == b.range; }),
      found.end());
  return found;
}

std::optional<std::u16string> TextQuery::snippets(std::u16string_view text,
                                                  std::u16string_view separator,
                                                  std::size_t maxCharacters, bool paragraphs,
                                                  bool singleWords) const {
  if (_wildcard) {
    if (!_patterns) return std::nullopt;
    return assembleOccurrencesOfWildcards(text, *_patterns, true, singleWords, comparison(), 1,
                                          paragraphs, separator, maxCharacters);
  }
  return assembleOccurrencesOfQueryTerm(text, _allParts, true, singleWords, _caseSensitive, true,
                                        false, paragraphs, separator, maxCharacters);
}

}  // namespace orvel

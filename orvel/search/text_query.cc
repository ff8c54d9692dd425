#include "orvel/search/text_query.h"

#include <algorithm>

#include "orvel/search/internal/byte_word_search.h"
#include "orvel/search/query_wildcards.h"
#include "orvel/search/separation.h"

namespace orvel {
namespace {

// Whether a text matches the query exactly when one of its positive words has an
// occurrence: the query is one positive word, or positive words joined by OR, each found by
// the evaluation and by the occurrence search alike (as a whole word; a term that
// separation splits into several words is searched as a phrase by the one and literally by
// the other).
bool everyMatchIsAnOccurrence(const QueryTerms& node) {
  if (node.queryNot()) return false;
  if (node.isWord()) {
    const std::u16string& word = node.string();
    return !word.empty() && !node.querySubstring() &&
           (word.size() < 3 || wordsUsingDefaultSeparation(word).size() < 2);
  }
  const auto& children = node.children();
  if (children.size() == 1) return everyMatchIsAnOccurrence(children.front());
  return !children.empty() && node.commonOperator() == QueryOperatorOR &&
         std::all_of(children.begin(), children.end(), [](const QueryTerms& child) {
           return child.isWord() && everyMatchIsAnOccurrence(child);
         });
}

// A text folded through a table, unit for unit.
std::u16string folded(std::u16string_view text, ConversionTable table) {
  std::u16string out(text.size(), u'\0');
  std::transform(text.begin(), text.end(), out.begin(), [table](unichar c) { return table[c]; });
  return out;
}

}  // namespace

TextQuery::TextQuery(std::u16string_view query, bool caseSensitive, bool wildcard,
                     bool ignoreAccents)
    : _ignoreAccents(ignoreAccents),
      _tree([&] {
        const std::u16string text =
            ignoreAccents ? folded(query, umlautsCharsTable()) : std::u16string(query);
        return wildcard ? QueryTerms::withWildcard(text) : QueryTerms(text);
      }()),
      _caseSensitive(caseSensitive),
      _wildcard(wildcard),
      _words(_tree.plusParts(1)),
      _substrings(_tree.plusParts(2)),
      _patterns(wildcard ? _tree.plusWildcards() : std::nullopt),
      _allParts(_tree.plusParts()),
      _everyMatchIsAnOccurrence(!wildcard && everyMatchIsAnOccurrence(_tree)),
      // Without accents a word stands for more spellings than its byte forms hold.
      _byteSearch(std::make_shared<const internal::ByteWordSearch>(
          _everyMatchIsAnOccurrence && !ignoreAccents ? _words : std::vector<std::u16string>{},
          caseSensitive)) {
  initSeparatorsAndTables();
}

WildcardComparison TextQuery::comparison() const {
  return WildcardComparison{(_caseSensitive ? 0u : kWildcardCaseInsensitive) |
                            (_ignoreAccents ? kWildcardDiacriticInsensitive : 0u)};
}

std::u16string_view TextQuery::compared(std::u16string_view text) const {
  // A wildcard comparison folds the text itself.
  if (!_ignoreAccents || _wildcard) return text;
  thread_local std::u16string buffer;
  buffer.resize(text.size());
  const ConversionTable table = umlautsCharsTable();
  std::transform(text.begin(), text.end(), buffer.begin(), [table](unichar c) { return table[c]; });
  return buffer;
}

bool TextQuery::matches(std::u16string_view text) const {
  return _wildcard ? _tree.matchesString(text, comparison())
                   : _tree.matchesString(compared(text), _caseSensitive);
}

std::vector<Occurrence> TextQuery::occurrences(std::u16string_view text, bool paragraphs) const {
  auto found = occurrencesAtPlaces(text, occurrencePlaces(text, paragraphs));
  return found ? std::move(*found) : std::vector<Occurrence>{};
}

std::vector<OccurrencePlace> TextQuery::occurrencePlaces(std::u16string_view text, bool paragraphs,
                                                         bool countLines,
                                                         std::vector<TermPlace>* terms) const {
  if (_wildcard) {
    if (!_patterns) return {};
    return getOccurrencePlacesOfWildcards(text, *_patterns, comparison(), 1, paragraphs, countLines,
                                          terms);
  }
  return internal::occurrencePlacesOfWordsAndSubstrings(
      compared(text), _words, _substrings, _caseSensitive, paragraphs, countLines, terms);
}

std::optional<std::vector<OccurrencePlace>> TextQuery::matchingOccurrencePlaces(
    std::u16string_view text, bool paragraphs, bool countLines,
    std::vector<TermPlace>* terms) const {
  if (!_everyMatchIsAnOccurrence && !matches(text)) return std::nullopt;
  std::vector<OccurrencePlace> places = occurrencePlaces(text, paragraphs, countLines, terms);
  if (_everyMatchIsAnOccurrence && places.empty()) return std::nullopt;
  return places;
}

std::optional<std::vector<OccurrencePlace>> TextQuery::byteOccurrencePlaces(
    std::string_view bytes, bool paragraphs, bool countLines, bool unitOffsets,
    std::vector<TermPlace>* terms) const {
  return _byteSearch->places(bytes, paragraphs, countLines, unitOffsets, terms);
}

std::optional<bool> TextQuery::byteMatches(std::string_view bytes) const {
  return _byteSearch->matches(bytes);
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
  return internal::assembleOccurrencesOfQueryTermIn(text, compared(text), _allParts, true,
                                                    singleWords, _caseSensitive, true, false,
                                                    paragraphs, separator, maxCharacters);
}

}  // namespace orvel

#include "orvel/search/text_query.h"

#include <algorithm>
#include <iterator>

#include "orvel/search/internal/byte_search.h"
#include "orvel/search/internal/snippet_walk.h"
#include "orvel/search/query_wildcards.h"
#include "orvel/search/separation.h"
#include "orvel/search/separators.h"
#include "orvel/text/conversion_tables.h"

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

// The words as bytes when each is ASCII (lower-cased unless case-sensitive); else none.
std::vector<std::string> asciiWordsOf(const std::vector<std::u16string>& words,
                                      bool caseSensitive) {
  std::vector<std::string> bytes;
  for (const std::u16string& word : words) {
    std::string ascii;
    for (const char16_t unit : word) {
      if (unit == 0 || unit >= 0x80) return {};
      const bool upper = !caseSensitive && unit >= u'A' && unit <= u'Z';
      ascii += static_cast<char>(upper ? unit - u'A' + u'a' : unit);
    }
    bytes.push_back(std::move(ascii));
  }
  return bytes;
}

// Whether plain ASCII bytes may be walked as their UTF-16 text would be, for these words
// and the character sets as they are now. The walk finds each word on the bytes as a whole
// word; the text's walk searches a word of word characters alone from where the last
// snippet ended, at a boundary, which must then be no word character for the two to agree.
// A caseless search compares ASCII in either case, as the upper-case table must then fold.
bool asciiWalkHolds(const std::vector<std::string>& words) {
  static const bool foldsAsAscii = [] {
    const ConversionTable upper = initUpperCharsTable();
    for (unichar c = 0; c < 0x80; ++c) {
      const unichar expected = c >= u'a' && c <= u'z' ? c - u'a' + u'A' : c;
      if (upper[c] != expected) return false;
    }
    return true;
  }();
  const CharacterSetRep wordCharacters = queryTermCharacters();
  const auto isWord = [&](char c) {
    return isMemberOfCharacterSetRep(wordCharacters, static_cast<unichar>(c));
  };
  for (unichar c = 1; c < 0x80; ++c) {
    const bool boundary = isMemberOfCharacterSetRep(defaultSentenceSeparators(), c) ||
                          isMemberOfCharacterSetRep(defaultLineSeparators(), c);
    if (boundary && isWord(static_cast<char>(c))) return false;
  }
  return foldsAsAscii && std::all_of(words.begin(), words.end(), [&](const std::string& word) {
           return !word.empty() && std::all_of(word.begin(), word.end(), isWord);
         });
}

}  // namespace

TextQuery::TextQuery(std::u16string_view query, bool caseSensitive, bool wildcard)
    : _tree(wildcard ? QueryTerms::withWildcard(query) : QueryTerms(query)),
      _caseSensitive(caseSensitive),
      _wildcard(wildcard),
      _words(_tree.plusParts(1)),
      _substrings(_tree.plusParts(2)),
      _patterns(wildcard ? _tree.plusWildcards() : std::nullopt),
      _allParts(_tree.plusParts()),
      _everyMatchIsAnOccurrence(!wildcard && everyMatchIsAnOccurrence(_tree)),
      _asciiWords(_everyMatchIsAnOccurrence ? asciiWordsOf(_words, caseSensitive)
                                            : std::vector<std::string>{}) {
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
  auto found = occurrencesAtPlaces(text, occurrencePlaces(text, paragraphs));
  return found ? std::move(*found) : std::vector<Occurrence>{};
}

std::vector<OccurrencePlace> TextQuery::occurrencePlaces(std::u16string_view text, bool paragraphs,
                                                         bool countLines) const {
  if (_wildcard) {
    if (!_patterns) return {};
    return getOccurrencePlacesOfWildcards(text, *_patterns, comparison(), 1, paragraphs,
                                          countLines);
  }
  std::vector<OccurrencePlace> words = getOccurrencePlacesOfQueryTerm(
      text, _words, _caseSensitive, true, false, paragraphs, countLines);
  if (_substrings.empty()) return words;
  const std::vector<OccurrencePlace> substrings = getOccurrencePlacesOfQueryTerm(
      text, _substrings, _caseSensitive, false, false, paragraphs, countLines);
  // Both lists are in text order: merged, a snippet both found counts once.
  std::vector<OccurrencePlace> merged;
  merged.reserve(words.size() + substrings.size());
  const auto before = [](const OccurrencePlace& a, const OccurrencePlace& b) {
    return a.range.location < b.range.location;
  };
  std::merge(words.begin(), words.end(), substrings.begin(), substrings.end(),
             std::back_inserter(merged), before);
  merged.erase(std::unique(merged.begin(), merged.end(),
                           [](const OccurrencePlace& a, const OccurrencePlace& b) {
                             return a.range == b.range;
                           }),
               merged.end());
  return merged;
}

std::optional<std::vector<OccurrencePlace>> TextQuery::matchingOccurrencePlaces(
    std::u16string_view text, bool paragraphs, bool countLines) const {
  if (!_everyMatchIsAnOccurrence && !matches(text)) return std::nullopt;
  std::vector<OccurrencePlace> places = occurrencePlaces(text, paragraphs, countLines);
  if (_everyMatchIsAnOccurrence && places.empty()) return std::nullopt;
  return places;
}

std::optional<std::vector<OccurrencePlace>> TextQuery::asciiOccurrencePlaces(
    std::string_view bytes, bool paragraphs, bool countLines) const {
  if (_asciiWords.empty() || !asciiWalkHolds(_asciiWords) || !internal::isPlainAscii(bytes)) {
    return std::nullopt;
  }
  // Each word's next whole-word occurrence, searched again once the walk has passed it.
  const CharacterSetRep wordCharacters = queryTermCharacters();
  constexpr std::size_t kUnsearched = std::string_view::npos - 1;
  std::vector<std::size_t> next(_asciiWords.size(), kUnsearched);
  return internal::walkOccurrences<internal::AsciiLineCounter>(
      bytes, paragraphs, countLines, [&](std::size_t position) {
        Range found = Range::notFound();
        for (std::size_t k = 0; k < _asciiWords.size(); ++k) {
          if (next[k] == kUnsearched || (next[k] != std::string_view::npos && next[k] < position)) {
            next[k] = internal::findBytes(bytes, _asciiWords[k], !_caseSensitive, position,
                                          wordCharacters);
          }
          if (next[k] != std::string_view::npos && (!found.found() || next[k] < found.location)) {
            found = Range{next[k], _asciiWords[k].size()};
          }
        }
        return found;
      });
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

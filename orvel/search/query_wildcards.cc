#include "orvel/search/query_wildcards.h"

#include <algorithm>
#include <set>

#include "orvel/search/query_evaluation.h"
#include "orvel/search/wildcard_extensions.h"
#include "orvel/search/wildcard_find.h"
#include "orvel/text/character_set_builder.h"

namespace orvel {
namespace {

bool isProximity(QueryOperator op) { return op >= QueryOperatorNEAR && op <= QueryOperatorNEXT; }

bool joinsNeighbours(QueryOperator op) { return op == QueryOperatorAND || isProximity(op); }

std::u16string joined(const std::vector<std::u16string>& words, std::u16string_view glue) {
  std::u16string text;
  for (const std::u16string& word : words) {
    if (!text.empty()) text += glue;
    text += word;
  }
  return text;
}

// Collects the search strings of a tree; `combinations`, when given, also gets the pairs
// of neighbouring terms. Answers the node's representative string.
class SearchStrings {
 public:
  SearchStrings(std::set<std::u16string>& strings, std::set<std::u16string>* combinations,
                bool rawTexts)
      : _strings(strings), _combinations(combinations), _rawTexts(rawTexts) {}

  std::optional<std::u16string> visit(const QueryTerms& node, bool parity) {
    return node.isWord() ? visitLeaf(node, parity) : visitGroup(node, parity);
  }

 private:
  std::optional<std::u16string> visitLeaf(const QueryTerms& leaf, bool parity) {
    if (parity) return std::nullopt;  // negated terms give no search strings
    bool hyphenated = false;
    const auto words =
        wordsUsingWildcardSeparation(leaf.string(), leaf.queryPhrase() ? nullptr : &hyphenated);
    if (words.empty()) return std::nullopt;
    if (_rawTexts) _strings.insert(leaf.string());
    std::u16string representative = joined(words, u" ");
    _strings.insert(representative);
    if (words.size() > 1 && hyphenated) {
      representative = joined(words, u"");
      _strings.insert(representative);
    }
    return representative;
  }

  void combine(const std::optional<std::u16string>& previous,
               const std::optional<std::u16string>& current, QueryOperator op) {
    if (_combinations != nullptr && previous && current && joinsNeighbours(op)) {
      _combinations->insert(*previous + u" " + *current);
    }
  }

  // A child joined to the next by a proximity operator is visited together with it.
  std::optional<std::u16string> visitGroup(const QueryTerms& group, bool parity) {
    const auto& children = group.children();
    std::optional<std::u16string> previous;
    for (std::size_t i = 0; i < children.size();) {
      const QueryTerms& child = children[i];
      const auto current = visit(child, parity != child.queryNot());
      combine(previous, current, child.queryOperator());
      previous = current;
      if (i + 1 < children.size() && isProximity(children[i + 1].queryOperator())) {
        const QueryTerms& next = children[i + 1];
        const bool nextParity = child.queryNot() ? !parity : parity != next.queryNot();
        const auto paired = visit(next, nextParity);
        combine(current, paired, next.queryOperator());
        previous = paired;
        i += 2;
      } else {
        ++i;
      }
    }
    return std::nullopt;
  }

  std::set<std::u16string>& _strings;
  std::set<std::u16string>* _combinations;
  bool _rawTexts;
};

// Shortest first; equal lengths in code-unit order.
std::vector<std::u16string> sortedAscendingByLength(const std::set<std::u16string>& strings) {
  std::vector<std::u16string> sorted(strings.begin(), strings.end());
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto& a, const auto& b) { return a.size() < b.size(); });
  return sorted;
}

CharacterSetBitmap textWordSeparators() {
  return CharacterSetBuilder(queryTermCharacters()).invert().build();
}

Range findPattern(const unichar* characters, std::size_t length, Range range,
                  const std::u16string& pattern, WildcardComparison comparison,
                  std::size_t minCharacters, CharacterSetRep separators, bool backwards) {
  if (range.length == 0) return Range::notFound();
  return FindWildcardStringInCharacters(characters, length, range, pattern, comparison.options,
                                        minCharacters, separators, backwards, true);
}

struct WildcardSearch {
  const std::vector<std::u16string>* patterns;
  std::u16string_view text;
  WildcardComparison comparison;
  std::size_t minCharacters;
};

Range nextWildcard(void* context, std::size_t from) {
  const auto* search = static_cast<const WildcardSearch*>(context);
  return rangeOfNextWildcard(*search->patterns, search->text.data(), search->text.size(),
                             Range{from, search->text.size() - from}, search->comparison,
                             search->minCharacters);
}

}  // namespace

std::optional<std::vector<std::u16string>> QueryTerms::plusWildcards() const {
  if (!isValid()) return std::nullopt;
  std::set<std::u16string> strings;
  SearchStrings(strings, nullptr, true).visit(*this, _queryNot);
  return sortedAscendingByLength(strings);
}

std::vector<std::u16string> QueryTerms::extendedPlusWildcards() const {
  std::set<std::u16string> strings;
  SearchStrings(strings, &strings, false).visit(*this, _queryNot);
  return sortedAscendingByLength(strings);
}

bool matchesQueryTerms(std::u16string_view text, const QueryTerms& tree,
                       WildcardComparison comparison) {
  return tree.matchesString(text, comparison);
}

bool containsQueryTerms(std::u16string_view text, const QueryTerms& tree,
                        WildcardComparison comparison) {
  return tree.containsString(text, comparison);
}

std::optional<std::vector<std::u16string>> plusWildcards(std::u16string_view query) {
  return QueryTerms::withWildcard(query).plusWildcards();
}

std::vector<std::u16string> extendedPlusWildcards(std::u16string_view query) {
  return QueryTerms::withWildcard(query).extendedPlusWildcards();
}

std::u16string plusWildcardString(std::u16string_view query, unsigned mask) {
  return QueryTerms::withWildcard(query).plusString(mask);
}

std::vector<std::u16string> plusWildcardParts(std::u16string_view query, unsigned mask) {
  return QueryTerms::withWildcard(query).plusParts(mask);
}

std::vector<QueryTerms> plusWildcardTerms(std::u16string_view query, unsigned mask) {
  const QueryTerms tree = QueryTerms::withWildcard(query);
  std::vector<QueryTerms> terms;
  for (const QueryTerms* leaf : tree.plusTerms(mask)) terms.push_back(*leaf);
  return terms;
}

std::vector<std::u16string> plusWildcardWords(std::u16string_view query, unsigned mask) {
  return QueryTerms::withWildcard(query).plusWords(mask);
}

std::vector<std::u16string> wildcardQueryTermsForOperators(std::u16string_view query,
                                                           std::uint32_t format,
                                                           const QueryOperatorWords* words) {
  return QueryTerms::withWildcard(query).queryTermsForOperators(format, words);
}

std::u16string standardizedWildcardQueryTerm(std::u16string_view query) {
  return QueryTerms::withWildcard(query).standardizedQueryTerm();
}

std::u16string normalizedWildcardQueryTerm(std::u16string_view query) {
  return QueryTerms::withWildcard(query).normalizedQueryTerm();
}

bool containsAnyWildcard(const std::vector<std::u16string>& patterns, const unichar* characters,
                         std::size_t length, WildcardComparison comparison,
                         std::size_t minCharacters) {
  if (characters == nullptr || length == 0) return false;
  const CharacterSetBitmap separators = textWordSeparators();
  return std::any_of(patterns.begin(), patterns.end(), [&](const std::u16string& pattern) {
    return findPattern(characters, length, Range{0, length}, pattern, comparison, minCharacters,
                       separators.data(), false)
        .found();
  });
}

bool containsAnyWildcard(std::u16string_view text, const std::vector<std::u16string>& patterns,
                         WildcardComparison comparison, std::size_t minCharacters) {
  return containsAnyWildcard(patterns, text.data(), text.size(), comparison, minCharacters);
}

Range rangeOfNextWildcard(const std::vector<std::u16string>& patterns, const unichar* characters,
                          std::size_t length, Range range, WildcardComparison comparison,
                          std::size_t minCharacters) {
  if (characters == nullptr || range.length == 0 || range.location >= length) {
    return Range::notFound();
  }
  const CharacterSetBitmap separators = textWordSeparators();
  std::size_t searchEnd = std::min(range.end(), length);
  Range best = Range::notFound();
  for (const std::u16string& pattern : patterns) {
    if (searchEnd <= range.location) break;
    const Range hit =
        findPattern(characters, length, Range{range.location, searchEnd - range.location}, pattern,
                    comparison, minCharacters, separators.data(), false);
    if (hit.found()) {
      best = hit;
      searchEnd = hit.location;
    }
  }
  return best;
}

Range rangeOfPreviousWildcard(const std::vector<std::u16string>& patterns,
                              const unichar* characters, std::size_t length, Range range,
                              WildcardComparison comparison, std::size_t minCharacters) {
  if (characters == nullptr || range.length == 0 || range.location >= length) {
    return Range::notFound();
  }
  const CharacterSetBitmap separators = textWordSeparators();
  const std::size_t end = std::min(range.end(), length);
  std::size_t searchStart = range.location;
  Range best = Range::notFound();
  for (const std::u16string& pattern : patterns) {
    if (searchStart >= end) break;
    const Range hit = findPattern(characters, length, Range{searchStart, end - searchStart},
                                  pattern, comparison, minCharacters, separators.data(), true);
    if (hit.found()) {
      best = hit;
      searchStart = hit.end();
    }
  }
  return best;
}

Range findNextWildcard(std::u16string_view text, const std::vector<std::u16string>& patterns,
                       Range range, WildcardComparison comparison, std::size_t minCharacters) {
  return rangeOfNextWildcard(patterns, text.data(), text.size(), range, comparison, minCharacters);
}

Range findNextWildcard(std::u16string_view text, const std::vector<std::u16string>& patterns,
                       WildcardComparison comparison, std::size_t minCharacters) {
  return findNextWildcard(text, patterns, Range{0, text.size()}, comparison, minCharacters);
}

Range findPreviousWildcard(std::u16string_view text, const std::vector<std::u16string>& patterns,
                           Range range, WildcardComparison comparison, std::size_t minCharacters) {
  return rangeOfPreviousWildcard(patterns, text.data(), text.size(), range, comparison,
                                 minCharacters);
}

Range findPreviousWildcard(std::u16string_view text, const std::vector<std::u16string>& patterns,
                           WildcardComparison comparison, std::size_t minCharacters) {
  return findPreviousWildcard(text, patterns, Range{0, text.size()}, comparison, minCharacters);
}

Range rangeOfWildcard(std::u16string_view text, std::u16string_view pattern, Range range,
                      WildcardComparison comparison, std::size_t minCharacters) {
  if (pattern.empty()) return Range::notFound();
  return findNextWildcard(text, {std::u16string(pattern)}, range, comparison, minCharacters);
}

Range rangeOfWildcard(std::u16string_view text, std::u16string_view pattern,
                      WildcardComparison comparison, std::size_t minCharacters) {
  return rangeOfWildcard(text, pattern, Range{0, text.size()}, comparison, minCharacters);
}

Range rangeOfWildcardWords(std::u16string_view text, const std::vector<std::u16string>& words,
                           Range range, WildcardComparison comparison, std::size_t minCharacters) {
  if (words.empty()) return Range::notFound();
  return rangeOfWildcard(text, u"\"" + joined(words, u" ") + u"\"", range, comparison,
                         minCharacters);
}

Range rangeOfWildcardWords(std::u16string_view text, const std::vector<std::u16string>& words,
                           WildcardComparison comparison, std::size_t minCharacters) {
  return rangeOfWildcardWords(text, words, Range{0, text.size()}, comparison, minCharacters);
}

std::optional<std::vector<Occurrence>> getOccurrencesOfWildcards(
    std::u16string_view text, const std::vector<std::u16string>& patterns,
    WildcardComparison comparison, std::size_t minCharacters, bool paragraphs) {
  return occurrencesAtPlaces(
      text, getOccurrencePlacesOfWildcards(text, patterns, comparison, minCharacters, paragraphs));
}

std::vector<OccurrencePlace> getOccurrencePlacesOfWildcards(
    std::u16string_view text, const std::vector<std::u16string>& patterns,
    WildcardComparison comparison, std::size_t minCharacters, bool paragraphs, bool countLines,
    std::vector<TermPlace>* terms) {
  if (patterns.empty() || text.empty()) return {};
  WildcardSearch search{&patterns, text, comparison, minCharacters};
  return internal::collectOccurrencePlaces(text, paragraphs, countLines, nextWildcard, &search,
                                           terms);
}

std::optional<std::u16string> assembleOccurrencesOfWildcards(
    std::u16string_view text, const std::vector<std::u16string>& patterns, bool onlyOccurrences,
    bool singleWords, WildcardComparison comparison, std::size_t minCharacters, bool paragraphs,
    std::optional<std::u16string_view> separator, std::size_t ellipsizeAfterNCharacters) {
  WildcardSearch search{&patterns, text, comparison, minCharacters};
  const internal::AssemblyOptions options{onlyOccurrences, singleWords, paragraphs,
                                          separator.value_or(u" "), ellipsizeAfterNCharacters};
  return internal::assembleOccurrences(text, options, nextWildcard, &search);
}

}  // namespace orvel

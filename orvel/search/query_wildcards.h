// Queries and pattern lists whose terms are wildcard patterns, on the text side: parsing
// conveniences, evaluation with a comparison mode, and finding, assembling and listing the
// occurrences of patterns. Text words are the runs of the word-character set
// (queryTermCharacters); patterns are matched with FindWildcardStringInCharacters.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/search/query_occurrences.h"
#include "orvel/search/query_terms.h"
#include "orvel/search/wildcard.h"

namespace orvel {

[[nodiscard]] bool matchesQueryTerms(std::u16string_view text, const QueryTerms& tree,
                                     WildcardComparison comparison);
[[nodiscard]] bool containsQueryTerms(std::u16string_view text, const QueryTerms& tree,
                                      WildcardComparison comparison);

// The string forms: the query parsed in wildcard mode (defaults AND and 10).
[[nodiscard]] std::optional<std::vector<std::u16string>> plusWildcards(std::u16string_view query);
[[nodiscard]] std::vector<std::u16string> extendedPlusWildcards(std::u16string_view query);
[[nodiscard]] std::u16string plusWildcardString(std::u16string_view query, unsigned mask = 3);
[[nodiscard]] std::vector<std::u16string> plusWildcardParts(std::u16string_view query,
                                                            unsigned mask = 3);
[[nodiscard]] std::vector<QueryTerms> plusWildcardTerms(std::u16string_view query,
                                                        unsigned mask = 3);
[[nodiscard]] std::vector<std::u16string> plusWildcardWords(std::u16string_view query,
                                                            unsigned mask = 3);
[[nodiscard]] std::vector<std::u16string> wildcardQueryTermsForOperators(
    std::u16string_view query, std::uint32_t format, const QueryOperatorWords* words = nullptr);
[[nodiscard]] std::u16string standardizedWildcardQueryTerm(std::u16string_view query);
[[nodiscard]] std::u16string normalizedWildcardQueryTerm(std::u16string_view query);

// Whether any pattern matches anywhere in the units.
[[nodiscard]] bool containsAnyWildcard(const std::vector<std::u16string>& patterns,
                                       const unichar* characters, std::size_t length,
                                       WildcardComparison comparison, std::size_t minCharacters);
[[nodiscard]] bool containsAnyWildcard(std::u16string_view text,
                                       const std::vector<std::u16string>& patterns,
                                       WildcardComparison comparison, std::size_t minCharacters);

// The earliest match of any pattern in range: each pattern in list order is searched
// before the best hit so far, so a later pattern wins only by ending before it begins.
[[nodiscard]] Range rangeOfNextWildcard(const std::vector<std::u16string>& patterns,
                                        const unichar* characters, std::size_t length, Range range,
                                        WildcardComparison comparison, std::size_t minCharacters);
// The latest match: each pattern is searched backwards after the best hit so far.
[[nodiscard]] Range rangeOfPreviousWildcard(const std::vector<std::u16string>& patterns,
                                            const unichar* characters, std::size_t length,
                                            Range range, WildcardComparison comparison,
                                            std::size_t minCharacters);

// The same on a text, over range or the whole text.
[[nodiscard]] Range findNextWildcard(std::u16string_view text,
                                     const std::vector<std::u16string>& patterns, Range range,
                                     WildcardComparison comparison, std::size_t minCharacters);
[[nodiscard]] Range findNextWildcard(std::u16string_view text,
                                     const std::vector<std::u16string>& patterns,
                                     WildcardComparison comparison, std::size_t minCharacters);
[[nodiscard]] Range findPreviousWildcard(std::u16string_view text,
                                         const std::vector<std::u16string>& patterns, Range range,
                                         WildcardComparison comparison, std::size_t minCharacters);
[[nodiscard]] Range findPreviousWildcard(std::u16string_view text,
                                         const std::vector<std::u16string>& patterns,
                                         WildcardComparison comparison, std::size_t minCharacters);
// One pattern; an empty pattern is never found.
[[nodiscard]] Range rangeOfWildcard(std::u16string_view text, std::u16string_view pattern,
                                    Range range, WildcardComparison comparison,
                                    std::size_t minCharacters);
[[nodiscard]] Range rangeOfWildcard(std::u16string_view text, std::u16string_view pattern,
                                    WildcardComparison comparison, std::size_t minCharacters);
// Consecutive words, each a pattern.
[[nodiscard]] Range rangeOfWildcardWords(std::u16string_view text,
                                         const std::vector<std::u16string>& words, Range range,
                                         WildcardComparison comparison, std::size_t minCharacters);
[[nodiscard]] Range rangeOfWildcardWords(std::u16string_view text,
                                         const std::vector<std::u16string>& words,
                                         WildcardComparison comparison, std::size_t minCharacters);

// The snippet forms of query_occurrences.h with patterns as terms.
[[nodiscard]] std::optional<std::vector<Occurrence>> getOccurrencesOfWildcards(
    std::u16string_view text, const std::vector<std::u16string>& patterns,
    WildcardComparison comparison, std::size_t minCharacters, bool paragraphs);
[[nodiscard]] std::vector<OccurrencePlace> getOccurrencePlacesOfWildcards(
    std::u16string_view text, const std::vector<std::u16string>& patterns,
    WildcardComparison comparison, std::size_t minCharacters, bool paragraphs,
    bool countLines = true, std::vector<TermPlace>* terms = nullptr);
[[nodiscard]] std::optional<std::u16string> assembleOccurrencesOfWildcards(
    std::u16string_view text, const std::vector<std::u16string>& patterns, bool onlyOccurrences,
    bool singleWords, WildcardComparison comparison, std::size_t minCharacters, bool paragraphs,
    std::optional<std::u16string_view> separator, std::size_t ellipsizeAfterNCharacters);

}  // namespace orvel

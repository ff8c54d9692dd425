// Where the terms of a query occur in a text, and the sentences or lines around them as
// snippets: occurrence records with line numbers, and one assembled text for display.
//
// A snippet reaches from the first word character after the preceding boundary to the
// last word character before the next one; boundaries are the sentence separators, or the
// line separators with `paragraphs`. Line numbers count line separators, CR LF once.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/records/fast_array.h"

namespace orvel {

struct Occurrence {
  Range range;            // the snippet's range in the text
  std::size_t line = 0;   // 0-based line of the snippet's start
  std::u16string string;  // the snippet's text
};

// Where an occurrence lies, without a copy of its text: for a caller that counts
// occurrences, or writes the snippets out of the text itself.
struct OccurrencePlace {
  Range range;           // the snippet's range in the text
  std::size_t line = 0;  // 0-based line of the snippet's start
  // Where terms were asked for: this occurrence's are terms[firstTerm, firstTerm + termCount).
  std::size_t firstTerm = 0;
  std::size_t termCount = 0;
};

// A term found inside an occurrence's snippet, for marking it or jumping to it: the first
// term of the snippet, then each next one found after the end of the one before.
struct TermPlace {
  Range range;             // in the text
  std::size_t line = 0;    // 0-based line of its start
  std::size_t column = 0;  // 0-based, in UTF-8 bytes from the start of that line
};

using QueryTermArray = FastArray<const std::u16string*>;

// The earliest occurrence of any of the terms inside range: {location, length} or not
// found. Terms of three or more units that split into several words are found as
// non-exact phrases unless exactPhrase; anchored asks for whole words. Later terms are only
// searched before the best hit so far. With isMutable, terms that are empty, a lone "*",
// longer than the range, or not found anywhere in it are removed from the array, since they
// cannot occur later either.
[[nodiscard]] Range findNextQueryTerm(QueryTermArray& terms, bool isMutable,
                                      std::u16string_view text, Range range, bool caseSensitive,
                                      bool anchored, bool exactPhrase);
// The latest occurrence, searched backwards over the whole range.
[[nodiscard]] Range findPreviousQueryTerm(QueryTermArray& terms, bool isMutable,
                                          std::u16string_view text, Range range, bool caseSensitive,
                                          bool anchored, bool exactPhrase);

// The snippets of all occurrences in text order, or nullopt when there are none.
[[nodiscard]] std::optional<std::vector<Occurrence>> getOccurrencesOfQueryTerm(
    std::u16string_view text, const std::vector<std::u16string>& terms, bool caseSensitive,
    bool anchored, bool exactPhrase, bool paragraphs);
// The same occurrences as places (empty when there are none). Without countLines every
// line is 0, which spares reading the text for line ends. With `terms` the terms inside
// each snippet are appended to it (lines counted whatever countLines says).
[[nodiscard]] std::vector<OccurrencePlace> getOccurrencePlacesOfQueryTerm(
    std::u16string_view text, const std::vector<std::u16string>& terms, bool caseSensitive,
    bool anchored, bool exactPhrase, bool paragraphs, bool countLines = true,
    std::vector<TermPlace>* termPlaces = nullptr);

// The occurrences at places in text, each with its snippet's text; nullopt for no places.
[[nodiscard]] std::optional<std::vector<Occurrence>> occurrencesAtPlaces(
    std::u16string_view text, const std::vector<OccurrencePlace>& places);

// One text of the distinct snippets joined by `separator` (default " "): snippets that are
// only the occurrence itself are left out unless singleWords. With a length limit n > 0 the
// last snippet that does not fit is cut to the room left (keeping the occurrence and not
// cutting a word on its left) and followed by "...", and the assembly also ends once the
// text plus a separator reaches n. Nothing assembled: nullopt with onlyOccurrences, else
// the text shortened after n characters. A text no longer than n comes back whole unless
// onlyOccurrences.
[[nodiscard]] std::optional<std::u16string> assembleOccurrencesOfQueryTerm(
    std::u16string_view text, const std::vector<std::u16string>& terms, bool onlyOccurrences,
    bool singleWords, bool caseSensitive, bool anchored, bool exactPhrase, bool paragraphs,
    std::optional<std::u16string_view> separator, std::size_t ellipsizeAfterNCharacters);

namespace internal {

// The occurrence walk shared by the term and the wildcard forms: `findNext(from)` answers
// the next occurrence at or after `from`.
using OccurrenceFinder = Range (*)(void* context, std::size_t from);

[[nodiscard]] std::vector<OccurrencePlace> collectOccurrencePlaces(
    std::u16string_view text, bool paragraphs, bool countLines, OccurrenceFinder findNext,
    void* context, std::vector<TermPlace>* terms = nullptr);

// The occurrences of whole words (anchored) and substring terms together, in one walk: a
// snippet that holds both kinds is one occurrence.
[[nodiscard]] std::vector<OccurrencePlace> occurrencePlacesOfWordsAndSubstrings(
    std::u16string_view text, const std::vector<std::u16string>& words,
    const std::vector<std::u16string>& substrings, bool caseSensitive, bool paragraphs,
    bool countLines, std::vector<TermPlace>* terms);

struct AssemblyOptions {
  bool onlyOccurrences = false;
  bool singleWords = false;
  bool paragraphs = false;
  std::u16string_view separator = u" ";
  std::size_t limit = 0;
};

[[nodiscard]] std::optional<std::u16string> assembleOccurrences(std::u16string_view text,
                                                                const AssemblyOptions& options,
                                                                OccurrenceFinder findNext,
                                                                void* context);

// assembleOccurrencesOfQueryTerm with the terms searched in `compared`, a folding of the
// text unit for unit, and the snippets taken from the text itself.
[[nodiscard]] std::optional<std::u16string> assembleOccurrencesOfQueryTermIn(
    std::u16string_view text, std::u16string_view compared,
    const std::vector<std::u16string>& terms, bool onlyOccurrences, bool singleWords,
    bool caseSensitive, bool anchored, bool exactPhrase, bool paragraphs,
    std::optional<std::u16string_view> separator, std::size_t ellipsizeAfterNCharacters);

}  // namespace internal
}  // namespace orvel

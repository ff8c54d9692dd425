// Finding the words of a text that match a wildcard pattern.
//
// A word of the text is a maximal run of units outside `separators`, inside the searched
// range. The pattern is folded with the table of the comparison mode
// (unicharTableForWildcardComparison) and optimised with minCharacters as the least number
// of literals; an unusable or empty pattern finds nothing. Each word is then tested by the
// pattern's type: a prefix, suffix or infix pattern by direct comparison of its fixed text,
// "?" patterns with the simple matcher, bracket sets with the Unix matcher, and a plain
// word by fuzzy similarity of at least MinWildcardFuzzyAnalogy (words whose length ratio to
// the pattern is below it are not scored), or by equality with kWildcardExactWords.
//
// The four flags of FindWildcardInCharacters:
//   backwards         search from the range end towards its start: the last matching
//                     word wins instead of the first;
//   wholeWords        a word cut by an edge of the range (the text goes on with word units
//                     beyond it) is not tested; without it the cut part is a word;
//   nextWordOnly      test only the first word met in the search direction (after any
//                     separators): "is the next word a match";
//   loneStarMatches   a pattern that is only "*" matches the first word met, instead of
//                     being unusable.
// FindWildcardStringInCharacters builds on them to match a pattern of several words
// against consecutive words of the text: the first pattern word is searched in the given
// direction, each further one must match the very next word; on a failure the search goes
// on past (or, backwards, before) that first word. A lone "*" among the pattern words
// stands for any one word.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/range.h"
#include "orvel/text/character_sets.h"

namespace orvel {

// The range of the matching word, or Range::notFound().
[[nodiscard]] Range FindWildcardInCharacters(const unichar* text, std::size_t textLength,
                                             Range range, std::u16string_view pattern,
                                             unsigned comparison, std::size_t minCharacters,
                                             CharacterSetRep separators, bool backwards,
                                             bool wholeWords, bool nextWordOnly,
                                             bool loneStarMatches);

// The range from the first to the last matched word, or Range::notFound(). The pattern is
// split into words at the wildcard separators (so quotes around it do not matter).
[[nodiscard]] Range FindWildcardStringInCharacters(const unichar* text, std::size_t textLength,
                                                   Range range, std::u16string_view pattern,
                                                   unsigned comparison, std::size_t minCharacters,
                                                   CharacterSetRep separators, bool backwards,
                                                   bool wholeWords);

}  // namespace orvel

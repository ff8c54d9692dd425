// Evaluating queries against text: finding words and phrases with word-boundary rules,
// and the string-side forms of QueryTerms::matchesString and containsString.
//
// A word character is a member of the process-wide word-character set (by default the
// alphanumeric set); everything else separates words.
//
// Compare flags: kCompareCaseInsensitive folds both sides through the upper-case table;
// kCompareBackwards searches from the end of the range. kCompareLocalized and
// kCompareNumeric are accepted for compatibility and change nothing: comparison here is
// locale-free by design, and words are compared unit by unit, digits included.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/search/query_terms.h"
#include "orvel/text/character_sets.h"

namespace orvel {

inline constexpr unsigned kCompareCaseInsensitive = 1;
inline constexpr unsigned kCompareBackwards = 4;
inline constexpr unsigned kCompareLocalized = 32;
inline constexpr unsigned kCompareNumeric = 64;

// The word-character set for searching. setQueryTermCharacters stores the caller's bitmap
// (not copied: keep it alive); null restores the alphanumeric set. Set it before searching
// from several threads.
[[nodiscard]] CharacterSetRep queryTermCharacters();
void setQueryTermCharacters(CharacterSetRep wordCharacters);

// The location of the first (with kCompareBackwards: last) occurrence of word inside the
// range, or NSNotFound. A word starting with "*" matches at the range start at once. With
// wholeWord, a match must not touch word characters on either side, except across the
// range's own edges; a rejected match is not retried one unit later: the forward search
// goes on at its end (backwards: before its start), so "aa" is found in "aaa aa" at 4.
[[nodiscard]] std::size_t FindWordInString(std::u16string_view text, CharacterSetRep wordCharacters,
                                           std::size_t rangeStart, std::size_t rangeLength,
                                           std::u16string_view word, unsigned flags,
                                           bool wholeWord);

// The case-sensitive forward scan for words of 3 or more units: candidates start from
// firstCandidate to lastCandidate; a candidate matches when its first three units equal
// the word's and then all others do. With wholeWord a candidate other than the first
// position must not follow a word character, and a match must end at or beyond rangeEnd
// or before a non-word character (a rejected match resumes at its end).
[[nodiscard]] std::size_t FindCaseSensitiveWordInCharacters(
    const unichar* text, CharacterSetRep wordCharacters, const unichar* word,
    std::size_t wordLength, std::size_t firstCandidate, std::size_t lastCandidate,
    std::size_t rangeEnd, unichar firstUnit, bool wholeWord);

// A phrase whose words may be separated by any run of non-word units: the first word as a
// whole word, each further one after at least one non-word unit and ending strictly before
// the range end (with anchored, not followed by a word unit). The range from the first
// word to the end of the last, or not found.
[[nodiscard]] Range FindNonExactPhraseInString(std::u16string_view text,
                                               const std::vector<std::u16string>& words,
                                               std::size_t rangeStart, std::size_t rangeLength,
                                               unsigned flags, CharacterSetRep wordCharacters,
                                               bool anchored);

// The tree's evaluation with text and tree swapped; false for an empty text.
[[nodiscard]] bool matchesQueryTerms(std::u16string_view text, const QueryTerms& tree,
                                     bool caseSensitive);
[[nodiscard]] bool containsQueryTerms(std::u16string_view text, const QueryTerms& tree,
                                      bool caseSensitive);

// Whole-word searches: {location, word length} or not found.
[[nodiscard]] Range rangeOfWord(std::u16string_view text, std::u16string_view word,
                                bool caseSensitive);
// Occurrences never overlap: the count resumes after each hit.
[[nodiscard]] std::size_t countWord(std::u16string_view text, std::u16string_view word,
                                    bool caseSensitive);
// The first word of the list, in list order, that occurs anywhere.
[[nodiscard]] Range rangeOfAnyWord(std::u16string_view text,
                                   const std::vector<std::u16string>& words, bool caseSensitive);
[[nodiscard]] std::size_t countAnyWord(std::u16string_view text,
                                       const std::vector<std::u16string>& words,
                                       bool caseSensitive);
// The first (last) occurrence inside range; anchored: as a whole word.
[[nodiscard]] Range findNextWord(std::u16string_view text, std::u16string_view word, Range range,
                                 bool caseSensitive, bool anchored);
[[nodiscard]] Range findPreviousWord(std::u16string_view text, std::u16string_view word,
                                     Range range, bool caseSensitive, bool anchored);

}  // namespace orvel

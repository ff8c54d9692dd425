// Splitting text into words, components (sentence-like pieces that end with their run of
// separators) and lines; counting them; shortening text after N characters or words.
// Positions and lengths count UTF-16 code units.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/search/separators.h"

namespace orvel {

// In the ranges written with separators, a range describing a run of separators carries
// this bit in its length.
inline constexpr std::size_t kSeparatorRunFlag = 0x80000000;

// Splits chars into words: maximal runs of units outside `separators` (null: the default
// word separators). Words shorter than minLen (0 counts as 1) are dropped. In wildcard
// mode, a "[" that is not a separator opens a bracket expression: everything up to the next
// "]" (or the end), separators included, belongs to the word. With withSeparators, each
// run of separators is an item of its own, whatever minLen says. Returns the number of
// items and, when ranges is not null, writes one range per item there: the caller gives
// room for one range per code unit.
std::size_t wordsOfCharacters(const unichar* chars, std::size_t length, CharacterSetRep separators,
                              bool withSeparators, std::size_t minLen, bool wildcard,
                              Range* ranges);
[[nodiscard]] std::size_t numberOfWordsOfCharacters(const unichar* chars, std::size_t length);

// Calls handler(chars, start, length, context) for each word of chars (maximal runs of
// units outside `separators`; null: the default word separators) of at least minLen units,
// in order, classifying 64 units at a time as wordsOfCharacters does.
using WordHandler = void (*)(const unichar* chars, std::size_t start, std::size_t length,
                             void* context);
void parseWordsWithHandler(const unichar* chars, std::size_t length, WordHandler handler,
                           void* context, CharacterSetRep separators, std::size_t minLen);

// Splits chars into components, each running through the next run of separators (null:
// the default component separators); text after the last run is a final component.
std::size_t componentsOfCharacters(const unichar* chars, std::size_t length,
                                   CharacterSetRep separators, Range* ranges);
[[nodiscard]] std::size_t numberOfComponentsOfCharacters(const unichar* chars, std::size_t length,
                                                         CharacterSetRep separators);

// The words as strings. `hyphenated`, when given, is set to whether at least two words
// came back and either every separator met was "-", or every separator met was "." and
// every word is a single letter («e-mail», «U.S.A»).
[[nodiscard]] std::vector<std::u16string> wordsUsingSeparators(
    std::u16string_view string, CharacterSetRep separators, bool withSeparators, std::size_t minLen,
    bool wildcard = false, bool* hyphenated = nullptr);
[[nodiscard]] std::vector<std::u16string> wordsUsingSeparators(std::u16string_view string,
                                                               CharacterSetRep separators);
[[nodiscard]] std::vector<std::u16string> wordsUsingDefaultSeparation(std::u16string_view string,
                                                                      std::size_t minLen = 1);
[[nodiscard]] std::vector<std::u16string> wordsUsingWhiteSeparation(std::u16string_view string,
                                                                    std::size_t minLen = 1);

// The components as strings; without withSeparators each loses its closing separator run.
[[nodiscard]] std::vector<std::u16string> componentsUsingSeparators(std::u16string_view string,
                                                                    CharacterSetRep separators,
                                                                    bool withSeparators = true);
[[nodiscard]] std::vector<std::u16string> componentsUsingDefaultSeparation(
    std::u16string_view string);

[[nodiscard]] std::size_t numberOfComponentsUsingSeparators(std::u16string_view string,
                                                            CharacterSetRep separators);
[[nodiscard]] std::size_t numberOfComponentsInRange(std::u16string_view string, Range range,
                                                    CharacterSetRep separators);
[[nodiscard]] std::size_t numberOfWordsUsingSeparators(std::u16string_view string,
                                                       CharacterSetRep separators,
                                                       std::size_t minLen, bool wildcard);
[[nodiscard]] std::size_t numberOfWordsUsingDefaultSeparation(std::u16string_view string,
                                                              std::size_t minLen = 1);
[[nodiscard]] std::size_t numberOfWordsInRange(std::u16string_view string, Range range,
                                               CharacterSetRep separators, std::size_t minLen);

struct ParagraphsAndWords {
  std::size_t paragraphs = 0;  // components cut at the line separators
  std::size_t words = 0;       // words of the default separation, at least minLen long
};
// Counts in `range`, cut at the end of the text; a range starting beyond it counts nothing.
[[nodiscard]] ParagraphsAndWords numberOfParagraphs(std::u16string_view string, Range range,
                                                    std::size_t minLen);

// The text cut after its last alphanumeric unit before position n, followed by "...".
// Unchanged when n is 0, the text is no longer than n, or its first word reaches the cut.
[[nodiscard]] std::u16string stringByEllipsizingAfterNCharacters(std::u16string_view string,
                                                                 std::size_t n);
// The text up to the end of its n-th word, followed by "...", when it has more words.
[[nodiscard]] std::u16string stringByEllipsizingAfterNWords(std::u16string_view string,
                                                            std::size_t n);
// After six words.
[[nodiscard]] std::u16string stringByEllipsizingForMenu(std::u16string_view string);

}  // namespace orvel

// Wildcard operations on strings: matching a whole text against a pattern, the type and
// length of a pattern, and splitting at the wildcard separators.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/search/wildcard.h"

namespace orvel {

// Whether the whole text matches the pattern: simple or Unix language, exactly or through
// the upper-case table (pattern and text folded). An empty text or pattern never matches;
// a pattern that is a lone "*" matches any non-empty text.
[[nodiscard]] bool isLikeWildcard(std::u16string_view text, std::u16string_view pattern);
[[nodiscard]] bool isCaseInsensitiveLikeWildcard(std::u16string_view text,
                                                 std::u16string_view pattern);
[[nodiscard]] bool isLikeUnixWildcard(std::u16string_view text, std::u16string_view pattern);
[[nodiscard]] bool isCaseInsensitiveLikeUnixWildcard(std::u16string_view text,
                                                     std::u16string_view pattern);

// The type optimizeWildcard gives the pattern (minLiterals 1); 0 for an empty pattern.
[[nodiscard]] int wildcardType(std::u16string_view pattern);
// minWildcardLen of the pattern.
[[nodiscard]] std::size_t wildcardLength(std::u16string_view pattern);

// The words of the text split at the wildcard separators (minimum length 1, brackets kept
// whole); `hyphenated` as in wordsUsingSeparators.
[[nodiscard]] std::vector<std::u16string> wordsUsingWildcardSeparation(std::u16string_view text,
                                                                       bool* hyphenated = nullptr);
[[nodiscard]] std::size_t numberOfWordsUsingWildcardSeparation(std::u16string_view text);

}  // namespace orvel

#include "orvel/search/wildcard_extensions.h"

#include "orvel/search/separation.h"
#include "orvel/search/wildcard_matcher.h"

namespace orvel {
namespace {

bool isLike(std::u16string_view text, std::u16string_view pattern, bool unix,
            ConversionTable table) {
  if (text.empty() || pattern.empty()) return false;
  if (pattern == u"*") return true;
  return WildcardMatcher(pattern, unix, table).matches(text);
}

}  // namespace

bool isLikeWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, false, nullptr);
}

bool isCaseInsensitiveLikeWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, false, initUpperCharsTable());
}

bool isLikeUnixWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, true, nullptr);
}

bool isCaseInsensitiveLikeUnixWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, true, initUpperCharsTable());
}

int wildcardType(std::u16string_view pattern) {
  if (pattern.empty()) return kWildcardLiteral;
  std::u16string copy(pattern);
  Range found;
  return optimizeWildcard(copy.data(), copy.data() + copy.size(), &found, 1);
}

std::size_t wildcardLength(std::u16string_view pattern) {
  return minWildcardLen(pattern.data(), pattern.data() + pattern.size());
}

std::vector<std::u16string> wordsUsingWildcardSeparation(std::u16string_view text,
                                                         bool* hyphenated) {
  return wordsUsingSeparators(text, defaultWildcardSeparators(), false, 1, true, hyphenated);
}

std::size_t numberOfWordsUsingWildcardSeparation(std::u16string_view text) {
  return numberOfWordsUsingSeparators(text, defaultWildcardSeparators(), 1, true);
}

}  // namespace orvel

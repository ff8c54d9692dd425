#include "orvel/search/wildcard_extensions.h"

#include "orvel/search/separation.h"

namespace orvel {
namespace {

using Matcher = bool (*)(const unichar*, const unichar*, const unichar*, const unichar*,
                         ConversionTable);

bool isLike(std::u16string_view text, std::u16string_view pattern, Matcher matcher,
            ConversionTable table) {
  if (text.empty() || pattern.empty()) return false;
  if (pattern == u"*") return true;
  std::u16string folded(pattern);
  prepareWildcardUsingUnicharTable(folded.data(), folded.data() + folded.size(), table);
  return matcher(text.data(), text.data() + text.size(), folded.data(),
                 folded.data() + folded.size(), table);
}

}  // namespace

bool isLikeWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, stringMatchesWildcardUsingUnicharTable, nullptr);
}

bool isCaseInsensitiveLikeWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, stringMatchesWildcardUsingUnicharTable, initUpperCharsTable());
}

bool isLikeUnixWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, stringMatchesUnixWildcardUsingUnicharTable, nullptr);
}

bool isCaseInsensitiveLikeUnixWildcard(std::u16string_view text, std::u16string_view pattern) {
  return isLike(text, pattern, stringMatchesUnixWildcardUsingUnicharTable, initUpperCharsTable());
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

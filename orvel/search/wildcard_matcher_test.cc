#include "orvel/search/wildcard_matcher.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "orvel/search/wildcard.h"
#include "orvel/search/wildcard_extensions.h"

namespace orvel {
namespace {

// The matcher's shortcuts must give exactly the answers of the plain matchers.
TEST(WildcardMatcherTest, AgreesWithThePlainMatchersOnRandomPatterns) {
  std::mt19937 generator(5);
  // Texts are drawn from the pattern's own units and a few more, metacharacters included:
  // a range's bounds may be "[", "]" or "^".
  const std::u16string patternUnits = u"ab*?[]^-|A";
  const std::u16string extraTextUnits = u"aAB\\-";
  auto randomString = [&](const std::u16string& alphabet, std::size_t maxLength) {
    std::u16string text(generator() % (maxLength + 1), u' ');
    for (unichar& unit : text) unit = alphabet[generator() % alphabet.size()];
    return text;
  };
  for (int round = 0; round < 300000; ++round) {
    const std::u16string pattern = randomString(patternUnits, 6);
    const std::u16string text = randomString(pattern + extraTextUnits, 7);
    const bool unix = round % 2 == 0;
    ConversionTable table = round % 3 == 0 ? nullptr : initUpperCharsTable();
    std::u16string folded = pattern;
    prepareWildcardUsingUnicharTable(folded.data(), folded.data() + folded.size(), table);
    const unichar* p = folded.data();
    const unichar* t = text.data();
    const bool expected = unix ? stringMatchesUnixWildcardUsingUnicharTable(
                                     t, t + text.size(), p, p + folded.size(), table)
                               : stringMatchesWildcardUsingUnicharTable(t, t + text.size(), p,
                                                                        p + folded.size(), table);
    ASSERT_EQ(WildcardMatcher(pattern, unix, table).matches(text), expected)
        << std::string(pattern.begin(), pattern.end()) << " ~ "
        << std::string(text.begin(), text.end()) << (unix ? " unix" : " simple");
  }
}

TEST(WildcardMatcherTest, EachShapeMatchesWholeTexts) {
  ConversionTable upper = initUpperCharsTable();
  EXPECT_TRUE(WildcardMatcher(u"un*", false, upper).matches(u"Unless"));
  EXPECT_FALSE(WildcardMatcher(u"un*", false, upper).matches(u"u"));
  EXPECT_TRUE(WildcardMatcher(u"*tion", false, upper).matches(u"NATION"));
  EXPECT_FALSE(WildcardMatcher(u"*tion", false, nullptr).matches(u"NATION"));
  EXPECT_TRUE(WildcardMatcher(u"*igh*", false, upper).matches(u"Lights"));
  EXPECT_TRUE(WildcardMatcher(u"r?ght", false, upper).matches(u"RIGHT"));
  EXPECT_FALSE(WildcardMatcher(u"r?ght", false, upper).matches(u"rights"));
  EXPECT_TRUE(WildcardMatcher(u"word", false, nullptr).matches(u"word"));
  EXPECT_FALSE(WildcardMatcher(u"word", false, nullptr).matches(u"words"));
  EXPECT_TRUE(WildcardMatcher(u"[a-f]*s", true, upper).matches(u"Dogs"));
  EXPECT_FALSE(WildcardMatcher(u"[a-f]*s", true, upper).matches(u"s"));
  EXPECT_TRUE(WildcardMatcher(u"[ab]", false, nullptr).matches(u"[ab]"));  // literal brackets
}

// A range whose upper bound is the "]" reads on past it, so how many units such a set
// spans depends on the text: no length bound or literal end may be taken from it.
TEST(WildcardMatcherTest, RangesEndingInTheClosingBracketSpanTheRestOfThePattern) {
  ConversionTable upper = initUpperCharsTable();
  EXPECT_TRUE(WildcardMatcher(u"[-]A", true, upper).matches(u"a"));
  EXPECT_TRUE(isCaseInsensitiveLikeUnixWildcard(u"a", u"[-]A"));
  EXPECT_TRUE(WildcardMatcher(u"[-]A", true, upper).matches(u"\\a"));
  EXPECT_TRUE(WildcardMatcher(u"[^-]x", true, nullptr).matches(u"a"));
  EXPECT_FALSE(WildcardMatcher(u"[^-]x", true, nullptr).matches(u"x"));
  EXPECT_TRUE(WildcardMatcher(u"[a-]b]c", true, nullptr).matches(u"bc"));
}

}  // namespace
}  // namespace orvel

#include "orvel/search/wildcard_find.h"

#include <string>

#include <gtest/gtest.h>

#include "orvel/search/separators.h"
#include "orvel/search/wildcard.h"

namespace orvel {
namespace {

struct Flags {
  bool backwards = false;
  bool wholeWords = true;
  bool nextWordOnly = false;
  bool loneStarMatches = false;
};

Range find(std::u16string_view text, std::u16string_view pattern, unsigned comparison = 1,
           Flags flags = {}, Range range = Range::notFound(), std::size_t minCharacters = 1) {
  if (!range.found()) range = Range{0, text.size()};
  return FindWildcardInCharacters(text.data(), text.size(), range, pattern, comparison,
                                  minCharacters, defaultWordSeparators(), flags.backwards,
                                  flags.wholeWords, flags.nextWordOnly, flags.loneStarMatches);
}

Range findString(std::u16string_view text, std::u16string_view pattern, bool backwards = false) {
  return FindWildcardStringInCharacters(text.data(), text.size(), Range{0, text.size()}, pattern, 1,
                                        1, defaultWordSeparators(), backwards, true);
}

const std::u16string kFox = u"The quick brown fox";

TEST(FindWildcardTest, EachPatternTypeFindsItsWord) {
  EXPECT_EQ(find(kFox, u"qu*"), (Range{4, 5}));
  EXPECT_EQ(find(kFox, u"*own"), (Range{10, 5}));
  EXPECT_EQ(find(kFox, u"*ic*"), (Range{4, 5}));
  EXPECT_EQ(find(kFox, u"f?x"), (Range{16, 3}));
  EXPECT_EQ(find(kFox, u"q*k"), (Range{4, 5}));
  EXPECT_EQ(find(kFox, u"[bf]o*"), (Range{16, 3}));
  EXPECT_EQ(find(kFox, u"*[w]n"), (Range{10, 5}));
  EXPECT_EQ(find(kFox, u"[a-c]?own"), (Range{10, 5}));
  EXPECT_FALSE(find(kFox, u"z*").found());
}

TEST(FindWildcardTest, PlainWordsMatchFuzzilyUnlessExact) {
  EXPECT_EQ(find(kFox, u"quack"), (Range{4, 5}));  // 4 of 5 units in place: 0.8
  EXPECT_FALSE(find(kFox, u"brwn").found());       // one unit misplaced: 0.64
  EXPECT_FALSE(find(kFox, u"qu").found());         // length ratio 0.4: not even scored
  EXPECT_FALSE(find(kFox, u"quack", 1 | kWildcardExactWords).found());
  EXPECT_EQ(find(kFox, u"QUICK", 1 | kWildcardExactWords), (Range{4, 5}));
  setMinWildcardFuzzyAnalogy(0.6);
  EXPECT_EQ(find(kFox, u"brwn"), (Range{10, 5}));
  setMinWildcardFuzzyAnalogy(0.75);
}

TEST(FindWildcardTest, ComparisonModeFoldsCaseAndAccents) {
  EXPECT_EQ(find(kFox, u"QUI*", 1), (Range{4, 5}));
  EXPECT_FALSE(find(kFox, u"QUI*", 0).found());
  const std::u16string cafe = u"un caf\u00E9 noir";
  EXPECT_EQ(find(cafe, u"cafe*", 2), (Range{3, 4}));
  EXPECT_FALSE(find(cafe, u"cafe*", 1).found());
  EXPECT_EQ(find(cafe, u"CAFE*", 3), (Range{3, 4}));
}

TEST(FindWildcardTest, DirectionAndRange) {
  const std::u16string text = u"cat dog cat";
  EXPECT_EQ(find(text, u"ca*"), (Range{0, 3}));
  EXPECT_EQ(find(text, u"ca*", 1, Flags{.backwards = true}), (Range{8, 3}));
  EXPECT_EQ(find(text, u"ca*", 1, {}, Range{1, 10}), (Range{8, 3}));
  EXPECT_FALSE(find(text, u"ca*", 1, {}, Range{4, 4}).found());
  EXPECT_FALSE(find(text, u"ca*", 1, {}, Range{0, 0}).found());
  EXPECT_FALSE(find(text, u"ca*", 1, {}, Range{20, 3}).found());
}

TEST(FindWildcardTest, WholeWordsSkipWordsCutByTheRange) {
  const std::u16string text = u"concatenate cat";
  EXPECT_EQ(find(text, u"cat*", 1, Flags{.wholeWords = false}, Range{3, 12}), (Range{3, 8}));
  EXPECT_EQ(find(text, u"cat*", 1, Flags{.wholeWords = true}, Range{3, 12}), (Range{12, 3}));
  EXPECT_FALSE(find(text, u"con*", 1, Flags{.wholeWords = true}, Range{0, 5}).found());
  EXPECT_EQ(find(text, u"con*", 1, Flags{.wholeWords = false}, Range{0, 5}), (Range{0, 5}));
}

TEST(FindWildcardTest, NextWordOnlyAndLoneStar) {
  const std::u16string text = u"a bb cc";
  EXPECT_EQ(find(text, u"b*", 1, Flags{.nextWordOnly = true}, Range{1, 6}), (Range{2, 2}));
  EXPECT_FALSE(find(text, u"c*", 1, Flags{.nextWordOnly = true}, Range{1, 6}).found());
  EXPECT_FALSE(find(text, u"*").found());
  EXPECT_EQ(find(text, u"*", 1, Flags{.loneStarMatches = true}, Range{1, 6}), (Range{2, 2}));
}

TEST(FindWildcardTest, TooFewLiteralsOrNoPatternFindNothing) {
  EXPECT_FALSE(find(kFox, u"qu*", 1, {}, Range::notFound(), 3).found());
  EXPECT_EQ(find(kFox, u"qui*", 1, {}, Range::notFound(), 3), (Range{4, 5}));
  EXPECT_FALSE(find(kFox, u"").found());
  EXPECT_FALSE(find(kFox, u"a]").found());
}

TEST(FindWildcardStringTest, ConsecutiveWords) {
  EXPECT_EQ(findString(u"new york city", u"new york"), (Range{0, 8}));
  EXPECT_EQ(findString(u"new york city", u"\"new york\""), (Range{0, 8}));
  EXPECT_FALSE(findString(u"new york city", u"york new").found());
  EXPECT_EQ(findString(u"new york city", u"new * city"), (Range{0, 13}));
  EXPECT_EQ(findString(u"new jersey, new york", u"new york"), (Range{12, 8}));
  EXPECT_EQ(findString(u"new, york", u"new york"), (Range{0, 9}));
  EXPECT_EQ(findString(u"a b a b", u"a b", true), (Range{4, 3}));
  EXPECT_EQ(findString(u"red car", u"r* c?r"), (Range{0, 7}));
  EXPECT_FALSE(findString(u"new york", u"").found());
  EXPECT_FALSE(findString(u"new", u"new york").found());
}

}  // namespace
}  // namespace orvel

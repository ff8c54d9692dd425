#include "orvel/search/query_wildcards.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvel {
namespace {

using ::testing::ElementsAre;

constexpr WildcardComparison kNoCase{kWildcardCaseInsensitive};

TEST(WildcardQueryTest, EvaluationWithPatterns) {
  EXPECT_TRUE(QueryTerms::withWildcard(u"~cat").matchesString(u"concatenate", kNoCase));
  EXPECT_FALSE(QueryTerms::withWildcard(u"cat").matchesString(u"concatenate", kNoCase));
  EXPECT_TRUE(QueryTerms::withWildcard(u"con* -dog").matchesString(u"Concrete wall", kNoCase));
  EXPECT_FALSE(QueryTerms::withWildcard(u"con* -dog").matchesString(u"concrete dog", kNoCase));
  EXPECT_TRUE(QueryTerms::withWildcard(u"\"new y*\"").matchesString(u"in New York", kNoCase));
  EXPECT_TRUE(
      QueryTerms::withWildcard(u"[a-c]at NEAR/2 m?t").matchesString(u"bat on mat", kNoCase));
  EXPECT_FALSE(
      QueryTerms::withWildcard(u"[a-c]at NEAR/2 m?t").matchesString(u"bat on the mat", kNoCase));
  EXPECT_FALSE(QueryTerms::withWildcard(u"Con*").matchesString(u"concrete", WildcardComparison{0}));
  EXPECT_TRUE(matchesQueryTerms(u"a quack", QueryTerms::withWildcard(u"quick"), kNoCase));  // fuzzy
  EXPECT_FALSE(matchesQueryTerms(u"", QueryTerms::withWildcard(u"x*"), kNoCase));
  EXPECT_TRUE(containsQueryTerms(u"dog", QueryTerms::withWildcard(u"cat* OR do?"), kNoCase));
  EXPECT_FALSE(containsQueryTerms(u"dog", QueryTerms::withWildcard(u"-do?"), kNoCase));
}

TEST(WildcardQueryTest, PlusWildcardsForHighlighting) {
  EXPECT_THAT(*plusWildcards(u"-apple pear"), ElementsAre(u"pear"));
  EXPECT_THAT(*plusWildcards(u"e-mail"), ElementsAre(u"email", u"e mail", u"e-mail"));
  EXPECT_THAT(*plusWildcards(u"\"big dog\" cat"), ElementsAre(u"cat", u"big dog"));
  EXPECT_FALSE(plusWildcards(u"").has_value());
  EXPECT_THAT(extendedPlusWildcards(u"red NEAR car"), ElementsAre(u"car", u"red", u"red car"));
  EXPECT_THAT(extendedPlusWildcards(u"red OR car"), ElementsAre(u"car", u"red"));
  EXPECT_THAT(extendedPlusWildcards(u"a b -c"), ElementsAre(u"a", u"b", u"a b"));
}

TEST(WildcardQueryTest, StringConveniences) {
  EXPECT_EQ(plusWildcardString(u"~cat dog -x"), u"*cat* dog");
  EXPECT_THAT(plusWildcardParts(u"~cat dog", 2), ElementsAre(u"*cat*"));
  EXPECT_EQ(plusWildcardTerms(u"a b").size(), 2u);
  EXPECT_THAT(plusWildcardWords(u"\"[ab]c d*\""), ElementsAre(u"[ab]c", u"d*"));
  EXPECT_EQ(standardizedWildcardQueryTerm(u"[a b]c OR d"), u"[a b]c OR d");
  EXPECT_EQ(normalizedWildcardQueryTerm(u"~Cat"), u"~*cat*");
  EXPECT_EQ(wildcardQueryTermsForOperators(u"a b", kDescriptionQueryFormat)[0], u"a AND b");
}

TEST(WildcardFindTest, NextAndPreviousAcrossPatterns) {
  const std::u16string text = u"a b";
  EXPECT_EQ(findNextWildcard(text, {u"b*", u"a*"}, kNoCase, 1), (Range{0, 1}));
  EXPECT_EQ(findNextWildcard(text, {u"a*", u"b*"}, kNoCase, 1), (Range{0, 1}));
  EXPECT_EQ(findPreviousWildcard(text, {u"a*", u"b*"}, kNoCase, 1), (Range{2, 1}));
  EXPECT_EQ(findPreviousWildcard(text, {u"b*", u"a*"}, kNoCase, 1), (Range{2, 1}));
  EXPECT_FALSE(findNextWildcard(text, {u"c*"}, kNoCase, 1).found());
  EXPECT_FALSE(findNextWildcard(text, {u"a*"}, Range{1, 0}, kNoCase, 1).found());
  EXPECT_EQ(rangeOfWildcard(u"the Cat sat", u"c?t", kNoCase, 1), (Range{4, 3}));
  EXPECT_FALSE(rangeOfWildcard(u"the Cat sat", u"", kNoCase, 1).found());
  EXPECT_EQ(rangeOfWildcardWords(u"we saw New York", {u"new", u"y*"}, kNoCase, 1), (Range{7, 8}));
  EXPECT_TRUE(containsAnyWildcard(u"xyz abc", {u"q*", u"*bc"}, kNoCase, 1));
  EXPECT_FALSE(containsAnyWildcard(u"", {u"*bc"}, kNoCase, 1));
}

TEST(WildcardFindTest, OccurrencesAndAssembly) {
  const std::u16string text = u"Cats purr. Dogs bark. A cat sleeps.";
  const auto occurrences = getOccurrencesOfWildcards(text, {u"cat*"}, kNoCase, 1, false);
  ASSERT_TRUE(occurrences.has_value());
  ASSERT_EQ(occurrences->size(), 2u);
  EXPECT_EQ((*occurrences)[0].string, u"Cats purr");
  EXPECT_EQ((*occurrences)[1].string, u"A cat sleeps");
  EXPECT_EQ(
      assembleOccurrencesOfWildcards(text, {u"cat*"}, true, false, kNoCase, 1, false, u" / ", 0),
      u"Cats purr / A cat sleeps");
  EXPECT_FALSE(getOccurrencesOfWildcards(text, {u"bird*"}, kNoCase, 1, false).has_value());
}

}  // namespace
}  // namespace orvel

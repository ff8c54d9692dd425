#include "orvel/search/wildcard.h"

#include <string>

#include <gtest/gtest.h>

#include "orvel/search/wildcard_extensions.h"

namespace orvel {
namespace {

std::string narrow(std::u16string_view text) { return std::string(text.begin(), text.end()); }

struct Optimised {
  int type;
  std::u16string pattern;
  Range found;
};

Optimised optimise(std::u16string_view pattern, std::size_t minLiterals = 1) {
  std::u16string buffer(pattern);
  Range found;
  std::size_t length = 0;
  const int type =
      optimizeWildcard(buffer.data(), buffer.data() + buffer.size(), &found, minLiterals, &length);
  buffer.resize(type == kWildcardUnusable ? buffer.size() : length);
  return {type, buffer, found};
}

TEST(WildcardMatchTest, SimpleLanguage) {
  struct Case {
    std::u16string text, pattern;
    bool matches;
  };
  const Case cases[] = {
      {u"abc", u"a*c", true},    {u"abc", u"a?c", true},     {u"abc", u"a?", false},
      {u"", u"*", false},        {u"abc", u"*", true},       {u"abc", u"abc", true},
      {u"abc", u"ab", false},    {u"abc", u"**c", true},     {u"ab", u"ab*", true},
      {u"abcbc", u"a*bc", true}, {u"abcbd", u"a*bc", false}, {u"[a]", u"[a]", true},
      {u"b", u"[a-c]", false},   {u"aXbXc", u"a*b*c", true}, {u"abc", u"*?*?*?*?", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(narrow(c.text) + " ~ " + narrow(c.pattern));
    EXPECT_EQ(isLikeWildcard(c.text, c.pattern), c.matches);
  }
}

TEST(WildcardMatchTest, UnixLanguageSets) {
  struct Case {
    std::u16string text, pattern;
    bool matches;
  };
  const Case cases[] = {
      {u"b", u"[a-c]", true},   {u"b", u"[a|b]", true},     {u"b", u"[^x]", true},
      {u"b", u"[^a-c]", false}, {u"b", u"[]", false},       {u"b", u"[^]", true},
      {u"d", u"[a-c]", false},  {u"-", u"[a-]", false},     {u"x1", u"x[0-9]", true},
      {u"b", u"[", false},      {u"b", u"[b", true},        {u"b", u"[^a", true},
      {u"c", u"[ab", false},  // unterminated: a member matched goes on, none matched fails
      {u"bz", u"[^a", false},   {u"ab", u"[a-c]*", true},   {u"q", u"[a-cq]", true},
      {u"|", u"[a|b]", false},  {u"ab", u"[ab][ab]", true}, {u"ac", u"a[^b]", true},
      {u"abc", u"a[b]c", true}, {u"", u"[a]", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(narrow(c.text) + " ~ " + narrow(c.pattern));
    EXPECT_EQ(isLikeUnixWildcard(c.text, c.pattern), c.matches);
  }
}

TEST(WildcardMatchTest, CaseInsensitiveFormsFoldBothSides) {
  EXPECT_TRUE(isCaseInsensitiveLikeWildcard(u"HeLLo", u"h*O"));
  EXPECT_FALSE(isLikeWildcard(u"HeLLo", u"h*O"));
  EXPECT_TRUE(isCaseInsensitiveLikeUnixWildcard(u"\u00C9t\u00E9", u"[\u00E9]T?"));
  EXPECT_TRUE(isCaseInsensitiveLikeUnixWildcard(u"Q", u"[p-r]"));  // range of folded bounds
}

TEST(WildcardMatchTest, TableVariantsFoldOnlyTheText) {
  const std::u16string text = u"\u00DCber";
  const std::u16string folded = u"UBER";
  const std::u16string unfolded = u"uber";
  ConversionTable table = initUpperUmlautsCharsTable();
  EXPECT_TRUE(stringMatchesWildcardUsingUnicharTable(text.data(), text.data() + 4, folded.data(),
                                                     folded.data() + 4, table));
  EXPECT_FALSE(stringMatchesWildcardUsingUnicharTable(text.data(), text.data() + 4, unfolded.data(),
                                                      unfolded.data() + 4, table));
  std::u16string pattern = u"\u00FC*";
  prepareWildcardUsingUnicharTable(pattern.data(), pattern.data() + pattern.size(), table);
  EXPECT_EQ(pattern, u"U*");
}

TEST(WildcardMatchTest, ManyStarsStayFast) {
  // Backtracking that tried every split of the stars would not finish.
  const std::u16string text(2000, u'a');
  EXPECT_FALSE(isLikeWildcard(text, u"*a*a*a*a*a*a*a*a*a*a*a*b"));
  EXPECT_TRUE(isLikeUnixWildcard(text + u"b", u"*a*a*a*a*a*a*a*a*a*a*a*[b]"));
}

TEST(OptimizeWildcardTest, ClassifiesAndRewrites) {
  struct Case {
    std::u16string pattern;
    int type;
    std::u16string rewritten;
    Range found;
  };
  const Case cases[] = {
      {u"**ab**", kWildcardInfix, u"*ab*", {1, 2}},
      {u"ab*", kWildcardPrefix, u"ab*", {0, 2}},
      {u"*ab", kWildcardSuffix, u"*ab", {1, 2}},
      {u"a*b", kWildcardSimple, u"a*b", {0, 3}},
      {u"ab", kWildcardLiteral, u"ab", {0, 2}},
      {u"a?b", kWildcardSingles, u"a?b", {0, 3}},
      {u"a?b*", kWildcardSimple, u"a?b*", {0, 4}},
      {u"*a*b*", kWildcardSimple, u"*a*b*", {0, 5}},
      {u"[ab]c*", kWildcardSetsPrefix, u"[ab]c*", {0, 5}},
      {u"*[ab]c", kWildcardSetsSuffix, u"*[ab]c", {1, 5}},
      {u"[ab]*c", kWildcardSetsComplex, u"[ab]*c", {0, 6}},
      {u"*[ab]*", kWildcardSetsComplex, u"*[ab]*", {0, 6}},
      {u"[a|b]?", kWildcardSets, u"[ab]?", {0, 5}},
      {u"[^]x", kWildcardLiteral, u"x", {0, 1}},
      {u"*[]*x", kWildcardSimple, u"**x", {0, 3}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(narrow(c.pattern));
    const Optimised result = optimise(c.pattern);
    EXPECT_EQ(result.type, c.type);
    EXPECT_EQ(result.pattern, c.rewritten);
    EXPECT_EQ(result.found, c.found);
  }
}

TEST(OptimizeWildcardTest, UnusablePatterns) {
  for (const std::u16string pattern :
       {u"*", u"**", u"?", u"a]", u"[a", u"[a[b]]", u"[^]", u"*[]"}) {
    SCOPED_TRACE(narrow(pattern));
    EXPECT_EQ(optimise(pattern).type, kWildcardUnusable);
  }
  EXPECT_EQ(optimise(u"ab*", 3).type, kWildcardUnusable);  // too few literals beside a "*"
  EXPECT_EQ(optimise(u"ab", 3).type, kWildcardLiteral);    // without a "*" the minimum is moot
}

TEST(WildcardLengthTest, Bounds) {
  auto bounds = [](std::u16string_view p) {
    return std::pair(minWildcardLen(p.data(), p.data() + p.size()),
                     maxWildcardLen(p.data(), p.data() + p.size()));
  };
  EXPECT_EQ(bounds(u"a[bc]d"), (std::pair<std::size_t, std::size_t>(3, 3)));
  EXPECT_EQ(bounds(u"a*b").second, static_cast<std::size_t>(NSIntegerMax));
  EXPECT_EQ(bounds(u"a*[bc]?d").first, 4u);
  EXPECT_EQ(bounds(u"").second, 0u);
  EXPECT_EQ(wildcardLength(u"*ab?[xyz]"), 4u);
  EXPECT_EQ(wildcardType(u""), kWildcardLiteral);
  EXPECT_EQ(wildcardType(u"ab*"), kWildcardPrefix);
}

TEST(FuzzySimilarityTest, ScoresMatchesAndMisplacements) {
  auto score = [](std::u16string_view a, std::u16string_view b) {
    return stringMatchesUnixWildcardFuzzy(a.data(), a.size(), b.data(), b.size());
  };
  EXPECT_DOUBLE_EQ(score(u"house", u"house"), 1.0);
  EXPECT_DOUBLE_EQ(score(u"abcd", u"abdc"), 0.5);
  EXPECT_DOUBLE_EQ(score(u"abc", u"abcd"), 0.75);
  EXPECT_DOUBLE_EQ(score(u"abcd", u"abc"), 0.75);  // the shorter side is always walked
  EXPECT_DOUBLE_EQ(score(u"house", u"mouse"), 0.8);
  EXPECT_DOUBLE_EQ(score(u"", u"abc"), 0.0);
  EXPECT_DOUBLE_EQ(score(u"xyz", u"abc"), 0.0);
  const std::u16string a = u"ABC", b = u"abc";
  EXPECT_DOUBLE_EQ(stringMatchesUnixWildcardFuzzyUsingUnicharTable(a.data(), 3, b.data(), 3,
                                                                   initUpperCharsTable()),
                   1.0);
  const std::u16string longA(600, u'x'), longB(600, u'x');  // beyond any small fixed buffer
  EXPECT_DOUBLE_EQ(score(longA, longB), 1.0);
}

TEST(WildcardTablesTest, ComparisonModesAndCompatibleTables) {
  EXPECT_EQ(unicharTableForWildcardComparison(0), nullptr);
  EXPECT_EQ(unicharTableForWildcardComparison(1), initUpperCharsTable());
  EXPECT_EQ(unicharTableForWildcardComparison(2), initUmlautsCharsTable());
  EXPECT_EQ(unicharTableForWildcardComparison(7), initUpperUmlautsCharsTable());
  EXPECT_TRUE(isUnicharTablePartOfConversionTable(_upperCharsTable, _upperCharsTable));
  EXPECT_TRUE(
      isUnicharTablePartOfConversionTable(initLowerCharsTable(), initLowerUmlautsCharsTable()));
  EXPECT_TRUE(
      isUnicharTablePartOfConversionTable(initUmlautsCharsTable(), initUpperUmlautsCharsTable()));
  EXPECT_FALSE(
      isUnicharTablePartOfConversionTable(initUpperCharsTable(), initLowerUmlautsCharsTable()));
  EXPECT_FALSE(
      isUnicharTablePartOfConversionTable(initUpperUmlautsCharsTable(), initUpperCharsTable()));
  EXPECT_FALSE(isUnicharTablePartOfConversionTable(nullptr, nullptr));
}

TEST(WildcardSeparationTest, PatternsStayOneWord) {
  EXPECT_EQ(wordsUsingWildcardSeparation(u"new*york ?at [a-c]x"),
            (std::vector<std::u16string>{u"new*york", u"?at", u"[a-c]x"}));
  EXPECT_EQ(numberOfWordsUsingWildcardSeparation(u"\"say cheese\""), 2u);
  bool hyphenated = false;
  EXPECT_EQ(wordsUsingWildcardSeparation(u"e-mail", &hyphenated).size(), 2u);
  EXPECT_TRUE(hyphenated);
}

TEST(WildcardSettingsTest, FuzzyThresholdCanBeChanged) {
  EXPECT_DOUBLE_EQ(minWildcardFuzzyAnalogy(), 0.75);
  setMinWildcardFuzzyAnalogy(0.5);
  EXPECT_DOUBLE_EQ(MinWildcardFuzzyAnalogy.load(), 0.5);
  setMinWildcardFuzzyAnalogy(0.75);
}

}  // namespace
}  // namespace orvel

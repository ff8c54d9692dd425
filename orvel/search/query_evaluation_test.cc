#include "orvel/search/query_evaluation.h"

#include <algorithm>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/text/character_set_builder.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

bool matches(std::u16string_view query, std::u16string_view text, bool caseSensitive = false) {
  return QueryTerms(query).matchesString(text, caseSensitive);
}

struct Case {
  std::u16string query;
  std::u16string text;
  bool matches;
};

void expectCases(std::initializer_list<Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(utf16ToUtf8(c.query) + " | " + utf16ToUtf8(c.text));
    EXPECT_EQ(matches(c.query, c.text), c.matches);
  }
}

TEST(QueryEvaluationTest, BooleanOperatorsWithoutPrecedence) {
  expectCases({
      {u"apple pear", u"pear and apple", true},
      {u"apple pear", u"apple only", false},
      {u"apple OR pear", u"a pear", true},
      {u"apple OR pear c", u"apple", false},  // (apple OR pear) AND c
      {u"apple OR pear c", u"pear c", true},
      {u"c apple OR pear", u"apple", false},  // (c AND apple) OR pear
      {u"c apple OR pear", u"pear", true},
      {u"apple XOR pear", u"apple pear", false},
      {u"apple XOR pear", u"pear", true},
      {u"apple -pear", u"apple pie", true},
      {u"apple -pear", u"apple pear", false},
      {u"-pear", u"apple", true},
      {u"apple OPT pear", u"apple", true},  // OPT children are not evaluated
      {u"-(apple pear)", u"apple", true},
      {u"-(apple pear)", u"pear apple", false},
      {u"\"new york\"", u"in New York today", true},
      {u"\"new york\"", u"new  york", false},  // a phrase is searched as written
      {u"()", u"anything", false},
  });
  EXPECT_FALSE(matches(u"apple", u""));
}

TEST(QueryEvaluationTest, CaseAndWholeWords) {
  EXPECT_TRUE(matches(u"Apple", u"an apple"));
  EXPECT_FALSE(matches(u"Apple", u"an apple", true));
  EXPECT_TRUE(matches(u"apple", u"an apple", true));
  EXPECT_FALSE(matches(u"cat", u"concatenate"));
  EXPECT_TRUE(matches(u"~cat", u"concatenate"));
  EXPECT_TRUE(matches(u"\u00E9t\u00E9", u"L'\u00C9T\u00C9 arrive"));
}

TEST(QueryEvaluationTest, ProximityWindowsInBothDirections) {
  expectCases({
      {u"a NEAR/2 b", u"a x b", true},
      {u"a NEAR/2 b", u"a x y b", false},
      {u"a NEAR/2 b", u"b x a", true},
      {u"a NEAR/2 b", u"b x y a", false},
      {u"a BEFORE/3 b", u"b a", false},
      {u"a BEFORE/3 b", u"a b", true},
      {u"a AFTER/3 b", u"b a", true},
      {u"a AFTER/3 b", u"a b", false},
      {u"a NEXT b", u"a b", true},
      {u"a NEXT b", u"a x b", false},
      {u"a NEAR/0 b", u"a x y z w v b", true},     // distance 0: as AND
      {u"a NEAR/2 b", u"a x y b then a b", true},  // a later occurrence
  });
}

TEST(QueryEvaluationTest, NegatedProximity) {
  expectCases({
      {u"a NEAR/2 -b", u"a x b", false},     // every a is near some b
      {u"a NEAR/2 -b", u"a x y z b", true},  // this a lies outside the window
      {u"a NEAR/2 -b", u"just a", true},     // b does not occur, a does
      {u"a NEAR/2 -b", u"just b", false},
      {u"a NEAR/2 -b", u"b x a p q r s a", true},  // the second a is in no window
  });
}

TEST(QueryEvaluationTest, ContainsIgnoresOperators) {
  EXPECT_TRUE(QueryTerms(u"apple pear").containsString(u"a pear", false));
  EXPECT_FALSE(QueryTerms(u"apple -pear").containsString(u"a pear", false));
  EXPECT_TRUE(QueryTerms(u"-(-pear)").containsString(u"a pear", false));
  EXPECT_TRUE(containsQueryTerms(u"an APPLE", QueryTerms(u"apple XOR pear"), false));
  EXPECT_FALSE(containsQueryTerms(u"an APPLE", QueryTerms(u"apple"), true));
}

TEST(FindWordTest, WholeWordsResumeAfterARejectedMatch) {
  const std::u16string text = u"aaa aa";
  CharacterSetRep words = alphaNumCharacterSetRep();
  EXPECT_EQ(FindWordInString(text, words, 0, text.size(), u"aa", 0, true), 4u);
  EXPECT_EQ(FindWordInString(text, words, 0, text.size(), u"aa", 0, false), 0u);
  const std::u16string triple = u"abcabc abc";
  EXPECT_EQ(FindWordInString(triple, words, 0, triple.size(), u"abc", 0, true), 7u);
  EXPECT_EQ(FindWordInString(triple, words, 0, triple.size(), u"ABC", 1, true), 7u);
  EXPECT_EQ(FindWordInString(triple, words, 0, triple.size(), u"abc", kCompareBackwards, true), 7u);
  EXPECT_EQ(FindWordInString(triple, words, 0, 6, u"abc", kCompareBackwards, true), NSNotFound);
}

// The vector scans (sixteen and eight start positions at a time, filtering on two of the
// word's units) and the scalar tail against a plain search, forwards, in random ranges, with
// letters either case and units outside ASCII that fold to ASCII letters (U+0131 to I).
TEST(FindWordTest, EqualsAPlainSearchAtEveryLengthAndRange) {
  std::mt19937 random(5);
  const std::u16string letters = u"impqIMP \u0131\u00e9-";
  const ConversionTable upper = initUpperCharsTable();
  CharacterSetRep words = alphaNumCharacterSetRep();
  for (int round = 0; round < 4000; ++round) {
    std::u16string text(random() % 90, u' ');
    for (char16_t& c : text) c = letters[random() % letters.size()];
    std::u16string word(1 + random() % 5, u' ');
    for (char16_t& c : word) c = letters[random() % 9];  // letters, either case, and U+0131
    const unsigned flags = random() % 2 == 0 ? kCompareCaseInsensitive : 0;
    const bool wholeWord = random() % 2 == 0;
    const std::size_t start = random() % (text.size() + 1);
    const std::size_t length = random() % (text.size() + 2);
    const std::size_t end = std::min(text.size(), start + length);
    auto fold = [&](char16_t c) { return flags != 0 ? upper[c] : c; };
    auto isWord = [&](std::size_t k) { return isMemberOfCharacterSetRep(words, text[k]); };
    std::size_t expected = NSNotFound;
    for (std::size_t p = start; p + word.size() <= end; ++p) {
      std::size_t k = 0;
      while (k < word.size() && fold(text[p + k]) == fold(word[k])) ++k;
      if (k < word.size()) continue;
      const std::size_t after = p + word.size();
      if (!wholeWord || ((p == start || !isWord(p - 1)) && (after >= end || !isWord(after)))) {
        expected = p;
        break;
      }
      p = after - 1;  // a rejected match: the search resumes after it
    }
    SCOPED_TRACE(utf16ToUtf8(text) + " / " + utf16ToUtf8(word));
    EXPECT_EQ(FindWordInString(text, words, start, length, word, flags, wholeWord),
              start >= text.size() || length == 0 ? NSNotFound : expected);
  }
}

TEST(FindWordTest, RangeEdgesCountAsBoundaries) {
  const std::u16string text = u"concatenate";
  CharacterSetRep words = alphaNumCharacterSetRep();
  EXPECT_EQ(FindWordInString(text, words, 3, 3, u"cat", 0, true), 3u);
  EXPECT_EQ(FindWordInString(text, words, 3, 3, u"CAT", 1, true), 3u);
  EXPECT_EQ(FindWordInString(text, words, 3, 8, u"cat", 1, true), NSNotFound);
  EXPECT_EQ(FindWordInString(text, words, 2, 9, u"*x", 0, true), 2u);  // a star matches at once
  EXPECT_EQ(FindWordInString(text, words, 0, 0, u"c", 0, true), NSNotFound);
  EXPECT_EQ(FindWordInString(text, words, 0, 11, u"", 0, true), NSNotFound);
  EXPECT_EQ(FindWordInString(text, words, 20, 3, u"c", 0, true), NSNotFound);
}

TEST(FindWordTest, CaseSensitiveScanOfLongWords) {
  const std::u16string text = u"xx Word word";
  EXPECT_EQ(FindCaseSensitiveWordInCharacters(text.data(), alphaNumCharacterSetRep(), u"word", 4, 0,
                                              text.size() - 4, text.size(), u'w', true),
            8u);
  EXPECT_EQ(FindCaseSensitiveWordInCharacters(text.data(), alphaNumCharacterSetRep(), u"ord", 3, 0,
                                              text.size() - 3, text.size(), u'o', false),
            4u);
}

TEST(FindPhraseTest, WordsMaySeparateByAnyNonWordRun) {
  const std::vector<std::u16string> words = {u"new", u"york"};
  CharacterSetRep set = alphaNumCharacterSetRep();
  const std::u16string text = u"New, -- York city";
  EXPECT_EQ(FindNonExactPhraseInString(text, words, 0, text.size(), 1, set, true), (Range{0, 12}));
  EXPECT_FALSE(FindNonExactPhraseInString(text, words, 0, text.size(), 0, set, true).found());
  // The last word may not end exactly at the range end.
  const std::u16string atEnd = u"new york";
  EXPECT_FALSE(FindNonExactPhraseInString(atEnd, words, 0, atEnd.size(), 1, set, true).found());
  const std::u16string glued = u"new yorkshire, new york!";
  EXPECT_EQ(FindNonExactPhraseInString(glued, words, 0, glued.size(), 1, set, true),
            (Range{15, 8}));
  EXPECT_EQ(FindNonExactPhraseInString(glued, words, 0, glued.size(), 1, set, false),
            (Range{0, 8}));
  EXPECT_EQ(FindNonExactPhraseInString(glued, words, 0, glued.size(), 5, set, true),
            (Range{15, 8}));
}

TEST(WordSearchTest, RangesAndCounts) {
  const std::u16string text = u"apple zebra apple";
  EXPECT_EQ(rangeOfWord(text, u"APPLE", false), (Range{0, 5}));
  EXPECT_FALSE(rangeOfWord(text, u"APPLE", true).found());
  EXPECT_EQ(countWord(text, u"apple", false), 2u);
  EXPECT_EQ(countWord(u"aaaa", u"aa", false), 0u);
  EXPECT_EQ(countWord(u"aa aa", u"aa", false), 2u);
  EXPECT_EQ(rangeOfAnyWord(u"apple zebra", {u"zebra", u"apple"}, false), (Range{6, 5}));
  EXPECT_EQ(countAnyWord(text, {u"zebra", u"apple"}, false), 3u);
  EXPECT_EQ(findNextWord(text, u"apple", Range{1, 16}, false, true), (Range{12, 5}));
  EXPECT_EQ(findPreviousWord(text, u"apple", Range{0, 17}, false, true), (Range{12, 5}));
  EXPECT_FALSE(findNextWord(text, u"apple", Range{10, 20}, false, true).found());
}

TEST(QueryEvaluationTest, WordCharacterSettingChangesBoundaries) {
  EXPECT_TRUE(matches(u"mail", u"e-mail"));  // "-" is no word character by default
  const CharacterSetBitmap withHyphen =
      CharacterSetBuilder(alphaNumCharacterSetRep()).addUnits({u'-'}).build();
  setQueryTermCharacters(withHyphen.data());
  EXPECT_EQ(queryTermCharacters(), withHyphen.data());
  EXPECT_FALSE(matches(u"mail", u"e-mail"));
  EXPECT_TRUE(matches(u"e-mail", u"an e-mail"));
  setQueryTermCharacters(nullptr);
  EXPECT_EQ(queryTermCharacters(), alphaNumCharacterSetRep());
}

}  // namespace
}  // namespace orvel

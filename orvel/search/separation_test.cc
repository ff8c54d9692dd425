#include "orvel/search/separation.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/search/wildcard.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;
using Words = std::vector<std::u16string>;

std::vector<Range> wordRanges(std::u16string_view text, CharacterSetRep separators,
                              bool withSeparators, std::size_t minLen, bool wildcard) {
  std::vector<Range> ranges(text.size());
  const std::size_t count = wordsOfCharacters(text.data(), text.size(), separators, withSeparators,
                                              minLen, wildcard, ranges.data());
  ranges.resize(count);
  return ranges;
}

TEST(SeparatorsTest, WordSeparatorsAtTheirDeliberateEdges) {
  CharacterSetRep separators = defaultWordSeparators();
  struct Case {
    unichar unit;
    bool separates;
    const char* what;
  };
  const Case cases[] = {
      {u'a', false, "letter"},
      {u'7', false, "digit"},
      {0x0301, false, "combining mark"},
      {0x00E9, false, "accented letter"},
      {u'\'', true, "apostrophe"},
      {0x2019, true, "typographic apostrophe"},
      {u'-', true, "hyphen"},
      {u'_', true, "underscore"},
      {0x00A9, true, "copyright sign"},
      {0x20AC, true, "euro sign (a symbol)"},
      {0x200B, true, "zero-width space (format)"},
      {0x0378, true, "unassigned"},
      {0xD800, true, "lead surrogate"},
      {0xDFFE, true, "trail surrogate"},
      {0xDFFF, false, "last surrogate, deliberately left"},
      {0xE000, false, "private use below F400"},
      {0xF400, true, "private use from F400"},
      {0xF8FE, true, "private use up to F8FE"},
      {0xF8FF, false, "U+F8FF, deliberately left"},
      {0xFFFF, false, "U+FFFF, never examined"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(isMemberOfCharacterSetRep(separators, c.unit), c.separates);
  }
}

TEST(SeparatorsTest, SentenceLineAndWildcardSets) {
  EXPECT_TRUE(isMemberOfCharacterSetRep(defaultComponentSeparators(), u','));
  EXPECT_FALSE(isMemberOfCharacterSetRep(defaultSentenceSeparators(), u','));
  EXPECT_FALSE(isMemberOfCharacterSetRep(defaultSentenceSeparators(), u';'));
  EXPECT_TRUE(isMemberOfCharacterSetRep(defaultSentenceSeparators(), u'?'));
  EXPECT_FALSE(isMemberOfCharacterSetRep(defaultComponentSeparators(), u' '));
  EXPECT_TRUE(isMemberOfCharacterSetRep(defaultLineSeparators(), 0x2029));
  EXPECT_FALSE(isMemberOfCharacterSetRep(defaultLineSeparators(), u'.'));
  for (unichar kept : {u'*', u'?', u'[', u']'}) {
    EXPECT_FALSE(isMemberOfCharacterSetRep(defaultWildcardSeparators(), kept)) << char(kept);
  }
  EXPECT_TRUE(isMemberOfCharacterSetRep(defaultWildcardSeparators(), u'-'));
}

TEST(SeparationTest, WordsAndSeparatorRuns) {
  EXPECT_THAT(wordsUsingDefaultSeparation(u"a,b;c"), ElementsAre(u"a", u"b", u"c"));
  EXPECT_THAT(wordsUsingSeparators(u"a,b;;c", defaultWordSeparators(), true, 1),
              ElementsAre(u"a", u",", u"b", u";;", u"c"));
  const auto ranges = wordRanges(u"a,b;;c", nullptr, true, 1, false);
  ASSERT_EQ(ranges.size(), 5u);
  EXPECT_EQ(ranges[1], (Range{1, 1 | kSeparatorRunFlag}));
  EXPECT_EQ(ranges[3], (Range{3, 2 | kSeparatorRunFlag}));
  EXPECT_EQ(ranges[4], (Range{5, 1}));
}

TEST(SeparationTest, MinimumLengthDropsShortWordsButNotSeparators) {
  EXPECT_THAT(wordsUsingDefaultSeparation(u"to be or not", 3), ElementsAre(u"not"));
  EXPECT_EQ(wordRanges(u"to be or not", nullptr, true, 3, false).size(), 4u);  // 3 runs + "not"
  EXPECT_EQ(wordRanges(u"ab cd", nullptr, false, 0, false).size(), 2u);        // 0 counts as 1
}

TEST(SeparationTest, WildcardModeKeepsBracketExpressionsWhole) {
  EXPECT_THAT(wordsUsingSeparators(u"[a b]c d", defaultWildcardSeparators(), false, 1, true),
              ElementsAre(u"[a b]c", u"d"));
  EXPECT_THAT(wordsUsingSeparators(u"x[a b", defaultWildcardSeparators(), false, 1, true),
              ElementsAre(u"x[a b"));
  // Where "[" separates it opens nothing, wherever it stands in a word.
  EXPECT_THAT(wordsUsingSeparators(u"[a b]c", defaultWordSeparators(), false, 1, true),
              ElementsAre(u"a", u"b", u"c"));
  EXPECT_THAT(wordsUsingSeparators(u"a[b c]d", defaultWordSeparators(), false, 1, true),
              ElementsAre(u"a", u"b", u"c", u"d"));
  EXPECT_THAT(wordsUsingSeparators(u"a[b c]d", defaultWildcardSeparators(), false, 1, true),
              ElementsAre(u"a[b c]d"));
}

TEST(SeparationTest, SurrogatesSplitExceptTheLastOne) {
  const std::u16string lead = {u'a', 0xD800, u'b'};
  const std::u16string last = {u'a', 0xDFFF, u'b'};
  EXPECT_EQ(wordsUsingDefaultSeparation(lead).size(), 2u);
  EXPECT_EQ(wordsUsingDefaultSeparation(last).size(), 1u);
}

TEST(SeparationTest, HyphenatedFlag) {
  struct Case {
    std::u16string text;
    bool hyphenated;
  };
  const Case cases[] = {
      {u"e-mail", true}, {u"U.S.A", true},     {u"U.S.A.", true}, {u"well-to-do", true},
      {u"email", false}, {u"e-mail x", false}, {u"ab.cd", false}, {u"a.b-c", false},
      {u"", false},      {u"-a-", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
    bool hyphenated = !c.hyphenated;
    static_cast<void>(
        wordsUsingSeparators(c.text, defaultWordSeparators(), false, 1, false, &hyphenated));
    EXPECT_EQ(hyphenated, c.hyphenated);
  }
}

TEST(SeparationTest, ComponentsEndWithTheirSeparatorRun) {
  EXPECT_THAT(componentsUsingDefaultSeparation(u"Hi. Yes!! ok"),
              ElementsAre(u"Hi.", u" Yes!!", u" ok"));
  EXPECT_THAT(componentsUsingSeparators(u"Hi. Yes!! ok", defaultComponentSeparators(), false),
              ElementsAre(u"Hi", u" Yes", u" ok"));
  EXPECT_THAT(componentsUsingDefaultSeparation(u"..a"), ElementsAre(u"..", u"a"));
  EXPECT_EQ(numberOfComponentsUsingSeparators(u"a. b.", defaultComponentSeparators()), 2u);
  EXPECT_EQ(numberOfComponentsUsingSeparators(u"a. b", defaultComponentSeparators()), 2u);
  EXPECT_EQ(numberOfComponentsUsingSeparators(u"", defaultComponentSeparators()), 0u);
}

TEST(SeparationTest, CountsInRanges) {
  const std::u16string text = u"one two\nthree four five\n\nsix";
  const auto all = numberOfParagraphs(text, Range{0, text.size()}, 1);
  EXPECT_EQ(all.words, 6u);
  EXPECT_EQ(all.paragraphs, 3u);
  const auto tail = numberOfParagraphs(text, Range{8, 1000}, 4);  // cut at the text end
  EXPECT_EQ(tail.words, 3u);                                      // three, four, five
  EXPECT_EQ(tail.paragraphs, 2u);
  const auto beyond = numberOfParagraphs(text, Range{text.size(), 5}, 1);
  EXPECT_EQ(beyond.words, 0u);
  EXPECT_EQ(beyond.paragraphs, 0u);
  EXPECT_EQ(numberOfWordsInRange(text, Range{4, 3}, defaultWordSeparators(), 1), 1u);
  EXPECT_EQ(numberOfComponentsInRange(text, Range{0, 8}, defaultLineSeparators()), 1u);
  EXPECT_EQ(numberOfWordsUsingDefaultSeparation(u"don't e-mail"), 4u);
  EXPECT_EQ(numberOfWordsOfCharacters(u"a b", 3), 2u);
}

TEST(SeparationTest, EllipsizingAfterCharacters) {
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"hello world again", 8), u"hello...");
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"hello world", 5), u"hello world");
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"hello world", 6), u"hello...");
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"a hello", 4), u"a...");
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"  hello world", 6), u"  hello world");
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"short", 5), u"short");
  EXPECT_EQ(stringByEllipsizingAfterNCharacters(u"short", 0), u"short");
}

TEST(SeparationTest, EllipsizingAfterWords) {
  EXPECT_EQ(stringByEllipsizingAfterNWords(u"one two, three four", 2), u"one two...");
  EXPECT_EQ(stringByEllipsizingAfterNWords(u"one two", 2), u"one two");
  EXPECT_EQ(stringByEllipsizingAfterNWords(u"a b", 3), u"a b");
  EXPECT_EQ(stringByEllipsizingForMenu(u"one two three four five six seven"),
            u"one two three four five six...");
}

}  // namespace
}  // namespace orvel

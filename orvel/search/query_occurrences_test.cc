#include "orvel/search/query_occurrences.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"

namespace orvel {
namespace {

std::string narrow(const std::optional<std::u16string>& text) {
  return text ? utf16ToUtf8(*text) : std::string("(none)");
}

TEST(OccurrencesTest, SnippetsWithLineNumbers) {
  const std::u16string text = u"The quick brown fox. It jumps.\r\nA fox again!\n\n(fox)";
  const auto occurrences = getOccurrencesOfQueryTerm(text, {u"fox"}, false, true, false, false);
  ASSERT_TRUE(occurrences.has_value());
  ASSERT_EQ(occurrences->size(), 3u);
  EXPECT_EQ((*occurrences)[0].string, u"The quick brown fox");
  EXPECT_EQ((*occurrences)[0].range, (Range{0, 19}));
  EXPECT_EQ((*occurrences)[0].line, 0u);
  EXPECT_EQ((*occurrences)[1].string, u"A fox again");
  EXPECT_EQ((*occurrences)[1].line, 1u);  // CR LF counts once
  EXPECT_EQ((*occurrences)[2].string, u"fox");
  EXPECT_EQ((*occurrences)[2].line, 3u);
}

// Line numbers over long lines of every kind of line end (LF, CR LF, CR, U+2029, U+2028,
// form feed), with runs of printable ASCII longer and shorter than the blocks counted at
// once; the term on every line, and on every seventh, so that many line ends (a CR LF split
// between two blocks among them) are counted between two occurrences.
TEST(OccurrencesTest, LineNumbersCountEveryKindOfLineEnd) {
  const std::u16string ends[] = {u"\n", u"\r\n", u"\r", u"\u2029", u"\u2028", u"\f"};
  for (const std::size_t every : {1, 7}) {
    std::u16string text;
    std::vector<std::size_t> expected;
    for (std::size_t line = 0; line < 90; ++line) {
      text += std::u16string(line % 13, u'x') + u" " + std::u16string(line % 29, u'y');
      if (line % 4 == 0) text += u" \u00e9";  // not printable ASCII
      if (line % every == 0) {
        text += u" mark";
        expected.push_back(line);
      }
      text += ends[line % 6];
    }
    const auto found = getOccurrencesOfQueryTerm(text, {u"mark"}, false, true, false, true);
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), expected.size());
    for (std::size_t k = 0; k < expected.size(); ++k) {
      EXPECT_EQ((*found)[k].line, expected[k]) << every << " " << k;
    }
  }
}

TEST(OccurrencesTest, ParagraphsCutAtLineBreaksOnly) {
  const std::u16string text = u"One. Two fox. Three\nfour";
  const auto sentences = getOccurrencesOfQueryTerm(text, {u"fox"}, false, true, false, false);
  const auto paragraphs = getOccurrencesOfQueryTerm(text, {u"fox"}, false, true, false, true);
  ASSERT_TRUE(sentences && paragraphs);
  EXPECT_EQ(sentences->front().string, u"Two fox");
  EXPECT_EQ(paragraphs->front().string, u"One. Two fox. Three");
  EXPECT_FALSE(getOccurrencesOfQueryTerm(text, {u"cat"}, false, true, false, false));
  EXPECT_FALSE(getOccurrencesOfQueryTerm(text, {}, false, true, false, false));
  EXPECT_FALSE(getOccurrencesOfQueryTerm(u"", {u"fox"}, false, true, false, false));
}

TEST(FindQueryTermTest, EarliestHitWinsAndHopelessTermsArePruned) {
  const std::vector<std::u16string> terms = {u"zzz", u"*", u"", u"dog", u"fox", u"Fox"};
  QueryTermArray array(terms.size());
  for (const auto& term : terms) array.addObject(&term);
  const std::u16string text = u"a fox and a dog";
  EXPECT_EQ(findNextQueryTerm(array, true, text, Range{0, text.size()}, false, true, false),
            (Range{2, 3}));
  std::vector<std::u16string> left;
  for (const std::u16string* term : array) left.push_back(*term);
  EXPECT_EQ(left, (std::vector<std::u16string>{u"dog", u"fox", u"Fox"}));
  EXPECT_EQ(findPreviousQueryTerm(array, false, text, Range{0, text.size()}, false, true, false),
            (Range{12, 3}));
  EXPECT_EQ(findNextQueryTerm(array, false, text, Range{0, text.size()}, true, true, false),
            (Range{2, 3}));
}

TEST(FindQueryTermTest, SeveralWordsAreANonExactPhraseUnlessExact) {
  const std::vector<std::u16string> terms = {u"quick brown"};
  QueryTermArray array(1);
  array.addObject(&terms[0]);
  const std::u16string text = u"The quick, brown fox";
  EXPECT_EQ(findNextQueryTerm(array, false, text, Range{0, text.size()}, false, true, false),
            (Range{4, 12}));
  EXPECT_FALSE(
      findNextQueryTerm(array, false, text, Range{0, text.size()}, false, true, true).found());
}

TEST(AssemblyTest, DistinctSnippetsJoinedBySeparator) {
  const std::u16string text = u"fox runs. A fox runs. fox runs. Lone fox";
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(text, {u"fox"}, true, false, false, true, false,
                                                  false, u" | ", 0)),
            "fox runs | A fox runs | Lone fox");
  const std::u16string single = u"fox. The fox runs.";
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(single, {u"fox"}, true, false, false, true, false,
                                                  false, std::nullopt, 0)),
            "The fox runs");
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(single, {u"fox"}, true, true, false, true, false,
                                                  false, std::nullopt, 0)),
            "fox The fox runs");
}

TEST(AssemblyTest, LengthLimitCutsTheLastSnippet) {
  const std::u16string text = u"one two three four five six seven target eight.";
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(text, {u"target"}, true, false, false, true,
                                                  false, false, std::nullopt, 20)),
            "five six seven target...");
  const std::u16string two = u"a target here. b target there.";
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(two, {u"target"}, true, false, false, true, false,
                                                  false, std::nullopt, 20)),
            "a target here target...");
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(two, {u"target"}, true, false, false, true, false,
                                                  false, std::nullopt, 14)),
            "a target here");  // fits, but a separator more reaches the limit: stop, no "..."
}

TEST(AssemblyTest, NothingFound) {
  const std::u16string text = u"hello world again";
  EXPECT_FALSE(assembleOccurrencesOfQueryTerm(text, {u"cat"}, true, false, false, true, false,
                                              false, std::nullopt, 8));
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(text, {u"cat"}, false, false, false, true, false,
                                                  false, std::nullopt, 8)),
            "hello...");
  EXPECT_EQ(narrow(assembleOccurrencesOfQueryTerm(u"short", {u"cat"}, false, false, false, true,
                                                  false, false, std::nullopt, 8)),
            "short");
  EXPECT_FALSE(assembleOccurrencesOfQueryTerm(u"", {u"cat"}, false, false, false, true, false,
                                              false, std::nullopt, 8));
}

}  // namespace
}  // namespace orvel

namespace orvel {
namespace {

// The occurrences found with terms that keep their next occurrence between calls against
// the same walk with every step a fresh findNextQueryTerm of every term, over random texts in
// which terms sit at word edges, inside words and beside punctuation.
struct FreshSearch {
  const std::vector<std::u16string>* terms;
  std::u16string_view text;
  bool caseSensitive, anchored;
};

Range freshNext(void* context, std::size_t from) {
  const auto* search = static_cast<const FreshSearch*>(context);
  QueryTermArray array(search->terms->size());
  for (const std::u16string& term : *search->terms) array.addObject(&term);
  return findNextQueryTerm(array, false, search->text, Range{from, search->text.size() - from},
                           search->caseSensitive, search->anchored, false);
}

TEST(OccurrencesTest, RememberedTermsFindWhatAFreshSearchFinds) {
  std::mt19937 random(7);
  const std::vector<std::u16string> vocabulary = {u"the", u"zebra", u"thezebra", u"c++",
                                                  u"a.b", u"Zebra", u"x",        u"the zebra"};
  const std::vector<std::u16string> gaps = {u" ", u". ", u"\n", u"", u"-", u", "};
  for (int round = 0; round < 300; ++round) {
    std::u16string text;
    for (int w = 0; w < 40; ++w) {
      text += vocabulary[random() % vocabulary.size()] + gaps[random() % gaps.size()];
    }
    std::vector<std::u16string> terms;
    for (int t = 0; t < 1 + static_cast<int>(random() % 3); ++t) {
      terms.push_back(vocabulary[random() % vocabulary.size()]);
    }
    const bool caseSensitive = random() % 2 == 0;
    const bool anchored = random() % 3 != 0;
    const bool paragraphs = round % 2 == 0;
    FreshSearch fresh{&terms, text, caseSensitive, anchored};
    const auto expected =
        internal::collectOccurrencePlaces(text, paragraphs, true, freshNext, &fresh);
    const auto found =
        getOccurrencesOfQueryTerm(text, terms, caseSensitive, anchored, false, paragraphs);
    SCOPED_TRACE(utf16ToUtf8(text));
    ASSERT_EQ(found.has_value(), !expected.empty());
    if (!found) continue;
    ASSERT_EQ(found->size(), expected.size());
    for (std::size_t k = 0; k < found->size(); ++k) {
      EXPECT_EQ((*found)[k].range, expected[k].range);
      EXPECT_EQ((*found)[k].line, expected[k].line);
      EXPECT_EQ((*found)[k].string,
                text.substr(expected[k].range.location, expected[k].range.length));
    }
    // Counting alone finds the same snippets.
    const auto counted = getOccurrencePlacesOfQueryTerm(text, terms, caseSensitive, anchored, false,
                                                        paragraphs, false);
    ASSERT_EQ(counted.size(), expected.size());
    for (std::size_t k = 0; k < counted.size(); ++k) {
      EXPECT_EQ(counted[k].range, expected[k].range);
    }
  }
}

}  // namespace
}  // namespace orvel

#include "orvel/search/text_query.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"

namespace orvel {
namespace {

std::vector<std::u16string> strings(const std::vector<Occurrence>& occurrences) {
  std::vector<std::u16string> found;
  for (const Occurrence& occurrence : occurrences) found.push_back(occurrence.string);
  return found;
}

// Word terms and substring terms are found by two passes; a line holding both is reported
// once, and the lines come in text order.
TEST(TextQueryTest, OccurrencesOfWordsAndSubstringsComeOnceInTextOrder) {
  const TextQuery query(u"quay *arbo* -storm");
  const std::u16string text = u"The quay. Calm.\nThe quay and the harbour. The harbour";
  ASSERT_TRUE(query.matches(text));
  const auto lines = query.occurrences(text, true);
  EXPECT_EQ(strings(lines), (std::vector<std::u16string>{
                                u"The quay. Calm", u"The quay and the harbour. The harbour"}));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1].line, 1u);
  EXPECT_EQ(lines[1].range.location, 16u);
  EXPECT_FALSE(query.matches(u"harbour and quay in a storm"));
}

// Placing finds the occurrences that occurrences() lists, for words alone, substrings alone,
// both (the merged passes) and wildcard patterns; the places of a matching text are those,
// and a text that does not match has none, whether or not the query is tested by its
// occurrences.
TEST(TextQueryTest, PlacesAgreeWithOccurrencesAndMatches) {
  const std::u16string text =
      u"The quay. Calm.\nThe quay and the harbour. The harbour.\r\nHarbours, quays; quay!";
  for (const TextQuery& query :
       {TextQuery(u"quay"), TextQuery(u"*arbo*"), TextQuery(u"quay *arbo*"),
        TextQuery(u"qu?y", false, true), TextQuery(u"calm OR harbour"), TextQuery(u"calm -quay"),
        TextQuery(u"zebra OR (quay AND harbour)"), TextQuery(u"\"the quay\" OR zebra")}) {
    for (const std::u16string& probe : {text, std::u16string(u"The Harbour"),
                                        std::u16string(u"On the\nquay, here"), std::u16string()}) {
      for (const bool paragraphs : {false, true}) {
        const auto occurrences = query.occurrences(probe, paragraphs);
        const auto places = query.occurrencePlaces(probe, paragraphs);
        ASSERT_EQ(places.size(), occurrences.size());
        for (std::size_t k = 0; k < places.size(); ++k) {
          EXPECT_EQ(places[k].range, occurrences[k].range);
          EXPECT_EQ(places[k].line, occurrences[k].line);
        }
        const auto matching = query.matchingOccurrencePlaces(probe, paragraphs, false);
        ASSERT_EQ(matching.has_value(), query.matches(probe));
        if (matching) {
          EXPECT_EQ(matching->size(), places.size());
        }
      }
    }
  }
}

// Random texts of words (either case, glued to others or apart, beside letters and
// separators outside ASCII and characters outside the BMP) and every kind of line end and
// sentence end: the places found on the bytes are those of the decoded text, the same
// ranges in plain ASCII, and otherwise the same snippets and lines.
TEST(TextQueryTest, BytesGiveThePlacesOfTheDecodedText) {
  std::mt19937 random(23);
  const std::vector<std::string> ascii = {"the", "The",    "import", "imports", "IMPORT",
                                          "x",   "thread", "_the",   "a",       "socket2"};
  const std::vector<std::string> other = {"caf\xC3\xA9",
                                          "CAF\xC3\x89",
                                          "\xD0\xB4\xD0\xBE\xD0\xBC",
                                          "\xD0\x94\xD0\x9E\xD0\x9C",
                                          "\xF0\x9D\x84\x9E",
                                          "na\xC3\xAFve",
                                          "GR\xC3\x96\xC3\x9F"
                                          "E",
                                          "gr\xC3\xB6\xE1\xBA\x9E"
                                          "e"};
  const std::vector<std::string> gaps = {
      " ", ". ", "\n",   "\r\n", "\r",           "\f",           "\t",      "-",
      "",  "! ", "\x03", "; ",   "\xE2\x80\xA8", "\xE2\x80\x94", "\xC2\xA0"};
  const std::vector<std::u16string> queries = {
      u"the",        u"import OR x",    u"THE OR socket2 OR a",
      u"thread",     u"CAF\u00c9",      u"\u0434\u043e\u043c OR the",
      u"na\u00efve", u"gr\u00f6\u00dfe"};
  for (int round = 0; round < 600; ++round) {
    const bool asciiOnly = round % 2 == 0;
    std::string bytes;
    for (int w = 0; w < 5 + static_cast<int>(random() % 60); ++w) {
      const bool otherWord = !asciiOnly && random() % 4 == 0;
      bytes += otherWord ? other[random() % other.size()] : ascii[random() % ascii.size()];
      bytes += gaps[random() % (asciiOnly ? 12 : gaps.size())];
    }
    const bool plain = std::all_of(bytes.begin(), bytes.end(), [](char c) { return c > 0; });
    const TextQuery query(queries[random() % queries.size()], random() % 4 == 0);
    const std::u16string text = utf8ToUtf16Lenient(bytes);
    const bool paragraphs = random() % 2 == 0;
    const auto expected = query.matchingOccurrencePlaces(text, paragraphs);
    SCOPED_TRACE(bytes);
    EXPECT_EQ(query.byteOccurrencePlaces(bytes, paragraphs, true, true).has_value(), plain);
    EXPECT_EQ(query.byteMatches(bytes), expected.has_value());
    for (const bool countLines : {true, false}) {
      const auto found = query.byteOccurrencePlaces(bytes, paragraphs, countLines, false);
      ASSERT_TRUE(found.has_value());
      ASSERT_EQ(found->size(), expected ? expected->size() : 0);
      for (std::size_t k = 0; k < found->size(); ++k) {
        const Range range = (*found)[k].range, wanted = (*expected)[k].range;
        if (plain) {
          EXPECT_EQ(range, wanted) << k;
        }
        EXPECT_EQ(bytes.substr(range.location, range.length),
                  utf16ToUtf8(std::u16string_view(text).substr(wanted.location, wanted.length)))
            << k;
        EXPECT_EQ((*found)[k].line, countLines ? (*expected)[k].line : 0) << k;
      }
    }
  }
}

// Only words joined by OR, of ASCII word characters, in well-formed UTF-8 without NUL,
// byte-order mark or a lookalike of a letter of theirs, are searched on the bytes; JSON's
// offsets in units only in plain ASCII.
TEST(TextQueryTest, BytesAreSearchedOnlyWhenTheyCanBe) {
  const std::string plain = "The end of the text, and more than sixteen bytes of it.";
  for (const char16_t* query : {u"the", u"asyncio OR socket OR thread", u"Zebra"}) {
    EXPECT_TRUE(TextQuery(query).byteOccurrencePlaces(plain));
  }
  for (const char16_t* query : {u"a AND b", u"a -b", u"\"for example\"", u"a NEAR/5 b", u"*arbo*",
                                u"a OR (b AND c)", u"c++", u"\U0001D11E"}) {
    EXPECT_FALSE(TextQuery(query).byteOccurrencePlaces(plain));
  }
  EXPECT_FALSE(TextQuery(u"qu?y", false, true).byteOccurrencePlaces(plain));
  const TextQuery the(u"the"), list(u"list");
  const std::string cafe = plain + " caf\xC3\xA9";
  EXPECT_FALSE(the.byteOccurrencePlaces(cafe));
  EXPECT_EQ(the.byteOccurrencePlaces(cafe, false, true, false)->size(), 1u);
  for (const std::string& refused :
       {plain + "\xC3", plain + std::string(1, '\0') + "the", "\xEF\xBB\xBF" + plain}) {
    EXPECT_FALSE(the.byteOccurrencePlaces(refused, false, true, false));
  }
  // A dotless i folds to I: "l\u0131st" is "list" without case, and so is left to the text.
  EXPECT_FALSE(list.byteOccurrencePlaces("a l\xC4\xB1st", false, true, false));
  EXPECT_TRUE(the.byteOccurrencePlaces("a l\xC4\xB1st", false, true, false));
  EXPECT_TRUE(TextQuery(u"list", true).byteOccurrencePlaces("a l\xC4\xB1st", false, true, false));
  EXPECT_TRUE(the.byteOccurrencePlaces("no match here")->empty());
  // A word outside ASCII is looked for in every form that folds as it does.
  const TextQuery accented(u"caf\u00e9");
  EXPECT_EQ(
      accented.byteOccurrencePlaces("Caf\xC3\xA9. CAF\xC3\x89! Not cafe.", false, true, false)
          ->size(),
      2u);
  EXPECT_EQ(accented.byteMatches("a CAF\xC3\x89"), true);
  EXPECT_EQ(accented.byteMatches("a cafe"), false);
  EXPECT_EQ(TextQuery(u"caf\u00e9", true).byteMatches("a CAF\xC3\x89"), false);
  EXPECT_FALSE(accented.byteMatches("a l\xC4\xB1st \xC3"));
}

TEST(TextQueryTest, CaseAndWildcardsDecideHowTermsCompare) {
  EXPECT_TRUE(TextQuery(u"QUAY").matches(u"the quay"));
  EXPECT_FALSE(TextQuery(u"QUAY", true).matches(u"the quay"));
  const TextQuery patterns(u"qu?y har*", false, true);
  EXPECT_TRUE(patterns.matches(u"Quay of the Harbourmaster"));
  EXPECT_EQ(strings(patterns.occurrences(u"A quay. A harbour.", true)),
            (std::vector<std::u16string>{u"A quay. A harbour"}));
}

TEST(TextQueryTest, IgnoringAccentsFoldsQueryAndTextButKeepsTheTextsOwnSnippets) {
  const std::u16string text = u"La Dignit\u00e9 humaine. Une dignite de plus. Rien.";
  const TextQuery plain(u"dignite");
  EXPECT_EQ(strings(plain.occurrences(text)),
            (std::vector<std::u16string>{u"Une dignite de plus"}));
  for (const TextQuery& query :
       {TextQuery(u"dignite", false, false, true), TextQuery(u"DIGNIT\u00c9", false, false, true),
        TextQuery(u"dign?t\u00e8", false, true, true)}) {
    EXPECT_TRUE(query.matches(u"la dignit\u00e9"));
    EXPECT_EQ(strings(query.occurrences(text)),
              (std::vector<std::u16string>{u"La Dignit\u00e9 humaine", u"Une dignite de plus"}));
    EXPECT_FALSE(query.byteOccurrencePlaces("la dignite"));  // decoded, never on bytes
  }
  EXPECT_EQ(TextQuery(u"dignite", false, false, true).snippets(text, u" | "),
            u"La Dignit\u00e9 humaine | Une dignite de plus");
  // Case still counts when asked to.
  EXPECT_FALSE(TextQuery(u"Dignite", true, false, true).matches(u"la dignit\u00e9"));
  EXPECT_TRUE(TextQuery(u"Dignite", true, false, true).matches(u"La Dignit\u00e9"));
}

TEST(TextQueryTest, SnippetsAreJoinedAndLimited) {
  const TextQuery query(u"quay");
  const std::u16string text = u"First the quay. Then nothing. Then the quay again.";
  EXPECT_EQ(query.snippets(text, u" | "), u"First the quay | Then the quay again");
  EXPECT_FALSE(query.snippets(u"no such word here"));
  EXPECT_EQ(query.snippets(text, u" ", 20), u"First the quay the quay...");
}

}  // namespace
}  // namespace orvel

#include <algorithm>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/search/query_outline.h"
#include "orvel/search/query_terms.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;

std::string outline(std::u16string_view query) {
  return utf16ToUtf8(queryTreeOutline(QueryTerms(query)));
}
std::string wildcardOutline(std::u16string_view query) {
  return utf16ToUtf8(queryTreeOutline(QueryTerms::withWildcard(query)));
}

constexpr char kRoot[] = "group op=AND common=";

TEST(QueryParserTest, EmptyQueriesGiveAnEmptyGroup) {
  for (std::u16string_view query : {u"", u"   ", u"()", u"\"\"", u"\" \"", u"AND", u"NOT"}) {
    const QueryTerms tree(query);
    EXPECT_FALSE(tree.isValid());
    EXPECT_EQ(tree.minTermLen(), 0u);
    EXPECT_EQ(tree.plusString(), u"");
  }
  EXPECT_FALSE(QueryTerms::queryTermsWithString(std::nullopt).has_value());
  EXPECT_TRUE(QueryTerms::queryTermsWithString(u"x")->isValid());
}

TEST(QueryParserTest, TermsAreJoinedByTheDefaultOperator) {
  EXPECT_EQ(outline(u"a b"), std::string(kRoot) +
                                 "AND dist=10\n"
                                 "  word \"a\" op=AND dist=10\n"
                                 "  word \"b\" op=AND dist=10\n");
  const QueryTerms tree(u"a b", QueryOperatorOR, 5);
  EXPECT_EQ(tree.children()[1].queryOperator(), QueryOperatorOR);
  EXPECT_EQ(tree.children()[1].proximityDistance(), 5);
  EXPECT_EQ(tree.commonOperator(), QueryOperatorOR);
}

TEST(QueryParserTest, PendingStateResetsAfterEachTerm) {
  EXPECT_EQ(outline(u"a OR b c"), std::string(kRoot) +
                                      "NONE dist=10\n"
                                      "  word \"a\" op=AND dist=10\n"
                                      "  word \"b\" op=OR dist=10\n"
                                      "  word \"c\" op=AND dist=10\n");
  EXPECT_EQ(outline(u"a or b"), outline(u"a OR b"));
  EXPECT_EQ(outline(u"Rock and Roll"), outline(u"Rock Roll"));
  EXPECT_EQ(outline(u"a|b"), outline(u"a OR b"));
  EXPECT_EQ(outline(u"a^b"), outline(u"a XOR b"));
  EXPECT_EQ(outline(u"a eor b"), outline(u"a XOR b"));
  EXPECT_EQ(outline(u"a&b"), outline(u"a b"));
  EXPECT_EQ(outline(u"a BUT b"), outline(u"a b"));
  EXPECT_EQ(outline(u"a b OR"), outline(u"a b"));  // a trailing operator is dropped
}

TEST(QueryParserTest, NegationForms) {
  const std::string negatedA = std::string(kRoot) +
                               "NONE dist=10\n"
                               "  word \"a\" op=AND dist=10 not\n";
  EXPECT_EQ(outline(u"-a"), negatedA);
  EXPECT_EQ(outline(u"!a"), negatedA);
  EXPECT_EQ(outline(u"NOT a"), negatedA);
  EXPECT_EQ(outline(u"not a"), negatedA);
  EXPECT_EQ(outline(u"--a"), negatedA);  // set, not toggled
  EXPECT_EQ(outline(u"NOT NOT a"),
            std::string(kRoot) + "NONE dist=10\n  word \"a\" op=AND dist=10\n");
  EXPECT_EQ(outline(u"-+a"), std::string(kRoot) + "NONE dist=10\n  word \"a\" op=AND dist=10\n");
  EXPECT_EQ(outline(u"a-b"), std::string(kRoot) + "NONE dist=10\n  word \"a-b\" op=AND dist=10\n");
  EXPECT_EQ(outline(u"x!y"), std::string(kRoot) +
                                 "AND dist=10\n"
                                 "  word \"x\" op=AND dist=10\n"
                                 "  word \"y\" op=AND dist=10 not\n");
}

TEST(QueryParserTest, ProximityKeywordsAndDistances) {
  struct Case {
    std::u16string query;
    QueryOperator op;
    std::ptrdiff_t distance;
  };
  const Case cases[] = {
      {u"a NEAR/3 b", QueryOperatorNEAR, 3},     {u"a NEAR b", QueryOperatorNEAR, 10},
      {u"a near/7 b", QueryOperatorNEAR, 7},     {u"a NEXT b", QueryOperatorNEXT, 1},
      {u"a NEXT/4 b", QueryOperatorNEXT, 4},     {u"a AFTER b", QueryOperatorAFTER, NSIntegerMax},
      {u"a AFTER/5 b", QueryOperatorAFTER, 5},   {u"a BEFORE b", QueryOperatorBEFORE, NSIntegerMax},
      {u"a BEFORE/2 b", QueryOperatorBEFORE, 2}, {u"a NEAR/x b", QueryOperatorNEAR, 0},
      {u"a NEAR/12x b", QueryOperatorNEAR, 12},  {u"a OPT b", QueryOperatorOPT, 10},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(utf16ToUtf8(c.query));
    const QueryTerms tree(c.query);
    ASSERT_EQ(tree.children().size(), 2u);
    EXPECT_EQ(tree.children()[1].queryOperator(), c.op);
    EXPECT_EQ(tree.children()[1].proximityDistance(), c.distance);
  }
}

TEST(QueryParserTest, NearKeywordLookalikesAreWords) {
  for (std::u16string_view query :
       {u"a NEARBY b", u"a NEARS b", u"a NEXT/ b", u"a BEFORE/ b", u"a AFTERS b", u"a ORE b"}) {
    SCOPED_TRACE(utf16ToUtf8(query));
    EXPECT_EQ(QueryTerms(query).children().size(), 3u);
  }
}

TEST(QueryParserTest, PhrasesWithAllFiveQuotationMarks) {
  const std::string newYork = std::string(kRoot) +
                              "NONE dist=10\n"
                              "  phrase \"New York\" op=AND dist=10\n";
  EXPECT_EQ(outline(u"\"  New York \""), newYork);
  EXPECT_EQ(outline(u"\u201ENew York\u201C"), newYork);
  EXPECT_EQ(outline(u"\u201CNew York\u201D"), newYork);
  EXPECT_EQ(outline(u"\u201FNew York\""), newYork);
  EXPECT_EQ(outline(u"\"New York"), newYork);  // unclosed: runs to the end
  EXPECT_EQ(outline(u"-\"NEAR or\" x"), std::string(kRoot) +
                                            "AND dist=10\n"
                                            "  phrase \"NEAR or\" op=AND dist=10 not\n"
                                            "  word \"x\" op=AND dist=10\n");
}

TEST(QueryParserTest, GroupsOfOneTermAreHoisted) {
  EXPECT_EQ(outline(u"(a)"), outline(u"a"));
  EXPECT_EQ(outline(u"-(a)"), outline(u"-a"));
  EXPECT_EQ(outline(u"-(-a)"), outline(u"a"));
  EXPECT_EQ(outline(u"~(a)"),
            std::string(kRoot) + "NONE dist=10\n  word \"a\" op=AND dist=10 sub\n");
  // The hoisted term keeps its own distance, not the pending one.
  EXPECT_EQ(outline(u"x NEAR/3 (y)"), std::string(kRoot) +
                                          "NEAR dist=10\n"
                                          "  word \"x\" op=AND dist=10\n"
                                          "  word \"y\" op=NEAR dist=10\n");
  EXPECT_EQ(outline(u"(a b"), std::string(kRoot) +
                                  "NONE dist=10\n"
                                  "  group op=AND common=AND dist=10\n"
                                  "    word \"a\" op=AND dist=10\n"
                                  "    word \"b\" op=AND dist=10\n");
  EXPECT_EQ(outline(u"x OR -(a b) c)"), std::string(kRoot) +
                                            "NONE dist=10\n"
                                            "  word \"x\" op=AND dist=10\n"
                                            "  group op=OR common=AND dist=10 not\n"
                                            "    word \"a\" op=AND dist=10\n"
                                            "    word \"b\" op=AND dist=10\n"
                                            "  word \"c\" op=AND dist=10\n");
}

TEST(QueryParserTest, BracketsAndTildeDependOnWildcardMode) {
  EXPECT_EQ(outline(u"[note] report"), outline(u"report"));
  EXPECT_EQ(wildcardOutline(u"[note] report"), std::string(kRoot) +
                                                   "AND dist=10\n"
                                                   "  word \"[note]\" op=AND dist=10\n"
                                                   "  word \"report\" op=AND dist=10\n");
  EXPECT_EQ(wildcardOutline(u"[a b]c"),
            std::string(kRoot) + "NONE dist=10\n  word \"[a b]c\" op=AND dist=10\n");
  EXPECT_EQ(outline(u"a]b"), outline(u"a b"));
  EXPECT_EQ(wildcardOutline(u"a]b"),
            std::string(kRoot) + "NONE dist=10\n  word \"a]b\" op=AND dist=10\n");
  EXPECT_EQ(wildcardOutline(u"~abc"),
            std::string(kRoot) + "NONE dist=10\n  word \"*abc*\" op=AND dist=10 sub\n");
  EXPECT_EQ(wildcardOutline(u"~*abc*"), wildcardOutline(u"~abc"));
  EXPECT_EQ(wildcardOutline(u"~\"a b\""),
            std::string(kRoot) + "NONE dist=10\n  phrase \"*a b*\" op=AND dist=10 sub\n");
  EXPECT_EQ(outline(u"~abc"),
            std::string(kRoot) + "NONE dist=10\n  word \"abc\" op=AND dist=10 sub\n");
}

TEST(QueryTermsTest, MinimumTermLengthCountsDoubleNegationAsPositive) {
  EXPECT_EQ(QueryTerms(u"apple -pie kiwi").minTermLen(), 4u);
  EXPECT_EQ(QueryTerms(u"-(-ab cd) abcde").minTermLen(), 2u);
  EXPECT_EQ(QueryTerms(u"-a -b").minTermLen(), 0u);
}

TEST(QueryTermsTest, PositiveTermCollections) {
  const QueryTerms tree(u"a -b ~sub \"new york\" -(-e-mail x)");
  EXPECT_EQ(tree.plusString(), u"a sub new york e-mail");
  EXPECT_THAT(tree.plusParts(), ElementsAre(u"a", u"sub", u"new york", u"e-mail"));
  EXPECT_THAT(tree.plusParts(1), ElementsAre(u"a", u"new york", u"e-mail"));
  EXPECT_THAT(tree.plusParts(2), ElementsAre(u"sub"));
  EXPECT_THAT(tree.plusWords(), ElementsAre(u"a", u"sub", u"new", u"york", u"e", u"mail"));
  const auto leaves = tree.plusTerms();
  ASSERT_EQ(leaves.size(), 4u);
  EXPECT_TRUE(leaves[2]->queryPhrase());
  EXPECT_EQ(leaves[2], &tree.children()[3]);  // the leaves themselves
  EXPECT_THAT(plusParts(u"x -y z"), ElementsAre(u"x", u"z"));
  EXPECT_EQ(plusString(u"x -y z"), u"x z");
  EXPECT_EQ(plusTerms(u"x -y z").size(), 2u);
  EXPECT_THAT(plusWords(u"x-y"), ElementsAre(u"x", u"y"));
}

}  // namespace
}  // namespace orvel

namespace orvel {
namespace {

// Random queries of the grammar's own characters never crash the parser, the writer or the
// evaluator (the sanitizer build watches every access), and every tree keeps its invariants.
TEST(QueryParserTest, RandomQueriesAreAlwaysAccepted) {
  std::mt19937 generator(11);
  const std::u16string alphabet = u"ab NOT OR NEAR/2 -+!&|^~()[]\"\u201C\u201E*?xyz\t\n";
  const std::u16string text = u"a b x y z ab NEAR xyz (a) \"b\" zz";
  for (int round = 0; round < 3000; ++round) {
    std::u16string query(generator() % 40, u' ');
    for (char16_t& unit : query) unit = alphabet[generator() % alphabet.size()];
    for (const QueryTerms& tree : {QueryTerms(query), QueryTerms::withWildcard(query)}) {
      for (const QueryTerms& child : tree.children()) {
        EXPECT_TRUE(child.isWord() ? !child.string().empty() : child.children().size() >= 2);
      }
      static_cast<void>(tree.description());
      static_cast<void>(tree.normalizedQueryTerm());
      static_cast<void>(tree.matchesString(text, false));
      static_cast<void>(tree.matchesString(text, WildcardComparison{1}));
      static_cast<void>(tree.plusWildcards());
    }
  }
}

}  // namespace
}  // namespace orvel

namespace orvel {
namespace {

std::size_t treeDepth(const QueryTerms& tree) {
  std::size_t deepest = 0;
  for (const QueryTerms& child : tree.children()) deepest = std::max(deepest, treeDepth(child));
  return tree.isWord() ? 0 : deepest + 1;
}

// However deeply a query nests its groups, the tree stays shallow enough for every walk
// over it; the groups past the limit are read as if their parentheses were blanks.
TEST(QueryParserTest, DeepNestingIsReadFlatPastTheDepthLimit) {
  constexpr std::size_t kLevels = 50000;
  std::u16string opened;
  for (std::size_t i = 0; i < kLevels; ++i) opened += u"(a ";
  for (const std::u16string& query :
       {std::u16string(kLevels, u'(') + u"a b" + std::u16string(kLevels, u')'),
        opened + u"b" + std::u16string(kLevels, u')'), opened}) {
    for (const QueryTerms& tree : {QueryTerms(query), QueryTerms::withWildcard(query)}) {
      EXPECT_LE(treeDepth(tree), kMaxQueryGroupDepth + 1);
      EXPECT_TRUE(tree.matchesString(u"a b", false));
      EXPECT_TRUE(tree.matchesString(u"a b", WildcardComparison{1}));
      EXPECT_EQ(tree.minTermLen(), 1u);
      EXPECT_FALSE(tree.description().empty());
      EXPECT_FALSE(tree.plusParts().empty());
      EXPECT_FALSE(queryTreeOutline(tree).empty());
    }
  }
  // Within the limit nothing changes: a group of two stays a group.
  EXPECT_EQ(outline(u"x (a b)"), outline(u"x ((((a b))))"));
}

}  // namespace
}  // namespace orvel

// The search and separation commands of the orvel program, run as a user runs them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

void expectOutput(const ProgramResult& result, const std::string& out) {
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, out);
  EXPECT_EQ(result.err, "");
}

void expectUsageError(const ProgramResult& result, const std::string& command) {
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.rfind("orvel: " + command + ": ", 0), 0u) << result.err;
}

TEST(QueryCommandTest, WritesTheTreeInEachFormat) {
  const std::string query =
      "apple AND (pear OR plum) -\xE2\x80\x9C"
      "fruit cake\xE2\x80\x9D NEAR/3 juice";
  expectOutput(orvel({"query", query}),
               "apple AND (pear OR plum) NOT \"fruit cake\" NEAR/3 juice\n");
  expectOutput(orvel({"query", "--format", "standardized", query}),
               "apple (pear OR plum) -\"fruit cake\" juice\n");
  expectOutput(orvel({"query", "--format", "normalized", "A OR B NEXT c"}), "a|b BEFORE/1 c\n");
  expectOutput(orvel({"query", "--format", "0x4008", "a -b"}), "+a -b\n");
  expectOutput(orvel({"query", "--format", "tree", query}),
               "group op=AND common=NONE dist=10\n"
               "  word \"apple\" op=AND dist=10\n"
               "  group op=AND common=OR dist=10\n"
               "    word \"pear\" op=AND dist=10\n"
               "    word \"plum\" op=OR dist=10\n"
               "  phrase \"fruit cake\" op=AND dist=10 not\n"
               "  word \"juice\" op=NEAR dist=3\n");
}

TEST(QueryCommandTest, DefaultsWildcardModeAndCollections) {
  expectOutput(orvel({"query", "--format", "tree", "--default-operator", "near",
                      "--default-distance", "4", "a b AFTER c"}),
               "group op=NEAR common=NONE dist=4\n"  // the root carries the defaults too
               "  word \"a\" op=NEAR dist=4\n"
               "  word \"b\" op=NEAR dist=4\n"
               "  word \"c\" op=AFTER dist=max\n");
  expectOutput(orvel({"query", "--wildcard", "--format", "description", "~cat [a b]c"}),
               "~*cat* AND [a b]c\n");
  expectOutput(orvel({"query", "--plus", "parts", "\"new york\" e-mail -x"}), "new york\ne-mail\n");
  expectOutput(orvel({"query", "--plus", "words", "\"new york\" e-mail -x"}),
               "new\nyork\ne\nmail\n");
  expectOutput(orvel({"query", "--plus", "string", "a -b c"}), "a c\n");
  expectOutput(orvel({"query", "--min-term-len", "abc de -f"}), "2\n");
  expectOutput(orvel({"query", ""}), "\n");
}

TEST(QueryCommandTest, RejectsBadOptionsAndText) {
  expectUsageError(orvel({"query", "--format", "sideways", "x"}), "query");
  expectUsageError(orvel({"query", "--default-operator", "maybe", "x"}), "query");
  expectUsageError(orvel({"query"}), "query");
  const ProgramResult invalid = orvel({"query", "ab\xFF"});
  EXPECT_EQ(invalid.exitCode, 1);
  EXPECT_EQ(invalid.err, "orvel: query: invalid UTF-8 at byte offset 2\n");
}

TEST(WildcardCommandTest, ClassifiesAndMatches) {
  expectOutput(orvel({"wildcard", "**ab**", "xaby", "b"}),
               "type 4 range 1 2 pattern *ab* min 2 max max\nmatch xaby\nno-match b\n");
  expectOutput(orvel({"wildcard", "a?c", "abc", "ABC"}),
               "type 1 range 0 3 pattern a?c min 3 max 3\nmatch abc\nno-match ABC\n");
  expectOutput(orvel({"wildcard", "-i", "a?c", "ABC"}),
               "type 1 range 0 3 pattern a?c min 3 max 3\nmatch ABC\n");
  expectOutput(orvel({"wildcard", "--unix", "[a-c]x*", "bxy", "dx"}),
               "type 7 range 0 6 pattern [a-c]x* min 2 max max\nmatch bxy\nno-match dx\n");
  expectOutput(orvel({"wildcard", "[a-c]x", "[a-c]x"}),
               "type 9 range 0 6 pattern [a-c]x min 2 max 2\nmatch [a-c]x\n");
  expectOutput(orvel({"wildcard", "a]"}), "type 10 range 0 0 pattern  min 0 max 0\n");
}

TEST(SimilarityCommandTest, PrintsSixDecimals) {
  expectOutput(orvel({"similarity", "abcd", "abdc"}), "0.500000\n");
  expectOutput(orvel({"similarity", "house", "mouse"}), "0.800000\n");
  expectUsageError(orvel({"similarity", "one"}), "similarity");
}

TEST(WordsCommandTest, ItemsAndRanges) {
  expectOutput(orvel({"words"}, "Don't e-mail \xC3\xA9t\xC3\xA9!"),
               "Don\nt\ne\nmail\n\xC3\xA9t\xC3\xA9\n");
  expectOutput(orvel({"words", "--min-len", "3"}, "to be or not"), "not\n");
  expectOutput(orvel({"words", "--with-separators", "--ranges"}, "a,b;\n\"c"),
               "0\t1\tword\ta\n1\t1\tsep\t,\n2\t1\tword\tb\n3\t3\tsep\t;\\n\\\"\n6\t1\tword\tc\n");
  expectOutput(orvel({"words", "--wildcard"}, "new*york [a b]c"), "new*york\n[a b]c\n");
  expectOutput(orvel({"words"}, ""), "");
}

TEST(ComponentsCommandTest, SentencesLinesAndRanges) {
  expectOutput(orvel({"components"}, "Hi, you. Yes!! ok"), "Hi,\n you.\n Yes!!\n ok\n");
  expectOutput(orvel({"components", "--sentences"}, "Hi, you. Yes!! ok"),
               "Hi, you.\n Yes!!\n ok\n");
  expectOutput(orvel({"components", "--lines"}, "one\r\ntwo\n\nthree"), "one\ntwo\nthree\n");
  expectOutput(orvel({"components", "--lines", "--ranges"}, "one\r\ntwo"),
               "0\t5\tword\tone\\r\\n\n5\t3\tword\ttwo\n");
  expectUsageError(orvel({"components", "--lines", "--sentences"}), "components");
}

TEST(CountCommandTest, WordsAndParagraphs) {
  expectOutput(orvel({"count"}, "one two\nthree four five\n\nsix"), "words 6\nparagraphs 3\n");
  expectOutput(orvel({"count"}, ""), "words 0\nparagraphs 0\n");
  const ProgramResult invalid = orvel({"count"}, "\xC3");
  EXPECT_EQ(invalid.exitCode, 1);
  EXPECT_EQ(invalid.out, "");
  EXPECT_EQ(invalid.err, "orvel: stdin: invalid UTF-8 at byte offset 0\n");
}

TEST(EllipsizeCommandTest, CharactersOrWords) {
  expectOutput(orvel({"ellipsize", "--chars", "8"}, "hello world again"), "hello...\n");
  expectOutput(orvel({"ellipsize", "--chars", "5"}, "hello world\n"), "hello world\n");
  expectOutput(orvel({"ellipsize", "--words", "2"}, "one two, three"), "one two...\n");
  expectUsageError(orvel({"ellipsize"}, "x"), "ellipsize");
  expectUsageError(orvel({"ellipsize", "--chars", "2", "--words", "3"}, "x"), "ellipsize");
}

}  // namespace
}  // namespace orvel

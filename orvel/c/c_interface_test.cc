// The C interface, called from C (c_interface_calls.c) and compared with the C++ one. Both
// headers are included here, which also proves they can share a translation unit: the
// exported globals are declared by both and must be the same objects.
#include <string>

#include <gtest/gtest.h>

#include "orvel/orvel.h"
#include "orvel/search/wildcard.h"
#include "orvel/testing/temp_dir.h"
#include "orvel/text/crc32.h"
#include "orvel/text/digest.h"

extern "C" {
bool c_tag_names(const char* markup, char* names, size_t capacity);
void c_first_attribute(const char* markup, const char* name, char* value, size_t capacity);
bool c_matches(const char* text, const char* pattern, unsigned comparison);
int c_optimize(const char* pattern, size_t minLiterals, orvel_range* range, size_t* length);
orvel_range c_find_word(const char* text, const char* pattern);
void c_digests(const char* text, char md5Hex[33], char sha1Hex[41]);
uint32_t c_upper_crc(const char* text);
uint32_t c_crc_in_parts(const char* text);
bool c_utf8_round_trip(const char* utf8);
int c_search(const char* query, const char* folder, int want, unsigned threads, char* out,
             size_t capacity);
int c_search_cancelled(const char* query, const char* folder);
int c_index_search(const char* query, const char* folder, const char* index, char* out,
                   size_t capacity);
}

namespace {

TEST(CInterfaceTest, GlobalTablesAreTheLibrarysOwn) {
  EXPECT_EQ(initUpperCharsTable(), orvel::initUpperCharsTable());
  EXPECT_EQ(_upperCharsTable, orvel::_upperCharsTable);
  EXPECT_EQ(initLowerUmlautsCharsTable(), orvel::_lowerUmlautsCharsTable);
  EXPECT_EQ(_lowerUmlautsCharsTable[0x00C4], u'a');
  EXPECT_EQ(toAscii(0x4E2D), u' ');
  EXPECT_EQ(umlautsToAscii(0x4E2D), 0x4E2D);
  EXPECT_EQ(alphaCharacterSetRep(), orvel::alphaCharacterSetRep());
}

TEST(CInterfaceTest, ChecksumsFromCAgreeWithTheCppOnes) {
  EXPECT_EQ(CRC32("123456789", 9), 0x2DFD2D88u);
  EXPECT_EQ(c_crc_in_parts("123456789"), 0x2DFD2D88u);
  EXPECT_EQ(c_upper_crc("Mixed Case"), orvel::crc32(u"MIXED CASE"));
  char md5[33], sha1[41];
  c_digests("The quick brown fox jumps over the lazy dog", md5, sha1);
  EXPECT_STREQ(md5, "9e107d9d372bb6826bd81d3542a419d6");
  EXPECT_STREQ(sha1, "2fd4e1c67a2d28fced849ee1bb76e7391b93eb12");
}

TEST(CInterfaceTest, TagScannerHandsEveryPieceToACHandler) {
  char names[256];
  EXPECT_TRUE(c_tag_names("<p class=x>Hi <!-- note --><![CDATA[x]]></P>tail", names, 256));
  EXPECT_STREQ(names, "1p 2 3 1p ");
  EXPECT_FALSE(c_tag_names("", names, 256));
  // A handler that answers true stops the scan.
  EXPECT_TRUE(c_tag_names("<a><b><c><d>", names, 8));
  EXPECT_STREQ(names, "1a 1b ");
}

TEST(CInterfaceTest, AttributeRangesArePositionsInTheText) {
  char value[64];
  c_first_attribute("<a title='x' HREF=\"/to\">", "href", value, 64);
  EXPECT_STREQ(value, "/to");
  c_first_attribute("<a title='x'>", "href", value, 64);
  EXPECT_STREQ(value, "");
}

TEST(CInterfaceTest, WildcardsThroughTheCInterface) {
  EXPECT_TRUE(c_matches("Report-2024.TXT", "report-20[0-9][0-9].*", 1));
  EXPECT_FALSE(c_matches("Report-2024.TXT", "report-20[0-9][0-9].*", 0));
  EXPECT_TRUE(c_matches("\xC4rger", "arg*", 3));  // U+00C4, widened from Latin-1

  orvel_range range{};
  size_t length = 0;
  EXPECT_EQ(c_optimize("**abc**", 1, &range, &length), 4);  // infix
  EXPECT_EQ(range.location, 1u);
  EXPECT_EQ(range.length, 3u);
  EXPECT_EQ(length, 5u);

  const orvel_range found = c_find_word("one Second third", "sec*");
  EXPECT_EQ(found.location, 4u);
  EXPECT_EQ(found.length, 6u);
  EXPECT_EQ(c_find_word("one two", "sec*").location, ORVEL_NOT_FOUND);

  setMinWildcardFuzzyAnalogy(0.5);
  EXPECT_EQ(orvel::minWildcardFuzzyAnalogy(), 0.5);
  setMinWildcardFuzzyAnalogy(0.75);
  EXPECT_EQ(minWildcardFuzzyAnalogy(), 0.75);
}

TEST(CInterfaceTest, ConvertersRoundTripUtf8) {
  EXPECT_TRUE(c_utf8_round_trip("plain"));
  EXPECT_TRUE(c_utf8_round_trip("Gr\xC3\xBC\xC3\x9F\x65 \xF0\x9F\x98\x80"));
}

}  // namespace

namespace {

TEST(CInterfaceTest, ASearchFromCAnswersEveryFileInOrder) {
  orvel::testing::TempDir dir;
  const std::string root = dir.path().string();
  // A name that is no UTF-8 (Latin-1 "é") comes back as the same bytes.
  dir.writeFile("a/caf\xE9.txt", "The harbour.\nA harbour wall.");
  dir.writeFile("a/plain.md", "# Nothing here");
  dir.writeFile("b/z.dat", std::string("harbour\0", 8));
  dir.writeFile("c.html", "<p>harbour</p>");
  char out[1024];
  for (unsigned threads : {1u, 4u}) {
    EXPECT_EQ(c_search("harbour", root.c_str(), ORVEL_SEARCH_OCCURRENCES, threads, out, sizeof out),
              3);
    EXPECT_EQ(std::string(out), "M " + root +
                                    "/a/caf\xE9.txt 2 1:The harbour[5:harbour] 2:A harbour "
                                    "wall[3:harbour]\n" +
                                    "S " + root + "/b/z.dat binary (holds NUL bytes)\n" + "M " +
                                    root + "/c.html 1 1:harbour[1:harbour]\n");
  }
  EXPECT_EQ(c_search("harbour", root.c_str(), ORVEL_SEARCH_COUNTS, 2, out, sizeof out), 3);
  EXPECT_EQ(std::string(out).substr(0, root.size() + 16), "M " + root + "/a/caf\xE9.txt 2\n");
  const std::string missing = root + "/missing";
  EXPECT_EQ(c_search("harbour", missing.c_str(), ORVEL_SEARCH_FILES, 1, out, sizeof out), 1);
  EXPECT_EQ(std::string(out), "F " + missing + " 2 No such file or directory\n");
  EXPECT_EQ(c_search("\xFF", root.c_str(), ORVEL_SEARCH_FILES, 1, out, sizeof out), -1);
  EXPECT_EQ(std::string(out), "the query is not UTF-8");
  EXPECT_EQ(c_search_cancelled("harbour", root.c_str()), 0);
}

TEST(CInterfaceTest, AnIndexFromCAnswersAsTheSearchWithoutIt) {
  orvel::testing::TempDir dir;
  const std::string root = (dir.path() / "docs").string();
  dir.writeFile("docs/a.txt", "The harbour wall.");
  dir.writeFile("docs/b.txt", "Nothing here.");
  dir.writeFile("docs/c/d.md", "# Harbour");
  const std::string index = (dir.path() / "idx").string();
  char out[4096];
  EXPECT_EQ(c_index_search("harbour", root.c_str(), index.c_str(), out, sizeof out), 2) << out;
  EXPECT_EQ(std::string(out), root + "/a.txt\n" + root + "/c/d.md\n");
  // Updated again, the same.
  EXPECT_EQ(c_index_search("harbour OR nothing", root.c_str(), index.c_str(), out, sizeof out), 3)
      << out;
}

}  // namespace

#include <string>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/search/query_terms.h"

namespace orvel {
namespace {

std::string write(std::u16string_view query, std::uint32_t format,
                  const QueryOperatorWords* words = nullptr) {
  return utf16ToUtf8(QueryTerms(query).queryText(format, words));
}

TEST(QueryWriterTest, TheThreeFixedFormats) {
  const QueryTerms tree(u"a -b");
  EXPECT_EQ(tree.description(), u"a NOT b");
  EXPECT_EQ(tree.standardizedQueryTerm(), u"a -b");
  EXPECT_EQ(tree.normalizedQueryTerm(), u"a -b");

  const std::u16string query =
      u"Apple OR Pear XOR \"Big Plum\" NEAR/3 d BEFORE/2 e AFTER f NEXT g NEXT/4 h OPT i ~Sub";
  EXPECT_EQ(QueryTerms(query).description(),
            u"Apple OR Pear XOR \"Big Plum\" NEAR/3 d BEFORE/2 e AFTER/9223372036854775807 f "
            u"NEXT g BEFORE/4 h OPT i AND ~Sub");
  EXPECT_EQ(QueryTerms(query).standardizedQueryTerm(),
            u"Apple OR Pear XOR \"Big Plum\" d e f g h OPT i Sub");
  EXPECT_EQ(QueryTerms(query).normalizedQueryTerm(),
            u"apple|pear XOR \"big plum\" NEAR/3 d BEFORE/2 e AFTER/9223372036854775807 f "
            u"BEFORE/1 g BEFORE/4 h OPT i ~sub");
  EXPECT_EQ(standardizedQueryTerm(u"x  y"), u"x y");
  EXPECT_EQ(normalizedQueryTerm(u"X"), u"x");
}

TEST(QueryWriterTest, NestedGroupsInParentheses) {
  EXPECT_EQ(write(u"a (b OR c) -(d e)", kDescriptionQueryFormat), "a AND (b OR c) NOT (d AND e)");
  EXPECT_EQ(write(u"a (b OR c)", kStandardizedQueryFormat), "a (b OR c)");
  EXPECT_EQ(write(u"a (b OR c)", kStandardizedQueryFormat & ~QueryFormatParentheses), "a b OR c");
  EXPECT_EQ(write(u"(a b)", kDescriptionQueryFormat), "(a AND b)");  // the root's only child
}

TEST(QueryWriterTest, PlusMarksPositiveAndJoinedTerms) {
  EXPECT_EQ(write(u"a -b", QueryFormatPlus | QueryFormatNegated), "+a -b");
  EXPECT_EQ(write(u"a b OR c", QueryFormatPlus | QueryFormatNegated | QueryFormatOrWord),
            "+a +b c");
  EXPECT_EQ(write(u"a OR b", QueryFormatPlus), "a b");
  EXPECT_EQ(write(u"a", QueryFormatPlus), "a");
}

TEST(QueryWriterTest, EachBitChangesOnlyItsOwnPart) {
  EXPECT_EQ(write(u"a -b", 0), "a");  // negated terms left out
  EXPECT_EQ(write(u"a -b", QueryFormatNegated | QueryFormatAndNot), "a ANDNOT b");
  EXPECT_EQ(write(u"a -b c", QueryFormatNegated | QueryFormatNotWord), "a NOT b c");
  EXPECT_EQ(write(u"a b", QueryFormatAndWord), "a b");  // AND is spelled only with NOT
  EXPECT_EQ(write(u"a XOR b", QueryFormatOrWord), "a OR b");
  EXPECT_EQ(write(u"a XOR b", 0), "a b");
  EXPECT_EQ(write(u"a OR b", QueryFormatOrWord | QueryFormatBar), "a|b");
  EXPECT_EQ(write(u"a OPT b", 0), "a");
  EXPECT_EQ(write(u"a NEAR/2 b", QueryFormatNear), "a NEAR/2 b");
  EXPECT_EQ(write(u"a NEXT b", QueryFormatBefore), "a BEFORE/1 b");
  EXPECT_EQ(write(u"a NEXT b", QueryFormatNext), "a NEXT b");
  EXPECT_EQ(write(u"a NEXT/4 b", QueryFormatNext), "a b");  // written as BEFORE, else as AND
  EXPECT_EQ(write(u"\"a b\"", QueryFormatQuotes), "\"a b\"");
  EXPECT_EQ(write(u"\"a b\"", 0), "a b");
  EXPECT_EQ(write(u"~x", QueryFormatTilde), "~x");
  EXPECT_EQ(write(u"~x", 0), "x");
  EXPECT_EQ(write(u"Stra\u00DFe", QueryFormatUppercase | QueryFormatLowercase), "STRASSE");
  EXPECT_EQ(write(u"\u0130stanbul", QueryFormatLowercase), "i\xCC\x87stanbul");
}

TEST(QueryWriterTest, OperatorWordsComeFromTheDictionary) {
  const QueryOperatorWords german = {
      {u"AND", u"UND"}, {u"NOT", u"NICHT"}, {u"OR", u"ODER"}, {u"NEAR", u"NAHE"}, {u"|", u" / "}};
  EXPECT_EQ(write(u"a b -c OR d NEAR/2 e", kDescriptionQueryFormat, &german),
            "a UND b NICHT c ODER d NAHE/2 e");
  EXPECT_EQ(write(u"a OR b", kNormalizedQueryFormat, &german), "a / b");
  const auto texts = queryTermsForOperators(u"x y", kDescriptionQueryFormat, &german);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0], u"x UND y");
}

}  // namespace
}  // namespace orvel

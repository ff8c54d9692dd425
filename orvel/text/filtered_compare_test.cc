#include "orvel/text/filtered_compare.h"

#include <string>

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(FilteredCompareTest, OnlyMembersTakePartInEquality) {
  CharacterSetRep letters = alphaCharacterSetRep();
  EXPECT_TRUE(equalStringsUsingCharacterSetRep(u"a-b", u"ab", letters));
  EXPECT_TRUE(equalStringsUsingCharacterSetRep(u"--a b!", u"ab", letters));
  EXPECT_FALSE(equalStringsUsingCharacterSetRep(u"ab", u"abc", letters));
  EXPECT_FALSE(equalStringsUsingCharacterSetRep(u"abc", u"ab", letters));
  EXPECT_FALSE(equalStringsUsingCharacterSetRep(u"ab", u"ba", letters));
  EXPECT_TRUE(equalStringsUsingCharacterSetRep(u"a1", u"a2", letters));
}

TEST(FilteredCompareTest, PrefixOfTheMemberUnits) {
  CharacterSetRep letters = alphaCharacterSetRep();
  EXPECT_TRUE(hasPrefixUsingCharacterSetRep(u"a b c", u"ab", letters));
  EXPECT_TRUE(hasPrefixUsingCharacterSetRep(u"abc", u"a.b.c.", letters));
  EXPECT_FALSE(hasPrefixUsingCharacterSetRep(u"ab", u"abc", letters));
  EXPECT_FALSE(hasPrefixUsingCharacterSetRep(u"abc", u"b", letters));
  EXPECT_TRUE(hasPrefixUsingCharacterSetRep(u"abc", u"", letters));
}

TEST(FilteredCompareTest, EmptyStringsAreEqualAndPrefixes) {
  CharacterSetRep letters = alphaCharacterSetRep();
  EXPECT_TRUE(equalStringsUsingCharacterSetRep(u"", u"", letters));
  EXPECT_TRUE(equalStringsUsingCharacterSetRep({}, {}, letters));
  EXPECT_TRUE(hasPrefixUsingCharacterSetRep({}, u"", letters));
  EXPECT_TRUE(equalStringsUsingCharacterSetRep(u"", u"...", letters));
}

TEST(FilteredCompareTest, NoCaseFoldsThroughTheUpperTableWithoutExpansion) {
  CharacterSetRep letters = alphaCharacterSetRep();
  EXPECT_TRUE(equalStringsNoCaseUsingCharacterSetRep(u"Strasse", u"STRASSE", letters));
  EXPECT_FALSE(equalStringsUsingCharacterSetRep(u"Strasse", u"STRASSE", letters));
  EXPECT_FALSE(equalStringsNoCaseUsingCharacterSetRep(u"\u00DF", u"SS", letters));
  EXPECT_TRUE(hasPrefixNoCaseUsingCharacterSetRep(u"\u00C9t\u00E9", u"\u00E9T", letters));
  EXPECT_FALSE(hasPrefixUsingCharacterSetRep(u"\u00C9t\u00E9", u"\u00E9T", letters));
}

TEST(FilteredCompareTest, EmptySetMakesEverythingEqual) {
  CharacterSetRep none = emptyCharacterSetRep();
  EXPECT_TRUE(equalStringsUsingCharacterSetRep(u"abc", u"xyz", none));
  EXPECT_TRUE(hasPrefixUsingCharacterSetRep(u"a", u"longer", none));
  EXPECT_TRUE(equalStringsNoCaseUsingCharacterSetRep(u"", u"q", none));
}

TEST(FilteredCompareTest, ShortAndLongInputsCompareAlike) {
  CharacterSetRep letters = alphaCharacterSetRep();
  for (std::size_t total : {255u, 256u, 257u, 258u, 10001u}) {
    SCOPED_TRACE(total);
    const std::u16string first(total / 2, u'x');
    std::u16string second(total - total / 2, u'x');
    EXPECT_EQ(equalStringsUsingCharacterSetRep(first, second, letters), total % 2 == 0);
    EXPECT_TRUE(hasPrefixUsingCharacterSetRep(second, first, letters));
    second.back() = u'-';  // a non-member at the end of the longer side
    EXPECT_EQ(equalStringsUsingCharacterSetRep(first, second, letters), total % 2 == 1);
  }
}

TEST(FilteredCompareTest, ArrayFormsTakeExplicitLengths) {
  const unichar text[] = u"abXcd";
  EXPECT_TRUE(equalCharsOfCharacterSetRep(text, 2, u"a-b", 3, alphaCharacterSetRep()));
  EXPECT_FALSE(equalCharsOfCharacterSetRep(text, 3, u"a-b", 3, alphaCharacterSetRep()));
  EXPECT_TRUE(hasPrefixCharsNoCaseOfCharacterSetRep(text, 5, u"ABx", 3, alphaCharacterSetRep()));
  EXPECT_TRUE(equalCharsNoCaseOfCharacterSetRep(text, 5, u"A B X C D", 9, alphaCharacterSetRep()));
}

TEST(FilteredCompareTest, ConversionTableComparisonNeedsEqualLengths) {
  ConversionTable lower = initLowerCharsTable();
  EXPECT_TRUE(equalStringsUsingConversionTable(u"\u00C4Bc", u"\u00E4bC", lower));
  EXPECT_FALSE(equalStringsUsingConversionTable(u"ab", u"ab ", lower));
  EXPECT_FALSE(equalStringsUsingConversionTable(u"\u00DF", u"ss", initUpperCharsTable()));
  EXPECT_TRUE(equalStringsUsingConversionTable(u"\u00DCber", u"Uber", initUmlautsCharsTable()));
  EXPECT_FALSE(equalStringsUsingConversionTable(u"a", u"A", nullptr));
  EXPECT_TRUE(equalStringsUsingConversionTable(u"a", u"a", nullptr));
  EXPECT_TRUE(equalStringsUsingConversionTable(u"", {}, lower));
}

}  // namespace
}  // namespace orvel

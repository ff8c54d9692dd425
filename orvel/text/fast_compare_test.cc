#include "orvel/text/fast_compare.h"

#include <string>

#include <gtest/gtest.h>

namespace orvel {
namespace {

std::ptrdiff_t compare(std::u16string_view a, std::u16string_view b) {
  return fastCompareUnichars(a.data(), a.size(), b.data(), b.size());
}
std::ptrdiff_t compareNoCase(std::u16string_view a, std::u16string_view b) {
  return fastCaseInsensitiveCompareUnichars(a.data(), a.size(), b.data(), b.size());
}

TEST(FastCompareTest, DifferenceOfFirstDifferingUnitsOrOfLengths) {
  EXPECT_EQ(compare(u"abc", u"abd"), -1);
  EXPECT_EQ(compare(u"abd", u"abc"), 1);
  EXPECT_EQ(compare(u"ab", u"abc"), -1);
  EXPECT_EQ(compare(u"abcde", u"ab"), 3);
  EXPECT_EQ(compare(u"", u""), 0);
  EXPECT_EQ(compare(u"\uFFFF", u"a"), 0xFFFF - 'a');  // units compare unsigned
}

TEST(FastCompareTest, CaseInsensitiveFoldsBothSidesToUpperCase) {
  EXPECT_EQ(compareNoCase(u"ABC", u"abc"), 0);
  EXPECT_EQ(compareNoCase(u"\u00E9t\u00E9", u"\u00C9T\u00C9"), 0);
  EXPECT_NE(compareNoCase(u"stra\u00DFe", u"STRASSE"), 0);
  EXPECT_EQ(compareNoCase(u"a", u"B"), 'A' - 'B');
}

TEST(FastCompareTest, ConversionTableCompare) {
  const std::u16string a = u"\u00DCber", b = u"uber";
  EXPECT_EQ(fastCompareUnicharsUsingConversionTable(a.data(), a.size(), b.data(), b.size(),
                                                    initLowerUmlautsCharsTable()),
            0);
  EXPECT_NE(
      fastCompareUnicharsUsingConversionTable(a.data(), a.size(), b.data(), b.size(), nullptr), 0);
}

TEST(FastCompareTest, EightBitCharactersWidenAsSignedChars) {
  const unichar aUmlaut[] = {0x00E4};
  EXPECT_NE(fastCompareUnicharsWithChars(aUmlaut, 1, "\xE4", 1), 0);
  const unichar widened[] = {0xFFE4};
  EXPECT_EQ(fastCompareUnicharsWithChars(widened, 1, "\xE4", 1), 0);
  EXPECT_EQ(fastCompareUnicharsWithChars(u"abc", 3, "abc", 3), 0);
  EXPECT_EQ(fastCaseInsensitiveCompareUnicharsWithChars(u"HeLLo", 5, "hello", 5), 0);
  // Both sides 8-bit: the difference of signed chars, so 0x80 sorts before ASCII.
  EXPECT_EQ(fastCompareChars("\x80", 1, "a", 1), -128 - 'a');
  EXPECT_EQ(fastCompareChars("ab", 2, "abc", 3), -1);
  EXPECT_EQ(fastCaseInsensitiveCompareChars("MiXeD", 5, "mixed", 5), 0);
  EXPECT_EQ(compareCharacters(u"x", 1, "x", 1), 0);
  EXPECT_EQ(caseInsensitiveCompareCharacters(u"X", 1, u"x", 1), 0);
}

TEST(FastCompareTest, CaseSensitiveUnitSearchNeverTriesTheLastPosition) {
  const std::u16string text = u"abc";
  EXPECT_EQ(fastContainsUnichars(text.data(), 3, u"bc", 2), nullptr);
  EXPECT_EQ(fastContainsUnichars(text.data(), 3, u"ab", 2), text.data());
  EXPECT_EQ(fastContainsUnichars(text.data(), 3, u"abc", 3), nullptr);
  EXPECT_EQ(fastContainsUnichars(text.data(), 3, u"c", 1), nullptr);
  EXPECT_EQ(fastContainsUnichars(text.data(), 3, u"b", 1), text.data() + 1);
}

TEST(FastCompareTest, OtherSearchesTryEveryPosition) {
  const std::u16string text = u"abc";
  EXPECT_EQ(fastCaseInsensitiveContainsUnichars(text.data(), 3, u"BC", 2), text.data() + 1);
  EXPECT_EQ(fastCaseInsensitiveContainsUnichars(text.data(), 3, u"ABC", 3), text.data());
  EXPECT_EQ(fastUnicharsContainChars(text.data(), 3, "bc", 2), text.data() + 1);
  EXPECT_EQ(fastUnicharsContainChars(text.data(), 3, "abc", 3), text.data());
  EXPECT_EQ(fastUnicharsContainChars(text.data(), 3, "BC", 2), nullptr);
  EXPECT_EQ(fastCaseInsensitiveUnicharsContainChars(text.data(), 3, "BC", 2), text.data() + 1);
  EXPECT_EQ(positionOfCharacters("C", 1, text.data(), 3, false), text.data() + 2);
  EXPECT_EQ(positionOfCharacters("C", 1, text.data(), 3, true), nullptr);
}

TEST(FastCompareTest, FindsTheFirstOfSeveralOccurrences) {
  const std::u16string text = u"xaXAxa";
  EXPECT_EQ(fastCaseInsensitiveContainsUnichars(text.data(), text.size(), u"XA", 2), text.data());
  EXPECT_EQ(fastContainsUnichars(text.data(), text.size(), u"XA", 2), text.data() + 2);
  const std::u16string partial = u"aab";
  EXPECT_EQ(fastCaseInsensitiveContainsUnichars(partial.data(), 3, u"ab", 2), partial.data() + 1);
}

TEST(FastCompareTest, EmptyOrOverlongNeedlesAreNeverFound) {
  const std::u16string text = u"abc";
  EXPECT_EQ(fastContainsUnichars(text.data(), 3, u"", 0), nullptr);
  EXPECT_EQ(fastCaseInsensitiveContainsUnichars(text.data(), 3, u"", 0), nullptr);
  EXPECT_EQ(fastUnicharsContainChars(text.data(), 3, "", 0), nullptr);
  EXPECT_EQ(fastCaseInsensitiveUnicharsContainChars(text.data(), 3, "", 0), nullptr);
  EXPECT_EQ(fastCaseInsensitiveContainsUnichars(text.data(), 3, u"abcd", 4), nullptr);
  EXPECT_EQ(fastUnicharsContainChars(text.data(), 0, "a", 1), nullptr);
}

}  // namespace
}  // namespace orvel

#include "orvel/text/conversion_tables.h"

#include <string>

#include <gtest/gtest.h>

#include "orvel/text/character_sets.h"

namespace orvel {
namespace {

struct Mapping {
  unichar from;
  unichar to;
  const char* what;
};

void expectMappings(ConversionTable table, std::initializer_list<Mapping> cases) {
  for (const Mapping& c : cases) {
    SCOPED_TRACE(std::string(c.what));
    EXPECT_EQ(table[c.from], c.to);
  }
}

TEST(ConversionTablesTest, LowerCaseOfSeveralScripts) {
  expectMappings(initLowerCharsTable(), {
                                            {u'A', u'a', "Latin"},
                                            {u'a', u'a', "already lower"},
                                            {0x00C4, 0x00E4, "A diaeresis"},
                                            {0x03A3, 0x03C3, "Greek Sigma"},
                                            {0x0416, 0x0436, "Cyrillic Zhe"},
                                            {0x0531, 0x0561, "Armenian Ayb"},
                                            {0x01C4, 0x01C6, "DZ caron"},
                                            {0x01C5, 0x01C6, "title-case Dz caron"},
                                            {0x212A, u'k', "Kelvin sign"},
                                            {u'7', u'7', "digit"},
                                            {0x0130, 0x0130, "I with dot lowers to two units"},
                                        });
}

TEST(ConversionTablesTest, UpperCaseKeepsTheOneUnitRule) {
  expectMappings(initUpperCharsTable(), {
                                            {u'a', u'A', "Latin"},
                                            {0x00FF, 0x0178, "y diaeresis"},
                                            {0x03C2, 0x03A3, "final sigma"},
                                            {0x0436, 0x0416, "Cyrillic zhe"},
                                            {0x017F, u'S', "long s"},
                                            {0x00DF, 0x00DF, "sharp s uppers to SS"},
                                            {0x0149, 0x0149, "n apostrophe uppers to two"},
                                            {0xFB00, 0xFB00, "ff ligature uppers to FF"},
                                            {0x01C5, 0x01C5, "title case is not lower case"},
                                            {u'A', u'A', "already upper"},
                                        });
}

TEST(ConversionTablesTest, UmlautsRemovesCombiningMarksOfTheDecomposition) {
  expectMappings(initUmlautsCharsTable(), {
                                              {0x00FC, u'u', "u diaeresis"},
                                              {0x00DC, u'U', "U diaeresis keeps case"},
                                              {0x00E9, u'e', "e acute"},
                                              {0x00C5, u'A', "A ring"},
                                              {0x212B, u'A', "Angstrom sign"},
                                              {0x1EC7, u'e', "e with two marks"},
                                              {0x0439, 0x0438, "Cyrillic short i"},
                                              {0x03AC, 0x03B1, "Greek alpha tonos"},
                                              {0x0929, 0x0928, "Devanagari nukta letter"},
                                              {0x0301, 0x0301, "a lone mark keeps itself"},
                                              {0x00F8, 0x00F8, "o stroke has no decomposition"},
                                              {0x00DF, 0x00DF, "sharp s"},
                                              {0xAC00, 0xAC00, "Hangul decomposes to two jamo"},
                                              {0x4E2D, 0x4E2D, "ideograph"},
                                              {u'5', u'5', "digit"},
                                              {u'!', u'!', "punctuation"},
                                          });
}

TEST(ConversionTablesTest, CombinedTablesRemoveAccentsThenFoldCase) {
  expectMappings(initLowerUmlautsCharsTable(), {
                                                   {0x00C9, u'e', "E acute"},
                                                   {0x00E9, u'e', "e acute"},
                                                   {0x0130, u'i', "I with dot: accent first"},
                                               });
  expectMappings(initUpperUmlautsCharsTable(), {
                                                   {0x00E4, u'A', "a diaeresis"},
                                                   {0x00DF, 0x00DF, "sharp s"},
                                               });
}

TEST(ConversionTablesTest, OnlyUnitsOfTheOppositeCaseClassAreMapped) {
  ConversionTable lower = initLowerCharsTable();
  ConversionTable upper = initUpperCharsTable();
  ConversionTable umlauts = initUmlautsCharsTable();
  for (std::uint32_t c = 0; c < kConversionTableSize; ++c) {
    const auto unit = static_cast<unichar>(c);
    ASSERT_TRUE(lower[c] == unit || isMemberOfCharacterSetRep(upperCharacterSetRep(), unit)) << c;
    ASSERT_TRUE(upper[c] == unit || isMemberOfCharacterSetRep(lowerCharacterSetRep(), unit)) << c;
    ASSERT_TRUE(umlauts[c] == unit || isMemberOfCharacterSetRep(alphaCharacterSetRep(), unit)) << c;
  }
}

TEST(ConversionTablesTest, LastEntryIsIdentityInEveryTable) {
  for (ConversionTable table :
       {initLowerCharsTable(), initUpperCharsTable(), initUmlautsCharsTable(),
        initLowerUmlautsCharsTable(), initUpperUmlautsCharsTable()}) {
    EXPECT_EQ(table[0xFFFF], 0xFFFF);
  }
}

TEST(ConversionTablesTest, GlobalsHoldTheBuiltTables) {
  EXPECT_EQ(initLowerCharsTable(), _lowerCharsTable);
  EXPECT_EQ(initUpperCharsTable(), _upperCharsTable);
  EXPECT_EQ(initUmlautsCharsTable(), _umlautsCharsTable);
  EXPECT_EQ(initLowerUmlautsCharsTable(), _lowerUmlautsCharsTable);
  EXPECT_EQ(initUpperUmlautsCharsTable(), _upperUmlautsCharsTable);
}

TEST(ConversionTablesTest, SingleUnitConversions) {
  EXPECT_EQ(toLower(u'Q'), u'q');
  EXPECT_EQ(toUpper(0x00E9), 0x00C9);
  EXPECT_EQ(toAscii(0x00E9), u'e');
  EXPECT_EQ(toAscii(0x4E2D), u' ');  // no ASCII base
  EXPECT_EQ(toAscii(0x00DF), u' ');
  EXPECT_EQ(toUpperAscii(0x00E9), u'E');
  EXPECT_EQ(toUpperAscii(0x4E2D), u' ');
  EXPECT_EQ(toLowerAscii(0x00C9), u'e');
  EXPECT_EQ(toLowerAscii(u'!'), u'!');
  EXPECT_EQ(umlautsToAscii(0x4E2D), 0x4E2D);  // not limited to ASCII, despite the name
  EXPECT_EQ(umlautsToUpperAscii(0x00E4), u'A');
  EXPECT_EQ(umlautsToLowerAscii(0x00C4), u'a');
}

}  // namespace
}  // namespace orvel

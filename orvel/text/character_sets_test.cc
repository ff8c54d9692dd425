#include "orvel/text/character_sets.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace orvel {
namespace {

struct Membership {
  unichar unit;
  bool member;
  const char* what;
};

void expectMembership(CharacterSetRep set, std::initializer_list<Membership> cases) {
  for (const Membership& c : cases) {
    SCOPED_TRACE(std::string(c.what));
    EXPECT_EQ(isMemberOfCharacterSetRep(set, c.unit), c.member);
  }
}

TEST(CharacterSetsTest, BitOfUnitIsLowBitsOfItsByte) {
  // 'A' is U+0041: byte 8, bit 1. The white set's additions are bits of bytes 0 and 1.
  EXPECT_EQ(alphaCharacterSetRep()[8] & 0x02, 0x02);
  EXPECT_EQ(alphaCharacterSetRep()[8] & 0x01, 0x00);     // '@' is no letter
  EXPECT_EQ(whiteCharacterSetRep()[0] & 0x09, 0x09);     // U+0000 and U+0003
  EXPECT_EQ(whiteCharacterSetRep()[1] & 0x3E, 0x3E);     // U+0009 to U+000D
  EXPECT_EQ(whiteCharacterSetRep()[8191] & 0x10, 0x10);  // U+FFFC
}

TEST(CharacterSetsTest, EmptySetHasNoMember) {
  CharacterSetRep empty = emptyCharacterSetRep();
  EXPECT_TRUE(
      std::all_of(empty, empty + kCharacterSetRepSize, [](std::uint8_t b) { return b == 0; }));
}

TEST(CharacterSetsTest, SpacesAreSeparatorsTabAndNul) {
  expectMembership(spaceCharacterSetRep(), {
                                               {0x0000, true, "NUL"},
                                               {0x0009, true, "tab"},
                                               {0x0020, true, "space"},
                                               {0x00A0, true, "no-break space"},
                                               {0x3000, true, "ideographic space"},
                                               {0x000A, false, "line feed"},
                                               {0x000D, false, "carriage return"},
                                               {0x2028, false, "line separator"},
                                               {u'a', false, "letter"},
                                           });
}

TEST(CharacterSetsTest, WhiteSpaceIncludesLineBreaksAndTheDeliberateExtras) {
  expectMembership(whiteCharacterSetRep(), {
                                               {0x0000, true, "NUL"},
                                               {0x0003, true, "end of text"},
                                               {0x000A, true, "line feed"},
                                               {0x000B, true, "vertical tab"},
                                               {0x0085, true, "next line"},
                                               {0x00A0, true, "no-break space"},
                                               {0x1680, true, "ogham space mark"},
                                               {0x2028, true, "line separator"},
                                               {0x2029, true, "paragraph separator"},
                                               {0xFEFF, true, "byte-order mark"},
                                               {0xFFFC, true, "object replacement"},
                                               {0x0001, false, "start of heading"},
                                               {0x200B, false, "zero-width space (a format char)"},
                                               {u'_', false, "underscore"},
                                           });
}

// The ASCII shortcuts of isWhiteUnit and isAlphaUnit agree with the bitmaps everywhere.
TEST(CharacterSetsTest, AsciiShortcutsAgreeWithTheBitmaps) {
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    const auto unit = static_cast<unichar>(c);
    ASSERT_EQ(isWhiteUnit(whiteCharacterSetRep(), unit),
              isMemberOfCharacterSetRep(whiteCharacterSetRep(), unit))
        << c;
    ASSERT_EQ(isAlphaUnit(alphaCharacterSetRep(), unit),
              isMemberOfCharacterSetRep(alphaCharacterSetRep(), unit))
        << c;
  }
}

TEST(CharacterSetsTest, LettersOfManyScriptsAndCombiningMarksAreAlpha) {
  expectMembership(alphaCharacterSetRep(), {
                                               {u'a', true, "Latin"},
                                               {0x00E9, true, "e acute"},
                                               {0x0416, true, "Cyrillic Zhe"},
                                               {0x03A9, true, "Greek Omega"},
                                               {0x05D0, true, "Hebrew Alef"},
                                               {0x0627, true, "Arabic Alef"},
                                               {0x0915, true, "Devanagari Ka"},
                                               {0x4E2D, true, "CJK ideograph"},
                                               {0xAC00, true, "Hangul syllable"},
                                               {0x0301, true, "combining acute"},
                                               {0x093F, true, "spacing vowel sign"},
                                               {u'5', false, "digit"},
                                               {u'_', false, "underscore"},
                                               {0x00B2, false, "superscript two"},
                                               {0xD801, false, "lead surrogate"},
                                               {0xDC00, false, "trail surrogate"},
                                           });
}

TEST(CharacterSetsTest, AlphaNumAddsEveryKindOfNumber) {
  expectMembership(alphaNumCharacterSetRep(), {
                                                  {u'z', true, "letter"},
                                                  {u'7', true, "decimal digit"},
                                                  {0x0663, true, "Arabic-Indic three"},
                                                  {0x00B2, true, "superscript two (No)"},
                                                  {0x2160, true, "Roman numeral one (Nl)"},
                                                  {u'-', false, "hyphen"},
                                                  {u' ', false, "space"},
                                              });
}

TEST(CharacterSetsTest, DigitsAreDecimalDigitsOfEveryScript) {
  expectMembership(digitCharacterSetRep(), {
                                               {u'0', true, "ASCII zero"},
                                               {u'9', true, "ASCII nine"},
                                               {0x0660, true, "Arabic-Indic zero"},
                                               {0x0966, true, "Devanagari zero"},
                                               {0xFF15, true, "fullwidth five"},
                                               {0x00B2, false, "superscript two"},
                                               {0x2160, false, "Roman numeral one"},
                                               {u'a', false, "letter"},
                                           });
}

TEST(CharacterSetsTest, CaseClassesFollowTheLettersCase) {
  expectMembership(lowerCharacterSetRep(), {
                                               {u'a', true, "a"},
                                               {0x00DF, true, "sharp s"},
                                               {0x03C3, true, "sigma"},
                                               {u'A', false, "A"},
                                               {0x01C5, false, "title-case Dz caron"},
                                               {0x4E2D, false, "caseless ideograph"},
                                           });
  expectMembership(upperCharacterSetRep(), {
                                               {u'A', true, "A"},
                                               {0x0130, true, "I with dot"},
                                               {0x01C5, true, "title-case Dz caron"},
                                               {u'a', false, "a"},
                                               {0x4E2D, false, "caseless ideograph"},
                                           });
}

TEST(CharacterSetsTest, ExtremeLettersOfTheBasicPlane) {
  EXPECT_EQ(firstAlphaCharacter(), u'A');
  // U+FFDC HALFWIDTH HANGUL LETTER I is the last letter before the specials block.
  EXPECT_EQ(lastAlphaCharacter(), 0xFFDC);
}

}  // namespace
}  // namespace orvel

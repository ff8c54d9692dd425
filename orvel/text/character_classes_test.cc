#include "orvel/text/character_classes.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(CharacterClassesTest, AnyEveryAndCount) {
  EXPECT_TRUE(characterPartOfSet(u"...a", alphaCharacterSetRep()));
  EXPECT_FALSE(characterPartOfSet(u"...", alphaCharacterSetRep()));
  EXPECT_FALSE(characterPartOfSet(u"", alphaCharacterSetRep()));
  EXPECT_FALSE(characterPartOfSet(u"a", nullptr));
  EXPECT_TRUE(charactersPartOfSet(u"abc", alphaCharacterSetRep(), false));
  EXPECT_FALSE(charactersPartOfSet(u"ab1", alphaCharacterSetRep(), true));
  EXPECT_EQ(countCharactersPartOfSet(u"a1b2c3", digitCharacterSetRep()), 3u);
  EXPECT_EQ(countCharactersPartOfSet(u"a1", nullptr), 0u);
}

TEST(CharacterClassesTest, EmptyStringAnswersByClass) {
  EXPECT_TRUE(isWhiteString(u""));
  EXPECT_TRUE(isSpaceString(u""));
  EXPECT_FALSE(isDigitString(u""));
  EXPECT_FALSE(isAlphaString(u""));
  EXPECT_FALSE(isAlphaNumString(u""));
  EXPECT_TRUE(onlyWhiteCharacters(nullptr, 0));
}

TEST(CharacterClassesTest, NamedClassesOfAString) {
  const std::u16string nulAndBom = {0x0000, 0xFEFF};
  EXPECT_EQ(countWhiteCharacters(nulAndBom), 2u);
  EXPECT_TRUE(isWhiteString(u" \t\n\u2028"));
  EXPECT_FALSE(isSpaceString(u" \n"));
  EXPECT_TRUE(isDigitString(u"0123\u0663"));
  EXPECT_TRUE(isAlphaNumString(u"abc123"));
  EXPECT_TRUE(containsDigitCharacter(u"route 66"));
  EXPECT_TRUE(containsWhiteCharacter(u"a\u00A0b"));
  EXPECT_FALSE(containsAlphaCharacter(u"123 !"));
  EXPECT_TRUE(containsAlphaNumCharacter(u"--7--"));
  EXPECT_EQ(countAlphaCharacters(u"\u00E9t\u00E9 2024"), 3u);
  EXPECT_EQ(countAlphaNumCharacters(u"\u00E9t\u00E9 2024"), 7u);
  EXPECT_EQ(countDigitCharacters(u"\u00E9t\u00E9 2024"), 4u);
  const unichar white[] = {u' ', u'\r', 0xFFFC};
  EXPECT_TRUE(onlyWhiteCharacters(white, 3));
}

TEST(CharacterClassesTest, MashedWordsHaveAnInternalCapital) {
  EXPECT_TRUE(isMashedWordString(u"CamelCase"));
  EXPECT_TRUE(isMashedWordString(u"McKay"));
  EXPECT_TRUE(isMashedWord(u"McK\u00E4y"));
  EXPECT_TRUE(isMashedWordString(u"AbCd!!"));  // nothing after the second lower is examined
  EXPECT_FALSE(isMashedWordString(u"Abc"));    // the lower-case run reaches the end
  EXPECT_FALSE(isMashedWordString(u"ABc"));    // no lower-case letter after the first capital
  EXPECT_FALSE(isMashedWordString(u"AbC"));    // nothing after the second capital
  EXPECT_FALSE(isMashedWordString(u"Ab1d"));   // the run ends in a non-capital
  EXPECT_FALSE(isMashedWordString(u"aBcD"));
  EXPECT_FALSE(isMashedWordString(u""));
}

}  // namespace
}  // namespace orvel

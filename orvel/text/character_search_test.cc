#include "orvel/text/character_search.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(CharacterSearchTest, CaseSensitiveSearchForALetterLooksForItsUpperCase) {
  EXPECT_EQ(findCharacter(u"abc", u'a'), NSNotFound);
  EXPECT_EQ(findCharacter(u"abcA", u'a'), 3u);
  EXPECT_EQ(findCharacter(u"abc", u'a', 0, true), 0u);
  EXPECT_EQ(findCharacter(u"ABC", u'B'), 1u);
  EXPECT_EQ(findCharacter(u"a/b", u'/'), 1u);
  EXPECT_EQ(findCharacter(u"stra\u00DFe", 0x00DF), 4u);  // no case distinction: exact
}

TEST(CharacterSearchTest, StartIndexBoundsTheSearch) {
  EXPECT_EQ(findCharacter(u"a/b/c", u'/', 2), 3u);
  EXPECT_EQ(findCharacter(u"a/b/c", u'/', 5), NSNotFound);
  EXPECT_EQ(findCharacter(u"a/b/c", u'/', -4), 1u);
  EXPECT_EQ(findCharacter(u"", u'/'), NSNotFound);
  EXPECT_TRUE(containsCharacter(u"x.y", u'.'));
  EXPECT_FALSE(containsCharacter(u"x.y", u'.', 2));
}

TEST(CharacterSearchTest, LastCharacterScansBackToTheStart) {
  EXPECT_EQ(findLastCharacter(u"a/b/c", u'/'), 3u);
  EXPECT_EQ(findLastCharacter(u"a/b/c", u'/', 4), NSNotFound);
  EXPECT_EQ(findLastCharacter(u"a/b/c", u'/', -1), 3u);
  EXPECT_EQ(findLastCharacter(u"AxaX", u'x', 0, true), 3u);
  EXPECT_EQ(findLastCharacter(u"AxaX", u'x'), 3u);
  EXPECT_EQ(findLastCharacter(u"Axa", u'x'), NSNotFound);
}

TEST(CharacterSearchTest, CountFollowsTheSameCaseRules) {
  EXPECT_EQ(countCharacter(u"aAa", u'a'), 1u);
  EXPECT_EQ(countCharacter(u"aAa", u'a', 0, true), 3u);
  EXPECT_EQ(countCharacter(u"a.b.c.", u'.', 2), 2u);
  EXPECT_EQ(countCharacter(u"abc", u'.', 9), 0u);
}

TEST(CharacterSearchTest, FindOneOfWantsTheEarliestTextPosition) {
  EXPECT_EQ(findOneOf(u"abc", u"xb"), 1u);
  EXPECT_EQ(findOneOf(u"abc", u"cb"), 1u);
  EXPECT_EQ(findOneOf(u"abc", u"B", 0, true), 1u);
  EXPECT_EQ(findOneOf(u"abc", u"B"), NSNotFound);
  EXPECT_EQ(findOneOf(u"abcb", u"b", 2), 3u);
  EXPECT_EQ(findOneOf(u"abc", u""), NSNotFound);
  EXPECT_EQ(findOneOf(u"", u"a"), NSNotFound);
  EXPECT_EQ(findOneOf(u"abc", u"a", 3), NSNotFound);
}

TEST(CharacterSearchTest, SubCStringsWithAndWithoutFolding) {
  const char* const needles[] = {"zzz", "ell", nullptr};
  EXPECT_TRUE(containsSubCStrings(u"hello", needles));
  EXPECT_FALSE(containsSubCStrings(u"HELLO", needles));
  EXPECT_TRUE(containsSubCStrings(u"HELLO", needles, false));
  const char* const upperNeedles[] = {"ELL", nullptr};
  EXPECT_FALSE(containsSubCStrings(u"HELLO", upperNeedles, false));  // needles are not folded
  EXPECT_FALSE(containsSubCStrings(u"hello", nullptr));
  EXPECT_FALSE(containsSubCStrings(u"", needles));
}

TEST(CharacterSearchTest, SubCStringsAtTheEdges) {
  const char* const needles[] = {"lo", nullptr};
  EXPECT_TRUE(containsSubCStrings(u"hello", needles));  // occurrence ending the string
  const char* const tooLong[] = {"hello!", nullptr};
  EXPECT_FALSE(containsSubCStrings(u"hello", tooLong));
  const char* const empty[] = {"", nullptr};
  EXPECT_FALSE(containsSubCStrings(u"hello", empty));
  const std::u16string withNul = {u'a', 0, u'b'};
  EXPECT_TRUE(containsSubCStrings(withNul, empty));  // an empty needle matches only U+0000
  const unichar units[] = {u'x', u'y', u'z'};
  const char* const yz[] = {"yz", nullptr};
  EXPECT_FALSE(fastContainsSubCStrings(units, 2, yz, nullptr));  // only the first length units
  EXPECT_TRUE(fastContainsSubCStrings(units, 3, yz, nullptr));
}

}  // namespace
}  // namespace orvel

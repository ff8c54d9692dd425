#include "orvel/text/character_replace.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(CharacterReplaceTest, ReplacementIsCaseSensitiveForLettersWithCase) {
  EXPECT_EQ(stringByReplacingCharacter(u"aA", u'a', u'x', true), u"xA");
  EXPECT_EQ(stringByReplacingCharacter(u"aA", u'a', u'x'), u"xA");
  EXPECT_EQ(stringByReplacingCharacter(u"a/b/c", u'/', u'-', true), u"a-b-c");
  EXPECT_EQ(stringByReplacingCharacter(u"same", u'e', u'e'), u"same");
  EXPECT_EQ(stringByReplacingCharacter(u"", u'a', u'b'), u"");
}

TEST(CharacterReplaceTest, WhiteSpaceRunsBecomeOneSpace) {
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u"a   b"), u"a b");
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u"\t"), u" ");
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u"a \n\t\u00A0b  "), u"a b ");
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u"  lead"), u" lead");
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u"unchanged text"), u"unchanged text");
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u""), u"");
}

TEST(CharacterReplaceTest, SpacesModeLeavesLineBreaks) {
  EXPECT_EQ(stringByRemovingMultipleSpaces(u"a \t b\n\nc"), u"a b\n\nc");
}

TEST(CharacterReplaceTest, FeedsModeCollapsesLineBreaksOnly) {
  EXPECT_EQ(stringByRemovingMultipleFeeds(u"a\r\nb"), u"a\nb");
  EXPECT_EQ(stringByRemovingMultipleFeeds(u"a  \tb"), u"a  \tb");
  EXPECT_EQ(stringByRemovingMultipleFeeds(u"x\u2028\u2029\uFEFFy\r"), u"x\ny\n");
  EXPECT_EQ(stringByRemovingMultipleWhiteSpaces(u"p\r\rq", false, false, u'|'), u"p|q");
}

TEST(CharacterReplaceTest, InPlaceFormsMatchTheCopyingForms) {
  std::u16string text = u"one  two\t\tthree\n\n";
  removeMultipleWhiteSpaces(text);
  EXPECT_EQ(text, u"one two three ");
  std::u16string spaces = u"a  b\n\n";
  removeMultipleSpaces(spaces);
  EXPECT_EQ(spaces, u"a b\n\n");
  std::u16string feeds = u"a\n\n\nb";
  removeMultipleFeeds(feeds);
  EXPECT_EQ(feeds, u"a\nb");
}

}  // namespace
}  // namespace orvel

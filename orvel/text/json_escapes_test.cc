#include "orvel/text/json_escapes.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(JsonEscapesTest, EscapesQuotesSlashesBackslashesAndFiveControls) {
  EXPECT_EQ(stringByConvertingCharactersToJSON(u"say \"hi\""), u"say \\\"hi\\\"");
  EXPECT_EQ(stringByConvertingCharactersToJSON(u"a/b\\c"), u"a\\/b\\\\c");
  EXPECT_EQ(stringByConvertingCharactersToJSON(u"\b\t\n\f\r"), u"\\b\\t\\n\\f\\r");
  EXPECT_EQ(stringByConvertingCharactersToJSON(u"\v\u00E9\u0001"), u"\v\u00E9\u0001");
  EXPECT_EQ(stringByConvertingCharactersToJSON(u"plain"), u"plain");
  EXPECT_EQ(stringByConvertingCharactersToJSON(u""), u"");
}

TEST(JsonEscapesTest, ResolvesJsonEscapes) {
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\b\\f\\n\\r\\t"), u"\b\f\n\r\t");
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\\"q\\\" \\/ \\\\"), u"\"q\" / \\");
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"caf\\u00e9"), u"caf\u00E9");
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\u00C9!"), u"\u00C9!");
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\ud83d\\ude00"), u"\U0001F600");
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"no escapes"), u"no escapes");
}

TEST(JsonEscapesTest, ShortAndBadHexDigits) {
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\u12"), u"\u1200");
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\uZZZZ!"), std::u16string(u"\0!", 2));
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\u"), std::u16string(1, u'\0'));
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"end\\"), u"end\\");
}

TEST(JsonEscapesTest, JavaScriptEscapesOnlyInJavaScriptMode) {
  EXPECT_EQ(stringByConvertingJSONToCharacters(u"\\x41\\v\\O"), u"x41vO");
  EXPECT_EQ(stringByConvertingJavaScriptToCharacters(u"\\x41\\v"), u"A\v");
  EXPECT_EQ(stringByConvertingJavaScriptToCharacters(u"\\O"), std::u16string(1, u'\0'));
  EXPECT_EQ(stringByConvertingJavaScriptToCharacters(u"\\0"), u"0");   // the digit is itself
  EXPECT_EQ(stringByConvertingJavaScriptToCharacters(u"\\x4"), u"@");  // 0x40
  EXPECT_EQ(stringByConvertingJavaScriptToCharacters(u"\\u0041\\n"), u"A\n");
}

TEST(JsonEscapesTest, EscapingThenUnescapingGivesTheTextBack) {
  const std::u16string text = u"\"C:\\path\"/\tline\r\n\u00E9\u4E2D";
  EXPECT_EQ(stringByConvertingJSONToCharacters(stringByConvertingCharactersToJSON(text)), text);
}

}  // namespace
}  // namespace orvel

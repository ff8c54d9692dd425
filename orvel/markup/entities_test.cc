#include "orvel/markup/entities.h"

#include <string>

#include <gtest/gtest.h>

#include "orvel/markup/internal/entity_table.h"

namespace orvel {
namespace {

std::u16string decode(std::u16string_view text, bool markup = true, bool onlyNumeric = false,
                      bool nonUmlauted = false) {
  return stringByConvertingEntitiesToCharacters(text, markup, onlyNumeric, nonUmlauted);
}

TEST(EntityTableTest, HoldsTheHtml4NamesButSix) {
  using internal::kEntityTable;
  EXPECT_STREQ(kEntityTable.front().name, "AElig");
  for (const char* leftOut : {"quot", "amp", "lt", "gt", "cedil", "fnof"}) {
    for (const auto& entry : kEntityTable) EXPECT_STRNE(entry.name, leftOut);
  }
  unichar smallest = 0xFFFF, largest = 0;
  for (const auto& entry : kEntityTable) {
    smallest = std::min(smallest, entry.character);
    largest = std::max(largest, entry.character);
  }
  EXPECT_EQ(smallest, 0x00A0);
  EXPECT_EQ(largest, 0x2666);
}

TEST(EntityDecodingTest, NamedReferences) {
  struct Case {
    std::u16string_view text, decoded;
  };
  const Case cases[] = {
      {u"caf&eacute;", u"caf\u00E9"},
      {u"&Eacute le", u"\u00C9 le"},         // ended by a kept unit
      {u"&Aring;&aring;", u"\u00C5\u00E5"},  // case-sensitive
      {u"&Prime;&prime;", u"\u2033\u2032"},
      {u"x&cedil;&fnof;", u"x&cedil;&fnof;"},  // left out on purpose
      {u"a &nbsp b", u"a \u00A0 b"},           // without ";"
      {u"it&apos;s", u"it's"},
      {u"&copy", u"&copy"},  // the end-of-text rule
      {u"&copy;", u"\u00A9"},
      {u"&unknown; &", u"&unknown; &"},
      {u"& amp", u"& amp"},
      {u"&diams;&thetasym;", u"\u2666\u03D1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
    EXPECT_EQ(decode(c.text), c.decoded);
  }
  const std::u16string longName = u"&" + std::u16string(31, u'a') + u";";
  EXPECT_EQ(decode(longName), longName);
}

TEST(EntityDecodingTest, MarkupReferencesOnlyWhenAsked) {
  EXPECT_EQ(decode(u"&lt;b&gt; &amp; &quot;"), u"<b> & \"");
  EXPECT_EQ(decode(u"&lt;b&gt; &amp; &quot;", false), u"&lt;b&gt; &amp; &quot;");
  EXPECT_EQ(decode(u"&#60;b&#x3E;", true), u"<b>");
  EXPECT_EQ(decode(u"&#60;b&#x3E;", false), u"&#60;b&#x3E;");
  EXPECT_EQ(decode(u"&ltx", true), u"<x");  // the short forms need no ";"
}

TEST(EntityDecodingTest, NumericReferences) {
  struct Case {
    std::u16string_view text, decoded;
  };
  const Case cases[] = {
      {u"&#233;t&#xE9;&#XE9", u"\u00E9t\u00E9\u000E9"},  // end of text: the 9 ends it
      {u"&#x1F600;", u"\U0001F600"},
      {u"&#1114112;", u"&#1114112;"},  // beyond U+10FFFF
      {u"a&#;b", std::u16string_view(u"a\0b", 3)},
      {u"&#xg;", std::u16string_view(u"\0g;", 3)},
      {u"abc&#65", u"abc\u00065"},
      {u"&#65 x", u"A x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.text.begin(), c.text.end()));
    EXPECT_EQ(decode(c.text), c.decoded);
  }
  // At most 31 units from after "&" through the ending unit.
  const std::u16string fits = u"&#" + std::u16string(27, u'0') + u"65;";
  EXPECT_EQ(decode(fits), u"A");
  const std::u16string tooLong = u"&#" + std::u16string(28, u'0') + u"65;";
  EXPECT_EQ(decode(tooLong), tooLong);
}

TEST(EntityDecodingTest, OptionsAndInPlaceConversion) {
  EXPECT_EQ(decode(u"&eacute; &#233;", true, true), u"&eacute; \u00E9");  // numeric only
  EXPECT_EQ(decode(u"&Eacute;t\u00E9", true, false, true), u"Ete");       // folded along
  EXPECT_EQ(decode(u"\u00E9t\u00E9 sans", true, false, true),
            u"\u00E9t\u00E9 sans");   // nothing decoded
  EXPECT_EQ(decode(u"&lt"), u"&lt");  // shorter than 4 units
  std::u16string text = u"xx&amp;yy&#65;";
  const std::size_t written =
      convertEntities2Characters(text.data(), text.data(), 2, text.size() - 2, true, false, false);
  EXPECT_EQ(text.substr(0, written), u"&yyA");
}

TEST(EntityDecodingTest, StandardReferencesOnly) {
  EXPECT_EQ(stringByConvertingStandardEntitiesToCharacters(
                u"&quot;&lt;&gt;&amp;&#60;&#62;&#38;&#34;&eacute;&amp"),
            u"\"<>&<>&\"&eacute;&amp");
}

TEST(EntityEncodingTest, NamedNumericAndStandard) {
  EXPECT_EQ(stringByConvertingCharactersToEntities(u"\u00E9<\u00B8\u20AC\U0001F600"),
            u"&eacute;<&#184;&euro;&#55357;&#56832;");
  EXPECT_EQ(stringByConvertingHighCharactersToEntities(u"a\u00E9b"), u"a&#233;b");
  EXPECT_EQ(stringByConvertingHighCharactersToEntities(u"plain"), u"plain");
  EXPECT_EQ(stringByConvertingCharactersToStandardEntities(u"a<b & \"c\">"),
            u"a&lt;b &amp; &quot;c&quot;&gt;");
  // Every name comes back as its character.
  for (const auto& entry : internal::kEntityTable) {
    const std::u16string one(1, entry.character);
    EXPECT_EQ(decode(stringByConvertingCharactersToEntities(one) + u" "), one + u" ") << entry.name;
  }
}

}  // namespace
}  // namespace orvel

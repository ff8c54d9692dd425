#include "orvel/markup/tag_attributes.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace orvel {
namespace {

std::optional<std::u16string> attribute(std::u16string_view tag, std::string_view name,
                                        bool contentMode = false) {
  return _attributeOfTagCharactersWithName(tag.data(), 0, tag.size(), name, contentMode);
}

TEST(TagAttributeTest, NamesValuesAndQuotes) {
  EXPECT_EQ(attribute(u"<a href=\"x.html\" title=t>", "HREF"), u"x.html");
  EXPECT_EQ(attribute(u"<a HREF = 'x y' >", "HREF"), u"x y");
  EXPECT_EQ(attribute(u"<a title=\"a>b\">", "TITLE"), u"a");            // ">" ends a quoted value
  EXPECT_EQ(attribute(u"<a data-href=x href=y>", "HREF"), u"y");        // "-" before: no name
  EXPECT_EQ(attribute(u"<a title='href=x' href=y>", "HREF"), u"y");     // quoted text is no name
  EXPECT_EQ(attribute(u"<img src==pic.png>", "SRC"), u"pic.png");       // "=" repeated
  EXPECT_EQ(attribute(u"<a href=\" spaced  \">", "HREF"), u" spaced");  // only trailing trimmed
  EXPECT_EQ(attribute(u"<a href=\"\" x=1>", "HREF"), std::nullopt);     // empty: none
  EXPECT_EQ(attribute(u"<a href>", "HREF"), std::nullopt);
  EXPECT_EQ(attribute(u"<a>", "HREF"), std::nullopt);  // too short to hold it
  EXPECT_EQ(attribute(u"<a href=x>", ""), std::nullopt);
}

TEST(TagAttributeTest, RangesAndContentMode) {
  const std::u16string tag = u"<p><a href=\"x\">";
  const Range a{3, tag.size() - 3};
  EXPECT_EQ(rangeOfAttributeOfTagCharacters(tag.data(), a, "HREF"), (Range{12, 1}));
  EXPECT_EQ(rangeOfAttributeOfTagCharacters(tag.data(), a, "SRC"), Range::notFound());
  EXPECT_EQ(attributeOfTagCharacters(tag.data(), a, "HREF"), u"x");
  EXPECT_EQ(attribute(u"<meta content=\"<b>bold</b> text\">", "CONTENT", true),
            u"<b>bold</b> text");
  EXPECT_EQ(attribute(u"<meta content=\"a<b\">", "CONTENT", true), u"a<b");
  EXPECT_EQ(attribute(u"<meta content=\"a<\">", "CONTENT", true), u"a");  // a cut-off "<"
  EXPECT_EQ(attribute(u"<meta content=\"a </\">", "CONTENT", true), u"a");
  EXPECT_EQ(attribute(u"<meta content=\"x <meta name=y\">", "CONTENT", true), u"x");
  EXPECT_EQ(attribute(u"<meta content=\"a>b\">", "CONTENT", true), u"a");
}

TEST(TagAttributeTest, StyleTextAndHeaderFields) {
  const std::u16string style = u"color: red; _width: 10px; font-size:2em";
  EXPECT_EQ(_attributeOfStringWithName(style, 0, style.size(), u"color", 1, u':', u';'), u"red");
  EXPECT_EQ(_attributeOfStringWithName(style, 0, style.size(), u"WIDTH", 1, u':', u';'), u"10px");
  EXPECT_EQ(_attributeOfStringWithName(style, 0, style.size(), u"size", 1, u':', u';'),
            std::nullopt);
  EXPECT_EQ(_copyOfAttributeOfString(u"text/html; charset=\"utf-8\"", "CHARSET", u'\'', true, u';'),
            u"utf-8");
  EXPECT_EQ(_copyOfAttributeOfString(u"text/html; XCHARSET=latin1;x", "CHARSET", u'\'', true, u';'),
            u"latin1");  // no word boundary
  EXPECT_EQ(_copyOfAttributeOfString(u"a charset='' charset=koi8-r", "CHARSET", u'\'', true, u';'),
            u"koi8-r");  // an empty quoted value is passed over
  EXPECT_EQ(_copyOfAttributeOfString(u"0; URL=http://x/ y", "URL", u'\'', true, 0), u"http://x/");
  EXPECT_EQ(_copyOfAttributeOfString(u"name=a b;c", "NAME", u'"', false, u';'), u"a b");
  EXPECT_EQ(_copyOfAttributeOfString(u"name= \"q\"", "NAME", u'"', false, 0), u" \"q\"");
  EXPECT_EQ(_copyOfAttributeOfString(u"none here", "CHARSET", u'\'', true, u';'), std::nullopt);
}

TEST(TagAttributeTest, TagSizes) {
  struct Case {
    std::u16string_view tag;
    std::ptrdiff_t width, height;
    bool answer;
  };
  const Case cases[] = {
      {u"<img width=120 height=\"80\">", 120, 80, true},
      {u"<img width='50px' heigh=30>", 50, 30, true},
      {u"<img style=\"width: 200px; height:100px\">", 200, 100, true},
      {u"<img width=-5 height=2>", -5, 2, false},
      {u"<img src=x.png>", 0, 0, false},
      {u"<img w=1>", 0, 0, false},  // under 10 units
  };
  for (const Case& c : cases) {
    std::ptrdiff_t width = 7, height = 7;
    EXPECT_EQ(getTagWidth(&width, &height, c.tag.data(), Range{0, c.tag.size()}), c.answer);
    EXPECT_EQ(width, c.width) << std::string(c.tag.begin(), c.tag.end());
    EXPECT_EQ(height, c.height) << std::string(c.tag.begin(), c.tag.end());
  }
}

TEST(TagAttributeTest, StringFormsAndBackgroundImages) {
  EXPECT_EQ(attributeOfTagWithName(u"<img src='a.png' alt=x>", u"ALT"), u"x");
  EXPECT_EQ(attributeOfTagWithName(u"<a href=y><b href=z>", u"HREF", Range{8, 11}), u"z");
  EXPECT_EQ(attributeOfStyleWithName(u"color: red; WIDTH:10px", u"WIDTH"), u"10px");
  EXPECT_EQ(attributeOfStyleWithName(u"color: red", u"WIDTH"), std::nullopt);
  const auto background = [](std::u16string_view tag) {
    return backgroundStyleURLOfTagCharacters(tag.data(), Range{0, tag.size()});
  };
  EXPECT_EQ(background(u"<div style=\"Background: URL('x.png') no-repeat\">"), u"x.png");
  EXPECT_EQ(background(u"<td style=\"background-image:url(''y.gif''); x:no-repeat\">"), u"y.gif");
  EXPECT_EQ(background(u"<div style=\"background: url(x.png)\">"), std::nullopt);  // repeated
  EXPECT_EQ(background(u"<div style=\"border: url(x.png) no-repeat\">"), std::nullopt);
  EXPECT_EQ(background(u"<div style=\"background: url('') no-repeat\">"), std::nullopt);
  EXPECT_EQ(background(u"</div style=\"background: url(x) no-repeat\">"), std::nullopt);
}

}  // namespace
}  // namespace orvel

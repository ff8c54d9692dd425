#include "orvel/markup/tag_stripping.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(TagStrippingTest, AllTagsLeaveTheirTextsSpaced) {
  EXPECT_EQ(stripTags(u"<p>a</p>b<br>c"), u"a b c");
  EXPECT_EQ(stripTags(u"x <b>y</b>\n<i>z</i>"), u"x y \nz");
  EXPECT_EQ(stripTags(u"a<script>var t='<b>';</script><!-- c -->d<![CDATA[e]]>"), u"a d");
  EXPECT_EQ(stripTags(u"<p></p>"), u"");
}

TEST(TagStrippingTest, TagsOfOneName) {
  EXPECT_EQ(stripTag(u"a<br>b<BR/>c<p>d</p>", "BR"), u"abc<p>d</p>");
  EXPECT_EQ(stripTag(u"<p>a</p><b>x</b>", "B"), u"<p>a</p>x");
  EXPECT_EQ(stripTag(u"<p>nothing</p>", "BR"), u"<p>nothing</p>");
  EXPECT_EQ(stripTag(u"<br>", ""), u"<br>");
}

TEST(TagStrippingTest, OneAttributeSurvives) {
  EXPECT_EQ(stripAttributesOfTag(u"<a class=x href=\"h.html\" id=y>l</A>", "A"),
            u"<A HREF=\"h.html\">l</A>");
  EXPECT_EQ(stripAttributesOfTag(u"<img alt=x src='p.png'/><img/>t<img id=z>", "IMG"),
            u"<IMG SRC=\"p.png\"/>t<IMG>");
  EXPECT_EQ(stripAttributesOfTag(u"<p>no a</p>", "A"), u"<p>no a</p>");
}

TEST(TagStrippingTest, BodiesByPrefix) {
  const std::u16string page =
      u"a<form id=1>b<form>c</form><form/>d</form>e<formx>f</formx>g<p>h</p>";
  EXPECT_EQ(stripTagBodies(page, {u"<form"}, false), u"ad</form>eg<p>h</p>");
  EXPECT_EQ(stripTagBodies(page, {u"<form"}, true),
            u"<form id=1>b<form>c</form><form/>\n<formx>f</formx>\n");
  EXPECT_EQ(stripTagBodies(u"<P>x</P>y<div>z</div>", {u"<p", u"<DIV"}, false), u"y");
  // A script element is one piece through its closing tag.
  EXPECT_EQ(stripTagBodies(u"a<script>if (a<b) x();</script>b<p>c</p>", {u"<script"}, false),
            u"ab<p>c</p>");
  EXPECT_EQ(stripTagBodies(u"a<script>x</script>b", {u"<script"}, true), u"<script>x</script>\n");
  EXPECT_EQ(stripTagBodies(u"x", {}, false), u"x");
  EXPECT_EQ(stripTagBodies(u"x", {}, true), std::nullopt);
}

}  // namespace
}  // namespace orvel

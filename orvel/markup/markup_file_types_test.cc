#include "orvel/markup/markup_file_types.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(MarkupFileTypesTest, HtmlAndXmlExtensions) {
  EXPECT_EQ(HTMLFileTypes().size(), 36u);
  for (const std::u16string_view yes : {u"html", u"HTM", u"Php5", u"aspx?id=3", u"jhtml"}) {
    EXPECT_TRUE(isHTMLExtension(yes)) << std::string(yes.begin(), yes.end());
  }
  for (const std::u16string_view no : {u"txt", u"", u"?html", u"php6"}) {
    EXPECT_FALSE(isHTMLExtension(no));
  }
  EXPECT_FALSE(isHTMLExtension(std::nullopt));
  EXPECT_TRUE(isHTMLFile("saved/page.XHTML"));
  EXPECT_FALSE(isHTMLFile("notes.md"));

  EXPECT_EQ(XMLFileTypes().size(), 34u);
  for (const std::u16string_view yes : {u"xml", u"RSS", u"shtm", u"XMLOUTLINE", u"Opml"}) {
    EXPECT_TRUE(isXMLExtension(yes)) << std::string(yes.begin(), yes.end());
  }
  for (const std::u16string_view no : {u"xm", u"html", u"xmloutlines", u"plist"}) {
    EXPECT_FALSE(isXMLExtension(no));
  }
  EXPECT_TRUE(isXMLFile("feed.rdf"));
}

TEST(MarkupFileTypesTest, TagPredicates) {
  EXPECT_TRUE(isTagOpen(u"<p>"));
  EXPECT_FALSE(isTagOpen(u"</p>"));
  EXPECT_FALSE(isTagOpen(u"<>"));
  EXPECT_TRUE(isTagClosed(u"</p>"));
  EXPECT_TRUE(isTagClosed(u"<br/>"));
  EXPECT_FALSE(isTagClosed(u"<p/"));
  EXPECT_TRUE(isMetaTag(u"<![CDATA[]]>"));
  EXPECT_TRUE(isRemarkTag(u"<!-- -->"));
  EXPECT_FALSE(isRemarkTag(u"<!--->"));  // six units
}

}  // namespace
}  // namespace orvel

#include "orvel/url/feeds.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::u16string rss(std::u16string_view items) {
  return u"<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Chan</title>" +
         std::u16string(items) + u"</channel></rss>";
}

TEST(FeedRecognitionTest, TheRootMustComeBeforeAnyPageTag) {
  EXPECT_TRUE(isFeed(u"<?xml version=\"1.0\"?><!-- a feed --><rss><channel/></rss>"));
  EXPECT_TRUE(isFeed(u"<RDF:rdf xmlns:rdf=\"x\">"));
  EXPECT_TRUE(isFeed(u"<feed xmlns=\"http://www.w3.org/2005/Atom\">"));
  EXPECT_FALSE(isFeed(u"<html><rss></rss></html>"));
  EXPECT_FALSE(isFeed(u"<head></head><feed>"));
  EXPECT_FALSE(isFeed(u"<rdf_RDF><rsss><feeds>"));
  EXPECT_FALSE(isFeed(u"<rdf-RDF>"));
  EXPECT_FALSE(isFeed(u"no markup at all"));
  EXPECT_FALSE(isFeed(u""));
}

TEST(FeedRecognitionTest, CompletenessNeedsTheRootClosed) {
  bool complete = true;
  EXPECT_TRUE(isFeedComplete(u"<rss><channel><item>", &complete));
  EXPECT_FALSE(complete);
  EXPECT_TRUE(isFeedComplete(u"<rss><channel></channel></RSS>", &complete));
  EXPECT_TRUE(complete);
  EXPECT_TRUE(isFeedComplete(u"<feed/>", &complete));
  EXPECT_TRUE(complete);
  EXPECT_TRUE(isFeedComplete(u"<feed><entry></entry></rss>", &complete));
  EXPECT_FALSE(complete);  // another root's closing tag does not close this one
  EXPECT_FALSE(isFeedComplete(u"<body><rss></rss>", &complete));
  EXPECT_FALSE(complete);
}

TEST(FeedItemsTest, RssItemsWithTheirFields) {
  const auto items = getItemsOfFeed(rss(
      u"<item><title>One &amp; &eacute;</title><title>second title</title>"
      u"<link>http://a.example/1</link><description>&lt;p&gt;Text&lt;/p&gt;</description>"
      u"<pubDate>Sun, 19 May 2002 15:21:36 GMT</pubDate><author>me@a.example</author>"
      u"<category>News</category><category><![CDATA[Art &amp; Craft]]></category>"
      u"<enclosure url=\"http://a.example/x.mp3?a=1&amp;b=2\" length=\"1234\" type=\"audio/mpeg\"/>"
      u"<enclosure length=\"5\"/></item>"
      u"<item><title>Two</title></item>"));
  ASSERT_EQ(items.size(), 2u);
  const FeedItem& one = items[0];
  EXPECT_EQ(one.title, u"One & \u00e9");
  EXPECT_EQ(one.link, u"http://a.example/1");
  EXPECT_EQ(one.description, u"<p>Text</p>");
  EXPECT_EQ(one.date, u"Sun, 19 May 2002 15:21:36 GMT");
  EXPECT_EQ(one.calendarDate, 1021821696.0 - 978307200.0);
  EXPECT_EQ(one.author, u"me@a.example");
  EXPECT_THAT(one.tags, ElementsAre(u"News", u"Art & Craft"));
  ASSERT_EQ(one.enclosures.size(), 1u);
  EXPECT_EQ(one.enclosures[0].url, u"http://a.example/x.mp3?a=1&b=2");
  EXPECT_EQ(one.enclosures[0].length, u"1234");
  EXPECT_EQ(items[1].title, u"Two");
  EXPECT_EQ(items[1].link, u"");
  EXPECT_FALSE(items[1].calendarDate.has_value());
}

TEST(FeedItemsTest, CdataKeepsItsMarkupAndTextIsDecoded) {
  const auto items =
      getItemsOfFeed(rss(u"<item><description><![CDATA[<p>a &amp; b &eacute;</p>]]></description>"
                         u"<content:encoded>&lt;b&gt;bold&lt;/b&gt;</content:encoded></item>"
                         u"<item><itunes:summary><![CDATA[not the description]]></itunes:summary>"
                         u"<description>plain</description></item>"));
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].description, u"<p>a & b &eacute;</p>");
  EXPECT_EQ(items[0].content, u"<b>bold</b>");
  EXPECT_EQ(items[1].description, u"plain");
}

TEST(FeedItemsTest, ARemoteGuidIsTheLinkUnlessItIsNoPermalink) {
  const auto items = getItemsOfFeed(rss(
      u"<item><link>http://a.example/short</link><guid>https://a.example/post/1</guid></item>"
      u"<item><link>http://a.example/2</link><guid isPermaLink=\"FALSE\">http://b/2</guid></item>"
      u"<item><link>http://a.example/3</link><guid>tag:a.example,3</guid></item>"
      u"<item><link>http://a.example/4</link><guid>http://bit.ly/abc</guid></item>"));
  ASSERT_EQ(items.size(), 4u);
  EXPECT_EQ(items[0].link, u"https://a.example/post/1");
  EXPECT_EQ(items[0].guid, u"https://a.example/post/1");
  EXPECT_EQ(items[1].link, u"http://a.example/2");
  EXPECT_EQ(items[1].guid, u"");
  EXPECT_EQ(items[2].link, u"http://a.example/3");
  EXPECT_EQ(items[3].link, u"http://a.example/4");
}

TEST(FeedItemsTest, LinksAreResolvedAndUnwrapped) {
  const auto base = URL::URLWithString(u"http://site.example/feeds/all.xml");
  const auto items = getItemsOfFeed(
      rss(u"<item><link>/posts/1</link></item>"
          u"<item><link>posts/2</link></item>"
          u"<item><link>http://news.google.com/news/url?sa=t&amp;url=http://c.example/a&amp;"
          u"cid=77</link></item>"
          u"<item><link>&lt;a href=\"http://d.example/x\"&gt;x&lt;/a&gt;</link></item>"
          u"<item><link>&lt;a href=http://e.example/y&gt;y&lt;/a&gt;</link></item>"),
      base);
  ASSERT_EQ(items.size(), 5u);
  EXPECT_EQ(items[0].link, u"http://site.example/posts/1");
  EXPECT_EQ(items[1].link, u"posts/2");  // only root-relative links are resolved
  EXPECT_EQ(items[2].link, u"http://c.example/a");
  EXPECT_EQ(items[3].link, u"http://d.example/x");
  EXPECT_EQ(items[4].link, u"http://e.example/y");
  EXPECT_EQ(getItemsOfFeed(rss(u"<item><link>/p</link></item>"))[0].link, u"/p");
}

TEST(FeedItemsTest, AtomEntries) {
  const auto items = getItemsOfFeed(
      u"<feed xmlns=\"http://www.w3.org/2005/Atom\"><title>T</title>"
      u"<author><name>Feed Author</name></author>"
      u"<entry><title type=\"html\">A &lt;i&gt;b&lt;/i&gt;</title>"
      u"<link rel=\"self\" href=\"http://x/a\"/><link rel=\"edit\" href=\"http://x/e\"/>"
      u"<link href=\"http://x/b\"/><link rel=\"alternate\" href=\"http://x/c\"/>"
      u"<id>urn:1</id><updated>2003-12-13T18:30:02Z</updated>"
      u"<author><email>e@x</email><name>Ann</name></author>"
      u"<summary>Short &amp; sweet</summary>"
      u"<content type=\"xhtml\"><div xmlns=\"http://www.w3.org/1999/xhtml\">Full "
      u"<b>text</b> &amp; more</div></content>"
      u"<category term=\"atom\" scheme=\"s\"/></entry>"
      u"<entry><link rel=\"service.edit\" href=\"http://x/s\"/><title>Two</title>"
      u"<content type=\"html\"><![CDATA[<p>a &amp; b</p>]]></content></entry></feed>");
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].title, u"A <i>b</i>");
  EXPECT_EQ(items[0].link, u"http://x/b");
  EXPECT_EQ(items[0].date, u"2003-12-13T18:30:02Z");
  EXPECT_TRUE(items[0].calendarDate.has_value());
  EXPECT_EQ(items[0].author, u"Ann");
  EXPECT_EQ(items[0].description, u"Short & sweet");
  EXPECT_EQ(items[0].content,
            u"<div xmlns=\"http://www.w3.org/1999/xhtml\">Full <b>text</b> & more</div>");
  EXPECT_THAT(items[0].tags, ElementsAre(u"atom"));
  EXPECT_EQ(items[1].link, u"");
  EXPECT_EQ(items[1].content, u"<p>a &amp; b</p>");  // HTML content keeps its references
}

TEST(FeedItemsTest, RdfItemsAndPrefixedNames) {
  const auto items = getItemsOfFeed(
      u"<rdf:RDF xmlns:rdf=\"r\" xmlns=\"http://purl.org/rss/1.0/\"><channel><title>C</title>"
      u"<items><rdf:Seq><rdf:li resource=\"http://x/1\"/></rdf:Seq></items></channel>"
      u"<item rdf:about=\"http://x/1\"><title>R1</title><link>http://x/1</link>"
      u"<dc:date>2002-05-19</dc:date><dc:creator>Bo</dc:creator></item>"
      u"<rss:item><rss:title>R2</rss:title><rss:link>http://x/2</rss:link></rss:item>"
      u"<textinput><title>Search</title><link>http://x/s</link></textinput></rdf:RDF>");
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].title, u"R1");
  EXPECT_EQ(items[0].date, u"2002-05-19");
  EXPECT_EQ(items[0].author, u"Bo");
  EXPECT_EQ(items[1].title, u"R2");
  EXPECT_EQ(items[1].link, u"http://x/2");
}

TEST(FeedItemsTest, BrokenAndForeignInputGivesWhatCanBeRead) {
  EXPECT_THAT(getItemsOfFeed(u"<html><rss><item><title>x</title></item></rss>"), IsEmpty());
  EXPECT_THAT(getItemsOfFeed(rss(u"<item><title>x</title><description>Array</description></item>")),
              IsEmpty());
  const auto cut = getItemsOfFeed(u"<rss><item><title>a</title></item><item><title>b</title>");
  ASSERT_EQ(cut.size(), 1u);  // the unfinished item is not reported
  EXPECT_EQ(cut[0].title, u"a");
  const auto odd = getItemsOfFeed(
      u"<rss><item><title></title><description/><guid/>"
      u"<link/><author></author><![CDATA[</item>");
  EXPECT_THAT(odd, IsEmpty());
}

TEST(FeedContentTest, ShortRunsStayAndWhiteSpaceIsTrimmed) {
  const std::u16string text = u"  &lt;a&gt; &eacute;\n";
  EXPECT_EQ(CreateFeedContent(text.data(), 0, text.size(), true, true), u"<a> \u00e9");
  EXPECT_EQ(CreateFeedContent(text.data(), 0, text.size(), false, true), u"<a> &eacute;");
  EXPECT_EQ(CreateFeedContent(text.data(), 0, text.size(), false, false), u"&lt;a&gt; &eacute;");
  const std::u16string shortText = u"&lt";
  EXPECT_EQ(CreateFeedContent(shortText.data(), 0, 3, true, true), u"&lt");
  const std::u16string blank = u" \n\t&#32; ";
  EXPECT_EQ(CreateFeedContent(blank.data(), 0, 3, true, true), std::nullopt);
  EXPECT_EQ(CreateFeedContent(blank.data(), 0, blank.size(), true, true), std::nullopt);
}

TEST(FeedPageTest, ChannelTitleThenOneBlockPerItem) {
  setLinkableFeedStyleSheet(std::nullopt);
  const std::u16string page = stringByConvertingFeed(
      rss(u"<item><title>One</title><link>http://a/1</link><author>Me</author>"
          u"<pubDate>Sun, 19 May 2002 15:21:36 GMT</pubDate>"
          u"<description>&lt;span class=x&gt;Hi&lt;/span&gt; there</description>"
          u"<enclosure url=\"http://a/files/ep%201.mp3\" length=\"12MB\"/>"
          u"<enclosure url=\"http://a/b.ogg\" length=\"99\"/><enclosure url=\"http://a/c\"/></item>"
          u"<item><title>Two</title><pubDate>not a date</pubDate></item>"),
      std::nullopt, false);
  EXPECT_EQ(page,
            u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; "
            u"charset=utf-8\"/>\n<title>Chan</title>\n</head>\n<body><div class=\"page_header\">"
            u"<div class=\"page_title\"><nobr>Chan</nobr></div></div>\n"
            u"\n<div class=\"feed_header\"><a class=\"feed_link\" href=\"http://a/1\">One</a><br/>"
            u"<font class=\"feed_date\">Me - 2002-05-19 15:21 UTC</font></div>"
            u"<div class=\"feed_article\">\nHi there\n"
            u"<div class=\"feed_enclosures\"><p>\n"
            u"<a class=\"feed_enclosure\" href=\"http://a/files/ep%201.mp3\">ep 1.mp3</a>"
            u"&nbsp;(12MB)<br/>\n"
            u"<a class=\"feed_enclosure\" href=\"http://a/b.ogg\">b.ogg</a>&nbsp;(99 bytes)<br/>\n"
            u"<a class=\"feed_enclosure\" href=\"http://a/c\">c</a><br/>\n</p></div>\n</div>\n"
            u"\n<div class=\"feed_header\">Two<br/><font class=\"feed_date\">not a date</font>"
            u"</div><div class=\"feed_article\">\n\n</div>\n"
            u"\n</body>\n</html>");
}

TEST(FeedPageTest, HeadOnlyPagesAndTextsThatAreNoFeed) {
  setLinkableFeedStyleSheet(std::nullopt);
  EXPECT_EQ(
      stringByConvertingFeedToDisplayHTMLUsingLinkedStyleSheet(u"<rss><channel/></rss>", true),
      u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; "
      u"charset=utf-8\"/>\n\n</head>\n</html>");
  const std::u16string untitled = stringByConvertingFeed(
      u"<feed><title> </title><entry><title>E</title></entry></feed>", std::nullopt, false);
  EXPECT_THAT(utf16ToUtf8(untitled),
              HasSubstr("/>\n</head>\n<body>\n\n<div class=\"feed_header\">E<br/>"));
  EXPECT_EQ(stringByConvertingFeed(u"<html><p>page</p></html>", std::nullopt, false),
            u"<html><p>page</p></html>");
  std::u16string withIcon;
  AppendItem2Feed(withIcon, u"i.png", u"T", u"", u"d", u"", u"", u"", {});
  EXPECT_EQ(withIcon,
            u"\n<div class=\"feed_header\"><table><tr><td valign=\"centered\"><img src=\"i.png\"/>"
            u"</td><td valign=\"centered\">T<br/></td></table></div><div class=\"feed_article\">\n"
            u"d\n</div>\n");
}

TEST(FeedPageTest, TheStyleSheetIsLinkedOrEmbeddedAndCanBeEmbeddedLater) {
  const testing::TempDir dir;
  const std::filesystem::path sheet = dir.path() / "my dir" / "x.feeds.stylesheet.css";
  std::filesystem::create_directories(sheet.parent_path());
  std::ofstream(sheet) << "body { color: red }";
  setLinkableFeedStyleSheet(sheet);
  const std::u16string feed = u"<rss><title>T</title></rss>";
  const std::u16string linked = stringByConvertingFeed(feed, std::nullopt, true);
  EXPECT_THAT(utf16ToUtf8(linked), HasSubstr("<link rel=\"stylesheet\" type=\"text/css\" "
                                             "href=\"file://localhost/"));
  EXPECT_THAT(utf16ToUtf8(linked),
              HasSubstr("/my%20dir/x.feeds.stylesheet.css\"/>\n<title>T</title>"));
  const std::u16string embedded = stringByConvertingFeed(feed, std::nullopt, false);
  EXPECT_THAT(utf16ToUtf8(embedded),
              HasSubstr("<style type=\"text/css\"><!--body { color: red }--></style>\n<title>"));
  const std::u16string replaced = stringByReplacingLinkedStyleSheet(linked);
  EXPECT_THAT(utf16ToUtf8(replaced),
              HasSubstr("<style type=\"text/css\"><!--body { color: red }--></style>\n"));
  EXPECT_THAT(utf16ToUtf8(replaced), Not(HasSubstr("<link")));
  std::filesystem::remove(sheet);
  EXPECT_EQ(stringByReplacingLinkedStyleSheet(linked), linked);  // unreadable: as it was
  EXPECT_EQ(stringByReplacingLinkedStyleSheet(u"<p>"), u"<p>");
  setLinkableFeedStyleSheet(std::nullopt);
  EXPECT_EQ(linkableFeedStyleSheet(), std::nullopt);
}

}  // namespace
}  // namespace orvel

#include "orvel/url/page_links.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/testing/log_capture.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Links = std::vector<std::u16string>;

TEST(PageLinksTest, LinksInDocumentOrderEachOnce) {
  const std::u16string page =
      u"<a href='b.html'>B</a><area href=\"c.html\"><a href=' b.html\n'>again</a>"
      u"<A HREF=d.html>D</A><a name=x>no link</a><link href=style.css>";
  EXPECT_EQ(htmlLinksBaseURL(page), (Links{u"b.html", u"c.html", u"d.html"}));
  EXPECT_EQ(filteredHtmlLinksBaseURL(page), htmlLinksBaseURL(page));
  EXPECT_THAT(htmlLinksBaseURL(u""), IsEmpty());
}

TEST(PageLinksTest, NoFollowAndAnchorText) {
  const std::u16string page =
      u"<a rel=\"NoFollow\" href=\"x\">Next x</a><a href=\"p2\">Next <b>page</b></a>"
      u"<a href=\"p3\">next</a><a href=\"p4\">Next</a>";
  EXPECT_THAT(htmlLinksContaining(page, u"Next", false), ElementsAre(u"x", u"p2", u"p4"));
  EXPECT_THAT(htmlLinksContaining(page, u"Next", true), ElementsAre(u"p2", u"p4"));
  EXPECT_THAT(htmlLinksContaining(page, u"", true), ElementsAre(u"p2", u"p3", u"p4"));
  EXPECT_THAT(htmlLinksContaining(page, std::nullopt, false),
              ElementsAre(u"x", u"p2", u"p3", u"p4"));
  // In handler mode a link is decided at its closing tag; one never closed is not asked.
  EXPECT_THAT(htmlLinksContaining(u"<a href=y>Next<a href=z>Next</a>", u"Next", false),
              ElementsAre(u"z"));
  EXPECT_THAT(htmlLinksContaining(u"<a href=y>Next", u"Next", false), IsEmpty());
}

TEST(PageLinksTest, TheBaseTag) {
  std::optional<URL> base;
  static_cast<void>(htmlLinksBaseURL(u"<base href=\"//cdn.example.org/x/\"><a href=a>", &base));
  ASSERT_TRUE(base.has_value());
  EXPECT_EQ(base->absoluteString(), u"http://cdn.example.org/x/");
  static_cast<void>(htmlLinksBaseURL(u"<base href=http://a.org/><base href=\"#top\">", &base));
  EXPECT_FALSE(base.has_value());
  testing::LogCapture log;
  static_cast<void>(htmlFramesBaseURL(u"<base href=\"file:///etc/\">", &base));
  EXPECT_FALSE(base.has_value());
  EXPECT_THAT(log.lines(), ElementsAre("Invalid base: 'file:///etc/'"));
}

TEST(PageLinksTest, FramesAndTheHeadFields) {
  const std::u16string page =
      u"<html><head><title>T &amp; U</title><meta http-equiv=Refresh content=\"5; url=n.html\">"
      u"<meta name=robots content=noindex><meta name=ROBOTS content=NOINDEX>"
      u"<meta name=robots content=nofollow><meta name=revisit-after content=\"7 days\">"
      u"<link rel=icon href=a.ico><link rel=\"Shortcut Icon\" href=f.ico></head>"
      u"<frameset><frame src=top.html><iframe src=\"in.html\"></iframe><frame src=top.html>"
      u"<a href=x.html>x</a></frameset>";
  PageFields fields;
  fields.wantFavIcon = fields.wantTitle = fields.wantRefresh = fields.wantRobots =
      fields.wantRevisit = true;
  EXPECT_EQ(htmlFramesBaseURL(page, nullptr, &fields), (Links{u"top.html", u"in.html"}));
  EXPECT_EQ(fields.title, u"T &amp; U");
  EXPECT_EQ(fields.refresh, u"5; url=n.html");
  EXPECT_EQ(fields.robots, u"noindex,nofollow");
  EXPECT_EQ(fields.revisit, u"7 days");
  EXPECT_EQ(fields.favIcon, u"/f.ico");
  EXPECT_FALSE(fields.isFeed);
  EXPECT_FALSE(fields.frameset);
  EXPECT_EQ(htmlLinksAndFramesBaseURL(page), (Links{u"top.html", u"in.html", u"x.html"}));
}

TEST(PageLinksTest, FeedsFavIconsAndRevisits) {
  PageFields fields;
  static_cast<void>(
      htmlFramesBaseURL(u"<?xml version=\"1.0\"?><rss version=\"2.0\">", nullptr, &fields));
  EXPECT_TRUE(fields.isFeed);
  static_cast<void>(htmlFramesBaseURL(u"<html><body><rss>", nullptr, &fields));
  EXPECT_FALSE(fields.isFeed);
  static_cast<void>(htmlFramesBaseURL(u"<rdf:RDF xmlns=x>", nullptr, &fields));
  EXPECT_TRUE(fields.isFeed);
  EXPECT_EQ(htmlFavIcon(u"<link rel=icon href=f.ico>"), std::nullopt);
  EXPECT_EQ(
      htmlFavIcon(u"<link rel=\"Shortcut Icon\" href=f.ico><link rel='shortcut icon' href=g>"),
      u"/f.ico");
  EXPECT_EQ(revisitAfter(u"2 weeks"), 1209600);
  EXPECT_EQ(revisitAfter(u"7"), 7);
  EXPECT_EQ(revisitAfter(u"0 days"), 0);
  EXPECT_EQ(revisitAfter(u"12 Hours"), 43200);
  EXPECT_EQ(revisitAfter(u"soon"), 0);
}

}  // namespace
}  // namespace orvel

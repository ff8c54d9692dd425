// orvel feed and orvel search over feeds, run as a user runs them.
#include <string>

#include <gtest/gtest.h>

#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

const std::string kRss =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<rss version=\"2.0\"><channel>"
    "<title>Caf\xE9 news</title>\n"
    "<item><title>First\n  post</title><link>/posts/1</link>"
    "<description>&lt;p&gt;Cr\xE8me &amp;amp; sugar&lt;/p&gt;</description>"
    "<pubDate>Sun, 19 May 2002 15:21:36 GMT</pubDate><category>food</category>"
    "<enclosure url=\"http://a.example/e.mp3\" length=\"10\"/></item>\n"
    "<item><title>Second</title><guid>http://a.example/2</guid>"
    "<content:encoded><![CDATA[<div>Plain <b>bold</b> text</div>]]></content:encoded></item>\n"
    "</channel></rss>\n";

TEST(FeedItemsCommandTest, TitlesAndLinksOrJson) {
  expectSuccess(orvel({"feed", "items"}, kRss),
                "First post\t/posts/1\nSecond\thttp://a.example/2\n");
  expectSuccess(orvel({"feed", "items", "--base", "http://a.example/feed.xml"}, kRss),
                "First post\thttp://a.example/posts/1\nSecond\thttp://a.example/2\n");
  expectSuccess(
      orvel({"feed", "items", "--json"}, kRss),
      "{\"author\":\"\",\"calendarDate\":\"2002-05-19T15:21:36Z\",\"content\":\"\","
      "\"date\":\"Sun, 19 May 2002 15:21:36 GMT\",\"description\":\"<p>Crème &amp; sugar</p>\","
      "\"enclosures\":[{\"length\":\"10\",\"url\":\"http://a.example/e.mp3\"}],\"guid\":\"\","
      "\"link\":\"/posts/1\",\"tags\":[\"food\"],\"title\":\"First\\n  post\"}\n"
      "{\"author\":\"\",\"content\":\"<div>Plain <b>bold</b> text</div>\",\"date\":\"\","
      "\"description\":\"\",\"guid\":\"http://a.example/2\",\"link\":\"http://a.example/2\","
      "\"title\":\"Second\"}\n");
}

TEST(FeedItemsCommandTest, WhatIsNoFeedIsRefusedInOneLine) {
  expectFailure(orvel({"feed", "items"}, "<html><rss>"), 1,
                "orvel: stdin: not a feed (no rss, rdf:RDF or feed element before any html, head "
                "or body tag)\n");
  expectFailure(orvel({"feed", "items", "--base", "not a url"}, kRss), 1,
                "orvel: --base: not a URL: not a url\n");
  expectFailure(orvel({"feed", "items", "/no/such/feed.xml"}), 1,
                "orvel: /no/such/feed.xml: No such file or directory\n");
}

TEST(FeedHtmlCommandTest, ThePageWithAnEmbeddedOrLinkedStyleSheet) {
  const testing::TempDir dir;
  const std::string sheet = dir.writeFile("x.feeds.stylesheet.css", "a{}").string();
  const ProgramResult page = orvel({"feed", "html", "--style-sheet", sheet}, kRss);
  EXPECT_EQ(page.exitCode, 0) << page.err;
  const std::string head =
      "<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; "
      "charset=utf-8\"/>\n<style type=\"text/css\"><!--a{}--></style>\n<title>Café "
      "news</title>\n</head>\n<body>";
  EXPECT_EQ(page.out.substr(0, head.size()), head);
  EXPECT_NE(page.out.find("<a class=\"feed_link\" href=\"/posts/1\">First\n  post</a><br/>"
                          "<font class=\"feed_date\">2002-05-19 15:21 UTC</font>"),
            std::string::npos);
  const ProgramResult linked =
      orvel({"feed", "html", "--style-sheet", sheet, "--link-style-sheet"}, kRss);
  EXPECT_NE(linked.out.find("href=\"file://localhost" + sheet + "\"/>"), std::string::npos);
  // The environment gives the style sheet when no option does.
  const ProgramResult fromEnvironment = testing::runProgram(
      "/usr/bin/env", {"ORVEL_LINKABLE_FEED_STYLE_SHEET=" + sheet, ORVEL_PROGRAM, "feed", "html"},
      kRss);
  EXPECT_EQ(fromEnvironment.out.substr(0, head.size()), head);
  expectFailure(orvel({"feed", "html", "--style-sheet", "/no/sheet.css"}, kRss), 1,
                "orvel: /no/sheet.css: unreadable (Cannot read the feed style sheet "
                "/no/sheet.css)\n");
}

TEST(FeedSearchTest, FeedsAreSearchedAsTheTextOfTheirItems) {
  const testing::TempDir dir;
  dir.writeFile("news.xml", kRss);
  dir.writeFile("atom.txt",
                "<feed xmlns=\"http://www.w3.org/2005/Atom\"><entry><title>Bold move</title>"
                "<summary>&lt;b&gt;bold&lt;/b&gt; words</summary></entry></feed>");
  dir.writeFile("mention.txt", "a text about the <feed> element, with bold words");
  const std::string root = dir.path().string();
  expectSuccess(orvel({"search", "-j", "1", "bold", root}),
                root + "/atom.txt\n1:Bold move\n2:bold words\n" + root +
                    "/mention.txt\n1:a text about the <feed> element, with bold words\n" + root +
                    "/news.xml\n5:Plain bold text\n");
  expectSuccess(orvel({"search", "--json=files", "crème", root}),
                "{\"kind\":\"feed\",\"occurrences\":[{\"line\":2,\"range\":[11,13],"
                "\"string\":\"Crème & sugar\"}],\"path\":\"" +
                    root + "/news.xml\"}\n");
  expectSuccess(orvel({"search", "-l", "sugar OR rss", root}), root + "/news.xml\n");
}

}  // namespace
}  // namespace orvel

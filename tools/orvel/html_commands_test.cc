// orvel html and orvel search over saved web pages, run as a user runs them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

std::string page(std::string_view charset, std::string_view body) {
  return "<html><head><meta http-equiv=Content-Type content=\"text/html; charset=" +
         std::string(charset) + "\"><title>Title</title></head><body><p>" + std::string(body) +
         "</p></body></html>";
}

TEST(HtmlTextCommandTest, PagesInTheirOwnEncodings) {
  struct Case {
    std::string_view charset, bytes, utf8;
  };
  const Case cases[] = {
      {"windows-1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
      {"Shift_JIS", "\x93\xFA\x96\x7B\x8C\xEA", "日本語"},
      {"GB2312", "\xD6\xD0\xCE\xC4", "中文"},
      {"ISO-8859-2", "\xB3\xF3\xBF\xEA\xB6\xE6", "łóżęść"},
  };
  for (const Case& c : cases) {
    expectSuccess(orvel({"html", "text", "--only-body"}, page(c.charset, c.bytes)),
                  std::string(c.utf8) + "\n");
  }
  const std::string utf16("\xFF\xFE<\0p\0>\0\x1F\x04!\0", 12);
  expectSuccess(orvel({"html", "text"}, utf16), "П!\n");
  expectSuccess(orvel({"html", "text"}, page("utf-8", "caf\xC3\xA9 &amp; cr&egrave;me")),
                "Title\n\ncafé & crème\n");
}

TEST(HtmlTextCommandTest, OptionsReachTheConversion) {
  const std::string html =
      "<body bgcolor=white><pre>a  b\nc</pre><img alt=Cat> "
      "<font color=WHITE>hidden</font> <!--googleoff: index-->off<!--googleon: index-->";
  expectSuccess(orvel({"html", "text"}, html), "a b c Cat hidden off\n");
  expectSuccess(orvel({"html", "text", "--reformat"}, html), "a b c Cat hidden off\n");
  expectSuccess(orvel({"html", "text", "--reformat"}, "<pre>a  b\n\nc</pre>"), "a b\n\nc\n");
  expectSuccess(orvel({"html", "text", "--no-image-alts", "--google-tags"}, html),
                "a b c hidden\n");
  expectSuccess(orvel({"html", "text", "--simplified"}, "<p>x</p><p>&eacute;</p>"), " x é\n");
  expectSuccess(orvel({"html", "text", "--non-umlauted"}, "cr&egrave;me"), "creme\n");

  std::string stuffed = "<body bgcolor=white>x<font color=white>";
  for (int k = 0; k < 20; ++k) stuffed += "cheapwatches ";
  const ProgramResult junk = orvel({"html", "text", "--remove-junk"}, stuffed + "</font>y");
  EXPECT_EQ(junk.exitCode, 0);
  EXPECT_EQ(junk.out, "xy\n");
  EXPECT_EQ(junk.err, "orvel: stdin: junk text dropped\n");
}

TEST(HtmlTextCommandTest, BinaryFilesAreRefusedInOneLine) {
  testing::TempDir dir;
  const auto binary = dir.writeFile("image.html", std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16));
  expectFailure(orvel({"html", "text", binary.string()}), 1,
                "orvel: " + binary.string() + ": binary (holds NUL bytes)\n");
  expectFailure(
      orvel({"html", "text", (dir.path() / "missing.html").string()}), 1,
      "orvel: " + (dir.path() / "missing.html").string() + ": No such file or directory\n");
  // Told by the first bytes, before the rest is read: an endless device, and 2 GiB of NUL
  // bytes (a sparse file, which takes no disk), are refused at once, not read into memory.
  for (const char* command : {"html", "feed"}) {
    expectFailure(orvel({command, command == std::string("html") ? "text" : "html", "/dev/zero"}),
                  1, "orvel: /dev/zero: binary (holds NUL bytes)\n");
  }
  const auto sparse = dir.path() / "zeros.html";
  dir.writeFile("zeros.html", "");
  std::filesystem::resize_file(sparse, std::uintmax_t{2} << 30);
  expectFailure(orvel({"html", "text", sparse.string()}), 1,
                "orvel: " + sparse.string() + ": binary (holds NUL bytes)\n");
  expectFailure(orvel({"search", "x", sparse.string()}), 2,
                "orvel: " + sparse.string() + ": not searched: binary (holds NUL bytes)\n");
  expectFailure(orvel({"lang", "/dev/zero"}), 1, "orvel: /dev/zero: binary (holds NUL bytes)\n");
}

TEST(HtmlStripCommandTest, ElementsTagsAndAttributes) {
  const std::string html = "<p>a<script>x()</script><b>b</b><a href=u id=1>c</a></p>";
  expectSuccess(orvel({"html", "strip", "--tags"}, html), "a b c");
  expectSuccess(orvel({"html", "strip", "--bodies", "script,b"}, html),
                "<p>a<a href=u id=1>c</a></p>");
  expectSuccess(orvel({"html", "strip", "--except", "b"}, html), "<b>b</b>\n");
  expectSuccess(orvel({"html", "strip", "--tag", "b", "--tag", "P"}, html),
                "a<script>x()</script>b<a href=u id=1>c</a>");
  expectSuccess(orvel({"html", "strip", "--attributes", "a"}, html),
                "<p>a<script>x()</script><b>b</b><A HREF=\"u\">c</A></p>");
}

TEST(HtmlLinksCommandTest, LinksFramesAndThePageFields) {
  const std::string html =
      "<html><head><title>T &amp; U</title><base href=\"http://b.example/x/\">"
      "<link rel=\"shortcut icon\" href=\"f.ico\"><meta name=robots content=noindex>"
      "<meta name=revisit-after content=\"2 days\"></head><body><a href=\"a.html\">A page</a>"
      "<a rel=nofollow href=\"/n\">N page</a><iframe src=\"i.html\"></iframe>"
      "<a href=\" a.html\n\">again</a><a href=\"/other\">Other</a></body></html>";
  expectSuccess(orvel({"html", "links"}, html), "a.html\n/n\n/other\n");
  expectSuccess(orvel({"html", "links", "--frames"}, html), "a.html\n/n\ni.html\n/other\n");
  expectSuccess(orvel({"html", "links", "--nofollow", "--containing", "page"}, html), "a.html\n");
  expectSuccess(orvel({"html", "links", "--json", "--nofollow"}, html),
                "{\"base\":\"http://b.example/x/\",\"favicon\":\"/f.ico\",\"frames\":[\"i.html\"],"
                "\"isFeed\":false,\"links\":[\"a.html\",\"/other\"],\"refresh\":null,"
                "\"revisit\":\"2 days\",\"revisitSeconds\":172800.0,\"robots\":\"noindex\","
                "\"title\":\"T &amp; U\"}\n");
  const ProgramResult both = orvel({"html", "links", "--frames", "--nofollow"}, html);
  EXPECT_EQ(both.exitCode, 2);
  EXPECT_EQ(both.err, "orvel: html: --frames excludes --nofollow (see 'orvel html --help')\n");
  expectSuccess(orvel({"html", "links", "--json"}, "<rss><a href=x>"),
                "{\"base\":null,\"favicon\":null,\"frames\":[],\"isFeed\":true,"
                "\"links\":[\"x\"],\"refresh\":null,\"revisit\":null,\"revisitSeconds\":0.0,"
                "\"robots\":null,\"title\":null}\n");
}

TEST(HtmlPiecesCommandTest, TheScannersView) {
  expectSuccess(orvel({"html", "pieces"}, "a<p class=x>b<!-- c -->d<![CDATA[e]]>"),
                "tag\tp\t1+11\t0+1\n"
                "comment\t-\t13+10\t12+1\n"
                "section\t-\t24+13\t23+1\n"
                "end\t-\t37+0\t37+0\n");
}

TEST(HtmlCharsetCommandTest, WhereTheEncodingCameFrom) {
  expectSuccess(orvel({"html", "charset"}, page("windows-1251", "\xCF")),
                "declared: windows-1251\nencoding: 0x00000502\nconverter: windows-1251\n"
                "source: declared in the markup\n");
  expectSuccess(orvel({"html", "charset"}, "<p>caf\xE9"),
                "declared: -\nencoding: 0x00000500\nconverter: windows-1252\n"
                "source: Windows Latin 1 (nothing else fits)\n");
}

class HtmlSearchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    _dir.writeFile("cyrillic.html", page("windows-1251", "\xCF\xF0\xE8\xE2\xE5\xF2 world"));
    _dir.writeFile("tags.htm", "<html><body><p>hello</p><p>wo<b>rld</b> &amp; caf&eacute;</p>");
    _dir.writeFile("page", "<!DOCTYPE html><title>x</title><p>world without a name");
    _dir.writeFile("notes.txt", "<p>world</p> in plain text");
    _dir.writeFile("hidden.html", "<body><script>world()</script><p>nothing</p>");
  }
  testing::TempDir _dir;
};

TEST_F(HtmlSearchTest, PagesAreSearchedAsTheirText) {
  const std::string root = _dir.path().string();
  expectSuccess(
      orvel({"search", "-l", "-j", "1", "world", root}),
      root + "/cyrillic.html\n" + root + "/notes.txt\n" + root + "/page\n" + root + "/tags.htm\n");
  // Line numbers and snippets are those of the text: the title before the body is dropped.
  expectSuccess(orvel({"search", "привет", root}), root + "/cyrillic.html\n1:Привет world\n");
  expectSuccess(orvel({"search", "café", root}), root + "/tags.htm\n3:world & café\n");
  expectSuccess(orvel({"search", "--json=files", "без OR hello", root}),
                "{\"kind\":\"html\",\"occurrences\":[{\"line\":1,\"range\":[0,5],"
                "\"string\":\"hello\"}],\"path\":\"" +
                    root + "/tags.htm\"}\n");
  expectSuccess(orvel({"search", "--json=files", "plain", root}),
                "{\"kind\":\"text\",\"occurrences\":[{\"line\":1,\"range\":[1,25],"
                "\"string\":\"p>world</p> in plain text\"}],\"path\":\"" +
                    root + "/notes.txt\"}\n");
}

TEST_F(HtmlSearchTest, MatchAndSnippetsReadPagesToo) {
  const std::string file = (_dir.path() / "tags.htm").string();
  expectSuccess(orvel({"match", "world AND café", file}), "yes\n");
  const ProgramResult split = orvel({"match", "rld"}, "<html><body>wo<b>rld</b>");
  EXPECT_EQ(split.out, "no\n");  // stdin sniffed as a page: its word is "world"
  EXPECT_EQ(split.exitCode, 1);
}

}  // namespace
}  // namespace orvel

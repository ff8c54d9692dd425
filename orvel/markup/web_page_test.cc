#include "orvel/markup/web_page.h"

#include <string>

#include <gtest/gtest.h>

namespace orvel {
namespace {

std::string page(std::string_view head, std::string_view body) {
  return "<html><head>" + std::string(head) + "</head><body>" + std::string(body) + "</body>";
}

std::u16string bodyOf(const WebPage& read) {
  const std::size_t start = read.text.find(u"<body>") + 6;
  return read.text.substr(start, read.text.find(u"</body>") - start);
}

TEST(WebPageTest, DeclaredLegacyEncodingsComeOutRight) {
  struct Case {
    std::string_view charset;
    std::string_view bytes;
    std::u16string_view text;
  };
  const Case cases[] = {
      {"windows-1251", "\xCF\xF0\xE8\xE2\xE5\xF2", u"\u041F\u0440\u0438\u0432\u0435\u0442"},
      {"Shift_JIS", "\x93\xFA\x96\x7B\x8C\xEA", u"\u65E5\u672C\u8A9E"},
      {"gb2312", "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
      {"ISO-8859-2", "\xB3\xF3\xBF\xEA\xB6", u"\u0142\u00F3\u017C\u0119\u015B"},
      {"koi8-r", "\xF0\xD2\xC9\xD7\xC5\xD4", u"\u041F\u0440\u0438\u0432\u0435\u0442"},
  };
  for (const Case& c : cases) {
    const std::string meta =
        "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=" + std::string(c.charset) +
        "\">";
    const WebPage read = readWebPage(page(meta, c.bytes));
    EXPECT_EQ(bodyOf(read), c.text) << c.charset;
    EXPECT_EQ(read.source, PageEncodingSource::kMarkup) << c.charset;
    EXPECT_EQ(read.declaredCharset, std::u16string(c.charset.begin(), c.charset.end()));
  }
  const WebPage xml = readWebPage("<?xml version=\"1.0\" encoding=\"windows-1250\"?><p>\x9A</p>");
  EXPECT_EQ(xml.text.substr(xml.text.find(u"<p>")), u"<p>\u0161</p>");
}

TEST(WebPageTest, ByteOrderMarksWinOverEverything) {
  const std::string utf16le("\xFF\xFE<\0p\0>\0\x1F\x04", 10);
  const WebPage read = readWebPage(utf16le, "text/html; charset=iso-8859-1");
  EXPECT_EQ(read.text, u"<p>\u041F");
  EXPECT_EQ(read.source, PageEncodingSource::kByteOrderMark);
  EXPECT_EQ(webPageText(std::string("\xFE\xFF\0<\x04\x1F", 6)), u"<\u041F");
  EXPECT_EQ(webPageText("\xEF\xBB\xBF<meta charset=koi8-r>\xC3\xA9"),
            u"<meta charset=koi8-r>\u00E9");
  // UTF-16 without a mark, known by its first "<".
  const WebPage bare = readWebPage(std::string("<\0b\0>\0\xE9\0", 8));
  EXPECT_EQ(bare.text, u"<b>\u00E9");
  EXPECT_EQ(bare.source, PageEncodingSource::kUtf16Markup);
}

TEST(WebPageTest, TheHeaderBeforeTheMarkupAndFallbacksAfterIt) {
  const std::string cyrillic = page("<meta charset=iso-8859-1>", "\xCF");
  EXPECT_EQ(bodyOf(readWebPage(cyrillic, "text/html; charset=windows-1251")), u"\u041F");
  EXPECT_EQ(bodyOf(readWebPage(cyrillic, "text/html")), u"\u00CF");  // no charset in the header
  // Nothing declared: well-formed UTF-8, else Windows Latin 1 (0x80 is the euro sign).
  EXPECT_EQ(readWebPage("<p>caf\xC3\xA9").source, PageEncodingSource::kValidUtf8);
  EXPECT_EQ(webPageText("<p>caf\xC3\xA9"), u"<p>caf\u00E9");
  const WebPage latin = readWebPage("<p>caf\xE9 \x80");
  EXPECT_EQ(latin.text, u"<p>caf\u00E9 \u20AC");
  EXPECT_EQ(latin.source, PageEncodingSource::kWindowsLatin1);
  // Unknown names are passed over; "utf-16" in a byte page means UTF-8.
  const WebPage unknown = readWebPage(page("<meta charset=x-klingon>", "\xC3\xA9"));
  EXPECT_EQ(unknown.source, PageEncodingSource::kValidUtf8);
  EXPECT_EQ(unknown.declaredCharset, u"x-klingon");
  EXPECT_EQ(bodyOf(readWebPage(page("<meta charset=utf-16>", "\xC3\xA9"))), u"\u00E9");
}

TEST(WebPageTest, InvalidBytesBecomeReplacementCharacters) {
  EXPECT_EQ(bodyOf(readWebPage(page("<meta charset=utf-8>",
                                    "a\xFF"
                                    "b\xC3"))),
            u"a\uFFFDb\uFFFD");
  EXPECT_EQ(bodyOf(readWebPage(page("<meta charset=shift_jis>", "\x93\xFA\x85\x40"))),
            u"\u65E5\uFFFD");
  EXPECT_EQ(bodyOf(readWebPage(page("<meta charset=iso-8859-8>", "\xFF"))), u"\uFFFD");
  EXPECT_EQ(webPageText(""), u"");
  EXPECT_EQ(webPageText(std::string("\xFF\xFE\x00", 3)), u"\uFFFD");  // half a unit
}

}  // namespace
}  // namespace orvel

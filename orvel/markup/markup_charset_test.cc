#include "orvel/markup/markup_charset.h"

#include <gtest/gtest.h>

#include "orvel/markup/charsets.h"
#include "orvel/testing/log_capture.h"

namespace orvel {
namespace {

TEST(MarkupCharsetTest, TheDeclarationBeforeTheBody) {
  EXPECT_EQ(markupCharset(u"<html><head><meta http-equiv=\"Content-Type\" "
                          u"content=\"text/html; charset=windows-1251\"></head>"),
            u"windows-1251");
  EXPECT_EQ(markupCharset(u"<head><meta charset=\"Shift_JIS\"><meta charset=utf-8>"), u"Shift_JIS");
  EXPECT_EQ(markupCharset(u"<meta charset=&quot;utf-8&quot;>"), u"\"utf-8\"");  // entities decoded
  EXPECT_EQ(markupCharset(u"<?xml version=\"1.0\" encoding=\"ISO-8859-2\"?><rss>"), u"ISO-8859-2");
  EXPECT_EQ(markupCharset(u"<?xml version=\"1.0\"?><meta charset=koi8-r>"), u"");  // stops there
  EXPECT_EQ(markupCharset(u"<body><meta charset=koi8-r>"), u"");                   // too late
  EXPECT_EQ(markupCharset(u"</meta charset=koi8-r><p>"), u"");                     // closing tag
  EXPECT_EQ(markupCharset(u""), u"");
  const std::u16string page = u"<p><meta charset=gb2312>";
  EXPECT_EQ(markupCharsetRange(page), (Range{3, 21}));
  EXPECT_EQ(markupCharsetRange(u"<p>"), Range::notFound());
  EXPECT_EQ(markupEncoding(page), 0x80000930u);
  testing::LogCapture log;
  EXPECT_EQ(markupEncoding(u"<p>"), kNSStringEncodingInvalid);
  EXPECT_TRUE(log.lines().empty());  // nothing declared: no complaint
}

TEST(MarkupCharsetTest, HeaderFields) {
  EXPECT_EQ(headerCharset(u"text/html; charset=UTF-8"), u"UTF-8");
  EXPECT_EQ(headerEncoding(u"text/html; charset=iso-8859-1"), 5u);
  EXPECT_EQ(headerRefresh(u"5; url='/next'"), u"/next");
  EXPECT_EQ(headerFieldNamed(u"a; NAME='x y'; b", "NAME"), u"x y");
  EXPECT_EQ(HTTPHeaderFieldNamed(u"form-data; name=\"f\", x=1", "NAME"), u"f");
  EXPECT_EQ(headerFieldNamed(u"x=1", ""), std::nullopt);
}

TEST(MarkupCharsetTest, MarkupDataInTheDeclaredEncoding) {
  NSStringEncoding encoding = 0;
  const std::u16string latin = u"<meta charset=iso-8859-1><p>caf\u00E9";
  EXPECT_EQ(markupData(latin, &encoding).back(), 0xE9);
  EXPECT_EQ(encoding, NSISOLatin1StringEncoding);
  EXPECT_EQ(defaultURLEncoding(latin), NSISOLatin1StringEncoding);
  EXPECT_EQ(defaultURLEncoding(u"<meta charset=koi8-r>"), NSUTF8StringEncoding);
  // Nothing declared, or a character the declared encoding lacks: ASCII with references.
  const auto ascii = markupData(u"<p>caf\u00E9 \u20AC", &encoding);
  EXPECT_EQ(std::string(ascii.begin(), ascii.end()), "<p>caf&eacute; &euro;");
  EXPECT_EQ(encoding, NSASCIIStringEncoding);
  const auto euro = markupData(u"<meta charset=iso-8859-1>\u20AC", &encoding);
  EXPECT_EQ(std::string(euro.begin(), euro.end()), "<meta charset=iso-8859-1>&euro;");
  EXPECT_EQ(encoding, NSASCIIStringEncoding);
  encoding = 0;
  EXPECT_TRUE(markupData(u"", &encoding).empty());
  EXPECT_EQ(encoding, NSASCIIStringEncoding);
  EXPECT_EQ(refreshInterval(u"5; url=next.html"), 5);
}

}  // namespace
}  // namespace orvel

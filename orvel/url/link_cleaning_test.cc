#include "orvel/url/link_cleaning.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "orvel/url/url.h"

namespace orvel {
namespace {

std::optional<std::u16string> clean(std::u16string_view link, bool decode = false) {
  return normalizedStringURL(link, decode);
}

TEST(LinkCleaningTest, DirtyUnitsQuotesAndEscapesComeOff) {
  EXPECT_EQ(clean(u"http://a.com/x\n/y\t.html"), u"http://a.com/x/y.html");
  EXPECT_EQ(clean(u"\uFEFF/a\u2028b\uFFFC\r"), u"/ab");
  EXPECT_EQ(clean(u"\\\"/path/x\\\""), u"/path/x");  // escaped quotes from a script
  EXPECT_EQ(clean(u"a\\b\\c"), u"a/b/c");
  EXPECT_EQ(clean(u"a\\b?c"), u"a\\b?c");  // a query keeps its backslashes
  EXPECT_EQ(clean(u"/x%20%22"), u"/x");
  EXPECT_EQ(clean(u"/x%41"), u"/x%41");
  EXPECT_EQ(clean(u"/x%5d%3E"), u"/x");  // either case of hexadecimal digit
  EXPECT_EQ(clean(u"%20%22"), std::nullopt);
  EXPECT_EQ(clean(u"\"quoted\""), u"quoted");
  EXPECT_EQ(clean(u"\"\""), std::nullopt);
  EXPECT_EQ(clean(u"   "), std::nullopt);
  EXPECT_EQ(clean(u"\n\t"), std::nullopt);
  EXPECT_EQ(clean(u""), std::nullopt);
  EXPECT_EQ(clean(u"  /a b  "), u"/a b");  // trimmed, not squeezed
}

TEST(LinkCleaningTest, ReferencesAndPercentEscapes) {
  EXPECT_EQ(clean(u"/a?x=1&amp;y=2"), u"/a?x=1&y=2");
  EXPECT_EQ(clean(u"/a&#47;b"), u"/a/b");
  EXPECT_EQ(clean(u"/caf&eacute;"), u"/caf&eacute;");  // named references are not links' own
  EXPECT_EQ(clean(u"&lt"), u"&lt");                    // under 4 units: as written
  EXPECT_EQ(clean(u"/caf%C3%A9%20x", true), u"/caf\u00E9 x");
  EXPECT_EQ(clean(u"/caf%C3%A9", false), u"/caf%C3%A9");
  EXPECT_EQ(clean(u"/bad%FF%zz", true), u"/bad%FF%zz");  // not UTF-8, not an escape: kept
  EXPECT_EQ(clean(u"%20x%20", true), u"x");              // decoded, then trimmed
}

TEST(LinkCleaningTest, RelativeLinksBecomeRootRelative) {
  EXPECT_EQ(normalizedRelLink(u"img/a.png"), u"/img/a.png");
  EXPECT_EQ(normalizedRelLink(u"../a.png"), u"../a.png");
  EXPECT_EQ(normalizedRelLink(u"/a.png"), u"/a.png");
  EXPECT_EQ(normalizedRelLink(u"http://x.org/a.png"), u"http://x.org/a.png");
  EXPECT_EQ(normalizedRelLink(u" \n"), std::nullopt);
}

TEST(LinkCleaningTest, TheLinkFilterDropsWhatCannotBeFollowed) {
  for (const char16_t* dropped :
       {u"#", u"&", u"-", u":", u"mailto:x@y.org", u"javascript:void(0)", u"irc://net/chan",
        u"ICQ://1", u"data://x", u"about://blank", u"webcal://cal", u"callto://123",
        u"sherlock://q", u"javascript://x", u"x-man-page://ls", u"applescript://x",
        u"orveladdress://a", u"x-orvel-item://x", u"X-ORVEL-private://y"}) {
    EXPECT_TRUE(filterLink(dropped))
        << std::string(dropped, dropped + std::char_traits<char16_t>::length(dropped));
  }
  for (const char16_t* kept :
       {u"", u"a", u"page.html", u"https://a.org/", u"http://x", u"feed:http://a/rss", u"feeds:x",
        u"/abs/path", u"ftp://host/file", u"a1:b", u":x", u"x-other://y", u"news://x"}) {
    EXPECT_FALSE(filterLink(kept))
        << std::string(kept, kept + std::char_traits<char16_t>::length(kept));
  }
}

TEST(LinkCleaningTest, RemoteAddressesByPrefixAndByUrl) {
  EXPECT_TRUE(isRemoteWebKitStringURL(u"HTTP://a.org"));
  EXPECT_TRUE(isRemoteWebKitStringURL(u"www.a.org"));
  EXPECT_FALSE(isRemoteWebKitStringURL(u"www."));  // under 5 units
  EXPECT_FALSE(isRemoteWebKitStringURL(u"file:///a"));
  const auto remote = [](std::u16string_view text) {
    const auto url = URL::URLWithString(text);
    return url && url->isRemoteWebKitURL();
  };
  EXPECT_TRUE(remote(u"https://example.org/a"));
  EXPECT_TRUE(remote(u"FEED://example.org/rss"));
  EXPECT_FALSE(remote(u"http://a...b/"));
  EXPECT_FALSE(remote(u"http://-.-/"));  // no letter or digit in the host
  EXPECT_FALSE(remote(u"mailto:x@y.org"));
  EXPECT_FALSE(remote(u"/relative"));
  EXPECT_TRUE(remote(u"ftp://files.org/a"));
  EXPECT_TRUE(isRemoteWebKitStringURL(u"ftp.files.org"));
  setFileTransferSchemesEnabled(false);
  EXPECT_FALSE(remote(u"ftp://files.org/a"));
  EXPECT_FALSE(isRemoteWebKitStringURL(u"ftp.files.org"));
  EXPECT_TRUE(remote(u"http://files.org/a"));
  setFileTransferSchemesEnabled(true);
}

TEST(LinkCleaningTest, UrlsFromCleanedLinks) {
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u"http://a.org/x")->absoluteString(),
            u"http://a.org/x");
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u"http://a.org/caf\u00E9 x")->absoluteString(),
            u"http://a.org/caf%C3%A9%20x");
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u"http://a.org/say \"hi%22")->absoluteString(),
            u"http://a.org/say%20%22hi%22");
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u"http://a.org/caf\u00E9", NSISOLatin1StringEncoding)
                ->absoluteString(),
            u"http://a.org/caf%E9");
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u"http://a.org/\u20AC", NSISOLatin1StringEncoding),
            std::nullopt);  // Latin-1 has no euro sign
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u"mailto:a b@c"), std::nullopt);
  EXPECT_EQ(URL::URLWithNormalizedStringURL(u""), std::nullopt);
  EXPECT_TRUE(URL::URLWithNormalizedStringURL(u"/tmp/a file")->isFileURL());
  EXPECT_EQ(stringByAddingPercentEscapesToURL(u"/a%zz%41{x}"), u"/a%25zz%41%7Bx%7D");
  EXPECT_EQ(stringByAddingPercentEscapesToURL(u"/\U0001F600"), u"/%F0%9F%98%80");
}

TEST(LinkCleaningTest, ReferencesResolveAgainstABase) {
  const auto base = URL::URLWithString(u"http://h.example/a/b/page.html?q=1");
  ASSERT_TRUE(base);
  const auto resolve = [&](std::u16string_view link) {
    const auto url = URL::URLWithStringRelativeToURL(link, *base);
    return url ? url->absoluteString() : u"(none)";
  };
  EXPECT_EQ(resolve(u"/x/y"), u"http://h.example/x/y");
  EXPECT_EQ(resolve(u"c.html"), u"http://h.example/a/b/c.html");
  EXPECT_EQ(resolve(u"../c"), u"http://h.example/a/c");
  EXPECT_EQ(resolve(u"//other.example/z"), u"http://other.example/z");
  EXPECT_EQ(resolve(u"#top"), u"http://h.example/a/b/page.html?q=1#top");
  EXPECT_EQ(resolve(u"https://s.example/"), u"https://s.example/");
  EXPECT_EQ(resolve(u"a b"), u"(none)");
  EXPECT_EQ(URL::URLWithStringRelativeToURL(u"/x", *base)->host(), u"h.example");
}

}  // namespace
}  // namespace orvel

#include "orvel/records/keyed_data_urls.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

URL url(std::u16string_view text) { return *URL::URLWithString(text); }

TEST(KeyedDataURLsTest, StoredAsTheirAbsoluteStrings) {
  KeyedBuffer data;
  EXPECT_TRUE(addURL(data, url(u"https://example.org/a?b=c"), 1));
  EXPECT_EQ(stringForKey(data, 1), u"https://example.org/a?b=c");
  EXPECT_TRUE(containsURLForKey(data, 1));
  EXPECT_TRUE(containsURL(data, url(u"https://example.org/a?b=c"), 1));
  EXPECT_FALSE(containsURL(data, url(u"https://example.org/"), 1));
  EXPECT_EQ(offsetOfURLForKey(data, 1), 0u);
  EXPECT_EQ(URLForKey(data, 1), url(u"https://example.org/a?b=c"));
}

TEST(KeyedDataURLsTest, OnlyTheSingleReaderTakesASlashForAPath) {
  KeyedBuffer data;
  addString(data, u"/tmp/a b", 2);
  addString(data, u"/tmp/c", 2);
  addString(data, u"not a url", 2);
  const auto single = URLForKey(data, 2);
  ASSERT_TRUE(single.has_value());
  EXPECT_EQ(single->absoluteString(), u"file:///tmp/a%20b");
  EXPECT_TRUE(single->isFileURL());
  // The plural readers read each string as a URL as it stands: "/tmp/a b" is none.
  const auto all = URLsForKey(data, 2);
  ASSERT_TRUE(all.has_value());
  ASSERT_EQ(all->size(), 1u);
  EXPECT_EQ((*all)[0].absoluteString(), u"/tmp/c");
  EXPECT_FALSE((*all)[0].isFileURL());
  EXPECT_EQ(numberOfURLsForKey(data, 2), 3u);
  EXPECT_EQ(handleURLsForKey(
                data, 2, [](const URL&, void*) { return true; }, nullptr),
            1u);
}

TEST(KeyedDataURLsTest, ListsSetAndRemove) {
  KeyedBuffer data;
  EXPECT_FALSE(addURLs(data, {}, 3));
  EXPECT_TRUE(addURLs(data, {url(u"http://a/"), url(u"http://b/")}, 3));
  setURL(data, url(u"http://c/"), 3);  // replaces the first, appended at the end
  std::vector<URL> urls;
  EXPECT_EQ(addURLsForKey(data, 3, urls), 2u);
  EXPECT_EQ(urls[0].absoluteString(), u"http://b/");
  EXPECT_EQ(urls[1].absoluteString(), u"http://c/");
  removeURLForKey(data, 3);
  EXPECT_EQ(numberOfURLsForKey(data, 3), 1u);
  removeURLsForKey(data, 3);
  EXPECT_FALSE(URLsForKey(data, 3).has_value());
  EXPECT_FALSE(URLForKey(data, 3).has_value());
}

TEST(URLTest, ParsesPartsAndRefusesNonURLs) {
  const auto parsed = URL::URLWithString(u"https://example.org:8080/path/to?q#f");
  ASSERT_TRUE(parsed.has_value());
  EXPECT_EQ(parsed->scheme(), u"https");
  EXPECT_EQ(parsed->host(), u"example.org");
  EXPECT_EQ(parsed->path(), u"/path/to");
  EXPECT_FALSE(URL::URLWithString(u"has space").has_value());
  EXPECT_FALSE(URL::URLWithString(u"caf\u00E9").has_value());
  EXPECT_FALSE(URL::URLWithString(u"").has_value());
  EXPECT_TRUE(URL::URLWithString(u"relative/path").has_value());
  EXPECT_EQ(URL::fileURLWithPath("/a/b%c").absoluteString(), u"file:///a/b%25c");
}

}  // namespace
}  // namespace orvel

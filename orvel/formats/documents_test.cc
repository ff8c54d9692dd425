#include "orvel/formats/documents.h"

#include <string>

#include <gtest/gtest.h>

#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

// Each kind read from a path as the searches read it: pages and feeds as their text in
// their own encoding, everything else as UTF-8 or not text at all.
TEST(DocumentTextAtPathTest, ReadsEachKindAsItsText) {
  testing::TempDir dir;
  const auto page = documentTextAtPath(
      dir.writeFile("p.html",
                    "<html><head><meta charset=iso-8859-1><title>T</title></head>"
                    "<body><p>caf\xE9 &amp; cr\xE8me</p></body></html>"));
  ASSERT_TRUE(page && page->text);
  EXPECT_EQ(page->kind, DocumentKind::kHtml);
  EXPECT_EQ(*page->text, u"café & crème");

  const auto feed = documentTextAtPath(dir.writeFile(
      "news",
      "<?xml version='1.0'?><rss><channel><item><title>Quay</title>"
      "<description>&lt;b&gt;open&lt;/b&gt; today</description></item></channel></rss>"));
  ASSERT_TRUE(feed && feed->text);
  EXPECT_EQ(feed->kind, DocumentKind::kFeed);
  EXPECT_EQ(*feed->text, u"Quay\nopen today\n\n");

  const auto binary = documentTextAtPath(dir.writeFile("b.txt", std::string("ab\0cd", 5)));
  ASSERT_TRUE(binary);
  EXPECT_FALSE(binary->text);
  EXPECT_EQ(binary->notTextReason, "binary (holds NUL bytes)");
}

TEST(DocumentTextAtPathTest, AnUnreadablePathIsNoDocumentAndSaysWhy) {
  testing::TempDir dir;
  std::string error;
  EXPECT_FALSE(documentTextAtPath(dir.path() / "missing.txt", &error));
  EXPECT_EQ(error, "No such file or directory");
  EXPECT_FALSE(documentTextAtPath(dir.path(), &error));
  EXPECT_EQ(error, "Is a directory");
}

}  // namespace
}  // namespace orvel

#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "orvel/dsstore/ds_store.h"
#include "orvel/dsstore/ds_store_test_support.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

void writeStore(const fs::path& folder, std::u16string_view comment) {
  const testing::Bytes bytes = testing::leafStore({testing::commentRecord(u"a.txt", comment)});
  // Written beside, then moved over: a store that holds the old file open keeps reading it.
  const fs::path temporary = folder / ".DS_Store.new";
  std::FILE* file = std::fopen(temporary.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  fs::rename(temporary, folder / ".DS_Store");
}

// Sets the desktop comment; false when the file system keeps no extended attributes.
bool setXdgComment(const fs::path& path, const std::string& comment) {
  return ::setxattr(path.c_str(), "user.xdg.comment", comment.data(), comment.size(), 0) == 0;
}

class FinderCommentsTest : public ::testing::Test {
 protected:
  void SetUp() override { invalidateFinderCommentsCache(); }
  void TearDown() override { invalidateFinderCommentsCache(); }
  testing::TempDir _dir;
};

TEST_F(FinderCommentsTest, TheLastStoreIsKeptPerThreadUntilInvalidated) {
  writeStore(_dir.path(), u"first");
  const fs::path file = _dir.path() / "a.txt";
  EXPECT_EQ(finderCommentAtPath(file), u"first");
  writeStore(_dir.path(), u"second");
  EXPECT_EQ(finderCommentAtPath(file), u"first");  // the same folder: the file is not reopened
  std::optional<std::u16string> otherThread;
  std::thread([&] { otherThread = finderCommentAtPath(file); }).join();
  EXPECT_EQ(otherThread, u"second");  // each thread has a cache of its own
  invalidateFinderCommentsCache();
  EXPECT_EQ(finderCommentAtPath(file), u"second");
  EXPECT_EQ(finderCommentAtPath(_dir.path() / "b.txt"), std::nullopt);
}

TEST_F(FinderCommentsTest, AnotherFolderReplacesTheCachedStore) {
  const fs::path one = _dir.path() / "one", two = _dir.path() / "two";
  fs::create_directories(one);
  fs::create_directories(two);
  writeStore(one, u"in one");
  writeStore(two, u"in two");
  EXPECT_EQ(finderCommentAtPath(one / "a.txt"), u"in one");
  EXPECT_EQ(finderCommentAtPath(two / "a.txt"), u"in two");
  writeStore(one, u"one again");
  EXPECT_EQ(finderCommentAtPath(one / "a.txt"), u"one again");  // reopened: the cache held two
  EXPECT_EQ(finderCommentAtPath("a.txt"), std::nullopt);        // no folder at all
}

TEST_F(FinderCommentsTest, WithoutAStoreTheDesktopCommentAnswers) {
  const fs::path file = _dir.writeFile("notes.txt", "text");
  if (!setXdgComment(file, "r\xC3\xA9sum\xC3\xA9 draft")) {
    GTEST_SKIP() << "no extended attributes here (errno " << errno << ")";
  }
  EXPECT_EQ(spotlightCommentAtPath(file), u"r\u00e9sum\u00e9 draft");
  EXPECT_EQ(finderCommentAtPath(file), u"r\u00e9sum\u00e9 draft");
  const std::string longComment(1500, 'x');  // past the first read's buffer
  ASSERT_TRUE(setXdgComment(file, longComment));
  EXPECT_EQ(spotlightCommentAtPath(file), std::u16string(1500, u'x'));
  ASSERT_TRUE(setXdgComment(file, ""));
  EXPECT_EQ(spotlightCommentAtPath(file), std::nullopt);
  EXPECT_EQ(spotlightCommentAtPath(_dir.path() / "missing.txt"), std::nullopt);
  // A folder with a store answers from it alone, even where the store has no comment.
  ASSERT_TRUE(setXdgComment(file, "desktop"));
  writeStore(_dir.path(), u"finder");
  invalidateFinderCommentsCache();
  EXPECT_EQ(finderCommentAtPath(file), std::nullopt);
  EXPECT_EQ(finderCommentAtPath(_dir.path() / "a.txt"), u"finder");
}

}  // namespace
}  // namespace orvel

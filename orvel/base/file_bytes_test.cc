#include "orvel/base/file_bytes.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

TEST(FileBytesTest, WholeFilesUpToTheLimit) {
  const testing::TempDir dir;
  const fs::path file = dir.writeFile("a.txt", "twelve bytes");
  EXPECT_EQ(bytesOfFile(file), "twelve bytes");
  EXPECT_EQ(bytesOfFile(file, nullptr, {.maxBytes = 12}), "twelve bytes");
  int error = 0;
  EXPECT_EQ(bytesOfFile(file, &error, {.maxBytes = 11}), std::nullopt);
  EXPECT_EQ(error, EFBIG);
  EXPECT_EQ(bytesOfFile(dir.path() / "missing", &error), std::nullopt);
  EXPECT_EQ(error, ENOENT);
  // A device without an end is read up to the limit, not until memory runs out.
  EXPECT_EQ(bytesOfFile("/dev/zero", &error, {.maxBytes = 100000}), std::nullopt);
  EXPECT_EQ(error, EFBIG);
}

TEST(FileBytesTest, OnlyRegularFilesWhenAsked) {
  const testing::TempDir dir;
  const fs::path file = dir.writeFile("a.txt", "text");
  fs::create_symlink(file, dir.path() / "link");
  ASSERT_EQ(::mkfifo((dir.path() / "fifo").c_str(), 0600), 0);
  const FileReadLimits regular{.regularFileOnly = true};
  EXPECT_EQ(bytesOfFile(file, nullptr, regular), "text");
  int error = 0;
  EXPECT_EQ(bytesOfFile(dir.path() / "link", &error, regular), std::nullopt);
  EXPECT_EQ(error, ELOOP);
  EXPECT_EQ(bytesOfFile(dir.path() / "fifo", &error, regular), std::nullopt);  // no writer: no wait
  EXPECT_EQ(error, EINVAL);
  EXPECT_EQ(bytesOfFile("/dev/null", &error, regular), std::nullopt);
  EXPECT_EQ(bytesOfFile(dir.path() / "link"), "text");  // followed when not asked otherwise
}

}  // namespace
}  // namespace orvel

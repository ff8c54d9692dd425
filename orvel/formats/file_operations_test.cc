#include "orvel/formats/file_operations.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "orvel/formats/formats_test_support.h"
#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using testing::ArchiveEntry;

class UnpackTest : public ::testing::Test {
 protected:
  // Packs the entries, unpacks them into "out"; the error when it fails, else "".
  std::string unpack(const std::vector<ArchiveEntry>& entries, bool zip = true,
                     const UnpackLimits& limits = {}) {
    const fs::path archive = _dir.path() / (zip ? "a.zip" : "a.tar");
    EXPECT_TRUE(testing::writeArchive(archive, entries, zip));
    std::string error;
    return decompressFileAtPath(archive, out(), limits, &error) ? "" : error;
  }
  fs::path out() const { return _dir.path() / "deep" / "out"; }
  // Nothing but "deep", the archives and the sentinel beside the destination.
  void expectNothingOutside() const {
    for (const auto& entry : fs::directory_iterator(_dir.path())) {
      const std::string name = entry.path().filename().string();
      EXPECT_TRUE(name == "deep" || name == "a.zip" || name == "a.tar") << name;
    }
    for (const auto& entry : fs::directory_iterator(_dir.path() / "deep")) {
      EXPECT_EQ(entry.path().filename(), "out");
    }
  }
  testing::TempDir _dir;
};

TEST_F(UnpackTest, FilesFoldersAndLinksInside) {
  EXPECT_EQ(unpack({{"bundle.textbundle/", "", AE_IFDIR},
                    {"bundle.textbundle/text.md", "# Title\n"},
                    {"bundle.textbundle/assets/img.png", std::string("\x89PNG", 4)},
                    {"bundle.textbundle/latest", "", AE_IFLNK, "text.md"},
                    // Followed through the links before it, this one stays inside too.
                    {"bundle.textbundle/self", "", AE_IFLNK, "."},
                    {"bundle.textbundle/deep", "", AE_IFLNK, "self/self/assets/../assets"},
                    {"run.sh", "echo", AE_IFREG, "", false, 04755}},
                   false),
            "");
  EXPECT_EQ(testing::fileBytes(out() / "bundle.textbundle" / "text.md"), "# Title\n");
  EXPECT_EQ(fs::read_symlink(out() / "bundle.textbundle" / "latest"), "text.md");
  EXPECT_TRUE(fs::exists(out() / "bundle.textbundle" / "deep" / "img.png"));
  struct stat info {};
  ASSERT_EQ(::stat((out() / "run.sh").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07000, 0u);  // no setuid bit
  // Unpacking again over what is there replaces the files.
  EXPECT_EQ(unpack({{"bundle.textbundle/text.md", "# New\n"}}), "");
  EXPECT_EQ(testing::fileBytes(out() / "bundle.textbundle" / "text.md"), "# New\n");
  expectNothingOutside();
}

TEST_F(UnpackTest, HostileEntriesAreRefused) {
  EXPECT_EQ(unpack({{"../escaped.txt", "x"}}, false),
            "../escaped.txt: path outside the destination");
  EXPECT_EQ(unpack({{"a/../../escaped.txt", "x"}}, false),
            "a/../../escaped.txt: path outside the destination");
  EXPECT_EQ(unpack({{"/tmp/absolute.txt", "x"}}, false),
            "/tmp/absolute.txt: path outside the destination");
  EXPECT_EQ(unpack({{"up", "", AE_IFLNK, "../.."}, {"up/escaped.txt", "x"}}, false),
            "up: symbolic link points outside the destination");
  EXPECT_EQ(unpack({{"abs", "", AE_IFLNK, "/etc"}}, false),
            "abs: symbolic link points outside the destination");
  // A link inside is fine, but nothing is written through it.
  EXPECT_EQ(
      unpack({{"real/", "", AE_IFDIR}, {"alias", "", AE_IFLNK, "real"}, {"alias/x", "x"}}, false),
      "alias/x: would be written through a symbolic link or a file");
  EXPECT_EQ(unpack({{"target.txt", "x"}, {"hard.txt", "", AE_IFREG, "target.txt", true}}, false),
            "hard.txt: hard links are not unpacked");
  EXPECT_EQ(unpack({{"dev", "", AE_IFCHR}}, false),
            "dev: device files, FIFOs and sockets are not unpacked");
  expectNothingOutside();
  EXPECT_FALSE(fs::exists(_dir.path() / "escaped.txt"));
}

TEST_F(UnpackTest, SizeAndRatioLimits) {
  const std::string big(3 << 20, 'a');  // 3 MiB of one letter packs to a few KB
  EXPECT_EQ(unpack({{"big.txt", big}}, true, {.maxBytes = 1 << 20}),
            "big.txt: unpacks to more than 1048576 bytes");
  EXPECT_EQ(unpack({{"big.txt", big}}, true, {.maxBytes = 1 << 30, .maxRatio = 200}),
            "big.txt: unpacks to more than 200 times its size");
  EXPECT_EQ(unpack({{"big.txt", big}}, true, {.maxBytes = 1 << 30, .maxRatio = 100000}), "");
  EXPECT_EQ(fs::file_size(out() / "big.txt"), big.size());
}

TEST_F(UnpackTest, WhatIsNoArchive) {
  const fs::path text = _dir.writeFile("plain.txt", "not an archive at all");
  std::string error;
  EXPECT_FALSE(decompressFileAtPath(text, out(), {}, &error));
  EXPECT_EQ(error.rfind("not a readable archive", 0), 0u) << error;
  EXPECT_FALSE(decompressFileAtPath(_dir.path() / "missing.zip", out(), {}, &error));
  EXPECT_EQ(error, "cannot be opened: No such file or directory");
  // A FIFO is refused, not opened to wait for a writer.
  ASSERT_EQ(::mkfifo((_dir.path() / "fifo.zip").c_str(), 0600), 0);
  EXPECT_FALSE(decompressFileAtPath(_dir.path() / "fifo.zip", out(), {}, &error));
  EXPECT_EQ(error, "not a regular file");
  EXPECT_EQ(readArchiveEntry(_dir.path() / "fifo.zip", [](const std::string&) { return true; }),
            std::nullopt);
  // A real archive, but its destination would lie below a file.
  const fs::path archive = _dir.path() / "a.zip";
  ASSERT_TRUE(testing::writeArchive(archive, {{"x.txt", "x"}}));
  EXPECT_FALSE(decompressFileAtPath(archive, text / "sub", {}, &error));
  EXPECT_EQ(error, (text / "sub").string() + ": cannot make the destination folder");
}

TEST_F(UnpackTest, OneEntryIsReadWithoutUnpacking) {
  const fs::path archive = _dir.path() / "a.zip";
  ASSERT_TRUE(testing::writeArchive(archive, {{"one.textbundle/text.md", "first"},
                                              {"one.textbundle/other.md", "no"},
                                              {"two.textbundle/text.txt", "second"}}));
  const auto isText = [](const std::string& path) {
    return path.find("/text.") != std::string::npos;
  };
  EXPECT_EQ(readArchiveEntry(archive, isText), "second");  // the last match wins
  EXPECT_EQ(readArchiveEntry(archive, [](const std::string&) { return false; }), std::nullopt);
  EXPECT_EQ(readArchiveEntry(_dir.path() / "missing.zip", isText), std::nullopt);
  EXPECT_FALSE(fs::exists(out()));
}

TEST(TemporaryDirectoryTest, FreshPrivateFolders) {
  const auto one = uniqueTemporaryDirectory(), two = uniqueTemporaryDirectory();
  ASSERT_TRUE(one && two);
  EXPECT_NE(*one, *two);
  struct stat info {};
  ASSERT_EQ(::stat(one->c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  fs::remove_all(*one);
  fs::remove_all(*two);
}

}  // namespace
}  // namespace orvel

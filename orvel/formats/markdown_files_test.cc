#include "orvel/formats/markdown_files.h"

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "orvel/formats/formats_test_support.h"
#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

TEST(MarkDownFileTypesTest, ExtensionsByLengthInAnyCase) {
  for (const char16_t* yes : {u"md", u"MD", u"mmd", u"Mdwn", u"mark", u"mdown", u"MDText",
                              u"mkdown", u"textile", u"Markdown"}) {
    EXPECT_TRUE(isMarkDownExtension(yes)) << fs::path(std::u16string(yes)).string();
  }
  for (const char16_t* no : {u"m", u"mkd", u"txt", u"mdwnx", u"markdowns", u"", u"d", u"mdtex"}) {
    EXPECT_FALSE(isMarkDownExtension(no)) << fs::path(std::u16string(no)).string();
  }
  EXPECT_FALSE(isMarkDownExtension(std::nullopt));
  EXPECT_TRUE(isMarkDownFile("notes/readme.MD"));
  EXPECT_TRUE(isMarkDownFile("notes.Markdown"));
  EXPECT_FALSE(isMarkDownFile("x.mkd"));
  EXPECT_FALSE(isMarkDownFile("md"));
  EXPECT_EQ(MarkDownFileTypes().size(), 18u);
  for (const std::u16string& type : MarkDownFileTypes()) EXPECT_TRUE(isMarkDownExtension(type));
  EXPECT_TRUE(isTextBundleFile("Draft.TextBundle"));
  EXPECT_TRUE(isTextBundleFile("draft.textpack"));
  EXPECT_FALSE(isTextBundleFile("draft.textbundles"));
  EXPECT_FALSE(isTextBundleExtension(std::nullopt));
  EXPECT_EQ(TextBundleFileTypes().size(), 4u);
}

class TextBundleTest : public ::testing::Test {
 protected:
  fs::path bundle(const std::string& name, const std::string& textName, const std::string& text) {
    const fs::path folder = _dir.path() / name;
    fs::create_directories(folder / "assets");
    _dir.writeFile(name + "/" + textName, text);
    _dir.writeFile(name + "/info.json", "{}");
    return folder;
  }
  testing::TempDir _dir;
};

TEST_F(TextBundleTest, TheTextOfABundleFolder) {
  NSStringEncoding used = 0;
  EXPECT_EQ(stringWithContentsOfTextBundleFile(bundle("a.textbundle", "TEXT.md", "# caf\xC3\xA9"),
                                               std::nullopt, &used),
            u"# caf\u00e9");
  EXPECT_EQ(used, NSUTF8StringEncoding);
  EXPECT_EQ(stringWithContentsOfTextBundleFile(bundle("b.TEXTBUNDLE", "text.txt", "caf\xE9")),
            u"caf\u00e9");  // not UTF-8: Windows Latin 1
  EXPECT_EQ(stringWithContentsOfTextBundleFile(bundle("c.textbundle", "content.md", "x")),
            std::nullopt);
  EXPECT_EQ(stringWithContentsOfTextBundleFile(bundle("d.textbundle", "text.md", "caf\xE9"),
                                               NSUTF8StringEncoding),
            std::nullopt);  // not valid in the encoding asked for
  EXPECT_EQ(stringWithContentsOfTextBundleFile(_dir.path() / "missing.textbundle"), std::nullopt);
  EXPECT_EQ(stringWithContentsOfTextBundleFile(_dir.writeFile("plain.md", "x")), std::nullopt);
}

TEST_F(TextBundleTest, OnlyARegularTextFileIsRead) {
  // Each would hang the reader, fill memory or show a file outside the bundle.
  const fs::path fifo = _dir.path() / "fifo.textbundle";
  fs::create_directories(fifo);
  ASSERT_EQ(::mkfifo((fifo / "text.md").c_str(), 0600), 0);
  EXPECT_EQ(stringWithContentsOfTextBundleFile(fifo), std::nullopt);
  const fs::path zero = _dir.path() / "zero.textbundle";
  fs::create_directories(zero);
  fs::create_symlink("/dev/zero", zero / "text.md");
  EXPECT_EQ(stringWithContentsOfTextBundleFile(zero), std::nullopt);
  const fs::path other = _dir.path() / "other.textbundle";
  fs::create_directories(other);
  fs::create_symlink(_dir.writeFile("secret.txt", "secret"), other / "text.md");
  EXPECT_EQ(stringWithContentsOfTextBundleFile(other), std::nullopt);
  // A regular text file after a link is the bundle's text.
  _dir.writeFile("other.textbundle/text.txt", "the real text");
  EXPECT_EQ(stringWithContentsOfTextBundleFile(other), u"the real text");
  // Copying a bundle keeps its links as links.
  ASSERT_TRUE(decompressTextBundleFile(other, _dir.path() / "copy.textbundle"));
  EXPECT_TRUE(fs::is_symlink(_dir.path() / "copy.textbundle/text.md"));
}

TEST_F(TextBundleTest, TheTextOfAPack) {
  const fs::path one = _dir.path() / "one.textpack";
  ASSERT_TRUE(
      testing::writeArchive(one, {{"Draft.textbundle/", "", AE_IFDIR},
                                  {"Draft.textbundle/info.json", "{}"},
                                  {"Draft.textbundle/text.markdown", "\xEF\xBB\xBFHello"}}));
  EXPECT_EQ(stringWithContentsOfTextBundleFile(one), u"Hello");
  const fs::path two = _dir.path() / "two.TEXTPACK";
  ASSERT_TRUE(testing::writeArchive(two, {{"first.textbundle/text.md", "first"},
                                          {"nested/x.textbundle/text.md", "nested"},
                                          {"second.textbundle/text.md", "second"}}));
  EXPECT_EQ(stringWithContentsOfTextBundleFile(two), u"second");  // the last bundle wins
  const fs::path none = _dir.path() / "none.textpack";
  ASSERT_TRUE(testing::writeArchive(none, {{"x.textbundle/content.md", "x"}}));
  EXPECT_EQ(stringWithContentsOfTextBundleFile(none), std::nullopt);
  EXPECT_EQ(stringWithContentsOfTextBundleFile(_dir.writeFile("bad.textpack", "not a zip")),
            std::nullopt);
}

TEST_F(TextBundleTest, UnpackingABundle) {
  const fs::path folder = bundle("src.textbundle", "text.md", "folder text");
  const fs::path copied = _dir.path() / "out" / "copy.textbundle";
  fs::create_directories(copied.parent_path());
  EXPECT_TRUE(decompressTextBundleFile(folder, copied));
  EXPECT_EQ(testing::fileBytes(copied / "text.md"), "folder text");

  const fs::path pack = _dir.path() / "p.textpack";
  ASSERT_TRUE(testing::writeArchive(pack, {{"Packed.textbundle/text.md", "packed text"}}));
  const fs::path moved = _dir.path() / "packs" / "Mine.textbundle";
  EXPECT_TRUE(decompressTextBundleFile(pack, moved));
  EXPECT_EQ(testing::fileBytes(moved / "text.md"), "packed text");
  EXPECT_FALSE(fs::exists(moved.parent_path() / "Packed.textbundle"));
  // A bundle that already has the destination's name (in another case) stays where it is.
  const fs::path same = _dir.path() / "same" / "packed.TEXTBUNDLE";
  EXPECT_TRUE(decompressTextBundleFile(pack, same));
  EXPECT_TRUE(fs::exists(same.parent_path() / "Packed.textbundle"));

  EXPECT_FALSE(decompressTextBundleFile("", moved));
  EXPECT_FALSE(decompressTextBundleFile(pack, ""));
  EXPECT_FALSE(decompressTextBundleFile(_dir.writeFile("bad.textpack", "no"), moved));
  EXPECT_FALSE(decompressTextBundleFile(_dir.writeFile("a.zip", "no"), moved));
  const fs::path empty = _dir.path() / "empty.textpack";
  ASSERT_TRUE(testing::writeArchive(empty, {{"readme.txt", "no bundle"}}));
  EXPECT_FALSE(decompressTextBundleFile(empty, _dir.path() / "e" / "x.textbundle"));
}

}  // namespace
}  // namespace orvel

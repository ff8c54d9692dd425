// orvel textbundle and orvel search over every kind of document, run as a user runs them.
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "orvel/formats/formats_test_support.h"
#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

class TextBundleCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root = _dir.path().string();
    _dir.writeFile("notes.txt", "plain text about the harbour\n");
    _dir.writeFile("readme.MD", "# Harbour\n\nMarkdown about the harbour\n");
    _dir.writeFile("page.html", "<html><body><p>A page about the <b>harbour</b></p></body></html>");
    _dir.writeFile("news.rss",
                   "<rss><channel><item><title>Harbour news</title><description>The harbour "
                   "opens</description></item></channel></rss>");
    _dir.writeFile("Draft.textbundle/text.md", "# Draft\n\nA bundle about the harbour\n");
    _dir.writeFile("Draft.textbundle/assets/harbour.txt", "an asset, not searched on its own\n");
    ASSERT_TRUE(
        testing::writeArchive(_dir.path() / "Packed.textpack",
                              {{"Packed.textbundle/text.markdown", "A pack about the harbour\n"},
                               {"Packed.textbundle/info.json", "{}"}}));
    ASSERT_TRUE(testing::writeArchive(_dir.path() / "hostile.textpack",
                                      {{"../escaped.textbundle/text.md", "x"}}, false));
  }
  std::string root;
  testing::TempDir _dir;
};

TEST_F(TextBundleCommandTest, TextAndUnpacking) {
  expectSuccess(orvel({"textbundle", "text", root + "/Packed.textpack"}),
                "A pack about the harbour\n");
  expectSuccess(orvel({"textbundle", "text", root + "/Draft.textbundle"}),
                "# Draft\n\nA bundle about the harbour\n");
  expectFailure(
      orvel({"textbundle", "text", "--encoding", "no-such-charset", root + "/Packed.textpack"}), 1,
      "orvel: no-such-charset: unknown charset name\n");
  expectFailure(orvel({"textbundle", "text", root + "/notes.txt"}), 1,
                "orvel: " + root + "/notes.txt: not a .textbundle folder or .textpack archive\n");
  expectSuccess(
      orvel({"textbundle", "unpack", root + "/Packed.textpack", root + "/out/Mine.textbundle"}),
      "");
  EXPECT_EQ(testing::fileBytes(_dir.path() / "out/Mine.textbundle/text.markdown"),
            "A pack about the harbour\n");
  expectFailure(
      orvel({"textbundle", "unpack", root + "/hostile.textpack", root + "/o/x.textbundle"}), 1,
      "orvel: " + root +
          "/hostile.textpack: ../escaped.textbundle/text.md: path outside the "
          "destination\n");
  EXPECT_FALSE(fs::exists(_dir.path() / "escaped.textbundle"));
}

TEST_F(TextBundleCommandTest, NoTextSaysWhy) {
  expectFailure(orvel({"textbundle", "text", root + "/missing.textpack"}), 1,
                "orvel: " + root +
                    "/missing.textpack: no text: cannot be opened: No such file or directory\n");
  ASSERT_TRUE(testing::writeArchive(_dir.path() / "bomb.textpack",
                                    {{"Bomb.textbundle/text.md", std::string(4 << 20, 'a')}}));
  expectFailure(orvel({"textbundle", "text", root + "/bomb.textpack"}), 1,
                "orvel: " + root +
                    "/bomb.textpack: no text: Bomb.textbundle/text.md: unpacks to more than 200 "
                    "times its size\n");
  expectFailure(
      orvel({"textbundle", "text", root + "/hostile.textpack"}), 1,
      "orvel: " + root + "/hostile.textpack: no text: no NAME.textbundle/text.* in the pack\n");
  _dir.writeFile("Empty.textbundle/info.json", "{}");
  expectFailure(orvel({"textbundle", "text", root + "/Empty.textbundle"}), 1,
                "orvel: " + root +
                    "/Empty.textbundle: no text: no text.* file in the bundle (a regular file, "
                    "not a link)\n");
  // A name that would forge a second line is written escaped.
  expectFailure(orvel({"textbundle", "text", root + "/a\nb.textpack"}), 1,
                "orvel: " + root +
                    "/a\\nb.textpack: no text: cannot be opened: No such file or "
                    "directory\n");
}

TEST_F(TextBundleCommandTest, SearchReadsEveryKindAndTypesChooseSome) {
  const ProgramResult all = orvel({"search", "-l", "-j", "1", "harbour", root});
  EXPECT_EQ(all.out, root + "/Draft.textbundle\n" + root + "/Packed.textpack\n" + root +
                         "/news.rss\n" + root + "/notes.txt\n" + root + "/page.html\n" + root +
                         "/readme.MD\n");
  EXPECT_EQ(all.err, "");  // the hostile pack holds no bundle text: skipped quietly
  const ProgramResult json = orvel({"search", "--json=files", "-j", "1", "pack", root});
  EXPECT_EQ(json.out,
            "{\"kind\":\"textbundle\",\"occurrences\":[{\"line\":1,\"range\":[0,24],"
            "\"string\":\"A pack about the harbour\"}],\"path\":\"" +
                root + "/Packed.textpack\"}\n");
  expectSuccess(orvel({"search", "-l", "-j", "1", "--type", "textbundle", "--type", "markdown",
                       "harbour", root}),
                root + "/Draft.textbundle\n" + root + "/Packed.textpack\n" + root + "/readme.MD\n");
  expectSuccess(orvel({"search", "-l", "--type", "feed", "harbour", root}), root + "/news.rss\n");
  const ProgramResult bad = orvel({"search", "--type", "pdf", "harbour", root});
  EXPECT_EQ(bad.exitCode, 2);
  const ProgramResult list = orvel({"search", "--type-list"});
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_NE(list.out.find("textbundle: .textbundle folders and .textpack archives\n"),
            std::string::npos);
}

}  // namespace
}  // namespace orvel

// orvel search, match and snippets, run as a user runs them on a temporary folder.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

class SearchCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(_dir.path() / "sub");
    std::filesystem::create_directories(_dir.path() / ".hidden");
    _dir.writeFile("a.txt", "The quick brown fox.\nIt jumps over the lazy dog.\r\nA fox again!");
    _dir.writeFile("sub/b.md", "# Notes\n\nNo animals here, only a concatenated word.");
    _dir.writeFile("sub/c.txt", "Der schnelle braune Fuchs. Ein FOX.");
    _dir.writeFile(".hidden/d.txt", "a hidden fox");
    _dir.writeFile("binary.dat", std::string("fox\0\x01\x02", 6));
    _dir.writeFile("latin1.txt", "caf\xE9 fox");
    std::filesystem::create_symlink(_dir.path() / "a.txt", _dir.path() / "link.txt");
  }

  std::string path(const std::string& name) const { return (_dir.path() / name).string(); }

  testing::TempDir _dir;
};

TEST_F(SearchCommandTest, PrintsFilesLinesAndSnippets) {
  const ProgramResult result = orvel({"search", "fox", _dir.path().string()});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, path("a.txt") + "\n1:The quick brown fox\n3:A fox again\n" +
                            path("sub/c.txt") + "\n1:Ein FOX\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(SearchCommandTest, FilesCountsAndJson) {
  EXPECT_EQ(orvel({"search", "-l", "fox", _dir.path().string()}).out,
            path("a.txt") + "\n" + path("sub/c.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-c", "fox OR dog", _dir.path().string()}).out,
            path("a.txt") + ":3\n" + path("sub/c.txt") + ":1\n");
  EXPECT_EQ(orvel({"search", "--json=files", "lazy", path("a.txt")}).out,
            "{\"kind\":\"text\",\"occurrences\":[{\"line\":2,\"range\":[21,26],\"string\":\"It "
            "jumps over the lazy "
            "dog\"}],\"path\":\"" +
                path("a.txt") + "\"}\n");
}

TEST_F(SearchCommandTest, QueryOptions) {
  EXPECT_EQ(orvel({"search", "-l", "-s", "FOX", _dir.path().string()}).out,
            path("sub/c.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "~cat", _dir.path().string()}).out, path("sub/b.md") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "--wildcard", "fu?hs", _dir.path().string()}).out,
            path("sub/c.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "fox -dog", _dir.path().string()}).out,
            path("sub/c.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "-j", "1", "--", "-animals", path("sub")}).out,
            path("sub/c.txt") + "\n");
  EXPECT_EQ(orvel({"search", "--paragraphs", "lazy", path("a.txt")}).out,
            path("a.txt") + "\n2:It jumps over the lazy dog\n");
  EXPECT_EQ(orvel({"search", "--snippet-chars", "12", "quick", path("a.txt")}).out,
            path("a.txt") + "\n1:The quick...\n");
}

TEST_F(SearchCommandTest, HiddenBinaryAndLinks) {
  const ProgramResult hidden = orvel({"search", "-l", "--hidden", "hidden", _dir.path().string()});
  EXPECT_EQ(hidden.out, path(".hidden/d.txt") + "\n");
  const ProgramResult verbose = orvel({"search", "-l", "--verbose", "fox", _dir.path().string()});
  EXPECT_NE(verbose.err.find(path("binary.dat") + ": skipped: binary"), std::string::npos)
      << verbose.err;
  EXPECT_NE(verbose.err.find(path("latin1.txt") + ": skipped: not UTF-8 text"), std::string::npos);
  EXPECT_EQ(verbose.out.find("link.txt"), std::string::npos);  // links are not followed
}

TEST_F(SearchCommandTest, ExitCodes) {
  EXPECT_EQ(orvel({"search", "zebra", _dir.path().string()}).exitCode, 1);
  const ProgramResult missing = orvel({"search", "fox", path("nope")});
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_EQ(missing.err, "orvel: " + path("nope") + ": No such file or directory\n");
  const ProgramResult partly = orvel({"search", "-l", "fox", path("a.txt"), path("nope")});
  EXPECT_EQ(partly.exitCode, 2);
  EXPECT_EQ(partly.out, path("a.txt") + "\n");
  EXPECT_EQ(orvel({"search"}).exitCode, 2);
}

TEST_F(SearchCommandTest, ByteFilterKeepsFilesWhoseLettersFoldToTheTerm) {
  // U+0131 (dotless i) and U+017F (long s) fold to I and S: the files must be searched.
  _dir.writeFile("dotless.txt", "A qu\xC4\xB1xotic plan.");
  _dir.writeFile("longs.txt", "The \xC5\xBFtar.");
  EXPECT_EQ(orvel({"search", "-l", "quixotic", path("dotless.txt")}).out,
            path("dotless.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "plan quixotic", path("dotless.txt")}).out,
            path("dotless.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "quixotry", path("dotless.txt")}).exitCode, 1);
  EXPECT_EQ(orvel({"search", "-l", "star", path("longs.txt")}).out, path("longs.txt") + "\n");
  EXPECT_EQ(orvel({"search", "-l", "-s", "star", path("longs.txt")}).exitCode, 1);
}

TEST_F(SearchCommandTest, FileListsDecideOnAPrefixOnlyAtWordBoundaries) {
  // The first 4096 bytes end inside "rights": "r" must not be taken for a whole word.
  const auto file =
      _dir.writeFile("long.txt", std::string(4094, 'a') + " rights " + std::string(9000, 'b'));
  EXPECT_EQ(orvel({"search", "-l", "r", file.string()}).exitCode, 1);
  EXPECT_EQ(orvel({"search", "-l", "rights", file.string()}).out, file.string() + "\n");
  EXPECT_EQ(orvel({"search", "-l", "rights -" + std::string(9000, 'b'), file.string()}).exitCode,
            1);
}

TEST_F(SearchCommandTest, SearchesTheCurrentFolderByDefault) {
  const std::string here = std::filesystem::current_path().string();
  std::filesystem::current_path(path("sub"));
  // With no path, and no pipe or file on standard input (a pipe would be searched instead).
  const ProgramResult result = testing::runProgram(
      "/bin/sh", {"-c", "exec \"$0\" search -l fuchs < /dev/null", ORVEL_PROGRAM});
  std::filesystem::current_path(here);
  EXPECT_EQ(result.out, "./c.txt\n");
}

TEST(MatchCommandTest, YesOrNo) {
  const ProgramResult yes = orvel({"match", "a NEAR/2 b"}, "a x b");
  EXPECT_EQ(yes.exitCode, 0);
  EXPECT_EQ(yes.out, "yes\n");
  const ProgramResult no = orvel({"match", "a NEAR/2 b"}, "a x y b");
  EXPECT_EQ(no.exitCode, 1);
  EXPECT_EQ(no.out, "no\n");
  EXPECT_EQ(orvel({"match", "-s", "Fox"}, "a fox").out, "no\n");
  EXPECT_EQ(orvel({"match", "--wildcard", "~ncat"}, "concatenate").out, "yes\n");
  EXPECT_EQ(orvel({"match", "x"}, "\xFF").exitCode, 2);  // an error, not "no"
}

TEST(SnippetsCommandTest, AssemblesTheSentencesAroundTerms) {
  const std::string text = "The fox runs. A dog barks. The fox sleeps.";
  EXPECT_EQ(orvel({"snippets", "--separator", " | ", "fox"}, text).out,
            "The fox runs | The fox sleeps\n");
  EXPECT_EQ(orvel({"snippets", "--max", "20", "fox"}, text).out, "The fox runs The fox...\n");
  EXPECT_EQ(orvel({"snippets", "--wildcard", "sle*"}, text).out, "The fox sleeps\n");
  const ProgramResult none = orvel({"snippets", "cat"}, text);
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.out, "");
}

}  // namespace
}  // namespace orvel

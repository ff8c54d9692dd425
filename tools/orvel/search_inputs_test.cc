// orvel search, match and snippets on inputs that are not plain folders of text: files that
// are not text, FIFOs and devices, folders that cannot be read, and many generated files on
// which the fast paths must answer as the plain path does.
#include <filesystem>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/formats/formats_test_support.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

std::set<std::string> lines(const std::string& text) {
  std::set<std::string> found;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) found.insert(line);
  return found;
}

// The paths of `search -c` output, whose lines are PATH:COUNT.
std::set<std::string> countedPaths(const std::string& text) {
  std::set<std::string> paths;
  for (const std::string& line : lines(text)) paths.insert(line.substr(0, line.rfind(':')));
  return paths;
}

TEST(SearchInputsTest, ATermEndingInANonWordUnitIsNoWholeWordBeforeAWordUnit) {
  testing::TempDir dir;
  const std::string file = dir.writeFile("cpp.txt", "C++" + std::string(5000, 'x')).string();
  EXPECT_EQ(orvel({"search", "-l", "C++", file}).exitCode, 1);
  EXPECT_EQ(orvel({"search", "C++", file}).exitCode, 1);
  EXPECT_EQ(orvel({"match", "C++", file}).out, "no\n");
  const std::string spaced = dir.writeFile("spaced.txt", "C++ " + std::string(5000, 'x')).string();
  EXPECT_EQ(orvel({"search", "-l", "C++", spaced}).out, spaced + "\n");
}

// The first kilobytes decide whether a file is text, as in grep tools; what goes wrong later
// reads as U+FFFD (or U+0000), whichever path reads the file.
TEST(SearchInputsTest, TheFirstKilobytesDecideWhetherAFileIsText) {
  testing::TempDir dir;
  const std::string start = "hello world. " + std::string(6000, 'w') + " ";
  const std::string nul = dir.writeFile("nul.txt", start + std::string("\0end", 4)).string();
  const std::string latin1 = dir.writeFile("latin1.txt", start + "caf\xE9 end").string();
  dir.writeFile("early.txt", "caf\xE9 hello " + start);
  const std::string folder = dir.path().string();
  EXPECT_EQ(orvel({"search", "-l", "hello", folder}).out, latin1 + "\n" + nul + "\n");
  EXPECT_EQ(orvel({"search", "-c", "hello", folder}).out, latin1 + ":1\n" + nul + ":1\n");
  const ProgramResult late = orvel({"search", "caf", latin1});
  EXPECT_EQ(late.out, latin1 + "\n1:" + std::string(6000, 'w') + " caf\xEF\xBF\xBD end\n");
  EXPECT_EQ(orvel({"match", "end", nul}).out, "yes\n");
}

// Random monotone queries over generated files: the file list decided on prefixes equals the
// list of files the full search counts. The files hold random terms and gaps around the
// place where the prefix is cut, in filler that matches nothing.
TEST(SearchInputsTest, FileListsAgreeWithTheFullSearchOnGeneratedFiles) {
  testing::TempDir dir;
  std::mt19937 generator(17);
  const std::vector<std::string> words = {"C++", "c#", "alpha", "beta",
                                          "x",   "--", "a.b",   "\xC3\xA9"};
  // Near the end of the first kilobytes, bytes that are no text decide what the file is.
  const std::vector<std::string> noText = {"\xE9late", std::string(1, '\0')};
  const std::vector<std::string> gaps = {" ", ", ", ".", "\n", "+", "-", "  ", ""};
  auto filler = [](std::size_t size) {
    std::string text;
    while (text.size() < size) text += "lorem ";
    return text;
  };
  for (int f = 0; f < 150; ++f) {
    std::string text = filler(4060 + generator() % 40);
    for (int k = 0; k < 6; ++k) {
      text += words[generator() % words.size()] + gaps[generator() % gaps.size()];
      if (f % 5 == 0 && k == 3) text += noText[generator() % noText.size()];
    }
    dir.writeFile("f" + std::to_string(f) + ".txt", text + filler(2000));
  }
  const std::vector<std::string> queries = {
      "C++",         "c#",           "alpha beta",        "\"alpha beta\"",   "x",
      "-- OR x",     "a.b",          "alpha NEAR/1 C++",  "beta BEFORE/2 x",  "\xC3\xA9",
      "~lph",        "C++ AND --",   "\"C++ x\"",         "alpha OR c# OR x", "b",
      "beta NEXT x", "(x OR a) C++", "alpha AFTER/3 beta"};
  for (const std::string& query : queries) {
    SCOPED_TRACE(query);
    const ProgramResult listed = orvel({"search", "-l", "--", query, dir.path().string()});
    const ProgramResult counted = orvel({"search", "-c", "--", query, dir.path().string()});
    EXPECT_EQ(lines(listed.out), countedPaths(counted.out));
  }
}

TEST(SearchInputsTest, NamedFilesThatAreNotTextAreReported) {
  testing::TempDir dir;
  const std::string binary = dir.writeFile("b.dat", std::string("fox\0", 4)).string();
  const std::string latin1 = dir.writeFile("l.txt", "caf\xE9 fox").string();
  const ProgramResult result = orvel({"search", "fox", binary, latin1});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.err, "orvel: " + binary + ": not searched: binary (holds NUL bytes)\norvel: " +
                            latin1 + ": not searched: not UTF-8 text (invalid byte at offset 3)\n");
  const ProgramResult match = orvel({"match", "fox", binary});
  EXPECT_EQ(match.exitCode, 2);
  EXPECT_EQ(match.out, "");
  EXPECT_EQ(match.err, "orvel: " + binary + ": binary (holds NUL bytes)\n");
  EXPECT_EQ(orvel({"snippets", "fox"}, std::string("fox\0", 4)).exitCode, 2);
}

TEST(SearchInputsTest, FifosAndDevicesAreRefusedNotRead) {
  testing::TempDir dir;
  const std::string fifo = (dir.path() / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  dir.writeFile("a.txt", "hello");
  for (const std::string& path : {fifo, std::string("/dev/zero")}) {
    const ProgramResult result = orvel({"search", "hello", path});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.err, "orvel: " + path +
                              ": not a regular file or folder (a FIFO, device or socket is not "
                              "searched)\n");
  }
  // Found in a folder, a FIFO is passed over.
  const ProgramResult walked = orvel({"search", "-l", "hello", dir.path().string()});
  EXPECT_EQ(walked.exitCode, 0);
  EXPECT_EQ(walked.out, (dir.path() / "a.txt").string() + "\n");
}

TEST(SearchInputsTest, AnUnreadableFolderIsNamedAndTheWalkGoesOn) {
  if (::geteuid() == 0) GTEST_SKIP() << "root reads every folder";
  testing::TempDir dir;
  std::filesystem::create_directories(dir.path() / "closed");
  std::filesystem::create_directories(dir.path() / "open");
  dir.writeFile("closed/a.txt", "hello");
  dir.writeFile("open/b.txt", "hello");
  ::chmod((dir.path() / "closed").c_str(), 0);
  const ProgramResult result = orvel({"search", "-l", "hello", dir.path().string()});
  ::chmod((dir.path() / "closed").c_str(), 0700);
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, (dir.path() / "open/b.txt").string() + "\n");
  EXPECT_EQ(result.err, "orvel: " + (dir.path() / "closed").string() + ": Permission denied\n");
}

// Files come in the order of their path components: a folder's files before those of a
// sibling whose name extends the folder's with "-" or ".".
TEST(SearchInputsTest, FilesComeInTheOrderOfTheirComponents) {
  testing::TempDir dir;
  for (const char* name : {"ab/x.txt", "a.b/x.txt", "a/x.txt", "a-b/x.txt", "a/y/z.txt"}) {
    dir.writeFile(name, "fox");
  }
  const std::string root = dir.path().string();
  expectSuccess(orvel({"search", "-l", "-j", "2", "fox", root}),
                root + "/a/x.txt\n" + root + "/a/y/z.txt\n" + root + "/a-b/x.txt\n" + root +
                    "/a.b/x.txt\n" + root + "/ab/x.txt\n");
}

// Results come out in file order however many threads search, as each file is done.
TEST(SearchInputsTest, TextPacksAreReadOnSeveralThreads) {
  testing::TempDir dir;
  for (int f = 0; f < 40; ++f) {
    ASSERT_TRUE(
        testing::writeArchive(dir.path() / ("p" + std::to_string(f) + ".textpack"),
                              {{"Pack.textbundle/text.md", "a fox in pack " + std::to_string(f)}}));
  }
  const ProgramResult one = orvel({"search", "-c", "-j", "1", "fox", dir.path().string()});
  const ProgramResult four = orvel({"search", "-c", "-j", "4", "fox", dir.path().string()});
  EXPECT_EQ(four.exitCode, 0);
  EXPECT_EQ(four.err, "");  // where a thread sanitizer reports a race (in the time zone's reading)
  EXPECT_EQ(four.out, one.out);
  EXPECT_EQ(lines(four.out).size(), 40u);
}

TEST(SearchInputsTest, ThreadsPrintInFileOrder) {
  testing::TempDir dir;
  for (int f = 0; f < 300; ++f) {
    dir.writeFile("d" + std::to_string(f % 7) + "/f" + std::to_string(f) + ".txt",
                  f % 3 == 0 ? "a fox here\nand a fox there" : "nothing");
  }
  const ProgramResult one = orvel({"search", "-j", "1", "fox", dir.path().string()});
  const ProgramResult four = orvel({"search", "-j", "4", "fox", dir.path().string()});
  EXPECT_EQ(one.exitCode, 0);
  EXPECT_EQ(four.exitCode, 0);
  EXPECT_EQ(four.err, "");  // where a thread sanitizer reports a race
  EXPECT_EQ(four.out, one.out);
  EXPECT_EQ(lines(four.out).size(), 100u + 2u);  // 100 paths, and the two snippet lines
}

}  // namespace
}  // namespace orvel

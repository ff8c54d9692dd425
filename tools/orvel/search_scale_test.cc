// What lets orvel search run under a job scheduler and at a terminal: paths given as a list
// (lines or NUL-separated), JSON lines out, the progress line, and the version the program,
// its manual page and the library agree on.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "orvel/testing/temp_dir.h"
#include "orvel/version.h"

#include "tools/orvel/cli_test_support.h"
#include "tools/orvel/search_progress.h"

namespace orvel {
namespace {

TEST(SearchFilesFromTest, ReadsLinesOrNulSeparatedNamesAndSkipsEmptyEntries) {
  testing::TempDir dir;
  const std::string spaced = dir.writeFile("two words.txt", "harbour\n").string();
  const std::string newline = dir.writeFile("line\nbreak.txt", "the harbour\n").string();
  const std::string other = dir.writeFile("other.txt", "nothing here\n").string();
  const std::string list = dir.writeFile("list", spaced + "\r\n\n" + other + "\n").string();

  expectSuccess(orvel({"search", "-l", "--files-from", list, "harbour"}), spaced + "\n");
  expectSuccess(orvel({"search", "-l", "--files-from", "-", "harbour"}, spaced + "\n" + other),
                spaced + "\n");
  // A name holding a line end needs NUL separation; the listed order is the output order.
  const std::string nulList = newline + '\0' + '\0' + spaced + '\0';
  expectSuccess(orvel({"search", "-l", "--files0-from", "-", "harbour"}, nulList),
                newline + "\n" + spaced + "\n");
  // Paths on the command line are searched too, before the listed ones.
  expectSuccess(orvel({"search", "-c", "--files-from", "-", "harbour", newline}, spaced),
                newline + ":1\n" + spaced + ":1\n");
}

TEST(SearchFilesFromTest, ReportsMissingListsAndListedFilesInOneLineEach) {
  testing::TempDir dir;
  const std::string missing = (dir.path() / "no-such-list").string();
  // An error, not "no match": 2, as for every failure of a search.
  expectFailure(
      orvel({"search", "--files-from", missing, "x"}), 2,
      "orvel: " + missing + ": cannot read the list of files: No such file or directory\n");
  const std::string gone = (dir.path() / "gone.txt").string();
  expectFailure(orvel({"search", "--files-from", "-", "x"}, gone + "\n"), 2,
                "orvel: " + gone + ": No such file or directory\n");
  EXPECT_EQ(orvel({"search", "--files0-from", "-", "--files-from", "-", "x"}).exitCode, 2);
  // Lists that run on, or hold what no list of paths holds, are refused in one line, by
  // limits the help names.
  EXPECT_NE(orvel({"--help"})
                .out.find("a list of files) is read up to 1 GiB, a listed path up "
                          "to 4096 bytes"),
            std::string::npos);
  expectFailure(orvel({"search", "--files0-from", "/dev/zero", "x"}), 2,
                "orvel: /dev/zero: the list of files is larger than 1 GiB\n");
  expectFailure(orvel({"search", "--files-from", "-", "x"}, std::string("a\0b\n", 4)), 2,
                "orvel: stdin: a listed path holds a NUL byte (a NUL-separated list is read with "
                "--files0-from)\n");
  expectFailure(orvel({"search", "--files-from", "-", "x"}, std::string(5000, 'a')), 2,
                "orvel: stdin: a listed path is longer than 4096 bytes\n");
  // A name holding a line break is written escaped: one line, never a forged second one.
  const std::string forged = dir.path().string() + "/a\norvel: all is well";
  expectFailure(
      orvel({"search", "x", forged}), 2,
      "orvel: " + dir.path().string() + "/a\\norvel: all is well: No such file or directory\n");
  expectFailure(
      orvel({"match", "x", forged}), 2,
      "orvel: " + dir.path().string() + "/a\\norvel: all is well: No such file or directory\n");
}

TEST(SearchFilesFromTest, JsonLinesOfSeveralRunsMergeIntoOneResult) {
  testing::TempDir dir;
  std::string first, second;
  for (int i = 0; i < 6; ++i) {
    const std::string path =
        dir.writeFile("f" + std::to_string(i) + ".txt", "quay " + std::to_string(i)).string();
    (i % 2 == 0 ? first : second) += path + "\n";
  }
  const ProgramResult all = orvel({"search", "--json=files", "quay", dir.path().string()});
  const ProgramResult a = orvel({"search", "--json=files", "--files-from", "-", "quay"}, first);
  const ProgramResult b = orvel({"search", "--json=files", "--files-from", "-", "quay"}, second);
  std::istringstream merged(a.out + b.out);
  std::multiset<std::string> parts, whole;
  for (std::string line; std::getline(merged, line);) parts.insert(line);
  std::istringstream together(all.out);
  for (std::string line; std::getline(together, line);) whole.insert(line);
  EXPECT_EQ(parts.size(), 6u);
  EXPECT_EQ(parts, whole);
}

TEST(SearchProgressTest, TheLineCountsFilesAndBytesAndIsErasedBeforeResults) {
  std::FILE* terminal = std::tmpfile();
  ASSERT_NE(terminal, nullptr);
  {
    // A delay longer than the test: nothing is drawn, then an update without delay draws.
    cli::ProgressLine late(terminal, {}, std::chrono::hours(1));
    late.update({2, 2'000'000, 16686, true});
    late.withoutLine([] {});  // nothing drawn: nothing to erase
    cli::ProgressLine progress(terminal, {}, std::chrono::milliseconds(0));
    progress.update({2, 2'000'000, 16686, true});
    EXPECT_TRUE(
        progress.line({2, 2'000'000, 16686, true}).starts_with("2 of 16,686 files, 2.0 MB, "));
    EXPECT_TRUE(progress.line({2, 0, 9, false}).starts_with("2 of 9+ files, 0.0 MB, "));
    progress.withoutLine([&] { std::fputs("RESULT", terminal); });
  }
  std::rewind(terminal);
  std::string shown(4096, '\0');
  shown.resize(std::fread(shown.data(), 1, shown.size(), terminal));
  std::fclose(terminal);
  EXPECT_TRUE(shown.starts_with("\r\x1b[Korvel: 2 of 16,686 files, 2.0 MB, ")) << shown;
  EXPECT_NE(shown.find(" MB/s\r\x1b[KRESULT"), std::string::npos) << shown;
  EXPECT_EQ(shown.size(), shown.find("RESULT") + 6);  // erased once; not again at the end
}

// On a real terminal (a tmux pane): the line shows while a slow search runs, though no file
// has finished yet, and is gone once the results are printed.
TEST(SearchProgressTest, TheLineStaysOnATerminalWhileTheSearchRunsAndGoesAtTheEnd) {
  const std::string tmux = "/usr/bin/tmux";
  if (!std::filesystem::exists(tmux)) GTEST_SKIP() << "tmux is not installed";
  const std::string server = "orvel-test-" + std::to_string(::getpid());
  const auto pane = [&] {
    return testing::runProgram(tmux, {"-L", server, "capture-pane", "-p", "-t", "search"}).out;
  };
  const std::string command = "(sleep 3; echo the harbour) | '" + std::string(ORVEL_PROGRAM) +
                              "' search harbour -; sleep 10";
  ASSERT_EQ(testing::runProgram(tmux, {"-L", server, "new-session", "-d", "-s", "search", "-x",
                                       "120", "-y", "10", "sh", "-c", command})
                .exitCode,
            0);
  std::this_thread::sleep_for(std::chrono::milliseconds(2000));
  const std::string during = pane();
  std::this_thread::sleep_for(std::chrono::milliseconds(2500));
  const std::string after = pane();
  testing::runProgram(tmux, {"-L", server, "kill-server"});
  EXPECT_NE(during.find("orvel: 0 of 1 files, 0.0 MB"), std::string::npos) << during;
  EXPECT_NE(after.find("<stdin>\n1:the harbour"), std::string::npos) << after;
  EXPECT_EQ(after.find("orvel: "), std::string::npos) << after;
}

TEST(SearchProgressTest, NothingShowsWhenTheOutputIsNoTerminal) {
  testing::TempDir dir;
  const std::string file = dir.writeFile("a.txt", "quay").string();
  // The tests' pipes are no terminals: stderr stays empty with or without the option.
  expectSuccess(orvel({"search", "-l", "quay", file}), file + "\n");
  expectSuccess(orvel({"search", "-l", "--no-progress", "quay", file}), file + "\n");
}

TEST(VersionTest, ProgramManualAndHeadersAgree) {
  expectSuccess(orvel({"--version"}), std::string("orvel ") + ORVEL_VERSION_STRING + "\n");
  std::ifstream manual(ORVEL_MANUAL_PAGE);
  std::string header;
  std::getline(manual, header);
  EXPECT_NE(header.find(std::string("\"ORVELfoundation ") + ORVEL_VERSION_STRING + "\""),
            std::string::npos)
      << header;
}

// A process builds only the commands of the group it runs: every command the full help lists
// must be found by its own name, with its own help, and the unknown stay unknown.
TEST(CommandTableTest, EveryCommandTheHelpListsRunsByItsName) {
  const ProgramResult help = orvel({"--help"});
  ASSERT_EQ(help.exitCode, 0);
  std::istringstream lines(help.out.substr(help.out.find("Subcommands:")));
  std::string line;
  std::getline(lines, line);
  int commands = 0;
  while (std::getline(lines, line) && line.starts_with("  ")) {
    const std::string name = line.substr(2, line.find(' ', 2) - 2);
    const ProgramResult own = orvel({name, "--help"});
    EXPECT_EQ(own.exitCode, 0) << name << ": " << own.err;
    EXPECT_NE(own.out.find("orvel " + name), std::string::npos) << name;
    ++commands;
  }
  EXPECT_EQ(commands, 29);
  expectFailure(orvel({"nosuch", "x"}), 2,
                "orvel: unknown command 'nosuch' (see 'orvel --help')\n");
}

}  // namespace
}  // namespace orvel

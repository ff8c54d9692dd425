// Ignore files as git reads them: the pattern language on known cases, and whole walks of
// generated trees (random rules in nested .gitignore files, negations, anchors, folder
// rules) against the files git itself lists as not ignored; and the two other files' rules
// winning over .gitignore's.
#include "orvel/find/ignore_rules.h"

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "orvel/find/collection_walk.h"
#include "orvel/testing/run_program.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

TEST(IgnoreRulesTest, PatternsMatchAsGitMatchesThem) {
  struct Case {
    const char* pattern;
    const char* path;
    bool matches;
  };
  const Case cases[] = {
      {"*.txt", "a.txt", true},
      {"*.txt", "d/a.txt", false},
      {"a*b", "a/b", false},
      {"a**b", "a/b", false},
      {"**/foo", "foo", true},
      {"**/foo", "a/b/foo", true},
      {"a/**", "a/b/c", true},
      {"a/**", "a", false},
      {"a/**/b", "a/b", true},
      {"a/**/b", "a/x/y/b", true},
      {"a/**/b", "a/x/yb", false},
      {"?.md", "x.md", true},
      {"?.md", "/.md", false},
      {"[a-c]x", "bx", true},
      {"[!a-c]x", "bx", false},
      {"[^a]x", "zx", true},
      {"[]]", "]", true},
      {"[a-]", "-", true},
      {"[[:digit:]]*", "7up", true},
      {"[[:upper:]]", "a", false},
      {"\\*", "*", true},
      {"\\*", "a", false},
      {"[a", "[a", false},
      {"x/*/z", "x/y/z", true},
      {"x/*/z", "x/y/w/z", false},
      {"*/*", "a/b", true},
      {"***", "a/b", true},
      {"**/**/x", "x", true},
      {"a/**/***/**/b", "a/b", true},
      {"a/**/**/b", "a/x/y/b", true},
      {"a/**/*/b", "a/b", false},
      {"foo\\", "foo", false},
      {"*a*b*c*d*e*f*g*h*", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ignorePatternMatches(c.pattern, c.path), c.matches) << c.pattern << " " << c.path;
  }
}

TEST(IgnoreRulesTest, LinesAreReadAsGitReadsThem) {
  IgnoreRules rules;
  rules.add("# a comment\n\n*.log\n!keep.log\nbuild/\n/top\n\\#hash\ntrail \\ \r\nsub/deep\n");
  EXPECT_EQ(rules.verdict("x.log", false), IgnoreVerdict::kIgnored);
  EXPECT_EQ(rules.verdict("d/keep.log", false), IgnoreVerdict::kTaken);
  EXPECT_EQ(rules.verdict("build", true), IgnoreVerdict::kIgnored);
  EXPECT_EQ(rules.verdict("build", false), IgnoreVerdict::kNone);  // folders only
  EXPECT_EQ(rules.verdict("top", false), IgnoreVerdict::kIgnored);
  EXPECT_EQ(rules.verdict("d/top", false), IgnoreVerdict::kNone);  // anchored
  EXPECT_EQ(rules.verdict("#hash", false), IgnoreVerdict::kIgnored);
  EXPECT_EQ(rules.verdict("# a comment", false), IgnoreVerdict::kNone);
  EXPECT_EQ(rules.verdict("trail  ", false), IgnoreVerdict::kIgnored);
  EXPECT_EQ(rules.verdict("sub/deep", false), IgnoreVerdict::kIgnored);
  EXPECT_EQ(rules.verdict("x/sub/deep", false), IgnoreVerdict::kNone);
}

// The files a walk of root answers, relative to it, without git's own folder.
std::set<std::string> walked(const fs::path& root, bool ignoreFiles) {
  WalkInputs inputs;
  inputs.paths = {root};
  inputs.hidden = true;
  inputs.ignoreFiles = ignoreFiles;
  CollectionWalk walk(inputs);
  std::set<std::string> files;
  const std::size_t prefix = root.native().size() + 1;
  while (auto item = walk.next()) {
    EXPECT_EQ(item->error, 0) << item->path << ": " << item->message;
    const std::string relative = item->path.substr(prefix);
    if (!relative.starts_with(".git/")) files.insert(relative);
  }
  return files;
}

// The untracked files git does not ignore, by the tree's .gitignore files alone.
std::set<std::string> gitListed(const fs::path& root) {
  const testing::ProgramResult listed = testing::runProgram(
      "/usr/bin/env", {"GIT_CONFIG_NOSYSTEM=1", "GIT_CONFIG_GLOBAL=/dev/null", "git", "-C",
                       root.string(), "ls-files", "--others", "--exclude-standard", "-z"});
  EXPECT_EQ(listed.exitCode, 0) << listed.err;
  std::set<std::string> files;
  for (std::size_t start = 0, end; (end = listed.out.find('\0', start)) != std::string::npos;
       start = end + 1) {
    files.insert(listed.out.substr(start, end - start));
  }
  return files;
}

bool gitAvailable() {
  return ::access("/usr/bin/git", X_OK) == 0 &&
         testing::runProgram("/usr/bin/git", {"--version"}).exitCode == 0;
}

TEST(IgnoreRulesTest, WalksLeaveOutWhatGitLeavesOutOfGeneratedTrees) {
  if (!gitAvailable()) GTEST_SKIP() << "git is not installed";
  const std::vector<std::string> folders = {"a", "b", "src", "build", "a/b", "src/a"};
  const std::vector<std::string> names = {"x.txt", "y.md", "a.txt", "build", "z", "b.log"};
  const std::vector<std::string> patterns = {
      "*.txt",        "*.md",     "a",        "b/",    "/a",     "src/*.txt", "**/y.md",
      "a/**",         "b/**/z",   "!x.txt",   "!*.md", "build",  "build/",    "/src/",
      "?.txt",        "[ax].txt", "[!x].md",  "a/b",   "**/b/",  "*",         "!a/",
      "!src/",        "!b/",      "z",        "/z",    "*.log",  "!b.log",    "a/*.md",
      "src/**/x.txt", "**/a/**",  "!**/y.md", "*/z",   "[a-c]*", "!z"};
  std::mt19937 random(41);
  std::size_t left = 0;  // files the rules left out, over all rounds
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    testing::TempDir dir;
    ASSERT_EQ(testing::runProgram("/usr/bin/git", {"init", "-q", dir.path().string()}).exitCode, 0);
    for (const std::string& folder : folders) {
      for (const std::string& name : names) {
        if (random() % 3 != 0) dir.writeFile(folder + "/" + name, "text");
      }
    }
    dir.writeFile("x.txt", "text");
    // Rules at the top and in some folders below it.
    for (const std::string& folder :
         {std::string("."), std::string("a"), std::string("src"), std::string("a/b")}) {
      if (folder != "." && random() % 2 == 0) continue;
      std::string rules;
      for (int k = 0, n = 1 + static_cast<int>(random() % 4); k < n; ++k) {
        rules += patterns[random() % patterns.size()] + "\n";
      }
      dir.writeFile(folder + "/.gitignore", rules);
    }
    const std::set<std::string> taken = walked(dir.path(), true);
    EXPECT_EQ(taken, gitListed(dir.path()));
    left += walked(dir.path(), false).size() - taken.size();
  }
  EXPECT_GT(left, 200u) << "the generated rules hardly ever ignore anything";
}

TEST(IgnoreRulesTest, TheOtherFilesWinAndNamedPathsAreAlwaysTaken) {
  testing::TempDir dir;
  dir.writeFile(".gitignore", "*.log\n*.tmp\n");
  dir.writeFile(".ignore", "!keep.log\n");
  dir.writeFile(".orvelignore", "keep.log\nother.log\n!*.tmp\n");
  dir.writeFile("sub/.ignore", "!keep.log\n");
  for (const char* name : {"a.log", "keep.log", "other.log", "a.tmp", "sub/keep.log", "b.txt"}) {
    dir.writeFile(name, "text");
  }
  EXPECT_EQ(walked(dir.path(), true),
            (std::set<std::string>{".gitignore", ".ignore", ".orvelignore", "a.tmp", "b.txt",
                                   "sub/.ignore", "sub/keep.log"}));
  EXPECT_EQ(walked(dir.path(), false).size(), 10u);
  // A file named is searched whatever the rules say of it.
  WalkInputs inputs;
  inputs.paths = {dir.path() / "a.log"};
  inputs.ignoreFiles = true;
  CollectionWalk walk(inputs);
  EXPECT_TRUE(walk.next().has_value());
}

}  // namespace
}  // namespace orvel

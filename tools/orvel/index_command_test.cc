// orvel index as a user runs it: building, updating, status, verify and compact, and orvel
// search finding the index above the folder it searches, reading fewer files with the same
// output, falling back to reading every file (one line on stderr) when the index is damaged.
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

// The "files searched: N" line of --stats.
std::string filesSearched(const ProgramResult& result) {
  const std::size_t at = result.out.find("files searched: ");
  return result.out.substr(at, result.out.find('\n', at) - at);
}

// The output without the --stats lines that vary from run to run (bytes and time).
std::string withoutTimes(const std::string& out) {
  return out.substr(0, out.find("files searched: "));
}

TEST(IndexCommandTest, SearchesUseTheIndexAboveThemWithTheSameOutput) {
  testing::TempDir dir;
  const std::string root = dir.path().string();
  // Three files of sixty hold the word, all in d0: the index rules out enough to be used.
  for (int f = 0; f < 60; ++f) {
    dir.writeFile("d" + std::to_string(f % 3) + "/f" + std::to_string(f) + ".txt",
                  f % 21 == 0 ? "The harbour wall." : "Nothing to see here.");
  }
  // Files changed just now are not trusted by their times: let them settle.
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  const ProgramResult built = orvel({"index", root});
  EXPECT_EQ(built.exitCode, 0) << built.err;
  EXPECT_NE(built.out.find("indexed: 60\n"), std::string::npos) << built.out;
  const ProgramResult status = orvel({"index", "--status", root});
  EXPECT_NE(status.out.find("root: " + root + "\ndocuments: 60 (60 text)\nsegments: 1\n"),
            std::string::npos)
      << status.out;
  expectSuccess(orvel({"index", "--verify", root}), "index sound\n");

  for (const char* query : {"harbour", "harbour OR nothing", "wall NEAR/2 harbour", "zebra"}) {
    const ProgramResult indexed = orvel({"search", "--stats", query, root + "/d0"});
    const ProgramResult scanned = orvel({"search", "--stats", "--no-index", query, root + "/d0"});
    EXPECT_EQ(indexed.exitCode, scanned.exitCode) << query;
    EXPECT_EQ(withoutTimes(indexed.out), withoutTimes(scanned.out)) << query;
    EXPECT_EQ(filesSearched(scanned), "files searched: 20") << query;
    if (std::string(query) == "harbour") {
      EXPECT_EQ(filesSearched(indexed), "files searched: 3");  // the files that have it
    }
  }
  // A file changed since is read whatever the index says.
  dir.writeFile("d0/f3.txt", "A new harbour.");
  expectSuccess(orvel({"search", "-l", "-j", "1", "harbour", root}),
                root + "/d0/f0.txt\n" + root + "/d0/f21.txt\n" + root + "/d0/f3.txt\n" + root +
                    "/d0/f42.txt\n");
  const ProgramResult updated = orvel({"index", "--compact", root});
  EXPECT_NE(updated.out.find("indexed: 1\nunchanged: 59\n"), std::string::npos) << updated.out;
}

TEST(IndexCommandTest, ADamagedIndexIsReportedAndNotUsed) {
  testing::TempDir dir;
  const std::string root = dir.path().string();
  dir.writeFile("a.txt", "harbour");
  ASSERT_EQ(orvel({"index", root}).exitCode, 0);
  const std::string index = root + "/.orvel-index";
  std::ofstream(index, std::ios::binary | std::ios::trunc) << "damaged";
  const ProgramResult verified = orvel({"index", "--verify", root});
  EXPECT_EQ(verified.exitCode, 1);
  EXPECT_EQ(verified.err, "orvel: " + index + ": damaged index manifest\n");
  const ProgramResult searched = orvel({"search", "-l", "harbour", root});
  EXPECT_EQ(searched.exitCode, 0);
  EXPECT_EQ(searched.out, root + "/a.txt\n");
  EXPECT_EQ(searched.err, "orvel: " + index + ": damaged index manifest; searching without it\n");
  // Named elsewhere, missing: the same, in one line.
  const ProgramResult missing = orvel({"search", "--index", root + "/none", "-l", "harbour", root});
  EXPECT_EQ(missing.out, root + "/a.txt\n");
  EXPECT_NE(missing.err.find("no index"), std::string::npos) << missing.err;
  // Updating rebuilds what cannot be read.
  EXPECT_EQ(orvel({"index", root}).exitCode, 0);
  expectSuccess(orvel({"index", "--verify", root}), "index sound\n");
}

}  // namespace
}  // namespace orvel

// The text commands of the orvel program, run as a user runs them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

TEST(Crc32CommandTest, ChecksumsBytesOfEachInput) {
  testing::TempDir dir;
  const auto file = dir.writeFile("check.txt", "123456789");
  expectSuccess(orvel({"crc32", file.string(), "-"}, "123456789"),
                "2dfd2d88  " + file.string() + "\n2dfd2d88  -\n");
}

TEST(Crc32CommandTest, Utf16ModeChecksumsDecodedUnitsThroughTheTable) {
  // "A" as one UTF-16 unit is the bytes 00 41.
  expectSuccess(orvel({"crc32", "--utf16"}, "A"), "01db7106  -\n");
  const ProgramResult folded =
      orvel({"crc32", "--utf16", "--fold", "upper-umlauts"}, "M\xC3\xBCller");
  const ProgramResult plain = orvel({"crc32", "--utf16"}, "MULLER");
  EXPECT_EQ(folded.exitCode, 0);
  EXPECT_EQ(folded.out, plain.out);
}

TEST(Crc32CommandTest, FoldWithoutUtf16IsAUsageError) {
  const ProgramResult result = orvel({"crc32", "--fold", "lower"}, "x");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("orvel: crc32: --fold requires --utf16"), std::string::npos)
      << result.err;
}

TEST(Crc32CommandTest, InvalidUtf8PrintsNothingButTheOffset) {
  testing::TempDir dir;
  const auto good = dir.writeFile("good.txt", "fine");
  const auto bad = dir.writeFile("bad.txt", "ab\xC3(");
  expectFailure(orvel({"crc32", "--utf16", good.string(), bad.string()}), 1,
                "orvel: " + bad.string() + ": invalid UTF-8 at byte offset 2\n");
}

TEST(DigestCommandsTest, PrintLinesAsMd5sumAndSha1sumDo) {
  expectSuccess(orvel({"md5"}, "abc"), "900150983cd24fb0d6963f7d28e17f72  -\n");
  expectSuccess(orvel({"sha1", "-"}, "abc"), "a9993e364706816aba3e25717850c26c9cd0d89d  -\n");
  testing::TempDir dir;
  const auto empty = dir.writeFile("empty", "");
  expectSuccess(orvel({"md5", empty.string()}),
                "d41d8cd98f00b204e9800998ecf8427e  " + empty.string() + "\n");
}

TEST(DigestCommandsTest, NamesWithBackslashOrNewlineAreEscaped) {
  testing::TempDir dir;
  const auto odd = dir.writeFile("a\\b\nc", "abc");
  const std::string escaped = (dir.path() / "a\\\\b\\nc").string();
  expectSuccess(orvel({"md5", odd.string()}),
                "\\900150983cd24fb0d6963f7d28e17f72  " + escaped + "\n");
}

TEST(DigestCommandsTest, UnreadableInputIsReportedAndTheRestStillPrinted) {
  testing::TempDir dir;
  const auto good = dir.writeFile("good", "abc");
  const std::string missing = (dir.path() / "missing").string();
  const ProgramResult result = orvel({"sha1", missing, good.string()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "a9993e364706816aba3e25717850c26c9cd0d89d  " + good.string() + "\n");
  EXPECT_EQ(result.err, "orvel: " + missing + ": No such file or directory\n");
}

TEST(FoldCommandTest, MapsEveryUnitThroughTheNamedTable) {
  const std::string text =
      "\xC3\x84rger \xC3\xBC"
      "ber \xC3\x96l, Stra\xC3\x9F"
      "e";
  expectSuccess(orvel({"fold", "upper-umlauts"}, text),
                "ARGER UBER OL, STRA\xC3\x9F"
                "E");
  expectSuccess(orvel({"fold", "lower"}, text),
                "\xC3\xA4rger \xC3\xBC"
                "ber \xC3\xB6l, stra\xC3\x9F"
                "e");
  expectSuccess(orvel({"fold", "umlauts"}, text),
                "Arger uber Ol, Stra\xC3\x9F"
                "e");
  expectSuccess(orvel({"fold", "ascii"}, "\xC3\xA9t\xC3\xA9 \xE4\xB8\xAD"), "ete  ");
}

TEST(FoldCommandTest, ReadsANamedFile) {
  testing::TempDir dir;
  const auto file = dir.writeFile("in.txt", "MiXeD");
  expectSuccess(orvel({"fold", "lower", file.string()}), "mixed");
}

TEST(FoldCommandTest, RejectsUnknownTablesAndBadInput) {
  const ProgramResult unknown = orvel({"fold", "sideways"}, "x");
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_EQ(unknown.out, "");
  expectFailure(orvel({"fold", "lower"}, "ok\xFF"), 1,
                "orvel: stdin: invalid UTF-8 at byte offset 2\n");
  testing::TempDir dir;
  const std::string missing = (dir.path() / "nope.txt").string();
  expectFailure(orvel({"fold", "lower", missing}), 1,
                "orvel: " + missing + ": No such file or directory\n");
}

TEST(JsonCommandTest, EscapesAndUnescapes) {
  expectSuccess(orvel({"json", "escape"}, "say \"hi\"\n\tC:\\ a/b"),
                "say \\\"hi\\\"\\n\\tC:\\\\ a\\/b");
  expectSuccess(orvel({"json", "unescape"}, "caf\\u00e9 \\x41"), "caf\xC3\xA9 x41");
  expectSuccess(orvel({"json", "unescape-js"}, "caf\\u00e9 \\x41"), "caf\xC3\xA9 A");
}

TEST(JsonCommandTest, RejectsAMissingModeAndBadInput) {
  const ProgramResult noMode = orvel({"json"}, "x");
  EXPECT_EQ(noMode.exitCode, 2);
  EXPECT_NE(noMode.err.find("orvel: json:"), std::string::npos) << noMode.err;
  expectFailure(orvel({"json", "escape"}, "\xED\xA0\x80"), 1,
                "orvel: stdin: invalid UTF-8 at byte offset 0\n");
}

TEST(ProgramTest, HelpListsEveryCommand) {
  const ProgramResult help = orvel({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  for (const char* command : {"crc32", "md5", "sha1", "fold", "json"}) {
    EXPECT_NE(help.out.find(command), std::string::npos) << command;
  }
  const ProgramResult commandHelp = orvel({"crc32", "--help"});
  EXPECT_EQ(commandHelp.exitCode, 0);
  EXPECT_NE(commandHelp.out.find("--utf16"), std::string::npos);
}

TEST(ProgramTest, UsageErrorsExitWithTwo) {
  const ProgramResult none = orvel({});
  EXPECT_EQ(none.exitCode, 2);
  const ProgramResult unknown = orvel({"frobnicate"});
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_NE(unknown.err.find("frobnicate"), std::string::npos) << unknown.err;
  const ProgramResult badOption = orvel({"md5", "--bogus"});
  EXPECT_EQ(badOption.exitCode, 2);
  EXPECT_EQ(badOption.err.rfind("orvel: md5: ", 0), 0u) << badOption.err;
}

}  // namespace
}  // namespace orvel

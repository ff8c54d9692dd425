// keyed and zlib, run as a user runs them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

TEST(KeyedCommandTest, AddDumpAndRemove) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "records").string();
  for (const std::vector<std::string>& add : {std::vector<std::string>{"bool", "FLAG", "2"},
                                              {"unsigned", "KEY1", "42"},
                                              {"signed", "KEY1", "-7"},
                                              {"u64", "0x01020304", "18446744073709551615"},
                                              {"s64", "NEG!", "-9"},
                                              {"float", "FLT ", "0.1"},
                                              {"double", "DBL ", "0.1"},
                                              {"date", "WHEN", "2026-11-23T12:00:00Z"},
                                              {"string", "NAME", "caf\xC3\xA9 \"x\""},
                                              {"data", "BLOB", "00ff10"},
                                              {"unsigned", "KEY1", "43"}}) {
    std::vector<std::string> arguments = {"keyed", "add", file};
    arguments.insert(arguments.end(), add.begin(), add.end());
    expectSuccess(orvel(arguments), "");
  }
  expectSuccess(
      orvel({"keyed", "dump", file}),
      "QWbl\tFLAG\t2\nQWun\tKEY1\t42\nQWsi\tKEY1\t-7\nQWul\t0x01020304\t18446744073709551615\n"
      "QWsl\tNEG!\t-9\nQWfl\tFLT \t0.100000001\nQWdb\tDBL \t0.10000000000000001\n"
      "QWda\tWHEN\t2026-11-23T12:00:00Z\nQWst\tNAME\t\"caf\xC3\xA9 \\\"x\\\"\"\n"
      "QWdt\tBLOB\t<3 bytes>\nQWun\tKEY1\t43\nvalid\n");
  expectSuccess(orvel({"keyed", "remove", file, "unsigned", "KEY1"}), "");
  EXPECT_EQ(orvel({"keyed", "dump", file}).out.find("QWun\tKEY1\t42"), std::string::npos);
  expectSuccess(orvel({"keyed", "remove", file, "unsigned", "KEY1", "--all"}), "");
  EXPECT_EQ(orvel({"keyed", "dump", file}).out.find("QWun"), std::string::npos);
}

TEST(KeyedCommandTest, DamageAndBadArguments) {
  testing::TempDir dir;
  const auto file = dir.writeFile("records", std::string("QWun\0\0\0\1\0\0\0\5\0\0\0\0xyz", 19));
  const ProgramResult dump = orvel({"keyed", "dump", file.string()});
  EXPECT_EQ(dump.exitCode, 1);
  EXPECT_EQ(dump.out, "QWun\t0x00000001\t5\ninvalid at 16\n");
  EXPECT_EQ(dump.err, "orvel: " + file.string() + ": invalid record at byte offset 16\n");
  const ProgramResult badValue = orvel({"keyed", "add", file.string(), "unsigned", "KEY1", "-3"});
  EXPECT_EQ(badValue.exitCode, 1);
  EXPECT_EQ(badValue.err, "orvel: -3: not a value of this type\n");
  const ProgramResult badKey = orvel({"keyed", "add", file.string(), "unsigned", "TOOLONG", "1"});
  EXPECT_EQ(badKey.exitCode, 1);
  EXPECT_EQ(orvel({"keyed", "add", file.string(), "colour", "KEY1", "1"}).exitCode, 2);
  EXPECT_EQ(orvel({"keyed", "dump", (dir.path() / "missing").string()}).exitCode, 1);
  const ProgramResult unnamed = orvel({"keyed", "add", "", "string", "NAME", "x"});
  EXPECT_EQ(unnamed.exitCode, 2);
  EXPECT_NE(unnamed.err.find("empty file name"), std::string::npos) << unnamed.err;
}

// Dates no calendar shows are printed as the seconds they are.
TEST(KeyedCommandTest, DatesBeyondTheCalendar) {
  testing::TempDir dir;
  std::string records;
  for (const std::string& bits : {std::string("\x7F\xF8\0\0\0\0\0\0", 8),                 // NaN
                                  std::string("\x7E\x37\xE4\x3C\x88\x00\x75\x9C", 8)}) {  // 1e300
    records += std::string("QWdaWHEN", 8) + bits;
  }
  const auto file = dir.writeFile("dates", records);
  const ProgramResult dump = orvel({"keyed", "dump", file.string()});
  EXPECT_EQ(dump.exitCode, 0) << dump.err;
  EXPECT_EQ(dump.out,
            "QWda\tWHEN\tnan (seconds, no calendar date)\n"
            "QWda\tWHEN\t1.0000000000000001e+300 (seconds, no calendar date)\nvalid\n");
}

TEST(ZlibCommandTest, RoundTripsAndRejectsGarbage) {
  const std::string text(5000, 'z');
  const ProgramResult deflated = orvel({"zlib", "deflate", "--level", "9"}, text);
  ASSERT_EQ(deflated.exitCode, 0);
  EXPECT_EQ(static_cast<unsigned char>(deflated.out[0]), 0x78);
  expectSuccess(orvel({"zlib", "inflate"}, deflated.out), text);
  const ProgramResult gzipped = orvel({"zlib", "gzip"}, text);
  EXPECT_EQ(static_cast<unsigned char>(gzipped.out[0]), 0x1F);
  expectSuccess(orvel({"zlib", "inflate"}, gzipped.out), text);
  const ProgramResult garbage = orvel({"zlib", "inflate"}, "not compressed");
  EXPECT_EQ(garbage.exitCode, 1);
  EXPECT_EQ(garbage.out, "");
  EXPECT_EQ(garbage.err, "orvel: stdin: not a complete zlib or gzip stream\n");
  EXPECT_EQ(orvel({"zlib", "deflate"}, "").exitCode, 1);
}

TEST(ZlibCommandTest, InflationStopsAtItsLimit) {
  const ProgramResult bomb = orvel({"zlib", "gzip", "--level", "9"}, std::string(1 << 20, '\0'));
  ASSERT_EQ(bomb.exitCode, 0);
  const ProgramResult limited = orvel({"zlib", "inflate", "--max-output", "1000"}, bomb.out);
  EXPECT_EQ(limited.exitCode, 1);
  EXPECT_EQ(limited.out, "");
  EXPECT_EQ(limited.err, "orvel: stdin: expands beyond 1000 bytes (--max-output N allows more)\n");
  EXPECT_EQ(orvel({"zlib", "inflate"}, bomb.out).out.size(), std::size_t{1} << 20);
}

}  // namespace
}  // namespace orvel

// keyed, storage and zlib, run as a user runs them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/records/keyed_storage.h"
#include "orvel/testing/run_program.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

using testing::ProgramResult;

ProgramResult orvel(const std::vector<std::string>& arguments, const std::string& input = {}) {
  return testing::runProgram(ORVEL_PROGRAM, arguments, input);
}

void expectSuccess(const ProgramResult& result, const std::string& out) {
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, out);
}

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
  const ProgramResult badValue = orvel({"keyed", "add", file.string(), "unsigned", "KEY1", "-3"});
  EXPECT_EQ(badValue.exitCode, 1);
  EXPECT_EQ(badValue.err, "orvel: -3: not a value of this type\n");
  const ProgramResult badKey = orvel({"keyed", "add", file.string(), "unsigned", "TOOLONG", "1"});
  EXPECT_EQ(badKey.exitCode, 1);
  EXPECT_EQ(orvel({"keyed", "add", file.string(), "colour", "KEY1", "1"}).exitCode, 2);
  EXPECT_EQ(orvel({"keyed", "dump", (dir.path() / "missing").string()}).exitCode, 1);
}

TEST(StorageCommandTest, AppendListCatDeleteVerifyCompact) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  expectSuccess(orvel({"storage", "append", file, "hello"}), "0\n");
  expectSuccess(orvel({"storage", "append", "--compress", file}, std::string(3000, 'a')), "21\n");
  const ProgramResult third = orvel({"storage", "append", "--block-size", "512", file, "world"});
  EXPECT_EQ(third.exitCode, 0);
  const std::string thirdOffset = third.out.substr(0, third.out.size() - 1);
  const std::string ls = orvel({"storage", "ls", file}).out;
  EXPECT_EQ(ls.substr(0, ls.find('\n')), "0\t0x31415926\t5\t0\tok");
  EXPECT_NE(ls.find("21\t0x98765432\t"), std::string::npos) << ls;
  EXPECT_NE(ls.find(thirdOffset + "\t0x31415926\t5\t491\tok"), std::string::npos) << ls;
  expectSuccess(orvel({"storage", "cat", file, "21"}), std::string(3000, 'a'));
  expectSuccess(orvel({"storage", "delete", file, "0"}), "");
  expectSuccess(orvel({"storage", "verify", file}), "good 2\ndeleted 1\ndamaged 0\n");
  expectSuccess(orvel({"storage", "compact", file}), "");
  expectSuccess(orvel({"storage", "verify", file}), "good 2\ndeleted 0\ndamaged 0\n");
  expectSuccess(orvel({"storage", "cat", file, "0"}), std::string(3000, 'a'));
  const ProgramResult missing = orvel({"storage", "cat", file, "7"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err,
            "orvel: " + file + ": no readable block at offset 7 (Invalid header at 7)\n");
}

TEST(StorageCommandTest, CompactingKeepsTheBlockSizeAskedFor) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  for (const char* payload : {"one", "two", "three"}) {
    orvel({"storage", "append", "--block-size", "512", file, payload});
  }
  expectSuccess(orvel({"storage", "delete", file, "0"}), "");
  expectSuccess(orvel({"storage", "compact", "--block-size", "512", file}), "");
  expectSuccess(orvel({"storage", "ls", file}),
                "0\t0x31415926\t3\t493\tok\n512\t0x31415926\t5\t491\tok\n");
  const std::string copy = (dir.path() / "copy").string();
  expectSuccess(orvel({"storage", "compact", "--block-size", "1024", file, "--to", copy}), "");
  expectSuccess(orvel({"storage", "ls", copy}),
                "0\t0x31415926\t3\t1005\tok\n1024\t0x31415926\t5\t1003\tok\n");
  const ProgramResult odd = orvel({"storage", "compact", "--block-size", "1000", file});
  EXPECT_EQ(odd.exitCode, 2);
  EXPECT_NE(odd.err.find("not a multiple of 512: 1000"), std::string::npos) << odd.err;
}

TEST(StorageCommandTest, DamageIsReportedAndCompactedAround) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  for (const char* payload : {"one", "two", "three"}) orvel({"storage", "append", file, payload});
  {
    std::FILE* f = std::fopen(file.c_str(), "r+b");
    std::fseek(f, 19 + 16, SEEK_SET);
    std::fputc('X', f);  // a payload byte of "two"
    std::fclose(f);
  }
  const ProgramResult verify = orvel({"storage", "verify", file});
  EXPECT_EQ(verify.exitCode, 1);
  EXPECT_EQ(verify.out, "good 2\ndeleted 0\ndamaged 1\n");
  EXPECT_NE(orvel({"storage", "ls", file}).out.find("19\t0x31415926\t3\t0\tbad-checksum"),
            std::string::npos);
  const std::string before = orvel({"storage", "ls", file}).out;
  const ProgramResult inPlace = orvel({"storage", "compact", file});
  EXPECT_EQ(inPlace.exitCode, 1);
  EXPECT_EQ(inPlace.err, "orvel: " + file +
                             ": damaged, left as it was (--skip-errors keeps what is intact) "
                             "(Invalid checksum at 19)\n");
  EXPECT_EQ(orvel({"storage", "ls", file}).out, before);
  const std::string copy = (dir.path() / "copy").string();
  EXPECT_EQ(orvel({"storage", "compact", file, "--to", copy}).exitCode, 1);
  expectSuccess(orvel({"storage", "compact", file, "--to", copy, "--skip-errors"}), "");
  expectSuccess(orvel({"storage", "verify", copy}), "good 2\ndeleted 0\ndamaged 0\n");
}

TEST(StorageCommandTest, AnotherProcessHoldingTheFileLocksCommandsOut) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  orvel({"storage", "append", file, "one"});
  KeyedStorage holder = KeyedStorage::forUpdating(file);
  ASSERT_TRUE(holder.isValid());
  const ProgramResult append = orvel({"storage", "append", file, "two"});
  EXPECT_EQ(append.exitCode, 1);
  EXPECT_EQ(append.err, "orvel: " + file + ": cannot open: in use by another process\n");
  EXPECT_EQ(orvel({"storage", "cat", file, "0"}).exitCode, 1);  // a reader is locked out too
  holder.closeFile();
  KeyedStorage reader = KeyedStorage::forReading(file);
  expectSuccess(orvel({"storage", "cat", file, "0"}), "one");  // readers share
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

}  // namespace
}  // namespace orvel

// orvel storage, run as a user runs it, on files the library wrote and then damaged.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "orvel/base/big_endian.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/testing/temp_dir.h"
#include "orvel/text/crc32.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

std::string fileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// A file of blocks "one", a compressible block, "three"; answers their offsets.
std::vector<std::string> threeBlocks(const std::string& file, const std::string& option = "") {
  std::vector<std::string> offsets;
  for (const std::string& payload :
       {std::string("one"), std::string(3000, 'z'), std::string("three")}) {
    std::vector<std::string> arguments = {"storage", "append", "--compress", file, payload};
    if (!option.empty()) arguments.insert(arguments.begin() + 2, option);
    const ProgramResult result = orvel(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    offsets.push_back(result.out.substr(0, result.out.size() - 1));
  }
  return offsets;
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
  EXPECT_NE(odd.err.find("not a multiple of 512 up to 1073741824: 1000"), std::string::npos)
      << odd.err;
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
  EXPECT_EQ(verify.out, "good 2\ndeleted 0\ndamaged 1\nbad checksum at 19 (19 bytes)\n");
  EXPECT_EQ(verify.err, "orvel: " + file + ": damaged: bad checksum at 19 (19 bytes)\n");
  EXPECT_NE(orvel({"storage", "ls", file}).out.find("19\t0x31415926\t3\t0\tbad-checksum"),
            std::string::npos);
  const std::string before = orvel({"storage", "ls", file}).out;
  const ProgramResult inPlace = orvel({"storage", "compact", file});
  EXPECT_EQ(inPlace.exitCode, 1);
  EXPECT_EQ(inPlace.err, "orvel: " + file +
                             ": damaged (bad checksum at 19 (19 bytes)), left as it was; "
                             "--skip-errors compacts it\n");
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

// The damage our own tools used to turn into silent loss: each is now named by verify,
// refused by compact, and recovered by salvage.
TEST(StorageCommandTest, AnUninflatableBlockIsNamedAndNotDropped) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  const auto offsets = threeBlocks(file);
  std::string bytes = fileText(file);
  const std::size_t at = std::stoul(offsets[1]);
  const std::size_t length = loadBigEndian32(reinterpret_cast<const std::uint8_t*>(&bytes[at + 4]));
  bytes.replace(at + 16, length, std::string(length, 'x'));
  storeBigEndian32(reinterpret_cast<std::uint8_t*>(&bytes[at + 12]),
                   CRC32(&bytes[at + 16], length));
  writeText(file, bytes);

  const ProgramResult verify = orvel({"storage", "verify", file});
  EXPECT_EQ(verify.exitCode, 1);
  EXPECT_NE(verify.out.find("compressed block that does not inflate at " + offsets[1]),
            std::string::npos)
      << verify.out;
  const std::string copy = (dir.path() / "copy").string();
  const ProgramResult compact = orvel({"storage", "compact", file, "--to", copy});
  EXPECT_EQ(compact.exitCode, 1);
  EXPECT_NE(compact.err.find("compacting would keep 1 of the 2 intact blocks"), std::string::npos)
      << compact.err;
  EXPECT_FALSE(std::filesystem::exists(copy));
  expectSuccess(orvel({"storage", "salvage", file, copy}), "blocks 2\nanomalies 1\n");
  expectSuccess(orvel({"storage", "verify", copy}), "good 2\ndeleted 0\ndamaged 0\n");
  expectSuccess(orvel({"storage", "cat", copy, "0"}), "one");
  // --skip-errors compacts in place and keeps every intact block.
  expectSuccess(orvel({"storage", "compact", "--skip-errors", file}), "");
  EXPECT_EQ(fileText(file), fileText(copy));
}

TEST(StorageCommandTest, AFlippedSlackBitIsNamedAndNotDropped) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  threeBlocks(file, "--block-size=512");
  std::string bytes = fileText(file);
  bytes[8 + 2] ^= 0x02;  // the first block's slack grows by 512: it covers the second block
  writeText(file, bytes);
  const ProgramResult verify = orvel({"storage", "verify", file});
  EXPECT_EQ(verify.exitCode, 1);
  EXPECT_EQ(verify.out,
            "good 3\ndeleted 0\ndamaged 1\nslack of the block at 0 runs over the intact block at "
            "512\n");
  EXPECT_EQ(orvel({"storage", "compact", "--block-size", "512", file}).exitCode, 1);
  EXPECT_EQ(fileText(file), bytes);  // left as it was
  const std::string copy = (dir.path() / "copy").string();
  expectSuccess(orvel({"storage", "salvage", "--block-size", "512", file, copy}),
                "blocks 3\nanomalies 1\n");
  expectSuccess(orvel({"storage", "cat", copy, "512"}), std::string(3000, 'z'));
}

TEST(StorageCommandTest, ATornAppendIsRefusedUntilRepaired) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  const auto offsets = threeBlocks(file);
  std::string bytes = fileText(file);
  bytes.resize(bytes.size() - 2);  // the writer died inside the last block
  writeText(file, bytes);
  expectFailure(orvel({"storage", "append", file, "four"}), 1,
                "orvel: " + file + ": the block at " + offsets[2] +
                    " is damaged or cut off (a torn append?): a block appended now could not be "
                    "read; --repair cuts off a torn tail first\n");
  EXPECT_EQ(fileText(file), bytes);
  const ProgramResult verify = orvel({"storage", "verify", file});
  EXPECT_NE(verify.out.find("file ends inside a block at " + offsets[2]), std::string::npos);
  expectSuccess(orvel({"storage", "append", "--repair", file, "four"}), offsets[2] + "\n");
  expectSuccess(orvel({"storage", "verify", file}), "good 3\ndeleted 0\ndamaged 0\n");

  // Damage that is not a torn tail is not cut off: here the last header's marker.
  bytes = fileText(file);
  bytes[std::stoul(offsets[2])] ^= 1;
  writeText(file, bytes);
  const ProgramResult repair = orvel({"storage", "append", "--repair", file, "five"});
  EXPECT_EQ(repair.exitCode, 1);
  EXPECT_EQ(fileText(file), bytes);
}

TEST(StorageCommandTest, BadArgumentsAndPathsGetOneClearLine) {
  testing::TempDir dir;
  const std::string file = (dir.path() / "blocks").string();
  const std::string missing = (dir.path() / "missing").string();
  const std::string folder = dir.path().string();
  for (const char* size : {"-512", "8589934592", "1000"}) {
    const ProgramResult result = orvel({"storage", "append", "--block-size", size, file, "x"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find(std::string("not a multiple of 512 up to 1073741824: ") + size),
              std::string::npos);
  }
  EXPECT_FALSE(std::filesystem::exists(file));
  expectFailure(orvel({"storage", "append", file, ""}), 1,
                "orvel: " + file + ": empty payload: a block holds at least one byte\n");
  expectFailure(
      orvel({"storage", "append", file}, ""), 1,
      "orvel: " + file + ": empty payload (stdin was empty): a block holds at least one byte\n");
  expectFailure(orvel({"storage", "compact", missing}), 1,
                "orvel: " + missing + ": No such file or directory\n");
  expectFailure(orvel({"storage", "delete", missing, "0"}), 1,
                "orvel: " + missing + ": No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(missing));
  expectFailure(orvel({"storage", "append", folder, "x"}), 1,
                "orvel: " + folder + ": Is a directory\n");
  expectFailure(orvel({"storage", "cat", folder, "0"}), 1,
                "orvel: " + folder + ": Is a directory\n");

  const std::string fifo = (dir.path() / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::vector<std::string>& command : {std::vector<std::string>{"storage", "ls", fifo},
                                                  {"storage", "verify", fifo},
                                                  {"storage", "append", fifo, "x"}}) {
    expectFailure(orvel(command), 1,
                  "orvel: " + fifo + ": not a regular file (a FIFO, device or socket)\n");
  }

  const std::string text = dir.writeFile("notes.txt", "plain text, no blocks").string();
  expectFailure(orvel({"storage", "append", text, "x"}), 1,
                "orvel: " + text +
                    ": not a block file (no block header at offset 0); --force appends anyway\n");
  EXPECT_EQ(fileText(text), "plain text, no blocks");

  orvel({"storage", "append", file, "x"});
  expectFailure(orvel({"storage", "compact", file, "--to", file}), 1,
                "orvel: " + file + ": is the file being read; name another file\n");
  expectFailure(orvel({"storage", "compact", file, "--to", folder}), 1,
                "orvel: " + folder + ": Is a directory\n");
  const std::string nowhere = (dir.path() / "no" / "copy").string();
  expectFailure(orvel({"storage", "compact", file, "--to", nowhere}), 1,
                "orvel: " + nowhere + ": No such file or directory (the folder " +
                    (dir.path() / "no").string() + " does not exist)\n");
}

}  // namespace
}  // namespace orvel

#include "orvel/records/keyed_storage.h"

#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "orvel/base/big_endian.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/testing/block_files.h"
#include "orvel/testing/log_capture.h"
#include "orvel/testing/temp_dir.h"
#include "orvel/text/crc32.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;

Block bytes(const std::string& text) { return Block(text.begin(), text.end()); }

using testing::fileBytes;
using testing::readPayloads;
using testing::writeFileBytes;

class KeyedStorageTest : public ::testing::Test {
 protected:
  std::filesystem::path append(std::initializer_list<std::string> payloads, bool compressed = false,
                               std::uint64_t blockSize = 0) {
    KeyedStorage storage = KeyedStorage::forAppending(_path);
    EXPECT_TRUE(storage.isValid());
    storage.setCompressed(compressed);
    storage.setBlockSize(blockSize);
    for (const std::string& payload : payloads) EXPECT_TRUE(storage.appendBlock(bytes(payload)));
    return _path;
  }

  testing::TempDir _dir;
  std::filesystem::path _path = _dir.path() / "storage";
};

TEST_F(KeyedStorageTest, BlockLayoutByteForByte) {
  append({"hello"});
  Block expected(16);
  storeBigEndian32(expected.data(), kPlainBlockMarker);
  storeBigEndian32(expected.data() + 4, 5);
  storeBigEndian32(expected.data() + 8, 0);
  storeBigEndian32(expected.data() + 12, CRC32("hello", 5));
  expected.insert(expected.end(), {'h', 'e', 'l', 'l', 'o'});
  EXPECT_EQ(fileBytes(_path), expected);
}

// What appendBlock wrote is in the file when it returns, before any close; a batch writes
// the same bytes as its blocks appended one by one.
TEST_F(KeyedStorageTest, AppendedBlocksAreInTheFileOnReturn) {
  KeyedStorage writer = KeyedStorage::forAppending(_path);
  writer.setCompressed(true);
  ASSERT_TRUE(writer.appendBlock(bytes(std::string(2000, 'a'))));
  const std::size_t first = fileBytes(_path).size();  // read past the writer's lock
  EXPECT_GT(first, kBlockHeaderSize);
  const Block one = bytes("one"), two = bytes(std::string(3000, 'b'));
  const BlockBytes batch[] = {one, two};
  ASSERT_TRUE(writer.appendBlocks(batch));
  const Block written = fileBytes(_path);
  EXPECT_GT(written.size(), first + 2 * kBlockHeaderSize);
  writer.closeFile();
  EXPECT_EQ(fileBytes(_path), written);
  EXPECT_EQ(readPayloads(_path).size(), 3u);

  std::filesystem::remove(_path);
  KeyedStorage single = KeyedStorage::forAppending(_path);
  single.setCompressed(true);
  for (const Block& payload : {bytes(std::string(2000, 'a')), one, two}) {
    ASSERT_TRUE(single.appendBlock(payload));
  }
  EXPECT_EQ(fileBytes(_path), written);
  const BlockBytes withEmpty[] = {one, BlockBytes()};
  EXPECT_FALSE(single.appendBlocks(withEmpty));
}

TEST_F(KeyedStorageTest, BlockSizePadsWithZeros) {
  append({std::string(10, 'x')}, false, 512);
  const Block file = fileBytes(_path);
  ASSERT_EQ(file.size(), 512u);  // 16 + 10 + 486
  EXPECT_EQ(loadBigEndian32(file.data() + 8), 486u);
  EXPECT_TRUE(std::all_of(file.begin() + 26, file.end(), [](std::uint8_t b) { return b == 0; }));
  EXPECT_THAT(readPayloads(_path), ElementsAre(std::string(10, 'x')));
}

TEST_F(KeyedStorageTest, CompressionOnlyWhenShorter) {
  const std::string text(4000, 'a');
  append({text, "xy"}, true);
  const Block file = fileBytes(_path);
  EXPECT_EQ(loadBigEndian32(file.data()), kCompressedBlockMarker);
  const std::uint32_t stored = loadBigEndian32(file.data() + 4);
  EXPECT_LT(stored, 100u);
  EXPECT_EQ(loadBigEndian32(file.data() + 16 + stored), kPlainBlockMarker);  // "xy" stays plain
  KeyedStorage storage = KeyedStorage::forReading(_path);
  std::optional<Block> compressed;
  const auto first = storage.nextAvailableBlock(&compressed);
  EXPECT_EQ(first, bytes(text));
  ASSERT_TRUE(compressed.has_value());
  EXPECT_EQ(compressed->size(), stored);
  EXPECT_EQ(storage.nextAvailableBlock(&compressed), bytes("xy"));
  EXPECT_FALSE(compressed.has_value());
}

TEST_F(KeyedStorageTest, EmptyFileAndEmptyPayloads) {
  KeyedStorage storage = KeyedStorage::forUpdating(_path);
  bool damaged = false;
  EXPECT_FALSE(storage.nextAvailableBlock(nullptr, &damaged).has_value());
  EXPECT_FALSE(damaged);
  EXPECT_FALSE(storage.appendBlock({}));
  EXPECT_TRUE(storage.optimizeToPath(_dir.path() / "copy", false, nullptr));
  EXPECT_TRUE(std::filesystem::exists(_dir.path() / "copy"));
  EXPECT_EQ(std::filesystem::file_size(_dir.path() / "copy"), 0u);
}

TEST_F(KeyedStorageTest, BadChecksumSkipsBlock) {
  append({"one", "two", "three"});
  Block file = fileBytes(_path);
  file[16 + 3 + 16] ^= 0x01;  // a payload byte of "two"
  writeFileBytes(_path, file);
  testing::LogCapture capture;
  bool damaged = false;
  EXPECT_THAT(readPayloads(_path, &damaged), ElementsAre("one", "three"));
  EXPECT_TRUE(damaged);
  EXPECT_THAT(capture.lines(), ElementsAre("Invalid checksum at 19"));
}

TEST_F(KeyedStorageTest, TornTailIsDamage) {
  append({"one", "two"});
  Block file = fileBytes(_path);
  file.pop_back();
  writeFileBytes(_path, file);
  testing::LogCapture capture;
  bool damaged = false;
  EXPECT_THAT(readPayloads(_path, &damaged), ElementsAre("one"));
  EXPECT_TRUE(damaged);
  EXPECT_THAT(capture.lines(), ElementsAre("Truncated data at 19"));
  file.erase(file.begin() + 19 + 7, file.end());  // in the middle of the second header
  writeFileBytes(_path, file);
  damaged = false;
  EXPECT_THAT(readPayloads(_path, &damaged), ElementsAre("one"));
  EXPECT_TRUE(damaged);
  EXPECT_EQ(capture.lines().back(), "Invalid header at 19");
}

bool update(const std::filesystem::path& path, const std::string& payload, std::uint64_t offset) {
  return KeyedStorage::forUpdating(path).updateBlock(bytes(payload), offset);
}

TEST_F(KeyedStorageTest, UpdateInPlaceWhenItFits) {
  append({"abcdef", "next"});
  EXPECT_TRUE(update(_path, "xyz", 0));
  EXPECT_THAT(readPayloads(_path), ElementsAre("xyz", "next"));
  const Block before = fileBytes(_path);
  EXPECT_FALSE(update(_path, "1234567", 0));  // the room is 6 bytes
  EXPECT_EQ(fileBytes(_path), before);
  EXPECT_TRUE(update(_path, "123456", 0));
  EXPECT_THAT(readPayloads(_path), ElementsAre("123456", "next"));
}

TEST_F(KeyedStorageTest, DeleteFreesTheBlock) {
  append({"one", "two", "three"});
  EXPECT_TRUE(KeyedStorage::forUpdating(_path).deleteBlockAtFileOffset(19));
  EXPECT_THAT(readPayloads(_path), ElementsAre("one", "three"));
  const Block before = fileBytes(_path);
  KeyedStorage storage = KeyedStorage::forUpdating(_path);
  EXPECT_TRUE(storage.deleteBlockAtFileOffset(19));  // already deleted: nothing written
  EXPECT_EQ(fileBytes(_path), before);
  testing::LogCapture capture;
  EXPECT_FALSE(storage.deleteBlockAtFileOffset(5));  // not a block start
  EXPECT_THAT(capture.lines(), ElementsAre("Invalid header at 5"));
  EXPECT_FALSE(storage.deleteBlockAtFileOffset(10000));
}

TEST_F(KeyedStorageTest, CompactingInPlaceMovesBlocksDown) {
  append({"one", "two", "three", "four"});
  {
    KeyedStorage storage = KeyedStorage::forUpdating(_path);
    storage.deleteBlockAtFileOffset(0);
    storage.deleteBlockAtFileOffset(19 + 19);
    storage.seekToFileOffset(0);
    std::uint64_t free = 0;
    while (const auto block = storage.nextAvailableBlock()) {
      const std::uint64_t resume = storage.offsetInFile();
      storage.optimizeLastBlock(*block, std::nullopt, free, &free);
      storage.seekToFileOffset(resume);
    }
    EXPECT_TRUE(storage.truncateFileAtOffset(free));
  }
  EXPECT_THAT(readPayloads(_path), ElementsAre("two", "four"));
  EXPECT_EQ(std::filesystem::file_size(_path), 19u + 20u);
}

class KeepShort : public KeyedStorageHandler {
 public:
  bool handleData(KeyedStorage&, BlockBytes data, std::uint64_t key) override {
    keys.push_back(key);
    return data.size() <= 3;
  }
  bool shouldCancelIterationOfStorage(KeyedStorage&) override { return false; }
  std::vector<std::uint64_t> keys;
};

TEST_F(KeyedStorageTest, CopyToAnotherFileThroughAHandler) {
  append({"one", "three", "two"});
  KeyedStorage storage = KeyedStorage::forReading(_path);
  KeepShort handler;
  const auto copy = _dir.path() / "copy";
  EXPECT_TRUE(storage.optimizeToPath(copy, false, &handler));
  EXPECT_THAT(readPayloads(copy), ElementsAre("one", "two"));
  EXPECT_THAT(handler.keys, ElementsAre(0u, 19u, 19u));         // where each block would be written
  EXPECT_FALSE(storage.optimizeToPath(_path, false, nullptr));  // not onto itself
  EXPECT_FALSE(storage.optimizeToPath(_dir.path() / "." / "storage", false, nullptr));
  EXPECT_FALSE(readPayloads(_path).empty());
  EXPECT_FALSE(storage.optimizeToPath("", false, nullptr));
}

TEST_F(KeyedStorageTest, CopyStopsAtDamageUnlessSkippingErrors) {
  append({"one", "two", "three"});
  Block file = fileBytes(_path);
  file[19 + 16] ^= 0xFF;
  writeFileBytes(_path, file);
  testing::LogCapture capture;
  KeyedStorage storage = KeyedStorage::forReading(_path);
  EXPECT_FALSE(storage.optimizeToPath(_dir.path() / "strict", false, nullptr));
  EXPECT_TRUE(storage.optimizeToPath(_dir.path() / "lenient", true, nullptr));
  EXPECT_THAT(readPayloads(_dir.path() / "lenient"), ElementsAre("one", "three"));
}

TEST_F(KeyedStorageTest, WritersExcludeEveryoneReadersShare) {
  append({"x"});
  KeyedStorage writer = KeyedStorage::forUpdating(_path);
  ASSERT_TRUE(writer.isValid());
  EXPECT_FALSE(KeyedStorage::forAppending(_path).isValid());
  EXPECT_FALSE(KeyedStorage::forReading(_path).isValid());
  writer.closeFile();
  KeyedStorage reader1 = KeyedStorage::forReading(_path);
  KeyedStorage reader2 = KeyedStorage::forReading(_path);
  EXPECT_TRUE(reader1.isValid());
  EXPECT_TRUE(reader2.isValid());
  EXPECT_FALSE(KeyedStorage::forUpdating(_path).isValid());
}

TEST_F(KeyedStorageTest, CloseAnswersTheLowByteOfTheCloseResult) {
  KeyedStorage storage = KeyedStorage::forAppending(_path);
  EXPECT_FALSE(storage.closeFile());
  EXPECT_TRUE(storage.closeFile());
  EXPECT_FALSE(storage.isValid());
  EXPECT_EQ(storage.offsetInFile(), 0u);
  EXPECT_FALSE(storage.synchronizeFile());
}

TEST_F(KeyedStorageTest, FlippingAnyByteNeverYieldsABadPayload) {
  append({"alpha", "beta", "gamma"}, false, 0);
  const Block original = fileBytes(_path);
  testing::LogCapture capture;  // keep the damage lines off the system log
  for (std::size_t i = 0; i < original.size(); ++i) {
    Block damaged = original;
    damaged[i] ^= 0x5A;
    writeFileBytes(_path, damaged);
    bool sawDamage = false;
    const auto blocks = readPayloads(_path, &sawDamage);
    for (const std::string& block : blocks) {
      EXPECT_TRUE(block == "alpha" || block == "beta" || block == "gamma") << i;
    }
    EXPECT_TRUE(sawDamage || blocks.size() == 3u) << i;
  }
}

// A block size whose padding the header's 32-bit slack cannot hold writes nothing.
TEST_F(KeyedStorageTest, PaddingBeyondTheHeaderFieldIsRefused) {
  KeyedStorage storage = KeyedStorage::forAppending(_path);
  storage.setBlockSize(std::uint64_t{1} << 33);
  EXPECT_FALSE(storage.appendBlock(bytes("x")));
  storage.closeFile();
  EXPECT_TRUE(fileBytes(_path).empty());
}

TEST_F(KeyedStorageTest, BlockSizeMustBeAMultipleOf512ButIsKept) {
  KeyedStorage storage = KeyedStorage::forAppending(_path);
  ::testing::internal::CaptureStderr();
  storage.setBlockSize(1000);
  const std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(err.find("Failed debug assertion `(blockSize%512)==0'"), std::string::npos) << err;
  EXPECT_EQ(storage.blockSize(), 1000u);
}

}  // namespace
}  // namespace orvel

namespace orvel {
namespace {

std::string numbered(int i) {
  return "block-" + std::to_string(i) + std::string(static_cast<std::size_t>(i % 97), '.');
}

// Every block read back is the next block appended, intact; answers how many.
int readSequence(KeyedStorage& storage, bool* damaged) {
  int count = 0;
  while (const auto block = storage.nextAvailableBlock(nullptr, damaged)) {
    EXPECT_EQ(std::string(block->begin(), block->end()), numbered(count));
    ++count;
  }
  return count;
}

TEST(KeyedStorageCrashTest, KilledWriterLeavesEveryCompleteBlockReadable) {
  testing::TempDir dir;
  const auto path = dir.path() / "storage";
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    KeyedStorage storage = KeyedStorage::forAppending(path);
    for (int i = 0;; ++i) {
      const std::string payload = numbered(i);
      storage.appendBlock(
          BlockBytes(reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size()));
    }
  }
  while (!std::filesystem::exists(path) || std::filesystem::file_size(path) < 200000) usleep(1000);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);

  testing::LogCapture capture;
  bool damaged = false;
  KeyedStorage reader = KeyedStorage::forReading(path);
  const int intact = readSequence(reader, &damaged);
  EXPECT_GT(intact, 1000);
  const bool torn =
      reader.offsetOfLastBlock() + reader.lengthOfLastBlock() != std::filesystem::file_size(path);
  EXPECT_EQ(damaged, torn);
  reader.closeFile();

  // Both compactions keep every intact block.
  KeyedStorage source = KeyedStorage::forReading(path);
  ASSERT_TRUE(source.optimizeToPath(dir.path() / "copy", true, nullptr));
  source.closeFile();
  KeyedStorage copy = KeyedStorage::forReading(dir.path() / "copy");
  bool copyDamaged = false;
  EXPECT_EQ(readSequence(copy, &copyDamaged), intact);
  EXPECT_FALSE(copyDamaged);

  {
    KeyedStorage storage = KeyedStorage::forUpdating(path);
    std::uint64_t free = 0;
    while (const auto block = storage.nextAvailableBlock()) {
      const std::uint64_t resume = storage.offsetInFile();
      storage.optimizeLastBlock(*block, std::nullopt, free, &free);
      storage.seekToFileOffset(resume);
    }
    ASSERT_TRUE(storage.truncateFileAtOffset(free));
  }
  KeyedStorage compacted = KeyedStorage::forReading(path);
  bool compactedDamaged = false;
  EXPECT_EQ(readSequence(compacted, &compactedDamaged), intact);
  EXPECT_FALSE(compactedDamaged);
}

}  // namespace
}  // namespace orvel

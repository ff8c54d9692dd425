// The salvage walk against files written by the library and then damaged the ways real
// files are: a flipped bit in a header, a compressed block that does not inflate, a writer
// killed mid-append (once, and 200 times over).
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "orvel/base/big_endian.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/testing/block_files.h"
#include "orvel/testing/log_capture.h"
#include "orvel/testing/temp_dir.h"
#include "orvel/text/crc32.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

Block bytes(const std::string& text) { return Block(text.begin(), text.end()); }

using testing::fileBytes;
using testing::readPayloads;
using testing::writeFileBytes;

struct Salvaged {
  std::vector<std::string> payloads;  // of the live blocks, in file order
  std::vector<StorageAnomalyKind> anomalies;
};

Salvaged salvage(const std::filesystem::path& path) {
  KeyedStorage storage = KeyedStorage::forReading(path);
  const auto walk = storage.salvageWalk();
  EXPECT_TRUE(walk.has_value());
  Salvaged result;
  if (!walk) return result;
  for (const SalvagedBlock& block : walk->blocks) {
    if (block.isDeleted()) continue;
    const auto payload = storage.readSalvagedBlock(block, nullptr);
    EXPECT_TRUE(payload.has_value()) << block.offset;
    if (payload) result.payloads.emplace_back(payload->begin(), payload->end());
  }
  for (const StorageAnomaly& anomaly : walk->anomalies) result.anomalies.push_back(anomaly.kind);
  EXPECT_EQ(walk->liveBlocks(), result.payloads.size());
  return result;
}

class KeyedStorageSalvageTest : public ::testing::Test {
 protected:
  // Appends the payloads; answers each block's offset.
  std::vector<std::uint64_t> append(const std::vector<std::string>& payloads,
                                    bool compressed = false, std::uint64_t blockSize = 0) {
    KeyedStorage storage = KeyedStorage::forAppending(_path);
    storage.setCompressed(compressed);
    storage.setBlockSize(blockSize);
    std::vector<std::uint64_t> offsets;
    for (const std::string& payload : payloads) {
      offsets.push_back(storage.lengthOfFile());
      EXPECT_TRUE(storage.appendBlock(bytes(payload)));
    }
    return offsets;
  }

  // Changes the file's bytes through `edit`.
  template <typename Edit>
  void damage(Edit edit) {
    Block file = fileBytes(_path);
    edit(file);
    writeFileBytes(_path, file);
  }

  testing::TempDir _dir;
  std::filesystem::path _path = _dir.path() / "storage";
  testing::LogCapture _log;  // the reader's damage lines
};

const std::string kLong(3000, 'z');  // compresses well

TEST_F(KeyedStorageSalvageTest, AHealthyFileIsWhatTheReaderReads) {
  append({"alpha", kLong, "gamma"}, true, 512);
  append({"delta"});
  {
    KeyedStorage storage = KeyedStorage::forUpdating(_path);
    ASSERT_TRUE(storage.deleteBlockAtFileOffset(512));
  }
  const Salvaged found = salvage(_path);
  EXPECT_THAT(found.payloads, ElementsAre("alpha", "gamma", "delta"));
  EXPECT_TRUE(found.anomalies.empty());
  EXPECT_EQ(found.payloads, readPayloads(_path));
  KeyedStorage storage = KeyedStorage::forReading(_path);
  EXPECT_EQ(storage.endOfHeaderChain(), std::filesystem::file_size(_path));
}

// Right checksum, bytes that are no zlib stream: the reader stops there without a word;
// the walk names it and goes on.
TEST_F(KeyedStorageSalvageTest, ACompressedBlockThatDoesNotInflate) {
  const auto offsets = append({"one", kLong, "three"}, true);
  damage([&](Block& file) {
    const std::size_t payload = offsets[1] + kBlockHeaderSize;
    const std::size_t length = loadBigEndian32(file.data() + offsets[1] + 4);
    std::fill(file.begin() + payload, file.begin() + payload + length, 'x');
    storeBigEndian32(file.data() + offsets[1] + 12, CRC32(file.data() + payload, length));
  });
  bool damaged = false;
  EXPECT_THAT(readPayloads(_path, &damaged), ElementsAre("one"));
  EXPECT_FALSE(damaged);
  const Salvaged found = salvage(_path);
  EXPECT_THAT(found.payloads, ElementsAre("one", "three"));
  EXPECT_THAT(found.anomalies, ElementsAre(StorageAnomalyKind::kUninflatable));
}

// The header carries no checksum of itself: one flipped bit in a slack field makes the
// reader step over an intact block as if it were slack.
TEST_F(KeyedStorageSalvageTest, AFlippedSlackBitJumpsOverABlock) {
  const auto offsets = append({"first", "second", "third"}, false, 512);
  damage([&](Block& file) { file[offsets[0] + 8 + 2] ^= 0x02; });  // slack + 512
  bool damaged = false;
  EXPECT_THAT(readPayloads(_path, &damaged), ElementsAre("first", "third"));
  EXPECT_FALSE(damaged);
  const Salvaged found = salvage(_path);
  EXPECT_THAT(found.payloads, ElementsAre("first", "second", "third"));
  EXPECT_THAT(found.anomalies, ElementsAre(StorageAnomalyKind::kSlackJump));
}

// A writer killed inside a block, then more appends: the reader never gets past the torn
// block, the walk finds the blocks written after it.
TEST_F(KeyedStorageSalvageTest, BlocksAppendedAfterATornOneAreFound) {
  append({"before", kLong});
  damage([](Block& file) { file.resize(file.size() - 1000); });
  append({"after one", "after two"});
  EXPECT_THAT(readPayloads(_path), ElementsAre("before"));
  const Salvaged found = salvage(_path);
  EXPECT_THAT(found.payloads, ElementsAre("before", "after one", "after two"));
  EXPECT_THAT(found.anomalies, ElementsAre(StorageAnomalyKind::kCutShort));
}

TEST_F(KeyedStorageSalvageTest, GarbageBeforeAndBetweenBlocksIsNamed) {
  append({"kept"});
  damage([](Block& file) {
    const Block garbage = bytes("not a block header, and more");
    file.insert(file.begin(), garbage.begin(), garbage.end());
    file.insert(file.end(), garbage.begin(), garbage.end());
  });
  append({"later"});
  const Salvaged found = salvage(_path);
  EXPECT_THAT(found.payloads, ElementsAre("kept", "later"));
  EXPECT_THAT(found.anomalies,
              ElementsAre(StorageAnomalyKind::kUnaccounted, StorageAnomalyKind::kUnaccounted));
}

TEST_F(KeyedStorageSalvageTest, ATornTailIsCutOffOrItsSlackCompleted) {
  const auto offsets = append({"whole", kLong});
  damage([&](Block& file) { file.resize(offsets[1] + 20); });  // inside the payload
  {
    KeyedStorage storage = KeyedStorage::forAppending(_path);
    EXPECT_EQ(storage.endOfHeaderChain(), offsets[1]);
    ASSERT_TRUE(storage.truncateTornTail());
    EXPECT_EQ(storage.endOfHeaderChain(), offsets[1]);
    EXPECT_TRUE(storage.appendBlock(bytes("next")));
  }
  EXPECT_THAT(readPayloads(_path), ElementsAre("whole", "next"));

  // Killed while padding: the payload is whole, the slack is not.
  std::filesystem::remove(_path);
  append({"padded", "second"}, false, 4096);
  damage([](Block& file) { file.resize(file.size() - 100); });
  {
    KeyedStorage storage = KeyedStorage::forUpdating(_path);
    ASSERT_TRUE(storage.truncateTornTail());
  }
  EXPECT_EQ(std::filesystem::file_size(_path), 8192u);
  append({"third"});
  EXPECT_THAT(readPayloads(_path), ElementsAre("padded", "second", "third"));
}

TEST_F(KeyedStorageSalvageTest, OtherDamageAtTheEndIsNotCutOff) {
  const auto offsets = append({"one", "two"});
  damage([&](Block& file) { file[offsets[1] + kBlockHeaderSize] ^= 1; });  // bad checksum
  const auto before = fileBytes(_path);
  KeyedStorage storage = KeyedStorage::forUpdating(_path);
  EXPECT_FALSE(storage.truncateTornTail());
  storage.closeFile();
  EXPECT_EQ(fileBytes(_path), before);
}

// Found by fuzzing: a deleted header whose slack (here 788 MB) passes the end is damage, not
// a torn padding to be completed; nor is a padding longer than any block size in use.
TEST_F(KeyedStorageSalvageTest, SlacksPastTheEndAreNotFilledWithGigabytesOfZeros) {
  for (const std::uint32_t length : {0u, 5u}) {
    Block file(kBlockHeaderSize + length, 'x');
    storeBigEndian32(file.data(), kPlainBlockMarker);
    storeBigEndian32(file.data() + 4, length);
    storeBigEndian32(file.data() + 8, 0x2F000399);
    storeBigEndian32(file.data() + 12, length == 0 ? 0 : CRC32(file.data() + 16, length));
    writeFileBytes(_path, file);
    KeyedStorage storage = KeyedStorage::forUpdating(_path);
    EXPECT_FALSE(storage.truncateTornTail()) << length;
    storage.closeFile();
    EXPECT_EQ(fileBytes(_path), file);
  }
}

class CountingHandler : public KeyedStorageHandler {
 public:
  bool handleData(KeyedStorage&, BlockBytes data, std::uint64_t) override {
    return std::string(data.begin(), data.end()) != "drop";
  }
  bool shouldCancelIterationOfStorage(KeyedStorage&) override { return ++_calls == 100; }

 private:
  int _calls = 0;
};

TEST_F(KeyedStorageSalvageTest, SalvagingCopiesEveryIntactBlockThroughTheHandler) {
  const auto offsets = append({"a", kLong, "drop", "b"}, true);
  damage([&](Block& file) { file[offsets[0] + 8 + 3] ^= 0x40; });  // a slack jump
  KeyedStorage source = KeyedStorage::forReading(_path);
  CountingHandler handler;
  ASSERT_TRUE(source.salvageToPath(_dir.path() / "copy", &handler));
  EXPECT_FALSE(source.salvageToPath(_path, nullptr));  // never onto itself
  EXPECT_FALSE(source.salvageToPath(_dir.path() / "." / "storage", nullptr));
  const auto copied = readPayloads(_dir.path() / "copy");
  EXPECT_THAT(copied, ElementsAre("a", kLong, "b"));
  EXPECT_TRUE(salvage(_dir.path() / "copy").anomalies.empty());
}

// Every single-byte change of a small file is either seen by the walk or harmless: the
// reader then returns exactly the blocks written. No read ever returns a payload that was
// not written, and the walk loses at most the block the byte belongs to.
TEST_F(KeyedStorageSalvageTest, EverySingleByteChangeIsSeenOrHarmless) {
  const std::vector<std::string> written = {"alpha", kLong, "gamma", "delta"};
  append({written[0], written[1]}, true, 512);
  append({written[2], written[3]});
  const Block original = fileBytes(_path);
  const std::set<std::string> known(written.begin(), written.end());
  for (std::size_t i = 0; i < original.size(); ++i) {
    for (const std::uint8_t change : {0x01, 0x80, 0xFF}) {
      SCOPED_TRACE(std::to_string(i) + " ^ " + std::to_string(change));
      Block damaged = original;
      damaged[i] ^= change;
      writeFileBytes(_path, damaged);
      const auto read = readPayloads(_path);
      const Salvaged found = salvage(_path);
      for (const auto& payload : read) ASSERT_TRUE(known.count(payload)) << payload;
      for (const auto& payload : found.payloads) ASSERT_TRUE(known.count(payload)) << payload;
      if (found.anomalies.empty()) {
        ASSERT_EQ(read, written);
      }
      ASSERT_GE(found.payloads.size(), written.size() - 1);
    }
  }
}

std::string numbered(std::uint64_t i) { return "block " + std::to_string(i) + "."; }

// A writer killed at 200 random moments: every block whose append returned is found
// intact by the walk, and no read returns anything but whole blocks that were written.
TEST(KeyedStorageDurabilityTest, EveryReturnedAppendSurvivesSigkill) {
  testing::TempDir dir;
  testing::LogCapture log;
  std::mt19937 generator(23);
  std::set<std::string> returned;  // of the current file
  std::filesystem::path path;
  std::uint64_t next = 0;
  for (int round = 0; round < 200; ++round) {
    if (round % 20 == 0) {  // a fresh file now and then keeps every walk short
      path = dir.path() / ("storage" + std::to_string(round));
      returned.clear();
    }
    int reports[2];
    ASSERT_EQ(::pipe(reports), 0);
    const std::uint64_t first = next;
    const bool compressed = round % 3 == 0;
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(reports[0]);
      KeyedStorage storage = KeyedStorage::forAppending(path);
      storage.setCompressed(compressed);
      storage.setBlockSize(round % 2 == 0 ? 0 : 512);
      for (std::uint64_t i = first; i < first + 5000; ++i) {
        const std::string payload = numbered(i) + std::string(i % 300, 'p');
        if (!storage.appendBlock(bytes(payload))) ::_exit(1);
        if (::write(reports[1], &i, sizeof i) != sizeof i) ::_exit(1);
      }
      ::_exit(0);
    }
    ::close(reports[1]);
    ::usleep(static_cast<useconds_t>(generator() % 3000));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    std::uint64_t index = 0;
    while (::read(reports[0], &index, sizeof index) == sizeof index) {
      returned.insert(numbered(index) + std::string(index % 300, 'p'));
    }
    ::close(reports[0]);
    next = first + 5000;
    if (!std::filesystem::exists(path)) continue;  // killed before it opened the file

    const Salvaged found = salvage(path);
    const std::set<std::string> salvaged(found.payloads.begin(), found.payloads.end());
    for (const std::string& payload : returned) ASSERT_TRUE(salvaged.count(payload)) << payload;
    for (const std::string& payload : found.payloads) {
      ASSERT_EQ(payload.rfind("block ", 0), 0u) << payload;
    }
    for (const std::string& payload : readPayloads(path)) {
      ASSERT_EQ(payload.rfind("block ", 0), 0u) << payload;
    }
  }
}

}  // namespace
}  // namespace orvel

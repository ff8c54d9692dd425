#include "orvel/dsstore/ds_store_stream.h"

#include <gtest/gtest.h>

#include "orvel/base/types.h"
#include "orvel/dsstore/ds_store_allocator.h"
#include "orvel/dsstore/ds_store_test_support.h"

namespace orvel {
namespace {

using testing::Bytes;
using testing::memoryFile;
using testing::StoreBuilder;

// A file of 4 + 16 bytes: 0..15 after the 4-byte prefix.
Bytes counting() {
  Bytes bytes = {0xAA, 0xBB, 0xCC, 0xDD};
  for (std::uint8_t k = 0; k < 16; ++k) bytes.push_back(k);
  return bytes;
}

TEST(DSStoreStreamTest, ReadsBigEndianFromBlockOffsetsAfterTheFirstFourBytes) {
  const Bytes bytes = counting();
  std::FILE* file = memoryFile(bytes);
  DSStoreStream stream(file, 2, 10);
  EXPECT_EQ(stream.readUInt8(), 2);
  EXPECT_EQ(stream.readUInt16(), 0x0304);
  EXPECT_EQ(stream.readUInt32(), 0x05060708u);
  EXPECT_EQ(stream.remainingBytes(), 3u);
  // All or nothing: 4 bytes with 3 left read nothing and move to the end.
  EXPECT_EQ(stream.readUInt32(), 0u);
  EXPECT_TRUE(stream.isEOF());
  EXPECT_EQ(stream.position(), 10u);
  EXPECT_EQ(stream.remainingBytes(), 0u);
  std::fclose(file);
}

TEST(DSStoreStreamTest, DataSkipsAndEquality) {
  const Bytes bytes = counting();
  std::FILE* file = memoryFile(bytes);
  DSStoreStream stream(file, 0, 16);
  EXPECT_EQ(stream.readDataOfLength(3), (Bytes{0, 1, 2}));
  stream.skipBytes(10);
  EXPECT_EQ(stream.position(), 13u);
  EXPECT_EQ(stream.readDataOfLength(4), std::nullopt);
  EXPECT_EQ(stream.position(), 16u);
  stream.skipBytes(1);
  EXPECT_EQ(stream.position(), 16u);  // clamped
  std::uint8_t byte = 7;
  EXPECT_EQ(stream.readBytes(&byte, 0), 0u);
  EXPECT_EQ(stream.readBytes(nullptr, 1), 0u);
  EXPECT_TRUE(stream.isEqual(DSStoreStream(nullptr, 0, 16)));
  EXPECT_FALSE(stream.isEqual(DSStoreStream(file, 4, 16)));
  EXPECT_EQ(stream.description(), "DSStoreStream: 16 bytes at offset 0");
  // A stream whose bytes lie past the file's end reads nothing and stays put.
  DSStoreStream beyond(file, 14, 8);
  EXPECT_EQ(beyond.readDataOfLength(4), std::nullopt);
  EXPECT_EQ(beyond.position(), 0u);
  std::fclose(file);
}

TEST(DSStoreStreamTest, BlocksReadFromMemoryAndZeroTheBufferOnOverrun) {
  const Bytes bytes = counting();
  std::FILE* file = memoryFile(bytes);
  EXPECT_EQ(DSStoreBlock::blockWithFile(file, 0, 0), nullptr);
  auto block = DSStoreBlock::blockWithFile(file, 12, 4);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(block->value(), (Bytes{12, 13, 14, 15}));
  EXPECT_EQ(block->readUInt16(), 0x0C0Du);
  std::uint8_t buffer[4] = {9, 9, 9, 9};
  EXPECT_EQ(block->readBytes(buffer, 4), 0u);
  EXPECT_EQ(buffer[0] | buffer[1] | buffer[2] | buffer[3], 0);
  EXPECT_TRUE(block->isEOF());
  EXPECT_EQ(block->description(), "DSStoreBlock: 4 bytes at offset 12");
  // Past the file's end the block holds nothing and every read fails.
  auto cut = DSStoreBlock::blockWithFile(file, 14, 4);
  EXPECT_EQ(cut->value(), std::nullopt);
  EXPECT_EQ(cut->readUInt8(), 0u);
  EXPECT_EQ(cut->readDataOfLength(1), std::nullopt);
  std::fclose(file);
}

Bytes oneBlockStore() {
  StoreBuilder builder;
  builder.name("DSDB", builder.addBlock(Bytes(40, 1)));
  builder.addUnusedSlot();
  builder.name("other", builder.addBlock(Bytes(4096, 2)));
  return builder.build();
}

TEST(DSStoreAllocatorTest, TheTableAndTheTableOfContents) {
  const Bytes bytes = oneBlockStore();
  auto allocator = DSStoreAllocator::allocatorWithFile(memoryFile(bytes));
  ASSERT_NE(allocator, nullptr);
  EXPECT_EQ(allocator->numberOfBlocks(), 256u);  // 3 blocks, rounded up
  EXPECT_EQ(allocator->indexOfEntryNamed("DSDB"), 0u);
  EXPECT_EQ(allocator->indexOfEntryNamed("other"), 2u);
  EXPECT_EQ(allocator->indexOfEntryNamed("dsdb"), NSNotFound);
  EXPECT_EQ(allocator->indexOfEntryNamed(""), NSNotFound);
  EXPECT_EQ(allocator->indexOfEntryNamed(std::nullopt), NSNotFound);
  EXPECT_EQ(allocator->offsetAtIndex(0), 32u);
  EXPECT_EQ(allocator->sizeAtIndex(0), 64u);
  EXPECT_EQ(allocator->sizeAtIndex(1), 0u);  // unused
  EXPECT_EQ(allocator->offsetAtIndex(2), 96u);
  EXPECT_EQ(allocator->sizeAtIndex(2), 4096u);
  EXPECT_EQ(allocator->sizeAtIndex(300), 0u);
  EXPECT_EQ(allocator->blockAtIndex(1), nullptr);
  EXPECT_EQ(allocator->blockAtIndex(3), nullptr);  // beyond the count: address 0
  EXPECT_EQ(allocator->blockAtIndex(256), nullptr);
  const auto other = allocator->blockForEntryNamed("other");
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->readUInt8(), 2u);
  const auto stream = allocator->streamForEntryNamed("DSDB");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->readUInt32(), 0x01010101u);
  EXPECT_EQ(allocator->streamAtIndex(256), nullptr);
  EXPECT_EQ(allocator->description(),
            "DSStoreAllocator: 256 blocks, Entries:\n{\n    DSDB = 0;\n    other = 2;\n}");
}

TEST(DSStoreAllocatorTest, AddressesDecodeToOffsetAndPowerOfTwoSize) {
  Bytes bytes = oneBlockStore();
  // Slot 2 rewritten as 0x0000100C: 4096 bytes at block offset 4096 (file offset 4100).
  const std::uint32_t rootOffset = loadBigEndian32(bytes.data() + 8);
  storeBigEndian32(bytes.data() + 4 + rootOffset + 8 + 2 * 4, 0x0000100C);
  const auto allocator = DSStoreAllocator::allocatorWithFile(memoryFile(bytes));
  ASSERT_NE(allocator, nullptr);
  EXPECT_EQ(allocator->offsetAtIndex(2), 4096u);
  EXPECT_EQ(allocator->sizeAtIndex(2), 4096u);
  EXPECT_EQ(allocator->blockAtIndex(2), nullptr);  // runs past the end of this small file
}

TEST(DSStoreAllocatorTest, DamagedHeadersAndTablesAreRefused) {
  const Bytes good = oneBlockStore();
  const std::uint32_t rootOffset = loadBigEndian32(good.data() + 8);
  const auto refused = [](Bytes bytes) {
    return DSStoreAllocator::allocatorWithFile(memoryFile(bytes)) == nullptr;
  };
  EXPECT_FALSE(refused(good));
  Bytes bytes = good;
  bytes[3] = 2;  // prefix
  EXPECT_TRUE(refused(bytes));
  bytes = good;
  bytes[7] = '2';  // "Bud2"
  EXPECT_TRUE(refused(bytes));
  bytes = good;
  storeBigEndian32(bytes.data() + 16, rootOffset + 32);  // the copies disagree
  EXPECT_TRUE(refused(bytes));
  bytes = good;
  storeBigEndian32(bytes.data() + 4 + rootOffset, 0);  // no blocks
  EXPECT_TRUE(refused(bytes));
  bytes = good;
  storeBigEndian32(bytes.data() + 4 + rootOffset, 0xFFFFFFF0);  // a table larger than the file
  EXPECT_TRUE(refused(bytes));
  bytes = good;
  storeBigEndian32(bytes.data() + 4 + rootOffset + 8 + 256 * 4, 0);  // empty table of contents
  EXPECT_TRUE(refused(bytes));
  bytes = good;
  storeBigEndian32(bytes.data() + 12, 0x7FFFFFFF);  // a root block past the end
  EXPECT_TRUE(refused(bytes));
  EXPECT_TRUE(refused(Bytes(good.begin(), good.begin() + 12)));
  EXPECT_TRUE(refused(Bytes()));
  EXPECT_EQ(DSStoreAllocator::allocatorWithFile(nullptr), nullptr);
}

TEST(DSStoreAllocatorTest, AShortTableOfContentsEndsEarly) {
  StoreBuilder builder;
  builder.name("DSDB", builder.addBlock(Bytes(8, 0)));
  builder.name("", 5);  // a zero length ends the table
  builder.name("late", 0);
  const Bytes bytes = builder.build();
  auto allocator = DSStoreAllocator::allocatorWithFile(memoryFile(bytes));
  ASSERT_NE(allocator, nullptr);
  EXPECT_EQ(allocator->entries().size(), 1u);
  EXPECT_EQ(allocator->indexOfEntryNamed("late"), NSNotFound);
}

}  // namespace
}  // namespace orvel

#include "orvel/base/big_endian.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(BigEndianTest, StoresMostSignificantByteFirst) {
  std::uint8_t bytes[8] = {};
  storeBigEndian32(bytes, 0x01020304);
  EXPECT_EQ(bytes[0], 0x01);
  EXPECT_EQ(bytes[3], 0x04);
  storeBigEndian16(bytes, 0xABCD);
  EXPECT_EQ(bytes[0], 0xAB);
  EXPECT_EQ(bytes[1], 0xCD);
}

TEST(BigEndianTest, LoadsWhatWasStored) {
  std::uint8_t bytes[8];
  storeBigEndian64(bytes, 0x8877665544332211);
  EXPECT_EQ(bytes[0], 0x88);
  EXPECT_EQ(bytes[7], 0x11);
  EXPECT_EQ(loadBigEndian64(bytes), 0x8877665544332211u);
  EXPECT_EQ(loadBigEndian32(bytes), 0x88776655u);
  EXPECT_EQ(loadBigEndian16(bytes + 6), 0x2211u);
}

}  // namespace
}  // namespace orvel

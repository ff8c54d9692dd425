#include "orvel/records/compression.h"

#include <random>
#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

namespace orvel {
namespace {

std::vector<std::uint8_t> sampleText(std::size_t size) {
  const std::string words = "All human beings are born free and equal in dignity and rights. ";
  std::vector<std::uint8_t> text;
  while (text.size() < size) text.insert(text.end(), words.begin(), words.end());
  text.resize(size);
  return text;
}

TEST(CompressionTest, ZlibAndGzipRoundTripThroughOneInflater) {
  for (std::size_t size : {1u, 100u, 16384u, 300000u}) {
    SCOPED_TRACE(size);
    const auto text = sampleText(size);
    const auto zlib = dataByDeflatingData(text);
    const auto gzip = dataByGzippingData(text);
    ASSERT_TRUE(zlib && gzip);
    EXPECT_EQ((*zlib)[0], 0x78);  // zlib header
    EXPECT_EQ((*gzip)[0], 0x1F);  // gzip magic
    EXPECT_EQ((*gzip)[1], 0x8B);
    EXPECT_EQ(dataByInflatingData(*zlib), text);
    EXPECT_EQ(dataByInflatingData(*gzip), text);
  }
}

TEST(CompressionTest, IncompressibleDataSpansManyChunks) {
  std::mt19937 generator(1);
  std::vector<std::uint8_t> noise(100000);
  for (auto& b : noise) b = static_cast<std::uint8_t>(generator());
  const auto compressed = dataByCompressingBytes(noise.data(), noise.size(), 6, false);
  ASSERT_TRUE(compressed.has_value());
  EXPECT_GT(compressed->size(), noise.size());
  EXPECT_EQ(dataByInflatingData(*compressed), noise);
}

TEST(CompressionTest, LevelsAreNormalised) {
  const auto text = sampleText(50000);
  EXPECT_EQ(dataByDeflatingData(text, 0), dataByDeflatingData(text, 1));  // never stored
  EXPECT_EQ(dataByDeflatingData(text, -5), dataByDeflatingData(text, 1));
  EXPECT_EQ(dataByDeflatingData(text, 12), dataByDeflatingData(text, 9));
  EXPECT_EQ(dataByDeflatingData(text, -1), dataByDeflatingData(text, Z_DEFAULT_COMPRESSION));
  EXPECT_NE(dataByDeflatingData(text, 1), dataByDeflatingData(text, 9));
}

TEST(CompressionTest, EmptyInputsAnswerNothing) {
  EXPECT_FALSE(dataByDeflatingData({}).has_value());
  EXPECT_FALSE(dataByGzippingBytes(nullptr, 5).has_value());
  EXPECT_FALSE(dataByInflatingData({}).has_value());
  std::vector<std::uint8_t> data = {1, 2};
  EXPECT_FALSE(setDataByInflatingBytes(data, nullptr, 3));
}

TEST(CompressionTest, TrailingBytesAndTruncationFail) {
  const auto text = sampleText(5000);
  auto zlib = *dataByDeflatingData(text);
  auto trailing = zlib;
  trailing.push_back(0);
  std::vector<std::uint8_t> data;
  EXPECT_FALSE(setDataByInflating(data, trailing));
  EXPECT_EQ(data, text);  // inflated, but the stray byte makes it a failure
  const std::vector<std::uint8_t> truncated(zlib.begin(), zlib.end() - 5);
  EXPECT_FALSE(setDataByInflating(data, truncated));
  zlib[zlib.size() / 2] ^= 0xFF;  // damage in the middle
  EXPECT_FALSE(dataByInflatingData(zlib).has_value());
  const std::vector<std::uint8_t> garbage = {'n', 'o', 't', ' ', 'z', 'l', 'i', 'b'};
  EXPECT_FALSE(dataByInflatingData(garbage).has_value());
}

// A stream that expands past the limit fails instead of filling memory; one that stays
// within it, even exactly at it, inflates.
TEST(CompressionTest, InflationStopsAtTheOutputLimit) {
  const std::vector<std::uint8_t> zeros(1 << 20, 0);
  const auto bomb = *dataByGzippingData(zeros, 9);
  EXPECT_LT(bomb.size(), 2000u);
  EXPECT_FALSE(dataByInflatingData(bomb, zeros.size() - 1).has_value());
  std::vector<std::uint8_t> data;
  EXPECT_FALSE(setDataByInflating(data, bomb, 100));
  EXPECT_EQ(data.size(), 100u);
  const auto inflated = dataByInflatingData(bomb, zeros.size());
  ASSERT_TRUE(inflated.has_value());
  EXPECT_EQ(*inflated, zeros);
}

}  // namespace
}  // namespace orvel

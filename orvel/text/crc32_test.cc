#include "orvel/text/crc32.h"

#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "orvel/testing/temp_dir.h"
#include "orvel/text/internal/crc32_kernels.h"

namespace orvel {
namespace {

std::vector<std::uint8_t> randomBytes(std::size_t size, unsigned seed) {
  std::mt19937 generator(seed);
  std::vector<std::uint8_t> bytes(size);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(generator());
  return bytes;
}

// zlib pre- and post-inverts its register; this library does neither.
std::uint32_t zlibEquivalent(const std::uint8_t* data, std::size_t length) {
  return static_cast<std::uint32_t>(::crc32(0xFFFFFFFFul, data, static_cast<uInt>(length))) ^
         0xFFFFFFFFu;
}

TEST(Crc32Test, CheckValueAndTable) {
  EXPECT_EQ(CRC32("123456789", 9), 0x2DFD2D88u);
  EXPECT_EQ(CRC32_TAB[0], 0u);
  EXPECT_EQ(CRC32_TAB[1], 0x77073096u);
  EXPECT_EQ(CRC32_TAB[255], 0x2D02EF8Du);
  for (unsigned b = 0; b < 256; ++b) {
    const auto byte = static_cast<std::uint8_t>(b);
    ASSERT_EQ(CRC32(&byte, 1), CRC32_TAB[b]) << b;
  }
}

TEST(Crc32Test, EmptyOrAbsentInputIsZero) {
  EXPECT_EQ(CRC32(nullptr, 0), 0u);
  EXPECT_EQ(CRC32("", 0), 0u);
  EXPECT_EQ(CRC32UniChars(nullptr, 5), 0u);
  EXPECT_EQ(crc32(std::u16string_view()), 0u);
  EXPECT_EQ(caseInsensitiveCrc32ByRemovingNonAlphaCharacters(u"123 !"), 0u);
  EXPECT_EQ(caseInsensitiveCrc32UsingCharactersPartOfCharacterSetRep(u"abc", nullptr), 0u);
}

TEST(Crc32Test, CodeUnitsAreFedHighByteFirst) {
  const unichar a = 0x0041;
  const std::uint8_t bigEndian[] = {0x00, 0x41};
  EXPECT_EQ(CRC32UniChars(&a, 1), CRC32(bigEndian, 2));
  const std::u16string text = u"\u20ACuro \U0001F600";
  std::vector<std::uint8_t> bytes;
  for (unichar u : text) {
    bytes.push_back(static_cast<std::uint8_t>(u >> 8));
    bytes.push_back(static_cast<std::uint8_t>(u));
  }
  EXPECT_EQ(crc32(text), CRC32(bytes.data(), bytes.size()));
}

TEST(Crc32Test, LongStringsCrossTheConversionBlocks) {
  std::u16string text;
  for (int i = 0; i < 10000; ++i) text.push_back(static_cast<unichar>(0x00C0 + i % 64));
  std::vector<std::uint8_t> bytes;
  for (unichar u : text) {
    const unichar folded = initLowerCharsTable()[u];
    bytes.push_back(static_cast<std::uint8_t>(folded >> 8));
    bytes.push_back(static_cast<std::uint8_t>(folded));
  }
  EXPECT_EQ(crc32UsingConversionTable(text, initLowerCharsTable()),
            CRC32(bytes.data(), bytes.size()));
}

TEST(Crc32Test, FoldingAndFilteringMakeVariantsAgree) {
  EXPECT_NE(crc32(u"abc"), crc32(u"ABC"));
  EXPECT_EQ(caseInsensitiveCrc32ByRemovingNonAlphaCharacters(u"Hello, World!"),
            caseInsensitiveCrc32ByRemovingNonAlphaCharacters(u"HELLOWORLD"));
  EXPECT_EQ(caseInsensitiveCrc32ByRemovingNonAlphaCharacters(u"HELLOWORLD"), crc32(u"HELLOWORLD"));
  EXPECT_NE(caseInsensitiveCrc32ByRemovingNonAlphaCharacters(u"route66"),
            caseInsensitiveCrc32ByRemovingNonAlphaNumericCharacters(u"route66"));
  EXPECT_EQ(crc32UsingConversionTable(u"M\u00FCller", initUpperUmlautsCharsTable()),
            crc32UsingConversionTable(u"Muller", initUpperUmlautsCharsTable()));
  EXPECT_EQ(crc32UsingConversionTable(u"abc", nullptr), crc32(u"abc"));
  const std::u16string text = u"xyz";
  EXPECT_EQ(CRC32UniCharsUsingConversionTable(text.data(), 3, initUpperCharsTable()),
            crc32(u"XYZ"));
}

TEST(Crc32Test, EqualsZlibWithInvertedRegister) {
  const auto bytes = randomBytes(1 << 20, 7);
  EXPECT_EQ(CRC32(bytes.data(), bytes.size()), zlibEquivalent(bytes.data(), bytes.size()));
}

TEST(Crc32Test, PortableAndCarrylessPathsAgreeAtEveryLengthAndAlignment) {
  const auto bytes = randomBytes(4096, 11);
  for (std::size_t offset = 0; offset < 16; ++offset) {
    for (std::size_t length = 0; length + offset <= 1200; ++length) {
      const std::uint8_t* data = bytes.data() + offset;
      const std::uint32_t expected = zlibEquivalent(data, length);
      ASSERT_EQ(internal::crc32UpdatePortable(0, data, length), expected)
          << offset << "/" << length;
      if (internal::crc32ClmulSupported()) {
        ASSERT_EQ(internal::crc32UpdateClmul(0, data, length), expected) << offset << "/" << length;
      }
      if (internal::crc32Vpclmul512Supported()) {
        ASSERT_EQ(internal::crc32UpdateVpclmul512(0, data, length), expected)
            << offset << "/" << length;
      }
    }
  }
}

TEST(Crc32Test, IncrementalUpdatesEqualOneShot) {
  const auto bytes = randomBytes(100000, 3);
  const std::uint32_t oneShot = CRC32(bytes.data(), bytes.size());
  for (std::size_t split : {1u, 63u, 64u, 65u, 4097u, 99999u}) {
    SCOPED_TRACE(split);
    const std::uint32_t head = internal::crc32UpdatePortable(0, bytes.data(), split);
    EXPECT_EQ(internal::crc32UpdatePortable(head, bytes.data() + split, bytes.size() - split),
              oneShot);
    EXPECT_EQ(updateCRC32(CRC32(bytes.data(), split), bytes.data() + split, bytes.size() - split),
              oneShot);
  }
}

TEST(Crc32Test, FileChecksumReadsTheWholeFile) {
  testing::TempDir dir;
  const auto bytes = randomBytes(200000, 5);
  const auto path = dir.writeFile(
      "data.bin", std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
  EXPECT_EQ(crc32ForFileAtPath(path), CRC32(bytes.data(), bytes.size()));
  EXPECT_EQ(crc32ForFileAtPath(dir.path() / "missing"), 0u);
  EXPECT_EQ(crc32ForFileAtPath(""), 0u);
  EXPECT_EQ(crc32ForFileAtPath(dir.writeFile("empty", "")), 0u);
}

}  // namespace
}  // namespace orvel

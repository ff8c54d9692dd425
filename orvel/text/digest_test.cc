#include "orvel/text/digest.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/text/internal/sha1_kernels.h"
#include "orvel/text/isc_md5.h"
#include "orvel/text/isc_sha1.h"

namespace orvel {
namespace {

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string md5Hex(std::string_view text) {
  return utf16ToUtf8(MD5DigestStringValue(bytesOf(text)));
}
std::string sha1Hex(std::string_view text) {
  return utf16ToUtf8(SHA1DigestStringValue(bytesOf(text)));
}

TEST(DigestTest, Md5TestSuiteOfRfc1321) {
  EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(md5Hex("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(md5Hex("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(md5Hex("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  std::string digits;
  for (int i = 0; i < 8; ++i) digits += "1234567890";
  EXPECT_EQ(md5Hex(digits), "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(DigestTest, Sha1VectorsOfFips180) {
  EXPECT_EQ(sha1Hex(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(sha1Hex("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(sha1Hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
}

TEST(DigestTest, MillionTimesTheLetterA) {
  const std::string million(1000000, 'a');
  EXPECT_EQ(md5Hex(million), "7707d6ae4e027c70eea2a935c2296f21");
  EXPECT_EQ(sha1Hex(million), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(DigestTest, PaddingAroundTheBlockBoundary) {
  // 55 bytes fit the length into one block, 56 need a second; known digests of 'a' runs.
  EXPECT_EQ(md5Hex(std::string(55, 'a')), "ef1772b6dff9a122358552954ad0df65");
  EXPECT_EQ(md5Hex(std::string(56, 'a')), "3b0c8ac703f828b04c6c197006d17218");
  EXPECT_EQ(md5Hex(std::string(64, 'a')), "014842d480b571495a4a0363793f7367");
  EXPECT_EQ(sha1Hex(std::string(55, 'a')), "c1c8bbdc22796e28c0e15163d20899b65621d65a");
  EXPECT_EQ(sha1Hex(std::string(56, 'a')), "c2db330f6083854c99d4b5bfb6e8f29f201be699");
  EXPECT_EQ(sha1Hex(std::string(64, 'a')), "0098ba824b5c16427bd7a1122a5a442a25ec644d");
}

TEST(DigestTest, PiecewiseUpdatesEqualOneShot) {
  std::mt19937 generator(42);
  std::vector<std::uint8_t> data(10000);
  for (auto& b : data) b = static_cast<std::uint8_t>(generator());
  const auto md5 = MD5Digest(data);
  const auto sha1 = SHA1Digest(data);
  for (std::size_t piece : {1u, 7u, 63u, 64u, 65u, 1000u}) {
    SCOPED_TRACE(piece);
    isc_md5_t md5Context;
    isc_sha1_t sha1Context;
    isc_md5_init(&md5Context);
    isc_sha1_init(&sha1Context);
    for (std::size_t at = 0; at < data.size(); at += piece) {
      const auto n = static_cast<std::uint32_t>(std::min(piece, data.size() - at));
      isc_md5_update(&md5Context, data.data() + at, n);
      isc_sha1_update(&sha1Context, data.data() + at, n);
    }
    std::vector<std::uint8_t> md5Piecewise(16), sha1Piecewise(20);
    isc_md5_final(&md5Context, md5Piecewise.data());
    isc_sha1_final(&sha1Context, sha1Piecewise.data());
    EXPECT_EQ(md5Piecewise, md5);
    EXPECT_EQ(sha1Piecewise, sha1);
  }
}

TEST(DigestTest, PortableAndAcceleratedSha1Agree) {
  if (!internal::sha1ShaNiSupported()) GTEST_SKIP() << "no SHA extensions on this CPU";
  std::mt19937 generator(9);
  std::vector<std::uint8_t> blocks(64 * 50);
  for (auto& b : blocks) b = static_cast<std::uint8_t>(generator());
  for (std::size_t count : {1u, 2u, 50u}) {
    std::uint32_t portable[5] = {1, 2, 3, 4, 5};
    std::uint32_t accelerated[5] = {1, 2, 3, 4, 5};
    internal::sha1BlocksPortable(portable, blocks.data(), count);
    internal::sha1BlocksShaNi(accelerated, blocks.data(), count);
    EXPECT_EQ(std::vector<std::uint32_t>(portable, portable + 5),
              std::vector<std::uint32_t>(accelerated, accelerated + 5))
        << count;
  }
}

TEST(DigestTest, FinalAndInvalidateZeroTheContext) {
  isc_sha1_t sha1;
  isc_sha1_init(&sha1);
  isc_sha1_update(&sha1, reinterpret_cast<const unsigned char*>("abc"), 3);
  isc_sha1_final(&sha1, nullptr);  // no output wanted
  const isc_sha1_t zeroSha1{};
  EXPECT_EQ(std::memcmp(&sha1, &zeroSha1, sizeof sha1), 0);

  isc_md5_t md5;
  isc_md5_init(&md5);
  isc_md5_update(&md5, reinterpret_cast<const unsigned char*>("abc"), 3);
  isc_md5_invalidate(&md5);
  const isc_md5_t zeroMd5{};
  EXPECT_EQ(std::memcmp(&md5, &zeroMd5, sizeof md5), 0);
}

TEST(DigestTest, HexTextIsTwoLowerCaseDigitsPerByte) {
  const std::uint8_t bytes[] = {0x00, 0xAB};
  EXPECT_EQ(hexStringValue(bytes), u"00ab");
  EXPECT_EQ(hexStringValue({}), u"");
  EXPECT_EQ(MD5Digest({}).size(), 16u);
  EXPECT_EQ(SHA1Digest({}).size(), 20u);
}

TEST(DigestTest, SaltedHashAppendsTheSaltToTheEncodedText) {
  EXPECT_EQ(saltedHash(u"abc", u""), u"a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(saltedHash(u"ab", u"c"), saltedHash(u"abc", u""));
  EXPECT_EQ(saltedHash(u"\u00E9"), utf8ToUtf16(sha1Hex("\xC3\xA9K7Q.MX27182818_WAVE-")));
  EXPECT_EQ(saltedHash(u"\u00E9", u"", 5), utf8ToUtf16(sha1Hex("\xE9")));  // ISO Latin-1
  EXPECT_FALSE(saltedHash(u"").has_value());
  EXPECT_FALSE(saltedHash(u"\u20AC", u"", NSASCIIStringEncoding).has_value());
}

}  // namespace
}  // namespace orvel

// Portable SHA-1 compression function (FIPS 180-1), message schedule kept in 16 words.
#include "orvel/base/big_endian.h"
#include "orvel/text/internal/sha1_kernels.h"

namespace orvel::internal {
namespace {

inline std::uint32_t rotateLeft(std::uint32_t x, int s) { return (x << s) | (x >> (32 - s)); }

#define ORVEL_SHA1_CHOOSE(b, c, d) (d ^ (b & (c ^ d)))
#define ORVEL_SHA1_PARITY(b, c, d) (b ^ c ^ d)
#define ORVEL_SHA1_MAJORITY(b, c, d) ((b & c) + (d & (b ^ c)))
#define ORVEL_SHA1_ROUND(f, a, b, c, d, e, w, k)               \
  e += rotateLeft(a, 5) + ORVEL_SHA1_##f(b, c, d) + (w) + (k); \
  b = rotateLeft(b, 30)

}  // namespace

void sha1BlocksPortable(std::uint32_t state[5], const std::uint8_t* blocks, std::size_t count) {
  for (; count > 0; --count, blocks += 64) {
    std::uint32_t w[16];
    auto initialWord = [&](int i) { return w[i] = loadBigEndian32(blocks + 4 * i); };
    auto nextWord = [&](int i) {
      return w[i & 15] =
                 rotateLeft(w[(i + 13) & 15] ^ w[(i + 8) & 15] ^ w[(i + 2) & 15] ^ w[i & 15], 1);
    };
    std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3], e = state[4];
    ORVEL_SHA1_ROUND(CHOOSE, a, b, c, d, e, initialWord(0), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, e, a, b, c, d, initialWord(1), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, d, e, a, b, c, initialWord(2), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, c, d, e, a, b, initialWord(3), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, b, c, d, e, a, initialWord(4), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, a, b, c, d, e, initialWord(5), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, e, a, b, c, d, initialWord(6), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, d, e, a, b, c, initialWord(7), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, c, d, e, a, b, initialWord(8), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, b, c, d, e, a, initialWord(9), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, a, b, c, d, e, initialWord(10), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, e, a, b, c, d, initialWord(11), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, d, e, a, b, c, initialWord(12), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, c, d, e, a, b, initialWord(13), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, b, c, d, e, a, initialWord(14), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, a, b, c, d, e, initialWord(15), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, e, a, b, c, d, nextWord(16), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, d, e, a, b, c, nextWord(17), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, c, d, e, a, b, nextWord(18), 0x5a827999);
    ORVEL_SHA1_ROUND(CHOOSE, b, c, d, e, a, nextWord(19), 0x5a827999);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(20), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(21), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(22), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(23), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(24), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(25), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(26), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(27), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(28), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(29), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(30), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(31), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(32), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(33), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(34), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(35), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(36), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(37), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(38), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(39), 0x6ed9eba1);
    ORVEL_SHA1_ROUND(MAJORITY, a, b, c, d, e, nextWord(40), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, e, a, b, c, d, nextWord(41), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, d, e, a, b, c, nextWord(42), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, c, d, e, a, b, nextWord(43), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, b, c, d, e, a, nextWord(44), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, a, b, c, d, e, nextWord(45), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, e, a, b, c, d, nextWord(46), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, d, e, a, b, c, nextWord(47), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, c, d, e, a, b, nextWord(48), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, b, c, d, e, a, nextWord(49), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, a, b, c, d, e, nextWord(50), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, e, a, b, c, d, nextWord(51), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, d, e, a, b, c, nextWord(52), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, c, d, e, a, b, nextWord(53), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, b, c, d, e, a, nextWord(54), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, a, b, c, d, e, nextWord(55), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, e, a, b, c, d, nextWord(56), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, d, e, a, b, c, nextWord(57), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, c, d, e, a, b, nextWord(58), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(MAJORITY, b, c, d, e, a, nextWord(59), 0x8f1bbcdc);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(60), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(61), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(62), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(63), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(64), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(65), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(66), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(67), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(68), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(69), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(70), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(71), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(72), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(73), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(74), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, a, b, c, d, e, nextWord(75), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, e, a, b, c, d, nextWord(76), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, d, e, a, b, c, nextWord(77), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, c, d, e, a, b, nextWord(78), 0xca62c1d6);
    ORVEL_SHA1_ROUND(PARITY, b, c, d, e, a, nextWord(79), 0xca62c1d6);
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
  }
}

#undef ORVEL_SHA1_ROUND
#undef ORVEL_SHA1_MAJORITY
#undef ORVEL_SHA1_PARITY
#undef ORVEL_SHA1_CHOOSE

}  // namespace orvel::internal

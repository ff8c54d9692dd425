// MD5 (RFC 1321), the library's own implementation behind the isc_md5_* functions.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "orvel/text/isc_md5.h"

namespace {

inline std::uint32_t rotateLeft(std::uint32_t x, int s) { return (x << s) | (x >> (32 - s)); }

// The four auxiliary functions, written so that each needs as few operations on the
// critical path (b, the previous step's result) as possible. G adds its two disjoint
// halves separately, so the half without b is ready early.
#define ORVEL_MD5_F(a, b, c, d) (a += (d ^ (b & (c ^ d))))
#define ORVEL_MD5_G(a, b, c, d) (a += (c & ~d), a += (b & d))
#define ORVEL_MD5_H(a, b, c, d) (a += (b ^ c ^ d))
#define ORVEL_MD5_I(a, b, c, d) (a += (c ^ (b | ~d)))
#define ORVEL_MD5_STEP(f, a, b, c, d, x, t, s) \
  a += (x) + (t);                              \
  ORVEL_MD5_##f(a, b, c, d);                   \
  a = rotateLeft(a, s) + b

// One 64-byte block. The constants are floor(abs(sin(i + 1)) * 2^32) for steps i = 0..63.
void transform(std::uint32_t state[4], const std::uint8_t* block) {
  std::uint32_t words[16];
  std::memcpy(words, block, 64);
  auto word = [&](int i) {
    if constexpr (std::endian::native == std::endian::little) {
      return words[i];
    } else {
      return __builtin_bswap32(words[i]);
    }
  };
  std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
  ORVEL_MD5_STEP(F, a, b, c, d, word(0), 0xd76aa478, 7);
  ORVEL_MD5_STEP(F, d, a, b, c, word(1), 0xe8c7b756, 12);
  ORVEL_MD5_STEP(F, c, d, a, b, word(2), 0x242070db, 17);
  ORVEL_MD5_STEP(F, b, c, d, a, word(3), 0xc1bdceee, 22);
  ORVEL_MD5_STEP(F, a, b, c, d, word(4), 0xf57c0faf, 7);
  ORVEL_MD5_STEP(F, d, a, b, c, word(5), 0x4787c62a, 12);
  ORVEL_MD5_STEP(F, c, d, a, b, word(6), 0xa8304613, 17);
  ORVEL_MD5_STEP(F, b, c, d, a, word(7), 0xfd469501, 22);
  ORVEL_MD5_STEP(F, a, b, c, d, word(8), 0x698098d8, 7);
  ORVEL_MD5_STEP(F, d, a, b, c, word(9), 0x8b44f7af, 12);
  ORVEL_MD5_STEP(F, c, d, a, b, word(10), 0xffff5bb1, 17);
  ORVEL_MD5_STEP(F, b, c, d, a, word(11), 0x895cd7be, 22);
  ORVEL_MD5_STEP(F, a, b, c, d, word(12), 0x6b901122, 7);
  ORVEL_MD5_STEP(F, d, a, b, c, word(13), 0xfd987193, 12);
  ORVEL_MD5_STEP(F, c, d, a, b, word(14), 0xa679438e, 17);
  ORVEL_MD5_STEP(F, b, c, d, a, word(15), 0x49b40821, 22);
  ORVEL_MD5_STEP(G, a, b, c, d, word(1), 0xf61e2562, 5);
  ORVEL_MD5_STEP(G, d, a, b, c, word(6), 0xc040b340, 9);
  ORVEL_MD5_STEP(G, c, d, a, b, word(11), 0x265e5a51, 14);
  ORVEL_MD5_STEP(G, b, c, d, a, word(0), 0xe9b6c7aa, 20);
  ORVEL_MD5_STEP(G, a, b, c, d, word(5), 0xd62f105d, 5);
  ORVEL_MD5_STEP(G, d, a, b, c, word(10), 0x02441453, 9);
  ORVEL_MD5_STEP(G, c, d, a, b, word(15), 0xd8a1e681, 14);
  ORVEL_MD5_STEP(G, b, c, d, a, word(4), 0xe7d3fbc8, 20);
  ORVEL_MD5_STEP(G, a, b, c, d, word(9), 0x21e1cde6, 5);
  ORVEL_MD5_STEP(G, d, a, b, c, word(14), 0xc33707d6, 9);
  ORVEL_MD5_STEP(G, c, d, a, b, word(3), 0xf4d50d87, 14);
  ORVEL_MD5_STEP(G, b, c, d, a, word(8), 0x455a14ed, 20);
  ORVEL_MD5_STEP(G, a, b, c, d, word(13), 0xa9e3e905, 5);
  ORVEL_MD5_STEP(G, d, a, b, c, word(2), 0xfcefa3f8, 9);
  ORVEL_MD5_STEP(G, c, d, a, b, word(7), 0x676f02d9, 14);
  ORVEL_MD5_STEP(G, b, c, d, a, word(12), 0x8d2a4c8a, 20);
  ORVEL_MD5_STEP(H, a, b, c, d, word(5), 0xfffa3942, 4);
  ORVEL_MD5_STEP(H, d, a, b, c, word(8), 0x8771f681, 11);
  ORVEL_MD5_STEP(H, c, d, a, b, word(11), 0x6d9d6122, 16);
  ORVEL_MD5_STEP(H, b, c, d, a, word(14), 0xfde5380c, 23);
  ORVEL_MD5_STEP(H, a, b, c, d, word(1), 0xa4beea44, 4);
  ORVEL_MD5_STEP(H, d, a, b, c, word(4), 0x4bdecfa9, 11);
  ORVEL_MD5_STEP(H, c, d, a, b, word(7), 0xf6bb4b60, 16);
  ORVEL_MD5_STEP(H, b, c, d, a, word(10), 0xbebfbc70, 23);
  ORVEL_MD5_STEP(H, a, b, c, d, word(13), 0x289b7ec6, 4);
  ORVEL_MD5_STEP(H, d, a, b, c, word(0), 0xeaa127fa, 11);
  ORVEL_MD5_STEP(H, c, d, a, b, word(3), 0xd4ef3085, 16);
  ORVEL_MD5_STEP(H, b, c, d, a, word(6), 0x04881d05, 23);
  ORVEL_MD5_STEP(H, a, b, c, d, word(9), 0xd9d4d039, 4);
  ORVEL_MD5_STEP(H, d, a, b, c, word(12), 0xe6db99e5, 11);
  ORVEL_MD5_STEP(H, c, d, a, b, word(15), 0x1fa27cf8, 16);
  ORVEL_MD5_STEP(H, b, c, d, a, word(2), 0xc4ac5665, 23);
  ORVEL_MD5_STEP(I, a, b, c, d, word(0), 0xf4292244, 6);
  ORVEL_MD5_STEP(I, d, a, b, c, word(7), 0x432aff97, 10);
  ORVEL_MD5_STEP(I, c, d, a, b, word(14), 0xab9423a7, 15);
  ORVEL_MD5_STEP(I, b, c, d, a, word(5), 0xfc93a039, 21);
  ORVEL_MD5_STEP(I, a, b, c, d, word(12), 0x655b59c3, 6);
  ORVEL_MD5_STEP(I, d, a, b, c, word(3), 0x8f0ccc92, 10);
  ORVEL_MD5_STEP(I, c, d, a, b, word(10), 0xffeff47d, 15);
  ORVEL_MD5_STEP(I, b, c, d, a, word(1), 0x85845dd1, 21);
  ORVEL_MD5_STEP(I, a, b, c, d, word(8), 0x6fa87e4f, 6);
  ORVEL_MD5_STEP(I, d, a, b, c, word(15), 0xfe2ce6e0, 10);
  ORVEL_MD5_STEP(I, c, d, a, b, word(6), 0xa3014314, 15);
  ORVEL_MD5_STEP(I, b, c, d, a, word(13), 0x4e0811a1, 21);
  ORVEL_MD5_STEP(I, a, b, c, d, word(4), 0xf7537e82, 6);
  ORVEL_MD5_STEP(I, d, a, b, c, word(11), 0xbd3af235, 10);
  ORVEL_MD5_STEP(I, c, d, a, b, word(2), 0x2ad7d2bb, 15);
  ORVEL_MD5_STEP(I, b, c, d, a, word(9), 0xeb86d391, 21);
  state[0] += a;
  state[1] += b;
  state[2] += c;
  state[3] += d;
}

#undef ORVEL_MD5_STEP
#undef ORVEL_MD5_I
#undef ORVEL_MD5_H
#undef ORVEL_MD5_G
#undef ORVEL_MD5_F

void storeLittleEndian32(std::uint8_t* p, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

}  // namespace

extern "C" {

void isc_md5_init(isc_md5_t* context) {
  context->state[0] = 0x67452301;
  context->state[1] = 0xefcdab89;
  context->state[2] = 0x98badcfe;
  context->state[3] = 0x10325476;
  context->bitCount = 0;
}

void isc_md5_invalidate(isc_md5_t* context) { explicit_bzero(context, sizeof *context); }

void isc_md5_update(isc_md5_t* context, const unsigned char* bytes, std::uint32_t length) {
  std::size_t used = (context->bitCount >> 3) & 63;
  context->bitCount += std::uint64_t{length} << 3;
  if (used != 0) {
    const std::size_t take = std::min<std::size_t>(64 - used, length);
    std::memcpy(context->buffer + used, bytes, take);
    bytes += take;
    length -= static_cast<std::uint32_t>(take);
    if (used + take < 64) return;
    transform(context->state, context->buffer);
  }
  for (; length >= 64; bytes += 64, length -= 64) transform(context->state, bytes);
  std::memcpy(context->buffer, bytes, length);
}

void isc_md5_final(isc_md5_t* context, unsigned char* digest) {
  const std::uint64_t bitCount = context->bitCount;
  std::size_t used = (bitCount >> 3) & 63;
  context->buffer[used++] = 0x80;
  if (used > 56) {
    std::memset(context->buffer + used, 0, 64 - used);
    transform(context->state, context->buffer);
    used = 0;
  }
  std::memset(context->buffer + used, 0, 56 - used);
  for (int i = 0; i < 8; ++i)
    context->buffer[56 + i] = static_cast<std::uint8_t>(bitCount >> (8 * i));
  transform(context->state, context->buffer);
  for (int i = 0; i < 4; ++i) storeLittleEndian32(digest + 4 * i, context->state[i]);
  isc_md5_invalidate(context);
}

}  // extern "C"

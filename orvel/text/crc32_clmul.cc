// CRC-32 by folding with carry-less multiplication (x86 PCLMULQDQ).
//
// Model: the message is a polynomial over GF(2) whose first bit is the highest term, and
// the CRC is M(x) * x^32 mod P(x). Sixteen bytes loaded little-endian form a 128-bit lane
// A = H * x^64 + L (H the first eight bytes). Moving a lane F bits further along the
// message multiplies it by x^F; modulo P that is H * (x^(64+F) mod P) + L * (x^F mod P),
// a value of at most 96 bits that is XORed into the lane F bits later. Because both
// operands are bit-reflected, PCLMULQDQ's product carries an extra factor that the
// constants absorb: a constant c(x) of degree < 32 is stored with the term x^d at bit
// 32 - d, which makes the product represent x^32 * H * c, so H is multiplied by
// x^(F+32) mod P and L by x^(F-32) mod P.
//
// The loop folds four lanes by 512 bits per step, then folds them into one by 128 bits.
// The last lane is itself a 16-byte message with the same CRC remainder as everything
// folded into it; the portable loop finishes it and any tail.
#include "orvel/text/internal/crc32_kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include "orvel/text/internal/cpu_features.h"

namespace orvel::internal {
namespace {

// x^n mod P(x) with P = 0x104C11DB7 (normal bit order), stored as described above.
constexpr std::uint64_t foldConstant(unsigned n) {
  std::uint64_t remainder = 1;
  for (unsigned i = 0; i < n; ++i) {
    remainder <<= 1;
    if (remainder & (std::uint64_t{1} << 32)) remainder ^= 0x104C11DB7;
  }
  std::uint64_t reflected = 0;
  for (unsigned d = 0; d < 32; ++d) {
    if (remainder & (std::uint64_t{1} << d)) reflected |= std::uint64_t{1} << (32 - d);
  }
  return reflected;
}

// The published constants of this fold, as a check on the derivation above.
static_assert(foldConstant(512 + 32) == 0x154442bd4 && foldConstant(512 - 32) == 0x1c6e41596);
static_assert(foldConstant(128 + 32) == 0x1751997d0 && foldConstant(128 - 32) == 0x0ccaa009e);

__attribute__((target("pclmul,sse2"))) inline __m128i fold(__m128i lane, __m128i constants,
                                                           __m128i next) {
  const __m128i high = _mm_clmulepi64_si128(lane, constants, 0x00);
  const __m128i low = _mm_clmulepi64_si128(lane, constants, 0x11);
  return _mm_xor_si128(_mm_xor_si128(high, low), next);
}

__attribute__((target("sse2"))) inline __m128i load(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// The constants for moving a lane `Distance` bits along, computed at compile time.
template <unsigned Distance>
struct FoldBy {
  static constexpr auto high = static_cast<long long>(foldConstant(Distance + 32));
  static constexpr auto low = static_cast<long long>(foldConstant(Distance - 32));
};

template <unsigned Distance>
__attribute__((target("pclmul,sse2"))) inline __m128i foldConstants() {
  return _mm_set_epi64x(FoldBy<Distance>::low, FoldBy<Distance>::high);
}

// The same fold on four 128-bit lanes at once (VPCLMULQDQ on 512-bit registers).
__attribute__((target("avx512f,vpclmulqdq"))) inline __m512i fold512(__m512i lanes,
                                                                     __m512i constants,
                                                                     __m512i next) {
  const __m512i high = _mm512_clmulepi64_epi128(lanes, constants, 0x00);
  const __m512i low = _mm512_clmulepi64_epi128(lanes, constants, 0x11);
  return _mm512_ternarylogic_epi64(high, low, next, 0x96);  // high ^ low ^ next
}

template <unsigned Distance>
__attribute__((target("avx512f"))) inline __m512i broadcastConstants() {
  constexpr long long high = FoldBy<Distance>::high, low = FoldBy<Distance>::low;
  return _mm512_set_epi64(low, high, low, high, low, high, low, high);
}

__attribute__((target("avx512f"))) inline __m512i load512(const std::uint8_t* p) {
  return _mm512_loadu_si512(p);
}

}  // namespace

bool crc32Vpclmul512Supported() {
  static const bool supported = cpuHasAvx512f() && cpuHasVpclmulqdq() && cpuHasPclmul();
  return supported;
}

// Four 512-bit accumulators fold 256 bytes per step; then they fold into one, its four
// lanes into one 128-bit lane, and the 128-bit loop and the table finish.
__attribute__((target("avx512f,vpclmulqdq,pclmul,sse2"))) std::uint32_t crc32UpdateVpclmul512(
    std::uint32_t crc, const std::uint8_t* data, std::size_t length) {
  if (length < 256) return crc32UpdateClmul(crc, data, length);
  const __m512i by2048 = broadcastConstants<2048>();
  const __m512i by512 = broadcastConstants<512>();
  __m512i x0 = _mm512_xor_si512(load512(data), _mm512_set_epi64(0, 0, 0, 0, 0, 0, 0, crc));
  __m512i x1 = load512(data + 64);
  __m512i x2 = load512(data + 128);
  __m512i x3 = load512(data + 192);
  data += 256;
  length -= 256;
  for (; length >= 256; data += 256, length -= 256) {
    x0 = fold512(x0, by2048, load512(data));
    x1 = fold512(x1, by2048, load512(data + 64));
    x2 = fold512(x2, by2048, load512(data + 128));
    x3 = fold512(x3, by2048, load512(data + 192));
  }
  __m512i x = fold512(fold512(fold512(x0, by512, x1), by512, x2), by512, x3);
  for (; length >= 64; data += 64, length -= 64) x = fold512(x, by512, load512(data));
  // Lanes 0..2 move 48, 32 and 16 bytes along to meet lane 3.
  __m128i lane = _mm512_maskz_extracti32x4_epi32(0xF, x, 3);
  lane = fold(_mm512_maskz_extracti32x4_epi32(0xF, x, 0), foldConstants<384>(), lane);
  lane = fold(_mm512_maskz_extracti32x4_epi32(0xF, x, 1), foldConstants<256>(), lane);
  lane = fold(_mm512_maskz_extracti32x4_epi32(0xF, x, 2), foldConstants<128>(), lane);
  for (; length >= 16; data += 16, length -= 16)
    lane = fold(lane, foldConstants<128>(), load(data));
  std::uint8_t bytes[16];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), lane);
  return crc32UpdatePortable(crc32UpdatePortable(0, bytes, 16), data, length);
}

bool crc32ClmulSupported() {
  static const bool supported = cpuHasPclmul() && cpuHasSse2();
  return supported;
}

__attribute__((target("pclmul,sse2"))) std::uint32_t crc32UpdateClmul(std::uint32_t crc,
                                                                      const std::uint8_t* data,
                                                                      std::size_t length) {
  if (length < 64) return crc32UpdatePortable(crc, data, length);
  const __m128i by512 = foldConstants<512>();
  const __m128i by128 = foldConstants<128>();

  // A running register is the same as XORing it into the first four message bytes.
  __m128i x0 = _mm_xor_si128(load(data), _mm_cvtsi32_si128(static_cast<int>(crc)));
  __m128i x1 = load(data + 16);
  __m128i x2 = load(data + 32);
  __m128i x3 = load(data + 48);
  data += 64;
  length -= 64;
  for (; length >= 64; data += 64, length -= 64) {
    x0 = fold(x0, by512, load(data));
    x1 = fold(x1, by512, load(data + 16));
    x2 = fold(x2, by512, load(data + 32));
    x3 = fold(x3, by512, load(data + 48));
  }
  __m128i x = fold(fold(fold(x0, by128, x1), by128, x2), by128, x3);
  for (; length >= 16; data += 16, length -= 16) x = fold(x, by128, load(data));

  std::uint8_t lane[16];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(lane), x);
  return crc32UpdatePortable(crc32UpdatePortable(0, lane, 16), data, length);
}

}  // namespace orvel::internal

#else  // no carry-less multiplication on this architecture

namespace orvel::internal {

bool crc32ClmulSupported() { return false; }

bool crc32Vpclmul512Supported() { return false; }

std::uint32_t crc32UpdateVpclmul512(std::uint32_t crc, const std::uint8_t* data,
                                    std::size_t length) {
  return crc32UpdatePortable(crc, data, length);
}

std::uint32_t crc32UpdateClmul(std::uint32_t crc, const std::uint8_t* data, std::size_t length) {
  return crc32UpdatePortable(crc, data, length);
}

}  // namespace orvel::internal

#endif

namespace orvel::internal {

std::uint32_t crc32Update(std::uint32_t crc, const std::uint8_t* data, std::size_t length) {
  if (length >= 256 && crc32Vpclmul512Supported()) return crc32UpdateVpclmul512(crc, data, length);
  return crc32ClmulSupported() ? crc32UpdateClmul(crc, data, length)
                               : crc32UpdatePortable(crc, data, length);
}

}  // namespace orvel::internal

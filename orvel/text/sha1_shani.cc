// SHA-1 compression with the x86 SHA extensions.
//
// ABCD lives in one register with A in the highest lane; E travels separately in the
// highest lane of its own register. SHA1RNDS4 runs four rounds (its immediate selects the
// round function and constant of rounds 0-19, 20-39, 40-59, 60-79); SHA1NEXTE derives the
// next four rounds' E from the ABCD of four rounds earlier and adds it to their message
// words; SHA1MSG1, an XOR and SHA1MSG2 extend the message schedule four words at a time:
// W[i..i+3] from W[i-16..i-1].
#include "orvel/text/internal/sha1_kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

#include "orvel/text/internal/cpu_features.h"

namespace orvel::internal {

bool sha1ShaNiSupported() {
  static const bool supported = cpuHasShaExtensions() && cpuHasSse41() && cpuHasSsse3();
  return supported;
}

__attribute__((target("sha,sse4.1,ssse3"))) void sha1BlocksShaNi(std::uint32_t state[5],
                                                                 const std::uint8_t* blocks,
                                                                 std::size_t count) {
  // Reverses the bytes of each word and the order of the words: big-endian message words
  // with the first one in the highest lane.
  const __m128i byteOrder = _mm_set_epi64x(0x0001020304050607LL, 0x08090a0b0c0d0e0fLL);
  __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state)), 0x1B);
  __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);

  for (; count > 0; --count, blocks += 64) {
    const __m128i abcdSaved = abcd;
    const __m128i eSaved = e;
    __m128i w[4];
    for (int i = 0; i < 4; ++i) {
      w[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(blocks + 16 * i)),
                              byteOrder);
    }
    __m128i roundInput = _mm_add_epi32(e, w[0]);
#pragma GCC unroll 20
    for (int group = 0; group < 20; ++group) {
      const __m128i abcdBefore = abcd;
      switch (group / 5) {
        case 0: abcd = _mm_sha1rnds4_epu32(abcd, roundInput, 0); break;
        case 1: abcd = _mm_sha1rnds4_epu32(abcd, roundInput, 1); break;
        case 2: abcd = _mm_sha1rnds4_epu32(abcd, roundInput, 2); break;
        default: abcd = _mm_sha1rnds4_epu32(abcd, roundInput, 3); break;
      }
      if (group < 16) {
        // W for group + 4, from the words of groups group .. group + 3.
        w[group & 3] = _mm_sha1msg2_epu32(
            _mm_xor_si128(_mm_sha1msg1_epu32(w[group & 3], w[(group + 1) & 3]), w[(group + 2) & 3]),
            w[(group + 3) & 3]);
      }
      roundInput = _mm_sha1nexte_epu32(abcdBefore, group < 19 ? w[(group + 1) & 3] : eSaved);
    }
    e = roundInput;
    abcd = _mm_add_epi32(abcd, abcdSaved);
  }

  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_shuffle_epi32(abcd, 0x1B));
  state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}

}  // namespace orvel::internal

#else  // no SHA extensions on this architecture

namespace orvel::internal {

bool sha1ShaNiSupported() { return false; }

void sha1BlocksShaNi(std::uint32_t state[5], const std::uint8_t* blocks, std::size_t count) {
  sha1BlocksPortable(state, blocks, count);
}

}  // namespace orvel::internal

#endif

namespace orvel::internal {

void sha1Blocks(std::uint32_t state[5], const std::uint8_t* blocks, std::size_t count) {
  if (sha1ShaNiSupported()) {
    sha1BlocksShaNi(state, blocks, count);
  } else {
    sha1BlocksPortable(state, blocks, count);
  }
}

}  // namespace orvel::internal

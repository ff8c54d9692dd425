// SHA-1 (FIPS 180-1) buffering and padding behind the isc_sha1_* functions.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "orvel/base/big_endian.h"
#include "orvel/text/internal/sha1_kernels.h"
#include "orvel/text/isc_sha1.h"

extern "C" {

void isc_sha1_init(isc_sha1_t* context) {
  context->state[0] = 0x67452301;
  context->state[1] = 0xefcdab89;
  context->state[2] = 0x98badcfe;
  context->state[3] = 0x10325476;
  context->state[4] = 0xc3d2e1f0;
  context->countLow = 0;
  context->countHigh = 0;
}

void isc_sha1_invalidate(isc_sha1_t* context) { explicit_bzero(context, sizeof *context); }

void isc_sha1_update(isc_sha1_t* context, const unsigned char* bytes, std::uint32_t length) {
  const std::size_t used = (context->countLow >> 3) & 63;
  const std::uint64_t bits = ((std::uint64_t{context->countHigh} << 32) | context->countLow) +
                             (std::uint64_t{length} << 3);
  context->countLow = static_cast<std::uint32_t>(bits);
  context->countHigh = static_cast<std::uint32_t>(bits >> 32);
  if (used != 0) {
    const std::size_t take = std::min<std::size_t>(64 - used, length);
    std::memcpy(context->buffer + used, bytes, take);
    bytes += take;
    length -= static_cast<std::uint32_t>(take);
    if (used + take < 64) return;
    orvel::internal::sha1Blocks(context->state, context->buffer, 1);
  }
  orvel::internal::sha1Blocks(context->state, bytes, length / 64);
  std::memcpy(context->buffer, bytes + (length & ~63u), length & 63);
}

void isc_sha1_final(isc_sha1_t* context, unsigned char* digest) {
  std::size_t used = (context->countLow >> 3) & 63;
  context->buffer[used++] = 0x80;
  if (used > 56) {
    std::memset(context->buffer + used, 0, 64 - used);
    orvel::internal::sha1Blocks(context->state, context->buffer, 1);
    used = 0;
  }
  std::memset(context->buffer + used, 0, 56 - used);
  orvel::storeBigEndian32(context->buffer + 56, context->countHigh);
  orvel::storeBigEndian32(context->buffer + 60, context->countLow);
  orvel::internal::sha1Blocks(context->state, context->buffer, 1);
  if (digest != nullptr) {
    for (int i = 0; i < 5; ++i) orvel::storeBigEndian32(digest + 4 * i, context->state[i]);
  }
  isc_sha1_invalidate(context);
}

}  // extern "C"

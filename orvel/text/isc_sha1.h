/* SHA-1 (FIPS 180-1) message digests, callable from C and C++.
 *
 * A context is owned by the caller; the functions never allocate. isc_sha1_final pads
 * the message, writes the 20-byte digest (nothing when digest is null) and zeroes the
 * context; isc_sha1_invalidate zeroes it without producing a digest. On CPUs with the
 * SHA extensions the block function uses them. */
#ifndef ORVEL_TEXT_ISC_SHA1_H
#define ORVEL_TEXT_ISC_SHA1_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ISC_SHA1_DIGESTLENGTH 20
#define ISC_SHA1_BLOCK_LENGTH 64

typedef struct {
  uint32_t state[5];  /* H0 .. H4 */
  uint32_t countLow;  /* message length so far, in bits: low half */
  uint32_t countHigh; /* and high half */
  uint8_t buffer[64]; /* the incomplete block */
} isc_sha1_t;

void isc_sha1_init(isc_sha1_t* context);
void isc_sha1_update(isc_sha1_t* context, const unsigned char* bytes, uint32_t length);
void isc_sha1_final(isc_sha1_t* context, unsigned char* digest);
void isc_sha1_invalidate(isc_sha1_t* context);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_TEXT_ISC_SHA1_H */

/* MD5 (RFC 1321) message digests, callable from C and C++.
 *
 * A context is owned by the caller; the functions never allocate. isc_md5_final pads
 * the message, writes the 16-byte digest and zeroes the context; isc_md5_invalidate
 * zeroes it without producing a digest. */
#ifndef ORVEL_TEXT_ISC_MD5_H
#define ORVEL_TEXT_ISC_MD5_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ISC_MD5_DIGESTLENGTH 16
#define ISC_MD5_BLOCK_LENGTH 64

typedef struct {
  uint32_t state[4];  /* A, B, C, D */
  uint64_t bitCount;  /* message length so far, in bits */
  uint8_t buffer[64]; /* the incomplete block */
} isc_md5_t;

void isc_md5_init(isc_md5_t* context);
void isc_md5_update(isc_md5_t* context, const unsigned char* bytes, uint32_t length);
void isc_md5_final(isc_md5_t* context, unsigned char* digest);
void isc_md5_invalidate(isc_md5_t* context);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_TEXT_ISC_MD5_H */

/* CRC-32 of bytes and of UTF-16 units, and the MD5 and SHA-1 digests, callable from C.
 *
 * The CRC is the reflected IEEE polynomial 0xEDB88320 with a register starting at 0 and
 * no final XOR (CRC32("123456789") == 0x2DFD2D88); units are fed high byte first. It is the
 * checksum of the library's block files, so it differs from zlib's crc32 on purpose. */
#ifndef ORVEL_C_CHECKSUMS_H
#define ORVEL_C_CHECKSUMS_H

#include "orvel/c/types.h"
#include "orvel/text/isc_md5.h"
#include "orvel/text/isc_sha1.h"

#ifdef __cplusplus
extern "C" {
#endif

uint32_t CRC32(const void* bytes, size_t length);
/* Continues a CRC: updateCRC32(CRC32(a, n), b, m) is the CRC of a then b. */
uint32_t updateCRC32(uint32_t crc, const void* bytes, size_t length);
uint32_t CRC32UniChars(const orvel_unichar* units, size_t length);
/* Each unit folded through `table` first (NULL: no folding). */
uint32_t CRC32UniCharsUsingConversionTable(const orvel_unichar* units, size_t length,
                                           orvel_conversion_table table);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_C_CHECKSUMS_H */

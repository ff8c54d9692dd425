// The C entry points of the CRC-32 family; the digests are C functions of their own
// (orvel/text/md5.cc, sha1.cc).
#include "orvel/c/checksums.h"

#include "orvel/text/crc32.h"

extern "C" {

uint32_t CRC32(const void* bytes, size_t length) { return orvel::CRC32(bytes, length); }
uint32_t updateCRC32(uint32_t crc, const void* bytes, size_t length) {
  return orvel::updateCRC32(crc, bytes, length);
}
uint32_t CRC32UniChars(const orvel_unichar* units, size_t length) {
  return orvel::CRC32UniChars(units, length);
}
uint32_t CRC32UniCharsUsingConversionTable(const orvel_unichar* units, size_t length,
                                           orvel_conversion_table table) {
  return orvel::CRC32UniCharsUsingConversionTable(units, length, table);
}

}  // extern "C"

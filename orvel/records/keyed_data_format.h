// The KeyedData record format: typed, keyed records appended one after another to a byte
// buffer, with no header, index or count. A buffer is valid exactly when it is a gapless
// sequence of well-formed records ending precisely at its end.
//
// All integers are big-endian. One record:
//
//   OFFSET  SIZE  DESCRIPTION
//   0       4     type tag: four ASCII characters in reading order ("QWun", ...)
//   4       4     key: unsigned 32-bit, by convention a four-character code
//   8       8     value: fixed-size types as the table below says; variable types hold
//                 the payload length n in bytes 8-11 and zero in bytes 12-15
//   16      n     payload (variable types only), no terminator
//
//   TAG     VALUE
//   QWbl    bool: byte 8 as the caller gave it; 9-15 zero
//   QWun    unsigned 32-bit in 8-11; 12-15 zero
//   QWsi    signed 32-bit in 8-11; 12-15 zero
//   QWul    unsigned 64-bit in 8-15
//   QWsl    signed 64-bit in 8-15
//   QWfl    IEEE 754 single bit pattern in 8-11; 12-15 zero
//   QWdb    IEEE 754 double bit pattern in 8-15
//   QWda    date: IEEE 754 double seconds since 2001-01-01 00:00:00 UTC in 8-15
//   QWdt    data: n raw bytes follow
//   QWst    string: n bytes of UTF-8 follow (no byte-order mark, no terminator)
//
// Any other tag is unknown and ends a scan.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel {

using KeyedKey = std::uint32_t;

inline constexpr std::size_t kKeyedHeaderSize = 16;

constexpr std::uint32_t fourCharCode(const char (&code)[5]) {
  return (std::uint32_t{static_cast<unsigned char>(code[0])} << 24) |
         (std::uint32_t{static_cast<unsigned char>(code[1])} << 16) |
         (std::uint32_t{static_cast<unsigned char>(code[2])} << 8) |
         std::uint32_t{static_cast<unsigned char>(code[3])};
}

inline constexpr std::uint32_t kKeyedBoolTag = fourCharCode("QWbl");
inline constexpr std::uint32_t kKeyedUnsignedTag = fourCharCode("QWun");
inline constexpr std::uint32_t kKeyedSignedTag = fourCharCode("QWsi");
inline constexpr std::uint32_t kKeyedUnsignedLongLongTag = fourCharCode("QWul");
inline constexpr std::uint32_t kKeyedSignedLongLongTag = fourCharCode("QWsl");
inline constexpr std::uint32_t kKeyedFloatTag = fourCharCode("QWfl");
inline constexpr std::uint32_t kKeyedDoubleTag = fourCharCode("QWdb");
inline constexpr std::uint32_t kKeyedDateTag = fourCharCode("QWda");
inline constexpr std::uint32_t kKeyedDataTag = fourCharCode("QWdt");
inline constexpr std::uint32_t kKeyedStringTag = fourCharCode("QWst");

// The key of the strings file.
inline constexpr KeyedKey kKeyedStringsFileKey = fourCharCode("STRI");

static_assert(kKeyedBoolTag == 0x5157626C && kKeyedStringTag == 0x51577374);

[[nodiscard]] constexpr bool isVariableKeyedTag(std::uint32_t tag) {
  return tag == kKeyedDataTag || tag == kKeyedStringTag;
}

[[nodiscard]] constexpr bool isKnownKeyedTag(std::uint32_t tag) {
  switch (tag) {
    case kKeyedBoolTag:
    case kKeyedUnsignedTag:
    case kKeyedSignedTag:
    case kKeyedUnsignedLongLongTag:
    case kKeyedSignedLongLongTag:
    case kKeyedFloatTag:
    case kKeyedDoubleTag:
    case kKeyedDateTag:
    case kKeyedDataTag:
    case kKeyedStringTag: return true;
    default: return false;
  }
}

}  // namespace orvel

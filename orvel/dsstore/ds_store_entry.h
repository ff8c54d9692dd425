// One record of a ".DS_Store" file's tree: a file name, a structure identifier (a
// four-character code: "cmmt" is the Finder comment), a data type and a value.
//
// Record layout, big-endian:
//   4   file name length L, in UTF-16 code units
//   2L  file name, UTF-16 big-endian
//   4   structure identifier
//   4   data type, and the value by type:
//         "long", "shor", "type"  4 bytes, a signed 32-bit number
//         "bool"                  1 byte
//         "blob"                  4-byte length n, n bytes (no value when n is 0)
//         "ustr"                  4-byte length n in code units, 2n bytes UTF-16 big-endian
//                                 (no value when n is 0)
//         "comp", "dutc"          8 bytes, a signed 64-bit number ("dutc" is a date in
//                                 1/65536 seconds since 1904-01-01 UTC, kept raw)
// Any other type has no known length: its record has no value, and what follows it in the
// node cannot be read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "orvel/dsstore/ds_store_stream.h"

namespace orvel {

// The four-character codes as numbers ('cmmt' = 0x636D6D74).
[[nodiscard]] constexpr std::uint32_t fourCharCode(const char (&code)[5]) {
  return std::uint32_t{static_cast<std::uint8_t>(code[0])} << 24 |
         std::uint32_t{static_cast<std::uint8_t>(code[1])} << 16 |
         std::uint32_t{static_cast<std::uint8_t>(code[2])} << 8 |
         std::uint32_t{static_cast<std::uint8_t>(code[3])};
}
// "'cmmt'": a code as four characters in quotes.
[[nodiscard]] std::string stringOfFourCharCode(std::uint32_t code);

inline constexpr std::uint32_t kDSStoreCommentCodec = fourCharCode("cmmt");

// A decoded value: a 32-bit number (long, shor, type), a Boolean (bool), a 64-bit number
// (comp, dutc), bytes (blob) or a string (ustr).
using DSStoreValue =
    std::variant<std::int32_t, bool, std::int64_t, std::vector<std::uint8_t>, std::u16string>;

class DSStoreEntry {
 public:
  DSStoreEntry(std::u16string filename, std::uint32_t codec, std::uint32_t type,
               std::optional<DSStoreValue> value);
  // The name given as UTF-16 big-endian bytes.
  [[nodiscard]] static DSStoreEntry initWithFilenameWithBytes(const std::uint8_t* bytes,
                                                              std::size_t length,
                                                              std::uint32_t codec,
                                                              std::uint32_t type,
                                                              std::optional<DSStoreValue> value);

  [[nodiscard]] const std::u16string& filename() const { return _filename; }
  [[nodiscard]] std::uint32_t codec() const { return _codec; }
  [[nodiscard]] std::uint32_t type() const { return _type; }
  [[nodiscard]] const std::optional<DSStoreValue>& value() const { return _value; }
  // "DSStoreEntry <name>: 'cmmt':'ustr'".
  [[nodiscard]] std::string description() const;

  // Reads one record from the stream and answers its value when it is the record of the
  // name (UTF-16 big-endian bytes, `length` bytes; compared byte for byte) and identifier;
  // else skips its value and answers nullopt. *type (when given) receives the record's type.
  static std::optional<DSStoreValue> valueForFilenameWithBytes(const std::uint8_t* bytes,
                                                               std::size_t length,
                                                               std::uint32_t codec,
                                                               DSStoreStream* stream,
                                                               std::uint32_t* type);
  static std::optional<DSStoreValue> valueForFilename(std::u16string_view filename,
                                                      std::uint32_t codec, DSStoreStream* stream,
                                                      std::uint32_t* type);
  // The same wrapped in an entry, when there is a value.
  static std::optional<DSStoreEntry> entryForFilenameWithBytes(const std::uint8_t* bytes,
                                                               std::size_t length,
                                                               std::uint32_t codec,
                                                               DSStoreStream* stream);
  static std::optional<DSStoreEntry> entryForFilename(std::u16string_view filename,
                                                      std::uint32_t codec, DSStoreStream* stream);

  // Reads the next record whatever its name; nullopt when none can be read (a zero name
  // length or the end of the stream). *knownType tells whether the value's length was known,
  // that is whether the next record can be read after it.
  static std::optional<DSStoreEntry> readEntry(DSStoreStream& stream, bool* knownType);

 private:
  std::u16string _filename;
  std::uint32_t _codec;
  std::uint32_t _type;
  std::optional<DSStoreValue> _value;
};

// A name as UTF-16 big-endian bytes, as records store it.
[[nodiscard]] std::vector<std::uint8_t> bigEndianUnitsOf(std::u16string_view text);

}  // namespace orvel

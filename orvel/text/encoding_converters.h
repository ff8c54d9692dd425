// Small converters between UTF-8, UTF-16 and legacy byte encodings, through ICU.
//
// Statuses are ICU error codes: 0 is success; a positive value names the failure
// (U_BUFFER_OVERFLOW_ERROR when the destination is too small, U_ILLEGAL_CHAR_FOUND or
// U_INVALID_CHAR_FOUND for input that is not valid in its encoding). The converters stop
// at the first invalid sequence instead of substituting, so success means a faithful
// conversion.
//
// The two shared UTF-8 converters are kept per thread, so every function here may be
// called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/types.h"
#include "orvel/text/cf_encodings.h"

namespace orvel {

// Opens this thread's two shared converters: 1 when they were already open, else the
// status of opening them.
std::int32_t initUnicodeConverters();

// The number of units or bytes written is not reported; callers size the destination.
std::int32_t convertUTF8ToUnicode(const std::uint8_t* source, std::size_t sourceLength,
                                  unichar* destination, std::size_t destinationCapacity);
std::int32_t convertUnicodeToUTF8(const unichar* source, std::size_t sourceLength,
                                  std::uint8_t* destination, std::size_t destinationCapacity);

// Converts bytes in `encoding` to UTF-16 and stores the units written in *unitsWritten.
// Deliberately not a clean Boolean; test the result for non-zero:
//   1         the conversion succeeded;
//   0         the conversion failed (invalid input or a full destination), or there is no
//             converter to be had; *unitsWritten counts what was converted before that;
//   other     a converter for the encoding could not be opened: the ICU error code
//             (U_UNSUPPORTED_ERROR for an encoding ICU has no converter for).
std::int32_t convertEncodingToUnicode(const std::uint8_t* source, std::size_t sourceLength,
                                      CFStringEncoding encoding, unichar* destination,
                                      std::size_t destinationCapacity, std::size_t* unitsWritten);

// Decodes bytes in `encoding` whatever they hold: each invalid or unmapped sequence
// becomes U+FFFD. nullopt only when there is no converter for the encoding.
[[nodiscard]] std::optional<std::u16string> decodeStringLeniently(std::string_view bytes,
                                                                  CFStringEncoding encoding);

// The string's bytes in `encoding`, or nullopt when the encoding is unknown or cannot
// represent every unit (an unpaired surrogate, a character outside a legacy repertoire).
[[nodiscard]] std::optional<std::vector<std::uint8_t>> encodeString(std::u16string_view string,
                                                                    CFStringEncoding encoding);

}  // namespace orvel

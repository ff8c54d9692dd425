// Conversion between UTF-8 bytes and UTF-16 code units, through ICU.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

// Decodes well-formed UTF-8. On malformed input (a bad lead or trail byte, an overlong
// form, an encoded surrogate, a truncated sequence) answers nullopt and, when
// invalidOffset is given, stores the byte offset at which the first bad sequence starts.
[[nodiscard]] std::optional<std::u16string> utf8ToUtf16(std::string_view utf8,
                                                        std::size_t* invalidOffset = nullptr);

// Decodes UTF-8, each ill-formed sequence (as ICU delimits them) becoming U+FFFD.
[[nodiscard]] std::u16string utf8ToUtf16Lenient(std::string_view utf8);

// Whether the bytes are well-formed UTF-8, as utf8ToUtf16 decides it, without decoding;
// stores the offset of the first bad sequence as it does.
[[nodiscard]] bool isValidUtf8(std::string_view utf8, std::size_t* invalidOffset = nullptr);

// Encodes UTF-16 as UTF-8; an unpaired surrogate becomes U+FFFD.
[[nodiscard]] std::string utf16ToUtf8(std::u16string_view utf16);
// The same encoding appended to `out`, for a caller building one output of many pieces.
void appendUtf16AsUtf8(std::string& out, std::u16string_view utf16);
// How many bytes that encoding takes, without encoding.
[[nodiscard]] std::size_t utf8LengthOfUtf16(std::u16string_view utf16);
// How many UTF-16 units well-formed UTF-8 decodes to (one per character, two for a
// four-byte one), without decoding: an offset into UTF-8 as a script's string counts it.
[[nodiscard]] std::size_t utf16LengthOfUtf8(std::string_view utf8);

}  // namespace orvel

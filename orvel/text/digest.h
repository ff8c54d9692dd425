// MD5 and SHA-1 digests of data and strings, and the lower-case hexadecimal text form.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/text/cf_encodings.h"

namespace orvel {

[[nodiscard]] std::vector<std::uint8_t> MD5Digest(std::span<const std::uint8_t> data);
[[nodiscard]] std::vector<std::uint8_t> SHA1Digest(std::span<const std::uint8_t> data);

// Two lower-case hexadecimal digits per byte, no separators; empty data gives "".
[[nodiscard]] std::u16string hexStringValue(std::span<const std::uint8_t> data);
[[nodiscard]] std::u16string MD5DigestStringValue(std::span<const std::uint8_t> data);
[[nodiscard]] std::u16string SHA1DigestStringValue(std::span<const std::uint8_t> data);

inline constexpr std::u16string_view kDefaultHashSalt = u"K7Q.MX27182818_WAVE-";

// The SHA-1 hex of the string with the salt appended (when not empty), as bytes in the
// given Foundation encoding. Nullopt for an empty string, or when the encoding cannot
// represent it.
[[nodiscard]] std::optional<std::u16string> saltedHash(std::u16string_view string,
                                                       std::u16string_view salt,
                                                       NSStringEncoding encoding);
[[nodiscard]] inline std::optional<std::u16string> saltedHash(std::u16string_view string,
                                                              std::u16string_view salt) {
  return saltedHash(string, salt, NSUTF8StringEncoding);
}
[[nodiscard]] inline std::optional<std::u16string> saltedHash(std::u16string_view string) {
  return saltedHash(string, kDefaultHashSalt);
}

}  // namespace orvel

// The UTF-16 units of characters read from UTF-8 bytes in place, for the walks that read a
// document's bytes instead of its decoded text: a character of four bytes is a surrogate
// pair, its first unit the lead surrogate and its last the trail. The bytes are meant to be
// well-formed; on others the answers are wrong but nothing is read outside the bytes.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"

namespace orvel::internal {

[[nodiscard]] inline bool isUtf8Continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The length of the character that starts with `lead`.
[[nodiscard]] inline std::size_t utf8Length(char lead) {
  const auto byte = static_cast<unsigned char>(lead);
  return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// The first unit of the character that starts at `at`.
[[nodiscard]] inline unichar firstUnitAt(std::string_view bytes, std::size_t at) {
  const auto byte = [&](std::size_t k) {
    return at + k < bytes.size() ? static_cast<unsigned char>(bytes[at + k]) & 0x3Fu : 0u;
  };
  const auto lead = static_cast<unsigned char>(bytes[at]);
  switch (utf8Length(bytes[at])) {
    case 1: return lead;
    case 2: return static_cast<unichar>((lead & 0x1Fu) << 6 | byte(1));
    case 3: return static_cast<unichar>((lead & 0x0Fu) << 12 | byte(1) << 6 | byte(2));
    default: {
      const unsigned c = (lead & 0x07u) << 18 | byte(1) << 12 | byte(2) << 6 | byte(3);
      return static_cast<unichar>(0xD7C0 + (c >> 10));
    }
  }
}

// Where the character that ends before `at` (above 0) starts.
[[nodiscard]] inline std::size_t characterStartBefore(std::string_view bytes, std::size_t at) {
  std::size_t start = at - 1;
  while (start > 0 && at - start < 4 && isUtf8Continuation(bytes[start])) --start;
  return start;
}

// The last unit of the character that ends before `at` (above 0).
[[nodiscard]] inline unichar lastUnitBefore(std::string_view bytes, std::size_t at) {
  const std::size_t start = characterStartBefore(bytes, at);
  if (utf8Length(bytes[start]) < 4) return firstUnitAt(bytes, start);
  const auto byte = [&](std::size_t k) {
    return start + k < bytes.size() ? static_cast<unsigned char>(bytes[start + k]) & 0x3Fu : 0u;
  };
  return static_cast<unichar>(0xDC00 | ((byte(2) & 0x0Fu) << 6) | byte(3));
}

}  // namespace orvel::internal

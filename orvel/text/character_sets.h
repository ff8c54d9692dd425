// Membership bitmaps over all 65,536 UTF-16 code units, and the eight standard ones.
//
// A CharacterSetRep is exactly 8,192 bytes with no header: code unit c is bit (c & 7) of
// byte (c >> 3), bit 0 the least significant; a set bit means member. A supplementary
// character is never a member as such: each of its surrogate units is tested on its own.
//
// The standard bitmaps come from Unicode general categories (ICU's data):
//   space     Zs, U+0009, plus U+0000
//   white     Z*, U+0009..U+000D, U+0085, plus U+0000, U+0003, U+00A0, U+2028, U+2029,
//             U+FEFF (byte-order mark) and U+FFFC (object replacement): all white space
//   alpha     L* and M* (letters and combining marks)
//   alphaNum  L*, M* and N*
//   digit     Nd
//   lower     Ll
//   upper     Lu and Lt
// Each is built on first use, thread-safely, and lives until the process ends.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvel/base/types.h"

namespace orvel {

using CharacterSetRep = const std::uint8_t*;

inline constexpr std::size_t kCharacterSetRepSize = 8192;

[[nodiscard]] inline bool isMemberOfCharacterSetRep(CharacterSetRep set, unichar c) {
  return (set[c >> 3] >> (c & 7)) & 1;
}

// The white and alpha bitmaps' ASCII members are fixed (U+0000, U+0003, U+0009 to U+000D
// and the space; the 52 letters): hot loops test ASCII without the bitmap, handed to them.
inline constexpr std::uint64_t kAsciiWhiteMask = 1u | 1u << 3 | 0x3Eu << 8 | std::uint64_t{1} << 32;
[[nodiscard]] inline bool isWhiteUnit(CharacterSetRep white, unichar c) {
  if (c < 64) return (kAsciiWhiteMask >> c) & 1;
  return c >= 128 && isMemberOfCharacterSetRep(white, c);
}
[[nodiscard]] inline bool isAlphaUnit(CharacterSetRep alpha, unichar c) {
  if (c < 128) return static_cast<unichar>((c | 0x20) - u'a') < 26;
  return isMemberOfCharacterSetRep(alpha, c);
}

[[nodiscard]] CharacterSetRep emptyCharacterSetRep();
[[nodiscard]] CharacterSetRep spaceCharacterSetRep();
[[nodiscard]] CharacterSetRep whiteCharacterSetRep();
[[nodiscard]] CharacterSetRep alphaCharacterSetRep();
[[nodiscard]] CharacterSetRep alphaNumCharacterSetRep();
[[nodiscard]] CharacterSetRep digitCharacterSetRep();
[[nodiscard]] CharacterSetRep lowerCharacterSetRep();
[[nodiscard]] CharacterSetRep upperCharacterSetRep();

// The lowest and the highest member of alphaCharacterSetRep (0 if it had none).
[[nodiscard]] unichar firstAlphaCharacter();
[[nodiscard]] unichar lastAlphaCharacter();

}  // namespace orvel

// Classifying 64 code units at a time: bit k of the answer is set when unit k is a member
// of the set. Splitting loops turn these masks into runs with bit operations, so they do
// not branch on every unit. Two implementations: a portable one, and one for x86 with
// SSSE3 that classifies the ASCII units of a block 16 at a time and looks up the few
// others one by one (a block mostly of another script falls back to the portable loop).
// Chosen once at run time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvel/text/character_sets.h"

namespace orvel::internal {

class SeparatorMasks {
 public:
  explicit SeparatorMasks(CharacterSetRep set, bool useSimd = simdSupported());

  // Membership bits of units[0 .. count), count at most 64; higher bits are 0.
  [[nodiscard]] std::uint64_t classify(const unichar* units, std::size_t count) const;

  [[nodiscard]] static bool simdSupported();

 private:
  [[nodiscard]] std::uint64_t classifyPortable(const unichar* units, std::size_t count) const;

  CharacterSetRep _set;
  bool _useSimd;
  // For the ASCII path: row byte for low nibble n has bit h set when unit 16h + n is a member.
  alignas(16) std::uint8_t _asciiRows[16] = {};
};

}  // namespace orvel::internal

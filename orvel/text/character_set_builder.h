// Builds a CharacterSetRep bitmap: from Unicode general categories (ICU's U_GC_*_MASK
// values), single units and spans, starting empty or from a copy of another set.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

#include "orvel/text/character_sets.h"

namespace orvel {

using CharacterSetBitmap = std::array<std::uint8_t, kCharacterSetRepSize>;

class CharacterSetBuilder {
 public:
  CharacterSetBuilder() = default;
  explicit CharacterSetBuilder(CharacterSetRep copyOf);

  // Every unit from U+0000 to `last` whose general category is in categoryMask.
  CharacterSetBuilder& addCategories(std::uint32_t categoryMask, unichar last = 0xFFFF);
  CharacterSetBuilder& addUnits(std::initializer_list<unichar> units);
  CharacterSetBuilder& addSpan(unichar first, unichar last);
  CharacterSetBuilder& removeUnits(std::initializer_list<unichar> units);
  // Every unit that was not a member becomes one, and the other way round.
  CharacterSetBuilder& invert();

  [[nodiscard]] const CharacterSetBitmap& build() const { return _bitmap; }

 private:
  CharacterSetBitmap _bitmap{};
};

}  // namespace orvel

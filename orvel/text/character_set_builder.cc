#include "orvel/text/character_set_builder.h"

#include <algorithm>

#include "orvel/text/internal/unicode_tables.h"

namespace orvel {

CharacterSetBuilder::CharacterSetBuilder(CharacterSetRep copyOf) {
  std::copy(copyOf, copyOf + kCharacterSetRepSize, _bitmap.begin());
}

CharacterSetBuilder& CharacterSetBuilder::addCategories(std::uint32_t categoryMask, unichar last) {
  for (std::uint32_t c = 0; c <= last; ++c) {
    const auto unit = static_cast<unichar>(c);
    if (internal::generalCategoryMask(unit) & categoryMask) addSpan(unit, unit);
  }
  return *this;
}

CharacterSetBuilder& CharacterSetBuilder::addUnits(std::initializer_list<unichar> units) {
  for (unichar c : units) addSpan(c, c);
  return *this;
}

CharacterSetBuilder& CharacterSetBuilder::addSpan(unichar first, unichar last) {
  for (std::uint32_t c = first; c <= last; ++c) {
    _bitmap[c >> 3] |= static_cast<std::uint8_t>(1u << (c & 7));
  }
  return *this;
}

CharacterSetBuilder& CharacterSetBuilder::removeUnits(std::initializer_list<unichar> units) {
  for (unichar c : units) _bitmap[c >> 3] &= static_cast<std::uint8_t>(~(1u << (c & 7)));
  return *this;
}

CharacterSetBuilder& CharacterSetBuilder::invert() {
  for (std::uint8_t& byte : _bitmap) byte = static_cast<std::uint8_t>(~byte);
  return *this;
}

}  // namespace orvel

#include "orvel/text/character_sets.h"

#include <unicode/uchar.h>

#include "orvel/text/character_set_builder.h"

namespace orvel {
namespace {

// Every code unit whose general category is in categoryMask, then the extra units.
CharacterSetBitmap buildBitmap(std::uint32_t categoryMask, std::initializer_list<unichar> extras) {
  return CharacterSetBuilder().addCategories(categoryMask).addUnits(extras).build();
}

}  // namespace

CharacterSetRep emptyCharacterSetRep() {
  static const CharacterSetBitmap bitmap{};
  return bitmap.data();
}

CharacterSetRep spaceCharacterSetRep() {
  static const CharacterSetBitmap bitmap = buildBitmap(U_GC_ZS_MASK, {0x0009, 0x0000});
  return bitmap.data();
}

CharacterSetRep whiteCharacterSetRep() {
  static const CharacterSetBitmap bitmap =
      buildBitmap(U_GC_Z_MASK, {0x0009, 0x000A, 0x000B, 0x000C, 0x000D, 0x0085,  // newlines
                                0x0000, 0x0003, 0x00A0, 0x2028, 0x2029, 0xFEFF, 0xFFFC});
  return bitmap.data();
}

CharacterSetRep alphaCharacterSetRep() {
  static const CharacterSetBitmap bitmap = buildBitmap(U_GC_L_MASK | U_GC_M_MASK, {});
  return bitmap.data();
}

CharacterSetRep alphaNumCharacterSetRep() {
  static const CharacterSetBitmap bitmap = buildBitmap(U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK, {});
  return bitmap.data();
}

CharacterSetRep digitCharacterSetRep() {
  static const CharacterSetBitmap bitmap = buildBitmap(U_GC_ND_MASK, {});
  return bitmap.data();
}

CharacterSetRep lowerCharacterSetRep() {
  static const CharacterSetBitmap bitmap = buildBitmap(U_GC_LL_MASK, {});
  return bitmap.data();
}

CharacterSetRep upperCharacterSetRep() {
  static const CharacterSetBitmap bitmap = buildBitmap(U_GC_LU_MASK | U_GC_LT_MASK, {});
  return bitmap.data();
}

unichar firstAlphaCharacter() {
  static const unichar first = [] {
    CharacterSetRep letters = alphaCharacterSetRep();
    for (std::uint32_t c = 0; c <= 0xFFFF; ++c) {
      if (isMemberOfCharacterSetRep(letters, static_cast<unichar>(c)))
        return static_cast<unichar>(c);
    }
    return unichar{0};
  }();
  return first;
}

unichar lastAlphaCharacter() {
  static const unichar last = [] {
    CharacterSetRep letters = alphaCharacterSetRep();
    for (std::uint32_t c = 0x10000; c-- > 0;) {
      if (isMemberOfCharacterSetRep(letters, static_cast<unichar>(c)))
        return static_cast<unichar>(c);
    }
    return unichar{0};
  }();
  return last;
}

}  // namespace orvel

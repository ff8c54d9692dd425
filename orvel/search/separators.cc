#include "orvel/search/separators.h"

#include <unicode/uchar.h>

#include "orvel/text/character_set_builder.h"

namespace orvel {
namespace {

CharacterSetBitmap buildWordSeparators() {
  return CharacterSetBuilder()
      .addCategories(U_GC_Z_MASK)
      .addUnits({0x0009, 0x000A, 0x000B, 0x000C, 0x000D, 0x0085})
      .addUnits({0x0020, 0x002C, 0x002E, 0x003B, 0x003A, 0x0027, 0x0022, 0x0021, 0x003F, 0x0028,
                 0x0029, 0x003D, 0x002F, 0x005C, 0x002A, 0x002B, 0x002D, 0x005F, 0x0025, 0x2030,
                 0x0026, 0x007B, 0x007D, 0x005B, 0x005D, 0x007C, 0x003C, 0x003E, 0x0023, 0x0040,
                 0x005E, 0x00B4, 0x0060, 0x2018, 0x2019, 0x201A, 0x201C, 0x201D, 0x00A8, 0x201E,
                 0x00A7, 0x00AB, 0x00BB, 0x00A9, 0x00AE, 0x2039, 0x203A, 0x00B1, 0x2014, 0x02C6,
                 0x2122, 0x00BD, 0x00BC, 0x00B9, 0x00B2, 0x00B3, 0x00B0, 0x00A6, 0x007E, 0xFFFD,
                 0x00A4, 0x000C, 0x00A0, 0x000A, 0x000D, 0x2028, 0x2029, 0x0003, 0xFFFC, 0x0009,
                 0xFEFF, 0x2013, 0x0000})
      .addSpan(0xD800, 0xDFFE)
      .addSpan(0xF400, 0xF8FE)
      .addCategories(U_GC_P_MASK | U_GC_CN_MASK | U_GC_CC_MASK | U_GC_CF_MASK | U_GC_S_MASK, 0xFFFE)
      .build();
}

}  // namespace

CharacterSetRep defaultWordSeparators() {
  static const CharacterSetBitmap bitmap = buildWordSeparators();
  return bitmap.data();
}

CharacterSetRep defaultComponentSeparators() {
  static const CharacterSetBitmap bitmap =
      CharacterSetBuilder()
          .addUnits({0x002E, 0x002C, 0x003A, 0x003B, 0x0021, 0x003F, 0x000A, 0x000D, 0x000C, 0xFFFC,
                     0xFEFF, 0x2029, 0x2028, 0x0003})
          .build();
  return bitmap.data();
}

CharacterSetRep defaultSentenceSeparators() {
  static const CharacterSetBitmap bitmap =
      CharacterSetBuilder(defaultComponentSeparators()).removeUnits({u',', u';'}).build();
  return bitmap.data();
}

CharacterSetRep defaultLineSeparators() {
  static const CharacterSetBitmap bitmap =
      CharacterSetBuilder()
          .addUnits({0x000D, 0x000A, 0x000C, 0x2029, 0x2028, 0x0003, 0xFFFC})
          .build();
  return bitmap.data();
}

void initSeparators() {
  static_cast<void>(defaultWordSeparators());
  static_cast<void>(defaultComponentSeparators());
  static_cast<void>(defaultLineSeparators());
}

}  // namespace orvel

// The tables compiled in at build time, held entry by entry against ICU, and the bitmaps made
// from them against ICU's categories.
#include "orvel/text/internal/unicode_tables.h"

#include <cstdint>

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"
#include "orvel/text/internal/unicode_from_icu.h"

namespace orvel {
namespace {

TEST(UnicodeTablesTest, EveryEntryIsWhatIcuGives) {
  const ConversionTable lower = initLowerCharsTable(), upper = initUpperCharsTable(),
                        umlauts = initUmlautsCharsTable(),
                        lowerUmlauts = initLowerUmlautsCharsTable(),
                        upperUmlauts = initUpperUmlautsCharsTable();
  int differences = 0;
  for (std::uint32_t c = 0; c < internal::kUnicodeTableSize && differences < 10; ++c) {
    const auto unit = static_cast<unichar>(c);
    const internal::UnicodeEntry icu = internal::unicodeEntryFromIcu(unit);
    const bool same = internal::kGeneralCategories[c] == icu.category &&
                      internal::generalCategoryMask(unit) == U_GET_GC_MASK(unit) &&
                      lower[c] == icu.lower && upper[c] == icu.upper && umlauts[c] == icu.umlauts &&
                      lowerUmlauts[c] == icu.lowerUmlauts && upperUmlauts[c] == icu.upperUmlauts;
    if (!same) {
      ++differences;
      ADD_FAILURE() << "U+" << std::hex << c << " differs from ICU";
    }
  }
  // The exported globals are the compiled tables once their init function ran.
  EXPECT_EQ(_lowerCharsTable, lower);
  EXPECT_EQ(_upperUmlautsCharsTable, upperUmlauts);
}

TEST(UnicodeTablesTest, EveryBitmapMemberIsWhatIcuCategoriesGive) {
  const struct {
    CharacterSetRep bitmap;
    std::uint32_t categories;
  } sets[] = {{alphaCharacterSetRep(), U_GC_L_MASK | U_GC_M_MASK},
              {alphaNumCharacterSetRep(), U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK},
              {digitCharacterSetRep(), U_GC_ND_MASK},
              {lowerCharacterSetRep(), U_GC_LL_MASK},
              {upperCharacterSetRep(), U_GC_LU_MASK | U_GC_LT_MASK}};
  for (const auto& set : sets) {
    int differences = 0;
    for (std::uint32_t c = 0; c < internal::kUnicodeTableSize && differences < 10; ++c) {
      const bool icu = (U_GET_GC_MASK(static_cast<UChar32>(c)) & set.categories) != 0;
      if (isMemberOfCharacterSetRep(set.bitmap, static_cast<unichar>(c)) != icu) {
        ++differences;
        ADD_FAILURE() << "U+" << std::hex << c << " differs from ICU's categories";
      }
    }
  }
}

}  // namespace
}  // namespace orvel

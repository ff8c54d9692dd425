// Unicode tables made at build time: generate_unicode_tables.cc asks ICU once and writes
// unicode_tables.cc into the build tree, so that a process maps them ready-made instead of
// building them from ICU at first use. Tests hold every entry against ICU.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orvel/base/types.h"

namespace orvel::internal {

inline constexpr std::size_t kUnicodeTableSize = 65536;

// Each unit's general category (ICU's UCharCategory value).
extern const std::uint8_t kGeneralCategories[kUnicodeTableSize];
// The five folding tables of conversion_tables.h.
extern const unichar kLowerCharsTable[kUnicodeTableSize];
extern const unichar kUpperCharsTable[kUnicodeTableSize];
extern const unichar kUmlautsCharsTable[kUnicodeTableSize];
extern const unichar kLowerUmlautsCharsTable[kUnicodeTableSize];
extern const unichar kUpperUmlautsCharsTable[kUnicodeTableSize];

// A unit's general category as a mask bit, as ICU's U_GET_GC_MASK gives it (U_GC_*_MASK).
[[nodiscard]] inline std::uint32_t generalCategoryMask(unichar c) {
  return std::uint32_t{1} << kGeneralCategories[c];
}

}  // namespace orvel::internal

// The Unicode facts the folding tables and character-set bitmaps are made of, asked of ICU.
// Used at build time by the generator of unicode_tables.cc, and by the tests that hold the
// generated tables against ICU; the library itself never calls ICU for them at run time.
#pragma once

#include <cstdint>

#include "orvel/base/types.h"

namespace orvel::internal {

// The general category of a unit (ICU's UCharCategory value, 0 to 29).
[[nodiscard]] std::uint8_t generalCategoryFromIcu(unichar c);
// The full lower (upper) case of the one-unit string c, root locale, when it is one unit
// long; else c.
[[nodiscard]] unichar lowerCaseFromIcu(unichar c);
[[nodiscard]] unichar upperCaseFromIcu(unichar c);
// The canonical decomposition of c with every combining mark removed, when one unit is
// left; units with no decomposition stand for themselves.
[[nodiscard]] unichar withoutDiacriticsFromIcu(unichar c);

// One unit's entry in every generated table, by the rules of conversion_tables.h: the case
// mappings apply to Lu and Lt (lower) and Ll (upper) units, the diacritics' removal to L and M
// units, every other unit maps to itself; the umlauts tables are composed.
struct UnicodeEntry {
  std::uint8_t category;
  unichar lower, upper, umlauts, lowerUmlauts, upperUmlauts;
};
[[nodiscard]] UnicodeEntry unicodeEntryFromIcu(unichar c);

}  // namespace orvel::internal

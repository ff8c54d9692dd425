// Folding tables ("conversion tables"): 65,536 entries, entry c the folded form of unit c.
//
// Consumers index a table directly, with no range check, so that case- and accent-
// insensitive work costs one load per code unit. The five tables:
//   lower         Lu and Lt units mapped to their full lower case, no locale
//   upper         Ll units mapped to their full upper case, no locale
//   umlauts       letters (L*, M*) with their canonical decomposition's combining marks
//                 removed: U+00E4 -> a, U+00C9 -> E; a combining mark keeps itself
//   lowerUmlauts  lower[umlauts[c]]
//   upperUmlauts  upper[umlauts[c]]
// One-unit rule: a mapping whose result is not exactly one code unit is dropped and the
// unit keeps itself (U+00DF stays in the upper table, U+0130 in the lower one). Every unit
// of no matching class, and U+FFFF, maps to itself.
//
// Each table is built on first use, thread-safely; its exported global is null until then
// and is published only once the table is complete. Read a global only after calling its
// init function (or keep the pointer that function returns).
#pragma once

#include "orvel/base/types.h"

namespace orvel {

using ConversionTable = const unichar*;

inline constexpr unsigned kConversionTableSize = 65536;

// C linkage, so that C callers (orvel/c/characters.h) index the same globals.
extern "C" {
extern ConversionTable _lowerCharsTable;
extern ConversionTable _upperCharsTable;
extern ConversionTable _umlautsCharsTable;
extern ConversionTable _lowerUmlautsCharsTable;
extern ConversionTable _upperUmlautsCharsTable;
}

// Build the table on first call (and set its global); every call returns it.
ConversionTable initLowerCharsTable();
ConversionTable initUpperCharsTable();
ConversionTable initUmlautsCharsTable();
ConversionTable initLowerUmlautsCharsTable();
ConversionTable initUpperUmlautsCharsTable();

// The same, under the names the string extensions give them.
inline ConversionTable lowerCharsTable() { return initLowerCharsTable(); }
inline ConversionTable upperCharsTable() { return initUpperCharsTable(); }
inline ConversionTable umlautsCharsTable() { return initUmlautsCharsTable(); }
inline ConversionTable lowerUmlautsCharsTable() { return initLowerUmlautsCharsTable(); }
inline ConversionTable upperUmlautsCharsTable() { return initUpperUmlautsCharsTable(); }

// Single-unit conversions; each builds the table it reads on first use.
[[nodiscard]] unichar toLower(unichar c);
[[nodiscard]] unichar toUpper(unichar c);
// The accent-free form if it is ASCII, else a space.
[[nodiscard]] unichar toAscii(unichar c);
// The accent-free form in ASCII upper (or lower) case, or a space if it is not ASCII.
[[nodiscard]] unichar toUpperAscii(unichar c);
[[nodiscard]] unichar toLowerAscii(unichar c);
// Despite their names these three are not limited to ASCII: they are plain table lookups.
[[nodiscard]] unichar umlautsToAscii(unichar c);
[[nodiscard]] unichar umlautsToUpperAscii(unichar c);
[[nodiscard]] unichar umlautsToLowerAscii(unichar c);

}  // namespace orvel

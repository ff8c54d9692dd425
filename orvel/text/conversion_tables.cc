#include "orvel/text/conversion_tables.h"

#include <array>

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace orvel {

ConversionTable _lowerCharsTable = nullptr;
ConversionTable _upperCharsTable = nullptr;
ConversionTable _umlautsCharsTable = nullptr;
ConversionTable _lowerUmlautsCharsTable = nullptr;
ConversionTable _upperUmlautsCharsTable = nullptr;

namespace {

using Table = std::array<unichar, kConversionTableSize>;

// Maps one code unit to its folded form; answers c itself when the result would not be
// exactly one code unit.
using UnitMapping = unichar (*)(unichar c);

// Identity everywhere, then `mapping` for every unit whose general category is in
// categoryMask. U+FFFF is never a member of those classes and so stays identity.
Table buildTable(std::uint32_t categoryMask, UnitMapping mapping) {
  Table table;
  for (std::uint32_t c = 0; c < kConversionTableSize; ++c) {
    const auto unit = static_cast<unichar>(c);
    table[c] = (U_GET_GC_MASK(unit) & categoryMask) ? mapping(unit) : unit;
  }
  return table;
}

// The full case mapping of the one-unit string c, root locale, when it is one unit long.
template <int32_t (*CaseMap)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*)>
unichar mapCase(unichar c) {
  UChar mapped[8];
  UErrorCode status = U_ZERO_ERROR;
  const UChar source = c;
  const int32_t length = CaseMap(mapped, 8, &source, 1, "", &status);
  return (U_SUCCESS(status) && length == 1) ? mapped[0] : c;
}

// The canonical decomposition of c with every combining mark removed, when one unit is
// left; units with no decomposition stand for themselves.
unichar removeDiacritics(unichar c) {
  UErrorCode status = U_ZERO_ERROR;
  static const UNormalizer2* nfd = unorm2_getNFDInstance(&status);
  if (nfd == nullptr) return c;
  UChar decomposition[32];
  int32_t length = unorm2_getDecomposition(nfd, c, decomposition, 32, &status);
  if (U_FAILURE(status)) return c;
  if (length < 0) {
    decomposition[0] = c;
    length = 1;
  }
  unichar kept = 0;
  int keptCount = 0;
  for (int32_t i = 0; i < length;) {
    const int32_t start = i;
    UChar32 cp;
    U16_NEXT(decomposition, i, length, cp);
    if (U_GET_GC_MASK(cp) & U_GC_M_MASK) continue;
    keptCount += i - start;
    kept = decomposition[start];
  }
  return keptCount == 1 ? kept : c;
}

// Composes two tables: entry c is outer[inner[c]].
Table composeTables(ConversionTable outer, ConversionTable inner) {
  Table table;
  for (std::uint32_t c = 0; c < kConversionTableSize; ++c) table[c] = outer[inner[c]];
  return table;
}

}  // namespace

ConversionTable initLowerCharsTable() {
  static const Table table = buildTable(U_GC_LU_MASK | U_GC_LT_MASK, mapCase<u_strToLower>);
  static const ConversionTable published = _lowerCharsTable = table.data();
  return published;
}

ConversionTable initUpperCharsTable() {
  static const Table table = buildTable(U_GC_LL_MASK, mapCase<u_strToUpper>);
  static const ConversionTable published = _upperCharsTable = table.data();
  return published;
}

ConversionTable initUmlautsCharsTable() {
  static const Table table = buildTable(U_GC_L_MASK | U_GC_M_MASK, removeDiacritics);
  static const ConversionTable published = _umlautsCharsTable = table.data();
  return published;
}

ConversionTable initLowerUmlautsCharsTable() {
  static const Table table = composeTables(initLowerCharsTable(), initUmlautsCharsTable());
  static const ConversionTable published = _lowerUmlautsCharsTable = table.data();
  return published;
}

ConversionTable initUpperUmlautsCharsTable() {
  static const Table table = composeTables(initUpperCharsTable(), initUmlautsCharsTable());
  static const ConversionTable published = _upperUmlautsCharsTable = table.data();
  return published;
}

unichar toLower(unichar c) { return initLowerCharsTable()[c]; }
unichar toUpper(unichar c) { return initUpperCharsTable()[c]; }

unichar toAscii(unichar c) {
  const unichar u = initUmlautsCharsTable()[c];
  return u < 128 ? u : u' ';
}

unichar toUpperAscii(unichar c) {
  const unichar u = initUmlautsCharsTable()[c];
  return (u >= 'a' && u <= 'z') ? static_cast<unichar>(u - 'a' + 'A') : (u > 127 ? u' ' : u);
}

unichar toLowerAscii(unichar c) {
  const unichar u = initUmlautsCharsTable()[c];
  return (u >= 'A' && u <= 'Z') ? static_cast<unichar>(u - 'A' + 'a') : (u > 127 ? u' ' : u);
}

unichar umlautsToAscii(unichar c) { return initUmlautsCharsTable()[c]; }
unichar umlautsToUpperAscii(unichar c) { return initUpperUmlautsCharsTable()[c]; }
unichar umlautsToLowerAscii(unichar c) { return initLowerUmlautsCharsTable()[c]; }

}  // namespace orvel

#include "orvel/text/conversion_tables.h"

#include "orvel/text/internal/unicode_tables.h"

namespace orvel {

ConversionTable _lowerCharsTable = nullptr;
ConversionTable _upperCharsTable = nullptr;
ConversionTable _umlautsCharsTable = nullptr;
ConversionTable _lowerUmlautsCharsTable = nullptr;
ConversionTable _upperUmlautsCharsTable = nullptr;

// The tables are compiled in (internal/unicode_tables.h); "building" one is publishing it.
ConversionTable initLowerCharsTable() {
  static const ConversionTable published = _lowerCharsTable = internal::kLowerCharsTable;
  return published;
}

ConversionTable initUpperCharsTable() {
  static const ConversionTable published = _upperCharsTable = internal::kUpperCharsTable;
  return published;
}

ConversionTable initUmlautsCharsTable() {
  static const ConversionTable published = _umlautsCharsTable = internal::kUmlautsCharsTable;
  return published;
}

ConversionTable initLowerUmlautsCharsTable() {
  static const ConversionTable published = _lowerUmlautsCharsTable =
      internal::kLowerUmlautsCharsTable;
  return published;
}

ConversionTable initUpperUmlautsCharsTable() {
  static const ConversionTable published = _upperUmlautsCharsTable =
      internal::kUpperUmlautsCharsTable;
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

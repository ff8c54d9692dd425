// The C entry points of the text core: each forwards to the C++ function of the same name.
// char16_t and uint_least16_t share their representation, and the C++ side never keeps a
// pointer it was given, so the arrays pass through unchanged.
#include "orvel/c/characters.h"

#include "orvel/text/character_classes.h"
#include "orvel/text/character_search.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"
#include "orvel/text/encoding_converters.h"
#include "orvel/text/fast_compare.h"
#include "orvel/text/filtered_compare.h"

extern "C" {

orvel_character_set_rep emptyCharacterSetRep(void) { return orvel::emptyCharacterSetRep(); }
orvel_character_set_rep spaceCharacterSetRep(void) { return orvel::spaceCharacterSetRep(); }
orvel_character_set_rep whiteCharacterSetRep(void) { return orvel::whiteCharacterSetRep(); }
orvel_character_set_rep alphaCharacterSetRep(void) { return orvel::alphaCharacterSetRep(); }
orvel_character_set_rep alphaNumCharacterSetRep(void) { return orvel::alphaNumCharacterSetRep(); }
orvel_character_set_rep digitCharacterSetRep(void) { return orvel::digitCharacterSetRep(); }
orvel_character_set_rep lowerCharacterSetRep(void) { return orvel::lowerCharacterSetRep(); }
orvel_character_set_rep upperCharacterSetRep(void) { return orvel::upperCharacterSetRep(); }
orvel_unichar firstAlphaCharacter(void) { return orvel::firstAlphaCharacter(); }
orvel_unichar lastAlphaCharacter(void) { return orvel::lastAlphaCharacter(); }

orvel_conversion_table initLowerCharsTable(void) { return orvel::initLowerCharsTable(); }
orvel_conversion_table initUpperCharsTable(void) { return orvel::initUpperCharsTable(); }
orvel_conversion_table initUmlautsCharsTable(void) { return orvel::initUmlautsCharsTable(); }
orvel_conversion_table initLowerUmlautsCharsTable(void) {
  return orvel::initLowerUmlautsCharsTable();
}
orvel_conversion_table initUpperUmlautsCharsTable(void) {
  return orvel::initUpperUmlautsCharsTable();
}

orvel_unichar toLower(orvel_unichar c) { return orvel::toLower(c); }
orvel_unichar toUpper(orvel_unichar c) { return orvel::toUpper(c); }
orvel_unichar toAscii(orvel_unichar c) { return orvel::toAscii(c); }
orvel_unichar toUpperAscii(orvel_unichar c) { return orvel::toUpperAscii(c); }
orvel_unichar toLowerAscii(orvel_unichar c) { return orvel::toLowerAscii(c); }
orvel_unichar umlautsToAscii(orvel_unichar c) { return orvel::umlautsToAscii(c); }
orvel_unichar umlautsToUpperAscii(orvel_unichar c) { return orvel::umlautsToUpperAscii(c); }
orvel_unichar umlautsToLowerAscii(orvel_unichar c) { return orvel::umlautsToLowerAscii(c); }

bool equalCharsOfCharacterSetRep(const orvel_unichar* chars1, size_t length1,
                                 const orvel_unichar* chars2, size_t length2,
                                 orvel_character_set_rep set) {
  return orvel::equalCharsOfCharacterSetRep(chars1, length1, chars2, length2, set);
}
bool equalCharsNoCaseOfCharacterSetRep(const orvel_unichar* chars1, size_t length1,
                                       const orvel_unichar* chars2, size_t length2,
                                       orvel_character_set_rep set) {
  return orvel::equalCharsNoCaseOfCharacterSetRep(chars1, length1, chars2, length2, set);
}
bool hasPrefixCharsOfCharacterSetRep(const orvel_unichar* chars, size_t length,
                                     const orvel_unichar* prefixChars, size_t prefixLength,
                                     orvel_character_set_rep set) {
  return orvel::hasPrefixCharsOfCharacterSetRep(chars, length, prefixChars, prefixLength, set);
}
bool hasPrefixCharsNoCaseOfCharacterSetRep(const orvel_unichar* chars, size_t length,
                                           const orvel_unichar* prefixChars, size_t prefixLength,
                                           orvel_character_set_rep set) {
  return orvel::hasPrefixCharsNoCaseOfCharacterSetRep(chars, length, prefixChars, prefixLength,
                                                      set);
}

ptrdiff_t fastCompareUnichars(const orvel_unichar* chars1, size_t length1,
                              const orvel_unichar* chars2, size_t length2) {
  return orvel::fastCompareUnichars(chars1, length1, chars2, length2);
}
ptrdiff_t fastCompareUnicharsWithChars(const orvel_unichar* chars1, size_t length1,
                                       const char* chars2, size_t length2) {
  return orvel::fastCompareUnicharsWithChars(chars1, length1, chars2, length2);
}
ptrdiff_t fastCompareChars(const char* chars1, size_t length1, const char* chars2, size_t length2) {
  return orvel::fastCompareChars(chars1, length1, chars2, length2);
}
ptrdiff_t fastCompareUnicharsUsingConversionTable(const orvel_unichar* chars1, size_t length1,
                                                  const orvel_unichar* chars2, size_t length2,
                                                  orvel_conversion_table table) {
  return orvel::fastCompareUnicharsUsingConversionTable(chars1, length1, chars2, length2, table);
}
ptrdiff_t fastCaseInsensitiveCompareUnichars(const orvel_unichar* chars1, size_t length1,
                                             const orvel_unichar* chars2, size_t length2) {
  return orvel::fastCaseInsensitiveCompareUnichars(chars1, length1, chars2, length2);
}
ptrdiff_t fastCaseInsensitiveCompareUnicharsWithChars(const orvel_unichar* chars1, size_t length1,
                                                      const char* chars2, size_t length2) {
  return orvel::fastCaseInsensitiveCompareUnicharsWithChars(chars1, length1, chars2, length2);
}
ptrdiff_t fastCaseInsensitiveCompareChars(const char* chars1, size_t length1, const char* chars2,
                                          size_t length2) {
  return orvel::fastCaseInsensitiveCompareChars(chars1, length1, chars2, length2);
}

const orvel_unichar* fastContainsUnichars(const orvel_unichar* chars, size_t length,
                                          const orvel_unichar* needle, size_t needleLength) {
  return orvel::fastContainsUnichars(chars, length, needle, needleLength);
}
const orvel_unichar* fastCaseInsensitiveContainsUnichars(const orvel_unichar* chars, size_t length,
                                                         const orvel_unichar* needle,
                                                         size_t needleLength) {
  return orvel::fastCaseInsensitiveContainsUnichars(chars, length, needle, needleLength);
}
const orvel_unichar* fastUnicharsContainChars(const orvel_unichar* chars, size_t length,
                                              const char* needle, size_t needleLength) {
  return orvel::fastUnicharsContainChars(chars, length, needle, needleLength);
}
const orvel_unichar* fastCaseInsensitiveUnicharsContainChars(const orvel_unichar* chars,
                                                             size_t length, const char* needle,
                                                             size_t needleLength) {
  return orvel::fastCaseInsensitiveUnicharsContainChars(chars, length, needle, needleLength);
}
bool fastContainsSubCStrings(const orvel_unichar* chars, size_t length, const char* const* needles,
                             orvel_conversion_table table) {
  return orvel::fastContainsSubCStrings(chars, length, needles, table);
}
bool onlyWhiteCharacters(const orvel_unichar* chars, size_t length) {
  return orvel::onlyWhiteCharacters(chars, length);
}

int32_t initUnicodeConverters(void) { return orvel::initUnicodeConverters(); }
int32_t convertUTF8ToUnicode(const uint8_t* source, size_t sourceLength, orvel_unichar* destination,
                             size_t destinationCapacity) {
  return orvel::convertUTF8ToUnicode(source, sourceLength, destination, destinationCapacity);
}
int32_t convertUnicodeToUTF8(const orvel_unichar* source, size_t sourceLength, uint8_t* destination,
                             size_t destinationCapacity) {
  return orvel::convertUnicodeToUTF8(source, sourceLength, destination, destinationCapacity);
}
int32_t convertEncodingToUnicode(const uint8_t* source, size_t sourceLength, uint32_t encoding,
                                 orvel_unichar* destination, size_t destinationCapacity,
                                 size_t* unitsWritten) {
  return orvel::convertEncodingToUnicode(source, sourceLength, encoding, destination,
                                         destinationCapacity, unitsWritten);
}

}  // extern "C"

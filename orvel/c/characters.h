/* Character-set bitmaps, folding tables, per-character conversions, filtered comparisons,
 * the fast comparison and containment primitives over UTF-16 arrays, and the UTF-8 and
 * legacy-encoding converters, callable from C.
 *
 * Every bitmap and table is built on first use, thread-safely, and kept for the life of
 * the process. The five global tables stay null until built: call the matching init
 * function (which returns the table) before indexing a global directly. */
#ifndef ORVEL_C_CHARACTERS_H
#define ORVEL_C_CHARACTERS_H

#include "orvel/c/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The eight standard bitmaps (ORVEL_CHARACTER_SET_REP_SIZE bytes each). */
orvel_character_set_rep emptyCharacterSetRep(void);
orvel_character_set_rep spaceCharacterSetRep(void);
orvel_character_set_rep whiteCharacterSetRep(void);
orvel_character_set_rep alphaCharacterSetRep(void);
orvel_character_set_rep alphaNumCharacterSetRep(void);
orvel_character_set_rep digitCharacterSetRep(void);
orvel_character_set_rep lowerCharacterSetRep(void);
orvel_character_set_rep upperCharacterSetRep(void);
/* The lowest and the highest member of the letter bitmap. */
orvel_unichar firstAlphaCharacter(void);
orvel_unichar lastAlphaCharacter(void);

/* The folding tables: lower case, upper case, accents removed, and accents removed then
 * lower- or upper-cased. Only one-unit mappings are kept (U+00DF stays itself upper-cased). */
extern orvel_conversion_table _lowerCharsTable;
extern orvel_conversion_table _upperCharsTable;
extern orvel_conversion_table _umlautsCharsTable;
extern orvel_conversion_table _lowerUmlautsCharsTable;
extern orvel_conversion_table _upperUmlautsCharsTable;
orvel_conversion_table initLowerCharsTable(void);
orvel_conversion_table initUpperCharsTable(void);
orvel_conversion_table initUmlautsCharsTable(void);
orvel_conversion_table initLowerUmlautsCharsTable(void);
orvel_conversion_table initUpperUmlautsCharsTable(void);

/* Per-character conversions through those tables; the Ascii forms give U+0020 for a unit
 * whose accent-free form is not ASCII. */
orvel_unichar toLower(orvel_unichar c);
orvel_unichar toUpper(orvel_unichar c);
orvel_unichar toAscii(orvel_unichar c);
orvel_unichar toUpperAscii(orvel_unichar c);
orvel_unichar toLowerAscii(orvel_unichar c);
orvel_unichar umlautsToAscii(orvel_unichar c);
orvel_unichar umlautsToUpperAscii(orvel_unichar c);
orvel_unichar umlautsToLowerAscii(orvel_unichar c);

/* Comparisons that see only the member units of `set` (NoCase: through _upperCharsTable). */
bool equalCharsOfCharacterSetRep(const orvel_unichar* chars1, size_t length1,
                                 const orvel_unichar* chars2, size_t length2,
                                 orvel_character_set_rep set);
bool equalCharsNoCaseOfCharacterSetRep(const orvel_unichar* chars1, size_t length1,
                                       const orvel_unichar* chars2, size_t length2,
                                       orvel_character_set_rep set);
bool hasPrefixCharsOfCharacterSetRep(const orvel_unichar* chars, size_t length,
                                     const orvel_unichar* prefixChars, size_t prefixLength,
                                     orvel_character_set_rep set);
bool hasPrefixCharsNoCaseOfCharacterSetRep(const orvel_unichar* chars, size_t length,
                                           const orvel_unichar* prefixChars, size_t prefixLength,
                                           orvel_character_set_rep set);

/* Comparisons: the difference of the first differing (folded) units, else of the lengths.
 * The Chars forms read 8-bit needles as signed chars widened to 16 bits. */
ptrdiff_t fastCompareUnichars(const orvel_unichar* chars1, size_t length1,
                              const orvel_unichar* chars2, size_t length2);
ptrdiff_t fastCompareUnicharsWithChars(const orvel_unichar* chars1, size_t length1,
                                       const char* chars2, size_t length2);
ptrdiff_t fastCompareChars(const char* chars1, size_t length1, const char* chars2, size_t length2);
ptrdiff_t fastCompareUnicharsUsingConversionTable(const orvel_unichar* chars1, size_t length1,
                                                  const orvel_unichar* chars2, size_t length2,
                                                  orvel_conversion_table table);
ptrdiff_t fastCaseInsensitiveCompareUnichars(const orvel_unichar* chars1, size_t length1,
                                             const orvel_unichar* chars2, size_t length2);
ptrdiff_t fastCaseInsensitiveCompareUnicharsWithChars(const orvel_unichar* chars1, size_t length1,
                                                      const char* chars2, size_t length2);
ptrdiff_t fastCaseInsensitiveCompareChars(const char* chars1, size_t length1, const char* chars2,
                                          size_t length2);

/* Containment: the first unit of the first occurrence of the needle, or NULL. */
const orvel_unichar* fastContainsUnichars(const orvel_unichar* chars, size_t length,
                                          const orvel_unichar* needle, size_t needleLength);
const orvel_unichar* fastCaseInsensitiveContainsUnichars(const orvel_unichar* chars, size_t length,
                                                         const orvel_unichar* needle,
                                                         size_t needleLength);
const orvel_unichar* fastUnicharsContainChars(const orvel_unichar* chars, size_t length,
                                              const char* needle, size_t needleLength);
const orvel_unichar* fastCaseInsensitiveUnicharsContainChars(const orvel_unichar* chars,
                                                             size_t length, const char* needle,
                                                             size_t needleLength);
/* Whether any of the NUL-terminated needles (a list ended by NULL) occurs in the units,
 * folded through `table` when it is not NULL (the needles never are). */
bool fastContainsSubCStrings(const orvel_unichar* chars, size_t length, const char* const* needles,
                             orvel_conversion_table table);
/* Whether every unit is white space (true for length 0). */
bool onlyWhiteCharacters(const orvel_unichar* chars, size_t length);

/* Converters between UTF-8, UTF-16 and legacy encodings (ICU underneath). The UTF-8 ones
 * answer an ICU status: 0 on success, positive on failure (a full destination, invalid
 * input; nothing is substituted). initUnicodeConverters answers 1 when the calling thread's
 * converters were already open. convertEncodingToUnicode takes a CoreFoundation encoding
 * number and answers 1 on success, 0 on failure (with the units converted before it in
 * *unitsWritten), or an ICU error code when no converter for the encoding could be opened. */
int32_t initUnicodeConverters(void);
int32_t convertUTF8ToUnicode(const uint8_t* source, size_t sourceLength, orvel_unichar* destination,
                             size_t destinationCapacity);
int32_t convertUnicodeToUTF8(const orvel_unichar* source, size_t sourceLength, uint8_t* destination,
                             size_t destinationCapacity);
int32_t convertEncodingToUnicode(const uint8_t* source, size_t sourceLength, uint32_t encoding,
                                 orvel_unichar* destination, size_t destinationCapacity,
                                 size_t* unitsWritten);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_C_CHARACTERS_H */

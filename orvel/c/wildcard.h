/* Wildcard patterns, callable from C.
 *
 * Simple language: "*" matches any run of units, "?" one unit, any other unit itself.
 * Unix language: the same plus bracket sets ("[abc]", "[a-z]", "[^...]"). No escapes; a
 * pattern matches the whole text. Matchers take begin and end pointers; the table forms
 * fold each text unit through the table and compare the pattern as it stands, so fold the
 * pattern first with prepareWildcardUsingUnicharTable. A NULL table compares exactly. */
#ifndef ORVEL_C_WILDCARD_H
#define ORVEL_C_WILDCARD_H

#include "orvel/c/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Comparison modes of unicharTableForWildcardComparison and FindWildcardInCharacters. */
#define ORVEL_WILDCARD_CASE_INSENSITIVE 1u
#define ORVEL_WILDCARD_DIACRITIC_INSENSITIVE 2u
#define ORVEL_WILDCARD_EXACT_WORDS 4u

bool stringMatchesWildcard(const orvel_unichar* text, const orvel_unichar* textEnd,
                           const orvel_unichar* pattern, const orvel_unichar* patternEnd);
bool stringMatchesWildcardUsingUnicharTable(const orvel_unichar* text, const orvel_unichar* textEnd,
                                            const orvel_unichar* pattern,
                                            const orvel_unichar* patternEnd,
                                            orvel_conversion_table table);
bool stringMatchesUnixWildcard(const orvel_unichar* text, const orvel_unichar* textEnd,
                               const orvel_unichar* pattern, const orvel_unichar* patternEnd);
bool stringMatchesUnixWildcardUsingUnicharTable(const orvel_unichar* text,
                                                const orvel_unichar* textEnd,
                                                const orvel_unichar* pattern,
                                                const orvel_unichar* patternEnd,
                                                orvel_conversion_table table);
void prepareWildcardUsingUnicharTable(orvel_unichar* pattern, orvel_unichar* patternEnd,
                                      orvel_conversion_table table);
/* Rewrites the pattern in place (it never grows), stores the range of its fixed text and,
 * when outLength is not NULL, its new length, and returns its type: 0 literal, 1 with "?",
 * 2 prefix, 3 suffix, 4 infix, 5 other simple, 6 to 9 with sets, 10 unusable. */
int optimizeWildcard(orvel_unichar* pattern, orvel_unichar* patternEnd, orvel_range* outRange,
                     size_t minLiterals, size_t* outLength);
/* The fewest and the most units a pattern can match (the most is 2^63 - 1 with a "*"). */
size_t minWildcardLen(const orvel_unichar* pattern, const orvel_unichar* patternEnd);
size_t maxWildcardLen(const orvel_unichar* pattern, const orvel_unichar* patternEnd);
/* The folding table of (options & 3): none, upper, accents, upper without accents. */
orvel_conversion_table unicharTableForWildcardComparison(unsigned options);
bool isUnicharTablePartOfConversionTable(orvel_conversion_table unicharTable,
                                         orvel_conversion_table conversionTable);
/* Fuzzy similarity of two unit arrays, from 0 to 1 (no wildcard is interpreted). */
double stringMatchesUnixWildcardFuzzy(const orvel_unichar* a, size_t aLength,
                                      const orvel_unichar* b, size_t bLength);
double stringMatchesUnixWildcardFuzzyUsingUnicharTable(const orvel_unichar* a, size_t aLength,
                                                       const orvel_unichar* b, size_t bLength,
                                                       orvel_conversion_table table);
/* The threshold of fuzzy word matching (MinWildcardFuzzyAnalogy, initially 0.75). */
double minWildcardFuzzyAnalogy(void);
void setMinWildcardFuzzyAnalogy(double value);
/* The default word separators without "*", "?", "[" and "]". */
orvel_character_set_rep defaultWildcardSeparators(void);

/* The range of the next word of text[range] that matches the pattern (a word being a run
 * of units outside `separators`), location ORVEL_NOT_FOUND when there is none. */
orvel_range FindWildcardInCharacters(const orvel_unichar* text, size_t textLength,
                                     orvel_range range, const orvel_unichar* pattern,
                                     size_t patternLength, unsigned comparison,
                                     size_t minCharacters, orvel_character_set_rep separators,
                                     bool backwards, bool wholeWords, bool nextWordOnly,
                                     bool loneStarMatches);
/* The same for a pattern of several words matched against consecutive words. */
orvel_range FindWildcardStringInCharacters(const orvel_unichar* text, size_t textLength,
                                           orvel_range range, const orvel_unichar* pattern,
                                           size_t patternLength, unsigned comparison,
                                           size_t minCharacters, orvel_character_set_rep separators,
                                           bool backwards, bool wholeWords);

#ifdef __cplusplus
}
#endif

#endif /* ORVEL_C_WILDCARD_H */

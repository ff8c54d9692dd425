// Wildcard patterns: two pattern languages, their matchers, the normalisation and
// classification of a pattern before a search, length bounds, the folding table of a
// comparison mode, and the fuzzy similarity used for plain words.
//
// Simple language: "*" matches any run of units, "?" exactly one unit, every other unit
// itself. Unix language: the same, plus bracket sets matching exactly one unit: "[abc]",
// ranges "[a-z]" by code-unit value, negation "[^...]", and "|" ignored inside a set as a
// separator between members. There is no escape character. A pattern always has to match
// the whole text.
//
// Matchers take begin and end pointers. The table variants fold each TEXT unit through
// the table; the pattern is compared as it stands, so the caller folds it first
// (prepareWildcardUsingUnicharTable). A null table compares exactly.
#pragma once

#include <atomic>
#include <cstddef>

#include "orvel/base/range.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {

[[nodiscard]] bool stringMatchesWildcard(const unichar* text, const unichar* textEnd,
                                         const unichar* pattern, const unichar* patternEnd);
[[nodiscard]] bool stringMatchesWildcardUsingUnicharTable(const unichar* text,
                                                          const unichar* textEnd,
                                                          const unichar* pattern,
                                                          const unichar* patternEnd,
                                                          ConversionTable table);
[[nodiscard]] bool stringMatchesUnixWildcard(const unichar* text, const unichar* textEnd,
                                             const unichar* pattern, const unichar* patternEnd);
[[nodiscard]] bool stringMatchesUnixWildcardUsingUnicharTable(const unichar* text,
                                                              const unichar* textEnd,
                                                              const unichar* pattern,
                                                              const unichar* patternEnd,
                                                              ConversionTable table);

// Folds every pattern unit through the table in place (metacharacters map to themselves).
void prepareWildcardUsingUnicharTable(unichar* pattern, unichar* patternEnd, ConversionTable table);

// What optimizeWildcard makes of a pattern; the values are part of the interface. The
// found range is the fixed text between a leading and a trailing "*", which a search
// looks for directly.
enum WildcardType : int {
  kWildcardLiteral = 0,      // literals only; found range (0, length)
  kWildcardSingles = 1,      // "?" and literals; (0, length)
  kWildcardPrefix = 2,       // literals, then one final "*"; (0, literals)
  kWildcardSuffix = 3,       // one leading "*", then literals; (1, literals)
  kWildcardInfix = 4,        // "*", literals, "*"; (1, literals)
  kWildcardSimple = 5,       // any other mix of "*", "?" and literals; (0, length)
  kWildcardSetsComplex = 6,  // sets with several "*", or one inside; (0, length)
  kWildcardSetsPrefix = 7,   // sets and literals, one final "*"; (0, length - 1)
  kWildcardSetsSuffix = 8,   // one leading "*", sets and literals; (1, length - 1)
  kWildcardSets = 9,         // sets and literals, maybe "?", no "*"; (0, length)
  kWildcardUnusable = 10,    // no literal, too few literals beside a "*", a stray "]",
                             // a "[" inside a set, or an unterminated set
};

// Rewrites the pattern in place (it never grows): runs of "*" become one, "|" inside sets
// is dropped, sets without members are removed. Stores the found range, and the new
// length when outLength is given, and returns the type. Literals count ordinary units
// plus one per kept set; below minLiterals while a "*" is present the pattern is unusable.
// A pattern found unusable before its end (a stray "]", a bad set) reports the range and
// length (0, 0); the buffer is then partly rewritten.
int optimizeWildcard(unichar* pattern, unichar* patternEnd, Range* outRange,
                     std::size_t minLiterals, std::size_t* outLength = nullptr);

// The fewest text units the pattern can match ("*" counts 0, a set 1), and the most
// (NSIntegerMax as soon as there is a "*"; 0 for an empty pattern). Both expect every "["
// to be closed, as in an optimised pattern.
[[nodiscard]] std::size_t minWildcardLen(const unichar* pattern, const unichar* patternEnd);
[[nodiscard]] std::size_t maxWildcardLen(const unichar* pattern, const unichar* patternEnd);

// Comparison modes: bit value 1 case-insensitive, 2 diacritic-insensitive. Bit value 4 asks
// FindWildcardInCharacters to compare plain words exactly instead of fuzzily.
inline constexpr unsigned kWildcardCaseInsensitive = 1;
inline constexpr unsigned kWildcardDiacriticInsensitive = 2;
inline constexpr unsigned kWildcardExactWords = 4;

// A comparison mode as an argument of its own type, so that it cannot be mistaken for a
// case flag where both are accepted.
struct WildcardComparison {
  unsigned options = 0;
};

// The folding table for (options & 3): none, upper, umlauts, upper-umlauts. The tables are
// built on first use here, so the answer is never an unbuilt (null) table.
[[nodiscard]] ConversionTable unicharTableForWildcardComparison(unsigned options);

// Whether text folded with conversionTable may be compared with a pattern folded with
// unicharTable: equal tables, or the pairs (lower, lower-umlauts), (upper, upper-umlauts),
// (umlauts, upper-umlauts), (umlauts, lower-umlauts). Null on either side: false.
[[nodiscard]] bool isUnicharTablePartOfConversionTable(ConversionTable unicharTable,
                                                       ConversionTable conversionTable);

// Fuzzy similarity of two unit arrays, from 0 to 1 (no wildcard is interpreted, despite the
// name): the shorter array's units are looked up among the free units of the longer one,
// preferring the position that keeps the current alignment; misplaced matches cost.
// Score: matches * (1 - misplacements / size) / size, size being the longer length. Two
// empty arrays score 0.
[[nodiscard]] double stringMatchesUnixWildcardFuzzy(const unichar* a, std::size_t aLength,
                                                    const unichar* b, std::size_t bLength);
[[nodiscard]] double stringMatchesUnixWildcardFuzzyUsingUnicharTable(const unichar* a,
                                                                     std::size_t aLength,
                                                                     const unichar* b,
                                                                     std::size_t bLength,
                                                                     ConversionTable table);

// The threshold of fuzzy word matching, initially 0.75.
extern std::atomic<double> MinWildcardFuzzyAnalogy;
[[nodiscard]] inline double minWildcardFuzzyAnalogy() { return MinWildcardFuzzyAnalogy.load(); }
inline void setMinWildcardFuzzyAnalogy(double value) { MinWildcardFuzzyAnalogy.store(value); }

// The default word separators without "*", "?", "[" and "]", so that a pattern typed into
// a query stays one word.
[[nodiscard]] CharacterSetRep defaultWildcardSeparators();
void initWildcardSeparators();
// Builds the upper-umlauts table and with it the upper-case and accent tables.
void initWildcardTables();
// The word separators, then the wildcard separators and tables.
void initSeparatorsAndTables();

}  // namespace orvel

// The C entry points of wildcard matching: each forwards to the C++ function of the same
// name, converting ranges and pattern arrays at the edge.
#include "orvel/c/wildcard.h"

#include <string_view>

#include "orvel/search/wildcard.h"
#include "orvel/search/wildcard_find.h"

namespace {

orvel::Range toRange(orvel_range range) { return {range.location, range.length}; }
orvel_range fromRange(orvel::Range range) { return {range.location, range.length}; }

std::u16string_view patternView(const orvel_unichar* pattern, size_t length) {
  return pattern == nullptr ? std::u16string_view{} : std::u16string_view{pattern, length};
}

}  // namespace

extern "C" {

bool stringMatchesWildcard(const orvel_unichar* text, const orvel_unichar* textEnd,
                           const orvel_unichar* pattern, const orvel_unichar* patternEnd) {
  return orvel::stringMatchesWildcard(text, textEnd, pattern, patternEnd);
}
bool stringMatchesWildcardUsingUnicharTable(const orvel_unichar* text, const orvel_unichar* textEnd,
                                            const orvel_unichar* pattern,
                                            const orvel_unichar* patternEnd,
                                            orvel_conversion_table table) {
  return orvel::stringMatchesWildcardUsingUnicharTable(text, textEnd, pattern, patternEnd, table);
}
bool stringMatchesUnixWildcard(const orvel_unichar* text, const orvel_unichar* textEnd,
                               const orvel_unichar* pattern, const orvel_unichar* patternEnd) {
  return orvel::stringMatchesUnixWildcard(text, textEnd, pattern, patternEnd);
}
bool stringMatchesUnixWildcardUsingUnicharTable(const orvel_unichar* text,
                                                const orvel_unichar* textEnd,
                                                const orvel_unichar* pattern,
                                                const orvel_unichar* patternEnd,
                                                orvel_conversion_table table) {
  return orvel::stringMatchesUnixWildcardUsingUnicharTable(text, textEnd, pattern, patternEnd,
                                                           table);
}
void prepareWildcardUsingUnicharTable(orvel_unichar* pattern, orvel_unichar* patternEnd,
                                      orvel_conversion_table table) {
  orvel::prepareWildcardUsingUnicharTable(pattern, patternEnd, table);
}
int optimizeWildcard(orvel_unichar* pattern, orvel_unichar* patternEnd, orvel_range* outRange,
                     size_t minLiterals, size_t* outLength) {
  orvel::Range range;
  const int type = orvel::optimizeWildcard(pattern, patternEnd, &range, minLiterals, outLength);
  if (outRange != nullptr) *outRange = fromRange(range);
  return type;
}
size_t minWildcardLen(const orvel_unichar* pattern, const orvel_unichar* patternEnd) {
  return orvel::minWildcardLen(pattern, patternEnd);
}
size_t maxWildcardLen(const orvel_unichar* pattern, const orvel_unichar* patternEnd) {
  return orvel::maxWildcardLen(pattern, patternEnd);
}
orvel_conversion_table unicharTableForWildcardComparison(unsigned options) {
  return orvel::unicharTableForWildcardComparison(options);
}
bool isUnicharTablePartOfConversionTable(orvel_conversion_table unicharTable,
                                         orvel_conversion_table conversionTable) {
  return orvel::isUnicharTablePartOfConversionTable(unicharTable, conversionTable);
}
double stringMatchesUnixWildcardFuzzy(const orvel_unichar* a, size_t aLength,
                                      const orvel_unichar* b, size_t bLength) {
  return orvel::stringMatchesUnixWildcardFuzzy(a, aLength, b, bLength);
}
double stringMatchesUnixWildcardFuzzyUsingUnicharTable(const orvel_unichar* a, size_t aLength,
                                                       const orvel_unichar* b, size_t bLength,
                                                       orvel_conversion_table table) {
  return orvel::stringMatchesUnixWildcardFuzzyUsingUnicharTable(a, aLength, b, bLength, table);
}
double minWildcardFuzzyAnalogy(void) { return orvel::minWildcardFuzzyAnalogy(); }
void setMinWildcardFuzzyAnalogy(double value) { orvel::setMinWildcardFuzzyAnalogy(value); }
orvel_character_set_rep defaultWildcardSeparators(void) {
  return orvel::defaultWildcardSeparators();
}

orvel_range FindWildcardInCharacters(const orvel_unichar* text, size_t textLength,
                                     orvel_range range, const orvel_unichar* pattern,
                                     size_t patternLength, unsigned comparison,
                                     size_t minCharacters, orvel_character_set_rep separators,
                                     bool backwards, bool wholeWords, bool nextWordOnly,
                                     bool loneStarMatches) {
  return fromRange(orvel::FindWildcardInCharacters(
      text, textLength, toRange(range), patternView(pattern, patternLength), comparison,
      minCharacters, separators, backwards, wholeWords, nextWordOnly, loneStarMatches));
}
orvel_range FindWildcardStringInCharacters(const orvel_unichar* text, size_t textLength,
                                           orvel_range range, const orvel_unichar* pattern,
                                           size_t patternLength, unsigned comparison,
                                           size_t minCharacters, orvel_character_set_rep separators,
                                           bool backwards, bool wholeWords) {
  return fromRange(orvel::FindWildcardStringInCharacters(
      text, textLength, toRange(range), patternView(pattern, patternLength), comparison,
      minCharacters, separators, backwards, wholeWords));
}

}  // extern "C"

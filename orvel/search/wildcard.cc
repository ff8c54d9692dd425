#include "orvel/search/wildcard.h"

#include <algorithm>
#include <vector>

#include "orvel/search/separators.h"
#include "orvel/text/character_set_builder.h"

namespace orvel {

std::atomic<double> MinWildcardFuzzyAnalogy{0.75};

namespace {

// Whether the bracket set opening at `open` (a "[") matches the text unit c, and where the
// pattern goes on after it. Members are read up to the closing "]"; "|" is skipped; "x-y"
// is a range from the unit written before the "-" to the one after it.
bool setMatches(const unichar* open, const unichar* end, unichar c, const unichar** next) {
  const unichar* q = open + 1;
  if (q == end) return false;  // nothing follows the "["
  const bool negated = *q == u'^';
  if (negated) ++q;
  bool matched = false;
  while (q < end && *q != u']') {
    if (*q == u'|') {
      ++q;
    } else if (*q == u'-') {
      if (q + 1 == end) {
        ++q;
        continue;
      }
      const unichar low = q[-1];
      const unichar high = q[1];
      if (c <= high && c >= low) {
        matched = true;
        break;
      }
      q += 2;  // past the upper bound
    } else if (*q == c) {
      matched = true;
      break;
    } else {
      ++q;
    }
  }
  // A match in a negated set fails; no match fails a plain set, terminated or not, while
  // a negated set without a match goes on after its "]" (or at the end, unterminated).
  if (matched == negated) return false;
  while (q < end && *q != u']') ++q;
  *next = q < end ? q + 1 : end;
  return true;
}

// Matches one pattern element (not "*") against the text unit c.
template <bool kUnix>
bool elementMatches(const unichar* p, const unichar* end, unichar c, const unichar** next) {
  if (kUnix && *p == u'[') return setMatches(p, end, c, next);
  *next = p + 1;
  return *p == u'?' || *p == c;
}

// Every element but "*" consumes exactly one unit, so the classic loop that backtracks to
// the last "*" finds a match whenever any assignment of the stars does, in O(n * m).
template <bool kUnix>
bool matchWildcard(const unichar* t, const unichar* tEnd, const unichar* p, const unichar* pEnd,
                   ConversionTable table) {
  const unichar* starPattern = nullptr;
  const unichar* starText = nullptr;
  for (;;) {
    if (p < pEnd && *p == u'*') {
      starPattern = ++p;
      starText = t;
      if (p == pEnd) return true;
      continue;
    }
    const unichar* next = nullptr;
    if (p == pEnd) {
      if (t == tEnd) return true;
    } else if (t < tEnd &&
               elementMatches<kUnix>(p, pEnd, table != nullptr ? table[*t] : *t, &next)) {
      p = next;
      ++t;
      continue;
    }
    if (starPattern == nullptr || starText == tEnd) return false;
    t = ++starText;
    p = starPattern;
  }
}

}  // namespace

bool stringMatchesWildcard(const unichar* text, const unichar* textEnd, const unichar* pattern,
                           const unichar* patternEnd) {
  return matchWildcard<false>(text, textEnd, pattern, patternEnd, nullptr);
}

bool stringMatchesWildcardUsingUnicharTable(const unichar* text, const unichar* textEnd,
                                            const unichar* pattern, const unichar* patternEnd,
                                            ConversionTable table) {
  return matchWildcard<false>(text, textEnd, pattern, patternEnd, table);
}

bool stringMatchesUnixWildcard(const unichar* text, const unichar* textEnd, const unichar* pattern,
                               const unichar* patternEnd) {
  return matchWildcard<true>(text, textEnd, pattern, patternEnd, nullptr);
}

bool stringMatchesUnixWildcardUsingUnicharTable(const unichar* text, const unichar* textEnd,
                                                const unichar* pattern, const unichar* patternEnd,
                                                ConversionTable table) {
  return matchWildcard<true>(text, textEnd, pattern, patternEnd, table);
}

void prepareWildcardUsingUnicharTable(unichar* pattern, unichar* patternEnd,
                                      ConversionTable table) {
  if (table == nullptr) return;
  for (; pattern < patternEnd; ++pattern) *pattern = table[*pattern];
}

int optimizeWildcard(unichar* pattern, unichar* patternEnd, Range* outRange,
                     std::size_t minLiterals, std::size_t* outLength) {
  std::size_t stars = 0, questionMarks = 0, literals = 0, sets = 0;
  // A pattern found unusable midway reports an empty range and length.
  *outRange = Range{0, 0};
  if (outLength != nullptr) *outLength = 0;
  unichar* out = pattern;
  unichar previous = 0;  // the unit read last (after a set: "]")
  for (const unichar* in = pattern; in < patternEnd; ++in) {
    const unichar c = *in;
    if (c == u'*') {
      if (previous != u'*') {
        *out++ = c;
        ++stars;
      }
    } else if (c == u'?') {
      *out++ = c;
      ++questionMarks;
    } else if (c == u']') {
      return kWildcardUnusable;
    } else if (c == u'[') {
      unichar* setStart = out;
      *out++ = c;
      bool content = false;
      for (++in;; ++in) {
        if (in == patternEnd || *in == u'[') return kWildcardUnusable;
        if (*in == u']') break;
        if (*in == u'|') continue;
        if (*in != u'^' && *in != u'-') content = true;
        *out++ = *in;
      }
      if (content) {
        *out++ = u']';
        ++literals;
        ++sets;
      } else {
        out = setStart;
      }
      previous = u']';
      continue;
    } else {
      *out++ = c;
      ++literals;
    }
    previous = c;
  }

  const std::size_t length = static_cast<std::size_t>(out - pattern);
  if (outLength != nullptr) *outLength = length;
  *outRange = Range{0, length};
  if (literals == 0) return kWildcardUnusable;
  if (literals < minLiterals && stars != 0) return kWildcardUnusable;
  const bool starFirst = length > 0 && pattern[0] == u'*';
  const bool starLast = length > 0 && pattern[length - 1] == u'*';
  if (sets == 0) {
    if (stars == 0) return questionMarks != 0 ? kWildcardSingles : kWildcardLiteral;
    if (questionMarks != 0) return kWildcardSimple;
    if (stars == 2 && starFirst && starLast) {
      *outRange = Range{1, literals};
      return kWildcardInfix;
    }
    if (stars == 1 && starFirst) {
      *outRange = Range{1, literals};
      return kWildcardSuffix;
    }
    if (stars == 1 && starLast) {
      *outRange = Range{0, literals};
      return kWildcardPrefix;
    }
    return kWildcardSimple;
  }
  if (stars == 0) return kWildcardSets;
  if (stars == 1 && starFirst) {
    *outRange = Range{1, length - 1};
    return kWildcardSetsSuffix;
  }
  if (stars == 1 && starLast) {
    *outRange = Range{0, length - 1};
    return kWildcardSetsPrefix;
  }
  return kWildcardSetsComplex;
}

std::size_t minWildcardLen(const unichar* pattern, const unichar* patternEnd) {
  std::size_t count = 0;
  for (const unichar* p = pattern; p < patternEnd; ++p) {
    if (*p == u'*') continue;
    if (*p == u'[') {
      while (p + 1 < patternEnd && *p != u']') ++p;
    }
    ++count;
  }
  return count;
}

std::size_t maxWildcardLen(const unichar* pattern, const unichar* patternEnd) {
  if (std::find(pattern, patternEnd, u'*') != patternEnd) return NSIntegerMax;
  return minWildcardLen(pattern, patternEnd);
}

ConversionTable unicharTableForWildcardComparison(unsigned options) {
  switch (options & 3) {
    case 1: return initUpperCharsTable();
    case 2: return initUmlautsCharsTable();
    case 3: return initUpperUmlautsCharsTable();
    default: return nullptr;
  }
}

bool isUnicharTablePartOfConversionTable(ConversionTable unicharTable,
                                         ConversionTable conversionTable) {
  if (unicharTable == nullptr || conversionTable == nullptr) return false;
  if (unicharTable == conversionTable) return true;
  const ConversionTable lower = initLowerCharsTable(), upper = initUpperCharsTable();
  const ConversionTable umlauts = initUmlautsCharsTable();
  const ConversionTable lowerUmlauts = initLowerUmlautsCharsTable();
  const ConversionTable upperUmlauts = initUpperUmlautsCharsTable();
  return (unicharTable == lower && conversionTable == lowerUmlauts) ||
         (unicharTable == upper && conversionTable == upperUmlauts) ||
         (unicharTable == umlauts &&
          (conversionTable == upperUmlauts || conversionTable == lowerUmlauts));
}

double stringMatchesUnixWildcardFuzzy(const unichar* a, std::size_t aLength, const unichar* b,
                                      std::size_t bLength) {
  return stringMatchesUnixWildcardFuzzyUsingUnicharTable(a, aLength, b, bLength, nullptr);
}

double stringMatchesUnixWildcardFuzzyUsingUnicharTable(const unichar* a, std::size_t aLength,
                                                       const unichar* b, std::size_t bLength,
                                                       ConversionTable table) {
  const bool aShorter = aLength <= bLength;
  const unichar* shorter = aShorter ? a : b;
  const unichar* longer = aShorter ? b : a;
  const std::size_t shorterLength = aShorter ? aLength : bLength;
  const std::size_t size = aShorter ? bLength : aLength;
  if (size == 0) return 0;
  auto fold = [table](unichar c) { return table != nullptr ? table[c] : c; };

  std::vector<bool> free(size, true);
  std::size_t matches = 0, misplacements = 0;
  std::ptrdiff_t shift = 0;
  for (std::size_t i = 0; i < shorterLength; ++i) {
    const unichar unit = fold(shorter[i]);
    std::ptrdiff_t taken = -1;
    for (std::size_t j = 0; j < size; ++j) {
      if (!free[j] || fold(longer[j]) != unit) continue;
      if (shift + static_cast<std::ptrdiff_t>(j) == static_cast<std::ptrdiff_t>(i)) {
        taken = static_cast<std::ptrdiff_t>(j);
        break;
      }
      if (taken < 0) taken = static_cast<std::ptrdiff_t>(j);
    }
    if (taken < 0) continue;
    free[static_cast<std::size_t>(taken)] = false;
    ++matches;
    if (shift + taken != static_cast<std::ptrdiff_t>(i) && i != 0) ++misplacements;
    shift = static_cast<std::ptrdiff_t>(i) - taken;
  }
  const double sizeD = static_cast<double>(size);
  return static_cast<double>(matches) * (1.0 - static_cast<double>(misplacements) / sizeD) / sizeD;
}

CharacterSetRep defaultWildcardSeparators() {
  static const CharacterSetBitmap bitmap =
      CharacterSetBuilder(defaultWordSeparators()).removeUnits({u'*', u'?', u'[', u']'}).build();
  return bitmap.data();
}

void initWildcardSeparators() { static_cast<void>(defaultWildcardSeparators()); }

void initWildcardTables() { static_cast<void>(initUpperUmlautsCharsTable()); }

void initSeparatorsAndTables() {
  initSeparators();
  initWildcardSeparators();
  initWildcardTables();
}

}  // namespace orvel

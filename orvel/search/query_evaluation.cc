#include "orvel/search/query_evaluation.h"

#include <algorithm>
#include <atomic>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "orvel/search/internal/rare_units.h"
#include "orvel/search/wildcard_find.h"
#include "orvel/text/character_set_builder.h"
#include "orvel/text/conversion_tables.h"
#include "orvel/text/internal/cpu_features.h"

namespace orvel {
namespace {

std::atomic<CharacterSetRep> wordCharactersSetting{nullptr};

bool isWordUnit(CharacterSetRep wordCharacters, unichar c) {
  return isMemberOfCharacterSetRep(wordCharacters, c);
}

bool equalAt(const unichar* text, std::u16string_view word, ConversionTable fold) {
  if (fold == nullptr) return std::equal(word.begin(), word.end(), text);
  for (std::size_t k = 0; k < word.size(); ++k) {
    if (fold[text[k]] != fold[word[k]]) return false;
  }
  return true;
}

// Which units may equal `target` once folded: exactly when there is no folding; with the
// upper-case table, either case of an ASCII letter, and any unit outside ASCII (a few fold
// to ASCII letters: U+0131 to I, U+017F to S), which the caller then tests in full. The
// filter looks at the unit `offset` units after each start position.
struct UnitFilter {
  unichar target;
  bool folded;
  std::size_t offset;

  [[nodiscard]] bool letter() const { return folded && target >= u'A' && target <= u'Z'; }
  [[nodiscard]] short wanted() const {
    return static_cast<short>(letter() ? (target | 0x20) : target);
  }

#if defined(__SSE2__)
  // Two bits per start position of the eight at `units`.
  [[nodiscard]] unsigned mask(const unichar* units) const {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + offset));
    if (!folded) {
      return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(v, _mm_set1_epi16(wanted()))));
    }
    const __m128i caseless = letter() ? _mm_or_si128(v, _mm_set1_epi16(0x20)) : v;
    const __m128i equal = _mm_cmpeq_epi16(caseless, _mm_set1_epi16(wanted()));
    const __m128i ascii = _mm_cmpeq_epi16(
        _mm_and_si128(v, _mm_set1_epi16(static_cast<short>(0xFF80))), _mm_setzero_si128());
    // Outside ASCII: the complement of `ascii`.
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(equal, _mm_andnot_si128(ascii, _mm_set1_epi16(-1)))));
  }
#endif
};

#if defined(__x86_64__)
// The AVX2 form of UnitFilter::mask: two bits per start position of the sixteen at `units`.
__attribute__((target("avx2"))) unsigned maskAvx2(const UnitFilter& filter, const unichar* units) {
  const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(units + filter.offset));
  const __m256i wanted = _mm256_set1_epi16(filter.wanted());
  if (!filter.folded) {
    return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(v, wanted)));
  }
  const __m256i caseless = filter.letter() ? _mm256_or_si256(v, _mm256_set1_epi16(0x20)) : v;
  const __m256i equal = _mm256_cmpeq_epi16(caseless, wanted);
  const __m256i ascii = _mm256_cmpeq_epi16(
      _mm256_and_si256(v, _mm256_set1_epi16(static_cast<short>(0xFF80))), _mm256_setzero_si256());
  return static_cast<unsigned>(_mm256_movemask_epi8(
      _mm256_or_si256(equal, _mm256_andnot_si256(ascii, _mm256_set1_epi16(-1)))));
}

// Sixteen start positions at a time; `from` is left where the narrower loop goes on.
__attribute__((target("avx2"))) std::size_t nextCandidateAvx2(const unichar* units,
                                                              std::size_t& from, std::size_t last,
                                                              const UnitFilter& first,
                                                              const UnitFilter& second) {
  for (; from + 16 <= last + 1; from += 16) {
    const unsigned bits = maskAvx2(first, units + from) & maskAvx2(second, units + from);
    if (bits != 0) return from + static_cast<std::size_t>(__builtin_ctz(bits)) / 2;
  }
  return NSNotFound;
}

const bool kHaveAvx2 = internal::cpuHasAvx2();
#endif

// The first start position from `from` up to `last` where both filters let the word's
// units through, or last + 1: only such positions are compared in full.
std::size_t nextCandidate(const unichar* units, std::size_t from, std::size_t last,
                          const UnitFilter& first, const UnitFilter& second) {
#if defined(__x86_64__)
  if (kHaveAvx2) {
    const std::size_t found = nextCandidateAvx2(units, from, last, first, second);
    if (found != NSNotFound) return found;
  }
#endif
#if defined(__SSE2__)
  for (; from + 8 <= last + 1; from += 8) {
    const unsigned bits = first.mask(units + from) & second.mask(units + from);
    if (bits != 0) return from + static_cast<std::size_t>(__builtin_ctz(bits)) / 2;
  }
#endif
  (void)first, (void)second, (void)units;
  return from;  // the scalar loop tests the rest
}

// Whether a match at [location, location + length) stands as a whole word; the range's own
// edges count as boundaries.
bool isWholeWord(std::u16string_view text, CharacterSetRep wordCharacters, std::size_t rangeStart,
                 std::size_t rangeEnd, std::size_t location, std::size_t length) {
  const std::size_t end = location + length;
  return (location == rangeStart || !isWordUnit(wordCharacters, text[location - 1])) &&
         (end >= rangeEnd || !isWordUnit(wordCharacters, text[end]));
}

// The state of one evaluation: the text, how words are told apart, and how terms compare.
struct Evaluation {
  std::u16string_view text;
  CharacterSetRep wordCharacters;
  unsigned flags;  // compare flags, or the wildcard comparison options
  bool wildcard;
  CharacterSetBitmap separators{};  // wildcard mode: every unit that is no word character
};

Evaluation makeEvaluation(std::u16string_view text, unsigned flags, bool wildcard) {
  initLowerCharsTable();
  initUpperCharsTable();
  Evaluation evaluation{text, queryTermCharacters(), flags, wildcard};
  if (wildcard)
    evaluation.separators = CharacterSetBuilder(evaluation.wordCharacters).invert().build();
  return evaluation;
}

// The next occurrence of a leaf's text in [from, end).
Range findLeaf(const QueryTerms& leaf, const Evaluation& e, std::size_t from, std::size_t end) {
  if (from >= end) return Range::notFound();
  if (e.wildcard) {
    return FindWildcardStringInCharacters(e.text.data(), e.text.size(), Range{from, end - from},
                                          leaf.string(), e.flags, 1, e.separators.data(), false,
                                          true);
  }
  const std::size_t location = FindWordInString(e.text, e.wordCharacters, from, end - from,
                                                leaf.string(), e.flags, !leaf.querySubstring());
  return location == NSNotFound ? Range::notFound() : Range{location, leaf.string().size()};
}

// Walks `words` words backwards from `position` (each: non-word units, then word units).
std::size_t wordsBefore(const Evaluation& e, std::size_t position, std::ptrdiff_t words,
                        std::size_t start) {
  for (std::ptrdiff_t k = 0; k < words && position > start; ++k) {
    while (position > start && !isWordUnit(e.wordCharacters, e.text[position - 1])) --position;
    while (position > start && isWordUnit(e.wordCharacters, e.text[position - 1])) --position;
  }
  return position;
}

// Walks `words` words forwards from `position`.
std::size_t wordsAfter(const Evaluation& e, std::size_t position, std::ptrdiff_t words,
                       std::size_t end) {
  for (std::ptrdiff_t k = 0; k < words && position < end; ++k) {
    while (position < end && !isWordUnit(e.wordCharacters, e.text[position])) ++position;
    while (position < end && isWordUnit(e.wordCharacters, e.text[position])) ++position;
  }
  return position;
}

// Where the previous sibling must occur for an occurrence of the leaf at `found`.
Range proximityWindow(const Evaluation& e, QueryOperator op, std::ptrdiff_t distance, Range found,
                      std::size_t start, std::size_t end) {
  const std::size_t after = found.end();
  const bool fewLeftAfter = static_cast<std::ptrdiff_t>(end - after) <= distance;
  if (op == QueryOperatorAFTER) {
    return Range{found.location,
                 (fewLeftAfter ? end : wordsAfter(e, after, distance, end)) - found.location};
  }
  const bool fewLeftBefore =
      static_cast<std::ptrdiff_t>(found.location) - 1 - static_cast<std::ptrdiff_t>(start) <=
      distance;
  const std::size_t windowStart =
      fewLeftBefore ? start : wordsBefore(e, found.location, distance, start);
  std::size_t windowEnd = after;
  if (op == QueryOperatorNEAR) windowEnd = fewLeftAfter ? end : wordsAfter(e, after, distance, end);
  return Range{windowStart, windowEnd - windowStart};
}

bool evaluate(const QueryTerms& node, const QueryTerms* previous, QueryOperator op,
              std::ptrdiff_t distance, const Evaluation& e, std::size_t start, std::size_t end);

// A leaf joined to its previous sibling by a proximity operator. Positive: the sibling
// occurs in a window around some occurrence. Negated: the sibling occurs outside every
// window (or anywhere, when the leaf does not occur at all).
bool evaluateProximity(const QueryTerms& leaf, const QueryTerms& previous, QueryOperator op,
                       std::ptrdiff_t distance, const Evaluation& e, std::size_t start,
                       std::size_t end) {
  const bool negated = leaf.queryNot();
  auto siblingIn = [&](std::size_t from, std::size_t to) {
    return from < to &&
           evaluate(previous, nullptr, QueryOperatorAND, kDefaultQueryDistance, e, from, to);
  };
  std::size_t gapStart = start;
  for (std::size_t position = start; position < end;) {
    const Range found = findLeaf(leaf, e, position, end);
    if (!found.found()) break;
    const Range window = proximityWindow(e, op, distance, found, start, end);
    if (!negated && siblingIn(window.location, window.end())) return true;
    if (negated && siblingIn(gapStart, window.location)) return true;
    gapStart = std::max(gapStart, window.end());
    position = std::max(found.end(), found.location + 1);
  }
  return negated && siblingIn(gapStart, end);
}

bool evaluateGroup(const QueryTerms& group, const QueryTerms* previous, QueryOperator op,
                   std::ptrdiff_t distance, const Evaluation& e, std::size_t start,
                   std::size_t end) {
  const auto& children = group.children();
  if (children.empty()) return false;
  bool result = evaluate(children[0], previous, op, distance, e, start, end);
  const QueryOperator common = group.commonOperator();
  if (common == QueryOperatorOR) {
    for (std::size_t i = 1; i < children.size() && !result; ++i) {
      result = evaluate(children[i], previous, op, distance, e, start, end);
    }
    return result;
  }
  const bool stopOnNo =
      common == QueryOperatorAND || (common >= QueryOperatorNEAR && common <= QueryOperatorNEXT);
  for (std::size_t i = 1; i < children.size(); ++i) {
    if (stopOnNo && !result) return false;
    const QueryTerms& child = children[i];
    const QueryOperator childOperator = child.queryOperator();
    switch (childOperator) {
      case QueryOperatorAND:
        result = result && evaluate(child, previous, op, distance, e, start, end);
        break;
      case QueryOperatorOR:
        result = evaluate(child, previous, op, distance, e, start, end) || result;
        break;
      case QueryOperatorXOR:
        result = evaluate(child, previous, op, distance, e, start, end) != result;
        break;
      case QueryOperatorNEAR:
      case QueryOperatorBEFORE:
      case QueryOperatorAFTER:
      case QueryOperatorNEXT:
        if (child.proximityDistance() == 0) {
          result = result && evaluate(child, previous, op, distance, e, start, end);
        } else {
          result = result && evaluate(child, &children[i - 1], childOperator,
                                      child.proximityDistance(), e, start, end);
        }
        break;
      default:  // OPT: not evaluated
        break;
    }
  }
  return result;
}

bool evaluate(const QueryTerms& node, const QueryTerms* previous, QueryOperator op,
              std::ptrdiff_t distance, const Evaluation& e, std::size_t start, std::size_t end) {
  if (!node.isWord()) {
    return evaluateGroup(node, previous, op, distance, e, start, end) != node.queryNot();
  }
  if (previous != nullptr) return evaluateProximity(node, *previous, op, distance, e, start, end);
  return findLeaf(node, e, start, end).found() != node.queryNot();
}

// Whether a positive leaf occurs anywhere; the root is entered with its own negation.
bool containsPositiveLeaf(const QueryTerms& node, bool parity, const Evaluation& e) {
  if (node.isWord()) {
    return node.queryNot() == parity && findLeaf(node, e, 0, e.text.size()).found();
  }
  for (const QueryTerms& child : node.children()) {
    if (containsPositiveLeaf(child, node.queryNot() != parity, e)) return true;
  }
  return false;
}

unsigned caseFlags(bool caseSensitive) { return caseSensitive ? 0 : kCompareCaseInsensitive; }

}  // namespace

CharacterSetRep queryTermCharacters() {
  CharacterSetRep set = wordCharactersSetting.load(std::memory_order_acquire);
  return set != nullptr ? set : alphaNumCharacterSetRep();
}

void setQueryTermCharacters(CharacterSetRep wordCharacters) {
  wordCharactersSetting.store(wordCharacters, std::memory_order_release);
}

std::size_t FindCaseSensitiveWordInCharacters(const unichar* text, CharacterSetRep wordCharacters,
                                              const unichar* word, std::size_t wordLength,
                                              std::size_t firstCandidate, std::size_t lastCandidate,
                                              std::size_t rangeEnd, unichar firstUnit,
                                              bool wholeWord) {
  for (std::size_t c = firstCandidate; c <= lastCandidate; ++c) {
    if (text[c] != firstUnit || text[c + 1] != word[1] || text[c + 2] != word[2]) continue;
    if (!std::equal(word + 3, word + wordLength, text + c + 3)) continue;
    if (!wholeWord) return c;
    const bool leftOk = c == firstCandidate || !isWordUnit(wordCharacters, text[c - 1]);
    const bool rightOk =
        c + wordLength >= rangeEnd || !isWordUnit(wordCharacters, text[c + wordLength]);
    if (leftOk && rightOk) return c;
    c += wordLength - 1;  // resume at the end of the rejected match
  }
  return NSNotFound;
}

std::size_t FindWordInString(std::u16string_view text, CharacterSetRep wordCharacters,
                             std::size_t rangeStart, std::size_t rangeLength,
                             std::u16string_view word, unsigned flags, bool wholeWord) {
  if (word.empty() || rangeLength == 0 || rangeStart >= text.size()) return NSNotFound;
  const std::size_t end = std::min(text.size(), rangeStart + std::min(rangeLength, text.size()));
  if (word[0] == u'*') return rangeStart;
  const std::size_t n = word.size();
  if (n > end - rangeStart) return NSNotFound;
  const ConversionTable fold = (flags & kCompareCaseInsensitive) ? initUpperCharsTable() : nullptr;
  const unichar* units = text.data();

  if (!(flags & kCompareBackwards)) {
    if (fold == nullptr && n >= 3) {
      return FindCaseSensitiveWordInCharacters(units, wordCharacters, word.data(), n, rangeStart,
                                               end - n, end, word[0], wholeWord);
    }
    const bool folded = fold != nullptr;
    const internal::RareOffsets rare = internal::rarestOffsets(word, folded);
    const auto filterAt = [&](std::size_t offset) {
      return UnitFilter{folded ? fold[word[offset]] : word[offset], folded, offset};
    };
    const UnitFilter firstUnits = filterAt(rare.first), secondUnits = filterAt(rare.second);
    for (std::size_t p = rangeStart; p + n <= end; ++p) {
      p = nextCandidate(units, p, end - n, firstUnits, secondUnits);
      if (p + n > end) break;
      if (!equalAt(units + p, word, fold)) continue;
      if (!wholeWord || isWholeWord(text, wordCharacters, rangeStart, end, p, n)) return p;
      p += n - 1;  // resume at the end of the rejected match
    }
    return NSNotFound;
  }
  // Backwards: the latest match; after a rejected one the search continues before it.
  for (std::size_t p = end - n + 1; p-- > rangeStart;) {
    if (!equalAt(units + p, word, fold)) continue;
    if (!wholeWord || isWholeWord(text, wordCharacters, rangeStart, end, p, n)) return p;
    if (p < rangeStart + n) return NSNotFound;
    p -= n - 1;
  }
  return NSNotFound;
}

Range FindNonExactPhraseInString(std::u16string_view text, const std::vector<std::u16string>& words,
                                 std::size_t rangeStart, std::size_t rangeLength, unsigned flags,
                                 CharacterSetRep wordCharacters, bool anchored) {
  if (words.empty() || rangeStart >= text.size()) return Range::notFound();
  const std::size_t end = std::min(text.size(), rangeStart + std::min(rangeLength, text.size()));
  const ConversionTable fold = (flags & kCompareCaseInsensitive) ? initUpperCharsTable() : nullptr;
  std::size_t searchStart = rangeStart, searchEnd = end;
  while (searchStart < searchEnd) {
    const std::size_t first = FindWordInString(text, wordCharacters, searchStart,
                                               searchEnd - searchStart, words[0], flags, true);
    if (first == NSNotFound) return Range::notFound();
    std::size_t p = first + words[0].size();
    bool matched = true;
    for (std::size_t k = 1; k < words.size() && matched; ++k) {
      const std::u16string& word = words[k];
      matched = p < end && !isWordUnit(wordCharacters, text[p]);
      while (matched && p < end && !isWordUnit(wordCharacters, text[p])) ++p;
      matched = matched && p + word.size() < end && equalAt(text.data() + p, word, fold) &&
                !(anchored && isWordUnit(wordCharacters, text[p + word.size()]));
      p += word.size();
    }
    if (matched) return Range{first, p - first};
    if (flags & kCompareBackwards) {
      searchEnd = first;
    } else {
      searchStart = first + words[0].size();
    }
  }
  return Range::notFound();
}

bool QueryTerms::matchesString(std::u16string_view text, bool caseSensitive) const {
  if (text.empty()) return false;
  const Evaluation e = makeEvaluation(text, caseFlags(caseSensitive), false);
  return evaluate(*this, nullptr, QueryOperatorAND, kDefaultQueryDistance, e, 0, text.size());
}

bool QueryTerms::matchesString(std::u16string_view text, WildcardComparison comparison) const {
  if (text.empty()) return false;
  const Evaluation e = makeEvaluation(text, comparison.options, true);
  return evaluate(*this, nullptr, QueryOperatorAND, kDefaultQueryDistance, e, 0, text.size());
}

bool QueryTerms::containsString(std::u16string_view text, bool caseSensitive) const {
  if (text.empty()) return false;
  return containsPositiveLeaf(*this, _queryNot,
                              makeEvaluation(text, caseFlags(caseSensitive), false));
}

bool QueryTerms::containsString(std::u16string_view text, WildcardComparison comparison) const {
  if (text.empty()) return false;
  return containsPositiveLeaf(*this, _queryNot, makeEvaluation(text, comparison.options, true));
}

bool matchesQueryTerms(std::u16string_view text, const QueryTerms& tree, bool caseSensitive) {
  return tree.matchesString(text, caseSensitive);
}

bool containsQueryTerms(std::u16string_view text, const QueryTerms& tree, bool caseSensitive) {
  return tree.containsString(text, caseSensitive);
}

Range rangeOfWord(std::u16string_view text, std::u16string_view word, bool caseSensitive) {
  return findNextWord(text, word, Range{0, text.size()}, caseSensitive, true);
}

std::size_t countWord(std::u16string_view text, std::u16string_view word, bool caseSensitive) {
  std::size_t count = 0;
  for (Range found = rangeOfWord(text, word, caseSensitive); found.found();
       found = findNextWord(text, word, Range{found.end(), text.size() - found.end()},
                            caseSensitive, true)) {
    ++count;
    if (found.end() >= text.size()) break;
  }
  return count;
}

Range rangeOfAnyWord(std::u16string_view text, const std::vector<std::u16string>& words,
                     bool caseSensitive) {
  for (const std::u16string& word : words) {
    if (word.size() > text.size()) continue;
    const Range found = rangeOfWord(text, word, caseSensitive);
    if (found.found()) return found;
  }
  return Range::notFound();
}

std::size_t countAnyWord(std::u16string_view text, const std::vector<std::u16string>& words,
                         bool caseSensitive) {
  std::size_t count = 0;
  for (const std::u16string& word : words) count += countWord(text, word, caseSensitive);
  return count;
}

Range findNextWord(std::u16string_view text, std::u16string_view word, Range range,
                   bool caseSensitive, bool anchored) {
  if (word.empty() || range.length == 0 || range.end() > text.size() || text.size() < word.size()) {
    return Range::notFound();
  }
  initLowerCharsTable();
  const std::size_t location =
      FindWordInString(text, queryTermCharacters(), range.location, range.length, word,
                       caseFlags(caseSensitive), anchored);
  return location == NSNotFound ? Range::notFound() : Range{location, word.size()};
}

Range findPreviousWord(std::u16string_view text, std::u16string_view word, Range range,
                       bool caseSensitive, bool anchored) {
  if (word.empty() || range.length == 0 || range.end() > text.size() || text.size() < word.size()) {
    return Range::notFound();
  }
  initLowerCharsTable();
  const std::size_t location =
      FindWordInString(text, queryTermCharacters(), range.location, range.length, word,
                       caseFlags(caseSensitive) | kCompareBackwards, anchored);
  return location == NSNotFound ? Range::notFound() : Range{location, word.size()};
}

}  // namespace orvel

#include "tools/orvel/search_prefilter.h"

#include <algorithm>
#include <cstring>

#include "orvel/base/utf8.h"
#include "orvel/text/conversion_tables.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace orvel::cli {
namespace {

// Whether evaluating the node can only succeed when one of its positive leaves is found.
bool needsPositiveTerm(const QueryTerms& node) {
  if (node.queryNot()) return false;
  if (node.isWord()) return true;
  const auto& children = node.children();
  if (children.empty()) return false;
  const QueryOperator common = node.commonOperator();
  const bool allRequired = common == QueryOperatorAND ||
                           (common >= QueryOperatorNEAR && common <= QueryOperatorNEXT) ||
                           children.size() == 1;
  if (allRequired) return std::any_of(children.begin(), children.end(), needsPositiveTerm);
  return std::all_of(children.begin(), children.end(), [](const QueryTerms& child) {
    return child.queryOperator() == QueryOperatorOPT || needsPositiveTerm(child);
  });
}

bool isAsciiTerm(const std::u16string& term) {
  return !term.empty() && term[0] != u'*' &&
         std::all_of(term.begin(), term.end(), [](char16_t c) { return c > 0 && c < 0x80; });
}

char lowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalAt(const char* text, std::string_view needle, bool ignoreCase) {
  if (!ignoreCase) return std::memcmp(text, needle.data(), needle.size()) == 0;
  for (std::size_t k = 0; k < needle.size(); ++k) {
    if (lowerAscii(text[k]) != needle[k]) return false;
  }
  return true;
}

}  // namespace

bool containsBytes(std::string_view haystack, std::string_view needle, bool ignoreAsciiCase) {
  const std::size_t n = needle.size();
  if (n == 0) return true;
  if (n > haystack.size()) return false;
  const char* text = haystack.data();
  const std::size_t last = haystack.size() - n;  // the last start position
  std::size_t start = 0;
#if defined(__SSE2__)
  // Candidates are positions whose first and last bytes fit (a letter either case), tested
  // sixteen at a time; only they are compared in full.
  auto bytesLike = [ignoreAsciiCase](char c, __m128i block) {
    const bool letter = ignoreAsciiCase && c >= 'a' && c <= 'z';
    const __m128i folded = letter ? _mm_or_si128(block, _mm_set1_epi8(0x20)) : block;
    return _mm_cmpeq_epi8(folded, _mm_set1_epi8(c));
  };
  for (; start + 16 <= last + 1; start += 16) {
    const __m128i firstBytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + start));
    const __m128i lastBytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + start + n - 1));
    auto mask = static_cast<unsigned>(_mm_movemask_epi8(
        _mm_and_si128(bytesLike(needle[0], firstBytes), bytesLike(needle[n - 1], lastBytes))));
    for (; mask != 0; mask &= mask - 1) {
      if (equalAt(text + start + static_cast<std::size_t>(__builtin_ctz(mask)), needle,
                  ignoreAsciiCase)) {
        return true;
      }
    }
  }
#endif
  for (; start <= last; ++start) {
    if (equalAt(text + start, needle, ignoreAsciiCase)) return true;
  }
  return false;
}

SearchPrefilter::SearchPrefilter(const QueryTerms& tree, bool caseSensitive, bool wildcard)
    : _caseSensitive(caseSensitive) {
  if (wildcard || !needsPositiveTerm(tree)) return;
  const std::vector<std::u16string> terms = tree.plusParts();
  if (terms.empty() || !std::all_of(terms.begin(), terms.end(), isAsciiTerm)) return;
  for (const std::u16string& term : terms) {
    std::string bytes(term.begin(), term.end());
    if (!caseSensitive) std::transform(bytes.begin(), bytes.end(), bytes.begin(), lowerAscii);
    _terms.push_back(std::move(bytes));
  }
  if (!caseSensitive) {
    ConversionTable upper = initUpperCharsTable();
    for (std::uint32_t unit = 0x80; unit < 0x10000; ++unit) {
      if (unit >= 0xD800 && unit < 0xE000) continue;
      if (upper[unit] < 0x80)
        _foldingToAscii.push_back(utf16ToUtf8(std::u16string(1, static_cast<char16_t>(unit))));
    }
  }
  _active = true;
}

bool SearchPrefilter::mayMatch(std::string_view bytes) const {
  if (!_active) return true;
  for (const std::string& term : _terms) {
    if (containsBytes(bytes, term, !_caseSensitive)) return true;
  }
  const bool ascii = std::all_of(bytes.begin(), bytes.end(),
                                 [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  return !ascii && std::any_of(_foldingToAscii.begin(), _foldingToAscii.end(),
                               [bytes](const std::string& unit) {
                                 return containsBytes(bytes, unit, false);
                               });
}

}  // namespace orvel::cli

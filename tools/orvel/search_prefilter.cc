#include "tools/orvel/search_prefilter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "orvel/base/utf8.h"
#include "orvel/search/internal/rare_units.h"
#include "orvel/search/query_evaluation.h"
#include "orvel/text/conversion_tables.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
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

// The texts of the leaves every match needs: positive leaves reached from the root through
// positive groups whose children must all hold (AND, or a proximity operator).
void collectRequiredLeaves(const QueryTerms& node, std::vector<std::u16string>& required) {
  if (node.queryNot()) return;
  if (node.isWord()) {
    required.push_back(node.string());
    return;
  }
  const QueryOperator common = node.commonOperator();
  const bool allRequired = common == QueryOperatorAND ||
                           (common >= QueryOperatorNEAR && common <= QueryOperatorNEXT) ||
                           node.children().size() == 1;
  if (!allRequired) return;
  for (const QueryTerms& child : node.children()) {
    if (child.queryOperator() != QueryOperatorOPT) collectRequiredLeaves(child, required);
  }
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

// The longest run of `text` holding none of `letters`.
std::string longestPartWithout(const std::string& text, const std::string& letters) {
  std::string longest;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find_first_of(letters, start);
    if (end == std::string::npos) end = text.size();
    if (end - start > longest.size()) longest = text.substr(start, end - start);
    start = end + 1;
  }
  return longest;
}

#if defined(__x86_64__)
// The candidates among the 32 start positions from `start`: bit k set when the needle's
// two rarest bytes are where a match at start + k would have them.
struct CandidateMasks {
  __m256i firstFold, secondFold, firstWanted, secondWanted;
  std::size_t firstOffset, secondOffset;

  __attribute__((target("avx2"), always_inline)) unsigned at(const char* text,
                                                             std::size_t start) const {
    const __m256i firstBytes = _mm256_or_si256(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + start + firstOffset)),
        firstFold);
    const __m256i secondBytes = _mm256_or_si256(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + start + secondOffset)),
        secondFold);
    return static_cast<unsigned>(_mm256_movemask_epi8(_mm256_and_si256(
        _mm256_cmpeq_epi8(firstBytes, firstWanted), _mm256_cmpeq_epi8(secondBytes, secondWanted))));
  }
};

// The AVX2 form of the candidate scan in findBytes, 64 and then 32 start positions at a
// time: the first match, or npos with `start` moved to where the narrower loops go on.
__attribute__((target("avx2"))) std::size_t findBytesAvx2(const char* text, std::size_t& start,
                                                          std::size_t last, std::string_view needle,
                                                          internal::RareOffsets rare,
                                                          bool ignoreAsciiCase) {
  // A letter compared without case: both cases OR 0x20 to the lower one.
  const auto foldBit = [ignoreAsciiCase](char c) {
    return static_cast<char>(ignoreAsciiCase && c >= 'a' && c <= 'z' ? 0x20 : 0);
  };
  const char firstByte = needle[rare.first], secondByte = needle[rare.second];
  const CandidateMasks candidates{_mm256_set1_epi8(foldBit(firstByte)),
                                  _mm256_set1_epi8(foldBit(secondByte)),
                                  _mm256_set1_epi8(firstByte),
                                  _mm256_set1_epi8(secondByte),
                                  rare.first,
                                  rare.second};
  const auto firstMatch = [&](std::uint64_t mask, std::size_t from) {
    for (; mask != 0; mask &= mask - 1) {
      const std::size_t at = from + static_cast<std::size_t>(__builtin_ctzll(mask));
      if (equalAt(text + at, needle, ignoreAsciiCase)) return at;
    }
    return std::string_view::npos;
  };
  for (; start + 64 <= last + 1; start += 64) {
    const std::uint64_t mask =
        candidates.at(text, start) | (std::uint64_t{candidates.at(text, start + 32)} << 32);
    if (mask == 0) continue;
    if (const std::size_t found = firstMatch(mask, start); found != std::string_view::npos) {
      return found;
    }
  }
  for (; start + 32 <= last + 1; start += 32) {
    if (const std::size_t found = firstMatch(candidates.at(text, start), start);
        found != std::string_view::npos) {
      return found;
    }
  }
  return std::string_view::npos;
}

const bool kHaveAvx2 = __builtin_cpu_supports("avx2");
#endif

}  // namespace

std::size_t findBytes(std::string_view haystack, std::string_view needle, bool ignoreAsciiCase,
                      std::size_t from) {
  const std::size_t n = needle.size();
  if (from > haystack.size()) return std::string_view::npos;
  if (n == 0) return from;
  if (n > haystack.size() - from) return std::string_view::npos;
  const char* text = haystack.data();
  const std::size_t last = haystack.size() - n;  // the last start position
  std::size_t start = from;
  const internal::RareOffsets rare = internal::rarestOffsets(needle);
#if defined(__x86_64__)
  if (kHaveAvx2) {
    const std::size_t found = findBytesAvx2(text, start, last, needle, rare, ignoreAsciiCase);
    if (found != std::string_view::npos) return found;
  }
#endif
#if defined(__SSE2__)
  // Candidates are positions whose two rarest bytes fit (a letter either case), tested
  // sixteen at a time; only they are compared in full.
  auto bytesLike = [ignoreAsciiCase](char c, __m128i block) {
    const bool letter = ignoreAsciiCase && c >= 'a' && c <= 'z';
    const __m128i folded = letter ? _mm_or_si128(block, _mm_set1_epi8(0x20)) : block;
    return _mm_cmpeq_epi8(folded, _mm_set1_epi8(c));
  };
  for (; start + 16 <= last + 1; start += 16) {
    const __m128i firstBytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + start + rare.first));
    const __m128i secondBytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + start + rare.second));
    auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(
        bytesLike(needle[rare.first], firstBytes), bytesLike(needle[rare.second], secondBytes))));
    for (; mask != 0; mask &= mask - 1) {
      const std::size_t at = start + static_cast<std::size_t>(__builtin_ctz(mask));
      if (equalAt(text + at, needle, ignoreAsciiCase)) return at;
    }
  }
#endif
  for (; start <= last; ++start) {
    if (equalAt(text + start, needle, ignoreAsciiCase)) return start;
  }
  return std::string_view::npos;
}

bool containsBytes(std::string_view haystack, std::string_view needle, bool ignoreAsciiCase) {
  return findBytes(haystack, needle, ignoreAsciiCase) != std::string_view::npos;
}

std::size_t safePrefixEnd(std::string_view bytes) {
  CharacterSetRep words = queryTermCharacters();
  auto separates = [words](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && byte != 0 && !isMemberOfCharacterSetRep(words, byte);
  };
  for (std::size_t end = bytes.size() < 2 ? 0 : bytes.size() - 1; end > 0; --end) {
    if (separates(bytes[end - 1]) && separates(bytes[end])) return end;
  }
  return 0;
}

bool isMonotoneQuery(const QueryTerms& node) {
  if (node.queryNot() || node.queryOperator() == QueryOperatorXOR) return false;
  return std::all_of(node.children().begin(), node.children().end(), isMonotoneQuery);
}

SearchPrefilter::SearchPrefilter(const QueryTerms& tree, bool caseSensitive, bool wildcard)
    : _caseSensitive(caseSensitive) {
  if (wildcard || !needsPositiveTerm(tree)) return;
  const std::vector<std::u16string> terms = tree.plusParts();
  if (terms.empty() || !std::all_of(terms.begin(), terms.end(), isAsciiTerm)) return;
  ConversionTable upper = initUpperCharsTable();
  for (const std::u16string& text : terms) {
    Term term{std::string(text.begin(), text.end()), {}, {}};
    if (!caseSensitive) {
      std::transform(term.bytes.begin(), term.bytes.end(), term.bytes.begin(), lowerAscii);
      // Units such as U+0131 (dotless i) fold to an ASCII letter of the term.
      std::string lettersWithLookalikes;
      for (std::uint32_t unit = 0x80; unit < 0x10000; ++unit) {
        if (unit >= 0xD800 && unit < 0xE000) continue;
        const unichar folded = upper[unit];
        const char letter = lowerAscii(static_cast<char>(folded));
        if (folded < 0x80 && term.bytes.find(letter) != std::string::npos) {
          term.lookalikes.push_back(utf16ToUtf8(std::u16string(1, static_cast<char16_t>(unit))));
          lettersWithLookalikes += letter;
        }
      }
      term.anchor = longestPartWithout(term.bytes, lettersWithLookalikes);
    }
    _terms.push_back(std::move(term));
  }
  // Leaves every match needs, found among the positive parts (the same text, folded alike).
  std::vector<std::u16string> required;
  collectRequiredLeaves(tree, required);
  for (std::size_t k = 0; k < terms.size(); ++k) {
    if (std::find(required.begin(), required.end(), terms[k]) != required.end()) {
      _required.push_back(k);
    }
  }
  _active = true;
  _decision = decisionOf(tree, terms);
}

std::optional<SearchPrefilter::Decision> SearchPrefilter::decisionOf(
    const QueryTerms& node, const std::vector<std::u16string>& terms) {
  if (node.queryNot()) return std::nullopt;
  if (node.isWord()) {
    const std::u16string& word = node.string();
    const bool plain =
        !node.querySubstring() && !node.queryPhrase() && !word.empty() &&
        std::all_of(word.begin(), word.end(), [](char16_t c) {
          return (c >= u'0' && c <= u'9') || ((c | 0x20) >= u'a' && (c | 0x20) <= u'z');
        });
    const auto found = std::find(terms.begin(), terms.end(), word);
    if (!plain || found == terms.end()) return std::nullopt;
    return Decision{Decision::Kind::kWord, static_cast<std::size_t>(found - terms.begin()), {}};
  }
  const auto& children = node.children();
  if (children.size() == 1) return decisionOf(children.front(), terms);
  const QueryOperator common = node.commonOperator();
  if (children.empty() || (common != QueryOperatorAND && common != QueryOperatorOR)) {
    return std::nullopt;
  }
  Decision group{common == QueryOperatorAND ? Decision::Kind::kAll : Decision::Kind::kAny, 0, {}};
  for (const QueryTerms& child : children) {
    auto decision = decisionOf(child, terms);
    if (!decision) return std::nullopt;
    group.children.push_back(std::move(*decision));
  }
  return group;
}

ByteAnswer SearchPrefilter::decide(std::string_view bytes, bool whole) const {
  return combine(*_decision, bytes, whole);
}

ByteAnswer SearchPrefilter::combine(const Decision& node, std::string_view bytes,
                                    bool whole) const {
  if (node.kind == Decision::Kind::kWord) return wordAnswer(_terms[node.term], bytes, whole);
  // All of: no when one is no, yes when all are; any of: yes when one is, no when all are no.
  const ByteAnswer settles = node.kind == Decision::Kind::kAll ? ByteAnswer::kNo : ByteAnswer::kYes;
  bool unknown = false;
  for (const Decision& child : node.children) {
    const ByteAnswer answer = combine(child, bytes, whole);
    if (answer == settles) return settles;
    unknown = unknown || answer == ByteAnswer::kUnknown;
  }
  if (unknown) return ByteAnswer::kUnknown;
  return settles == ByteAnswer::kNo ? ByteAnswer::kYes : ByteAnswer::kNo;
}

ByteAnswer SearchPrefilter::wordAnswer(const Term& term, std::string_view bytes, bool whole) const {
  const CharacterSetRep words = queryTermCharacters();
  // A neighbour: no word unit (true), a word unit (false), or not known from here.
  enum class Side { kApart, kJoined, kUnknown };
  auto side = [&](std::size_t at) {
    if (at >= bytes.size()) return whole ? Side::kApart : Side::kUnknown;
    const auto byte = static_cast<unsigned char>(bytes[at]);
    if (byte >= 0x80) return Side::kUnknown;
    return isMemberOfCharacterSetRep(words, byte) ? Side::kJoined : Side::kApart;
  };
  bool unknown = false;
  for (std::size_t at = findBytes(bytes, term.bytes, !_caseSensitive); at != std::string_view::npos;
       at = findBytes(bytes, term.bytes, !_caseSensitive, at + 1)) {
    const Side before = at == 0 ? Side::kApart : side(at - 1);
    const Side after = side(at + term.bytes.size());
    if (before == Side::kApart && after == Side::kApart) return ByteAnswer::kYes;
    unknown = unknown || (before != Side::kJoined && after != Side::kJoined);
  }
  const bool lookalike =
      std::any_of(term.lookalikes.begin(), term.lookalikes.end(),
                  [bytes](const std::string& unit) { return containsBytes(bytes, unit, false); });
  return unknown || lookalike || !whole ? ByteAnswer::kUnknown : ByteAnswer::kNo;
}

bool SearchPrefilter::mayOccur(const Term& term, std::string_view bytes) const {
  if (containsBytes(bytes, term.bytes, !_caseSensitive)) return true;
  const bool lookalike =
      std::any_of(term.lookalikes.begin(), term.lookalikes.end(),
                  [bytes](const std::string& unit) { return containsBytes(bytes, unit, false); });
  return lookalike && (term.anchor.empty() || containsBytes(bytes, term.anchor, true));
}

bool SearchPrefilter::mayMatch(std::string_view bytes) const {
  if (!_active) return true;
  if (!std::all_of(_required.begin(), _required.end(),
                   [&](std::size_t k) { return mayOccur(_terms[k], bytes); })) {
    return false;
  }
  return !_required.empty() || std::any_of(_terms.begin(), _terms.end(),
                                           [&](const Term& term) { return mayOccur(term, bytes); });
}

}  // namespace orvel::cli

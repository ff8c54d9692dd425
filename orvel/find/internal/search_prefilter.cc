#include "orvel/find/internal/search_prefilter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "orvel/base/utf8.h"
#include "orvel/search/internal/byte_forms.h"
#include "orvel/search/internal/byte_search.h"
#include "orvel/search/query_evaluation.h"
#include "orvel/text/conversion_tables.h"

namespace orvel::internal {
namespace {

using internal::containsBytes;
using internal::findBytes;

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

// A term the filter can look for: not a wildcard. Its byte forms tell the rest.
bool isLiteralTerm(const std::u16string& term) { return !term.empty() && term[0] != u'*'; }

char lowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

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

}  // namespace

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
  if (terms.empty() || !std::all_of(terms.begin(), terms.end(), isLiteralTerm)) return;
  ConversionTable upper = initUpperCharsTable();
  for (const std::u16string& text : terms) {
    std::vector<std::string> forms = byteFormsOf(text, caseSensitive);
    if (forms.empty()) return;
    Term term{forms.front(), {}, {}, ByteFormsFinder(std::move(forms), !caseSensitive)};
    if (!caseSensitive) {
      // Units such as U+0131 (dotless i) fold to an ASCII letter of the term; the anchor
      // holds neither those letters nor any byte outside ASCII, which differs among forms.
      std::string lettersWithLookalikes = "\x80";
      for (std::uint32_t unit = 0x80; unit < 0x10000; ++unit) {
        if (unit >= 0xD800 && unit < 0xE000) continue;
        const unichar folded = upper[unit];
        const char letter = lowerAscii(static_cast<char>(folded));
        if (folded < 0x80 && term.bytes.find(letter) != std::string::npos) {
          term.lookalikes.push_back(utf16ToUtf8(std::u16string(1, static_cast<char16_t>(unit))));
          lettersWithLookalikes += letter;
        }
      }
      std::string asciiBytes = term.bytes;
      for (char& c : asciiBytes) c = static_cast<unsigned char>(c) >= 0x80 ? '\x80' : c;
      term.anchor = longestPartWithout(asciiBytes, lettersWithLookalikes);
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
  if (unknown || !whole) return ByteAnswer::kUnknown;
  return holdsLookalike(term, bytes) ? ByteAnswer::kUnknown : ByteAnswer::kNo;
}

bool SearchPrefilter::holdsLookalike(const Term& term, std::string_view bytes) {
  // Lookalikes are outside ASCII: plain ASCII, told faster than any of them is looked for,
  // holds none.
  return !term.lookalikes.empty() && !internal::isPlainAscii(bytes) &&
         std::any_of(
             term.lookalikes.begin(), term.lookalikes.end(),
             [bytes](const std::string& unit) { return containsBytes(bytes, unit, false); });
}

bool SearchPrefilter::mayOccur(const Term& term, std::string_view bytes) const {
  if (term.forms.containedIn(bytes)) return true;
  return holdsLookalike(term, bytes) &&
         (term.anchor.empty() || containsBytes(bytes, term.anchor, true));
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

}  // namespace orvel::internal

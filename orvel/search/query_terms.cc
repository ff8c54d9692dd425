// The tree's own operations: building nodes, the minimum term length and the walks over
// the positive terms.
#include "orvel/search/query_terms.h"

#include <algorithm>

#include "orvel/search/wildcard_extensions.h"

namespace orvel {

QueryTerms QueryTerms::makeLeaf(std::u16string word, QueryOperator queryOperator, bool queryNot,
                                bool querySubstring, bool queryPhrase, std::ptrdiff_t distance) {
  QueryTerms leaf;
  leaf._string = std::move(word);
  leaf._queryOperator = queryOperator;
  leaf._queryNot = queryNot;
  leaf._querySubstr = querySubstring;
  leaf._queryPhrase = queryPhrase;
  leaf._proximityDistance = distance;
  leaf._isWord = true;
  return leaf;
}

// The common operator is that of the second child, as long as every later child agrees;
// the first child's operator never counts.
void QueryTerms::addChild(QueryTerms child) {
  if (_children.empty()) {
    _children.reserve(8);
    _commonOperator = QueryOperatorNone;
  } else if (_children.size() == 1) {
    _commonOperator = child._queryOperator;
  } else if (_commonOperator != child._queryOperator) {
    _commonOperator = QueryOperatorNone;
  }
  _children.push_back(std::move(child));
}

// Visits the leaves whose negation equals the parity they are reached with (so a negated
// leaf inside a negated group is positive) and whose substring flag the mask admits.
template <typename Visit>
void QueryTerms::visitPositiveLeaves(bool parity, unsigned mask, Visit visit) const {
  if (_isWord) {
    const unsigned kind = _querySubstr ? 2 : 1;
    if (_queryNot == parity && (mask & kind) != 0) visit(*this);
    return;
  }
  for (const QueryTerms& child : _children) {
    child.visitPositiveLeaves(_queryNot != parity, mask, visit);
  }
}

std::size_t QueryTerms::minTermLen() const {
  std::size_t shortest = NSIntegerMax;
  // Entered with parity 0: a negated root makes its children count as negated.
  visitPositiveLeaves(false, 3, [&](const QueryTerms& leaf) {
    shortest = std::min(shortest, leaf._string.size());
  });
  return shortest == static_cast<std::size_t>(NSIntegerMax) ? 0 : shortest;
}

// The positive-term walks enter the root with its own negation, which so cancels itself.
std::u16string QueryTerms::plusString(unsigned mask) const {
  std::u16string text;
  visitPositiveLeaves(_queryNot, mask, [&](const QueryTerms& leaf) {
    if (!text.empty()) text += u' ';
    text += leaf._string;
  });
  return text;
}

std::vector<std::u16string> QueryTerms::plusParts(unsigned mask) const {
  std::vector<std::u16string> parts;
  visitPositiveLeaves(_queryNot, mask,
                      [&](const QueryTerms& leaf) { parts.push_back(leaf._string); });
  return parts;
}

std::vector<const QueryTerms*> QueryTerms::plusTerms(unsigned mask) const {
  std::vector<const QueryTerms*> terms;
  visitPositiveLeaves(_queryNot, mask, [&](const QueryTerms& leaf) { terms.push_back(&leaf); });
  return terms;
}

std::vector<std::u16string> QueryTerms::plusWords(unsigned mask) const {
  std::vector<std::u16string> words;
  visitPositiveLeaves(_queryNot, mask, [&](const QueryTerms& leaf) {
    for (std::u16string& word : wordsUsingWildcardSeparation(leaf._string)) {
      words.push_back(std::move(word));
    }
  });
  return words;
}

std::u16string plusString(std::u16string_view query, unsigned mask) {
  return QueryTerms(query).plusString(mask);
}

std::vector<std::u16string> plusParts(std::u16string_view query, unsigned mask) {
  return QueryTerms(query).plusParts(mask);
}

std::vector<QueryTerms> plusTerms(std::u16string_view query, unsigned mask) {
  const QueryTerms tree(query);
  std::vector<QueryTerms> terms;
  for (const QueryTerms* leaf : tree.plusTerms(mask)) terms.push_back(*leaf);
  return terms;
}

std::vector<std::u16string> plusWords(std::u16string_view query, unsigned mask) {
  return QueryTerms(query).plusWords(mask);
}

std::u16string standardizedQueryTerm(std::u16string_view query) {
  return QueryTerms(query).standardizedQueryTerm();
}

std::u16string normalizedQueryTerm(std::u16string_view query) {
  return QueryTerms(query).normalizedQueryTerm();
}

std::vector<std::u16string> queryTermsForOperators(std::u16string_view query, std::uint32_t format,
                                                   const QueryOperatorWords* words) {
  return QueryTerms(query).queryTermsForOperators(format, words);
}

}  // namespace orvel

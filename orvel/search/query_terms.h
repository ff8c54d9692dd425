// QueryTerms: a search query as a tree of terms, parsed with a forgiving grammar and
// written back as query text.
//
// Grammar (there are no syntax errors; every input gives a tree, maybe empty):
//   terms         words and "quoted phrases" (any of U+0022, U+201C..U+201F opens and
//                 closes); unknown characters are word characters
//   operators     AND BUT & (or nothing: the default), OR |, XOR EOR ^, NEAR, NEAR/n,
//                 BEFORE[/n], AFTER[/n], NEXT[/n], OPT; keywords in any letter case
//   negation      NOT (toggles), ! (anywhere), and + / - at the start of a term (set)
//   substring     ~ before a term: match inside words
//   groups        ( ... ), closed at the end of the query when unbalanced; a group of one
//                 term is replaced by that term. Groups nest at most kMaxQueryGroupDepth
//                 deep: deeper "(" and ")" only separate terms, as white space does, so
//                 that no query text makes a tree deep enough to exhaust the stack of a
//                 walk over it (parsing, writing, evaluation and the term collectors all
//                 recurse once per level).
//   brackets      [ ... ] is dropped from a query, but kept inside the term in wildcard
//                 mode (a bracket set of a pattern)
// Operators join a term to the one before it; there is no precedence. Pending operator,
// distance, negation and substring flag are reset after every term.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/types.h"
#include "orvel/search/wildcard.h"

namespace orvel {

enum QueryOperator : std::size_t {
  QueryOperatorAND = 0,
  QueryOperatorOR = 1,
  QueryOperatorXOR = 2,
  QueryOperatorNEAR = 3,
  QueryOperatorBEFORE = 4,
  QueryOperatorAFTER = 5,
  QueryOperatorNEXT = 6,
  QueryOperatorOPT = 7,
  QueryOperatorNone = 8,  // only as a group's common operator
};

// Bits of a format set for writing a tree as query text.
enum QueryTermFormat : std::uint32_t {
  QueryFormatAndWord = 0x00001,      // with NotWord: AND spelled out
  QueryFormatOrWord = 0x00002,       // OR spelled out (unless Plus)
  QueryFormatXorWord = 0x00004,      // XOR spelled out (else written as OR)
  QueryFormatNegated = 0x00008,      // negated children written (else left out)
  QueryFormatQuotes = 0x00010,       // phrases in double quotes
  QueryFormatParentheses = 0x00020,  // nested groups of two or more in ( )
  QueryFormatNear = 0x00040,         // NEAR/n
  QueryFormatAfter = 0x00080,        // AFTER/n
  QueryFormatBefore = 0x00100,       // BEFORE/n
  QueryFormatTilde = 0x00200,        // "~" before substring terms
  QueryFormatNext = 0x00400,         // NEXT for distance 1
  QueryFormatAndNot = 0x00800,       // negation as "ANDNOT "
  QueryFormatLowercase = 0x01000,    // terms lower-cased
  QueryFormatUppercase = 0x02000,    // terms upper-cased (wins over lower)
  QueryFormatPlus = 0x04000,         // AND-joined positive terms marked "+"
  QueryFormatNotWord = 0x08000,      // negation as "NOT "
  QueryFormatBar = 0x10000,          // OR as "|" without blanks
  QueryFormatOpt = 0x20000,          // OPT children written (else left out)
};

// AND as a blank, negation as "-", proximity as AND, no "~".
inline constexpr std::uint32_t kStandardizedQueryFormat = 0x2003F;
// Lower-cased terms, "|" for OR, BEFORE/1 for NEXT, "-" negation, "~" kept.
inline constexpr std::uint32_t kNormalizedQueryFormat = 0x313FF;
// Everything spelled out: NOT a, a AND b, a NEXT b.
inline constexpr std::uint32_t kDescriptionQueryFormat = 0x287FF;

// Operator words by their default spelling ("ANDNOT", "NOT", "-", "AND", "OR", "|", "XOR",
// "NEAR", "BEFORE", "AFTER", "NEXT", "OPT"); a missing entry is written as its key.
using QueryOperatorWords = std::map<std::u16string, std::u16string, std::less<>>;

inline constexpr QueryOperator kDefaultQueryOperator = QueryOperatorAND;
// The deepest nesting of groups a parsed tree can have.
inline constexpr std::size_t kMaxQueryGroupDepth = 64;
inline constexpr std::ptrdiff_t kDefaultQueryDistance = 10;

class QueryTerms {
 public:
  // Parses a query (default operator AND, default distance 10).
  explicit QueryTerms(std::u16string_view query);
  QueryTerms(std::u16string_view query, QueryOperator defaultOperator,
             std::ptrdiff_t defaultDistance);
  // The same for a query whose terms are wildcard patterns: bracket sets stay in their
  // terms, "]" is a word character, and "~term" becomes the pattern "*term*".
  [[nodiscard]] static QueryTerms withWildcard(
      std::u16string_view query, QueryOperator defaultOperator = kDefaultQueryOperator,
      std::ptrdiff_t defaultDistance = kDefaultQueryDistance);
  // Nullopt for a missing query.
  [[nodiscard]] static std::optional<QueryTerms> queryTermsWithString(
      std::optional<std::u16string_view> query,
      QueryOperator defaultOperator = kDefaultQueryOperator,
      std::ptrdiff_t defaultDistance = kDefaultQueryDistance);

  // A leaf holds a word or phrase, a group its children in query order.
  [[nodiscard]] bool isWord() const { return _isWord; }
  [[nodiscard]] const std::u16string& string() const { return _string; }
  [[nodiscard]] const std::vector<QueryTerms>& children() const { return _children; }

  // How this node joins its previous sibling (meaningless for a first child).
  [[nodiscard]] QueryOperator queryOperator() const { return _queryOperator; }
  // A group's operator shared by all children after the first, else QueryOperatorNone.
  [[nodiscard]] QueryOperator commonOperator() const { return _commonOperator; }
  [[nodiscard]] std::ptrdiff_t proximityDistance() const { return _proximityDistance; }
  [[nodiscard]] bool queryNot() const { return _queryNot; }
  [[nodiscard]] bool querySubstring() const { return _querySubstr; }
  [[nodiscard]] bool queryPhrase() const { return _queryPhrase; }
  // A leaf, or a group with at least one child.
  [[nodiscard]] bool isValid() const { return _isWord || !_children.empty(); }

  // The length of the shortest positive term (double negation is positive), 0 if none.
  [[nodiscard]] std::size_t minTermLen() const;

  // The positive terms (mask 1: whole-word terms, 2: substring terms, 3: both), in tree
  // order: their texts joined by blanks, their texts, the leaves themselves (valid while
  // this tree lives), and the words of their texts split at the wildcard separators.
  [[nodiscard]] std::u16string plusString(unsigned mask = 3) const;
  [[nodiscard]] std::vector<std::u16string> plusParts(unsigned mask = 3) const;
  [[nodiscard]] std::vector<const QueryTerms*> plusTerms(unsigned mask = 3) const;
  [[nodiscard]] std::vector<std::u16string> plusWords(unsigned mask = 3) const;

  // Whether the text satisfies the tree: operators evaluated left to right without
  // precedence, OR short-cut when all children are ORed, proximity operators measured in
  // words (see query_evaluation.h). An empty text never matches.
  [[nodiscard]] bool matchesString(std::u16string_view text, bool caseSensitive) const;
  // With wildcard patterns as terms, compared in a wildcard comparison mode.
  [[nodiscard]] bool matchesString(std::u16string_view text, WildcardComparison comparison) const;
  // Whether any positive term occurs in the text, operators ignored.
  [[nodiscard]] bool containsString(std::u16string_view text, bool caseSensitive) const;
  [[nodiscard]] bool containsString(std::u16string_view text, WildcardComparison comparison) const;

  // The search strings of the positive terms, for highlighting: each term's words joined
  // by blanks (and, for a hyphenated term such as «e-mail», also joined without), plus the
  // raw texts; shortest first. Nullopt for a tree that is not valid.
  [[nodiscard]] std::optional<std::vector<std::u16string>> plusWildcards() const;
  // The same without the raw texts, plus the pairs of neighbouring terms joined by AND or
  // a proximity operator («red NEAR car» gives «red», «car» and «red car»).
  [[nodiscard]] std::vector<std::u16string> extendedPlusWildcards() const;

  // The tree as query text in a format set, operator words from the dictionary.
  [[nodiscard]] std::u16string queryText(std::uint32_t format,
                                         const QueryOperatorWords* words = nullptr) const;
  // The same in the shape of the string extension: an array holding that one text.
  [[nodiscard]] std::vector<std::u16string> queryTermsForOperators(
      std::uint32_t format, const QueryOperatorWords* words = nullptr) const {
    return {queryText(format, words)};
  }
  [[nodiscard]] std::u16string standardizedQueryTerm() const {
    return queryText(kStandardizedQueryFormat);
  }
  [[nodiscard]] std::u16string normalizedQueryTerm() const {
    return queryText(kNormalizedQueryFormat);
  }
  [[nodiscard]] std::u16string description() const { return queryText(kDescriptionQueryFormat); }

 private:
  class Parser;
  class Writer;

  QueryTerms() = default;
  static QueryTerms makeLeaf(std::u16string word, QueryOperator queryOperator, bool queryNot,
                             bool querySubstring, bool queryPhrase, std::ptrdiff_t distance);
  void addChild(QueryTerms child);

  template <typename Visit>
  void visitPositiveLeaves(bool parity, unsigned mask, Visit visit) const;

  std::u16string _string;             // leaf: the word or phrase
  std::vector<QueryTerms> _children;  // group: the children
  QueryOperator _queryOperator = QueryOperatorAND;
  QueryOperator _commonOperator = QueryOperatorNone;
  std::ptrdiff_t _proximityDistance = kDefaultQueryDistance;
  bool _queryNot = false;
  bool _querySubstr = false;
  bool _queryPhrase = false;
  bool _isWord = false;
};

// The string conveniences: parse the query (defaults AND and 10) and ask the tree.
[[nodiscard]] std::u16string plusString(std::u16string_view query, unsigned mask = 3);
[[nodiscard]] std::vector<std::u16string> plusParts(std::u16string_view query, unsigned mask = 3);
[[nodiscard]] std::vector<QueryTerms> plusTerms(std::u16string_view query, unsigned mask = 3);
[[nodiscard]] std::vector<std::u16string> plusWords(std::u16string_view query, unsigned mask = 3);
[[nodiscard]] std::u16string standardizedQueryTerm(std::u16string_view query);
[[nodiscard]] std::u16string normalizedQueryTerm(std::u16string_view query);
[[nodiscard]] std::vector<std::u16string> queryTermsForOperators(
    std::u16string_view query, std::uint32_t format, const QueryOperatorWords* words = nullptr);

}  // namespace orvel

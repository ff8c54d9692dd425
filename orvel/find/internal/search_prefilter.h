// A byte-level test that lets the search skip a file before decoding it: when every match
// of the query needs one of its positive terms to occur, a file holding none of them (as
// bytes, ASCII case folded as the search folds it) cannot match; nor can one that lacks a
// term that every match needs (one joined to the rest by AND or a proximity operator).
//
// It tests for queries whose positive terms are words or phrases (a letter outside ASCII
// looked for as every character that folds as it does), never for wildcard queries;
// otherwise every file "may match". Units outside ASCII that fold to ASCII letters (such as
// U+0131 and U+017F) make a file undecidable, so it is searched. It decides a match only for
// words of ASCII letters and digits.
//
// It also answers whether a query is monotone: without negation or XOR, so that a match in
// a prefix of a text (cut after a non-word unit) is a match in the whole text.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/search/internal/byte_forms.h"
#include "orvel/search/query_terms.h"

namespace orvel::internal {

[[nodiscard]] bool isMonotoneQuery(const QueryTerms& tree);

// Where a prefix of a document's UTF-8 bytes may be cut so that the words before the cut,
// and whether each stands as a whole word, are those of the whole text: between two ASCII
// units that are no word characters (0: nowhere). A cut after a word's last unit would
// make its end a word boundary, and so would a cut after a non-word unit followed by a
// word unit: «C++» is a whole word of «C++ x» but not of «C++x».
[[nodiscard]] std::size_t safePrefixEnd(std::string_view bytes);

// What the bytes of a text document tell of a query, where they tell it at all.
enum class ByteAnswer { kNo, kYes, kUnknown };

class SearchPrefilter {
 public:
  // A filter that lets every file through.
  SearchPrefilter() = default;
  SearchPrefilter(const QueryTerms& tree, bool caseSensitive, bool wildcard);

  [[nodiscard]] bool active() const { return _active; }
  // False only when the bytes cannot match the query.
  [[nodiscard]] bool mayMatch(std::string_view bytes) const;

  // Whether the query is positive words of ASCII letters and digits joined by AND and OR
  // alone (in groups whose words share one operator), so that its match can be decided on
  // the UTF-8 bytes (decide).
  [[nodiscard]] bool decides() const { return _decision.has_value(); }
  // For such a query, whether the document's bytes (all of them when `whole`, else a
  // prefix; a byte-order mark and the text test are the caller's) match. A word is there
  // (kYes) at an occurrence whose neighbours are ASCII non-word bytes or the text's edges,
  // and absent (kNo) when there is none and nothing else could be one; it is kUnknown when
  // an occurrence touches a non-ASCII byte or the end of a prefix, or when a unit that folds
  // to one of its letters is present. The words' answers are combined as the operators
  // combine them, kUnknown where they do not settle it: the decoded text decides those.
  [[nodiscard]] ByteAnswer decide(std::string_view bytes, bool whole) const;

 private:
  struct Term {
    std::string bytes;                    // the first form: ASCII lower-cased unless case-sensitive
    std::vector<std::string> lookalikes;  // UTF-8 of non-ASCII units folding to its letters
    // The longest part of the term without a letter that has a lookalike: a match spelled
    // with lookalikes still holds these bytes as they are.
    std::string anchor;
    ByteFormsFinder forms;  // every UTF-8 form of the term (byteFormsOf)
  };

  // The query as words combined by all-of and any-of, over the terms.
  struct Decision {
    enum class Kind { kWord, kAll, kAny } kind;
    std::size_t term = 0;            // kWord: index into _terms
    std::vector<Decision> children;  // kAll and kAny
  };

  [[nodiscard]] static std::optional<Decision> decisionOf(const QueryTerms& node,
                                                          const std::vector<std::u16string>& terms);
  // Whether the bytes hold a unit that folds to one of the term's letters.
  [[nodiscard]] static bool holdsLookalike(const Term& term, std::string_view bytes);
  [[nodiscard]] bool mayOccur(const Term& term, std::string_view bytes) const;
  [[nodiscard]] ByteAnswer wordAnswer(const Term& term, std::string_view bytes, bool whole) const;
  [[nodiscard]] ByteAnswer combine(const Decision& node, std::string_view bytes, bool whole) const;

  bool _active = false;
  std::optional<Decision> _decision;
  bool _caseSensitive = false;
  std::vector<Term> _terms;
  std::vector<std::size_t> _required;  // terms every match needs (indexes into _terms)
};

}  // namespace orvel::internal

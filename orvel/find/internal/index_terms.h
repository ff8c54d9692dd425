// What an index keeps of a text, and what a query needs of it.
//
// A text's keys are its words (maximal runs of the search's word characters) folded through
// the upper-case accent-folding table, each once. The folding is coarser than any comparison
// a search makes: two units that compare equal without case, or without case and accents,
// fold to the same key (a test checks it for every unit). A term found as a whole word in a
// text is made of such runs found whole in the text (whole-word matching does not cut a
// run), so a text holding a match of the term holds every key of the term's runs.
//
// A query's need is worked out from its tree as a superset of the texts that may match:
// AND and the proximity operators need both sides, OR and XOR either, a negated term, an
// optional one, a substring term or a pattern needs nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/search/query_terms.h"

namespace orvel::internal {

// The distinct keys of a text, in no particular order.
[[nodiscard]] std::vector<std::string> textKeys(std::u16string_view text);

// A set of documents of one segment: a bit each, or every one.
struct DocumentSet {
  bool all = false;
  std::vector<bool> members;  // when not all

  [[nodiscard]] bool contains(std::size_t document) const {
    return all || (document < members.size() && members[document]);
  }
};

// The documents of a segment that may match the tree, given the documents holding a key
// (ascending numbers); `documents` is the segment's count. Wildcard trees need nothing.
[[nodiscard]] DocumentSet documentsThatMayMatch(
    const QueryTerms& tree, bool wildcard, std::size_t documents,
    const std::function<std::vector<std::uint32_t>(std::string_view key)>& holding);

}  // namespace orvel::internal

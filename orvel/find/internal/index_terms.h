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

#include "orvel/find/internal/key_table.h"
#include "orvel/search/query_terms.h"

namespace orvel::internal {

// The distinct keys of a text, in the order first met, each with its hash (keyHash), their
// bytes in one buffer.
class TextKeys {
 public:
  TextKeys() = default;
  explicit TextKeys(std::u16string_view text);

  [[nodiscard]] std::size_t size() const { return _keys.size(); }
  [[nodiscard]] std::string_view operator[](std::size_t k) const {
    return std::string_view(_bytes).substr(_keys[k].offset, _keys[k].length);
  }
  [[nodiscard]] std::uint64_t hash(std::size_t k) const { return _keys[k].hash; }

 private:
  std::size_t keep(KeySlots& slots, std::size_t start, std::size_t end);

  struct Key {
    std::uint32_t offset;
    std::uint32_t length;
    std::uint64_t hash;
  };
  std::string _bytes;  // every key once, then the word being gathered
  std::vector<Key> _keys;
};

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

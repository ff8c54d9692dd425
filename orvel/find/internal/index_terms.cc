#include "orvel/find/internal/index_terms.h"

#include <algorithm>
#include <array>

#include "orvel/search/query_evaluation.h"
#include "orvel/text/conversion_tables.h"

namespace orvel::internal {
namespace {

DocumentSet everything() { return DocumentSet{true, {}}; }

DocumentSet intersection(DocumentSet a, const DocumentSet& b) {
  if (b.all) return a;
  if (a.all) return b;
  for (std::size_t k = 0; k < a.members.size(); ++k) a.members[k] = a.members[k] && b.members[k];
  return a;
}

DocumentSet unionOf(DocumentSet a, const DocumentSet& b) {
  if (a.all || b.all) return everything();
  for (std::size_t k = 0; k < a.members.size(); ++k) a.members[k] = a.members[k] || b.members[k];
  return a;
}

class Need {
 public:
  Need(bool wildcard, std::size_t documents,
       const std::function<std::vector<std::uint32_t>(std::string_view)>& holding)
      : _wildcard(wildcard), _documents(documents), _holding(holding) {}

  DocumentSet of(const QueryTerms& node) {
    if (node.queryNot() || !node.isValid()) return everything();
    if (node.isWord()) return ofTerm(node);
    const auto& children = node.children();
    DocumentSet need = of(children.front());
    for (std::size_t k = 1; k < children.size(); ++k) {
      const DocumentSet next = of(children[k]);
      switch (children[k].queryOperator()) {
        case QueryOperatorAND:
        case QueryOperatorNEAR:
        case QueryOperatorBEFORE:
        case QueryOperatorAFTER:
        case QueryOperatorNEXT: need = intersection(std::move(need), next); break;
        default: need = unionOf(std::move(need), next); break;  // OR, XOR, OPT
      }
    }
    return need;
  }

 private:
  // A term needs every word of it, unless it is no whole word, or holds a "*" (which the
  // search takes as matching at once).
  DocumentSet ofTerm(const QueryTerms& leaf) {
    const std::u16string& term = leaf.string();
    if (_wildcard || leaf.querySubstring() || term.find(u'*') != std::u16string::npos) {
      return everything();
    }
    // Its words folded as the texts' were when they were indexed.
    DocumentSet need = everything();
    const TextKeys keys(term);
    for (std::size_t k = 0; k < keys.size(); ++k) {
      const std::string_view key = keys[k];
      DocumentSet holding{false, std::vector<bool>(_documents, false)};
      for (const std::uint32_t document : _holding(key)) {
        if (document < _documents) holding.members[document] = true;
      }
      need = intersection(std::move(need), holding);
    }
    return need;
  }

  bool _wildcard;
  std::size_t _documents;
  const std::function<std::vector<std::uint32_t>(std::string_view)>& _holding;
};

}  // namespace

TextKeys::TextKeys(std::u16string_view text) {
  const CharacterSetRep words = queryTermCharacters();
  const ConversionTable fold = upperUmlautsCharsTable();
  // ASCII, most of most texts, through one table: the folded byte of a word character,
  // else 0.
  std::array<char, 128> ascii{};
  for (unichar c = 0; c < 128; ++c) {
    if (isMemberOfCharacterSetRep(words, c) && fold[c] < 0x80) {
      ascii[c] = static_cast<char>(fold[c]);
    }
  }
  // Each word is gathered at the end of the buffer, and kept there when it is new; a unit
  // takes at most three bytes.
  const std::size_t size = text.size();
  _bytes.resize(3 * size);
  char* out = _bytes.data();
  std::size_t start = 0, end = 0;
  // One table a thread, emptied for each text: a fresh one cost more in page faults and
  // cache misses than the lookups (a text of N units has far fewer than N / 64 distinct
  // words, and the table grows when it has more).
  static thread_local KeySlots slots;
  slots.clear(size / 64);
  for (const unichar c : text) {
    if (c < 0x80) {
      if (const char folded = ascii[c]; folded != 0) {
        out[end++] = folded;
        continue;
      }
    } else if (isMemberOfCharacterSetRep(words, c)) {
      // Word characters outside ASCII are of the BMP (a surrogate is none).
      const unichar folded = fold[c];
      if (folded < 0x80) {
        out[end++] = static_cast<char>(folded);
      } else if (folded < 0x800) {
        out[end++] = static_cast<char>(0xC0 | (folded >> 6));
        out[end++] = static_cast<char>(0x80 | (folded & 0x3F));
      } else {
        out[end++] = static_cast<char>(0xE0 | (folded >> 12));
        out[end++] = static_cast<char>(0x80 | ((folded >> 6) & 0x3F));
        out[end++] = static_cast<char>(0x80 | (folded & 0x3F));
      }
      continue;
    }
    end = keep(slots, start, end);  // a separator ends the word
    start = end;
  }
  _bytes.resize(keep(slots, start, end));
  _bytes.shrink_to_fit();
}

// Keeps the word gathered from `start` to `end` unless it was met before; answers where the
// next word starts.
std::size_t TextKeys::keep(KeySlots& slots, std::size_t start, std::size_t end) {
  if (start == end) return end;
  const std::string_view word = std::string_view(_bytes).substr(start, end - start);
  const std::uint64_t hash = keyHash(word);
  const auto next = static_cast<std::uint32_t>(_keys.size());
  const bool added =
      slots.findOrAdd(hash, next, [&](std::uint32_t k) { return (*this)[k] == word; }).second;
  if (!added) return start;
  _keys.push_back(
      Key{static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(word.size()), hash});
  return end;
}

DocumentSet documentsThatMayMatch(
    const QueryTerms& tree, bool wildcard, std::size_t documents,
    const std::function<std::vector<std::uint32_t>(std::string_view key)>& holding) {
  return Need(wildcard, documents, holding).of(tree);
}

}  // namespace orvel::internal

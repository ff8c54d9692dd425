#include "orvel/find/internal/index_terms.h"

#include <algorithm>
#include <array>
#include <deque>
#include <unordered_set>

#include "orvel/base/utf8.h"
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
    for (const std::string& key : textKeys(term)) {
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

std::vector<std::string> textKeys(std::u16string_view text) {
  // Each word is folded and encoded into one reused buffer, and kept once: the set views
  // the keys already kept, so that a word met again costs a hash and no allocation.
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
  std::unordered_set<std::string_view> seen;
  std::deque<std::string> kept;  // stable addresses for the views
  std::string key;
  const auto keep = [&] {
    if (!key.empty() && seen.find(key) == seen.end()) seen.insert(kept.emplace_back(key));
    key.clear();
  };
  const unichar* units = text.data();
  const std::size_t size = text.size();
  for (std::size_t k = 0; k < size;) {
    const unichar c = units[k];
    if (c < 0x80 && ascii[c] != 0) {
      // A run of ASCII word characters at once.
      const std::size_t run = k;
      while (k < size && units[k] < 0x80 && ascii[units[k]] != 0) ++k;
      const std::size_t base = key.size();
      key.resize(base + (k - run));
      for (std::size_t j = run; j < k; ++j) key[base + j - run] = ascii[units[j]];
      continue;
    }
    ++k;
    if (c >= 0x80 && isMemberOfCharacterSetRep(words, c)) {
      // Word characters outside ASCII are of the BMP (a surrogate is none).
      appendUtf16AsUtf8(key, std::u16string_view(&fold[c], 1));
    } else {
      keep();  // a separator ends the word
    }
  }
  keep();
  return {std::make_move_iterator(kept.begin()), std::make_move_iterator(kept.end())};
}

DocumentSet documentsThatMayMatch(
    const QueryTerms& tree, bool wildcard, std::size_t documents,
    const std::function<std::vector<std::uint32_t>(std::string_view key)>& holding) {
  return Need(wildcard, documents, holding).of(tree);
}

}  // namespace orvel::internal

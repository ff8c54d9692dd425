// A query as a search applies it to texts: the parsed tree together with how its terms
// compare (case, wildcard patterns), answering whether a text matches, where the positive
// terms occur, and the assembled snippets around them.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/search/query_occurrences.h"
#include "orvel/search/query_terms.h"
#include "orvel/search/wildcard.h"

namespace orvel {
namespace internal {
class ByteWordSearch;
}

class TextQuery {
 public:
  // Parses the query; with wildcard its terms are wildcard patterns. With ignoreAccents
  // query and text are compared through the accent-folding table (dignite finds dignité),
  // as the diacritic-insensitive wildcard comparison compares them. Builds the separators
  // and folding tables the evaluation needs, so that no caller has to.
  TextQuery(std::u16string_view query, bool caseSensitive = false, bool wildcard = false,
            bool ignoreAccents = false);

  [[nodiscard]] const QueryTerms& tree() const { return _tree; }
  [[nodiscard]] bool caseSensitive() const { return _caseSensitive; }
  [[nodiscard]] bool wildcard() const { return _wildcard; }
  [[nodiscard]] bool ignoresAccents() const { return _ignoreAccents; }
  [[nodiscard]] WildcardComparison comparison() const;

  [[nodiscard]] bool matches(std::u16string_view text) const;
  // The occurrences of the positive terms in text order, each once: whole words, and
  // substring terms anywhere; snippets are sentences, or lines with paragraphs.
  [[nodiscard]] std::vector<Occurrence> occurrences(std::u16string_view text,
                                                    bool paragraphs = false) const;
  // Where those occurrences are, without copies of their snippets; without countLines
  // every line is 0. With `terms`, the terms inside each snippet are appended there (see
  // TermPlace), and lines are counted.
  [[nodiscard]] std::vector<OccurrencePlace> occurrencePlaces(
      std::u16string_view text, bool paragraphs = false, bool countLines = true,
      std::vector<TermPlace>* terms = nullptr) const;
  // The places of a matching text's occurrences, nullopt when the text does not match. A
  // query whose every match is an occurrence of one of its words (a word, or words joined
  // by OR) is tested by the search for occurrences itself, which spares reading the text
  // twice; any other is tested first.
  [[nodiscard]] std::optional<std::vector<OccurrencePlace>> matchingOccurrencePlaces(
      std::u16string_view text, bool paragraphs = false, bool countLines = true,
      std::vector<TermPlace>* terms = nullptr) const;
  // The same places for a text given as UTF-8 bytes, found on the bytes without decoding
  // them when they can be: the query is words joined by OR (as above) made of word
  // characters (each letter outside ASCII is looked for as every character that folds as it
  // does), and the bytes are well-formed UTF-8 without NUL or byte-order mark, holding no
  // character that folds (without case) to an ASCII letter of a word. In plain ASCII the places
  // are exactly the decoded text's; otherwise their snippets, lines and number are, but the
  // ranges are byte offsets, and unitOffsets refuses such bytes. nullopt when the bytes
  // cannot be searched so (decode them, as always when accents are ignored); otherwise the
  // places, empty for no match.
  [[nodiscard]] std::optional<std::vector<OccurrencePlace>> byteOccurrencePlaces(
      std::string_view bytes, bool paragraphs = false, bool countLines = true,
      bool unitOffsets = true, std::vector<TermPlace>* terms = nullptr) const;
  // Whether such a query matches a text given as UTF-8 bytes, decided on the bytes as
  // byteOccurrencePlaces finds the places (stopping at the first); nullopt when it cannot be.
  [[nodiscard]] std::optional<bool> byteMatches(std::string_view bytes) const;
  // The snippets around the positive terms joined by the separator, at most
  // maxCharacters (0: no limit); nullopt when no term occurs.
  [[nodiscard]] std::optional<std::u16string> snippets(std::u16string_view text,
                                                       std::u16string_view separator = u" ",
                                                       std::size_t maxCharacters = 0,
                                                       bool paragraphs = false,
                                                       bool singleWords = false) const;

 private:
  // The text as the terms are compared with it: without accents when they are ignored (the
  // folding keeps one unit per unit, so places in it are places in the text), else itself.
  [[nodiscard]] std::u16string_view compared(std::u16string_view text) const;

  bool _ignoreAccents;
  QueryTerms _tree;
  bool _caseSensitive;
  bool _wildcard;
  // The positive terms, worked out once for all the texts a query meets: whole words (and
  // phrases), substring terms, and the patterns of a wildcard query.
  std::vector<std::u16string> _words;
  std::vector<std::u16string> _substrings;
  std::optional<std::vector<std::u16string>> _patterns;
  std::vector<std::u16string> _allParts;
  bool _everyMatchIsAnOccurrence;
  std::shared_ptr<const internal::ByteWordSearch> _byteSearch;
};

}  // namespace orvel

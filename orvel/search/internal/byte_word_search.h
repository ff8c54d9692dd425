// The occurrences of a query of words joined by OR found on a document's UTF-8 bytes, with
// no decoding: each word is looked for as a whole word with the byte search, in each UTF-8
// form it may take (a letter outside ASCII spelt as any character that folds as it does),
// and the sentence or line around each occurrence, and its line, are read from the bytes in
// place.
//
// In plain ASCII the bytes are the UTF-16 text's units at the same offsets, so the places
// are exactly those of the decoded text. In other well-formed UTF-8 the snippets, lines and
// number of occurrences are the decoded text's too, but the ranges are byte offsets: for a
// caller that counts occurrences or prints their snippets and lines.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/search/query_occurrences.h"
#include "orvel/text/character_sets.h"

namespace orvel::internal {

class ByteWordSearch {
 public:
  // Searches nothing unless every word is made of word characters of the BMP (with at most a
  // few forms each) and the character sets allow the walk (see byteWalkHolds in the source);
  // the words as the query holds them.
  ByteWordSearch(const std::vector<std::u16string>& words, bool caseSensitive);

  // The places of the occurrences in text order, empty when there are none; nullopt when
  // the bytes cannot be searched so (the caller decodes them): the search is inactive, the
  // word characters changed since, or the bytes are not all ASCII and unitOffsets is asked,
  // or they are ill-formed UTF-8, hold a NUL or a byte-order mark, or
  // (without case) a character that folds to an ASCII letter of a word. With `terms`, the
  // words inside each snippet too (ranges and columns in bytes).
  [[nodiscard]] std::optional<std::vector<OccurrencePlace>> places(
      std::string_view bytes, bool paragraphs, bool countLines, bool unitOffsets,
      std::vector<TermPlace>* terms = nullptr) const;
  // Whether a word occurs, on bytes that can be searched so (as places answers them, without
  // unit offsets); nullopt when they cannot.
  [[nodiscard]] std::optional<bool> matches(std::string_view bytes) const;

 private:
  [[nodiscard]] bool searchable(std::string_view bytes, bool unitOffsets) const;

  // Every form of every word, ASCII lower-cased unless case-sensitive.
  std::vector<std::string> _forms;
  bool _caseSensitive;
  CharacterSetRep _wordCharacters = nullptr;  // the word characters the walk was checked for
  std::vector<std::string> _lookalikes;       // UTF-8 of characters folding to a letter
};

}  // namespace orvel::internal

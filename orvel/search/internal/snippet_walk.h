// The pieces of the occurrence walk that read the text around each occurrence: where the
// sentence or line holding it begins and ends (its snippet), and on which line it starts.
// Each reads UTF-16 text, and well-formed UTF-8 bytes (as std::string_view), whose
// characters it reads in place; in plain ASCII those are the text's units at the same
// offsets.
//
// A snippet reaches from the first word character after the boundary before the occurrence
// to the last word character before the boundary after it. Lines are counted by line
// separators, a CR followed by an LF counting once.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/base/utf8.h"
#include "orvel/search/internal/utf8_units.h"
#include "orvel/search/query_evaluation.h"
#include "orvel/search/query_occurrences.h"
#include "orvel/search/separators.h"
#include "orvel/text/character_sets.h"

namespace orvel::internal {

// Finds the members of a set of boundaries. A unit can only be one when it is a control
// unit (below U+0020), outside ASCII, or one of the set's few printable ASCII members:
// blocks of units are tested for that at a time (sixteen with AVX2 in UTF-16, sixteen
// bytes with SSE2), and only those are looked up in the set. A set with more printable
// members is searched unit by unit.
class BoundaryScan {
 public:
  explicit BoundaryScan(CharacterSetRep set);

  // The first member at or after `from`, or the text's end.
  [[nodiscard]] std::size_t next(std::u16string_view text, std::size_t from) const;
  [[nodiscard]] std::size_t next(std::string_view utf8, std::size_t from) const;
  // Where the text after the last member before `before` starts (0 when there is none).
  [[nodiscard]] std::size_t startAfterPrevious(std::u16string_view text, std::size_t before) const;
  [[nodiscard]] std::size_t startAfterPrevious(std::string_view utf8, std::size_t before) const;

 private:
  [[nodiscard]] bool isMember(unichar c) const { return isMemberOfCharacterSetRep(_set, c); }
  // Whether the character starting at `at` is a member (a continuation byte starts none).
  [[nodiscard]] bool startsMember(std::string_view utf8, std::size_t at) const {
    return !isUtf8Continuation(utf8[at]) && isMember(firstUnitAt(utf8, at));
  }
  [[nodiscard]] unsigned candidates(const unichar* units) const;  // two bits a unit, AVX2
  [[nodiscard]] unsigned candidates(const char* bytes) const;     // a bit a byte, SSE2
  [[nodiscard]] std::size_t nextInBlocks(std::u16string_view text, std::size_t from) const;
  [[nodiscard]] std::size_t previousInBlocks(std::u16string_view text, std::size_t before) const;

  CharacterSetRep _set;
  // Unused places hold U+0000, a control unit and so a candidate anyway.
  std::array<unichar, 4> _printable{};
  bool _blocks = true;
};

// What ends a snippet: a sentence separator, or with paragraphs a line separator.
[[nodiscard]] inline CharacterSetRep snippetBoundaries(bool paragraphs) {
  return paragraphs ? defaultLineSeparators() : defaultSentenceSeparators();
}

struct Snippet {
  Range range;         // word character to word character, within the boundaries
  std::size_t resume;  // where the forward walk stopped: the boundary after, or the end
};

// Reading units from either kind of text: the unit at or before a position, and how far
// the character holding it reaches. A character outside the BMP is two units in UTF-16 and
// one character in UTF-8; neither of its surrogates is a word character.
[[nodiscard]] inline unichar unitAfter(std::u16string_view text, std::size_t i) { return text[i]; }
[[nodiscard]] inline std::size_t stepAfter(std::u16string_view, std::size_t) { return 1; }
[[nodiscard]] inline unichar unitBefore(std::u16string_view text, std::size_t i) {
  return text[i - 1];
}
[[nodiscard]] inline std::size_t stepBefore(std::u16string_view, std::size_t) { return 1; }
[[nodiscard]] inline unichar unitAfter(std::string_view utf8, std::size_t i) {
  return firstUnitAt(utf8, i);
}
[[nodiscard]] inline std::size_t stepAfter(std::string_view utf8, std::size_t i) {
  return utf8Length(utf8[i]);
}
[[nodiscard]] inline unichar unitBefore(std::string_view utf8, std::size_t i) {
  return lastUnitBefore(utf8, i);
}
[[nodiscard]] inline std::size_t stepBefore(std::string_view utf8, std::size_t i) {
  return i - characterStartBefore(utf8, i);
}

// The boundaries are found first; the word characters within them are looked for from the
// ends inwards, which only passes over the few characters between a boundary and a word.
template <typename Text>
[[nodiscard]] Snippet snippetAround(Text text, Range occurrence, CharacterSetRep words,
                                    const BoundaryScan& boundaries) {
  std::size_t start = boundaries.startAfterPrevious(text, occurrence.location);
  while (start < occurrence.location && !isMemberOfCharacterSetRep(words, unitAfter(text, start))) {
    start += stepAfter(text, start);
  }
  const std::size_t boundary = boundaries.next(text, occurrence.end());
  std::size_t end = boundary;
  while (end > occurrence.end() && !isMemberOfCharacterSetRep(words, unitBefore(text, end))) {
    end -= stepBefore(text, end);
  }
  return Snippet{Range{start, end - start}, boundary};
}

// Counts lines incrementally: the line separators between the last counted position and
// the one asked for. Positions asked for never go back. Text is std::u16string_view or
// std::string_view (UTF-8): LineCounter and Utf8LineCounter.
template <typename Text>
class BasicLineCounter {
 public:
  explicit BasicLineCounter(Text text) : _text(text) {}
  [[nodiscard]] std::size_t lineAt(std::size_t position);

 private:
  // The blocks of units up to `position`, as wide as each instruction set reads them.
  void countBlocksAvx2(std::size_t position);
  void countBlocksSse2(std::size_t position);
  // One block at `at`: the units that may end a line, and its LFs, as mask bits (bitsPerUnit
  // a unit).
  void countBlock(std::size_t at, unsigned candidates, unsigned lf, unsigned bitsPerUnit);
  void countLineEndAt(std::size_t at);

  Text _text;
  CharacterSetRep _lines = defaultLineSeparators();
  std::size_t _position = 0;
  std::size_t _line = 0;
};

using LineCounter = BasicLineCounter<std::u16string_view>;
using Utf8LineCounter = BasicLineCounter<std::string_view>;

// How many bytes the text between two positions takes in UTF-8.
[[nodiscard]] inline std::size_t utf8Width(std::string_view, std::size_t from, std::size_t to) {
  return to - from;
}
[[nodiscard]] inline std::size_t utf8Width(std::u16string_view text, std::size_t from,
                                           std::size_t to) {
  return utf8LengthOfUtf16(text.substr(from, to - from));
}

// The columns of terms met in text order: a term on the line of the one before is measured
// from it, one on a new line from its line's start, found by looking back no further than
// the term before. Each stretch of text is measured once.
template <typename Text>
class ColumnCounter {
 public:
  explicit ColumnCounter(Text text) : _text(text), _lineStarts(defaultLineSeparators()) {}

  [[nodiscard]] std::size_t columnAt(std::size_t position, std::size_t line) {
    if (line != _line || _position == NSNotFound) {
      _line = line;
      _position = _lineStarts.startAfterPrevious(_text, position);
      _column = 0;
    }
    _column += utf8Width(_text, _position, position);
    _position = position;
    return _column;
  }

 private:
  Text _text;
  BoundaryScan _lineStarts;
  std::size_t _line = 0;
  std::size_t _position = NSNotFound;
  std::size_t _column = 0;
};

// The places of the occurrences that findNext(position) answers, each the first at or after
// the position, in text order: the walk goes on after each snippet, so that a sentence (or
// a line with paragraphs) is one occurrence however many terms it holds. Lines is the line
// counter for the text's kind; without countLines every line is 0. With `terms`, the terms
// inside each snippet are appended there (findNext asked again from the end of each).
template <typename Lines, typename Text, typename FindNext>
[[nodiscard]] std::vector<OccurrencePlace> walkOccurrences(
    Text text, bool paragraphs, bool countLines, FindNext findNext,
    std::vector<TermPlace>* terms = nullptr) {
  const CharacterSetRep words = queryTermCharacters();
  const BoundaryScan boundaries(paragraphs ? defaultLineSeparators() : defaultSentenceSeparators());
  Lines lines(text);
  ColumnCounter<Text> columns(text);
  countLines = countLines || terms != nullptr;
  std::vector<OccurrencePlace> places;
  for (std::size_t position = 0; position < text.size();) {
    const Range found = findNext(position);
    if (!found.found()) break;
    const Snippet snippet = snippetAround(text, found, words, boundaries);
    if (snippet.range.length > 0) {
      OccurrencePlace& place = places.emplace_back(
          OccurrencePlace{snippet.range, countLines ? lines.lineAt(snippet.range.location) : 0});
      if (terms != nullptr) {
        // The snippet holds the occurrence found; the next terms are those that end in it.
        place.firstTerm = terms->size();
        for (Range term = found; term.found() && term.end() <= snippet.range.end();
             term = findNext(std::max(term.end(), term.location + 1))) {
          const std::size_t line = lines.lineAt(term.location);
          terms->push_back({term, line, columns.columnAt(term.location, line)});
        }
        place.termCount = terms->size() - place.firstTerm;
      }
    }
    position = std::max(snippet.resume, found.location + 1);
  }
  return places;
}

}  // namespace orvel::internal

#include "orvel/search/query_occurrences.h"

#include <array>
#include <unordered_set>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "orvel/search/query_evaluation.h"
#include "orvel/search/separation.h"

namespace orvel {
namespace {

#if defined(__x86_64__)
const bool kHaveAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
#endif

// Finds the members of a set of boundaries in text. A unit can only be one when it is a
// control unit (below U+0020), outside ASCII, or one of the set's few printable ASCII
// members: with AVX2 sixteen units are tested for that at a time, and only those that are
// looked up in the set. A set with more printable members is searched unit by unit.
class BoundaryScan {
 public:
  explicit BoundaryScan(CharacterSetRep set) : _set(set) {
    std::size_t count = 0;
    for (unichar c = 0x20; c < 0x80; ++c) {
      if (!isMemberOfCharacterSetRep(set, c)) continue;
      if (count == _printable.size()) {
        _blocks = false;
        break;
      }
      _printable[count++] = c;
    }
  }

  // The first member at or after `from`, or the text's end.
  [[nodiscard]] std::size_t next(std::u16string_view text, std::size_t from) const {
#if defined(__x86_64__)
    if (_blocks && kHaveAvx2) from = nextInBlocks(text, from);
#endif
    while (from < text.size() && !isMember(text[from])) ++from;
    return from;
  }

  // Where the text after the last member before `before` starts (0 when there is none).
  [[nodiscard]] std::size_t startAfterPrevious(std::u16string_view text, std::size_t before) const {
#if defined(__x86_64__)
    if (_blocks && kHaveAvx2) before = previousInBlocks(text, before);
#endif
    while (before > 0 && !isMember(text[before - 1])) --before;
    return before;
  }

 private:
  [[nodiscard]] bool isMember(unichar c) const { return isMemberOfCharacterSetRep(_set, c); }

#if defined(__x86_64__)
  // Two bits per unit of the sixteen at `units` that may be members.
  __attribute__((target("avx2"))) unsigned candidates(const unichar* units) const {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(units));
    // As signed numbers units from U+8000 are negative, so below 0x20 too: candidates.
    __m256i may = _mm256_or_si256(_mm256_cmpgt_epi16(_mm256_set1_epi16(0x20), v),
                                  _mm256_cmpgt_epi16(v, _mm256_set1_epi16(0x7F)));
    for (const unichar member : _printable) {
      may = _mm256_or_si256(may,
                            _mm256_cmpeq_epi16(v, _mm256_set1_epi16(static_cast<short>(member))));
    }
    return static_cast<unsigned>(_mm256_movemask_epi8(may));
  }

  // Passes over blocks without members; answers where the unit-by-unit search goes on.
  __attribute__((target("avx2"))) std::size_t nextInBlocks(std::u16string_view text,
                                                           std::size_t from) const {
    for (; from + 16 <= text.size(); from += 16) {
      for (unsigned bits = candidates(text.data() + from) & 0x55555555u; bits != 0;
           bits &= bits - 1) {
        const std::size_t at = from + static_cast<std::size_t>(__builtin_ctz(bits)) / 2;
        if (isMember(text[at])) return at;
      }
    }
    return from;
  }

  __attribute__((target("avx2"))) std::size_t previousInBlocks(std::u16string_view text,
                                                               std::size_t before) const {
    for (; before >= 16; before -= 16) {
      // Bit 2k+1 of the mask is unit k's upper bit: the highest set bit is the last unit.
      for (unsigned bits = candidates(text.data() + before - 16) & 0xAAAAAAAAu; bits != 0;
           bits &= ~(1u << (31 - __builtin_clz(bits)))) {
        const std::size_t at = before - 16 + static_cast<std::size_t>(31 - __builtin_clz(bits)) / 2;
        if (isMember(text[at])) return at + 1;
      }
    }
    return before;
  }
#endif

  CharacterSetRep _set;
  // Unused places hold U+0000, a control unit and so a candidate anyway.
  std::array<unichar, 4> _printable{};
  bool _blocks = true;
};

struct Snippet {
  Range range;         // word character to word character, within the boundaries
  std::size_t resume;  // where the forward walk stopped: the boundary after, or the end
};

// The boundaries are found first; the word characters within them are looked for from the
// ends inwards, which only passes over the few units between a boundary and a word.
Snippet snippetAround(std::u16string_view text, Range occurrence, CharacterSetRep words,
                      const BoundaryScan& boundaries) {
  const auto isWord = [&](std::size_t i) { return isMemberOfCharacterSetRep(words, text[i]); };
  std::size_t start = boundaries.startAfterPrevious(text, occurrence.location);
  while (start < occurrence.location && !isWord(start)) ++start;
  const std::size_t boundary = boundaries.next(text, occurrence.end());
  std::size_t end = boundary;
  while (end > occurrence.end() && !isWord(end - 1)) --end;
  return Snippet{Range{start, end - start}, boundary};
}

// Counts lines incrementally: the line separators between the last counted position and
// `position`, a CR followed by an LF counting once.
class LineCounter {
 public:
  explicit LineCounter(std::u16string_view text) : _text(text) {}

  std::size_t lineAt(std::size_t position) {
#if defined(__SSE2__)
    // Blocks of units at a time: only those outside printable ASCII (U+0020 to U+007F, none
    // of which ends a line) are looked at.
    static const bool printableNeverEndsLines = [] {
      for (unichar c = 0x20; c < 0x80; ++c) {
        if (isMemberOfCharacterSetRep(defaultLineSeparators(), c)) return false;
      }
      return true;
    }();
#if defined(__x86_64__)
    if (printableNeverEndsLines && kHaveAvx2) countBlocksAvx2(position);
#endif
    for (; printableNeverEndsLines && _position + 8 <= position; _position += 8) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_text.data() + _position));
      // As signed 16-bit numbers, units from U+8000 are negative: both tests fail for them.
      const __m128i printable = _mm_and_si128(_mm_cmpgt_epi16(v, _mm_set1_epi16(0x1F)),
                                              _mm_cmplt_epi16(v, _mm_set1_epi16(0x80)));
      // Two mask bits per unit: keep one.
      auto others = static_cast<unsigned>(~_mm_movemask_epi8(printable)) & 0x5555u;
      for (; others != 0; others &= others - 1) {
        countLineEndAt(_position + static_cast<std::size_t>(__builtin_ctz(others)) / 2);
      }
    }
#endif
    for (; _position < position; ++_position) countLineEndAt(_position);
    return _line;
  }

 private:
#if defined(__x86_64__)
  // Sixteen units at a time; LFs alone among printable ASCII are counted at once, since an
  // LF ends a line unless a CR comes before it.
  __attribute__((target("avx2,popcnt"))) void countBlocksAvx2(std::size_t position) {
    static const bool lfEndsLines = isMemberOfCharacterSetRep(defaultLineSeparators(), u'\n');
    for (; _position + 16 <= position; _position += 16) {
      const __m256i v =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_text.data() + _position));
      const __m256i printable = _mm256_and_si256(_mm256_cmpgt_epi16(v, _mm256_set1_epi16(0x1F)),
                                                 _mm256_cmpgt_epi16(_mm256_set1_epi16(0x80), v));
      auto others = ~static_cast<unsigned>(_mm256_movemask_epi8(printable));
      if (others == 0) continue;
      const auto lf = static_cast<unsigned>(
          _mm256_movemask_epi8(_mm256_cmpeq_epi16(v, _mm256_set1_epi16(u'\n'))));
      const bool afterCr = _position > 0 && _text[_position - 1] == u'\r';
      if (lfEndsLines && others == lf && !afterCr) {
        _line += static_cast<std::size_t>(_mm_popcnt_u32(lf)) / 2;  // two mask bits per unit
        continue;
      }
      for (others &= 0x55555555u; others != 0; others &= others - 1) {
        countLineEndAt(_position + static_cast<std::size_t>(__builtin_ctz(others)) / 2);
      }
    }
  }
#endif

  void countLineEndAt(std::size_t at) {
    const unichar c = _text[at];
    if (!isMemberOfCharacterSetRep(_lines, c)) return;
    if (c == u'\n' && at > 0 && _text[at - 1] == u'\r') return;
    ++_line;
  }

  std::u16string_view _text;
  CharacterSetRep _lines = defaultLineSeparators();
  std::size_t _position = 0;
  std::size_t _line = 0;
};

CharacterSetRep boundariesFor(bool paragraphs) {
  return paragraphs ? defaultLineSeparators() : defaultSentenceSeparators();
}

// One term searched in [range.location, range.location + limit).
Range findTerm(const std::u16string& term, std::u16string_view text, std::size_t start,
               std::size_t limit, unsigned flags, bool anchored, bool exactPhrase) {
  if (!exactPhrase && term.size() >= 3) {
    const std::vector<std::u16string> words = wordsUsingDefaultSeparation(term);
    if (words.size() >= 2) {
      return FindNonExactPhraseInString(text, words, start, limit, flags, queryTermCharacters(),
                                        anchored);
    }
  }
  const std::size_t location =
      FindWordInString(text, queryTermCharacters(), start, limit, term, flags, anchored);
  return location == NSNotFound ? Range::notFound() : Range{location, term.size()};
}

Range findQueryTerm(QueryTermArray& terms, bool isMutable, std::u16string_view text, Range range,
                    bool caseSensitive, bool anchored, bool exactPhrase, bool backwards) {
  if (range.location >= text.size()) return Range::notFound();
  range.length = std::min(range.length, text.size() - range.location);
  const unsigned flags =
      (caseSensitive ? 0u : kCompareCaseInsensitive) | (backwards ? kCompareBackwards : 0u);
  Range best = Range::notFound();
  for (std::size_t i = 0; i < terms.count();) {
    const std::u16string& term = *terms.objectAtIndex(i);
    const bool wholeRange = !best.found() || backwards;
    const std::size_t limit = wholeRange ? range.length : best.location - range.location;
    const bool skipped = term.empty() || term.size() > limit || term == u"*";
    const Range hit =
        skipped ? Range::notFound()
                : findTerm(term, text, range.location, limit, flags, anchored, exactPhrase);
    if (hit.found() && (!best.found() || (backwards ? hit.location > best.location
                                                    : hit.location < best.location))) {
      best = hit;
    } else if (isMutable && wholeRange && !hit.found()) {
      terms.removeObjectAtIndex(i);  // it cannot occur later in the range either
      continue;
    }
    ++i;
  }
  return best;
}

// The search behind getOccurrencesOfQueryTerm and assembleOccurrencesOfQueryTerm: the next
// occurrence of any term from a position that only moves forwards. A term made of word
// units alone keeps its next occurrence between calls: while that lies at or after the
// position asked for (where no match can start in the middle of a word), it is still the
// next one, so each such term's search moves through the text once instead of once per
// occurrence of the others: "zebra OR the" over a text of many "the" and one final "zebra"
// would otherwise read the text once per "the". Other terms are searched each time as
// findNextQueryTerm searches them.
class TermSearch {
 public:
  TermSearch(const std::vector<std::u16string>& terms, std::u16string_view text, bool caseSensitive,
             bool anchored, bool exactPhrase)
      : _text(text),
        _flags(caseSensitive ? 0u : kCompareCaseInsensitive),
        _anchored(anchored),
        _exactPhrase(exactPhrase) {
    const CharacterSetRep words = queryTermCharacters();
    for (const std::u16string& term : terms) {
      const bool wordUnitsOnly =
          !term.empty() && std::all_of(term.begin(), term.end(), [words](unichar c) {
            return isMemberOfCharacterSetRep(words, c);
          });
      _terms.push_back(Term{&term, wordUnitsOnly});
    }
  }

  Range next(std::size_t from) {
    const std::size_t size = _text.size();
    if (from >= size) return Range::notFound();
    // Where no match of a word-units-only term can start at `from` merely because a search
    // starting there does not look before it: at the start, after a non-word unit, or on one.
    const CharacterSetRep words = queryTermCharacters();
    const bool atBoundary = from == 0 || !isMemberOfCharacterSetRep(words, _text[from - 1]) ||
                            !isMemberOfCharacterSetRep(words, _text[from]);
    Range best = Range::notFound();
    for (Term& term : _terms) {
      if (term.hopeless || term.text->empty() || *term.text == u"*") continue;
      Range hit;
      if (term.wordUnitsOnly && atBoundary) {
        if (!term.searched || (term.next.found() && term.next.location < from)) {
          term.next =
              findTerm(*term.text, _text, from, size - from, _flags, _anchored, _exactPhrase);
          term.searched = true;
        }
        hit = term.next;
      } else {
        const std::size_t limit = best.found() ? best.location - from : size - from;
        if (term.text->size() > limit) continue;
        hit = findTerm(*term.text, _text, from, limit, _flags, _anchored, _exactPhrase);
        // Not found in the whole rest: it cannot occur later either.
        term.hopeless = !hit.found() && !best.found();
      }
      if (hit.found() && (!best.found() || hit.location < best.location)) best = hit;
    }
    return best;
  }

 private:
  struct Term {
    const std::u16string* text;
    bool wordUnitsOnly;
    bool searched = false;
    bool hopeless = false;
    Range next = Range::notFound();
  };

  std::u16string_view _text;
  unsigned _flags;
  bool _anchored, _exactPhrase;
  std::vector<Term> _terms;
};

Range nextTerm(void* context, std::size_t from) {
  return static_cast<TermSearch*>(context)->next(from);
}

}  // namespace

Range findNextQueryTerm(QueryTermArray& terms, bool isMutable, std::u16string_view text,
                        Range range, bool caseSensitive, bool anchored, bool exactPhrase) {
  return findQueryTerm(terms, isMutable, text, range, caseSensitive, anchored, exactPhrase, false);
}

Range findPreviousQueryTerm(QueryTermArray& terms, bool isMutable, std::u16string_view text,
                            Range range, bool caseSensitive, bool anchored, bool exactPhrase) {
  return findQueryTerm(terms, isMutable, text, range, caseSensitive, anchored, exactPhrase, true);
}

namespace internal {

std::vector<OccurrencePlace> collectOccurrencePlaces(std::u16string_view text, bool paragraphs,
                                                     bool countLines, OccurrenceFinder findNext,
                                                     void* context) {
  CharacterSetRep words = queryTermCharacters();
  const BoundaryScan boundaries(boundariesFor(paragraphs));
  LineCounter lines(text);
  std::vector<OccurrencePlace> places;
  for (std::size_t position = 0; position < text.size();) {
    const Range found = findNext(context, position);
    if (!found.found()) break;
    const Snippet snippet = snippetAround(text, found, words, boundaries);
    if (snippet.range.length > 0) {
      places.push_back({snippet.range, countLines ? lines.lineAt(snippet.range.location) : 0});
    }
    position = std::max(snippet.resume, found.location + 1);
  }
  return places;
}

std::optional<std::u16string> assembleOccurrences(std::u16string_view text,
                                                  const AssemblyOptions& options,
                                                  OccurrenceFinder findNext, void* context) {
  if (text.empty()) return std::nullopt;
  const std::size_t limit = options.limit;
  if (!options.onlyOccurrences && limit > 0 && text.size() <= limit) return std::u16string(text);
  CharacterSetRep words = queryTermCharacters();
  const BoundaryScan boundaries(boundariesFor(options.paragraphs));
  std::u16string assembled;
  std::unordered_set<std::u16string> seen;
  seen.reserve(32);
  for (std::size_t position = 0; position < text.size();) {
    const Range found = findNext(context, position);
    if (!found.found()) break;
    const Snippet snippet = snippetAround(text, found, words, boundaries);
    position = std::max(snippet.resume, found.location + 1);
    if (snippet.range.length == 0) continue;
    if (!options.singleWords && snippet.range == found) continue;
    std::u16string piece(text.substr(snippet.range.location, snippet.range.length));
    if (seen.count(piece) != 0) continue;
    if (!assembled.empty()) assembled += options.separator;
    if (limit == 0 || assembled.size() + piece.size() <= limit) {
      assembled += piece;
      if (limit > 0 && assembled.size() + options.separator.size() >= limit) break;
      seen.insert(std::move(piece));
      continue;
    }
    // The snippet does not fit: cut it to the room left, keeping the occurrence.
    if (assembled.size() < limit) {
      const std::size_t room = limit - assembled.size();
      std::size_t from = snippet.range.location;
      std::size_t amount = room;
      if (snippet.range.location + room < found.end()) {
        from = found.end() - room;
        while (from > snippet.range.location && isMemberOfCharacterSetRep(words, text[from - 1])) {
          --from;
          ++amount;
        }
      }
      assembled += text.substr(from, amount);
      assembled += u"...";
    }
    break;
  }
  if (!assembled.empty()) return assembled;
  if (options.onlyOccurrences) return std::nullopt;
  return stringByEllipsizingAfterNCharacters(text, limit);
}

}  // namespace internal

std::optional<std::vector<Occurrence>> getOccurrencesOfQueryTerm(
    std::u16string_view text, const std::vector<std::u16string>& terms, bool caseSensitive,
    bool anchored, bool exactPhrase, bool paragraphs) {
  if (terms.empty() || text.empty()) return std::nullopt;
  return occurrencesAtPlaces(
      text, getOccurrencePlacesOfQueryTerm(text, terms, caseSensitive, anchored, exactPhrase,
                                           paragraphs));
}

std::vector<OccurrencePlace> getOccurrencePlacesOfQueryTerm(
    std::u16string_view text, const std::vector<std::u16string>& terms, bool caseSensitive,
    bool anchored, bool exactPhrase, bool paragraphs, bool countLines) {
  if (terms.empty() || text.empty()) return {};
  TermSearch search(terms, text, caseSensitive, anchored, exactPhrase);
  return internal::collectOccurrencePlaces(text, paragraphs, countLines, nextTerm, &search);
}

std::optional<std::vector<Occurrence>> occurrencesAtPlaces(
    std::u16string_view text, const std::vector<OccurrencePlace>& places) {
  if (places.empty()) return std::nullopt;
  std::vector<Occurrence> occurrences;
  occurrences.reserve(places.size());
  for (const OccurrencePlace& place : places) {
    occurrences.push_back({place.range, place.line,
                           std::u16string(text.substr(place.range.location, place.range.length))});
  }
  return occurrences;
}

std::optional<std::u16string> assembleOccurrencesOfQueryTerm(
    std::u16string_view text, const std::vector<std::u16string>& terms, bool onlyOccurrences,
    bool singleWords, bool caseSensitive, bool anchored, bool exactPhrase, bool paragraphs,
    std::optional<std::u16string_view> separator, std::size_t ellipsizeAfterNCharacters) {
  TermSearch search(terms, text, caseSensitive, anchored, exactPhrase);
  const internal::AssemblyOptions options{onlyOccurrences, singleWords, paragraphs,
                                          separator.value_or(u" "), ellipsizeAfterNCharacters};
  if (terms.empty()) {
    return internal::assembleOccurrences(
        text, options, [](void*, std::size_t) { return Range::notFound(); }, nullptr);
  }
  return internal::assembleOccurrences(text, options, nextTerm, &search);
}

}  // namespace orvel

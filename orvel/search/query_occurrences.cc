#include "orvel/search/query_occurrences.h"

#include <unordered_set>

#include "orvel/search/internal/snippet_walk.h"
#include "orvel/search/query_evaluation.h"
#include "orvel/search/separation.h"

namespace orvel {
namespace {

using internal::BoundaryScan;
using internal::LineCounter;
using internal::Snippet;
using internal::snippetAround;
using internal::walkOccurrences;

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
        _exactPhrase(exactPhrase) {
    add(terms, anchored);
  }

  // More terms, anchored (whole words) or not.
  void add(const std::vector<std::u16string>& terms, bool anchored) {
    const CharacterSetRep words = queryTermCharacters();
    for (const std::u16string& term : terms) {
      const bool wordUnitsOnly =
          !term.empty() && std::all_of(term.begin(), term.end(), [words](unichar c) {
            return isMemberOfCharacterSetRep(words, c);
          });
      _terms.push_back(Term{&term, wordUnitsOnly, anchored});
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
              findTerm(*term.text, _text, from, size - from, _flags, term.anchored, _exactPhrase);
          term.searched = true;
        }
        hit = term.next;
      } else {
        const std::size_t limit = best.found() ? best.location - from : size - from;
        if (term.text->size() > limit) continue;
        hit = findTerm(*term.text, _text, from, limit, _flags, term.anchored, _exactPhrase);
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
    bool anchored;
    bool searched = false;
    bool hopeless = false;
    Range next = Range::notFound();
  };

  std::u16string_view _text;
  unsigned _flags;
  bool _exactPhrase;
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
                                                     void* context, std::vector<TermPlace>* terms) {
  return walkOccurrences<LineCounter>(
      text, paragraphs, countLines, [&](std::size_t from) { return findNext(context, from); },
      terms);
}

std::vector<OccurrencePlace> occurrencePlacesOfWordsAndSubstrings(
    std::u16string_view text, const std::vector<std::u16string>& words,
    const std::vector<std::u16string>& substrings, bool caseSensitive, bool paragraphs,
    bool countLines, std::vector<TermPlace>* terms) {
  if (text.empty() || (words.empty() && substrings.empty())) return {};
  TermSearch search(words, text, caseSensitive, true, false);
  search.add(substrings, false);
  return collectOccurrencePlaces(text, paragraphs, countLines, nextTerm, &search, terms);
}

std::optional<std::u16string> assembleOccurrences(std::u16string_view text,
                                                  const AssemblyOptions& options,
                                                  OccurrenceFinder findNext, void* context) {
  if (text.empty()) return std::nullopt;
  const std::size_t limit = options.limit;
  if (!options.onlyOccurrences && limit > 0 && text.size() <= limit) return std::u16string(text);
  CharacterSetRep words = queryTermCharacters();
  const BoundaryScan boundaries(internal::snippetBoundaries(options.paragraphs));
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
    bool anchored, bool exactPhrase, bool paragraphs, bool countLines,
    std::vector<TermPlace>* termPlaces) {
  if (terms.empty() || text.empty()) return {};
  TermSearch search(terms, text, caseSensitive, anchored, exactPhrase);
  return internal::collectOccurrencePlaces(text, paragraphs, countLines, nextTerm, &search,
                                           termPlaces);
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
  return internal::assembleOccurrencesOfQueryTermIn(
      text, text, terms, onlyOccurrences, singleWords, caseSensitive, anchored, exactPhrase,
      paragraphs, separator, ellipsizeAfterNCharacters);
}

std::optional<std::u16string> internal::assembleOccurrencesOfQueryTermIn(
    std::u16string_view text, std::u16string_view compared,
    const std::vector<std::u16string>& terms, bool onlyOccurrences, bool singleWords,
    bool caseSensitive, bool anchored, bool exactPhrase, bool paragraphs,
    std::optional<std::u16string_view> separator, std::size_t ellipsizeAfterNCharacters) {
  TermSearch search(terms, compared, caseSensitive, anchored, exactPhrase);
  const internal::AssemblyOptions options{onlyOccurrences, singleWords, paragraphs,
                                          separator.value_or(u" "), ellipsizeAfterNCharacters};
  if (terms.empty()) {
    return internal::assembleOccurrences(
        text, options, [](void*, std::size_t) { return Range::notFound(); }, nullptr);
  }
  return internal::assembleOccurrences(text, options, nextTerm, &search);
}

}  // namespace orvel

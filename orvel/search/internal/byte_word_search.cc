#include "orvel/search/internal/byte_word_search.h"

#include <algorithm>
#include <utility>

#include "orvel/base/utf8.h"
#include "orvel/search/internal/byte_forms.h"
#include "orvel/search/internal/byte_search.h"
#include "orvel/search/internal/snippet_walk.h"
#include "orvel/search/query_evaluation.h"
#include "orvel/search/separators.h"
#include "orvel/text/conversion_tables.h"

namespace orvel::internal {
namespace {

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Whether the character sets let bytes be walked as their UTF-16 text would be, for any
// words. The walk finds each word on the bytes as a whole word, where the text's walk
// searches a word of word characters alone from where the last snippet ended: at a
// boundary, which must then be no word character for the two to agree. Characters outside
// the BMP are read whole: neither surrogate may be a word character or a boundary. A
// caseless search compares ASCII in either case, as the upper-case table must fold it.
bool setsAllowByteWalk(CharacterSetRep wordCharacters) {
  const ConversionTable upper = initUpperCharsTable();
  for (unichar c = 0; c < 0x80; ++c) {
    const unichar expected = c >= u'a' && c <= u'z' ? static_cast<unichar>(c - u'a' + u'A') : c;
    if (upper[c] != expected) return false;
  }
  for (std::uint32_t unit = 1; unit < 0x10000; ++unit) {
    const auto c = static_cast<unichar>(unit);
    const bool word = isMemberOfCharacterSetRep(wordCharacters, c);
    const bool boundary = isMemberOfCharacterSetRep(defaultSentenceSeparators(), c) ||
                          isMemberOfCharacterSetRep(defaultLineSeparators(), c);
    const bool surrogate = unit >= 0xD800 && unit < 0xE000;
    if ((boundary && word) || (surrogate && (word || boundary))) return false;
  }
  return true;
}

// Whether the walk holds for these words: the sets allow it, and each word is made of word
// characters alone.
bool byteWalkHolds(const std::vector<std::u16string>& words, CharacterSetRep wordCharacters) {
  // The sets are read once per set of word characters a thread meets, not per query.
  thread_local CharacterSetRep checked = nullptr;
  thread_local bool allowed = false;
  if (checked != wordCharacters) {
    allowed = setsAllowByteWalk(wordCharacters);
    checked = wordCharacters;
  }
  return allowed && std::all_of(words.begin(), words.end(), [&](const std::u16string& word) {
           return !word.empty() && std::all_of(word.begin(), word.end(), [&](char16_t unit) {
             return isMemberOfCharacterSetRep(wordCharacters, unit);
           });
         });
}

// UTF-8 of the characters outside ASCII that the upper-case table folds to an ASCII letter of
// the words (U+0131 to I, U+017F to S): a caseless search of the text would find the words
// spelt with them, which the byte search does not.
std::vector<std::string> lookalikesOf(const std::vector<std::u16string>& words) {
  // Every such character with the letter it folds to, found once.
  static const std::vector<std::pair<char, std::string>> all = [] {
    const ConversionTable upper = initUpperCharsTable();
    std::vector<std::pair<char, std::string>> found;
    for (std::uint32_t unit = 0x80; unit < 0x10000; ++unit) {
      if ((unit >= 0xD800 && unit < 0xE000) || upper[unit] >= 0x80) continue;
      found.emplace_back(lowerAscii(static_cast<char>(upper[unit])),
                         utf16ToUtf8(std::u16string(1, static_cast<char16_t>(unit))));
    }
    return found;
  }();
  std::vector<std::string> lookalikes;
  for (const auto& lookalike : all) {
    const char letter = lookalike.first;
    if (std::any_of(words.begin(), words.end(), [letter](const std::u16string& word) {
          return std::any_of(word.begin(), word.end(), [letter](char16_t unit) {
            return unit < 0x80 && lowerAscii(static_cast<char>(unit)) == letter;
          });
        })) {
      lookalikes.push_back(lookalike.second);
    }
  }
  return lookalikes;
}

}  // namespace

ByteWordSearch::ByteWordSearch(const std::vector<std::u16string>& words, bool caseSensitive)
    : _caseSensitive(caseSensitive) {
  if (words.empty()) return;
  _wordCharacters = queryTermCharacters();
  if (!byteWalkHolds(words, _wordCharacters)) return;
  for (std::size_t k = 0; k < words.size(); ++k) {
    std::vector<std::string> forms = byteFormsOf(words[k], caseSensitive);
    if (forms.empty()) {
      _forms.clear();
      return;
    }
    for (std::string& form : forms) _forms.push_back(std::move(form));
  }
  if (!caseSensitive) _lookalikes = lookalikesOf(words);
}

bool ByteWordSearch::searchable(std::string_view bytes, bool unitOffsets) const {
  if (_forms.empty() || queryTermCharacters() != _wordCharacters) return false;
  if (isPlainAscii(bytes)) return true;
  return !unitOffsets && isValidUtf8(bytes) && bytes.find('\0') == std::string_view::npos &&
         !bytes.starts_with("\xEF\xBB\xBF") &&
         std::none_of(_lookalikes.begin(), _lookalikes.end(), [bytes](const std::string& unit) {
           return containsBytes(bytes, unit, false);
         });
}

std::optional<std::vector<OccurrencePlace>> ByteWordSearch::places(
    std::string_view bytes, bool paragraphs, bool countLines, bool unitOffsets,
    std::vector<TermPlace>* terms) const {
  if (!searchable(bytes, unitOffsets)) return std::nullopt;
  // Each form's next whole-word occurrence, searched again once the walk has passed it.
  constexpr std::size_t kUnsearched = std::string_view::npos - 1;
  std::vector<std::size_t> next(_forms.size(), kUnsearched);
  const auto findNext = [&](std::size_t position) {
    Range found = Range::notFound();
    for (std::size_t k = 0; k < _forms.size(); ++k) {
      if (next[k] == kUnsearched || (next[k] != std::string_view::npos && next[k] < position)) {
        next[k] = findBytes(bytes, _forms[k], !_caseSensitive, position, _wordCharacters);
      }
      if (next[k] != std::string_view::npos && (!found.found() || next[k] < found.location)) {
        found = Range{next[k], _forms[k].size()};
      }
    }
    return found;
  };
  return walkOccurrences<Utf8LineCounter>(bytes, paragraphs, countLines, findNext, terms);
}

std::optional<bool> ByteWordSearch::matches(std::string_view bytes) const {
  if (!searchable(bytes, false)) return std::nullopt;
  return std::any_of(_forms.begin(), _forms.end(), [&](const std::string& form) {
    return findBytes(bytes, form, !_caseSensitive, 0, _wordCharacters) != std::string_view::npos;
  });
}

}  // namespace orvel::internal

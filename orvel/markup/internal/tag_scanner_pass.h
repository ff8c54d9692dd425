// The tag scanner's pass, for any handler: a callable taking the arguments of a TagHandler
// but its context. GetTagsOfString runs it with the function pointer it is given; the
// library's own conversions run it with their handler called directly.
//
// Conventions of this file: `i` is the unit looked at. Between the units that can change
// the state (a "<" in text; "=", ">" and a value's quotes in a tag; ">" in a comment or
// section) the text is passed over eight or sixteen units a step; the body of a script or
// style element is searched for its closing tag. `kind` is the piece being read (0 while in
// text). A piece ends at a ">" that its kind accepts; then the handler runs and the next
// text starts after the ">".
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/markup/internal/unit_scan.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel::internal {

template <typename Handler>
class TagScanner {
 public:
  TagScanner(std::u16string_view string, const unichar* characters, Handler& handler)
      : _string(string),
        _chars(characters),
        _size(string.size()),
        _handler(handler),
        _upper(initUpperCharsTable()),
        _alpha(alphaCharacterSetRep()),
        _white(whiteCharacterSetRep()) {}

  void run() {
    std::size_t i = 0;
    while (i < _size) {
      i = internal::findUnit(_chars, i, _size, u'<');
      if (i >= _size) break;
      i = open(i);
      i = _kind == kTagKindTag ? scanTag(i) : scanCommentOrSection(i);
      if (i == kStopped) return;
    }
    if (_kind == kTagKindComment || _kind == kTagKindSection) {
      if (call(NSNotFound, 0, _tagStart, _size - _tagStart, _kind)) return;
      _textStart = _size;
    }
    call(NSNotFound, 0, _size, 0, kTagKindEnd);
  }

 private:
  static constexpr std::size_t kStopped = NSNotFound;

  // Reads a tag from i (after its "<"): in it only "=" and ">" matter, and a quote right
  // after an "=" (one elsewhere opens no value); a quoted value is passed over to its
  // closing quote, so that a ">" found is always outside one and ends the tag. Answers
  // where the text after it starts, the end when the tag is unfinished, or kStopped.
  std::size_t scanTag(std::size_t i) {
    for (;;) {
      i = _equalsSeen ? internal::findFirstOfUnits(_chars, i, _size, u'"', u'\'', u'=', u'>')
                      : internal::findEitherUnit(_chars, i, _size, u'=', u'>');
      if (i >= _size) return _size;
      const unichar c = _chars[i];
      if (c == u'>') return piece(i) ? _textStart : kStopped;
      if (c != u'=') {
        i = quoted(i, c);
        continue;
      }
      _equalsSeen = true;
      // The value usually follows at once: a quote there is taken without another search.
      ++i;
      while (i < _size && isWhite(_chars[i])) ++i;
      if (i < _size && (_chars[i] == u'"' || _chars[i] == u'\'')) i = quoted(i, _chars[i]);
    }
  }

  // Reads a comment or section from i: only a ">" that its kind accepts ends it.
  std::size_t scanCommentOrSection(std::size_t i) {
    for (;; ++i) {
      i = internal::findUnit(_chars, i, _size, u'>');
      if (i >= _size) return _size;
      if (endsPiece(i)) return piece(i) ? _textStart : kStopped;
    }
  }

  bool call(std::size_t nameStart, std::size_t nameLength, std::size_t tagStart,
            std::size_t tagLength, int kind) {
    return _handler(_string, _chars, nameStart, nameLength, tagStart, tagLength, _textStart, kind);
  }

  bool at(std::size_t index, unichar c) const { return index < _size && _chars[index] == c; }

  // A "<" in text: a tag, a comment or a section starts. Answers where scanning goes on.
  std::size_t open(std::size_t i) {
    _tagStart = i;
    _kind = kTagKindTag;
    if (i + 2 < _size && _chars[i + 1] == u'!') {
      if (_chars[i + 2] == u'[') {
        _kind = kTagKindSection;
        return i + 3;
      }
      if (_chars[i + 2] == u'-') {
        _kind = kTagKindComment;
        _singleDash = !at(i + 3, u'-');
        return i + 3;
      }
    }
    return i + 1;
  }

  // A quote in a tag at i: when it opens a value, only the value's closing quote changes
  // anything, and scanning goes on after it (at the end when there is none).
  std::size_t quoted(std::size_t i, unichar c) {
    quote(c);
    if (!_doubleQuoted && !_singleQuoted) return i + 1;
    const std::size_t close = internal::findUnit(_chars, i + 1, _size, c);
    if (close == _size) return _size;
    quote(c);
    return close + 1;
  }

  void quote(unichar c) {
    bool& open = c == u'"' ? _doubleQuoted : _singleQuoted;
    open = _equalsSeen && !open;
    _equalsSeen = false;
  }

  // Whether the ">" at i ends the comment or section being read. (In a tag every ">"
  // reached ends it: quoted values are passed over whole.)
  bool endsPiece(std::size_t i) const {
    const auto before = [&](std::size_t back, unichar c) {
      return i >= back && _chars[i - back] == c;
    };
    switch (_kind) {
      case kTagKindSection:
        return before(1, u']') || (before(3, u']') && before(2, u'-') && before(1, u'-'));
      case kTagKindComment:
        if (before(1, u'-')) return _singleDash || before(2, u'-');
        return before(1, u'!') && !_singleDash && before(3, u'-') && before(2, u'-');
      default: return false;
    }
  }

  // Hands the piece that ends at i to the handler; false when it stops the scan.
  bool piece(std::size_t i) {
    std::size_t nameStart = NSNotFound, nameLength = 0;
    std::size_t end = i;
    if (_kind == kTagKindTag) {
      findName(i, nameStart, nameLength);
      if (nameStart != NSNotFound) end = widenedEnd(i, nameStart, nameLength);
    }
    if (call(nameStart, nameLength, _tagStart, end - _tagStart + 1, _kind)) return false;
    _doubleQuoted = _singleQuoted = _equalsSeen = false;
    _textStart = end + 1;
    _kind = kTagKindEnd;
    return true;
  }

  void findName(std::size_t end, std::size_t& nameStart, std::size_t& nameLength) const {
    std::size_t k = _tagStart;
    while (k < end && !isAlpha(_chars[k])) ++k;
    if (k == end) return;
    nameStart = k;
    while (k < end && _chars[k] != u'/' && !isWhite(_chars[k])) ++k;
    nameLength = k - nameStart;
  }

  bool isAlpha(unichar c) const { return isAlphaUnit(_alpha, c); }
  bool isWhite(unichar c) const { return isWhiteUnit(_white, c); }

  bool equalsFolded(std::size_t at, std::u16string_view upperWord) const {
    if (at + upperWord.size() > _size) return false;
    for (std::size_t k = 0; k < upperWord.size(); ++k) {
      if (_upper[_chars[at + k]] != upperWord[k]) return false;
    }
    return true;
  }

  // The first position in [from, to) where upperWord starts (case-insensitively when
  // folded), or NSNotFound.
  // Every word looked for starts with "<" or "-", found in bulk before the comparison.
  std::size_t find(std::u16string_view upperWord, std::size_t from, std::size_t to,
                   bool folded) const {
    if (upperWord.empty() || to < upperWord.size()) return NSNotFound;
    const std::size_t last = to - upperWord.size();
    for (std::size_t k = from; k <= last; ++k) {
      k = internal::findUnit(_chars, k, last + 1, upperWord[0]);
      if (k > last) break;
      if (folded ? equalsFolded(k, upperWord)
                 : std::u16string_view(_chars + k, upperWord.size()) == upperWord) {
        return k;
      }
    }
    return NSNotFound;
  }

  // For an opening script or style tag ending at i, the ">" of its closing tag (or the
  // last unit); otherwise i.
  std::size_t widenedEnd(std::size_t i, std::size_t nameStart, std::size_t nameLength) const {
    std::u16string_view closing;
    if (nameLength == 6 && equalsFolded(nameStart, u"SCRIPT")) closing = u"</SCRIPT";
    if (nameLength == 5 && equalsFolded(nameStart, u"STYLE")) closing = u"</STYLE";
    if (closing.empty() || i - _tagStart + 1 < 3 || _chars[_tagStart + 1] == u'/' ||
        _chars[i - 1] == u'/') {
      return i;
    }
    std::size_t close = find(closing, _tagStart + 1, _size, true);
    if (close == NSNotFound) return i;
    // A closing tag written in a comment inside the body does not end it.
    if (const std::size_t comment = find(u"<!-", _tagStart, close, false); comment != NSNotFound) {
      if (const std::size_t commentEnd = find(u"-->", comment, _size, false);
          commentEnd != NSNotFound) {
        if (const std::size_t later = find(closing, commentEnd, _size, true); later != NSNotFound) {
          close = later;
        }
      }
    }
    std::size_t end = close + closing.size();
    while (end < _size && _chars[end] != u'>') ++end;
    return end < _size ? end : _size - 1;
  }

  std::u16string_view _string;
  const unichar* _chars;
  std::size_t _size;
  Handler& _handler;
  ConversionTable _upper;
  CharacterSetRep _alpha;
  CharacterSetRep _white;

  int _kind = kTagKindEnd;
  std::size_t _tagStart = 0;
  std::size_t _textStart = 0;
  bool _doubleQuoted = false;
  bool _singleQuoted = false;
  bool _equalsSeen = false;
  bool _singleDash = false;
};

// Scans a text known to be there; the text must outlive the pass.
template <typename Handler>
void scanTags(std::u16string_view string, const unichar* characters, Handler& handler) {
  TagScanner<Handler>(string, characters, handler).run();
}

}  // namespace orvel::internal

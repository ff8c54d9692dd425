// The scanner handlers of the HTML-to-text conversion: which tags break lines, which open
// regions whose text is dropped, and when text counts at all.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "orvel/markup/entities.h"
#include "orvel/markup/internal/plain_text_state.h"
#include "orvel/markup/internal/tag_scanner_pass.h"
#include "orvel/markup/internal/unit_scan.h"
#include "orvel/markup/tag_attributes.h"
#include "orvel/text/conversion_tables.h"
#include "orvel/text/fast_compare.h"
#include "orvel/text/integer_value.h"

namespace orvel::internal {
namespace {

enum class Tag {
  kOther,
  kP,
  kDiv,
  kDir,
  kMenu,
  kHeading,
  kHr,
  kTable,
  kBlockquote,
  kBr,
  kLi,
  kOl,
  kUl,
  kDd,
  kDl,
  kDt,
  kTr,
  kTd,
  kTh,
  kCode,
  kCite,
  kA,
  kPre,
  kPlaintext,
  kInput,
  kImg,
  kSpan,
  kFont,
  kBody,
  kHead,
  kIframe,
  kNoframes,
  kNoscript,
  kMarquee,
  kTextarea,
  kOption,
  kSelect,
  kTitle,
};

// A name of up to 10 ASCII letters and digits packed 6 bits a unit into one integer, with
// its length: tag names are compared as integers.
constexpr std::size_t kLongestName = 10;

constexpr std::uint64_t packedName(std::string_view upper) {
  std::uint64_t packed = upper.size();
  for (const char c : upper) packed = packed << 6 | static_cast<std::uint64_t>(c - '0');
  return packed;
}

struct NamedTag {
  std::uint64_t name;
  Tag tag;
};

constexpr NamedTag named(std::string_view upper, Tag tag) {
  return NamedTag{packedName(upper), tag};
}

constexpr NamedTag kTagNames[] = {
    named("P", Tag::kP),
    named("A", Tag::kA),
    named("HR", Tag::kHr),
    named("BR", Tag::kBr),
    named("LI", Tag::kLi),
    named("OL", Tag::kOl),
    named("UL", Tag::kUl),
    named("DD", Tag::kDd),
    named("DL", Tag::kDl),
    named("DT", Tag::kDt),
    named("TR", Tag::kTr),
    named("TD", Tag::kTd),
    named("TH", Tag::kTh),
    named("DIV", Tag::kDiv),
    named("DIR", Tag::kDir),
    named("PRE", Tag::kPre),
    named("IMG", Tag::kImg),
    named("MENU", Tag::kMenu),
    named("CODE", Tag::kCode),
    named("CITE", Tag::kCite),
    named("SPAN", Tag::kSpan),
    named("FONT", Tag::kFont),
    named("BODY", Tag::kBody),
    named("HEAD", Tag::kHead),
    named("TABLE", Tag::kTable),
    named("INPUT", Tag::kInput),
    named("TITLE", Tag::kTitle),
    named("IFRAME", Tag::kIframe),
    named("OPTION", Tag::kOption),
    named("SELECT", Tag::kSelect),
    named("MARQUEE", Tag::kMarquee),
    named("NOFRAMES", Tag::kNoframes),
    named("NOSCRIPT", Tag::kNoscript),
    named("TEXTAREA", Tag::kTextarea),
    named("PLAINTEXT", Tag::kPlaintext),
    named("BLOCKQUOTE", Tag::kBlockquote),
};

// The known names in an open-addressing table: one multiplication and, nearly always, one
// comparison find a name's kind.
constexpr std::size_t kTagTableBits = 7;
constexpr std::size_t kTagTableSize = std::size_t{1} << kTagTableBits;
static_assert(std::size(kTagNames) * 2 < kTagTableSize);

struct TagSlot {
  std::uint64_t name = 0;  // 0: empty (every packed name holds its length, at least 1)
  Tag tag = Tag::kOther;
};

constexpr std::size_t tagSlotOf(std::uint64_t name) {
  return static_cast<std::size_t>((name * 0x9E3779B97F4A7C15u) >> (64 - kTagTableBits));
}

constexpr auto kTagTable = [] {
  std::array<TagSlot, kTagTableSize> table{};
  for (const NamedTag& named : kTagNames) {
    std::size_t slot = tagSlotOf(named.name);
    while (table[slot].name != 0) slot = (slot + 1) % kTagTableSize;
    table[slot] = TagSlot{named.name, named.tag};
  }
  return table;
}();

// The tag's kind. H1 to H9 are headings.
Tag classify(const unichar* characters, std::size_t nameStart, std::size_t nameLength) {
  if (nameStart == NSNotFound || nameLength == 0 || nameLength > kLongestName) return Tag::kOther;
  // The names known here are ASCII: a unit beyond it makes an unknown tag.
  std::uint64_t packed = nameLength;
  for (std::size_t k = 0; k < nameLength; ++k) {
    unichar c = characters[nameStart + k];
    if (c >= u'a' && c <= u'z') c -= u'a' - u'A';
    if (c < u'0' || c > u'Z') return Tag::kOther;
    packed = packed << 6 | (c - u'0');
  }
  if (nameLength == 2 && (packed >> 6) == packedName("H1") >> 6 &&
      characters[nameStart + 1] >= u'1' && characters[nameStart + 1] <= u'9') {
    return Tag::kHeading;
  }
  for (std::size_t slot = tagSlotOf(packed); kTagTable[slot].name != 0;
       slot = (slot + 1) % kTagTableSize) {
    if (kTagTable[slot].name == packed) return kTagTable[slot].tag;
  }
  return Tag::kOther;
}

// One piece as the scanner reports it.
struct Piece {
  unichar* characters;  // the scanner's private copy, decoded in place
  std::size_t tagStart;
  std::size_t tagLength;
  std::size_t textStart;
  int kind;
  bool named;
  Tag tag;
  bool opening;      // not "</..."
  bool selfClosing;  // "<.../>"

  [[nodiscard]] Range range() const { return Range{tagStart, tagLength}; }
  [[nodiscard]] bool openRegion() const { return opening && !selfClosing; }
  [[nodiscard]] std::optional<std::u16string> attribute(std::string_view upperName) const {
    return attributeOfTagCharacters(characters, range(), upperName);
  }
};

Piece pieceOf(const unichar* characters, std::size_t nameStart, std::size_t nameLength,
              std::size_t tagStart, std::size_t tagLength, std::size_t textStart, int kind) {
  // The conversion hands the scanner a string of its own, which the handlers may change.
  auto* writable = const_cast<unichar*>(characters);
  const bool isTag = kind == kTagKindTag && tagLength >= 2;
  return Piece{writable,
               tagStart,
               tagLength,
               textStart,
               kind,
               nameStart != NSNotFound,
               isTag ? classify(characters, nameStart, nameLength) : Tag::kOther,
               isTag && characters[tagStart + 1] != u'/',
               isTag && tagLength >= 3 && characters[tagStart + tagLength - 2] == u'/'};
}

bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() &&
         caseInsensitiveCompareCharacters(a.data(), a.size(), b.data(), b.size()) == 0;
}

bool containsIgnoringCase(std::u16string_view text, std::string_view needle) {
  return fastCaseInsensitiveUnicharsContainChars(text.data(), text.size(), needle.data(),
                                                 needle.size()) != nullptr;
}

// Where `needle` first stands (any case), or npos.
std::size_t findIgnoringCase(std::u16string_view text, std::string_view needle,
                             std::size_t from = 0) {
  if (from >= text.size()) return std::u16string_view::npos;
  const unichar* found = fastCaseInsensitiveUnicharsContainChars(
      text.data() + from, text.size() - from, needle.data(), needle.size());
  return found == nullptr ? std::u16string_view::npos
                          : static_cast<std::size_t>(found - text.data());
}

bool followedBy(std::u16string_view text, std::string_view first, std::string_view second) {
  const std::size_t at = findIgnoringCase(text, first);
  return at != std::u16string_view::npos &&
         findIgnoringCase(text, second, at + first.size()) != std::u16string_view::npos;
}

// Whether the tag's text holds `word` anywhere: a quick test before an attribute whose
// value must hold it is read.
bool mentions(const Piece& piece, std::string_view word, std::size_t anchor) {
  return containsAsciiIgnoringCase(piece.characters + piece.tagStart, piece.tagLength, word,
                                   anchor);
}

// Whether the tag's text spells `word` (lower-case ASCII) at `at`, in any case.
bool spellsAt(const unichar* tag, std::size_t length, std::size_t at, std::string_view word) {
  if (at + word.size() > length) return false;
  for (std::size_t m = 0; m < word.size(); ++m) {
    if ((tag[at + m] | 0x20) != static_cast<unichar>(word[m])) return false;
  }
  return true;
}

// Whether a tag may hide its content at all: a hidden class, a style and a size need the
// words "hidden", "style" or "width", found here in one pass by their h, y or w.
bool mayHide(const Piece& piece) {
  const unichar* tag = piece.characters + piece.tagStart;
  const std::size_t length = piece.tagLength;
  constexpr std::size_t kShortestHiding = 11;  // <a width=1>
  if (length < kShortestHiding) return false;
  for (std::size_t k = findFoldedAsciiLetters(tag, 0, length, u'h', u'y', u'w'); k < length;
       k = findFoldedAsciiLetters(tag, k + 1, length, u'h', u'y', u'w')) {
    const unichar letter = tag[k] | 0x20;
    if ((letter == u'h' && spellsAt(tag, length, k, "hidden")) ||
        (letter == u'y' && k >= 2 && spellsAt(tag, length, k - 2, "style")) ||
        (letter == u'w' && spellsAt(tag, length, k, "width"))) {
      return true;
    }
  }
  return false;
}

bool isHiddenElement(const Piece& piece) {
  if (!mayHide(piece)) return false;
  if (mentions(piece, "hidden", 0)) {
    const auto cssClass = piece.attribute("CLASS");
    if (cssClass && equalsIgnoringCase(*cssClass, u"hidden")) return true;
  }
  return isHiddenStyle(piece.characters, piece.tagStart, piece.tagLength);
}

// A font of 1 to 4 points: "pt" after one such digit that follows no other digit.
bool isTinyFontStyle(std::u16string_view style) {
  if (!containsIgnoringCase(style, "font-size")) return false;
  for (std::size_t at = findIgnoringCase(style, "pt"); at != std::u16string_view::npos;
       at = findIgnoringCase(style, "pt", at + 1)) {
    if (at >= 2 && style[at - 1] >= u'1' && style[at - 1] <= u'4' &&
        !(style[at - 2] >= u'0' && style[at - 2] <= u'9')) {
      return true;
    }
  }
  return false;
}

bool isHiddenFont(const PlainTextState& state, const Piece& piece) {
  if (state.bodyColor) {
    const auto color = piece.attribute("COLOR");
    if (color && equalsIgnoringCase(*color, *state.bodyColor)) return true;
  }
  if (!mentions(piece, "font-size", 4)) return false;
  const auto style = piece.attribute("STYLE");
  return style && isTinyFontStyle(*style);
}

// Whether text met now is dropped.
bool textSuppressed(const PlainTextState& state, const Piece& piece) {
  const Html2TextOptions& options = state.options;
  return (options.removeJunk && piece.tag == Tag::kTitle) || state.hiddenDiv || state.hiddenSpan ||
         state.inOption || state.inFrames || state.inNoscript || state.inMarquee ||
         state.inTextarea || (options.removeJunk && state.hiddenFont) ||
         (options.googleTags && (!(state.googleBits & kGoogleIndex) || state.inFeedDate));
}

void enterOrLeaveBody(PlainTextState& state, const Piece& piece) {
  state.bodyDepth += piece.opening ? 1 : -1;
  state.clearRegionFlags();
  state.bodyColor = piece.attribute("BGCOLOR");
}

// A frames or script fallback raises the body depth while it is open (its own flag drops
// its text), before the body as inside it, so that the depth stays balanced either way.
void enterOrLeaveFallback(PlainTextState& state, const Piece& piece) {
  state.bodyDepth += piece.opening ? 1 : -1;
  state.clearRegionFlags();
  (piece.tag == Tag::kNoframes ? state.inFrames : state.inNoscript) = piece.openRegion();
}

void countAnchorOrHeading(PlainTextState& state, const Piece& piece) {
  if (piece.openRegion()) {
    ++state.anchorDepth;
  } else if (!piece.opening && state.anchorDepth > 0) {
    --state.anchorDepth;
  }
}

// With googleTags, a comment switches the indexing bits.
void readIndexingComment(PlainTextState& state, const Piece& piece) {
  if (state.options.googleTags && piece.kind == kTagKindComment) {
    state.googleBits =
        googleBits(piece.characters, piece.tagStart, piece.tagLength, state.googleBits);
  }
}

// Before the body only the tags that open or close it matter, and indexing comments.
void handleOutsideBody(PlainTextState& state, const Piece& piece) {
  switch (piece.tag) {
    case Tag::kBody: enterOrLeaveBody(state, piece); break;
    case Tag::kHead:
      state.bodyDepth += piece.opening ? -1 : 1;
      state.clearRegionFlags();
      state.inFrames = false;
      state.bodyColor.reset();
      break;
    case Tag::kNoframes:
    case Tag::kNoscript: enterOrLeaveFallback(state, piece); break;
    default: readIndexingComment(state, piece);
  }
}

void writeTextBefore(PlainTextState& state, const Piece& piece) {
  if (piece.tagStart <= piece.textStart) return;
  const std::size_t length = piece.tagStart - piece.textStart;
  if (!textSuppressed(state, piece)) {
    state.output = appendRangeToPlainText(state, piece.characters, piece.textStart, length,
                                          piece.textStart, state.output);
    return;
  }
  constexpr std::size_t kShortestJunk = 100;
  if (state.hiddenFont && !state.junkFound && length >= kShortestJunk &&
      isJunkText(piece.characters, piece.textStart, length, state.options)) {
    state.junkFound = true;
  }
}

// Breaks and spaces between blocks and cells. Runs of block tags with no text between
// them add nothing.
void writeLineStructure(PlainTextState& state, const Piece& piece) {
  if (!state.textSinceBreak) {
    if ((piece.tag == Tag::kTd || piece.tag == Tag::kTh) && !state.outputEmpty()) {
      state.writeSpaceOrOweIt();
    } else if (piece.tag == Tag::kTr && !state.outputEmpty() && !state.endsInLineBreak()) {
      state.writeBreak(1);
    }
    return;
  }
  switch (piece.tag) {
    case Tag::kP:
    case Tag::kDiv:
    case Tag::kDir:
    case Tag::kMenu:
    case Tag::kHeading:
    case Tag::kHr:
    case Tag::kTable:
    case Tag::kBlockquote: state.writeBreak(2); break;
    case Tag::kBr:
    case Tag::kLi:
    case Tag::kOl:
    case Tag::kUl:
    case Tag::kDd:
    case Tag::kDl:
    case Tag::kDt:
    case Tag::kTr: state.writeBreak(1); break;
    case Tag::kTd:
    case Tag::kTh:
      state.writeSpaceOrOweIt();
      state.textSinceBreak = false;
      break;
    case Tag::kCode:
    case Tag::kCite:
      if (!state.endsInWhite()) state.write(u' ');
      break;
    default: break;
  }
}

// Makes the output end in a blank line, when it holds anything.
void endInBlankLine(PlainTextState& state) {
  if (state.output - state.outputStart < 2) return;
  if (!state.endsInLineBreak()) {
    state.writeBreak(2);
  } else if (!(state.output[-2] == u'\n' || state.output[-2] == u'\r')) {
    state.writeBreak(1);
  }
}

void appendImageText(PlainTextState& state, const Piece& piece) {
  auto text = piece.attribute("ALT");
  if (!text) text = piece.attribute("TITLE");
  if (!text || textSuppressed(state, piece)) return;
  state.pendingSpace = true;
  state.output = appendRangeToPlainText(state, text->data(), 0, text->size(), 0, state.output);
  state.pendingSpace = true;
}

void handleRegions(PlainTextState& state, const Piece& piece) {
  switch (piece.tag) {
    case Tag::kA:
      countAnchorOrHeading(state, piece);
      state.pendingSpace = true;
      return;
    case Tag::kHeading: countAnchorOrHeading(state, piece); break;
    case Tag::kPre:
    case Tag::kPlaintext:
      // plaintext always opens with a blank line, even at the very start; pre only after
      // text on the line.
      if (piece.openRegion() &&
          (piece.tag == Tag::kPlaintext || (!state.endsInLineBreak() && !state.outputEmpty() &&
                                            (state.textSinceBreak || state.pendingSpace)))) {
        state.writeBreak(2);
      }
      state.collapse = !piece.openRegion();
      break;
    case Tag::kCode: state.collapse = !piece.openRegion(); break;
    case Tag::kInput: state.writeSpaceOrOweIt(); break;
    case Tag::kTable: endInBlankLine(state); break;
    case Tag::kImg:
      if (state.options.imageAlts) appendImageText(state, piece);
      return;
    case Tag::kDiv: state.hiddenDiv = isHiddenElement(piece); break;
    case Tag::kSpan: state.hiddenSpan = isHiddenElement(piece); return;
    case Tag::kFont: {
      state.hiddenFont = isHiddenFont(state, piece);
      const auto cssClass =
          mentions(piece, "feed_date", 4) ? piece.attribute("CLASS") : std::nullopt;
      state.inFeedDate = cssClass && *cssClass == u"feed_date";
      return;
    }
    case Tag::kBody: enterOrLeaveBody(state, piece); return;
    case Tag::kIframe: state.inFrames = piece.openRegion(); return;
    case Tag::kNoframes:
    case Tag::kNoscript: enterOrLeaveFallback(state, piece); return;
    case Tag::kMarquee: state.inMarquee = piece.openRegion(); return;
    case Tag::kTextarea: state.inTextarea = piece.openRegion(); return;
    case Tag::kOption: state.inOption = piece.openRegion(); break;
    case Tag::kSelect: state.inOption = false; break;
    default: return;
  }
  // The tags that reach here also end a marquee or text area left open.
  state.inMarquee = state.inTextarea = false;
}

}  // namespace

bool isHiddenStyle(const unichar* characters, std::size_t tagStart, std::size_t tagLength) {
  const Range tag{tagStart, tagLength};
  const std::u16string_view text(characters + tagStart, tagLength);
  if (!containsAsciiIgnoringCase(text.data(), text.size(), "style", 2)) {
    // No style to read; the size test below still applies.
  } else if (const auto style = attributeOfTagCharacters(characters, tag, "STYLE")) {
    if (followedBy(*style, "visibility", "hidden") || followedBy(*style, "display:", "none")) {
      return true;
    }
    if (containsIgnoringCase(*style, "position:absolute")) {
      constexpr std::ptrdiff_t kOffScreen = -1000;
      const auto offset = [&](std::u16string_view name) {
        const auto value = attributeOfStyleWithName(*style, name);
        return value ? integerValue(*value) : 0;
      };
      if (offset(u"TOP") < kOffScreen || offset(u"LEFT") < kOffScreen) return true;
    }
  }
  // Every tag whose size is given counts, styled or not: a box too small to read hides
  // its text as well as a style does. Without "width" no size can be read: most tags are
  // settled without reading attributes.
  if (!containsAsciiIgnoringCase(text.data(), text.size(), "width")) return false;
  std::ptrdiff_t width = 0, height = 0;
  return getTagWidth(&width, &height, characters, tag) &&
         (width < 3 || (height > 0 && height <= 2));
}

unsigned googleBits(const unichar* characters, std::size_t tagStart, std::size_t tagLength,
                    unsigned bits) {
  constexpr std::size_t kShortestIndexingComment = 19;
  if (tagLength < kShortestIndexingComment) return bits;
  const std::u16string_view comment(characters + tagStart, tagLength);
  const auto bitsAfter = [&](std::size_t at) -> unsigned {
    if (findIgnoringCase(comment, "all", at) != std::u16string_view::npos) return kGoogleAll;
    unsigned named = 0;
    if (findIgnoringCase(comment, "index", at) != std::u16string_view::npos) named |= kGoogleIndex;
    if (findIgnoringCase(comment, "snippet", at) != std::u16string_view::npos) {
      named |= kGoogleSnippet;
    }
    if (findIgnoringCase(comment, "anchor", at) != std::u16string_view::npos) {
      named |= kGoogleAnchor;
    }
    return named;
  };
  if (const std::size_t on = findIgnoringCase(comment, "googleon:");
      on != std::u16string_view::npos) {
    bits |= bitsAfter(on + 9);
  }
  if (const std::size_t off = findIgnoringCase(comment, "googleoff:");
      off != std::u16string_view::npos) {
    bits &= ~bitsAfter(off + 10);
  }
  return bits;
}

bool plainTextHandler(std::u16string_view, const unichar* characters, std::size_t nameStart,
                      std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                      std::size_t textStart, int kind, void* context) {
  auto& state = *static_cast<PlainTextState*>(context);
  const Piece piece =
      pieceOf(characters, nameStart, nameLength, tagStart, tagLength, textStart, kind);
  if (state.bodyDepth < 1) {
    handleOutsideBody(state, piece);
    return false;
  }
  state.seenBodyContent = true;
  writeTextBefore(state, piece);
  if (!piece.named) {
    readIndexingComment(state, piece);
    return false;
  }
  writeLineStructure(state, piece);
  handleRegions(state, piece);
  return false;
}

bool simplePlainTextHandler(std::u16string_view, const unichar* characters, std::size_t nameStart,
                            std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                            std::size_t textStart, int kind, void* context) {
  auto& state = *static_cast<PlainTextState*>(context);
  const Piece piece =
      pieceOf(characters, nameStart, nameLength, tagStart, tagLength, textStart, kind);
  if (tagStart > textStart && state.bodyDepth >= 1) {
    std::size_t length = tagStart - textStart;
    if (length >= 4) {
      length = convertEntities2Characters(piece.characters, piece.characters + textStart, textStart,
                                          length, true, false, false);
    }
    if (length > 0) {
      state.write(u' ');
      state.output = std::copy_n(characters + textStart, length, state.output);
      state.textSinceBreak = true;
    }
  }
  if (piece.selfClosing) return false;
  if (piece.tag == Tag::kHead) state.bodyDepth += piece.opening ? -1 : 1;
  if (piece.tag == Tag::kBody || piece.tag == Tag::kNoframes) {
    state.bodyDepth += piece.opening ? 1 : -1;
  }
  return false;
}

void scanForPlainText(std::u16string_view html, PlainTextState& state) {
  // The handlers called directly, where the compiler can see them, rather than through a
  // pointer: the same protocol, at less cost per piece.
  const auto run = [&](auto handler) {
    auto call = [&state, handler](std::u16string_view string, const unichar* characters,
                                  std::size_t nameStart, std::size_t nameLength,
                                  std::size_t tagStart, std::size_t tagLength,
                                  std::size_t textStart, int kind) {
      return handler(string, characters, nameStart, nameLength, tagStart, tagLength, textStart,
                     kind, &state);
    };
    scanTags(html, html.data(), call);
  };
  if (state.options.simplified) {
    run(simplePlainTextHandler);
  } else {
    run(plainTextHandler);
  }
}

}  // namespace orvel::internal

// The state of one HTML-to-text conversion, shared by its two scanner handlers and the
// routine that appends runs of text.
//
// Invariants: outputStart <= lastBreak <= output, all in one buffer sized for 8 output
// units per input unit, which no conversion can outgrow. The scanner runs over a private
// copy of the input, so runs of text are decoded in place before they are copied out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "orvel/base/types.h"
#include "orvel/markup/html_to_text.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/character_sets.h"

namespace orvel::internal {

// Bits of the indexing state that googleoff:/googleon: comments switch.
inline constexpr unsigned kGoogleIndex = 1;
inline constexpr unsigned kGoogleSnippet = 2;
inline constexpr unsigned kGoogleAnchor = 4;
inline constexpr unsigned kGoogleAll = 7;

// Text counts while the body depth is at least 1; this start stands for "no body needed".
inline constexpr std::ptrdiff_t kWholeDocumentDepth = 0x3FFFFFFFFFFFFFFF;

struct PlainTextState {
  unichar* outputStart = nullptr;
  unichar* output = nullptr;     // where the next unit goes
  unichar* lastBreak = nullptr;  // just after the last line break written

  std::optional<std::u16string> bodyColor;  // bgcolor of the last body tag
  Html2TextOptions options;

  // Regions whose text is dropped.
  bool inMarquee = false;
  bool inTextarea = false;
  bool inFrames = false;  // noframes or iframe
  bool inNoscript = false;
  bool inOption = false;
  bool hiddenFont = false;
  bool inFeedDate = false;
  bool hiddenDiv = false;
  bool hiddenSpan = false;

  bool collapse = true;          // false inside preformatted text
  bool textSinceBreak = false;   // the simple handler's "wrote text"
  bool pendingSpace = false;     // one space is owed before the next text
  bool seenBodyContent = false;  // the handler ran inside the body at least once
  bool junkFound = false;

  std::ptrdiff_t bodyDepth = 0;
  std::ptrdiff_t anchorDepth = 0;  // open anchors and headings
  unsigned googleBits = kGoogleAll;

  // Held here, so that the per-unit tests make no call.
  CharacterSetRep white = whiteCharacterSetRep();
  CharacterSetRep space = spaceCharacterSetRep();

  [[nodiscard]] bool isWhite(unichar c) const { return isWhiteUnit(white, c); }
  [[nodiscard]] bool isSpacing(unichar c) const { return isMemberOfCharacterSetRep(space, c); }
  [[nodiscard]] bool outputEmpty() const { return output == outputStart; }
  // True for an empty output too: no space is ever written first.
  [[nodiscard]] bool endsInWhite() const;
  [[nodiscard]] bool endsInLineBreak() const;
  void write(unichar c) { *output++ = c; }
  void writeBreak(int newlines);  // "\n" or "\n\n", a line break
  void writeSpaceOrOweIt();       // one space unless the output ends in white space
  void clearRegionFlags();        // marquee, textarea, hidden and option
};

// Appends the run [start, start + length) of characters (decoded in place first) and
// answers the new output position. boundaryIndex is the unit whose white space makes a
// space pending before the run.
unichar* appendRangeToPlainText(PlainTextState& state, unichar* characters, std::size_t start,
                                std::size_t length, std::size_t boundaryIndex, unichar* output);

// Whether a tag's style or size hides its content.
[[nodiscard]] bool isHiddenStyle(const unichar* characters, std::size_t tagStart,
                                 std::size_t tagLength);

// The indexing bits after a comment.
[[nodiscard]] unsigned googleBits(const unichar* characters, std::size_t tagStart,
                                  std::size_t tagLength, unsigned bits);

// Whether hidden-font text dropped from the page is keyword stuffing: long, and made of
// long runs of letters and digits.
[[nodiscard]] bool isJunkText(unichar* characters, std::size_t start, std::size_t length,
                              const Html2TextOptions& options);

// Runs the scanner over the page with the handler the options choose (the simple one for
// `simplified`); the page's units may be changed.
void scanForPlainText(std::u16string_view html, PlainTextState& state);

// The two handlers; the context is a PlainTextState.
bool plainTextHandler(std::u16string_view string, const unichar* characters, std::size_t nameStart,
                      std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                      std::size_t textStart, int kind, void* context);
bool simplePlainTextHandler(std::u16string_view string, const unichar* characters,
                            std::size_t nameStart, std::size_t nameLength, std::size_t tagStart,
                            std::size_t tagLength, std::size_t textStart, int kind, void* context);

}  // namespace orvel::internal

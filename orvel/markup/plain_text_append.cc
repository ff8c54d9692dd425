// Appending runs of page text to the plain-text output: decoding, collapsing white space,
// preformatted line structure and the junk limits.
#include <algorithm>

#include "orvel/markup/entities.h"
#include "orvel/markup/internal/plain_text_state.h"
#include "orvel/markup/internal/unit_scan.h"
#include "orvel/text/character_sets.h"

namespace orvel::internal {
namespace {

// A run in collapse mode this long is no prose, nor one this long in an anchor or heading.
constexpr std::size_t kJunkRunLength = 10001;
constexpr std::size_t kJunkAnchorRunLength = 3501;
// A line this long is keyword stuffing: it is cut back to the last line break.
constexpr std::ptrdiff_t kJunkLineLength = 20000;

bool isLineBreakUnit(unichar c) {
  switch (c) {
    case 0x000A:
    case 0x000C:
    case 0x000D:
    case 0x0003:
    case 0x2028:
    case 0x2029:
    case 0xFEFF:
    case 0xFFFC: return true;
    default: return false;
  }
}

// Decodes a run of at least 4 units in place as the options ask; answers its new length.
std::size_t decodeRun(unichar* characters, std::size_t start, std::size_t length,
                      const Html2TextOptions& options) {
  if (length < 4) return length;
  // Most runs hold no reference: then there is nothing to decode unless accents are folded.
  if (!options.nonUmlauted && findUnit(characters, start, start + length, u'&') == start + length) {
    return length;
  }
  if (options.entities) {
    return convertEntities2Characters(characters, characters + start, start, length,
                                      options.stdEntities, false, options.nonUmlauted);
  }
  if (options.stdEntities) return convertStandardEntities2Characters(characters + start, length);
  return length;
}

// Every run of white space as one space, none right after white space already written.
// Printable ASCII with single spaces is copied in blocks.
void copyCollapsingWhite(PlainTextState& state, const unichar* run, std::size_t length) {
  unichar* out = state.output;
  const auto endsInWhite = [&] { return out == state.outputStart || state.isWhite(out[-1]); };
  for (std::size_t i = 0; i < length;) {
    const std::size_t copied = copySingleSpacedAscii(run, i, length, out, endsInWhite());
    out += copied - i;
    i = copied;
    if (i == length) break;
    if (!state.isWhite(run[i])) {
      *out++ = run[i++];
      continue;
    }
    while (i < length && state.isWhite(run[i])) ++i;
    if (!endsInWhite()) *out++ = u' ';
  }
  state.output = out;
}

// Preformatted text keeping its lines: a blank line stays one, a single break stays where
// the next line starts like a list item, quote or code (space, "-", "/", ">", "}") and
// joins the lines otherwise.
void copyReformatted(PlainTextState& state, const unichar* run, std::size_t length) {
  for (std::size_t i = 0; i < length;) {
    const unichar c = run[i];
    if (isLineBreakUnit(c)) {
      int breaks = 0;
      while (i < length && isLineBreakUnit(run[i])) {
        i += run[i] == u'\r' && i + 1 < length && run[i + 1] == u'\n' ? 2 : 1;
        ++breaks;
      }
      const unichar next = i < length ? run[i] : 0;
      if (breaks >= 2) {
        state.writeBreak(2);
      } else if (next == u' ' || next == u'-' || next == u'/' || next == u'>' || next == u'}') {
        state.writeBreak(1);
      } else if (!state.endsInWhite()) {
        state.write(u' ');
      }
    } else if (state.isSpacing(c) || state.isWhite(c)) {
      while (i < length && !isLineBreakUnit(run[i]) &&
             (state.isSpacing(run[i]) || state.isWhite(run[i]))) {
        ++i;
      }
      if (state.outputEmpty() || state.output[-1] != u' ') state.write(u' ');
    } else {
      state.write(c);
      ++i;
    }
  }
}

}  // namespace

bool PlainTextState::endsInWhite() const { return outputEmpty() || isWhite(output[-1]); }

bool PlainTextState::endsInLineBreak() const {
  return !outputEmpty() && isLineBreakUnit(output[-1]);
}

void PlainTextState::writeBreak(int newlines) {
  // Spaces that cells wrote before the break stay: a cell's space ends its text, whatever
  // follows.
  for (int k = 0; k < newlines; ++k) write(u'\n');
  lastBreak = output;
  textSinceBreak = false;
  pendingSpace = false;
}

void PlainTextState::writeSpaceOrOweIt() {
  if (endsInWhite()) {
    pendingSpace = true;
  } else {
    write(u' ');
  }
}

void PlainTextState::clearRegionFlags() {
  inMarquee = inTextarea = inOption = false;
  hiddenDiv = hiddenSpan = hiddenFont = false;
}

unichar* appendRangeToPlainText(PlainTextState& state, unichar* characters, std::size_t start,
                                std::size_t length, std::size_t boundaryIndex, unichar* output) {
  state.output = output;
  const Html2TextOptions& options = state.options;
  const bool collapse = state.collapse;
  if (options.removeJunk && ((collapse && length >= kJunkRunLength) ||
                             (state.anchorDepth > 0 && length >= kJunkAnchorRunLength))) {
    state.junkFound = true;
    if (collapse) state.pendingSpace = true;
    return state.output;
  }
  length = decodeRun(characters, start, length, options);
  if (length == 0) {
    if (collapse) state.pendingSpace = true;
    return state.output;
  }
  const unichar* run = characters + start;
  std::size_t first = 0, last = length;
  if (collapse) {
    while (first < last && state.isWhite(run[first])) ++first;
    while (last > first && state.isWhite(run[last - 1])) --last;
    if (first == last) {
      state.pendingSpace = true;
      return state.output;
    }
  }
  if (state.isWhite(characters[boundaryIndex])) state.pendingSpace = true;
  if (state.pendingSpace && state.textSinceBreak && !state.endsInWhite()) state.write(u' ');
  const unichar* const before = state.output;
  if (collapse || !options.reformat) {
    copyCollapsingWhite(state, run + first, last - first);
  } else {
    copyReformatted(state, run + first, last - first);
  }
  if (options.removeJunk && state.output - state.lastBreak > kJunkLineLength) {
    state.junkFound = true;
    state.output = state.lastBreak;
  }
  state.pendingSpace = state.isWhite(run[length - 1]);
  if (state.output > before) state.textSinceBreak = true;
  return state.output;
}

bool isJunkText(unichar* characters, std::size_t start, std::size_t length,
                const Html2TextOptions& options) {
  const CharacterSetRep white = whiteCharacterSetRep();
  const auto isWhite = [white](unichar c) { return isMemberOfCharacterSetRep(white, c); };
  length = decodeRun(characters, start, length, options);
  const unichar* run = characters + start;
  std::size_t first = 0, last = length;
  while (first < last && isWhite(run[first])) ++first;
  while (last > first && isWhite(run[last - 1])) --last;
  const CharacterSetRep alphaNum = alphaNumCharacterSetRep();
  std::size_t letters = 0, otherRuns = 0;
  bool inOther = false;
  for (std::size_t k = first; k < last; ++k) {
    const bool letter = isMemberOfCharacterSetRep(alphaNum, run[k]);
    letters += letter ? 1 : 0;
    if (!letter && !inOther) ++otherRuns;
    inOther = !letter;
  }
  return letters >= 100 && otherRuns >= 5 && letters / otherRuns >= 6;
}

}  // namespace orvel::internal

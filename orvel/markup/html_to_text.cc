#include "orvel/markup/html_to_text.h"

#include <memory>
#include <new>

#include <unistd.h>

#include "orvel/markup/internal/plain_text_state.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

using internal::PlainTextState;

// Every break and space the handlers add stays within 8 output units per input unit.
constexpr std::size_t kOutputUnitsPerInputUnit = 8;

// Room for the units copied eight at a time past the end of what is written.
constexpr std::size_t kOutputSlackUnits = 16;

std::size_t outputCapacity(std::size_t inputUnits) {
  static const std::size_t pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t bytes =
      (inputUnits * kOutputUnitsPerInputUnit + kOutputSlackUnits) * sizeof(unichar);
  return (bytes + pageSize - 1) / pageSize * pageSize / sizeof(unichar);
}

PlainTextState freshState(const Html2TextOptions& options, unichar* output,
                          std::ptrdiff_t bodyDepth) {
  PlainTextState state;
  state.outputStart = state.output = state.lastBreak = output;
  state.options = options;
  state.bodyDepth = bodyDepth;
  return state;
}

bool sawBodyContent(const PlainTextState& state) {
  return state.options.simplified ? state.textSinceBreak : state.seenBodyContent;
}

}  // namespace

std::u16string convertHtml2PlainText(std::u16string&& html, const Html2TextOptions& options,
                                     bool* didRemoveJunk) {
  static_cast<void>(initLowerCharsTable());
  static_cast<void>(initUmlautsCharsTable());
  if (didRemoveJunk != nullptr) *didRemoveJunk = false;
  if (html.empty()) return std::move(html);
  // Not zeroed: only what the handlers write is read.
  const std::unique_ptr<unichar[]> buffer(new (std::nothrow) unichar[outputCapacity(html.size())]);
  if (!buffer) return std::move(html);
  // The handlers decode runs of text in place: they are handed this string's own units,
  // which it may change. Nothing is changed before text inside the body is met, so a
  // document without body text is still as it came for the second scan, or for returning.
  PlainTextState state =
      freshState(options, buffer.get(), options.onlyBody ? 0 : internal::kWholeDocumentDepth);
  internal::scanForPlainText(html, state);
  if (options.onlyBody && !sawBodyContent(state)) {
    // No body: the document is converted whole.
    state = freshState(options, buffer.get(), internal::kWholeDocumentDepth);
    internal::scanForPlainText(html, state);
  }
  if (!sawBodyContent(state)) return std::move(html);
  if (didRemoveJunk != nullptr) *didRemoveJunk = state.junkFound;
  // Breaks and spaces owed to the last block or cell end nothing.
  const CharacterSetRep white = whiteCharacterSetRep();
  while (state.output > state.outputStart && isMemberOfCharacterSetRep(white, state.output[-1])) {
    --state.output;
  }
  return std::u16string(state.outputStart, state.output);
}

std::u16string convertHtml2PlainText(std::u16string_view html, const Html2TextOptions& options,
                                     bool* didRemoveJunk) {
  return convertHtml2PlainText(std::u16string(html), options, didRemoveJunk);
}

}  // namespace orvel

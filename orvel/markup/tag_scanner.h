// The tag scanner: one forward pass over a text's UTF-16 units that finds tags, comments
// and bracketed sections and calls a handler once for each, with the text before it, and
// once more at the end for the trailing text. There is no tree: every markup operation is
// a handler and the context record it fills.
//
// What the pass recognises:
//   - "<" in text opens a tag; "<!-" a comment, "<![" a bracketed section (CDATA,
//     conditional sections). A "<" inside any piece is content ("<a <b>" is one tag).
//   - In a tag, a quote opens a value only after an "=", and a ">" inside an open value
//     does not end the tag.
//   - A comment ends at "-->" ("->" for one opened by "<!-" and one dash), or "--!>"; a
//     section at "]>" or "]-->".
//   - A tag's name starts at its first letter and runs to white space, "/" or ">" ("</p>",
//     "< p>", "<?xml?>" and "<!DOCTYPE>" are named p, p, xml and DOCTYPE). An opening
//     script or style tag is widened through its closing tag (one written inside a
//     comment in the body does not count), so that handlers dropping tags drop the body.
//   - At the end, a comment or section still open gets its call; an unfinished tag belongs
//     to the trailing text. Then the final call (kind 0), unless a handler stopped.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "orvel/base/types.h"

namespace orvel {

enum TagKind : int {
  kTagKindEnd = 0,      // the final call
  kTagKindTag = 1,      // an ordinary tag
  kTagKindComment = 2,  // <!- ...
  kTagKindSection = 3,  // <![ ...
};

// Called for each piece. Positions are indexes into `characters` (the whole text): the
// name (NSNotFound and 0 when there is none), the piece from its "<" through its ">" (at the
// end: the text's length and 0), and where the text before the piece starts (it runs to
// tagStart). Answering true stops the scan at once, without the final call.
using TagHandler = bool (*)(std::u16string_view string, const unichar* characters,
                            std::size_t nameStart, std::size_t nameLength, std::size_t tagStart,
                            std::size_t tagLength, std::size_t textStart, int kind, void* context);

// Scans the text; false without a call for a missing or empty text, else true (also when
// a handler stopped). isMutable scans a private copy of the units, for handlers that edit
// the text they are given. Builds the lower- and upper-case tables first, for handlers.
bool GetTagsOfString(std::optional<std::u16string_view> string, TagHandler handler, void* context,
                     bool isMutable);

// The same for a text known to be there.
bool parseXmlWithHandler(std::u16string_view string, TagHandler handler, void* context,
                         bool isMutable);

}  // namespace orvel

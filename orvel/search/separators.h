// The default separator sets of word, component, sentence and line splitting.
//
// Each is a CharacterSetRep, built once on first use (thread-safely) and kept for the
// life of the process. The word separators are built in this order:
//   1. white space and newlines: general categories Z*, plus U+0009..U+000D and U+0085;
//   2. the 73 units of the word-separator table (ASCII punctuation, typographic quotes,
//      dashes, symbols such as U+00A9 and U+2122, and the white-space extras of the
//      text core: U+0000, U+0003, U+FEFF, U+FFFC...);
//   3. the surrogates U+D800..U+DFFE (U+DFFF is deliberately left out);
//   4. the private-use units U+F400..U+F8FE (U+F8FF is deliberately left out);
//   5. over U+0000..U+FFFE, the units of these general categories: punctuation (P*),
//      unassigned (Cn, the "illegal" characters), control and format (Cc, Cf), and
//      symbols (S*).
// So letters, digits and marks are word characters; apostrophes and hyphens separate
// («don't» and «e-mail» are two words each).
#pragma once

#include "orvel/text/character_sets.h"

namespace orvel {

[[nodiscard]] CharacterSetRep defaultWordSeparators();
// . , : ; ! ? and the line breaks U+000A U+000D U+000C U+FFFC U+FEFF U+2029 U+2028 U+0003.
[[nodiscard]] CharacterSetRep defaultComponentSeparators();
// The component separators without "," and ";".
[[nodiscard]] CharacterSetRep defaultSentenceSeparators();
// U+000D U+000A U+000C U+2029 U+2028 U+0003 U+FFFC.
[[nodiscard]] CharacterSetRep defaultLineSeparators();

// Builds the word, component and line separators ahead of use.
void initSeparators();

}  // namespace orvel

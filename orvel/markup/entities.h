// Character entity references: decoding named (`&eacute;`) and numeric (`&#233;`,
// `&#xE9;`) references to characters, and encoding characters as references.
//
// Decoding rules, in the order they are tried at each "&":
//   - `&apos` and `&nbsp` always, `&quot` with markup entities: an apostrophe, U+00A0, a
//     double quote; with markup entities also `&amp`, `&gt`, `&lt`. Case-sensitive; a
//     following ";" is consumed.
//   - A name: the run of letters and digits after "&", 1 to 30 units, ended by ";"
//     (consumed) or any other unit (kept), looked up among the HTML 4.01 names but quot,
//     amp, lt, gt, cedil and fnof (`lt`, `gt`, `amp`, `quot` never match here, so that
//     with markup entities off they stay as written).
//   - A number: `&#` then decimal digits, or `x`/`X` then hexadecimal digits, ended the
//     same way, at most 31 units from after "&" through the ending unit; no digits at all
//     give U+0000. Values above U+FFFF become a surrogate pair; beyond U+10FFFF, or (with
//     markup entities off) a value that is a double quote, "&", "<" or ">", the reference
//     stays as written.
//   - A run that reaches the end of the text has no ending unit: its last unit counts as
//     one and is kept, so `&#65` at the very end gives U+0006 then "5" and `&copy` at the
//     very end stays as written.
// Anything else leaves the "&" as it is and goes on after it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "orvel/base/types.h"

namespace orvel {

// Decodes the units [start, start + length) of source into destination (from its first
// unit) and answers how many were written; never more than were read, so destination may
// be source itself. With nonUmlauted every unit written, decoded or not, goes through the
// accent-folding table.
std::size_t convertEntities2Characters(const unichar* source, unichar* destination,
                                       std::size_t start, std::size_t length, bool markupEntities,
                                       bool onlyNumericEntities, bool nonUmlauted);

// The decoded text. Texts shorter than 4 units, and texts in which nothing was decoded,
// come back as they are: accents are folded only along with a decoding.
[[nodiscard]] std::u16string stringByConvertingEntitiesToCharacters(std::u16string_view string,
                                                                    bool markupEntities,
                                                                    bool onlyNumericEntities,
                                                                    bool nonUmlauted);
// Markup entities on, named and numeric references, no folding.
[[nodiscard]] std::u16string stringByConvertingEntitiesToCharacters(std::u16string_view string);
[[nodiscard]] std::u16string stringByConvertingEntitiesToCharactersNonUmlauted(
    std::u16string_view string, bool nonUmlauted);

// Only `&quot;`, `&amp;`, `&lt;`, `&gt;`, `&#34;`, `&#38;`, `&#60;` and `&#62;`, each with its
// ";", in one quick pass.
[[nodiscard]] std::u16string stringByConvertingStandardEntitiesToCharacters(
    std::u16string_view string);
// The same in place; answers the new length.
std::size_t convertStandardEntities2Characters(unichar* characters, std::size_t length);

// ASCII text: every unit with a name as "&name;", other units above 127 as "&#N;"
// (decimal; a surrogate pair as two references), ASCII as it is ("<", "&" included).
[[nodiscard]] std::u16string stringByConvertingCharactersToEntities(std::u16string_view string);
// Every unit above 127 as "&#N;" (decimal).
[[nodiscard]] std::u16string stringByConvertingHighCharactersToEntities(std::u16string_view string);
// The double quote, "&", "<" and ">" as "&quot;", "&amp;", "&lt;" and "&gt;".
[[nodiscard]] std::u16string stringByConvertingCharactersToStandardEntities(
    std::u16string_view string);

// Builds the table from characters to names (and the letter-and-digit set names are read
// with) now rather than on first use; safe to call from several threads.
void initConversionTables();

}  // namespace orvel

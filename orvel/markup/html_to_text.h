// HTML to readable plain text, in one pass of the tag scanner.
//
// Block elements become line breaks and blank lines, table cells spaces; entities are
// decoded and white space collapsed. Content nobody reads is dropped: scripts and styles,
// option lists, marquees, text areas, frame and script fallbacks, elements hidden by their
// class or style (display:none, visibility:hidden, far off screen, a size under 3 pixels),
// and, on request, text in the page's background colour or in a font of 1 to 4 points,
// runs too long to be prose (keyword stuffing) and sections fenced off by indexing
// comments (<!--googleoff: index--> ... <!--googleon: index-->).
//
// The text is written into one buffer of 8 output units per input unit, allocated up front:
// enough for every break and space the conversion can add, so it never grows. When that
// buffer cannot be had, or the text holds nothing to convert, the input comes back as it is.
#pragma once

#include <string>
#include <string_view>

namespace orvel {

struct Html2TextOptions {
  bool simplified = false;   // every run of text after one space, no line structure
  bool entities = true;      // decode entity references
  bool stdEntities = true;   // the markup references too (&amp; &lt; &gt; &quot;)
  bool nonUmlauted = false;  // fold accents away while decoding
  bool reformat = false;     // keep the line structure of preformatted text
  bool onlyBody = false;     // only the body (a document without one is converted whole)
  bool removeJunk = false;   // drop invisible text and keyword stuffing
  bool googleTags = false;   // honour googleoff:/googleon: comments
  bool imageAlts = true;     // an image's alt (or title) text stands in for it
};

// The conversion every form below goes through. *didRemoveJunk (optional) tells whether
// junk was found and dropped.
[[nodiscard]] std::u16string convertHtml2PlainText(std::u16string_view html,
                                                   const Html2TextOptions& options,
                                                   bool* didRemoveJunk = nullptr);
// The same for a string the caller gives up (a page just read, say): it is converted where
// it stands instead of in a copy.
[[nodiscard]] std::u16string convertHtml2PlainText(std::u16string&& html,
                                                   const Html2TextOptions& options,
                                                   bool* didRemoveJunk = nullptr);

// The body's text runs, each after one space, entities decoded, nothing else done.
[[nodiscard]] inline std::u16string stringByConvertingHtml2SimplifiedPlainText(
    std::u16string_view html) {
  return convertHtml2PlainText(html, {.simplified = true, .onlyBody = true});
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2PlainTextEntities(
    std::u16string_view html, bool entities, bool stdEntities, bool nonUmlauted, bool reformat,
    bool onlyBody, bool removeJunk, bool* didRemoveJunk, bool googleTags, bool imageAlts) {
  return convertHtml2PlainText(html,
                               {.entities = entities,
                                .stdEntities = stdEntities,
                                .nonUmlauted = nonUmlauted,
                                .reformat = reformat,
                                .onlyBody = onlyBody,
                                .removeJunk = removeJunk,
                                .googleTags = googleTags,
                                .imageAlts = imageAlts},
                               didRemoveJunk);
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2PlainTextNonUmlauted(
    std::u16string_view html, bool nonUmlauted, bool reformat, bool onlyBody, bool removeJunk,
    bool* didRemoveJunk, bool googleTags, bool imageAlts) {
  return stringByConvertingHtml2PlainTextEntities(html, true, true, nonUmlauted, reformat, onlyBody,
                                                  removeJunk, didRemoveJunk, googleTags, imageAlts);
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2PlainTextNonUmlauted(
    std::u16string_view html, bool nonUmlauted, bool reformat, bool onlyBody, bool googleTags,
    bool imageAlts) {
  return stringByConvertingHtml2PlainTextNonUmlauted(html, nonUmlauted, reformat, onlyBody, false,
                                                     nullptr, googleTags, imageAlts);
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2PlainTextNonUmlauted(
    std::u16string_view html, bool nonUmlauted, bool reformat, bool onlyBody, bool googleTags) {
  return stringByConvertingHtml2PlainTextNonUmlauted(html, nonUmlauted, reformat, onlyBody,
                                                     googleTags, true);
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2PlainTextNonUmlauted(
    std::u16string_view html, bool nonUmlauted) {
  return stringByConvertingHtml2PlainTextNonUmlauted(html, nonUmlauted, false, false, false);
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2ReformattedPlainText(
    std::u16string_view html) {
  return convertHtml2PlainText(html, {.reformat = true});
}

[[nodiscard]] inline std::u16string stringByConvertingHtml2PlainText(std::u16string_view html) {
  return convertHtml2PlainText(html, {});
}

}  // namespace orvel

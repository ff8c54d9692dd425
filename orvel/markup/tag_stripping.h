// Removing markup: every tag, the tags of one name, all but one attribute of a tag, or whole
// elements (bodies) chosen by the prefix of their opening tag.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel {

// The texts between the pieces, each after one space unless the result so far ends in
// white space (an empty result counts as ending in U+0000, which is white): tags,
// comments, sections and whole script and style elements vanish.
[[nodiscard]] std::u16string stripTags(std::u16string_view markup);

// Without the tags named `upperName` ("BR"; compared without case); the text as it is when
// there is none or the name is empty.
[[nodiscard]] std::u16string stripTag(std::u16string_view markup, std::string_view upperName);

// The tags named `upperName` rewritten with one attribute at most: "<NAME HREF=\"...\">", else
// "<NAME SRC=\"...\">" (with "/>" when self-closing), else "<NAME>"; a self-closing one with
// neither is dropped, a closing one becomes "</NAME>". NAME is printed as given; values are
// inserted as read.
[[nodiscard]] std::u16string stripAttributesOfTag(std::u16string_view markup,
                                                  std::string_view upperName);

// Elements whose opening tag starts with one of the prefixes ("<form" matches <form ...>
// and <formx>, without case), nested ones of the same name included; a self-closing twin
// inside ends the element early. Without `except` they are removed; with it only they are
// kept, each followed by "\n" (nullopt for no prefixes or an empty text).
[[nodiscard]] std::optional<std::u16string> stripTagBodies(
    std::u16string_view markup, const std::vector<std::u16string>& prefixes, bool except);

}  // namespace orvel

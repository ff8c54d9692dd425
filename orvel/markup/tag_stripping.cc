#include "orvel/markup/tag_stripping.h"

#include <algorithm>

#include "orvel/markup/internal/tag_names.h"
#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

std::u16string_view textBefore(const unichar* characters, std::size_t tagStart,
                               std::size_t textStart) {
  return tagStart > textStart ? std::u16string_view(characters + textStart, tagStart - textStart)
                              : std::u16string_view();
}

bool stripTagsHandler(std::u16string_view, const unichar* characters, std::size_t, std::size_t,
                      std::size_t tagStart, std::size_t, std::size_t textStart, int,
                      void* context) {
  auto* result = static_cast<std::u16string*>(context);
  const std::u16string_view text = textBefore(characters, tagStart, textStart);
  if (text.empty()) return false;
  const unichar last = result->empty() ? 0 : result->back();
  if (!isMemberOfCharacterSetRep(whiteCharacterSetRep(), last)) *result += u' ';
  *result += text;
  return false;
}

// The context of the handlers that rewrite the tags of one name.
struct OneTag {
  std::string_view upperName;
  bool keepOneAttribute;
  std::optional<std::u16string> result;  // made at the first tag of the name
};

std::u16string ascii(std::string_view text) { return std::u16string(text.begin(), text.end()); }

// The rewritten form of a tag of the name, or "" to drop it.
std::u16string rewrittenTag(const unichar* characters, std::size_t tagStart, std::size_t tagLength,
                            std::string_view name) {
  const std::u16string printed = ascii(name);
  if (characters[tagStart + 1] == u'/') return u"</" + printed + u">";
  const bool selfClosing = tagLength >= 2 && characters[tagStart + tagLength - 2] == u'/';
  const std::u16string end = selfClosing ? u"/>" : u">";
  const Range tag{tagStart, tagLength};
  if (const auto href = attributeOfTagCharacters(characters, tag, "HREF")) {
    return u"<" + printed + u" HREF=\"" + *href + u"\"" + end;
  }
  if (const auto src = attributeOfTagCharacters(characters, tag, "SRC")) {
    return u"<" + printed + u" SRC=\"" + *src + u"\"" + end;
  }
  return selfClosing ? u"" : u"<" + printed + u">";
}

bool oneTagHandler(std::u16string_view string, const unichar* characters, std::size_t nameStart,
                   std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                   std::size_t textStart, int kind, void* context) {
  auto* one = static_cast<OneTag*>(context);
  const bool matches =
      kind == kTagKindTag && internal::tagNameIs(characters, nameStart, nameLength, one->upperName);
  if (matches) {
    if (!one->result) {
      one->result = std::u16string(string.substr(0, tagStart));
    } else {
      *one->result += textBefore(characters, tagStart, textStart);
    }
    if (one->keepOneAttribute) {
      *one->result += rewrittenTag(characters, tagStart, tagLength, one->upperName);
    }
  } else if (one->result) {
    *one->result += textBefore(characters, tagStart, textStart);
    *one->result += std::u16string_view(characters + tagStart, tagLength);
  }
  return false;
}

std::u16string rewriteTags(std::u16string_view markup, std::string_view upperName, bool keepOne) {
  if (upperName.empty()) return std::u16string(markup);
  OneTag one{upperName, keepOne, std::nullopt};
  GetTagsOfString(markup, oneTagHandler, &one, false);
  return one.result ? std::move(*one.result) : std::u16string(markup);
}

struct Bodies {
  const std::vector<std::u16string>* prefixes;
  bool except;
  std::u16string result;
  std::size_t nameStart = NSNotFound;  // of the element being passed over, or kept
  std::size_t nameLength = 0;
  std::size_t depth = 0;
};

bool prefixMatches(const unichar* characters, std::size_t tagStart, std::size_t tagLength,
                   const std::u16string& prefix) {
  const ConversionTable upper = initUpperCharsTable();
  return prefix.size() <= tagLength &&
         std::equal(prefix.begin(), prefix.end(), characters + tagStart,
                    [upper](unichar a, unichar b) { return upper[a] == upper[b]; });
}

bool bodiesHandler(std::u16string_view, const unichar* characters, std::size_t nameStart,
                   std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                   std::size_t textStart, int kind, void* context) {
  auto* b = static_cast<Bodies*>(context);
  const std::u16string_view text = textBefore(characters, tagStart, textStart);
  const std::u16string_view piece(characters + tagStart, tagLength);
  const bool opening = kind == kTagKindTag && tagLength >= 3 && characters[tagStart + 1] != u'/' &&
                       characters[tagStart + tagLength - 2] != u'/';
  // A script or style element comes as one piece, through its closing tag: it opens and
  // closes at once.
  const std::size_t inner = piece.rfind(u"</");
  const bool whole = opening && inner != std::u16string_view::npos && inner > 0;
  if (b->depth == 0) {
    const bool starts =
        opening && nameStart != NSNotFound &&
        std::any_of(b->prefixes->begin(), b->prefixes->end(), [&](const std::u16string& prefix) {
          return prefixMatches(characters, tagStart, tagLength, prefix);
        });
    if (!b->except) b->result += text;
    if (!starts) {
      if (!b->except) b->result += piece;
      return false;
    }
    if (whole) {
      if (b->except) (b->result += piece) += u'\n';
      return false;
    }
    b->nameStart = nameStart;
    b->nameLength = nameLength;
    b->depth = 1;
    if (b->except) b->result += piece;
    return false;
  }
  if (b->except) b->result += text;
  const ConversionTable upper = initUpperCharsTable();
  const bool sameName = kind == kTagKindTag && nameStart != NSNotFound &&
                        nameLength == b->nameLength &&
                        std::equal(characters + nameStart, characters + nameStart + nameLength,
                                   characters + b->nameStart,
                                   [upper](unichar x, unichar y) { return upper[x] == upper[y]; });
  if (sameName && opening && !whole) {
    ++b->depth;
  } else if (sameName && !whole && tagLength >= 4 &&
             (characters[tagStart + 1] == u'/' || characters[tagStart + tagLength - 2] == u'/')) {
    --b->depth;
  }
  if (b->except) {
    b->result += piece;
    if (b->depth == 0) b->result += u'\n';
  }
  return false;
}

}  // namespace

std::u16string stripTags(std::u16string_view markup) {
  std::u16string result;
  result.reserve(markup.size());
  GetTagsOfString(markup, stripTagsHandler, &result, false);
  return result;
}

std::u16string stripTag(std::u16string_view markup, std::string_view upperName) {
  return rewriteTags(markup, upperName, false);
}

std::u16string stripAttributesOfTag(std::u16string_view markup, std::string_view upperName) {
  return rewriteTags(markup, upperName, true);
}

std::optional<std::u16string> stripTagBodies(std::u16string_view markup,
                                             const std::vector<std::u16string>& prefixes,
                                             bool except) {
  if (prefixes.empty() || markup.empty()) {
    return except ? std::nullopt : std::optional<std::u16string>(std::u16string(markup));
  }
  Bodies bodies{&prefixes, except, {}};
  GetTagsOfString(markup, bodiesHandler, &bodies, false);
  return std::move(bodies.result);
}

}  // namespace orvel

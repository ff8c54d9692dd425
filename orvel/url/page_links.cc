#include "orvel/url/page_links.h"

#include <cstdlib>
#include <string>
#include <unordered_set>

#include "orvel/base/log.h"
#include "orvel/base/utf8.h"
#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/fast_compare.h"
#include "orvel/url/link_cleaning.h"

namespace orvel {
namespace {

// One piece as the scanner reports it, with the name tests of this file: by length, then
// unit by unit with ASCII case folding.
struct Piece {
  const unichar* characters;
  std::size_t nameStart, nameLength, tagStart, tagLength, textStart;
  int kind;

  [[nodiscard]] bool named(std::string_view lower) const {
    if (kind != kTagKindTag || nameStart == NSNotFound || nameLength != lower.size()) return false;
    for (std::size_t k = 0; k < nameLength; ++k) {
      const unichar c = characters[nameStart + k];
      const auto wanted = static_cast<unichar>(lower[k]);
      if (wanted == u':' ? c != u':' : (c | 0x20) != wanted) return false;
    }
    return true;
  }
  [[nodiscard]] bool closing() const { return tagLength >= 2 && characters[tagStart + 1] == u'/'; }
  [[nodiscard]] bool opening() const { return tagLength >= 3 && !closing(); }
  [[nodiscard]] Range range() const { return Range{tagStart, tagLength}; }
  [[nodiscard]] std::optional<std::u16string> attribute(std::string_view upper) const {
    return attributeOfTagCharacters(characters, range(), upper);
  }
  [[nodiscard]] std::u16string_view textBefore() const {
    return tagStart > textStart ? std::u16string_view(characters + textStart, tagStart - textStart)
                                : std::u16string_view();
  }
};

bool equalsNoCase(std::u16string_view a, std::string_view b) {
  return a.size() == b.size() &&
         fastCaseInsensitiveCompareUnicharsWithChars(a.data(), a.size(), b.data(), b.size()) == 0;
}

// Equal length: equality; longer: containment; both without case.
bool holdsNoCase(std::u16string_view value, std::string_view word) {
  if (value.size() == word.size()) return equalsNoCase(value, word);
  return value.size() > word.size() &&
         fastCaseInsensitiveUnicharsContainChars(value.data(), value.size(), word.data(),
                                                 word.size()) != nullptr;
}

// The base URL a `base` tag sets: a remote address, "//host" read as http; anything else
// (a fragment, a local or unusable address) clears it, logged when it was not a fragment.
void readBase(const Piece& piece, std::optional<URL>& base) {
  const auto href = piece.attribute("HREF");
  if (!href) return;
  auto normalized = normalizedStringURL(*href);
  if (!normalized || normalized->front() == u'#') {
    base.reset();
    return;
  }
  if (normalized->front() == u'/') {
    if (normalized->size() < 2) {
      base.reset();
      return;
    }
    if ((*normalized)[1] == u'/') *normalized = u"http:" + *normalized;
  }
  auto url = URL::URLWithNormalizedStringURL(*normalized);
  if (url && url->isRemoteWebKitURL()) {
    base = std::move(url);
    return;
  }
  log("Invalid base: '%s'", utf16ToUtf8(*normalized).c_str());
  base.reset();
}

// The links in document order, each once.
struct LinkList {
  std::vector<std::u16string> links;
  std::unordered_set<std::u16string> seen;

  void add(std::optional<std::u16string> link) {
    if (link && seen.insert(*link).second) links.push_back(std::move(*link));
  }
};

struct LinksContext {
  bool relNoFollow = false;
  LinkHandler handler = nullptr;
  void* handlerContext = nullptr;
  std::optional<std::u16string> anchorText;  // of the open `a`, in handler mode
  std::optional<std::u16string> pendingHref;
  LinkList result;
  std::optional<URL> base;
};

bool isNoFollow(const Piece& piece) {
  const auto rel = piece.attribute("REL");
  return rel && holdsNoCase(*rel, "nofollow");
}

void closeAnchor(LinksContext& c) {
  if (c.anchorText && c.pendingHref && !c.pendingHref->empty() &&
      c.handler(*c.pendingHref, *c.anchorText, c.handlerContext)) {
    c.result.add(normalizedStringURL(*c.pendingHref));
  }
  c.anchorText.reset();
  c.pendingHref.reset();
}

void openAnchor(LinksContext& c, const Piece& piece) {
  c.anchorText.reset();
  c.pendingHref.reset();
  if (c.relNoFollow && isNoFollow(piece)) return;
  c.pendingHref = piece.attribute("HREF");
  if (c.pendingHref) c.anchorText.emplace().reserve(128);
}

bool retrieveLinks(std::u16string_view, const unichar* characters, std::size_t nameStart,
                   std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                   std::size_t textStart, int kind, void* context) {
  auto& c = *static_cast<LinksContext*>(context);
  const Piece piece{characters, nameStart, nameLength, tagStart, tagLength, textStart, kind};
  if (c.anchorText) *c.anchorText += piece.textBefore();
  if (piece.named("base") && piece.opening()) {
    readBase(piece, c.base);
  } else if (c.handler != nullptr && piece.named("a")) {
    if (piece.closing()) {
      closeAnchor(c);
    } else if (piece.opening()) {
      openAnchor(c, piece);
    }
  } else if (c.handler == nullptr && (piece.named("a") || piece.named("area")) && piece.opening()) {
    if (c.relNoFollow && isNoFollow(piece)) return false;
    if (const auto href = piece.attribute("HREF")) c.result.add(normalizedStringURL(*href));
  }
  return false;
}

struct FramesContext {
  bool withLinks = false;
  bool documentSeen = false;
  PageFields* fields = nullptr;
  LinkList result;
  std::optional<URL> base;
};

// A `link` tag's favicon: rel holding "shortcut icon"; `icon` alone does not count.
std::optional<std::u16string> favIconOf(const Piece& piece) {
  if (!piece.named("link") || !piece.opening()) return std::nullopt;
  const auto rel = piece.attribute("REL");
  if (!rel || rel->size() < 13 || !holdsNoCase(*rel, "shortcut icon")) return std::nullopt;
  const auto href = piece.attribute("HREF");
  return href ? normalizedRelLink(*href) : std::nullopt;
}

void readMeta(const Piece& piece, PageFields& fields) {
  if (fields.wantRefresh) {
    const auto equiv = piece.attribute("HTTP-EQUIV");
    if (equiv && equalsNoCase(*equiv, "refresh")) {
      fields.refresh = contentAttributeOfTagCharacters(piece.characters, piece.range());
      return;
    }
  }
  if (!fields.wantRobots && !fields.wantRevisit) return;
  const auto name = piece.attribute("NAME");
  if (!name) return;
  if (fields.wantRobots && equalsNoCase(*name, "robots")) {
    const auto content = contentAttributeOfTagCharacters(piece.characters, piece.range());
    if (!content || content->empty()) return;
    if (fields.robots.size() == content->size() &&
        caseInsensitiveCompareCharacters(fields.robots.data(), fields.robots.size(),
                                         content->data(), content->size()) == 0) {
      return;
    }
    fields.robots += fields.robots.empty() ? *content : u"," + *content;
    return;
  }
  if (fields.wantRevisit && equalsNoCase(*name, "revisit-after")) {
    fields.revisit = contentAttributeOfTagCharacters(piece.characters, piece.range());
  }
}

bool retrieveLinksAndFrames(std::u16string_view, const unichar* characters, std::size_t nameStart,
                            std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                            std::size_t textStart, int kind, void* context) {
  auto& c = *static_cast<FramesContext*>(context);
  const Piece piece{characters, nameStart, nameLength, tagStart, tagLength, textStart, kind};
  if (piece.named("html") || piece.named("head") || piece.named("body")) c.documentSeen = true;
  if (!c.documentSeen && c.fields != nullptr &&
      (piece.named("rss") || piece.named("feed") || piece.named("rdf:rdf"))) {
    c.fields->isFeed = true;
  }
  if (((c.withLinks && (piece.named("a") || piece.named("area"))) || piece.named("frame") ||
       piece.named("iframe")) &&
      piece.opening()) {
    const auto source = piece.attribute(piece.named("a") || piece.named("area") ? "HREF" : "SRC");
    if (source) c.result.add(normalizedStringURL(*source));
  } else if (piece.named("title") && c.fields != nullptr && c.fields->wantTitle && tagLength >= 4 &&
             (piece.closing() || characters[tagStart + tagLength - 2] == u'/')) {
    c.fields->title = std::u16string(piece.textBefore());
  } else if (piece.named("base") && piece.opening()) {
    readBase(piece, c.base);
  } else if (piece.named("link") && c.fields != nullptr && c.fields->wantFavIcon) {
    if (auto icon = favIconOf(piece)) c.fields->favIcon = std::move(icon);
  } else if (piece.named("meta") && c.fields != nullptr) {
    readMeta(piece, *c.fields);
  }
  return false;
}

bool retrieveFavIcon(std::u16string_view, const unichar* characters, std::size_t nameStart,
                     std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                     std::size_t textStart, int kind, void* context) {
  auto& icon = *static_cast<std::optional<std::u16string>*>(context);
  icon = favIconOf(Piece{characters, nameStart, nameLength, tagStart, tagLength, textStart, kind});
  return icon.has_value();
}

}  // namespace

std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html, std::optional<URL>* baseURL,
                                             LinkHandler handler, void* context) {
  LinksContext c;
  if (context != nullptr) {
    c.handler = handler;
    c.handlerContext = context;
  }
  GetTagsOfString(html, retrieveLinks, &c, false);
  if (baseURL != nullptr) *baseURL = std::move(c.base);
  return std::move(c.result.links);
}

std::vector<std::u16string> htmlLinksContaining(std::u16string_view html,
                                                std::optional<std::u16string_view> text,
                                                bool useRelNoFollow, std::optional<URL>* baseURL) {
  LinksContext c;
  c.relNoFollow = useRelNoFollow;
  std::u16string_view wanted;
  if (text && !text->empty()) {
    wanted = *text;
    c.handler = ContainingHandler;
    c.handlerContext = &wanted;
  }
  GetTagsOfString(html, retrieveLinks, &c, false);
  if (baseURL != nullptr) *baseURL = std::move(c.base);
  return std::move(c.result.links);
}

std::vector<std::u16string> htmlFramesBaseURL(std::u16string_view html, std::optional<URL>* baseURL,
                                              PageFields* fields, bool withLinks) {
  FramesContext c;
  c.withLinks = withLinks;
  c.fields = fields;
  if (fields != nullptr) {
    fields->favIcon.reset();
    fields->title.reset();
    fields->refresh.reset();
    fields->revisit.reset();
    fields->robots.clear();
    fields->isFeed = false;
    fields->frameset = false;
  }
  GetTagsOfString(html, retrieveLinksAndFrames, &c, false);
  if (baseURL != nullptr) *baseURL = std::move(c.base);
  return std::move(c.result.links);
}

std::optional<std::u16string> htmlFavIcon(std::u16string_view html) {
  std::optional<std::u16string> icon;
  GetTagsOfString(html, retrieveFavIcon, &icon, false);
  return icon;
}

double revisitAfter(std::u16string_view content) {
  const std::string text = utf16ToUtf8(content);
  const double value = std::strtod(text.c_str(), nullptr);
  if (!(value > 0)) return 0;
  const auto holds = [&](std::string_view word) {
    return fastCaseInsensitiveUnicharsContainChars(content.data(), content.size(), word.data(),
                                                   word.size()) != nullptr;
  };
  if (holds("hour")) return value * 3600;
  if (holds("day")) return value * 86400;
  if (holds("week")) return value * 604800;
  return value;
}

bool ContainingHandler(std::u16string_view, std::u16string_view anchorText, void* wanted) {
  if (wanted == nullptr || anchorText.empty()) return false;
  const std::u16string_view text = *static_cast<std::u16string_view*>(wanted);
  if (text.size() > anchorText.size()) return false;
  if (text.size() == anchorText.size()) return text == anchorText;
  return anchorText.find(text) != std::u16string_view::npos;
}

}  // namespace orvel

// What a crawler takes out of a page to follow it, in one pass of the tag scanner each: the
// links of `a` and `area` tags, the sources of `frame` and `iframe` tags, the `base` URL,
// the favicon, the title, and the refresh, robots and revisit-after meta fields, and
// whether the text is really a feed.
//
// Links come back cleaned (normalizedStringURL), unique, in document order. Attribute values
// are taken as written (entities are not decoded beyond what the cleaning decodes).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/url/url.h"

namespace orvel {

// A caller's predicate asked, at the end of each `a` element, whether its link is wanted:
// (the link's href as written, the element's text without its inner tags, context).
using LinkHandler = bool (*)(std::u16string_view href, std::u16string_view anchorText,
                             void* context);

// The links of `a` and `area` tags. *baseURL (when given) receives the URL of the page's
// last usable `base` tag, or nullopt. With a handler (used only when context is not null),
// an `a` link counts only when the handler answers true at its closing tag, and `area` tags
// are not read. The filtered forms answer the same, deliberately: no link is dropped by
// filterLink here.
[[nodiscard]] std::vector<std::u16string> htmlLinksBaseURL(std::u16string_view html,
                                                           std::optional<URL>* baseURL = nullptr,
                                                           LinkHandler handler = nullptr,
                                                           void* context = nullptr);
// The links whose anchor text contains `text` (case-sensitive; empty or none: every link);
// with useRelNoFollow, links marked rel="nofollow" are skipped.
[[nodiscard]] std::vector<std::u16string> htmlLinksContaining(
    std::u16string_view html, std::optional<std::u16string_view> text, bool useRelNoFollow,
    std::optional<URL>* baseURL = nullptr);
[[nodiscard]] inline std::vector<std::u16string> filteredHtmlLinksBaseURL(
    std::u16string_view html, std::optional<URL>* baseURL = nullptr, LinkHandler handler = nullptr,
    void* context = nullptr) {
  return htmlLinksBaseURL(html, baseURL, handler, context);
}
[[nodiscard]] inline std::vector<std::u16string> filteredHtmlLinksContaining(
    std::u16string_view html, std::optional<std::u16string_view> text, bool useRelNoFollow,
    std::optional<URL>* baseURL = nullptr) {
  return htmlLinksContaining(html, text, useRelNoFollow, baseURL);
}

// The head fields the long forms read. Each is filled only when asked for.
struct PageFields {
  bool wantFavIcon = false;
  bool wantTitle = false;
  bool wantRefresh = false;
  bool wantRobots = false;
  bool wantRevisit = false;

  std::optional<std::u16string> favIcon;  // the last "shortcut icon" link
  std::optional<std::u16string> title;    // as written, entities not decoded
  std::optional<std::u16string> refresh;  // the content of the refresh meta field
  std::u16string robots;                  // robots contents joined by ","
  std::optional<std::u16string> revisit;  // the content of revisit-after
  bool isFeed = false;    // an rss, feed or rdf:RDF tag before any html, head or body tag
  bool frameset = false;  // never set: kept for callers of the original interface
};

// The sources of `frame` and `iframe` tags (unique, in the order met), and with withLinks
// the `a` and `area` links as well; fields (when given) are filled as they ask.
[[nodiscard]] std::vector<std::u16string> htmlFramesBaseURL(std::u16string_view html,
                                                            std::optional<URL>* baseURL = nullptr,
                                                            PageFields* fields = nullptr,
                                                            bool withLinks = false);
[[nodiscard]] inline std::vector<std::u16string> htmlLinksAndFramesBaseURL(
    std::u16string_view html, std::optional<URL>* baseURL = nullptr, PageFields* fields = nullptr) {
  return htmlFramesBaseURL(html, baseURL, fields, true);
}

// The page's first favicon link (a `link` whose rel holds "shortcut icon"), root-relative
// when relative; the scan stops there.
[[nodiscard]] std::optional<std::u16string> htmlFavIcon(std::u16string_view html);

// Seconds from a revisit-after content: "7 days", "2 weeks", "12 hours"; a bare number is
// seconds; 0 when the number is not above 0.
[[nodiscard]] double revisitAfter(std::u16string_view content);

// The handler of htmlLinksContaining: whether the anchor text contains the wanted text
// (context: a std::u16string_view*).
bool ContainingHandler(std::u16string_view href, std::u16string_view anchorText, void* wanted);

}  // namespace orvel

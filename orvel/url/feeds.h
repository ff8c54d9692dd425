// RSS (0.9x, 2.0), RDF (RSS 1.0) and Atom feeds: recognising them, their items, and one
// displayable HTML page of them. There is no XML tree: one pass of the tag scanner, whose
// handler remembers where the elements it wants began and fills one item at a time, so
// that a malformed feed gives what can be read of it and never fails.
//
// An item's fields, per element (names without case; an "rss:" prefix is ignored):
//   title              title, the first one (entities decoded)
//   link               the first `link` tag's href whose rel is not "self", "edit" or
//                      "service.*"; else the text of the first `link` element
//   guid               the text of the last `guid` unless isPermaLink="false"
//   date               pubDate, dc:date, issued, updated or published, the first, raw
//   author             author (RSS), author/name (Atom), dc:creator (entities decoded)
//   description        description (its inner markup included) or summary (decoded)
//   content            content (inner markup included) or content:encoded (decoded)
//   tags               each category's term, else its text
//   enclosures         each enclosure's url and length
// A CDATA section's text stands for the text of the element that encloses it (its markup
// kept, only the five markup references decoded, and for content of type "html" none).
// The item's link is its guid when that is a remote web address, resolved against the base
// URL when root-relative, and unwrapped from a news aggregator's redirect or from anchor
// markup that some generators leave in it. Items whose description is "Array" (a known
// broken generator) are dropped.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/types.h"
#include "orvel/url/url.h"

namespace orvel {

struct FeedEnclosure {
  std::u16string url;
  std::u16string length;  // as written; empty when absent
};

// One item; absent fields are empty.
struct FeedItem {
  std::u16string title;
  std::u16string description;
  std::u16string content;
  std::u16string author;
  std::u16string guid;
  std::u16string date;  // as written
  std::u16string link;
  std::vector<std::u16string> tags;
  std::vector<FeedEnclosure> enclosures;
  std::optional<TimeInterval> calendarDate;  // the date, when the text has one and it parses
};

// Whether the first `rss`, `rdf:RDF` or `feed` tag (names without case, the colon exact)
// comes before any `html`, `head` or `body` tag.
[[nodiscard]] bool isFeed(std::u16string_view string);
// The same; *complete tells whether the root element was closed (or is self-closing).
[[nodiscard]] bool isFeedComplete(std::u16string_view string, bool* complete);

// The items, in document order; none when the text is no feed.
[[nodiscard]] std::vector<FeedItem> getItemsOfFeed(std::u16string_view string,
                                                   const std::optional<URL>& baseURL = {});

// One HTML page (UTF-8 declared) showing the feed: its title, then a block per item with
// the link, the date (as stringOfDateAndTime writes it when it parses) and author, the text
// (content, else description, without span tags) and the enclosures. The feed style sheet
// (linkableFeedStyleSheet) is linked by a "file://localhost/" URL or embedded. The string
// itself when it holds no feed root.
[[nodiscard]] std::u16string stringByConvertingFeed(std::u16string_view string,
                                                    const std::optional<URL>& baseURL,
                                                    bool linkedStyleSheet);
[[nodiscard]] inline std::u16string stringByConvertingFeedToDisplayHTMLUsingLinkedStyleSheet(
    std::u16string_view string, bool linkedStyleSheet) {
  return stringByConvertingFeed(string, std::nullopt, linkedStyleSheet);
}

// A page with a linked feed style sheet (a file ending ".feeds.stylesheet.css" linked as
// stringByConvertingFeed links it) with the sheet's text embedded in its place; the string
// itself when there is no such link or the sheet cannot be read.
[[nodiscard]] std::u16string stringByReplacingLinkedStyleSheet(std::u16string_view string);

// The feed style sheet: a process-wide setting (on the platform this library comes from, a
// user default), initially the path in the environment variable
// ORVEL_LINKABLE_FEED_STYLE_SHEET, none when it is unset or empty. Safe from any thread.
[[nodiscard]] std::optional<std::filesystem::path> linkableFeedStyleSheet();
void setLinkableFeedStyleSheet(std::optional<std::filesystem::path> path);

// The text of [start, start + length) of characters as a field takes it: with
// decodeEntities every reference decoded (markup ones included), else with
// standardEntities the five markup references; runs under 4 units as they are; white space
// trimmed; nullopt when nothing remains.
[[nodiscard]] std::optional<std::u16string> CreateFeedContent(const unichar* characters,
                                                              std::size_t start, std::size_t length,
                                                              bool decodeEntities,
                                                              bool standardEntities);

// Appends one item's block of the display page (empty views are absent fields; an icon
// puts the item's image beside its header).
void AppendItem2Feed(std::u16string& output, std::u16string_view icon, std::u16string_view title,
                     std::u16string_view content, std::u16string_view description,
                     std::u16string_view link, std::u16string_view date, std::u16string_view author,
                     const std::vector<FeedEnclosure>& enclosures);

}  // namespace orvel

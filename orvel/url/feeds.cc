#include "orvel/url/feeds.h"

#include "orvel/base/date_text.h"
#include "orvel/markup/entities.h"
#include "orvel/markup/internal/tag_names.h"
#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/fast_compare.h"
#include "orvel/url/internal/feed_scan.h"
#include "orvel/url/link_cleaning.h"

namespace orvel {
namespace {

// A guid on this link-shortening host names the short link, not the article: the item's
// own link is kept.
constexpr std::u16string_view kShortenerHostMarker = u"bit.ly/";
// A news aggregator wraps each article's address in its own redirect:
// ".../news/url?...&url=http://article...&cid=...".
constexpr std::string_view kAggregatorRedirectPrefix = "http://news.google.com/news/url?";

// The name of a piece, an "rss:" prefix taken away.
struct Name {
  const unichar* characters;
  std::size_t start, length;

  [[nodiscard]] bool is(std::string_view upper) const {
    return internal::tagNameIs(characters, start, length, upper);
  }
};

Name nameOf(const unichar* characters, std::size_t start, std::size_t length) {
  Name name{characters, start, length};
  if (length >= 5 && internal::tagNameIs(characters, start, 4, "RSS:")) {
    name.start += 4;
    name.length -= 4;
  }
  return name;
}

bool isRootName(const Name& name) {
  return name.is("RSS") || name.is("RDF:RDF") || name.is("FEED");
}

bool equalsNoCase(std::u16string_view a, std::string_view b) {
  return a.size() == b.size() &&
         fastCaseInsensitiveCompareUnicharsWithChars(a.data(), a.size(), b.data(), b.size()) == 0;
}

bool beginsNoCase(std::u16string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && equalsNoCase(text.substr(0, prefix.size()), prefix);
}

struct FeedState {
  const unichar* characters = nullptr;
  const std::optional<URL>* baseURL = nullptr;
  std::u16string* output = nullptr;        // display mode
  std::vector<FeedItem>* items = nullptr;  // item mode
  std::size_t contentStart = NSNotFound;
  std::size_t descriptionStart = NSNotFound;
  FeedItem item;  // the item being read; calendarDate is set at its end
  std::optional<std::u16string> cdata;
  internal::FeedScan scan;
  bool inItems = false;
  bool inAuthor = false;
  bool contentIsHTML = false;
  bool guidNotPermaLink = false;
};

// One tag of an item, with the text before it.
struct ItemTag {
  const unichar* characters;
  Name name;
  std::size_t tagStart, tagLength, textStart;

  [[nodiscard]] std::optional<std::u16string> attribute(std::string_view upper) const {
    return attributeOfTagCharacters(characters, Range{tagStart, tagLength}, upper);
  }
  [[nodiscard]] std::optional<std::u16string> textBefore(bool decodeEntities) const {
    return CreateFeedContent(characters, textStart, tagStart - textStart, decodeEntities, true);
  }
  // Everything from an element's opening tag's end; nothing when it was not seen.
  [[nodiscard]] std::optional<std::u16string> textFrom(std::size_t start) const {
    if (start == NSNotFound || start > tagStart) return std::nullopt;
    return CreateFeedContent(characters, start, tagStart - start, true, true);
  }
};

std::u16string standardDecoded(std::u16string text) {
  text.resize(convertStandardEntities2Characters(text.data(), text.size()));
  return text;
}

// An empty slot takes the pending CDATA text, else the element's text; a filled one keeps
// its value.
void fill(std::u16string& slot, FeedState& s, std::optional<std::u16string> text) {
  if (!slot.empty()) return;
  if (s.cdata) {
    slot = std::move(*s.cdata);
  } else if (text) {
    slot = std::move(*text);
  }
}

void openBody(FeedState& s) {
  if (s.scan.bodyOpened) return;
  if (s.output != nullptr) *s.output += u"</head>\n<body>\n";
  s.scan.bodyOpened = true;
}

void writeChannelTitle(FeedState& s, std::size_t textStart, std::size_t tagStart) {
  const auto title = CreateFeedContent(s.characters, textStart, tagStart - textStart, true, false);
  if (s.output != nullptr) {
    if (title) {
      *s.output += u"<title>" + *title +
                   u"</title>\n</head>\n<body><div class=\"page_header\"><div "
                   u"class=\"page_title\"><nobr>" +
                   *title + u"</nobr></div></div>\n";
    } else {
      *s.output += u"</head>\n<body>\n";
    }
  }
  s.scan.bodyOpened = true;
}

// Any `link` tag while the item has no link: its href, unless it is the feed's own or an
// editing or service link.
void readLinkTag(FeedState& s, const ItemTag& tag) {
  if (!s.item.link.empty()) return;
  if (const auto rel = tag.attribute("REL")) {
    if (beginsNoCase(*rel, "service.") || equalsNoCase(*rel, "edit") ||
        equalsNoCase(*rel, "self")) {
      return;
    }
  }
  if (auto href = tag.attribute("HREF")) s.item.link = standardDecoded(std::move(*href));
}

std::u16string linkOfGuid(std::u16string link, const std::u16string& guid) {
  if (!guid.empty() && isRemoteWebKitStringURL(guid) &&
      guid.find(kShortenerHostMarker) == std::u16string::npos) {
    return guid;
  }
  return link;
}

// The address inside a redirect or anchor markup that generators leave in links.
std::u16string unwrappedLink(std::u16string link) {
  if (beginsNoCase(link, kAggregatorRedirectPrefix)) {
    const std::size_t url = link.find(u"&url=");
    const std::size_t http = url == std::u16string::npos ? url : link.find(u"http", url + 5);
    if (http != std::u16string::npos) {
      const std::size_t end = link.find(u"&cid=", http);
      return link.substr(http, end == std::u16string::npos ? end : end - http);
    }
  } else if (beginsNoCase(link, "<a href=\"")) {
    const std::size_t end = link.find(u'"', 9);
    return link.substr(9, end == std::u16string::npos ? end : end - 9);
  } else if (beginsNoCase(link, "<a href=")) {
    std::size_t end = link.find(u' ', 8);
    if (end == std::u16string::npos) end = link.find(u'>', 8);
    return link.substr(8, end == std::u16string::npos ? end : end - 8);
  }
  return link;
}

void endItem(FeedState& s) {
  FeedItem& item = s.item;
  if (item.description != u"Array") {
    item.link = linkOfGuid(std::move(item.link), item.guid);
    if (!item.link.empty() && item.link.front() == u'/' && s.baseURL->has_value()) {
      if (const auto url = URL::URLWithStringRelativeToURL(item.link, **s.baseURL)) {
        item.link = url->absoluteString();
      }
    }
    item.link = unwrappedLink(std::move(item.link));
    if (s.output != nullptr) {
      AppendItem2Feed(*s.output, {}, item.title, item.content, item.description, item.link,
                      item.date, item.author, item.enclosures);
    } else {
      if (!item.date.empty()) item.calendarDate = dateOfString(item.date);
      s.items->push_back(std::move(item));
    }
  }
  s.item = FeedItem();
  s.cdata.reset();
  s.contentStart = s.descriptionStart = NSNotFound;
  s.inAuthor = s.contentIsHTML = s.guidNotPermaLink = false;
}

void openItemElement(FeedState& s, const ItemTag& tag) {
  if (tag.name.is("AUTHOR")) {
    s.inAuthor = true;
  } else if (tag.name.is("CONTENT")) {
    s.contentStart = tag.tagStart + tag.tagLength;
    const auto type = tag.attribute("TYPE");
    s.contentIsHTML = type && equalsNoCase(*type, "html");
  } else if (tag.name.is("DESCRIPTION")) {
    s.descriptionStart = tag.tagStart + tag.tagLength;
  }
}

void readCategory(FeedState& s, const ItemTag& tag) {
  std::optional<std::u16string> tagText = std::move(s.cdata);
  if (!tagText) {
    if (auto term = tag.attribute("TERM")) {
      tagText = standardDecoded(std::move(*term));
    } else {
      tagText = tag.textBefore(false);
    }
  }
  if (tagText && !tagText->empty()) s.item.tags.push_back(std::move(*tagText));
}

void readEnclosure(FeedState& s, const ItemTag& tag) {
  auto url = tag.attribute("URL");
  if (!url) return;
  s.item.enclosures.push_back(
      FeedEnclosure{standardDecoded(std::move(*url)), tag.attribute("LENGTH").value_or(u"")});
}

bool isDateName(const Name& name) {
  return name.is("PUBDATE") || name.is("DC:DATE") || name.is("UPDATED") || name.is("PUBLISHED") ||
         name.is("ISSUED");
}

void closeItemElement(FeedState& s, const ItemTag& tag) {
  FeedItem& item = s.item;
  const Name& name = tag.name;
  if (name.is("TITLE")) {
    fill(item.title, s, tag.textBefore(true));
  } else if (name.is("LINK")) {
    fill(item.link, s, tag.textBefore(false));
  } else if (name.is("GUID")) {
    if (!s.guidNotPermaLink) item.guid = tag.textBefore(false).value_or(u"");
  } else if (isDateName(name)) {
    fill(item.date, s, tag.textBefore(false));
  } else if (name.is("AUTHOR") || name.is("NAME")) {
    if (s.inAuthor) fill(item.author, s, tag.textBefore(true));
    s.inAuthor = false;
  } else if (name.is("DC:CREATOR")) {
    fill(item.author, s, tag.textBefore(true));
  } else if (name.is("SUMMARY")) {
    fill(item.description, s, tag.textBefore(true));
  } else if (name.is("DESCRIPTION")) {
    fill(item.description, s, tag.textFrom(s.descriptionStart));
  } else if (name.is("CONTENT")) {
    fill(item.content, s, tag.textFrom(s.contentStart));
  } else if (name.is("CONTENT:ENCODED")) {
    fill(item.content, s, tag.textBefore(true));
  } else if (name.is("CATEGORY")) {
    readCategory(s, tag);
  } else if (name.is("ENCLOSURE")) {
    readEnclosure(s, tag);
  } else if (name.is("ITEM") || name.is("ENTRY")) {
    endItem(s);
  }
  // A CDATA section speaks for the element around it only: no later element takes it.
  s.cdata.reset();
}

// "<![CDATA[" ... "]]>": the text between, with the five markup references decoded unless
// the content is HTML.
void readCData(FeedState& s, std::size_t tagStart, std::size_t tagLength) {
  constexpr std::string_view kOpening = "<![CDATA[";
  const unichar* section = s.characters + tagStart;
  if (tagLength < kOpening.size() ||
      fastCaseInsensitiveCompareUnicharsWithChars(section, kOpening.size(), kOpening.data(),
                                                  kOpening.size()) != 0) {
    return;
  }
  std::size_t end = tagLength;
  if (end >= kOpening.size() + 3 && section[end - 1] == u'>' && section[end - 2] == u']' &&
      section[end - 3] == u']') {
    end -= 3;
  }
  s.cdata = CreateFeedContent(s.characters, tagStart + kOpening.size(), end - kOpening.size(),
                              false, !s.contentIsHTML);
}

bool Feed2HTMLHandler(std::u16string_view, const unichar* characters, std::size_t nameStart,
                      std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                      std::size_t textStart, int kind, void* context) {
  auto& s = *static_cast<FeedState*>(context);
  if (tagLength == 0) return false;
  const Name name = nameOf(characters, nameStart, nameLength);
  if (!s.scan.rootSeen) {
    if (kind != kTagKindTag) return false;
    if (isRootName(name)) {
      s.scan.rootSeen = true;
      return false;
    }
    return name.is("HTML") || name.is("BODY");
  }
  const bool closing = tagLength >= 4 && (characters[tagStart + 1] == u'/' ||
                                          characters[tagStart + tagLength - 2] == u'/');
  if (!s.inItems) {
    if (kind != kTagKindTag) return false;
    if (name.is("ITEM") || name.is("ENTRY")) {
      s.inItems = true;
    } else if (name.is("TITLE") && closing && !s.scan.bodyOpened) {
      writeChannelTitle(s, textStart, tagStart);
    }
    return false;
  }
  if (kind == kTagKindSection) {
    readCData(s, tagStart, tagLength);
    return false;
  }
  if (kind != kTagKindTag) return false;
  const ItemTag tag{characters, name, tagStart, tagLength, textStart};
  if (name.is("LINK")) readLinkTag(s, tag);
  if (name.is("GUID") && characters[tagStart + 1] != u'/') {
    const auto permaLink = tag.attribute("ISPERMALINK");
    s.guidNotPermaLink = permaLink && equalsNoCase(*permaLink, "false");
  }
  if (!closing) {
    openItemElement(s, tag);
    return false;
  }
  openBody(s);
  closeItemElement(s, tag);
  return false;
}

struct RootSearch {
  bool wantsEnd = false;
  bool found = false;
  bool complete = false;
  std::string_view root;  // the root's upper-case name, once found
};

bool findFeedRoot(std::u16string_view, const unichar* characters, std::size_t nameStart,
                  std::size_t nameLength, std::size_t tagStart, std::size_t tagLength, std::size_t,
                  int kind, void* context) {
  auto& search = *static_cast<RootSearch*>(context);
  if (kind != kTagKindTag || tagLength == 0) return false;
  const Name name{characters, nameStart, nameLength};
  const bool closing = tagLength >= 4 && (characters[tagStart + 1] == u'/' ||
                                          characters[tagStart + tagLength - 2] == u'/');
  if (search.found) {
    search.complete = closing && name.is(search.root);
    return search.complete;
  }
  for (const std::string_view root : {"RSS", "RDF:RDF", "FEED"}) {
    if (!name.is(root)) continue;
    search.found = true;
    search.root = root;
    search.complete = closing;
    return !search.wantsEnd || closing;
  }
  return name.is("HTML") || name.is("HEAD") || name.is("BODY");
}

}  // namespace

namespace internal {

FeedScan scanFeed(std::u16string_view string, const std::optional<URL>& baseURL,
                  std::u16string* output, std::vector<FeedItem>* items) {
  FeedState state;
  state.characters = string.data();
  state.baseURL = &baseURL;
  state.output = output;
  state.items = items;
  GetTagsOfString(string, Feed2HTMLHandler, &state, false);
  return state.scan;
}

}  // namespace internal

std::optional<std::u16string> CreateFeedContent(const unichar* characters, std::size_t start,
                                                std::size_t length, bool decodeEntities,
                                                bool standardEntities) {
  std::u16string text(characters + start, length);
  // White space goes after decoding: a reference at the very end of the run reads
  // differently from one followed by a line break.
  if (length >= 4 && decodeEntities) {
    text.resize(
        convertEntities2Characters(text.data(), text.data(), 0, length, true, false, false));
  } else if (length >= 4 && standardEntities) {
    text.resize(convertStandardEntities2Characters(text.data(), length));
  }
  const CharacterSetRep white = whiteCharacterSetRep();
  std::size_t first = 0, last = text.size();
  while (first < last && isWhiteUnit(white, text[first])) ++first;
  while (last > first && isWhiteUnit(white, text[last - 1])) --last;
  if (first == last) return std::nullopt;
  if (last < text.size()) text.resize(last);
  if (first > 0) text.erase(0, first);
  return text;
}

bool isFeed(std::u16string_view string) {
  RootSearch search;
  GetTagsOfString(string, findFeedRoot, &search, false);
  return search.found;
}

bool isFeedComplete(std::u16string_view string, bool* complete) {
  RootSearch search;
  search.wantsEnd = true;
  GetTagsOfString(string, findFeedRoot, &search, false);
  if (complete != nullptr) *complete = search.complete;
  return search.found;
}

std::vector<FeedItem> getItemsOfFeed(std::u16string_view string,
                                     const std::optional<URL>& baseURL) {
  std::vector<FeedItem> items;
  internal::scanFeed(string, baseURL, nullptr, &items);
  return items;
}

}  // namespace orvel

// The one pass over a feed that both the item list and the display page make.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/url/feeds.h"

namespace orvel::internal {

struct FeedScan {
  bool rootSeen = false;    // an rss, rdf:RDF or feed tag came before html or body
  bool bodyOpened = false;  // the page's head was closed (display mode)
};

// Display mode (output given): the channel title and each item's block are appended to
// output; item mode (items given): the items are appended to items.
FeedScan scanFeed(std::u16string_view string, const std::optional<URL>& baseURL,
                  std::u16string* output, std::vector<FeedItem>* items);

}  // namespace orvel::internal

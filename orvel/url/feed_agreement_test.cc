// Agreement with feedparser, the feed parser everyone uses, over every feed beside the
// project (../shared/testdata/feeds): the number of items, and each item's title and link,
// compared with white space collapsed. Skips when the feeds or feedparser are absent.
//
// Where the two disagree because this library reads feeds by its own rules (listed below
// with the reason), the difference is expected; any other disagreement fails the test.
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/markup/web_page.h"
#include "orvel/testing/files.h"
#include "orvel/testing/run_program.h"
#include "orvel/url/feeds.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> feedPaths() {
  return testing::regularFilesIn(
      {ORVEL_SHARED_TESTDATA "/feeds/small", ORVEL_SHARED_TESTDATA "/feeds/large"});
}

// Why this library reads an item differently from feedparser, by rule.
constexpr const char* kGuidIsLink =
    "a guid that is a remote web address (by its prefix) is the item's link; feedparser keeps "
    "the link element";
constexpr const char* kFirstLinkTag =
    "the first link tag counts whatever its rel but self, edit and service.*; feedparser "
    "prefers rel=alternate and never takes an enclosure";
constexpr const char* kTitleBeforeClosingTag =
    "a title is the text just before its closing tag: a title of inline markup is empty";
constexpr const char* kOnlyCallersBase =
    "links are resolved only when root-relative and only against the caller's base URL; "
    "feedparser applies xml:base and the document's own location";
constexpr const char* kAtomIdIsNoGuid =
    "an Atom id is no guid; feedparser takes an id that looks like a URL as the link";
constexpr const char* kNoBase64 = "base64 content (mode=\"base64\") is not decoded";
constexpr const char* kFirstTitle =
    "the item's first title wins, also one nested in another element of the item";
constexpr const char* kNestedLink = "a link nested in another element of the item counts";
constexpr const char* kNoDcTitle = "dc:title is not read as a title";
constexpr const char* kInsideAPage = "a feed inside an html or body element is no feed";
constexpr const char* kLatin1 =
    "bytes with no declared encoding that are not UTF-8 are read as Windows Latin 1; "
    "feedparser guesses another single-byte encoding";
constexpr const char* kUnclosedItem =
    "an item is reported at its closing tag: one cut off by an unclosed CDATA section is not";
constexpr const char* kCdataAsWritten =
    "CDATA text stays as written (a bare & too); feedparser escapes it as &amp;";
constexpr const char* kFeedparserMissesItsTest =
    "feedparser 6.0.10 misses its own test's expectation (the alternate link); ours meets it";

const std::map<std::string, const char*> kExpectedDifferences = {
    {"examples__atom03.xml", kOnlyCallersBase},
    {"examples__atom10.xml", kOnlyCallersBase},
    {"examples__base.xml", kOnlyCallersBase},
    {"examples__basic_auth.xml", kOnlyCallersBase},
    {"examples__digest_auth.xml", kOnlyCallersBase},
    {"examples__http_base.xml", kOnlyCallersBase},
    {"examples__no_base.xml", kOnlyCallersBase},
    {"examples__rss20.xml", kGuidIsLink},
    {"feedjira__DuplicateContentAtomFeed.xml", kInsideAPage},
    {"feedjira__GoogleDocsList.xml", kFirstLinkTag},
    {"feedjira__pet_atom.xml", kTitleBeforeClosingTag},
    {"illformed__chardet__shiftjis.xml", kLatin1},
    {"illformed__rss_incomplete_cdata.xml", kUnclosedItem},
    {"node-feedparser__rss2sample.xml", kGuidIsLink},
    {"rss-parser__craigslist.rss", kCdataAsWritten},
    {"rss-parser__many-links.rss", kFirstLinkTag},
    {"wellformed__amp__attr04.xml", kTitleBeforeClosingTag},
    {"wellformed__amp__attr05.xml", kTitleBeforeClosingTag},
    {"wellformed__amp__attr06.xml", kTitleBeforeClosingTag},
    {"wellformed__atom10__entry_id.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_map_guid.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_1.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_2.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_3.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_4.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_5.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_6.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_no_normalization_7.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_id_with_attributes.xml", kAtomIdIsNoGuid},
    {"wellformed__atom10__entry_link_no_href_link_priority.xml", kFeedparserMissesItsTest},
    {"wellformed__atom10__entry_link_rel_enclosure.xml", kFirstLinkTag},
    {"wellformed__atom10__entry_title_base64.xml", kNoBase64},
    {"wellformed__atom10__entry_title_base64_2.xml", kNoBase64},
    {"wellformed__atom10__entry_title_inline_markup.xml", kTitleBeforeClosingTag},
    {"wellformed__atom10__entry_title_inline_markup_2.xml", kTitleBeforeClosingTag},
    {"wellformed__atom__entry_id.xml", kAtomIdIsNoGuid},
    {"wellformed__atom__entry_id_map_guid.xml", kAtomIdIsNoGuid},
    {"wellformed__atom__entry_link_no_href_link_priority.xml", kFeedparserMissesItsTest},
    {"wellformed__atom__entry_title_base64.xml", kNoBase64},
    {"wellformed__atom__entry_title_base64_2.xml", kNoBase64},
    {"wellformed__atom__entry_title_content_mode_base64.xml", kNoBase64},
    {"wellformed__atom__entry_title_inline_markup.xml", kTitleBeforeClosingTag},
    {"wellformed__atom__entry_title_inline_markup_2.xml", kTitleBeforeClosingTag},
    {"wellformed__atom__entry_title_naked_markup.xml", kTitleBeforeClosingTag},
    {"wellformed__node_precedence__atom10_id.xml", kAtomIdIsNoGuid},
    {"wellformed__node_precedence__atom10_title.xml", kFirstTitle},
    {"wellformed__rss__item_category_image.xml", kNestedLink},
    {"wellformed__rss__item_dc_title.xml", kNoDcTitle},
    {"wellformed__rss__item_guid_conflict_link.xml", kGuidIsLink},
    {"wellformed__rss__item_guid_isPermaLink_ValueError.xml", kGuidIsLink},
    {"wellformed__rss__item_guid_isPermaLink_conflict_link.xml", kGuidIsLink},
    {"wellformed__rss__item_guid_isPermaLink_conflict_link_not_guidislink.xml", kGuidIsLink},
};

std::string collapsed(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
      if (!out.empty() && out.back() != ' ') out += ' ';
    } else {
      out += c;
    }
  }
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

struct ItemText {
  std::string title, link;
};

std::vector<ItemText> ourItems(const fs::path& path) {
  std::vector<ItemText> items;
  for (const FeedItem& item : getItemsOfFeed(webPageText(testing::fileBytes(path)))) {
    items.push_back({collapsed(utf16ToUtf8(item.title)), collapsed(utf16ToUtf8(item.link))});
  }
  return items;
}

// How a feed's items compare: "" when they agree, else what differs first.
std::string difference(const std::vector<ItemText>& ours, const std::vector<ItemText>& theirs) {
  if (ours.size() != theirs.size()) {
    return "count " + std::to_string(ours.size()) + " vs " + std::to_string(theirs.size());
  }
  for (std::size_t k = 0; k < ours.size(); ++k) {
    if (ours[k].title != theirs[k].title) {
      return "title " + std::to_string(k) + ": '" + ours[k].title + "' vs '" + theirs[k].title +
             "'";
    }
    if (ours[k].link != theirs[k].link) {
      return "link " + std::to_string(k) + ": '" + ours[k].link + "' vs '" + theirs[k].link + "'";
    }
  }
  return {};
}

TEST(FeedAgreementTest, ItemsTitlesAndLinksAgreeWithFeedparser) {
  const std::vector<fs::path> paths = feedPaths();
  if (paths.empty()) GTEST_SKIP() << "no feeds at " ORVEL_SHARED_TESTDATA "/feeds";
  std::vector<std::string> arguments = {ORVEL_URL_SOURCE_DIR "/feed_agreement_peer.py"};
  for (const fs::path& path : paths) arguments.push_back(path.string());
  const testing::ProgramResult peer = testing::runProgram("/usr/bin/python3", arguments);
  if (peer.exitCode != 0) GTEST_SKIP() << "feedparser is not installed: " << peer.err;

  std::map<std::string, std::vector<ItemText>> theirs;
  std::istringstream lines(peer.out);
  for (std::string line; std::getline(lines, line);) {
    const nlohmann::json feed = nlohmann::json::parse(line);
    std::vector<ItemText>& items = theirs[feed["file"].get<std::string>()];
    for (const auto& item : feed["items"]) {
      items.push_back({collapsed(item["title"].get<std::string>()),
                       collapsed(item["link"].get<std::string>())});
    }
  }
  std::size_t agreeing = 0, explained = 0;
  for (const fs::path& path : paths) {
    const std::string name = path.filename().string();
    const std::string differs = difference(ourItems(path), theirs[path.string()]);
    const auto expected = kExpectedDifferences.find(name);
    if (differs.empty()) {
      ++agreeing;
      // A listed difference that went away makes the list wrong.
      EXPECT_EQ(expected, kExpectedDifferences.end()) << name << " agrees now";
    } else if (expected != kExpectedDifferences.end()) {
      ++explained;
    } else {
      ADD_FAILURE() << name << ": " << differs;
    }
  }
  std::printf("agreement with feedparser: %zu of %zu feeds (%.1f%%); %zu differ by rule\n",
              agreeing, paths.size(),
              100.0 * static_cast<double>(agreeing) / static_cast<double>(paths.size()), explained);
}

}  // namespace
}  // namespace orvel

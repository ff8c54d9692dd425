// feed: reading RSS, RDF and Atom feeds. items: the items, as JSON lines or a title and
// link a line; html: one page that shows them. Feeds are read from their bytes in their
// own encoding (the XML declaration's, else UTF-8, else Windows Latin 1).
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "orvel/base/date_text.h"
#include "orvel/base/utf8.h"
#include "orvel/markup/web_page.h"
#include "orvel/url/feeds.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"
#include "tools/orvel/document_text.h"

namespace orvel::cli {
namespace {

std::string utf8(std::u16string_view text) { return utf16ToUtf8(text); }

// The feed's text; a file that is no feed is refused, as one line naming it.
std::u16string readFeed(const std::string& file) {
  WebPage page = readWebPageInput(file);
  if (!isFeed(page.text)) {
    throw CommandError(displayName(file),
                       "not a feed (no rss, rdf:RDF or feed element before any html, head or "
                       "body tag)");
  }
  return std::move(page.text);
}

void addBaseOption(CLI::App* command, std::optional<std::string>& base) {
  command->add_option("--base", base, "Resolve root-relative links against URL")->type_name("URL");
}

std::optional<URL> baseURLOf(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  auto url = URL::URLWithString(decodeText(*text, "--base"));
  if (!url) throw CommandError("--base", "not a URL: " + *text);
  return url;
}

// One item as JSON: every text field, tags and enclosures when there are any, the parsed
// date when there is one.
std::string itemJson(const FeedItem& item) {
  nlohmann::json object = {{"title", utf8(item.title)},
                           {"link", utf8(item.link)},
                           {"description", utf8(item.description)},
                           {"content", utf8(item.content)},
                           {"date", utf8(item.date)},
                           {"author", utf8(item.author)},
                           {"guid", utf8(item.guid)}};
  if (!item.tags.empty()) {
    nlohmann::json tags = nlohmann::json::array();
    for (const std::u16string& tag : item.tags) tags.push_back(utf8(tag));
    object["tags"] = std::move(tags);
  }
  if (!item.enclosures.empty()) {
    nlohmann::json enclosures = nlohmann::json::array();
    for (const FeedEnclosure& enclosure : item.enclosures) {
      enclosures.push_back({{"url", utf8(enclosure.url)}, {"length", utf8(enclosure.length)}});
    }
    object["enclosures"] = std::move(enclosures);
  }
  if (item.calendarDate) object["calendarDate"] = iso8601StringOfDate(*item.calendarDate);
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

// A title on one line: runs of white space become one space.
std::string oneLine(std::u16string_view text) {
  std::string line;
  for (const char c : utf8(text)) {
    const bool white = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    if (!white) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  if (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

void registerItems(CLI::App& feed) {
  struct Options {
    std::string file = "-";
    std::optional<std::string> base;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = feed.add_subcommand("items", "The items: title TAB link a line, or JSON");
  addBaseOption(command, options->base);
  command->add_flag("--json", options->json,
                    "One object per item: title, link, description, content, date, author, "
                    "guid, tags, enclosures, calendarDate");
  addFileOption(command, options->file);
  command->callback([options] {
    const std::optional<URL> base = baseURLOf(options->base);
    std::string out;
    for (const FeedItem& item : getItemsOfFeed(readFeed(options->file), base)) {
      out += options->json ? itemJson(item) : oneLine(item.title) + "\t" + utf8(item.link) + "\n";
    }
    writeOut(out);
  });
}

void registerHtml(CLI::App& feed) {
  struct Options {
    std::string file = "-";
    std::optional<std::string> base;
    std::optional<std::string> styleSheet;
    bool linked = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = feed.add_subcommand("html", "One HTML page showing the feed");
  addBaseOption(command, options->base);
  command
      ->add_option("--style-sheet", options->styleSheet,
                   "Embed this CSS file (default: $ORVEL_LINKABLE_FEED_STYLE_SHEET)")
      ->type_name("PATH");
  command->add_flag("--link-style-sheet", options->linked,
                    "Link the style sheet by a file URL instead of embedding it");
  addFileOption(command, options->file);
  command->callback([options] {
    const std::optional<URL> base = baseURLOf(options->base);
    if (options->styleSheet) setLinkableFeedStyleSheet(*options->styleSheet);
    const CollectedLog log;
    const std::u16string page =
        stringByConvertingFeed(readFeed(options->file), base, options->linked);
    if (const std::string problems = log.suffix(); !problems.empty()) {
      throw CommandError(options->styleSheet.value_or("style sheet"), "unreadable" + problems);
    }
    writeOut(utf8(page) + "\n");
  });
}

}  // namespace

void registerFeedCommands(CLI::App& app) {
  CLI::App* feed = app.add_subcommand("feed", "Read RSS, RDF and Atom feeds");
  feed->require_subcommand(1);
  registerItems(*feed);
  registerHtml(*feed);
}

}  // namespace orvel::cli

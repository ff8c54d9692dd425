// The display page of a feed, its items' blocks, and the feed style sheet it links or embeds.
#include <cstdlib>
#include <mutex>

#include "orvel/base/date_text.h"
#include "orvel/base/file_bytes.h"
#include "orvel/base/log.h"
#include "orvel/base/utf8.h"
#include "orvel/markup/tag_stripping.h"
#include "orvel/url/feeds.h"
#include "orvel/url/internal/feed_scan.h"
#include "orvel/url/link_cleaning.h"

namespace orvel {
namespace {

constexpr std::u16string_view kPageStart =
    u"<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8\"/>\n";
constexpr std::u16string_view kLinkedSheetStart =
    u"<link rel=\"stylesheet\" type=\"text/css\" href=\"file://localhost/";
constexpr std::u16string_view kLinkedSheetEnd = u".feeds.stylesheet.css\"/>";

struct StyleSheetSetting {
  std::mutex mutex;
  std::optional<std::filesystem::path> path;

  StyleSheetSetting() {
    const char* value = std::getenv("ORVEL_LINKABLE_FEED_STYLE_SHEET");
    if (value != nullptr && *value != '\0') path = value;
  }
};

StyleSheetSetting& styleSheetSetting() {
  static StyleSheetSetting setting;
  return setting;
}

// A style sheet's text, read as UTF-8; nullopt (logged) when it cannot be read.
std::optional<std::u16string> styleSheetText(const std::filesystem::path& path) {
  const std::optional<std::string> bytes = bytesOfFile(path);
  if (!bytes) {
    log("Cannot read the feed style sheet %s", path.c_str());
    return std::nullopt;
  }
  return utf8ToUtf16Lenient(*bytes);
}

std::u16string embeddedStyle(std::u16string_view text) {
  return u"<style type=\"text/css\"><!--" + std::u16string(text) + u"--></style>\n";
}

void writeStyleSheet(std::u16string& output, bool linked) {
  const auto path = linkableFeedStyleSheet();
  if (!path) return;
  if (linked) {
    std::u16string url = URL::fileURLWithPath(*path).absoluteString();
    if (url.starts_with(u"file:///")) url.replace(0, 8, u"file://localhost/");
    output += u"<link rel=\"stylesheet\" type=\"text/css\" href=\"" + url + u"\"/>\n";
  } else if (const auto text = styleSheetText(*path)) {
    output += embeddedStyle(*text);
  }
}

// The last component of a URL's path, percent escapes decoded.
std::u16string lastPathComponent(std::u16string_view url) {
  std::u16string path(url);
  if (const auto parsed = URL::URLWithString(url)) path = parsed->path();
  while (path.size() > 1 && path.back() == u'/') path.pop_back();
  if (const std::size_t slash = path.rfind(u'/');
      slash != std::u16string::npos && path.size() > 1) {
    path.erase(0, slash + 1);
  }
  path.resize(convertPercentEscapesOfURL(path.data(), path.size()));
  return path;
}

// The integer an enclosure length starts with, as a number reader takes it.
long long leadingInteger(std::u16string_view text) {
  const std::string ascii = utf16ToUtf8(text.substr(0, 32));
  return std::strtoll(ascii.c_str(), nullptr, 10);
}

void appendEnclosure(std::u16string& output, const FeedEnclosure& enclosure) {
  const std::u16string label = lastPathComponent(enclosure.url);
  output += u"<a class=\"feed_enclosure\" href=\"" + enclosure.url + u"\">" + label + u"</a>";
  const bool hasLetter =
      std::any_of(enclosure.length.begin(), enclosure.length.end(),
                  [](char16_t c) { return (c | 0x20) >= u'a' && (c | 0x20) <= u'z'; });
  if (leadingInteger(enclosure.length) > 0) {
    output += u"&nbsp;(" + enclosure.length + (hasLetter ? u")" : u" bytes)");
  }
  output += u"<br/>\n";
}

// "author - date", the author or the date alone, or nothing; a date that parses is written
// in the page's one form.
std::u16string dateLine(std::u16string_view date, std::u16string_view author) {
  std::u16string dateText(date);
  if (!date.empty()) {
    if (const auto parsed = dateOfString(date)) dateText = stringOfDateAndTime(*parsed);
  }
  if (author.empty()) return dateText;
  if (dateText.empty()) return std::u16string(author);
  return std::u16string(author) + u" - " + dateText;
}

}  // namespace

std::optional<std::filesystem::path> linkableFeedStyleSheet() {
  StyleSheetSetting& setting = styleSheetSetting();
  const std::lock_guard lock(setting.mutex);
  return setting.path;
}

void setLinkableFeedStyleSheet(std::optional<std::filesystem::path> path) {
  StyleSheetSetting& setting = styleSheetSetting();
  const std::lock_guard lock(setting.mutex);
  setting.path = std::move(path);
}

void AppendItem2Feed(std::u16string& output, std::u16string_view icon, std::u16string_view title,
                     std::u16string_view content, std::u16string_view description,
                     std::u16string_view link, std::u16string_view date, std::u16string_view author,
                     const std::vector<FeedEnclosure>& enclosures) {
  const std::u16string body = stripTag(content.empty() ? description : content, "SPAN");
  const std::u16string line = dateLine(date, author);
  output += u"\n<div class=\"feed_header\">";
  if (!icon.empty()) {
    output += u"<table><tr><td valign=\"centered\"><img src=\"";
    output += icon;
    output += u"\"/></td><td valign=\"centered\">";
  }
  if (!link.empty()) {
    output += u"<a class=\"feed_link\" href=\"";
    output += link;
    output += u"\">";
    output += title;
    output += u"</a><br/>";
  } else {
    output += title;
    output += u"<br/>";
  }
  if (!line.empty()) output += u"<font class=\"feed_date\">" + line + u"</font>";
  output += icon.empty() ? u"</div>" : u"</td></table></div>";
  output += u"<div class=\"feed_article\">\n" + body + u"\n";
  if (!enclosures.empty()) {
    output += u"<div class=\"feed_enclosures\"><p>\n";
    for (const FeedEnclosure& enclosure : enclosures) appendEnclosure(output, enclosure);
    output += u"</p></div>\n</div>\n";
  } else {
    output += u"</div>\n";
  }
}

std::u16string stringByConvertingFeed(std::u16string_view string, const std::optional<URL>& baseURL,
                                      bool linkedStyleSheet) {
  std::u16string output(kPageStart);
  writeStyleSheet(output, linkedStyleSheet);
  const internal::FeedScan scan = internal::scanFeed(string, baseURL, &output, nullptr);
  if (!scan.rootSeen) return std::u16string(string);
  output += scan.bodyOpened ? u"\n</body>\n</html>" : u"\n</head>\n</html>";
  return output;
}

std::u16string stringByReplacingLinkedStyleSheet(std::u16string_view string) {
  const std::size_t start = string.find(kLinkedSheetStart);
  if (start == std::u16string_view::npos) return std::u16string(string);
  const std::size_t pathStart = start + kLinkedSheetStart.size();
  const std::size_t end = string.find(kLinkedSheetEnd, pathStart);
  if (end == std::u16string_view::npos) return std::u16string(string);
  // The link's path, ".feeds.stylesheet.css" included.
  std::u16string path = u"/" + std::u16string(string.substr(pathStart, end - pathStart)) +
                        std::u16string(kLinkedSheetEnd.substr(0, kLinkedSheetEnd.size() - 3));
  path.resize(convertPercentEscapesOfURL(path.data(), path.size()));
  const auto text = styleSheetText(utf16ToUtf8(path));
  if (!text) return std::u16string(string);
  std::u16string replaced(string.substr(0, start));
  replaced += embeddedStyle(*text);
  replaced += string.substr(end + kLinkedSheetEnd.size());
  return replaced;
}

}  // namespace orvel

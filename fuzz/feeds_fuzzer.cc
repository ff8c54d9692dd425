// Feeds of any text: recognition answers the same in both forms, items hold trimmed fields
// and never the broken generator's "Array", a recognised feed always gives a whole page,
// and the dates of items parse and print without fault.
#include <cstdint>
#include <string>

#include "orvel/base/date_text.h"
#include "orvel/url/feeds.h"

#include "fuzz/fuzz_support.h"

namespace {

bool isTrimmed(const std::u16string& text) {
  const auto white = [](char16_t c) { return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r'; };
  return text.empty() || (!white(text.front()) && !white(text.back()));
}

std::size_t countOf(std::u16string_view text, std::u16string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::u16string_view::npos;
       at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  bool complete = false;
  const bool feed = orvel::isFeed(text);
  ORVEL_FUZZ_CHECK(orvel::isFeedComplete(text, &complete) == feed);
  if (!feed) ORVEL_FUZZ_CHECK(!complete);

  static const auto base = orvel::URL::URLWithString(u"http://fuzz.example/feeds/x.xml");
  const auto items = orvel::getItemsOfFeed(text, base);
  for (const orvel::FeedItem& item : items) {
    ORVEL_FUZZ_CHECK(item.description != u"Array");
    ORVEL_FUZZ_CHECK(isTrimmed(item.title) && isTrimmed(item.author) && isTrimmed(item.date));
    ORVEL_FUZZ_CHECK(!item.calendarDate || !item.date.empty());
    if (item.calendarDate) static_cast<void>(orvel::stringOfDateAndTime(*item.calendarDate));
  }

  const std::u16string page = orvel::stringByConvertingFeed(text, base, false);
  if (feed) {
    ORVEL_FUZZ_CHECK(page.starts_with(u"<html>\n<head>\n<meta http-equiv="));
    ORVEL_FUZZ_CHECK(page.ends_with(u"</html>"));
    ORVEL_FUZZ_CHECK(countOf(page, u"\n<div class=\"feed_header\">") >= items.size());
  }
  static_cast<void>(orvel::stringByReplacingLinkedStyleSheet(page));

  // The first line as a date, as feeds write them.
  const auto line = orvel::fuzz::splitFirstLine(orvel::fuzz::bytesOf(data, size)).first;
  if (const auto date = orvel::dateOfString(orvel::fuzz::unitsOf(line.substr(0, 256)))) {
    static_cast<void>(orvel::iso8601StringOfDate(*date));
  }
  return 0;
}

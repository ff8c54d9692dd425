#include "orvel/base/date_text.h"

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

#include "orvel/base/calendar.h"

namespace orvel {
namespace {

struct DateFields {
  int year = -1;
  int month = -1;  // 1...12
  int day = -1;
  int hour = 0;
  int minute = 0;
  double second = 0;
  int zoneMinutes = 0;  // east of UTC
};

// Days since 1970-01-01 of a date on the proleptic Gregorian calendar (H. Hinnant's
// days_from_civil).
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

std::optional<TimeInterval> dateOfFields(const DateFields& f) {
  if (f.year < 0 || f.month < 1 || f.month > 12 || f.day < 1 || f.day > 31 || f.hour < 0 ||
      f.hour > 24 || f.minute < 0 || f.minute > 59 || f.second < 0 || f.second >= 61) {
    return std::nullopt;
  }
  const std::int64_t days =
      daysFromCivil(f.year, static_cast<unsigned>(f.month), static_cast<unsigned>(f.day));
  const double unixSeconds = static_cast<double>(days) * 86400 + f.hour * 3600 + f.minute * 60 +
                             f.second - f.zoneMinutes * 60;
  return unixSeconds - kReferenceDateUnixSeconds;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }

// Exactly `count` digits at `at`.
bool readDigits(std::string_view s, std::size_t& at, std::size_t count, int& value) {
  if (s.size() - at < count) return false;
  value = 0;
  for (std::size_t k = 0; k < count; ++k, ++at) {
    if (!isDigit(s[at])) return false;
    value = value * 10 + (s[at] - '0');
  }
  return true;
}

// "+hh:mm", "+hhmm", "+hh", "-..." at `at`, into minutes east.
bool readNumericZone(std::string_view s, std::size_t& at, int& minutes) {
  const int sign = s[at] == '-' ? -1 : 1;
  ++at;
  int hours = 0, rest = 0;
  if (!readDigits(s, at, 2, hours)) return false;
  if (at < s.size() && s[at] == ':') ++at;
  if (at < s.size() && isDigit(s[at]) && !readDigits(s, at, 2, rest)) return false;
  minutes = sign * (hours * 60 + rest);
  return true;
}

std::optional<DateFields> isoFields(std::string_view s) {
  DateFields f;
  std::size_t at = 0;
  if (!readDigits(s, at, 4, f.year)) return std::nullopt;
  f.month = f.day = 1;
  if (at < s.size() && s[at] == '-') {
    ++at;
    if (!readDigits(s, at, 2, f.month)) return std::nullopt;
    if (at < s.size() && s[at] == '-' && (++at, !readDigits(s, at, 2, f.day))) return std::nullopt;
  }
  if (at == s.size()) return f;
  if (s[at] != 'T' && s[at] != 't' && s[at] != ' ') return std::nullopt;
  ++at;
  if (!readDigits(s, at, 2, f.hour) || at == s.size() || s[at++] != ':' ||
      !readDigits(s, at, 2, f.minute)) {
    return std::nullopt;
  }
  if (at < s.size() && s[at] == ':') {
    ++at;
    int whole = 0;
    if (!readDigits(s, at, 2, whole)) return std::nullopt;
    f.second = whole;
    if (at < s.size() && (s[at] == '.' || s[at] == ',')) {
      double scale = 0.1;
      for (++at; at < s.size() && isDigit(s[at]); ++at, scale /= 10)
        f.second += (s[at] - '0') * scale;
    }
  }
  while (at < s.size() && s[at] == ' ') ++at;
  if (at < s.size() && (s[at] == 'Z' || s[at] == 'z')) {
    ++at;
  } else if (at < s.size() && (s[at] == '+' || s[at] == '-')) {
    if (!readNumericZone(s, at, f.zoneMinutes)) return std::nullopt;
  }
  while (at < s.size() && s[at] == ' ') ++at;
  return at == s.size() ? std::optional<DateFields>(f) : std::nullopt;
}

struct NamedZone {
  std::string_view name;
  int hours;
};
constexpr NamedZone kZones[] = {{"ut", 0},   {"utc", 0},  {"gmt", 0},  {"z", 0},
                                {"est", -5}, {"edt", -4}, {"cst", -6}, {"cdt", -5},
                                {"mst", -7}, {"mdt", -6}, {"pst", -8}, {"pdt", -7}};
constexpr std::string_view kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                        "jul", "aug", "sep", "oct", "nov", "dec"};

// "15:21", "15:21:36", "3:21:36.5".
bool readClock(std::string_view token, DateFields& f) {
  int parts[3] = {0, 0, 0};
  std::size_t count = 0, at = 0;
  while (count < 3) {
    const std::size_t start = at;
    int value = 0;
    while (at < token.size() && isDigit(token[at]) && at - start < 2)
      value = value * 10 + (token[at++] - '0');
    if (at == start) return false;
    parts[count++] = value;
    if (at == token.size() || token[at] != ':') break;
    ++at;
  }
  if (count < 2) return false;
  f.hour = parts[0];
  f.minute = parts[1];
  f.second = parts[2];
  if (at < token.size() && token[at] == '.') {
    double scale = 0.1;
    for (++at; at < token.size() && isDigit(token[at]); ++at, scale /= 10)
      f.second += (token[at] - '0') * scale;
  }
  return at == token.size();
}

// A word of a mail date: a month, a zone, AM/PM; weekdays and other words are passed over.
void readWord(std::string word, DateFields& f, int& meridiem) {
  for (char& c : word) c = static_cast<char>(c | 0x20);
  for (const NamedZone& zone : kZones) {
    if (word == zone.name) {
      f.zoneMinutes = zone.hours * 60;
      return;
    }
  }
  if (word == "am" || word == "pm") {
    meridiem = word == "pm" ? 2 : 1;
    return;
  }
  if (word.size() < 3 || word.size() > 9) return;
  for (std::size_t m = 0; m < 12; ++m) {
    if (f.month < 0 && word.compare(0, 3, kMonths[m]) == 0) f.month = static_cast<int>(m) + 1;
  }
}

std::optional<DateFields> mailFields(std::string_view s) {
  DateFields f;
  int meridiem = 0;  // 1 AM, 2 PM
  bool year2 = false, clockSeen = false;
  std::size_t at = 0;
  while (at < s.size()) {
    const char c = s[at];
    // A "-" joins "19-May-2002" until the clock has been read; then it starts a zone.
    if (c == '+' || (c == '-' && clockSeen && at + 1 < s.size() && isDigit(s[at + 1]))) {
      if (!readNumericZone(s, at, f.zoneMinutes)) return std::nullopt;
      continue;
    }
    if (c == ' ' || c == ',' || c == '-') {
      ++at;
      continue;
    }
    std::size_t end = at + 1;
    while (end < s.size() && s[end] != ' ' && s[end] != ',' && s[end] != '-') ++end;
    const std::string_view token = s.substr(at, end - at);
    at = end;
    if (token.find(':') != std::string_view::npos) {
      if (!readClock(token, f)) return std::nullopt;
      clockSeen = true;
    } else if (isDigit(token.front())) {
      int value = 0;
      for (char d : token) {
        if (!isDigit(d) || value > 100000) return std::nullopt;
        value = value * 10 + (d - '0');
      }
      if (token.size() >= 3) {
        f.year = value;
      } else if (f.day < 0) {
        f.day = value;
      } else if (f.year < 0) {
        f.year = value;
        year2 = true;
      }
    } else if (isLetter(token.front())) {
      readWord(std::string(token.substr(0, 10)), f, meridiem);
    }
  }
  if (f.year < 0 || f.month < 0 || f.day < 0) return std::nullopt;
  if (year2) f.year += f.year < 50 ? 2000 : 1900;
  if (meridiem == 2 && f.hour < 12) f.hour += 12;
  if (meridiem == 1 && f.hour == 12) f.hour = 0;
  return f;
}

// The calendar fields year, month, day, hour, minute and second through a printf pattern.
std::string formattedDate(TimeInterval date, const char* pattern) {
  std::tm calendar{};
  if (!calendarDateOfTimeInterval(date, &calendar)) return {};
  char text[64];
  const int length =
      std::snprintf(text, sizeof text, pattern, calendar.tm_year + 1900, calendar.tm_mon + 1,
                    calendar.tm_mday, calendar.tm_hour, calendar.tm_min, calendar.tm_sec);
  return std::string(text, static_cast<std::size_t>(length > 0 ? length : 0));
}

}  // namespace

std::optional<TimeInterval> dateOfString(std::u16string_view text) {
  std::string ascii;
  ascii.reserve(text.size());
  for (char16_t unit : text) {
    ascii += unit < 0x80 && unit > u' ' ? static_cast<char>(unit) : ' ';
  }
  const std::size_t first = ascii.find_first_not_of(' ');
  if (first == std::string::npos) return std::nullopt;
  const std::string_view trimmed =
      std::string_view(ascii).substr(first, ascii.find_last_not_of(' ') + 1 - first);
  if (trimmed.size() >= 4 && isDigit(trimmed[0]) && isDigit(trimmed[3])) {
    if (const auto fields = isoFields(trimmed)) return dateOfFields(*fields);
  }
  if (const auto fields = mailFields(trimmed)) return dateOfFields(*fields);
  return std::nullopt;
}

std::u16string stringOfDateAndTime(TimeInterval date) {
  const std::string text = formattedDate(date, "%04d-%02d-%02d %02d:%02d UTC");
  return std::u16string(text.begin(), text.end());
}

std::string iso8601StringOfDate(TimeInterval date) {
  return formattedDate(date, "%04d-%02d-%02dT%02d:%02d:%02dZ");
}

}  // namespace orvel

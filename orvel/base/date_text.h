// Dates as feeds and mail headers write them, read and written without a locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "orvel/base/types.h"

namespace orvel {

// The date a text gives, or nullopt when it gives none. Two families are read:
//   - ISO 8601 as W3C date-times write it: "2003-12-13T18:30:02Z", "2003-12-13 18:30:02.25+01:00",
//     "2003-12-13", "2003-12", "2003"; a time without a zone is UTC.
//   - Mail dates and their relatives: "Sun, 19 May 2002 15:21:36 GMT", "19 May 02 15:21 +0100",
//     "May 19, 2002 3:21:36 PM EST", "Sun May 19 15:21:36 2002"; English month names (three
//     letters are enough), the zone names of North America and UT/UTC/GMT/Z, numeric zones;
//     two-digit years below 50 are 20xx. Without a time, midnight UTC.
[[nodiscard]] std::optional<TimeInterval> dateOfString(std::u16string_view text);

// "2002-05-19 15:21 UTC": the date-and-time form of the display pages. Empty for a date no
// calendar holds (as for the form below).
[[nodiscard]] std::u16string stringOfDateAndTime(TimeInterval date);

// "2002-05-19T15:21:36Z" (whole seconds, rounded down), for machines.
[[nodiscard]] std::string iso8601StringOfDate(TimeInterval date);

}  // namespace orvel

// Dates (seconds since 2001-01-01 00:00:00 UTC) on the proleptic Gregorian calendar in UTC.
#pragma once

#include <ctime>

#include "orvel/base/types.h"

namespace orvel {

// The seconds since the Unix epoch of the reference date 2001-01-01 00:00:00 UTC.
inline constexpr double kReferenceDateUnixSeconds = 978307200.0;

// The calendar fields of a date, whole seconds rounded down. False for a date that no
// calendar field set can hold: NaN, an infinity, or a year beyond the range of int.
[[nodiscard]] bool calendarDateOfTimeInterval(TimeInterval seconds, std::tm* calendar);

}  // namespace orvel

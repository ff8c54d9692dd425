#include "orvel/base/calendar.h"

#include <cmath>
#include <cstdint>

namespace orvel {

bool calendarDateOfTimeInterval(TimeInterval seconds, std::tm* calendar) {
  // About 68 billion years either way: within time_t, and every year gmtime can fail on
  // lies outside; the comparison is false for NaN.
  constexpr double kLimit = 2.0e18;
  const double unixSeconds = std::floor(seconds + kReferenceDateUnixSeconds);
  if (!(std::fabs(unixSeconds) < kLimit)) return false;
  const auto whole = static_cast<std::time_t>(unixSeconds);
  return ::gmtime_r(&whole, calendar) != nullptr;
}

}  // namespace orvel

#include "orvel/base/calendar.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace orvel {
namespace {

TEST(CalendarTest, SecondsSinceTheReferenceDateInUtc) {
  std::tm calendar{};
  ASSERT_TRUE(calendarDateOfTimeInterval(0.0, &calendar));
  EXPECT_EQ(calendar.tm_year, 101);
  EXPECT_EQ(calendar.tm_yday, 0);
  ASSERT_TRUE(calendarDateOfTimeInterval(-0.5, &calendar));  // rounded down: the year before
  EXPECT_EQ(calendar.tm_year, 100);
  EXPECT_EQ(calendar.tm_sec, 59);
  ASSERT_TRUE(calendarDateOfTimeInterval(1e15, &calendar));  // far, but a year an int holds
  EXPECT_GT(calendar.tm_year, 30000000);
}

TEST(CalendarTest, DatesNoCalendarHoldsAreRefused) {
  std::tm calendar{};
  for (const double seconds :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity(), 7.5e168, -1e300, 1e18 * 8}) {
    EXPECT_FALSE(calendarDateOfTimeInterval(seconds, &calendar)) << seconds;
  }
}

}  // namespace
}  // namespace orvel

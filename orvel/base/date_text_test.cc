#include "orvel/base/date_text.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

// 2002-05-19 15:21:36 UTC.
constexpr TimeInterval kMay19 = 1021821696.0 - 978307200.0;

TEST(DateTextTest, IsoDateTimesWithAndWithoutZones) {
  EXPECT_EQ(dateOfString(u"2002-05-19T15:21:36Z"), kMay19);
  EXPECT_EQ(dateOfString(u" 2002-05-19T17:21:36+02:00 "), kMay19);
  EXPECT_EQ(dateOfString(u"2002-05-19T10:21:36-0500"), kMay19);
  EXPECT_EQ(dateOfString(u"2002-05-19 15:21:36"), kMay19);
  EXPECT_EQ(dateOfString(u"2002-05-19T15:21:36.25Z"), kMay19 + 0.25);
  EXPECT_EQ(dateOfString(u"2002-05-19T15:21Z"), kMay19 - 36);
  EXPECT_EQ(dateOfString(u"2002-05-19"), kMay19 - (15 * 3600 + 21 * 60 + 36));
  EXPECT_EQ(dateOfString(u"2001-01"), 0.0);
  EXPECT_EQ(dateOfString(u"2001"), 0.0);
  EXPECT_EQ(dateOfString(u"2000-12-31T23:59:59Z"), -1.0);
}

TEST(DateTextTest, MailDatesAndTheirRelatives) {
  EXPECT_EQ(dateOfString(u"Sun, 19 May 2002 15:21:36 GMT"), kMay19);
  EXPECT_EQ(dateOfString(u"Sun, 19 May 2002 16:21:36 +0100"), kMay19);
  EXPECT_EQ(dateOfString(u"Sun, 19 May 2002 11:21:36 EDT"), kMay19);
  EXPECT_EQ(dateOfString(u"19 May 02 15:21:36 -0000"), kMay19);
  EXPECT_EQ(dateOfString(u"Sunday, 19-May-2002 15:21:36 UTC"), kMay19);
  EXPECT_EQ(dateOfString(u"May 19, 2002 3:21:36 PM"), kMay19);
  EXPECT_EQ(dateOfString(u"Sun May 19 15:21:36 2002"), kMay19);
  EXPECT_EQ(dateOfString(u"Sun, 19 May 2002 15:21:36 +0000 (UTC)"), kMay19);
  EXPECT_EQ(dateOfString(u"19 May 2002"), kMay19 - (15 * 3600 + 21 * 60 + 36));
  EXPECT_EQ(dateOfString(u"1 Jan 01 12:00 AM"), 0.0);
}

TEST(DateTextTest, TextsThatGiveNoDate) {
  for (const char16_t* text :
       {u"", u"   ", u"yesterday", u"2002-13-01", u"2002-05-19T25:00Z", u"19 2002 15:21",
        u"Sun, 32 May 2002", u"2002-05-19T15:21:36 nonsense", u"May 2002", u"12:00 May 3",
        u"\u0662\u0660\u0660\u0662-05-19"}) {
    EXPECT_FALSE(dateOfString(text).has_value()) << std::u16string_view(text).size();
  }
}

TEST(DateTextTest, DateAndTimeAreWrittenInUtc) {
  EXPECT_EQ(stringOfDateAndTime(kMay19), u"2002-05-19 15:21 UTC");
  EXPECT_EQ(stringOfDateAndTime(-1), u"2000-12-31 23:59 UTC");
  EXPECT_EQ(stringOfDateAndTime(1e300), u"");
  EXPECT_EQ(iso8601StringOfDate(kMay19 + 0.9), "2002-05-19T15:21:36Z");
  EXPECT_EQ(iso8601StringOfDate(-1e300), "");
}

}  // namespace
}  // namespace orvel

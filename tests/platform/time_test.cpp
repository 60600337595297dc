#include "zds/platform/time.h"

#include <gtest/gtest.h>

#include "support/time_zone.h"

namespace zds {
namespace {

// Local time is UTC here, so expected second counts are plain arithmetic.
class TimeTest : public ::testing::Test {
 protected:
  void SetUp() override { ZDS_USE_TIME_ZONE_OR_SKIP("UTC"); }
};

TEST_F(TimeTest, ParsesTheStoredFormsAndNothingElse) {
  const std::pair<const char*, int64_t> cases[] = {
      {"2005-05-01 12:30:15", 1114950615}, {"2005-05-01 12:30", 1114950600}, {" 2005-05-01 ", 1114905600},
      {"2004-02-29", 1078012800},          {"2005-02-30", 0},                {"1900-02-29", 0},
      {"2005-13-01", 0},                   {"2005-05-01 24:00", 0},          {"2005-05-01T12:30", 0},
      {"2005-05-01 12:30:15x", 0},         {"05-05-01", 0},                  {"", 0},
  };
  for (auto [text, seconds] : cases) EXPECT_EQ(ParseDateTime(text).GetTime(), seconds) << text;
}

TEST_F(TimeTest, ConstructorNormalisesOutOfRangeFields) {
  EXPECT_EQ(CTime(2005, 4, 31, 0, 0, 0).Format(kTimeFormatDate), "2005-05-01");
  EXPECT_EQ(CTime(2005, 13, 1, 0, 0, 0).Format(kTimeFormatDate), "2006-01-01");
  EXPECT_EQ(CTime(2005, 1, 1, 25, 0, 0).Format(kTimeFormatSeconds), "2005-01-02 01:00:00");
}

// mktime answers -1 both for failure and for this second.
TEST_F(TimeTest, LastSecondBeforeTheEpochIsNotAFailure) {
  EXPECT_EQ(CTime(1969, 12, 31, 23, 59, 59).GetTime(), -1);
}

// Far beyond the years every C runtime places itself (1970 to 3000 on Windows).
TEST_F(TimeTest, ReachesTheYearsOneThousandToTenThousand) {
  const CTime first(1000, 1, 1, 0, 0, 0), last(9999, 12, 31, 23, 59, 59);
  EXPECT_EQ(first.GetTime(), -30610224000);
  EXPECT_EQ(last.GetTime(), 253402300799);
  EXPECT_EQ(first.Format(kTimeFormatSeconds), "1000-01-01 00:00:00");
  EXPECT_EQ(last.Format(kTimeFormatSeconds), "9999-12-31 23:59:59");
  EXPECT_EQ(CTime(1600, 2, 30, 0, 0, 0).Format(kTimeFormatDate), "1600-03-01");
  EXPECT_EQ(CTime(1600, 1, 1, 12, 0, 0).GetDayOfWeek(), 7);  // Saturday
  EXPECT_EQ(CTime(1969, 12, 31, 0, 0, 0).GetDayOfWeek(), 4);  // Wednesday
}

TEST_F(TimeTest, DayOfWeekCountsFromSunday) {
  EXPECT_EQ(CTime(1970, 1, 1, 0, 0, 0).GetDayOfWeek(), 5);   // Thursday
  EXPECT_EQ(CTime(2005, 1, 1, 12, 0, 0).GetDayOfWeek(), 7);  // Saturday
  EXPECT_EQ(CTime(2005, 1, 2, 12, 0, 0).GetDayOfWeek(), 1);  // Sunday
}

// A wall time the autumn change repeats is its earlier reading and one the
// spring change skips moves forward, whatever was asked before.
TEST(DaylightTest, RepeatedAndMissingHoursHaveOneAnswer) {
  ZDS_USE_TIME_ZONE_OR_SKIP("Europe/Berlin");
  const int64_t repeated = 1193531400;  // 2007-10-28 02:30 CEST (00:30 UTC)
  const int64_t skipped = 1174786200;   // 2007-03-25 03:30 CEST: 02:30 does not exist
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(CTime(2007, 7, 1, 12, 0, 0).GetLocalTm().tm_isdst, 1);  // a summer answer before...
    EXPECT_EQ(CTime(2007, 10, 28, 2, 30, 0).GetTime(), repeated);
    EXPECT_EQ(CTime(2007, 1, 1, 12, 0, 0).GetLocalTm().tm_isdst, 0);  // ...and a winter one
    EXPECT_EQ(CTime(2007, 10, 28, 2, 30, 0).GetTime(), repeated);
    EXPECT_EQ(CTime(2007, 3, 25, 2, 30, 0).GetTime(), skipped);
  }
}

}  // namespace
}  // namespace zds

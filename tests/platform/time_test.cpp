#include "zds/platform/time.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

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

// Fields out of range carry over; the years run from 1000 to 9999, far
// beyond those every C runtime places itself (1970 to 3000 on Windows);
// weekdays count from Sunday.
TEST_F(TimeTest, ConstructorNormalisesFieldsAcrossTheYearsAndCountsWeekdays) {
  // Year, month, day, hour, minute, second; shown, seconds since 1970, day of the week.
  const std::tuple<int, int, int, int, int, int, const char*, int64_t, int> cases[] = {
      {2005, 4, 31, 0, 0, 0, "2005-05-01 00:00:00", 1114905600, 1},
      {2005, 13, 1, 0, 0, 0, "2006-01-01 00:00:00", 1136073600, 1},
      {2005, 1, 1, 25, 0, 0, "2005-01-02 01:00:00", 1104627600, 1},
      {2005, 1, 1, 12, 0, 0, "2005-01-01 12:00:00", 1104580800, 7},
      {1970, 1, 1, 0, 0, 0, "1970-01-01 00:00:00", 0, 5},
      {1969, 12, 31, 23, 59, 59, "1969-12-31 23:59:59", -1, 4},  // mktime's answer for a failure too
      {1600, 2, 30, 0, 0, 0, "1600-03-01 00:00:00", -11670912000, 4},
      {1600, 1, 1, 12, 0, 0, "1600-01-01 12:00:00", -11676052800, 7},
      {1000, 1, 1, 0, 0, 0, "1000-01-01 00:00:00", -30610224000, 4},
      {9999, 12, 31, 23, 59, 59, "9999-12-31 23:59:59", 253402300799, 6},
  };
  for (auto [year, month, day, hour, minute, second, shown, seconds, day_of_week] : cases) {
    const CTime time(year, month, day, hour, minute, second);
    EXPECT_EQ(time.Format(kTimeFormatSeconds), shown);
    EXPECT_EQ(std::pair(time.GetTime(), time.GetDayOfWeek()), std::pair(seconds, day_of_week)) << shown;
  }
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

// The cache that loads convert times through must give FromLocalFields's
// answer for every wall time: on the days of a change (half-hour ones,
// late-evening ones west of Greenwich, Apia's skipped day), beside them and
// far from them, whether the day is new to the cache or already in it.
TEST(LocalTimeCacheTest, AgreesWithTheDirectConversion) {
  const std::pair<const char*, int> cases[] = {
      {"UTC", 2007}, {"Europe/Berlin", 2007}, {"America/New_York", 2007}, {"Australia/Lord_Howe", 2007},
      {"America/Nuuk", 2007}, {"Pacific/Apia", 2011},
  };
  test::ZoneVisits zones;
  for (const auto& [zone_name, zone_year] : cases) {
    const char* zone = zone_name;  // named again: a lambda cannot capture a structured binding in C++20
    const int year = zone_year;
    if (!zones.Use(zone)) continue;
    LocalTimeCache cache;
    auto check = [&](int64_t y, int64_t mo, int64_t d, int64_t h, int64_t mi) {
      EXPECT_EQ(cache.FromLocalFields(y, mo, d, h, mi, 0), CTime::FromLocalFields(y, mo, d, h, mi, 0))
          << zone << " " << y << "-" << mo << "-" << d << " " << h << ":" << mi;
    };
    for (int round = 0; round < 2; ++round) {
      for (int64_t day = 1; day <= 366; ++day) {
        for (int64_t minute = 10; minute < 24 * 60; minute += 20) check(year, 1, day, 0, minute);
      }
    }
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
      check(1900 + static_cast<int64_t>(random() % 200), 1 + static_cast<int64_t>(random() % 12),
            1 + static_cast<int64_t>(random() % 28), static_cast<int64_t>(random() % 24),
            static_cast<int64_t>(random() % 60));
    }
  }
  zones.Finish();
}

}  // namespace
}  // namespace zds

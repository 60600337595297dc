// The schedule's rule: where occurrences lie (per kind, across
// daylight-saving changes, month ends and 29 February), the searches on
// hand-checked cases, the movable span, the day test and the sentence.

#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

using cycle_testing::Show;

// A rule whose event runs 09:00-10:00 unless the event text sets its times.
CScheCycleRec Rule(const char* type, std::string event, const char* range, std::initializer_list<const char*> maps = {}) {
  if (event.find("from=") == std::string::npos) event += ";from=2004-05-01 09:00;to=2004-05-01 10:00";
  return cycle_testing::ParseRule(type, event.c_str(), range, maps);
}

std::string Occurrence(const CScheCycleRec& rec, int n, bool use_maps = true) {
  CTime begin, end;
  return rec.GetMapRange(n, begin, end, use_maps) ? Show(begin) + " " + Show(end).substr(11) : "none";
}

TEST(ScheCycleRec, PlacesOccurrencesOfEveryKind) {
  struct Case {
    const char *zone, *type, *event, *range;
    int n;
    const char* expected;
  };
  const Case cases[] = {
      {"Europe/Berlin", "day;multiple=02", "sequence", "notstop;from=2004-05-01", 3, "2004-05-07 09:00:00 10:00:00"},
      // Fixed 86400-second days: the clock time follows a daylight-saving change.
      {"Europe/Berlin", "day", "sequence", "notstop;from=2004-03-27 00:00", 1, "2004-03-28 10:00:00 11:00:00"},
      {"UTC", "day", "sequence", "notstop;from=2004-03-27 00:00", 1, "2004-03-28 09:00:00 10:00:00"},
      {"America/New_York", "day", "sequence;from=2004-10-30 00:30;to=2004-10-30 01:00", "notstop;from=2004-10-30", 2,
       "2004-10-31 23:30:00 00:00:00"},
      // Workdays from a Monday: Mon Tue Wed Thu, then 4 and 5 both the next Monday.
      {"UTC", "day;workday=yes", "sequence", "notstop;from=2004-05-03", 3, "2004-05-06 09:00:00 10:00:00"},
      {"UTC", "day;workday=yes", "sequence", "notstop;from=2004-05-03", 5, "2004-05-10 09:00:00 10:00:00"},
      // Weekly lands on the day after the counted day (Wednesday start, Monday and Friday chosen).
      {"America/New_York", "week", "sequence;number=0100010", "notstop;from=2004-05-05", 1, "2004-05-08 09:00:00 10:00:00"},
      {"America/New_York", "week", "sequence;number=0100010", "notstop;from=2004-05-05", 2, "2004-05-12 09:00:00 10:00:00"},
      {"UTC", "week", "sequence;number=0100000", "notstop;from=2004-05-03", 1, "2004-05-10 09:00:00 10:00:00"},
      {"UTC", "week", "sequence;number=00000001", "notstop;from=2004-05-03", 1, "none"},
      // Day 31 of April is 1 May, and the series keeps day 1 from then on.
      {"Europe/Berlin", "month", "absolute_day;date=00:00:31", "notstop;from=2004-04-10", 1, "2004-06-01 09:00:00 10:00:00"},
      {"UTC", "month", "absolute_day;date=00:00:31", "notstop;from=2004-01-31", 1, "2004-03-02 09:00:00 10:00:00"},
      {"UTC", "month;multiple=12", "absolute_day;date=00:00:05", "notstop;from=2004-05-10", 1, "2005-06-05 09:00:00 10:00:00"},
      {"UTC", "year", "absolute_day;date=00:02:29", "notstop;from=2005-03-02", 0, "2006-03-01 09:00:00 10:00:00"},
      {"UTC", "year", "absolute_day;date=00:02:29", "notstop;from=2005-03-01", 3, "2008-03-01 09:00:00 10:00:00"},
      {"UTC", "year", "sequence", "notstop;from=2004-02-29", 1, "2005-03-01 09:00:00 10:00:00"},
      {"UTC", "day", "sequence", "numlimited;number=03;from=2004-05-01", 2, "2004-05-03 09:00:00 10:00:00"},
      {"UTC", "day", "sequence", "numlimited;number=03;from=2004-05-01", 3, "none"},
      // An occurrence whose end passes the until-date is gone, though it begins before it.
      {"UTC", "day", "sequence", "timelimited;from=2004-05-01;to=2004-05-03 09:30", 2, "none"},
      {"UTC", "day;multiple=00", "sequence", "notstop;from=2004-05-01", 5, "2004-05-01 09:00:00 10:00:00"},
  };
  cycle_testing::ZoneVisits zones;
  for (const Case& c : cases) {
    if (!zones.Use(c.zone)) continue;
    EXPECT_EQ(Occurrence(Rule(c.type, c.event, c.range), c.n), c.expected) << c.zone << " " << c.type << " " << c.range;
  }
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  CScheCycleRec rec = Rule("day", "sequence", "numlimited;number=03;from=2004-05-01",
                           {"02;status=delete;from=2004-05-03 12:00;to=2004-05-03 13:00", "07;from=2004-06-01 12:00"});
  EXPECT_EQ(Occurrence(rec, 2), "2004-05-03 12:00:00 13:00:00") << "a map wins, whatever its status";
  EXPECT_EQ(Occurrence(rec, 2, false), "2004-05-03 09:00:00 10:00:00");
  EXPECT_EQ(Occurrence(rec, 7).substr(0, 19), "2004-06-01 12:00:00") << "the count does not limit maps";
  CTime begin(1234), end(5678);
  EXPECT_TRUE(Rule("self-defined", "sequence", "notstop").GetMapRange(1, begin, end, true));
  EXPECT_EQ(begin.GetTime() + end.GetTime(), 1234 + 5678) << "an unexpanded kind leaves the caller's times";
  zones.Finish();
}

// An occurrence is bounded by its neighbours; maps are found by number, id
// and time; the occurrence holding a moment is found (in a zone with summer
// time, last: a skip there leaves out only its own checks).
TEST(ScheCycleRec, BoundsAnOccurrenceFindsMapsAndTheOccurrenceHoldingAMoment) {
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  CScheCycleRec rec = Rule("day", "sequence", "numlimited;number=03;from=2004-05-01 08:00");
  rec.cycle_range.to = ParseDateTime("2004-06-01");
  CTime lower, upper;
  ASSERT_TRUE(rec.GetMapMaxRange(0, lower, upper));
  EXPECT_EQ(Show(lower) + " " + Show(upper), "2004-05-01 08:00:00 2004-05-02 09:00:00");
  ASSERT_TRUE(rec.GetMapMaxRange(2, lower, upper));
  EXPECT_EQ(Show(lower) + " " + Show(upper), "2004-05-02 10:00:00 2004-06-01 00:00:00");
  EXPECT_FALSE(rec.GetMapMaxRange(3, lower, upper));
  EXPECT_TRUE(rec.IsMapRangeSetOK(1, ParseDateTime("2004-05-01 10:00"), ParseDateTime("2004-05-03 09:00")));
  EXPECT_FALSE(rec.IsMapRangeSetOK(1, ParseDateTime("2004-05-01 09:59:59"), ParseDateTime("2004-05-02 10:00")));
  rec.maps.Add(CCycleMap{1, 0, ParseDateTime("2004-05-02 09:00"), ParseDateTime("2004-05-02 10:00"), "a"});
  rec.maps.Add(CCycleMap{1, 0, ParseDateTime("2004-05-09 09:00"), ParseDateTime("2004-05-09 10:00"), "b"});
  EXPECT_EQ(rec.GetMapInfoByNumber(1)->event, "a");
  EXPECT_EQ(rec.GetMapInfoByID("b")->from, ParseDateTime("2004-05-09 09:00"));
  EXPECT_EQ(rec.GetMapInfoByID("B"), nullptr);
  EXPECT_EQ(rec.GetMapInfoByTime(ParseDateTime("2004-05-02 09:30"))->event, "a");
  EXPECT_EQ(rec.GetMapInfoByTime(ParseDateTime("2004-05-20 09:30"))->event, "b") << "none holds it: the last map";
  EXPECT_EQ(rec.GetMapInfoByTime(ParseDateTime("2004-04-30 09:30")), nullptr);

  ZDS_USE_TIME_ZONE_OR_SKIP("America/New_York");
  rec = Rule("day", "sequence", "notstop;from=2004-05-01", {"02;from=2004-05-03 12:00;to=2004-05-03 13:00"});
  struct Case {
    const char* moment;
    bool use_maps;
    int expected;
  };
  const Case cases[] = {{"2004-05-04 10:00", true, 3},   {"2004-05-04 10:00:01", true, -1}, {"2004-04-30 09:30", true, -1},
                        {"2004-05-03 09:30", false, 2},  {"2004-05-03 09:30", true, -1},    {"2004-05-03 12:30", true, 2},
                        {"2024-05-03 09:30", false, 7307}};
  for (const Case& c : cases) EXPECT_EQ(rec.GetMapNumByTime(ParseDateTime(c.moment), c.use_maps), c.expected) << c.moment;
  EXPECT_EQ(Rule("day;multiple=00", "sequence", "notstop;from=2004-05-01").GetMapNumByTime(ParseDateTime("2004-05-02"), true),
            -1) << "a walk that never stops";
  test::UseTimeZone("UTC");
}

TEST(ScheCycleRec, TellsWhetherAnOccurrenceFallsOnADay) {
  struct Case {
    const char *zone, *type, *event, *range, *day, *to;  // to "": the whole day
    bool expected;
  };
  const char* monday_friday = "sequence;number=0100010";
  const Case cases[] = {
      {"UTC", "day;multiple=02", "sequence", "notstop;from=2004-05-01 10:00", "2004-05-03", "", true},
      {"UTC", "day;multiple=02", "sequence", "notstop;from=2004-05-01", "2004-05-04", "", false},
      {"UTC", "day;multiple=07", "sequence", "notstop;from=2004-05-01", "2004-05-02", "2004-05-09", true},
      // 86400-second steps from a winter midnight miss a summer midnight.
      {"Europe/Berlin", "day", "sequence", "notstop;from=2004-03-01", "2004-04-01", "", false},
      {"UTC", "day;workday=yes", "sequence", "notstop;from=2004-05-01", "2004-05-08", "", false},
      {"UTC", "day;workday=yes", "sequence", "numlimited;number=03;from=2004-05-03", "2004-05-05", "", true},
      {"UTC", "day;workday=yes", "sequence", "numlimited;number=03;from=2004-05-03", "2004-05-06", "", false},
      {"UTC", "week;multiple=02", monday_friday, "notstop;from=2004-05-03", "2004-05-10", "", false},
      {"America/New_York", "week;multiple=02", monday_friday, "notstop;from=2004-05-03", "2004-05-17", "", true},
      {"UTC", "week", monday_friday, "numlimited;number=02;from=2004-05-03", "2004-05-07", "", true},
      {"UTC", "week", monday_friday, "numlimited;number=02;from=2004-05-03", "2004-05-10", "", false},
      {"UTC", "week", "sequence;number=0000000", "notstop;from=2004-05-03", "2004-05-10", "", false},
      {"UTC", "month;multiple=02", "absolute_day;date=00:00:15", "notstop;from=2004-01-10", "2004-03-15", "", true},
      {"UTC", "month;multiple=02", "absolute_day;date=00:00:15", "notstop;from=2004-01-10", "2004-02-15", "", false},
      {"UTC", "month", "absolute_day;date=00:00:15", "numlimited;number=02;from=2004-01-10", "2004-03-15", "", false},
      {"UTC", "year;multiple=04", "absolute_day;date=00:02:29", "notstop;from=2004-01-01", "2008-02-29", "", true},
      {"UTC", "day", "sequence", "timelimited;from=2004-05-01;to=2004-05-03 23:00", "2004-05-04", "", false},
      {"UTC", "self-defined", "sequence", "notstop;from=2004-05-01", "2004-05-01", "", false},
  };
  cycle_testing::ZoneVisits zones;
  for (const Case& c : cases) {
    if (!zones.Use(c.zone)) continue;
    EXPECT_EQ(Rule(c.type, c.event, c.range).IsMapExisted(ParseDateTime(c.day), ParseDateTime(c.to)), c.expected)
        << c.zone << " " << c.type << " " << c.range << " on " << c.day;
  }
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  CScheCycleRec rec = Rule("day", "sequence", "timelimited;from=2004-05-01 10:00;to=2004-06-01 12:00",
                           {"02;status=delete;from=2004-05-03 09:00;to=2004-05-03 10:00"});
  EXPECT_FALSE(rec.IsMapExisted(ParseDateTime("2004-05-03"), CTime())) << "a deleted occurrence hides the day";
  EXPECT_TRUE(rec.IsMapExisted(ParseDateTime("2004-05-04"), CTime()));
  EXPECT_EQ(Show(rec.cycle_range.from) + " " + Show(rec.cycle_range.to), "2004-05-01 00:00:00 2004-06-01 00:00:00");
  zones.Finish();
}

TEST(ScheCycleRec, DescribesItselfAndCopiesMapsDeeply) {
  const char* cases[][4] = {
      {"day;multiple=02", "sequence", "notstop;from=2004-05-01 09:00", "Start from 2004-05-01Every 2 days Never End"},
      {"day;workday=yes", "sequence", "numlimited;number=05;from=2004-05-01", "Start from 2004-05-01Every Workday End at the 5"},
      {"week", "sequence;number=0100010", "timelimited;from=2004-05-01;to=2005-01-01 00:00",
       "Start from 2004-05-01Every 1 week 's Monday.Friday End at 2005-01-01"},
      {"week", "sequence;number=0000000", "notstop;from=2004-05-01", "Start from 2004-05-01Every 1 week 's  Never End"},
      {"year;multiple=03", "absolute_day;date=00:05:17", "notstop;from=2004-05-01",
       "Start from 2004-05-01Every 3 year 's 5 month 's 17 Never End"},
      {"self-defined", "sequence", "bogus;from=2004-05-01", "Start from 2004-05-01 Never End"},
  };
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  for (const auto& c : cases) EXPECT_EQ(Rule(c[0], c[1], c[2]).Format(), c[3]);
  // Maps are copied deeply and compared in order.
  CScheCycleRec rec = Rule("day", "sequence", "notstop", {"01;event=a", "02;event=b"});
  CScheCycleRec copy = rec;
  EXPECT_EQ(copy, rec);
  copy.maps[0].event = "changed";
  EXPECT_EQ(rec.maps[0].event, "a");
  EXPECT_NE(copy, rec);
  CScheCycleRec swapped = Rule("day", "sequence", "notstop", {"02;event=b", "01;event=a"});
  EXPECT_NE(swapped, rec);
}

}  // namespace
}  // namespace zds

// The timer's rule: its own placement of occurrences where it differs from
// the schedule's, the last occurrence begun by a moment, and assignment
// from a schedule rule; its direct searches, and what is due in a span,
// answer exactly as the walks from occurrence 0 do, on random rules,
// moments and maps in three zones.

#include <algorithm>

#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

constexpr const char* kNineToTen = "sequence;from=2004-05-01 09:00;to=2004-05-01 10:00";

CATimerCycleRec Timer(const char* type, const char* range, std::initializer_list<const char*> maps = {}) {
  return CATimerCycleRec(cycle_testing::ParseRule(type, kNineToTen, range, maps));
}

TEST(TimerCycleRec, PlacesOccurrencesWithTheTimersArithmeticAndFindsTheLastBegun) {
  struct Case {
    const char *type, *range;
    int n;
    const char* expected;
  };
  const Case cases[] = {
      // Workdays from a Friday: Fri, Sat, Tue, Wed, then 4 (and 5) the next Friday, 6 the Saturday after.
      {"day;workday=yes", "notstop;from=2004-05-07", 1, "2004-05-08 09:00:00"},
      {"day;workday=yes", "notstop;from=2004-05-07", 2, "2004-05-11 09:00:00"},
      {"day;workday=yes", "notstop;from=2004-05-07", 4, "2004-05-14 09:00:00"},
      {"day;workday=yes", "notstop;from=2004-05-07", 6, "2004-05-15 09:00:00"},
      {"day;multiple=02", "notstop;from=2004-03-01 17:00", 3, "2004-03-07 09:00:00"},
      // The until-date limits begins: one starting exactly at it is kept; maps ignore it.
      {"day", "timelimited;from=2004-05-01;to=2004-05-03 09:00", 2, "2004-05-03 09:00:00"},
      {"day", "timelimited;from=2004-05-01;to=2004-05-03 08:59", 2, "none"},
      {"day", "timelimited;from=2004-05-01;to=2004-05-03 08:59", 5, "2004-06-02 12:00:00"},
  };
  ZDS_USE_TIME_ZONE_OR_SKIP("America/New_York");
  for (const Case& c : cases) {
    CATimerCycleRec rec = Timer(c.type, c.range, {"05;from=2004-06-02 12:00;to=2004-06-02 13:00"});
    CTime begin;
    EXPECT_EQ(rec.GetMapTime(c.n, begin, true) ? cycle_testing::Show(begin) : "none", c.expected) << c.range << " " << c.n;
  }
  CATimerCycleRec weekly = Timer("week", "notstop;from=2004-05-03", {"01;from=2004-05-04 12:00;to=2004-05-04 13:00"});
  EXPECT_EQ(weekly.GetMapNumByTime(ParseDateTime("2004-05-10 10:00"), false), 1);
  EXPECT_EQ(weekly.GetMapNumByTime(ParseDateTime("2004-05-10 10:00"), true), -1);
  EXPECT_EQ(weekly.GetMapNumByTime(ParseDateTime("2004-05-04 12:00"), true), 1);

  // The last occurrence begun by a moment, and the text of its map.
  struct Begun {
    const char *range, *moment;
    int expected;
    const char* name;
  };
  const Begun begun[] = {
      {"notstop;from=2004-05-01", "2004-05-03 09:00", 2, ""},
      {"notstop;from=2004-05-01", "2004-05-03 08:59:59", 1, "moved"},
      {"notstop;from=2004-05-01", "2004-05-01 08:59", -1, ""},
      {"notstop;from=2004-05-01", "2024-05-03 09:00", 7307, ""},
      // A series that ended before the moment answers -1, with the text of its last occurrence.
      {"numlimited;number=02;from=2004-05-01", "2004-05-10 09:00", -1, "moved"},
      {"numlimited;number=03;from=2004-05-01", "2004-05-10 09:00", -1, ""},
      {"timelimited;from=2004-05-01;to=2004-05-02 09:00", "2004-05-02 09:30", -1, "moved"},
  };
  for (const Begun& c : begun) {
    CATimerCycleRec rec = Timer("day", c.range, {"01;from=2004-05-02 08:00;to=2004-05-02 08:30;event=moved"});
    std::string name = "stale";
    EXPECT_EQ(rec.GetBeforeNumber(ParseDateTime(c.moment), name), c.expected) << c.range << " at " << c.moment;
    EXPECT_EQ(name, c.name) << c.range << " at " << c.moment;
  }
  std::string name;
  EXPECT_EQ(Timer("week;multiple=00", "notstop;from=2004-05-01").GetBeforeNumber(ParseDateTime("2004-05-09"), name), -1)
      << "a walk that never stops";
  test::UseTimeZone("UTC");
}

TEST(TimerCycleRec, TakesOverAScheduleRule) {
  CScheCycleRec schedule = cycle_testing::ParseRule("week", "sequence;number=0100010", "notstop;from=2004-05-03", {"01;event=a"});
  CATimerCycleRec timer;
  timer = schedule;
  schedule.maps[0].event = "b";
  EXPECT_EQ(timer.maps[0].event, "a");
  EXPECT_EQ(timer.Format(), "Start from 2004-05-03Every 1 week 's Monday.Friday Never End");
}

TEST(TimerSearchAgreement, OccurrenceHoldingMatchesWalk) {
  cycle_testing::CheckRandomCases(0x7173e500u, [](const CScheCycleRec& schedule, CTime t, bool use_maps) {
    CATimerCycleRec rec(schedule);
    bool capped = false;
    int walked = cycle_testing::WalkHolding(rec, t, use_maps, capped);
    return cycle_testing::Compare(use_maps ? "holding with maps" : "holding", walked, capped, rec.GetMapNumByTime(t, use_maps));
  });
}

TEST(TimerSearchAgreement, LastBegunMatchesWalk) {
  cycle_testing::CheckRandomCases(0xbe40e000u, [](const CScheCycleRec& schedule, CTime t, bool) {
    CATimerCycleRec rec(schedule);
    bool capped = false;
    std::string walked_name, found_name = "stale";
    int walked = cycle_testing::WalkLastBegun(rec, t, walked_name, capped);
    int found = rec.GetBeforeNumber(t, found_name);
    std::string complaint = cycle_testing::Compare("last begun", walked, capped, found);
    if (complaint.empty() && !capped && found_name != walked_name) complaint = "name " + found_name + " vs " + walked_name;
    return complaint;
  });
}


// The definition, walked: the plain rule's occurrences from 0, skipped until
// the first that begins at or after `from`, then taken while they begin
// inside; a number with a map is placed by its first map instead, and a
// deleted one is not due. One per moment.
std::vector<CATimerOccurrence> Walk(const CATimerCycleRec& rec, CTime from, CTime to, bool& capped) {
  std::vector<CATimerOccurrence> found;
  auto inside = [&](CTime t) { return from <= t && t < to; };
  for (int n = 0; n < 500; ++n) {  // the random rules' map numbers stay below
    const CCycleMap* map = rec.GetMapInfoByNumber(n);
    if (map && map->status != kMapDelete && inside(map->from)) found.push_back({n, map->from});
  }
  capped = false;
  bool started = false;
  CTime begin, end;
  for (int n = 0; cycle::IsExpandedKind(rec.cycle_type.type); ++n) {
    capped = n == cycle_testing::kWalkCap;
    if (capped || !rec.GetMapRange(n, begin, end, false)) break;
    if (!started && begin < from) continue;
    if (!inside(begin)) break;
    started = true;
    if (rec.GetMapInfoByNumber(n) == nullptr) found.push_back({n, begin});
  }
  auto order = [](auto& a, auto& b) { return std::tie(a.begin, a.number) < std::tie(b.begin, b.number); };
  std::sort(found.begin(), found.end(), order);
  auto same = [](auto& a, auto& b) { return a.begin == b.begin; };
  found.erase(std::unique(found.begin(), found.end(), same), found.end());
  return found;
}

TEST(TimerDueTest, OccurrencesInASpanMatchTheWalkFromTheRulesStart) {
  std::mt19937 random(0x5eed);
  const int64_t kLengths[] = {0, -86400, 3600, 86400, 86400, 7 * 86400, 60 * 86400};
  cycle_testing::CheckRandomCases(0xd0e71e5u, [&](const CScheCycleRec& schedule, CTime from, bool use_maps) {
    CATimerCycleRec rec(schedule);
    if (!use_maps) rec.maps.Clear();
    CTime to = from + CTimeSpan(kLengths[random() % std::size(kLengths)] + static_cast<int64_t>(random() % 3) - 1);
    bool capped = false;
    std::vector<CATimerOccurrence> walked = Walk(rec, from, to, capped), found = rec.GetOccurrencesIn(from, to);
    auto earlier = [](auto& a, auto& b) { return a.begin < b.begin; };
    if (capped ? std::includes(walked.begin(), walked.end(), found.begin(), found.end(), earlier) : found == walked) {
      return std::string();
    }
    return "walk " + std::to_string(walked.size()) + (capped ? " (capped)" : "") + ", found " +
           std::to_string(found.size()) + " up to " + cycle_testing::Show(to);
  });
}

}  // namespace
}  // namespace zds

// The schedule's occurrence test and the agenda's expansion answer from the
// span alone; here they are checked against the slow definitions on random
// rules, spans and maps in three time zones: the occurrence test against
// the rule's own day-by-day walk, the expansion against stepping through
// the occurrences from number 0.

#include <algorithm>
#include <tuple>

#include "zds/calendar/schedule_occurrences.h"
#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

using cycle_testing::CheckRandomCases;

constexpr int kStepCap = 60000;

// The rule's own answer, by its walk (on a copy: the walk moves the start to midnight).
bool Walked(CScheCycleRec rec, CTime begin, CTime end) { return rec.IsMapExisted(begin, end); }

bool Earlier(const CScheduleOccurrence& a, const CScheduleOccurrence& b) {
  return std::tie(a.number, a.begin, a.end) < std::tie(b.number, b.begin, b.end);
}

// Occurrence n is the first map numbered n, else the rule's (of a kind it
// expands; with a multiple below 1, occurrence 0 only). Begins rise within
// each residue of n modulo the rule's period, so a period's worth of rule
// occurrences in a row past the span (or missing) ends the walk.
std::vector<CScheduleOccurrence> StepThrough(const CScheCycleRec& rec, CTime first, CTime last, bool& capped) {
  CycleRule rule{rec.cycle_type, rec.cycle_event, rec.cycle_range, CycleStyle::kSchedule};
  int64_t period = rule.type.type == kCycleWeek ? std::max<int64_t>(1, cycle::SelectedDayCount(rule.event))
                   : rule.type.type == kCycleDay && rule.type.workday != 0 ? 5 : 1;
  int last_map = -1;
  for (size_t i = 0; i < rec.maps.size(); ++i) last_map = std::max(last_map, rec.maps[i].number);
  std::vector<CScheduleOccurrence> found;
  capped = false;
  for (int n = 0, beyond = 0; n <= (rule.type.multiple < 1 ? 0 : kStepCap); ++n) {
    CTime begin, end;
    bool exists = cycle::IsExpandedKind(rule.type.type) && cycle::RuleOccurrence(rule, n, begin, end);
    beyond = exists && begin <= last ? 0 : beyond + 1;
    const CCycleMap* map = rec.maps.FindByNumber(n);
    if (map != nullptr) std::tie(exists, begin, end) = std::tuple(map->status != kMapDelete, map->from, map->to);
    if (exists && begin <= last && end >= first) found.push_back({n, begin, end});
    if (beyond >= period && n >= last_map) return found;
  }
  capped = rule.type.multiple >= 1;
  return found;
}

TEST(ScheduleOccurrenceAgreement, TheSpanTestAnswersAsTheDayByDayWalk) {
  CheckRandomCases(0xca1e0000u, [](const CScheCycleRec& rec, CTime t, bool whole_day) {
    // A day from t, or a span of up to ten days.
    CTime end = whole_day ? CTime() : t + CTimeSpan(static_cast<int64_t>(t.GetTime() % 10) * 86400 + t.GetTime() % 7);
    bool expected = Walked(rec, t, end), found = OccursInSpan(rec, t, end);
    return found == expected ? std::string() : "span test: walk " + std::to_string(expected) + ", found " +
                                                   std::to_string(found) + " up to " + std::to_string(end.GetTime());
  });
}

// Counted workday and weekly rules are where the walk starts at the rule's
// start: each day around the end of the count is asked, in a zone whose
// clock changes fall on Sundays and in one whose changes fall on any
// weekday at midnight (then a count across them differs from the plain one).
TEST(ScheduleOccurrenceAgreement, CountedRulesEndWhereTheWalkEndsThem) {
  cycle_testing::ZoneVisits zones;
  for (const char* zone : {"Europe/Berlin", "Asia/Tehran"}) {
    if (!zones.Use(zone)) continue;
    cycle_testing::RuleGenerator random(0xc0de0000u);
    for (int i = 0; i < 80; ++i) {
      CScheCycleRec rec;
      bool weekly = random.Chance(50);
      rec.cycle_type.type = weekly ? kCycleWeek : kCycleDay;
      rec.cycle_type.workday = !weekly;
      rec.cycle_type.multiple = random.Uniform(1, 3);
      rec.cycle_event.number = "0000000";
      for (int day = random.Uniform(1, 3); day > 0; --day) rec.cycle_event.number[random.Uniform(0, 6)] = '1';
      rec.cycle_range.type = kRangeNumLimited;
      rec.cycle_range.number = random.Chance(10) ? random.Uniform(-1, 0) : random.Uniform(1, weekly ? 300 : 1200);
      rec.cycle_range.from = CTime(random.Uniform64(820454400, 1893456000));  // 1996 to 2030
      std::tm from = rec.cycle_range.from.GetLocalTm();
      CTime start = CTime::FromLocalFields(from.tm_year + 1900, from.tm_mon + 1, from.tm_mday, 0, 0, 0);
      int64_t end_day = int64_t{std::max(rec.cycle_range.number, 0)} * 7 / (weekly ? cycle::SelectedDayCount(rec.cycle_event) : 5);
      for (int64_t day = std::max<int64_t>(0, end_day - 12); day <= end_day + 12; ++day) {
        CTime t = start + CTimeSpan(day * 86400 + (random.Chance(75) ? 0 : random.Uniform(1, 86399)));
        EXPECT_EQ(OccursInSpan(rec, t, CTime()), Walked(rec, t, CTime())) << zone << " " << cycle_testing::Describe(rec, t);
      }
    }
  }
  zones.Finish();
}

TEST(ScheduleOccurrenceAgreement, TheAgendaListsWhatSteppingFromTheStartFinds) {
  CheckRandomCases(0xa9e0da00u, [](const CScheCycleRec& ruled, CTime t, bool use_maps) {
    CScheCycleRec rec = ruled;
    if (!use_maps) rec.maps.Clear();
    std::tm day = t.GetLocalTm();
    CTime first = CTime::FromLocalFields(day.tm_year + 1900, day.tm_mon + 1, day.tm_mday, 0, 0, 0);
    CTime last = CTime::FromLocalFields(day.tm_year + 1900, day.tm_mon + 1, day.tm_mday + 1 + t.GetTime() % 40, 0, 0, 0) -
                 CTimeSpan(1);
    bool capped = false;
    std::vector<CScheduleOccurrence> expected = StepThrough(rec, first, last, capped), found;
    ExpandOccurrences(rec, first, last, found);
    std::sort(found.begin(), found.end(), Earlier);
    if (capped || found == expected) return std::string();
    std::string complaint = "span " + std::to_string(first.GetTime()) + ".." + std::to_string(last.GetTime());
    for (const auto* list : {&expected, &found}) {
      complaint += list == &expected ? "\n  stepping:" : "\n  found:   ";
      for (const auto& o : *list) complaint += " " + std::to_string(o.number) + "@" + cycle_testing::Show(o.begin);
    }
    return complaint;
  });
}

}  // namespace
}  // namespace zds

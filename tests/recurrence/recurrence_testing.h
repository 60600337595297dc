// Helpers for the recurrence tests: rules from their stored text, random
// rules, and the step-by-step walks the searches must agree with. The walks
// are the reference: they visit occurrence 0, 1, 2, ... as the searches are
// defined, with a step cap so that a never-ending walk ends.

#ifndef ZDS_TESTS_RECURRENCE_RECURRENCE_TESTING_H_
#define ZDS_TESTS_RECURRENCE_RECURRENCE_TESTING_H_

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "zds/recurrence/cycle_format.h"
#include "support/time_zone.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/timers/timer_cycle_rec.h"

namespace zds::cycle_testing {

inline constexpr int kWalkCap = 12000;
inline const char* const kZones[] = {"UTC", "Europe/Berlin", "America/New_York"};

using test::ZoneVisits;

// A schedule rule from its stored values.
inline CScheCycleRec ParseRule(const char* type, const char* event, const char* range,
                               std::initializer_list<const char*> maps = {}) {
  CScheCycleRec rec;
  CCycleFormat::AnalyseCycleType(type, rec.cycle_type);
  CCycleFormat::AnalyseCycleEvent(event, rec.cycle_event);
  CCycleFormat::AnalyseCycleRange(range, rec.cycle_range);
  for (const char* text : maps) {
    CCycleMap map;
    CCycleFormat::AnalyseCycleMap(text, map);
    rec.maps.Add(map);
  }
  return rec;
}

inline std::string Show(CTime time) { return time.Format(kTimeFormatSeconds); }

// Walks occurrences from 0; `capped` when the cap ended the walk.
template <typename Rec>
int WalkHolding(const Rec& rec, CTime t, bool use_maps, bool& capped) {
  capped = false;
  if (t < rec.cycle_range.from) return -1;
  for (int n = 0; n < kWalkCap; ++n) {
    CTime begin, end;
    if (!rec.GetMapRange(n, begin, end, use_maps)) return -1;
    if (t < begin && t < end) return -1;
    if (begin <= t && t <= end) return n;
  }
  capped = true;
  return -1;
}

inline int WalkLastBegun(const CATimerCycleRec& rec, CTime t, std::string& name, bool& capped) {
  name.clear();
  capped = false;
  for (int count = 0; count < kWalkCap; ++count) {
    const CCycleMap* map = rec.GetMapInfoByNumber(count);
    CTime start;
    if (map == nullptr && !rec.GetMapTime(count, start, false)) return -1;  // the series has ended
    if ((map != nullptr ? map->from : start) > t) return count - 1;
    name = map != nullptr ? map->event : "";
  }
  capped = true;
  return -1;
}

// Rules of every kind, mostly sensible, with a share of odd values (zero or
// negative multiples, long or empty masks, impossible days, negative
// durations, unknown kinds) and of maps on and off the rule's own times.
class RuleGenerator {
 public:
  explicit RuleGenerator(uint64_t seed) : random_(seed) {}

  CScheCycleRec Rule() {
    CScheCycleRec rec;
    CCycleType& type = rec.cycle_type;
    type.type = Chance(2) ? Uniform(0, 1) * 5 - 1 : Uniform(0, 3);
    type.workday = type.type == kCycleDay && Chance(33);
    type.multiple = Chance(3) ? 0 : Chance(2) ? -Uniform(1, 3) : Chance(1) ? Uniform(50, 2000) : Uniform(1, 4);
    CCycleEvent& event = rec.cycle_event;
    bool calendar = type.type == kCycleMonth || type.type == kCycleYear;
    event.type = calendar ? (Chance(70) ? kEventAbsoluteDay : Uniform(0, 2)) : Chance(4) ? Uniform(1, 2) : kEventSequence;
    event.number.clear();
    for (int i = Chance(10) ? Uniform(0, 12) : 7; i > 0; --i) event.number += Chance(5) ? '2' : char('0' + Uniform(0, 1));
    event.day2 = Chance(5) ? Uniform(-1, 14) : Uniform(1, 12);
    event.day3 = Chance(5) ? Uniform(-3, 40) : Uniform(1, 31);
    event.from = AnyTime(1990, 2030);
    event.to = event.from + CTimeSpan(Chance(10) ? 0 : Chance(6) ? -Uniform(1, 7200) : Chance(8) ? Uniform64(86400, 3456000)
                                                                                      : Uniform(60, 3 * 3600));
    CCycleRange& range = rec.cycle_range;
    range.from = AnyTime(1996, 2030);
    range.type = Chance(3) ? 5 : Uniform(0, 3) % 3;
    range.number = Chance(5) ? Uniform(-2, 1) : Uniform(1, 300);
    range.to = range.from + CTimeSpan(Uniform64(-864000, Chance(40) ? 86400LL * 90 : 86400LL * 365 * 20));
    AddMaps(rec);
    return rec;
  }

  // Mostly within a few months of the start, sometimes years on, often at
  // or inside an occurrence or a map, sometimes before the start.
  CTime Moment(const CScheCycleRec& rec) {
    int64_t from = rec.cycle_range.from.GetTime();
    int pick = Uniform(0, 99);
    if (pick < 4) return CTime(from - Uniform(0, 86400 * 30));
    if (pick < 15 && !rec.maps.empty()) {
      const CCycleMap& map = rec.maps[static_cast<size_t>(Uniform(0, static_cast<int>(rec.maps.size()) - 1))];
      return (Chance(50) ? map.from : map.to) + CTimeSpan(Uniform(-2, 2));
    }
    CTime begin, end;
    if (pick < 45 && rec.GetMapRange(Uniform(0, pick < 35 ? 60 : 3000), begin, end, Chance(50))) {
      int64_t inside = end > begin ? Uniform64(0, (end - begin).GetTotalSeconds()) : 0;
      return (Chance(33) ? begin : Chance(50) ? end : begin + CTimeSpan(inside)) + CTimeSpan(Uniform(-1, 1));
    }
    return CTime(from + Uniform64(0, 86400LL * (pick < 80 ? 120 : pick < 97 ? 1460 : 9125)));
  }

  int Uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random_); }
  int64_t Uniform64(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(random_); }
  bool Chance(int percent) { return Uniform(0, 99) < percent; }

 private:
  // Midnight and late evening are favoured: there daylight-saving shifts
  // move occurrences across days.
  CTime AnyTime(int first_year, int last_year) {
    int hour = Chance(25) ? Uniform(0, 1) * 23 : Uniform(0, 23);
    return CTime(Uniform(first_year, last_year), Uniform(1, 12), Uniform(1, 31), hour, Uniform(0, 59),
                 Chance(10) ? Uniform(0, 59) : 0);
  }

  // Half the rules have maps, half of those a run of neighbouring numbers.
  void AddMaps(CScheCycleRec& rec) {
    int count = Chance(50) ? 0 : Uniform(1, 6);
    int run_start = Chance(50) ? Uniform(0, 30) : -1;
    for (int i = 0; i < count; ++i) {
      CCycleMap map;
      map.number = run_start >= 0 ? run_start + i : Chance(10) ? Uniform(-2, 400) : Uniform(0, 40);
      map.status = Uniform(0, 2);
      map.event = "map" + std::to_string(i);
      CTime begin, end;
      if (!rec.GetMapRange(map.number, begin, end, false) || Chance(20)) begin = AnyTime(1996, 2032);
      map.from = begin + CTimeSpan(Uniform64(-86400LL * 20, 86400LL * 20));
      map.to = map.from + CTimeSpan(Uniform64(-3600, 86400LL * 3));
      rec.maps.Add(map);
    }
  }

  std::mt19937_64 random_;
};

// The rule as stored values and raw times, for failure reports.
inline std::string Describe(const CScheCycleRec& rec, CTime t) {
  std::string text, line;
  CCycleFormat::ComposeCycleType(rec.cycle_type, text);
  CCycleFormat::ComposeCycleEvent(rec.cycle_event, line);
  text += " " + line;
  CCycleFormat::ComposeCycleRange(rec.cycle_range, line);
  text += " " + line;
  for (size_t i = 0; i < rec.maps.size(); ++i) CCycleFormat::ComposeCycleMap(rec.maps[i], line), text += " " + line;
  return text + "\nTZ=" + std::getenv("TZ") + " moment " + std::to_string(t.GetTime()) + " event " +
         std::to_string(rec.cycle_event.from.GetTime()) + ".." + std::to_string(rec.cycle_event.to.GetTime()) +
         " range " + std::to_string(rec.cycle_range.from.GetTime()) + ".." + std::to_string(rec.cycle_range.to.GetTime());
}

// Runs `check` on random rules, moments and map choices spread
// over the three zones; `check` answers a complaint, or "" when the search
// and the walk agree. Reports at most five complaints.
// ZDS_RECURRENCE_CASES sets the number of cases (10,000 by default).
template <typename Check>
void CheckRandomCases(uint64_t seed, Check check) {
  const char* wanted = std::getenv("ZDS_RECURRENCE_CASES");
  int cases = wanted != nullptr && std::atoi(wanted) > 0 ? std::atoi(wanted) : 10000, failures = 0;
  ZoneVisits zones;
  for (int zone = 0; zone < 3; ++zone) {
    if (!zones.Use(kZones[zone])) continue;
    RuleGenerator generator(seed + static_cast<uint64_t>(zone));
    for (int i = zone; i < cases && failures < 5; i += 3) {
      CScheCycleRec rec = generator.Rule();
      CTime t = generator.Moment(rec);
      std::string complaint = check(rec, t, generator.Uniform(0, 3) != 0);
      if (complaint.empty()) continue;
      ++failures;
      ADD_FAILURE() << "case " << i << ": " << complaint << "\n" << Describe(rec, t);
    }
  }
  zones.Finish();
}

// Agreement of a search's answer with its walk's (a capped walk only bounds it).
inline std::string Compare(const char* what, int walked, bool capped, int found) {
  bool agrees = capped ? found == -1 || found >= kWalkCap - 1 : found == walked;
  if (agrees) return "";
  return std::string(what) + ": walk " + std::to_string(walked) + (capped ? " (capped)" : "") + ", search " +
         std::to_string(found);
}

}  // namespace zds::cycle_testing

#endif  // ZDS_TESTS_RECURRENCE_RECURRENCE_TESTING_H_

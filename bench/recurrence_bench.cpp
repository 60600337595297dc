// Searching a recurrence one day and twenty years after its start.
//
// The searches answer without walking, so both distances should cost about
// the same; libical's iterator, which walks an equivalent RRULE to the same
// moment, is measured beside them for scale.

#include <benchmark/benchmark.h>
#include <libical/ical.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "zds/recurrence/cycle_format.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/timers/timer_cycle_rec.h"

namespace {

using zds::CATimerCycleRec;
using zds::CScheCycleRec;
using zds::CTime;

struct RuleKind {
  const char* name;
  const char* type;
  const char* event;
  const char* rrule;  // the libical rule walked to the same moment
};

// All start on Monday 2004-01-05; events run 09:00-10:00.
const RuleKind kKinds[] = {
    {"daily", "day", "sequence;from=2004-01-05 09:00;to=2004-01-05 10:00", "FREQ=DAILY"},
    {"workday", "day;workday=yes", "sequence;from=2004-01-05 09:00;to=2004-01-05 10:00",
     "FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR"},
    {"weekly", "week", "sequence;number=0101010;from=2004-01-05 09:00;to=2004-01-05 10:00",
     "FREQ=WEEKLY;BYDAY=MO,WE,FR"},
    {"monthly", "month", "absolute_day;date=00:00:15;from=2004-01-05 09:00;to=2004-01-05 10:00",
     "FREQ=MONTHLY;BYMONTHDAY=15"},
    {"yearly", "year", "absolute_day;date=00:05:15;from=2004-01-05 09:00;to=2004-01-05 10:00",
     "FREQ=YEARLY;BYMONTH=5;BYMONTHDAY=15"},
};

constexpr const char kRange[] = "notstop;from=2004-01-05 00:00";
constexpr const char* kMoments[] = {"2004-01-06 09:30", "2024-01-06 09:30"};  // one day, twenty years on

CScheCycleRec MakeRule(const RuleKind& kind) {
  CScheCycleRec rec;
  zds::CCycleFormat::AnalyseCycleType(kind.type, rec.cycle_type);
  zds::CCycleFormat::AnalyseCycleEvent(kind.event, rec.cycle_event);
  zds::CCycleFormat::AnalyseCycleRange(kRange, rec.cycle_range);
  return rec;
}

void UseZone() {
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
}

void BM_ScheduleFind(benchmark::State& state) {
  UseZone();
  CScheCycleRec rec = MakeRule(kKinds[state.range(0)]);
  CTime moment = zds::ParseDateTime(kMoments[state.range(1)]);
  for (auto _ : state) benchmark::DoNotOptimize(rec.GetMapNumByTime(moment, true));
  state.SetLabel(std::string(kKinds[state.range(0)].name) + (state.range(1) ? " +20y" : " +1d"));
}

void BM_TimerBefore(benchmark::State& state) {
  UseZone();
  CATimerCycleRec rec(MakeRule(kKinds[state.range(0)]));
  CTime moment = zds::ParseDateTime(kMoments[state.range(1)]);
  std::string name;
  for (auto _ : state) benchmark::DoNotOptimize(rec.GetBeforeNumber(moment, name));
  state.SetLabel(std::string(kKinds[state.range(0)].name) + (state.range(1) ? " +20y" : " +1d"));
}

void BM_LibicalWalk(benchmark::State& state) {
  icalrecurrencetype recur = icalrecurrencetype_from_string(kKinds[state.range(0)].rrule);
  icaltimetype start = icaltime_from_string("20040105T090000");
  icaltimetype target = icaltime_from_string(state.range(1) ? "20240106T093000" : "20040106T093000");
  for (auto _ : state) {
    icalrecur_iterator* walk = icalrecur_iterator_new(recur, start);
    int count = 0;
    for (icaltimetype next = icalrecur_iterator_next(walk);
         !icaltime_is_null_time(next) && icaltime_compare(next, target) <= 0; next = icalrecur_iterator_next(walk)) {
      ++count;
    }
    icalrecur_iterator_free(walk);
    benchmark::DoNotOptimize(count);
  }
  state.SetLabel(std::string(kKinds[state.range(0)].name) + (state.range(1) ? " +20y" : " +1d"));
}

BENCHMARK(BM_ScheduleFind)->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1}});
BENCHMARK(BM_TimerBefore)->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1}});
BENCHMARK(BM_LibicalWalk)->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1}});

}  // namespace

BENCHMARK_MAIN();

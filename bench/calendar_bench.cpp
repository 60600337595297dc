// The agenda of one week in a store with twenty years of schedule against
// the same week in a store with one month of it, measured side by side in
// each iteration (the machine is shared and noisy):
//   twenty years: 240 month documents holding 50,000 entries (1% of them
//                 over several days, in the whole document) and 500
//                 recurring entries whose rules began twenty years ago;
//   one month:    the last of those months' share of entries and the same
//                 500 rules begun a week ago.
// Target: the week's agenda costs at most 2x as much in the large store, and
// opens no month document but those the week touches.
//   cold: open the calendar, its schedule index and what the agenda needs;
//   warm: the agenda on documents already open;
//   query: the schedule's own date query (GetRecIDByDate) on open documents.
//
// Run: build-bench/bench/calendar_bench --benchmark_repetitions=5
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "zds/calendar/calendar_doc.h"
#include "zds/calendar/classes.h"
#include "zds/platform/files.h"
#include "zds/recurrence/cycle_format.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

constexpr int kLastYear = 2025, kLastMonth = 12;
constexpr int kYears = 20;
constexpr int kEntries = 50'000;
constexpr int kRules = 500;
constexpr const char* kWeekFrom = "2025-12-08";  // Monday to Sunday
constexpr const char* kWeekTo = "2025-12-14";

std::string Date(int year, int month, int day) {
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", year, month, day);
  return text;
}

// A store on disk, built once from a fixed seed.
struct StoreShape {
  const char* name;
  int months;         // of entries, ending with the agenda's month
  CTime rules_begin;  // when every rule's range begins
};

class StoreBuilder {
 public:
  StoreBuilder(std::shared_ptr<const platform::DataRoot> root, const CRTTIRegistry& registry)
      : root_(std::move(root)), registry_(registry) {}

  bool Build(const StoreShape& shape) {
    CCalendarDoc calendar;
    calendar.SetDataRoot(root_);
    calendar.SetAutoSaveFlag(true);
    calendar.SetClassRegistry(&registry_);
    if (!IsOpen(OpenVFDLDoc(calendar, "\\calendar\\index.xml", "\\calendar"))) return false;
    CScheduleIndexDoc* index = calendar.GetScheduleIndexDoc();
    if (index == nullptr) return false;
    int per_month = kEntries / (kYears * 12);
    for (int m = shape.months - 1; m >= 0; --m) {
      int total = (kLastYear * 12 + kLastMonth - 1) - m;
      if (!FillMonth(*index, total / 12, total % 12 + 1, per_month)) return false;
    }
    return FillRules(*index, shape.rules_begin);
  }

 private:
  int Uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(random_); }

  CScheduleRec Entry(const std::string& subject, CTime begin, CTime end, bool all_day) {
    CScheduleRec rec;
    CScheduleExtendRec& entry = rec.GetExtendRec();
    rec.SetAlias(subject);
    rec.SetAttribute(kAttrNormal);
    entry.subject = subject;
    entry.begin = begin;
    entry.end = end;
    entry.all_day = all_day;
    entry.contact = Uniform(0, 3) == 0 ? "someone@example.org" : "";
    entry.priority = Uniform(1, 3);
    return rec;
  }

  // A month's entries, one in a hundred over several days (filed in the whole document).
  bool FillMonth(CScheduleIndexDoc& index, int year, int month, int count) {
    CScheduleDoc* doc = index.GetCurrentDoc(Date(year, month, 1));
    CScheduleDoc* whole = index.GetWholeDoc();
    if (doc == nullptr || whole == nullptr) return false;
    doc->SetAutoSaveFlag(false);
    whole->SetAutoSaveFlag(false);
    for (int i = 0; i < count; ++i) {
      int day = Uniform(1, 28), hour = Uniform(7, 20);
      CTime begin(year, month, day, hour, Uniform(0, 3) * 15, 0);
      bool long_one = Uniform(0, 99) == 0;
      CTime end = long_one ? begin + CTimeSpan(Uniform(1, 4), 0, 0, 0) : begin + CTimeSpan(0, 0, Uniform(2, 8) * 15, 0);
      CScheduleDoc* target = long_one ? whole : doc;
      std::string subject = "Entry " + Date(year, month, day) + " " + std::to_string(i);
      if (target->AddRec(target->GetRoot()->GetPos(), Entry(subject, begin, end, false), false).empty()) return false;
    }
    return doc->SaveXMLDoc() && whole->SaveXMLDoc();
  }

  // Daily, workday, weekly, monthly and yearly rules in turn, most never
  // ending, some counted or ending in 2030; a third with touched
  // occurrences near the agenda's week.
  bool FillRules(CScheduleIndexDoc& index, CTime begin) {
    static const char* const kTypes[] = {"day;multiple=01", "day;workday=yes", "week;multiple=01", "month", "year;multiple=01"};
    static const char* const kMasks[] = {"0100000", "0101010", "0010100"};
    static const char* const kRanges[] = {"notstop", "notstop", "notstop", "numlimited;number=99999", "timelimited;to=2030-01-01 00:00"};
    CScheduleDoc* cycle = index.GetCycleDoc();
    if (cycle == nullptr) return false;
    cycle->SetAutoSaveFlag(false);
    CTime week = ParseDateTime(kWeekFrom);
    for (int i = 0; i < kRules; ++i) {
      CTime start = begin + CTimeSpan(0, Uniform(7, 19), Uniform(0, 3) * 15, 0);
      CScheduleRec rec = Entry("Rule " + std::to_string(i), start, start + CTimeSpan(0, 1, 0, 0), false);
      CScheCycleRec& rule = rec.GetExtendRec().cycle_rec;
      rec.GetExtendRec().cycle = true;
      CCycleFormat::AnalyseCycleType(kTypes[i % 5], rule.cycle_type);
      rule.cycle_event.type = i % 5 >= 3 ? kEventAbsoluteDay : kEventSequence;
      rule.cycle_event.number = kMasks[i % 3];
      rule.cycle_event.day2 = Uniform(1, 12);
      rule.cycle_event.day3 = Uniform(1, 28);
      rule.cycle_event.from = start;
      rule.cycle_event.to = start + CTimeSpan(0, 1, 0, 0);
      CCycleFormat::AnalyseCycleRange(kRanges[i % 5], rule.cycle_range);
      rule.cycle_range.from = begin;
      if (i % 3 == 0) AddMaps(rule, week);
      if (cycle->AddRec(cycle->GetRoot()->GetPos(), rec, false).empty()) return false;
    }
    return cycle->SaveXMLDoc();
  }

  // The first occurrence made real; when one falls in the week's first
  // days, that one moved by an hour and the next one deleted.
  void AddMaps(CScheCycleRec& rule, CTime week) {
    int n = -1;
    for (CTime probe = week; n < 0 && probe < week + CTimeSpan(2, 0, 0, 0); probe += CTimeSpan(0, 0, 15, 0)) {
      n = rule.GetMapNumByTime(probe, false);
    }
    auto add = [&rule](int number, int status, int shift_hours) {
      CCycleMap map;
      if (!rule.GetMapRange(number, map.from, map.to, false)) return;
      map.number = number;
      map.status = status;
      map.from += CTimeSpan(0, shift_hours, 0, 0);
      map.to += CTimeSpan(0, shift_hours, 0, 0);
      rule.maps.Add(map);
    };
    if (n != 0) add(0, kMapReal, 0);
    if (n < 0) return;
    add(n, kMapReal, 1);
    add(n + 1, kMapDelete, 0);
  }

  std::shared_ptr<const platform::DataRoot> root_;
  const CRTTIRegistry& registry_;
  std::mt19937 random_{20251208};
};

// The scratch directory with both stores.
class Stores {
 public:
  static Stores& Get() {
    static Stores stores;
    return stores;
  }
  bool ok() const { return ok_; }
  const CRTTIRegistry& registry() const { return registry_; }
  std::shared_ptr<const platform::DataRoot> root(int store) const { return roots_[store]; }

 private:
  Stores() {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    RegisterCalendarClasses(registry_);
    if (dir_.path().empty()) return;
    const std::string& path_ = dir_.path();
    const StoreShape shapes[2] = {{"years", kYears * 12, ParseDateTime(kWeekFrom) - CTimeSpan(kYears * 365 + 5, 0, 0, 0)},
                                  {"month", 1, ParseDateTime(kWeekFrom) - CTimeSpan(7, 0, 0, 0)}};
    ok_ = true;
    for (int store = 0; store < 2; ++store) {
      std::filesystem::create_directory(std::filesystem::path(path_) / shapes[store].name);
      roots_[store] = std::make_shared<platform::DataRoot>((std::filesystem::path(path_) / shapes[store].name).string());
      ok_ = ok_ && StoreBuilder(roots_[store], registry_).Build(shapes[store]);
    }
  }

  ScratchDir dir_{"zds-calendar-bench"};
  bool ok_ = false;
  CRTTIRegistry registry_;
  std::shared_ptr<const platform::DataRoot> roots_[2];
};

// A store opened as a host opens it; auto-save off, as nothing is to change.
struct OpenStore {
  explicit OpenStore(int store) {
    calendar.SetDataRoot(Stores::Get().root(store));
    calendar.SetClassRegistry(&Stores::Get().registry());
    if (IsOpen(OpenVFDLDoc(calendar, "\\calendar\\index.xml", "\\calendar", false))) {
      index = calendar.GetScheduleIndexDoc(false);
    }
  }
  // Month documents open now (all but the cycle and whole documents).
  int OpenMonths() const {
    int open = 0;
    for (const CVFDLFolder& folder : std::as_const(*index).ChildFolders(*index->GetRoot())) {
      open += index->GetExpandedDoc(folder) != nullptr && folder.GetAlias().size() == 7;
    }
    return open;
  }
  CCalendarDoc calendar;
  CScheduleIndexDoc* index = nullptr;
};

enum class Mode { kCold, kWarm, kQuery };

// Both stores each iteration, taking turns at going first.
void BM_Week(benchmark::State& state, Mode mode) {
  if (!Stores::Get().ok()) return state.SkipWithError("cannot build the stores");
  std::unique_ptr<OpenStore> open[2] = {std::make_unique<OpenStore>(0), std::make_unique<OpenStore>(1)};
  double seconds[2] = {0, 0};
  size_t found[2] = {0, 0};
  int months_opened = 0;
  bool years_first = true;
  for (auto _ : state) {
    double now[2] = {0, 0};
    for (int turn = 0; turn < 2; ++turn) {
      int store = years_first ? turn : 1 - turn;
      auto start = Clock::now();
      if (mode == Mode::kCold) open[store] = std::make_unique<OpenStore>(store);
      if (open[store]->index == nullptr) return state.SkipWithError("cannot open a store");
      size_t count = 0;
      if (mode == Mode::kQuery) {
        std::vector<std::string> ids;
        count = static_cast<size_t>(open[store]->index->GetRecIDByDate(ids, kWeekFrom, kWeekTo));
      } else {
        std::vector<CScheduleAgendaItem> items;
        open[store]->index->GetAgenda(kWeekFrom, kWeekTo, items);
        count = items.size();
      }
      now[store] = Seconds(start, Clock::now());
      found[store] = count;
      if (store == 0 && mode == Mode::kCold) months_opened = open[store]->OpenMonths();
    }
    years_first = !years_first;
    seconds[0] += now[0];
    seconds[1] += now[1];
    state.SetIterationTime(now[0]);
  }
  double n = static_cast<double>(state.iterations());
  state.counters["years_ms"] = seconds[0] / n * 1e3;
  state.counters["month_ms"] = seconds[1] / n * 1e3;
  state.counters["ratio"] = seconds[0] / seconds[1];
  state.counters["found_years"] = static_cast<double>(found[0]);
  state.counters["found_month"] = static_cast<double>(found[1]);
  if (mode == Mode::kCold) state.counters["months_opened"] = months_opened;
}

}  // namespace
}  // namespace zds::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  using zds::bench::Mode;
  for (auto [name, mode] : {std::pair{"agenda_week/cold", Mode::kCold}, std::pair{"agenda_week/warm", Mode::kWarm},
                            std::pair{"date_query_week/warm", Mode::kQuery}}) {
    benchmark::RegisterBenchmark(name, zds::bench::BM_Week, mode)->UseManualTime()->Unit(benchmark::kMillisecond);
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

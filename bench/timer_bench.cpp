// What is due today, in a store with twenty years of timers against one with
// a single month, measured side by side in each iteration (the machine is
// shared and noisy, so both sides see the same conditions):
//   old:   240 month documents holding 100,000 one-shot timers, and 1,000
//          repeating timers whose rules began twenty years ago;
//   young: one month document holding the same month's share (417 timers),
//          and 1,000 repeating timers whose rules began yesterday.
// Target: the old store's query costs at most 2x the young one's and opens
// one month document.
//   cold: each iteration opens the index afresh from disk, then asks, so
//         the index, today's month and "Cycle" are read and parsed;
//   warm: the index stays open and its documents stay loaded.
// For scale, walk: the old store's repeating timers answered by stepping
// through every occurrence from the rule's start, as the searches are
// defined.
//
// Run: build-bench/bench/timer_bench --benchmark_repetitions=5
//      --benchmark_report_aggregates_only=true
// Files go to a fresh directory under $ZDS_BENCH_DIR (default: the system
// temporary directory), removed at the end.

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "zds/recurrence/cycle_format.h"
#include "zds/timers/classes.h"
#include "zds/timers/timer_index_doc.h"
#include "support/scratch_dir.h"

namespace zds::bench {
namespace {

constexpr int kYears = 20;
constexpr int kOneShots = 100'000;
constexpr int kMonths = kYears * 12;
constexpr int kRepeating = 1'000;

CTime Midnight(const CTime& time, int years_back = 0, int days_back = 0) {
  return CTime::FromLocalFields(time.GetYear() - years_back, time.GetMonth(), time.GetDay() - days_back, 0, 0, 0);
}

// A store on disk in a fresh directory, removed at the end.
class Store {
 public:
  Store(int months, int one_shots, CTime rules_began) {
    root_ = std::make_shared<platform::DataRoot>(dir_.path());
    RegisterTimerClasses(registry_);
    std::unique_ptr<CATimerIndexDoc> index = Open();
    if (!index || !Fill(*index, months, one_shots, rules_began)) std::abort();
  }

  std::unique_ptr<CATimerIndexDoc> Open() const {
    auto index = std::make_unique<CATimerIndexDoc>();
    index->SetDataRoot(root_);
    index->SetAutoSaveFlag(true);
    index->SetClassRegistry(&registry_);
    root_->CreateDirectories("\\timer");
    return IsOpen(OpenVFDLDoc(*index, "\\timer\\index.xml", "\\timer")) ? std::move(index) : nullptr;
  }

 private:
  // One-shot timers spread evenly over the months that end with this one,
  // at random moments of each; repeating timers of every kind.
  bool Fill(CATimerIndexDoc& index, int months, int one_shots, CTime rules_began) {
    std::mt19937 random(20041115);
    CTime now = CTime::GetCurrentTime();
    for (int m = 0; m < months; ++m) {
      CTime first = CTime::FromLocalFields(now.GetYear(), now.GetMonth() - months + 1 + m, 1, 0, 0, 0);
      CATimerDoc* doc = index.GetCurrentDoc(first.Format(kTimeFormatDate), nullptr);
      if (doc == nullptr) return false;
      doc->SetAutoSaveFlag(false);
      int count = one_shots * (m + 1) / months - one_shots * m / months;
      int days = CTime::FromLocalFields(first.GetYear(), first.GetMonth() + 1, 0, 0, 0, 0).GetDay();
      for (int i = 0; i < count; ++i) {
        CATimerRec timer;
        timer.GetExtendRec().subject = "one-shot " + std::to_string(i);
        timer.GetExtendRec().state = kTimerActived;
        timer.GetExtendRec().info_time = CTime::FromLocalFields(first.GetYear(), first.GetMonth(), 1 + random() % days,
                                                                random() % 24, random() % 60, random() % 60);
        if (doc->AddTimer(timer, false).empty()) return false;
      }
      if (!doc->SaveXMLDoc() || !index.UnloadVFDLDoc(doc->GetHolder()->GetPos())) return false;
    }
    CATimerDoc* cycle = index.GetCycleDoc();
    if (cycle == nullptr) return false;
    cycle->SetAutoSaveFlag(false);
    for (int i = 0; i < kRepeating; ++i) {
      if (cycle->AddTimer(Repeating(i, rules_began, random), false).empty()) return false;
    }
    return cycle->SaveXMLDoc();
  }

  static CATimerRec Repeating(int i, CTime began, std::mt19937& random) {
    static const char* const kTypes[] = {"day", "day;workday=yes", "week", "month", "year"};
    static const char* const kMasks[] = {"0100000", "0101010", "0111110", "1000001"};
    CATimerRec timer;
    CATimerExtendRec& fields = timer.GetExtendRec();
    fields.subject = "repeating " + std::to_string(i);
    fields.state = kTimerActived;
    fields.cyclic = true;
    CATimerCycleRec& rule = fields.cycle_rec.emplace();
    CCycleFormat::AnalyseCycleType(kTypes[i % 5], rule.cycle_type);
    rule.cycle_type.multiple = 1 + static_cast<int>(random() % 2);
    rule.cycle_event.type = i % 5 >= 3 ? kEventAbsoluteDay : kEventSequence;
    rule.cycle_event.number = kMasks[random() % 4];
    rule.cycle_event.day2 = 1 + static_cast<int>(random() % 12);
    rule.cycle_event.day3 = 1 + static_cast<int>(random() % 28);
    rule.cycle_event.from = began + CTimeSpan(static_cast<int64_t>(random() % 86400));
    rule.cycle_event.to = rule.cycle_event.from + CTimeSpan(900);
    rule.cycle_range.from = began;
    return timer;
  }

  ScratchDir dir_{"zds-timer-bench"};
  std::shared_ptr<platform::DataRoot> root_;
  CRTTIRegistry registry_;
};

const Store& OldStore() {
  static const Store store(kMonths, kOneShots, Midnight(CTime::GetCurrentTime(), kYears));
  return store;
}
const Store& YoungStore() {
  static const Store store(1, kOneShots / kMonths, Midnight(CTime::GetCurrentTime(), 0, 1));
  return store;
}

// How many month documents the index has open.
int OpenMonths(const CATimerIndexDoc& index) {
  int open = 0;
  for (const CVFDLNode* node : index.GetTimerDocNodes()) {
    open += node->GetNodeType() == kNodeRec && index.GetExpandedDoc(*node) != nullptr;
  }
  return open;
}

struct Side {
  const Store& store;
  std::unique_ptr<CATimerIndexDoc> index;
  double seconds = 0;
  size_t due = 0;
  int open_months = 0;
};

// Asks both stores for today in each iteration, taking turns at going first.
void RunSideBySide(benchmark::State& state, bool cold) {
  CTime today = Midnight(CTime::GetCurrentTime()), tomorrow = today + CTimeSpan(1, 0, 0, 0);
  Side old_side{OldStore(), OldStore().Open()}, young_side{YoungStore(), YoungStore().Open()};
  for (Side* side : {&old_side, &young_side}) side->due = side->index->GetDueTimers(today, tomorrow).size();
  bool old_first = true;
  for (auto _ : state) {
    double old_now = 0;
    std::array<Side*, 2> order = {&old_side, &young_side};
    if (!old_first) std::swap(order[0], order[1]);
    for (Side* side : order) {
      auto start = Clock::now();
      if (cold) side->index = side->store.Open();
      std::vector<CATimerDue> due = side->index->GetDueTimers(today, tomorrow);
      double now = Seconds(start, Clock::now());
      side->seconds += now;
      side->open_months = OpenMonths(*side->index);
      benchmark::DoNotOptimize(due.data());
      if (side == &old_side) old_now = now;
    }
    old_first = !old_first;
    state.SetIterationTime(old_now);
  }
  double n = static_cast<double>(state.iterations());
  state.counters["old_ms"] = old_side.seconds / n * 1e3;
  state.counters["young_ms"] = young_side.seconds / n * 1e3;
  state.counters["ratio"] = old_side.seconds / young_side.seconds;
  state.counters["old_due"] = static_cast<double>(old_side.due);
  state.counters["young_due"] = static_cast<double>(young_side.due);
  state.counters["old_months_opened"] = old_side.open_months;
}

void BM_DueToday_Cold(benchmark::State& state) { RunSideBySide(state, true); }
void BM_DueToday_Warm(benchmark::State& state) { RunSideBySide(state, false); }

// The old store's repeating timers stepped from each rule's start.
void BM_DueToday_WalkFromStart(benchmark::State& state) {
  CTime today = Midnight(CTime::GetCurrentTime()), tomorrow = today + CTimeSpan(1, 0, 0, 0);
  std::unique_ptr<CATimerIndexDoc> index = OldStore().Open();
  CATimerDoc* cycle = index->GetCycleDoc();
  size_t due = 0;
  for (auto _ : state) {
    due = 0;
    for (const CATimerRec& timer : std::as_const(*cycle).Recs()) {
      const CATimerCycleRec& rule = *timer.GetExtendRec().cycle_rec;
      CTime begin, end;
      for (int n = 0; rule.GetMapRange(n, begin, end, true) && begin < tomorrow; ++n) due += !(begin < today);
    }
    benchmark::DoNotOptimize(due);
  }
  state.counters["due"] = static_cast<double>(due);
}

BENCHMARK(BM_DueToday_Cold)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DueToday_Warm)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DueToday_WalkFromStart)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace
}  // namespace zds::bench

BENCHMARK_MAIN();

#include "zds/calendar/schedule_occurrences.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "zds/recurrence/cycle_arithmetic.h"

namespace zds {
namespace {

constexpr int64_t kDay = 86400;
constexpr int64_t kRangeSpan = cycle::kLatestMoment - cycle::kEarliestMoment;

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0); }
int64_t CeilDiv(int64_t a, int64_t b) { return a / b + ((a % b != 0) && ((a < 0) == (b < 0)) ? 1 : 0); }

CTime Midnight(CTime time) {
  std::tm fields = time.GetLocalTm();
  return cycle::LocalMoment(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, 0, 0, 0);
}

int Weekday(CTime time) { return time.GetLocalTm().tm_wday; }
bool IsWorkday(int weekday) { return weekday >= 1 && weekday <= 5; }
bool IsWholeMultiple(int64_t value, int64_t period) { return period == 0 ? value == 0 : value % period == 0; }

// ---- the occurrence test ----

// Workdays among `count` consecutive dates, the first of weekday `first`.
int64_t WorkdaysFrom(int first, int64_t count) {
  int64_t workdays = count / 7 * 5;
  for (int64_t i = 0; i < count % 7; ++i) workdays += IsWorkday(static_cast<int>((first + i) % 7));
  return workdays;
}

enum class Verdict { kEnded, kRunning, kUnsure };

// Whether a counted workday rule has ended by `lower`: whether more than
// `number` of the moments start, start + 86400, ... up to `lower` fall on
// workdays. Those steps visit the dates from the start's on, one a step,
// except while the clock is set back from what it was at the start (or
// forward across midnight): each such stretch visits one date twice and
// skips one, moving the count by at most one. Allowing four clock changes a
// year, a count that far from `number` decides; nearer, only walking the
// days can tell.
Verdict CountedWorkdays(CTime start, CTime lower, int number) {
  int64_t steps = (lower - start).GetTotalSeconds() / kDay + 1;
  int64_t plain = WorkdaysFrom(Weekday(start), steps);
  int64_t stretches = 2 * (steps / 365 + 2) + 1;
  if (plain - stretches > number) return Verdict::kEnded;
  if (plain + stretches <= number) return Verdict::kRunning;
  return Verdict::kUnsure;
}

// The count of a counted weekly rule, which walks from the start one day
// (86400 seconds) a step with a weekday index that runs on by itself, using
// up the count on each event day; a candidate is reached when a step lands
// on it on an event day before the count ran out. Steps and indexes follow
// from the candidate's distance alone.
class WeekCount {
 public:
  WeekCount(const CCycleEvent& event, CTime start, int number)
      : event_(event), start_(start), first_index_(Weekday(start)), number_(number) {
    for (int index = 0; index < 7; ++index) per_week_ += event.IsEventDay(index);
  }

  bool Reaches(CTime candidate) const {
    int64_t offset = (candidate - start_).GetTotalSeconds();
    if (offset < 0 || offset % kDay != 0) return false;
    int64_t steps = offset / kDay + 1;
    if (!IsEventStep(steps - 1)) return false;
    // The count only runs out after a counted day that did not reach the candidate.
    if (number_ < 1) return true;
    int64_t counted = steps / 7 * per_week_;
    for (int64_t step = 0; step < steps % 7; ++step) counted += IsEventStep(step);
    return counted <= number_;
  }

 private:
  bool IsEventStep(int64_t step) const { return event_.IsEventDay(static_cast<int>((first_index_ + step) % 7)) != 0; }

  const CCycleEvent& event_;
  CTime start_;
  int first_index_;
  int number_;
  int64_t per_week_ = 0;
};

bool CountedWeekExists(const CScheCycleRec& rule, CTime start, CTime lower, CTime upper) {
  const CCycleEvent& event = rule.cycle_event;
  if (!cycle::HasSelectedWeekday(event)) return false;
  CTime first_sunday = start - CTimeSpan(int64_t{Weekday(start)} * kDay);
  int64_t period = int64_t{rule.cycle_type.multiple} * 7 * kDay;
  WeekCount count(event, start, rule.cycle_range.number);
  for (CTime day = lower; day <= upper; day += CTimeSpan(kDay)) {
    int weekday = Weekday(day);
    CTime sunday = day - CTimeSpan(int64_t{weekday} * kDay);
    if (!event.IsEventDay(weekday) || !IsWholeMultiple((sunday - first_sunday).GetTotalSeconds(), period)) continue;
    if (count.Reaches(day)) return true;
  }
  return false;
}

// ---- the agenda's expansion ----

// The first map of each occurrence number, by number.
std::vector<std::pair<int, const CCycleMap*>> FirstMaps(const CCycleMapList& maps) {
  std::vector<std::pair<int, const CCycleMap*>> first;
  for (size_t i = 0; i < maps.size(); ++i) first.emplace_back(maps[i].number, &maps[i]);
  std::stable_sort(first.begin(), first.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  first.erase(std::unique(first.begin(), first.end(), [](const auto& a, const auto& b) { return a.first == b.first; }),
              first.end());
  return first;
}

// The rule's own occurrences in the span. Within each residue of the
// occurrence number modulo a period the begins rise with the number, so
// the numbers whose occurrences touch the span are found by arithmetic
// (days and weeks) or by an estimate from the span's month or year that a
// few steps correct (months and years).
class RuleSpan {
 public:
  RuleSpan(const CScheCycleRec& rec, CTime first, CTime last, std::vector<int> touched,
           std::vector<CScheduleOccurrence>& out)
      : rule_{rec.cycle_type, rec.cycle_event, rec.cycle_range, CycleStyle::kSchedule},
        first_(first), last_(last), touched_(std::move(touched)), out_(out),
        duration_(cycle::Duration(rec.cycle_event)) {}

  void Expand() {
    if (!cycle::IsExpandedKind(rule_.type.type) || duration_ > kRangeSpan || duration_ < -kRangeSpan) return;
    if (rule_.type.multiple < 1) return Add(0);
    int64_t week = 7 * kDay * rule_.type.multiple;
    switch (rule_.type.type) {
      case kCycleDay:
        return rule_.type.workday != 0 ? Stepped(5, week) : Stepped(1, kDay * rule_.type.multiple);
      case kCycleWeek:
        if (cycle::HasSelectedWeekday(rule_.event)) Stepped(cycle::SelectedDayCount(rule_.event), week);
        return;
      default:
        return Calendar();
    }
  }

 private:
  // Occurrence n, when the rule has it, no map stands for it and it touches the span.
  void Add(int64_t n) {
    if (n < 0 || n > INT_MAX || std::binary_search(touched_.begin(), touched_.end(), n)) return;
    CTime begin, end;
    if (!cycle::RuleOccurrence(rule_, n, begin, end)) return;
    if (begin <= last_ && end >= first_) out_.push_back({static_cast<int>(n), begin, end});
  }

  // Begins from here to there end in the span's reach and inside the rule's range and years.
  int64_t LowestBegin() const {
    return std::max({first_.GetTime() - duration_, cycle::kEarliestMoment, cycle::kEarliestMoment - duration_});
  }
  int64_t HighestBegin() const {
    int64_t highest = std::min({last_.GetTime(), cycle::kLatestMoment, cycle::kLatestMoment - duration_});
    if (rule_.range.type == kRangeTimeLimited) highest = std::min(highest, rule_.range.to.GetTime() - duration_);
    return highest;
  }

  // Occurrence period * q + r begins `step` seconds after occurrence
  // period * (q - 1) + r.
  void Stepped(int64_t period, int64_t step) {
    for (int64_t residue = 0; residue < period; ++residue) {
      CTime base;
      if (!cycle::RuleBegin(rule_, residue, base)) continue;
      int64_t low = std::max<int64_t>(0, CeilDiv(LowestBegin() - base.GetTime(), step));
      int64_t high = std::min(FloorDiv(HighestBegin() - base.GetTime(), step), (INT_MAX - residue) / period);
      if (rule_.range.type == kRangeNumLimited) high = std::min(high, FloorDiv(rule_.range.number - 1 - residue, period));
      for (int64_t q = low; q <= high; ++q) Add(residue + period * q);
    }
  }

  // Where occurrence n begins, from the anchor computed once, as the
  // rule's arithmetic places it: the anchor's day in month (or year)
  // anchor + n * multiple, rolled forward where the month lacks it. A year
  // out of the rules' reach is far below or far above every span.
  int64_t BeginOf(int64_t n) const {
    int64_t index = anchor_index_ + n * rule_.type.multiple;
    int64_t year = monthly_ ? FloorDiv(index, 12) : index;
    int64_t month = monthly_ ? index - year * 12 + 1 : anchor_.month;
    CTime begin;
    if (cycle::CalendarMoment(year, month, anchor_.day, anchor_, begin)) return begin.GetTime();
    return year < 5000 ? INT64_MIN : INT64_MAX;
  }

  void Calendar() {
    monthly_ = rule_.type.type == kCycleMonth;
    anchor_ = monthly_ ? cycle::MonthlyAnchor(rule_) : cycle::YearlyAnchor(rule_);
    anchor_index_ = monthly_ ? anchor_.year * 12 + anchor_.month - 1 : anchor_.year;
    int64_t lowest = LowestBegin(), highest = HighestBegin();
    if (lowest > highest) return;
    std::tm fields = CTime(lowest).GetLocalTm();
    int64_t index = monthly_ ? (fields.tm_year + 1900) * int64_t{12} + fields.tm_mon : fields.tm_year + 1900;
    int64_t n = std::clamp<int64_t>(FloorDiv(index - anchor_index_, rule_.type.multiple), 0, INT_MAX);
    int64_t begin = BeginOf(n);
    for (int64_t before; n > 0 && (before = BeginOf(n - 1)) >= lowest; --n) begin = before;
    while (begin < lowest && n < INT_MAX) begin = BeginOf(++n);
    if (rule_.range.type == kRangeNumLimited && n >= rule_.range.number) return;
    for (; begin <= highest; begin = BeginOf(++n)) {
      Add(n);
      if (n == INT_MAX) return;
    }
  }

  CycleRule rule_;
  CTime first_, last_;
  std::vector<int> touched_;  // sorted
  std::vector<CScheduleOccurrence>& out_;
  int64_t duration_;
  bool monthly_ = false;
  cycle::CalendarAnchor anchor_;
  int64_t anchor_index_ = 0;
};

}  // namespace

bool OccursInSpan(const CScheCycleRec& rec, const CTime& begin, const CTime& end) {
  CTime lower = begin;
  CTime upper = end.GetTime() == 0 ? begin + CTimeSpan(86399) : end;
  for (size_t i = 0; i < rec.maps.size(); ++i) {
    if (rec.maps[i].status == kMapDelete && rec.maps[i].from >= lower && rec.maps[i].to <= upper) return false;
  }
  // The test reads no map but those, so it runs on the rule alone, where
  // moving the start to midnight changes nothing of `rec`.
  CScheCycleRec rule;
  rule.cycle_type = rec.cycle_type;
  rule.cycle_event = rec.cycle_event;
  rule.cycle_range = rec.cycle_range;
  bool counted = rule.cycle_range.type == kRangeNumLimited;
  bool counted_workdays = counted && rule.cycle_type.type == kCycleDay && rule.cycle_type.workday != 0;
  bool counted_weeks = counted && rule.cycle_type.type == kCycleWeek;
  // Every other test looks at the days of the span only.
  if (!counted_workdays && !counted_weeks) return rule.IsMapExisted(begin, end);
  CTime start = Midnight(rule.cycle_range.from);
  if (lower < start || lower.GetTime() > cycle::kLatestMoment) return false;
  if (counted_weeks) return CountedWeekExists(rule, start, lower, std::min(upper, CTime(cycle::kLatestMoment)));
  switch (CountedWorkdays(start, lower, rule.cycle_range.number)) {
    case Verdict::kEnded: return false;
    case Verdict::kRunning: return IsWorkday(Weekday(lower));
    case Verdict::kUnsure: break;
  }
  return rule.IsMapExisted(begin, end);
}

void ExpandOccurrences(const CScheCycleRec& rec, const CTime& first, const CTime& last,
                       std::vector<CScheduleOccurrence>& out) {
  bool only_first = rec.cycle_type.multiple < 1;
  std::vector<int> touched;
  for (const auto& [number, map] : FirstMaps(rec.maps)) {
    if (number < 0 || (only_first && number != 0)) continue;
    touched.push_back(number);
    if (map->status != kMapDelete && map->from <= last && map->to >= first) out.push_back({number, map->from, map->to});
  }
  RuleSpan(rec, first, last, std::move(touched), out).Expand();
}

}  // namespace zds

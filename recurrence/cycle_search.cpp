#include "zds/recurrence/cycle_search.h"

#include <algorithm>
#include <climits>
#include <utility>
#include <vector>

#include "zds/platform/checked_math.h"

namespace zds::cycle {

namespace {

constexpr int64_t kDay = 86400;
constexpr int64_t kUnbounded = INT64_MAX;
constexpr int64_t kUnboundedBelow = INT64_MIN;
constexpr int64_t kNoStop = INT64_MAX;  // the walk would never stop

// A closed range of integers; either end may be unbounded.
struct Span {
  int64_t lo;
  int64_t hi;
  bool Empty() const { return lo > hi; }
};
constexpr Span kEverything{kUnboundedBelow, kUnbounded};
constexpr Span kNothing{1, 0};

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0); }
int64_t CeilDiv(int64_t a, int64_t b) { return a / b + ((a % b != 0) && ((a < 0) == (b < 0)) ? 1 : 0); }

int64_t SaturatedAdd(int64_t a, int64_t b) {
  int64_t sum = 0;
  if (!platform::CheckedAdd(a, b, sum)) return b > 0 ? INT64_MAX : INT64_MIN;
  return sum;
}

Span Intersect(Span a, Span b) { return Span{std::max(a.lo, b.lo), std::min(a.hi, b.hi)}; }

// The begins of one residue class of occurrence numbers: occurrence
// period * q + residue begins at Moment(first_index + step * q). Moment is
// strictly increasing in the index, so begins move one way as q grows.
struct BeginSequence {
  enum class Unit { kSeconds, kMonths, kYears };
  Unit unit = Unit::kSeconds;
  int64_t first_index = 0;
  int64_t step = 0;
  CalendarAnchor anchor;  // months and years: the day and the clock

  // Numbers q whose index lies in `indexes`.
  Span StepsWithIndexIn(Span indexes) const {
    if (indexes.Empty()) return kNothing;
    if (step == 0) return indexes.lo <= first_index && first_index <= indexes.hi ? kEverything : kNothing;
    bool rising = step > 0;
    int64_t lower = rising ? indexes.lo : indexes.hi;
    int64_t upper = rising ? indexes.hi : indexes.lo;
    Span steps;
    steps.lo = lower == (rising ? kUnboundedBelow : kUnbounded) ? kUnboundedBelow : CeilDiv(lower - first_index, step);
    steps.hi = upper == (rising ? kUnbounded : kUnboundedBelow) ? kUnbounded : FloorDiv(upper - first_index, step);
    return steps;
  }
};

// Begin of a calendar index: the anchor's day in that month or year.
int64_t CalendarBegin(const BeginSequence& sequence, int64_t index) {
  CTime moment;
  bool monthly = sequence.unit == BeginSequence::Unit::kMonths;
  int64_t year = monthly ? FloorDiv(index, 12) : index;
  int64_t month = monthly ? index - 12 * year + 1 : sequence.anchor.month;
  // Out of the calendar's reach: far before or far after every moment asked about.
  if (!CalendarMoment(year, month, sequence.anchor.day, sequence.anchor, moment)) {
    return year < 5000 ? kUnboundedBelow : kUnbounded;
  }
  return moment.GetTime();
}

// The largest index whose begin is at or before `moment`: an estimate from
// the moment's own month or year, corrected by the few steps that a day of
// up to 31 and a daylight-saving hour can put between them.
int64_t LastIndexAtOrBefore(const BeginSequence& sequence, int64_t moment) {
  if (sequence.unit == BeginSequence::Unit::kSeconds) return moment;
  std::tm fields = CTime(moment).GetLocalTm();
  int64_t year = fields.tm_year + 1900;
  int64_t index = sequence.unit == BeginSequence::Unit::kMonths ? year * 12 + fields.tm_mon : year;
  for (int guard = 0; guard < 64 && CalendarBegin(sequence, index) > moment; ++guard) --index;
  for (int guard = 0; guard < 64 && CalendarBegin(sequence, index + 1) <= moment; ++guard) ++index;
  return index;
}

// What the plain rule looks like to a search: `period` begin sequences, one
// per residue of the occurrence number, and the conditions that end it.
struct RulePlan {
  int64_t period = 1;
  std::vector<BeginSequence> sequences{BeginSequence{}};
  int64_t duration = 0;
  Span valid_begins = kNothing;         // begins of occurrences that can exist
  int64_t count_limit = kUnbounded;     // occurrence n exists only below it
  int64_t latest_begin = kUnbounded;    // a later begin passes the range's end
};

void PlanWalkedDays(const CycleRule& rule, RulePlan& plan, const DaySelector& selector, int64_t classes) {
  int64_t week = 7 * kDay * rule.type.multiple;
  plan.period = classes;
  plan.sequences.assign(static_cast<size_t>(classes), BeginSequence{});
  CTime current = BaseMoment(rule);
  for (int64_t residue = 0; residue < classes; ++residue) {
    if (residue > 0) current = WalkDays(current, 1, selector);
    plan.sequences[static_cast<size_t>(residue)].first_index = current.GetTime();
    plan.sequences[static_cast<size_t>(residue)].step = week;
  }
}

void PlanWorkdays(const CycleRule& rule, RulePlan& plan) {
  PlanWalkedDays(rule, plan, DaySelector{true, &rule.event}, 5);
  // Numbers 4, 9, 14, ... count a whole week more and walk no day.
  BeginSequence& fifth = plan.sequences[4];
  fifth.first_index = BaseMoment(rule).GetTime() + fifth.step;
}

void PlanCalendar(RulePlan& plan, BeginSequence::Unit unit, const CalendarAnchor& anchor, int multiple) {
  BeginSequence& sequence = plan.sequences[0];
  sequence.unit = unit;
  sequence.anchor = anchor;
  sequence.first_index = unit == BeginSequence::Unit::kMonths ? anchor.year * 12 + anchor.month - 1 : anchor.year;
  sequence.step = multiple;
}

// Sets the sequences; false when the rule has no occurrence at all.
bool PlanSequences(const CycleRule& rule, RulePlan& plan) {
  switch (rule.type.type) {
    case kCycleDay:
      if (rule.type.workday != 0) {
        PlanWorkdays(rule, plan);
      } else {
        plan.sequences[0].first_index = BaseMoment(rule).GetTime();
        plan.sequences[0].step = kDay * rule.type.multiple;
      }
      return true;
    case kCycleWeek:
      if (!HasSelectedWeekday(rule.event)) return false;
      PlanWalkedDays(rule, plan, DaySelector{false, &rule.event}, SelectedDayCount(rule.event));
      return true;
    case kCycleMonth:
      PlanCalendar(plan, BeginSequence::Unit::kMonths, MonthlyAnchor(rule), rule.type.multiple);
      return true;
    case kCycleYear:
      PlanCalendar(plan, BeginSequence::Unit::kYears, YearlyAnchor(rule), rule.type.multiple);
      return true;
    default:
      return true;  // not expanded: every occurrence is the time 0
  }
}

RulePlan MakePlan(const CycleRule& rule) {
  RulePlan plan;
  if (rule.range.type == kRangeNumLimited) plan.count_limit = rule.range.number;
  if (!IsExpandedKind(rule.type.type)) {
    plan.valid_begins = kEverything;
    if (rule.range.type == kRangeTimeLimited) plan.latest_begin = rule.range.to.GetTime();
    return plan;
  }
  if (!PlanSequences(rule, plan)) return plan;
  plan.duration = Duration(rule.event);
  if (plan.duration <= kLatestMoment - kEarliestMoment && plan.duration >= kEarliestMoment - kLatestMoment) {
    plan.valid_begins = Span{std::max(kEarliestMoment, kEarliestMoment - plan.duration),
                             std::min(kLatestMoment, kLatestMoment - plan.duration)};
  }
  if (rule.range.type == kRangeTimeLimited) {
    plan.latest_begin = rule.style == CycleStyle::kSchedule
                            ? SaturatedAdd(rule.range.to.GetTime(), -std::max(plan.duration, -INT64_MAX))
                            : rule.range.to.GetTime();
  }
  return plan;
}

// The occurrence numbers at which the plain rule stops a walk, given the
// begins that stop it; answers "the first such number from n on".
class RuleStops {
 public:
  RuleStops(const RulePlan& plan, const std::vector<Span>& stopping_begins) : plan_(plan) {
    std::vector<Span> indexes = StoppingIndexes(stopping_begins);
    steps_.resize(static_cast<size_t>(plan.period));
    for (int64_t residue = 0; residue < plan.period; ++residue) {
      const BeginSequence& sequence = plan.sequences[static_cast<size_t>(residue)];
      auto& spans = steps_[static_cast<size_t>(residue)];
      for (const Span& span : indexes) spans.push_back(sequence.StepsWithIndexIn(span));
      if (plan.count_limit != kUnbounded) {
        spans.push_back(Span{CeilDiv(plan.count_limit - residue, plan.period), kUnbounded});
      }
    }
  }

  // The first number >= from at which the rule stops the walk, or kNoStop.
  int64_t FirstFrom(int64_t from) const {
    int64_t first = kNoStop;
    for (int64_t residue = 0; residue < plan_.period; ++residue) {
      int64_t least_step = std::max<int64_t>(0, CeilDiv(from - residue, plan_.period));
      int64_t step = kNoStop;
      for (const Span& span : steps_[static_cast<size_t>(residue)]) {
        int64_t candidate = std::max(span.lo, least_step);
        if (candidate <= span.hi) step = std::min(step, candidate);
      }
      // Numbers past INT_MAX are beyond any walk over int numbers.
      if (step <= (INT_MAX - residue) / plan_.period) first = std::min(first, step * plan_.period + residue);
    }
    return first;
  }

 private:
  // Calendar indexes (or seconds) whose begins stop the walk, invalid ones included.
  std::vector<Span> StoppingIndexes(const std::vector<Span>& stopping_begins) const {
    const Span& valid = plan_.valid_begins;
    if (valid.Empty()) return {kEverything};
    const BeginSequence& sequence = plan_.sequences[0];
    std::vector<Span> indexes;
    if (valid.lo != kUnboundedBelow) indexes.push_back(Span{kUnboundedBelow, LastIndexAtOrBefore(sequence, valid.lo - 1)});
    if (valid.hi != kUnbounded) indexes.push_back(Span{LastIndexAtOrBefore(sequence, valid.hi) + 1, kUnbounded});
    for (Span begins : stopping_begins) {
      begins = Intersect(begins, valid);
      if (begins.Empty()) continue;
      int64_t lo = begins.lo == kUnboundedBelow ? kUnboundedBelow : LastIndexAtOrBefore(sequence, begins.lo - 1) + 1;
      int64_t hi = begins.hi == kUnbounded ? kUnbounded : LastIndexAtOrBefore(sequence, begins.hi);
      indexes.push_back(Span{lo, hi});
    }
    return indexes;
  }

  const RulePlan& plan_;
  std::vector<std::vector<Span>> steps_;
};

// The first map of each occurrence number a walk can reach, by number.
std::vector<std::pair<int, const CCycleMap*>> FirstMaps(const CCycleMapList* maps) {
  std::vector<std::pair<int, const CCycleMap*>> first;
  if (maps == nullptr) return first;
  for (size_t i = 0; i < maps->size(); ++i) {
    if ((*maps)[i].number >= 0) first.emplace_back((*maps)[i].number, &(*maps)[i]);
  }
  std::stable_sort(first.begin(), first.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  first.erase(std::unique(first.begin(), first.end(), [](const auto& a, const auto& b) { return a.first == b.first; }),
              first.end());
  return first;
}

const CCycleMap* MapNumbered(const std::vector<std::pair<int, const CCycleMap*>>& maps, int64_t number) {
  auto it = std::lower_bound(maps.begin(), maps.end(), number, [](const auto& m, int64_t n) { return m.first < n; });
  return it != maps.end() && it->first == number ? it->second : nullptr;
}

// The first number at which the walk stops: the rule's first stop that no
// map hides, or an earlier map that stops it.
template <typename MapStops>
int64_t FirstStop(const RuleStops& rule_stops, const std::vector<std::pair<int, const CCycleMap*>>& maps,
                  MapStops map_stops) {
  int64_t first = rule_stops.FirstFrom(0);
  while (first != kNoStop && MapNumbered(maps, first) != nullptr) first = rule_stops.FirstFrom(first + 1);
  for (const auto& [number, map] : maps) {
    if (number < first && map_stops(*map)) {
      first = number;
      break;
    }
  }
  return first;
}

}  // namespace

int FindOccurrenceHolding(const CycleRule& rule, const CCycleMapList* maps, CTime moment) {
  if (moment < rule.range.from) return -1;
  RulePlan plan = MakePlan(rule);
  int64_t t = moment.GetTime();
  int64_t d = plan.duration;
  // Begins whose occurrence lies wholly after t, or holds t, or passes the range's end.
  std::vector<Span> stopping = {Span{SaturatedAdd(std::max(t, SaturatedAdd(t, -std::max(d, -INT64_MAX))), 1), kUnbounded}};
  if (d >= 0) stopping.push_back(Span{SaturatedAdd(t, -d), t});
  if (plan.latest_begin != kUnbounded) stopping.push_back(Span{plan.latest_begin + 1, kUnbounded});
  auto first_maps = FirstMaps(maps != nullptr && !maps->empty() ? maps : nullptr);
  auto map_stops = [moment](const CCycleMap& map) {
    return (moment < map.from && moment < map.to) || (map.from <= moment && moment <= map.to);
  };
  int64_t n = FirstStop(RuleStops(plan, stopping), first_maps, map_stops);
  if (n == kNoStop) return -1;
  CTime begin, end;
  if (const CCycleMap* map = MapNumbered(first_maps, n)) {
    begin = map->from;
    end = map->to;
  } else if (!RuleOccurrence(rule, n, begin, end)) {
    return -1;
  }
  return begin <= moment && moment <= end ? static_cast<int>(n) : -1;
}

int FindLastBegun(const CycleRule& rule, const CCycleMapList& maps, CTime moment, std::string& name) {
  name.clear();
  RulePlan plan = MakePlan(rule);
  std::vector<Span> stopping = {Span{SaturatedAdd(moment.GetTime(), 1), kUnbounded}};
  if (plan.latest_begin != kUnbounded) stopping.push_back(Span{plan.latest_begin + 1, kUnbounded});
  auto first_maps = FirstMaps(&maps);
  auto map_stops = [moment](const CCycleMap& map) { return map.from > moment; };
  int64_t n = FirstStop(RuleStops(plan, stopping), first_maps, map_stops);
  if (n == kNoStop) return -1;
  if (const CCycleMap* previous = MapNumbered(first_maps, n - 1)) name = previous->event;
  if (MapNumbered(first_maps, n) != nullptr) return static_cast<int>(n - 1);
  CTime begin, end;
  return RuleOccurrence(rule, n, begin, end) ? static_cast<int>(n - 1) : -1;
}

}  // namespace zds::cycle

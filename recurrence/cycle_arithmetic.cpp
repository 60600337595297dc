#include "zds/recurrence/cycle_arithmetic.h"

#include <algorithm>
#include <climits>

#include "zds/platform/checked_math.h"

namespace zds::cycle {

namespace {

constexpr int64_t kDay = 86400;
constexpr int64_t kRangeSpan = kLatestMoment - kEarliestMoment;
// Calendar years whose dates might still fall inside the occurrence range
// once mktime has rolled the month and day into them.
constexpr int64_t kFirstCalendarYear = 900;
constexpr int64_t kLastCalendarYear = 10100;

// begin + steps * step, false on overflow (such a moment is out of range anyway).
bool Advance(CTime begin, int64_t steps, int64_t step, CTime& result) {
  int64_t offset = 0;
  int64_t moment = 0;
  if (!platform::CheckedMul(steps, step, offset)) return false;
  if (!platform::CheckedAdd(begin.GetTime(), offset, moment)) return false;
  result = CTime(moment);
  return true;
}

CalendarAnchor ClockOf(const CCycleEvent& event) {
  std::tm clock = event.from.GetLocalTm();
  CalendarAnchor anchor;
  anchor.hour = clock.tm_hour;
  anchor.minute = clock.tm_min;
  anchor.second = clock.tm_sec;
  return anchor;
}

CalendarAnchor AnchorAt(CTime date, const CCycleEvent& event) {
  std::tm fields = date.GetLocalTm();
  CalendarAnchor anchor = ClockOf(event);
  anchor.year = fields.tm_year + 1900;
  anchor.month = fields.tm_mon + 1;
  anchor.day = fields.tm_mday;
  return anchor;
}

// The moment an anchor candidate is compared at: midnight for schedule
// rules, the event's time of day for timer rules.
CTime CandidateAt(const CycleRule& rule, int year, int month, int day) {
  if (rule.style == CycleStyle::kSchedule) return LocalMoment(year, month, day, 0, 0, 0);
  CalendarAnchor clock = ClockOf(rule.event);
  return LocalMoment(year, month, day, clock.hour, clock.minute, clock.second);
}

bool DailyBegin(const CycleRule& rule, int64_t n, CTime& begin) {
  return Advance(BaseMoment(rule), n * rule.type.multiple, kDay, begin);
}

// Occurrence 0 is the base even on a weekend, and numbers 4 and 5 (9 and
// 10, ...) share a day: stored workday rules were laid out by this count.
bool WorkdayBegin(const CycleRule& rule, int64_t n, CTime& begin) {
  int64_t k = n + 1;
  int64_t weeks = k / 5;
  int64_t rest = k % 5;
  CTime current = WalkDays(BaseMoment(rule), rest - 1, DaySelector{true, &rule.event});
  return Advance(current, weeks, 7 * kDay * rule.type.multiple, begin);
}

// For a remainder of 1 or more the walk lands on the day after the counted
// event day, and the base is occurrence 0 whatever its weekday; stored
// weekly rules keep this placement.
bool WeeklyBegin(const CycleRule& rule, int64_t n, CTime& begin) {
  if (!HasSelectedWeekday(rule.event)) return false;
  int64_t per_week = SelectedDayCount(rule.event);
  int64_t weeks = n / per_week;
  int64_t rest = n % per_week;
  CTime current = WalkDays(BaseMoment(rule), rest, DaySelector{false, &rule.event});
  return Advance(current, weeks, 7 * kDay * rule.type.multiple, begin);
}

bool MonthlyBegin(const CycleRule& rule, int64_t n, CTime& begin) {
  CalendarAnchor anchor = MonthlyAnchor(rule);
  int64_t t = int64_t{rule.type.multiple} * n;
  int64_t month = anchor.month + t % 12;
  int64_t year = anchor.year + t / 12;
  if (month > 12) {
    int64_t carry = (month - 1) / 12;
    month -= 12 * carry;
    year += carry;
  }
  // A day the month lacks rolls into the next month, as it always has.
  return CalendarMoment(year, month, anchor.day, anchor, begin);
}

bool YearlyBegin(const CycleRule& rule, int64_t n, CTime& begin) {
  CalendarAnchor anchor = YearlyAnchor(rule);
  return CalendarMoment(anchor.year + int64_t{rule.type.multiple} * n, anchor.month, anchor.day, anchor, begin);
}

bool PassesRangeEnd(const CycleRule& rule, CTime begin, CTime end) {
  if (rule.range.type != kRangeTimeLimited) return false;
  return (rule.style == CycleStyle::kSchedule ? end : begin) > rule.range.to;
}

}  // namespace

CTime LocalMoment(int64_t year, int64_t month, int64_t day, int hour, int minute, int second) {
  return CTime::FromLocalFields(year, month, day, hour, minute, second);
}

bool IsExpandedKind(int type) { return type >= kCycleDay && type <= kCycleYear; }

bool HasSelectedWeekday(const CCycleEvent& event) {
  for (int day = 0; day < 7; ++day) {
    if (event.IsEventDay(day)) return true;
  }
  return false;
}

int64_t SelectedDayCount(const CCycleEvent& event) {
  if (event.type != kEventSequence) return 0;
  return std::count(event.number.begin(), event.number.end(), '1');
}

int64_t Duration(const CCycleEvent& event) {
  int64_t duration = 0;
  if (!platform::CheckedSub(event.to.GetTime(), event.from.GetTime(), duration)) {
    return event.to > event.from ? INT64_MAX : INT64_MIN;
  }
  return duration;
}

bool InsideRange(int64_t begin, int64_t duration) {
  if (duration > kRangeSpan || duration < -kRangeSpan) return false;
  if (begin < kEarliestMoment || begin > kLatestMoment) return false;
  int64_t end = begin + duration;
  return end >= kEarliestMoment && end <= kLatestMoment;
}

bool DaySelector::Accepts(int weekday) const {
  return workdays ? weekday >= 1 && weekday <= 5 : event->IsEventDay(weekday) != 0;
}

CTime WalkDays(CTime from, int64_t count, const DaySelector& selector) {
  CTime current = from;
  while (count > 0) {
    std::tm fields = current.GetLocalTm();
    if (fields.tm_mday == 0) break;  // the system cannot place this moment
    if (selector.Accepts(fields.tm_wday)) --count;
    current += CTimeSpan(kDay);
  }
  return current;
}

CTime BaseMoment(const CycleRule& rule) {
  CalendarAnchor anchor = AnchorAt(rule.range.from, rule.event);
  return LocalMoment(anchor.year, anchor.month, anchor.day, anchor.hour, anchor.minute, anchor.second);
}

CalendarAnchor MonthlyAnchor(const CycleRule& rule) {
  std::tm start = rule.range.from.GetLocalTm();
  int year = start.tm_year + 1900;
  int month = start.tm_mon + 1;
  CTime anchor = CandidateAt(rule, year, month, start.tm_mday);
  if (rule.event.type == kEventAbsoluteDay) {
    CTime candidate = CandidateAt(rule, year, month, rule.event.day3);
    anchor = candidate < anchor ? CandidateAt(rule, year, month + 1, rule.event.day3) : candidate;
  }
  return AnchorAt(anchor, rule.event);
}

CalendarAnchor YearlyAnchor(const CycleRule& rule) {
  std::tm start = rule.range.from.GetLocalTm();
  int year = start.tm_year + 1900;
  CTime anchor = CandidateAt(rule, year, start.tm_mon + 1, start.tm_mday);
  if (rule.event.type == kEventAbsoluteDay) {
    CTime candidate = CandidateAt(rule, year, rule.event.day2, rule.event.day3);
    anchor = candidate < anchor ? CandidateAt(rule, year + 1, rule.event.day2, rule.event.day3) : candidate;
  }
  return AnchorAt(anchor, rule.event);
}

bool CalendarMoment(int64_t year, int64_t month, int day, const CalendarAnchor& clock, CTime& moment) {
  if (year < kFirstCalendarYear || year > kLastCalendarYear || month < -12 || month > 24) return false;
  moment = LocalMoment(year, month, day, clock.hour, clock.minute, clock.second);
  return true;
}

bool RuleBegin(const CycleRule& rule, int64_t n, CTime& begin) {
  switch (rule.type.type) {
    case kCycleDay:
      return rule.type.workday != 0 ? WorkdayBegin(rule, n, begin) : DailyBegin(rule, n, begin);
    case kCycleWeek:
      return WeeklyBegin(rule, n, begin);
    case kCycleMonth:
      return MonthlyBegin(rule, n, begin);
    case kCycleYear:
      return YearlyBegin(rule, n, begin);
    default:
      return false;
  }
}

bool MappedOccurrence(const CycleRule& rule, const CCycleMapList& maps, int64_t n, CTime& begin, CTime& end,
                      bool use_maps) {
  if (use_maps && n >= INT_MIN && n <= INT_MAX) {
    if (const CCycleMap* map = maps.FindByNumber(static_cast<int>(n))) {
      begin = map->from;
      end = map->to;
      return true;
    }
  }
  return RuleOccurrence(rule, n, begin, end);
}

bool RuleOccurrence(const CycleRule& rule, int64_t n, CTime& begin, CTime& end) {
  if (rule.range.type == kRangeNumLimited && n > int64_t{rule.range.number} - 1) return false;
  if (!IsExpandedKind(rule.type.type)) return !PassesRangeEnd(rule, begin, end);
  int64_t duration = Duration(rule.event);
  if (!RuleBegin(rule, n, begin) || !InsideRange(begin.GetTime(), duration)) return false;
  end = begin + CTimeSpan(duration);
  return !PassesRangeEnd(rule, begin, end);
}

}  // namespace zds::cycle

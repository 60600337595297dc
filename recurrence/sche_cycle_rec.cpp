#include "zds/recurrence/sche_cycle_rec.h"

#include <algorithm>
#include <climits>

#include "zds/recurrence/cycle_search.h"

namespace zds {

namespace {

constexpr CTimeSpan kOneDay(86400);

CTime Midnight(CTime time) {
  std::tm fields = time.GetLocalTm();
  return cycle::LocalMoment(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, 0, 0, 0);
}

int Weekday(CTime time) { return time.GetLocalTm().tm_wday; }

bool IsWorkday(CTime time) {
  int weekday = Weekday(time);
  return weekday >= 1 && weekday <= 5;
}

// A period of 0 has 0 as its only multiple: nothing divides by zero.
bool IsWholeMultiple(int64_t value, int64_t period) { return period == 0 ? value == 0 : value % period == 0; }

}  // namespace

bool CScheCycleRec::GetMapRange(const int& number, CTime& begin, CTime& end, bool use_maps) const {
  return cycle::MappedOccurrence(Rule(), maps, number, begin, end, use_maps);
}

int CScheCycleRec::GetMapNumByTime(const CTime& time, bool use_maps) const {
  return cycle::FindOccurrenceHolding(Rule(), use_maps ? &maps : nullptr, time);
}

bool CScheCycleRec::GetMapMaxRange(const int& number, CTime& lower, CTime& upper) const {
  if (number < 0) return false;
  CTime begin, end;
  if (number > 0) {
    if (!GetMapRange(number - 1, begin, end, true)) return false;
    lower = end;
  } else {
    lower = cycle_range.from;
  }
  begin = end = CTime();
  if (!GetMapRange(number, begin, end, true)) return false;
  begin = end = CTime();
  upper = number < INT_MAX && GetMapRange(number + 1, begin, end, true) ? begin : cycle_range.to;
  return true;
}

bool CScheCycleRec::IsMapRangeSetOK(const int& number, const CTime& begin, const CTime& end) const {
  CTime lower, upper;
  if (!GetMapMaxRange(number, lower, upper)) return false;
  return begin >= lower && end <= upper;
}

CCycleMap* CScheCycleRec::GetMapInfoByID(const std::string& id) {
  for (size_t i = 0; i < maps.size(); ++i) {
    if (maps[i].event == id) return &maps[i];
  }
  return nullptr;
}

CCycleMap* CScheCycleRec::GetMapInfoByTime(const CTime& time) {
  if (time < cycle_range.from || maps.empty()) return nullptr;
  for (size_t i = 0; i < maps.size(); ++i) {
    if (maps[i].from <= time && time <= maps[i].to) return &maps[i];
  }
  // Callers have always received the last map here and test its span.
  return &maps[maps.size() - 1];
}

bool CScheCycleRec::IsMapExisted(const CTime& begin, const CTime& end) {
  cycle_range.from = Midnight(cycle_range.from);
  CTime lower = begin;
  CTime upper = end.GetTime() == 0 ? begin + CTimeSpan(86399) : end;
  if (lower < cycle_range.from) return false;
  for (size_t i = 0; i < maps.size(); ++i) {
    if (maps[i].status == kMapDelete && maps[i].from >= lower && maps[i].to <= upper) return false;
  }
  if (cycle_range.type == kRangeTimeLimited) {
    cycle_range.to = Midnight(cycle_range.to);
    if (lower > cycle_range.to) return false;
  }
  // No occurrence lies past the last year the rules reach; this also bounds
  // the day-by-day tests below.
  if (lower.GetTime() > cycle::kLatestMoment) return false;
  upper = std::min(upper, CTime(cycle::kLatestMoment));
  switch (cycle_type.type) {
    case kCycleDay:
      return DayExists(lower, upper);
    case kCycleWeek:
      return WeekExists(lower, upper);
    case kCycleMonth:
      return MonthExists(lower, upper);
    case kCycleYear:
      return YearExists(lower, upper);
    default:
      return false;
  }
}

// Days are tested as fixed 86400-second steps from the range's midnight, so
// across a daylight-saving change a day rule no longer lines up with the
// asked day; stored answers have always carried this.
bool CScheCycleRec::DayExists(CTime lower, CTime upper) const {
  bool counted = cycle_range.type == kRangeNumLimited;
  if (counted && cycle_type.workday != 0) {
    int64_t workdays = 0;
    for (CTime day = cycle_range.from; day <= lower; day += kOneDay) {
      if (IsWorkday(day) && ++workdays > cycle_range.number) return false;
    }
  }
  int64_t period = int64_t{cycle_type.multiple} * 86400;
  if (counted && cycle_type.workday == 0) {
    // With a multiple of 0 every day is occurrence 0.
    int64_t index = period == 0 ? 0 : (lower - cycle_range.from).GetTotalSeconds() / period;
    if (index > int64_t{cycle_range.number} - 1) return false;
  }
  if (cycle_type.workday != 0) return IsWorkday(lower);
  for (CTime day = lower; day <= upper; day += kOneDay) {
    if (IsWholeMultiple((day - cycle_range.from).GetTotalSeconds(), period)) return true;
  }
  return false;
}

bool CScheCycleRec::WeekExists(CTime lower, CTime upper) const {
  // Without a chosen weekday the rule has no occurrence (and the count below
  // would never end).
  if (!cycle::HasSelectedWeekday(cycle_event)) return false;
  CTime first_sunday = cycle_range.from - CTimeSpan(int64_t{Weekday(cycle_range.from)} * 86400);
  int64_t period = int64_t{cycle_type.multiple} * 604800;
  WeekCount count(*this);
  for (CTime day = lower; day <= upper; day += kOneDay) {
    int weekday = Weekday(day);
    CTime sunday = day - CTimeSpan(int64_t{weekday} * 86400);
    if (!cycle_event.IsEventDay(weekday) || !IsWholeMultiple((sunday - first_sunday).GetTotalSeconds(), period)) {
      continue;
    }
    if (cycle_range.type != kRangeNumLimited || count.Reaches(day)) return true;
  }
  return false;
}

CScheCycleRec::WeekCount::WeekCount(const CScheCycleRec& rec)
    : event_(rec.cycle_event), left_(rec.cycle_range.number), day_(rec.cycle_range.from),
      weekday_(Weekday(rec.cycle_range.from)) {}

bool CScheCycleRec::WeekCount::Reaches(CTime candidate) {
  while (!exhausted_) {
    if (!counted_) {
      for (; !event_.IsEventDay(weekday_); weekday_ = (weekday_ + 1) % 7) day_ += kOneDay;
      --left_;
      counted_ = true;
    }
    if (day_ >= candidate) return day_ == candidate;
    exhausted_ = left_ == 0;
    counted_ = false;
    day_ += kOneDay;
    weekday_ = (weekday_ + 1) % 7;
  }
  return false;
}

bool CScheCycleRec::MonthExists(CTime lower, CTime upper) const {
  std::tm start = cycle_range.from.GetLocalTm();
  for (CTime day = lower; day <= upper; day += kOneDay) {
    std::tm fields = day.GetLocalTm();
    if (fields.tm_mday != cycle_event.day3) continue;
    int64_t months = int64_t{fields.tm_year - start.tm_year} * 12 + (fields.tm_mon - start.tm_mon);
    if (!IsWholeMultiple(months, cycle_type.multiple)) continue;
    if (cycle_range.type != kRangeNumLimited) return true;
    if (months < int64_t{cycle_range.number} * cycle_type.multiple) return true;
  }
  return false;
}

bool CScheCycleRec::YearExists(CTime lower, CTime upper) const {
  std::tm start = cycle_range.from.GetLocalTm();
  for (CTime day = lower; day <= upper; day += kOneDay) {
    std::tm fields = day.GetLocalTm();
    if (fields.tm_mday != cycle_event.day3 || fields.tm_mon + 1 != cycle_event.day2) continue;
    int64_t years = fields.tm_year - start.tm_year;
    if (!IsWholeMultiple(years, cycle_type.multiple)) continue;
    if (cycle_range.type != kRangeNumLimited) return true;
    if (years < int64_t{cycle_range.number} * cycle_type.multiple) return true;
  }
  return false;
}

}  // namespace zds

// The occurrence arithmetic of recurrence rules, shared by the schedule's
// rule (CScheCycleRec) and the timer's (CATimerCycleRec).
//
// Occurrence n of a rule is computed from n directly. The arithmetic keeps
// the behaviour that stored rules were written against: days are fixed
// 86400-second steps (so a daylight-saving change moves the clock time of
// later occurrences), the workday and weekly walks land on the day after the
// day they count, and calendar dates roll forward the way mktime rolls them
// (31 February is early March). The two kinds of rule differ only where
// CycleStyle says.

#ifndef ZDS_RECURRENCE_CYCLE_ARITHMETIC_H_
#define ZDS_RECURRENCE_CYCLE_ARITHMETIC_H_

#include <cstdint>

#include "zds/platform/time.h"
#include "zds/recurrence/cycle_records.h"

namespace zds {

enum class CycleStyle {
  // Month and year anchors are compared at midnight; a "timelimited" range
  // drops an occurrence whose end passes its end.
  kSchedule,
  // Month and year anchors are compared at the event's time of day; a
  // "timelimited" range drops an occurrence whose begin passes its end.
  kTimer,
};

// A rule's three records read together; the records must outlive it.
struct CycleRule {
  const CCycleType& type;
  const CCycleEvent& event;
  const CCycleRange& range;
  CycleStyle style;
};

namespace cycle {

// Occurrences exist only from 1000-01-01 to 9999-12-31 (UTC), the years the
// stored text form can carry; beyond them a rule simply has no occurrence,
// which also keeps every computation inside 64 bits.
inline constexpr int64_t kEarliestMoment = -30610224000;
inline constexpr int64_t kLatestMoment = 253402300799;

// Local time from calendar fields, normalised like mktime (31 April is
// 1 May, month 13 is January of the next year). Unlike mktime, whose answer
// for an hour that occurs twice, or not at all, depends on what it was asked
// before, this always gives the earlier of two readings and moves a missing
// hour forward: an occurrence must not depend on what was computed before it.
CTime LocalMoment(int64_t year, int64_t month, int64_t day, int hour, int minute, int second);

// Day, week, month and year rules are expanded; other kinds are not.
bool IsExpandedKind(int type);
// A weekly rule has occurrences only when one of Sunday..Saturday is chosen.
bool HasSelectedWeekday(const CCycleEvent& event);
// Event days over the whole mask, as the weekly arithmetic counts them.
int64_t SelectedDayCount(const CCycleEvent& event);
// How long every occurrence lasts: event to - event from (saturated).
int64_t Duration(const CCycleEvent& event);
// Whether an occurrence beginning at `begin` lies wholly inside the years above.
bool InsideRange(int64_t begin, int64_t duration);

// Which days a weekday walk counts: Monday to Friday, or the event's mask.
struct DaySelector {
  bool workdays;
  const CCycleEvent* event;
  bool Accepts(int weekday) const;  // 0 = Sunday
};

// Tests each day from `from` on and steps one day (86400 seconds) after
// every test, until `count` accepted days have been met; the day reached is
// the day after the last one counted. A count of 0 or less stays on `from`.
CTime WalkDays(CTime from, int64_t count, const DaySelector& selector);

// The date of the range's start at the time of day of the event's start.
CTime BaseMoment(const CycleRule& rule);

// Month and year rules: the date their occurrences are counted from.
struct CalendarAnchor {
  int64_t year = 0;
  int month = 1;
  int day = 1;
  int hour = 0, minute = 0, second = 0;
};
CalendarAnchor MonthlyAnchor(const CycleRule& rule);
CalendarAnchor YearlyAnchor(const CycleRule& rule);
// Local time from calendar fields, normalised like mktime; false for years
// so far out that the moment cannot lie in an occurrence's range.
bool CalendarMoment(int64_t year, int64_t month, int day, const CalendarAnchor& clock, CTime& moment);

// Where occurrence n of the plain rule begins; false when it has none.
// Only for expanded kinds.
bool RuleBegin(const CycleRule& rule, int64_t n, CTime& begin);

// Occurrence n of the plain rule (maps aside) with every end condition. For
// a kind that is not expanded, `begin` and `end` keep the values passed in
// and only the range's end condition is tested on them.
bool RuleOccurrence(const CycleRule& rule, int64_t n, CTime& begin, CTime& end);

// Occurrence n as both rule classes place it: a touched occurrence (with
// `use_maps`) is where its map puts it, whatever its status; any other
// follows the rule.
bool MappedOccurrence(const CycleRule& rule, const CCycleMapList& maps, int64_t n, CTime& begin, CTime& end,
                      bool use_maps);

}  // namespace cycle
}  // namespace zds

#endif  // ZDS_RECURRENCE_CYCLE_ARITHMETIC_H_

// The occurrences of a recurring schedule entry within a span, found from
// the span itself instead of by walking the rule from its start, so that an
// entry that began twenty years ago costs what one that began last week
// does.
//
// OccursInSpan is the rule's occurrence test (CScheCycleRec::IsMapExisted)
// with the same answers; ExpandOccurrences lists the occurrences an agenda
// shows. See docs/calendar.md for how both find their way into the span.

#ifndef ZDS_CALENDAR_SCHEDULE_OCCURRENCES_H_
#define ZDS_CALENDAR_SCHEDULE_OCCURRENCES_H_

#include <vector>

#include "zds/platform/time.h"
#include "zds/recurrence/sche_cycle_rec.h"

namespace zds {

// Whether an occurrence falls in [begin, end], or on the day from `begin`
// when `end` is the time 0: exactly what rec.IsMapExisted(begin, end)
// answers, without moving the rule's start to midnight in `rec`.
bool OccursInSpan(const CScheCycleRec& rec, const CTime& begin, const CTime& end);

struct CScheduleOccurrence {
  int number = 0;  // the occurrence's number in the rule
  CTime begin;
  CTime end;
  bool operator==(const CScheduleOccurrence&) const = default;
};

// Appends, in no particular order, the occurrences that begin at or before
// `last` and end at or after `first`. A touched occurrence is where its map
// puts it (the first map with its number counts) and a deleted one is left
// out; the others are where the rule puts them. A rule whose multiple is
// below 1 has occurrence 0 only; kinds the rule does not expand have only
// the occurrences their maps give.
void ExpandOccurrences(const CScheCycleRec& rec, const CTime& first, const CTime& last,
                       std::vector<CScheduleOccurrence>& out);

}  // namespace zds

#endif  // ZDS_CALENDAR_SCHEDULE_OCCURRENCES_H_

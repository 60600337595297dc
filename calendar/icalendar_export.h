// The schedule and the timers as iCalendar (RFC 5545), for other calendar
// programs: each schedule entry a VEVENT, each active timer a VTODO, in one
// VCALENDAR. Rules that RRULE states exactly go out as RRULE; any other
// rule goes out as the list of its occurrences within the export's span,
// so that no program ever shows an occurrence the store does not have.
// docs/icalendar.md says which rules are which and how times are written.

#ifndef ZDS_CALENDAR_ICALENDAR_EXPORT_H_
#define ZDS_CALENDAR_ICALENDAR_EXPORT_H_

#include <string>
#include <string_view>

#include "zds/calendar/schedule_doc.h"
#include "zds/calendar/schedule_index_doc.h"
#include "zds/platform/time.h"
#include "zds/timers/timer_doc.h"
#include "zds/timers/timer_index_doc.h"

namespace zds {

// What an export covers. Entries and one-shot timers with an occurrence
// from `first` to `last` (both included) are exported; a rule written as a
// list of occurrences lists those that touch that span.
struct CICalendarSpan {
  CTime first;
  CTime last;
  CTime stamp = CTime::GetCurrentTime();  // every component's DTSTAMP
};

// The UID a schedule entry or timer is exported under, made from its
// position: the same store exports the same UID every time.
std::string ICalendarUid(std::string_view pos);

// One VCALENDAR holding the schedule's entries (`schedule` may be null) and
// the active timers (`timers` may be null) of the span. Lines end in CR LF
// and are folded at 75 octets. Opens the documents it needs without
// creating any.
std::string ExportICalendar(CScheduleIndexDoc* schedule, CATimerIndexDoc* timers, const CICalendarSpan& span);

// The components of one entry or timer (VEVENTs or VTODOs, no VCALENDAR
// around them), for a host that builds its own calendar object.
std::string ExportScheduleEntry(const CScheduleRec& rec, const CICalendarSpan& span);
std::string ExportTimer(const CATimerRec& timer, const CICalendarSpan& span);

}  // namespace zds

#endif  // ZDS_CALENDAR_ICALENDAR_EXPORT_H_

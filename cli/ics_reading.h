// iCalendar read through libical, for `zds import ics` and for the tests
// that check the export: each VEVENT and VTODO series with what the
// schedule can keep of it, and its occurrences in a span as libical's
// recurrence expansion gives them (RRULE, RDATE and EXDATE by libical,
// RECURRENCE-ID overrides put in place here, as every client does).
//
// Only where the build has libical (ZDS_HAVE_LIBICAL); the library never
// uses it.

#ifndef ZDS_CLI_ICS_READING_H_
#define ZDS_CLI_ICS_READING_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/platform/time.h"

namespace zds::cli {

struct IcsOccurrence {
  CTime begin;
  CTime end;  // an all-day occurrence ends at midnight of its last day
  CTime recurrence_id;  // the rule's own start of this occurrence
  bool moved = false;   // an overriding component placed it
};

// One series: a component without RECURRENCE-ID (or an override whose
// series is missing), with the overrides of its UID.
struct IcsSeries {
  bool todo = false;
  std::string uid, summary, contact;
  int priority = 0;  // iCalendar's 0-9
  bool has_alarm = false;
  int alarm_minutes_before = 0;
  bool has_start = false;
  bool all_day = false;
  CTime start;
  int start_weekday = 0;     // of DTSTART as written (0 = Sunday), which BYDAY counts from
  int64_t duration = 0;      // seconds; for all-day: days - 1, in seconds
  bool has_rrule = false;
  bool has_rdate = false;
  std::string rrule;         // as libical writes it back, for a host's own reading
  CTime until;               // the RRULE's UNTIL, when it has one
  bool has_until = false;
  std::string problem;       // why it cannot be read as an occurrence set; empty when it can
  std::vector<CTime> exdates;
  std::vector<IcsOccurrence> occurrences;  // in the span, by begin
};

struct IcsReading {
  bool parsed = false;
  int errors = 0;  // properties libical could not read
  std::vector<IcsSeries> series;
};

// Reads `text` and expands each series over [first, last]: events whose
// occurrences begin at or before `last` and end at or after `first`, to-dos
// that begin inside it. At most `cap` occurrences a series; more make its
// problem "too many occurrences".
IcsReading ReadIcs(std::string_view text, const CTime& first, const CTime& last, size_t cap = 20000);

}  // namespace zds::cli

#endif  // ZDS_CLI_ICS_READING_H_

#include "cli/ics_reading.h"

#ifdef ZDS_HAVE_LIBICAL

#include <libical/ical.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace zds::cli {
namespace {

constexpr int64_t kDay = 86400;

// A floating time or a date is the local clock's, as the schedule's own
// times are; UTC and zone-bound times are moments.
CTime Moment(const icaltimetype& t) {
  if (t.is_date) return CTime::FromLocalFields(t.year, t.month, t.day, 0, 0, 0);
  if (icaltime_is_utc(t)) return CTime(static_cast<int64_t>(icaltime_as_timet(t)));
  if (t.zone != nullptr) return CTime(static_cast<int64_t>(icaltime_as_timet_with_zone(t, t.zone)));
  return CTime::FromLocalFields(t.year, t.month, t.day, t.hour, t.minute, t.second);
}

// libical takes "20261301" for a date and leaves its fields as written.
bool IsRealTime(const icaltimetype& t) {
  if (!icaltime_is_valid_time(t) || t.month < 1 || t.month > 12 || t.day < 1) return false;
  if (t.day > icaltime_days_in_month(t.month, t.year)) return false;
  return t.is_date || (t.hour >= 0 && t.hour < 24 && t.minute >= 0 && t.minute < 60 && t.second >= 0 && t.second <= 60);
}

// Whole days from one date to another (both dates), by the civil calendar.
int64_t DaysBetween(const icaltimetype& from, const icaltimetype& to) {
  auto days = [](const icaltimetype& t) {
    int64_t y = t.year - (t.month <= 2);
    int64_t era = (y >= 0 ? y : y - 399) / 400;
    int64_t yoe = y - era * 400;
    int64_t doy = (153 * (t.month + (t.month > 2 ? -3 : 9)) + 2) / 5 + t.day - 1;
    return era * 146097 + yoe * 365 + yoe / 4 - yoe / 100 + doy;
  };
  return days(to) - days(from);
}

// Where a component's occurrence starting at `start` ends.
struct Extent {
  bool all_day = false;
  int64_t days = 1;      // all-day: how many days
  int64_t seconds = 0;   // timed: how long
  CTime EndOf(const icaltimetype& start, CTime begin) const {
    if (!all_day) return begin + CTimeSpan(seconds);
    return CTime::FromLocalFields(start.year, start.month, start.day + days - 1, 0, 0, 0);
  }
};

Extent ExtentOf(icalcomponent* c, const icaltimetype& start, bool todo) {
  Extent extent;
  extent.all_day = start.is_date != 0;
  if (todo) {
    icaltimetype due = icalcomponent_get_due(c);
    if (!icaltime_is_null_time(due)) extent.seconds = std::max<int64_t>(0, (Moment(due) - Moment(start)).GetTotalSeconds());
    extent.all_day = false;
    return extent;
  }
  if (icalproperty* p = icalcomponent_get_first_property(c, ICAL_DURATION_PROPERTY)) {
    int seconds = icaldurationtype_as_int(icalproperty_get_duration(p));
    extent.seconds = std::max(0, seconds);
    extent.days = std::max(1, seconds / static_cast<int>(kDay));
    return extent;
  }
  if (icalcomponent_get_first_property(c, ICAL_DTEND_PROPERTY) != nullptr) {
    icaltimetype end = icalcomponent_get_dtend(c);
    if (extent.all_day) {
      extent.days = std::max<int64_t>(1, DaysBetween(start, end));
    } else {
      extent.seconds = std::max<int64_t>(0, (Moment(end) - Moment(start)).GetTotalSeconds());
    }
  }
  return extent;
}

void ReadDescription(icalcomponent* c, IcsSeries& s) {
  if (const char* summary = icalcomponent_get_summary(c)) s.summary = summary;
  if (icalproperty* p = icalcomponent_get_first_property(c, ICAL_CONTACT_PROPERTY)) {
    if (const char* contact = icalproperty_get_contact(p)) s.contact = contact;
  }
  if (icalproperty* p = icalcomponent_get_first_property(c, ICAL_PRIORITY_PROPERTY)) {
    s.priority = icalproperty_get_priority(p);
  }
  if (icalcomponent* alarm = icalcomponent_get_first_component(c, ICAL_VALARM_COMPONENT)) {
    if (icalproperty* p = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY)) {
      icaltriggertype trigger = icalproperty_get_trigger(p);
      if (icaltime_is_null_time(trigger.time)) {
        s.has_alarm = true;
        s.alarm_minutes_before = -icaldurationtype_as_int(trigger.duration) / 60;
      }
    }
  }
}

bool Touches(const IcsSeries& s, CTime begin, CTime end, CTime first, CTime last) {
  return s.todo ? first <= begin && begin <= last : begin <= last && end >= first;
}

// The starts of the series up to `last`: DTSTART, the RRULE's and RDATE's,
// less EXDATE's, each once.
std::vector<icaltimetype> Starts(icalcomponent* c, const icaltimetype& dtstart, CTime last, size_t cap,
                                 IcsSeries& s) {
  std::vector<icaltimetype> starts{dtstart};
  for (icalproperty* p = icalcomponent_get_first_property(c, ICAL_RRULE_PROPERTY); p != nullptr;
       p = icalcomponent_get_next_property(c, ICAL_RRULE_PROPERTY)) {
    icalrecurrencetype recur = icalproperty_get_rrule(p);
    s.has_rrule = true;
    if (char* text = icalrecurrencetype_as_string(&recur)) s.rrule = text;
    if (!icaltime_is_null_time(recur.until)) {
      s.has_until = true;
      s.until = Moment(recur.until);
    }
    if (recur.freq == ICAL_NO_RECURRENCE || recur.freq < ICAL_DAILY_RECURRENCE) {
      s.problem = "a frequency below daily";
      return {};
    }
    std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator*)> it(icalrecur_iterator_new(recur, dtstart),
                                                                          icalrecur_iterator_free);
    if (!it) {
      s.problem = "an RRULE libical cannot expand";
      return {};
    }
    for (icaltimetype next = icalrecur_iterator_next(it.get()); !icaltime_is_null_time(next);
         next = icalrecur_iterator_next(it.get())) {
      if (Moment(next) > last) break;
      starts.push_back(next);
      if (starts.size() > cap) {
        s.problem = "too many occurrences";
        return {};
      }
    }
  }
  for (icalproperty* p = icalcomponent_get_first_property(c, ICAL_RDATE_PROPERTY); p != nullptr;
       p = icalcomponent_get_next_property(c, ICAL_RDATE_PROPERTY)) {
    icaldatetimeperiodtype rdate = icalproperty_get_rdate(p);
    s.has_rdate = true;
    starts.push_back(icaltime_is_null_time(rdate.time) ? rdate.period.start : rdate.time);
  }
  for (icalproperty* p = icalcomponent_get_first_property(c, ICAL_EXDATE_PROPERTY); p != nullptr;
       p = icalcomponent_get_next_property(c, ICAL_EXDATE_PROPERTY)) {
    s.exdates.push_back(Moment(icalproperty_get_exdate(p)));
  }
  std::set<int64_t> seen;
  std::erase_if(starts, [&](const icaltimetype& t) {
    CTime moment = Moment(t);
    return std::find(s.exdates.begin(), s.exdates.end(), moment) != s.exdates.end() ||
           !seen.insert(moment.GetTime()).second;
  });
  return starts;
}

IcsSeries ReadSeries(icalcomponent* master, const std::vector<icalcomponent*>& overrides, bool todo,
                     CTime first, CTime last, size_t cap) {
  IcsSeries s;
  s.todo = todo;
  if (const char* uid = icalcomponent_get_uid(master)) s.uid = uid;
  ReadDescription(master, s);
  if (icalcomponent_get_first_property(master, ICAL_DTSTART_PROPERTY) == nullptr) {
    s.problem = "no DTSTART";
    return s;
  }
  icaltimetype dtstart = icalcomponent_get_dtstart(master);
  if (icaltime_is_null_time(dtstart) || !IsRealTime(dtstart)) {
    s.problem = "a DTSTART that is no date";
    return s;
  }
  Extent extent = ExtentOf(master, dtstart, todo);
  s.has_start = true;
  s.all_day = extent.all_day;
  s.start = Moment(dtstart);
  s.start_weekday = icaltime_day_of_week(dtstart) - 1;
  s.duration = extent.all_day ? (extent.days - 1) * kDay : extent.seconds;
  std::map<int64_t, icalcomponent*> moved;
  for (icalcomponent* o : overrides) moved[Moment(icalcomponent_get_recurrenceid(o)).GetTime()] = o;
  for (const icaltimetype& start : Starts(master, dtstart, last, cap, s)) {
    CTime begin = Moment(start);
    if (moved.count(begin.GetTime()) != 0) continue;
    CTime end = extent.EndOf(start, begin);
    if (Touches(s, begin, end, first, last)) s.occurrences.push_back({begin, end, begin, false});
  }
  if (!s.problem.empty()) {
    s.occurrences.clear();
    return s;
  }
  for (const auto& [id, o] : moved) {
    if (std::find(s.exdates.begin(), s.exdates.end(), CTime(id)) != s.exdates.end()) continue;
    icaltimetype start = icalcomponent_get_dtstart(o);
    if (icaltime_is_null_time(start)) continue;
    CTime begin = Moment(start);
    CTime end = ExtentOf(o, start, todo).EndOf(start, begin);
    if (Touches(s, begin, end, first, last)) s.occurrences.push_back({begin, end, CTime(id), true});
  }
  std::sort(s.occurrences.begin(), s.occurrences.end(), [](const IcsOccurrence& a, const IcsOccurrence& b) {
    return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
  });
  return s;
}

void Collect(icalcomponent* c, std::vector<icalcomponent*>& found) {
  icalcomponent_kind kind = icalcomponent_isa(c);
  if (kind == ICAL_VEVENT_COMPONENT || kind == ICAL_VTODO_COMPONENT) {
    found.push_back(c);
    return;
  }
  if (kind != ICAL_VCALENDAR_COMPONENT && kind != ICAL_XROOT_COMPONENT) return;
  for (icalcomponent* child = icalcomponent_get_first_component(c, ICAL_ANY_COMPONENT); child != nullptr;
       child = icalcomponent_get_next_component(c, ICAL_ANY_COMPONENT)) {
    Collect(child, found);
  }
}

}  // namespace

IcsReading ReadIcs(std::string_view text, const CTime& first, const CTime& last, size_t cap) {
  IcsReading reading;
  std::string terminated(text);
  std::unique_ptr<icalcomponent, void (*)(icalcomponent*)> root(icalparser_parse_string(terminated.c_str()),
                                                                icalcomponent_free);
  if (!root) return reading;
  reading.parsed = true;
  reading.errors = icalcomponent_count_errors(root.get());
  std::vector<icalcomponent*> components;
  Collect(root.get(), components);
  // Masters in file order; overrides go with the master of their UID and kind.
  std::map<std::pair<bool, std::string>, std::vector<icalcomponent*>> overrides;
  std::vector<icalcomponent*> masters;
  for (icalcomponent* c : components) {
    const char* uid = icalcomponent_get_uid(c);
    bool todo = icalcomponent_isa(c) == ICAL_VTODO_COMPONENT;
    if (icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY) != nullptr && uid != nullptr) {
      overrides[{todo, uid}].push_back(c);
    } else {
      masters.push_back(c);
    }
  }
  std::set<std::pair<bool, std::string>> served;
  for (icalcomponent* c : masters) {
    bool todo = icalcomponent_isa(c) == ICAL_VTODO_COMPONENT;
    const char* uid = icalcomponent_get_uid(c);
    std::pair<bool, std::string> key{todo, uid ? uid : ""};
    static const std::vector<icalcomponent*> kNone;
    auto found = uid != nullptr && served.insert(key).second ? overrides.find(key) : overrides.end();
    reading.series.push_back(ReadSeries(c, found != overrides.end() ? found->second : kNone, todo, first, last, cap));
  }
  // An override without its series stands alone.
  for (const auto& [key, list] : overrides) {
    if (served.count(key) != 0) continue;
    for (icalcomponent* c : list) reading.series.push_back(ReadSeries(c, {}, key.first, first, last, cap));
  }
  return reading;
}

}  // namespace zds::cli

#endif  // ZDS_HAVE_LIBICAL

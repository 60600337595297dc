#include "zds/calendar/icalendar_export.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "zds/calendar/schedule_occurrences.h"
#include "zds/framework/content_line.h"
#include "zds/platform/ascii.h"
#include "zds/recurrence/cycle_arithmetic.h"

namespace zds {
namespace {

constexpr int64_t kDay = 86400;
constexpr size_t kDatesPerLine = 8;  // RDATE values per property: short lines fold less
constexpr const char* kWeekdays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};

// ---- content lines ----

using content_line::AppendFolded;
using content_line::AppendText;

class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}
  void Line(std::string_view name, std::string_view value) {
    std::string line(name);
    line.append(":").append(value);
    AppendFolded(out_, line);
  }
  void Text(std::string_view name, std::string_view text) {
    std::string line(name);
    line += ':';
    AppendText(line, text);
    AppendFolded(out_, line);
  }

 private:
  std::string& out_;
};

// ---- times ----

// Calendar fields of a moment in UTC, by arithmetic, so that no C runtime's
// range or zone is involved (days from 1970-01-01 to a civil date).
struct Fields {
  int64_t year = 1970;
  int month = 1, day = 1, hour = 0, minute = 0, second = 0;
};

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

Fields UtcFields(CTime time) {
  int64_t seconds = time.GetTime();
  int64_t days = FloorDiv(seconds, kDay);
  int64_t rest = seconds - days * kDay;
  int64_t z = days + 719468;
  int64_t era = FloorDiv(z, 146097);
  int64_t doe = z - era * 146097;
  int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  int64_t mp = (5 * doy + 2) / 153;
  Fields fields;
  fields.day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  fields.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  fields.year = yoe + era * 400 + (fields.month <= 2);
  fields.hour = static_cast<int>(rest / 3600);
  fields.minute = static_cast<int>(rest / 60 % 60);
  fields.second = static_cast<int>(rest % 60);
  return fields;
}

int UtcWeekday(CTime time) { return static_cast<int>((FloorDiv(time.GetTime(), kDay) % 7 + 11) % 7); }

std::string DateText(int64_t year, int month, int day) {
  char text[32];
  std::snprintf(text, sizeof text, "%04lld%02d%02d", static_cast<long long>(year), month, day);
  return text;
}

std::string FloatingText(const Fields& f) {
  char text[16];
  std::snprintf(text, sizeof text, "T%02d%02d%02d", f.hour, f.minute, f.second);
  return DateText(f.year, f.month, f.day) + text;
}

std::string UtcText(CTime time) { return FloatingText(UtcFields(time)) + "Z"; }

std::string LocalDateText(CTime time) {
  std::tm fields = time.GetLocalTm();
  return DateText(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday);
}

std::string DurationText(int64_t seconds) { return "PT" + std::to_string(std::max<int64_t>(seconds, 0)) + "S"; }

// ---- rules ----

// How a rule is written when RRULE says exactly what it means.
struct RulePlan {
  bool floating = false;  // month and year rules follow the local calendar
  cycle::CalendarAnchor anchor;
  std::string rrule;
  bool empty = false;  // the range ends before the first occurrence
};

bool Occurs(const CycleRule& rule, int64_t n, CTime& begin, CTime& end) {
  return cycle::IsExpandedKind(rule.type.type) && cycle::RuleOccurrence(rule, n, begin, end);
}

// The number of occurrences a limited range leaves (begins and ends rise
// with n on the rules planned here), or -1 when more than 2^31 - 1.
int64_t OccurrenceCount(const CycleRule& rule) {
  CTime begin, end;
  int64_t low = 0, high = INT32_MAX;  // the answer lies in [low, high]
  if (Occurs(rule, high - 1, begin, end)) return -1;
  while (low < high) {
    int64_t middle = low + (high - low) / 2;
    if (Occurs(rule, middle, begin, end)) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

// A weekly RRULE in UTC for occurrences that begin `offsets` after the
// first, repeating every `weeks` weeks. Exact only while the offsets rise
// and stay inside the first seven days: the week then starts on the first
// occurrence's weekday (WKST), and BYDAY picks each offset's day in it.
std::optional<std::string> WeeklyRule(const std::vector<CTime>& begins, int weeks) {
  std::string days;
  std::set<int> seen;
  for (size_t r = 0; r < begins.size(); ++r) {
    int64_t offset = (begins[r] - begins[0]).GetTotalSeconds();
    if (offset % kDay != 0 || offset < 0 || offset >= 7 * kDay) return std::nullopt;
    if (r > 0 && !(begins[r - 1] < begins[r])) return std::nullopt;
    int weekday = UtcWeekday(begins[r]);
    if (!seen.insert(weekday).second) return std::nullopt;
    days += (days.empty() ? "" : ",") + std::string(kWeekdays[weekday]);
  }
  return "FREQ=WEEKLY;INTERVAL=" + std::to_string(weeks) + ";BYDAY=" + days +
         ";WKST=" + kWeekdays[UtcWeekday(begins[0])];
}

// The first `count` begins, and the one a period later, which must fall
// `period` seconds after the first for the pattern to repeat as assumed.
std::optional<std::vector<CTime>> PeriodBegins(const CycleRule& rule, int64_t count, int64_t period) {
  std::vector<CTime> begins;
  for (int64_t r = 0; r <= count; ++r) {
    CTime begin;
    if (!cycle::RuleBegin(rule, r, begin)) return std::nullopt;
    begins.push_back(begin);
  }
  if ((begins.back() - begins.front()).GetTotalSeconds() != period) return std::nullopt;
  begins.pop_back();
  return begins;
}

// The RRULE of a rule RRULE states exactly, or nothing. A timer keeps one
// firing per moment, which RRULE does too, so its workday rule fits where
// the schedule's (whose fourth and fifth occurrences share a moment, both
// listed) does not; a count would then number other occurrences, though.
std::optional<RulePlan> PlanRule(const CycleRule& rule) {
  const int multiple = rule.type.multiple;
  if (!cycle::IsExpandedKind(rule.type.type) || multiple < 1) return std::nullopt;
  const bool limited = rule.range.type == kRangeNumLimited || rule.range.type == kRangeTimeLimited;
  const int64_t week = 7 * kDay * int64_t{multiple};
  RulePlan plan;
  switch (rule.type.type) {
    case kCycleDay:
      if (rule.type.workday == 0) {
        plan.rrule = "FREQ=DAILY;INTERVAL=" + std::to_string(multiple);
      } else {
        if (rule.style != CycleStyle::kTimer || limited) return std::nullopt;
        auto begins = PeriodBegins(rule, 4, week);
        auto weekly = begins ? WeeklyRule(*begins, multiple) : std::nullopt;
        if (!weekly) return std::nullopt;
        plan.rrule = *weekly;
      }
      break;
    case kCycleWeek: {
      int64_t per_week = cycle::SelectedDayCount(rule.event);
      if (!cycle::HasSelectedWeekday(rule.event) || per_week < 1 || per_week > 7) return std::nullopt;
      auto begins = PeriodBegins(rule, per_week, week);
      auto weekly = begins ? WeeklyRule(*begins, multiple) : std::nullopt;
      if (!weekly) return std::nullopt;
      plan.rrule = *weekly;
      break;
    }
    case kCycleMonth:
      // A day the month lacks rolls into the next month; RRULE would skip it.
      plan.anchor = cycle::MonthlyAnchor(rule);
      if (plan.anchor.day > 28) return std::nullopt;
      plan.floating = true;
      plan.rrule = "FREQ=MONTHLY;INTERVAL=" + std::to_string(multiple);
      break;
    default:
      plan.anchor = cycle::YearlyAnchor(rule);
      if (plan.anchor.month == 2 && plan.anchor.day == 29) return std::nullopt;
      plan.floating = true;
      plan.rrule = "FREQ=YEARLY;INTERVAL=" + std::to_string(multiple);
      break;
  }
  if (plan.floating && (plan.anchor.year < 1000 || plan.anchor.year > 9999)) return std::nullopt;
  CTime begin, end;
  if (!Occurs(rule, 0, begin, end)) plan.empty = true;
  if (limited && !plan.empty) {
    int64_t count = OccurrenceCount(rule);
    if (count == 0) plan.empty = true;
    if (count > 0) plan.rrule += ";COUNT=" + std::to_string(count);
  }
  return plan;
}

// How occurrence n (beginning at `begin`) is named in the plan's form: the
// local calendar fields for month and year rules, UTC for the others.
std::string InstanceText(const RulePlan& plan, const CycleRule& rule, int64_t n, CTime begin) {
  if (!plan.floating) return UtcText(begin);
  Fields f;
  f.hour = plan.anchor.hour;
  f.minute = plan.anchor.minute;
  f.second = plan.anchor.second;
  f.day = plan.anchor.day;
  int64_t steps = int64_t{rule.type.multiple} * n;
  if (rule.type.type == kCycleMonth) {
    int64_t months = plan.anchor.month - 1 + steps;
    f.year = plan.anchor.year + months / 12;
    f.month = static_cast<int>(months % 12) + 1;
  } else {
    f.year = plan.anchor.year + steps;
    f.month = plan.anchor.month;
  }
  return FloatingText(f);
}

// ---- components ----

// One occurrence as listed: its number, where it begins and ends.
struct Listed {
  int64_t number;
  CTime begin;
  CTime end;
};

// What an entry and a timer share in writing their series: the component's
// name, how its times are written and its description.
struct Series {
  std::string_view component;  // "VEVENT" or "VTODO"
  std::string uid;
  std::string stamp;
  std::function<void(Writer&)> describe;  // SUMMARY and what follows it
  CycleRule rule;
  const CCycleMapList& maps;
  int64_t duration;  // of every rule occurrence; 0 for timers

  bool todo() const { return component == "VTODO"; }
  void Open(Writer& w, std::string_view uid_suffix) const {
    w.Line("BEGIN", component);
    w.Text("UID", uid + std::string(uid_suffix));
    w.Line("DTSTAMP", stamp);
  }
  void Close(Writer& w) const {
    describe(w);
    w.Line("END", component);
  }
  // A component of its own: an occurrence no rule instance stands for.
  void Single(Writer& w, std::string_view uid_suffix, CTime begin, CTime end) const {
    Open(w, uid_suffix);
    Times(w, begin, end);
    Close(w);
  }
  void Times(Writer& w, CTime begin, CTime end) const {
    w.Line("DTSTART", UtcText(begin));
    // A timer is due at its start: a map's end means nothing to it.
    w.Line(todo() ? "DUE" : "DTEND", UtcText(todo() ? begin : std::max(begin, end)));
  }
  void Override(Writer& w, std::string_view uid_suffix, std::string_view id, std::string_view id_name,
                CTime begin, CTime end) const {
    Open(w, uid_suffix);
    w.Line(id_name, id);
    Times(w, begin, end);
    Close(w);
  }
};

// The first map of each number: the one that places its occurrence.
template <typename Visit>
void ForEachPlacingMap(const CCycleMapList& maps, const Visit& visit) {
  for (size_t i = 0; i < maps.size(); ++i) {
    const CCycleMap& map = maps[i];
    if (map.number >= 0 && maps.FindByNumber(map.number) == &map) visit(map);
  }
}

void WriteRuleSeries(Writer& w, const Series& s, const RulePlan& plan) {
  std::vector<std::string> exdates;
  struct Moved {
    std::string id;
    int number;
    CTime begin, end;
  };
  std::vector<Moved> moved, alone;
  ForEachPlacingMap(s.maps, [&](const CCycleMap& map) {
    CTime begin, end;
    if (!plan.empty && Occurs(s.rule, map.number, begin, end)) {
      std::string id = InstanceText(plan, s.rule, map.number, begin);
      if (map.status == kMapDelete) {
        exdates.push_back(id);
      } else {
        moved.push_back({id, map.number, map.from, map.to});
      }
    } else if (map.status != kMapDelete) {
      alone.push_back({"", map.number, map.from, map.to});
    }
  });
  CTime begin, end;
  if (!plan.empty && Occurs(s.rule, 0, begin, end)) {
    std::string start = InstanceText(plan, s.rule, 0, begin);
    s.Open(w, "");
    w.Line("DTSTART", start);
    if (s.todo()) {
      w.Line("DUE", start);
    } else {
      w.Line("DURATION", DurationText(s.duration));
    }
    w.Line("RRULE", plan.rrule);
    for (const std::string& id : exdates) w.Line("EXDATE", id);
    s.Close(w);
  }
  for (const Moved& m : moved) s.Override(w, "", m.id, "RECURRENCE-ID", m.begin, m.end);
  for (const Moved& m : alone) s.Single(w, "-occurrence-" + std::to_string(m.number), m.begin, m.end);
}

// A rule RRULE cannot state: its occurrences in the span, each a start
// (DTSTART or RDATE, in UTC) of one component, a touched one overriding
// the rule's own start. Occurrences that share a start are one instance in
// iCalendar, so a second one goes to a second component ("-copy-1").
void WriteListedSeries(Writer& w, const Series& s, std::vector<Listed> listed) {
  std::sort(listed.begin(), listed.end(), [](const Listed& a, const Listed& b) {
    return a.begin != b.begin ? a.begin < b.begin : a.number < b.number;
  });
  struct Layer {
    std::vector<CTime> starts;
    std::vector<std::pair<CTime, Listed>> moved;  // the rule's start, the occurrence
  };
  std::vector<Layer> layers;
  std::map<int64_t, size_t> uses;
  std::vector<Listed> alone;
  for (const Listed& occurrence : listed) {
    CTime key = occurrence.begin;
    const CCycleMap* map = occurrence.number <= INT_MAX ? s.maps.FindByNumber(static_cast<int>(occurrence.number))
                                                        : nullptr;
    if (map != nullptr) {
      CTime end;
      if (!Occurs(s.rule, occurrence.number, key, end)) {
        alone.push_back(occurrence);
        continue;
      }
    }
    size_t layer = uses[key.GetTime()]++;
    if (layer >= layers.size()) layers.resize(layer + 1);
    layers[layer].starts.push_back(key);
    if (map != nullptr) layers[layer].moved.emplace_back(key, occurrence);
  }
  for (size_t i = 0; i < layers.size(); ++i) {
    Layer& layer = layers[i];
    std::sort(layer.starts.begin(), layer.starts.end());
    const std::string suffix = i == 0 ? "" : "-copy-" + std::to_string(i);
    s.Open(w, suffix);
    w.Line("DTSTART", UtcText(layer.starts[0]));
    if (s.todo()) {
      w.Line("DUE", UtcText(layer.starts[0]));
    } else {
      w.Line("DURATION", DurationText(s.duration));
    }
    for (size_t at = 1; at < layer.starts.size(); at += kDatesPerLine) {
      std::string value;
      for (size_t k = at; k < std::min(layer.starts.size(), at + kDatesPerLine); ++k) {
        value += (value.empty() ? "" : ",") + UtcText(layer.starts[k]);
      }
      w.Line("RDATE", value);
    }
    s.Close(w);
    for (const auto& [start, occurrence] : layer.moved) {
      s.Override(w, suffix, UtcText(start), "RECURRENCE-ID", occurrence.begin, occurrence.end);
    }
  }
  for (const Listed& m : alone) s.Single(w, "-occurrence-" + std::to_string(m.number), m.begin, m.end);
}

void WriteSeries(Writer& w, const Series& s, const std::function<std::vector<Listed>()>& list) {
  if (std::optional<RulePlan> plan = PlanRule(s.rule)) {
    WriteRuleSeries(w, s, *plan);
  } else {
    WriteListedSeries(w, s, list());
  }
}

// iCalendar's PRIORITY runs from 1 (highest) to 9, 5 being normal.
std::string_view PriorityText(int priority) {
  switch (priority) {
    case kSchedulePriorityHigh:
      return "1";
    case kSchedulePriorityNormal:
      return "5";
    case kSchedulePriorityLow:
      return "9";
    default:
      return "";
  }
}

void WriteAlarm(Writer& w, std::string_view subject, int64_t minutes_before) {
  w.Line("BEGIN", "VALARM");
  w.Line("ACTION", "DISPLAY");
  w.Text("DESCRIPTION", subject);
  std::string trigger = minutes_before > 0 ? "-PT" : "PT";
  trigger += std::to_string(minutes_before < 0 ? -minutes_before : minutes_before) + "M";
  w.Line("TRIGGER", trigger);
  w.Line("END", "VALARM");
}

void WriteEntry(Writer& w, const CScheduleRec& rec, const CICalendarSpan& span) {
  const CScheduleExtendRec& entry = rec.GetExtendRec();
  auto describe = [&entry](Writer& out) {
    out.Text("SUMMARY", entry.subject);
    if (!entry.contact.empty()) out.Text("CONTACT", entry.contact);
    if (std::string_view priority = PriorityText(entry.priority); !priority.empty()) out.Line("PRIORITY", priority);
    if (entry.is_timer) WriteAlarm(out, entry.subject, entry.set_minutes);
  };
  const CScheCycleRec& cycle = entry.cycle_rec;
  Series s{"VEVENT",
           ICalendarUid(rec.GetPos()),
           UtcText(span.stamp),
           describe,
           CycleRule{cycle.cycle_type, cycle.cycle_event, cycle.cycle_range, CycleStyle::kSchedule},
           cycle.maps,
           cycle::Duration(cycle.cycle_event)};
  if (entry.cycle) {
    WriteSeries(w, s, [&] {
      std::vector<CScheduleOccurrence> found;
      ExpandOccurrences(cycle, span.first, span.last, found);
      std::vector<Listed> listed;
      for (const CScheduleOccurrence& o : found) listed.push_back({o.number, o.begin, o.end});
      return listed;
    });
    return;
  }
  s.Open(w, "");
  if (entry.all_day) {
    // DATE values; DTEND is the day after the last, as iCalendar counts.
    std::tm last = entry.end.GetLocalTm();
    CTime after = CTime::FromLocalFields(last.tm_year + 1900, last.tm_mon + 1, last.tm_mday + 1, 0, 0, 0);
    w.Line("DTSTART;VALUE=DATE", LocalDateText(entry.begin));
    w.Line("DTEND;VALUE=DATE", LocalDateText(std::max(after, entry.begin + CTimeSpan(kDay))));
  } else {
    s.Times(w, entry.begin, entry.end);
  }
  s.Close(w);
}

void WriteTimer(Writer& w, const CATimerRec& timer, const CICalendarSpan& span) {
  const CATimerExtendRec& fields = timer.GetExtendRec();
  auto describe = [&fields](Writer& out) {
    out.Text("SUMMARY", fields.subject);
    WriteAlarm(out, fields.subject, 0);
  };
  static const CATimerCycleRec kNone;
  const CATimerCycleRec& cycle = fields.cyclic && fields.cycle_rec ? *fields.cycle_rec : kNone;
  Series s{"VTODO",
           ICalendarUid(timer.GetPos()),
           UtcText(span.stamp),
           describe,
           CycleRule{cycle.cycle_type, cycle.cycle_event, cycle.cycle_range, CycleStyle::kTimer},
           cycle.maps,
           0};
  if (!fields.cyclic || !fields.cycle_rec) {
    s.Single(w, "", fields.info_time, fields.info_time);
    return;
  }
  WriteSeries(w, s, [&] {
    std::vector<Listed> listed;
    for (const CATimerOccurrence& o : cycle.GetOccurrencesIn(span.first, span.last + CTimeSpan(1))) {
      listed.push_back({o.number, o.begin, o.begin});
    }
    return listed;
  });
}

void WriteSchedule(Writer& w, CScheduleIndexDoc& schedule, const CICalendarSpan& span) {
  std::vector<CScheduleAgendaItem> items;
  schedule.GetAgenda(span.first.Format(kTimeFormatDate), span.last.Format(kTimeFormatDate), items);
  std::set<std::string> done;
  for (const CScheduleAgendaItem& item : items) {
    if (!done.insert(item.pos).second) continue;
    if (const CScheduleRec* rec = schedule.FindRec(item.pos)) WriteEntry(w, *rec, span);
  }
}

void WriteTimers(Writer& w, CATimerIndexDoc& timers, const CICalendarSpan& span) {
  // One-shot timers as the due search finds them, so that a timer filed
  // where it would not fire is not exported either.
  std::set<std::string> done;
  for (const CATimerDue& due : timers.GetDueTimers(span.first, span.last + CTimeSpan(1))) {
    if (due.occurrence >= 0 || !done.insert(due.pos).second) continue;
    CATimerDoc* doc = timers.GetTimerDoc(due.pos);
    if (const CATimerRec* timer = doc ? doc->GetRec(due.pos) : nullptr) WriteTimer(w, *timer, span);
  }
  for (const CVFDLNode* node : timers.GetTimerDocNodes()) {
    if (!platform::SameIgnoringAsciiCase(node->GetAlias(), "Cycle")) continue;
    CATimerDoc* doc = timers.OpenTimerDoc(*node, false);
    if (doc == nullptr) continue;
    for (const CATimerRec& timer : doc->Recs()) {
      if (timer.GetExtendRec().cyclic && timer.GetExtendRec().state == kTimerActived) WriteTimer(w, timer, span);
    }
  }
}

}  // namespace

std::string ICalendarUid(std::string_view pos) {
  std::string uid(pos);
  std::replace(uid.begin(), uid.end(), '\\', '/');
  return uid + "@zds";
}

std::string ExportScheduleEntry(const CScheduleRec& rec, const CICalendarSpan& span) {
  std::string out;
  Writer w(out);
  WriteEntry(w, rec, span);
  return out;
}

std::string ExportTimer(const CATimerRec& timer, const CICalendarSpan& span) {
  std::string out;
  Writer w(out);
  WriteTimer(w, timer, span);
  return out;
}

std::string ExportICalendar(CScheduleIndexDoc* schedule, CATimerIndexDoc* timers, const CICalendarSpan& span) {
  std::string out;
  Writer w(out);
  w.Line("BEGIN", "VCALENDAR");
  w.Line("VERSION", "2.0");
  w.Line("PRODID", "-//zds//zds//EN");
  w.Line("CALSCALE", "GREGORIAN");
  if (schedule != nullptr) WriteSchedule(w, *schedule, span);
  if (timers != nullptr) WriteTimers(w, *timers, span);
  w.Line("END", "VCALENDAR");
  return out;
}

}  // namespace zds

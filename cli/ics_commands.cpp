// zds export ics and zds import ics: the schedule and the active timers
// out as one VCALENDAR (the library's export), and the events of an .ics
// file in, read through libical where the build has it.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/ics_reading.h"
#include "zds/calendar/calendar_doc.h"
#include "zds/calendar/icalendar_export.h"
#include "zds/calendar/schedule_occurrences.h"
#include "zds/store/zds.h"

#ifdef ZDS_HAVE_LIBICAL
#include <libical/ical.h>
#endif

namespace zds::cli {
namespace {

// The span asked for: a year back to five years on when not given. A day
// alone as --to means the whole of that day.
std::optional<std::string> ReadSpan(Call& call, CTime& first, CTime& last) {
  std::tm today = CTime::GetCurrentTime().GetLocalTm();
  first = CTime::FromLocalFields(today.tm_year + 1900 - 1, today.tm_mon + 1, today.tm_mday, 0, 0, 0);
  last = CTime::FromLocalFields(today.tm_year + 1900 + 5, today.tm_mon + 1, today.tm_mday + 1, 0, 0, 0) - CTimeSpan(1);
  const std::optional<std::string> from = call.Value("--from"), to = call.Value("--to");
  if (from.has_value() != to.has_value()) return "--from and --to go together";
  if (!from) return std::nullopt;
  bool to_day = false;
  if (!ParseTime(*from, first) || !ParseTime(*to, last, &to_day)) {
    return "--from and --to take times (" + std::string(kTimeGrammar) + ")";
  }
  if (to_day) last = last + CTimeSpan(86400 - 1);
  if (last < first) return "--to is before --from";
  return std::nullopt;
}

CScheduleIndexDoc* ScheduleOf(CZDS& facade, bool create) {
  CCalendarDoc* calendar = facade.GetCalendarDoc();
  return calendar ? calendar->GetScheduleIndexDoc(create) : nullptr;
}

// Reads only: a store without a schedule yet exports its timers alone.
int Export(Call& call) {
  CICalendarSpan span;
  if (std::optional<std::string> problem = ReadSpan(call, span.first, span.last)) return call.Usage(*problem);
  std::unique_ptr<CZDS> facade = OpenReader(call);
  if (!facade) return 1;
  CScheduleIndexDoc* schedule = ScheduleOf(*facade, false);
  if (!facade->InitATimer()) {
    call.err() << DescribeStartupFailure(*facade) << '\n';
    return 1;
  }
  call.out() << ExportICalendar(schedule, facade->GetATimerIndexDoc(), span);
  return 0;
}

#ifdef ZDS_HAVE_LIBICAL

struct ImportCounts {
  int stored = 0, expanded = 0, entries = 0, refused = 0;
};

bool Empty(const short* by) { return by[0] == ICAL_RECURRENCE_ARRAY_MAX; }
bool Only(const short* by, int value) { return Empty(by) || (by[0] == value && by[1] == ICAL_RECURRENCE_ARRAY_MAX); }

// The stored weekly rule whose walk lands on the days at `offsets` (0 to 6,
// rising, 0 first) from the start: each day after an event day, the last
// event day after them all, never reached.
std::optional<std::string> WeekMask(const std::vector<int>& offsets, int start_weekday) {
  if (offsets.empty() || offsets[0] != 0) return std::nullopt;
  std::string mask(7, '0');
  for (size_t i = 1; i < offsets.size(); ++i) mask[static_cast<size_t>((start_weekday + offsets[i] - 1) % 7)] = '1';
  mask[static_cast<size_t>((start_weekday + 6) % 7)] = '1';
  return mask;
}

// The stored rule an RRULE may be, before it is checked; nothing for
// parts the stored rules have no counterpart of.
std::optional<CScheCycleRec> CandidateRule(const IcsSeries& s) {
  icalrecurrencetype r = icalrecurrencetype_from_string(s.rrule.c_str());
  if (r.freq == ICAL_NO_RECURRENCE || r.interval < 1) return std::nullopt;
  if (!Empty(r.by_second) || !Empty(r.by_minute) || !Empty(r.by_hour) || !Empty(r.by_year_day) ||
      !Empty(r.by_week_no) || !Empty(r.by_set_pos)) {
    return std::nullopt;
  }
  std::tm start = s.start.GetLocalTm();
  CScheCycleRec rec;
  rec.cycle_type.multiple = r.interval;
  rec.cycle_type.from = s.start;
  rec.cycle_event.from = s.start;
  rec.cycle_event.to = s.start + CTimeSpan(s.duration);
  rec.cycle_range.from = s.start;
  switch (r.freq) {
    case ICAL_DAILY_RECURRENCE:
      if (!Empty(r.by_day) || !Empty(r.by_month_day) || !Empty(r.by_month)) return std::nullopt;
      rec.cycle_type.type = kCycleDay;
      break;
    case ICAL_WEEKLY_RECURRENCE: {
      if (!Empty(r.by_month_day) || !Empty(r.by_month)) return std::nullopt;
      std::vector<int> offsets{0};
      for (int i = 0; i < ICAL_BY_DAY_SIZE && r.by_day[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i) {
        if (icalrecurrencetype_day_position(r.by_day[i]) != 0) return std::nullopt;
        int weekday = static_cast<int>(icalrecurrencetype_day_day_of_week(r.by_day[i])) - 1;  // 0 = Sunday
        offsets.push_back((weekday - s.start_weekday + 7) % 7);
      }
      std::sort(offsets.begin(), offsets.end());
      offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
      std::optional<std::string> mask = WeekMask(offsets, start.tm_wday);
      if (!mask) return std::nullopt;
      rec.cycle_type.type = kCycleWeek;
      rec.cycle_event.number = *mask;
      break;
    }
    case ICAL_MONTHLY_RECURRENCE:
    case ICAL_YEARLY_RECURRENCE:
      if (!Empty(r.by_day) || !Only(r.by_month_day, start.tm_mday)) return std::nullopt;
      if (!Only(r.by_month, start.tm_mon + 1)) return std::nullopt;
      rec.cycle_type.type = r.freq == ICAL_MONTHLY_RECURRENCE ? kCycleMonth : kCycleYear;
      rec.cycle_event.type = kEventAbsoluteDay;
      rec.cycle_event.day2 = start.tm_mon + 1;
      rec.cycle_event.day3 = start.tm_mday;
      break;
    default:
      return std::nullopt;
  }
  if (r.count > 0) {
    rec.cycle_range.type = kRangeNumLimited;
    rec.cycle_range.number = r.count;
  } else if (s.has_until) {
    // The schedule ends a series by an occurrence's end, RRULE by its start.
    rec.cycle_range.type = kRangeTimeLimited;
    rec.cycle_range.to = s.until + CTimeSpan(s.duration);
  }
  // The rule as it will read back: its times are stored to the minute.
  CScheCycleRec stored;
  for (const auto& [name, value] : ComposeCycleRuleParts(rec)) ReadCycleRulePart(CycleRulePartNamed(name), value, stored);
  return stored;
}

// Puts the series' removed and moved occurrences on the rule as maps;
// false when one of them is no occurrence of the rule.
bool AddMaps(const IcsSeries& s, CScheCycleRec& rec) {
  auto number_of = [&rec](CTime start) {
    int n = rec.GetMapNumByTime(start, false);
    CTime begin, end;
    return n >= 0 && rec.GetMapRange(n, begin, end, false) && begin == start ? n : -1;
  };
  for (CTime removed : s.exdates) {
    CCycleMap map;
    map.number = number_of(removed);
    if (map.number < 0) return false;
    map.status = kMapDelete;
    rec.GetMapRange(map.number, map.from, map.to, false);
    rec.maps.Add(map);
  }
  for (const IcsOccurrence& o : s.occurrences) {
    if (!o.moved) continue;
    CCycleMap map;
    map.number = number_of(o.recurrence_id);
    if (map.number < 0 || rec.maps.FindByNumber(map.number) != nullptr) return false;
    map.from = o.begin;
    map.to = o.end;
    rec.maps.Add(map);
  }
  return true;
}

// Whether the stored rule lists what libical lists over the span.
bool SameOccurrences(const CScheCycleRec& rec, const IcsSeries& s, CTime first, CTime last) {
  std::vector<CScheduleOccurrence> found;
  ExpandOccurrences(rec, first, last, found);
  std::vector<std::pair<CTime, CTime>> ours, theirs;
  for (const CScheduleOccurrence& o : found) ours.emplace_back(o.begin, o.end);
  for (const IcsOccurrence& o : s.occurrences) theirs.emplace_back(o.begin, o.end);
  std::sort(ours.begin(), ours.end());
  std::sort(theirs.begin(), theirs.end());
  return ours == theirs;
}

CScheduleRec EntryOf(const IcsSeries& s, CTime begin, CTime end) {
  CScheduleRec rec;
  CScheduleExtendRec& entry = rec.GetExtendRec();
  entry.subject = s.summary;
  entry.contact = s.contact;
  entry.all_day = s.all_day;
  entry.begin = begin;
  entry.end = end;
  entry.priority = s.priority == 0 || s.priority == 5 ? kSchedulePriorityNormal
                   : s.priority < 5                 ? kSchedulePriorityHigh
                                                    : kSchedulePriorityLow;
  entry.is_timer = s.has_alarm;
  entry.set_minutes = s.alarm_minutes_before;
  rec.SetAlias(s.summary);
  rec.SetAttribute(kAttrNormal);
  return rec;
}

bool File(CScheduleIndexDoc& index, CZDS& facade, const CScheduleRec& rec) {
  CScheduleDoc* doc = index.GetRightDoc(rec, facade.GetInfoWnd());
  return doc != nullptr && !doc->AddRec(doc->GetRoot()->GetPos(), rec, true).empty();
}

// One series into the schedule: as it stands, as a stored rule that lists
// the same occurrences, or one entry per occurrence in the span.
void ImportSeries(const IcsSeries& s, CScheduleIndexDoc& index, CZDS& facade, CTime first, CTime last,
                  ImportCounts& counts, std::ostream& err) {
  auto refuse = [&](std::string_view why) {
    ++counts.refused;
    err << "zds: import ics: refused '" << Field(s.summary) << "' (" << Field(s.uid) << "): " << why << '\n';
  };
  if (!s.problem.empty()) return refuse(s.problem);
  const bool single = !s.has_rrule && !s.has_rdate && s.exdates.empty() &&
                      std::none_of(s.occurrences.begin(), s.occurrences.end(), [](auto& o) { return o.moved; });
  if (single) {
    std::tm day = s.start.GetLocalTm();
    CTime end = s.all_day ? CTime::FromLocalFields(day.tm_year + 1900, day.tm_mon + 1,
                                                   day.tm_mday + s.duration / 86400, 0, 0, 0)
                          : s.start + CTimeSpan(s.duration);
    CScheduleRec rec = EntryOf(s, s.start, end);
    return File(index, facade, rec) ? void(++counts.stored) : refuse("the schedule cannot be written");
  }
  if (s.has_rrule && !s.has_rdate) {
    std::optional<CScheCycleRec> rule = CandidateRule(s);
    if (rule && AddMaps(s, *rule) && SameOccurrences(*rule, s, first, last)) {
      CScheduleRec rec = EntryOf(s, s.start, s.start + CTimeSpan(s.duration));
      rec.GetExtendRec().cycle = true;
      rec.GetExtendRec().cycle_rec = *rule;
      return File(index, facade, rec) ? void(++counts.stored) : refuse("the schedule cannot be written");
    }
  }
  if (s.occurrences.empty()) return refuse("no occurrence in the span");
  int filed = 0;
  for (const IcsOccurrence& o : s.occurrences) filed += File(index, facade, EntryOf(s, o.begin, o.end)) ? 1 : 0;
  if (filed == 0) return refuse("the schedule cannot be written");
  ++counts.expanded;
  counts.entries += filed;
}

int Import(Call& call) {
  CTime first, last;
  if (std::optional<std::string> problem = ReadSpan(call, first, last)) return call.Usage(*problem);
  const std::string& path = call.operand(0);
  std::ifstream file(path, std::ios::binary);
  if (!file) return call.Refuse("cannot read " + path);
  std::string text(std::istreambuf_iterator<char>(file), {});
  IcsReading reading = ReadIcs(text, first, last);
  if (!reading.parsed) return call.Refuse(path + " is not iCalendar");
  return RunEdit(call, [&](CZDS& facade) {
    CScheduleIndexDoc* index = ScheduleOf(facade, true);
    if (index == nullptr) return call.Refuse("cannot open the schedule (damaged or unwritable)");
    ImportCounts counts;
    for (const IcsSeries& s : reading.series) {
      if (!s.todo) ImportSeries(s, *index, facade, first, last, counts, call.err());
    }
    call.out() << counts.stored << " stored, " << counts.expanded << " expanded into " << counts.entries
               << " entries, " << counts.refused << " refused\n";
    return counts.stored == 0 && counts.expanded == 0 && counts.refused > 0 ? 1 : 0;
  });
}

#else

int Import(Call& call) { return call.Usage("import ics needs libical, which this build of zds does not have"); }

#endif

}  // namespace

void AddIcsCommands(CommandTable& table) {
  const std::vector<Option> span = {{"--from", "TIME", "the span's first day (default: a year ago)"},
                                    {"--to", "TIME", "its last day (default: five years on)"}};
  table.Add({.noun = "export", .verb = "ics",
             .summary = "the schedule and the active timers as one VCALENDAR on standard output",
             .options = span, .run = Export});
  table.Add({.noun = "import", .verb = "ics", .operands = "FILE", .min_operands = 1, .max_operands = 1,
             .summary = "file the events of an iCalendar FILE in the schedule",
             .options = span, .store = StoreUse::kEdits, .run = Import});
}

}  // namespace zds::cli

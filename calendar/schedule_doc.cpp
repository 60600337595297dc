#include "zds/calendar/schedule_doc.h"

#include "zds/calendar/schedule_occurrences.h"
#include "zds/framework/field_codec.h"
#include "zds/platform/ascii.h"
#include "zds/recurrence/cycle_format.h"

namespace zds {
namespace {

constexpr std::string_view kVariableTag = "variable";

// Anything but "low" and "high" (their case included) reads as normal; a
// priority outside the three is not written.
constexpr auto kPriorityWords = field::MakeWords(
    field::kWords.ReadingUnknownAs(kSchedulePriorityNormal), field::Word{kSchedulePriorityLow, "low"},
    field::Word{kSchedulePriorityNormal, "normal"}, field::Word{kSchedulePriorityHigh, "high"});

// In written order, around "begin" and "end" (whose form depends on the
// all-day flag) and the fields written only under a condition.
constexpr auto kSubjectField = field::List(field::Of("subject", &CScheduleExtendRec::subject));
constexpr auto kFlagFields = field::List(
    field::Of("contact", &CScheduleExtendRec::contact),
    field::Of("priority", &CScheduleExtendRec::priority, kPriorityWords),
    field::Of("Cycle", &CScheduleExtendRec::cycle, field::kFlagExact),
    field::Of("Map", &CScheduleExtendRec::map, field::kFlagExact));
constexpr auto kMapFields = field::List(field::Of("MapID", &CScheduleExtendRec::map_id),
                                        field::Of("MapType", &CScheduleExtendRec::map_type, field::kAtoi));
constexpr auto kTimerFlagField = field::List(field::Of("IsTimer", &CScheduleExtendRec::is_timer, field::kFlagExact));
constexpr auto kTimerIdField = field::List(field::Of("TimerID", &CScheduleExtendRec::timer_id));
constexpr auto kTimerFields = field::List(field::Of("SetMinutes", &CScheduleExtendRec::set_minutes, field::kAtoi),
                                          field::Of("TimerActID", &CScheduleExtendRec::timer_act_id));
constexpr auto kVariableFields =
    field::List(field::Of("name", &CScheduleVarRec::name), field::Of("value", &CScheduleVarRec::value));

enum class RuleVariable { kNone, kType, kEvent, kRange, kMap };

RuleVariable RuleVariableNamed(std::string_view name) {
  if (platform::SameIgnoringAsciiCase(name, "cycle_type")) return RuleVariable::kType;
  if (platform::SameIgnoringAsciiCase(name, "cycle_event")) return RuleVariable::kEvent;
  if (platform::SameIgnoringAsciiCase(name, "cycle_range")) return RuleVariable::kRange;
  if (platform::SameIgnoringAsciiCase(name, "cycle_map")) return RuleVariable::kMap;
  return RuleVariable::kNone;
}

// Takes a rule variable into the entry's rule; false for any other variable.
bool ReadRuleVariable(const CScheduleVarRec& variable, CScheCycleRec& rule) {
  switch (RuleVariableNamed(variable.name)) {
    case RuleVariable::kType: CCycleFormat::AnalyseCycleType(variable.value, rule.cycle_type); return true;
    case RuleVariable::kEvent: CCycleFormat::AnalyseCycleEvent(variable.value, rule.cycle_event); return true;
    case RuleVariable::kRange: CCycleFormat::AnalyseCycleRange(variable.value, rule.cycle_range); return true;
    case RuleVariable::kMap: {
      CCycleMap map;
      CCycleFormat::AnalyseCycleMap(variable.value, map);
      rule.maps.Add(map);
      return true;
    }
    case RuleVariable::kNone: return false;
  }
  return false;
}

void AppendVariable(std::string_view name, const std::string& value, std::string_view unknown,
                    std::vector<std::string>& lines) {
  CXMLLine line;
  line.SetLine(kVariableTag, true, CXMLLine::Type::kElement);
  line.AddAttribute("name", name);
  line.AddAttribute("value", value);
  line.AppendRawAttributes(unknown);
  lines.push_back(line.GetLine(true));
}

// The rule as its four kinds of variable, in the order type, event, range, maps.
void AppendRuleVariables(const CScheCycleRec& rule, std::vector<std::string>& lines) {
  std::string text;
  CCycleFormat::ComposeCycleType(rule.cycle_type, text);
  AppendVariable("cycle_type", text, {}, lines);
  CCycleFormat::ComposeCycleEvent(rule.cycle_event, text);
  AppendVariable("cycle_event", text, {}, lines);
  CCycleFormat::ComposeCycleRange(rule.cycle_range, text);
  AppendVariable("cycle_range", text, {}, lines);
  for (size_t i = 0; i < rule.maps.size(); ++i) {
    CCycleFormat::ComposeCycleMap(rule.maps[i], text);
    AppendVariable("cycle_map", text, {}, lines);
  }
}

// The local days from one moment's date to another's, bounded by the
// first moment of the first day and the first moment after the last.
class LocalDays {
 public:
  LocalDays(const CTime& first_day, const CTime& last_day)
      : first_(DayStart(first_day, 0)), after_(DayStart(last_day, 1)) {}
  // Whether the entry begins on or before the last day and ends on or after the first.
  bool Touch(const CScheduleExtendRec& entry) const { return entry.begin < after_ && entry.end >= first_; }

 private:
  static CTime DayStart(const CTime& time, int days_on) {
    std::tm fields = time.GetLocalTm();
    return CTime::FromLocalFields(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday + days_on, 0, 0, 0);
  }
  CTime first_, after_;
};

}  // namespace

std::string_view SchedulePriorityWord(int priority) { return kPriorityWords.WordOf(priority).value_or(""); }

// ---- reading and writing ----

// A "begin" without a blank is a date alone: the entry lasts whole days.
// Text that does not parse reads as the time 0; the entry is kept.
bool CScheduleDoc::InitExtendRecItem(CXMLElementReader& item, CScheduleExtendRec& entry) {
  kSubjectField.Read(item, entry);
  std::string begin = item.GetAttrValue("begin");
  entry.all_day = begin.find(' ') == std::string::npos;
  entry.begin = ParseDateTime(begin, item.GetTimeCache());
  entry.end = ParseDateTime(item.GetAttrValue("end"), item.GetTimeCache());
  kFlagFields.Read(item, entry);
  if (entry.map) kMapFields.Read(item, entry);
  kTimerFlagField.Read(item, entry);
  if (entry.is_timer) kTimerIdField.Read(item, entry);
  kTimerFields.Read(item, entry);
  for (CXMLElementReader& child : item.GetChildren()) {
    if (child.GetTag() != kVariableTag) continue;
    child.MarkRead();
    CScheduleVarRec variable;
    kVariableFields.Read(child, variable);
    if (entry.cycle && ReadRuleVariable(variable, entry.cycle_rec)) continue;
    child.AppendUnreadAttributes(variable.unknown_attributes);
    entry.variables.push_back(std::move(variable));
  }
  return true;
}

void CScheduleDoc::CreateExtendRecText(const CScheduleExtendRec& entry, CXMLLine& line,
                                       std::vector<std::string>& lines) const {
  const char* pattern = entry.all_day ? kTimeFormatDate : kTimeFormatMinutes;
  kSubjectField.Write(entry, line);
  line.AddAttribute("begin", entry.begin.Format(pattern));
  line.AddAttribute("end", entry.end.Format(pattern));
  kFlagFields.Write(entry, line);
  if (entry.map) kMapFields.Write(entry, line);
  kTimerFlagField.Write(entry, line);
  if (entry.is_timer) kTimerIdField.Write(entry, line);
  kTimerFields.Write(entry, line);
  for (const CScheduleVarRec& variable : entry.variables) {
    AppendVariable(variable.name, variable.value, variable.unknown_attributes, lines);
  }
  if (entry.cycle) AppendRuleVariables(entry.cycle_rec, lines);
}

// ---- queries ----

int CScheduleDoc::GetRecIDByDate(std::vector<std::string>& ids, int day_from, int day_to) const {
  if (day_to == 0) day_to = day_from;
  size_t before = ids.size();
  ForEachRec([&](const CScheduleRec& rec) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    if (entry.map) return;
    if (entry.begin.GetDay() <= day_to && entry.end.GetDay() >= day_from) ids.push_back(rec.GetPos());
  });
  return static_cast<int>(ids.size() - before);
}

int CScheduleDoc::GetCycleRecIDByDate(std::vector<std::string>& ids, const CTime& from, const CTime& to,
                                      bool flag) const {
  size_t before = ids.size();
  LocalDays days(from, to.GetTime() == 0 ? from : to);
  ForEachRec([&](const CScheduleRec& rec) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    bool found = entry.cycle ? OccursInSpan(entry.cycle_rec, from, to) : flag && !entry.map && days.Touch(entry);
    if (found) ids.push_back(rec.GetPos());
  });
  return static_cast<int>(ids.size() - before);
}

int CScheduleDoc::GetBigRecIDByDate(std::vector<std::string>& ids, const CTime& from, const CTime& to) const {
  size_t before = ids.size();
  LocalDays days(from, to);
  ForEachRec([&](const CScheduleRec& rec) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    if (!entry.map && days.Touch(entry)) ids.push_back(rec.GetPos());
  });
  return static_cast<int>(ids.size() - before);
}

}  // namespace zds

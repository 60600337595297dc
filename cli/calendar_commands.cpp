#include "cli/calendar_commands.h"

#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/store_commands.h"
#include "zds/calendar/calendar_doc.h"
#include "zds/framework/field_codec.h"
#include "zds/platform/ascii.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/store/zds.h"

namespace zds::cli {
namespace {

constexpr std::string_view kSchedulePath = "kov:\\Velmora\\Calendar\\Schedule";

std::string ShowTime(const CTime& time, bool all_day) {
  return time.Format(all_day ? kTimeFormatDate : kTimeFormatMinutes);
}

// "YYYY-MM-DD HH:MM", or "YYYY-MM-DD" for a whole day; a time the clock
// skips does not come back as written and is refused too.
bool ParseEntryTime(const std::string& text, CTime& time, bool& all_day) {
  all_day = text.size() == 10;
  if (!all_day && text.size() != 16) return false;
  time = ParseDateTime(text);
  return time.Format(all_day ? kTimeFormatDate : kTimeFormatMinutes) == text;
}

// The schedule index, reached as a host reaches it: start-up, the service
// index's calendar, its Schedule folder (created when missing). Null, with
// a line on `err`, when it cannot be opened.
CScheduleIndexDoc* OpenSchedule(CZDS& facade, const DataRootPtr& root, std::ostream& err) {
  facade.SetDataRoot(root);
  if (!facade.InitZDS()) {
    err << DescribeStartupFailure(facade) << '\n';
    return nullptr;
  }
  CCalendarDoc* calendar = facade.GetCalendarDoc();
  CScheduleIndexDoc* index = calendar ? calendar->GetScheduleIndexDoc() : nullptr;
  if (index == nullptr) err << "zds: cannot open " << kSchedulePath << " (damaged or unwritable)\n";
  return index;
}

// The values of `--cycle TYPE EVENT RANGE`, each of which must name its kind.
bool ReadRule(const std::vector<std::string>& values, CScheCycleRec& rule) {
  CCycleFormat::AnalyseCycleType(values[0], rule.cycle_type);
  CCycleFormat::AnalyseCycleEvent(values[1], rule.cycle_event);
  CCycleFormat::AnalyseCycleRange(values[2], rule.cycle_range);
  std::string composed[3];
  CCycleFormat::ComposeCycleType(rule.cycle_type, composed[0]);
  CCycleFormat::ComposeCycleEvent(rule.cycle_event, composed[1]);
  CCycleFormat::ComposeCycleRange(rule.cycle_range, composed[2]);
  for (int i = 0; i < 3; ++i) {
    std::string_view given = values[static_cast<size_t>(i)];
    std::string_view name = composed[i];
    const std::string_view given_name = given.substr(0, given.find(';'));
    if (!platform::SameIgnoringAsciiCase(given_name, name.substr(0, name.find(';')))) return false;
  }
  return true;
}

// The entry `schedule add` describes; a message when it describes none.
std::optional<std::string> ReadEntry(const std::vector<std::string>& args, CScheduleRec& rec) {
  CScheduleExtendRec& entry = rec.GetExtendRec();
  std::string begin, end;
  bool has_subject = false;
  std::vector<std::string> maps;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& option = args[i];
    const bool known = option == "--subject" || option == "--begin" || option == "--end" || option == "--contact" ||
                       option == "--priority" || option == "--cycle" || option == "--map";
    if (!known) return "unknown option '" + option + "'";
    size_t needed = option == "--cycle" ? 3 : 1;
    if (i + needed >= args.size()) return option + (needed == 3 ? " needs TYPE, EVENT and RANGE" : " needs a value");
    std::vector<std::string> values(args.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                                    args.begin() + static_cast<std::ptrdiff_t>(i + needed) + 1);
    i += needed;
    if (option == "--subject") {
      entry.subject = values[0];
      has_subject = true;
    } else if (option == "--begin") {
      begin = values[0];
    } else if (option == "--end") {
      end = values[0];
    } else if (option == "--contact") {
      entry.contact = values[0];
    } else if (option == "--priority") {
      entry.priority = values[0] == "low" ? 1 : values[0] == "normal" ? 2 : values[0] == "high" ? 3 : 0;
      if (entry.priority == 0) return "--priority takes low, normal or high";
    } else if (option == "--cycle") {
      entry.cycle = true;
      if (!ReadRule(values, entry.cycle_rec)) return "--cycle takes a TYPE, an EVENT and a RANGE as stored";
    } else {
      maps.push_back(values[0]);
    }
  }
  if (!has_subject || begin.empty() || end.empty()) return "schedule add needs --subject, --begin and --end";
  bool begin_all_day = false, end_all_day = false;
  if (!ParseEntryTime(begin, entry.begin, begin_all_day) || !ParseEntryTime(end, entry.end, end_all_day) ||
      begin_all_day != end_all_day) {
    return "--begin and --end take 'YYYY-MM-DD HH:MM' or, both, 'YYYY-MM-DD'";
  }
  if (entry.end < entry.begin) return "--end is before --begin";
  if (!maps.empty() && !entry.cycle) return "--map needs --cycle";
  for (const std::string& text : maps) {
    CCycleMap map;
    CCycleFormat::AnalyseCycleMap(text, map);
    entry.cycle_rec.maps.Add(map);
  }
  entry.all_day = begin_all_day;
  rec.SetAlias(entry.subject);
  rec.SetAttribute(kAttrNormal);
  return std::nullopt;
}

int Add(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  CScheduleRec rec;
  if (std::optional<std::string> problem = ReadEntry(args, rec)) return Usage(err, *problem);
  CZDS facade;
  CScheduleIndexDoc* index = OpenSchedule(facade, root, err);
  if (index == nullptr) return 1;
  CScheduleDoc* doc = index->GetRightDoc(rec, facade.GetInfoWnd());
  std::string pos = doc ? doc->AddRec(doc->GetRoot()->GetPos(), rec, true) : std::string();
  if (pos.empty()) {
    err << "zds: cannot file the entry in " << kSchedulePath << " (damaged or unwritable)\n";
    return 1;
  }
  out << pos << '\n';
  return 0;
}

void Show(const CScheduleRec& rec, std::ostream& out) {
  const CScheduleExtendRec& entry = rec.GetExtendRec();
  auto line = [&out](std::string_view name, std::string_view value) { out << name << ": " << value << '\n'; };
  line("position", rec.GetPos());
  line("subject", Field(entry.subject));
  line("begin", ShowTime(entry.begin, entry.all_day));
  line("end", ShowTime(entry.end, entry.all_day));
  line("contact", Field(entry.contact));
  line("priority", SchedulePriorityWord(entry.priority));
  if (entry.map) line("occurrence of", entry.map_id);
  if (entry.is_timer) line("timer", entry.timer_id);
  for (const CScheduleVarRec& variable : entry.variables) out << "variable: " << variable.name << " = " << variable.value << '\n';
  if (!entry.cycle) return;
  const CScheCycleRec& rule = entry.cycle_rec;
  std::string text;
  line("cycle", rule.Format());
  CCycleFormat::ComposeCycleType(rule.cycle_type, text);
  line("cycle_type", text);
  CCycleFormat::ComposeCycleEvent(rule.cycle_event, text);
  line("cycle_event", text);
  CCycleFormat::ComposeCycleRange(rule.cycle_range, text);
  line("cycle_range", text);
  for (size_t i = 0; i < rule.maps.size(); ++i) {
    CCycleFormat::ComposeCycleMap(rule.maps[i], text);
    line("cycle_map", text);
  }
}

int RemoveOrShow(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                 std::ostream& err) {
  if (args.size() != 2) return Usage(err, "schedule " + args[0] + " takes one POSITION");
  CZDS facade;
  CScheduleIndexDoc* index = OpenSchedule(facade, root, err);
  if (index == nullptr) return 1;
  CScheduleDoc* doc = nullptr;
  const CScheduleRec* rec = index->FindRec(args[1], &doc);
  if (rec == nullptr) {
    err << "zds: no schedule entry at " << args[1] << '\n';
    return 1;
  }
  if (args[0] == "show") {
    Show(*rec, out);
    return 0;
  }
  if (!doc->DelRec(args[1])) {
    err << "zds: cannot remove " << args[1] << " (its document cannot be written)\n";
    return 1;
  }
  return 0;
}

}  // namespace

int RunScheduleCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                       std::ostream& err) {
  if (args.empty()) return Usage(err, "schedule needs add, rm or show");
  if (args[0] == "add") return Add(root, args, out, err);
  if (args[0] == "rm" || args[0] == "show") return RemoveOrShow(root, args, out, err);
  return Usage(err, "unknown schedule command '" + args[0] + "'");
}

int RunAgendaCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                     std::ostream& err) {
  if (args.empty() || args.size() > 2) return Usage(err, "agenda takes FROM and an optional TO");
  CTime from, to;
  if (!ParseScheduleDay(args[0], from) || !ParseScheduleDay(args.back(), to)) {
    return Usage(err, "agenda takes days as YYYY-MM-DD");
  }
  if (to < from) return Usage(err, "agenda: TO is before FROM");
  CZDS facade;
  CScheduleIndexDoc* index = OpenSchedule(facade, root, err);
  if (index == nullptr) return 1;
  std::vector<CScheduleAgendaItem> items;
  index->GetAgenda(args[0], args.back(), items);
  for (const CScheduleAgendaItem& item : items) {
    out << ShowTime(item.begin, item.all_day) << '\t' << ShowTime(item.end, item.all_day) << '\t'
        << Field(item.subject) << '\t' << item.pos << '\n';
  }
  return 0;
}

}  // namespace zds::cli

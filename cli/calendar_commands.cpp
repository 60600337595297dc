// The schedule (`kov:\Velmora\Calendar\Schedule`) and its agenda, reached as
// a host reaches them: the service index's calendar, its Schedule folder.

#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/rule_words.h"
#include "zds/calendar/calendar_doc.h"
#include "zds/recurrence/cycle_format.h"

namespace zds::cli {
namespace {

constexpr std::string_view kSchedulePath = "kov:\\Velmora\\Calendar\\Schedule";

std::string ShowTime(const CTime& time, bool all_day) {
  return time.Format(all_day ? kTimeFormatDate : kTimeFormatMinutes);
}

CScheduleIndexDoc* ScheduleOf(CZDS& facade, bool create) {
  CCalendarDoc* calendar = facade.GetCalendarDoc();
  return calendar ? calendar->GetScheduleIndexDoc(create) : nullptr;
}

// The entry `schedule add` describes; the exit status when it describes none.
std::optional<int> ReadEntry(Call& call, CScheduleRec& rec) {
  CScheduleExtendRec& entry = rec.GetExtendRec();
  entry.subject = *call.Value("--subject");
  entry.contact = call.Value("--contact").value_or("");
  if (std::optional<std::string> priority = call.Value("--priority")) {
    entry.priority = *priority == "low" ? 1 : *priority == "normal" ? 2 : *priority == "high" ? 3 : 0;
    if (entry.priority == 0) return call.Usage("--priority takes low, normal or high");
  }
  bool begin_day = false, end_day = false;
  const std::string begin = *call.Value("--begin"), end = *call.Value("--end");
  for (const auto& [text, time, day] : {std::tuple{&begin, &entry.begin, &begin_day}, {&end, &entry.end, &end_day}}) {
    if (!ParseTime(*text, *time, day)) {
      return call.Usage("malformed time '" + *text + "' (" + std::string(kTimeGrammar) + ")");
    }
  }
  if (begin_day != end_day) return call.Usage("--begin and --end are both days (an all-day entry) or both times");
  if (entry.end < entry.begin) return call.Usage("--end is before --begin");
  const std::vector<std::string> maps = call.Values("--map");
  if (!maps.empty() && !call.Has("--cycle")) return call.Usage("--map needs --cycle");
  if (call.Has("--cycle")) {
    std::string problem;
    if (!ReadRuleWords(call.Values("--cycle"), maps, entry.cycle_rec, problem)) return call.Usage(problem);
    entry.cycle = true;
  }
  entry.all_day = begin_day;
  rec.SetAlias(entry.subject);
  rec.SetAttribute(kAttrNormal);
  return std::nullopt;
}

int Add(Call& call) {
  CScheduleRec rec;
  if (std::optional<int> refused = ReadEntry(call, rec)) return *refused;
  return RunEdit(call, [&](CZDS& facade) {
    CScheduleIndexDoc* index = ScheduleOf(facade, true);
    CScheduleDoc* doc = index ? index->GetRightDoc(rec, facade.GetInfoWnd()) : nullptr;
    std::string pos = doc ? doc->AddRec(doc->GetRoot()->GetPos(), rec, true) : std::string();
    if (pos.empty()) return call.Refuse("cannot file the entry in " + std::string(kSchedulePath) + " (damaged or unwritable)");
    call.out() << ShownPos(pos) << '\n';
    return 0;
  });
}

int Remove(Call& call) {
  const std::string pos = StoredPos(call.operand(0));
  auto find = [&](CZDS& facade, bool create, CScheduleDoc*& doc) {
    CScheduleIndexDoc* index = ScheduleOf(facade, create);
    if (index != nullptr && index->FindRec(pos, &doc) != nullptr) return true;
    call.Refuse("no schedule entry at " + call.operand(0));
    return false;
  };
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CScheduleDoc* doc = nullptr;
        if (!find(facade, true, doc)) return 1;
        if (!doc->DelRec(pos)) return call.Refuse("cannot remove " + call.operand(0) + " (its document cannot be written)");
        return 0;
      },
      [&](CZDS& reader) {
        CScheduleDoc* doc = nullptr;
        return find(reader, false, doc) ? 0 : 1;
      });
}

int Show(Call& call) {
  std::unique_ptr<CZDS> facade = OpenReader(call);
  if (!facade) return 1;
  CScheduleIndexDoc* index = ScheduleOf(*facade, false);
  const CScheduleRec* rec = index ? index->FindRec(StoredPos(call.operand(0))) : nullptr;
  if (rec == nullptr) return call.Refuse("no schedule entry at " + call.operand(0));
  const CScheduleExtendRec& entry = rec->GetExtendRec();
  ShownItem item(call);
  item.Add("position", ShownPos(rec->GetPos()));
  item.Add("subject", entry.subject);
  item.Add("begin", ShowTime(entry.begin, entry.all_day));
  item.Add("end", ShowTime(entry.end, entry.all_day));
  item.Add("contact", entry.contact);
  item.Add("priority", std::string(SchedulePriorityWord(entry.priority)));
  item.Add("occurrence of", entry.map ? ShownPos(entry.map_id) : "", false);
  item.Add("timer", entry.is_timer ? ShownPos(entry.timer_id) : "", false);
  for (const CScheduleVarRec& variable : entry.variables) item.Add("variable", variable.name + " = " + variable.value, false, true);
  if (entry.cycle) {
    const CScheCycleRec& rule = entry.cycle_rec;
    std::string text;
    item.Add("cycle", rule.Format());
    CCycleFormat::ComposeCycleType(rule.cycle_type, text);
    item.Add("cycle_type", text, false);
    CCycleFormat::ComposeCycleEvent(rule.cycle_event, text);
    item.Add("cycle_event", text, false);
    CCycleFormat::ComposeCycleRange(rule.cycle_range, text);
    item.Add("cycle_range", text, false);
    for (size_t i = 0; i < rule.maps.size(); ++i) {
      CCycleFormat::ComposeCycleMap(rule.maps[i], text);
      item.Add("cycle_map", text, false, true);
    }
  }
  return item.Finish();
}

int Agenda(Call& call) {
  CTime from, to;
  if (!ParseTime(call.operand(0), from) || !ParseTime(call.operands().back(), to)) {
    return call.Usage("agenda takes days (" + std::string(kTimeGrammar) + ")");
  }
  const std::string first = from.Format(kTimeFormatDate), last = to.Format(kTimeFormatDate);
  if (last < first) return call.Usage("TO is before FROM");
  std::unique_ptr<CZDS> facade = OpenReader(call);
  if (!facade) return 1;
  CScheduleIndexDoc* index = ScheduleOf(*facade, false);
  Listing listing(call, {"position", "begin", "end", "subject"});
  std::vector<CScheduleAgendaItem> items;
  if (index != nullptr) index->GetAgenda(first, last, items);
  for (const CScheduleAgendaItem& item : items) {
    listing.Row({ShownPos(item.pos), ShowTime(item.begin, item.all_day), ShowTime(item.end, item.all_day), item.subject});
  }
  return listing.Finish();
}

}  // namespace

void AddCalendarCommands(CommandTable& table) {
  table.Add({.noun = "schedule",
             .verb = "add",
             .summary = "file an entry where the schedule index says and print its position",
             .options = {{"--subject", "TEXT", "what the entry is", true},
                         {"--begin", "TIME", "its begin; a day alone for an all-day entry", true},
                         {"--end", "TIME", "its end; a day when --begin is one", true},
                         {"--priority", "PRIORITY", "low, normal or high"},
                         {"--contact", "TEXT", "whom it concerns"},
                         {"--cycle", "TYPE EVENT RANGE", "repeat by this rule (as stored)"},
                         {"--map", "MAP", "an occurrence moved or deleted (with --cycle)", false, true}},
             .store = StoreUse::kEdits,
             .run = Add});
  table.Add({.noun = "schedule", .verb = "rm", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "remove an entry", .store = StoreUse::kEdits, .run = Remove});
  table.Add({.noun = "schedule", .verb = "show", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "print an entry's fields", .output = Output::kShow, .run = Show});
  table.Add({.noun = "agenda", .operands = "FROM [TO]", .min_operands = 1, .max_operands = 2,
             .summary = "the occurrences that touch the days FROM to TO (default: FROM)", .output = Output::kList,
             .run = Agenda});
}

}  // namespace zds::cli

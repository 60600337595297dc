// Timers: filing, listing and deleting them, and asking what is due, on
// the timer index in "\timer" under the data root.

#include <optional>
#include <string_view>
#include <utility>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/rule_words.h"
#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/timers/timer_index_doc.h"

namespace zds::cli {
namespace {

// The timer index of the store, opened read-only alone; null with a line
// on the error stream.
CATimerIndexDoc* OpenIndex(Call& call, CZDS& facade) {
  DataRootPtr root = call.OpenStore();
  if (!root) return nullptr;
  facade.SetDataRoot(root);
  if (facade.InitATimer()) return facade.GetATimerIndexDoc();
  call.err() << DescribeStartupFailure(facade) << '\n';
  return nullptr;
}

void ReportUnusable(Call& call, const CZDS& facade, std::string_view stored) {
  call.err() << "zds: " << NativeName(*facade.GetDataRoot(), stored) << ": it cannot be used (left untouched)\n";
}

// The timer `timer add` describes; the exit status when it describes none.
std::optional<int> ReadTimer(Call& call, CATimerRec& timer) {
  CATimerExtendRec& fields = timer.GetExtendRec();
  fields.subject = *call.Value("--subject");
  const std::string at = *call.Value("--at");
  if (!ParseTime(at, fields.info_time)) {
    return call.Usage("malformed time '" + at + "' (" + std::string(kTimeGrammar) + ")");
  }
  if (std::optional<std::string> state = call.Value("--state")) {
    fields.state = TimerStateOfWord(*state);
    if (fields.state < 0) return call.Usage("unknown state '" + *state + "' (actived, suspension, unactived)");
  }
  fields.action_id = call.Value("--action").value_or("");
  const std::vector<std::string> maps = call.Values("--map");
  if (!maps.empty() && !call.Has("--cycle")) return call.Usage("--map needs --cycle");
  if (call.Has("--cycle")) {
    CScheCycleRec rule;
    std::string problem;
    if (!ReadRuleWords(call.Values("--cycle"), maps, rule, problem)) return call.Usage(problem);
    if (rule.cycle_type.type == kCycleWeek && !cycle::HasSelectedWeekday(rule.cycle_event)) {
      return call.Refuse("the weekly rule selects no day of the week");
    }
    fields.cyclic = true;
    fields.cycle_rec.emplace(rule);
  }
  timer.SetAlias(fields.subject);
  timer.SetAttribute(kAttrNormal);
  return std::nullopt;
}

int Add(Call& call) {
  CATimerRec timer;
  timer.GetExtendRec().state = kTimerActived;
  if (std::optional<int> refused = ReadTimer(call, timer)) return *refused;
  return RunEdit(call, [&](CZDS& facade) {
    CATimerIndexDoc* index = facade.GetATimerIndexDoc();
    CATimerDoc* doc = index ? index->GetRightDoc(timer, facade.GetInfoWnd()) : nullptr;
    if (doc == nullptr) return call.Refuse("the document for this timer cannot be opened or made");
    std::string pos = doc->AddTimer(timer, true);
    if (pos.empty()) return call.Refuse("cannot write " + NativeName(*facade.GetDataRoot(), doc->GetFilePath()));
    call.out() << ShownPos(pos) << "\n";
    return 0;
  });
}

int List(Call& call) {
  CZDS facade;
  CATimerIndexDoc* index = OpenIndex(call, facade);
  if (index == nullptr) return 1;
  int status = 0;
  Listing listing(call, {"position", "state", "due", "subject"});
  for (const CVFDLNode* node : index->GetTimerDocNodes()) {
    CATimerDoc* doc = index->OpenTimerDoc(*node);
    if (doc == nullptr) {
      // A missing file has no timers yet ("Cycle" before its first); one
      // that cannot be used is reported, and the others still listed.
      if (index->GetLastLoadStatus() == LoadStatus::kUnusable) {
        call.err() << "zds: " << DescribeProblem(*facade.GetDataRoot(), index->GetLastLoadProblem())
                   << " (left untouched)\n";
        status = 1;
      }
      continue;
    }
    for (const CATimerRec& timer : std::as_const(*doc).Recs()) {
      const CATimerExtendRec& fields = timer.GetExtendRec();
      std::string_view state = TimerStateWord(fields.state);
      listing.Row({ShownPos(timer.GetPos()), std::string(state.empty() ? "-" : state),
                   fields.info_time.Format(kTimeFormatSeconds), fields.subject});
    }
  }
  listing.Finish();
  return status;
}

int Remove(Call& call) {
  const std::string pos = StoredPos(call.operand(0));
  auto find = [&](CZDS& facade, bool opened) -> CATimerDoc* {
    if (!opened && !facade.InitATimer()) return nullptr;
    CATimerIndexDoc* index = facade.GetATimerIndexDoc();
    CATimerDoc* doc = index ? index->GetTimerDoc(pos) : nullptr;
    if (doc == nullptr) call.Refuse("no timer at " + call.operand(0));
    return doc;
  };
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CATimerDoc* doc = find(facade, true);
        if (doc == nullptr) return 1;
        if (!doc->DelRec(pos)) return call.Refuse("cannot write " + NativeName(*facade.GetDataRoot(), doc->GetFilePath()));
        return 0;
      },
      [&](CZDS& reader) {
        if (find(reader, false) != nullptr) return 0;
        if (reader.GetATimerIndexDoc() == nullptr) call.err() << DescribeStartupFailure(reader) << '\n';
        return 1;
      });
}

int Due(Call& call) {
  CTime from, to;
  for (const auto& [text, time] : {std::pair{&call.operand(0), &from}, std::pair{&call.operand(1), &to}}) {
    if (!ParseTime(*text, *time)) return call.Usage("malformed time '" + *text + "' (" + std::string(kTimeGrammar) + ")");
  }
  if (to < from) return call.Usage("TO lies before FROM");
  CZDS facade;
  CATimerIndexDoc* index = OpenIndex(call, facade);
  if (index == nullptr) return 1;
  std::vector<std::string> unusable;
  Listing listing(call, {"position", "time", "subject"});
  for (const CATimerDue& due : index->GetDueTimers(from, to, &unusable)) {
    listing.Row({ShownPos(due.pos), due.time.Format(kTimeFormatSeconds), due.subject});
  }
  listing.Finish();
  for (const std::string& file : unusable) ReportUnusable(call, facade, file);
  return unusable.empty() ? 0 : 1;
}

}  // namespace

void AddTimerCommands(CommandTable& table) {
  table.Add({.noun = "timer",
             .verb = "add",
             .summary = "file a timer where the index says and print its position",
             .options = {{"--subject", "TEXT", "what the timer is for", true},
                         {"--at", "TIME", "when it is due", true},
                         {"--state", "STATE", "actived (the default), suspension or unactived"},
                         {"--action", "TEXT", "the action's id"},
                         {"--cycle", "TYPE EVENT RANGE", "repeat by this rule (as stored)"},
                         {"--map", "MAP", "an occurrence moved or deleted (with --cycle)", false, true}},
             .store = StoreUse::kEdits,
             .run = Add});
  table.Add({.noun = "timer", .verb = "ls", .summary = "list every timer", .output = Output::kList, .run = List});
  table.Add({.noun = "timer",
             .verb = "rm",
             .operands = "POSITION",
             .min_operands = 1,
             .max_operands = 1,
             .summary = "delete a timer",
             .store = StoreUse::kEdits,
             .run = Remove});
  table.Add({.noun = "timers",
             .verb = "due",
             .operands = "FROM TO",
             .min_operands = 2,
             .max_operands = 2,
             .summary = "the timers due from FROM up to (not including) TO",
             .output = Output::kList,
             .run = Due});
}

}  // namespace zds::cli

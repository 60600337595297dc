#include "cli/timer_commands.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "cli/command_text.h"
#include "zds/framework/rtti.h"
#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/store/classes.h"
#include "zds/timers/timer_index_doc.h"

namespace zds::cli {
namespace {

constexpr int kRefused = 1;
constexpr int kMalformed = 2;

// The zds host's timer directory and the index in it.
constexpr std::string_view kTimerDir = "\\timer";
constexpr std::string_view kIndexFile = "\\timer\\index.xml";


// The timer index of a store that `zds init` made, opened without creating
// anything; the documents behind it are opened through the store's classes.
class TimerStore {
 public:
  explicit TimerStore(const DataRootPtr& root) : root_(root) {
    RegisterAllClasses(registry_);
    index_.SetDataRoot(root);
    index_.SetAutoSaveFlag(true);
    index_.SetClassRegistry(&registry_);
  }

  bool Open(std::ostream& err) {
    OpenResult opened = OpenVFDLDoc(index_, kIndexFile, kTimerDir, false);
    if (IsOpen(opened)) return true;
    if (opened == OpenResult::kMissing) {
      err << "zds: no timer index at " << NativeName(*root_, kIndexFile) << " (run 'zds init' first)\n";
    } else {
      ReportUnusable(kIndexFile, err);
    }
    return false;
  }
  void ReportUnusable(std::string_view stored, std::ostream& err) const {
    err << "zds: cannot use " << NativeName(*root_, stored) << ": it is damaged or unreadable (left untouched)\n";
  }
  void ReportUnwritable(const CVFDLDoc& doc, std::ostream& err) const {
    err << "zds: cannot write " << NativeName(*root_, doc.GetFilePath()) << "\n";
  }
  CATimerIndexDoc& index() { return index_; }

 private:
  DataRootPtr root_;
  CRTTIRegistry registry_;
  CATimerIndexDoc index_;
};

// ---- timer add ----

struct AddCall {
  std::string subject;
  std::optional<CTime> at;
  int state = kTimerActived;
  std::string action;
  std::optional<std::array<std::string, 3>> cycle;
  std::vector<std::string> maps;
};

// How many values each option takes.
int ValueCount(std::string_view option) {
  if (option == "--cycle") return 3;
  if (option == "--subject" || option == "--at" || option == "--state" || option == "--action" || option == "--map") {
    return 1;
  }
  return -1;
}

bool ParseAdd(const std::vector<std::string>& args, AddCall& call, std::string& problem) {
  auto fail = [&problem](std::string text) {
    problem = std::move(text);
    return false;
  };
  bool has_subject = false;
  for (size_t i = 1; i < args.size();) {
    const std::string& option = args[i];
    int count = ValueCount(option);
    if (count < 0) return fail("unknown argument '" + option + "' for timer add");
    if (i + static_cast<size_t>(count) >= args.size()) return fail(option + " needs a value");
    const std::string& value = args[i + 1];
    if (option == "--subject") {
      call.subject = value;
      has_subject = true;
    } else if (option == "--at") {
      CTime at;
      if (!ParseMoment(value, false, at)) return fail("malformed time '" + value + "' (YYYY-MM-DD HH:MM:SS)");
      call.at = at;
    } else if (option == "--state") {
      call.state = TimerStateOfWord(value);
      if (call.state < 0) return fail("unknown state '" + value + "' (actived, suspension, unactived)");
    } else if (option == "--action") {
      call.action = value;
    } else if (option == "--cycle") {
      call.cycle = {args[i + 1], args[i + 2], args[i + 3]};
    } else {
      call.maps.push_back(value);
    }
    i += 1 + static_cast<size_t>(count);
  }
  if (!has_subject || !call.at) return fail("timer add needs --subject and --at");
  if (!call.maps.empty() && !call.cycle) return fail("--map needs --cycle");
  return true;
}

CATimerRec MakeTimer(const AddCall& call) {
  CATimerRec timer;
  timer.SetAlias(call.subject);
  timer.SetAttribute(kAttrNormal);
  CATimerExtendRec& fields = timer.GetExtendRec();
  fields.subject = call.subject;
  fields.info_time = *call.at;
  fields.state = call.state;
  fields.action_id = call.action;
  if (call.cycle) {
    fields.cyclic = true;
    CATimerCycleRec& rule = fields.cycle_rec.emplace();
    CCycleFormat::AnalyseCycleType((*call.cycle)[0], rule.cycle_type);
    CCycleFormat::AnalyseCycleEvent((*call.cycle)[1], rule.cycle_event);
    CCycleFormat::AnalyseCycleRange((*call.cycle)[2], rule.cycle_range);
    for (const std::string& text : call.maps) {
      CCycleMap map;
      CCycleFormat::AnalyseCycleMap(text, map);
      rule.maps.Add(map);
    }
  }
  return timer;
}

int RunAdd(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  AddCall call;
  std::string problem;
  if (!ParseAdd(args, call, problem)) {
    err << "zds timer: " << problem << "\n";
    return kMalformed;
  }
  CATimerRec timer = MakeTimer(call);
  const std::optional<CATimerCycleRec>& rule = timer.GetExtendRec().cycle_rec;
  if (rule && rule->cycle_type.type == kCycleWeek && !cycle::HasSelectedWeekday(rule->cycle_event)) {
    err << "zds timer: the weekly rule selects no day of the week\n";
    return kRefused;
  }
  TimerStore store(root);
  if (!store.Open(err)) return kRefused;
  CATimerDoc* doc = store.index().GetRightDoc(timer);
  if (doc == nullptr) {
    err << "zds timer: the document for this timer cannot be opened or made under "
        << NativeName(*root, kTimerDir) << "\n";
    return kRefused;
  }
  std::string pos = doc->AddTimer(timer, true);
  if (pos.empty()) {
    store.ReportUnwritable(*doc, err);
    return kRefused;
  }
  out << pos << "\n";
  return 0;
}

// ---- timer ls, timer rm ----

int RunList(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  TimerStore store(root);
  if (!store.Open(err)) return kRefused;
  int status = 0;
  for (const CVFDLNode* node : store.index().GetTimerDocNodes()) {
    CATimerDoc* doc = store.index().OpenTimerDoc(*node);
    if (doc == nullptr) {
      // A missing file has no timers yet ("Cycle" before its first); one
      // that cannot be used is reported, and the others still listed.
      std::string file = platform::JoinStoredPath(kTimerDir, node->GetSrc());
      if (platform::IsSafeStoredPath(node->GetSrc()) && root->FileExists(file)) {
        store.ReportUnusable(file, err);
        status = kRefused;
      }
      continue;
    }
    for (const CATimerRec& timer : std::as_const(*doc).Recs()) {
      const CATimerExtendRec& fields = timer.GetExtendRec();
      std::string_view state = TimerStateWord(fields.state);
      out << timer.GetPos() << '\t' << (state.empty() ? "-" : state) << '\t'
          << fields.info_time.Format(kTimeFormatSeconds) << '\t' << Field(fields.subject) << '\n';
    }
  }
  return status;
}

int RunRemove(const DataRootPtr& root, const std::string& pos, std::ostream& err) {
  TimerStore store(root);
  if (!store.Open(err)) return kRefused;
  CATimerDoc* doc = store.index().GetTimerDoc(pos);
  if (doc == nullptr) {
    err << "zds timer: no such timer: " << pos << "\n";
    return kRefused;
  }
  if (!doc->DelRec(pos)) {
    store.ReportUnwritable(*doc, err);
    return kRefused;
  }
  return 0;
}

}  // namespace

int RunTimerCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                    std::ostream& err) {
  std::string_view verb = args.empty() ? std::string_view() : std::string_view(args[0]);
  if (verb == "add") return RunAdd(root, args, out, err);
  if (verb == "ls" && args.size() == 1) return RunList(root, out, err);
  if (verb == "rm" && args.size() == 2) return RunRemove(root, args[1], err);
  err << "zds timer: usage: zds timer add --subject TEXT --at TIME [options] | ls | rm POSITION\n";
  return kMalformed;
}

int RunTimersCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                     std::ostream& err) {
  if (args.size() != 3 || args[0] != "due") {
    err << "zds timers: usage: zds timers due FROM TO\n";
    return kMalformed;
  }
  CTime from, to;
  for (const auto& [text, time] : {std::pair{&args[1], &from}, std::pair{&args[2], &to}}) {
    if (!ParseMoment(*text, false, *time)) {
      err << "zds timers: malformed time '" << *text << "' (YYYY-MM-DD HH:MM:SS)\n";
      return kMalformed;
    }
  }
  if (to < from) {
    err << "zds timers: TO lies before FROM\n";
    return kMalformed;
  }
  TimerStore store(root);
  if (!store.Open(err)) return kRefused;
  std::vector<std::string> unusable;
  for (const CATimerDue& due : store.index().GetDueTimers(from, to, &unusable)) {
    out << due.time.Format(kTimeFormatSeconds) << '\t' << due.pos << '\t' << Field(due.subject) << '\n';
  }
  for (const std::string& file : unusable) store.ReportUnusable(file, err);
  return unusable.empty() ? 0 : kRefused;
}

}  // namespace zds::cli

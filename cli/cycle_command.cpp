#include "cli/cycle_command.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <optional>

#include "cli/command_text.h"
#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/timers/timer_cycle_rec.h"

namespace zds::cli {

namespace {

constexpr int kMalformed = 2;
constexpr int kRefused = 1;

struct Call {
  std::string verb;
  bool timer = false;
  bool no_maps = false;
  std::optional<std::string> to;
  std::vector<std::string> words;  // the positional arguments
};

bool ParseCall(const std::vector<std::string>& args, Call& call, std::string& problem) {
  if (args.empty()) {
    problem = "missing subcommand (describe, range, find, before, on)";
    return false;
  }
  call.verb = args[0];
  size_t i = 1;
  for (; i < args.size() && args[i].rfind("--", 0) == 0; ++i) {
    bool timer_verb = call.verb == "range" || call.verb == "find";
    if (args[i] == "--timer" && timer_verb) {
      call.timer = true;
    } else if (args[i] == "--no-maps" && timer_verb) {
      call.no_maps = true;
    } else if (args[i] == "--to" && call.verb == "on" && i + 1 < args.size()) {
      call.to = args[++i];
    } else {
      problem = "unknown option " + args[i] + " for " + call.verb;
      return false;
    }
  }
  call.words.assign(args.begin() + static_cast<std::ptrdiff_t>(i), args.end());
  return true;
}

bool ParseNumber(const std::string& text, int& number) {
  size_t digits = text.size() > 0 && text[0] == '-' ? 1 : 0;
  if (text.size() == digits || text.size() > digits + 10) return false;
  for (size_t i = digits; i < text.size(); ++i) {
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  long long value = std::atoll(text.c_str());
  if (value < INT_MIN || value > INT_MAX) return false;
  number = static_cast<int>(value);
  return true;
}

CScheCycleRec ReadRule(const std::vector<std::string>& words, size_t first) {
  CScheCycleRec rec;
  CCycleFormat::AnalyseCycleType(words[first], rec.cycle_type);
  CCycleFormat::AnalyseCycleEvent(words[first + 1], rec.cycle_event);
  CCycleFormat::AnalyseCycleRange(words[first + 2], rec.cycle_range);
  for (size_t i = first + 3; i < words.size(); ++i) {
    CCycleMap map;
    CCycleFormat::AnalyseCycleMap(words[i], map);
    rec.maps.Add(map);
  }
  return rec;
}

template <typename Rec>
void PrintRange(const Rec& rec, int number, bool use_maps, std::ostream& out) {
  CTime begin, end;
  bool found = rec.GetMapRange(number, begin, end, use_maps);
  // A kind the rule does not expand has no occurrence of its own to show.
  bool computed = cycle::IsExpandedKind(rec.cycle_type.type) || (use_maps && rec.GetMapInfoByNumber(number));
  if (found && computed) {
    out << begin.Format(kTimeFormatSeconds) << " " << end.Format(kTimeFormatSeconds) << "\n";
  } else {
    out << "none\n";
  }
}

// Runs a parsed call whose words hold a lead argument and a rule.
int Answer(const Call& call, CScheCycleRec& rec, std::ostream& out, std::ostream& err) {
  const std::string& lead = call.words[0];
  int number = 0;
  CTime moment, to;
  if (call.verb == "range" ? !ParseNumber(lead, number) : !ParseMoment(lead, true, moment)) {
    err << "zds cycle: malformed " << (call.verb == "range" ? "occurrence number" : "time") << " '" << lead << "'\n";
    return kMalformed;
  }
  if (call.to && !ParseMoment(*call.to, true, to)) {
    err << "zds cycle: malformed time '" << *call.to << "'\n";
    return kMalformed;
  }
  CATimerCycleRec timer(rec);
  if (call.verb == "range") {
    call.timer ? PrintRange(timer, number, !call.no_maps, out) : PrintRange(rec, number, !call.no_maps, out);
  } else if (call.verb == "find") {
    out << (call.timer ? timer.GetMapNumByTime(moment, !call.no_maps) : rec.GetMapNumByTime(moment, !call.no_maps))
        << "\n";
  } else if (call.verb == "before") {
    std::string name;
    int last = timer.GetBeforeNumber(moment, name);
    out << last << "\n" << name << "\n";
  } else {
    out << (rec.IsMapExisted(moment, to) ? "yes" : "no") << "\n";
  }
  return 0;
}

}  // namespace

int RunCycleCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  Call call;
  std::string problem;
  if (!ParseCall(args, call, problem)) {
    err << "zds cycle: " << problem << "\n";
    return kMalformed;
  }
  bool describe = call.verb == "describe";
  bool known = describe || call.verb == "range" || call.verb == "find" || call.verb == "before" || call.verb == "on";
  size_t rule_at = describe ? 0 : 1;
  if (!known || call.words.size() < rule_at + 3 || (describe && call.words.size() != 3)) {
    err << "zds cycle: usage: zds cycle describe|range|find|before|on [options] [N|TIME] TYPE EVENT RANGE [MAP...]\n";
    return kMalformed;
  }
  CScheCycleRec rec = ReadRule(call.words, rule_at);
  if (rec.cycle_type.type == kCycleWeek && !cycle::HasSelectedWeekday(rec.cycle_event)) {
    err << "zds cycle: the weekly rule selects no day of the week\n";
    return kRefused;
  }
  if (describe) {
    out << rec.Format() << "\n";
    return 0;
  }
  return Answer(call, rec, out, err);
}

}  // namespace zds::cli

// `zds cycle`: what a stored recurrence rule means, without a store.

#include <cctype>
#include <climits>
#include <cstdlib>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "cli/rule_words.h"
#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/timers/timer_cycle_rec.h"

namespace zds::cli {
namespace {

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

// The rule in the operands from `first` on; the exit status when it is refused.
std::optional<int> ReadRule(Call& call, size_t first, CScheCycleRec& rule) {
  const std::vector<std::string>& words = call.operands();
  std::string problem;
  const auto at = words.begin() + static_cast<std::ptrdiff_t>(first);
  if (!ReadRuleWords({at, at + 3}, {at + 3, words.end()}, rule, problem)) return call.Usage(problem);
  if (rule.cycle_type.type == kCycleWeek && !cycle::HasSelectedWeekday(rule.cycle_event)) {
    return call.Refuse("the weekly rule selects no day of the week");
  }
  return std::nullopt;
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

int Describe(Call& call) {
  CScheCycleRec rule;
  if (std::optional<int> refused = ReadRule(call, 0, rule)) return *refused;
  call.out() << rule.Format() << "\n";
  return 0;
}

// range, find, before and on: a lead operand, then the rule.
int Answer(Call& call) {
  const std::string_view verb = call.command().verb;
  const std::string& lead = call.operand(0);
  int number = 0;
  CTime moment, to;
  if (verb == "range" ? !ParseNumber(lead, number) : !ParseTime(lead, moment)) {
    return call.Usage(verb == "range" ? "malformed occurrence number '" + lead + "'"
                                      : "malformed time '" + lead + "' (" + std::string(kTimeGrammar) + ")");
  }
  std::optional<std::string> to_text = call.Value("--to");
  if (to_text && !ParseTime(*to_text, to)) {
    return call.Usage("malformed time '" + *to_text + "' (" + std::string(kTimeGrammar) + ")");
  }
  CScheCycleRec rule;
  if (std::optional<int> refused = ReadRule(call, 1, rule)) return *refused;
  const bool use_maps = !call.Has("--no-maps");
  CATimerCycleRec timer(rule);
  std::ostream& out = call.out();
  if (verb == "range") {
    call.Has("--timer") ? PrintRange(timer, number, use_maps, out) : PrintRange(rule, number, use_maps, out);
  } else if (verb == "find") {
    out << (call.Has("--timer") ? timer.GetMapNumByTime(moment, use_maps) : rule.GetMapNumByTime(moment, use_maps))
        << "\n";
  } else if (verb == "before") {
    std::string name;
    int last = timer.GetBeforeNumber(moment, name);
    out << last << "\n" << name << "\n";
  } else {
    out << (rule.IsMapExisted(moment, to_text ? to : CTime()) ? "yes" : "no") << "\n";
  }
  return 0;
}

const Option kTimerOption{"--timer", "", "expand the rule as a timer's, not a schedule entry's"};
const Option kNoMapsOption{"--no-maps", "", "ignore the maps"};

}  // namespace

void AddCycleCommands(CommandTable& table) {
  constexpr std::string_view kRule = "TYPE EVENT RANGE [MAP...]";
  auto add = [&table](std::string_view verb, std::string_view operands, size_t min, std::string_view summary,
                      std::vector<Option> options, int (*run)(Call&)) {
    table.Add({.noun = "cycle",
               .verb = verb,
               .operands = operands,
               .min_operands = min,
               .max_operands = verb == "describe" ? 3 : kAnyNumber,
               .summary = summary,
               .options = std::move(options),
               .store = StoreUse::kNone,
               .run = run});
  };
  add("describe", "TYPE EVENT RANGE", 3, "the sentence that describes a rule", {}, Describe);
  static const std::string range = "N " + std::string(kRule), timed = "TIME " + std::string(kRule);
  add("range", range, 4, "occurrence N as 'begin end', or none", {kTimerOption, kNoMapsOption}, Answer);
  add("find", timed, 4, "the number of the occurrence that holds TIME, or -1", {kTimerOption, kNoMapsOption},
      Answer);
  add("before", timed, 4, "(timer rule) the last occurrence begun by TIME, then its map's text", {}, Answer);
  add("on", timed, 4, "(schedule rule) yes or no: an occurrence on TIME's day, or from TIME to --to",
      {{"--to", "TIME", "the end of the span"}}, Answer);
}

}  // namespace zds::cli

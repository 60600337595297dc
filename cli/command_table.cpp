#include "cli/command_table.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "cli/command_text.h"
#include "zds/framework/messages.h"
#include "zds/platform/console.h"
#include "zds/platform/window.h"

namespace zds::cli {
namespace {

constexpr std::string_view kVersion = "zds 0.1.0";
constexpr std::string_view kDefaultRoot = "zds-data";

// The output options the host adds to a command that lists or shows.
const Option kJsonOption{"--json", "", "print one JSON document instead of lines"};
const Option kAllOption{"--all", "", "print every field, the empty and internal ones too"};

// The options a command's call may hold: its own and those the host adds.
std::vector<Option> OptionsOf(const Command& command) {
  std::vector<Option> options = command.options;
  if (command.output != Output::kPlain) options.push_back(kJsonOption);
  if (command.output == Output::kShow) options.push_back(kAllOption);
  return options;
}

bool IsHelp(std::string_view word) { return word == "--help" || word == "-h"; }

// The words of a call once --root, --notices, --help and --version are taken out.
struct Line {
  std::vector<std::string> words;
  std::optional<std::string> root;
  bool help = false;
  bool version = false;
  bool notices = false;
  std::string problem;
};

Line ReadGlobalOptions(const std::vector<std::string>& args) {
  Line line;
  bool options_end = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& word = args[i];
    if (options_end) {
      line.words.push_back(word);
    } else if (word == "--") {
      options_end = true;
      line.words.push_back(word);  // the command's operands still need to know
    } else if (word == "--root") {
      if (i + 1 == args.size()) {
        line.problem = "--root needs a value";
        return line;
      }
      line.root = args[++i];
    } else if (word.starts_with("--root=")) {
      line.root = word.substr(7);
    } else if (IsHelp(word)) {
      line.help = true;
    } else if (word == "--version") {
      line.version = true;
    } else if (word == "--notices") {
      line.notices = true;
    } else {
      line.words.push_back(word);
    }
  }
  return line;
}

std::string RootDir(const Line& line) {
  if (line.root) return *line.root;
  const char* env = std::getenv("ZDS_ROOT");
  return env != nullptr && *env != '\0' ? std::string(env) : std::string(kDefaultRoot);
}

// Reads the command's own options and operands into `call`.
bool ReadCommandWords(const std::vector<std::string>& words, Call& call, std::string& problem) {
  const std::vector<Option> options = OptionsOf(call.command());
  bool options_end = false;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (options_end || !word.starts_with("--") || word.size() == 2) {
      if (!options_end && word == "--") {
        options_end = true;
        continue;
      }
      call.operands().push_back(word);
      continue;
    }
    const std::string name = word.substr(0, word.find('='));
    auto command = std::find_if(options.begin(), options.end(), [&](const Option& o) { return o.name == name; });
    if (command == options.end()) {
      problem = "unknown option " + name + " for " + call.command().Name();
      return false;
    }
    std::vector<std::string> values;
    const size_t count = command->ValueCount();
    if (name.size() < word.size()) {  // --name=value
      if (count != 1) {
        problem = name + " takes " + (count == 0 ? "no value" : std::string(command->values));
        return false;
      }
      values.push_back(word.substr(name.size() + 1));
    } else {
      if (words.size() - i - 1 < count) {
        problem = name + " needs " + std::string(command->values);
        return false;
      }
      values.assign(words.begin() + static_cast<std::ptrdiff_t>(i + 1),
                    words.begin() + static_cast<std::ptrdiff_t>(i + 1 + count));
      i += count;
    }
    if (!command->repeats && call.Has(name)) {
      problem = name + " is given twice";
      return false;
    }
    call.AddOption(name, std::move(values));
  }
  for (const Option& option : options) {
    if (option.required && !call.Has(option.name)) {
      problem = call.command().Name() + " needs " + std::string(option.name) + " " + std::string(option.values);
      return false;
    }
  }
  const size_t n = call.operand_count();
  if (n < call.command().min_operands || n > call.command().max_operands) {
    const std::string_view operands = call.command().operands;
    problem = call.command().Name() + (operands.empty() ? " takes no argument" : " takes " + std::string(operands));
    if (n > call.command().max_operands && n > 0) problem += ", not '" + call.operands().back() + "'";
    return false;
  }
  return true;
}

int RunHelp(const CommandTable& table, const std::vector<std::string>& topic, std::ostream& out, std::ostream& err) {
  if (topic.empty()) {
    PrintOverview(table, out);
    return 0;
  }
  bool any = false;
  for (const Command& command : table.Commands()) {
    if (command.noun != topic[0] || (topic.size() > 1 && command.verb != topic[1])) continue;
    PrintUsage(command, out);
    any = true;
  }
  if (any) return 0;
  err << "zds: no command '";
  for (size_t i = 0; i < topic.size(); ++i) err << (i ? " " : "") << topic[i];
  err << "' (zds help lists them)\n";
  return 2;
}

// The window --notices registers with the facade: a line for each message
// relayed to it, "NUMBER<TAB>added|updated|deleted<TAB>POSITION". The
// position is the one the facade noted when it posted, since the node in
// wParam may be gone by the time the message arrives.
class NoticeWindow {
 public:
  NoticeWindow(platform::MessageQueue& queue, CZDS& facade) : queue_(queue), facade_(facade) {
    window_ = queue_.NewWindow([this](const platform::WindowMessage& message) { Note(message); });
    facade_.SetMessageQueue(&queue_);
    facade_.RegisterWnd(window_);
  }
  // Delivers what was posted so far; the lines it made.
  std::string Drain() {
    queue_.Pump();
    return std::move(lines_);
  }

 private:
  void Note(const platform::WindowMessage& message) {
    const std::string change = message.lparam == kChangeAdded     ? "added"
                               : message.lparam == kChangeUpdated ? "updated"
                               : message.lparam == kChangeDeleted ? "deleted"
                                                                  : std::to_string(message.lparam);
    lines_ += std::to_string(message.message) + '\t' + change + '\t' +
              ShownPos(facade_.TakeNoticePos(message.message, message.wparam, message.lparam)) + '\n';
  }

  platform::MessageQueue& queue_;
  CZDS& facade_;
  platform::WindowHandle window_ = nullptr;
  std::string lines_;
};

}  // namespace

size_t Option::ValueCount() const {
  if (values.empty()) return 0;
  return static_cast<size_t>(std::count(values.begin(), values.end(), ' ')) + 1;
}

std::string Command::Name() const {
  return verb.empty() ? std::string(noun) : std::string(noun) + " " + std::string(verb);
}

void CommandTable::Add(Command command) { commands_.push_back(std::move(command)); }

const Command* CommandTable::Find(std::string_view noun, std::string_view verb) const {
  for (const Command& command : commands_) {
    if (command.noun == noun && command.verb == verb) return &command;
  }
  return nullptr;
}

bool CommandTable::HasNoun(std::string_view noun) const {
  return std::any_of(commands_.begin(), commands_.end(), [&](const Command& s) { return s.noun == noun; });
}

bool Call::Has(std::string_view option) const {
  return std::any_of(options_.begin(), options_.end(), [&](const auto& o) { return o.first == option; });
}

std::optional<std::string> Call::Value(std::string_view option) const {
  std::vector<std::string> values = Values(option);
  if (values.empty()) return std::nullopt;
  return values.back();
}

std::vector<std::string> Call::Values(std::string_view option) const {
  std::vector<std::string> values;
  for (const auto& [name, given] : options_) {
    if (name == option) values.insert(values.end(), given.begin(), given.end());
  }
  return values;
}

std::vector<std::vector<std::string>> Call::Occurrences(std::string_view option) const {
  std::vector<std::vector<std::string>> all;
  for (const auto& [name, given] : options_) {
    if (name == option) all.push_back(given);
  }
  return all;
}

void Call::AddOption(std::string_view name, std::vector<std::string> values) {
  options_.emplace_back(std::string(name), std::move(values));
}

int Call::Usage(std::string_view problem) {
  *err_ << "zds: " << problem << " (zds help " << command_.Name() << ")\n";
  return 2;
}

int Call::Refuse(std::string_view problem) { return cli::Refuse(*err_, problem); }

DataRootPtr Call::Root(platform::RootAccess access) const {
  return std::make_shared<const platform::DataRoot>(root_dir_, access);
}

DataRootPtr Call::OpenStore() {
  DataRootPtr root = Root(command_.store == StoreUse::kReads ? platform::RootAccess::kReadOnly
                                                          : platform::RootAccess::kReadWrite);
  CZDS probe;
  probe.SetDataRoot(root);
  if (probe.HasStore()) return root;
  if (root->FileExists("")) {
    Refuse(root_dir_ + " is a file, not a store's directory");
  } else {
    Refuse("no store at " + root_dir_ + " (run 'zds init')");
  }
  return nullptr;
}

// An edit met by another writer's save starts again from the files as
// they are now. The attempts are many because each lost race means the
// other side won one; the pause grows so that a crowd of writers spreads
// out instead of colliding in step.
constexpr int kEditAttempts = 64;

int RunEdit(Call& call, const StoreWork& edit, const StoreWork& check) {
  if (check) {
    std::unique_ptr<CZDS> reader = OpenReader(call);
    if (!reader) return 1;
    if (int refused = check(*reader)) return refused;
  }
  DataRootPtr root = call.command().store == StoreUse::kCreates ? call.Root(platform::RootAccess::kReadWrite)
                                                              : call.OpenStore();
  if (!root) return 1;
  if (root->FileExists("")) return call.Refuse(call.root_dir() + " is a file, not a store's directory");
  std::ostream& out = call.out();
  std::ostream& err = call.err();
  for (int attempt = 1;; ++attempt) {
    const uint64_t conflicts = root->GetConflictCount();
    std::ostringstream attempt_out, attempt_err;
    call.SetStreams(attempt_out, attempt_err);
    int status;
    {
      // The queue outlives the facade, which takes its window down at the end.
      std::unique_ptr<platform::MessageQueue> queue;
      if (call.notices()) queue = std::make_unique<platform::MessageQueue>();
      CZDS facade;
      facade.SetDataRoot(root);
      std::optional<NoticeWindow> notices;
      if (queue) notices.emplace(*queue, facade);
      if (facade.InitZDS()) {
        status = edit(facade);
      } else {
        attempt_err << DescribeStartupFailure(facade) << '\n';
        status = 1;
      }
      if (notices) attempt_out << notices->Drain();
    }  // the facade's documents are closed (and checkpointed) before the outcome is told
    call.SetStreams(out, err);
    if (status == 0 || root->GetConflictCount() == conflicts || attempt == kEditAttempts) {
      out << attempt_out.str();
      err << attempt_err.str();
      return status;
    }
    static std::minstd_rand pause(std::random_device{}());
    std::this_thread::sleep_for(std::chrono::milliseconds(pause() % static_cast<unsigned>(attempt + 1)));
  }
}

std::unique_ptr<CZDS> OpenReader(Call& call) {
  if (!call.OpenStore()) return nullptr;
  DataRootPtr root = call.Root(platform::RootAccess::kReadOnly);
  auto facade = std::make_unique<CZDS>();
  facade->SetDataRoot(root);
  if (facade->InitAIDL()) return facade;
  call.err() << DescribeStartupFailure(*facade) << '\n';
  return nullptr;
}

std::string DescribeProblem(const platform::DataRoot& root, const FileProblem& problem) {
  std::string line = NativeName(root, problem.path);
  if (problem.line > 0) line += ":" + std::to_string(problem.line);
  return line + ": " + (problem.what.empty() ? std::string("it cannot be used") : problem.what);
}

std::string DescribeStartupFailure(const CZDS& facade) {
  const CZDS::StartupFailure& failure = facade.GetStartupFailure();
  const platform::DataRoot& root = *facade.GetDataRoot();
  std::string name = NativeName(root, failure.path);
  switch (failure.result) {
    case OpenResult::kUnusable: {
      FileProblem problem = failure.problem;
      if (problem.path.empty()) problem.path = failure.path;
      return "zds: " + DescribeProblem(root, problem) + " (left untouched)";
    }
    case OpenResult::kMissing:
      return "zds: " + std::string(failure.step) + " needs " + name + ", which is missing";
    default:
      if (failure.path.empty()) return "zds: cannot create the data root " + name;
      return "zds: cannot write " + name;
  }
}

int RunZds(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  const CommandTable& table = Commands();
  Line line = ReadGlobalOptions(args);
  if (!line.problem.empty()) return Usage(err, line.problem);
  if (line.version) {
    out << kVersion << '\n';
    return 0;
  }
  std::vector<std::string>& words = line.words;
  if (!words.empty() && words[0] == "help") return RunHelp(table, {words.begin() + 1, words.end()}, out, err);
  if (words.empty() || words[0] == "--") {
    if (line.help) return RunHelp(table, {}, out, err);
    return Usage(err, "no command given");
  }
  if (words[0].starts_with("-")) return Usage(err, "unknown option " + words[0].substr(0, words[0].find('=')));
  const std::string noun = words[0];
  if (!table.HasNoun(noun)) return Usage(err, "unknown command '" + noun + "'");
  const Command* command = table.Find(noun, "");
  size_t taken = 1;
  if (command == nullptr) {
    const bool has_verb = words.size() > 1 && !words[1].starts_with("-");
    command = has_verb ? table.Find(noun, words[1]) : nullptr;
    if (command == nullptr && line.help) return RunHelp(table, {noun}, out, err);
    if (command == nullptr) {
      return has_verb ? Usage(err, "unknown command '" + noun + " " + words[1] + "'")
                      : Usage(err, noun + " needs a sub-command (zds help " + noun + ")");
    }
    taken = 2;
  }
  if (line.help) {
    PrintUsage(*command, out);
    return 0;
  }
  Call call(*command, RootDir(line), out, err);
  call.set_terminal(&out == &std::cout && platform::StandardOutputIsTerminal());
  call.set_notices(line.notices);
  std::string problem;
  if (!ReadCommandWords({words.begin() + static_cast<std::ptrdiff_t>(taken), words.end()}, call, problem)) {
    return call.Usage(problem);
  }
  return command->run(call);
}

void PrintUsage(const Command& command, std::ostream& out) {
  out << "usage: zds " << command.Name();
  const std::vector<Option> options = OptionsOf(command);
  for (const Option& option : options) {
    std::string shown(option.name);
    if (!option.values.empty()) shown += " " + std::string(option.values);
    if (!option.required) shown = "[" + shown + "]";
    out << ' ' << shown << (option.repeats ? "..." : "");
  }
  if (!command.operands.empty()) out << ' ' << command.operands;
  out << "\n  " << command.summary << '\n';
  for (const Option& option : options) {
    std::string shown = "  " + std::string(option.name);
    if (!option.values.empty()) shown += " " + std::string(option.values);
    shown.resize(std::max<size_t>(shown.size() + 2, 28), ' ');
    out << shown << option.help << '\n';
  }
  out << (command.store == StoreUse::kReads  ? "  Only reads: changes no file.\n"
          : command.store == StoreUse::kNone ? "  Needs no store.\n"
                                          : "  Changes the store.\n");
}

void PrintOverview(const CommandTable& table, std::ostream& out) {
  out << "usage: zds [--root DIR] [--notices] COMMAND [ARGS] [--help]\n"
         "       zds help [COMMAND], zds --version\n\ncommands:\n";
  for (const Command& command : table.Commands()) {
    std::string name = "  " + command.Name();
    name.resize(std::max<size_t>(name.size() + 2, 22), ' ');
    out << name << command.summary << '\n';
  }
  out << "\nDIR defaults to $ZDS_ROOT, else ./zds-data. A PATH or POSITION takes '/' for '\\'.\n"
         "Lists are tab-separated lines when piped, aligned with a header on a terminal;\n"
         "--json prints one JSON document. Exit status: 0 done, 1 not found or refused, 2 bad usage.\n"
         "--notices prints, after a change's output, the change notices relayed to a window:\n"
         "NUMBER, added, updated or deleted, and the position of the node, one per line.\n";
}

// Completes the command word, then the sub-command, then the options of
// the command those two name; --root completes directories.
void PrintBashCompletion(const CommandTable& table, std::ostream& out) {
  std::vector<std::string> nouns;
  for (const Command& command : table.Commands()) {
    if (std::find(nouns.begin(), nouns.end(), command.noun) == nouns.end()) nouns.emplace_back(command.noun);
  }
  out << "# zds completion for bash; load with: source <(zds completion bash)\n"
         "_zds() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  if [[ $prev == --root ]]; then COMPREPLY=($(compgen -d -- \"$cur\")); return; fi\n"
         "  local words=() i\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    case ${COMP_WORDS[i]} in\n"
         "      --root) ((i++)) ;;\n"
         "      -*) ;;\n"
         "      *) words+=(\"${COMP_WORDS[i]}\") ;;\n"
         "    esac\n"
         "  done\n"
         "  local options='--root --notices --help'\n"
         "  if ((${#words[@]} == 0)); then\n"
         "    COMPREPLY=($(compgen -W \"";
  for (size_t i = 0; i < nouns.size(); ++i) out << (i ? " " : "") << nouns[i];
  out << " help --version $options\" -- \"$cur\")); return\n"
         "  fi\n"
         "  case ${words[0]} in\n";
  for (const std::string& noun : nouns) {
    std::string verbs;
    for (const Command& command : table.Commands()) {
      if (command.noun == noun && !command.verb.empty()) verbs += (verbs.empty() ? "" : " ") + std::string(command.verb);
    }
    if (verbs.empty()) continue;
    out << "    " << noun << ") if ((${#words[@]} == 1)); then COMPREPLY=($(compgen -W \"" << verbs
        << "\" -- \"$cur\")); return; fi ;;\n";
  }
  out << "  esac\n  case \"${words[0]} ${words[1]}\" in\n";
  for (const Command& command : table.Commands()) {
    out << "    \"" << command.noun << ' ' << (command.verb.empty() ? "\"*" : std::string(command.verb) + "\"") << ") options+='";
    for (const Option& option : OptionsOf(command)) out << ' ' << option.name;
    out << "' ;;\n";
  }
  out << "  esac\n"
         "  COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
         "}\n"
         "complete -o default -F _zds zds\n";
}

}  // namespace zds::cli

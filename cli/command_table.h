// The zds host's one command table. Every command says here, once, what it
// is called, what it takes and whether it only reads; from that the host
// reads its arguments (options before or after the command), prints its
// usage, refuses a malformed call before anything is opened, opens the
// store the right way and writes the completion script. A family adds its
// commands with one Add* function listed in command_list.cpp.

#ifndef ZDS_CLI_COMMAND_TABLE_H_
#define ZDS_CLI_COMMAND_TABLE_H_

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zds/platform/files.h"
#include "zds/store/zds.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

struct Option {
  std::string_view name{};    // "--subject"
  std::string_view values{};  // its value words for the usage ("TEXT", "TYPE EVENT RANGE"); empty for a flag
  std::string_view help{};
  bool required = false;
  bool repeats = false;  // may be given more than once
  size_t ValueCount() const;
};

// What a command does with the store: nothing (it needs none), only
// reads it (opened read-only: no file is created, changed or removed), or
// changes it (the facade's whole start-up first), or makes it (init).
enum class StoreUse { kNone, kReads, kEdits, kCreates };
// What a command prints, for the output options the host adds: a list or
// one item's fields take --json, and a shown item --all.
enum class Output { kPlain, kList, kShow };

class Call;

struct Command {
  std::string_view noun{};      // "timer"
  std::string_view verb{};      // "add"; empty for a command of one word
  std::string_view operands{};  // for the usage: "POSITION", "FROM [TO]"
  size_t min_operands = 0;
  size_t max_operands = 0;
  std::string_view summary{};  // one line
  std::vector<Option> options{};
  StoreUse store = StoreUse::kReads;
  Output output = Output::kPlain;
  std::function<int(Call&)> run{};

  std::string Name() const;  // "timer add"
};

inline constexpr size_t kAnyNumber = std::numeric_limits<size_t>::max();

class CommandTable {
 public:
  void Add(Command command);
  const Command* Find(std::string_view noun, std::string_view verb) const;
  bool HasNoun(std::string_view noun) const;
  const std::vector<Command>& Commands() const { return commands_; }

 private:
  std::vector<Command> commands_;
};

// One parsed call of a command, handed to its `run`.
class Call {
 public:
  Call(const Command& command, std::string root_dir, std::ostream& out, std::ostream& err)
      : command_(command), root_dir_(std::move(root_dir)), out_(&out), err_(&err) {}

  const Command& command() const { return command_; }
  std::ostream& out() { return *out_; }
  std::ostream& err() { return *err_; }
  // Where the command writes from now on (RunEdit holds an attempt's
  // output back until it knows the attempt stands).
  void SetStreams(std::ostream& out, std::ostream& err) {
    out_ = &out;
    err_ = &err;
  }
  const std::string& root_dir() const { return root_dir_; }

  std::vector<std::string>& operands() { return operands_; }
  const std::string& operand(size_t i) const { return operands_[i]; }
  size_t operand_count() const { return operands_.size(); }
  bool Has(std::string_view option) const;
  // The last value of a one-value option; every value, in order.
  std::optional<std::string> Value(std::string_view option) const;
  std::vector<std::string> Values(std::string_view option) const;
  // Each occurrence of an option's value words, as given.
  std::vector<std::vector<std::string>> Occurrences(std::string_view option) const;
  void AddOption(std::string_view name, std::vector<std::string> values);

  bool json() const { return Has("--json"); }
  // Whether standard output is a terminal a person reads.
  bool terminal() const { return terminal_; }
  void set_terminal(bool terminal) { terminal_ = terminal; }
  bool all() const { return Has("--all"); }
  // Whether the change notices the facade relays are printed after the
  // command's output (--notices).
  bool notices() const { return notices_; }
  void set_notices(bool notices) { notices_ = notices; }

  // "zds: PROBLEM" on the error stream and exit status 2 (a call not
  // understood) or 1 (understood but refused, not found, cannot be done).
  int Usage(std::string_view problem);
  int Refuse(std::string_view problem);

  // The data root, opened read-only when the command only reads; null,
  // with the line "no store at DIR (run 'zds init')", when it holds none.
  DataRootPtr OpenStore();
  // A data root without asking for a store (for init).
  DataRootPtr Root(platform::RootAccess access) const;

 private:
  const Command& command_;
  std::string root_dir_;
  std::ostream* out_;
  std::ostream* err_;
  bool terminal_ = false;
  bool notices_ = false;
  std::vector<std::string> operands_;
  std::vector<std::pair<std::string, std::vector<std::string>>> options_;
};

// The one way every command that changes the store does so. `check`,
// when given, first looks on a read-only facade (the service index open)
// whether the change can be made at all (the position names something,
// the name is free), so that a refused call changes no file; it returns 0
// to go on, else the exit status, its line written. Then the facade on a
// writable root runs its whole start-up and `edit` makes the change. A
// change that must see what another process did comes through here, so
// it is retried in this one place: when a save was refused because another
// program changed the file after this one read it, the attempt's output is
// dropped and the edit runs again on a fresh start-up that reads what is
// on disk now. So `edit` must be whole in itself: it looks up everything it
// needs by position or path on the facade it is given. `edit` returns the
// exit status.
using StoreWork = std::function<int(CZDS& facade)>;
int RunEdit(Call& call, const StoreWork& edit, const StoreWork& check = {});

// The facade on a read-only root with the service index open, for a
// command that reads through it; null with a line on the error stream.
std::unique_ptr<CZDS> OpenReader(Call& call);

// The one line that says why start-up (or one of its steps) failed:
// "zds: FILE:LINE: what is wrong (left untouched)" for a damaged file.
std::string DescribeStartupFailure(const CZDS& facade);
// "FILE:LINE: what is wrong" for an unusable document.
std::string DescribeProblem(const platform::DataRoot& root, const FileProblem& problem);

// The table of every command the host has (command_list.cpp).
const CommandTable& Commands();

// Runs `zds ARGS...`: the whole host, for main and for tests.
int RunZds(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The usage of one command, or of them all (`zds help`).
void PrintUsage(const Command& command, std::ostream& out);
void PrintOverview(const CommandTable& table, std::ostream& out);
// A bash completion script for the table's commands and options.
void PrintBashCompletion(const CommandTable& table, std::ostream& out);

}  // namespace zds::cli

#endif  // ZDS_CLI_COMMAND_TABLE_H_

// `zds cycle`: shows what a stored recurrence rule means, for users and
// support. The rule is given as its stored one-line values.

#ifndef ZDS_CLI_CYCLE_COMMAND_H_
#define ZDS_CLI_CYCLE_COMMAND_H_

#include <ostream>
#include <string>
#include <vector>

namespace zds::cli {

// `args` are the words after "cycle":
//   describe TYPE EVENT RANGE
//   range [--timer] [--no-maps] N TYPE EVENT RANGE [MAP...]
//   find [--timer] [--no-maps] TIME TYPE EVENT RANGE [MAP...]
//   before TIME TYPE EVENT RANGE [MAP...]
//   on [--to TIME] TIME TYPE EVENT RANGE [MAP...]
// TIME is "YYYY-MM-DD HH:MM[:SS]" in local time. Prints one answer and
// returns 0; a malformed call (2) or a weekly rule without a selected day
// (1) gets a one-line message on `err` instead.
int RunCycleCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_CYCLE_COMMAND_H_

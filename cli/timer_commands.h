// The zds host's timer commands: filing, listing and deleting timers, and
// asking what is due, on the timer index in "\timer" under the data root.
// They work on a store that `zds init` made; only `timer add` and
// `timer rm` write.

#ifndef ZDS_CLI_TIMER_COMMANDS_H_
#define ZDS_CLI_TIMER_COMMANDS_H_

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "zds/platform/files.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

// `args` are the words after "timer":
//   add --subject TEXT --at TIME [--state actived|suspension|unactived]
//       [--action TEXT] [--cycle TYPE EVENT RANGE [--map MAP]...]
//   ls
//   rm POSITION
// TIME is "YYYY-MM-DD HH:MM:SS" in local time. 0 done; 1 not found,
// refused or a document that cannot be used; 2 a malformed call.
int RunTimerCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                    std::ostream& err);
// `args` are the words after "timers": due FROM TO.
int RunTimersCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                     std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_TIMER_COMMANDS_H_

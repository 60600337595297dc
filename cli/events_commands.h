// The zds host's commands that list the event queue, the monitor and the
// auto-run list. They only read: start-up (`zds init`) is what creates them.

#ifndef ZDS_CLI_EVENTS_COMMANDS_H_
#define ZDS_CLI_EVENTS_COMMANDS_H_

#include <memory>
#include <ostream>

#include "zds/platform/files.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

// `zds events`, `zds monitor`, `zds autorun`: list the documents without
// changing them. 0 on success, 1 when the file is unusable.
int RunEventsCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);
int RunMonitorCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);
int RunAutoRunCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_EVENTS_COMMANDS_H_

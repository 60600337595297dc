// The zds host's commands for the event queue, the monitor and the auto-run
// list, and the part of `zds init` that opens them as start-up does.

#ifndef ZDS_CLI_EVENTS_COMMANDS_H_
#define ZDS_CLI_EVENTS_COMMANDS_H_

#include <memory>
#include <ostream>

#include "events/monitor_doc.h"
#include "platform/files.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

// The first step of start-up: writes "\Monitor.xml" afresh and logs
// "Monitor Init OK". Every later entry reaches the disk at once. Null (and
// a line on `err`) when the monitor cannot be written.
std::unique_ptr<CMonitorDoc> StartMonitor(const DataRootPtr& root, std::ostream& err);

// Opens the event queue and the auto-run list, writing out any that was
// missing. False (and a line on `err`) when one exists but is unusable;
// that file is left as it was.
bool OpenEventDocuments(const DataRootPtr& root, std::ostream& err);

// `zds events`, `zds monitor`, `zds autorun`: list the documents without
// changing them. 0 on success, 1 when the file is unusable.
int RunEventsCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);
int RunMonitorCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);
int RunAutoRunCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_EVENTS_COMMANDS_H_

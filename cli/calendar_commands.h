// The zds host's calendar commands: filing, removing and showing schedule
// entries (`zds schedule`), and the agenda of a span of days (`zds agenda`).
// They reach the schedule through the facade, as a desktop host does:
// start-up, then the service index's calendar, then its schedule index.

#ifndef ZDS_CLI_CALENDAR_COMMANDS_H_
#define ZDS_CLI_CALENDAR_COMMANDS_H_

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "zds/platform/files.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

// `args` are the words after "schedule":
//   add --subject TEXT --begin TIME --end TIME [--priority low|normal|high]
//       [--contact TEXT] [--cycle TYPE EVENT RANGE [--map MAP]...]
//   rm POSITION
//   show POSITION
// TIME is "YYYY-MM-DD HH:MM", or "YYYY-MM-DD" for an all-day entry. `add`
// prints the new entry's position. 0 done, 1 not found or refused, 2 bad usage.
int RunScheduleCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                       std::ostream& err);

// `args` are the words after "agenda": FROM [TO], days "YYYY-MM-DD". Prints
// BEGIN, END, SUBJECT and POSITION of each occurrence that touches the days.
int RunAgendaCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                     std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_CALENDAR_COMMANDS_H_

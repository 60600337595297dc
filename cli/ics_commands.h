// The zds host's iCalendar commands: `zds export ics` writes the schedule
// and the active timers as one VCALENDAR (the library's export), `zds
// import ics` files the events of an .ics file in the schedule, reading
// them through libical where the build has it.

#ifndef ZDS_CLI_ICS_COMMANDS_H_
#define ZDS_CLI_ICS_COMMANDS_H_

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "zds/platform/files.h"

namespace zds::cli {

// `args` are the words after "export" or "import" (`command`):
//   export ics [--from DAY --to DAY]
//   import ics FILE [--from DAY --to DAY]
// DAY is "YYYY-MM-DD"; the span defaults to a year before today to five
// years after it. Import prints "N stored, N expanded into N entries, N
// refused". 0 done, 1 refused (nothing stored), 2 bad usage or an import
// where the build has no libical.
int RunIcsCommand(const std::string& command, const std::shared_ptr<const platform::DataRoot>& root,
                  const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_ICS_COMMANDS_H_

// zds: the command-line host. It opens a data root and works with the store
// the way a desktop host would, for users, support and scripts.

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/calendar_commands.h"
#include "cli/command_text.h"
#include "cli/contact_commands.h"
#include "cli/cycle_command.h"
#include "cli/events_commands.h"
#include "cli/ics_commands.h"
#include "cli/store_commands.h"
#include "cli/timer_commands.h"
#include "zds/platform/console.h"
#include "zds/platform/files.h"

namespace {

constexpr const char kUsage[] =
    "usage: zds [--root DIR] COMMAND [ARGS]\n"
    "  init         open or create the store and print its tree\n"
    "  ls PATH      list a folder's children (id, kind, alias)\n"
    "  show PATH    print a node's fields\n"
    "  events       list the event queue, new events marked\n"
    "  monitor      print the monitor's lines of the last start\n"
    "  autorun      list the auto-run groups and their items\n"
    "  cycle ...    what a stored recurrence rule means (see docs/cli.md)\n"
    "  timer add|ls|rm ...   file, list or delete timers (see docs/cli.md)\n"
    "  timers due FROM TO    the timers due from FROM up to TO ('YYYY-MM-DD HH:MM:SS')\n"
    "  schedule add --subject TEXT --begin TIME --end TIME [--priority low|normal|high]\n"
    "               [--contact TEXT] [--cycle TYPE EVENT RANGE [--map MAP]...]\n"
    "               file an entry and print its position; TIME 'YYYY-MM-DD HH:MM' or 'YYYY-MM-DD'\n"
    "  schedule rm POSITION, schedule show POSITION\n"
    "  agenda FROM [TO]  the occurrences on the days FROM to TO ('YYYY-MM-DD')\n"
    "  book add NAME | book ls                   the address book's books\n"
    "  contact add [--book NAME] --name TEXT [--email ADDR]... [--phone NUMBER]...\n"
    "  contact ls [BOOK] | show POSITION | rm POSITION | find EMAIL\n"
    "  contact export [BOOK] | import FILE [--book NAME]   vCard 4.0 out, 3.0/4.0 in\n"
    "  export ics [--from DAY --to DAY] | import ics FILE   iCalendar out and in\n"
    "DIR defaults to ./zds-data; PATH is a virtual path such as 'kov:\\Velmora\\E-Mail'.\n"
    "Lists are tab-separated. Exit status: 0 done, 1 not found or refused, 2 bad usage.\n";

int Usage(const std::string& problem) { return zds::cli::Usage(std::cerr, problem); }

int Run(std::vector<std::string> args) {
  std::string root_dir = "zds-data";
  if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
    std::cout << kUsage;
    return 0;
  }
  if (!args.empty() && args[0] == "--root") {
    if (args.size() < 2) return Usage("--root needs a directory");
    root_dir = args[1];
    args.erase(args.begin(), args.begin() + 2);
  }
  if (args.empty()) return Usage("no command given");
  const std::string command = args[0];
  if (command == "cycle") return zds::cli::RunCycleCommand({args.begin() + 1, args.end()}, std::cout, std::cerr);
  auto root = std::make_shared<zds::platform::DataRoot>(root_dir);

  if (command == "init") return zds::cli::RunInitCommand(root, std::cout, std::cerr);
  if (command == "events") return zds::cli::RunEventsCommand(root, std::cout, std::cerr);
  if (command == "monitor") return zds::cli::RunMonitorCommand(root, std::cout, std::cerr);
  if (command == "autorun") return zds::cli::RunAutoRunCommand(root, std::cout, std::cerr);
  if (command == "timer") return zds::cli::RunTimerCommand(root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  if (command == "timers") return zds::cli::RunTimersCommand(root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  if (command == "schedule") return zds::cli::RunScheduleCommand(root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  if (command == "agenda") return zds::cli::RunAgendaCommand(root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  if (command == "book") return zds::cli::RunBookCommand(root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  if (command == "contact") return zds::cli::RunContactCommand(root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  if (command == "export" || command == "import") {
    return zds::cli::RunIcsCommand(command, root, {args.begin() + 1, args.end()}, std::cout, std::cerr);
  }
  if (command == "ls" || command == "show") {
    if (args.size() != 2) return Usage(command + " takes one PATH");
    return command == "ls" ? zds::cli::RunListCommand(root, args[1], std::cout, std::cerr)
                           : zds::cli::RunShowCommand(root, args[1], std::cout, std::cerr);
  }
  return Usage("unknown command '" + command + "'");
}

}  // namespace

int main(int argc, char** argv) {
  zds::platform::UseBinaryStandardStreams();  // the same bytes on every platform
  std::vector<std::string> args(argv + 1, argv + argc);
  return Run(std::move(args));
}

// zds: the command-line host. It opens a data root and works with the store
// the way a desktop host would, for users, support and scripts.

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/cycle_command.h"
#include "cli/events_commands.h"
#include "cli/store_commands.h"
#include "platform/files.h"

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
    "DIR defaults to ./zds-data; PATH is a virtual path such as 'kov:\\Velmora\\E-Mail'.\n";

int Usage(const std::string& problem) {
  std::cerr << "zds: " << problem << '\n' << kUsage;
  return 2;
}

// Opens the store in start-up order: the monitor afresh, the service index,
// then the event queue and the auto-run list. The first failure stops it.
int RunInit(const std::shared_ptr<zds::platform::DataRoot>& root) {
  auto monitor = zds::cli::StartMonitor(root, std::cerr);
  if (!monitor) return 1;
  auto index = zds::cli::OpenServiceIndex(root, true, std::cerr);
  if (!index) return 1;
  // Auto-save is on, so an entry still marked modified did not reach the disk.
  if (monitor->InsertRec("AIDL Init OK").empty() || monitor->IsModified()) {
    std::cerr << "zds: cannot write the monitor\n";
    return 1;
  }
  if (!zds::cli::OpenEventDocuments(root, std::cerr)) return 1;
  zds::cli::PrintTree(*index, std::cout);
  return 0;
}

int Run(std::vector<std::string> args) {
  std::string root_dir = "zds-data";
  if (args.size() >= 2 && args[0] == "--root") {
    root_dir = args[1];
    args.erase(args.begin(), args.begin() + 2);
  }
  if (args.empty()) return Usage("no command given");
  const std::string command = args[0];
  if (command == "cycle") return zds::cli::RunCycleCommand({args.begin() + 1, args.end()}, std::cout, std::cerr);
  auto root = std::make_shared<zds::platform::DataRoot>(root_dir);

  if (command == "init") return RunInit(root);
  if (command == "events") return zds::cli::RunEventsCommand(root, std::cout, std::cerr);
  if (command == "monitor") return zds::cli::RunMonitorCommand(root, std::cout, std::cerr);
  if (command == "autorun") return zds::cli::RunAutoRunCommand(root, std::cout, std::cerr);
  if (command == "ls" || command == "show") {
    if (args.size() != 2) return Usage(command + " takes one PATH");
    auto index = zds::cli::OpenServiceIndex(root, false, std::cerr);
    if (!index) return 1;
    return command == "ls" ? zds::cli::RunListCommand(*index, args[1], std::cout, std::cerr)
                           : zds::cli::RunShowCommand(*index, args[1], std::cout, std::cerr);
  }
  return Usage("unknown command '" + command + "'");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return Run(std::move(args));
}

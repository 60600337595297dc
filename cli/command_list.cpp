#include "cli/commands.h"

namespace zds::cli {

// Built once, in the order `zds help` lists the commands; explicit calls,
// because a static link keeps no self-registering object.
const CommandTable& Commands() {
  static const CommandTable table = [] {
    CommandTable built;
    AddStoreCommands(built);
    AddEventsCommands(built);
    AddCycleCommands(built);
    AddTimerCommands(built);
    AddCalendarCommands(built);
    AddContactCommands(built);
    AddNoteCommands(built);
    AddMailCommands(built);
    AddIcsCommands(built);
    AddFeedCommands(built);
    AddFavCommands(built);
    AddHistoryCommands(built);
    return built;
  }();
  return table;
}

}  // namespace zds::cli

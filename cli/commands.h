// The families of zds commands: each adds its commands to the one table.
// A new family writes one Add* function in its own source and lists it
// here and in command_list.cpp.

#ifndef ZDS_CLI_COMMANDS_H_
#define ZDS_CLI_COMMANDS_H_

#include "cli/command_table.h"

namespace zds::cli {

void AddStoreCommands(CommandTable& table);     // init, ls, show, check, help's completion
void AddEventsCommands(CommandTable& table);    // events, monitor, autorun
void AddCycleCommands(CommandTable& table);     // cycle ...
void AddTimerCommands(CommandTable& table);     // timer ..., timers due
void AddCalendarCommands(CommandTable& table);  // schedule ..., agenda
void AddContactCommands(CommandTable& table);   // book ..., contact ...
void AddIcsCommands(CommandTable& table);       // export ics, import ics
void AddNoteCommands(CommandTable& table);      // note ...
void AddMailCommands(CommandTable& table);      // account ..., mail ...
void AddFeedCommands(CommandTable& table);      // feed ...
void AddFavCommands(CommandTable& table);       // fav ...
void AddHistoryCommands(CommandTable& table);   // chat ..., history ...

}  // namespace zds::cli

#endif  // ZDS_CLI_COMMANDS_H_

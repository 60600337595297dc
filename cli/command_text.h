// What every zds command writes and reads the same way: fields of its
// tab-separated lines, its one-line errors with their exit statuses, the
// names of stored files in messages, and the moments its arguments give.

#ifndef ZDS_CLI_COMMAND_TEXT_H_
#define ZDS_CLI_COMMAND_TEXT_H_

#include <ostream>
#include <string>
#include <string_view>

#include "zds/platform/files.h"
#include "zds/platform/time.h"

namespace zds::cli {

// A stored text as one output field: tabs and line breaks become blanks.
std::string Field(std::string_view text);

// A call that cannot be understood: the line "zds: PROBLEM (zds --help for
// usage)" on `err`, and the exit status 2.
int Usage(std::ostream& err, std::string_view problem);
// A call understood but refused (not found, cannot be done): the line
// "zds: PROBLEM" on `err`, and the exit status 1.
int Refuse(std::ostream& err, std::string_view problem);

// The native name of a stored path ("\timer\index.xml"), for messages.
std::string NativeName(const platform::DataRoot& root, std::string_view stored);

// "YYYY-MM-DD HH:MM:SS", and "YYYY-MM-DD HH:MM" too when `minutes_too`,
// naming a real local time.
bool ParseMoment(std::string_view text, bool minutes_too, CTime& moment);

}  // namespace zds::cli

#endif  // ZDS_CLI_COMMAND_TEXT_H_

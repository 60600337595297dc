// The zds host's commands on the address book: its books (`zds book ...`)
// and the contacts in them (`zds contact ...`), vCard export and import
// included. They work on an existing store (`zds init` makes one) and save
// each change at once.

#ifndef ZDS_CLI_CONTACT_COMMANDS_H_
#define ZDS_CLI_CONTACT_COMMANDS_H_

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "zds/platform/files.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

// `zds book add NAME`, `zds book ls`; `args` follow the noun. 0 done, 1 not
// found or refused, 2 bad usage, each failure with one line on `err`.
int RunBookCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                   std::ostream& err);
// `zds contact add|ls|show|rm|find|export|import ...`.
int RunContactCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                      std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_CONTACT_COMMANDS_H_

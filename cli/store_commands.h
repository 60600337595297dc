// The zds host's commands on the store as a whole: start-up (`init`) and
// looking at the service index's tree by virtual path (`ls`, `show`).

#ifndef ZDS_CLI_STORE_COMMANDS_H_
#define ZDS_CLI_STORE_COMMANDS_H_

#include <memory>
#include <ostream>
#include <string>

#include "zds/platform/files.h"
#include "zds/store/zds.h"

namespace zds::cli {

using DataRootPtr = std::shared_ptr<const platform::DataRoot>;

// The one line that says why start-up (or one of its steps) failed.
std::string DescribeStartupFailure(const CZDS& facade);

// `zds init`: runs start-up on the data root, creating what is missing,
// and prints the service index's tree. 0, or 1 with a line on `err`.
int RunInitCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err);
// `zds ls PATH`, `zds show PATH` on an existing store.
int RunListCommand(const DataRootPtr& root, const std::string& path, std::ostream& out, std::ostream& err);
int RunShowCommand(const DataRootPtr& root, const std::string& path, std::ostream& out, std::ostream& err);

// Prints every node of the index, one line each: path, kind, id.
void PrintTree(const CAIDLDoc& index, std::ostream& out);

}  // namespace zds::cli

#endif  // ZDS_CLI_STORE_COMMANDS_H_

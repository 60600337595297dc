// The zds host's commands on the service index: opening the store and
// looking at its tree by virtual path.

#ifndef ZDS_CLI_STORE_COMMANDS_H_
#define ZDS_CLI_STORE_COMMANDS_H_

#include <memory>
#include <ostream>
#include <string>

#include "platform/files.h"
#include "store/aidl_doc.h"

namespace zds::cli {

// The stored path of the service index under the data root.
inline constexpr const char kServiceIndexPath[] = "\\aidl.xml";

// Opens the service index of `root`; with `create` a missing one is made
// from its template. Null (with a message on `err`) when it cannot be used.
std::unique_ptr<CAIDLDoc> OpenServiceIndex(const std::shared_ptr<platform::DataRoot>& root, bool create,
                                           std::ostream& err);

// Prints every node of the index, one line each: path, kind, id.
void PrintTree(const CAIDLDoc& index, std::ostream& out);
int RunListCommand(const CAIDLDoc& index, const std::string& path, std::ostream& out, std::ostream& err);
int RunShowCommand(const CAIDLDoc& index, const std::string& path, std::ostream& out, std::ostream& err);

}  // namespace zds::cli

#endif  // ZDS_CLI_STORE_COMMANDS_H_

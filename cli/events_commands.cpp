// The event queue, the monitor's log and the auto-run list: each read from
// its own file alone, so a damaged other document stands in no way.

#include <string>
#include <string_view>
#include <utility>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "zds/events/autorun_doc.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"

namespace zds::cli {
namespace {

constexpr std::string_view kEventFile = "\\XEvent.xml";
constexpr std::string_view kMonitorFile = "\\Monitor.xml";
constexpr std::string_view kAutoRunFile = "\\autorun.xml";

// Opens `doc` from `path` on the store's read-only root; a missing file
// leaves the document empty, so it lists nothing.
bool Open(Call& call, CVFDLDoc& doc, std::string_view path) {
  DataRootPtr root = call.OpenStore();
  if (!root) return false;
  doc.SetDataRoot(root);
  OpenResult opened = OpenVFDLDoc(doc, path, "", false);
  if (IsOpen(opened) || opened == OpenResult::kMissing) return true;
  call.Refuse(DescribeProblem(*root, doc.GetOpenProblem()) + " (left untouched)");
  return false;
}

int Events(Call& call) {
  CAEventDoc doc;
  if (!Open(call, doc, kEventFile)) return 1;
  Listing listing(call, {"position", "state", "priority", "created", "act", "data", "alias"});
  for (const CAEventRec& event : std::as_const(doc).Recs()) {
    const CAEventExtendRec& fields = event.GetExtendRec();
    listing.Row({ShownPos(event.GetPos()), fields.new_flag ? "new" : "read",
                 std::string(EventPriorityWord(fields.priority)), fields.create_time, fields.act,
                 ShownPos(fields.data_id), event.GetAlias()});
  }
  return listing.Finish();
}

int Monitor(Call& call) {
  CMonitorDoc doc;
  if (!Open(call, doc, kMonitorFile)) return 1;
  Listing listing(call, {"position", "entry"});
  for (const CVFDLRec& entry : std::as_const(doc).Recs()) listing.Row({ShownPos(entry.GetPos()), entry.GetAlias()});
  return listing.Finish();
}

int AutoRun(Call& call) {
  CAutoRunDoc doc;
  if (!Open(call, doc, kAutoRunFile)) return 1;
  Listing listing(call, {"position", "group", "type", "alias", "description"});
  if (doc.GetRoot() == nullptr) return listing.Finish();  // no file: nothing to list
  std::string group;
  for (const CVFDLNode& node : Subtree(*doc.GetRoot())) {
    if (const CAutoRunRec* item = doc.AsRec(&node)) {
      std::string_view type = AutoRunTypeWord(item->GetExtendRec().type);
      listing.Row({ShownPos(node.GetPos()), group, std::string(type.empty() ? "-" : type), item->GetAlias(),
                   item->GetExtendRec().description});
    } else if (node.IsFolder()) {
      group = node.GetAlias();
      listing.Row({ShownPos(node.GetPos()), group, "group", group, ""});
    }
  }
  return listing.Finish();
}

}  // namespace

void AddEventsCommands(CommandTable& table) {
  table.Add({.noun = "events", .summary = "list the event queue, new events marked", .output = Output::kList,
             .run = Events});
  table.Add({.noun = "monitor", .summary = "print the monitor's entries of the last start", .output = Output::kList,
             .run = Monitor});
  table.Add({.noun = "autorun", .summary = "list the auto-run groups and their items", .output = Output::kList,
             .run = AutoRun});
}

}  // namespace zds::cli

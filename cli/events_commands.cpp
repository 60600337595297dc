#include "cli/events_commands.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/command_text.h"
#include "zds/events/autorun_doc.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"

namespace zds::cli {
namespace {

constexpr std::string_view kEventFile = "\\XEvent.xml";
constexpr std::string_view kMonitorFile = "\\Monitor.xml";
constexpr std::string_view kAutoRunFile = "\\autorun.xml";

// Opens `doc` from `path` without creating it; a missing file leaves the
// document empty, so it lists nothing.
bool Open(CVFDLDoc& doc, const DataRootPtr& root, std::string_view path, std::ostream& err) {
  doc.SetDataRoot(root);
  OpenResult opened = OpenVFDLDoc(doc, path, "", false);
  if (IsOpen(opened) || opened == OpenResult::kMissing) return true;
  err << "zds: cannot use " << NativeName(*root, path) << ": it is damaged or unreadable (left untouched)\n";
  return false;
}

}  // namespace

int RunEventsCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CAEventDoc doc;
  if (!Open(doc, root, kEventFile, err)) return 1;
  for (const CAEventRec& event : std::as_const(doc).Recs()) {
    const CAEventExtendRec& fields = event.GetExtendRec();
    out << event.GetID() << '\t' << (fields.new_flag ? "new" : "read") << '\t' << EventPriorityWord(fields.priority)
        << '\t' << Field(fields.create_time) << '\t' << Field(fields.act) << '\t' << Field(fields.data_id) << '\t'
        << Field(event.GetAlias()) << '\n';
  }
  return 0;
}

int RunMonitorCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CMonitorDoc doc;
  if (!Open(doc, root, kMonitorFile, err)) return 1;
  for (const CVFDLRec& entry : std::as_const(doc).Recs()) out << Field(entry.GetAlias()) << '\n';
  return 0;
}

int RunAutoRunCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CAutoRunDoc doc;
  if (!Open(doc, root, kAutoRunFile, err)) return 1;
  if (doc.GetRoot() == nullptr) return 0;  // no file: nothing to list
  const auto below = Subtree(*doc.GetRoot());
  for (auto it = below.begin(); it != below.end(); ++it) {
    std::string indent(2 * static_cast<size_t>(it.depth() - 1), ' ');
    if (const CAutoRunRec* item = doc.AsRec(&*it)) {
      std::string_view type = AutoRunTypeWord(item->GetExtendRec().type);
      out << indent << (type.empty() ? "-" : type) << '\t' << Field(item->GetAlias()) << '\t'
          << Field(item->GetExtendRec().description) << '\n';
    } else if (it->IsFolder()) {
      out << indent << Field(it->GetAlias()) << '\n';
    }
  }
  return 0;
}

}  // namespace zds::cli

#include "cli/events_commands.h"

#include <algorithm>
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

// Calls `visit` (node, depth) for every node of the document, depth first,
// without recursion: folders may nest deeper than the stack.
template <typename Visit>
void Walk(const CVFDLDoc& doc, const Visit& visit) {
  if (doc.GetRoot() == nullptr) return;
  std::vector<std::pair<const CVFDLNode*, int>> pending;
  auto push_children = [&pending](const CVFDLNode& node, int depth) {
    if (!node.IsFolder()) return;
    size_t first = pending.size();
    for (const CVFDLNode* child = static_cast<const CVFDLFolder&>(node).GetFirstChild(); child;
         child = child->GetNextSibling()) {
      pending.emplace_back(child, depth);
    }
    std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end());
  };
  push_children(*doc.GetRoot(), 0);
  while (!pending.empty()) {
    auto [node, depth] = pending.back();
    pending.pop_back();
    visit(*node, depth);
    push_children(*node, depth + 1);
  }
}

}  // namespace

int RunEventsCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CAEventDoc doc;
  if (!Open(doc, root, kEventFile, err)) return 1;
  Walk(doc, [&out](const CVFDLNode& node, int) {
    const auto* event = dynamic_cast<const CAEventRec*>(&node);
    if (event == nullptr) return;
    const CAEventExtendRec& fields = event->GetExtendRec();
    out << node.GetID() << '\t' << (fields.new_flag ? "new" : "read") << '\t' << EventPriorityWord(fields.priority)
        << '\t' << Field(fields.create_time) << '\t' << Field(fields.act) << '\t' << Field(fields.data_id) << '\t'
        << Field(node.GetAlias()) << '\n';
  });
  return 0;
}

int RunMonitorCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CMonitorDoc doc;
  if (!Open(doc, root, kMonitorFile, err)) return 1;
  Walk(doc, [&out](const CVFDLNode& node, int) {
    if (node.GetNodeType() == kNodeRec) out << Field(node.GetAlias()) << '\n';
  });
  return 0;
}

int RunAutoRunCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CAutoRunDoc doc;
  if (!Open(doc, root, kAutoRunFile, err)) return 1;
  Walk(doc, [&out](const CVFDLNode& node, int depth) {
    std::string indent(2 * static_cast<size_t>(depth), ' ');
    if (const auto* item = dynamic_cast<const CAutoRunRec*>(&node)) {
      std::string_view type = AutoRunTypeWord(item->GetExtendRec().type);
      out << indent << (type.empty() ? "-" : type) << '\t' << Field(node.GetAlias()) << '\t'
          << Field(item->GetExtendRec().description) << '\n';
    } else if (node.IsFolder()) {
      out << indent << Field(node.GetAlias()) << '\n';
    }
  });
  return 0;
}

}  // namespace zds::cli

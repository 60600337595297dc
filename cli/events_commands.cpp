#include "cli/events_commands.h"

#include <string>
#include <string_view>

#include "events/autorun_doc.h"
#include "events/event_doc.h"
#include "framework/casd_vfdl_doc.h"

namespace zds::cli {
namespace {

constexpr std::string_view kEventFile = "\\XEvent.xml";
constexpr std::string_view kMonitorFile = "\\Monitor.xml";
constexpr std::string_view kAutoRunFile = "\\autorun.xml";

// Opens `doc` from `path`; a missing file reads as the empty template and
// is written only when `save_new` asks for it.
bool Open(CVFDLDoc& doc, const DataRootPtr& root, std::string_view path, bool save_new, std::ostream& err) {
  doc.SetDataRoot(root);
  int opened = OpenVFDLDoc(doc, path, "");
  if (opened < 0) {
    err << "zds: cannot use " << root->NativeRoot() << '/' << path.substr(1)
        << ": it is damaged or unreadable (left untouched)\n";
    return false;
  }
  if (opened == 0 && save_new && !doc.SaveXMLDoc()) {
    err << "zds: cannot write " << root->NativeRoot() << '/' << path.substr(1) << '\n';
    return false;
  }
  return true;
}

// A stored text as one output field: tabs and line breaks become blanks.
std::string Field(std::string_view text) {
  std::string field(text);
  for (char& c : field) {
    if (c == '\t' || c == '\r' || c == '\n') c = ' ';
  }
  return field;
}

// Calls `visit` (node, depth) for every node below `folder`, depth first.
template <typename Visit>
void Walk(const CVFDLFolder& folder, int depth, const Visit& visit) {
  for (const CVFDLNode* node = folder.GetFirstChild(); node; node = node->GetNextSibling()) {
    visit(*node, depth);
    if (node->IsFolder()) Walk(static_cast<const CVFDLFolder&>(*node), depth + 1, visit);
  }
}

}  // namespace

std::unique_ptr<CMonitorDoc> StartMonitor(const DataRootPtr& root, std::ostream& err) {
  if (!root->CreateDirectories("")) {
    err << "zds: cannot create the data root " << root->NativeRoot() << '\n';
    return nullptr;
  }
  auto monitor = std::make_unique<CMonitorDoc>();
  monitor->SetDataRoot(root);
  monitor->SetAutoSaveFlag(true);
  // Never loaded: the monitor only ever holds the current run.
  if (!monitor->NewXMLDoc(kMonitorFile) || !monitor->InitVFDLDoc("", "kov:") ||
      monitor->InsertRec("Monitor Init OK").empty() || monitor->IsModified()) {
    err << "zds: cannot write " << root->NativeRoot() << '/' << kMonitorFile.substr(1) << '\n';
    return nullptr;
  }
  return monitor;
}

bool OpenEventDocuments(const DataRootPtr& root, std::ostream& err) {
  CAEventDoc events;
  CAutoRunDoc autorun;
  return Open(events, root, kEventFile, true, err) && Open(autorun, root, kAutoRunFile, true, err);
}

int RunEventsCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CAEventDoc doc;
  if (!Open(doc, root, kEventFile, false, err)) return 1;
  Walk(*doc.GetRoot(), 0, [&out](const CVFDLNode& node, int) {
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
  if (!Open(doc, root, kMonitorFile, false, err)) return 1;
  Walk(*doc.GetRoot(), 0, [&out](const CVFDLNode& node, int) {
    if (node.GetNodeType() == kNodeRec) out << Field(node.GetAlias()) << '\n';
  });
  return 0;
}

int RunAutoRunCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CAutoRunDoc doc;
  if (!Open(doc, root, kAutoRunFile, false, err)) return 1;
  Walk(*doc.GetRoot(), 0, [&out](const CVFDLNode& node, int depth) {
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

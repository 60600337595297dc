// The store as a whole: start-up (init), browsing every document's tree by
// path or position (ls, show), the integrity check (check), and the
// completion script.

#include <algorithm>
#include <optional>
#include <vector>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "zds/events/autorun_doc.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/timers/timer_index_doc.h"

namespace zds::cli {
namespace {

std::string_view KindName(const CVFDLNode& node) {
  switch (node.GetNodeType()) {
    case kNodeFolder: return "folder";
    case kNodeRec: return "record";
    case kNodeLink: return "link";
    case kNodeService: return "service";
    default: return "node";
  }
}

// The documents a path or position may begin in: the service index, then
// those the store keeps beside it, each opened only when the ones before
// hold nothing there. Documents behind nodes open on demand, never made.
class Browser {
 public:
  explicit Browser(Call& call, CZDS& facade) : call_(call), facade_(facade) {}

  // The node the typed path or position names; null with a line on the
  // error stream.
  CVFDLNode* Find(std::string_view typed) {
    const std::string stored = StoredPos(typed);
    FileProblem problem;
    using Step = bool (CZDS::*)();
    const std::pair<Step, CVFDLDoc* (Browser::*)() const> roots[] = {
        {nullptr, &Browser::Index}, {&CZDS::InitATimer, &Browser::Timers}, {&CZDS::InitAEvent, &Browser::Events},
        {&CZDS::InitAutoRun, &Browser::AutoRun}, {&CZDS::InitMonitor, &Browser::Monitor}};
    for (const auto& [open, doc_of] : roots) {
      if (open != nullptr && !(facade_.*open)()) continue;  // missing or damaged: it holds nothing to show
      CVFDLDoc* doc = (this->*doc_of)();
      if (doc == nullptr) continue;
      if (CVFDLNode* node = Lookup(*doc, stored, problem)) return node;
    }
    if (!problem.path.empty()) call_.Refuse(DescribeProblem(*facade_.GetDataRoot(), problem));
    else call_.Refuse("no such path or position: " + std::string(typed));
    return nullptr;
  }

  // What `node` holds as a person sees it: the document behind it, if it
  // stands for one, else itself.
  const CVFDLNode& Inside(const CVFDLNode& node) {
    auto* holder = dynamic_cast<CCASDVFDLDoc*>(node.GetDoc());
    if (holder == nullptr || node.GetSrc().empty()) return node;
    const CVFDLDoc* behind = holder->ReachDocBehind(node);
    return behind ? *behind->GetRoot() : node;
  }

 private:
  CVFDLDoc* Index() const { return facade_.GetAIDLDoc(); }
  CVFDLDoc* Timers() const { return facade_.GetATimerIndexDoc(); }
  CVFDLDoc* Events() const { return facade_.GetEventDoc(); }
  CVFDLDoc* AutoRun() const { return facade_.GetAutoRunDoc(); }
  CVFDLDoc* Monitor() const { return facade_.GetMonitorDoc(); }

  static CVFDLNode* Lookup(CVFDLDoc& doc, const std::string& stored, FileProblem& problem) {
    auto* casd = dynamic_cast<CCASDVFDLDoc*>(&doc);
    if (casd == nullptr) {
      CVFDLNode* node = doc.GetNodeByPos(stored);
      return node ? node : doc.GetNodeByPath(stored);
    }
    for (auto reach : {&CCASDVFDLDoc::ReachNodeByPos, &CCASDVFDLDoc::ReachNodeByPath}) {
      if (CVFDLNode* node = (casd->*reach)(stored)) return node;
      if (casd->GetLastLoadStatus() == LoadStatus::kUnusable) problem = casd->GetLastLoadProblem();
    }
    return nullptr;
  }

  Call& call_;
  CZDS& facade_;
};

// Calls `visit` for every document of the store that cannot be used or
// whose journal cannot be trusted, those behind nodes included; how many
// documents it opened.
template <typename Visit>
size_t WalkStore(CZDS& facade, const Visit& visit) {
  size_t opened = 0;
  auto behind = [&](CCASDVFDLDoc& doc) {
    doc.ForEachDocBehind([&](const CVFDLNode&, const CVFDLDoc* child, LoadStatus status, const FileProblem& problem) {
      if (child != nullptr) ++opened;
      if (status == LoadStatus::kUnusable) visit(problem);
      // A document whose journal cannot be trusted loads without it, and says so.
      if (child != nullptr && !child->GetOpenProblem().path.empty()) visit(child->GetOpenProblem());
    });
  };
  using Step = bool (CZDS::*)();
  for (Step step : {&CZDS::InitMonitor, &CZDS::InitAIDL, &CZDS::InitAEvent, &CZDS::InitAutoRun, &CZDS::InitATimer}) {
    if (!(facade.*step)()) {
      const CZDS::StartupFailure& failure = facade.GetStartupFailure();
      if (failure.result != OpenResult::kUnusable) continue;  // a missing one is made at the next start
      FileProblem problem = failure.problem;
      if (problem.path.empty()) problem.path = failure.path;
      visit(problem);
      continue;
    }
    ++opened;
  }
  if (CAIDLDoc* index = facade.GetAIDLDoc()) {
    if (!index->GetOpenProblem().path.empty()) visit(index->GetOpenProblem());
    behind(*index);
  }
  if (CATimerIndexDoc* timers = facade.GetATimerIndexDoc()) behind(*timers);
  return opened;
}

// A stored file as it stands on disk below the root ("\favorites\index.xml"
// is "/Favorites/index.xml" on a case-sensitive file system), "/" between
// components, so that a person can open what the line names.
std::string ShownFile(const platform::DataRoot& root, const std::string& stored) {
  const std::optional<std::string> native = root.Resolve(stored);
  if (!native || !native->starts_with(root.NativeRoot())) return ShownPos(stored);
  std::string shown = native->substr(root.NativeRoot().size());
  std::replace(shown.begin(), shown.end(), '\\', '/');
  if (!shown.starts_with('/')) shown.insert(shown.begin(), '/');
  return shown;
}

int Init(Call& call) {
  return RunEdit(call, [&call](CZDS& facade) {
    Listing tree(call, {"position", "kind", "path"});
    std::vector<std::string> paths{facade.GetAIDLDoc()->GetRoot()->GetPath()};  // by depth
    tree.Row({ShownPos(facade.GetAIDLDoc()->GetRoot()->GetPos()), "folder", ShownPos(paths[0])});
    const auto below = Subtree(*facade.GetAIDLDoc()->GetRoot());
    for (auto it = below.begin(); it != below.end(); ++it) {
      const size_t depth = static_cast<size_t>(it.depth());
      paths.resize(depth + 1);
      paths[depth] = paths[depth - 1] + '\\' + it->GetAlias();
      tree.Row({ShownPos(it->GetPos()), std::string(KindName(*it)), ShownPos(paths[depth])});
    }
    const std::vector<CZDS::StartupDoc> opened = facade.GetStartupDocs();  // before the walk opens more
    // Start-up opens what it needs; a damaged document further in would
    // only show later, so it is named now.
    int status = 0;
    WalkStore(facade, [&](const FileProblem& problem) {
      call.err() << "zds: " << DescribeProblem(*facade.GetDataRoot(), problem) << " (left untouched)\n";
      status = 1;
    });
    tree.Finish();
    // What each start-up step opened, for support (one JSON document holds only the tree).
    if (!call.json()) {
      Listing steps(call, {"step", "file"});
      for (const CZDS::StartupDoc& doc : opened) {
        steps.Row({std::string(doc.step), ShownFile(*facade.GetDataRoot(), doc.path)});
      }
      steps.Finish();
    }
    return status;
  });
}

int List(Call& call) {
  std::unique_ptr<CZDS> facade = OpenReader(call);
  if (!facade) return 1;
  Browser browser(call, *facade);
  const CVFDLNode* node = browser.Find(call.operand(0));
  if (node == nullptr) return 1;
  const CVFDLNode& inside = browser.Inside(*node);
  if (!inside.IsFolder()) return call.Refuse("not a folder: " + call.operand(0));
  Listing listing(call, {"position", "kind", "alias"});
  for (const CVFDLNode& child : Children(static_cast<const CVFDLFolder&>(inside))) {
    listing.Row({ShownPos(child.GetPos()), std::string(KindName(child)), child.GetAlias()});
  }
  return listing.Finish();
}

int Show(Call& call) {
  std::unique_ptr<CZDS> facade = OpenReader(call);
  if (!facade) return 1;
  Browser browser(call, *facade);
  const CVFDLNode* node = browser.Find(call.operand(0));
  if (node == nullptr) return 1;
  ShownItem item(call);
  item.Add("position", ShownPos(node->GetPos()));
  item.Add("path", ShownPos(node->GetPath()));
  item.Add("kind", std::string(KindName(*node)));
  item.Add("alias", node->GetAlias());
  item.Add("id", node->GetID(), false);
  item.Add("attribute", node->GetAttribute(), false);
  item.Add("content", node->GetContent(), false);
  item.Add("src", node->GetSrc(), false);
  item.Add("extend type", std::to_string(node->GetExtendType()), false);
  if (const CAIDLService* service = CAIDLService::From(node)) {
    item.Add("name", service->name);
    item.Add("extend", service->extend, false);
    item.Add("provider", service->provider);
    item.Add("abstract", service->abstract);
    for (const CAIDLVarRec& variable : service->variables) {
      item.Add("variable", variable.name + " = " + (variable.encrypt ? "(encrypted)" : variable.value), true, true);
    }
  }
  return item.Finish();
}

int Check(Call& call) {
  DataRootPtr root = call.OpenStore();
  if (!root) return 1;
  CZDS facade;
  facade.SetDataRoot(root);
  size_t unusable = 0;
  const size_t opened = WalkStore(facade, [&](const FileProblem& problem) {
    call.out() << DescribeProblem(*root, problem) << '\n';
    ++unusable;
  });
  call.out() << opened << " documents usable, " << unusable << " unusable\n";
  return unusable == 0 ? 0 : 1;
}

int Completion(Call& call) {
  if (call.operand(0) != "bash") return call.Usage("completion knows only bash, not '" + call.operand(0) + "'");
  PrintBashCompletion(Commands(), call.out());
  return 0;
}

}  // namespace

void AddStoreCommands(CommandTable& table) {
  table.Add({.noun = "init",
             .summary = "open or create the store (the whole start-up) and print the service index's tree",
             .store = StoreUse::kCreates,
             .output = Output::kList,
             .run = Init});
  table.Add({.noun = "ls",
             .operands = "PATH|POSITION",
             .min_operands = 1,
             .max_operands = 1,
             .summary = "list a folder's children, in any document of the store",
             .output = Output::kList,
             .run = List});
  table.Add({.noun = "show",
             .operands = "PATH|POSITION",
             .min_operands = 1,
             .max_operands = 1,
             .summary = "print a node's fields",
             .output = Output::kShow,
             .run = Show});
  table.Add({.noun = "check",
             .summary = "open every document, those behind nodes too; name each unusable one",
             .run = Check});
  table.Add({.noun = "completion",
             .operands = "bash",
             .min_operands = 1,
             .max_operands = 1,
             .summary = "print a completion script for the shell",
             .store = StoreUse::kNone,
             .run = Completion});
}

}  // namespace zds::cli

#include "cli/store_commands.h"

#include <algorithm>
#include <vector>

#include "cli/command_text.h"

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

void PrintField(std::ostream& out, std::string_view name, std::string_view value) {
  out << name << ": " << value << '\n';
}

// The service index of an existing store, opened alone; null (with a line
// on `err`) when there is none or it cannot be used.
bool OpenIndex(CZDS& facade, std::ostream& err) {
  if (!facade.GetDataRoot()->FileExists(facade.GetAIDLPath())) {
    err << "zds: no store at " << facade.GetDataRoot()->NativeRoot() << " (run 'zds init' first)\n";
    return false;
  }
  if (facade.InitAIDL()) return true;
  err << DescribeStartupFailure(facade) << '\n';
  return false;
}

// Calls `visit` (node, path) for the root and every node below it, depth
// first; each path is built from its parent's, so deep trees cost no more
// than their size.
template <typename Visit>
void WalkWithPaths(const CVFDLFolder& root, const Visit& visit) {
  std::vector<std::string> paths{root.GetPath()};  // by depth
  visit(root, paths[0]);
  const auto below = Subtree(root);
  for (auto it = below.begin(); it != below.end(); ++it) {
    const size_t depth = static_cast<size_t>(it.depth());
    paths.resize(depth + 1);
    paths[depth] = paths[depth - 1] + '\\' + it->GetAlias();
    visit(*it, paths[depth]);
  }
}

}  // namespace

std::string DescribeStartupFailure(const CZDS& facade) {
  const CZDS::StartupFailure& failure = facade.GetStartupFailure();
  std::string name = NativeName(*facade.GetDataRoot(), failure.path);
  switch (failure.result) {
    case OpenResult::kUnusable:
      return "zds: cannot use " + name + ": it is damaged or unreadable (left untouched)";
    case OpenResult::kMissing:
      return "zds: " + std::string(failure.step) + " needs " + name + ", which is missing";
    default:
      if (failure.path.empty()) return "zds: cannot create the data root " + name;
      return "zds: cannot write " + name;
  }
}

int RunInitCommand(const DataRootPtr& root, std::ostream& out, std::ostream& err) {
  CZDS facade;
  facade.SetDataRoot(root);
  if (!facade.InitZDS()) {
    err << DescribeStartupFailure(facade) << '\n';
    return 1;
  }
  PrintTree(*facade.GetAIDLDoc(), out);
  return 0;
}

void PrintTree(const CAIDLDoc& index, std::ostream& out) {
  WalkWithPaths(*index.GetRoot(), [&out](const CVFDLNode& node, const std::string& path) {
    out << path << '\t' << KindName(node) << '\t' << node.GetID() << '\n';
  });
}

int RunListCommand(const DataRootPtr& root, const std::string& path, std::ostream& out, std::ostream& err) {
  CZDS facade;
  facade.SetDataRoot(root);
  if (!OpenIndex(facade, err)) return 1;
  const CAIDLDoc& index = *facade.GetAIDLDoc();
  CVFDLNode* node = index.GetNodeByPath(path);
  if (node == nullptr) {
    err << "zds: no such path: " << path << '\n';
    return 1;
  }
  if (!node->IsFolder()) {
    err << "zds: not a folder: " << path << '\n';
    return 1;
  }
  for (const CVFDLNode& child : index.GetChildren(*node)) {
    out << child.GetID() << '\t' << KindName(child) << '\t' << child.GetAlias() << '\n';
  }
  return 0;
}

int RunShowCommand(const DataRootPtr& root, const std::string& path, std::ostream& out, std::ostream& err) {
  CZDS facade;
  facade.SetDataRoot(root);
  if (!OpenIndex(facade, err)) return 1;
  CVFDLNode* node = facade.GetAIDLDoc()->GetNodeByPath(path);
  if (node == nullptr) {
    err << "zds: no such path: " << path << '\n';
    return 1;
  }
  PrintField(out, "path", node->GetPath());
  PrintField(out, "position", node->GetPos());
  PrintField(out, "kind", KindName(*node));
  PrintField(out, "id", node->GetID());
  PrintField(out, "alias", node->GetAlias());
  PrintField(out, "attribute", node->GetAttribute());
  PrintField(out, "content", node->GetContent());
  PrintField(out, "src", node->GetSrc());
  PrintField(out, "extend type", std::to_string(node->GetExtendType()));
  if (const CAIDLService* service = CAIDLService::From(node)) {
    PrintField(out, "name", service->name);
    PrintField(out, "extend", service->extend);
    PrintField(out, "provider", service->provider);
    PrintField(out, "abstract", service->abstract);
    for (const CAIDLVarRec& variable : service->variables) {
      out << "variable: " << variable.name << " = " << (variable.encrypt ? "(encrypted)" : variable.value) << '\n';
    }
  }
  return 0;
}

}  // namespace zds::cli

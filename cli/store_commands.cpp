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

// Calls `visit` (node, path) for every node, depth first; each path is
// built from its parent's, so deep trees cost no more than their size.
template <typename Visit>
void WalkWithPaths(const CVFDLFolder& root, const Visit& visit) {
  std::vector<std::pair<const CVFDLNode*, std::string>> pending{{&root, root.GetPath()}};
  while (!pending.empty()) {
    auto [node, path] = std::move(pending.back());
    pending.pop_back();
    visit(*node, path);
    if (!node->IsFolder()) continue;
    size_t first = pending.size();
    for (const CVFDLNode* child = static_cast<const CVFDLFolder*>(node)->GetFirstChild(); child;
         child = child->GetNextSibling()) {
      pending.emplace_back(child, path + '\\' + child->GetAlias());
    }
    std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end());
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
  for (const CVFDLNode* child = index.GetFirstChild(*node); child; child = child->GetNextSibling()) {
    out << child->GetID() << '\t' << KindName(*child) << '\t' << child->GetAlias() << '\n';
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
  if (const auto* service = dynamic_cast<const CAIDLService*>(node)) {
    PrintField(out, "name", service->name);
    PrintField(out, "extend", service->extend);
    PrintField(out, "provider", service->provider);
    PrintField(out, "abstract", service->abstract);
    for (const auto& variable : service->variables) {
      out << "variable: " << variable->name << " = " << (variable->encrypt ? "(encrypted)" : variable->value) << '\n';
    }
  }
  return 0;
}

}  // namespace zds::cli

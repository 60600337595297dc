#include "cli/store_commands.h"

#include <vector>

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

}  // namespace

std::unique_ptr<CAIDLDoc> OpenServiceIndex(const std::shared_ptr<platform::DataRoot>& root, bool create,
                                           std::ostream& err) {
  if (create && !root->CreateDirectories("")) {
    err << "zds: cannot create the data root " << root->NativeRoot() << '\n';
    return nullptr;
  }
  auto index = std::make_unique<CAIDLDoc>();
  index->SetDataRoot(root);
  index->SetAutoSaveFlag(true);
  int opened = OpenVFDLDoc(*index, kServiceIndexPath, "", create);
  if (opened >= 0) return index;
  if (!create && !root->FileExists(kServiceIndexPath)) {
    err << "zds: no store at " << root->NativeRoot() << " (run 'zds init' first)\n";
  } else {
    err << "zds: cannot use " << root->NativeRoot() << "/aidl.xml: it is damaged or unreadable (left untouched)\n";
  }
  return nullptr;
}

void PrintTree(const CAIDLDoc& index, std::ostream& out) {
  std::vector<const CVFDLNode*> pending{index.GetRoot()};
  while (!pending.empty()) {
    const CVFDLNode* node = pending.back();
    pending.pop_back();
    out << node->GetPath() << "  " << KindName(*node) << ' ' << node->GetID() << '\n';
    if (!node->IsFolder()) continue;
    std::vector<const CVFDLNode*> children;
    for (const CVFDLNode* child = static_cast<const CVFDLFolder*>(node)->GetFirstChild(); child;
         child = child->GetNextSibling()) {
      children.push_back(child);
    }
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
}

int RunListCommand(const CAIDLDoc& index, const std::string& path, std::ostream& out, std::ostream& err) {
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
    out << child->GetID() << ' ' << KindName(*child) << ' ' << child->GetAlias() << '\n';
  }
  return 0;
}

int RunShowCommand(const CAIDLDoc& index, const std::string& path, std::ostream& out, std::ostream& err) {
  CVFDLNode* node = index.GetNodeByPath(path);
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

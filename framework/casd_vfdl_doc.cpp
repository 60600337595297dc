#include "zds/framework/casd_vfdl_doc.h"

#include "zds/platform/files.h"

namespace zds {

CCASDVFDLDoc::CCASDVFDLDoc() = default;

CCASDVFDLDoc::~CCASDVFDLDoc() = default;

std::unique_ptr<CVFDLDoc> CCASDVFDLDoc::OpenChild(std::string_view class_name, std::string_view src, bool create) {
  if (registry_ == nullptr) {
    load_status_ = LoadStatus::kNoRegistry;
    return nullptr;
  }
  if (src.empty() || !platform::IsSafeStoredPath(src)) {
    load_status_ = LoadStatus::kRefusedSrc;
    return nullptr;
  }
  std::unique_ptr<CVFDLDoc> doc = CreateObjectAs<CVFDLDoc>(*registry_, class_name);
  if (!doc) {
    load_status_ = LoadStatus::kUnknownClass;
    return nullptr;
  }
  doc->SetDataRoot(GetDataRoot());
  doc->SetAutoSaveFlag(GetAutoSaveFlag());
  if (auto* casd = dynamic_cast<CCASDVFDLDoc*>(doc.get())) casd->SetClassRegistry(registry_);
  std::string file = platform::JoinStoredPath(GetBasePath(), src);
  std::string base = platform::JoinStoredPath(GetBasePath(), platform::StoredDirectoryOf(src));
  switch (OpenVFDLDoc(*doc, file, base, create)) {
    case OpenResult::kLoaded:
    case OpenResult::kCreated: load_status_ = LoadStatus::kLoaded; return doc;
    case OpenResult::kMissing: load_status_ = LoadStatus::kMissing; return nullptr;
    case OpenResult::kUnusable: load_status_ = LoadStatus::kUnusable; return nullptr;
    case OpenResult::kUnwritable: load_status_ = LoadStatus::kUnwritable; return nullptr;
  }
  return nullptr;
}

CVFDLDoc* CCASDVFDLDoc::LoadVFDLDoc(const CVFDLNode& node, bool create) {
  load_status_ = LoadStatus::kLoaded;
  if (node.GetDoc() != this) {
    load_status_ = LoadStatus::kNotInDocument;
    return nullptr;
  }
  if (auto it = expanded_.find(&node); it != expanded_.end()) return it->second.get();
  std::unique_ptr<CVFDLDoc> doc = OpenChild(GetNodeContentClass(node), node.GetSrc(), create);
  if (!doc) return nullptr;
  doc->SetHolder(const_cast<CVFDLNode*>(&node));
  return expanded_.emplace(&node, std::move(doc)).first->second.get();
}

CVFDLDoc* CCASDVFDLDoc::LoadRelatedVFDLDoc(std::string_view path, std::string_view class_name) {
  load_status_ = LoadStatus::kLoaded;
  if (auto it = related_.find(path); it != related_.end()) return it->second.get();
  std::unique_ptr<CVFDLDoc> doc = OpenChild(class_name, path, true);
  if (!doc) return nullptr;
  return related_.emplace(std::string(path), std::move(doc)).first->second.get();
}

bool CCASDVFDLDoc::UnloadVFDLDoc(std::string_view pos_or_path) {
  if (CVFDLNode* node = GetNodeByPos(pos_or_path)) return expanded_.erase(node) > 0;
  if (auto it = related_.find(pos_or_path); it != related_.end()) {
    related_.erase(it);
    return true;
  }
  return false;
}

CVFDLDoc* CCASDVFDLDoc::GetExpandedDoc(const CVFDLNode& node) const {
  auto it = expanded_.find(&node);
  return it == expanded_.end() ? nullptr : it->second.get();
}

CVFDLNode* CCASDVFDLDoc::FindNodeByPos(std::string_view pos, CCASDVFDLDoc** opener) const {
  if (CVFDLNode* node = GetNodeByPos(pos)) {
    if (opener) *opener = const_cast<CCASDVFDLDoc*>(this);
    return node;
  }
  for (const auto& [holder, doc] : expanded_) {
    // Positions below a document begin with its holder's position.
    if (!pos.starts_with(doc->GetPosPrefix())) continue;
    if (auto* casd = dynamic_cast<const CCASDVFDLDoc*>(doc.get())) {
      if (CVFDLNode* node = casd->FindNodeByPos(pos, opener)) return node;
    } else if (CVFDLNode* node = doc->GetNodeByPos(pos)) {
      if (opener) *opener = nullptr;
      return node;
    }
  }
  return nullptr;
}

CVFDLNode* CCASDVFDLDoc::GetFirstChild(const CVFDLNode& node) const {
  if (CVFDLDoc* doc = GetExpandedDoc(node)) return doc->GetRoot()->GetFirstChild();
  return node.IsFolder() ? static_cast<const CVFDLFolder&>(node).GetFirstChild() : nullptr;
}

CVFDLNode* CCASDVFDLDoc::GetLastChild(const CVFDLNode& node) const {
  if (CVFDLDoc* doc = GetExpandedDoc(node)) return doc->GetRoot()->GetLastChild();
  return node.IsFolder() ? static_cast<const CVFDLFolder&>(node).GetLastChild() : nullptr;
}

CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kChildren> CCASDVFDLDoc::GetChildren(
    const CVFDLNode& node) const {
  using Range = CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kChildren>;
  if (CVFDLDoc* doc = GetExpandedDoc(node)) return Range(doc->GetRoot());
  return Range(node.IsFolder() ? static_cast<const CVFDLFolder*>(&node) : nullptr);
}

CCASDVFDLDoc* CCASDVFDLDoc::GetParentCASDDoc() const {
  return GetHolder() ? dynamic_cast<CCASDVFDLDoc*>(GetHolder()->GetDoc()) : nullptr;
}

void CCASDVFDLDoc::OnNodeRemoving(CVFDLNode& node) { expanded_.erase(&node); }

void CCASDVFDLDoc::OnTreeReplaced() {
  expanded_.clear();
  related_.clear();
}

// Depth first without recursion, into the open documents below too.
void CCASDVFDLDoc::CollectBackingFiles(const CVFDLNode& top, std::vector<std::string>& files) const {
  std::vector<std::pair<const CCASDVFDLDoc*, const CVFDLNode*>> pending{{this, &top}};
  while (!pending.empty()) {
    auto [doc, node] = pending.back();
    pending.pop_back();
    if (auto* below = dynamic_cast<const CCASDVFDLDoc*>(doc->GetExpandedDoc(*node))) {
      pending.emplace_back(below, below->GetRoot());
    }
    if (!node->GetSrc().empty() && platform::IsSafeStoredPath(node->GetSrc())) {
      files.push_back(platform::JoinStoredPath(doc->GetBasePath(), node->GetSrc()));
    }
    if (!node->IsFolder()) continue;
    for (CVFDLNode* child = static_cast<const CVFDLFolder*>(node)->GetFirstChild(); child;
         child = child->GetNextSibling()) {
      pending.emplace_back(doc, child);
    }
  }
}

bool CCASDVFDLDoc::DelFolderOnDoc(std::string_view pos) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (node == nullptr || !node->IsFolder() || node == GetRoot()) return false;
  std::vector<std::string> files;
  CollectBackingFiles(*node, files);
  if (!DelFolder(pos)) return false;
  for (const std::string& file : files) GetDataRoot()->RemoveFile(file);  // a file already gone is no failure
  return true;
}

}  // namespace zds

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
    case OpenResult::kUnusable:
      load_status_ = LoadStatus::kUnusable;
      load_problem_ = doc->GetOpenProblem();
      return nullptr;
    case OpenResult::kUnwritable: load_status_ = LoadStatus::kUnwritable; return nullptr;
  }
  return nullptr;
}

CVFDLDoc* CCASDVFDLDoc::LoadVFDLDoc(const CVFDLNode& node, bool create) {
  load_status_ = LoadStatus::kLoaded;
  load_problem_ = {};
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
  load_problem_ = {};
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

CVFDLDoc* CCASDVFDLDoc::ReachDocBehind(const CVFDLNode& node) {
  load_status_ = LoadStatus::kLoaded;
  load_problem_ = {};
  auto* holder = dynamic_cast<CCASDVFDLDoc*>(node.GetDoc());
  if (holder == nullptr || node.GetSrc().empty()) return nullptr;
  CVFDLDoc* doc = holder->LoadVFDLDoc(node, false);
  load_status_ = holder->load_status_;
  load_problem_ = holder->load_problem_;
  return doc;
}

// A position names one node per document on its way: the first id is in
// this document, each next one in the document behind the node before.
CVFDLNode* CCASDVFDLDoc::ReachNodeByPos(std::string_view pos) {
  load_status_ = LoadStatus::kLoaded;
  load_problem_ = {};
  if (CVFDLNode* node = GetNodeByPos(pos)) return node;
  const std::string prefix = GetPosPrefix();
  if (pos.size() <= prefix.size() + 1 || !pos.starts_with(prefix) || pos[prefix.size()] != '\\') return nullptr;
  std::string_view rest = pos.substr(prefix.size() + 1);
  const CVFDLDoc* doc = this;
  while (true) {
    const std::string_view id = rest.substr(0, rest.find('\\'));
    CVFDLNode* node = doc->GetNodeByID(id);
    if (node == nullptr || id.size() == rest.size()) return node;
    rest.remove_prefix(id.size() + 1);
    doc = ReachDocBehind(*node);
    if (doc == nullptr) return nullptr;
  }
}

CVFDLNode* CCASDVFDLDoc::ReachNodeByPath(std::string_view path) {
  LoadStatus failed = LoadStatus::kLoaded;
  FileProblem failed_problem;
  const std::string root_path = GetRootPath();
  CVFDLNode* node = path.starts_with(root_path) ? GetRoot() : nullptr;
  std::string_view rest = node ? path.substr(root_path.size()) : std::string_view();
  if (node && !rest.empty() && rest.front() != '\\') node = nullptr;
  while (node && !rest.empty()) {
    rest.remove_prefix(1);
    const std::string_view alias = rest.substr(0, rest.find('\\'));
    rest.remove_prefix(alias.size());
    CVFDLNode* child = nullptr;
    if (!node->GetSrc().empty()) {
      if (CVFDLDoc* behind = ReachDocBehind(*node)) {
        child = behind->GetRoot()->FindChildByAlias(alias);
      } else {
        failed = load_status_;
        failed_problem = load_problem_;
        const bool goes_on = failed == LoadStatus::kMissing || failed == LoadStatus::kUnknownClass;
        if (!goes_on) break;
      }
    }
    if (child == nullptr && node->IsFolder()) child = static_cast<CVFDLFolder*>(node)->FindChildByAlias(alias);
    node = child;
  }
  if (!rest.empty()) node = nullptr;
  load_status_ = node ? LoadStatus::kLoaded : failed;
  load_problem_ = node ? FileProblem() : failed_problem;
  return node;
}

// Frames instead of recursion: documents may stand behind nodes of
// documents behind nodes to any depth a store holds.
void CCASDVFDLDoc::ForEachDocBehind(const DocVisitor& visit) {
  struct Frame {
    CCASDVFDLDoc* doc;
    std::vector<const CVFDLNode*> holders;
    size_t next = 0;
    CCASDVFDLDoc* parent = nullptr;     // the document that opened this one
    const CVFDLNode* holder = nullptr;  // its node there
    bool close = false;                 // opened by this walk, so closed by it
  };
  auto holders_of = [](const CCASDVFDLDoc& doc) {
    std::vector<const CVFDLNode*> holders;
    if (doc.GetRoot() == nullptr) return holders;
    for (const CVFDLNode& node : Subtree(*doc.GetRoot())) {
      if (!node.GetSrc().empty()) holders.push_back(&node);
    }
    return holders;
  };
  std::vector<Frame> frames;
  frames.push_back({this, holders_of(*this)});
  while (!frames.empty()) {
    if (frames.back().next == frames.back().holders.size()) {
      const Frame done = std::move(frames.back());
      frames.pop_back();
      if (done.close) done.parent->expanded_.erase(done.holder);
      continue;
    }
    CCASDVFDLDoc* doc = frames.back().doc;
    const CVFDLNode* holder = frames.back().holders[frames.back().next++];
    const bool was_open = doc->GetExpandedDoc(*holder) != nullptr;
    CVFDLDoc* behind = doc->LoadVFDLDoc(*holder, false);
    visit(*holder, behind, doc->load_status_, doc->load_problem_);
    if (behind == nullptr) continue;
    if (auto* below = dynamic_cast<CCASDVFDLDoc*>(behind)) {
      frames.push_back({below, holders_of(*below), 0, doc, holder, !was_open});
    } else if (!was_open) {
      doc->expanded_.erase(holder);
    }
  }
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

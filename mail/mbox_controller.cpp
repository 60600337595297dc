#include "zds/mail/mbox_controller.h"

namespace zds {

CMBoxController::CMBoxController() { SetAutoSaveFlag(true); }

// By substring, in a fixed order: the automatic folders' names hold those
// of the ordinary ones, so "Auto-Inbox" and "Auto-Outbox" are found as
// Inbox and Outbox, and only "Auto-Sent" gets its own type.
void CMBoxController::InitNodeExtendType(CVFDLNode& node) {
  if (node.GetNodeType() == kNodeRec) {
    node.SetExtendType(kMailRecType);
    return;
  }
  if (!node.IsFolder()) return;
  if (node.GetParent() == nullptr) {
    node.SetExtendType(kMailRootType);
    return;
  }
  const std::string path = node.GetPath();
  for (const MailFolderType& type : kMailFolderTypes) {
    if (path.find(type.in_path) != std::string::npos) {
      node.SetExtendType(type.type);
      return;
    }
  }
  node.SetExtendType(kMailOtherFolderType);
}

// What was already opened behind the node is the answer when it cannot be
// opened now.
CMIDLDoc* CMBoxController::GetMidlDoc(CVFDLNode& folder) {
  if (!folder.IsFolder() || folder.GetDoc() != this || folder.GetExtendType() == kMailRootType) return nullptr;
  CMIDLDoc* doc = LoadVFDLDoc<CMIDLDoc>(folder, true);
  if (doc == nullptr) doc = GetExpandedDoc<CMIDLDoc>(folder);
  // It learns its folder's path only once opened behind it.
  if (doc != nullptr && doc->GetRoot() != nullptr && doc->GetRoot()->GetExtendType() != doc->GetFolderExtendType()) {
    doc->InitExtendTypes();
  }
  return doc;
}

CMIDLDoc* CMBoxController::GetMidlDoc(std::string_view path) {
  CVFDLNode* node = GetNodeByPath(path);
  return node ? GetMidlDoc(*node) : nullptr;
}

CMIDLDoc* CMBoxController::GetMidlDoc(std::string_view path, std::string_view sub_path) {
  std::string joined(path);
  if (!sub_path.empty()) {
    if (!sub_path.starts_with('\\')) joined += '\\';
    joined += sub_path;
  }
  return GetMidlDoc(joined);
}

CMIDLDoc* CMBoxController::GetMidlDocByID(std::string_view pos) {
  CVFDLNode* node = GetNodeByPos(pos);
  return node ? GetMidlDoc(*node) : nullptr;
}

std::string CMBoxController::GetMidlDocID(std::string_view path) const {
  const CVFDLNode* node = GetNodeByPath(path);
  return node ? node->GetPos() : std::string();
}

std::string CMBoxController::GetRelativeMBCID(std::string_view pos) const {
  const std::string base = GetPosPrefix();
  if (!pos.starts_with(base)) return std::string(pos);
  pos.remove_prefix(base.size());
  if (!pos.empty()) pos.remove_prefix(1);
  return std::string(pos);
}

// The walk by sibling from the first record reaches the document's
// leading run, which is its first records in file order: a message found
// by the index counts when it lies among them.
CMIDLRec* CMBoxController::GetMailRecbyMessageID(CMIDLDoc* doc, std::string_view message_id) {
  if (doc == nullptr) return nullptr;
  CMIDLRec* found = doc->GetRecByMessageID(message_id);
  return found != nullptr && doc->GetRecIndex(*found) < doc->GetLeadingRunLength() ? found : nullptr;
}

CMIDLRec* CMBoxController::GetMailRecbyUIDL(std::string_view folder_path, std::string_view uidl) {
  CVFDLNode* node = GetNodeByPath(folder_path);
  if (node == nullptr || !node->IsFolder()) return nullptr;
  CMIDLDoc* doc = GetMidlDoc(*node);
  if (doc == nullptr) return nullptr;
  CMIDLRec* found = doc->GetRecByUIDL(uidl);
  if (found != nullptr && found->GetParent() == doc->GetRoot()) return found;
  if (found == nullptr) return nullptr;
  // A message of that UIDL in a sub-folder may hide one directly in the
  // folder further on: rare enough to be looked for one by one.
  for (CMIDLRec& rec : doc->ChildRecs(*doc->GetRoot())) {
    if (rec.GetExtendRec().uidl == uidl) return &rec;
  }
  return nullptr;
}

CMailLocation CMBoxController::FindMailByMessageID(std::string_view message_id) {
  for (CMBCFolder* folder : GetMailFolders()) {
    if (CMIDLDoc* doc = GetMidlDoc(*folder)) {
      if (CMIDLRec* rec = doc->GetRecByMessageID(message_id)) return {folder, doc, rec};
    }
  }
  return {};
}

CMailLocation CMBoxController::FindMailByUIDL(std::string_view uidl) {
  for (CMBCFolder* folder : GetMailFolders()) {
    if (CMIDLDoc* doc = GetMidlDoc(*folder)) {
      if (CMIDLRec* rec = doc->GetRecByUIDL(uidl)) return {folder, doc, rec};
    }
  }
  return {};
}

int CMBoxController::GetRecNum(const CVFDLNode* folder, int /*unused*/) const {
  if (folder == nullptr || !folder->IsFolder()) return -1;
  int count = 0;
  for (const CVFDLNode& child : GetChildren(*folder)) count += child.GetNodeType() == kNodeRec ? 1 : 0;
  return count;
}

int CMBoxController::GetNewRecNum(const CVFDLNode* folder, int /*unused*/) const {
  if (folder == nullptr || !folder->IsFolder()) return -1;
  int count = 0;
  for (const CVFDLNode& child : GetChildren(*folder)) {
    if (child.GetNodeType() != kNodeRec) continue;
    const auto* mail = NodeAs<CMIDLRec>(&child);
    count += mail != nullptr && mail->GetExtendRec().new_flag ? 1 : 0;
  }
  return count;
}

std::string CMBoxController::GetNextRecID(std::string_view pos) const {
  const CVFDLNode* node = FindNodeByPos(pos);
  const CVFDLNode* next = node ? node->GetNextSibling() : nullptr;
  return next != nullptr && next->GetNodeType() == kNodeRec ? next->GetPos() : std::string();
}

std::vector<CMBCFolder*> CMBoxController::GetMailFolders() {
  std::vector<CMBCFolder*> folders;
  if (GetRoot() == nullptr) return folders;
  for (CVFDLNode& node : Subtree(*GetRoot())) {
    if (CMBCFolder* folder = AsFolder(&node)) folders.push_back(folder);
  }
  return folders;
}

}  // namespace zds

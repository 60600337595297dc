#include "zds/browsing/history_doc.h"

#include <algorithm>
#include <cctype>

#include "zds/framework/vfdl_walk.h"

namespace zds {
namespace {

constexpr std::string_view kHistoryPath = "kov:\\Velmora\\History";

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

// `path` is `base` + "\" + `alias` exactly, or (with `below`) begins so.
bool IsAt(std::string_view path, std::string_view alias, bool below) {
  if (path.size() < kHistoryPath.size() + 1 + alias.size() || !path.starts_with(kHistoryPath)) return false;
  path.remove_prefix(kHistoryPath.size());
  if (path.front() != '\\') return false;
  path.remove_prefix(1);
  return below ? path.starts_with(alias) : path == alias;
}

}  // namespace

int CHistoryDoc::GetExtendTypeByPath(std::string_view path) {
  if (path == kHistoryPath) return kHistoryRootType;
  if (IsAt(path, kChatFolder, false)) return kHistoryChatType;
  if (IsAt(path, kMailFolder, false)) return kHistoryMailType;
  if (IsAt(path, kMailFolder, true)) return kHistoryMailBoxType;
  if (IsAt(path, kNewsFolder, false)) return kHistoryNewsType;
  if (IsAt(path, kNewsFolder, true)) return kHistoryNewsBoxType;
  return 0;
}

void CHistoryDoc::InitNodeExtendType(CVFDLNode& node) { node.SetExtendType(GetExtendTypeByPath(node.GetPath())); }

void CHistoryDoc::InitExtendTypes() {
  if (GetRoot() == nullptr) return;
  InitNodeExtendType(*GetRoot());
  for (CVFDLNode& node : Subtree(*GetRoot())) InitNodeExtendType(node);
}

// The tree was built before the document was placed behind its folder,
// when every path still began with the history's own root alias.
void CHistoryDoc::EnsurePlaced() {
  if (GetRoot() != nullptr && GetRoot()->GetExtendType() != GetExtendTypeByPath(GetRootPath())) InitExtendTypes();
}

bool CHistoryDoc::InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix,
                              int reserved1, int reserved2) {
  if (!CVFDLFamily::InitVFDLDoc(base_path, scheme, prefix, reserved1, reserved2)) return false;
  if (GetDataRoot() == nullptr || !GetDataRoot()->IsReadOnly()) RepairStandardFolders();
  return true;
}

// A repair that cannot be saved is undone by the edit itself; the file is
// then repaired on a later open.
void CHistoryDoc::RepairStandardFolders() {
  if (GetRoot() == nullptr) return;
  for (std::string_view alias : {kMailFolder, kNewsFolder, kChatFolder}) {
    CHistoryFolder* found = TopFolder(alias);
    const bool chat = alias == kChatFolder;
    if (found != nullptr && !(chat && found->GetSrc().empty())) continue;
    CHistoryFolder folder;
    if (found != nullptr) folder = *found;
    else {
      folder.SetAlias(alias);
      folder.SetAttribute("normal");
    }
    if (chat) {
      folder.SetContent(kChatContent);
      folder.SetSrc(kChatSrc);
    }
    if (found != nullptr) (void)UpdateFolder(found->GetPos(), folder, false);
    else (void)AddFolder(GetRoot()->GetPos(), folder, false);
  }
}

std::string CHistoryDoc::GetNewItemID(int flag) {
  return flag == 0 ? kItemCounter.Current(*this) : kItemCounter.Take(*this);
}

CHistoryFolder* CHistoryDoc::TopFolder(std::string_view alias) const {
  if (GetRoot() == nullptr) return nullptr;
  for (const CHistoryFolder& folder : ChildFolders(*GetRoot())) {
    if (SameIgnoringCase(folder.GetAlias(), alias)) return AsFolder(&folder);
  }
  return nullptr;
}

CCHIndexController* CHistoryDoc::GetChatHistroyDoc() {
  CHistoryFolder* chat = TopFolder(kChatFolder);
  return chat != nullptr ? LoadVFDLDoc<CCHIndexController>(*chat, true) : nullptr;
}

int CHistoryDoc::CountBoxes(std::string_view top) const {
  const CHistoryFolder* folder = TopFolder(top);
  if (folder == nullptr) return 0;
  int count = 0;
  for ([[maybe_unused]] const CHistoryFolder& box : ChildFolders(*folder)) ++count;
  return count;
}

std::string CHistoryDoc::BoxID(std::string_view top, int index) const {
  const CHistoryFolder* folder = TopFolder(top);
  if (folder == nullptr || index < 0) return {};
  for (const CHistoryFolder& box : ChildFolders(*folder)) {
    if (index-- == 0) return box.GetID();
  }
  return {};
}

// The archive a node is or lies in: the ancestor right under the top folder.
CHistoryFolder* CHistoryDoc::BoxOf(std::string_view top, std::string_view id) {
  EnsurePlaced();
  const CHistoryFolder* folder = TopFolder(top);
  CVFDLNode* node = id.find('\\') != std::string_view::npos ? GetNodeByPos(id) : GetNodeByID(id);
  if (folder == nullptr || node == nullptr) return nullptr;
  while (node->GetParent() != nullptr && node->GetParent() != folder) node = node->GetParent();
  return node->GetParent() == folder ? AsFolder(node) : nullptr;
}

CMBoxController* CHistoryDoc::GetMBCDoc(std::string_view id) {
  CHistoryFolder* box = BoxOf(kMailFolder, id);
  return box != nullptr ? LoadVFDLDoc<CMBoxController>(*box, false) : nullptr;
}

CVFDLDoc* CHistoryDoc::GetNBCDoc(std::string_view id) {
  CHistoryFolder* box = BoxOf(kNewsFolder, id);
  return box != nullptr ? LoadVFDLDoc(*box, false) : nullptr;
}

int CHistoryDoc::MatchBoxes(std::string_view top, std::string_view account, std::string_view time,
                            std::vector<CHistoryFolder*>& out) {
  const CHistoryFolder* folder = TopFolder(top);
  if (folder == nullptr) return 0;
  int count = 0;
  for (CHistoryFolder& box : ChildFolders(*folder)) {
    const CHistoryExtendFolder* fields = box.GetExtendFolder();
    const std::string_view from = fields ? std::string_view(fields->account) : std::string_view();
    const std::string_view at = fields ? std::string_view(fields->backup_time) : std::string_view();
    if ((account.empty() || from == account) && at.starts_with(time)) {
      out.push_back(&box);
      ++count;
    }
  }
  return count;
}

int CHistoryDoc::GetMBCBackupNode(std::string_view account, std::string_view time, std::vector<CHistoryFolder*>& out) {
  return MatchBoxes(kMailFolder, account, time, out);
}

int CHistoryDoc::GetNBCBackupNode(std::string_view account, std::string_view time, std::vector<CHistoryFolder*>& out) {
  return MatchBoxes(kNewsFolder, account, time, out);
}

int CHistoryDoc::GetCHBackupNode(std::string_view provider, std::vector<CVFDLFolder*>& out) {
  CCHIndexController* chat = GetChatHistroyDoc();
  if (chat == nullptr) return 0;
  if (!provider.empty()) {
    CVFDLFolder* folder = chat->GetServiceFolder(provider);
    if (folder != nullptr) out.push_back(folder);
    return folder != nullptr ? 1 : 0;
  }
  std::vector<CVFDLFolder*> all = chat->GetServiceFolders();
  out.insert(out.end(), all.begin(), all.end());
  return static_cast<int>(all.size());
}

}  // namespace zds

#include "zds/browsing/chat_history.h"

#include <array>

#include "zds/framework/vfdl_walk.h"

namespace zds {
namespace {

constexpr std::array<int, 3> kTypeStrings = {res::kChatOpenedChannel, res::kChatProtectedChannel,
                                             res::kChatPrivateChannel};

}  // namespace

bool CCHDLRec::SetKey(std::string_view alias, std::string_view value) {
  CNotepadExtendRec& keys = GetExtendRec();
  CNotepadRecKey key{std::string(alias), std::string(value)};
  if (!keys.UpdateKey(key)) keys.AddKey(std::move(key));
  return true;
}

bool CCHDLRec::SetType(const int& type) {
  std::string_view text = GetTypeString(type);
  return !text.empty() && SetKey(kTypeKey, text);
}

bool CCHDLRec::GetTime(std::string& start, std::string& end) const {
  start = GetExtendRec().GetValueByAlias(kStartKey);
  end = GetExtendRec().GetValueByAlias(kEndKey);
  return true;
}

bool CCHDLRec::SetTime(std::string_view start, std::string_view end) {
  SetKey(kStartKey, start);
  return SetKey(kEndKey, end);
}

bool CCHDLRec::GetAbstract(std::string& abstract) const {
  abstract = GetExtendRec().abstract;
  return true;
}

bool CCHDLRec::SetAbstract(std::string_view abstract) {
  GetExtendRec().abstract = abstract;
  return true;
}

bool CCHDLRec::GetAttachList(std::vector<CVFRelateRec>& list) const {
  list = GetExtendRec().attachments;
  return true;
}

bool CCHDLRec::SetAttachList(const std::vector<CVFRelateRec>& list) {
  GetExtendRec().attachments = list;
  return true;
}

// Exact, letter case included: a type text another program spelled
// differently reads as an opened channel, as the suite always read it.
int CCHDLRec::GetTypeByString(std::string_view text) {
  for (size_t i = 0; i < kTypeStrings.size(); ++i) {
    if (text == LoadResourceString(kTypeStrings[i])) return static_cast<int>(i);
  }
  return kChatOpenedChannel;
}

std::string_view CCHDLRec::GetTypeString(int type) {
  if (type < 0 || type >= static_cast<int>(kTypeStrings.size())) return {};
  return LoadResourceString(kTypeStrings[static_cast<size_t>(type)]);
}

CVFDLFolder* CCHIndexController::GetServiceFolder(std::string_view provider) const {
  CVFDLFolder* root = GetRoot();
  if (root == nullptr) return nullptr;
  CVFDLNode* node = root->FindChildByAlias(provider);
  return node != nullptr && node->IsFolder() ? AsFolder(node) : nullptr;
}

// A service's file is named by its folder's id, not by the service's name,
// which may hold any byte.
CCHDLDoc* CCHIndexController::GetChatDoc(std::string_view provider, bool create) {
  CVFDLFolder* folder = GetServiceFolder(provider);
  if (folder == nullptr) {
    if (!create || GetRoot() == nullptr) return nullptr;
    CVFDLFolder added;
    added.SetID(GetLocalID(GetNewID()));
    added.SetAlias(provider);
    added.SetAttribute("normal");
    added.SetContent(kChatContent);
    added.SetSrc("\\" + added.GetID() + ".xml");
    const std::string pos = AddFolder(GetRoot()->GetPos(), added, true);
    if (pos.empty()) return nullptr;
    folder = GetFolder(pos);
    if (folder == nullptr) return nullptr;
  }
  return LoadVFDLDoc<CCHDLDoc>(*folder, create);
}

std::vector<CVFDLFolder*> CCHIndexController::GetServiceFolders() {
  std::vector<CVFDLFolder*> folders;
  if (GetRoot() == nullptr) return folders;
  for (CVFDLFolder& folder : ChildFolders(*GetRoot())) folders.push_back(&folder);
  return folders;
}

}  // namespace zds

#include "zds/feeds/channel_index_doc.h"

#include "zds/platform/files.h"
#include "zds/store/aidl_doc.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

constexpr std::string_view kChannelFile = "\\index.xml";
constexpr std::string_view kServiceKind = "rss";
constexpr std::string_view kServiceAlias = "Channels";
constexpr std::string_view kServiceFolder = "News";
constexpr std::string_view kServiceContent = "rss;class=CWSCIndexDoc;os=universal";
constexpr std::string_view kServiceFile = "\\rss\\index.xml";

}  // namespace

void CWSCIndexDoc::InitNodeExtendType(CVFDLNode& node) {
  if (node.GetNodeType() == kNodeRec) node.SetExtendType(kChannelRecType);
  else if (node.IsFolder()) {
    node.SetExtendType(node.GetParent() == nullptr ? kChannelIndexTopFolderType : kChannelIndexFolderType);
  }
}

std::string CWSCIndexDoc::GetActualFilePos(std::string_view pos) const {
  const CWSCIndexRec* channel = GetRec(pos);
  if (channel == nullptr) return {};
  return GetBasePath() + '\\' + channel->GetID() + std::string(kChannelFile);
}

void CWSCIndexDoc::PrepareNewRec(CWSCIndexRec& rec) {
  rec.SetContent(kChannelContent);
  rec.SetSrc('\\' + rec.GetID() + std::string(kChannelFile));
}

std::string CWSCIndexDoc::AddChannel(const CWSCIndexRec& channel, bool flag) {
  return GetRoot() ? AddRec(GetRoot()->GetPos(), channel, flag) : std::string();
}

CWSChannelDoc* CWSCIndexDoc::GetChannelDoc(std::string_view pos, bool create) {
  const CWSCIndexRec* channel = GetRec(pos);
  return channel ? LoadVFDLDoc<CWSChannelDoc>(*channel, create) : nullptr;
}

bool CWSCIndexDoc::DelRec(std::string_view pos) {
  CZDS* facade = CZDS::Getthis();
  if (CWSChannelDoc* items = facade && GetRec(pos) ? GetChannelDoc(pos, false) : nullptr) {
    for (const CWSChannelRec& item : items->Recs()) {
      if (item.GetExtendRec().has_timer) static_cast<void>(facade->DelTimer(item.GetExtendRec().timer_id, false));
    }
  }
  return CVFDLFamily::DelRec(pos);
}

std::string FindChannelService(const CAIDLDoc& aidl) {
  if (aidl.GetRoot() == nullptr) return {};
  for (const CVFDLNode& node : Subtree(*aidl.GetRoot())) {
    if (node.GetNodeType() == kNodeService && node.GetContentClass() == CWSCIndexDoc::kFamily.class_name) {
      return node.GetPos();
    }
  }
  return {};
}

CWSCIndexDoc* OpenChannelIndex(CAIDLDoc& aidl, bool create) {
  std::string pos = FindChannelService(aidl);
  if (pos.empty() && create && aidl.GetRoot() != nullptr) {
    const CVFDLNode* folder = aidl.GetNodeByPath(aidl.GetRootPath() + '\\' + std::string(kServiceFolder));
    CAIDLService service;
    service.name = kServiceKind;
    service.SetAlias(kServiceAlias);
    service.SetContent(kServiceContent);
    service.SetSrc(kServiceFile);
    pos = aidl.AddService(folder ? folder->GetPos() : aidl.GetRoot()->GetPos(), service);
  }
  if (pos.empty()) return nullptr;
  const CVFDLNode* service = aidl.GetNodeByPos(pos);
  return service ? aidl.LoadVFDLDoc<CWSCIndexDoc>(*service, create) : nullptr;
}

}  // namespace zds

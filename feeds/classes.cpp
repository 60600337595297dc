#include "zds/feeds/classes.h"

#include "zds/feeds/channel_doc.h"
#include "zds/feeds/channel_index_doc.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

// The channel document an item lives in, typed, found the way it was
// opened: the service index, its channel index, the channel's record.
CWSChannelDoc* ChannelDocOf(CZDS& facade, const CVFDLNode& item) {
  const CVFDLNode* holder = item.GetDoc() ? item.GetDoc()->GetHolder() : nullptr;
  CAIDLDoc* aidl = facade.GetAIDLDoc();
  CWSCIndexDoc* index = holder && aidl ? OpenChannelIndex(*aidl, false) : nullptr;
  CWSChannelDoc* doc = index && index->AsRec(holder) ? index->GetExpandedDoc<CWSChannelDoc>(*holder) : nullptr;
  return doc && doc->AsRec(&item) ? doc : nullptr;
}

}  // namespace

void RegisterFeedClasses(CRTTIRegistry& registry) {
  RegisterFamily<CWSCIndexDoc>(registry);
  RegisterFamily<CWSChannelDoc>(registry);
}

void SetFeedKindHooks(CZDS& facade) {
  CZDS::KindHooks hooks;
  hooks.text_fields = [](const CVFDLNode& node) {
    const CWSChannelRec* item = NodeAs<CWSChannelRec>(&node);
    return item ? CWSChannelDoc::TextFields(*item) : std::vector<std::string>();
  };
  hooks.clear_timer = [&facade](CVFDLNode& node) {
    CWSChannelDoc* doc = ChannelDocOf(facade, node);
    return doc != nullptr && doc->ForgetTimer(node.GetPos(), false);
  };
  facade.SetKindHooks(kChannelItemType, std::move(hooks));
}

}  // namespace zds

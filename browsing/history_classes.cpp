#include "zds/browsing/history_classes.h"

#include "zds/browsing/chat_history.h"
#include "zds/browsing/history_doc.h"

namespace zds {

void RegisterHistoryClasses(CRTTIRegistry& registry) {
  RegisterFamily<CHistoryDoc>(registry);
  RegisterFamily<CCHIndexController>(registry);
  RegisterFamily<CCHDLDoc>(registry);
}

}  // namespace zds

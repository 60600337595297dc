// The history and chat history classes, creatable by name.

#ifndef ZDS_BROWSING_HISTORY_CLASSES_H_
#define ZDS_BROWSING_HISTORY_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterHistoryClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_BROWSING_HISTORY_CLASSES_H_

// The feed classes, creatable by name, and what the facade asks of a
// channel item it does not hold itself.

#ifndef ZDS_FEEDS_CLASSES_H_
#define ZDS_FEEDS_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

class CZDS;

void RegisterFeedClasses(CRTTIRegistry& registry);
// A channel item's text fields for an event's subject, and clearing an
// item's reminder when the facade deletes its timer.
void SetFeedKindHooks(CZDS& facade);

}  // namespace zds

#endif  // ZDS_FEEDS_CLASSES_H_

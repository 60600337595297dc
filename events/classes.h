// The event queue, monitor and auto-run classes, creatable by name.

#ifndef ZDS_EVENTS_CLASSES_H_
#define ZDS_EVENTS_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterEventClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_EVENTS_CLASSES_H_

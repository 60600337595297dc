// The timer document and timer index classes, creatable by name.

#ifndef ZDS_TIMERS_CLASSES_H_
#define ZDS_TIMERS_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterTimerClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_TIMERS_CLASSES_H_

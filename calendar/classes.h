// The calendar's classes, creatable by name: the calendar root, the
// schedule index and the schedule documents.

#ifndef ZDS_CALENDAR_CLASSES_H_
#define ZDS_CALENDAR_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterCalendarClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_CALENDAR_CLASSES_H_

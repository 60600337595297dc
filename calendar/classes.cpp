#include "zds/calendar/classes.h"

#include "zds/calendar/calendar_doc.h"
#include "zds/calendar/my_cal_doc.h"
#include "zds/calendar/schedule_doc.h"
#include "zds/calendar/schedule_index_doc.h"

namespace zds {

void RegisterCalendarClasses(CRTTIRegistry& registry) {
  RegisterFamily<CCalendarDoc>(registry);
  RegisterFamily<CScheduleIndexDoc>(registry);
  RegisterFamily<CScheduleDoc>(registry);
  RegisterFamily<CAMyCalDoc>(registry);
}

}  // namespace zds

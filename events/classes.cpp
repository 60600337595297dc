#include "zds/events/classes.h"

#include "zds/events/autorun_doc.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"

namespace zds {

void RegisterEventClasses(CRTTIRegistry& registry) {
  RegisterFamily<CAEventDoc>(registry);
  RegisterFamily<CMonitorDoc>(registry);
  RegisterFamily<CAutoRunDoc>(registry);
}

}  // namespace zds

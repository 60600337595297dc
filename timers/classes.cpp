#include "zds/timers/classes.h"

#include "zds/timers/timer_doc.h"
#include "zds/timers/timer_index_doc.h"

namespace zds {

void RegisterTimerClasses(CRTTIRegistry& registry) {
  RegisterFamily<CATimerDoc>(registry);
  RegisterFamily<CATimerIndexDoc>(registry);
}

}  // namespace zds

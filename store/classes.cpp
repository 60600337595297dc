#include "zds/store/classes.h"

#include "zds/browsing/classes.h"
#include "zds/browsing/history_classes.h"
#include "zds/calendar/classes.h"
#include "zds/contacts/classes.h"
#include "zds/events/classes.h"
#include "zds/feeds/classes.h"
#include "zds/framework/classes.h"
#include "zds/mail/classes.h"
#include "zds/notes/classes.h"
#include "zds/store/aidl_doc.h"
#include "zds/timers/classes.h"

namespace zds {

void RegisterStoreClasses(CRTTIRegistry& registry) { RegisterFamily<CAIDLDoc>(registry); }

void RegisterAllClasses(CRTTIRegistry& registry) {
  RegisterFrameworkClasses(registry);
  RegisterStoreClasses(registry);
  RegisterEventClasses(registry);
  RegisterTimerClasses(registry);
  RegisterCalendarClasses(registry);
  RegisterContactClasses(registry);
  RegisterNoteClasses(registry);
  RegisterMailClasses(registry);
  RegisterFeedClasses(registry);
  RegisterFavoritesClasses(registry);
  RegisterHistoryClasses(registry);
}

}  // namespace zds

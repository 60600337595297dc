#include "zds/store/classes.h"

#include "zds/contacts/classes.h"
#include "zds/events/classes.h"
#include "zds/framework/classes.h"
#include "zds/store/aidl_doc.h"

namespace zds {

void RegisterStoreClasses(CRTTIRegistry& registry) { RegisterFamily<CAIDLDoc>(registry); }

void RegisterAllClasses(CRTTIRegistry& registry) {
  RegisterFrameworkClasses(registry);
  RegisterStoreClasses(registry);
  RegisterEventClasses(registry);
  RegisterContactClasses(registry);
}

}  // namespace zds

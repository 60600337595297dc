#include "zds/contacts/classes.h"

#include "zds/contacts/adrbook_doc.h"
#include "zds/contacts/pidl_doc.h"

namespace zds {

void RegisterContactClasses(CRTTIRegistry& registry) {
  RegisterFamily<CAdrBookDoc>(registry);
  RegisterFamily<CPIDLDoc>(registry);
}

}  // namespace zds

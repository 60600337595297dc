#include "zds/mail/classes.h"

#include "zds/mail/mbox_controller.h"
#include "zds/mail/midl_doc.h"

namespace zds {

void RegisterMailClasses(CRTTIRegistry& registry) {
  RegisterFamily<CMBoxController>(registry);
  RegisterFamily<CMIDLDoc>(registry);
}

}  // namespace zds

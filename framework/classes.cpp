#include "zds/framework/classes.h"

#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/notepad_doc.h"

namespace zds {

void RegisterFrameworkClasses(CRTTIRegistry& registry) {
  registry.Register("CVFDLDoc", &CVFDLDoc::CreateObject);
  registry.Register("CCASDVFDLDoc", &CCASDVFDLDoc::CreateObject);
  registry.Register("CNotepadDoc", &CNotepadDoc::CreateObject);
}

}  // namespace zds

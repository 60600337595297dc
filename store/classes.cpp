// The one place where every document class of the library is registered,
// so that a content descriptor's "class=" can name it.
#include "framework/rtti.h"
#include "framework/casd_vfdl_doc.h"
#include "framework/notepad_doc.h"
#include "framework/vfdl_doc.h"

namespace zds {

void RegisterAllClasses(CRTTIRegistry& registry) {
  registry.Register("CVFDLDoc", &CVFDLDoc::CreateObject);
  registry.Register("CCASDVFDLDoc", &CCASDVFDLDoc::CreateObject);
  registry.Register("CNotepadDoc", &CNotepadDoc::CreateObject);
}

}  // namespace zds

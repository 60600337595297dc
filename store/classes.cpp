// The one place where every document class of the library is registered,
// so that a content descriptor's "class=" can name it.
#include "events/autorun_doc.h"
#include "events/event_doc.h"
#include "events/monitor_doc.h"
#include "framework/rtti.h"
#include "framework/casd_vfdl_doc.h"
#include "framework/notepad_doc.h"
#include "framework/vfdl_doc.h"
#include "store/aidl_doc.h"

namespace zds {

void RegisterAllClasses(CRTTIRegistry& registry) {
  registry.Register("CVFDLDoc", &CVFDLDoc::CreateObject);
  registry.Register("CCASDVFDLDoc", &CCASDVFDLDoc::CreateObject);
  registry.Register("CNotepadDoc", &CNotepadDoc::CreateObject);
  registry.Register("CAIDLDoc", &CAIDLDoc::CreateObject);
  registry.Register("CAEventDoc", &CAEventDoc::CreateObject);
  registry.Register("CMonitorDoc", &CMonitorDoc::CreateObject);
  registry.Register("CAutoRunDoc", &CAutoRunDoc::CreateObject);
}

}  // namespace zds

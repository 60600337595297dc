#include "zds/calendar/calendar_doc.h"

namespace zds {

CScheduleIndexDoc* CCalendarDoc::GetScheduleIndexDoc(bool create) {
  CVFDLFolder* folder = GetRoot() ? AsFolder(GetRoot()->FindChildByAlias("Schedule")) : nullptr;
  return folder ? LoadVFDLDoc<CScheduleIndexDoc>(*folder, create) : nullptr;
}

}  // namespace zds

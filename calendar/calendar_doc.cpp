#include "zds/calendar/calendar_doc.h"

#include "zds/platform/files.h"

namespace zds {

bool CCalendarDoc::NewXMLDoc(std::string_view path) {
  if (GetDataRoot()) GetDataRoot()->CreateDirectories(platform::StoredDirectoryOf(path));
  return CVFDLFamily::NewXMLDoc(path);
}

CScheduleIndexDoc* CCalendarDoc::GetScheduleIndexDoc(bool create) {
  CVFDLNode* folder = GetRoot() ? GetRoot()->FindChildByAlias("Schedule") : nullptr;
  if (folder == nullptr || !folder->IsFolder()) return nullptr;
  return dynamic_cast<CScheduleIndexDoc*>(LoadVFDLDoc(*folder, create));
}

}  // namespace zds

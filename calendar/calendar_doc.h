// CCalendarDoc: the calendar root ("\calendar\index.xml"), the document the
// service index's Calendar folder stands for. It holds the calendar's four
// stores: "Diary", "Schedule", "Project" and "Task". The Schedule folder
// opens the schedule index ("\schedule\index.xml" in the calendar's
// directory), so that "kov:\Velmora\Calendar\Schedule" reaches it; the other
// three are plain folders.

#ifndef ZDS_CALENDAR_CALENDAR_DOC_H_
#define ZDS_CALENDAR_CALENDAR_DOC_H_

#include <string_view>

#include "zds/calendar/schedule_index_doc.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/resources/calendar_strings.h"

namespace zds {

// Makes its directory when it saves: the service index names
// "\calendar\index.xml" whether or not the directory exists.
class CCalendarDoc : public CVFDLFamily<CCalendarDoc, CCASDVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CCalendarDoc", "calendar", res::kCalendarTemplate, 0, 0, 0,
                                       kMakesItsDirectory};

  // The schedule index behind the Schedule folder, created with its
  // directory when missing (with `create`); null when there is no such
  // folder or the index cannot be used (GetLastLoadStatus tells why).
  // Owned by this document (casd_vfdl_doc.h).
  CScheduleIndexDoc* GetScheduleIndexDoc(bool create = true);
};

}  // namespace zds

#endif  // ZDS_CALENDAR_CALENDAR_DOC_H_

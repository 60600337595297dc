// The templates of the calendar root, the schedule index and the schedule
// documents (month, recurring and multi-day documents alike).

#ifndef ZDS_RESOURCES_CALENDAR_STRINGS_H_
#define ZDS_RESOURCES_CALENDAR_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kScheduleIndexTemplate = 3;
inline constexpr int kScheduleTemplate = 8;
// Ours: no other string of the library uses 37 (docs/calendar.md).
inline constexpr int kCalendarTemplate = 37;
// Ours as well: the work-day calendar's (docs/calendar.md).
inline constexpr int kMyCalTemplate = 24;

inline constexpr ResourceString kCalendarStrings[] = {
    {kMyCalTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<AMCAL ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Work Days\" attribute=\"root\">\r\n</folder>\r\n</AMCAL>\r\n"},
    {kScheduleIndexTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<SIC ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Schedule Index\" attribute=\"root\">\r\n</folder>\r\n</SIC>\r\n"},
    {kScheduleTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<schedule ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Schedule\" attribute=\"root\">\r\n</folder>\r\n</schedule>\r\n"},
    {kCalendarTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<calendar ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Calendar\" attribute=\"root\">\r\n"
     "<folder id=\"0001\" alias=\"Diary\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0002\" alias=\"Schedule\" attribute=\"system\" content=\"SIC;class=CScheduleIndexDoc;os=universal\" "
     "src=\"\\schedule\\index.xml\">\r\n</folder>\r\n"
     "<folder id=\"0003\" alias=\"Project\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0004\" alias=\"Task\" attribute=\"undel\">\r\n</folder>\r\n"
     "</folder>\r\n</calendar>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_CALENDAR_STRINGS_H_

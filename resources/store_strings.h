// The service index's template and the facade's labels.

#ifndef ZDS_RESOURCES_STORE_STRINGS_H_
#define ZDS_RESOURCES_STORE_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kAidlTemplateHead = 12;
inline constexpr int kAidlTemplateTail = 13;
inline constexpr int kSchedule = 71;
inline constexpr int kTimer = 74;
inline constexpr int kNotes = 75;
inline constexpr int kSystem = 61467;

inline constexpr ResourceString kStoreStrings[] = {
    {kAidlTemplateHead,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n"
     "<aidl ver=\"1.3\" udp=\"0001\">\r\n"
     "<adv src=\"about:blank\" num=\"0\"/>\r\n"},
    {kAidlTemplateTail,
     "<folder id=\"0000\" alias=\"Velmora\" attribute=\"root\">\r\n"
     "<folder id=\"0001\" alias=\"E-Mail\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0002\" alias=\"News\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0003\" alias=\"Chat\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0004\" alias=\"SMS\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0005\" alias=\"Cast\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0006\" alias=\"Other\" attribute=\"undel\">\r\n</folder>\r\n"
     "<folder id=\"0007\" alias=\"Favorites\" attribute=\"system\" content=\"Fav;class=CFavDoc;os=universal\" "
     "src=\"\\favorites\\index.xml\">\r\n</folder>\r\n"
     "<folder id=\"0008\" alias=\"Addresses\" attribute=\"system\" content=\"ADR;class=CAdrBookDoc;os=universal\" "
     "src=\"\\addressbook\\index.xml\">\r\n</folder>\r\n"
     "<folder id=\"0009\" alias=\"History\" attribute=\"system\" content=\"history;class=CHistoryDoc;os=universal\" "
     "src=\"\\history\\index.xml\">\r\n</folder>\r\n"
     "<folder id=\"0010\" alias=\"Calendar\" attribute=\"system\" "
     "content=\"calendar;class=CCalendarDoc;os=universal\" src=\"\\calendar\\index.xml\">\r\n</folder>\r\n"
     "</folder>\r\n"
     "</aidl>\r\n"},
    {kSchedule, "Schedule"},
    {kTimer, "Timer"},
    {kNotes, "Notes"},
    {kSystem, "System"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_STORE_STRINGS_H_

// The templates of the timer documents and of the timer index.

#ifndef ZDS_RESOURCES_TIMERS_STRINGS_H_
#define ZDS_RESOURCES_TIMERS_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kTimerTemplate = 28;
inline constexpr int kTimerIndexTemplate = 29;

inline constexpr ResourceString kTimersStrings[] = {
    {kTimerTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<ATimer ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Timer\" attribute=\"root\">\r\n</folder>\r\n</ATimer>\r\n"},
    {kTimerIndexTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<TIC ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Timer Index\" attribute=\"root\">\r\n"
     "<folder id=\"0001\" alias=\"Cycle\" attribute=\"undel\" content=\"ATimer;class=CATimerDoc;os=universal\" "
     "src=\"\\cycle.xml\">\r\n</folder>\r\n"
     "<folder id=\"0002\" alias=\"UnActive\" attribute=\"undel\" content=\"ATimer;class=CATimerDoc;os=universal\" "
     "src=\"\\unactive.xml\">\r\n</folder>\r\n"
     "</folder>\r\n</TIC>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_TIMERS_STRINGS_H_

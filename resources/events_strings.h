// The templates of the event queue, the monitor and the auto-run list.

#ifndef ZDS_RESOURCES_EVENTS_STRINGS_H_
#define ZDS_RESOURCES_EVENTS_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kEventTemplate = 25;
inline constexpr int kMonitorTemplate = 33;
inline constexpr int kAutoRunTemplate = 61353;

inline constexpr ResourceString kEventsStrings[] = {
    {kEventTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<AEvent ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Event\" attribute=\"root\">\r\n</folder>\r\n</AEvent>\r\n"},
    {kMonitorTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<Monitor ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Monitor\" attribute=\"root\">\r\n</folder>\r\n</Monitor>\r\n"},
    {kAutoRunTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<autorun ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"autorun\" attribute=\"root\">\r\n</folder>\r\n</autorun>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_EVENTS_STRINGS_H_

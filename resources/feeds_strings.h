// The templates of the channel index and of a channel document.

#ifndef ZDS_RESOURCES_FEEDS_STRINGS_H_
#define ZDS_RESOURCES_FEEDS_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kChannelTemplate = 31;
inline constexpr int kChannelIndexTemplate = 32;

inline constexpr ResourceString kFeedsStrings[] = {
    // Two blanks before "ver": channel files have always been written so.
    {kChannelTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<WSChannel  ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Channel\" attribute=\"root\">\r\n</folder>\r\n</WSChannel>\r\n"},
    {kChannelIndexTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<WSCIndex ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Channel Index\" attribute=\"root\">\r\n</folder>\r\n</WSCIndex>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_FEEDS_STRINGS_H_

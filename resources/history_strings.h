// The templates of the history, the chat history index and the chat
// history, and the chat channel types' display texts.

#ifndef ZDS_RESOURCES_HISTORY_STRINGS_H_
#define ZDS_RESOURCES_HISTORY_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kHistoryTemplate = 4;
inline constexpr int kChatIndexTemplate = 5;
inline constexpr int kChatHistoryTemplate = 10;
inline constexpr int kChatOpenedChannel = 101;
inline constexpr int kChatProtectedChannel = 102;
inline constexpr int kChatPrivateChannel = 103;

inline constexpr ResourceString kHistoryStrings[] = {
    // The chat folder's line keeps the two blanks the suite has always
    // written: a file made here is byte for byte the one it makes.
    {kHistoryTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<HisPos ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"History\" attribute=\"root\">\r\n"
     "<folder id=\"0001\" alias=\"E-Mail\" attribute=\"normal\">\r\n</folder>\r\n"
     "<folder id=\"0002\" alias=\"News\" attribute=\"normal\">\r\n</folder>\r\n"
     "<folder id=\"0003\" alias=\"Chat\"  attribute=\"normal\" content=\"chathis;class=CCHIndexController;os=universal\""
     "  src=\"\\chat\\index.xml\">\r\n</folder>\r\n"
     "</folder>\r\n</HisPos>\r\n"},
    {kChatIndexTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<chic ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"History\" attribute=\"root\">\r\n</folder>\r\n</chic>\r\n"},
    {kChatHistoryTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<chdl ver=\"1.0\">\r\n"
     "<header type=\"normal\">\r\n"
     "<index id=\"0000\" alias=\"Service Provider\" width=\"50\"/>\r\n"
     "<index id=\"0001\" alias=\"Channel Name\" width=\"70\"/>\r\n"
     "<index id=\"0002\" alias=\"Channel Type\" width=\"30\"/>\r\n"
     "<index id=\"0003\" alias=\"Start At\" width=\"50\"/>\r\n"
     "<index id=\"0004\" alias=\"End At\" width=\"50\"/>\r\n"
     "</header>\r\n"
     "<folder id=\"0000\" alias=\"Chat History\" attribute=\"root\">\r\n</folder>\r\n</chdl>\r\n"},
    {kChatOpenedChannel, "Opened Channel"},
    {kChatProtectedChannel, "Protected Channel"},
    {kChatPrivateChannel, "Private Channel"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_HISTORY_STRINGS_H_

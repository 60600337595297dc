// The templates of a mail box (kept in two resources, joined when used) and
// of a mail index, and the titles of the mail list's columns.

#ifndef ZDS_RESOURCES_MAIL_STRINGS_H_
#define ZDS_RESOURCES_MAIL_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kMailBoxTemplateHead = 6;
inline constexpr int kMailBoxTemplateTail = 7;
inline constexpr int kMailIndexTemplate = 9;

// The column titles, 892-900. The list shows seven of them; "Received" and
// "To" stand in for "Sent" and "From" where a host wants them.
inline constexpr int kMailColumnAttach = 892;
inline constexpr int kMailColumnPriority = 893;
inline constexpr int kMailColumnFrom = 894;
inline constexpr int kMailColumnSubject = 895;
inline constexpr int kMailColumnReceived = 896;
inline constexpr int kMailColumnSent = 897;
inline constexpr int kMailColumnTo = 898;
inline constexpr int kMailColumnSize = 899;
inline constexpr int kMailColumnComment = 900;

inline constexpr ResourceString kMailStrings[] = {
    {kMailBoxTemplateHead,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<mbc ver=\"1.0\">\r\n"
     "<folder id=\"0000\" alias=\"Local Mail Folder\" attribute=\"root\">\r\n"},
    {kMailBoxTemplateTail,
     "<folder id=\"0001\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Inbox\" attribute=\"undel\" "
     "src=\"\\inbox.xml\">\r\n</folder>\r\n"
     "<folder id=\"0002\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Outbox\" attribute=\"undel\" "
     "src=\"\\outbox.xml\">\r\n</folder>\r\n"
     "<folder id=\"0003\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Sent Items\" attribute=\"undel\" "
     "src=\"\\sent.xml\">\r\n</folder>\r\n"
     "<folder id=\"0004\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Trash\" attribute=\"undel\" "
     "src=\"\\trash.xml\">\r\n</folder>\r\n"
     "<folder id=\"0005\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Drafts\" attribute=\"undel\" "
     "src=\"\\draft.xml\">\r\n</folder>\r\n"
     "<folder id=\"0006\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Delete Items\" attribute=\"system\" "
     "src=\"\\delete.xml\">\r\n</folder>\r\n"
     "<folder id=\"0007\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Auto-Inbox\" attribute=\"system\" "
     "src=\"\\autoinbox.xml\">\r\n</folder>\r\n"
     "<folder id=\"0008\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Auto-Outbox\" attribute=\"system\" "
     "src=\"\\autooutbox.xml\">\r\n</folder>\r\n"
     "<folder id=\"0009\" content=\"midl;class=CMIDLDoc;os=universal\" alias=\"Auto-Sent\" attribute=\"system\" "
     "src=\"\\autosent.xml\">\r\n</folder>\r\n"
     "</folder>\r\n</mbc>\r\n"},
    {kMailIndexTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<midl ver=\"1.1\">\r\n"
     "<folder id=\"0000\" alias=\"Mail Folder\" attribute=\"root\">\r\n</folder>\r\n</midl>\r\n"},
    {kMailColumnAttach, "Attach"},
    {kMailColumnPriority, "Priority"},
    {kMailColumnFrom, "From"},
    {kMailColumnSubject, "Subject"},
    {kMailColumnReceived, "Received"},
    {kMailColumnSent, "Sent"},
    {kMailColumnTo, "To"},
    {kMailColumnSize, "Size"},
    {kMailColumnComment, "Comment"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_MAIL_STRINGS_H_

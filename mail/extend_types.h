// The extension types of the mail box controller's and the mail index's
// nodes, which the list and tree views show by them and the mail list
// titles its columns by. Declared ahead of the mail families, which
// include this header. A mail box folder gets its type from its path, by
// substring in the order kMailFolderTypes gives.

#ifndef ZDS_MAIL_EXTEND_TYPES_H_
#define ZDS_MAIL_EXTEND_TYPES_H_

#include <string_view>

namespace zds {

inline constexpr int kMailRootType = 70;  // the mail box's root folder
inline constexpr int kMailInboxType = 71;
inline constexpr int kMailOutboxType = 72;
inline constexpr int kMailSentItemsType = 73;
inline constexpr int kMailTrashType = 74;
inline constexpr int kMailDeleteItemsType = 75;
inline constexpr int kMailDraftsType = 76;
inline constexpr int kMailOtherFolderType = 77;  // a folder whose path names none of these
inline constexpr int kMailAutoInboxType = 78;
inline constexpr int kMailAutoOutboxType = 79;
inline constexpr int kMailAutoSentType = 80;
inline constexpr int kMailRecType = 81;  // a message

struct MailFolderType {
  std::string_view in_path;
  int type;
};
// Tested in this order: "Auto-Inbox" holds "Inbox" and so gets 71, as
// "Auto-Outbox" gets 72; only "Auto-Sent" reaches its own. The mail
// index stops after "Delete Items".
inline constexpr MailFolderType kMailFolderTypes[] = {
    {"Inbox", kMailInboxType},         {"Outbox", kMailOutboxType},          {"Sent Items", kMailSentItemsType},
    {"Trash", kMailTrashType},         {"Drafts", kMailDraftsType},          {"Delete Items", kMailDeleteItemsType},
    {"Auto-Inbox", kMailAutoInboxType}, {"Auto-Outbox", kMailAutoOutboxType}, {"Auto-Sent", kMailAutoSentType},
};

}  // namespace zds

#endif  // ZDS_MAIL_EXTEND_TYPES_H_

// What every command that shows mail has in common: finding a mail account
// by what a person types, naming a mail folder so that a shell passes it
// unquoted, and the one line a message gets in a list, so that every list
// of messages (a folder, an archive) reads and parses alike.

#ifndef ZDS_CLI_MAIL_LISTING_H_
#define ZDS_CLI_MAIL_LISTING_H_

#include <string>
#include <string_view>

#include "cli/command_text.h"
#include "zds/mail/mbox_controller.h"
#include "zds/mail/midl_doc.h"
#include "zds/store/aidl_doc.h"

namespace zds::cli {

// The service kind of a mail account.
inline constexpr std::string_view kMailAccountKind = "popmail";

// The mail account `typed` names: the name of a "popmail" service
// (exactly, else ignoring letter case), or a service's position in any
// form StoredPos reads. Null for none.
CAIDLService* FindMailAccount(const CAIDLDoc& index, std::string_view typed);

// A mail folder as printed and typed: its path below the mail box's root,
// "/" between the parts, shell bytes as %XX ("Sent%20Items", "Inbox/Sub").
std::string ShownMailFolder(const CMBoxController& box, const CVFDLNode& folder);
// The folder `typed` names in that form (or as "Sent Items", or by
// position); null for none and for the mail box's root.
CVFDLNode* FindMailFolder(const CMBoxController& box, std::string_view typed);

// A list of messages: id, new ("N" or "-"), date, sender, subject,
// attachments; AddMailRows adds every message of an index in file order.
Listing MailListing(Call& call);
void AddMailRows(Listing& listing, const CMIDLDoc& doc);

}  // namespace zds::cli

#endif  // ZDS_CLI_MAIL_LISTING_H_

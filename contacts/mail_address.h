// A mail address as people write it ("Jane Doe <jane@example.org>",
// "\"Doe, Jane\" <jane@example.org>", "jane@example.org (Jane Doe)",
// "jane@example.org") taken apart into its display name and address.

#ifndef ZDS_CONTACTS_MAIL_ADDRESS_H_
#define ZDS_CONTACTS_MAIL_ADDRESS_H_

#include <string>
#include <string_view>

namespace zds {

struct MailAddress {
  std::string name;     // empty when the text gives none
  std::string address;
};

// Blanks around either part are dropped, and the quotes around a name.
MailAddress ParseMailAddress(std::string_view text);

}  // namespace zds

#endif  // ZDS_CONTACTS_MAIL_ADDRESS_H_

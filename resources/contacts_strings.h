// The templates of the address book (the list of contact books) and of a
// contact book (a person-records document).

#ifndef ZDS_RESOURCES_CONTACTS_STRINGS_H_
#define ZDS_RESOURCES_CONTACTS_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kPIDLTemplate = 19;
inline constexpr int kAdrBookTemplate = 20;

inline constexpr ResourceString kContactsStrings[] = {
    {kPIDLTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<pidl ver=\"1.1\">\r\n"
     "<folder id=\"0000\" alias=\"Address Book\" attribute=\"root\">\r\n</folder>\r\n</pidl>\r\n"},
    {kAdrBookTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<adrbook ver=\"2.0\">\r\n"
     "<folder id=\"0000\" alias=\"Addresses\" attribute=\"root\">\r\n</folder>\r\n</adrbook>\r\n"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_CONTACTS_STRINGS_H_

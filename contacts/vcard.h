// vCard in and out of the contact books: export as vCard 4.0 (RFC 6350) and
// import of vCard 3.0 (RFC 2426) and 4.0 cards.
//
// Export folds lines at 75 octets without splitting a UTF-8 character,
// escapes "\", ",", ";" and line breaks in text, and lets every other byte
// through. Import unfolds, reads groups and parameters (TYPE=work,cell,
// quoted values, bare 2.1-style type words), and keeps every property the
// contact record has no field for as its content line, so that an export
// gives it back. A card that cannot be read whole (no END, a line without
// ":") or given back as readers expect (bytes that are no UTF-8, an
// encoding other than base64) is refused, and reading goes on with the
// next card. docs/contacts.md lists how each property maps to the record.

#ifndef ZDS_CONTACTS_VCARD_H_
#define ZDS_CONTACTS_VCARD_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/contacts/adrbook_doc.h"
#include "zds/contacts/pidl_doc.h"

namespace zds {

// One contact as a vCard 4.0, lines ended by CR LF.
std::string FormatVCard(const CPIDLRec& contact);
// Every contact of a book, in document order; of every book, books in order.
std::string ExportVCards(const CPIDLDoc& book);
std::string ExportVCards(CAdrBookDoc& address_book);

struct VCardReadResult {
  std::vector<CPIDLRec> contacts;  // the cards read, in order
  int refused = 0;                 // cards that could not be read
};
// Reads every card of a .vcf text.
VCardReadResult ReadVCards(std::string_view text);

struct VCardImportResult {
  int read = 0;     // cards read and stored
  int refused = 0;  // cards that could not be read, or whose contact could not be stored
};
// Reads the cards into the book's root folder. A card whose UID a contact
// of the book already has replaces that contact.
VCardImportResult ImportVCards(CPIDLDoc& book, std::string_view text);

}  // namespace zds

#endif  // ZDS_CONTACTS_VCARD_H_

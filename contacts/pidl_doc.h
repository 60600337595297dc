// A contact book: the person-records document ("pidl") that a book of the
// address book names in its "src". Each record is one contact, with what
// people keep in an address book and what a vCard carries; docs/contacts.md
// gives the stored form.
//
// CPIDLDoc keeps an index of its contacts' e-mail addresses that follows
// every change of its tree (edits, undone edits, a new text), so a contact
// is found by address without looking at the others. An index over several
// books (the address book's) follows along through a CPIDLAddressWatcher.

#ifndef ZDS_CONTACTS_PIDL_DOC_H_
#define ZDS_CONTACTS_PIDL_DOC_H_

#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "zds/contacts/email_index.h"
#include "zds/framework/family.h"
#include "zds/framework/field_lines.h"
#include "zds/resources/contacts_strings.h"

namespace zds {

// Extension types of a contact book's nodes.
inline constexpr int kContactRecType = 45;
inline constexpr int kContactFolderType = 46;

// Where an address or number belongs.
inline constexpr int kContactPlaceOther = 0;
inline constexpr int kContactPlaceHome = 1;
inline constexpr int kContactPlaceWork = 2;

// How a vCard typed one of a contact's entries, beside the place.
struct CContactTyping {
  int place = kContactPlaceOther;
  bool preferred = false;
  std::string kinds;  // further type words, lower case, comma-joined ("cell", "fax")
  std::string group;  // the vCard group the property stood in ("item1")
  bool operator==(const CContactTyping&) const = default;
};

// An e-mail address or a telephone number.
struct CContactItem {
  std::string value;
  CContactTyping typing;
  bool operator==(const CContactItem&) const = default;
};

// A postal address, in the seven parts of a vCard ADR.
struct CContactAddress {
  std::string po_box, extended, street, locality, region, postal_code, country;
  CContactTyping typing;
  bool operator==(const CContactAddress&) const = default;
};

// A contact's fields; the formatted name is the record's alias.
class CPIDLExtendRec : public CVFDLExtendBase<CPIDLExtendRec> {
 public:
  bool operator==(const CPIDLExtendRec&) const = default;

  std::string uid;  // given once, kept through export and import
  std::string family_name, given_name, additional_names, honorific_prefixes, honorific_suffixes;
  std::string nickname;
  std::string organization, department, title;
  std::vector<CContactItem> emails;
  std::vector<CContactItem> phones;
  std::vector<CContactAddress> addresses;
  std::string url, birthday, note;
  // vCard properties the record has no field for, each an unfolded content
  // line as it was read ("X-SKYPE:jane.doe"), given back on export.
  std::vector<std::string> extra_lines;
};

class CPIDLRec : public CVFDLTypedRec<CPIDLRec, CPIDLExtendRec> {};

class CPIDLDoc;

// Told when the first contact of a book that holds an address changes
// (null: none holds it any more), and when the book goes away.
class CPIDLAddressWatcher {
 public:
  virtual void OnFirstHolderChanged(CPIDLDoc& book, const std::string& key, CPIDLRec* first) = 0;
  virtual void OnPIDLDocClosing(CPIDLDoc& book) = 0;

 protected:
  ~CPIDLAddressWatcher() = default;
};

// Where an entry belongs is written as its word; an unknown one reads and
// writes as "other".
inline constexpr auto kContactPlaceWords = field::MakeWords(
    field::kWords.ReadingUnknownAs(kContactPlaceOther).WritingUnknownAs("other"),
    field::Word{kContactPlaceOther, "other"}, field::Word{kContactPlaceHome, "home"},
    field::Word{kContactPlaceWork, "work"});

// A new book's directory is made with its first save.
class CPIDLDoc : public CVFDLFamily<CPIDLDoc, CVFDLDoc, CPIDLRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CPIDLDoc", "pidl", res::kPIDLTemplate, 0, kContactFolderType,
                                       kContactRecType, kMakesItsDirectory};
  // Every field is left out when empty, a preferred entry's flag when false.
  static constexpr auto kTypingFields =
      field::List(field::Of("type", &CContactTyping::place, kContactPlaceWords),
                  field::Of("pref", &CContactTyping::preferred, field::kFlagWhenSet),
                  field::Of("kind", &CContactTyping::kinds, field::kTextUnlessEmpty),
                  field::Of("group", &CContactTyping::group, field::kTextUnlessEmpty));
  static constexpr auto kItemFields = field::List(field::Of("value", &CContactItem::value),
                                                  field::PartOf(&CContactItem::typing, kTypingFields));
  static constexpr auto kAddressFields =
      field::List(field::Of("pobox", &CContactAddress::po_box, field::kTextUnlessEmpty),
                  field::Of("ext", &CContactAddress::extended, field::kTextUnlessEmpty),
                  field::Of("street", &CContactAddress::street, field::kTextUnlessEmpty),
                  field::Of("locality", &CContactAddress::locality, field::kTextUnlessEmpty),
                  field::Of("region", &CContactAddress::region, field::kTextUnlessEmpty),
                  field::Of("code", &CContactAddress::postal_code, field::kTextUnlessEmpty),
                  field::Of("country", &CContactAddress::country, field::kTextUnlessEmpty),
                  field::PartOf(&CContactAddress::typing, kTypingFields));
  static constexpr auto kRecFields =
      field::List(field::Of("uid", &CPIDLExtendRec::uid, field::kTextUnlessEmpty),
                  field::Of("family", &CPIDLExtendRec::family_name, field::kTextUnlessEmpty),
                  field::Of("given", &CPIDLExtendRec::given_name, field::kTextUnlessEmpty),
                  field::Of("additional", &CPIDLExtendRec::additional_names, field::kTextUnlessEmpty),
                  field::Of("prefix", &CPIDLExtendRec::honorific_prefixes, field::kTextUnlessEmpty),
                  field::Of("suffix", &CPIDLExtendRec::honorific_suffixes, field::kTextUnlessEmpty),
                  field::Of("nickname", &CPIDLExtendRec::nickname, field::kTextUnlessEmpty),
                  field::Of("organization", &CPIDLExtendRec::organization, field::kTextUnlessEmpty),
                  field::Of("department", &CPIDLExtendRec::department, field::kTextUnlessEmpty),
                  field::Of("title", &CPIDLExtendRec::title, field::kTextUnlessEmpty),
                  field::Of("url", &CPIDLExtendRec::url, field::kTextUnlessEmpty),
                  field::Of("birthday", &CPIDLExtendRec::birthday, field::kTextUnlessEmpty),
                  field::Of("note", &CPIDLExtendRec::note, field::kTextUnlessEmpty),
                  field::ChildLines("email", &CPIDLExtendRec::emails, kItemFields),
                  field::ChildLines("tel", &CPIDLExtendRec::phones, kItemFields),
                  field::ChildLines("adr", &CPIDLExtendRec::addresses, kAddressFields),
                  field::ChildLines("vcard", &CPIDLExtendRec::extra_lines, field::ValueIn{"line"}));

  ~CPIDLDoc() override;

  [[nodiscard]] bool SetXml(std::string text) override;

  // The first contact, in document order, one of whose e-mail addresses is
  // `address` without regard to case; null when there is none. Valid as
  // the contact is ("Lifetimes" in vfdl_doc.h).
  CPIDLRec* FindByEmail(std::string_view address) const { return FindByEmailKey(FoldEmailKey(address)); }
  CPIDLRec* FindByEmailKey(const std::string& key) const { return AsRec(index_.First(key)); }
  // Every address some contact holds, folded, each once.
  std::vector<std::string> GetEmailKeys() const { return index_.Keys(); }

  void SetAddressWatcher(CPIDLAddressWatcher* watcher) { watcher_ = watcher; }
  CPIDLAddressWatcher* GetAddressWatcher() const { return watcher_; }

  void InitNodeExtendType(CVFDLNode& node) override;

 protected:
  std::string_view GetRecTag() const override { return "contact"; }
  // Gives a contact without a uid a new one.
  void PrepareNewRec(CPIDLRec& contact) override;
  void OnNodeRemoving(CVFDLNode& node) override;

 private:
  std::string NextUID();
  void IndexContact(CVFDLNode& node);
  void RebuildIndex();
  void Tell(std::vector<std::string> moved);

  CEmailIndex index_;
  std::unique_ptr<std::mt19937_64> uid_random_;  // seeded from std::random_device on first need
  CPIDLAddressWatcher* watcher_ = nullptr;
  bool rebuilding_ = false;  // a new text is being read; the index follows once it is in
};

// A new unique id for a contact: "urn:uuid:" and a random (version 4) UUID
// drawn from `random`.
std::string NewContactUID(std::mt19937_64& random);

}  // namespace zds

#endif  // ZDS_CONTACTS_PIDL_DOC_H_

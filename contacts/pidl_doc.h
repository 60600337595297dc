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

class CPIDLDoc : public CVFDLFamily<CPIDLDoc, CVFDLDoc, CPIDLRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CPIDLDoc", "pidl", res::kPIDLTemplate, 0, kContactFolderType,
                                       kContactRecType};

  ~CPIDLDoc() override;

  [[nodiscard]] bool SetXml(std::string text) override;
  // Gives a contact without a uid a new one.
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;

  // The first contact, in document order, one of whose e-mail addresses is
  // `address` without regard to case; null when there is none.
  CPIDLRec* FindByEmail(std::string_view address) const { return FindByEmailKey(FoldEmailKey(address)); }
  CPIDLRec* FindByEmailKey(const std::string& key) const { return static_cast<CPIDLRec*>(index_.First(key)); }
  // Every address some contact holds, folded, each once.
  std::vector<std::string> GetEmailKeys() const { return index_.Keys(); }

  void SetAddressWatcher(CPIDLAddressWatcher* watcher) { watcher_ = watcher; }
  CPIDLAddressWatcher* GetAddressWatcher() const { return watcher_; }

  void InitNodeExtendType(CVFDLNode& node) override;

  // Calls `visit` for each contact, in document order.
  template <typename Visit>
  void ForEachContact(const Visit& visit) const {
    std::vector<const CVFDLNode*> pending;
    if (GetRoot()) pending.push_back(GetRoot());
    while (!pending.empty()) {
      const CVFDLNode* node = pending.back();
      pending.pop_back();
      if (node->GetNodeType() == kNodeRec) visit(static_cast<const CPIDLRec&>(*node));
      if (!node->IsFolder()) continue;
      for (auto* child = static_cast<const CVFDLFolder*>(node)->GetLastChild(); child; child = child->GetPrevSibling()) {
        pending.push_back(child);
      }
    }
  }

 protected:
  std::string_view GetRecTag() const override { return "contact"; }
  bool InitExtendRecItem(CXMLElementReader& item, CPIDLExtendRec& contact) override;
  void CreateExtendRecText(const CPIDLExtendRec& contact, CXMLLine& line,
                           std::vector<std::string>& lines) const override;
  void OnNodeRemoving(CVFDLNode& node) override;
  // A new book's directory is made with its first save.
  bool WriteXmlTo(const platform::DataRoot& root, std::string_view path) const override;

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

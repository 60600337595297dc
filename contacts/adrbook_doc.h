// The address book ("\addressbook\index.xml", root "adrbook"): the list of
// the user's contact books. Each book is a folder whose "src" names the
// book's own person-records document (a CPIDLDoc), opened on demand.
//
// CAdrBookFolder is a book and CAdrBookExtendFolder its own fields. The
// address book upgrades a version "1.0" list, whose books were files beside
// it, to "2.0", where each book has a directory of its own, when it is
// loaded, and saves automatically from then on. It also keeps an index
// over the open books' e-mail addresses, so that a contact is found by
// address among any number of contacts at the cost of a look-up.

#ifndef ZDS_CONTACTS_ADRBOOK_DOC_H_
#define ZDS_CONTACTS_ADRBOOK_DOC_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zds/contacts/pidl_doc.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/resources/contacts_strings.h"

namespace zds {

// Extension types of the address book's nodes: the root folder, a book
// whose document is not open yet, and an open book (43; 44 is taken for an
// open book too, for a host that marks one apart).
inline constexpr int kAdrBookRootType = 41;
inline constexpr int kAdrBookClosedType = 42;
inline constexpr int kAdrBookOpenType = 43;
inline constexpr int kAdrBookOpenOtherType = 44;

class CAdrBookExtendFolder : public CVFDLExtendBase<CAdrBookExtendFolder> {
 public:
  ~CAdrBookExtendFolder() override = default;
  bool operator==(const CAdrBookExtendFolder&) const = default;

  int32_t size = 0;
  std::string create_time;  // kept as text
  std::string update_time;
  std::string access_time;
  bool ownership = false;     // the user's own book
  bool default_book = false;  // where new contacts go
};

class CAdrBookFolder : public CVFDLTypedFolder<CAdrBookFolder, CAdrBookExtendFolder> {};

// One line of the facade's contact list: a contact with one of its
// addresses (or none).
struct CContactListEntry {
  std::string pos;
  std::string name;
  std::string email;
  bool operator==(const CContactListEntry&) const = default;
};

// Makes its directory when it saves: the service index names
// "\addressbook\index.xml" whether or not the directory exists.
class CAdrBookDoc : public CVFDLFamily<CAdrBookDoc, CCASDVFDLDoc, CVFDLRec, CAdrBookFolder>,
                    private CPIDLAddressWatcher {
 public:
  static constexpr CFamilyInfo kFamily{"CAdrBookDoc", "adrbook", res::kAdrBookTemplate, 0, 0, 0, kMakesItsDirectory};
  // A book without its closing line is refused; the flags are "yes" exactly.
  static constexpr auto kFolderFields =
      field::List(field::Of("createtime", &CAdrBookExtendFolder::create_time),
                  field::Of("updatetime", &CAdrBookExtendFolder::update_time),
                  field::Of("accesstime", &CAdrBookExtendFolder::access_time),
                  field::Of("size", &CAdrBookExtendFolder::size, field::kAtol),
                  field::Of("ownership", &CAdrBookExtendFolder::ownership, field::kFlagExact),
                  field::Of("defaultbook", &CAdrBookExtendFolder::default_book, field::kFlagExact))
          .RequiringClosingLine();

  ~CAdrBookDoc() override;

  void InitNodeExtendType(CVFDLNode& node) override;
  // A book folder without a content descriptor is a person-records book.
  std::string GetNodeContentClass(const CVFDLNode& node) const override;

  // The books: the folders under the root, in document order, counted and
  // numbered the same way by each of these. Folders and documents are
  // valid as "Lifetimes" in vfdl_doc.h and CCASDVFDLDoc say.
  int GetPIDLDocNum() const;
  std::string GetPIDLDocAlias(int index) const;
  int GetPIDLDocIndex(std::string_view path) const;
  CAdrBookFolder* GetBookFolder(int index);
  // The book folders as a walk (ChildFolders of the root).
  ChildFolderWalk GetBooks();
  ConstChildFolderWalk GetBooks() const;
  CAdrBookFolder* FindBook(std::string_view alias);
  // The book flagged as default, else the first; null without books.
  CAdrBookFolder* GetDefaultBook();

  // A book's document: opened from its "src" (never created) when the book
  // is closed, the one already open otherwise; null for a path that is no
  // book, a book whose file is missing or cannot be used.
  CPIDLDoc* LoadPIDLDoc(std::string_view path);
  CPIDLDoc* GetPIDLDoc(std::string_view path);
  CPIDLDoc* GetPIDLDoc(int index);
  CPIDLDoc* GetPIDLDoc(CVFDLNode& book);
  // Opens every book that can be opened.
  void LoadAllPIDLDocs();

  // Adds a book with a directory and document of its own, named after it;
  // its position, empty when the name is empty or taken or a file cannot
  // be made. The first book becomes the default one.
  [[nodiscard]] std::string AddBook(std::string_view name);
  // Deletes the file a book names (inside the data root).
  bool DelLinkFile(const CVFDLNode& node);

  // The first contact holding the address (without regard to case), books
  // in order; null when none. Opens the books first.
  CPIDLRec* FindAdrByEmail(std::string_view email);
  // Every contact of every book, one entry per e-mail address.
  void GetContactsList(std::vector<CContactListEntry>& list);

 protected:
  void AfterUpdateVersion() override;

 private:
  void OnFirstHolderChanged(CPIDLDoc& book, const std::string& key, CPIDLRec* first) override;
  void OnPIDLDocClosing(CPIDLDoc& book) override;

  CPIDLDoc* Attach(CPIDLDoc* book);
  bool MoveBookToItsDirectory(const CAdrBookFolder& book);
  std::string NewBookDirectory(std::string_view name) const;

  // The open books holding an address, each with its first contact that
  // does, in book order. The first is kept in place: nearly every address
  // is in one book, and a look-up then reads nothing else.
  struct BookHolder {
    CPIDLDoc* book = nullptr;
    CPIDLRec* contact = nullptr;
  };
  struct AddressHolders {
    BookHolder first;
    std::vector<BookHolder> others;
  };
  std::unordered_map<std::string, AddressHolders> holders_;
  std::string key_;  // the folded address of a look-up, kept to spare an allocation each time
  std::vector<CPIDLDoc*> attached_;
  bool all_open_ = false;  // every book was tried since the list last changed
};

}  // namespace zds

#endif  // ZDS_CONTACTS_ADRBOOK_DOC_H_

#include "zds/contacts/adrbook_doc.h"

#include <algorithm>
#include <iterator>

#include "zds/platform/ascii.h"
#include "zds/platform/time.h"

namespace zds {
namespace {

constexpr std::string_view kOldVersion = "1.0";
constexpr std::string_view kVersion = "2.0";

// A book's file in the "2.0" layout: "\index" goes in before the last "."
// of the whole stored path, so "\A.xml" becomes "\A\index.xml" (and a "."
// in a directory's name is taken as readily: "\my.books\A" becomes
// "\my\index.books\A"). A path without any "." gets "\index" at its end.
std::string BookIndexPath(std::string_view src) {
  std::string path(src);
  size_t dot = path.rfind('.');
  path.insert(dot == std::string::npos ? path.size() : dot, "\\index");
  return path;
}

// A directory name for a book: its name with whatever a file name cannot
// safely hold on every system replaced by "_".
std::string DirectoryNameFor(std::string_view name) {
  std::string directory;
  for (char c : name) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' ||
                 c == '-' || c == '_' || c == '.';
    directory += plain ? c : '_';
  }
  while (!directory.empty() && (directory.back() == '.' || directory.back() == ' ')) directory.pop_back();
  while (!directory.empty() && directory.front() == '.') directory.erase(0, 1);
  return directory.empty() ? "book" : directory;
}

bool IsBook(const CVFDLNode& node) { return node.IsFolder() && node.GetParent() && !node.GetParent()->GetParent(); }

}  // namespace

CAdrBookDoc::~CAdrBookDoc() {
  // The books close after this object's own part is gone: they must not call back.
  for (CPIDLDoc* book : attached_) book->SetAddressWatcher(nullptr);
}

void CAdrBookDoc::InitNodeExtendType(CVFDLNode& node) {
  if (!node.IsFolder()) {
    node.SetExtendType(0);
  } else if (node.GetParent() == nullptr) {
    node.SetExtendType(kAdrBookRootType);
  } else {
    node.SetExtendType(GetExpandedDoc(node) ? kAdrBookOpenType : kAdrBookClosedType);
    all_open_ = false;
  }
}

std::string CAdrBookDoc::GetNodeContentClass(const CVFDLNode& node) const {
  std::string name = CVFDLFamily::GetNodeContentClass(node);
  if (name.empty() && IsBook(node)) name = CPIDLDoc::kFamily.class_name;
  return name;
}

// ---- the books ----

CAdrBookDoc::ChildFolderWalk CAdrBookDoc::GetBooks() {
  return GetRoot() ? ChildFolders(*GetRoot()) : ChildFolderWalk(nullptr);
}

CAdrBookDoc::ConstChildFolderWalk CAdrBookDoc::GetBooks() const {
  return GetRoot() ? ChildFolders(*GetRoot()) : ConstChildFolderWalk(nullptr);
}

CAdrBookFolder* CAdrBookDoc::GetBookFolder(int index) {
  if (index < 0) return nullptr;
  for (CAdrBookFolder& book : GetBooks()) {
    if (index-- == 0) return &book;
  }
  return nullptr;
}

int CAdrBookDoc::GetPIDLDocNum() const {
  const ConstChildFolderWalk books = GetBooks();
  return static_cast<int>(std::distance(books.begin(), books.end()));
}

std::string CAdrBookDoc::GetPIDLDocAlias(int index) const {
  if (index < 0) return std::string();
  for (const CAdrBookFolder& book : GetBooks()) {
    if (index-- == 0) return book.GetAlias();
  }
  return std::string();
}

int CAdrBookDoc::GetPIDLDocIndex(std::string_view path) const {
  const CVFDLNode* node = GetNodeByPath(path);
  if (node == nullptr || node->GetDoc() != this || !IsBook(*node)) return -1;
  int index = 0;
  for (const CAdrBookFolder& book : GetBooks()) {
    if (&book == node) return index;
    ++index;
  }
  return -1;
}

CAdrBookFolder* CAdrBookDoc::FindBook(std::string_view alias) {
  for (CAdrBookFolder& book : GetBooks()) {
    if (book.GetAlias() == alias) return &book;
  }
  return nullptr;
}

CAdrBookFolder* CAdrBookDoc::GetDefaultBook() {
  for (CAdrBookFolder& book : GetBooks()) {
    if (book.GetExtendFolder().default_book) return &book;
  }
  return GetBookFolder(0);
}

CPIDLDoc* CAdrBookDoc::LoadPIDLDoc(std::string_view path) {
  CVFDLNode* node = GetNodeByPath(path);
  if (node == nullptr || node->GetDoc() != this) return nullptr;
  return Attach(LoadVFDLDoc<CPIDLDoc>(*node, false));
}

CPIDLDoc* CAdrBookDoc::GetPIDLDoc(std::string_view path) {
  CVFDLNode* node = GetNodeByPath(path);
  return node ? GetPIDLDoc(*node) : nullptr;
}

CPIDLDoc* CAdrBookDoc::GetPIDLDoc(int index) {
  CAdrBookFolder* book = GetBookFolder(index);
  return book ? GetPIDLDoc(*book) : nullptr;
}

CPIDLDoc* CAdrBookDoc::GetPIDLDoc(CVFDLNode& book) {
  if (book.GetDoc() != this) return nullptr;
  switch (book.GetExtendType()) {
    case kAdrBookClosedType: return Attach(LoadVFDLDoc<CPIDLDoc>(book, false));
    case kAdrBookOpenType:
    case kAdrBookOpenOtherType: return Attach(GetExpandedDoc<CPIDLDoc>(book));
    default: return nullptr;
  }
}

void CAdrBookDoc::LoadAllPIDLDocs() {
  for (CAdrBookFolder& book : GetBooks()) GetPIDLDoc(book);
  all_open_ = true;
}

std::string CAdrBookDoc::NewBookDirectory(std::string_view name) const {
  const std::string base = DirectoryNameFor(name);
  auto taken = [this](const std::string& directory) {
    std::string stored = platform::JoinStoredPath(GetBasePath(), "\\" + directory);
    if (GetDataRoot()->DirectoryExists(stored) || GetDataRoot()->FileExists(stored)) return true;
    const std::string prefix = "\\" + directory + "\\";
    for (const CAdrBookFolder& book : GetBooks()) {
      std::string_view src = book.GetSrc();
      const std::string_view head = src.substr(0, prefix.size());
      if (src.size() > prefix.size() && platform::SameIgnoringAsciiCase(head, prefix)) return true;
    }
    return false;
  };
  std::string directory = base;
  for (int n = 2; taken(directory); ++n) directory = base + "-" + std::to_string(n);
  return directory;
}

std::string CAdrBookDoc::AddBook(std::string_view name) {
  // A "\" would end the name in a virtual path.
  if (name.empty() || name.find('\\') != std::string_view::npos || GetRoot() == nullptr || !GetDataRoot() ||
      FindBook(name)) {
    return std::string();
  }
  const std::string directory = NewBookDirectory(name);
  CAdrBookFolder book;
  book.SetAlias(name);
  book.SetAttribute(kAttrNormal);
  book.ComposeContent(CPIDLDoc::kFamily.root_tag, CPIDLDoc::kFamily.class_name, "universal");
  book.SetSrc("\\" + directory + "\\index.xml");
  CAdrBookExtendFolder& fields = book.GetExtendFolder();
  fields.create_time = CTime::GetCurrentTime().Format(kTimeFormatSeconds);
  fields.ownership = true;
  fields.default_book = GetBookFolder(0) == nullptr;
  std::string pos = AddFolder(GetRoot()->GetPos(), book, false);
  if (pos.empty()) return pos;
  if (Attach(LoadVFDLDoc<CPIDLDoc>(*GetNodeByPos(pos), true)) != nullptr) return pos;
  // Should taking the book out fail too, it stays listed without a file,
  // which opens no document: there is nothing more to undo.
  static_cast<void>(DelFolder(pos));
  return std::string();
}

bool CAdrBookDoc::DelLinkFile(const CVFDLNode& node) {
  if (node.GetDoc() != this || node.GetSrc().empty() || !platform::IsSafeStoredPath(node.GetSrc())) return false;
  return GetDataRoot() && GetDataRoot()->RemoveFile(platform::JoinStoredPath(GetBasePath(), node.GetSrc()));
}

// ---- finding contacts ----

CPIDLRec* CAdrBookDoc::FindAdrByEmail(std::string_view email) {
  if (!all_open_) LoadAllPIDLDocs();
  platform::AsciiLowerCase(email, key_);  // FoldEmailKey, into a buffer kept between calls
  auto found = holders_.find(key_);
  return found == holders_.end() ? nullptr : found->second.first.contact;
}

void CAdrBookDoc::GetContactsList(std::vector<CContactListEntry>& list) {
  list.clear();
  for (CAdrBookFolder& folder : GetBooks()) {
    const CPIDLDoc* book = GetPIDLDoc(folder);
    if (book == nullptr) continue;
    for (const CPIDLRec& contact : book->Recs()) {
      const std::vector<CContactItem>& emails = contact.GetExtendRec().emails;
      if (emails.empty()) list.push_back({contact.GetPos(), contact.GetAlias(), std::string()});
      for (const CContactItem& email : emails) list.push_back({contact.GetPos(), contact.GetAlias(), email.value});
    }
  }
}

CPIDLDoc* CAdrBookDoc::Attach(CPIDLDoc* book) {
  if (book == nullptr || book->GetAddressWatcher() == this) return book;
  book->SetAddressWatcher(this);
  attached_.push_back(book);
  for (const std::string& key : book->GetEmailKeys()) OnFirstHolderChanged(*book, key, book->FindByEmailKey(key));
  CVFDLNode* holder = book->GetHolder();
  if (holder && holder->GetExtendType() == kAdrBookClosedType) holder->SetExtendType(kAdrBookOpenType);
  return book;
}

void CAdrBookDoc::OnFirstHolderChanged(CPIDLDoc& book, const std::string& key, CPIDLRec* first) {
  auto found = holders_.find(key);
  std::vector<BookHolder> books;
  if (found != holders_.end()) {
    books.push_back(found->second.first);
    books.insert(books.end(), found->second.others.begin(), found->second.others.end());
  }
  std::erase_if(books, [&book](const BookHolder& holder) { return holder.book == &book; });
  if (first != nullptr) {
    auto before = [&book](const BookHolder& other) {
      return book.GetHolder() && other.book->GetHolder() &&
             PrecedesInDocument(*book.GetHolder(), *other.book->GetHolder());
    };
    books.insert(std::find_if(books.begin(), books.end(), before), {&book, first});
  }
  if (books.empty()) {
    if (found != holders_.end()) holders_.erase(found);
    return;
  }
  AddressHolders& entry = found != holders_.end() ? found->second : holders_[key];
  entry.first = books.front();
  entry.others.assign(books.begin() + 1, books.end());
}

void CAdrBookDoc::OnPIDLDocClosing(CPIDLDoc& book) {
  std::erase(attached_, &book);
  CVFDLNode* holder = book.GetHolder();
  if (holder && holder->GetExtendType() == kAdrBookOpenType) holder->SetExtendType(kAdrBookClosedType);
  all_open_ = false;
}

// ---- the upgrade to "2.0" ----

// A reader (read-only data root) takes an old list as it stands: its files
// are still where its "src" says.
void CAdrBookDoc::AfterUpdateVersion() {
  if (GetRootTagName() != kFamily.root_tag || GetRootAttribute("ver") != kOldVersion || !GetDataRoot() ||
      GetDataRoot()->IsReadOnly()) {
    return;
  }
  SetAutoSaveFlag(false);
  bool upgraded = SetRootAttribute("ver", kVersion, false);
  std::vector<const CAdrBookFolder*> books;
  for (const CAdrBookFolder& book : GetBooks()) books.push_back(&book);
  for (const CAdrBookFolder* book : books) {
    if (upgraded) upgraded = MoveBookToItsDirectory(*book);
  }
  // Saving is automatic from here on, whatever it was before: the
  // upgraded list is kept as it changes.
  SetAutoSaveFlag(true);
  // A failed save leaves the file at "1.0": the next load moves what is
  // left to move, and rewrites every "src" again.
  if (upgraded) (void)SaveXMLDoc();
}

// A move that fails (no such file, one already there) still changes "src".
bool CAdrBookDoc::MoveBookToItsDirectory(const CAdrBookFolder& book) {
  if (book.GetSrc().empty()) return true;
  CAdrBookFolder moved(book);
  moved.SetSrc(BookIndexPath(book.GetSrc()));
  const std::string from = platform::JoinStoredPath(GetBasePath(), book.GetSrc());
  const std::string to = platform::JoinStoredPath(GetBasePath(), moved.GetSrc());
  if (GetDataRoot()->FileExists(from) && GetDataRoot()->CreateDirectories(platform::StoredDirectoryOf(to))) {
    GetDataRoot()->RenameFile(from, to);
  }
  return UpdateFolder(book.GetPos(), moved, false);
}

}  // namespace zds

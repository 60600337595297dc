// The address book's books and contacts, and vCard in and out.

#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "zds/contacts/vcard.h"

namespace zds::cli {
namespace {

// The address book of a facade, and the books and contacts in it.
class Store {
 public:
  Store(Call& call, CZDS& facade) : call_(call), facade_(facade), book_(facade.GetAdrBookDoc()) {}

  // False, with a line on the error stream, when there is no address book.
  bool Open() {
    if (book_ == nullptr) call_.Refuse("the address book cannot be opened");
    return book_ != nullptr;
  }
  CZDS& facade() { return facade_; }
  CAdrBookDoc& books() { return *book_; }

  // The named book's document, or the default book's; null with a line.
  CPIDLDoc* Book(const std::optional<std::string>& name) {
    CAdrBookFolder* folder = name ? book_->FindBook(*name) : book_->GetDefaultBook();
    if (folder == nullptr) {
      call_.Refuse(name ? "no book named " + *name : std::string("no book yet (zds book add NAME)"));
      return nullptr;
    }
    CPIDLDoc* doc = book_->GetPIDLDoc(*folder);
    if (doc == nullptr) call_.Refuse("the book " + folder->GetAlias() + " cannot be opened");
    return doc;
  }
  // The contact at a typed position, in any book; null with a line
  // (naming the book's file when it cannot be used).
  const CPIDLRec* Contact(const std::string& typed) {
    const std::string pos = StoredPos(typed);
    const CVFDLNode* node = book_->ReachNodeByPos(pos);
    const auto* book = node ? dynamic_cast<const CPIDLDoc*>(node->GetDoc()) : nullptr;
    if (const CPIDLRec* contact = book ? book->GetRec(pos) : nullptr) return contact;
    if (book_->GetLastLoadStatus() == LoadStatus::kUnusable) {
      call_.Refuse(DescribeProblem(*facade_.GetDataRoot(), book_->GetLastLoadProblem()) + " (left untouched)");
    } else {
      call_.Refuse("no contact at " + typed);
    }
    return nullptr;
  }

 private:
  Call& call_;
  CZDS& facade_;
  CAdrBookDoc* book_ = nullptr;
};

// Runs `work` on the store's address book: read-only for a command that
// reads, through RunEdit for one that changes it, after `check` (when
// given) found on the read-only store that the change can be made.
using BookWork = std::function<int(Store&)>;
int WithBooks(Call& call, const BookWork& work, const BookWork& check = {}) {
  auto on = [&call](const BookWork& what) {
    return [&call, &what](CZDS& facade) {
      Store store(call, facade);
      return store.Open() ? what(store) : 1;
    };
  };
  auto run = on(work);
  if (call.command().store == StoreUse::kEdits) return RunEdit(call, run, check ? StoreWork(on(check)) : StoreWork());
  std::unique_ptr<CZDS> facade = OpenReader(call);
  return facade ? run(*facade) : 1;
}

std::string JoinValues(const std::vector<CContactItem>& items) {
  std::string joined;
  for (const CContactItem& item : items) joined += (joined.empty() ? "" : ", ") + Field(item.value);
  return joined;
}

std::string_view PlaceWord(int place) {
  return place == kContactPlaceHome ? "home" : place == kContactPlaceWork ? "work" : "other";
}

std::string Typing(const CContactTyping& typing) {
  std::string text(PlaceWord(typing.place));
  if (typing.preferred) text += ",pref";
  if (!typing.kinds.empty()) text += "," + typing.kinds;
  return text;
}


// ---- book ----

int BookAdd(Call& call) {
  auto free = [&call](Store& store) {
    if (!store.books().FindBook(call.operand(0))) return 0;
    return call.Refuse("a book named " + call.operand(0) + " exists");
  };
  return WithBooks(call, [&call, &free](Store& store) {
    const std::string& name = call.operand(0);
    if (int refused = free(store)) return refused;
    std::string pos = store.books().AddBook(name);
    if (pos.empty()) return call.Refuse("cannot add the book " + name);
    call.out() << ShownPos(pos) << '\n';
    return 0;
  }, free);
}

int BookList(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    Listing listing(call, {"position", "name", "contacts", "default"});
    for (CAdrBookFolder& folder : store.books().GetBooks()) {
      std::string count = "-";
      if (const CPIDLDoc* doc = store.books().GetPIDLDoc(folder)) {
        count = std::to_string(std::distance(doc->Recs().begin(), doc->Recs().end()));
      }
      listing.Row({ShownPos(folder.GetPos()), folder.GetAlias(), count,
                   folder.GetExtendFolder().default_book ? "yes" : "no"});
    }
    return listing.Finish();
  });
}

// ---- contact ----

int ContactAdd(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    CPIDLDoc* book = store.Book(call.Value("--book"));
    if (book == nullptr) return 1;
    CPIDLRec contact;
    contact.SetAlias(*call.Value("--name"));
    contact.SetAttribute(kAttrNormal);
    for (const std::string& email : call.Values("--email")) contact.GetExtendRec().emails.push_back({email, {}});
    for (const std::string& phone : call.Values("--phone")) contact.GetExtendRec().phones.push_back({phone, {}});
    std::string pos = book->AddRec(book->GetRoot()->GetPos(), contact, false);
    if (pos.empty()) return call.Refuse("cannot save the contact");
    call.out() << ShownPos(pos) << '\n';
    return 0;
  }, [&call](Store& store) { return store.Book(call.Value("--book")) ? 0 : 1; });
}

int ContactList(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    std::vector<CPIDLDoc*> books;
    if (call.operand_count() == 1) {
      CPIDLDoc* book = store.Book(call.operand(0));
      if (book == nullptr) return 1;
      books.push_back(book);
    } else {
      for (CAdrBookFolder& folder : store.books().GetBooks()) {
        if (CPIDLDoc* book = store.books().GetPIDLDoc(folder)) books.push_back(book);
      }
    }
    Listing listing(call, {"position", "name", "emails", "phones"});
    for (const CPIDLDoc* book : books) {
      for (const CPIDLRec& contact : book->Recs()) {
        listing.Row({ShownPos(contact.GetPos()), contact.GetAlias(), JoinValues(contact.GetExtendRec().emails),
                     JoinValues(contact.GetExtendRec().phones)});
      }
    }
    return listing.Finish();
  });
}

// A value with its typing after it, when it has one beyond "other".
std::string Typed(const std::string& value, const CContactTyping& typing) {
  const std::string text = Typing(typing);
  return text == "other" ? value : value + " (" + text + ")";
}

int ContactShow(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    const CPIDLRec* contact = store.Contact(call.operand(0));
    if (contact == nullptr) return 1;
    const CPIDLExtendRec& fields = contact->GetExtendRec();
    ShownItem item(call);
    item.Add("position", ShownPos(contact->GetPos()));
    item.Add("name", contact->GetAlias());
    for (const CContactItem& email : fields.emails) item.Add("email", Typed(email.value, email.typing), true, true);
    for (const CContactItem& phone : fields.phones) item.Add("phone", Typed(phone.value, phone.typing), true, true);
    for (const CContactAddress& a : fields.addresses) {
      const std::string joined = a.po_box + ";" + a.extended + ";" + a.street + ";" + a.locality + ";" + a.region +
                                 ";" + a.postal_code + ";" + a.country;
      item.Add("address", Typed(joined, a.typing), true, true);
    }
    for (auto [name, value, needed] :
         {std::tuple<std::string_view, const std::string*, bool>{"nickname", &fields.nickname, true},
          {"organization", &fields.organization, true}, {"department", &fields.department, false},
          {"title", &fields.title, true}, {"url", &fields.url, true}, {"birthday", &fields.birthday, true},
          {"note", &fields.note, true}, {"uid", &fields.uid, false}, {"family", &fields.family_name, false},
          {"given", &fields.given_name, false}, {"additional", &fields.additional_names, false},
          {"prefix", &fields.honorific_prefixes, false}, {"suffix", &fields.honorific_suffixes, false}}) {
      item.Add(std::string(name), *value, needed);
    }
    for (const std::string& extra : fields.extra_lines) item.Add("vcard", extra, false, true);
    return item.Finish();
  });
}

int ContactRemove(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    const CPIDLRec* contact = store.Contact(call.operand(0));
    if (contact == nullptr) return 1;
    if (!contact->GetDoc()->DelRec(contact->GetPos())) return call.Refuse("cannot save the book without the contact");
    return 0;
  }, [&call](Store& store) { return store.Contact(call.operand(0)) ? 0 : 1; });
}

int ContactFind(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    const CVFDLNode* contact = store.facade().FindAdrByEmail(call.operand(0));
    if (contact == nullptr) return call.Refuse("no contact has the address " + call.operand(0));
    Listing listing(call, {"position", "name"});
    listing.Row({ShownPos(contact->GetPos()), contact->GetAlias()});
    return listing.Finish();
  });
}

int ContactExport(Call& call) {
  return WithBooks(call, [&call](Store& store) {
    if (call.operand_count() == 0) {
      call.out() << ExportVCards(store.books());  // its own CR LF line ends, carried as they are
      return 0;
    }
    CPIDLDoc* book = store.Book(call.operand(0));
    if (book == nullptr) return 1;
    call.out() << ExportVCards(*book);
    return 0;
  });
}

int ContactImport(Call& call) {
  std::ifstream file(call.operand(0), std::ios::binary);
  if (!file) return call.Refuse("cannot read " + call.operand(0));
  const std::string text(std::istreambuf_iterator<char>(file), {});
  if (text.find("BEGIN:VCARD") == std::string::npos && text.find("begin:vcard") == std::string::npos) {
    return call.Refuse(call.operand(0) + " holds no vCard");
  }
  return WithBooks(call, [&](Store& store) {
    CPIDLDoc* book = store.Book(call.Value("--book"));
    if (book == nullptr) return 1;
    VCardImportResult result = ImportVCards(*book, text);
    call.out() << result.read << " read, " << result.refused << " refused\n";
    return result.read == 0 ? 1 : 0;
  }, [&call](Store& store) { return store.Book(call.Value("--book")) ? 0 : 1; });
}

}  // namespace

void AddContactCommands(CommandTable& table) {
  const Option book_option{"--book", "NAME", "the book (default: the default book)"};
  table.Add({.noun = "book", .verb = "add", .operands = "NAME", .min_operands = 1, .max_operands = 1,
             .summary = "add a book and print its position", .store = StoreUse::kEdits, .run = BookAdd});
  table.Add({.noun = "book", .verb = "ls", .summary = "list the books: name, contacts, default",
             .output = Output::kList, .run = BookList});
  table.Add({.noun = "contact",
             .verb = "add",
             .summary = "add a contact and print its position",
             .options = {book_option,
                         {"--name", "TEXT", "the name shown", true},
                         {"--email", "ADDR", "an e-mail address", false, true},
                         {"--phone", "NUMBER", "a phone number", false, true}},
             .store = StoreUse::kEdits,
             .run = ContactAdd});
  table.Add({.noun = "contact", .verb = "ls", .operands = "[BOOK]", .max_operands = 1,
             .summary = "list the contacts of a book, or of every book", .output = Output::kList,
             .run = ContactList});
  table.Add({.noun = "contact", .verb = "show", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "print a contact's fields", .output = Output::kShow, .run = ContactShow});
  table.Add({.noun = "contact", .verb = "rm", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "delete a contact", .store = StoreUse::kEdits, .run = ContactRemove});
  table.Add({.noun = "contact", .verb = "find", .operands = "EMAIL", .min_operands = 1, .max_operands = 1,
             .summary = "the first contact, books in order, with the address (case-blind)",
             .output = Output::kList, .run = ContactFind});
  table.Add({.noun = "contact", .verb = "export", .operands = "[BOOK]", .max_operands = 1,
             .summary = "a book, or every book, as vCard 4.0", .run = ContactExport});
  table.Add({.noun = "contact", .verb = "import", .operands = "FILE", .min_operands = 1, .max_operands = 1,
             .summary = "read the vCard 3.0 or 4.0 cards of FILE into a book", .options = {book_option},
             .store = StoreUse::kEdits, .run = ContactImport});
}

}  // namespace zds::cli

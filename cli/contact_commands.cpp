#include "cli/contact_commands.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/store_commands.h"
#include "zds/contacts/vcard.h"
#include "zds/store/zds.h"

namespace zds::cli {
namespace {

// The arguments after a verb: options with a value, and the rest in order.
struct Arguments {
  std::vector<std::pair<std::string, std::string>> options;
  std::vector<std::string> plain;
  std::string problem;  // set when they cannot be read

  std::vector<std::string> All(std::string_view option) const {
    std::vector<std::string> values;
    for (const auto& [name, value] : options) {
      if (name == option) values.push_back(value);
    }
    return values;
  }
  std::optional<std::string> One(std::string_view option) const {
    std::vector<std::string> values = All(option);
    if (values.empty()) return std::nullopt;
    return values.back();
  }
};

Arguments ReadArguments(const std::vector<std::string>& args, const std::vector<std::string_view>& known) {
  Arguments read;
  for (size_t i = 1; i < args.size(); ++i) {
    if (!args[i].starts_with("--")) {
      read.plain.push_back(args[i]);
    } else if (std::find(known.begin(), known.end(), args[i]) == known.end()) {
      read.problem = "unknown option " + args[i];
    } else if (i + 1 == args.size()) {
      read.problem = args[i] + " needs a value";
    } else {
      read.options.emplace_back(args[i], args[i + 1]);
      ++i;
    }
  }
  return read;
}

// The facade with the service index and the address book open.
class Store {
 public:
  explicit Store(const DataRootPtr& root) { facade_.SetDataRoot(root); }

  // False, with a line on `err`, when there is no store or no address book.
  bool Open(std::ostream& err) {
    if (!facade_.GetDataRoot()->FileExists(facade_.GetAIDLPath())) {
      err << "zds: no store at " << facade_.GetDataRoot()->NativeRoot() << " (run 'zds init' first)\n";
      return false;
    }
    if (!facade_.InitAIDL()) {
      err << DescribeStartupFailure(facade_) << '\n';
      return false;
    }
    book_ = facade_.GetAdrBookDoc();
    if (book_ == nullptr) err << "zds: the address book cannot be opened or made\n";
    return book_ != nullptr;
  }
  CZDS& facade() { return facade_; }
  CAdrBookDoc& books() { return *book_; }

  // The named book's document, or the default book's; null with a line on `err`.
  CPIDLDoc* Book(const std::optional<std::string>& name, std::ostream& err) {
    CAdrBookFolder* folder = name ? book_->FindBook(*name) : book_->GetDefaultBook();
    if (folder == nullptr) {
      err << (name ? "zds: no book named " + *name : std::string("zds: no book yet (zds book add NAME)")) << '\n';
      return nullptr;
    }
    CPIDLDoc* doc = book_->GetPIDLDoc(*folder);
    if (doc == nullptr) err << "zds: the book " << folder->GetAlias() << " cannot be opened\n";
    return doc;
  }
  // The contact at a position, in any book.
  const CPIDLRec* Contact(const std::string& pos) {
    book_->LoadAllPIDLDocs();
    for (CAdrBookFolder& folder : book_->GetBooks()) {
      const CPIDLDoc* book = book_->GetExpandedDoc<CPIDLDoc>(folder);
      if (const CPIDLRec* contact = book ? book->GetRec(pos) : nullptr) return contact;
    }
    return nullptr;
  }

 private:
  CZDS facade_;
  CAdrBookDoc* book_ = nullptr;
};

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

int BookAdd(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  if (args.plain.size() != 1) return Usage(err, "book add takes one NAME");
  if (store.books().FindBook(args.plain[0])) return Refuse(err, "a book named " + args.plain[0] + " exists");
  std::string pos = store.books().AddBook(args.plain[0]);
  if (pos.empty()) return Refuse(err, "cannot add the book " + args.plain[0]);
  out << pos << '\n';
  return 0;
}

int BookList(Store& store, std::ostream& out) {
  for (CAdrBookFolder& folder : store.books().GetBooks()) {
    std::string count = "-";
    if (const CPIDLDoc* doc = store.books().GetPIDLDoc(folder)) {
      count = std::to_string(std::distance(doc->Recs().begin(), doc->Recs().end()));
    }
    out << Field(folder.GetAlias()) << '\t' << count << '\t'
        << (folder.GetExtendFolder().default_book ? "yes" : "no") << '\n';
  }
  return 0;
}

// ---- contact ----

int ContactAdd(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  std::optional<std::string> name = args.One("--name");
  if (!name || !args.plain.empty()) return Usage(err, "contact add needs --name TEXT and takes no other argument");
  CPIDLDoc* book = store.Book(args.One("--book"), err);
  if (book == nullptr) return 1;
  CPIDLRec contact;
  contact.SetAlias(*name);
  contact.SetAttribute(kAttrNormal);
  for (const std::string& email : args.All("--email")) contact.GetExtendRec().emails.push_back({email, {}});
  for (const std::string& phone : args.All("--phone")) contact.GetExtendRec().phones.push_back({phone, {}});
  std::string pos = book->AddRec(book->GetRoot()->GetPos(), contact, false);
  if (pos.empty()) return Refuse(err, "cannot save the contact");
  out << pos << '\n';
  return 0;
}

int ContactList(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  if (args.plain.size() > 1) return Usage(err, "contact ls takes at most one BOOK");
  std::vector<CPIDLDoc*> books;
  if (!args.plain.empty()) {
    CPIDLDoc* book = store.Book(args.plain[0], err);
    if (book == nullptr) return 1;
    books.push_back(book);
  } else {
    for (CAdrBookFolder& folder : store.books().GetBooks()) {
      if (CPIDLDoc* book = store.books().GetPIDLDoc(folder)) books.push_back(book);
    }
  }
  for (const CPIDLDoc* book : books) {
    for (const CPIDLRec& contact : book->Recs()) {
      out << contact.GetPos() << '\t' << Field(contact.GetAlias()) << '\t' << JoinValues(contact.GetExtendRec().emails)
          << '\t' << JoinValues(contact.GetExtendRec().phones) << '\n';
    }
  }
  return 0;
}

// "name: value" lines, the typing of an entry after a tab; empty fields left out.
void PrintContact(const CPIDLRec& contact, std::ostream& out) {
  const CPIDLExtendRec& fields = contact.GetExtendRec();
  auto line = [&out](std::string_view name, std::string_view value, std::string_view typing = {}) {
    if (value.empty()) return;
    out << name << ": " << Field(value);
    if (!typing.empty()) out << '\t' << typing;
    out << '\n';
  };
  line("position", contact.GetPos());
  line("name", contact.GetAlias());
  for (auto [name, value] : {std::pair<std::string_view, const std::string*>{"uid", &fields.uid},
                             {"family", &fields.family_name}, {"given", &fields.given_name},
                             {"additional", &fields.additional_names}, {"prefix", &fields.honorific_prefixes},
                             {"suffix", &fields.honorific_suffixes}, {"nickname", &fields.nickname},
                             {"organization", &fields.organization}, {"department", &fields.department},
                             {"title", &fields.title}, {"url", &fields.url}, {"birthday", &fields.birthday},
                             {"note", &fields.note}}) {
    line(name, *value);
  }
  for (const CContactItem& email : fields.emails) line("email", email.value, Typing(email.typing));
  for (const CContactItem& phone : fields.phones) line("phone", phone.value, Typing(phone.typing));
  for (const CContactAddress& a : fields.addresses) {
    line("address", a.po_box + ";" + a.extended + ";" + a.street + ";" + a.locality + ";" + a.region + ";" +
                        a.postal_code + ";" + a.country, Typing(a.typing));
  }
  for (const std::string& extra : fields.extra_lines) line("vcard", extra);
}

int ContactShow(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  if (args.plain.size() != 1) return Usage(err, "contact show takes one POSITION");
  const CPIDLRec* contact = store.Contact(args.plain[0]);
  if (contact == nullptr) return Refuse(err, "no contact at " + args.plain[0]);
  PrintContact(*contact, out);
  return 0;
}

int ContactRemove(Store& store, const Arguments& args, std::ostream&, std::ostream& err) {
  if (args.plain.size() != 1) return Usage(err, "contact rm takes one POSITION");
  const CPIDLRec* contact = store.Contact(args.plain[0]);
  if (contact == nullptr) return Refuse(err, "no contact at " + args.plain[0]);
  if (!contact->GetDoc()->DelRec(contact->GetPos())) return Refuse(err, "cannot save the book without the contact");
  return 0;
}

int ContactFind(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  if (args.plain.size() != 1) return Usage(err, "contact find takes one EMAIL");
  const CVFDLNode* contact = store.facade().FindAdrByEmail(args.plain[0]);
  if (contact == nullptr) return Refuse(err, "no contact has the address " + args.plain[0]);
  out << contact->GetPos() << '\t' << Field(contact->GetAlias()) << '\n';
  return 0;
}

int ContactExport(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  if (args.plain.size() > 1) return Usage(err, "contact export takes at most one BOOK");
  if (args.plain.empty()) {
    out << ExportVCards(store.books());  // its own CR LF line ends, carried as they are
    return 0;
  }
  CPIDLDoc* book = store.Book(args.plain[0], err);
  if (book == nullptr) return 1;
  out << ExportVCards(*book);
  return 0;
}

int ContactImport(Store& store, const Arguments& args, std::ostream& out, std::ostream& err) {
  if (args.plain.size() != 1) return Usage(err, "contact import takes one FILE");
  std::ifstream file(args.plain[0], std::ios::binary);
  if (!file) return Refuse(err, "cannot read " + args.plain[0]);
  std::string text(std::istreambuf_iterator<char>(file), {});
  CPIDLDoc* book = store.Book(args.One("--book"), err);
  if (book == nullptr) return 1;
  VCardImportResult result = ImportVCards(*book, text);
  out << result.read << " read, " << result.refused << " refused\n";
  return result.read == 0 && result.refused > 0 ? 1 : 0;
}

}  // namespace

int RunBookCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                   std::ostream& err) {
  if (args.empty()) return Usage(err, "book needs a verb: add, ls");
  Arguments read = ReadArguments(args, {});
  if (!read.problem.empty()) return Usage(err, read.problem);
  if (args[0] != "add" && args[0] != "ls") return Usage(err, "unknown book verb '" + args[0] + "'");
  if (args[0] == "ls" && !read.plain.empty()) return Usage(err, "book ls takes no argument");
  Store store(root);
  if (!store.Open(err)) return 1;
  return args[0] == "add" ? BookAdd(store, read, out, err) : BookList(store, out);
}

int RunContactCommand(const DataRootPtr& root, const std::vector<std::string>& args, std::ostream& out,
                      std::ostream& err) {
  struct Verb {
    std::string_view name;
    int (*run)(Store&, const Arguments&, std::ostream&, std::ostream&);
    std::vector<std::string_view> options;
  };
  static const Verb kVerbs[] = {
      {"add", &ContactAdd, {"--book", "--name", "--email", "--phone"}},
      {"ls", &ContactList, {}},
      {"show", &ContactShow, {}},
      {"rm", &ContactRemove, {}},
      {"find", &ContactFind, {}},
      {"export", &ContactExport, {}},
      {"import", &ContactImport, {"--book"}},
  };
  if (args.empty()) return Usage(err, "contact needs a verb: add, ls, show, rm, find, export, import");
  auto verb = std::find_if(std::begin(kVerbs), std::end(kVerbs), [&](const Verb& v) { return v.name == args[0]; });
  if (verb == std::end(kVerbs)) return Usage(err, "unknown contact verb '" + args[0] + "'");
  Arguments read = ReadArguments(args, verb->options);
  if (!read.problem.empty()) return Usage(err, read.problem);
  Store store(root);
  if (!store.Open(err)) return 1;
  return verb->run(store, read, out, err);
}

}  // namespace zds::cli

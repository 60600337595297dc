// Helpers for the contacts tests: an address book on a fresh data root,
// contacts full of values that are hard to carry (separators, escapes, line
// breaks, UTF-8), the walk that finding by address must agree with, and
// what Debian's python3-vobject, a vCard reader no one here wrote, reads
// out of an export.

#ifndef ZDS_TESTS_CONTACTS_CONTACTS_TESTING_H_
#define ZDS_TESTS_CONTACTS_CONTACTS_TESTING_H_

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "zds/contacts/adrbook_doc.h"
#include "zds/contacts/classes.h"
#include "zds/contacts/vcard.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds::contacts_testing {

// An address book at "\addressbook\index.xml", saving every change at once.
class Shelf {
 public:
  Shelf() { RegisterContactClasses(registry_); }
  // Opens (or reopens) the address book; its result.
  OpenResult Open(bool auto_save = true) {
    doc_ = std::make_unique<CAdrBookDoc>();
    doc_->SetDataRoot(temp_.root());
    doc_->SetAutoSaveFlag(auto_save);
    doc_->SetClassRegistry(&registry_);
    return OpenVFDLDoc(*doc_, "\\addressbook\\index.xml", "\\addressbook");
  }
  CAdrBookDoc& doc() { return *doc_; }
  const test::TempRoot& temp() const { return temp_; }

 private:
  test::TempRoot temp_;
  CRTTIRegistry registry_;
  std::unique_ptr<CAdrBookDoc> doc_;
};

inline std::vector<CPIDLRec> ContactsOf(const CPIDLDoc& book) {
  std::vector<CPIDLRec> contacts;
  for (const CPIDLRec& contact : book.Recs()) contacts.push_back(contact);
  return contacts;
}

// The definition: books in order, each book's contacts in document order,
// the first holding the address, letters compared without regard to case.
inline const CPIDLRec* ScanByEmail(CAdrBookDoc& shelf, const std::string& email) {
  auto fold = [](std::string text) {
    for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return text;
  };
  const CPIDLRec* found = nullptr;
  for (int i = 0; i < shelf.GetPIDLDocNum() && !found; ++i) {
    if (const CPIDLDoc* book = shelf.GetPIDLDoc(i)) {
      for (const CPIDLRec& contact : book->Recs()) {
        for (const CContactItem& address : contact.GetExtendRec().emails) {
          if (!found && !address.value.empty() && fold(address.value) == fold(email)) found = &contact;
        }
      }
    }
  }
  return found;
}

// Texts that vCard must escape or carry through untouched.
inline const char* const kHardTexts[] = {
    "Doe, Jane", "a;b;c", "back\\slash\\", "two\nlines", "\xc3\x9cml\xc3\xa4ut M\xc3\xbcller",
    "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", "emoji \xf0\x9f\x98\x80", "\\n is not a break", " padded ", "",
    ("long \xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9 text that runs well past the seventy-five octets of a line "
     "\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac and on")};

inline CPIDLRec RandomContact(std::mt19937& random, int n) {
  auto pick = [&random](auto& table) { return table[random() % std::size(table)]; };
  auto hard = [&] { return std::string(pick(kHardTexts)); };
  auto typing = [&](std::vector<const char*> kinds) {
    static const char* const kGroups[] = {"", "", "item1", "g-2"};
    return CContactTyping{static_cast<int>(random() % 3), random() % 4 == 0, pick(kinds), pick(kGroups)};
  };
  CPIDLRec contact;
  contact.SetAlias(hard() + " #" + std::to_string(n));
  contact.SetAttribute(kAttrNormal);
  CPIDLExtendRec& f = contact.GetExtendRec();
  f.uid = random() % 5 ? "urn:uuid:" + std::to_string(n) : "odd;uid,\\" + std::to_string(n);
  f.family_name = hard(), f.given_name = hard(), f.additional_names = hard();
  f.honorific_prefixes = hard(), f.honorific_suffixes = hard(), f.nickname = hard();
  f.organization = hard(), f.department = hard(), f.title = hard(), f.note = hard();
  f.url = random() % 2 ? "https://example.org/p?a=1,b=2;c" : "";
  f.birthday = random() % 2 ? "1970-01-31" : "--0131";
  for (int i = static_cast<int>(random() % 3); i >= 0; --i) {
    f.emails.push_back({"User" + std::to_string(n) + "." + std::to_string(i) + "@Example.ORG", typing({"", "x-work"})});
  }
  for (int i = static_cast<int>(random() % 3); i > 0; --i) f.phones.push_back({"+49 30 " + hard(), typing({"cell", "fax,voice", ""})});
  for (int i = static_cast<int>(random() % 3); i > 0; --i) {
    f.addresses.push_back({hard(), hard(), hard(), hard(), hard(), hard(), hard(), typing({"", "postal,parcel"})});
  }
  if (random() % 2) f.extra_lines = {"X-SKYPE:jane.doe", "item1.X-ABLABEL:_$!<Other>!$_", "CATEGORIES:a,b\\,c"};
  return contact;
}

// Same names and fields, one by one (positions and ids aside).
inline ::testing::AssertionResult SameContacts(const std::vector<CPIDLRec>& a, const std::vector<CPIDLRec>& b) {
  if (a.size() != b.size()) return ::testing::AssertionFailure() << a.size() << " contacts against " << b.size();
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].GetAlias() != b[i].GetAlias() || !(a[i].GetExtendRec() == b[i].GetExtendRec())) {
      return ::testing::AssertionFailure() << "contact " << i << " differs:\n" << FormatVCard(a[i]) << "---\n"
                                           << FormatVCard(b[i]);
    }
  }
  return ::testing::AssertionSuccess();
}

// ---- python3-vobject ----

// The first Python that has vobject: the machine's default python3 may be
// one without Debian's modules. Empty where there is none (on Windows).
inline const std::string& PythonWithVobject() {
  static const std::string python = [] {
    for (const char* candidate : {"/usr/bin/python3", "python3"}) {
      if (test::RunProgram(candidate, {"-c", "import vobject"}).exit_code == 0) return std::string(candidate);
    }
    return std::string();
  }();
  return python;
}

// One line per card: FN, the five parts of N, each EMAIL, each ADR's seven
// parts, every value in hex of its UTF-8 bytes.
inline constexpr const char* kVobjectSummary = R"(
import sys, vobject
h = lambda s: s.encode('utf-8').hex()
for card in vobject.readComponents(open(sys.argv[1], encoding='utf-8', newline='').read()):
    n = card.n.value if 'n' in card.contents else None
    out = [h(card.fn.value)] + [h(getattr(n, k) if n else '') for k in ('family', 'given', 'additional', 'prefix', 'suffix')]
    out += ['e' + h(e.value) for e in card.contents.get('email', [])]
    out += ['a' + ','.join(h(getattr(a.value, k)) for k in ('box', 'extended', 'street', 'city', 'region', 'code', 'country'))
            for a in card.contents.get('adr', [])]
    print(' '.join(out))
)";

inline std::string Hex(std::string_view text) {
  std::string hex;
  for (unsigned char c : text) hex += "0123456789abcdef"[c >> 4], hex += "0123456789abcdef"[c & 15];
  return hex;
}

inline std::string ExpectedSummary(const std::vector<CPIDLRec>& contacts) {
  std::string lines;
  for (const CPIDLRec& contact : contacts) {
    const CPIDLExtendRec& f = contact.GetExtendRec();
    lines += Hex(contact.GetAlias());
    for (const std::string& part : {f.family_name, f.given_name, f.additional_names, f.honorific_prefixes,
                                    f.honorific_suffixes}) {
      lines += " " + Hex(part);
    }
    for (const CContactItem& email : f.emails) lines += " e" + Hex(email.value);
    for (const CContactAddress& a : f.addresses) {
      lines += " a";
      for (const std::string& part : {a.po_box, a.extended, a.street, a.locality, a.region, a.postal_code, a.country}) {
        lines += Hex(part) + ",";
      }
      lines.pop_back();
    }
    lines += "\n";
  }
  return lines;
}

inline ::testing::AssertionResult VobjectReads(const std::string& vcf, const std::vector<CPIDLRec>& contacts) {
  test::TempRoot scratch;
  const test::fs::path file = scratch.top() / "export.vcf";
  test::WriteNative(file, vcf);
  test::ProgramResult read = test::RunProgram(PythonWithVobject(), {"-c", kVobjectSummary, file.string()});
  if (read.exit_code != 0) return ::testing::AssertionFailure() << "vobject refused the export:\n" << read.err;
  if (read.out == ExpectedSummary(contacts)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "vobject read other names or addresses:\n" << read.out << "--- expected ---\n"
                                       << ExpectedSummary(contacts);
}

}  // namespace zds::contacts_testing

// Where no Python has vobject (Windows), just this check is left out, with
// a note in the output; the checks after it still run.
#define ZDS_EXPECT_VOBJECT_READS(vcf, contacts)                                                    \
  do {                                                                                             \
    if (!::zds::contacts_testing::PythonWithVobject().empty()) {                                   \
      EXPECT_TRUE(::zds::contacts_testing::VobjectReads(vcf, contacts));                           \
    } else {                                                                                       \
      ::testing::Test::RecordProperty("vobject", "no python3 with vobject: check left out");      \
      std::cout << "[   NOTE   ] no python3 with vobject (python3-vobject): its check is left out\n"; \
    }                                                                                              \
  } while (0)

#endif  // ZDS_TESTS_CONTACTS_CONTACTS_TESTING_H_

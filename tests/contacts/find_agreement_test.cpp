// Finding a contact by address through the index answers exactly as the
// walk through every book does, while random edits (some undone by a save
// that fails), reloads and closed books change the books under it; and the
// facade's contact helpers on a store.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "contacts/contacts_testing.h"
#include "support/failing_writes.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

using contacts_testing::ScanByEmail;
using contacts_testing::Shelf;

// Addresses from a small pool, so that contacts and books share them.
std::string PooledAddress(std::mt19937& random) {
  static const char* const kCases[] = {"ann@example.org", "ANN@Example.ORG", "bob@example.org", "Bob@example.org",
                                       "carol@example.org", "d\xc3\xa9j\xc3\xa0@example.org", "eve@EXAMPLE.org"};
  return kCases[random() % std::size(kCases)];
}

CPIDLRec PooledContact(std::mt19937& random, int n) {
  CPIDLRec contact;
  contact.SetAlias("c" + std::to_string(n));
  for (int i = static_cast<int>(random() % 3); i > 0; --i) contact.GetExtendRec().emails.push_back({PooledAddress(random), {}});
  return contact;
}

void ExpectAgreement(CAdrBookDoc& shelf, std::mt19937& random, int step) {
  for (int i = 0; i < 6; ++i) {
    std::string query = i == 5 ? "nobody@example.org" : PooledAddress(random);
    EXPECT_EQ(shelf.FindAdrByEmail(query), ScanByEmail(shelf, query)) << "step " << step << ": " << query;
  }
}

TEST(FindAgreementTest, TheIndexAnswersAsTheWalkThroughRandomEdits) {
  Shelf shelf;
  ASSERT_EQ(shelf.Open(), OpenResult::kCreated);
  for (const char* name : {"One", "Two", "Three"}) ASSERT_FALSE(shelf.doc().AddBook(name).empty());
  std::mt19937 random(0x5eed1234u);
  for (int step = 0; step < 400; ++step) {
    CAdrBookDoc& doc = shelf.doc();
    CPIDLDoc* book = doc.GetPIDLDoc(static_cast<int>(random() % 3));
    ASSERT_NE(book, nullptr);
    std::vector<std::string> contacts;
    for (const CPIDLRec& contact : book->Recs()) contacts.push_back(contact.GetPos());
    const CVFDLFolder& root = *book->GetRoot();
    switch (random() % 10) {
      case 0: case 1: case 2: {  // add, at the end or into a subfolder
        std::string parent = root.GetPos();
        if (CVFDLFolder* first = book->AsFolder(root.GetFirstChild()); first && random() % 2) parent = first->GetPos();
        ASSERT_FALSE(book->AddRec(parent, PooledContact(random, step), false).empty());
        break;
      }
      case 3:  // a subfolder in front of the others
        ASSERT_FALSE(book->AddNodeCopy(root.GetPos(), CVFDLFolder(), false, 0).empty());
        break;
      case 4: case 5:  // change a contact's addresses
        if (!contacts.empty()) {
          const std::string& pos = contacts[random() % contacts.size()];
          CPIDLRec changed = *book->GetRec(pos);
          changed.GetExtendRec().emails = PooledContact(random, step).GetExtendRec().emails;
          ASSERT_TRUE(book->UpdateRec(pos, changed, false));
        }
        break;
      case 6:
        if (!contacts.empty()) {
          ASSERT_TRUE(book->DelRec(contacts[random() % contacts.size()]));
        }
        break;
      case 7: {  // an add whose save fails is undone
        std::string file = "addressbook" + book->GetHolder()->GetSrc();
        std::replace(file.begin(), file.end(), '\\', '/');
        test::FailingWrites failing(shelf.temp().dir() / file);
        ASSERT_TRUE(failing.active());
        EXPECT_TRUE(book->AddRec(root.GetPos(), PooledContact(random, step), false).empty());
        break;
      }
      case 8:  // a book closed, or the whole list read again
        if (random() % 2) {
          ASSERT_TRUE(doc.UnloadVFDLDoc(book->GetHolder()->GetPos()));
        } else {
          ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
        }
        break;
      case 9:
        ASSERT_TRUE(book->SetXml(book->GetXml()));
        break;
    }
    ExpectAgreement(shelf.doc(), random, step);
  }
}

TEST(FacadeContactsTest, FindFormatAndListThroughTheStoresAddressBook) {
  test::TempRoot temp;
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());
  EXPECT_EQ(facade.FindAdrByEmail("ann@example.org"), nullptr) << "no book yet";
  CAdrBookDoc* shelf = facade.GetAdrBookDoc();
  ASSERT_NE(shelf, nullptr) << "the service index's \"Addresses\" folder opens the address book";
  for (const char* name : {"Home", "Work"}) ASSERT_FALSE(shelf->AddBook(name).empty());
  auto add = [&](int book, const char* name, std::vector<std::string> emails) {
    CPIDLRec contact;
    contact.SetAlias(name);
    for (std::string& email : emails) contact.GetExtendRec().emails.push_back({email, {}});
    CPIDLDoc* doc = shelf->GetPIDLDoc(book);
    return doc->AddRec(doc->GetRoot()->GetPos(), contact, false);
  };
  const std::string ann = add(1, "Ann", {"ann@work.example", "Ann@Example.org"});
  const std::string bob = add(0, "Bob", {});
  const std::string ann_home = add(0, "Ann at home", {"ANN@example.org"});
  CVFDLNode* found = facade.FindAdrByEmail("ann@EXAMPLE.org");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->GetPos(), ann_home) << "the first book wins";
  EXPECT_EQ(found->GetPos(), "kov:\\Velmora\\0008\\0001\\0002");
  EXPECT_EQ(facade.FindAdrByEmail("ann@work.example")->GetPos(), ann);
  EXPECT_EQ(facade.FindAdrByEmail("ann@work"), nullptr);

  facade.GetContactsList();
  EXPECT_EQ(facade.GetContacts(), (std::vector<CContactListEntry>{{bob, "Bob", ""},
                                                                   {ann_home, "Ann at home", "ANN@example.org"},
                                                                   {ann, "Ann", "ann@work.example"},
                                                                   {ann, "Ann", "Ann@Example.org"}}));

  const std::pair<const char*, const char*> kLists[] = {
      {"a@x.org, Bob <b@y.org>", "a@x.org;Bob"},
      {"\"Jane Doe\" <jane@x.org>,<c@z.org>, d@w.org (Dee)", "Jane Doe;c@z.org;Dee"},
      {"\"Doe, Jane\" <jane@x.org>", "\"Doe;Jane\""},  // every comma splits
      {"a@x.org,", "a@x.org;"},
  };
  for (auto [in, shown] : kLists) {
    std::string out = "old";
    CZDS::FormatAdrForDisplay(in, out);
    EXPECT_EQ(out, shown) << in;
  }
}

}  // namespace
}  // namespace zds

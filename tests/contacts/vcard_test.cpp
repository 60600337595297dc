// vCard out and in: round trips over contacts full of hard values, every
// export read by python3-vobject, a corpus of cards shaped like those real
// programs write, and bad input.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "contacts/contacts_testing.h"
#include "support/failing_writes.h"

namespace zds {
namespace {

using contacts_testing::ContactsOf;
using contacts_testing::SameContacts;
using contacts_testing::Shelf;

std::string Card(std::initializer_list<const char*> lines, const char* newline = "\r\n") {
  std::string text;
  for (const char* line : lines) text += std::string(line) + newline;
  return text;
}

// Every physical line at most 75 octets, every line ended by CR LF.
::testing::AssertionResult FoldedAt75(const std::string& vcf) {
  for (size_t at = 0, end; at < vcf.size(); at = end + 2) {
    end = vcf.find("\r\n", at);
    if (end == std::string::npos) return ::testing::AssertionFailure() << "text after the last CR LF";
    if (end - at > 75) return ::testing::AssertionFailure() << "a line of " << end - at << " octets";
    if (vcf.substr(at, end - at).find('\n') != std::string::npos) return ::testing::AssertionFailure() << "a bare LF";
  }
  return ::testing::AssertionSuccess();
}

TEST(VCardTest, ExportThenImportAndImportExportImportGiveTheSameContacts) {
  Shelf shelf;
  ASSERT_EQ(shelf.Open(), OpenResult::kCreated);
  ASSERT_FALSE(shelf.doc().AddBook("First").empty());
  ASSERT_FALSE(shelf.doc().AddBook("Second").empty());
  CPIDLDoc& first = *shelf.doc().GetPIDLDoc(0);
  std::mt19937 random(0xcafe01u);
  for (int n = 0; n < 60; ++n) {
    ASSERT_FALSE(first.AddRec(first.GetRoot()->GetPos(), contacts_testing::RandomContact(random, n), false).empty());
  }
  const std::vector<CPIDLRec> contacts = ContactsOf(first);
  const std::string exported = ExportVCards(first);
  EXPECT_TRUE(FoldedAt75(exported));
  ZDS_EXPECT_VOBJECT_READS(exported, contacts);

  VCardReadResult read = ReadVCards(exported);
  EXPECT_EQ(read.refused, 0);
  EXPECT_TRUE(SameContacts(read.contacts, contacts)) << "export, then import";

  CPIDLDoc& second = *shelf.doc().GetPIDLDoc(1);
  VCardImportResult imported = ImportVCards(second, exported);
  EXPECT_EQ(imported.read, 60);
  EXPECT_EQ(imported.refused, 0);
  EXPECT_EQ(ExportVCards(second), exported) << "import, export: the same cards, so the same contacts again";
  EXPECT_EQ(ImportVCards(second, exported).read, 60);
  EXPECT_EQ(ContactsOf(second).size(), 60u) << "a card whose UID the book has replaces that contact";

  ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
  EXPECT_TRUE(SameContacts(ContactsOf(*shelf.doc().GetPIDLDoc(1)), contacts)) << "as stored";
  EXPECT_EQ(ExportVCards(shelf.doc()), exported + exported) << "every book, in order";
}

const std::string kPhoto =
    "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAYEBQYFBAYGBQYHBwYIChAKCgkJChQODwwQFxQYGBcUFhYa"
    "HSUfGhsjHBYWICwgIyYnKSopGR8tMC0oMCUoKSj/2Q==";

// Three cards as an address book, a web mail and a mail program write them.
const std::string kCorpus =
    Card({"BEGIN:VCARD", "VERSION:3.0", "PRODID:-//Apple Inc.//Mac OS X 10.15.7//EN", "N:Appleseed;Johnny;;;",
          "FN:Johnny Appleseed", "ORG:Apple Inc.;", "item1.EMAIL;type=INTERNET;type=pref:johnny@apple.example",
          "item1.X-ABLabel:_$!<Other>!$_", "TEL;type=CELL;type=VOICE;type=pref:+1 (555) 010-0001",
          "item2.ADR;type=HOME;type=pref:;;1 Infinite Loop;Cupertino;CA;95014;United States", "item2.X-ABADR:us",
          "BDAY;value=date:1976-04-01", (kPhoto.substr(0, 75) + "\r\n " + kPhoto.substr(75, 74) + "\r\n " +
                                         kPhoto.substr(149)).c_str(),
          "END:VCARD"}) +
    Card({"BEGIN:VCARD", "VERSION:3.0", "FN:Zo\xc3\xab Example", "N:Example;Zo\xc3\xab;;;",
          "EMAIL;TYPE=INTERNET;TYPE=HOME:zoe@home.example", "EMAIL;TYPE=INTERNET;TYPE=WORK:Zoe.Example@work.example",
          "TEL;TYPE=CELL:+44 20 7946 0000",
          "ADR;TYPE=WORK:;;10 Downing Street\\nFlat 2;London;;SW1A 2AA;United Kingdom", "ORG:Example Ltd.",
          "TITLE:Director\\, Operations", "URL:https://zoe.example/",
          "NOTE:Met at the conference in 2019. Likes tea\\, not coffee\\; prefers ema", " il over phone.",
          "CATEGORIES:myContacts,Friends", "END:VCARD"}) +
    Card({"begin:vcard", "version:3.0", "fn:Dr. Hans M\xc3\xbcller", "n:M\xc3\xbcller;Hans;;Dr.;",
          "tel;work;voice:+49 30 1234567", "tel;home;fax:+49 30\t", "\t7654321", "email;internet:hans@example.de",
          "adr;home;encoding=8bit:;;Dorfstr. 1;C:\\",
          "x-mozilla-html:FALSE", "end:vcard"},
         "\n");

TEST(VCardTest, CardsShapedLikeRealProgramsAreReadWhole) {
  VCardReadResult read = ReadVCards(kCorpus);
  ASSERT_EQ(read.refused, 0);
  ASSERT_EQ(read.contacts.size(), 3u);
  const CPIDLExtendRec& johnny = read.contacts[0].GetExtendRec();
  EXPECT_EQ(read.contacts[0].GetAlias(), "Johnny Appleseed");
  EXPECT_EQ(johnny.family_name + "|" + johnny.given_name + "|" + johnny.organization, "Appleseed|Johnny|Apple Inc.");
  EXPECT_EQ(johnny.emails, (std::vector<CContactItem>{{"johnny@apple.example", {kContactPlaceOther, true, "", "item1"}}}));
  EXPECT_EQ(johnny.phones, (std::vector<CContactItem>{{"+1 (555) 010-0001", {kContactPlaceOther, true, "cell,voice", ""}}}));
  EXPECT_EQ(johnny.addresses, (std::vector<CContactAddress>{{"", "", "1 Infinite Loop", "Cupertino", "CA", "95014",
                                                             "United States", {kContactPlaceHome, true, "", "item2"}}}));
  EXPECT_EQ(johnny.birthday, "1976-04-01");
  EXPECT_EQ(johnny.extra_lines, (std::vector<std::string>{"PRODID:-//Apple Inc.//Mac OS X 10.15.7//EN",
                                                          "item1.X-ABLabel:_$!<Other>!$_", "item2.X-ABADR:us", kPhoto}));

  const CPIDLExtendRec& zoe = read.contacts[1].GetExtendRec();
  EXPECT_EQ(zoe.emails, (std::vector<CContactItem>{{"zoe@home.example", {kContactPlaceHome, false, "", ""}},
                                                   {"Zoe.Example@work.example", {kContactPlaceWork, false, "", ""}}}));
  EXPECT_EQ(zoe.addresses.at(0).street, "10 Downing Street\nFlat 2");
  EXPECT_EQ(zoe.title, "Director, Operations");
  EXPECT_EQ(zoe.note, "Met at the conference in 2019. Likes tea, not coffee; prefers email over phone.");
  EXPECT_EQ(zoe.extra_lines, std::vector<std::string>{"CATEGORIES:myContacts,Friends"});

  const CPIDLExtendRec& hans = read.contacts[2].GetExtendRec();
  EXPECT_EQ(read.contacts[2].GetAlias(), "Dr. Hans M\xc3\xbcller");
  EXPECT_EQ(hans.honorific_prefixes, "Dr.");
  EXPECT_EQ(hans.phones, (std::vector<CContactItem>{{"+49 30 1234567", {kContactPlaceWork, false, "voice", ""}},
                                                    {"+49 30\t7654321", {kContactPlaceHome, false, "fax", ""}}}));
  EXPECT_EQ(hans.emails.at(0).value, "hans@example.de");
  EXPECT_EQ(hans.addresses.at(0).locality, "C:\\") << "a backslash at the end is kept";
  EXPECT_EQ(hans.extra_lines, std::vector<std::string>{"x-mozilla-html:FALSE"});

  std::string exported;
  for (const CPIDLRec& contact : read.contacts) exported += FormatVCard(contact);
  EXPECT_NE(exported.find("item1.EMAIL;PREF=1:johnny@apple.example\r\n"), std::string::npos) << exported;
  EXPECT_NE(exported.find("TEL;TYPE=work,voice:+49 30 1234567\r\n"), std::string::npos) << exported;
  EXPECT_TRUE(FoldedAt75(exported));
  ZDS_EXPECT_VOBJECT_READS(exported, read.contacts);
  EXPECT_TRUE(SameContacts(ReadVCards(exported).contacts, read.contacts));
}

// A property's TYPE words in every form real files use, from a pool with
// places, known and unknown kinds, "pref" and "other", in mixed case.
std::string TypeParams(std::mt19937& random, std::vector<std::string> words) {
  std::string params;
  switch (random() % 4) {
    case 0:  // TYPE=a,b
    case 1:  // TYPE="a,b"
      if (words.empty()) return params;
      params = random() % 2 ? ";TYPE=\"" : ";TYPE=";
      for (size_t i = 0; i < words.size(); ++i) params += (i ? "," : "") + words[i];
      return params + (params.find('"') != std::string::npos ? "\"" : "");
    case 2:  // TYPE=a;TYPE=b
      for (const std::string& word : words) params += ";TYPE=" + word;
      return params;
    default:  // a;b, as vCard 2.1 wrote it
      for (const std::string& word : words) params += ";" + word;
      return params;
  }
}

TEST(VCardTest, ExportImportExportIsAFixedPointForEveryFormOfTypeWords) {
  const std::vector<std::string> pool = {"home", "WORK", "Work", "voice", "CELL", "fax", "internet", "INTERNET",
                                         "x-custom", "pref", "other", "text", "Home"};
  std::mt19937 random(0x7e57u);
  std::string cards;
  for (int n = 0; n < 200; ++n) {
    auto words = [&] {
      std::vector<std::string> chosen(random() % 4);
      for (std::string& word : chosen) word = pool[random() % pool.size()];
      return chosen;
    };
    cards += "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Card " + std::to_string(n) + "\r\n";
    cards += "EMAIL" + TypeParams(random, words()) + ":c" + std::to_string(n) + "@example.org\r\n";
    cards += "TEL" + TypeParams(random, words()) + ":+1 555 01" + std::to_string(n % 100) + "\r\n";
    cards += "ADR" + TypeParams(random, words()) + ":;;" + std::to_string(n) + " Main St;Town;;;\r\nEND:VCARD\r\n";
  }
  Shelf shelf;
  ASSERT_EQ(shelf.Open(), OpenResult::kCreated);
  for (const char* name : {"In", "Again"}) ASSERT_FALSE(shelf.doc().AddBook(name).empty());
  CPIDLDoc& in = *shelf.doc().GetPIDLDoc(0);
  CPIDLDoc& again = *shelf.doc().GetPIDLDoc(1);
  ASSERT_EQ(ImportVCards(in, cards).read, 200);
  const std::string exported = ExportVCards(in);
  ASSERT_EQ(ImportVCards(again, exported).read, 200);
  EXPECT_EQ(ExportVCards(again), exported);

  // What the words become: lists split wherever they are, unknown words
  // kept, the order kept, "internet" (implied by EMAIL), "other" and "pref" not.
  const std::pair<const char*, const char*> typed[] = {
      {"EMAIL;TYPE=\"INTERNET,WORK\":a@example.org", "EMAIL;TYPE=work:a@example.org"},
      {"TEL;TYPE=\"WORK,VOICE\":1", "TEL;TYPE=work,voice:1"},
      {"TEL;TYPE=voice;TYPE=work:1", "TEL;TYPE=voice,work:1"},
      {"TEL;TYPE=X-Custom,CELL,pref:1", "TEL;TYPE=x-custom,cell;PREF=1:1"},
      {"TEL;CELL;HOME:1", "TEL;TYPE=cell,home:1"},
      {"TEL;TYPE=home,work:1", "TEL;TYPE=home,work:1"},
      {"TEL;TYPE=\"Home,Home,home\":1", "TEL;TYPE=home,home,home:1"},
  };
  for (const auto& [line, written] : typed) {
    VCardReadResult read = ReadVCards(Card({"BEGIN:VCARD", "FN:x", line, "END:VCARD"}));
    ASSERT_EQ(read.contacts.size(), 1u) << line;
    EXPECT_NE(FormatVCard(read.contacts[0]).find(std::string(written) + "\r\n"), std::string::npos)
        << line << "\n" << FormatVCard(read.contacts[0]);
  }
}

TEST(VCardTest, BadCardsAreRefusedAndReadingGoesOn) {
  const std::string good = Card({"BEGIN:VCARD", "VERSION:4.0", "FN:Good", "END:VCARD"});
  const std::pair<const char*, std::string> kBad[] = {  // each followed by the good card
      {"no END before the next card", Card({"BEGIN:VCARD", "FN:Lost"})},
      {"a line without \":\"", Card({"BEGIN:VCARD", "FN:Bad", "just some words", "END:VCARD"})},
      {"an unknown encoding", Card({"BEGIN:VCARD", "FN:Bad", "NOTE;ENCODING=x-rot13:nop", "END:VCARD"})},
      {"quoted-printable", Card({"BEGIN:VCARD", "FN:Bad", "NOTE;QUOTED-PRINTABLE:=C3=A9", "END:VCARD"})},
      {"another charset", Card({"BEGIN:VCARD", "FN;CHARSET=ISO-8859-1:M\xfcller", "END:VCARD"})},
      {"bytes that are no UTF-8", Card({"BEGIN:VCARD", "FN:M\xfcller", "END:VCARD"})},
      {"base64 that is none", Card({"BEGIN:VCARD", "FN:B", "PHOTO;ENCODING=b:abc", "END:VCARD"})},
  };
  for (const auto& [what, bad] : kBad) {
    VCardReadResult read = ReadVCards(bad + good);
    EXPECT_EQ(read.refused, 1) << what;
    ASSERT_EQ(read.contacts.size(), 1u) << what;
    EXPECT_EQ(read.contacts[0].GetAlias(), "Good") << what;
  }
  VCardReadResult tail = ReadVCards("junk\r\nEND:VCARD\r\n\r\n" + good + "  \r\n" + Card({"BEGIN:VCARD", "FN:Lost"}));
  EXPECT_EQ(std::pair(tail.contacts.size(), tail.refused), std::pair(size_t{1}, 1))
      << "lines outside cards skipped, a card without END at the end refused";

  const std::string photo = "PHOTO;ENCODING=b;TYPE=JPEG:" + std::string(1 << 20, 'A');
  VCardReadResult big = ReadVCards(Card({"BEGIN:VCARD", "FN:Big", photo.c_str(), "END:VCARD"}));
  ASSERT_EQ(big.contacts.size(), 1u);
  EXPECT_EQ(big.contacts[0].GetExtendRec().extra_lines, std::vector<std::string>{photo}) << "kept as it stands";
  const std::string exported = FormatVCard(big.contacts[0]);
  EXPECT_TRUE(FoldedAt75(exported));
  EXPECT_TRUE(SameContacts(ReadVCards(exported).contacts, big.contacts));
  ZDS_EXPECT_VOBJECT_READS(exported, big.contacts);
}

TEST(VCardTest, AnImportWhoseSaveFailsLeavesTheBookAsItWas) {
  Shelf shelf;
  ASSERT_EQ(shelf.Open(), OpenResult::kCreated);
  ASSERT_FALSE(shelf.doc().AddBook("Book").empty());
  CPIDLDoc& book = *shelf.doc().GetPIDLDoc(0);
  ASSERT_EQ(ImportVCards(book, kCorpus).read, 3);
  const std::string before = shelf.temp().Read("addressbook/Book/index.xml");
  EXPECT_EQ(before, book.GetXml()) << "saved once, at the end";
  {
    test::FailingWrites failing(shelf.temp().dir() / "addressbook" / "Book" / "index.xml");
    ASSERT_TRUE(failing.active());
    VCardImportResult result = ImportVCards(book, Card({"BEGIN:VCARD", "FN:New", "EMAIL:new@example.org", "END:VCARD"}));
    EXPECT_EQ(result.read, 0);
    EXPECT_EQ(result.refused, 1);
  }
  EXPECT_EQ(book.GetXml(), before);
  EXPECT_EQ(shelf.temp().Read("addressbook/Book/index.xml"), before);
  EXPECT_EQ(shelf.doc().FindAdrByEmail("new@example.org"), nullptr);
  EXPECT_NE(shelf.doc().FindAdrByEmail("HANS@example.de"), nullptr);
}

}  // namespace
}  // namespace zds

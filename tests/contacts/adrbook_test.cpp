// The address book: its book folders as stored, the upgrade of a "1.0"
// list on disk, and the four ways of reaching the books agreeing.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "contacts/contacts_testing.h"

namespace zds {
namespace {

using contacts_testing::Shelf;

std::string ShelfText(const std::string& version, const std::string& books) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<adrbook ver=\"" + version + "\">\r\n"
         "<folder id=\"0000\" alias=\"Addresses\" attribute=\"root\">\r\n" + books + "</folder>\r\n</adrbook>\r\n";
}

std::string BookLine(const std::string& id, const std::string& src, const std::string& flags = "") {
  return "<folder id=\"" + id + "\" alias=\"Book " + id + "\" attribute=\"normal\" src=\"" + src + "\"" + flags +
         ">\r\n</folder>\r\n";
}

const std::string kPIDL = LoadTemplate(res::kPIDLTemplate);

TEST(AdrBookFolderTest, FieldsReadAsStoredAndWriteBackInTheirOrder) {
  const std::tuple<const char*, int32_t, bool, bool> kCases[] = {
      {R"( size="12" ownership="yes" defaultbook="yes")", 12, true, true},
      {R"( size="-3kb" ownership="Yes" defaultbook="YES")", -3, false, false},  // flags are "yes" exactly
      {R"( size="" ownership="no" defaultbook=" yes")", 0, false, false},
      {R"( size="99999999999" ownership="yes")", 2147483647, true, false},
  };
  for (const auto& [attributes, size, ownership, default_book] : kCases) {
    SCOPED_TRACE(attributes);
    Shelf shelf;
    shelf.temp().Write("addressbook/index.xml",
                       ShelfText("2.0", BookLine("0001", "\\A\\index.xml", std::string(attributes) +
                                                     R"( createtime="2004-05-01 10:00:00" accesstime="x")")));
    ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
    CAdrBookFolder* book = shelf.doc().GetBookFolder(0);
    ASSERT_NE(book, nullptr);
    const CAdrBookExtendFolder& fields = book->GetExtendFolder();
    EXPECT_EQ(std::tie(fields.size, fields.ownership, fields.default_book), std::tie(size, ownership, default_book));
    EXPECT_EQ(std::tie(fields.create_time, fields.update_time, fields.access_time),
              std::make_tuple("2004-05-01 10:00:00", "", "x"));

    CAdrBookFolder renamed(*book);
    renamed.SetAlias("Renamed");
    ASSERT_TRUE(shelf.doc().UpdateFolder(book->GetPos(), renamed, false));
    const std::string saved = shelf.temp().Read("addressbook/index.xml");
    const std::string written = R"( createtime="2004-05-01 10:00:00" updatetime="" accesstime="x" size=")" +
                                std::to_string(size) + R"(" ownership=")" + (ownership ? "yes" : "no") +
                                R"(" defaultbook=")" + (default_book ? "yes" : "no") + "\"";
    EXPECT_NE(saved.find(R"(alias="Renamed" attribute="normal" src="\A\index.xml")" + written + ">"), std::string::npos)
        << saved;
    ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
    EXPECT_TRUE(*shelf.doc().GetBookFolder(0) == renamed);
    ZDS_EXPECT_XMLLINT_ACCEPTS(saved);
  }
}

TEST(AdrBookUpgradeTest, AOldListMovesEachBookIntoItsDirectoryAndIsSavedAt20) {
  Shelf shelf;
  shelf.temp().Write("addressbook/A.xml", kPIDL);
  shelf.temp().Write("addressbook/B.xml", kPIDL + "<!-- B -->");
  shelf.temp().Write("addressbook/B/index.xml", "in the way");
  shelf.temp().Write("addressbook/index.xml",
                     ShelfText("1.0", BookLine("0001", "\\A.xml") + BookLine("0002", "") + BookLine("0003", "\\B.xml") +
                                          BookLine("0004", "\\Gone.xml")));
  ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
  const std::string saved = shelf.temp().Read("addressbook/index.xml");
  const std::string fields = R"( createtime="" updatetime="" accesstime="" size="0" ownership="no" defaultbook="no")";
  EXPECT_EQ(saved, ShelfText("2.0", BookLine("0001", "\\A\\index.xml", fields) + BookLine("0002", "") +
                                        BookLine("0003", "\\B\\index.xml", fields) +
                                        BookLine("0004", "\\Gone\\index.xml", fields)))
      << "every \"src\" rewritten, a failed move's too, an empty one left alone";
  EXPECT_EQ(shelf.doc().GetRootAttribute("ver"), "2.0");
  EXPECT_EQ(saved, shelf.doc().GetXml());
  EXPECT_TRUE(shelf.doc().GetAutoSaveFlag());
  EXPECT_EQ(shelf.temp().Files(), (std::vector<std::string>{"root/addressbook/A/index.xml", "root/addressbook/B.xml",
                                                            "root/addressbook/B/index.xml", "root/addressbook/index.xml"}))
      << "a move never replaces a file";
  EXPECT_EQ(shelf.temp().Read("addressbook/A/index.xml"), kPIDL);
  EXPECT_NE(shelf.doc().GetPIDLDoc(0), nullptr);
  EXPECT_EQ(shelf.doc().GetPIDLDoc(3), nullptr) << "a book whose file is missing opens no document";
  EXPECT_FALSE(shelf.temp().Exists("addressbook/Gone")) << "and none is made";

  Shelf by_hand;
  by_hand.temp().Write("addressbook/index.xml", ShelfText("1.0", BookLine("0001", "\\A.xml")));
  ASSERT_EQ(by_hand.Open(false), OpenResult::kLoaded);
  EXPECT_TRUE(by_hand.doc().GetAutoSaveFlag()) << "saving is automatic after the upgrade, whatever it was";
  EXPECT_EQ(by_hand.temp().Read("addressbook/index.xml"), by_hand.doc().GetXml());
}

TEST(AdrBookUpgradeTest, ListsOfOtherVersionsAreNeverTouched) {
  for (const char* version : {"2.0", "1.1", "1.00", "", "2.0.1"}) {
    SCOPED_TRACE(version);
    Shelf shelf;
    const std::string text = ShelfText(version, BookLine("0001", "\\A.xml"));
    shelf.temp().Write("addressbook/A.xml", kPIDL);
    shelf.temp().Write("addressbook/index.xml", text);
    ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
    EXPECT_EQ(shelf.temp().Read("addressbook/index.xml"), text);
    EXPECT_EQ(shelf.temp().Files(), (std::vector<std::string>{"root/addressbook/A.xml", "root/addressbook/index.xml"}));
    EXPECT_EQ(shelf.doc().GetPIDLDoc(0), shelf.doc().GetPIDLDoc("kov:\\Addresses\\Book 0001"));
  }
}

TEST(AdrBookTest, BooksByIndexAndByPathAgreeAndOpenOnDemand) {
  Shelf shelf;
  ASSERT_EQ(shelf.Open(), OpenResult::kCreated);
  CAdrBookDoc& doc = shelf.doc();
  EXPECT_EQ(doc.GetRoot()->GetExtendType(), kAdrBookRootType);
  for (const char* name : {"Friends", "Work", "A/B: C"}) ASSERT_FALSE(doc.AddBook(name).empty()) << name;
  EXPECT_TRUE(doc.AddBook("Work").empty()) << "names are unique";
  EXPECT_TRUE(doc.AddBook("back\\slash").empty());
  ASSERT_EQ(doc.GetPIDLDocNum(), 3);
  ASSERT_TRUE(doc.UnloadVFDLDoc(doc.GetBookFolder(1)->GetPos()));
  EXPECT_EQ(doc.GetBookFolder(1)->GetExtendType(), kAdrBookClosedType) << "closed again";
  for (int i = 0; i < 3; ++i) {
    const std::string path = "kov:\\Addresses\\" + doc.GetPIDLDocAlias(i);
    SCOPED_TRACE(path);
    EXPECT_EQ(doc.GetPIDLDocIndex(path), i);
    CPIDLDoc* book = doc.GetPIDLDoc(path);
    ASSERT_NE(book, nullptr);
    EXPECT_EQ(doc.GetPIDLDoc(i), book);
    EXPECT_EQ(doc.GetBookFolder(i)->GetExtendType(), kAdrBookOpenType);
    EXPECT_EQ(book->GetRootPath(), path);
  }
  EXPECT_EQ(doc.GetBookFolder(2)->GetSrc(), "\\A_B_ C\\index.xml");
  EXPECT_EQ(doc.GetDefaultBook(), doc.GetBookFolder(0)) << "the first book";
  EXPECT_EQ(std::tuple(doc.GetPIDLDocIndex("kov:\\Addresses"), doc.GetPIDLDoc(3), doc.GetPIDLDocAlias(-1)),
            std::tuple(-1, nullptr, ""));
  EXPECT_EQ(doc.GetPIDLDoc("kov:\\Addresses\\Nobody"), nullptr);

  // A new list from disk: the books are closed until asked for.
  ASSERT_EQ(shelf.Open(), OpenResult::kLoaded);
  EXPECT_EQ(shelf.doc().GetBookFolder(0)->GetExtendType(), kAdrBookClosedType);
  EXPECT_EQ(shelf.doc().LoadPIDLDoc("kov:\\Addresses\\Work"), shelf.doc().GetPIDLDoc(1));
  ASSERT_TRUE(shelf.doc().DelLinkFile(*shelf.doc().GetBookFolder(1)));
  EXPECT_FALSE(shelf.temp().Exists("addressbook/Work/index.xml"));
}

}  // namespace
}  // namespace zds

// The favorites and the favorites notepad: their stored form, time stamps
// under a fixed clock, the files records own, and the store's start-up.

#include "zds/browsing/fav_doc.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/temp_root.h"
#include "zds/browsing/fav_notepad.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

using test::TempRoot;

CTime g_now;
CTime FixedNow() { return g_now; }

std::string FavFile(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<fav ver=\"1.0\">\r\n"
         "<folder id=\"0000\" alias=\"Favorites\" attribute=\"root\">\r\n" +
         body + "</folder>\r\n</fav>\r\n";
}

constexpr char kTop[] = "kov:\\Favorites\\0000";
std::string At(const std::string& id) { return std::string("kov:\\Favorites\\") + id; }

TEST(FavDocTest, EveryKindReadsWritesBackAndGetsItsExtendType) {
  const std::string body =
      "<folder id=\"0001\" alias=\"Work\" attribute=\"normal\" createtime=\"2020-01-02 03:04\" "
      "updatetime=\"2020-01-03 03:04\" accesstime=\"2020-01-04 03:04\">\r\n"
      "<rec id=\"0002\" alias=\"Site\" attribute=\"normal\" content=\"Normal;os=universal\" src=\"\\0002.url\" "
      "num=\"7x\" size=\"-12\" ownership=\"yes\" createtime=\"a\" updatetime=\"b\" accesstime=\"c\">\r\n</rec>\r\n"
      "</folder>\r\n"
      "<folder id=\"0003\" alias=\"Secret\" attribute=\"hidden\">\r\n</folder>\r\n"
      "<rec id=\"0004\" alias=\"Log\" content=\"Shortlog;os=universal\" src=\"\\log.txt\" ownership=\"YES\">\r\n</rec>\r\n"
      "<rec id=\"0005\" alias=\"Pad\" content=\"FavNotepad;class=CFavNotepad;os=universal\" src=\"\\pad.xml\">\r\n</rec>\r\n"
      "<rec id=\"0006\" alias=\"Box\" content=\"midl;class=CMIDLDoc;os=universal\" src=\"\\in.xml\">\r\n</rec>\r\n"
      "<rec id=\"0007\" alias=\"Odd\" content=\"normal;os=universal\" src=\"\\odd\">\r\n</rec>\r\n"
      "<rec id=\"0008\" alias=\"Open\" content=\"Normal\" src=\"\\x.url\"/>\r\n";
  CFavDoc doc;
  const std::string text = FavFile(body + "<rec id=\"0009\" alias=\"Closed\">\r\n</rec>\r\n");
  ASSERT_TRUE(doc.SetXml(text));
  ASSERT_TRUE(doc.InitVFDLDoc("", "kov:"));
  EXPECT_EQ(doc.GetXml(), text) << "an unchanged document writes back byte for byte";

  const std::tuple<const char*, int> types[] = {{"0000", 22}, {"0001", 22}, {"0002", 23}, {"0003", 20},
                                                {"0004", 24}, {"0005", 25}, {"0006", 26}, {"0007", 0}};
  for (auto [id, type] : types) EXPECT_EQ(doc.GetNodeByPos(At(id))->GetExtendType(), type) << id;
  EXPECT_EQ(doc.GetRec(At("0008")), nullptr) << "a record without its closing line is refused";

  const CFavExtendFolder& work = doc.GetFolder(At("0001"))->GetExtendFolder();
  EXPECT_EQ(std::tie(work.createtime, work.updatetime, work.accesstime),
            std::tuple("2020-01-02 03:04", "2020-01-03 03:04", "2020-01-04 03:04"));
  const CFavExtendRec& site = doc.GetRec(At("0002"))->GetExtendRec();
  EXPECT_EQ(std::tuple(site.num, site.size, site.ownership, site.createtime, site.updatetime, site.accesstime),
            std::tuple(7, -12, true, "a", "b", "c"));
  EXPECT_FALSE(doc.GetRec(At("0004"))->GetExtendRec().ownership) << "only \"yes\" exactly owns";

  // Written back in the format's order; a second document reads the same values.
  CFavRec changed(*doc.GetRec(At("0002")));
  changed.GetExtendRec().num = 8;
  ASSERT_TRUE(doc.UpdateRec(At("0002"), changed, false));
  const std::string written = doc.GetXml();
  EXPECT_NE(written.find("src=\"\\0002.url\" num=\"8\" size=\"-12\" ownership=\"yes\" createtime=\"a\" updatetime=\""),
            std::string::npos)
      << written;
  CFavDoc again;
  ASSERT_TRUE(again.SetXml(written));
  EXPECT_TRUE(*again.GetRec(At("0002")) == *doc.GetRec(At("0002")));
  EXPECT_TRUE(*again.GetFolder(At("0001")) == *doc.GetFolder(At("0001")));
  ZDS_EXPECT_XMLLINT_ACCEPTS(written);
}

TEST(FavDocTest, AddingStampsAllThreeTimesAndUpdatingOnlyTheUpdateTime) {
  CFavDoc doc;
  doc.SetClock(&FixedNow);
  ASSERT_TRUE(doc.SetXml(FavFile("")));
  g_now = CTime(2021, 3, 4, 5, 6, 59);
  CFavFolder folder;
  folder.SetAlias("F");
  folder.GetExtendFolder().accesstime = "caller's";
  const std::string folder_pos = doc.AddFolder(kTop, folder, false);
  CFavRec rec;
  rec.SetAlias("R");
  const std::string rec_pos = doc.AddRec(folder_pos, rec, false);
  ASSERT_FALSE(rec_pos.empty());
  const auto stamps = [](const auto& fields) { return std::tie(fields.createtime, fields.updatetime, fields.accesstime); };
  EXPECT_EQ(stamps(doc.GetFolder(folder_pos)->GetExtendFolder()),
            std::tuple("2021-03-04 05:06", "2021-03-04 05:06", "2021-03-04 05:06"));
  EXPECT_EQ(stamps(doc.GetRec(rec_pos)->GetExtendRec()),
            std::tuple("2021-03-04 05:06", "2021-03-04 05:06", "2021-03-04 05:06"));

  g_now = CTime(2022, 7, 8, 9, 10, 0);
  CFavFolder renamed(*doc.GetFolder(folder_pos));
  renamed.GetExtendFolder().accesstime = "kept";
  ASSERT_TRUE(doc.UpdateFolder(folder_pos, renamed, false));
  CFavRec visited(*doc.GetRec(rec_pos));
  visited.GetExtendRec().accesstime = "2022-01-01 00:00";
  ASSERT_TRUE(doc.UpdateRec(rec_pos, visited, false));
  EXPECT_EQ(stamps(doc.GetFolder(folder_pos)->GetExtendFolder()),
            std::tuple("2021-03-04 05:06", "2022-07-08 09:10", "kept"));
  EXPECT_EQ(stamps(doc.GetRec(rec_pos)->GetExtendRec()),
            std::tuple("2021-03-04 05:06", "2022-07-08 09:10", "2022-01-01 00:00"));
}

// A document on a data root with a record per case of ownership and "src".
struct OwnedFiles {
  TempRoot temp;
  CFavDoc doc;
  OwnedFiles() {
    temp.Write("favorites/own.htm", "page");
    temp.Write("favorites/own", "companion");
    temp.Write("favorites/theirs.htm", "page");
    temp.Write("favorites/theirs", "companion");
    temp.Write("favorites/sub/own2.url", "link");
    test::WriteNative(temp.top() / "outside.htm", "not ours");
    temp.Write("favorites/index.xml",
               FavFile("<rec id=\"0001\" alias=\"a\" src=\"\\own.htm\" ownership=\"yes\">\r\n</rec>\r\n"
                       "<rec id=\"0002\" alias=\"b\" src=\"\\theirs.htm\" ownership=\"no\">\r\n</rec>\r\n"
                       "<rec id=\"0003\" alias=\"c\" src=\"\\..\\..\\outside.htm\" ownership=\"yes\">\r\n</rec>\r\n"
                       "<folder id=\"0004\" alias=\"f\">\r\n"
                       "<rec id=\"0005\" alias=\"d\" src=\"\\sub\\own2.url\" ownership=\"yes\">\r\n</rec>\r\n"
                       "<rec id=\"0006\" alias=\"e\" src=\"\\theirs.htm\" ownership=\"no\">\r\n</rec>\r\n"
                       "</folder>\r\n"));
    doc.SetDataRoot(temp.root());
    EXPECT_EQ(OpenVFDLDoc(doc, "\\favorites\\index.xml", "\\favorites", false), OpenResult::kLoaded);
  }
};

TEST(FavDocTest, OnlyOwnedFilesAreDeletedAndNeverOutsideTheRoot) {
  OwnedFiles store;
  CFavDoc& doc = store.doc;
  EXPECT_EQ(doc.GetActualFilePos(At("0001")), "\\favorites\\own.htm");
  EXPECT_EQ(doc.GetActualFilePos(At("0003")), "") << "a src that climbs out names no file";
  EXPECT_EQ(doc.DelLinkFile(*doc.GetNodeByPos(At("0002"))), 1);
  EXPECT_EQ(doc.DelLinkFile(*doc.GetNodeByPos(At("0003"))), 1);
  EXPECT_EQ(doc.DelLinkFile(*doc.GetNodeByPos(At("0004"))), 1) << "a folder is left alone";
  EXPECT_TRUE(store.temp.Exists("favorites/theirs.htm") && store.temp.Exists("favorites/theirs"));
  EXPECT_TRUE(store.temp.Exists("../outside.htm"));

  EXPECT_EQ(doc.DelLinkFile(*doc.GetNodeByPos(At("0001"))), 1);
  EXPECT_FALSE(store.temp.Exists("favorites/own.htm") || store.temp.Exists("favorites/own"));
  EXPECT_EQ(doc.DelLinkFile(*doc.GetNodeByPos(At("0001"))), 1) << "files already gone";

  ASSERT_TRUE(doc.DelFolderOnDoc(At("0004")));
  EXPECT_FALSE(store.temp.Exists("favorites/sub/own2.url"));
  EXPECT_TRUE(store.temp.Exists("favorites/theirs.htm")) << "the folder's record did not own it";
  ASSERT_TRUE(doc.DelRecOnDoc(At("0002")));
  ASSERT_TRUE(doc.DelRecOnDoc(At("0003")));
  EXPECT_TRUE(store.temp.Exists("favorites/theirs.htm") && store.temp.Exists("../outside.htm"));
  EXPECT_FALSE(doc.DelRecOnDoc(At("0002")));
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kNotFound);
}

TEST(FavDocTest, ChangeLinkFilePathMovesOwnedFilesAndChecksTheOldPath) {
  OwnedFiles store;
  CFavDoc& doc = store.doc;
  EXPECT_FALSE(doc.ChangeLinkFilePath(At("0001"), "\\other.htm", "\\new.htm", false)) << "a stale old path";
  EXPECT_FALSE(doc.ChangeLinkFilePath(At("0001"), "\\own.htm", "\\..\\new.htm", false));
  EXPECT_FALSE(doc.ChangeLinkFilePath(At("0001"), "\\own.htm", "\\theirs.htm", false)) << "never over a file";
  EXPECT_TRUE(store.temp.Exists("favorites/own.htm") && store.temp.Read("favorites/theirs.htm") == "page");
  EXPECT_EQ(doc.GetRec(At("0001"))->GetSrc(), "\\own.htm");

  ASSERT_TRUE(doc.ChangeLinkFilePath(At("0001"), "\\OWN.htm", "\\moved.htm", false));
  EXPECT_EQ(doc.GetRec(At("0001"))->GetSrc(), "\\moved.htm");
  EXPECT_EQ(store.temp.Read("favorites/moved.htm") + store.temp.Read("favorites/moved"), "pagecompanion");
  ASSERT_TRUE(doc.ChangeLinkFilePath(At("0002"), "\\theirs.htm", "\\elsewhere.htm", false));
  EXPECT_TRUE(store.temp.Exists("favorites/theirs.htm")) << "a file not owned stays where it is";
}

TEST(FavNotepadTest, PagesAreThreeLinesAndTimesAreStamped) {
  CFavNotepad pad;
  pad.SetClock(&FixedNow);
  ASSERT_TRUE(pad.NewXMLDoc(""));
  EXPECT_EQ(pad.GetXml(), LoadTemplate(res::kFavNotepadTemplate));
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<favnotepad ver=\"1.0\">\r\n<header type=\"normal\"></header>\r\n"
      "<folder id=\"0000\" alias=\"Notepad\" attribute=\"root\">\r\n"
      "<rec id=\"0001\" alias=\"r\" createtime=\"t1\" subject=\"S &amp; T\">\r\n"
      "<content alias=\"one\">\r\nfirst &lt;line&gt;\r\n</content>\r\n"
      "<content alias=\"empty\">\r\n\r\n</content>\r\n"
      "</rec>\r\n</folder></favnotepad>\r\n";
  ASSERT_TRUE(pad.SetXml(text));
  ASSERT_TRUE(pad.InitVFDLDoc("", "kov:"));
  const CFavNPDRec* rec = pad.GetRec("kov:\\Notepad\\0001");
  ASSERT_NE(rec, nullptr);
  EXPECT_EQ(rec->GetExtendType(), kFavNotepadRecType);
  const CFavNPDExtendRec& fields = rec->GetExtendRec();
  EXPECT_EQ(std::tie(fields.subject, fields.createtime), std::tuple("S & T", "t1"));
  ASSERT_EQ(fields.pages.size(), 2u);
  EXPECT_EQ(std::tie(fields.pages[0].alias, fields.pages[0].text), std::tuple("one", "first <line>"));
  EXPECT_EQ(std::tie(fields.pages[1].alias, fields.pages[1].text), std::tuple("empty", ""));

  g_now = CTime(2023, 1, 2, 3, 4, 5);
  CFavNPDRec added;
  added.GetExtendRec().subject = "new";
  added.GetExtendRec().pages.push_back(fields.pages[0]);
  const std::string pos = pad.AddRec("kov:\\Notepad\\0000", added, false);
  const CFavNPDExtendRec& stamped = pad.GetRec(pos)->GetExtendRec();
  EXPECT_EQ(std::tie(stamped.createtime, stamped.updatetime, stamped.accesstime),
            std::tuple("2023-01-02 03:04", "2023-01-02 03:04", "2023-01-02 03:04"));
  g_now = CTime(2024, 1, 2, 3, 4, 5);
  CFavNPDRec changed(*pad.GetRec(pos));
  ASSERT_TRUE(pad.UpdateRec(pos, changed, false));
  EXPECT_EQ(pad.GetRec(pos)->GetExtendRec().updatetime, "2024-01-02 03:04");
  EXPECT_EQ(pad.GetRec(pos)->GetExtendRec().createtime, "2023-01-02 03:04");

  CFavNotepad reread;
  ASSERT_TRUE(reread.SetXml(pad.GetXml()));
  EXPECT_TRUE(*reread.GetRec(pos) == *pad.GetRec(pos));
  ZDS_EXPECT_XMLLINT_ACCEPTS(pad.GetXml());
}

TEST(FavStartupTest, TheServiceIndexOpensTheFavoritesAndTheirRecordsOpenNotepads) {
  TempRoot temp;
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());
  EXPECT_EQ(temp.Read("Favorites/index.xml"), LoadTemplate(res::kFavTemplate));
  auto* fav = facade.GetAIDLDoc()->GetFavDoc<CFavDoc>();
  ASSERT_NE(fav, nullptr);
  CFavRec pad;
  pad.SetAlias("Notes");
  pad.ComposeContent(kFavNotepadContent, "CFavNotepad", "universal");
  pad.SetSrc("\\pad.xml");
  const std::string pos = fav->AddRec(fav->GetRoot()->GetPos(), pad, false);
  ASSERT_FALSE(pos.empty());
  auto* notepad = fav->LoadVFDLDoc<CFavNotepad>(*fav->GetNodeByPos(pos));
  ASSERT_NE(notepad, nullptr);
  EXPECT_TRUE(temp.Exists("Favorites/pad.xml"));
  EXPECT_NE(fav->LoadRelatedVFDLDoc(pos, ""), nullptr) << "the record's path without its extension";
  EXPECT_TRUE(temp.Exists("Favorites/pad"));
}

}  // namespace
}  // namespace zds

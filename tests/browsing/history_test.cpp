// The history: its file on a fresh store, the types its paths give, the
// item counter, the repair of an older file, and a mail box archived and
// read back through the history.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/browsing/history_doc.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

using test::TempRoot;

class HistoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    facade_.SetDataRoot(temp_.root());
    ASSERT_TRUE(facade_.InitZDS()) << facade_.GetStartupFailure().step;
  }
  CHistoryDoc* History() { return facade_.GetAIDLDoc()->GetHistoryDoc<CHistoryDoc>(); }
  // A "popmail" account's mail box, with one message in its Inbox.
  CMBoxController* Account(const std::string& name) {
    CAIDLService service;
    service.name = "popmail";
    service.SetAlias(name);
    service.SetContent("mbc;class=CMBoxController;os=universal");
    service.SetSrc("\\mail\\" + name + "\\mbox.xml");
    CAIDLDoc& index = *facade_.GetAIDLDoc();
    const std::string pos = index.AddService(index.GetNodeByPath("kov:\\Velmora\\E-Mail")->GetPos(), service);
    auto* box = dynamic_cast<CMBoxController*>(index.LoadExpandVFDLDoc(pos));
    CMIDLDoc* inbox = box ? box->GetMidlDoc(box->GetRootPath() + "\\Inbox") : nullptr;
    if (inbox == nullptr) return nullptr;
    CMIDLRec rec;
    rec.GetExtendRec().subject = "Hello from " + name;
    const std::string rec_pos = inbox->AddRec(inbox->GetRoot()->GetPos(), rec, true);
    if (rec_pos.empty() || !inbox->WriteRecMail(rec_pos, "From a\nSubject: Hi\n\nbody of " + name + "\n")) return nullptr;
    return box;
  }

  TempRoot temp_;
  CZDS facade_;
};

TEST_F(HistoryTest, AFreshStoreHasTheTemplateAndTypesFollowPaths) {
  EXPECT_EQ(temp_.Read("history/index.xml"), LoadTemplate(res::kHistoryTemplate));
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp_.Read("history/index.xml"));
  CHistoryDoc* history = History();
  ASSERT_NE(history, nullptr);
  history->InitExtendTypes();
  EXPECT_EQ(history->GetRoot()->GetExtendType(), kHistoryRootType);
  const std::pair<const char*, int> kNodes[] = {{"E-Mail", 62}, {"News", 64}, {"Chat", 66}};
  for (const auto& [alias, type] : kNodes) {
    EXPECT_EQ(history->GetNodeByPath(std::string("kov:\\Velmora\\History\\") + alias)->GetExtendType(), type);
  }
  const std::pair<const char*, int> kPaths[] = {
      {"kov:\\Velmora\\History", 61},           {"kov:\\Velmora\\History\\E-Mail\\Home", 63},
      {"kov:\\Velmora\\History\\E-Mail\\Home\\Inbox", 63},
      {"kov:\\Velmora\\History\\News\\Box\\x", 65}, {"kov:\\Velmora\\History\\Chat\\IRC", 0},
      {"kov:\\Velmora\\Historyx", 0},         {"kov:\\Velmora\\history", 0},
      {"kov:\\Velmora\\Favorites\\E-Mail", 0},  {"", 0}};
  for (const auto& [path, type] : kPaths) EXPECT_EQ(CHistoryDoc::GetExtendTypeByPath(path), type) << path;

  ASSERT_TRUE(history->SetRootAttribute("id_range", "0007", true));
  EXPECT_EQ(history->GetNewItemID(1), "0007");
  EXPECT_EQ(history->GetRootAttribute("id_range"), "0008");
  EXPECT_EQ(history->GetNewItemID(0), "0008");
  EXPECT_NE(temp_.Read("history/index.xml").find("<HisPos ver=\"1.0\" id_range=\"0008\">"), std::string::npos);
}

TEST(HistoryRepairTest, AnOlderFileGetsTheMissingStandardFoldersOnce) {
  TempRoot temp;
  temp.Write("history/index.xml",
             "<HisPos ver=\"1.0\">\r\n<folder id=\"0000\" alias=\"History\" attribute=\"root\">\r\n"
             "<folder id=\"0001\" alias=\"e-mail\" attribute=\"normal\">\r\n</folder>\r\n"
             "<folder id=\"0002\" alias=\"Chat\" attribute=\"normal\">\r\n</folder>\r\n</folder>\r\n</HisPos>\r\n");
  for (int pass = 0; pass < 2; ++pass) {
    CHistoryDoc doc;
    doc.SetDataRoot(temp.root());
    doc.SetAutoSaveFlag(true);
    ASSERT_EQ(OpenVFDLDoc(doc, "\\history\\index.xml", "\\history"), OpenResult::kLoaded);
    const CVFDLFolder& root = *doc.GetRoot();
    ASSERT_EQ(root.GetChildCount(), 3u) << pass;
    EXPECT_EQ(doc.GetNodeByID("0001")->GetAlias(), "e-mail");
    EXPECT_EQ(doc.GetNodeByID("0002")->GetSrc(), "\\chat\\index.xml");
    EXPECT_EQ(doc.GetNodeByID("0002")->GetContentClass(), "CCHIndexController");
    EXPECT_EQ(doc.GetNodeByID("0003")->GetAlias(), "News");
  }
  // A reader repairs nothing.
  temp.Write("old/index.xml", "<HisPos><folder id=\"0000\" alias=\"History\" attribute=\"root\"/></HisPos>");
  CHistoryDoc reader;
  reader.SetDataRoot(std::make_shared<platform::DataRoot>(temp.dir().string(), platform::RootAccess::kReadOnly));
  ASSERT_EQ(OpenVFDLDoc(reader, "\\old\\index.xml", "\\old"), OpenResult::kLoaded);
  EXPECT_EQ(reader.GetRoot()->GetChildCount(), 0u);
}

TEST_F(HistoryTest, AnArchivedMailBoxIsACopyReachedThroughTheHistory) {
  CMBoxController* home = Account("Home");
  ASSERT_NE(home, nullptr);
  CHistoryDoc* history = History();
  ASSERT_NE(history, nullptr);
  EXPECT_EQ(history->GetMBCNum(), 0);
  const CTime when = CTime(2026, 11, 25, 10, 30, 0);
  const std::string first = history->ArchiveMailBox(*home, "Home", when);
  const std::string second = history->ArchiveMailBox(*home, "Home", CTime(2026, 12, 1, 8, 0, 0));
  ASSERT_FALSE(first.empty());
  ASSERT_FALSE(second.empty());
  ASSERT_EQ(history->GetMBCNum(), 2);
  EXPECT_EQ(history->GetMBCIDByIndex(2), "");
  const std::string id = history->GetMBCIDByIndex(0);
  EXPECT_EQ(history->GetNodeByPos(second)->GetAlias(), "Home (2)");
  EXPECT_EQ(history->GetNodeByPos(first)->GetExtendType(), kHistoryMailBoxType);
  EXPECT_EQ(temp_.Read("history/mail/" + id + "/mbox.xml"), temp_.Read("mail/Home/mbox.xml"));

  // The copy holds even when the account's own messages change.
  CMIDLDoc* own = home->GetMidlDoc(home->GetRootPath() + "\\Inbox");
  ASSERT_TRUE(own->DelRec(own->Recs().begin()->GetPos()));
  CMBoxController* archived = history->GetMBCDoc(id);
  ASSERT_NE(archived, nullptr);
  EXPECT_EQ(history->GetMBCDoc(first), archived) << "by position too";
  EXPECT_EQ(archived->GetFilePath(), "\\history\\mail\\" + id + "\\mbox.xml");
  CMIDLDoc* inbox = archived->GetMidlDoc(archived->GetRootPath() + "\\Inbox");
  ASSERT_NE(inbox, nullptr);
  ASSERT_EQ(inbox->GetRecNum(""), 1);
  const CMIDLRec& message = *inbox->Recs().begin();
  EXPECT_EQ(message.GetExtendRec().subject, "Hello from Home");
  std::string body;
  ASSERT_TRUE(inbox->ReadRecMail(message.GetPos(), body));
  EXPECT_EQ(body, "From a\nSubject: Hi\n\nbody of Home\n");
  EXPECT_EQ(history->GetMBCDoc("9999"), nullptr);
  EXPECT_EQ(history->GetMBCDoc(history->GetNodeByPath("kov:\\Velmora\\History\\News")->GetID()), nullptr);

  struct Match {
    const char* account;
    const char* time;
    int count;
  };
  const Match kMatches[] = {{"Home", "", 2}, {"", "2026-11-25", 1}, {"Home", "2026-12", 1}, {"home", "", 0},
                            {"Home", "2027", 0}};
  for (const Match& match : kMatches) {
    std::vector<CHistoryFolder*> out;
    EXPECT_EQ(history->GetMBCBackupNode(match.account, match.time, out), match.count) << match.account << match.time;
    EXPECT_EQ(out.size(), static_cast<size_t>(match.count));
  }
  std::vector<CHistoryFolder*> news;
  EXPECT_EQ(history->GetNBCBackupNode("", "", news), 0);

  // A history loaded afresh finds the archive with its fields.
  CZDS again;
  again.SetDataRoot(temp_.root());
  ASSERT_TRUE(again.InitZDS());
  CHistoryDoc* reloaded = again.GetAIDLDoc()->GetHistoryDoc<CHistoryDoc>();
  ASSERT_NE(reloaded, nullptr);
  std::vector<CHistoryFolder*> found;
  ASSERT_EQ(reloaded->GetMBCBackupNode("Home", "2026-11-25 10:30", found), 1);
  EXPECT_NE(reloaded->GetMBCDoc(found[0]->GetID()), nullptr);
}

TEST_F(HistoryTest, TheChatFolderOpensTheChatHistoryIndex) {
  CHistoryDoc* history = History();
  ASSERT_NE(history, nullptr);
  CCHIndexController* chat = history->GetChatHistroyDoc();
  ASSERT_NE(chat, nullptr);
  EXPECT_EQ(chat->GetFilePath(), "\\history\\chat\\index.xml");
  EXPECT_EQ(chat->GetChatDoc("IRCnet", false), nullptr) << "not made without asking";
  CCHDLDoc* irc = chat->GetChatDoc("IRCnet", true);
  ASSERT_NE(irc, nullptr);
  EXPECT_EQ(chat->GetChatDoc("IRCnet", true), irc) << "one document per service";
  ASSERT_NE(chat->GetChatDoc("Jabber", true), nullptr);
  const std::vector<CVFDLFolder*> services = chat->GetServiceFolders();
  ASSERT_EQ(services.size(), 2u);
  EXPECT_EQ(irc->GetFilePath(), "\\history\\chat\\" + services[0]->GetID() + ".xml") << "named by id";
  for (const CVFDLFolder* node : {chat->GetRoot(), services[0], services[1]}) {
    EXPECT_EQ(node->GetExtendType(), kChatIndexType);
  }
  std::vector<CVFDLFolder*> out;
  EXPECT_EQ(history->GetCHBackupNode("", out), 2);
  EXPECT_EQ(history->GetCHBackupNode("Jabber", out), 1);
  EXPECT_EQ(history->GetCHBackupNode("jabber", out), 0);
  ASSERT_EQ(out.size(), 3u);
  EXPECT_EQ(out[2]->GetAlias(), "Jabber");
}

}  // namespace
}  // namespace zds

// The mail box: its nine folders and their types, the stored counts, the
// mail indexes opened behind its folders, the look-ups of a message against
// the walks they stand for, and a mail service of the service index
// opening its mail box.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/temp_root.h"
#include "zds/mail/classes.h"
#include "zds/mail/mbox_controller.h"
#include "zds/store/aidl_doc.h"
#include "zds/store/classes.h"

namespace zds {
namespace {

using test::TempRoot;

const CRTTIRegistry& Registry() {
  static const CRTTIRegistry registry = [] {
    CRTTIRegistry filled;
    RegisterAllClasses(filled);
    return filled;
  }();
  return registry;
}

class MailBoxTest : public ::testing::Test {
 protected:
  OpenResult Open() {
    box_ = std::make_unique<CMBoxController>();
    box_->SetDataRoot(temp_.root());
    box_->SetClassRegistry(&Registry());
    return OpenVFDLDoc(*box_, "\\mail\\home\\mbox.xml", "\\mail\\home");
  }
  CMBoxController& box() { return *box_; }
  std::string Path(const std::string& folder) { return "kov:\\Local Mail Folder\\" + folder; }

  TempRoot temp_;
  std::unique_ptr<CMBoxController> box_;
};

TEST_F(MailBoxTest, ANewMailBoxHasTheNineFoldersAndTheirTypes) {
  ASSERT_EQ(Open(), OpenResult::kCreated);
  const std::string text = temp_.Read("mail/home/mbox.xml");
  EXPECT_EQ(text, LoadTemplate(res::kMailBoxTemplateHead, res::kMailBoxTemplateTail));
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
  EXPECT_EQ(box().GetRoot()->GetExtendType(), kMailRootType);

  // The mail box's own type, and the type its folder's mail index gives its folders.
  const std::tuple<std::string, std::string, int, int> kFolders[] = {
      {"Inbox", "\\inbox.xml", 71, 71},          {"Outbox", "\\outbox.xml", 72, 72},
      {"Sent Items", "\\sent.xml", 73, 73},      {"Trash", "\\trash.xml", 74, 74},
      {"Drafts", "\\draft.xml", 76, 76},         {"Delete Items", "\\delete.xml", 75, 75},
      {"Auto-Inbox", "\\autoinbox.xml", 71, 71}, {"Auto-Outbox", "\\autooutbox.xml", 72, 72},
      {"Auto-Sent", "\\autosent.xml", 80, 77},
  };
  std::vector<CMBCFolder*> folders = box().GetMailFolders();
  ASSERT_EQ(folders.size(), 9u);
  for (size_t i = 0; i < folders.size(); ++i) {
    const auto& [alias, src, type, index_type] = kFolders[i];
    SCOPED_TRACE(alias);
    EXPECT_EQ(folders[i]->GetAlias(), alias);
    EXPECT_EQ(folders[i]->GetSrc(), src);
    EXPECT_EQ(folders[i]->GetExtendType(), type);
    CMIDLDoc* doc = box().GetMidlDoc(Path(alias));
    ASSERT_NE(doc, nullptr);
    EXPECT_EQ(doc->GetFilePath(), "\\mail\\home" + src);
    EXPECT_TRUE(temp_.Exists("mail/home" + std::string(src).replace(0, 1, "/")));
    EXPECT_EQ(doc->GetRoot()->GetExtendType(), index_type);
    CMIDLRec rec;
    const std::string pos = doc->AddRec(doc->GetRoot()->GetPos(), rec, false);
    ASSERT_NE(pos, "");
    EXPECT_EQ(doc->GetRec(pos)->GetExtendType(), kMailRecType);
    EXPECT_EQ(box().GetMidlDocByID(folders[i]->GetPos()), doc);
  }
  CMBCFolder archive;
  archive.SetAlias("Archive");
  archive.SetAttribute("normal");
  const std::string archive_pos = box().AddFolder(box().GetRoot()->GetPos(), archive, false);
  ASSERT_NE(archive_pos, "");
  EXPECT_EQ(box().GetFolder(archive_pos)->GetExtendType(), kMailOtherFolderType);
  EXPECT_EQ(box().GetMidlDoc(box().GetRootPath()), nullptr);  // the root has no index
  EXPECT_EQ(box().GetMidlDocByID(box().GetRoot()->GetPos()), nullptr);
  EXPECT_EQ(box().GetMidlDoc(Path("Nowhere")), nullptr);
  EXPECT_EQ(box().GetMidlDoc("kov:\\Local Mail Folder", "Trash"), box().GetMidlDoc(Path("Trash")));
  EXPECT_EQ(box().GetMidlDocID(Path("Drafts")), box().GetPosPrefix() + "\\0005");
  EXPECT_EQ(box().GetMidlDocID(Path("Nowhere")), "");
}

TEST_F(MailBoxTest, CountsReadAsStoredAndAbsentOnesAsUnknown) {
  temp_.Write("mail/home/mbox.xml",
              "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<mbc ver=\"1.0\">\r\n"
              "<folder id=\"0000\" alias=\"Local Mail Folder\" attribute=\"root\">\r\n"
              "<folder id=\"0001\" alias=\"Inbox\" attribute=\"undel\" mail_num=\"12\" new_mail_num=\"3x\">\r\n"
              "</folder>\r\n<folder id=\"0002\" alias=\"Outbox\" attribute=\"undel\" mail_num=\"\">\r\n</folder>\r\n"
              "</folder>\r\n</mbc>\r\n");
  ASSERT_EQ(Open(), OpenResult::kLoaded);
  const std::tuple<std::string, int, int> kCases[] = {{"0001", 12, 3}, {"0002", -1, -1}};
  for (const auto& [id, mail, fresh] : kCases) {
    const CMBCExtendFolder* counts = box().GetFolder(box().GetPosPrefix() + "\\" + id)->GetExtendFolder();
    ASSERT_NE(counts, nullptr);
    EXPECT_EQ(std::tie(counts->mail_num, counts->new_mail_num), std::tie(mail, fresh)) << id;
  }
  CMBCFolder renamed = *box().GetFolder(box().GetPosPrefix() + "\\0002");
  renamed.SetAlias("Out");
  ASSERT_TRUE(box().UpdateFolder(box().GetPosPrefix() + "\\0002", renamed, false))
      << static_cast<int>(box().GetLastEditStatus());
  EXPECT_NE(temp_.Read("mail/home/mbox.xml").find(R"(alias="Out" attribute="undel" mail_num="-1" new_mail_num="-1">)"),
            std::string::npos);
}

// The walk the Message-ID look-up stands for: from the index's first
// record on by sibling in the mail box, which stops where a sibling is no
// record.
CMIDLRec* MessageIdWalk(CMBoxController& box, CMIDLDoc& doc, const std::string& message_id) {
  for (std::string id = doc.GetFirstRecID(); !id.empty(); id = box.GetNextRecID(id)) {
    CMIDLRec* rec = doc.GetRec(id);
    if (rec->GetExtendRec().message_id == message_id) return rec;
  }
  return nullptr;
}
CMIDLRec* UidlWalk(CMBoxController& box, CVFDLNode& folder, const std::string& uidl) {
  for (CVFDLNode& child : box.GetChildren(folder)) {
    auto* rec = NodeAs<CMIDLRec>(&child);
    if (rec != nullptr && rec->GetExtendRec().uidl == uidl) return rec;
  }
  return nullptr;
}

TEST_F(MailBoxTest, LookUpsAndCountsAgreeWithTheWalksTheyStandFor) {
  ASSERT_EQ(Open(), OpenResult::kCreated);
  CMIDLDoc* inbox = box().GetMidlDoc(Path("Inbox"));
  ASSERT_NE(inbox, nullptr);
  const std::string root = inbox->GetRoot()->GetPos();
  auto add = [&](const std::string& parent, const std::string& message_id, const std::string& uidl, bool fresh) {
    CMIDLRec rec;
    rec.GetExtendRec().message_id = message_id;
    rec.GetExtendRec().uidl = uidl;
    rec.GetExtendRec().new_flag = fresh;
    return inbox->AddRec(parent, rec, false);
  };
  // Two messages, a sub-folder with one, two more after it; keys repeat.
  add(root, "<a>", "1", true);
  add(root, "<b>", "2", false);
  CVFDLFolder sub;
  sub.SetAlias("Sub");
  const std::string sub_pos = inbox->AddFolder(root, sub, false);
  add(sub_pos, "<c>", "3", true);
  add(sub_pos, "<b>", "9", true);
  add(root, "<d>", "4", true);
  add(root, "<c>", "3", false);

  CVFDLNode* folder = box().GetNodeByPath(Path("Inbox"));
  for (const std::string key : {"<a>", "<b>", "<c>", "<d>", "<x>"}) {
    EXPECT_EQ(box().GetMailRecbyMessageID(inbox, key), MessageIdWalk(box(), *inbox, key)) << key;
  }
  EXPECT_NE(box().GetMailRecbyMessageID(inbox, "<b>"), nullptr);
  EXPECT_EQ(box().GetMailRecbyMessageID(inbox, "<d>"), nullptr);  // beyond the sub-folder: the walk stops there
  EXPECT_EQ(box().GetMailRecbyMessageID(nullptr, "<a>"), nullptr);
  for (const std::string key : {"1", "2", "3", "4", "9", "7"}) {
    EXPECT_EQ(box().GetMailRecbyUIDL(Path("Inbox"), key), UidlWalk(box(), *folder, key)) << key;
  }
  EXPECT_NE(box().GetMailRecbyUIDL(Path("Inbox"), "3"), nullptr);  // the one directly in the folder
  EXPECT_EQ(box().GetMailRecbyUIDL(Path("Nowhere"), "1"), nullptr);

  CMailLocation found = box().FindMailByMessageID("<d>");
  ASSERT_TRUE(found);
  EXPECT_EQ(found.folder->GetAlias(), "Inbox");
  EXPECT_EQ(found.rec->GetExtendRec().uidl, "4");
  EXPECT_FALSE(box().FindMailByUIDL("nothing"));

  EXPECT_EQ(box().GetRecNum(folder), 4);  // the sub-folder is not entered
  EXPECT_EQ(box().GetNewRecNum(folder), 2);
  EXPECT_EQ(box().GetRecNum(inbox->GetFolder(sub_pos)), 2);
  EXPECT_EQ(box().GetRecNum(inbox->GetRecByIndex(0)), -1);
  EXPECT_EQ(box().GetNewRecNum(inbox->GetRecByIndex(0)), -1);
  EXPECT_EQ(box().GetRecNum(box().GetNodeByPath(Path("Trash"))), 0);

  EXPECT_EQ(box().GetRelativeMBCID(box().GetPosPrefix() + "\\0001"), "0001");
  EXPECT_EQ(box().GetRelativeMBCID("kov:\\Elsewhere\\0001"), "kov:\\Elsewhere\\0001");
}

TEST(MailServiceTest, APopMailServiceOpensItsMailBoxThroughTheFramework) {
  TempRoot temp;
  CAIDLDoc index;
  index.SetDataRoot(temp.root());
  index.SetClassRegistry(&Registry());
  index.SetAutoSaveFlag(true);
  ASSERT_EQ(OpenVFDLDoc(index, "\\aidl.xml", ""), OpenResult::kCreated);
  CAIDLService service;
  service.name = "popmail";
  service.SetAlias("Home");
  service.SetContent("mbc;class=CMBoxController;os=universal");
  service.SetSrc("\\mail\\Home\\mbox.xml");
  CVFDLNode* email = index.GetNodeByPath("kov:\\Velmora\\E-Mail");
  ASSERT_NE(email, nullptr);
  const std::string pos = index.AddService(email->GetPos(), service);
  ASSERT_NE(pos, "");
  auto* box = dynamic_cast<CMBoxController*>(index.LoadExpandVFDLDoc(pos));
  ASSERT_NE(box, nullptr);
  CMIDLDoc* inbox = box->GetMidlDoc(box->GetRootPath() + "\\Inbox");
  ASSERT_NE(inbox, nullptr);
  EXPECT_EQ(inbox->GetFilePath(), "\\mail\\Home\\inbox.xml");
  EXPECT_EQ(inbox->GetRoot()->GetExtendType(), kMailInboxType);
  EXPECT_TRUE(temp.Exists("mail/Home/mbox.xml"));
  EXPECT_TRUE(temp.Exists("mail/Home/inbox.xml"));
}

}  // namespace
}  // namespace zds

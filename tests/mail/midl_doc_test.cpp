// The mail index: a record as stored and written back, the counts and the
// iteration in file order, the Message-ID and UIDL indexes against a walk
// over the records, and body files read and written whole.

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "support/temp_root.h"
#include "zds/mail/midl_doc.h"

namespace zds {
namespace {

using test::TempRoot;

std::string IndexText(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<midl ver=\"1.1\">\r\n"
         "<folder id=\"0000\" alias=\"Mail Folder\" attribute=\"root\">\r\n" +
         body + "</folder>\r\n</midl>\r\n";
}

std::string Rec(const std::string& id, const std::string& attributes, const std::string& children = "") {
  return "<rec id=\"" + id + "\" alias=\"m" + id + "\" attribute=\"normal\"" + attributes + ">\r\n" + children +
         "</rec>\r\n";
}

class MidlDocTest : public ::testing::Test {
 protected:
  OpenResult Open(const std::string& text) {
    temp_.Write("inbox.xml", text);
    return Reopen();
  }
  OpenResult Reopen() {
    doc_ = std::make_unique<CMIDLDoc>();
    doc_->SetDataRoot(temp_.root());
    return OpenVFDLDoc(*doc_, "\\inbox.xml", "");
  }
  CMIDLDoc& doc() { return *doc_; }

  TempRoot temp_;
  std::unique_ptr<CMIDLDoc> doc_;
};

TEST_F(MidlDocTest, ARecordReadsItsFieldsAndIsWrittenBackInTheFixedOrder) {
  // Attributes in another order; a flag in the wrong case; no view mode;
  // three attachment lines where the count says two, and a stray line.
  const std::string stored = Rec(
      "0001",
      R"( viewmode="HTML" newflag="Yes" onserverflag="yes" uidl="U1" messageid="&lt;a@b&gt;" priority="3x")"
      R"( attachnum="2" getdate="2026-11-24 10:00" senddate="Tue" size="1234" bcc="b" cc="c" to="t")"
      R"( sender="s" subject="Hi &amp; bye")",
      "<attachment name=\"a.txt\" charset=\"utf-8\" size=\"10\"/>\r\n<other x=\"1\"/>\r\n"
      "<attachment name=\"b.png\" charset=\"\" size=\"20\"/>\r\n<attachment name=\"c\" size=\"30\"/>\r\n");
  ASSERT_EQ(Open(IndexText(stored)), OpenResult::kLoaded);
  CMIDLRec* rec = doc().GetRec(doc().GetFirstRecID());
  ASSERT_NE(rec, nullptr);
  const CMIDLExtendRec& mail = rec->GetExtendRec();
  EXPECT_EQ(std::tie(mail.subject, mail.sender, mail.to, mail.cc, mail.bcc, mail.send_date, mail.get_date, mail.size,
                     mail.message_id, mail.uidl),
            std::make_tuple("Hi & bye", "s", "t", "c", "b", "Tue", "2026-11-24 10:00", "1234", "<a@b>", "U1"));
  EXPECT_EQ(std::tie(mail.priority, mail.attach_num, mail.new_flag, mail.on_server, mail.html),
            std::make_tuple(3, 2, false, true, false));
  ASSERT_EQ(mail.attachments.size(), 3u);
  EXPECT_EQ(mail.attachments[2], (CMIDLAttachRec{"c", "", "30"}));
  EXPECT_EQ(rec->GetExtendType(), kMailRecType);

  CMIDLRec changed = *rec;
  changed.GetExtendRec().note = "kept in memory";
  ASSERT_TRUE(doc().UpdateRec(rec->GetPos(), changed, false));  // saved although the flag says not to
  const std::string saved = temp_.Read("inbox.xml");
  EXPECT_NE(saved.find(R"(<rec id="0001" alias="m0001" attribute="normal" subject="Hi &amp; bye" sender="s" to="t")"
                       R"( cc="c" bcc="b" size="1234" senddate="Tue" getdate="2026-11-24 10:00")"
                       R"( messageid="&lt;a@b&gt;" uidl="U1" attachnum="2" priority="3" newflag="no")"
                       R"( onserverflag="yes" viewmode="text">)"
                       "\r\n<attachment name=\"a.txt\" charset=\"utf-8\" size=\"10\"/>\r\n"
                       "<attachment name=\"b.png\" charset=\"\" size=\"20\"/>\r\n<other x=\"1\"/>\r\n</rec>"),
            std::string::npos)
      << saved;
  EXPECT_EQ(saved.find("kept in memory"), std::string::npos);
  ZDS_EXPECT_XMLLINT_ACCEPTS(saved);

  ASSERT_EQ(Reopen(), OpenResult::kLoaded);
  const CMIDLExtendRec& again = doc().GetRecByIndex(0)->GetExtendRec();
  EXPECT_EQ(again.attachments.size(), 2u);
  EXPECT_TRUE(again.note.empty());
  CMIDLExtendRec expected = changed.GetExtendRec();
  expected.attachments.pop_back();
  expected.note.clear();
  EXPECT_EQ(again, expected);
}

TEST_F(MidlDocTest, ANewRecordGetsAFreshIdAndTheDefaults) {
  ASSERT_EQ(Open(IndexText(Rec("0007", "") + "<rec id=\"0008\" alias=\"open\" attribute=\"normal\" subject=\"x\">\r\n")),
            OpenResult::kUnusable);  // an unclosed record element is not well formed
  ASSERT_EQ(Open(IndexText(Rec("0007", ""))), OpenResult::kLoaded);
  const CMIDLExtendRec& read = doc().GetRecByIndex(0)->GetExtendRec();
  EXPECT_FALSE(read.new_flag);  // absent reads as not new
  CMIDLRec rec;
  EXPECT_TRUE(rec.GetExtendRec().new_flag);
  rec.SetID("0001");
  const std::string pos = doc().AddRec(doc().GetRoot()->GetPos(), rec, false);
  EXPECT_EQ(pos, "kov:\\Mail Folder\\0008");
  EXPECT_NE(temp_.Read("inbox.xml").find(R"(attachnum="0" priority="0" newflag="yes" onserverflag="no" viewmode="text")"),
            std::string::npos);
}

// Records in a sub-folder stand between their neighbours in file order.
TEST_F(MidlDocTest, CountsAndIterationFollowFileOrderAndTheFirstChildRule) {
  const std::string text = IndexText(
      "<folder id=\"0010\" alias=\"Sub\" attribute=\"normal\">\r\n" + Rec("0002", R"( newflag="no" size="abc")") +
      Rec("0003", R"( newflag="yes" size="")") + "</folder>\r\n" + Rec("0001", R"( newflag="yes" size="100")") +
      "<folder id=\"0011\" alias=\"Empty\" attribute=\"normal\">\r\n</folder>\r\n" +
      "<folder id=\"0012\" alias=\"Old\" attribute=\"normal\">\r\n" + Rec("0004", R"( newflag="no" size="4294967295")") +
      Rec("0005", R"( newflag="yes" size="2")") + "</folder>\r\n");
  ASSERT_EQ(Open(text), OpenResult::kLoaded);
  std::vector<std::string> order;
  for (std::string id = doc().GetFirstRecID(); !id.empty(); id = doc().GetNextRecID(id)) order.push_back(id);
  const std::string p = "kov:\\Mail Folder\\";
  EXPECT_EQ(order, (std::vector<std::string>{p + "0002", p + "0003", p + "0001", p + "0004", p + "0005"}));
  EXPECT_EQ(doc().GetRecIDByIndex(2), p + "0001");
  EXPECT_EQ(doc().GetRecIDByIndex(5), "");
  EXPECT_EQ(doc().GetRecIDByIndex(-1), "");
  EXPECT_EQ(doc().GetNextRecID(p + "0005"), "");
  EXPECT_EQ(doc().GetNextRecID(p + "0099"), "");
  EXPECT_EQ(doc().GetNextRecID(p + "0010"), "");  // a folder is no record

  const std::tuple<std::string, int, int> kCounts[] = {
      {"", 5, 3},            // the whole document
      {p + "0000", 5, 2},    // the first child is a folder: its whole count, not its new ones
      {p + "0010", 2, 0},    // first child 0002 is not new
      {p + "0011", 0, 0},    // empty
      {p + "0012", 2, 0},
      {p + "0001", 0, 0},    // a record
      {p + "0099", 0, 0},    // nothing
  };
  for (const auto& [pos, all, fresh] : kCounts) {
    SCOPED_TRACE(pos);
    EXPECT_EQ(doc().GetRecNum(pos), all);
    EXPECT_EQ(doc().GetNewRecNum(pos), fresh);
  }
  // "abc" and "" add 0; a size beyond the 32-bit range reads as its largest value.
  EXPECT_EQ(doc().GetTotalSize(), 100u + 2147483647u + 2u);
}

TEST_F(MidlDocTest, TotalSizeReadsEachSizeLikeAtol) {
  ASSERT_EQ(Open(IndexText(Rec("0001", R"( size="100")") + Rec("0002", R"( size="abc")") + Rec("0003", ""))),
            OpenResult::kLoaded);
  EXPECT_EQ(doc().GetTotalSize(), 100u);
}

// The walk every look-up stands for: the first record in file order.
CMIDLRec* WalkFor(CMIDLDoc& doc, bool by_uidl, const std::string& key) {
  for (std::string id = doc.GetFirstRecID(); !id.empty(); id = doc.GetNextRecID(id)) {
    CMIDLRec* rec = doc.GetRec(id);
    if ((by_uidl ? rec->GetExtendRec().uidl : rec->GetExtendRec().message_id) == key) return rec;
  }
  return nullptr;
}

TEST_F(MidlDocTest, LookUpsByMessageIdAndUidlAgreeWithTheWalkThroughEdits) {
  ASSERT_EQ(Open(IndexText(Rec("0001", R"( messageid="&lt;1@x&gt;" uidl="u1")") +
                           Rec("0002", R"( messageid="&lt;2@x&gt;" uidl="u2")") +
                           Rec("0003", R"( messageid="&lt;1@x&gt;" uidl="u3")"))),
            OpenResult::kLoaded);
  const std::string p = "kov:\\Mail Folder\\";
  const std::vector<std::string> keys = {"<1@x>", "<2@x>", "<3@x>", "u1", "u2", "u3", "u9", ""};
  auto agree = [&](const char* step) {
    SCOPED_TRACE(step);
    for (const std::string& key : keys) {
      EXPECT_EQ(doc().GetRecByMessageID(key), key.empty() ? nullptr : WalkFor(doc(), false, key)) << key;
      EXPECT_EQ(doc().GetRecByUIDL(key), key.empty() ? nullptr : WalkFor(doc(), true, key)) << key;
    }
  };
  agree("loaded");
  CMIDLRec changed = *doc().GetRec(p + "0001");
  changed.GetExtendRec().message_id = "<3@x>";
  changed.GetExtendRec().uidl = "u3";
  ASSERT_TRUE(doc().UpdateRec(p + "0001", changed, false));
  agree("first record's keys changed");
  ASSERT_TRUE(doc().DelRec(p + "0003"));
  agree("a holder deleted");
  CMIDLRec added;
  added.GetExtendRec().message_id = "<2@x>";
  ASSERT_NE(doc().AddRec(p + "0000", added, false), "");
  agree("a second holder added");
  ASSERT_TRUE(doc().SetNewFlag(p + "0002", false));
  EXPECT_FALSE(doc().GetRec(p + "0002")->GetExtendRec().new_flag);
  agree("marked read");
  ASSERT_EQ(Reopen(), OpenResult::kLoaded);
  agree("reloaded");
}

TEST_F(MidlDocTest, ADamagedIndexIsLeftUntouched) {
  const std::string damaged = IndexText(Rec("0001", "")).substr(0, 90);
  ASSERT_EQ(Open(damaged), OpenResult::kUnusable);
  CMIDLRec rec;
  EXPECT_EQ(doc().AddRec("kov:\\Mail Folder\\0000", rec, true), "");
  EXPECT_EQ(temp_.Read("inbox.xml"), damaged);
}

TEST(MailBodyTest, ReadAndWriteWholeFilesAndFailCleanly) {
  TempRoot temp;
  const platform::DataRoot& root = *temp.root();
  std::string out = "stale";
  EXPECT_FALSE(CMIDLDoc::ReadMail(root, "\\missing.eml", out));
  EXPECT_EQ(out, "");
  temp.Write("empty.eml", "");
  out = "stale";
  EXPECT_TRUE(CMIDLDoc::ReadMail(root, "\\empty.eml", out));
  EXPECT_EQ(out, "");
  temp.Write("zero.eml", std::string("before\0after", 12));
  EXPECT_TRUE(CMIDLDoc::ReadMail(root, "\\zero.eml", out));
  EXPECT_EQ(out, "before");  // the text ends at its first NUL
  test::fs::create_directories(temp.dir() / "dir.eml");
  out = "stale";
  EXPECT_FALSE(CMIDLDoc::ReadMail(root, "\\dir.eml", out));
  EXPECT_EQ(out, "");
  EXPECT_FALSE(CMIDLDoc::ReadMail(root, "\\..\\outside.eml", out));

  const std::string body = "From: a\r\n\r\n\x80\xff binary\r\n";
  ASSERT_TRUE(CMIDLDoc::WriteMail(root, "\\m.eml", body));
  ASSERT_TRUE(CMIDLDoc::WriteMail(root, "\\m.eml", body + "more"));  // replaces
  EXPECT_EQ(temp.Read("m.eml"), body + "more");
  EXPECT_TRUE(CMIDLDoc::ReadMail(root, "\\m.eml", out));
  EXPECT_EQ(out, body + "more");
  EXPECT_FALSE(CMIDLDoc::WriteMail(root, "\\dir.eml", body));          // a directory stands there
  EXPECT_FALSE(CMIDLDoc::WriteMail(root, "\\no\\such\\dir.eml", body));  // its directory is missing
  EXPECT_FALSE(CMIDLDoc::WriteMail(root, "\\..\\outside.eml", body));
  EXPECT_FALSE(temp.Exists("../outside.eml"));
}

TEST(MailColumnsTest, TheThirdColumnNamesTheRecipientWhereTheUserWrote) {
  const std::tuple<int, const char*> kCases[] = {
      {kMailInboxType, "From"},  {kMailOutboxType, "To"},   {kMailSentItemsType, "To"}, {kMailDraftsType, "To"},
      {kMailTrashType, "From"},  {kMailDeleteItemsType, "From"}, {kMailOtherFolderType, "From"},
  };
  for (const auto& [type, title] : kCases) EXPECT_EQ(GetMailColumnTitle(type, 2), title) << type;
  std::vector<std::string> titles;
  for (int i = 0; i < 7; ++i) titles.emplace_back(GetMailColumnTitle(kMailInboxType, i));
  EXPECT_EQ(titles, (std::vector<std::string>{"Attach", "Priority", "From", "Subject", "Sent", "Size", "Comment"}));
  EXPECT_EQ(GetMailColumnTitle(kMailInboxType, 7), "");
  EXPECT_EQ(LoadResourceString(res::kMailColumnReceived), "Received");
}

}  // namespace
}  // namespace zds

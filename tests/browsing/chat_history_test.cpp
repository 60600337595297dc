// The chat history: a conversation's keys as the accessors write and read
// them, and its round trip through the file.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/browsing/chat_history.h"

namespace zds {
namespace {

using test::TempRoot;

CVFRelateRec Relate(const char* alias, const char* target, const char* type) {
  CVFRelateRec rec;
  rec.alias = alias;
  rec.target = target;
  rec.type = type;
  return rec;
}

TEST(ChatRecTest, KeysAreWrittenOnceAndTheTypeTextIsExact) {
  CCHDLRec rec;
  EXPECT_TRUE(rec.SetProvider("irc.example"));
  EXPECT_TRUE(rec.SetProvider("IRCnet"));
  EXPECT_TRUE(rec.SetChannel("#zds"));
  EXPECT_TRUE(rec.SetTime("2026-11-25 10:00", "2026-11-25 11:30"));
  EXPECT_TRUE(rec.SetTime("2026-11-25 10:05", "2026-11-25 11:35"));
  EXPECT_TRUE(rec.SetType(kChatPrivateChannel));
  EXPECT_FALSE(rec.SetType(3));
  EXPECT_FALSE(rec.SetType(-1));
  const CCHDLExtendRec& keys = rec.GetExtendRec();
  ASSERT_EQ(keys.GetKeyNum(), 5) << "each alias once";
  const char* const kOrder[] = {"Provider", "Channel Name", "Start", "End", "Channel Type"};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(keys.GetKeyByIndex(i)->alias, kOrder[i]);
  EXPECT_EQ(rec.GetProvider(), "IRCnet");
  EXPECT_EQ(keys.GetValueByAlias("Channel Type"), "Private Channel") << "refused numbers wrote nothing";
  EXPECT_EQ(rec.GetType(), kChatPrivateChannel);
  std::string start, end;
  EXPECT_TRUE(rec.GetTime(start, end));
  EXPECT_EQ(start + "|" + end, "2026-11-25 10:05|2026-11-25 11:35");

  const std::pair<const char*, int> kTypes[] = {{"Opened Channel", 0},  {"Protected Channel", 1},
                                                {"Private Channel", 2}, {"private channel", 0},
                                                {"Private Channel ", 0}, {"", 0}};
  for (const auto& [text, type] : kTypes) EXPECT_EQ(CCHDLRec::GetTypeByString(text), type) << text;
}

TEST(ChatDocTest, AConversationRoundTripsWithItsAbstractAndAttachments) {
  TempRoot temp;
  CCHDLDoc doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(OpenVFDLDoc(doc, "\\chat\\0001.xml", "\\chat"), OpenResult::kCreated);
  EXPECT_EQ(temp.Read("chat/0001.xml"), LoadTemplate(res::kChatHistoryTemplate));
  ASSERT_EQ(doc.GetHeader().GetIndexNum(), 5);
  EXPECT_EQ(doc.GetHeader().GetIndexByIndex(3)->alias, "Start At") << "the header keeps its own titles";

  CCHDLRec rec;
  rec.SetProvider("IRCnet");
  rec.SetType(kChatProtectedChannel);
  rec.SetAbstract("two lines\nwith \"quotes\" & <tags>");
  const std::vector<CVFRelateRec> attachments = {Relate("log.txt", "kov:\\Velmora\\0003", "file"),
                                                 Relate("b", "c", "d")};
  rec.SetAttachList(attachments);
  const std::string pos = doc.AddRec(doc.GetRoot()->GetPos(), rec, true);
  ASSERT_FALSE(pos.empty());
  EXPECT_EQ(doc.GetRec(pos)->GetExtendType(), kChatIndexType);

  CCHDLDoc again;
  again.SetDataRoot(temp.root());
  ASSERT_EQ(OpenVFDLDoc(again, "\\chat\\0001.xml", "\\chat"), OpenResult::kLoaded);
  const CCHDLRec* read = again.GetRec(pos);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->GetExtendRec(), rec.GetExtendRec());
  std::vector<CVFRelateRec> list = {Relate("stale", "", "")};
  EXPECT_TRUE(read->GetAttachList(list));
  EXPECT_EQ(list, attachments) << "the given list is replaced, not appended to";
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp.Read("chat/0001.xml"));

  // A conversation without its closing line is not read as one.
  CCHDLDoc open_ended;
  ASSERT_TRUE(open_ended.SetXml("<chdl ver=\"1.0\"><folder id=\"0000\" alias=\"Chat History\" attribute=\"root\">"
                                "<rec id=\"0001\" alias=\"x\"/></folder></chdl>"));
  ASSERT_TRUE(open_ended.InitVFDLDoc("", "kov:"));
  EXPECT_EQ(open_ended.GetRoot()->GetFirstChild(), nullptr);
}

}  // namespace
}  // namespace zds

// Channel documents and the channel index: how items and channels are
// read and written (the format's two asymmetries included), where a
// channel's items live, and an item's reminder kept in step with its timer.

#include "zds/feeds/channel_doc.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/feeds/channel_index_doc.h"
#include "zds/resources/string_table.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

using test::TempRoot;

std::string ChannelFile(const std::string& recs) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<WSChannel  ver=\"1.0\">\r\n"
         "<folder id=\"0000\" alias=\"Channel\" attribute=\"root\">\r\n" +
         recs + "</folder>\r\n</WSChannel>\r\n";
}

std::unique_ptr<CWSChannelDoc> Items(const std::string& recs) {
  auto doc = std::make_unique<CWSChannelDoc>();
  EXPECT_TRUE(doc->SetXml(ChannelFile(recs)));
  return doc;
}

// The line an item is written as, from its id on.
std::string LineOf(const std::string& xml, const std::string& id) {
  const size_t at = xml.find("<rec id=\"" + id + "\"");
  return at == std::string::npos ? std::string() : xml.substr(at, xml.find('\n', at) - at);
}

TEST(ChannelItemTest, EachFieldReadsAndIsWrittenBackByItsOwnRule) {
  struct Case {
    const char* stored;
    const char* written;  // a piece of the line written back
    bool (*holds)(const CWSChannelExtendRec&);
  };
  const Case cases[] = {
      // A stored "high" is tested first, then overwritten by the "low" test's otherwise.
      {R"(priority="high")", R"(priority="normal")", [](auto& f) { return f.priority == kItemPriorityNormal; }},
      {R"(priority="HIGH")", R"(priority="normal")", [](auto& f) { return f.priority == kItemPriorityNormal; }},
      {R"(priority="LoW")", R"(priority="low")", [](auto& f) { return f.priority == kItemPriorityLow; }},
      {R"(subject="x")", R"(priority="normal")", [](auto& f) { return f.priority == kItemPriorityNormal; }},
      // Written "downloaded", read "Downloaded": what is written does not read back.
      {R"(Downloaded="yes")", R"( downloaded="yes" )", [](auto& f) { return f.downloaded; }},
      {R"(downloaded="yes")", R"( downloaded="no" )", [](auto& f) { return !f.downloaded; }},
      {R"(guid="g" guid_isPermaLink="TRUE")", R"(guid="g" guid_isPermaLink="true" source=)",
       [](auto& f) { return f.guid_is_permalink; }},
      {R"(guid="g" guid_isPermaLink="yes")", R"(guid="g" source=)", [](auto& f) { return !f.guid_is_permalink; }},
      {R"(load="Auto")", R"(load="auto")", [](auto& f) { return f.load == kItemLoadAuto; }},
      {R"(load="automatic")", R"(load="hand")", [](auto& f) { return f.load == kItemLoadByHand; }},
      {R"(subject="x")", R"(load="hand")", [](auto& f) { return f.load == kItemLoadByHand; }},
      {R"(newflag="YES" deleted="yes")", R"(newflag="no" downloaded="no" deleted="yes")",
       [](auto& f) { return !f.new_flag && f.deleted; }},
      {R"(template="12abc")", R"(template="12")", [](auto& f) { return f.template_no == 12; }},
      // No timer, no timer fields, whatever was stored.
      {R"(IsTimer="Yes" TimerID="t" SetTime="s")", R"(IsTimer="no">)",
       [](auto& f) { return !f.has_timer && f.timer_id == "t"; }},
      {R"(IsTimer="yes" TimerID="t" SetTime="s")", R"(IsTimer="yes" TimerID="t" SetTime="s">)",
       [](auto& f) { return f.has_timer; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.stored);
    auto doc = Items(std::string("<rec id=\"0001\" alias=\"a\" ") + c.stored + ">\r\n</rec>\r\n");
    const CWSChannelRec* item = doc->GetRec("kov:\\Channel\\0001");
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(c.holds(item->GetExtendRec()));
    CWSChannelRec copy(*item);
    copy.SetAlias("changed");  // written anew, not as read
    ASSERT_TRUE(doc->UpdateRec(item->GetPos(), copy, false));
    EXPECT_NE(LineOf(doc->GetXml(), "0001").find(c.written), std::string::npos) << LineOf(doc->GetXml(), "0001");
  }
}

TEST(ChannelItemTest, AnItemIsWrittenInItsAttributeOrder) {
  auto doc = Items("");
  CWSChannelRec item;
  item.SetAlias("t");
  CWSChannelExtendRec& f = item.GetExtendRec();
  f = {};
  f.new_flag = true;
  f.subject = "Title";
  f.author = "a@x";
  f.category = "c";
  f.comments = "http://x/c";
  f.pub_date = "Mon, 02 Jan 2006";
  f.guid = "g";
  f.guid_is_permalink = true;
  f.source = "S";
  f.source_url = "http://s";
  f.enclosure_url = "http://e";
  f.enclosure_length = "10";
  f.enclosure_type = "audio/mpeg";
  f.load = kItemLoadAuto;
  f.template_no = -3;
  f.priority = kItemPriorityHigh;
  const std::string pos = doc->AddItem(item, false);
  ASSERT_FALSE(pos.empty());
  EXPECT_EQ(LineOf(doc->GetXml(), "0001"),
            R"(<rec id="0001" alias="t" newflag="yes" downloaded="no" deleted="no" subject="Title" author="a@x" )"
            R"(category="c" comments="http://x/c" pubDate="Mon, 02 Jan 2006" guid="g" guid_isPermaLink="true" )"
            R"(source="S" source_url="http://s" enclosure_url="http://e" enclosure_length="10" )"
            R"(enclosure_type="audio/mpeg" load="auto" template="-3" priority="high" IsTimer="no">)"
            "\r");
  f.priority = 7;
  ASSERT_TRUE(doc->UpdateRec(pos, item, false));
  EXPECT_EQ(LineOf(doc->GetXml(), "0001").find("priority"), std::string::npos) << "no word for 7: not written";
  EXPECT_EQ(doc->GetNodeByPos(pos)->GetExtendType(), kChannelItemType);
  EXPECT_EQ(doc->GetRoot()->GetExtendType(), kChannelTopFolderType);

  // Marking: each flag alone, the item staying until it is deleted.
  ASSERT_TRUE(doc->MarkRead(pos));
  ASSERT_TRUE(doc->MarkFetched(pos));
  ASSERT_TRUE(doc->MarkDeleted(pos));
  const CWSChannelExtendRec& marked = doc->GetRec(pos)->GetExtendRec();
  EXPECT_TRUE(!marked.new_flag && marked.downloaded && marked.deleted && marked.subject == "Title");
  EXPECT_FALSE(doc->MarkRead("kov:\\Channel\\0099"));
  ASSERT_TRUE(doc->DelRec(pos));
  EXPECT_EQ(doc->GetRec(pos), nullptr);
}

TEST(ChannelIndexTest, EighteenFieldsInOrderAndEachChannelItsOwnFile) {
  TempRoot temp;
  CWSCIndexDoc index;
  index.SetDataRoot(temp.root());
  CRTTIRegistry registry;
  RegisterFamily<CWSChannelDoc>(registry);
  index.SetClassRegistry(&registry);
  index.SetAutoSaveFlag(true);
  ASSERT_EQ(OpenVFDLDoc(index, "\\rss\\index.xml", "\\rss"), OpenResult::kCreated);
  EXPECT_EQ(temp.Read("rss/index.xml"), LoadResourceString(res::kChannelIndexTemplate));

  CWSCIndexRec channel;
  channel.SetAlias("c");
  CWSCIndexExtendRec& f = channel.GetExtendRec();
  std::string* fields[] = {&f.last_update_date, &f.subject, &f.link,       &f.description,     &f.language,
                           &f.copyright,        &f.managing_editor, &f.web_master, &f.pub_date, &f.last_build_date,
                           &f.category,         &f.generator, &f.docs,       &f.ttl,             &f.image,
                           &f.rating,           &f.skip_hours, &f.skip_days};
  for (size_t i = 0; i < std::size(fields); ++i) *fields[i] = std::to_string(i + 1);
  const std::string pos = index.AddChannel(channel, false);
  ASSERT_FALSE(pos.empty());
  EXPECT_NE(index.GetXml().find(
                R"(lastUpdateDate="1" subject="2" link="3" description="4" language="5" copyright="6" )"
                R"(managingEditor="7" webMaster="8" pubDate="9" lastBuildDate="10" category="11" generator="12" )"
                R"(docs="13" ttl="14" image="15" rating="16" skipHours="17" skipDays="18">)"),
            std::string::npos)
      << index.GetXml();
  EXPECT_EQ(index.GetActualFilePos(pos), "\\rss\\0001\\index.xml");
  EXPECT_EQ(index.GetActualFilePos(index.GetRoot()->GetPos()), "") << "a folder has no channel file";
  EXPECT_EQ(index.GetRoot()->GetExtendType(), kChannelIndexTopFolderType);
  EXPECT_EQ(index.GetNodeByPos(pos)->GetExtendType(), kChannelRecType);

  CWSChannelDoc* items = index.GetChannelDoc(pos);
  ASSERT_NE(items, nullptr);
  CWSChannelRec item;
  item.GetExtendRec().subject = "one";
  const std::string item_pos = items->AddItem(item, false);
  EXPECT_EQ(item_pos, pos + "\\0001") << "an item's position runs through its channel";
  EXPECT_EQ(items->GetFilePath(), index.GetActualFilePos(pos));
  EXPECT_EQ(temp.Read("rss/0001/index.xml").substr(0, 60),
            LoadResourceString(res::kChannelTemplate).substr(0, 60)) << "two blanks before ver, as stored";

  CWSCIndexDoc reread;
  ASSERT_TRUE(reread.SetXml(index.GetXml()));
  EXPECT_EQ(reread.GetRec(pos)->GetExtendRec(), f);
  std::string unclosed = index.GetXml();
  unclosed.replace(unclosed.find(">\r\n</rec>"), 9, "/>");
  ASSERT_TRUE(reread.SetXml(unclosed));
  EXPECT_EQ(reread.GetRec(pos), nullptr) << "a channel without its closing line is refused";
}

class ItemReminderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    facade_.SetDataRoot(temp_.root());
    CZDS::Setthis(&facade_);
    ASSERT_TRUE(facade_.InitZDS());
    CWSCIndexDoc* index = OpenChannelIndex(*facade_.GetAIDLDoc(), true);
    ASSERT_NE(index, nullptr);
    channel_ = index->AddChannel(CWSCIndexRec(), false);
    items_ = index->GetChannelDoc(channel_);
    ASSERT_NE(items_, nullptr);
  }
  void TearDown() override { CZDS::Setthis(nullptr); }

  static CWSChannelRec Item(const std::string& subject, const std::string& remind = "") {
    CWSChannelRec item;
    item.GetExtendRec().subject = subject;
    item.GetExtendRec().has_timer = !remind.empty();
    item.GetExtendRec().set_time = remind;
    return item;
  }
  const CWSChannelExtendRec& Fields(const std::string& pos) { return items_->GetRec(pos)->GetExtendRec(); }
  std::vector<std::string> Due() {
    std::vector<std::string> due;
    for (const CATimerDue& timer :
         facade_.GetATimerIndexDoc()->GetDueTimers(ParseDateTime("2031-01-01"), ParseDateTime("2032-01-01"))) {
      due.push_back(timer.subject + " " + timer.time.Format(kTimeFormatMinutes));
    }
    return due;
  }

  TempRoot temp_;
  CZDS facade_;
  std::string channel_;
  CWSChannelDoc* items_ = nullptr;
};

TEST_F(ItemReminderTest, TheTimerFollowsTheItemThroughAddUpdateAndDelete) {
  const std::string pos = items_->AddItem(Item("release", "2031-03-04 05:06:07"), false);
  ASSERT_FALSE(Fields(pos).timer_id.empty());
  EXPECT_EQ(Due(), std::vector<std::string>{"release 2031-03-04 05:06"});
  EXPECT_EQ(facade_.GetTimerRec(Fields(pos).timer_id)->GetExtendRec().data_id, pos);

  struct Step {
    bool has_timer;
    const char* set_time;
    std::vector<std::string> due;
  };
  const Step steps[] = {{true, "2031-05-06 07:08:09", {"release 2031-05-06 07:08"}},
                        {false, "", {}},
                        {false, "", {}},
                        {true, "2031-07-08 09:10:11", {"release 2031-07-08 09:10"}}};
  for (const Step& step : steps) {
    SCOPED_TRACE(step.set_time);
    CWSChannelRec changed = *items_->GetRec(pos);
    changed.GetExtendRec().has_timer = step.has_timer;
    changed.GetExtendRec().set_time = step.set_time;
    changed.GetExtendRec().timer_id = "made up";
    ASSERT_TRUE(items_->UpdateRec(pos, changed, false));
    EXPECT_EQ(Due(), step.due);
    EXPECT_EQ(Fields(pos).timer_id.empty(), !step.has_timer) << "the timer's own position, never the caller's";
  }

  // The facade deleting the timer clears the item through the channel hook.
  ASSERT_TRUE(facade_.DelTimer(Fields(pos).timer_id, true));
  EXPECT_FALSE(Fields(pos).has_timer);
  EXPECT_EQ(Fields(pos).timer_id, "");
  EXPECT_EQ(Due(), std::vector<std::string>{});

  const std::string other = items_->AddItem(Item("other", "2031-09-10 11:12:13"), false);
  ASSERT_TRUE(items_->DelRec(other));
  EXPECT_EQ(Due(), std::vector<std::string>{});
  const std::string kept = items_->AddItem(Item("kept", "2031-09-10 11:12:13"), false);
  ASSERT_TRUE(OpenChannelIndex(*facade_.GetAIDLDoc(), false)->DelRec(channel_));
  EXPECT_EQ(Due(), std::vector<std::string>{}) << "a channel's items take their reminders with them";
}

}  // namespace
}  // namespace zds

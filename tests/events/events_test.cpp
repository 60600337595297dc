#include <gtest/gtest.h>

#include <regex>
#include <tuple>

#include "zds/events/autorun_doc.h"
#include "zds/events/classes.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"
#include "zds/resources/events_strings.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

const std::regex kEntry(R"(\d{4}-\d\d-\d\d \d\d:\d\d  ([\s\S]*))");
const std::string kSpecial = "quotes \" ' amp & lt < gt > tab\tline\r\nend";

class EventsTest : public ::testing::Test {
 protected:
  template <typename Doc>
  std::unique_ptr<Doc> Open(const std::string& name) {
    auto doc = std::make_unique<Doc>();
    doc->SetDataRoot(temp_.root());
    return IsOpen(OpenVFDLDoc(*doc, "\\" + name, "")) ? std::move(doc) : nullptr;
  }
  template <typename Rec, typename Doc>
  static Rec& At(const Doc& doc, const std::string& pos) {
    Rec* rec = doc.GetRec(pos);
    EXPECT_NE(rec, nullptr) << pos;
    return *rec;
  }

  test::TempRoot temp_;
};

// Each family refuses another family's document (damage of every other
// kind is the framework's to refuse) and leaves it alone.
TEST_F(EventsTest, AnotherFamilysDocumentIsRefusedAndLeftAlone) {
  CRTTIRegistry registry;
  RegisterEventClasses(registry);
  for (auto [name, foreign] : {std::pair{"CAEventDoc", res::kMonitorTemplate}, {"CMonitorDoc", res::kAutoRunTemplate},
                               {"CAutoRunDoc", res::kEventTemplate}}) {
    const std::string text = LoadTemplate(foreign);
    temp_.Write("doc.xml", text);
    auto doc = CreateObjectAs<CVFDLDoc>(registry, name);
    ASSERT_NE(doc, nullptr) << name;
    doc->SetDataRoot(temp_.root());
    EXPECT_EQ(doc->LoadXMLDoc("\\doc.xml"), OpenResult::kUnusable) << name;
    EXPECT_FALSE(doc->SaveXMLDoc());
    EXPECT_EQ(temp_.Read("doc.xml"), text);
  }
}

// Stored events as they read, and as they are written back.
struct StoredEvent {
  const char* stored;
  bool new_flag;
  int status, priority;
  const char* written;
};
const StoredEvent kStoredEvents[] = {
    {R"(alias="New &quot;mail&quot;" newflag="no" module="" status="-7" act="mail &amp; &lt;x&gt;" )"
     R"(createtime="1999-01-01 00:00" dataid="kov:\Velmora\0003" priority="high")",
     false, -7, kEventPriorityHigh, nullptr},
    // "yes" exactly is new; the status reads as atoi does; an unknown priority is normal; "module" carries nothing.
    {R"(alias="odd" newflag="YES" module="m" status="12abc" priority="urgent")", false, 12, kEventPriorityNormal,
     R"(alias="odd" newflag="no" module="" status="12" act="" createtime="" dataid="" priority="normal")"},
    {R"(alias="bare" newflag="yes")", true, 0, kEventPriorityNormal,  // then marked read
     R"(alias="bare" newflag="no" module="" status="0" act="" createtime="" dataid="" priority="normal")"},
};

TEST_F(EventsTest, EventsReadTheirFieldsAndAreWrittenBackInTheirCanonicalForm) {
  const std::string kept = "<rec id=\"0005\" alias=\"closed\" newflag=\"yes\"/>\r\n";
  std::string file = "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<AEvent ver=\"1.0\">\r\n<folder id=\"0000\" alias=\"Event\">\r\n";
  for (size_t i = 0; i < std::size(kStoredEvents); ++i) {
    file += "<rec id=\"000" + std::to_string(i + 1) + "\" " + kStoredEvents[i].stored + ">\r\n</rec>\r\n";
  }
  temp_.Write("XEvent.xml", file += kept + "</folder>\r\n</AEvent>\r\n");
  auto doc = Open<CAEventDoc>("XEvent.xml");
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(doc->GetNodeCount(), 4u) << "the self-closing record is not loaded";
  std::vector<std::string> pos;
  for (size_t i = 0; i < std::size(kStoredEvents); ++i) {
    const StoredEvent& c = kStoredEvents[i];
    pos.push_back("kov:\\Event\\000" + std::to_string(i + 1));
    const CAEventExtendRec& event = At<CAEventRec>(*doc, pos[i]).GetExtendRec();
    EXPECT_EQ(std::tie(event.new_flag, event.status, event.priority), std::tuple(c.new_flag, c.status, c.priority)) << i;
    ASSERT_TRUE(doc->UpdateRec(pos[i], CAEventRec(At<CAEventRec>(*doc, pos[i])), false));
  }
  // Adding numbers the event and stamps its time, and never saves.
  CAEventRec added;
  added.SetAlias(kSpecial);
  std::tie(added.GetExtendRec().act, added.GetExtendRec().create_time, added.GetExtendRec().priority) =
      std::tuple{kSpecial, "1999-01-01 00:00", 5};
  pos.push_back(doc->AddRec(doc->GetRoot()->GetPos(), added, true));
  EXPECT_EQ(pos[3], "kov:\\Event\\0006");
  EXPECT_EQ(temp_.Read("XEvent.xml"), file);
  const std::string stamp = At<CAEventRec>(*doc, pos[3]).GetExtendRec().create_time;
  EXPECT_TRUE(std::regex_match(stamp + "  ", kEntry)) << stamp;

  ASSERT_TRUE(doc->MarkRead(pos[2], true));
  EXPECT_FALSE(doc->MarkRead("kov:\\Event\\0005", true));
  const std::string text = temp_.Read("XEvent.xml");
  for (size_t i = 0; i < std::size(kStoredEvents); ++i) {
    const char* written = kStoredEvents[i].written ? kStoredEvents[i].written : kStoredEvents[i].stored;
    EXPECT_NE(text.find("<rec id=\"000" + std::to_string(i + 1) + "\" " + written + ">\r\n</rec>\r\n"),
              std::string::npos) << written << "\n" << text;
  }
  EXPECT_NE(text.find("</rec>\r\n" + kept + "</folder>"), std::string::npos) << "the refused record stays";
  EXPECT_NE(text.find(" createtime=\"" + stamp + "\" dataid=\"\">"), std::string::npos) << "priority 5 is not written";
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
  auto again = Open<CAEventDoc>("XEvent.xml");
  ASSERT_NE(again, nullptr);
  for (const std::string& at : pos) {
    CAEventRec expected(At<CAEventRec>(*doc, at));
    if (expected.GetExtendRec().priority == 5) expected.GetExtendRec().priority = kEventPriorityNormal;
    EXPECT_TRUE(At<CAEventRec>(*again, at) == expected) << at;
  }
  EXPECT_FALSE(At<CAEventRec>(*again, pos[2]).GetExtendRec().new_flag) << "marking it read cleared its mark";
  EXPECT_EQ(std::pair(again->GetRoot()->GetExtendType(), again->GetNodeByPos(pos[3])->GetExtendType()),
            std::pair(160, 161));
}

// The facade's start-up shows the log starting afresh on each run.
TEST_F(EventsTest, MonitorLogsTimeTwoBlanksText) {
  CMonitorDoc monitor;
  monitor.SetDataRoot(temp_.root());
  monitor.SetAutoSaveFlag(true);
  ASSERT_TRUE(monitor.NewXMLDoc("\\Monitor.xml") && monitor.InitVFDLDoc("", "kov:"));
  EXPECT_EQ(monitor.InsertRec("Monitor Init OK"), "kov:\\Monitor\\0001");
  EXPECT_EQ(monitor.InsertRec(kSpecial), "kov:\\Monitor\\0002");
  auto again = Open<CMonitorDoc>("Monitor.xml");
  ASSERT_NE(again, nullptr);
  std::smatch entry;
  const std::string alias = again->GetNodeByPos("kov:\\Monitor\\0002")->GetAlias();
  EXPECT_TRUE(std::regex_match(alias, entry, kEntry) && entry[1] == kSpecial) << alias;
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp_.Read("Monitor.xml"));
}

TEST_F(EventsTest, AutoRunItemsKeepTypeAndDescriptionAndOnlyDefaultGroupIsMadeOnDemand) {
  temp_.Write("autorun.xml",
              "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<autorun ver=\"1.0\">\r\n<folder id=\"0000\" alias=\"autorun\">\r\n"
              "<folder id=\"0001\" alias=\"old\">\r\n<rec id=\"0002\" alias=\"a\" type=\"x\" description=\"d\"/>\r\n"
              "<rec id=\"0003\" alias=\"b\" type=\"ZDS\"/>\r\n</folder>\r\n</folder>\r\n</autorun>\r\n");
  auto doc = Open<CAutoRunDoc>("autorun.xml");
  ASSERT_NE(doc, nullptr);
  for (const char* pos : {"kov:\\autorun\\0002", "kov:\\autorun\\0003"}) {
    EXPECT_EQ(At<CAutoRunRec>(*doc, pos).GetExtendRec().type, kAutoRunUnknown) << pos;
  }
  EXPECT_EQ(doc->GetGroupNode("other"), nullptr);
  EXPECT_EQ(doc->GetNodeCount(), 4u);
  CVFDLFolder* group = doc->GetGroupNode("default");
  ASSERT_TRUE(group && group->GetParent() == doc->GetRoot());
  EXPECT_EQ(doc->GetGroupNode("default"), group);
  EXPECT_EQ(doc->GetNodeCount(), 5u);
  EXPECT_NE(temp_.Read("autorun.xml").find("alias=\"default\""), std::string::npos) << "a new group is saved at once";

  std::vector<std::string> pos;
  for (int type : {kAutoRunZds, kAutoRunQfs, kAutoRunKfs, 7, kAutoRunUnknown}) {
    CAutoRunRec item;
    item.SetAlias("item " + std::to_string(type));
    std::tie(item.GetExtendRec().type, item.GetExtendRec().description) = std::tuple{type, "run \"it\" & <wait>"};
    pos.push_back(doc->AddRec(group->GetPos(), item, true));
  }
  const std::string text = temp_.Read("autorun.xml");
  EXPECT_NE(text.find("\"item 1\" type=\"qfs\" description=\"run &quot;it&quot; &amp; &lt;wait&gt;\">"),
            std::string::npos) << text;
  EXPECT_NE(text.find("\"item 7\" type=\"\" description="), std::string::npos) << text;
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
  auto again = Open<CAutoRunDoc>("autorun.xml");
  ASSERT_NE(again, nullptr);
  for (const std::string& item : pos) {
    CAutoRunRec expected(At<CAutoRunRec>(*doc, item));
    if (expected.GetExtendRec().type == 7) expected.GetExtendRec().type = kAutoRunUnknown;
    EXPECT_TRUE(At<CAutoRunRec>(*again, item) == expected) << item;
    expected.GetExtendRec().description += " ";
    EXPECT_TRUE(At<CAutoRunRec>(*again, item) != expected) << item;
  }
}

// The zds commands on a fresh root, once `zds` runs them.
TEST_F(EventsTest, ZdsCommandsOnAFreshRoot) {
  auto zds = [this](const char* command) { return test::RunZds(temp_.dir(), {command}); };
  ASSERT_EQ(zds("init").exit_code, 0);
  test::ProgramResult monitor = zds("monitor");
  EXPECT_EQ(monitor.exit_code, 0);
  EXPECT_TRUE(std::regex_match(monitor.out, std::regex("kov:/Monitor/0001\t[-0-9 :]{16}  Monitor Init OK\n"
                                                       "kov:/Monitor/0002\t[-0-9 :]{16}  AIDL Init OK\n")))
      << monitor.out;
  const std::string log = temp_.Read("Monitor.xml");
  for (const char* listing : {"events", "autorun"}) {
    test::ProgramResult listed = zds(listing);
    EXPECT_TRUE(listed.exit_code == 0 && listed.out.empty()) << listing;
  }
  EXPECT_EQ(zds("monitor").out, monitor.out) << "reading is no start: the last start's log stays";
  EXPECT_EQ(temp_.Read("Monitor.xml"), log);
  temp_.Write("XEvent.xml", "<AEvent ver=\"1.0\">");
  test::ProgramResult events = zds("events");
  EXPECT_NE(events.exit_code, 0);
  EXPECT_EQ(std::count(events.err.begin(), events.err.end(), '\n'), 1) << events.err;
  EXPECT_EQ(temp_.Read("XEvent.xml"), "<AEvent ver=\"1.0\">");
}

}  // namespace
}  // namespace zds

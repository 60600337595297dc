#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <tuple>

#include "zds/events/autorun_doc.h"
#include "zds/events/classes.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/resources/events_strings.h"
#include "support/program.h"
#include "support/temp_dir.h"
#include "support/temp_root.h"

namespace zds {
namespace {

const std::regex kEntry(R"(\d{4}-\d\d-\d\d \d\d:\d\d  (.*))");

// A fresh data root per test.
class EventsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.empty());
    root_ = std::make_shared<platform::DataRoot>(dir_.string());
  }
  void Put(const std::string& name, const std::string& text) { std::ofstream(dir_ / name, std::ios::binary) << text; }
  std::string Get(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(dir_ / name, std::ios::binary).rdbuf();
    return text.str();
  }
  template <typename Doc>
  std::unique_ptr<Doc> Open(const std::string& name) {
    auto doc = std::make_unique<Doc>();
    doc->SetDataRoot(root_);
    return IsOpen(OpenVFDLDoc(*doc, "\\" + name, "")) ? std::move(doc) : nullptr;
  }
  template <typename Rec>
  static Rec& At(const CVFDLDoc& doc, const std::string& pos) { return dynamic_cast<Rec&>(*doc.GetNodeByPos(pos)); }

  test::TempDir temp_{"zds-events"};
  const std::filesystem::path& dir_ = temp_.path();
  std::shared_ptr<platform::DataRoot> root_;
};

TEST_F(EventsTest, EachFamilyStartsFromItsTemplateAndLeavesUnusableFilesAlone) {
  CRTTIRegistry registry;
  RegisterEventClasses(registry);
  for (auto [name, file, id] : {std::tuple{"CAEventDoc", "XEvent.xml", res::kEventTemplate},
                                {"CMonitorDoc", "Monitor.xml", res::kMonitorTemplate},
                                {"CAutoRunDoc", "autorun.xml", res::kAutoRunTemplate}}) {
    std::string blank = LoadTemplate(id), path = std::string("\\") + file;
    std::string foreign = LoadTemplate(id == res::kEventTemplate ? res::kMonitorTemplate : res::kEventTemplate);
    for (const std::string& text : {std::string(), blank.substr(0, blank.size() - 12), std::string("\x01<<"), foreign}) {
      if (!text.empty()) Put(file, text);
      auto doc = CreateObjectAs<CVFDLDoc>(registry, name);
      ASSERT_TRUE(doc && doc->GetRTTIClass() == name) << name;
      doc->SetDataRoot(root_);
      OpenResult loaded = doc->LoadXMLDoc(path);
      if (text.empty()) {  // no file yet: the template, saved only when asked
        EXPECT_EQ(loaded, OpenResult::kMissing);
        ASSERT_TRUE(doc->NewXMLDoc(path) && doc->SaveXMLDoc()) << name;
        EXPECT_EQ(Get(file), blank);
        continue;
      }
      EXPECT_EQ(loaded, OpenResult::kUnusable) << name << ": " << text;
      EXPECT_FALSE(doc->SaveXMLDoc());
      EXPECT_EQ(Get(file), text);
    }
  }
}

TEST(EventRecTest, EveryFieldAndTheResolvedNodeTakePartInEquality) {
  CAEventRec event;
  CVFDLFolder item;
  std::vector<std::function<void(CAEventExtendRec&)>> changes = {
      [](auto& e) { e.new_flag = false; }, [](auto& e) { e.status = 1; }, [](auto& e) { e.priority = 3; },
      [](auto& e) { e.act = "x"; },        [](auto& e) { e.create_time = "x"; },
      [](auto& e) { e.data_id = "x"; },    [&item](auto& e) { e.node = &item; }};
  for (size_t i = 0; i < changes.size(); ++i) {
    CAEventRec changed(event);
    changes[i](changed.GetExtendRec());
    EXPECT_TRUE(changed != event) << i;
    event = changed;  // assignment copies the extension, the cache included
    EXPECT_TRUE(event == changed) << i;
  }
}

TEST_F(EventsTest, EventsKeepEveryFieldThroughSaveAndLoad) {
  auto doc = Open<CAEventDoc>("XEvent.xml");
  ASSERT_NE(doc, nullptr);
  CAEventRec full, odd;
  full.SetAlias("New \"mail\"");
  std::tie(full.GetExtendRec().new_flag, full.GetExtendRec().status, full.GetExtendRec().priority) =
      std::tuple{false, -7, kEventPriorityHigh};
  std::tie(full.GetExtendRec().act, full.GetExtendRec().data_id, full.GetExtendRec().create_time) =
      std::tuple{"mail & <x>", "kov:\\Velmora\\0003", "1999-01-01 00:00"};
  odd.GetExtendRec().priority = 5;
  std::string root = doc->GetRoot()->GetPos();
  std::vector<std::string> pos = {doc->AddRec(root, full, true), doc->AddRec(root, odd, true),
                                  doc->AddRec(root, CAEventRec(), true)};
  EXPECT_EQ(pos, (std::vector<std::string>{"kov:\\Event\\0001", "kov:\\Event\\0002", "kov:\\Event\\0003"}));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "XEvent.xml")) << "adding an event never saves";
  std::string stamp = At<CAEventRec>(*doc, pos[0]).GetExtendRec().create_time;
  EXPECT_TRUE(std::regex_match(stamp + "  ", kEntry)) << stamp;

  ASSERT_TRUE(doc->SaveXMLDoc());
  std::string text = Get("XEvent.xml");
  EXPECT_NE(text.find("<rec id=\"0001\" alias=\"New &quot;mail&quot;\" newflag=\"no\" module=\"\" status=\"-7\" act=\""
                      "mail &amp; &lt;x&gt;\" createtime=\"" + stamp + "\" dataid=\"kov:\\Velmora\\0003\" priority="
                      "\"high\">\r\n</rec>\r\n<rec id=\"0002\" alias=\"\" newflag=\"yes\" module=\"\" status=\"0\" act="
                      "\"\" createtime=\"" + stamp + "\" dataid=\"\">"),
            std::string::npos) << text;
  auto again = Open<CAEventDoc>("XEvent.xml");
  ASSERT_NE(again, nullptr);
  for (int i : {0, 2}) EXPECT_TRUE(At<CAEventRec>(*again, pos[i]) == At<CAEventRec>(*doc, pos[i])) << pos[i];
  EXPECT_EQ(At<CAEventRec>(*again, pos[1]).GetExtendRec().priority, kEventPriorityNormal);
  EXPECT_EQ(std::pair(again->GetRoot()->GetExtendType(), again->GetNodeByPos(pos[1])->GetExtendType()),
            std::pair(160, 161));
}

TEST_F(EventsTest, OddEventValuesReadAsDefaultsAndSelfClosingRecordsStayAsWritten) {
  const std::string kept = "<rec id=\"0005\" alias=\"closed\" newflag=\"yes\"/>";
  Put("XEvent.xml",
      "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<AEvent ver=\"1.0\">\r\n<folder id=\"0000\" alias=\"Event\">\r\n"
      "<rec id=\"0001\" alias=\"odd\" newflag=\"YES\" module=\"m\" status=\"12abc\" priority=\"urgent\">\r\n</rec>\r\n" +
          kept + "\r\n<rec id=\"0002\" alias=\"bare\" newflag=\"yes\">\r\n</rec>\r\n</folder>\r\n</AEvent>\r\n");
  auto doc = Open<CAEventDoc>("XEvent.xml");
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(doc->GetNodeCount(), 3u) << "the self-closing record is not loaded";
  const CAEventExtendRec& odd = At<CAEventRec>(*doc, "kov:\\Event\\0001").GetExtendRec();
  EXPECT_EQ(std::tie(odd.new_flag, odd.status, odd.priority), std::tuple(false, 12, kEventPriorityNormal));
  const CAEventExtendRec& bare = At<CAEventRec>(*doc, "kov:\\Event\\0002").GetExtendRec();
  EXPECT_EQ(std::tie(bare.new_flag, bare.status, bare.priority), std::tuple(true, 0, kEventPriorityNormal));

  // A rewritten record takes its canonical form; marking one read clears only its mark.
  ASSERT_TRUE(doc->UpdateRec("kov:\\Event\\0001", CAEventRec(At<CAEventRec>(*doc, "kov:\\Event\\0001")), false));
  ASSERT_TRUE(doc->MarkRead("kov:\\Event\\0002", true));
  EXPECT_NE(Get("XEvent.xml").find("<rec id=\"0001\" alias=\"odd\" newflag=\"no\" module=\"\" status=\"12\" act=\"\" "
                                   "createtime=\"\" dataid=\"\" priority=\"normal\">\r\n</rec>\r\n" + kept + "\r\n"),
            std::string::npos) << Get("XEvent.xml");
  CAEventRec read(At<CAEventRec>(*doc, "kov:\\Event\\0002"));
  EXPECT_FALSE(read.GetExtendRec().new_flag);
  auto again = Open<CAEventDoc>("XEvent.xml");
  EXPECT_TRUE(At<CAEventRec>(*again, "kov:\\Event\\0002") == read);
}

TEST_F(EventsTest, MonitorStartsAfreshAndLogsTimeTwoBlanksText) {
  Put("Monitor.xml", "an earlier run's log");
  CMonitorDoc monitor;
  monitor.SetDataRoot(root_);
  monitor.SetAutoSaveFlag(true);
  ASSERT_TRUE(monitor.NewXMLDoc("\\Monitor.xml") && monitor.InitVFDLDoc("", "kov:"));
  EXPECT_EQ(monitor.InsertRec("Monitor Init OK"), "kov:\\Monitor\\0001");
  EXPECT_EQ(monitor.InsertRec("AIDL Init OK"), "kov:\\Monitor\\0002");
  std::vector<std::string> texts;
  std::smatch entry;
  auto again = Open<CMonitorDoc>("Monitor.xml");
  for (CVFDLNode* node = again->GetRoot()->GetFirstChild(); node; node = node->GetNextSibling()) {
    texts.push_back(std::regex_match(node->GetAlias(), entry, kEntry) ? entry[1].str() : "bad: " + node->GetAlias());
  }
  EXPECT_EQ(texts, (std::vector<std::string>{"Monitor Init OK", "AIDL Init OK"}));
}

TEST_F(EventsTest, AutoRunItemsKeepTypeAndDescriptionAndOnlyDefaultGroupIsMadeOnDemand) {
  Put("autorun.xml",
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
  EXPECT_NE(Get("autorun.xml").find("alias=\"default\""), std::string::npos) << "a new group is saved at once";

  std::vector<std::string> pos;
  for (int type : {kAutoRunZds, kAutoRunQfs, kAutoRunKfs, 7, kAutoRunUnknown}) {
    CAutoRunRec item;
    item.SetAlias("item " + std::to_string(type));
    std::tie(item.GetExtendRec().type, item.GetExtendRec().description) = std::tuple{type, "run \"it\" & <wait>"};
    pos.push_back(doc->AddRec(group->GetPos(), item, true));
  }
  std::string text = Get("autorun.xml");
  EXPECT_NE(text.find("\"item 1\" type=\"qfs\" description=\"run &quot;it&quot; &amp; &lt;wait&gt;\">"),
            std::string::npos) << text;
  EXPECT_NE(text.find("\"item 7\" type=\"\" description="), std::string::npos) << text;
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

TEST_F(EventsTest, SavedDocumentsPassXmllint) {
  if (!test::HaveXmllint()) GTEST_SKIP() << "xmllint is not on PATH";
  const std::string text = "quotes \" ' amp & lt < gt > tab\tline\r\nend";
  auto events = Open<CAEventDoc>("XEvent.xml");
  auto monitor = Open<CMonitorDoc>("Monitor.xml");
  auto autorun = Open<CAutoRunDoc>("autorun.xml");
  CAEventRec event;
  event.SetAlias(text);
  std::tie(event.GetExtendRec().act, event.GetExtendRec().data_id) = std::tie(text, text);
  ASSERT_NE(events->AddRec(events->GetRoot()->GetPos(), event, false), "");
  ASSERT_NE(monitor->InsertRec(text), "");
  CAutoRunRec item;
  item.SetAlias(text);
  item.GetExtendRec().description = text;
  ASSERT_NE(autorun->AddRec(autorun->GetGroupNode("default")->GetPos(), item, false), "");
  for (CVFDLDoc* doc : std::initializer_list<CVFDLDoc*>{events.get(), monitor.get(), autorun.get()}) {
    ASSERT_TRUE(doc->SaveXMLDoc());
    std::string file = doc->GetFilePath().substr(1);
    EXPECT_TRUE(test::XmllintAccepts(Get(file)));
  }
}

// The zds commands on a fresh root, once `zds` runs them.
TEST_F(EventsTest, ZdsCommandsOnAFreshRoot) {
  test::ProgramResult last;
  auto zds = [this, &last](const std::string& command) {
    last = test::RunZds({"--root", dir_.string(), command});
    return last.exit_code;
  };
  ASSERT_EQ(zds("init"), 0) << last.err;
  for (const char* file : {"Monitor.xml", "XEvent.xml", "autorun.xml"}) {
    EXPECT_TRUE(std::filesystem::exists(dir_ / file)) << file << " is written by start-up";
  }
  EXPECT_EQ(zds("monitor"), 0);
  EXPECT_TRUE(std::regex_match(last.out, std::regex("[-0-9 :]{16}  Monitor Init OK\n[-0-9 :]{16}  AIDL Init OK\n")))
      << last.out;
  for (const char* listing : {"events", "autorun"}) EXPECT_TRUE(zds(listing) == 0 && last.out.empty()) << listing;
  Put("XEvent.xml", "<AEvent ver=\"1.0\">");
  EXPECT_NE(zds("events"), 0);
  std::string err = last.err;
  EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
  EXPECT_EQ(Get("XEvent.xml"), "<AEvent ver=\"1.0\">");
}

}  // namespace
}  // namespace zds

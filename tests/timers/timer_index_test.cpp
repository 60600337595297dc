// Filing timers, making month documents once, the index at start-up, and
// what is due in a span, answered from the span's months and "Cycle" alone;
// the zds timer commands.

#include <gtest/gtest.h>

#include <regex>

#include "timers/timer_testing.h"
#include "zds/store/zds.h"
#include "support/program.h"

namespace zds {
namespace {

using timer_testing::At;
using timer_testing::MakeCyclic;
using timer_testing::MakeTimer;

// A host window: the aliases of the nodes announced to it since last asked.
struct Listener {
  platform::MessageQueue queue;
  std::vector<std::string> seen;
  platform::WindowHandle window = queue.NewWindow([this](const platform::WindowMessage& m) {
    EXPECT_EQ(std::tuple(m.message, m.lparam), std::tuple(WM_ZDS_TIMER_CHANGED, intptr_t{0}));
    seen.push_back(reinterpret_cast<const CVFDLNode*>(m.wparam)->GetAlias());
  });
  std::vector<std::string> Announced() { return queue.Pump(), std::exchange(seen, {}); }
};

TEST(TimerIndexTest, GetRightDocFilesByCycleThenStateThenDueMonthOnDisk) {
  timer_testing::IndexFixture fixture;
  auto index = fixture.Open();
  ASSERT_NE(index, nullptr);
  const char* daily[] = {"day", "sequence;from=2004-11-01 08:00;to=2004-11-01 08:05", "notstop;from=2004-11-01"};
  const std::pair<CATimerRec, const char*> cases[] = {
      {MakeCyclic("repeating, suspended", daily[0], daily[1], daily[2], kTimerSuspension), "cycle.xml"},
      {MakeCyclic("repeating, inactive", daily[0], daily[1], daily[2], kTimerUnactived), "cycle.xml"},
      {MakeTimer("suspended", "2004-11-15 10:00:00", kTimerSuspension), "unactive.xml"},
      {MakeTimer("inactive", "2004-11-15 10:00:00", kTimerUnactived), "unactive.xml"},
      {MakeTimer("due in November", "2004-11-15 10:00:00"), "200411.xml"},
      {MakeTimer("due at the year's end", "2004-12-31 23:59:59"), "200412.xml"}};
  for (const auto& [timer, file] : cases) {
    SCOPED_TRACE(timer.GetAlias());
    CATimerDoc* doc = index->GetRightDoc(timer);
    ASSERT_NE(doc, nullptr);
    std::string pos = doc->AddTimer(timer, false);
    EXPECT_TRUE(pos.starts_with("kov:\\Timer Index\\")) << pos;
    EXPECT_NE(fixture.temp().Read(std::string("timer/") + file).find(timer.GetAlias()), std::string::npos);
    EXPECT_EQ(index->GetTimerDoc(pos), doc);
  }
  EXPECT_EQ(index->GetTimerDoc("kov:\\Timer Index\\0001\\0099"), nullptr);
  ZDS_EXPECT_XMLLINT_ACCEPTS(fixture.temp().Read("timer/index.xml"));
  ZDS_EXPECT_XMLLINT_ACCEPTS(fixture.temp().Read("timer/cycle.xml"));

  std::vector<const CATimerRec*> list;
  ASSERT_TRUE(index->GetBrowseRec("kov:\\Timer Index\\0001", list));
  ASSERT_TRUE(index->GetBrowseRec("kov:\\Timer Index\\2004\\12", list));
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(list[1]->GetExtendRec().subject + ", " + list[2]->GetExtendRec().subject,
            "repeating, inactive, due at the year's end");
  EXPECT_FALSE(index->GetBrowseRec("kov:\\Timer Index\\2004", list)) << "a year folder names no document";
  CVFDLRec elsewhere;
  elsewhere.SetSrc("\\archive\\old.xml");
  ASSERT_FALSE(index->AddRec(index->GetRoot()->GetPos(), elsewhere, true).empty());
  EXPECT_TRUE(fixture.temp().root()->DirectoryExists("\\timer\\archive"));
  ASSERT_TRUE(index->DelRec(index->GetNodeByPath("kov:\\Timer Index\\2004\\11")->GetPos()));
  EXPECT_FALSE(fixture.temp().Exists("timer/200411.xml"));
}

TEST(TimerIndexTest, MonthDocumentsAreMadeOnceAnnouncedOnceAndSurviveReload) {
  timer_testing::IndexFixture fixture;
  Listener listener;
  auto index = fixture.Open();
  ASSERT_NE(index, nullptr);
  const std::vector<std::string> files = fixture.temp().Files();
  const std::string text = index->GetXml();
  for (const char* bad : {"2004/11/15", "04-11", "2004-13-01", "2004-1-15", "abcd-ef", ""}) {
    EXPECT_EQ(index->GetCurrentDoc(bad, listener.window), nullptr) << bad;
  }
  EXPECT_EQ(fixture.temp().Files(), files);
  EXPECT_EQ(index->GetXml(), text);

  CATimerDoc* november = index->GetCurrentDoc("2004-11-15", listener.window);
  ASSERT_NE(november, nullptr);
  EXPECT_EQ(listener.Announced(), (std::vector<std::string>{"2004", "11"}));
  EXPECT_EQ(index->GetCurrentDoc("2004-11-30 23:00", listener.window), november);
  ASSERT_NE(index->GetCurrentDoc("2004-12", listener.window), nullptr);
  ASSERT_NE(index->GetCurrentDoc("2005-01-01", nullptr), nullptr);
  EXPECT_EQ(listener.Announced(), std::vector<std::string>{"12"}) << "nothing is posted without a window";
  EXPECT_TRUE(fixture.temp().Exists("timer/200411.xml") && fixture.temp().Exists("timer/200501.xml"));

  auto again = fixture.Open(false);
  ASSERT_NE(again, nullptr);
  std::vector<std::string> sources;
  for (const CVFDLNode* node : again->GetTimerDocNodes()) sources.push_back(node->GetSrc());
  EXPECT_EQ(sources, (std::vector<std::string>{"\\cycle.xml", "\\unactive.xml", "\\200411.xml", "\\200412.xml",
                                               "\\200501.xml"}));
  size_t nodes = again->GetNodeCount();
  ASSERT_NE(again->GetCurrentDoc("2004-11-01", listener.window), nullptr);
  EXPECT_EQ(again->GetNodeCount(), nodes);
  EXPECT_TRUE(listener.Announced().empty());
}

TEST(TimerIndexTest, StartUpOpensTheIndexLastAndAnnouncesTheCurrentMonthThroughTheInformationWindow) {
  test::TempRoot temp;
  Listener listener;
  std::string month = CTime::GetCurrentTime().Format("%Y%m");
  for (auto expected : {std::vector<std::string>{month.substr(0, 4), month.substr(4)}, std::vector<std::string>{}}) {
    CZDS facade;
    facade.SetDataRoot(temp.root());
    facade.SetMessageQueue(&listener.queue);
    facade.RegisterWnd(listener.window);
    ASSERT_TRUE(facade.InitZDS());
    ASSERT_NE(facade.GetATimerIndexDoc(), nullptr);
    EXPECT_EQ(facade.GetATimerIndexDoc()->GetRoot()->GetPos(), "kov:\\Timer Index\\0000");
    EXPECT_EQ(listener.Announced(), expected);
    EXPECT_TRUE(temp.Exists("timer/index.xml") && temp.Exists("timer/" + month + ".xml"));
  }
}

std::vector<std::string> Due(CATimerIndexDoc& index, const char* from, const char* to, std::vector<std::string>& bad) {
  std::vector<std::string> lines;
  for (const CATimerDue& due : index.GetDueTimers(At(from), At(to), &bad)) {
    lines.push_back(due.time.Format(kTimeFormatSeconds) + " " + due.subject);
  }
  return lines;
}

TEST(TimerDueTest, TheIndexAnswersFromTheSpansMonthsAndCycleAlone) {
  timer_testing::IndexFixture fixture;
  const char* range = "notstop;from=2004-11-01 00:00";
  {
    auto index = fixture.Open();
    ASSERT_NE(index, nullptr);
    CATimerRec daily = MakeCyclic("daily", "day", "sequence;from=2004-11-01 08:00;to=2004-11-01 08:05", range);
    daily.GetExtendRec().cycle_rec->maps.Add({20, kMapDelete, At("2004-11-21 08:00"), At("2004-11-21 08:05"), ""});
    const CATimerRec timers[] = {
        daily, MakeCyclic("paused daily", "day", "sequence;from=2004-11-01 09:00", range, kTimerSuspension),
        MakeTimer("october", "2004-10-31 23:00:00"), MakeTimer("before", "2004-11-14 23:59:59"),
        MakeTimer("a", "2004-11-20 09:00:00"),       MakeTimer("b", "2004-11-30 23:59:59"),
        MakeTimer("c", "2004-12-01 00:00:00"),       MakeTimer("at the end", "2004-12-02 00:00:00")};
    for (const CATimerRec& timer : timers) ASSERT_FALSE(index->GetRightDoc(timer)->AddTimer(timer, true).empty());
    // Filed by hand where the index would not file it: not due.
    CATimerDoc* november = index->GetCurrentDoc("2004-11", nullptr);
    ASSERT_FALSE(november->AddTimer(MakeTimer("paused", "2004-11-20 09:00:00", kTimerSuspension), true).empty());
    ASSERT_NE(index->GetCurrentDoc("2005-01", nullptr), nullptr);
  }
  auto index = fixture.Open(false);
  ASSERT_NE(index, nullptr);
  std::vector<std::string> unusable, expected;
  for (int day = 15; day <= 31; ++day) {  // 31 November is 1 December
    if (day != 21) expected.push_back(CTime(2004, 11, day, 8, 0, 0).Format(kTimeFormatSeconds) + " daily");
    if (day == 20) expected.push_back("2004-11-20 09:00:00 a");
    if (day == 30) expected.push_back("2004-11-30 23:59:59 b");
    if (day == 31) expected.insert(expected.end() - 1, "2004-12-01 00:00:00 c");
  }
  EXPECT_EQ(Due(*index, "2004-11-15 00:00:00", "2004-12-02 00:00:00", unusable), expected);
  EXPECT_TRUE(unusable.empty());
  std::vector<std::string> opened;
  for (const CVFDLNode* node : index->GetTimerDocNodes()) {
    if (index->GetExpandedDoc(*node)) opened.push_back(node->GetSrc());
  }
  EXPECT_EQ(opened, (std::vector<std::string>{"\\cycle.xml", "\\200411.xml", "\\200412.xml"}));

  const std::string damaged = "<?xml version=\"1.0\"?>\r\n<ATimer ver=\"1.0\">\r\n<folder id=\"0000\"";
  fixture.temp().Write("timer/200411.xml", damaged);
  EXPECT_EQ(Due(*fixture.Open(false), "2004-11-30 00:00:00", "2004-12-01 08:00:01", unusable),
            (std::vector<std::string>{"2004-11-30 08:00:00 daily", "2004-12-01 00:00:00 c",
                                      "2004-12-01 08:00:00 daily"}));
  EXPECT_EQ(unusable, std::vector<std::string>{"\\timer\\200411.xml"});
  EXPECT_EQ(fixture.temp().Read("timer/200411.xml"), damaged);
}

// The zds timer commands on a fresh data root, run as a user runs them.
TEST(TimerCommandsTest, TimersAreFiledListedDueAndDeletedAndMalformedCallsExitTwo) {
  test::TempRoot temp;
  auto zds = [&temp](const std::vector<std::string>& args) { return test::RunZds(temp.dir(), args); };
  EXPECT_NE(zds({"timer", "ls"}).err.find("(run 'zds init')"), std::string::npos);
  ASSERT_EQ(zds({"init"}).exit_code, 0);
  EXPECT_TRUE(temp.Exists("timer/index.xml"));
  EXPECT_TRUE(temp.Exists("timer/" + CTime::GetCurrentTime().Format("%Y%m") + ".xml"));
  const std::vector<std::string> adds[] = {
      {"--subject", "Dentist", "--at", "2004-11-15 09:30:00", "--action", "notify"},
      {"--subject", "Later", "--at", "2004-11-15 09:30:00", "--state", "suspension"},
      {"--subject", "Stand-up", "--at", "2004-11-01 00:00:00", "--cycle", "day",
       "sequence;from=2004-11-01 09:15;to=2004-11-01 09:30", "notstop;from=2004-11-01", "--map", "14;status=delete"}};
  std::vector<std::string> pos;
  for (const auto& add : adds) {
    std::vector<std::string> args = {"timer", "add"};
    args.insert(args.end(), add.begin(), add.end());
    test::ProgramResult added = zds(args);
    ASSERT_TRUE(std::regex_match(added.out, std::regex(R"(kov:/Timer%20Index/\d{4}/\d{4}\n)"))) << added.err;
    pos.push_back(added.out.substr(0, added.out.size() - 1));
  }
  EXPECT_EQ(zds({"timer", "ls"}).out, pos[2] + "\tactived\t2004-11-01 00:00:00\tStand-up\n" + pos[1] +
                                          "\tsuspension\t2004-11-15 09:30:00\tLater\n" + pos[0] +
                                          "\tactived\t2004-11-15 09:30:00\tDentist\n");
  EXPECT_EQ(zds({"timers", "due", "2004-11-14 12:00:00", "2004-11-16 09:15:00"}).out,
            pos[0] + "\t2004-11-15 09:30:00\tDentist\n") << "occurrence 14 is deleted, 15 at TO not due";
  EXPECT_EQ(zds({"timers", "due", "2004-11-16 09:15:00", "2004-11-16 09:15:01"}).out,
            pos[2] + "\t2004-11-16 09:15:00\tStand-up\n");

  EXPECT_EQ(zds({"timer", "rm", pos[0]}).exit_code, 0);
  test::ProgramResult again = zds({"timer", "rm", pos[0]});
  EXPECT_EQ(std::tuple(again.exit_code, again.err), std::tuple(1, "zds: no timer at " + pos[0] + "\n"));
  EXPECT_EQ(zds({"timers", "due", "2004-11-15 00:00:00", "2004-11-16 00:00:00"}).out, "");
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp.Read("timer/cycle.xml"));

  const std::vector<std::string> calls[] = {
      {"timer"},
      {"timer", "add", "--subject", "x"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 24:00:00"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--state", "paused"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--map", "01;status=real"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--cycle", "day"},
      {"timers", "due", "2004-11-16 00:00:00", "2004-11-15 00:00:00"}};
  for (const auto& call : calls) EXPECT_TRUE(test::RefusedWithOneLine(zds(call), 2)) << call.back();
  EXPECT_EQ(zds({"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--cycle", "week",
                 "sequence;number=0000000", "notstop"})
                .exit_code,
            1) << "a weekly rule without a day is refused";
  EXPECT_EQ(zds({"timer", "ls"}).out, pos[2] + "\tactived\t2004-11-01 00:00:00\tStand-up\n" + pos[1] +
                                          "\tsuspension\t2004-11-15 09:30:00\tLater\n") << "nothing added";
}

}  // namespace
}  // namespace zds

// The schedule documents and their index: entries read and written in
// their stored forms, filed in the right document, found by the days they
// touch, and listed by the agenda without creating anything; the zds
// schedule and agenda commands.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "zds/calendar/calendar_doc.h"
#include "zds/calendar/classes.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/store/zds.h"
#include "support/program.h"
#include "support/temp_root.h"
#include "support/time_zone.h"

namespace zds {
namespace {

using test::TempRoot;

class ScheduleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RegisterCalendarClasses(registry_);
    Reopen();
  }
  void Reopen() {
    index_ = std::make_unique<CScheduleIndexDoc>();
    index_->SetDataRoot(temp_.root());
    index_->SetAutoSaveFlag(true);
    index_->SetClassRegistry(&registry_);
    ASSERT_TRUE(IsOpen(OpenVFDLDoc(*index_, "\\schedule\\index.xml", "\\schedule")));
  }
  std::string File(const std::string& name) const { return temp_.Read("schedule/" + name); }
  // Files an entry where the index says and returns its position.
  std::string Add(const char* subject, const char* begin, const char* end, const char* rule = nullptr) {
    CScheduleRec rec;
    CScheduleExtendRec& entry = rec.GetExtendRec();
    entry.subject = subject;
    entry.begin = ParseDateTime(begin);
    entry.end = ParseDateTime(end);
    entry.all_day = std::string(begin).size() == 10;
    entry.cycle = rule != nullptr;
    if (rule) CCycleFormat::AnalyseCycleType(rule, entry.cycle_rec.cycle_type);
    entry.cycle_rec.cycle_event.from = entry.cycle_rec.cycle_range.from = entry.begin;
    entry.cycle_rec.cycle_event.to = entry.end;
    CScheduleDoc* doc = index_->GetRightDoc(rec);
    return doc ? doc->AddRec(doc->GetRoot()->GetPos(), rec, false) : "";
  }

  TempRoot temp_;
  CRTTIRegistry registry_;
  std::unique_ptr<CScheduleIndexDoc> index_;
};

// Stored entries, each read and then written anew by a document of its own.
struct RoundTrip {
  const char* stored;
  const char* written;  // the same element as a new record writes it
};
const RoundTrip kRoundTrips[] = {
    {R"(<rec id="0001" subject="Dentist" begin="2004-05-01 09:00" end="2004-05-01 10:00" contact="Ann" priority="high" Cycle="no" Map="yes" MapID="0007" MapType="2" IsTimer="yes" TimerID="kov:\Timer Index\0003" SetMinutes="15" TimerActID="beep"></rec>)",
     R"(<rec id="0001" alias="" subject="Dentist" begin="2004-05-01 09:00" end="2004-05-01 10:00" contact="Ann" priority="high" Cycle="no" Map="yes" MapID="0007" MapType="2" IsTimer="yes" TimerID="kov:\Timer Index\0003" SetMinutes="15" TimerActID="beep">)"},
    // Missing and unknown priorities are normal; an all-day "begin" makes "end" a date too;
    // "MapID" and "TimerID" are not read without their flags and stay as unknown attributes.
    {R"(<rec id="0001" subject="Fair" begin="2004-05-01" end="2004-05-03 18:00" Map="no" MapID="x" IsTimer="YES" TimerID="t"></rec>)",
     R"(<rec id="0001" alias="" subject="Fair" begin="2004-05-01" end="2004-05-03" contact="" priority="normal" Cycle="no" Map="no" IsTimer="no" SetMinutes="0" TimerActID="" MapID="x" TimerID="t">)"},
    {R"(<rec id="0001" subject="" begin="tomorrow" end="" priority="HIGH"/>)",
     R"(<rec id="0001" alias="" subject="" begin="1970-01-01" end="1970-01-01" contact="" priority="normal" Cycle="no" Map="no" IsTimer="no" SetMinutes="0" TimerActID="">)"},
};

TEST_F(ScheduleTest, EntriesAndTheirRulesComeBackInTheirCanonicalForms) {
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  for (const RoundTrip& trip : kRoundTrips) {
    SCOPED_TRACE(trip.stored);
    CScheduleDoc stored, fresh;
    ASSERT_TRUE(stored.SetXml(std::string("<schedule><folder id=\"0000\">") + trip.stored + "</folder></schedule>"));
    const CScheduleRec* rec = stored.GetRec("kov:\\\\0001");
    ASSERT_NE(rec, nullptr) << "an entry whose times do not parse is kept";
    ASSERT_TRUE(fresh.SetXml(LoadTemplate(res::kScheduleTemplate)));
    ASSERT_EQ(fresh.AddRec("kov:\\Schedule\\0000", *rec, false), "kov:\\Schedule\\0001");
    EXPECT_NE(fresh.GetXml().find(std::string(trip.written) + "\r\n</rec>"), std::string::npos) << fresh.GetXml();
  }

  // With "Cycle" the rule's variables leave the list, and are written back composed from it, in order.
  const char* variables =
      R"(<variable name="note" value="n" mark="1"/><variable name="CYCLE_MAP" value="03;status=delete;from=2004-05-04 09:00;to=2004-05-04 10:00"/>)"
      R"(<variable name="Cycle_Range" value="numlimited;number=05;from=2004-05-01 00:00"/><other keep="me"/>)"
      R"(<variable name="cycle_type" value="WEEK;Multiple=2"/>)";
  CScheduleDoc doc;
  for (const char* flag : {"yes", "no"}) {
    ASSERT_TRUE(doc.SetXml(std::string("<schedule><folder id=\"0000\"><rec id=\"0001\" begin=\"2004-05-01 09:00\" Cycle=\"") +
                           flag + "\">" + variables + "</rec></folder></schedule>"));
    CScheduleRec changed(*doc.GetRec("kov:\\\\0001"));
    const CScheduleExtendRec& entry = changed.GetExtendRec();
    changed.GetExtendRec().subject = "rewritten";
    ASSERT_TRUE(doc.UpdateRec("kov:\\\\0001", changed, false));
    std::string text = doc.GetXml();
    if (std::string(flag) == "no") {
      EXPECT_EQ(entry.variables.size(), 4u) << "without \"Cycle\" they are plain variables";
      EXPECT_NE(text.find(R"(<variable name="CYCLE_MAP" value="03;status=delete)"), std::string::npos) << text;
      continue;
    }
    ASSERT_EQ(entry.variables.size(), 1u) << "the rule's are taken out, and written back composed from it:";
    const std::string expected =
        "<variable name=\"note\" value=\"n\" mark=\"1\"/>\r\n"
        "<variable name=\"cycle_type\" value=\"week;multiple=02;length=01;from=1970-01-01 00:00;workday=no\"/>\r\n"
        "<variable name=\"cycle_event\" value=\"sequence;number=1;from=1970-01-01 00:00;to=1970-01-01 00:00;date=\"/>\r\n"
        "<variable name=\"cycle_range\" value=\"numlimited;number=05;from=2004-05-01 00:00;to=1970-01-01 00:00\"/>\r\n"
        "<variable name=\"cycle_map\" value=\"03;status=delete;from=2004-05-04 09:00;to=2004-05-04 10:00;event=\"/>"
        "<other keep=\"me\"/>";
    EXPECT_NE(text.find(expected), std::string::npos) << text;
  }
}

TEST_F(ScheduleTest, EntriesAreFiledByTheirDaysAndFoundBySpans) {
  ZDS_USE_TIME_ZONE_OR_SKIP("America/New_York");
  platform::MessageQueue queue;
  std::vector<uintptr_t> announced;
  auto window = queue.NewWindow([&](const platform::WindowMessage& m) { if (m.message == WM_ZDS_CHANGED) announced.push_back(m.wparam); });
  for (const char* bad : {"2004-5", "2004/05-01", "", "20040501", "2004-ab", "2004-13-01"}) {
    EXPECT_EQ(index_->GetCurrentDoc(bad, window), nullptr) << bad;
  }
  ASSERT_NE(index_->GetCurrentDoc("2004-05-17", window), nullptr);
  EXPECT_EQ(index_->GetCurrentDoc("2004-05", window), index_->GetCurrentDoc("2004-05-17"));
  queue.Pump();
  ASSERT_EQ(announced.size(), 1u) << "only a new month is announced";
  EXPECT_EQ(reinterpret_cast<CVFDLNode*>(announced[0])->GetSrc(), "\\200405.xml");

  Add("late", "2004-05-01 23:00", "2004-05-02 01:00");
  const std::string rule = Add("rule", "2004-11-01 09:00", "2004-11-01 10:00", "day;multiple=07");
  const std::string nov = Add("nov", "2004-11-25 08:00", "2004-11-25 09:00");
  Add("early nov", "2004-11-10 08:00", "2004-11-10 09:00");
  const std::string jan = Add("jan", "2005-01-31", "2005-01-31");
  const std::string feb = Add("feb", "2005-02-05 08:00", "2005-02-05 09:00");
  Add("late feb", "2005-02-10 08:00", "2005-02-10 09:00");
  EXPECT_NE(File("whole.xml").find("subject=\"late\""), std::string::npos);
  EXPECT_NE(File("cycle.xml").find("subject=\"rule\""), std::string::npos);
  EXPECT_NE(File("200411.xml").find("subject=\"nov\""), std::string::npos);

  // A damaged month yields nothing and is left as it is.
  ASSERT_NE(index_->GetCurrentDoc("2004-12"), nullptr);
  temp_.Write("schedule/200412.xml", "<schedule ver=\"1.0\"><folder");
  Reopen();
  std::vector<std::string> ids{"kept"};
  EXPECT_EQ(index_->GetRecIDByDate(ids, "2004-11-20", "2005-02-05"), 4);
  EXPECT_EQ(ids, (std::vector<std::string>{"kept", nov, jan, feb, rule}));
  EXPECT_EQ(File("200412.xml"), "<schedule ver=\"1.0\"><folder");
  EXPECT_TRUE(temp_.Exists("schedule/200501.xml") && temp_.Exists("schedule/200502.xml")) << "the query makes its months";
  EXPECT_EQ(index_->GetRecIDByDate(ids, "2005-02-06", "2005-02-05"), 0);
  for (const char* file : {"index.xml", "200405.xml", "200411.xml", "200501.xml", "cycle.xml", "whole.xml"}) {
    ZDS_EXPECT_XMLLINT_ACCEPTS(File(file));
  }
}

TEST_F(ScheduleTest, TheAgendaListsOccurrencesAndOpensOnlyTheMonthsOfTheSpan) {
  ZDS_USE_TIME_ZONE_OR_SKIP("America/New_York");
  const std::string trip = Add("trip", "2004-05-02", "2004-05-04");
  const std::string call = Add("call", "2004-05-03 08:00", "2004-05-03 08:30");
  Add("june", "2004-06-03 08:00", "2004-06-03 08:30");
  const std::string daily = Add("daily", "2004-05-01 09:00", "2004-05-01 10:00", "day");
  CScheduleDoc* doc = nullptr;
  CScheduleRec rule(*index_->FindRec(daily, &doc));
  for (const char* map : {"02;status=delete;from=2004-05-03 09:00;to=2004-05-03 10:00",
                          "03;status=real;from=2004-05-04 14:00;to=2004-05-04 15:00",
                          "40;status=virtual;from=2004-05-03 18:00;to=2004-05-03 19:00"}) {
    CCycleFormat::AnalyseCycleMap(map, rule.GetExtendRec().cycle_rec.maps.Add(CCycleMap()));
  }
  ASSERT_TRUE(doc->UpdateRec(daily, rule, false));
  CScheduleRec stand_in;
  stand_in.GetExtendRec() = index_->FindRec(call)->GetExtendRec();
  stand_in.GetExtendRec().map = true;  // the real occurrence 3: its recurring entry shows it
  CScheduleDoc* may = index_->GetRightDoc(stand_in);
  ASSERT_NE(may->AddRec(may->GetRoot()->GetPos(), stand_in, false), "");
  Reopen();
  const std::vector<std::string> files = temp_.Files();

  std::vector<CScheduleAgendaItem> items;
  ASSERT_TRUE(index_->GetAgenda("2004-05-03", "2004-05-04", items));
  auto at = [](const char* time) { return ParseDateTime(time); };
  const std::vector<CScheduleAgendaItem> expected = {
      {at("2004-05-02"), at("2004-05-04"), true, "trip", trip, -1},
      {at("2004-05-03 08:00"), at("2004-05-03 08:30"), false, "call", call, -1},
      {at("2004-05-03 18:00"), at("2004-05-03 19:00"), false, "daily", daily, 40},
      {at("2004-05-04 14:00"), at("2004-05-04 15:00"), false, "daily", daily, 3},
  };
  EXPECT_EQ(items, expected);
  for (const CVFDLFolder& folder : index_->ChildFolders(*index_->GetRoot())) {
    EXPECT_EQ(index_->GetExpandedDoc(folder) != nullptr, folder.GetAlias() != "2004-06") << folder.GetAlias();
  }
  items.clear();
  EXPECT_TRUE(index_->GetAgenda("2004-07-01", "2004-09-30", items));
  EXPECT_EQ(items.size(), 92u) << "the daily entry only, once a day";
  EXPECT_FALSE(index_->GetAgenda("2004-05-04", "2004-05-03", items));
  EXPECT_FALSE(index_->GetAgenda("2004-05-32", "", items));
  EXPECT_EQ(temp_.Files(), files) << "the agenda creates nothing";
}

TEST(CalendarTest, TheServiceIndexReachesTheScheduleIndexByItsPath) {
  TempRoot temp;
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());
  CCalendarDoc* calendar = facade.GetCalendarDoc();
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(temp.Read("calendar/index.xml"), LoadTemplate(res::kCalendarTemplate));
  CVFDLNode* schedule = facade.GetAIDLDoc()->GetNodeByPath("kov:\\Velmora\\Calendar\\Schedule");
  ASSERT_NE(schedule, nullptr);
  EXPECT_EQ(schedule->GetPos(), "kov:\\Velmora\\0010\\0002");
  EXPECT_EQ(facade.GetAIDLDoc()->FindNodeByPos(schedule->GetPos()), schedule);
  CVFDLDoc* index = facade.GetAIDLDoc()->LoadExpandVFDLDoc(schedule->GetPos());
  ASSERT_NE(index, nullptr);
  EXPECT_EQ(index, calendar->GetScheduleIndexDoc()) << "the same document, of the schedule index's class";
  EXPECT_EQ(index->GetFilePath(), "\\calendar\\schedule\\index.xml");
  EXPECT_TRUE(facade.GetAIDLDoc()->UnloadExpandVFDLDoc(facade.GetAIDLDoc()->GetCalendarIndexPos()));
  EXPECT_EQ(facade.GetAIDLDoc()->GetNodeByPath("kov:\\Velmora\\Calendar\\Schedule"), nullptr);
}

// The zds schedule and agenda commands, run as a user would on a fresh data
// root: bad calls are usage errors and open nothing; entries are filed,
// listed, shown and removed.
TEST(CalendarCommandsTest, BadCallsChangeNothingEntriesAreFiledListedShownAndRemoved) {
  TempRoot temp;
  auto run = [&temp](const std::vector<std::string>& args) { return test::RunZds(temp.dir(), args); };
  auto add = [&run](std::vector<std::string> args) {  // the new position
    args.insert(args.begin(), {"schedule", "add"});
    test::ProgramResult result = run(args);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    return result.out.empty() ? std::string() : result.out.substr(0, result.out.size() - 1);
  };
  const std::vector<std::vector<std::string>> calls = {
      {"agenda", "2004-05-04", "2004-05-03"},
      {"agenda", "2004-5-4"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04 09:00"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04 25:00", "--end", "2004-05-04 26:00"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04 10:00"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04", "--priority", "HIGH"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04", "--map", "01"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04", "--cycle", "hourly", "x", "y"},
      {"schedule", "move"},
  };
  for (const auto& call : calls) EXPECT_TRUE(test::RefusedWithOneLine(run(call), 2)) << call[0] << " " << call.back();
  EXPECT_TRUE(temp.Files().empty()) << "nothing was opened";
  EXPECT_TRUE(test::RefusedWithOneLine(run({"agenda", "2004-05-04"}), 1)) << "no store yet";
  EXPECT_TRUE(temp.Files().empty()) << "a read makes no store";
  ASSERT_EQ(run({"init"}).exit_code, 0);

  const std::string talk = add({"--subject", "Talk", "--begin", "2004-05-03 23:00", "--end", "2004-05-04 01:00"});
  const std::string fair = add({"--subject", "Fair\tday", "--begin", "2004-05-04", "--end", "2004-05-04", "--priority", "high"});
  const std::string gym = add({"--subject", "Gym", "--begin", "2004-05-01 07:00", "--end", "2004-05-01 08:00", "--cycle",
                               "day;multiple=02", "sequence;from=2004-05-01 07:00;to=2004-05-01 08:00",
                               "notstop;from=2004-05-01 00:00", "--map", "02;status=delete;from=2004-05-05 07:00;to=2004-05-05 08:00"});
  EXPECT_TRUE(talk.starts_with("kov:/Velmora/0010/0002/")) << talk;
  EXPECT_TRUE(temp.Exists("calendar/schedule/200405.xml") && temp.Exists("calendar/schedule/whole.xml"));

  test::ProgramResult agenda = run({"agenda", "2004-05-03", "2004-05-05"});
  ASSERT_EQ(agenda.exit_code, 0) << agenda.err;
  EXPECT_EQ(agenda.out, gym + "\t2004-05-03 07:00\t2004-05-03 08:00\tGym\n" + talk +
                            "\t2004-05-03 23:00\t2004-05-04 01:00\tTalk\n" + fair + "\t2004-05-04\t2004-05-04\tFair day\n");
  test::ProgramResult show = run({"schedule", "show", gym, "--all"});
  EXPECT_EQ(show.exit_code, 0);
  EXPECT_NE(show.out.find("subject: Gym\nbegin: 2004-05-01 07:00\n"), std::string::npos) << show.out;
  EXPECT_NE(show.out.find("cycle: Start from 2004-05-01Every 2 days Never End\n"), std::string::npos) << show.out;
  EXPECT_NE(show.out.find("cycle_map: 02;status=delete;"), std::string::npos) << show.out;

  EXPECT_EQ(run({"schedule", "rm", talk}).exit_code, 0);
  EXPECT_EQ(run({"agenda", "2004-05-04"}).out, fair + "\t2004-05-04\t2004-05-04\tFair day\n");
  test::ProgramResult again = run({"schedule", "rm", talk});
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_EQ(again.err, "zds: no schedule entry at " + talk + "\n");
  for (const char* file : {"calendar/index.xml", "calendar/schedule/index.xml", "calendar/schedule/200405.xml",
                           "calendar/schedule/cycle.xml", "calendar/schedule/whole.xml"}) {
    ZDS_EXPECT_XMLLINT_ACCEPTS(temp.Read(file));
  }
}

}  // namespace
}  // namespace zds

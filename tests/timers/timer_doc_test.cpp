// A timer's round trip through its file, and hand-edited timers.

#include <gtest/gtest.h>

#include <functional>
#include <regex>

#include "timers/timer_testing.h"

namespace zds {
namespace {

using timer_testing::At;

std::unique_ptr<CATimerDoc> OpenTimers(const test::TempRoot& temp) {
  auto doc = std::make_unique<CATimerDoc>();
  doc->SetDataRoot(temp.root());
  doc->SetAutoSaveFlag(true);
  return IsOpen(OpenVFDLDoc(*doc, "\\t.xml", "")) ? std::move(doc) : nullptr;
}

CATimerRec FullTimer() {
  CATimerRec timer = timer_testing::MakeCyclic("Call <Ann> & co", "week;multiple=02",
                                               "sequence;number=0100010;from=2004-11-01 08:30;to=2004-11-01 09:00",
                                               "numlimited;number=12;from=2004-11-01 00:00", kTimerSuspension);
  CATimerExtendRec& t = timer.GetExtendRec();
  std::tie(t.action_id, t.data_id, t.info_time) = std::tuple{"run", "kov:\\Velmora\\0003", At("2004-11-15 08:30:05")};
  std::tie(t.mapped, t.map_type, t.map_id) = std::tuple{true, 7, "m1"};
  for (int n : {1, 2, 3}) t.cycle_rec->maps.Add({n, kMapReal, At("2004-11-20 10:00"), At("2004-11-20 11:00"), "e"});
  return timer;
}

TEST(TimerDocTest, ATimerKeepsEveryFieldInItsOrderAndItsMapsComeBackReversed) {
  test::TempRoot temp;
  auto doc = OpenTimers(temp);
  ASSERT_NE(doc, nullptr);
  CATimerRec full = FullTimer(), plain = timer_testing::MakeTimer("", "2004-11-15 08:30:05");
  ASSERT_EQ(doc->AddTimer(full, true), "kov:\\Timer\\0001");
  ASSERT_EQ(doc->AddTimer(full, true), "kov:\\Timer\\0002") << "each add gets a fresh id";
  ASSERT_EQ(doc->AddTimer(plain, true), "kov:\\Timer\\0003");
  EXPECT_EQ(doc->GetNodeByPos("kov:\\Timer\\0003")->GetExtendType(), 172);

  std::string text = temp.Read("t.xml");
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
  EXPECT_NE(text.find(R"(alias="Call &lt;Ann&gt; &amp; co" subject="Call &lt;Ann&gt; &amp; co" state="suspension" )"
                      R"(dataid="kov:\Velmora\0003" infotime="2004-11-15 08:30:05" Cycle="yes" Map="yes" MapID="m1" )"
                      R"(MapType="7" ActID="run">)"),
            std::string::npos) << text;
  EXPECT_TRUE(std::regex_search(text, std::regex("ActID=\"run\">\r\n<cycle_type value=\"week;multiple=02;[^\n]*\n"
                                                 "<cycle_event [^\n]*\n<cycle_range [^\n]*\n<cycle_map value=\"01;"
                                                 "[^\n]*\n<cycle_map value=\"02;[^\n]*\n<cycle_map value=\"03;")));
  EXPECT_NE(text.find(R"(<rec id="0003" alias="" subject="" state="actived" dataid="" infotime="2004-11-15 08:30:05" )"
                      "ActID=\"\">\r\n</rec>"),
            std::string::npos) << "\"Cycle\" and the map fields only when set";

  auto again = OpenTimers(temp);
  ASSERT_NE(again, nullptr);
  CATimerExtendRec read = again->GetRec("kov:\\Timer\\0001")->GetExtendRec();
  const CCycleMapList& written = full.GetExtendRec().cycle_rec->maps;
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(read.cycle_rec->maps[i], written[2 - i]) << "read back reversed";
  read.cycle_rec->maps = written;
  EXPECT_TRUE(read == full.GetExtendRec());
  EXPECT_TRUE(again->GetRec("kov:\\Timer\\0003")->GetExtendRec() == plain.GetExtendRec());
  EXPECT_EQ(again->GetRec("kov:\\Timer\\0001")->GetUnknownContent(), "") << "consumed children are not kept twice";
}

TEST(TimerDocTest, HandEditedTimersDegradeFieldByFieldAndKeepWhatTheyDoNotKnow) {
  using Check = std::function<bool(const CATimerRec&, const CATimerExtendRec&)>;
  const std::pair<const char*, Check> cases[] = {
      {R"(<rec id="0001" state="paused">)", [](auto&, auto& t) { return t.state == kTimerUnactived; }},
      {"<rec id=\"0002\" Cycle=\"Yes\">\r\n<cycle_type value=\"week\"/>",
       [](auto& rec, auto& t) {
         return !t.cyclic && !t.cycle_rec && rec.GetUnknownContent().find("<cycle_type") != std::string::npos;
       }},
      {R"(<rec id="0003" infotime="15.11.2004 08:30">)", [](auto&, auto& t) { return t.info_time == CTime(); }},
      {"<rec id=\"0004\" Cycle=\"yes\">\r\n<cycle_type value=\"fortnight;multiple=x\"/>\r\n"
       "<CYCLE_RANGE value=\"numlimited;number=5\"/>",
       [](auto&, auto& t) {
         const CATimerCycleRec& rule = *t.cycle_rec;
         return std::tuple(rule.cycle_type.type, rule.cycle_type.multiple, rule.cycle_range.type,
                           rule.cycle_range.number) == std::tuple(kCycleDay, 0, kRangeNumLimited, 5);
       }},
      {R"(<rec id="0005" Map="no" MapID="m" MapType="3" colour="red">)",
       [](auto& rec, auto& t) {
         return !t.mapped && t.map_id.empty() && rec.GetUnknownAttributes() == R"( MapID="m" MapType="3" colour="red")";
       }}};
  std::string file = "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<ATimer ver=\"1.0\">\r\n<folder id=\"0000\" "
                     "alias=\"Timer\" attribute=\"root\">\r\n<rec id=\"0009\" subject=\"no end tag\"/>\r\n";
  for (const auto& [element, check] : cases) file += std::string(element) + "\r\n</rec>\r\n";
  test::TempRoot temp;
  temp.Write("t.xml", file + "</folder>\r\n</ATimer>\r\n");
  auto doc = OpenTimers(temp);
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(doc->GetRec("kov:\\Timer\\0009"), nullptr) << "a record without its end tag is not loaded";
  for (size_t i = 0; i < std::size(cases); ++i) {
    const CATimerRec* timer = doc->GetRec("kov:\\Timer\\000" + std::to_string(i + 1));
    EXPECT_TRUE(timer && cases[i].second(*timer, timer->GetExtendRec())) << cases[i].first;
  }
}

}  // namespace
}  // namespace zds

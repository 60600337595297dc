// What is due in a span: a repeating timer's occurrences agree with a walk
// over its rule from occurrence 0, and the index answers from the span's
// months and "Cycle" alone.

#include <gtest/gtest.h>

#include <algorithm>

#include "recurrence/recurrence_testing.h"
#include "timers/timer_testing.h"

namespace zds {
namespace {

using timer_testing::At;
using timer_testing::MakeCyclic;
using timer_testing::MakeTimer;

// The definition, walked: the plain rule's occurrences from 0, skipped until
// the first that begins at or after `from`, then taken while they begin
// inside; a number with a map is placed by its first map instead, and a
// deleted one is not due. One per moment.
std::vector<CATimerOccurrence> Walk(const CATimerCycleRec& rec, CTime from, CTime to, bool& capped) {
  std::vector<CATimerOccurrence> found;
  auto inside = [&](CTime t) { return from <= t && t < to; };
  for (int n = 0; n < 500; ++n) {  // the random rules' map numbers stay below
    const CCycleMap* map = rec.GetMapInfoByNumber(n);
    if (map && map->status != kMapDelete && inside(map->from)) found.push_back({n, map->from});
  }
  capped = false;
  bool started = false;
  CTime begin, end;
  for (int n = 0; cycle::IsExpandedKind(rec.cycle_type.type); ++n) {
    capped = n == cycle_testing::kWalkCap;
    if (capped || !rec.GetMapRange(n, begin, end, false)) break;
    if (!started && begin < from) continue;
    if (!inside(begin)) break;
    started = true;
    if (rec.GetMapInfoByNumber(n) == nullptr) found.push_back({n, begin});
  }
  auto order = [](auto& a, auto& b) { return std::tie(a.begin, a.number) < std::tie(b.begin, b.number); };
  std::sort(found.begin(), found.end(), order);
  auto same = [](auto& a, auto& b) { return a.begin == b.begin; };
  found.erase(std::unique(found.begin(), found.end(), same), found.end());
  return found;
}

TEST(TimerDueTest, OccurrencesInASpanMatchTheWalkFromTheRulesStart) {
  std::mt19937 random(0x5eed);
  const int64_t kLengths[] = {0, -86400, 3600, 86400, 86400, 7 * 86400, 60 * 86400};
  cycle_testing::CheckRandomCases(0xd0e71e5u, [&](const CScheCycleRec& schedule, CTime from, bool use_maps) {
    CATimerCycleRec rec(schedule);
    if (!use_maps) rec.maps.Clear();
    CTime to = from + CTimeSpan(kLengths[random() % std::size(kLengths)] + static_cast<int64_t>(random() % 3) - 1);
    bool capped = false;
    std::vector<CATimerOccurrence> walked = Walk(rec, from, to, capped), found = rec.GetOccurrencesIn(from, to);
    auto earlier = [](auto& a, auto& b) { return a.begin < b.begin; };
    if (capped ? std::includes(walked.begin(), walked.end(), found.begin(), found.end(), earlier) : found == walked) {
      return std::string();
    }
    return "walk " + std::to_string(walked.size()) + (capped ? " (capped)" : "") + ", found " +
           std::to_string(found.size()) + " up to " + cycle_testing::Show(to);
  });
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

}  // namespace
}  // namespace zds

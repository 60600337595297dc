// The timer's direct searches answer exactly as the walks from occurrence 0
// do, on random rules, moments and maps in three time zones.

#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

TEST(TimerSearchAgreement, OccurrenceHoldingMatchesWalk) {
  cycle_testing::CheckRandomCases(0x7173e500u, [](const CScheCycleRec& schedule, CTime t, bool use_maps) {
    CATimerCycleRec rec(schedule);
    bool capped = false;
    int walked = cycle_testing::WalkHolding(rec, t, use_maps, capped);
    return cycle_testing::Compare(use_maps ? "holding with maps" : "holding", walked, capped, rec.GetMapNumByTime(t, use_maps));
  });
}

TEST(TimerSearchAgreement, LastBegunMatchesWalk) {
  cycle_testing::CheckRandomCases(0xbe40e000u, [](const CScheCycleRec& schedule, CTime t, bool) {
    CATimerCycleRec rec(schedule);
    bool capped = false;
    std::string walked_name, found_name = "stale";
    int walked = cycle_testing::WalkLastBegun(rec, t, walked_name, capped);
    int found = rec.GetBeforeNumber(t, found_name);
    std::string complaint = cycle_testing::Compare("last begun", walked, capped, found);
    if (complaint.empty() && !capped && found_name != walked_name) complaint = "name " + found_name + " vs " + walked_name;
    return complaint;
  });
}

}  // namespace
}  // namespace zds

// The schedule's direct search answers exactly as the walk from occurrence
// 0 does, on random rules, moments and maps in three time zones.

#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

TEST(ScheduleSearchAgreement, OccurrenceHoldingMatchesWalk) {
  cycle_testing::CheckRandomCases(0x5eed0000u, [](const CScheCycleRec& rec, CTime t, bool use_maps) {
    bool capped = false;
    int walked = cycle_testing::WalkHolding(rec, t, use_maps, capped);
    return cycle_testing::Compare(use_maps ? "holding with maps" : "holding", walked, capped, rec.GetMapNumByTime(t, use_maps));
  });
}

}  // namespace
}  // namespace zds

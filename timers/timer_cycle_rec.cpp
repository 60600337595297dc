#include "zds/timers/timer_cycle_rec.h"

#include <algorithm>
#include <cstdint>

#include "zds/recurrence/cycle_search.h"

namespace zds {
namespace {

// How many of the plain rule's occurrences a span is searched for. No
// expanded rule begins more than two occurrences a day (the workday rule's
// fourth and fifth fall together); the bound stops only rules that never
// move on (a multiple of 0), whose few begins repeat for ever.
int64_t StepBound(const CTime& from, const CTime& to) { return 2 * ((to - from).GetDays() + 2) + 16; }

}  // namespace

bool CATimerCycleRec::GetMapRange(const int& number, CTime& begin, CTime& end, bool use_maps) const {
  return cycle::MappedOccurrence(Rule(), maps, number, begin, end, use_maps);
}

bool CATimerCycleRec::GetMapTime(const int& number, CTime& begin, bool use_maps) const {
  CTime end;
  return GetMapRange(number, begin, end, use_maps);
}

int CATimerCycleRec::GetMapNumByTime(const CTime& time, bool use_maps) const {
  return cycle::FindOccurrenceHolding(Rule(), use_maps ? &maps : nullptr, time);
}

int CATimerCycleRec::GetBeforeNumber(CTime time, std::string& name) const {
  return cycle::FindLastBegun(Rule(), maps, time, name);
}

std::vector<CATimerOccurrence> CATimerCycleRec::GetOccurrencesIn(const CTime& from, const CTime& to) const {
  std::vector<CATimerOccurrence> found;
  if (!(from < to)) return found;
  auto inside = [&](const CTime& time) { return from <= time && time < to; };
  for (size_t i = 0; i < maps.size(); ++i) {
    const CCycleMap& map = maps[i];
    // Only the first map of a number places its occurrence.
    if (map.number < 0 || maps.FindByNumber(map.number) != &map) continue;
    if (map.status != kMapDelete && inside(map.from)) found.push_back({map.number, map.from});
  }
  if (cycle::IsExpandedKind(cycle_type.type)) {
    // The first occurrence beginning at or after `from` follows the last
    // one begun a second before it; the search finds that one directly.
    std::string name;
    const CCycleMapList plain;
    int64_t n = int64_t{cycle::FindLastBegun(Rule(), plain, from - CTimeSpan(1), name)} + 1;
    int64_t last = std::min<int64_t>(n + StepBound(from, to), INT32_MAX - 1);
    CTime begin, end;
    for (; n <= last && cycle::RuleOccurrence(Rule(), n, begin, end) && inside(begin); ++n) {
      if (maps.FindByNumber(static_cast<int>(n)) == nullptr) found.push_back({static_cast<int>(n), begin});
    }
  }
  std::sort(found.begin(), found.end(), [](const CATimerOccurrence& a, const CATimerOccurrence& b) {
    return a.begin != b.begin ? a.begin < b.begin : a.number < b.number;
  });
  auto same_moment = [](const CATimerOccurrence& a, const CATimerOccurrence& b) { return a.begin == b.begin; };
  found.erase(std::unique(found.begin(), found.end(), same_moment), found.end());
  return found;
}

}  // namespace zds

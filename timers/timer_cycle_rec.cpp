#include "zds/timers/timer_cycle_rec.h"

#include "zds/recurrence/cycle_search.h"
#include "zds/recurrence/cycle_sentence.h"

namespace zds {

CATimerCycleRec& CATimerCycleRec::operator=(const CScheCycleRec& schedule) {
  cycle_type = schedule.cycle_type;
  cycle_event = schedule.cycle_event;
  cycle_range = schedule.cycle_range;
  maps = schedule.maps;
  return *this;
}

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

std::string CATimerCycleRec::Format() const { return DescribeCycle(cycle_type, cycle_event, cycle_range); }

}  // namespace zds

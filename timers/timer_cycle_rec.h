// CATimerCycleRec: the recurrence of a repeating timer.
//
// It holds the same rule records and maps as a schedule entry's
// CScheCycleRec and can be assigned from one, but expands them with the
// timer's own arithmetic (anchors compared at the event's time of day, an
// until-date that limits begins rather than ends). Besides the occurrence
// holding a moment it answers which occurrence began last by a moment,
// which is what a firing timer needs, and which occurrences begin inside a
// span of time, which is what the agent that fires timers asks.

#ifndef ZDS_TIMERS_TIMER_CYCLE_REC_H_
#define ZDS_TIMERS_TIMER_CYCLE_REC_H_

#include <string>
#include <vector>

#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_records.h"
#include "zds/recurrence/cycle_rule.h"
#include "zds/recurrence/sche_cycle_rec.h"

namespace zds {

// One occurrence of a timer's rule: its number and where it begins.
struct CATimerOccurrence {
  int number = 0;
  CTime begin;
  bool operator==(const CATimerOccurrence&) const = default;
};

class CATimerCycleRec : public CCycleRuleRecords {
 public:
  CATimerCycleRec() = default;
  // The schedule entry's rule, to be expanded as a timer's.
  explicit CATimerCycleRec(const CScheCycleRec& schedule) : CCycleRuleRecords(schedule) {}
  CATimerCycleRec& operator=(const CScheCycleRec& schedule) {
    CCycleRuleRecords::operator=(schedule);
    return *this;
  }
  bool operator==(const CATimerCycleRec&) const = default;

  // Occurrence `number`: a map with that number when `use_maps`, else the
  // rule's; for kinds the rule does not expand `begin` and `end` keep the
  // values passed in. Public so that `zds cycle range --timer` can show it.
  bool GetMapRange(const int& number, CTime& begin, CTime& end, bool use_maps) const;
  // GetMapRange's begin alone.
  bool GetMapTime(const int& number, CTime& begin, bool use_maps) const;
  // The occurrence whose span holds `time`, or -1 (answered directly, with
  // the answer of walking the occurrences from 0).
  int GetMapNumByTime(const CTime& time, bool use_maps) const;
  // The last occurrence begun by `time` and its map's text in `name`; -1
  // when none has begun or when the series ended before `time`.
  int GetBeforeNumber(CTime time, std::string& name) const;

  // The occurrences beginning in [from, to), by begin, one per moment (the
  // lower number where two begin together). A map places its occurrence,
  // one with the status "delete" is left out. The plain rule's occurrences
  // are stepped through from the first that begins at or after `from`,
  // found directly, until one begins outside the span, so the cost does
  // not grow with the rule's age. Kinds the rule does not expand give only
  // their maps.
  std::vector<CATimerOccurrence> GetOccurrencesIn(const CTime& from, const CTime& to) const;

 private:
  CycleRule Rule() const { return RuleIn(CycleStyle::kTimer); }
};

}  // namespace zds

#endif  // ZDS_TIMERS_TIMER_CYCLE_REC_H_

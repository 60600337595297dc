// CCycleRuleRecords: what every recurrence rule holds, the schedule's
// (CScheCycleRec) and the timer's (CATimerCycleRec) alike: its three rule
// records and its maps, and the stored form of all four.
//
// A rule is stored as four kinds of part, each a name and a one-line value
// (cycle_format.h): "cycle_type", "cycle_event", "cycle_range" and one
// "cycle_map" per map, the names compared without regard to case. Where a
// family keeps the parts (child lines of their own, "variable" lines) is
// the family's: cycle_codec.h has both.

#ifndef ZDS_RECURRENCE_CYCLE_RULE_H_
#define ZDS_RECURRENCE_CYCLE_RULE_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_records.h"

namespace zds {

class CCycleRuleRecords {
 public:
  bool operator==(const CCycleRuleRecords&) const = default;

  // The map of occurrence `number`, or null.
  const CCycleMap* GetMapInfoByNumber(int number) const { return maps.FindByNumber(number); }
  CCycleMap* GetMapInfoByNumber(int number) { return maps.FindByNumber(number); }
  // The rule as the user reads it (cycle_sentence.h).
  std::string Format() const;

  CCycleType cycle_type;
  CCycleEvent cycle_event;
  CCycleRange cycle_range;
  CCycleMapList maps;

 protected:
  CycleRule RuleIn(CycleStyle style) const { return CycleRule{cycle_type, cycle_event, cycle_range, style}; }
};

enum class CycleRulePart { kNone, kType, kEvent, kRange, kMap };

// The part a stored name stands for; kNone for any other name.
CycleRulePart CycleRulePartNamed(std::string_view name);
// Takes a part's value into the rule: a map is added, the other parts
// replace what the rule held. Reading never fails (cycle_format.h).
void ReadCycleRulePart(CycleRulePart part, std::string_view value, CCycleRuleRecords& rule);
// The parts in their stored order and spelling: type, event, range, then
// each map; as (name, value).
std::vector<std::pair<std::string_view, std::string>> ComposeCycleRuleParts(const CCycleRuleRecords& rule);

}  // namespace zds

#endif  // ZDS_RECURRENCE_CYCLE_RULE_H_

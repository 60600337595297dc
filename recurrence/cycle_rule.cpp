#include "zds/recurrence/cycle_rule.h"

#include "zds/platform/ascii.h"
#include "zds/recurrence/cycle_format.h"
#include "zds/recurrence/cycle_sentence.h"

namespace zds {
namespace {

constexpr std::string_view kTypeName = "cycle_type";
constexpr std::string_view kEventName = "cycle_event";
constexpr std::string_view kRangeName = "cycle_range";
constexpr std::string_view kMapName = "cycle_map";

}  // namespace

std::string CCycleRuleRecords::Format() const { return DescribeCycle(cycle_type, cycle_event, cycle_range); }

CycleRulePart CycleRulePartNamed(std::string_view name) {
  if (platform::SameIgnoringAsciiCase(name, kTypeName)) return CycleRulePart::kType;
  if (platform::SameIgnoringAsciiCase(name, kEventName)) return CycleRulePart::kEvent;
  if (platform::SameIgnoringAsciiCase(name, kRangeName)) return CycleRulePart::kRange;
  if (platform::SameIgnoringAsciiCase(name, kMapName)) return CycleRulePart::kMap;
  return CycleRulePart::kNone;
}

void ReadCycleRulePart(CycleRulePart part, std::string_view value, CCycleRuleRecords& rule) {
  switch (part) {
    case CycleRulePart::kType: CCycleFormat::AnalyseCycleType(value, rule.cycle_type); break;
    case CycleRulePart::kEvent: CCycleFormat::AnalyseCycleEvent(value, rule.cycle_event); break;
    case CycleRulePart::kRange: CCycleFormat::AnalyseCycleRange(value, rule.cycle_range); break;
    case CycleRulePart::kMap: {
      CCycleMap map;
      CCycleFormat::AnalyseCycleMap(value, map);
      rule.maps.Add(map);
      break;
    }
    case CycleRulePart::kNone: break;
  }
}

std::vector<std::pair<std::string_view, std::string>> ComposeCycleRuleParts(const CCycleRuleRecords& rule) {
  std::vector<std::pair<std::string_view, std::string>> parts(3 + rule.maps.size());
  parts[0].first = kTypeName;
  CCycleFormat::ComposeCycleType(rule.cycle_type, parts[0].second);
  parts[1].first = kEventName;
  CCycleFormat::ComposeCycleEvent(rule.cycle_event, parts[1].second);
  parts[2].first = kRangeName;
  CCycleFormat::ComposeCycleRange(rule.cycle_range, parts[2].second);
  for (size_t i = 0; i < rule.maps.size(); ++i) {
    parts[3 + i].first = kMapName;
    CCycleFormat::ComposeCycleMap(rule.maps[i], parts[3 + i].second);
  }
  return parts;
}

}  // namespace zds

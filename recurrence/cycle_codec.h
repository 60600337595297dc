// The two stored shapes of a recurrence rule inside a record, as items of a
// family's field list (framework/field_codec.h):
//
//   field::When(&CATimerExtendRec::cyclic, CycleRuleLines(&CATimerExtendRec::cycle_rec))
//       <cycle_type value="..."/> <cycle_event .../> <cycle_range .../> <cycle_map .../>...
//   field::When(&CScheduleExtendRec::cycle,
//               CycleRuleAmongVariables("variable", &CScheduleExtendRec::variables, &CScheduleExtendRec::cycle_rec))
//       <variable name="cycle_type" value="..."/> ... among the record's other variables
//
// Both write the parts in their stored order (cycle_rule.h).

#ifndef ZDS_RECURRENCE_CYCLE_CODEC_H_
#define ZDS_RECURRENCE_CYCLE_CODEC_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/xml_line.h"
#include "zds/recurrence/cycle_rule.h"

namespace zds {

// The rule as child lines of its own, each named by its part, the value in
// "value"; an optional rule of the owner, made when read. The lines are
// read from the last to the first, as the stored timers were: the first of
// several type, event or range lines wins, and maps come back in the
// reverse of their file order.
template <typename Owner, typename Rule>
struct CycleRuleLineList {
  static constexpr bool kAttribute = false;
  std::optional<Rule> Owner::*rule;

  void ReadRest(CXMLElementReader& item, Owner& owner) const {
    Rule& read = (owner.*rule).emplace();
    std::span<CXMLElementReader> children = item.GetChildren();
    for (size_t i = children.size(); i-- > 0;) {
      CXMLElementReader& child = children[i];
      const CycleRulePart part = CycleRulePartNamed(child.GetTag());
      if (child.IsRead() || part == CycleRulePart::kNone) continue;
      ReadCycleRulePart(part, child.GetAttrValue("value"), read);
      child.MarkRead();
    }
  }
  void Write(const Owner& owner, CXMLLine& /*line*/, std::vector<std::string>& lines) const {
    if (!(owner.*rule)) return;
    for (const auto& [name, value] : ComposeCycleRuleParts(*(owner.*rule))) {
      CXMLLine line;
      line.SetLine(name, true, CXMLLine::Type::kElement);
      line.AddAttribute("value", value);
      lines.push_back(line.GetLine(true));
    }
  }
};
template <typename Owner, typename Rule>
constexpr CycleRuleLineList<Owner, Rule> CycleRuleLines(std::optional<Rule> Owner::*rule) {
  return {rule};
}

// The rule kept among the owner's variables (lines of `tag` with "name" and
// "value", read into `variables` by an item before this one): the
// variables that name a part are taken out of the list, in file order,
// into the rule; written after the other variables.
template <typename Owner, typename Variable, typename Rule>
struct CycleRuleVariableList {
  static constexpr bool kAttribute = false;
  std::string_view tag;
  std::vector<Variable> Owner::*variables;
  Rule Owner::*rule;

  void ReadRest(CXMLElementReader& /*item*/, Owner& owner) const {
    std::vector<Variable>& kept = owner.*variables;
    size_t left = 0;
    for (size_t i = 0; i < kept.size(); ++i) {
      const CycleRulePart part = CycleRulePartNamed(kept[i].name);
      if (part != CycleRulePart::kNone) {
        ReadCycleRulePart(part, kept[i].value, owner.*rule);
      } else {
        if (left != i) kept[left] = std::move(kept[i]);
        ++left;
      }
    }
    kept.resize(left);
  }
  void Write(const Owner& owner, CXMLLine& /*line*/, std::vector<std::string>& lines) const {
    for (const auto& [name, value] : ComposeCycleRuleParts(owner.*rule)) {
      CXMLLine line;
      line.SetLine(tag, true, CXMLLine::Type::kElement);
      line.AddAttribute("name", name);
      line.AddAttribute("value", value);
      lines.push_back(line.GetLine(true));
    }
  }
};
template <typename Owner, typename Variable, typename Rule>
constexpr CycleRuleVariableList<Owner, Variable, Rule> CycleRuleAmongVariables(std::string_view tag,
                                                                               std::vector<Variable> Owner::*variables,
                                                                               Rule Owner::*rule) {
  return {tag, variables, rule};
}

}  // namespace zds

#endif  // ZDS_RECURRENCE_CYCLE_CODEC_H_

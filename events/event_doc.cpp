#include "events/event_doc.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "platform/time.h"
#include "resources/string_table.h"

namespace zds {
namespace {

// The decimal prefix of `text` as atoi reads it, clamped to int; 0 when none.
int ParseDecimal(const std::string& text) {
  long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

}  // namespace

std::string_view EventPriorityWord(int priority) {
  switch (priority) {
    case kEventPriorityLow: return "low";
    case kEventPriorityNormal: return "normal";
    case kEventPriorityHigh: return "high";
    default: return {};
  }
}

int EventPriorityFromWord(std::string_view word) {
  if (word == "high") return kEventPriorityHigh;
  if (word == "low") return kEventPriorityLow;
  return kEventPriorityNormal;
}

bool CAEventExtendRec::operator==(const CAEventExtendRec& other) const {
  return new_flag == other.new_flag && status == other.status && act == other.act &&
         create_time == other.create_time && data_id == other.data_id && node == other.node &&
         priority == other.priority;
}

std::string CAEventDoc::GetTemplateText() const { return LoadTemplate(res::kEventTemplate); }

std::string CAEventDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool /*flag*/) {
  CAEventRec event;
  event.AssignValue(rec);
  event.SetID(GetLocalID(GetNewID()));
  event.GetExtendRec().create_time = CTime::GetCurrentTime().Format(kTimeFormatMinutes);
  return CVFDLDoc::AddRec(parent_pos, event, false);
}

bool CAEventDoc::MarkRead(std::string_view pos, bool flag) {
  const auto* event = dynamic_cast<const CAEventRec*>(GetNodeByPos(pos));
  if (event == nullptr) return false;
  CAEventRec read(*event);
  read.GetExtendRec().new_flag = false;
  return UpdateRec(pos, read, flag);
}

void CAEventDoc::InitNodeExtendType(CVFDLNode& node) {
  if (node.GetNodeType() == kNodeFolder) node.SetExtendType(kEventFolderType);
  if (node.GetNodeType() == kNodeRec) node.SetExtendType(kEventRecType);
}

bool CAEventDoc::InitExtendRecItem(CXMLElementReader& item, CVFDLRec& rec) {
  if (!item.HasClosingLine()) return false;
  CAEventExtendRec& event = static_cast<CAEventRec&>(rec).GetExtendRec();
  event.new_flag = item.GetAttrValue("newflag") == "yes";
  // "module" carries nothing; taking it here keeps it from coming back a
  // second time among the attributes no one understood.
  item.GetAttrValue("module");
  event.status = ParseDecimal(item.GetAttrValue("status"));
  event.act = item.GetAttrValue("act");
  event.create_time = item.GetAttrValue("createtime");
  event.data_id = item.GetAttrValue("dataid");
  event.priority = EventPriorityFromWord(item.GetAttrValue("priority"));
  return true;
}

void CAEventDoc::CreateExtendRecText(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& /*lines*/) const {
  const auto* stored = dynamic_cast<const CAEventExtendRec*>(rec.GetExtend());
  const CAEventExtendRec defaults;
  const CAEventExtendRec& event = stored ? *stored : defaults;
  line.AddAttribute("newflag", event.new_flag ? "yes" : "no");
  line.AddAttribute("module", "");
  line.AddAttribute("status", std::to_string(event.status));
  line.AddAttribute("act", event.act);
  line.AddAttribute("createtime", event.create_time);
  line.AddAttribute("dataid", event.data_id);
  std::string_view priority = EventPriorityWord(event.priority);
  if (!priority.empty()) line.AddAttribute("priority", priority);
}

}  // namespace zds

#include "zds/timers/timer_doc.h"

#include "zds/framework/field_codec.h"
#include "zds/platform/ascii.h"
#include "zds/recurrence/cycle_format.h"

namespace zds {
namespace {

// An unknown state word leaves the state as it was; a state outside the
// three is not written.
constexpr auto kStateWords =
    field::MakeWords(field::kWords, field::Word{kTimerUnactived, "unactived"},
                     field::Word{kTimerSuspension, "suspension"}, field::Word{kTimerActived, "actived"});

// Written in this order; "Cycle" and the map fields go between them, each
// only when set, and "ActID" last.
constexpr auto kLeadFields =
    field::List(field::Of("subject", &CATimerExtendRec::subject),
                field::Of("state", &CATimerExtendRec::state, kStateWords),
                field::Of("dataid", &CATimerExtendRec::data_id),
                field::Of("infotime", &CATimerExtendRec::info_time, field::TimeTextCodec{kTimeFormatSeconds}));
constexpr auto kMapFields = field::List(field::Of("MapID", &CATimerExtendRec::map_id),
                                        field::Of("MapType", &CATimerExtendRec::map_type, field::kAtoi));
constexpr auto kTailFields = field::List(field::Of("ActID", &CATimerExtendRec::action_id));

// A flag stored only when set, and set only by "yes" exactly ("Yes" is not).
constexpr std::string_view kYes = "yes";

// The rule's child elements, one line each, the value in "value".
constexpr std::string_view kTypeTag = "cycle_type";
constexpr std::string_view kEventTag = "cycle_event";
constexpr std::string_view kRangeTag = "cycle_range";
constexpr std::string_view kMapTag = "cycle_map";
constexpr std::string_view kValue = "value";

void AddValueLine(std::string_view tag, const std::string& value, std::vector<std::string>& lines) {
  CXMLLine line;
  line.SetLine(tag, true, CXMLLine::Type::kElement);
  line.AddAttribute(kValue, value);
  lines.push_back(line.GetLine(true));
}

// Reads the rule from the record's children, last to first: the first of
// several type, event or range lines wins, and maps come out in the reverse
// of their file order. What is read is taken, so it is not kept again as
// unknown content.
void ReadCycleRec(CXMLElementReader& item, CATimerCycleRec& rule) {
  std::span<CXMLElementReader> children = item.GetChildren();
  for (size_t i = children.size(); i-- > 0;) {
    CXMLElementReader& child = children[i];
    std::string_view tag = child.GetTag();
    if (platform::SameIgnoringAsciiCase(tag, kTypeTag)) {
      CCycleFormat::AnalyseCycleType(child.GetAttrValue(kValue), rule.cycle_type);
    } else if (platform::SameIgnoringAsciiCase(tag, kEventTag)) {
      CCycleFormat::AnalyseCycleEvent(child.GetAttrValue(kValue), rule.cycle_event);
    } else if (platform::SameIgnoringAsciiCase(tag, kRangeTag)) {
      CCycleFormat::AnalyseCycleRange(child.GetAttrValue(kValue), rule.cycle_range);
    } else if (platform::SameIgnoringAsciiCase(tag, kMapTag)) {
      CCycleMap map;
      CCycleFormat::AnalyseCycleMap(child.GetAttrValue(kValue), map);
      rule.maps.Add(map);
    } else {
      continue;
    }
    child.MarkRead();
  }
}

void WriteCycleRec(const CATimerCycleRec& rule, std::vector<std::string>& lines) {
  std::string text;
  CCycleFormat::ComposeCycleType(rule.cycle_type, text);
  AddValueLine(kTypeTag, text, lines);
  CCycleFormat::ComposeCycleEvent(rule.cycle_event, text);
  AddValueLine(kEventTag, text, lines);
  CCycleFormat::ComposeCycleRange(rule.cycle_range, text);
  AddValueLine(kRangeTag, text, lines);
  for (size_t i = 0; i < rule.maps.size(); ++i) {
    CCycleFormat::ComposeCycleMap(rule.maps[i], text);
    AddValueLine(kMapTag, text, lines);
  }
}

}  // namespace

std::string_view TimerStateWord(int state) { return kStateWords.WordOf(state).value_or(""); }

int TimerStateOfWord(std::string_view word) { return kStateWords.ValueOf(word).value_or(-1); }

// ---- CATimerExtendRec ----

CATimerExtendRec::CATimerExtendRec(const CATimerExtendRec& other)
    : CVFDLExtendBase(other),
      subject(other.subject),
      action_id(other.action_id),
      info_time(other.info_time),
      data_id(other.data_id),
      state(other.state),
      cyclic(other.cyclic),
      cycle_rec(other.cycle_rec ? std::make_unique<CATimerCycleRec>(*other.cycle_rec) : nullptr),
      mapped(other.mapped),
      map_type(other.map_type),
      map_id(other.map_id) {}

CATimerExtendRec& CATimerExtendRec::operator=(const CATimerExtendRec& other) {
  if (this != &other) *this = CATimerExtendRec(other);
  return *this;
}

bool CATimerExtendRec::operator==(const CATimerExtendRec& other) const {
  bool same_rule = cycle_rec && other.cycle_rec ? *cycle_rec == *other.cycle_rec : !cycle_rec && !other.cycle_rec;
  return same_rule && subject == other.subject && action_id == other.action_id && info_time == other.info_time &&
         data_id == other.data_id && state == other.state && cyclic == other.cyclic && mapped == other.mapped &&
         map_type == other.map_type && map_id == other.map_id;
}

// ---- CATimerDoc ----

bool CATimerDoc::NewXMLDoc(std::string_view path) {
  if (!CVFDLFamily::NewXMLDoc(path)) return false;
  bool bound = GetDataRoot() != nullptr && !path.empty();
  return GetAutoSaveFlag() || !bound || SaveXMLDoc();
}

std::string CATimerDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  CATimerRec timer;
  if (!FitsLike(rec, timer)) return CVFDLFamily::AddRec(parent_pos, rec, flag);  // which refuses it
  timer.AssignValue(rec);
  timer.SetID(GetLocalID(GetNewID()));
  return CVFDLFamily::AddRec(parent_pos, timer, flag);
}

std::string CATimerDoc::AddTimer(const CATimerRec& timer, bool flag) {
  return GetRoot() ? AddRec(GetRoot()->GetPos(), timer, flag) : std::string();
}

std::vector<const CATimerRec*> CATimerDoc::GetTimers() const {
  std::vector<const CATimerRec*> timers;
  const CVFDLFolder* root = GetRoot();
  const CVFDLNode* node = root ? root->GetFirstChild() : nullptr;
  // Depth first without recursion: down into a folder, on to the next
  // sibling, and up again when a folder is done.
  while (node != nullptr) {
    if (node->GetNodeType() == kNodeRec) timers.push_back(static_cast<const CATimerRec*>(node));
    const CVFDLNode* below = node->IsFolder() ? static_cast<const CVFDLFolder*>(node)->GetFirstChild() : nullptr;
    if (below != nullptr) {
      node = below;
      continue;
    }
    while (node != nullptr && node->GetNextSibling() == nullptr) {
      node = node->GetParent();
      if (node == root) node = nullptr;
    }
    if (node != nullptr) node = node->GetNextSibling();
  }
  return timers;
}

bool CATimerDoc::InitExtendRecItem(CXMLElementReader& item, CATimerExtendRec& timer) {
  if (!item.HasClosingLine()) return false;
  kLeadFields.Read(item, timer);
  if (item.GetAttrValue("Cycle") == kYes) {
    timer.cyclic = true;
    timer.cycle_rec = std::make_unique<CATimerCycleRec>();
    ReadCycleRec(item, *timer.cycle_rec);
  }
  if (item.GetAttrValue("Map") == kYes) {
    timer.mapped = true;
    kMapFields.Read(item, timer);
  }
  kTailFields.Read(item, timer);
  return true;
}

void CATimerDoc::CreateExtendRecText(const CATimerExtendRec& timer, CXMLLine& line,
                                     std::vector<std::string>& lines) const {
  kLeadFields.Write(timer, line);
  if (timer.cyclic) line.AddAttribute("Cycle", kYes);
  if (timer.mapped) {
    line.AddAttribute("Map", kYes);
    kMapFields.Write(timer, line);
  }
  kTailFields.Write(timer, line);
  if (timer.cyclic && timer.cycle_rec) WriteCycleRec(*timer.cycle_rec, lines);
}

}  // namespace zds

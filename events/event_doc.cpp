#include "zds/events/event_doc.h"

#include "zds/framework/field_codec.h"
#include "zds/platform/time.h"

namespace zds {
namespace {

// Anything but "low" and "high" reads as normal; a priority outside the
// three is not written.
constexpr auto kPriorityWords =
    field::MakeWords(field::kWords.ReadingUnknownAs(kEventPriorityNormal), field::Word{kEventPriorityLow, "low"},
                     field::Word{kEventPriorityNormal, "normal"}, field::Word{kEventPriorityHigh, "high"});

constexpr auto kEventFields = field::List(
    field::Of("newflag", &CAEventExtendRec::new_flag, field::kFlagExact),
    field::Fixed{"module", ""},  // carries nothing
    field::Of("status", &CAEventExtendRec::status, field::kAtoi),
    field::Of("act", &CAEventExtendRec::act),
    field::Of("createtime", &CAEventExtendRec::create_time),
    field::Of("dataid", &CAEventExtendRec::data_id),
    field::Of("priority", &CAEventExtendRec::priority, kPriorityWords));

}  // namespace

std::string_view EventPriorityWord(int priority) { return kPriorityWords.WordOf(priority).value_or(""); }

std::string CAEventDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool /*flag*/) {
  CAEventRec event;
  if (!FitsLike(rec, event)) return CVFDLFamily::AddRec(parent_pos, rec, false);  // which refuses it
  event.AssignValue(rec);
  event.SetID(GetLocalID(GetNewID()));
  event.GetExtendRec().create_time = CTime::GetCurrentTime().Format(kTimeFormatMinutes);
  return CVFDLFamily::AddRec(parent_pos, event, false);
}

bool CAEventDoc::MarkRead(std::string_view pos, bool flag) {
  const CAEventRec* event = GetRec(pos);
  if (event == nullptr) return false;
  CAEventRec read(*event);
  read.GetExtendRec().new_flag = false;
  return UpdateRec(pos, read, flag);
}

bool CAEventDoc::InitExtendRecItem(CXMLElementReader& item, CAEventExtendRec& event) {
  if (!item.HasClosingLine()) return false;
  kEventFields.Read(item, event);
  return true;
}

void CAEventDoc::CreateExtendRecText(const CAEventExtendRec& event, CXMLLine& line,
                                     std::vector<std::string>& /*lines*/) const {
  kEventFields.Write(event, line);
}

}  // namespace zds

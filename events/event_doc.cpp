#include "zds/events/event_doc.h"

#include "zds/platform/time.h"

namespace zds {

std::string_view EventPriorityWord(int priority) { return kEventPriorityWords.WordOf(priority).value_or(""); }

std::string CAEventDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool /*flag*/) {
  return CVFDLFamily::AddRec(parent_pos, rec, false);
}

void CAEventDoc::PrepareNewRec(CAEventRec& event) {
  event.GetExtendRec().create_time = CTime::GetCurrentTime().Format(kTimeFormatMinutes);
}

bool CAEventDoc::MarkRead(std::string_view pos, bool flag) {
  const CAEventRec* event = GetRec(pos);
  if (event == nullptr) return false;
  CAEventRec read(*event);
  read.GetExtendRec().new_flag = false;
  return UpdateRec(pos, read, flag);
}

}  // namespace zds

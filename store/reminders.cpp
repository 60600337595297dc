#include "zds/store/reminders.h"

#include "zds/store/zds.h"

namespace zds::reminders {

std::string Save(std::string_view timer_pos, const std::function<CATimerRec(const CATimerRec* current)>& make) {
  CZDS* facade = CZDS::Getthis();
  if (facade == nullptr) return {};
  if (const CATimerRec* current = facade->GetTimerRec(timer_pos)) {
    return facade->SaveTimer(std::string(timer_pos), make(current));
  }
  return facade->SaveTimer("", make(nullptr));
}

void Drop(const std::string& timer_id) {
  if (CZDS* facade = CZDS::Getthis()) static_cast<void>(facade->DelTimer(timer_id, false));
}

}  // namespace zds::reminders

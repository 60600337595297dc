#include "zds/timers/timer_doc.h"

namespace zds {

std::string_view TimerStateWord(int state) { return kTimerStateWords.WordOf(state).value_or(""); }

int TimerStateOfWord(std::string_view word) { return kTimerStateWords.ValueOf(word).value_or(-1); }

std::string CATimerDoc::AddTimer(const CATimerRec& timer, bool flag) {
  return GetRoot() ? AddRec(GetRoot()->GetPos(), timer, flag) : std::string();
}

}  // namespace zds

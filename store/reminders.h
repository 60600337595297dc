// How a record that owns a reminder (a sticky note, a channel item) keeps
// its timer in step through the facade: the owner stores the timer's id,
// the facade's timer documents hold the timer.

#ifndef ZDS_STORE_REMINDERS_H_
#define ZDS_STORE_REMINDERS_H_

#include <functional>
#include <string>
#include <string_view>

#include "zds/timers/timer_doc.h"

namespace zds::reminders {

// Saves the timer `make` gives over the one at `timer_pos`, handing `make`
// that timer; when it has gone (deleted by hand, its month file lost) the
// reminder is saved as a new timer, so that it stays a reminder. The
// timer's position, empty when it could not be saved or there is no facade.
std::string Save(std::string_view timer_pos, const std::function<CATimerRec(const CATimerRec* current)>& make);

// Deletes a timer no record owns any longer (the owner's fields are the
// caller's to clear); a timer already gone is no failure.
void Drop(const std::string& timer_id);

// The timer id an owner keeps across an update from `before` to `after`
// (fields with `has_timer` and `timer_id`): the old timer saved over, a new
// one, the old one deleted, or none. `save(old_id)` saves the reminder;
// when it fails the owner keeps the old id, which a later update repairs.
template <class Fields, class SaveFn>
std::string Update(const Fields& before, const Fields& after, SaveFn&& save) {
  if (!after.has_timer) {
    if (before.has_timer) Drop(before.timer_id);
    return {};
  }
  const std::string old_id = before.has_timer ? before.timer_id : std::string();
  std::string saved = save(old_id);
  return saved.empty() ? old_id : saved;
}

}  // namespace zds::reminders

#endif  // ZDS_STORE_REMINDERS_H_

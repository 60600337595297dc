// Timer documents (root "ATimer"): reminders, each a record with a subject,
// the moment it is due, a state, the action the agent runs when it fires and
// the record it belongs to; a repeating timer carries its rule as child
// elements, one line each.
//
// CATimerDoc is the document, CATimerRec a timer and CATimerExtendRec the
// timer's own fields. The timer index (timer_index_doc.h) decides which
// document a timer lives in: the month it is due, "Cycle" or "UnActive".

#ifndef ZDS_TIMERS_TIMER_DOC_H_
#define ZDS_TIMERS_TIMER_DOC_H_

#include <optional>
#include <string>
#include <string_view>

#include "zds/framework/family.h"
#include "zds/platform/time.h"
#include "zds/recurrence/cycle_codec.h"
#include "zds/resources/timers_strings.h"
#include "zds/timers/timer_cycle_rec.h"

namespace zds {

// The extension type of a timer record; the facade names an owner's kind by it.
inline constexpr int kTimerRecType = 172;

// CATimerExtendRec::state
inline constexpr int kTimerUnactived = 0;
inline constexpr int kTimerSuspension = 1;
inline constexpr int kTimerActived = 2;

// An unknown state word leaves the state as it was; a state outside the
// three is not written.
inline constexpr auto kTimerStateWords =
    field::MakeWords(field::kWords, field::Word{kTimerUnactived, "unactived"},
                     field::Word{kTimerSuspension, "suspension"}, field::Word{kTimerActived, "actived"});
// "unactived", "suspension", "actived"; empty for any other state.
std::string_view TimerStateWord(int state);
// The state a word names, or -1 for a word that names none.
int TimerStateOfWord(std::string_view word);

class CATimerExtendRec : public CVFDLExtendBase<CATimerExtendRec> {
 public:
  bool operator==(const CATimerExtendRec&) const = default;

  std::string subject;
  std::string action_id;                        // "ActID"
  CTime info_time = CTime::GetCurrentTime();    // "infotime": when it is due
  std::string data_id;                          // "dataid"
  int state = kTimerUnactived;
  bool cyclic = false;                          // "Cycle"
  std::optional<CATimerCycleRec> cycle_rec;     // stored only when cyclic
  bool mapped = false;                          // "Map"
  int map_type = 0;                             // "MapType"
  std::string map_id;                           // "MapID"
};

class CATimerRec : public CVFDLTypedRec<CATimerRec, CATimerExtendRec> {};

// A new timer document is written at once whenever it has a file, with
// auto-save or without (the index names only files that exist), and makes
// its directory; an added timer gets a fresh id of the document (one it
// had elsewhere means nothing here).
class CATimerDoc : public CVFDLFamily<CATimerDoc, CVFDLDoc, CATimerRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CATimerDoc", "ATimer", res::kTimerTemplate, 0, 0, kTimerRecType,
                                       kWrittenWhenCreated | kMakesItsDirectory | kNumbersNewRecs | kWrittenWhole};
  // The flags are "yes" exactly and written only when set; "Cycle" and the
  // map fields go between the others, "ActID" last, the rule's lines after.
  static constexpr auto kRecFields =
      field::List(field::Of("subject", &CATimerExtendRec::subject),
                  field::Of("state", &CATimerExtendRec::state, kTimerStateWords),
                  field::Of("dataid", &CATimerExtendRec::data_id),
                  field::Of("infotime", &CATimerExtendRec::info_time, field::TimeTextCodec{kTimeFormatSeconds}),
                  field::Of("Cycle", &CATimerExtendRec::cyclic, field::kFlagWhenSet),
                  field::Of("Map", &CATimerExtendRec::mapped, field::kFlagWhenSet),
                  field::When(&CATimerExtendRec::mapped, field::Of("MapID", &CATimerExtendRec::map_id),
                              field::Of("MapType", &CATimerExtendRec::map_type, field::kAtoi)),
                  field::Of("ActID", &CATimerExtendRec::action_id),
                  field::When(&CATimerExtendRec::cyclic, CycleRuleLines(&CATimerExtendRec::cycle_rec)))
          .RequiringClosingLine();

  // AddRec under the root folder, where every timer is filed.
  [[nodiscard]] std::string AddTimer(const CATimerRec& timer, bool flag);
};

}  // namespace zds

#endif  // ZDS_TIMERS_TIMER_DOC_H_

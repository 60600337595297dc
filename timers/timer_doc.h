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

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/platform/time.h"
#include "zds/resources/timers_strings.h"
#include "zds/timers/timer_cycle_rec.h"

namespace zds {

// CATimerExtendRec::state
inline constexpr int kTimerUnactived = 0;
inline constexpr int kTimerSuspension = 1;
inline constexpr int kTimerActived = 2;

// "unactived", "suspension", "actived"; empty for any other state.
std::string_view TimerStateWord(int state);
// The state a word names, or -1 for a word that names none.
int TimerStateOfWord(std::string_view word);

class CATimerExtendRec : public CVFDLExtendBase<CATimerExtendRec> {
 public:
  CATimerExtendRec() = default;
  CATimerExtendRec(const CATimerExtendRec& other);
  CATimerExtendRec& operator=(const CATimerExtendRec& other);
  CATimerExtendRec(CATimerExtendRec&&) noexcept = default;
  CATimerExtendRec& operator=(CATimerExtendRec&&) noexcept = default;
  ~CATimerExtendRec() override = default;

  // Every field; two rules compare as rules do, and a missing rule equals
  // only a missing rule.
  bool operator==(const CATimerExtendRec& other) const;

  std::string subject;
  std::string action_id;                        // "ActID"
  CTime info_time = CTime::GetCurrentTime();    // "infotime": when it is due
  std::string data_id;                          // "dataid"
  int state = kTimerUnactived;
  bool cyclic = false;                          // "Cycle"
  std::unique_ptr<CATimerCycleRec> cycle_rec;   // stored only when cyclic
  bool mapped = false;                          // "Map"
  int map_type = 0;                             // "MapType"
  std::string map_id;                           // "MapID"
};

class CATimerRec : public CVFDLTypedRec<CATimerRec, CATimerExtendRec> {};

class CATimerDoc : public CVFDLFamily<CATimerDoc, CVFDLDoc, CATimerRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CATimerDoc", "ATimer", res::kTimerTemplate, 0, 0, 172};

  // A new timer document is written at once whenever it has a file, with
  // auto-save or without: the index names only files that exist.
  [[nodiscard]] bool NewXMLDoc(std::string_view path) override;
  // Gives the timer a fresh id of this document (one it had elsewhere
  // means nothing here).
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  // AddRec under the root folder, where every timer is filed.
  [[nodiscard]] std::string AddTimer(const CATimerRec& timer, bool flag);

  // Every timer of the document in record order (depth first).
  std::vector<const CATimerRec*> GetTimers() const;

 protected:
  bool InitExtendRecItem(CXMLElementReader& item, CATimerExtendRec& timer) override;
  void CreateExtendRecText(const CATimerExtendRec& timer, CXMLLine& line,
                           std::vector<std::string>& lines) const override;
};

}  // namespace zds

#endif  // ZDS_TIMERS_TIMER_DOC_H_

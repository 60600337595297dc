// Helpers for the timer tests: timers from a few fields, and a timer index
// in "\timer" of a fresh data root, opened as the facade opens it.

#ifndef ZDS_TESTS_TIMERS_TIMER_TESTING_H_
#define ZDS_TESTS_TIMERS_TIMER_TESTING_H_

#include <memory>
#include <string>

#include "zds/recurrence/cycle_format.h"
#include "zds/timers/classes.h"
#include "zds/timers/timer_index_doc.h"
#include "support/temp_root.h"

namespace zds::timer_testing {

inline CTime At(const char* text) { return ParseDateTime(text); }

inline CATimerRec MakeTimer(const std::string& subject, const char* due, int state = kTimerActived) {
  CATimerRec timer;
  timer.SetAlias(subject);
  std::tie(timer.GetExtendRec().subject, timer.GetExtendRec().info_time, timer.GetExtendRec().state) =
      std::tuple(subject, At(due), state);
  return timer;
}

// A repeating timer from its rule's stored values.
inline CATimerRec MakeCyclic(const std::string& subject, const char* type, const char* event, const char* range,
                             int state = kTimerActived) {
  CATimerRec timer = MakeTimer(subject, "2004-01-01 00:00:00", state);
  timer.GetExtendRec().cyclic = true;
  CATimerCycleRec& rule = timer.GetExtendRec().cycle_rec.emplace();
  CCycleFormat::AnalyseCycleType(type, rule.cycle_type);
  CCycleFormat::AnalyseCycleEvent(event, rule.cycle_event);
  CCycleFormat::AnalyseCycleRange(range, rule.cycle_range);
  return timer;
}

class IndexFixture {
 public:
  IndexFixture() { RegisterTimerClasses(registry_); }
  std::unique_ptr<CATimerIndexDoc> Open(bool create = true) const {
    auto index = std::make_unique<CATimerIndexDoc>();
    index->SetDataRoot(temp_.root());
    index->SetAutoSaveFlag(true);
    index->SetClassRegistry(&registry_);
    temp_.root()->CreateDirectories("\\timer");
    return IsOpen(OpenVFDLDoc(*index, "\\timer\\index.xml", "\\timer", create)) ? std::move(index) : nullptr;
  }
  const test::TempRoot& temp() const { return temp_; }

 private:
  test::TempRoot temp_;
  CRTTIRegistry registry_;
};

}  // namespace zds::timer_testing

#endif  // ZDS_TESTS_TIMERS_TIMER_TESTING_H_

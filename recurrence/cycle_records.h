// The four value records of a recurrence rule and the owned list of maps.
//
// A recurring entry stores how often it recurs (CCycleType), on which day of
// each period (CCycleEvent), from when until when (CCycleRange), and one
// CCycleMap per occurrence the user has touched. The integer fields keep
// whatever a stored file held, so code reading them must cope with values
// outside the named kinds below.

#ifndef ZDS_RECURRENCE_CYCLE_RECORDS_H_
#define ZDS_RECURRENCE_CYCLE_RECORDS_H_

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "zds/platform/time.h"

namespace zds {

// CCycleType::type
inline constexpr int kCycleDay = 0;
inline constexpr int kCycleWeek = 1;
inline constexpr int kCycleMonth = 2;
inline constexpr int kCycleYear = 3;
inline constexpr int kCycleSelfDefined = 4;

// CCycleEvent::type
inline constexpr int kEventSequence = 0;
inline constexpr int kEventAbsoluteDay = 1;
inline constexpr int kEventAbsoluteWeek = 2;

// CCycleRange::type
inline constexpr int kRangeNotStop = 0;
inline constexpr int kRangeNumLimited = 1;
inline constexpr int kRangeTimeLimited = 2;

// CCycleMap::status
inline constexpr int kMapVirtual = 0;
inline constexpr int kMapReal = 1;
inline constexpr int kMapDelete = 2;

// How often: every `multiple` days, weeks, months or years.
class CCycleType {
 public:
  bool operator==(const CCycleType&) const = default;

  int type = kCycleDay;
  int multiple = 1;
  int workday = 0;  // day rules only: non-zero means Monday to Friday
  int length = 1;   // kept for the stored format; the expansion ignores it
  CTime from;
};

// On which day of a period, and at which time of day for how long.
class CCycleEvent {
 public:
  bool operator==(const CCycleEvent&) const = default;

  // 1 when this is a sequence event and mask character `index` is '1'.
  int IsEventDay(const int& index) const;
  // Sets mask character `index` of a sequence event; 0 for other events and
  // for an index outside the mask, which is never lengthened.
  int SetEventDay(const int& index, bool on);

  int type = kEventSequence;
  std::string number = "1";  // day mask; for weeks index 0 is Sunday
  int day1 = 0, day2 = 0, day3 = 0;  // absolute_day; day2 month, day3 day of month
  int week1 = 0, week2 = 0, week3 = 0;
  CTime from;  // gives every occurrence its time of day ...
  CTime to;    // ... and, as to - from, its duration
};

// From when and until when.
class CCycleRange {
 public:
  bool operator==(const CCycleRange&) const = default;

  int type = kRangeNotStop;
  CTime from;
  CTime to;        // timelimited
  int number = 0;  // numlimited: count of occurrences
};

// One occurrence that differs from the plain rule.
class CCycleMap {
 public:
  bool operator==(const CCycleMap&) const = default;

  int number = 0;
  int status = kMapVirtual;
  CTime from;
  CTime to;
  std::string event;  // id of the entry standing for this occurrence
};

// The maps of a rule, owned one by one so that a pointer handed out stays
// valid while others are added; copies are deep, equality is by value and
// in order.
class CCycleMapList {
 public:
  CCycleMapList() = default;
  CCycleMapList(const CCycleMapList& other);
  CCycleMapList& operator=(const CCycleMapList& other);
  CCycleMapList(CCycleMapList&&) noexcept = default;
  CCycleMapList& operator=(CCycleMapList&&) noexcept = default;
  ~CCycleMapList() = default;

  bool operator==(const CCycleMapList& other) const;

  CCycleMap& Add(const CCycleMap& map);
  void RemoveAt(size_t index);
  void Clear() { maps_.clear(); }

  size_t size() const { return maps_.size(); }
  bool empty() const { return maps_.empty(); }
  const CCycleMap& operator[](size_t index) const { return *maps_[index]; }
  CCycleMap& operator[](size_t index) { return *maps_[index]; }

  // The first map with this occurrence number, or null.
  const CCycleMap* FindByNumber(int number) const;
  CCycleMap* FindByNumber(int number);

 private:
  std::vector<std::unique_ptr<CCycleMap>> maps_;
};

}  // namespace zds

#endif  // ZDS_RECURRENCE_CYCLE_RECORDS_H_

// CScheCycleRec: the recurrence of a recurring schedule entry.
//
// It holds the entry's rule records and touched occurrences (maps) and
// answers where occurrence n lies, which occurrence holds a moment, whether
// an occurrence falls on a day or in a span, and how far an occurrence may
// be moved. Occurrences are numbered from 0; a map numbered n stands in for
// occurrence n wherever maps are used.

#ifndef ZDS_RECURRENCE_SCHE_CYCLE_REC_H_
#define ZDS_RECURRENCE_SCHE_CYCLE_REC_H_

#include <string>

#include "zds/recurrence/cycle_arithmetic.h"
#include "zds/recurrence/cycle_records.h"
#include "zds/recurrence/cycle_rule.h"

namespace zds {

class CScheCycleRec : public CCycleRuleRecords {
 public:
  bool operator==(const CScheCycleRec&) const = default;

  // Occurrence `number`: a map with that number when `use_maps`, else the
  // rule's. For kinds the rule does not expand, `begin` and `end` keep the
  // values passed in. Public, unlike in the entry's own use, because
  // `zds cycle range` shows single occurrences.
  bool GetMapRange(const int& number, CTime& begin, CTime& end, bool use_maps) const;
  // The occurrence whose span holds `time`, or -1; answered directly, with
  // the answer of walking the occurrences from 0 (see cycle_search.h).
  int GetMapNumByTime(const CTime& time, bool use_maps) const;
  // The span occurrence `number` may occupy without passing its neighbours.
  // Public too, so that a view moving an occurrence can show that span.
  bool GetMapMaxRange(const int& number, CTime& lower, CTime& upper) const;
  bool IsMapRangeSetOK(const int& number, const CTime& begin, const CTime& end) const;

  CCycleMap* GetMapInfoByID(const std::string& id);
  // The first map holding `time`; when none holds it, the last map.
  CCycleMap* GetMapInfoByTime(const CTime& time);

  // Whether an occurrence falls in [begin, end], or on the day from `begin`
  // when `end` is the time 0. Moves the range's start (and a "timelimited"
  // end) to midnight in this object, as stored entries expect.
  bool IsMapExisted(const CTime& begin, const CTime& end);

 private:
  CycleRule Rule() const { return RuleIn(CycleStyle::kSchedule); }
  bool DayExists(CTime lower, CTime upper) const;
  bool WeekExists(CTime lower, CTime upper) const;

  // The count of a "numlimited" weekly rule, used up from the range's start
  // event day by event day, with a weekday index that runs on by itself.
  // Skipped weeks (multiple above 1) use up the count too, so such rules
  // end early; stored rules end there. Candidates must come in ascending
  // order: one walk then serves them all.
  class WeekCount {
   public:
    explicit WeekCount(const CScheCycleRec& rec);
    // Whether the walk meets `candidate` on a counted event day.
    bool Reaches(CTime candidate);

   private:
    const CCycleEvent& event_;
    int64_t left_;
    CTime day_;
    int weekday_;
    bool counted_ = false;    // day_ is an event day already counted
    bool exhausted_ = false;  // the count ran out before a candidate
  };
  bool MonthExists(CTime lower, CTime upper) const;
  bool YearExists(CTime lower, CTime upper) const;
};

}  // namespace zds

#endif  // ZDS_RECURRENCE_SCHE_CYCLE_REC_H_

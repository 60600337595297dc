#include "zds/calendar/schedule_doc.h"

#include "zds/calendar/schedule_occurrences.h"

namespace zds {
namespace {

// The local days from one moment's date to another's, bounded by the
// first moment of the first day and the first moment after the last.
class LocalDays {
 public:
  LocalDays(const CTime& first_day, const CTime& last_day)
      : first_(DayStart(first_day, 0)), after_(DayStart(last_day, 1)) {}
  // Whether the entry begins on or before the last day and ends on or after the first.
  bool Touch(const CScheduleExtendRec& entry) const { return entry.begin < after_ && entry.end >= first_; }

 private:
  static CTime DayStart(const CTime& time, int days_on) {
    std::tm fields = time.GetLocalTm();
    return CTime::FromLocalFields(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday + days_on, 0, 0, 0);
  }
  CTime first_, after_;
};

}  // namespace

std::string_view SchedulePriorityWord(int priority) { return kSchedulePriorityWords.WordOf(priority).value_or(""); }

// ---- queries ----

int CScheduleDoc::GetRecIDByDate(std::vector<std::string>& ids, int day_from, int day_to) const {
  if (day_to == 0) day_to = day_from;
  size_t before = ids.size();
  for (const CScheduleRec& rec : Recs()) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    if (entry.map) continue;
    if (entry.begin.GetDay() <= day_to && entry.end.GetDay() >= day_from) ids.push_back(rec.GetPos());
  }
  return static_cast<int>(ids.size() - before);
}

int CScheduleDoc::GetCycleRecIDByDate(std::vector<std::string>& ids, const CTime& from, const CTime& to,
                                      bool flag) const {
  size_t before = ids.size();
  LocalDays days(from, to.GetTime() == 0 ? from : to);
  for (const CScheduleRec& rec : Recs()) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    bool found = entry.cycle ? OccursInSpan(entry.cycle_rec, from, to) : flag && !entry.map && days.Touch(entry);
    if (found) ids.push_back(rec.GetPos());
  }
  return static_cast<int>(ids.size() - before);
}

int CScheduleDoc::GetBigRecIDByDate(std::vector<std::string>& ids, const CTime& from, const CTime& to) const {
  size_t before = ids.size();
  LocalDays days(from, to);
  for (const CScheduleRec& rec : Recs()) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    if (!entry.map && days.Touch(entry)) ids.push_back(rec.GetPos());
  }
  return static_cast<int>(ids.size() - before);
}

}  // namespace zds

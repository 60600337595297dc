// The schedule: the user's appointments, kept in documents of one kind
// (CScheduleDoc) under the schedule index. Same-day entries live in one
// document per month, recurring entries in the cycle document and entries
// over several days in the whole document; each document answers which of
// its entries touch a span of days.
//
// CScheduleRec is an entry and CScheduleExtendRec its fields. A recurring
// entry keeps its rule in a CScheCycleRec, stored as the record's
// "cycle_type", "cycle_event", "cycle_range" and "cycle_map" variables.

#ifndef ZDS_CALENDAR_SCHEDULE_DOC_H_
#define ZDS_CALENDAR_SCHEDULE_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/platform/time.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/resources/calendar_strings.h"

namespace zds {

inline constexpr int kSchedulePriorityLow = 1;
inline constexpr int kSchedulePriorityNormal = 2;
inline constexpr int kSchedulePriorityHigh = 3;
// The extension type of a schedule entry; timers name their owner's kind by it.
inline constexpr int kScheduleRecType = 120;

// "low", "normal", "high"; empty for any other priority.
std::string_view SchedulePriorityWord(int priority);

// A "variable" child of an entry other than the four of its rule.
class CScheduleVarRec : public CVFVarRec {
 public:
  std::string unknown_attributes;  // in stored spelling, written back unchanged
  bool operator==(const CScheduleVarRec&) const = default;
};

class CScheduleExtendRec : public CVFDLExtendBase<CScheduleExtendRec> {
 public:
  bool operator==(const CScheduleExtendRec&) const = default;

  std::string subject;
  CTime begin;
  CTime end;
  bool all_day = false;  // "begin" and "end" are kept as dates
  std::string contact;
  int priority = kSchedulePriorityNormal;
  bool cycle = false;  // recurs by `cycle_rec`
  bool map = false;    // stands for one touched occurrence of a recurring entry
  std::string map_id;  // that entry's id
  int map_type = 0;
  bool is_timer = false;
  std::string timer_id;
  int set_minutes = 0;
  std::string timer_act_id;
  std::vector<CScheduleVarRec> variables;
  CScheCycleRec cycle_rec;
};

class CScheduleRec : public CVFDLTypedRec<CScheduleRec, CScheduleExtendRec> {};

class CScheduleDoc : public CVFDLFamily<CScheduleDoc, CVFDLDoc, CScheduleRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CScheduleDoc", "schedule", res::kScheduleTemplate, 0, 0, kScheduleRecType};

  // The queries below append the positions of the matching entries to
  // `ids` (positions, unlike local ids, are unique across the documents of
  // one schedule) and return how many they appended.

  // A month document: entries whose begin day of the month is not after
  // `day_to` (`day_from` when 0) and whose end day is not before
  // `day_from`. Entries that stand for a touched occurrence are left out:
  // their recurring entry answers for them.
  int GetRecIDByDate(std::vector<std::string>& ids, int day_from, int day_to) const;
  // The cycle document: recurring entries with an occurrence in [from, to]
  // (`to` the time 0: the day from `from`), by the rule's occurrence test.
  // With `flag` an entry here that does not recur (an entry changed in
  // place) is matched by its own days, as in the whole document.
  int GetCycleRecIDByDate(std::vector<std::string>& ids, const CTime& from, const CTime& to, bool flag) const;
  // The whole document: entries that touch the days of [from, to]; those
  // that stand for a touched occurrence are left out.
  int GetBigRecIDByDate(std::vector<std::string>& ids, const CTime& from, const CTime& to) const;

  // Calls `visit` for every entry of the document, depth first.
  template <typename Visit>
  void ForEachRec(Visit visit) const;

 protected:
  bool InitExtendRecItem(CXMLElementReader& item, CScheduleExtendRec& entry) override;
  void CreateExtendRecText(const CScheduleExtendRec& entry, CXMLLine& line,
                           std::vector<std::string>& lines) const override;
};

template <typename Visit>
void CScheduleDoc::ForEachRec(Visit visit) const {
  if (GetRoot() == nullptr) return;
  std::vector<const CVFDLNode*> pending{GetRoot()};
  while (!pending.empty()) {
    const CVFDLNode* node = pending.back();
    pending.pop_back();
    if (node->GetNodeType() == kNodeRec) visit(static_cast<const CScheduleRec&>(*node));
    if (!node->IsFolder()) continue;
    for (const CVFDLNode* child = static_cast<const CVFDLFolder*>(node)->GetLastChild(); child;
         child = child->GetPrevSibling()) {
      pending.push_back(child);
    }
  }
}

}  // namespace zds

#endif  // ZDS_CALENDAR_SCHEDULE_DOC_H_

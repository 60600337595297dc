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
#include "zds/framework/field_lines.h"
#include "zds/platform/time.h"
#include "zds/recurrence/cycle_codec.h"
#include "zds/recurrence/sche_cycle_rec.h"
#include "zds/resources/calendar_strings.h"

namespace zds {

inline constexpr int kSchedulePriorityLow = 1;
inline constexpr int kSchedulePriorityNormal = 2;
inline constexpr int kSchedulePriorityHigh = 3;
// The extension type of a schedule entry; timers name their owner's kind by it.
inline constexpr int kScheduleRecType = 120;

// Anything but "low" and "high" (their case included) reads as normal; a
// priority outside the three is not written.
inline constexpr auto kSchedulePriorityWords = field::MakeWords(
    field::kWords.ReadingUnknownAs(kSchedulePriorityNormal), field::Word{kSchedulePriorityLow, "low"},
    field::Word{kSchedulePriorityNormal, "normal"}, field::Word{kSchedulePriorityHigh, "high"});
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

// An entry is all-day when its stored "begin" holds no blank; its times
// are then written as dates. Text that does not parse reads as the time 0;
// the entry is kept.
inline constexpr auto kScheduleAllDay =
    field::TimeChosenBy(&CScheduleExtendRec::all_day, kTimeFormatDate, kTimeFormatMinutes);

class CScheduleDoc : public CVFDLFamily<CScheduleDoc, CVFDLDoc, CScheduleRec> {
 public:
  // Makes its directory when it saves: the index files new months there.
  static constexpr CFamilyInfo kFamily{"CScheduleDoc", "schedule", res::kScheduleTemplate, 0,
                                       0,             kScheduleRecType, kMakesItsDirectory};
  // Flags are "yes" exactly; the map fields only for a mapped entry, the
  // timer's only with a reminder; the rule after the other variables.
  static constexpr auto kVariableFields =
      field::List(field::Of("name", &CScheduleVarRec::name), field::Of("value", &CScheduleVarRec::value));
  static constexpr auto kRecFields = field::List(
      field::Of("subject", &CScheduleExtendRec::subject),
      field::Of("begin", &CScheduleExtendRec::begin, kScheduleAllDay.Decides()),
      field::Of("end", &CScheduleExtendRec::end, kScheduleAllDay),
      field::Of("contact", &CScheduleExtendRec::contact),
      field::Of("priority", &CScheduleExtendRec::priority, kSchedulePriorityWords),
      field::Of("Cycle", &CScheduleExtendRec::cycle, field::kFlagExact),
      field::Of("Map", &CScheduleExtendRec::map, field::kFlagExact),
      field::When(&CScheduleExtendRec::map, field::Of("MapID", &CScheduleExtendRec::map_id),
                  field::Of("MapType", &CScheduleExtendRec::map_type, field::kAtoi)),
      field::Of("IsTimer", &CScheduleExtendRec::is_timer, field::kFlagExact),
      field::When(&CScheduleExtendRec::is_timer, field::Of("TimerID", &CScheduleExtendRec::timer_id)),
      field::Of("SetMinutes", &CScheduleExtendRec::set_minutes, field::kAtoi),
      field::Of("TimerActID", &CScheduleExtendRec::timer_act_id),
      field::ChildLines("variable", &CScheduleExtendRec::variables, kVariableFields)
          .KeepingUnreadIn(&CScheduleVarRec::unknown_attributes),
      field::When(&CScheduleExtendRec::cycle, CycleRuleAmongVariables("variable", &CScheduleExtendRec::variables,
                                                                       &CScheduleExtendRec::cycle_rec)));

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
};

}  // namespace zds

#endif  // ZDS_CALENDAR_SCHEDULE_DOC_H_

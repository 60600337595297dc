// CScheduleIndexDoc: the schedule index. Its folders stand for the schedule
// documents in its directory: one per month with entries ("200405.xml",
// alias "2004-05"), the cycle document of recurring entries ("\cycle.xml",
// alias "Cycle") and the whole document of entries over several days
// ("\whole.xml", alias "Whole"). It files each entry in the right document
// and answers which entries touch a span of days.
//
// The index owns the documents it opens: one it hands out is valid as
// casd_vfdl_doc.h says, the entries in it as "Lifetimes" in vfdl_doc.h says.
//
// Two kinds of question: GetRecIDByDate asks every month of the span and
// creates the month documents it lacks, as the schedule always has; the
// agenda (GetAgenda) is a read, which opens only the month documents of the
// span that exist and lists each occurrence with its own begin and end.

#ifndef ZDS_CALENDAR_SCHEDULE_INDEX_DOC_H_
#define ZDS_CALENDAR_SCHEDULE_INDEX_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/calendar/schedule_doc.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/platform/window.h"
#include "zds/resources/calendar_strings.h"

namespace zds {

// Local midnight of a day written "YYYY-MM-DD"; false for any other text or
// an impossible date.
bool ParseScheduleDay(std::string_view text, CTime& midnight);

// One line of an agenda.
struct CScheduleAgendaItem {
  CTime begin;
  CTime end;
  bool all_day = false;
  std::string subject;
  std::string pos;      // the entry's position; a recurring entry's for each of its occurrences
  int occurrence = -1;  // the occurrence's number; -1 for an entry that does not recur
  bool operator==(const CScheduleAgendaItem&) const = default;
};

// Makes its directory when it saves.
class CScheduleIndexDoc : public CVFDLFamily<CScheduleIndexDoc, CCASDVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CScheduleIndexDoc", "SIC", res::kScheduleIndexTemplate, 0, 0, 0,
                                       kMakesItsDirectory};

  // The document that must hold the entry: the cycle document for a
  // recurring entry, the month document of its begin for one that begins
  // and ends on the same local day, else the whole document. Created when
  // missing; null when that fails.
  CScheduleDoc* GetRightDoc(const CScheduleRec& rec, platform::WindowHandle window = nullptr);
  // The month document of a date text that begins "YYYY-MM": created with
  // its folder when missing, and then the folder is announced to `window`
  // (message 1874, added). Null for a text shorter than seven characters,
  // without "-" at index 4 or without digits for year and month 01-12, and
  // when the document cannot be opened or created; a damaged file is left
  // as it is.
  CScheduleDoc* GetCurrentDoc(std::string_view date, platform::WindowHandle window = nullptr);
  CScheduleDoc* GetCycleDoc();
  CScheduleDoc* GetWholeDoc();

  // Appends the positions of the entries that touch the days from `from`
  // to `to` ("YYYY-MM-DD"; empty `to`: `from`): the month documents of the
  // span in order, then the cycle and the whole document, each created when
  // missing; a month that cannot be opened is passed over. Returns how
  // many it appended; 0 for malformed days or a `to` before `from`.
  int GetRecIDByDate(std::vector<std::string>& ids, std::string_view from, std::string_view to);

  // The occurrences that touch the days from `from` to `to`, sorted by
  // begin, end, subject and position: stored entries as they are,
  // recurring entries occurrence by occurrence, entries that stand for a
  // touched occurrence left to their recurring entry. Creates nothing and
  // opens only the documents of the span that exist. False for malformed
  // days or a `to` before `from`.
  bool GetAgenda(std::string_view from, std::string_view to, std::vector<CScheduleAgendaItem>& items);

  // The entry at a position anywhere in the schedule, opening (never
  // creating) the one document that holds it; `doc` receives that document.
  CScheduleRec* FindRec(std::string_view pos, CScheduleDoc** doc = nullptr);

 private:
  CVFDLFolder* FindDocFolder(std::string_view alias, std::string_view src);
  // The document behind the folder for `src`; with `create` the folder and
  // the file are made when missing.
  CScheduleDoc* OpenDoc(std::string_view alias, std::string_view src, bool create,
                        platform::WindowHandle window = nullptr);
  void CollectAgenda(const CScheduleDoc& doc, CTime first, CTime last,
                     std::vector<CScheduleAgendaItem>& items) const;
};

}  // namespace zds

#endif  // ZDS_CALENDAR_SCHEDULE_INDEX_DOC_H_

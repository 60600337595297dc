// The timer index (root "TIC", "kov:\Timer Index"): lists the timer
// documents and says which one a timer belongs in. Repeating timers live in
// "Cycle", timers that are not active in "UnActive", and active one-shot
// timers in the document of the month they are due ("YYYYMM.xml" beside the
// index, under a year folder and a month record made on first use), so the
// timers due in a span are found by opening the span's months alone.
//
// Every timer has a position under the index ("kov:\Timer Index\0004\0001":
// the document's node, then the timer), which GetTimerDoc resolves. The
// index opens its documents through the class registry it is given, and
// owns them: a document it hands out is valid as casd_vfdl_doc.h says,
// the timers in it as "Lifetimes" in vfdl_doc.h says.

#ifndef ZDS_TIMERS_TIMER_INDEX_DOC_H_
#define ZDS_TIMERS_TIMER_INDEX_DOC_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/platform/time.h"
#include "zds/platform/window.h"
#include "zds/resources/timers_strings.h"
#include "zds/timers/timer_doc.h"

namespace zds {

// A timer due in a span of time.
struct CATimerDue {
  CTime time;           // a one-shot timer's "infotime", an occurrence's begin
  std::string pos;      // the timer's position
  std::string subject;
  std::string action_id;
  int occurrence = -1;  // the occurrence of a repeating timer; -1 for a one-shot
  bool operator==(const CATimerDue&) const = default;
};

// Written at once whenever it has a file, as a timer document is. Each
// year folder and month record it makes is announced to the caller's
// window (the new node, 0) with WM_ZDS_TIMER_CHANGED.
class CATimerIndexDoc : public CVFDLFamily<CATimerIndexDoc, CCASDVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CATimerIndexDoc", "TIC", res::kTimerIndexTemplate, 0, 0, 0,
                                       kWrittenWhenCreated | kWrittenWhole};

  // The two fixed documents, created when their file is missing; null when
  // the folder is gone or its file cannot be used.
  CATimerDoc* GetCycleDoc();
  CATimerDoc* GetUnActiveDoc();
  // The document of the month of `date` ("YYYY-MM", any text may follow),
  // its year folder, month record and file made when missing and each new
  // node announced to `window` (none when it is null). Null, making
  // nothing, for a text of another shape or a month outside 01-12.
  CATimerDoc* GetCurrentDoc(std::string_view date, platform::WindowHandle window);
  // The document a timer belongs in: "Cycle" when it repeats, whatever its
  // state; else its due month's when it is active; else "UnActive".
  CATimerDoc* GetRightDoc(const CATimerRec& timer, platform::WindowHandle window = nullptr);
  // Makes sure the current month's document exists; the step that follows
  // opening the index at start-up.
  bool AdjustByDate(platform::WindowHandle window = nullptr);

  // The timers of the document behind the index node at `pos_or_path`,
  // appended in record order; valid while the document stays open and
  // they stay in it (CCASDVFDLDoc and "Lifetimes" in vfdl_doc.h).
  // False when the node names no document or its file cannot be used.
  bool GetBrowseRec(std::string_view pos_or_path, std::vector<const CATimerRec*>& list);
  // The document holding the timer at `timer_pos`, opened when needed;
  // null when there is no such timer.
  CATimerDoc* GetTimerDoc(std::string_view timer_pos);
  // The nodes standing for timer documents: "Cycle", "UnActive", then the
  // months as the index lists them.
  std::vector<const CVFDLNode*> GetTimerDocNodes() const;
  // The timer document behind one of those nodes; null when the node names
  // none, or its file is missing (and not to be created) or unusable.
  CATimerDoc* OpenTimerDoc(const CVFDLNode& node, bool create = false);

  // Everything due in [from, to), by time, then position, then occurrence:
  // the active one-shot timers of the span's months (no other month
  // document is opened, and none is created) and the occurrences of the
  // active repeating timers of "Cycle". Suspended and inactive timers are
  // not due. A document whose file exists but cannot be used yields
  // nothing; its stored path is added to `unusable` when given.
  std::vector<CATimerDue> GetDueTimers(const CTime& from, const CTime& to,
                                       std::vector<std::string>* unusable = nullptr);

  // Adding a month record makes its file's directory; deleting one deletes
  // its file.
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool DelRec(std::string_view pos) override;

 private:
  CVFDLFolder* FindFolder(std::string_view alias) const;
  template <typename Visit>
  void ForEachMonth(const Visit& visit) const;
  CATimerDoc* GetFixedDoc(std::string_view alias);
  // The month record of `year` and `month`, made (with its year folder and
  // file) when missing; null when an edit fails.
  CVFDLNode* EnsureMonthRec(int year, int month, platform::WindowHandle window);
  CVFDLFolder* EnsureYearFolder(std::string_view alias, platform::WindowHandle window);
  // Adds the file behind `node` to `unusable` when it exists: failing to
  // open it then means it is damaged, not merely absent.
  void NoteUnusable(const CVFDLNode& node, std::vector<std::string>* unusable) const;
  void CollectOneShots(const CTime& from, const CTime& to, std::vector<CATimerDue>& due,
                       std::vector<std::string>* unusable);
  void CollectRepeating(const CTime& from, const CTime& to, std::vector<CATimerDue>& due,
                        std::vector<std::string>* unusable);
};

}  // namespace zds

#endif  // ZDS_TIMERS_TIMER_INDEX_DOC_H_

// Sticky notes ("\anote.xml", root "ANote"): small desktop notes, each with
// a subject, its window's rectangle and flags, a priority, a creation time
// and, optionally, a reminder.
//
// CANoteDoc is the document, CANoteRec a note and CANoteExtendRec the
// note's own fields. A note with a reminder owns a timer: adding, updating
// and deleting the note adds, updates and deletes that timer through the
// facade (CZDS::SaveTimer, CZDS::DelTimer), and the note keeps the timer's
// position in "TimerID". The timer is a convenience of the note: a timer
// call that fails never stops the note's own edit.
//
// A note's text is a file of its own beside the document, named by the
// note's id ("\0003.txt" beside "\anote.xml"); it goes with the note.

#ifndef ZDS_NOTES_NOTE_DOC_H_
#define ZDS_NOTES_NOTE_DOC_H_

#include <string>
#include <string_view>

#include "zds/framework/family.h"
#include "zds/notes/extend_types.h"
#include "zds/resources/notes_strings.h"
#include "zds/timers/timer_doc.h"

namespace zds {

inline constexpr int kNotePriorityLow = 1;
inline constexpr int kNotePriorityNormal = 2;
inline constexpr int kNotePriorityHigh = 3;

// "normal" and "high" exactly; any other word, "low" included, reads as
// low, and any other value is written "low".
inline constexpr auto kNotePriorityWords =
    field::MakeWords(field::kWords.ReadingUnknownAs(kNotePriorityLow).WritingUnknownAs("low"),
                     field::Word{kNotePriorityLow, "low"}, field::Word{kNotePriorityNormal, "normal"},
                     field::Word{kNotePriorityHigh, "high"});

class CANoteExtendRec : public CVFDLExtendBase<CANoteExtendRec> {
 public:
  bool operator==(const CANoteExtendRec&) const = default;

  std::string subject;
  bool visible = false;
  bool topmost = false;
  bool read_only = false;                  // "readonly"
  field::IntRect position{};               // left, top, right, bottom in screen pixels
  int priority = kNotePriorityNormal;
  std::string create_time;                 // "createtime", as the caller wrote it
  bool has_timer = false;                  // "IsTimer"
  std::string timer_id;                    // "TimerID": the reminder timer's position
  std::string set_time;                    // "SetTime": when the reminder is due, as text
  std::string timer_act_id;                // "TimerActID": becomes the timer's "ActID"
};

class CANoteRec : public CVFDLTypedRec<CANoteRec, CANoteExtendRec> {};

// An added note gets a fresh id of the document: its reminder's timer
// names the note by the position it is about to receive.
class CANoteDoc : public CVFDLFamily<CANoteDoc, CVFDLDoc, CANoteRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CANoteDoc", "ANote", res::kNoteTemplate, 0, 0, kNoteRecType,
                                       kNumbersNewRecs};
  // The window flags are "yes" in any case, "IsTimer" "yes" exactly; the
  // timer's three fields are written only while the note has one (and read
  // whatever it says).
  static constexpr auto kRecFields =
      field::List(field::Of("visible", &CANoteExtendRec::visible, field::kFlagNoCase),
                  field::Of("topmost", &CANoteExtendRec::topmost, field::kFlagNoCase),
                  field::Of("readonly", &CANoteExtendRec::read_only, field::kFlagNoCase),
                  field::Of("position", &CANoteExtendRec::position, field::kRect),
                  field::Of("priority", &CANoteExtendRec::priority, kNotePriorityWords),
                  field::Of("subject", &CANoteExtendRec::subject),
                  field::Of("createtime", &CANoteExtendRec::create_time),
                  field::Of("IsTimer", &CANoteExtendRec::has_timer, field::kFlagExact),
                  field::WrittenWhen(&CANoteExtendRec::has_timer, field::Of("TimerID", &CANoteExtendRec::timer_id),
                                     field::Of("SetTime", &CANoteExtendRec::set_time),
                                     field::Of("TimerActID", &CANoteExtendRec::timer_act_id)))
          .RequiringClosingLine();

  // The edits, with the reminder kept in step (a failed timer call leaves
  // the note's "TimerID" empty, or as it was, and the edit goes on):
  // - adding a note with a reminder saves a new timer and stores its position;
  // - updating: a reminder kept is saved over its timer (a timer that has
  //   gone is made anew), one turned off deletes its timer, one turned on
  //   saves a new timer; "TimerID" is always the timer's, never the caller's;
  // - deleting deletes the timer, the note and then the note's text file.
  [[nodiscard]] std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) override;
  [[nodiscard]] bool DelRec(std::string_view pos) override;
  // AddRec under the root folder.
  [[nodiscard]] std::string AddNote(const CANoteRec& note, bool flag);
  // Clears a note's reminder fields and leaves its timer alone: for the
  // facade, which is deleting that timer itself.
  [[nodiscard]] bool ForgetTimer(std::string_view pos, bool flag);

  // The timer a note's reminder is kept as: due at "SetTime" (read as the
  // store's time texts; anything else is the time 0), active, running the
  // note's "TimerActID", with the note's subject and the note's position
  // as its "dataid". Built over `base` (the note's current timer) when given.
  static CATimerRec MakeReminder(const CANoteExtendRec& note, std::string_view note_pos,
                                 const CATimerRec* base = nullptr);

  // The note's text file: its stored path, empty when the note is unknown
  // or the document has no file; its text, empty when it has none; and
  // writing it (false when the note is unknown or the write fails).
  std::string GetTextPath(std::string_view pos) const;
  std::string GetText(std::string_view pos) const;
  [[nodiscard]] bool SetText(std::string_view pos, std::string_view text) const;

 private:
  std::string SaveReminder(const CANoteExtendRec& note, std::string_view note_pos, std::string_view timer_pos);
};

}  // namespace zds

#endif  // ZDS_NOTES_NOTE_DOC_H_

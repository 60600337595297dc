#include "zds/notes/note_doc.h"

#include <algorithm>

#include "zds/store/reminders.h"

namespace zds {
namespace {

// An id read from a file is any text; only the digits of an id the store
// gives out may name a file, so no note's text is looked for elsewhere.
bool IsPlainID(std::string_view id) {
  return !id.empty() && std::all_of(id.begin(), id.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

CATimerRec CANoteDoc::MakeReminder(const CANoteExtendRec& note, std::string_view note_pos, const CATimerRec* base) {
  CATimerRec timer = base ? *base : CATimerRec();
  CATimerExtendRec& fields = timer.GetExtendRec();
  fields.info_time = ParseDateTime(note.set_time);
  fields.data_id = note_pos;
  fields.action_id = note.timer_act_id;
  fields.subject = note.subject;
  // A reminder that is never due is none: it is filed in its month, where
  // the agent finds what is due.
  fields.state = kTimerActived;
  return timer;
}

std::string CANoteDoc::SaveReminder(const CANoteExtendRec& note, std::string_view note_pos,
                                    std::string_view timer_pos) {
  return reminders::Save(timer_pos, [&](const CATimerRec* current) { return MakeReminder(note, note_pos, current); });
}

std::string CANoteDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  const CANoteRec* note = NodeAs<CANoteRec>(&rec);
  if (note == nullptr || !note->GetExtendRec().has_timer) return CVFDLFamily::AddRec(parent_pos, rec, flag);
  CANoteRec added(*note);
  const std::string pos = GetPosPrefix() + '\\' + GetLocalID(GetNewID());  // what kNumbersNewRecs gives it
  added.GetExtendRec().timer_id = SaveReminder(added.GetExtendRec(), pos, "");
  std::string added_pos = CVFDLFamily::AddRec(parent_pos, added, flag);
  if (added_pos.empty() && !added.GetExtendRec().timer_id.empty()) reminders::Drop(added.GetExtendRec().timer_id);
  return added_pos;
}

bool CANoteDoc::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) {
  const CANoteRec* stored = GetRec(pos);
  const CANoteRec* note = NodeAs<CANoteRec>(&rec);
  if (stored == nullptr || note == nullptr) return CVFDLFamily::UpdateRec(pos, rec, flag);  // refused there
  const CANoteExtendRec& before = stored->GetExtendRec();
  CANoteRec updated(*note);
  CANoteExtendRec& after = updated.GetExtendRec();
  after.timer_id = reminders::Update(before, after, [&](const std::string& old_id) {
    return SaveReminder(after, stored->GetPos(), old_id);
  });
  return CVFDLFamily::UpdateRec(pos, updated, flag);
}

bool CANoteDoc::DelRec(std::string_view pos) {
  const CANoteRec* stored = GetRec(pos);
  if (stored == nullptr) return CVFDLFamily::DelRec(pos);
  if (stored->GetExtendRec().has_timer) reminders::Drop(stored->GetExtendRec().timer_id);
  // The text goes after the note: a delete that fails keeps both.
  const std::string text_path = GetTextPath(pos);
  if (!CVFDLFamily::DelRec(pos)) return false;
  if (!text_path.empty() && GetDataRoot()) GetDataRoot()->RemoveFile(text_path);  // none is no failure
  return true;
}

std::string CANoteDoc::AddNote(const CANoteRec& note, bool flag) {
  return GetRoot() ? AddRec(GetRoot()->GetPos(), note, flag) : std::string();
}

bool CANoteDoc::ForgetTimer(std::string_view pos, bool flag) {
  const CANoteRec* stored = GetRec(pos);
  if (stored == nullptr) return false;
  CANoteRec cleared(*stored);
  CANoteExtendRec& fields = cleared.GetExtendRec();
  fields.has_timer = false;
  fields.timer_id.clear();
  fields.set_time.clear();
  return CVFDLFamily::UpdateRec(pos, cleared, flag);
}

std::string CANoteDoc::GetTextPath(std::string_view pos) const {
  const CANoteRec* note = GetRec(pos);
  if (note == nullptr || !IsPlainID(note->GetID()) || GetFilePath().empty()) return {};
  return platform::JoinStoredPath(platform::StoredDirectoryOf(GetFilePath()), note->GetID() + ".txt");
}

std::string CANoteDoc::GetText(std::string_view pos) const {
  const std::string path = GetTextPath(pos);
  std::string text;
  if (path.empty() || !GetDataRoot() || GetDataRoot()->ReadWholeFile(path, text) != platform::ReadStatus::kRead) {
    return {};
  }
  return text;
}

bool CANoteDoc::SetText(std::string_view pos, std::string_view text) const {
  const std::string path = GetTextPath(pos);
  return !path.empty() && GetDataRoot() && GetDataRoot()->WriteFileAtomic(path, text);
}

}  // namespace zds

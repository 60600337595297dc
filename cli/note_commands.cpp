// Sticky notes ("kov:\Notepad"): a subject, a text kept beside the notes
// document, and a reminder that is a timer like any other.

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "cli/command_text.h"
#include "cli/commands.h"
#include "zds/notes/note_doc.h"

namespace zds::cli {
namespace {

// Reminders are stored as the timers' own time text.
std::string ReminderText(const CTime& time) { return time.Format(kTimeFormatSeconds); }

std::optional<field::IntRect> ReadRect(std::string_view text) {
  field::IntRect rect{};
  for (size_t i = 0; i < rect.size(); ++i) {
    const size_t comma = i + 1 < rect.size() ? text.find(',') : text.size();
    if (comma == std::string_view::npos) return std::nullopt;
    const std::string_view piece = text.substr(0, comma);
    auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), rect[i]);
    if (error != std::errc() || end != piece.data() + piece.size() || piece.empty()) return std::nullopt;
    text.remove_prefix(std::min(text.size(), comma + 1));
  }
  return rect;
}

// The reminder options of add and set into the note; the exit status when
// they say something malformed.
std::optional<int> ReadReminder(Call& call, CANoteExtendRec& note) {
  if (std::optional<std::string> remind = call.Value("--remind")) {
    CTime due;
    if (!ParseTime(*remind, due)) {
      return call.Usage("malformed time '" + *remind + "' (" + std::string(kTimeGrammar) + ")");
    }
    note.has_timer = true;
    note.set_time = ReminderText(due);
  }
  if (call.Has("--no-remind")) {
    if (call.Has("--remind")) return call.Usage("--remind and --no-remind exclude each other");
    note.has_timer = false;
  }
  if (std::optional<std::string> action = call.Value("--action")) {
    if (!note.has_timer) return call.Usage("--action needs a reminder (--remind)");
    note.timer_act_id = *action;
  }
  return std::nullopt;
}

std::optional<int> ReadNote(Call& call, CANoteRec& rec) {
  CANoteExtendRec& note = rec.GetExtendRec();
  if (std::optional<std::string> subject = call.Value("--subject")) {
    note.subject = *subject;
    rec.SetAlias(*subject);
  }
  if (std::optional<std::string> priority = call.Value("--priority")) {
    note.priority = *priority == "low"      ? kNotePriorityLow
                    : *priority == "normal" ? kNotePriorityNormal
                    : *priority == "high"   ? kNotePriorityHigh
                                            : 0;
    if (note.priority == 0) return call.Usage("--priority takes low, normal or high");
  }
  if (std::optional<std::string> position = call.Value("--position")) {
    std::optional<field::IntRect> rect = ReadRect(*position);
    if (!rect) return call.Usage("--position takes LEFT,TOP,RIGHT,BOTTOM in whole numbers");
    note.position = *rect;
  }
  return ReadReminder(call, note);
}

// The notes document of a facade whose start-up ran; null with a line.
CANoteDoc* NotesOf(Call& call, CZDS& facade) {
  CANoteDoc* notes = facade.GetNoteDoc();
  if (notes == nullptr) call.Refuse("the sticky notes cannot be opened");
  CZDS::Setthis(&facade);  // the notes keep their reminders through the facade
  return notes;
}

// The notes alone, opened read-only; null with a line. A store whose notes
// were never written has none to show.
CANoteDoc* OpenNotes(Call& call, CZDS& facade, bool& none) {
  none = false;
  DataRootPtr root = call.OpenStore();
  if (!root) return nullptr;
  facade.SetDataRoot(root);
  if (facade.InitANote()) return facade.GetNoteDoc();
  none = facade.GetStartupFailure().result == OpenResult::kMissing;
  if (!none) call.err() << DescribeStartupFailure(facade) << '\n';
  return nullptr;
}

int Add(Call& call) {
  CANoteRec rec;
  rec.GetExtendRec().visible = true;
  rec.GetExtendRec().create_time = CTime::GetCurrentTime().Format(kTimeFormatSeconds);
  if (std::optional<int> refused = ReadNote(call, rec)) return *refused;
  const std::optional<std::string> text = call.Value("--text");
  return RunEdit(call, [&](CZDS& facade) {
    CANoteDoc* notes = NotesOf(call, facade);
    if (notes == nullptr) return 1;
    const std::string pos = notes->AddNote(rec, true);
    if (pos.empty()) return call.Refuse("cannot add the note (the notes cannot be written)");
    if (text && !notes->SetText(pos, *text)) return call.Refuse("cannot write the text of " + ShownPos(pos));
    call.out() << ShownPos(pos) << '\n';
    return 0;
  });
}

int List(Call& call) {
  CZDS facade;
  bool none = false;
  CANoteDoc* notes = OpenNotes(call, facade, none);
  if (notes == nullptr && !none) return 1;
  Listing listing(call, {"position", "reminder", "subject"});
  if (notes != nullptr) {
    for (const CANoteRec& note : notes->Recs()) {
      const CANoteExtendRec& fields = note.GetExtendRec();
      listing.Row({ShownPos(note.GetPos()), fields.has_timer ? fields.set_time : "-", fields.subject});
    }
  }
  return listing.Finish();
}

int Show(Call& call) {
  CZDS facade;
  bool none = false;
  CANoteDoc* notes = OpenNotes(call, facade, none);
  if (notes == nullptr && !none) return 1;
  const std::string pos = StoredPos(call.operand(0));
  const CANoteRec* note = notes ? notes->GetRec(pos) : nullptr;
  if (note == nullptr) return call.Refuse("no note at " + call.operand(0));
  const CANoteExtendRec& fields = note->GetExtendRec();
  ShownItem item(call);
  item.Add("position", ShownPos(note->GetPos()));
  item.Add("subject", fields.subject);
  item.Add("reminder", fields.has_timer ? fields.set_time : "");
  item.Add("timer", fields.has_timer ? ShownPos(fields.timer_id) : "", false);
  item.Add("action", fields.timer_act_id, false);
  item.Add("priority", std::string(kNotePriorityWords.WordOf(fields.priority).value_or("low")));
  const field::IntRect& r = fields.position;
  item.Add("window", std::to_string(r[0]) + "," + std::to_string(r[1]) + "," + std::to_string(r[2]) + "," +
                         std::to_string(r[3]), false);
  item.Add("created", fields.create_time, false);
  item.Add("text", notes->GetText(pos));
  return item.Finish();
}

// Looks on the reader whether the note is there, so that a position that
// names nothing changes no file.
int Exists(Call& call, CZDS& reader) {
  const bool opened = reader.InitANote();
  if (!opened && reader.GetStartupFailure().result != OpenResult::kMissing) {
    call.err() << DescribeStartupFailure(reader) << '\n';
    return 1;
  }
  if (opened && reader.GetNoteDoc()->GetRec(StoredPos(call.operand(0))) != nullptr) return 0;
  return call.Refuse("no note at " + call.operand(0));
}

int Set(Call& call) {
  const std::string pos = StoredPos(call.operand(0));
  CANoteRec changes;
  if (std::optional<int> refused = ReadNote(call, changes)) return *refused;
  const std::optional<std::string> text = call.Value("--text");
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CANoteDoc* notes = NotesOf(call, facade);
        const CANoteRec* note = notes ? notes->GetRec(pos) : nullptr;
        if (note == nullptr) return notes ? call.Refuse("no note at " + call.operand(0)) : 1;
        CANoteRec rec = *note;
        CANoteExtendRec& fields = rec.GetExtendRec();
        const CANoteExtendRec& given = changes.GetExtendRec();
        if (call.Has("--subject")) {
          fields.subject = given.subject;
          rec.SetAlias(given.subject);
        }
        if (call.Has("--priority")) fields.priority = given.priority;
        if (call.Has("--position")) fields.position = given.position;
        if (call.Has("--remind") || call.Has("--no-remind")) {
          fields.has_timer = given.has_timer;
          if (given.has_timer) fields.set_time = given.set_time;
        }
        if (call.Has("--action")) fields.timer_act_id = given.timer_act_id;
        if (!notes->UpdateRec(pos, rec, true)) return call.Refuse("cannot change " + call.operand(0));
        if (text && !notes->SetText(pos, *text)) return call.Refuse("cannot write the text of " + call.operand(0));
        return 0;
      },
      [&](CZDS& reader) { return Exists(call, reader); });
}

int Remove(Call& call) {
  const std::string pos = StoredPos(call.operand(0));
  return RunEdit(
      call,
      [&](CZDS& facade) {
        CANoteDoc* notes = NotesOf(call, facade);
        if (notes == nullptr) return 1;
        if (notes->GetRec(pos) == nullptr) return call.Refuse("no note at " + call.operand(0));
        if (!notes->DelRec(pos)) return call.Refuse("cannot remove " + call.operand(0));
        return 0;
      },
      [&](CZDS& reader) { return Exists(call, reader); });
}

}  // namespace

void AddNoteCommands(CommandTable& table) {
  const Option subject{"--subject", "TEXT", "what the note says in its title"};
  const Option text{"--text", "TEXT", "the note's text"};
  const Option remind{"--remind", "TIME", "remind at this time (a timer that zds timers due shows)"};
  const Option action{"--action", "TEXT", "what the reminder runs (with --remind)"};
  const Option position{"--position", "L,T,R,B", "the note window's rectangle"};
  const Option priority{"--priority", "PRIORITY", "low, normal or high"};
  table.Add({.noun = "note", .verb = "add",
             .summary = "add a sticky note and print its position",
             .options = {{"--subject", "TEXT", "what the note says in its title", true}, text, remind, action, position,
                         priority},
             .store = StoreUse::kEdits, .run = Add});
  table.Add({.noun = "note", .verb = "ls", .summary = "list the notes: position, reminder or -, subject",
             .output = Output::kList, .run = List});
  table.Add({.noun = "note", .verb = "show", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "print a note's fields and its text", .output = Output::kShow, .run = Show});
  table.Add({.noun = "note", .verb = "set", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "change a note; --no-remind drops its reminder",
             .options = {subject, text, remind, {"--no-remind", "", "drop the reminder and its timer"}, action,
                         position, priority},
             .store = StoreUse::kEdits, .run = Set});
  table.Add({.noun = "note", .verb = "rm", .operands = "POSITION", .min_operands = 1, .max_operands = 1,
             .summary = "remove a note, its text and its reminder", .store = StoreUse::kEdits, .run = Remove});
}

}  // namespace zds::cli

// Sticky notes: how a note is read and written, its reminder kept in step
// with its timer through the facade, and its text file.

#include "zds/notes/note_doc.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

using test::TempRoot;

std::string NotesFile(const std::string& recs) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<ANote ver=\"1.0\">\r\n"
         "<folder id=\"0000\" alias=\"Notepad\" attribute=\"root\">\r\n" +
         recs + "</folder>\r\n</ANote>\r\n";
}

std::unique_ptr<CANoteDoc> Parsed(const std::string& recs) {
  auto doc = std::make_unique<CANoteDoc>();
  EXPECT_TRUE(doc->SetXml(NotesFile(recs)));
  return doc;
}

TEST(NoteFieldsTest, FlagsPositionAndPriorityReadAsTheirRulesSay) {
  struct Case {
    const char* attributes;
    bool visible, topmost, has_timer;
    field::IntRect position;
    int priority;
  };
  // A missing priority is "any other text"; a third comma missing makes
  // the last piece start over from the front.
  const Case cases[] = {
      {R"(visible="YES" topmost="Yes" IsTimer="YES")", true, true, false, {0, 0, 0, 0}, 1},
      {R"(visible="no" IsTimer="yes" position="1,2,3,4" priority="high")", false, false, true, {1, 2, 3, 4}, 3},
      {R"(position="10,20" priority="low")", false, false, false, {10, 0, 10, 20}, 1},
      {R"(position="-5,x,7" priority="Normal")", false, false, false, {-5, 0, 0, -5}, 1},
      {R"(position="" priority="normal")", false, false, false, {0, 0, 0, 0}, 2},
      {R"(priority="urgent")", false, false, false, {0, 0, 0, 0}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.attributes);
    auto doc = Parsed(std::string("<rec id=\"0001\" alias=\"n\" ") + c.attributes + ">\r\n</rec>\r\n");
    const CANoteRec* note = doc->GetRec("kov:\\Notepad\\0001");
    ASSERT_NE(note, nullptr);
    const CANoteExtendRec& fields = note->GetExtendRec();
    EXPECT_EQ(fields.visible, c.visible);
    EXPECT_EQ(fields.topmost, c.topmost);
    EXPECT_EQ(fields.has_timer, c.has_timer);
    EXPECT_EQ(fields.position, c.position);
    EXPECT_EQ(fields.priority, c.priority);
  }
  auto unclosed = Parsed("<rec id=\"0001\" alias=\"n\" subject=\"s\"/>\r\n");
  EXPECT_EQ(unclosed->GetRec("kov:\\Notepad\\0001"), nullptr) << "a note without its closing line is refused";
}

TEST(NoteFieldsTest, ANoteIsWrittenInItsAttributeOrderWithTheTimerFieldsOnlyWithATimer) {
  auto owned = Parsed("");
  CANoteDoc& doc = *owned;
  CANoteRec note;
  note.SetAlias("n");
  CANoteExtendRec& fields = note.GetExtendRec();
  fields.subject = "s";
  fields.read_only = true;
  fields.position = {1, -2, 3, 4};
  fields.priority = 0;
  fields.create_time = "2004-05-01 09:30";
  fields.timer_id = "kept only with a timer";
  const std::string pos = doc.AddNote(note, false);
  ASSERT_FALSE(pos.empty());
  EXPECT_NE(doc.GetXml().find(R"(visible="no" topmost="no" readonly="yes" position="1,-2,3,4" priority="low" )"
                              R"(subject="s" createtime="2004-05-01 09:30" IsTimer="no">)"),
            std::string::npos)
      << doc.GetXml();
  auto reread = Parsed("");
  ASSERT_TRUE(reread->SetXml(doc.GetXml()));
  EXPECT_EQ(reread->GetRec(pos)->GetExtendRec().priority, kNotePriorityLow) << "0 is written low and read as 1";
  EXPECT_EQ(reread->GetNodeByPos(pos)->GetExtendType(), kNoteRecType);

  fields.has_timer = true;
  fields.priority = 3;
  fields.set_time = "2031-01-02 03:04";
  fields.timer_act_id = "popup";
  ASSERT_TRUE(doc.UpdateRec(pos, note, false));  // no facade: the note goes on without a timer
  EXPECT_NE(doc.GetXml().find(R"(priority="high" subject="s" createtime="2004-05-01 09:30" IsTimer="yes" )"
                              R"(TimerID="" SetTime="2031-01-02 03:04" TimerActID="popup">)"),
            std::string::npos)
      << doc.GetXml();
}

class NoteReminderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    facade_.SetDataRoot(temp_.root());
    CZDS::Setthis(&facade_);
    ASSERT_TRUE(facade_.InitZDS());
    notes_ = facade_.GetNoteDoc();
  }
  void TearDown() override { CZDS::Setthis(nullptr); }

  static CANoteRec Note(const std::string& subject, const std::string& remind = "") {
    CANoteRec note;
    note.GetExtendRec().subject = subject;
    note.GetExtendRec().has_timer = !remind.empty();
    note.GetExtendRec().set_time = remind;
    note.GetExtendRec().timer_act_id = remind.empty() ? "" : "popup";
    return note;
  }
  const CANoteExtendRec& Fields(const std::string& pos) { return notes_->GetRec(pos)->GetExtendRec(); }
  // Every timer's position, in the documents it can be filed in.
  std::vector<std::string> Timers() {
    std::vector<std::string> all;
    for (const CVFDLNode* node : facade_.GetATimerIndexDoc()->GetTimerDocNodes()) {
      if (CATimerDoc* doc = facade_.GetATimerIndexDoc()->OpenTimerDoc(*node)) {
        for (const CATimerRec& timer : doc->Recs()) all.push_back(timer.GetPos());
      }
    }
    return all;
  }

  TempRoot temp_;
  CZDS facade_;
  CANoteDoc* notes_ = nullptr;
};

TEST_F(NoteReminderTest, TheFourCasesOfAnUpdateKeepTheTimerInStep) {
  const std::string due = "2031-01-02 03:04";
  const std::string pos = notes_->AddNote(Note("dentist", due), false);
  const std::string first = Fields(pos).timer_id;
  ASSERT_FALSE(first.empty());
  EXPECT_EQ(Timers(), std::vector<std::string>{first});
  const CATimerExtendRec& timer = facade_.GetTimerRec(first)->GetExtendRec();
  EXPECT_EQ(timer.subject, "dentist");
  EXPECT_EQ(timer.state, kTimerActived);
  EXPECT_EQ(timer.action_id, "popup");
  EXPECT_EQ(timer.data_id, pos);
  EXPECT_EQ(timer.info_time, ParseDateTime(due));
  EXPECT_EQ(facade_.GetATimerIndexDoc()->GetTimerDoc(first)->GetHolder()->GetAlias(), "01") << "filed in its month";
  ASSERT_EQ(facade_.GetATimerIndexDoc()->GetDueTimers(ParseDateTime("2031-01-01"), ParseDateTime("2031-02-01")).size(),
            1u);

  // timer -> timer: saved over, moving with its due month; the caller's "TimerID" is not taken.
  CANoteRec later = *notes_->GetRec(pos);
  later.GetExtendRec().set_time = "2031-02-03 04:05";
  later.GetExtendRec().subject = "dentist, later";
  later.GetExtendRec().timer_id = "made up";
  ASSERT_TRUE(notes_->UpdateRec(pos, later, false));
  const std::string second = Fields(pos).timer_id;
  EXPECT_EQ(Timers(), std::vector<std::string>{second});
  EXPECT_EQ(facade_.GetTimerRec(second)->GetExtendRec().subject, "dentist, later");
  EXPECT_EQ(facade_.GetTimerRec(second)->GetExtendRec().info_time, ParseDateTime("2031-02-03 04:05"));

  // timer -> none: the timer goes.
  CANoteRec off = *notes_->GetRec(pos);
  off.GetExtendRec().has_timer = false;
  ASSERT_TRUE(notes_->UpdateRec(pos, off, false));
  EXPECT_EQ(Timers(), std::vector<std::string>{});
  EXPECT_EQ(Fields(pos).timer_id, "");

  // none -> none: nothing.
  CANoteRec still_off = *notes_->GetRec(pos);
  still_off.GetExtendRec().subject = "no reminder";
  ASSERT_TRUE(notes_->UpdateRec(pos, still_off, false));
  EXPECT_EQ(Timers(), std::vector<std::string>{});

  // none -> timer: a new one, its position kept.
  CANoteRec on = *notes_->GetRec(pos);
  on.GetExtendRec().has_timer = true;
  on.GetExtendRec().set_time = due;
  ASSERT_TRUE(notes_->UpdateRec(pos, on, false));
  EXPECT_EQ(Timers(), std::vector<std::string>{Fields(pos).timer_id});

  // A note whose timer has gone is still updated (a new timer made) and deleted.
  ASSERT_TRUE(facade_.DelTimer(Fields(pos).timer_id, false));
  CANoteRec renamed = *notes_->GetRec(pos);
  renamed.GetExtendRec().subject = "renamed";
  ASSERT_TRUE(notes_->UpdateRec(pos, renamed, false));
  EXPECT_EQ(Timers(), std::vector<std::string>{Fields(pos).timer_id});
  ASSERT_TRUE(facade_.DelTimer(Fields(pos).timer_id, false));
  EXPECT_TRUE(notes_->DelRec(pos));
  EXPECT_EQ(notes_->GetRec(pos), nullptr);
}

TEST_F(NoteReminderTest, DeletingANoteDeletesItsTimerAndItsTextFile) {
  const std::string with = notes_->AddNote(Note("with", "2031-01-02 03:04"), false);
  const std::string without = notes_->AddNote(Note("without"), false);
  ASSERT_TRUE(notes_->SetText(with, "line one\r\nline two\r\n"));
  ASSERT_TRUE(notes_->SetText(without, "kept"));
  const std::string id = notes_->GetRec(with)->GetID();
  EXPECT_EQ(notes_->GetTextPath(with), "\\" + id + ".txt");
  EXPECT_EQ(temp_.Read(id + ".txt"), "line one\r\nline two\r\n");
  EXPECT_EQ(notes_->GetText(with), "line one\r\nline two\r\n");
  EXPECT_EQ(Timers().size(), 1u);

  EXPECT_TRUE(notes_->DelRec(with));
  EXPECT_EQ(Timers(), std::vector<std::string>{});
  EXPECT_FALSE(temp_.Exists(id + ".txt"));
  EXPECT_EQ(notes_->GetText(without), "kept");
  EXPECT_TRUE(notes_->DelRec(without)) << "a note without a timer";
  EXPECT_FALSE(notes_->DelRec(without));
  EXPECT_EQ(notes_->GetText(without), "");
  EXPECT_FALSE(notes_->SetText(without, "x")) << "no note, no file";
}

// An id in the file names no file outside the data root, nor any other
// file than a note's.
TEST_F(NoteReminderTest, ANotesTextIsNeverLookedForOutsideTheDataRoot) {
  ASSERT_TRUE(notes_->SetXml(NotesFile("<rec id=\"..\\..\\secret\" alias=\"a\">\r\n</rec>\r\n"
                                       "<rec id=\"0002\" alias=\"b\">\r\n</rec>\r\n")));
  temp_.Write("../secret.txt", "outside");
  for (const CANoteRec& note : notes_->Recs()) {
    SCOPED_TRACE(note.GetID());
    const std::string path = notes_->GetTextPath(note.GetPos());
    EXPECT_TRUE(path.empty() || path == "\\" + note.GetID() + ".txt") << path;
    EXPECT_NE(notes_->GetText(note.GetPos()), "outside");
  }
}

}  // namespace
}  // namespace zds

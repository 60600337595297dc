// The facade's timer and event helpers: the notices each posts, a timer
// moving between documents, the owners a deleted timer clears, and the
// items events refer to.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

using test::TempRoot;

// A started facade with one registered window that writes down what is
// relayed to it, each notice with the position the facade names for it.
class FacadeFixture : public ::testing::Test {
 protected:
  struct Seen {
    uint32_t message;
    intptr_t change;
    std::string pos;
    bool operator==(const Seen&) const = default;
  };

  void SetUp() override {
    facade_.SetDataRoot(temp_.root());
    facade_.SetMessageQueue(&queue_);
    CZDS::Setthis(&facade_);
    ASSERT_TRUE(facade_.InitZDS());
    window_ = queue_.NewWindow([this](const platform::WindowMessage& m) {
      seen_.push_back({m.message, m.lparam, facade_.TakeNoticePos(m.message, m.wparam, m.lparam)});
    });
    queue_.Pump();
    facade_.RegisterWnd(window_);
  }
  void TearDown() override { CZDS::Setthis(nullptr); }

  std::vector<Seen> Relayed() {
    queue_.Pump();
    return std::exchange(seen_, {});
  }
  static CATimerRec Timer(const std::string& subject, int state, const CTime& due) {
    CATimerRec timer;
    timer.GetExtendRec().subject = subject;
    timer.GetExtendRec().state = state;
    timer.GetExtendRec().info_time = due;
    return timer;
  }
  // Due this month, whose document start-up made: filing it makes nothing.
  static CTime ThisMonth() { return CTime::GetCurrentTime(); }
  static CTime NextYear() {
    CTime now = CTime::GetCurrentTime();
    return CTime(now.GetYear() + 1, 3, 1, 9, 0, 0);
  }
  std::string DocOf(const std::string& timer_pos) {
    CATimerDoc* doc = facade_.GetATimerIndexDoc()->GetTimerDoc(timer_pos);
    return doc && doc->GetHolder() ? doc->GetHolder()->GetAlias() : std::string();
  }

  TempRoot temp_;
  platform::MessageQueue queue_;
  CZDS facade_;
  platform::WindowHandle window_ = nullptr;
  std::vector<Seen> seen_;
};

TEST_F(FacadeFixture, SaveTimerAddsUpdatesAndMovesATimerPostingExactlyItsNotices) {
  const std::string pos = facade_.SaveTimer("", Timer("call", kTimerUnactived, ThisMonth()));
  ASSERT_FALSE(pos.empty());
  EXPECT_EQ(DocOf(pos), "UnActive");
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_TIMER_CHANGED, kChangeAdded, pos}}));

  CATimerRec same(*facade_.GetTimerRec(pos));
  EXPECT_EQ(facade_.SaveTimer(pos, same), pos);
  EXPECT_EQ(Relayed(), std::vector<Seen>{}) << "an unchanged timer posts nothing";

  same.GetExtendRec().subject = "call back";
  EXPECT_EQ(facade_.SaveTimer(pos, same), pos);
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_TIMER_CHANGED, kChangeUpdated, pos}}));
  EXPECT_EQ(facade_.GetTimerRec(pos)->GetExtendRec().subject, "call back");

  CATimerRec active(*facade_.GetTimerRec(pos));
  active.GetExtendRec().state = kTimerActived;
  const std::string moved = facade_.SaveTimer(pos, active);
  ASSERT_FALSE(moved.empty());
  EXPECT_NE(moved, pos);
  EXPECT_EQ(DocOf(moved), CTime::GetCurrentTime().Format("%m"));
  EXPECT_EQ(facade_.GetTimerRec(pos), nullptr) << "one timer, never two";
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_TIMER_CHANGED, kChangeAdded, moved},
                                          {WM_ZDS_TIMER_CHANGED, kChangeDeleted, pos}}));

  // A repeating timer stays in "Cycle" whatever its state.
  CATimerRec repeating = Timer("weekly", kTimerUnactived, ThisMonth());
  repeating.GetExtendRec().cyclic = true;
  repeating.GetExtendRec().cycle_rec.emplace();
  const std::string cycle_pos = facade_.SaveTimer("", repeating);
  EXPECT_EQ(DocOf(cycle_pos), "Cycle");
  repeating = *facade_.GetTimerRec(cycle_pos);
  repeating.GetExtendRec().state = kTimerActived;
  EXPECT_EQ(facade_.SaveTimer(cycle_pos, repeating), cycle_pos);
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_TIMER_CHANGED, kChangeAdded, cycle_pos},
                                          {WM_ZDS_TIMER_CHANGED, kChangeUpdated, cycle_pos}}));

  for (const std::string nothing : {"kov:\\Timer Index\\0002\\0099", "kov:\\Elsewhere\\0001", "0001"}) {
    EXPECT_EQ(facade_.SaveTimer(nothing, active), "") << nothing;
    EXPECT_TRUE(facade_.DelTimer(nothing, true)) << nothing;
  }
  EXPECT_TRUE(facade_.DelTimer("", true));
  EXPECT_EQ(Relayed(), std::vector<Seen>{});
}

TEST_F(FacadeFixture, MapTimerRecMakesAnInactiveMappedTimerWithItsAliasAndOneMap) {
  const CVFDLNode& source = *facade_.GetAIDLDoc()->GetNodeByPath("kov:\\Velmora\\Calendar");
  const CTime when(2030, 5, 6, 7, 8, 9);
  const std::string pos = facade_.MapTimerRec(&source, 5, when, 3);
  ASSERT_FALSE(pos.empty());
  EXPECT_EQ(DocOf(pos), "UnActive");
  const CATimerRec& timer = *facade_.GetTimerRec(pos);
  EXPECT_EQ(timer.GetAlias(), "Calendar  map(3)");
  const CATimerExtendRec& fields = timer.GetExtendRec();
  EXPECT_EQ(fields.state, kTimerUnactived);
  EXPECT_TRUE(fields.mapped);
  EXPECT_EQ(fields.map_type, 5);
  EXPECT_EQ(fields.map_id, source.GetID());
  EXPECT_EQ(fields.data_id, source.GetPos());
  EXPECT_EQ(fields.info_time, when);
  ASSERT_TRUE(fields.cycle_rec.has_value());
  ASSERT_EQ(fields.cycle_rec->maps.size(), 1u);
  EXPECT_EQ(fields.cycle_rec->maps[0].number, 3);
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_TIMER_CHANGED, kChangeAdded, pos},
                                          {WM_ZDS_TIMER_CHANGED, kChangeUpdated, pos}}));
  EXPECT_EQ(facade_.GetTimerNode(&timer), &source);
  EXPECT_EQ(facade_.GetTimerTypeString(&timer), "") << "a folder is no kind of owner with a label";
  EXPECT_EQ(facade_.MapTimerRec(nullptr, 5, when, 3), "");
}

TEST_F(FacadeFixture, DelTimerClearsANoteAndAScheduleEntryButNotARecurringEntrysReminder) {
  // A note.
  CANoteRec note;
  note.GetExtendRec().subject = "dentist";
  note.GetExtendRec().has_timer = true;
  note.GetExtendRec().set_time = NextYear().Format(kTimeFormatMinutes);
  const std::string note_pos = facade_.GetNoteDoc()->AddNote(note, false);
  const std::string note_timer = facade_.GetNoteDoc()->GetRec(note_pos)->GetExtendRec().timer_id;
  ASSERT_FALSE(note_timer.empty());
  EXPECT_EQ(facade_.GetTimerTypeString(facade_.GetTimerRec(note_timer)), "Notes");
  Relayed();
  EXPECT_TRUE(facade_.DelTimer(note_timer, true));
  const CANoteExtendRec& cleared = facade_.GetNoteDoc()->GetRec(note_pos)->GetExtendRec();
  EXPECT_FALSE(cleared.has_timer);
  EXPECT_EQ(cleared.timer_id, "");
  EXPECT_EQ(cleared.subject, "dentist");
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_NOTE_CHANGED, kChangeUpdated, note_pos},
                                          {WM_ZDS_TIMER_CHANGED, kChangeDeleted, note_timer}}));

  // Schedule entries, one-off and recurring.
  CScheduleIndexDoc* schedule = facade_.GetCalendarDoc()->GetScheduleIndexDoc();
  ASSERT_NE(schedule, nullptr);
  for (bool recurring : {false, true}) {
    SCOPED_TRACE(recurring ? "recurring" : "one-off");
    CScheduleRec entry;
    CScheduleExtendRec& fields = entry.GetExtendRec();
    fields.subject = "review";
    fields.begin = fields.end = NextYear();
    fields.cycle = recurring;
    fields.is_timer = true;
    fields.set_minutes = 15;
    CScheduleDoc* doc = schedule->GetRightDoc(entry);
    ASSERT_NE(doc, nullptr);
    const std::string entry_pos = doc->AddRec(doc->GetRoot()->GetPos(), entry, false);
    ASSERT_FALSE(entry_pos.empty());
    CATimerRec timer = Timer("review", kTimerActived, NextYear());
    timer.GetExtendRec().data_id = entry_pos;
    const std::string timer_pos = facade_.SaveTimer("", timer);
    CScheduleRec linked(*doc->GetRec(entry_pos));
    linked.GetExtendRec().timer_id = timer_pos;
    ASSERT_TRUE(doc->UpdateRec(entry_pos, linked, false));
    EXPECT_EQ(facade_.GetTimerTypeString(facade_.GetTimerRec(timer_pos)), "Schedule");
    Relayed();
    EXPECT_TRUE(facade_.DelTimer(timer_pos, true));
    const CScheduleExtendRec& after = doc->GetRec(entry_pos)->GetExtendRec();
    EXPECT_EQ(after.is_timer, recurring);
    EXPECT_EQ(after.timer_id, recurring ? timer_pos : "");
    EXPECT_EQ(after.set_minutes, recurring ? 15 : 0);
    std::vector<Seen> expected;
    if (!recurring) expected.push_back({WM_ZDS_CHANGED, kChangeUpdated, entry_pos});
    expected.push_back({WM_ZDS_TIMER_CHANGED, kChangeDeleted, timer_pos});
    EXPECT_EQ(Relayed(), expected);
  }
}

// The kinds the facade does not hold itself are cleared through their hook;
// without `clear_owner` no owner is touched.
TEST_F(FacadeFixture, DelTimerClearsOtherKindsThroughTheirHookAndOnlyWhenAsked) {
  const CVFDLNode& folder = *facade_.GetAIDLDoc()->GetNodeByPath("kov:\\Velmora\\Addresses");
  std::vector<std::string> cleared;
  facade_.SetKindHooks(folder.GetExtendType(), {nullptr, [&cleared](CVFDLNode& owner) {
                                                  cleared.push_back(owner.GetPos());
                                                  return true;
                                                }});
  CATimerRec timer = Timer("sync", kTimerUnactived, ThisMonth());
  timer.GetExtendRec().data_id = folder.GetPos();
  const std::string kept = facade_.SaveTimer("", timer);
  const std::string asked = facade_.SaveTimer("", timer);
  Relayed();
  EXPECT_TRUE(facade_.DelTimer(kept, false));
  EXPECT_EQ(cleared, std::vector<std::string>{});
  EXPECT_TRUE(facade_.DelTimer(asked, true));
  EXPECT_EQ(cleared, std::vector<std::string>{folder.GetPos()});
  EXPECT_EQ(Relayed(), (std::vector<Seen>{{WM_ZDS_TIMER_CHANGED, kChangeDeleted, kept},
                                          {WM_ZDS_CHANGED, kChangeUpdated, folder.GetPos()},
                                          {WM_ZDS_TIMER_CHANGED, kChangeDeleted, asked}}));
}

TEST_F(FacadeFixture, AnEventLeadsToItsItemWhoseKindGivesSubjectAndSender) {
  CATimerRec timer = Timer("standup", kTimerUnactived, ThisMonth());
  const std::string timer_pos = facade_.SaveTimer("", timer);
  const std::string folder_pos = facade_.GetAIDLDoc()->GetNodeByPath("kov:\\Velmora\\Calendar")->GetPos();
  CAEventDoc& events = *facade_.GetEventDoc();
  auto add_event = [&events](const std::string& data_id) {
    CAEventRec event;
    event.GetExtendRec().data_id = data_id;
    return events.GetRec(events.AddRec(events.GetRoot()->GetPos(), event, false));
  };
  CAEventRec* on_timer = add_event(timer_pos);
  CAEventRec* on_folder = add_event(folder_pos);
  CAEventRec* on_nothing = add_event("kov:\\Velmora\\0099");
  ASSERT_TRUE(on_timer && on_folder && on_nothing);

  const CVFDLNode* item = facade_.GetEventNode(on_timer);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->GetPos(), timer_pos);
  EXPECT_EQ(on_timer->GetExtendRec().node, item) << "cached";
  EXPECT_EQ(facade_.GetEventType(on_timer), kTimerRecType);
  EXPECT_EQ(facade_.GetEventSubject(on_timer), "standup");
  EXPECT_EQ(facade_.GetEventSender(on_timer), "") << "a timer without an owner has no kind";

  EXPECT_EQ(facade_.GetEventNode(on_folder)->GetPos(), folder_pos);
  EXPECT_EQ(facade_.GetEventSubject(on_folder), "");
  EXPECT_EQ(facade_.GetEventSender(on_folder), "System");

  EXPECT_EQ(facade_.GetEventNode(on_nothing), nullptr);
  EXPECT_EQ(facade_.GetEventType(on_nothing), 0);
  EXPECT_EQ(facade_.GetEventSubject(on_nothing), "");
  EXPECT_EQ(facade_.GetEventSender(on_nothing), "System");
  EXPECT_EQ(facade_.GetEventNode(facade_.GetAIDLDoc()->GetRoot()), nullptr) << "no event";
}

}  // namespace
}  // namespace zds

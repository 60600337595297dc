// CZDS: the facade a host program uses. It owns every document start-up
// opens, runs start-up in its fixed order, keeps the class registry
// through which other documents are opened by class name, and relays the
// store's change notices to the host's windows through a hidden
// information window.
//
// A host constructs one, sets the directories, calls Setthis and InitZDS,
// and asks it for the documents. Start-up is a table of steps, each opening
// one document (or making sure of the system folders); the first step that
// fails ends it, leaving what was opened so far open, and GetStartupFailure
// says which step it was and why.
//
// Reading: on a read-only data root (platform::RootAccess::kReadOnly) the
// facade opens the store as it stands and changes no file. Each step opens
// its document only when it exists (a missing one fails with kMissing),
// the monitor is read rather than begun afresh, the system folders and the
// timer index are not made up to date, documents behind nodes are opened
// but never made, and an edit fails as its save does. A host that only
// looks runs just the steps for the documents it shows, so a damaged
// document it does not need stands in nobody's way.

#ifndef ZDS_STORE_ZDS_H_
#define ZDS_STORE_ZDS_H_

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zds/calendar/calendar_doc.h"
#include "zds/calendar/my_cal_doc.h"
#include "zds/contacts/adrbook_doc.h"
#include "zds/events/autorun_doc.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"
#include "zds/framework/messages.h"
#include "zds/framework/rtti.h"
#include "zds/notes/apl_doc.h"
#include "zds/notes/atl_doc.h"
#include "zds/notes/note_doc.h"
#include "zds/platform/files.h"
#include "zds/platform/time.h"
#include "zds/platform/window.h"
#include "zds/store/aidl_doc.h"
#include "zds/store/browse.h"
#include "zds/timers/timer_index_doc.h"

namespace zds {

// A mapped timer's alias: "<alias>  map(<value>)", two blanks before "map".
std::string FormatMapAlias(std::string_view alias, int value);

class CZDS {
 public:
  CZDS();
  ~CZDS();
  CZDS(const CZDS&) = delete;
  CZDS& operator=(const CZDS&) = delete;

  // The process's one facade; the destructor clears it.
  static CZDS* Getthis() { return m_pthis; }
  static void Setthis(CZDS* facade) { m_pthis = facade; }

  // What the host sets before InitZDS. Paths are stored paths inside the
  // data root ("\aidl.xml"); the defaults are the zds host's layout.
  void SetDataRoot(std::shared_ptr<const platform::DataRoot> root) { root_ = std::move(root); }
  const std::shared_ptr<const platform::DataRoot>& GetDataRoot() const { return root_; }
  void SetEditorRoot(std::string path) { editor_root_ = std::move(path); }
  void SetTimerDir(std::string path) { timer_dir_ = std::move(path); }
  void SetAIDLPath(std::string path) { aidl_path_ = std::move(path); }
  const std::string& GetAIDLPath() const { return aidl_path_; }
  // The four strings handed to the service index, kept for the host.
  void SetAIDLStrings(std::array<std::string, 4> strings) { aidl_strings_ = std::move(strings); }
  // Where the information window lives; without one it is not created and
  // change notices go nowhere.
  void SetMessageQueue(platform::MessageQueue* queue) { queue_ = queue; }

  // Start-up, step by step in the order of the table; false at the first
  // step that fails. Running it again reopens everything.
  [[nodiscard]] bool InitZDS();
  struct StartupFailure {
    std::string_view step;  // "monitor", "service index", ...; empty after a clean start
    std::string path;       // the stored path of the document concerned
    OpenResult result = OpenResult::kLoaded;
    FileProblem problem;    // for kUnusable: the line and what is wrong
  };
  const StartupFailure& GetStartupFailure() const { return failure_; }
  // Whether the data root holds a store: its service index is there.
  bool HasStore() const;
  bool IsReadOnly() const { return root_ && root_->IsReadOnly(); }
  // The documents start-up opened, in its order: the step, the stored path
  // of the file, whether it was loaded or made from its template, and the
  // base directory the step gave it. The event queue, print list, auto-run
  // list and sticky notes get an empty one when just made, the data root
  // when loaded; the templates, the timer index their own directory; the
  // work-day calendar none (it is not initialised as the others are). As
  // stored paths the data root and the empty directory are both "".
  enum class StartupBase { kNone, kEmpty, kDataRoot, kOwnDirectory };
  struct StartupDoc {
    std::string_view step;
    std::string path;
    OpenResult result = OpenResult::kLoaded;
    StartupBase base = StartupBase::kNone;
    std::string base_path;
  };
  const std::vector<StartupDoc>& GetStartupDocs() const { return opened_; }

  // The start-up steps, for a host that opens one document alone.
  [[nodiscard]] bool InitMonitor();
  [[nodiscard]] bool InitAIDL();
  [[nodiscard]] bool InitSystemFolders();
  [[nodiscard]] bool InitAEvent();
  [[nodiscard]] bool InitATL();
  [[nodiscard]] bool InitAPL();
  [[nodiscard]] bool InitAutoRun();
  [[nodiscard]] bool InitANote();
  [[nodiscard]] bool InitAMyCal();
  [[nodiscard]] bool InitATimer();

  // The open documents; null before their step ran or when it failed.
  // Each stays valid until that step runs again (another InitZDS) or the
  // facade goes; the nodes in them as "Lifetimes" in vfdl_doc.h says.
  CMonitorDoc* GetMonitorDoc() const { return monitor_.get(); }
  CAIDLDoc* GetAIDLDoc() const { return aidl_.get(); }
  CAEventDoc* GetEventDoc() const { return event_.get(); }
  CAutoRunDoc* GetAutoRunDoc() const { return autorun_.get(); }
  CATLDoc* GetATLDoc() const { return atl_.get(); }
  CAPLDoc* GetAPLDoc() const { return apl_.get(); }
  CANoteDoc* GetNoteDoc() const { return note_.get(); }
  CAMyCalDoc* GetMyCalDoc() const { return mycal_.get(); }
  CATimerIndexDoc* GetATimerIndexDoc() const { return timer_index_.get(); }
  const CRTTIRegistry& GetClassRegistry() const { return registry_; }
  // The documents behind the service index's system folders, opened (and
  // made) when needed; null without a service index, or when the folder
  // is gone or its document cannot be used. Owned by the service index:
  // valid as its documents are (CCASDVFDLDoc) and at most until the
  // service index step runs again.
  CAdrBookDoc* GetAdrBookDoc() const;
  CCalendarDoc* GetCalendarDoc() const;

  // Change notices: the information window reposts each of the six
  // messages to every registered window, in the order of registration.
  void RegisterWnd(platform::WindowHandle window) { windows_.push_back(window); }
  void UnRegisterWnd(platform::WindowHandle window);
  platform::WindowHandle GetInfoWnd() const { return info_window_; }

  // Events. The node an event reports: the event's cached node, else its
  // path looked up in the service index tree (and the documents open
  // below it), then in the timer index's; a hit is cached in the event.
  // Null for a node that is no event, or when nothing is found.
  CVFDLNode* GetEventNode(CVFDLNode* event);
  // That node's extension type; 0 when there is none.
  int GetEventType(CVFDLNode* event);
  // Its subject and sender by its kind: a mail (81) by its first and second
  // text fields, 129 and a timer (172) by the first, a channel item (144)
  // by the second; the sender of a timer is its owner's kind, of anything
  // but a mail "System". The kinds the facade does not know itself answer
  // through their hooks (SetKindHooks); without one, empty.
  std::string GetEventSubject(CVFDLNode* event);
  std::string GetEventSender(CVFDLNode* event);

  // Timers. The record owning a timer: its "dataid" looked up among the
  // sticky notes, then in the service index tree; null when empty or not found.
  CVFDLNode* GetTimerNode(const CVFDLNode* timer);
  // The owner's kind: "Schedule" (120), "Timer" (172), "Notes" (190); empty otherwise.
  std::string GetTimerTypeString(const CVFDLNode* timer);
  // The timer at a position of the timer index (its document opened when
  // needed); null when there is none. Valid as "Lifetimes" in vfdl_doc.h says.
  const CATimerRec* GetTimerRec(std::string_view pos);
  // A timer standing for occurrence `value` of a recurring `source`, due
  // at `when`: not active, mapped, "MapType" `kind`, "MapID" the source's
  // id, "dataid" its position, aliased "<source alias>  map(<value>)",
  // with a one-entry map of that occurrence. Posts the timer added, then
  // updated; returns its position, empty on failure.
  std::string MapTimerRec(const CVFDLNode* source, int kind, const CTime& when, int value);
  // Adds (empty `pos`) or updates a timer; returns its position, which
  // changes when the timer moves to another document. An unchanged timer
  // posts nothing; one that stays posts updated; one whose proper document
  // changed (its state, due month or repetition) is added there (posted
  // added) and deleted from the old one (posted deleted). Empty when `pos`
  // names no timer or an edit fails.
  std::string SaveTimer(const std::string& pos, const CATimerRec& rec);
  // Deletes a timer, and with `clear_owner` the owner's reference to it
  // first: a note's reminder (posting the note changed), a schedule entry's
  // unless it is a recurring entry with a reminder, a channel item's
  // through its kind's hook (both posting the store changed). True for an
  // empty position or one that names no timer; false only when the delete
  // itself fails. Posts the timer deleted.
  bool DelTimer(std::string pos, bool clear_owner);

  // What the facade asks of kinds of record it does not hold itself (mail,
  // news and channel items, added by their subsystems): their text fields
  // in order, for an event's subject and sender; and clearing a timer's
  // owner of that kind (true when it was cleared and written back).
  struct KindHooks {
    std::function<std::vector<std::string>(const CVFDLNode&)> text_fields;
    std::function<bool(CVFDLNode&)> clear_timer;
  };
  void SetKindHooks(int extend_type, KindHooks hooks);

  // The notices the facade itself posted, with the position of the node
  // each names, taken when it was posted (a deleted node has none later).
  // A host that shows relayed messages asks for one by the message it got:
  // the oldest notice of the same three values is handed out and
  // forgotten; empty when there is none. At most kNoticeLogSize are kept.
  static constexpr size_t kNoticeLogSize = 1024;
  std::string TakeNoticePos(uint32_t message, uintptr_t wparam, intptr_t lparam);

  // Contacts, from the address book the service index opens (its books
  // are opened as needed). The first contact one of whose e-mail addresses
  // is `email`, without regard to case, books in order; null when none.
  // Valid as long as the contact stays in its book and the book open
  // ("Lifetimes" in vfdl_doc.h).
  CVFDLNode* FindAdrByEmail(const std::string& email);
  // A comma-separated address list for display: each piece by its display
  // name where it has one, else by its address, joined by ";".
  static void FormatAdrForDisplay(std::string_view in, std::string& out);
  // Refills the contact list: one entry per contact and e-mail address
  // (one with no address for a contact without any).
  void GetContactsList();
  const std::vector<CContactListEntry>& GetContacts() const { return contacts_; }

  // The browse dialogs (browse.h): the host's dialog runs over the entries;
  // on OK the result is 1 and the chosen entry's path (folders, files) or
  // position (templates) and its kind are filled; else 0, nothing filled.
  // The template browser opens at the top folder `folder` and hands back
  // the chosen template's position.
  int OpenBrowseFolderDlg(const CBrowseDialog& dialog, std::string& path, int& kind) const;
  int OpenBrowseFileDlg(const CBrowseDialog& dialog, std::string& path, int& kind) const;
  int OpenBrowseATLDlg(const CBrowseDialog& dialog, std::string& pos, int& folder) const;

  // The weekday's name: 1 Sunday to 7 Saturday; empty for any other day.
  static std::string GetWeekLabel(const CTime& time);
  static std::string GetWeekLabel(const int& day);

 private:
  struct StartupStep {
    std::string_view name;
    bool (CZDS::*run)();
  };
  static const std::span<const StartupStep> StartupSteps();

  void CreateInfoWnd();
  void DestroyInfoWnd();
  void Relay(const platform::WindowMessage& message) const;
  void PostNotice(uint32_t message, const CVFDLNode* node, intptr_t change);
  // For a node about to go, named while it was there.
  void PostDeleted(uint32_t message, uintptr_t node, std::string pos);
  const KindHooks* HooksOf(int extend_type) const;
  bool ClearTimerOwner(const CATimerRec& timer);
  std::vector<std::string> TextFields(const CVFDLNode& node) const;
  template <typename Doc>
  void Opened(std::string_view step, const Doc& doc, OpenResult result, StartupBase base);
  bool Fail(std::string_view step, std::string_view path, OpenResult result, FileProblem problem = {});
  // The common create-or-open sequence for a start-up document.
  // `base` kEmpty takes the asymmetric base: empty when made, the data
  // root when loaded.
  template <typename Doc>
  bool OpenStartupDoc(std::unique_ptr<Doc>& slot, std::string_view step, std::string_view path,
                      StartupBase base, std::string_view base_path = "");

  static CZDS* m_pthis;

  std::shared_ptr<const platform::DataRoot> root_;
  std::string editor_root_;
  std::string timer_dir_ = "\\timer";
  std::string aidl_path_ = "\\aidl.xml";
  std::array<std::string, 4> aidl_strings_;
  CRTTIRegistry registry_;
  StartupFailure failure_;
  std::vector<StartupDoc> opened_;
  std::unordered_map<int, KindHooks> kind_hooks_;
  struct Notice {
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
    std::string pos;
  };
  std::deque<Notice> notices_;

  platform::MessageQueue* queue_ = nullptr;
  platform::WindowHandle info_window_ = nullptr;
  std::vector<platform::WindowHandle> windows_;
  std::vector<CContactListEntry> contacts_;

  // The destructor deletes them in its own order.
  std::unique_ptr<CMonitorDoc> monitor_;
  std::unique_ptr<CAMyCalDoc> mycal_;
  std::unique_ptr<CAEventDoc> event_;
  std::unique_ptr<CANoteDoc> note_;
  std::unique_ptr<CAutoRunDoc> autorun_;
  std::unique_ptr<CAPLDoc> apl_;
  std::unique_ptr<CATLDoc> atl_;
  std::unique_ptr<CAIDLDoc> aidl_;
  std::unique_ptr<CATimerIndexDoc> timer_index_;
};

}  // namespace zds

#endif  // ZDS_STORE_ZDS_H_

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
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zds/calendar/calendar_doc.h"
#include "zds/contacts/adrbook_doc.h"
#include "zds/events/autorun_doc.h"
#include "zds/events/event_doc.h"
#include "zds/events/monitor_doc.h"
#include "zds/framework/messages.h"
#include "zds/framework/rtti.h"
#include "zds/platform/files.h"
#include "zds/platform/time.h"
#include "zds/platform/window.h"
#include "zds/store/aidl_doc.h"
#include "zds/timers/timer_index_doc.h"

namespace zds {

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

  // The start-up steps, for a host that opens one document alone.
  [[nodiscard]] bool InitMonitor();
  [[nodiscard]] bool InitAIDL();
  [[nodiscard]] bool InitSystemFolders();
  [[nodiscard]] bool InitAEvent();
  [[nodiscard]] bool InitAutoRun();
  [[nodiscard]] bool InitATimer();

  // The open documents; null before their step ran or when it failed.
  // Each stays valid until that step runs again (another InitZDS) or the
  // facade goes; the nodes in them as "Lifetimes" in vfdl_doc.h says.
  CMonitorDoc* GetMonitorDoc() const { return monitor_.get(); }
  CAIDLDoc* GetAIDLDoc() const { return aidl_.get(); }
  CAEventDoc* GetEventDoc() const { return event_.get(); }
  CAutoRunDoc* GetAutoRunDoc() const { return autorun_.get(); }
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
  bool Fail(std::string_view step, std::string_view path, OpenResult result, FileProblem problem = {});
  // The common create-or-open sequence for a start-up document.
  template <typename Doc>
  bool OpenStartupDoc(std::unique_ptr<Doc>& slot, std::string_view step, std::string_view path,
                      std::string_view base_path = "");

  static CZDS* m_pthis;

  std::shared_ptr<const platform::DataRoot> root_;
  std::string editor_root_;
  std::string timer_dir_ = "\\timer";
  std::string aidl_path_ = "\\aidl.xml";
  std::array<std::string, 4> aidl_strings_;
  CRTTIRegistry registry_;
  StartupFailure failure_;

  platform::MessageQueue* queue_ = nullptr;
  platform::WindowHandle info_window_ = nullptr;
  std::vector<platform::WindowHandle> windows_;
  std::vector<CContactListEntry> contacts_;

  // Destroyed in the reverse of this order.
  std::unique_ptr<CMonitorDoc> monitor_;
  std::unique_ptr<CAEventDoc> event_;
  std::unique_ptr<CAutoRunDoc> autorun_;
  std::unique_ptr<CAIDLDoc> aidl_;
  std::unique_ptr<CATimerIndexDoc> timer_index_;
};

}  // namespace zds

#endif  // ZDS_STORE_ZDS_H_

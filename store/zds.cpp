#include "zds/store/zds.h"

#include <algorithm>

#include "zds/contacts/mail_address.h"
#include "zds/resources/recurrence_strings.h"
#include "zds/store/classes.h"

namespace zds {
namespace {

constexpr std::string_view kMonitorFile = "\\Monitor.xml";
constexpr std::string_view kEventFile = "\\XEvent.xml";
constexpr std::string_view kAutoRunFile = "\\autorun.xml";
constexpr std::string_view kTimerIndexFile = "\\index.xml";

// The four system folders and the directories made with each when the
// service index lacks it.
struct SystemFolderSetup {
  bool (CAIDLDoc::*exists)() const;
  std::string (CAIDLDoc::*add)(std::string_view);
  CVFDLDoc* (CAIDLDoc::*open)();
  std::string_view index;
  std::array<std::string_view, 4> directories;
};
constexpr SystemFolderSetup kSystemFolders[] = {
    {&CAIDLDoc::IsFavExisted, &CAIDLDoc::NewFavFolder, &CAIDLDoc::GetFavDoc<>, "\\Favorites\\index.xml", {"\\Favorites"}},
    {&CAIDLDoc::IsAdrBookExisted, &CAIDLDoc::NewAdrBookFolder, &CAIDLDoc::GetAdrBookDoc<>, "\\addressbook\\index.xml",
     {"\\addressbook"}},
    {&CAIDLDoc::IsCalendarExisted,
     &CAIDLDoc::NewCalendarFolder,
     &CAIDLDoc::GetCalendarDoc<>,
     "\\calendar\\index.xml",
     {"\\calendar", "\\calendar\\diary", "\\calendar\\schedule", "\\calendar\\project"}},
    {&CAIDLDoc::IsHistoryExisted,
     &CAIDLDoc::NewHistoryFolder,
     &CAIDLDoc::GetHistoryDoc<>,
     "\\history\\index.xml",
     {"\\history", "\\history\\mail", "\\history\\chat"}},
};

}  // namespace

CZDS* CZDS::m_pthis = nullptr;

CZDS::CZDS() { RegisterAllClasses(registry_); }

CZDS::~CZDS() {
  timer_index_.reset();
  aidl_.reset();
  autorun_.reset();
  event_.reset();
  monitor_.reset();
  DestroyInfoWnd();
  if (m_pthis == this) m_pthis = nullptr;
}

// Start-up in its fixed order; a later document adds its line here.
const std::span<const CZDS::StartupStep> CZDS::StartupSteps() {
  static constexpr StartupStep kSteps[] = {
      {"monitor", &CZDS::InitMonitor},          {"service index", &CZDS::InitAIDL},
      {"system folders", &CZDS::InitSystemFolders}, {"event queue", &CZDS::InitAEvent},
      {"auto-run list", &CZDS::InitAutoRun},    {"timer index", &CZDS::InitATimer},
  };
  return kSteps;
}

bool CZDS::InitZDS() {
  failure_ = {};
  CreateInfoWnd();
  if (!root_) return Fail("data root", "", OpenResult::kUnusable);
  for (const StartupStep& step : StartupSteps()) {
    if (!(this->*step.run)()) return false;
  }
  return true;
}

bool CZDS::Fail(std::string_view step, std::string_view path, OpenResult result, FileProblem problem) {
  failure_ = {step, std::string(path), result, std::move(problem)};
  return false;
}

bool CZDS::HasStore() const { return root_ && root_->FileExists(aidl_path_); }

template <typename Doc>
bool CZDS::OpenStartupDoc(std::unique_ptr<Doc>& slot, std::string_view step, std::string_view path,
                          std::string_view base_path) {
  slot.reset();
  auto doc = std::make_unique<Doc>();
  doc->SetDataRoot(root_);
  doc->SetAutoSaveFlag(true);
  if constexpr (std::is_base_of_v<CCASDVFDLDoc, Doc>) doc->SetClassRegistry(&registry_);
  OpenResult result = OpenVFDLDoc(*doc, path, base_path);
  if (!IsOpen(result)) return Fail(step, path, result, doc->GetOpenProblem());
  slot = std::move(doc);
  return true;
}

// Never loaded to be written: the monitor only ever holds the current run.
// A reader sees the last run's.
bool CZDS::InitMonitor() {
  monitor_.reset();
  if (IsReadOnly()) return OpenStartupDoc(monitor_, "monitor", kMonitorFile);
  if (!root_ || !root_->CreateDirectories("")) return Fail("monitor", "", OpenResult::kUnwritable);
  auto monitor = std::make_unique<CMonitorDoc>();
  monitor->SetDataRoot(root_);
  monitor->SetAutoSaveFlag(true);
  if (!monitor->NewXMLDoc(kMonitorFile) || !monitor->InitVFDLDoc("", "kov:") ||
      monitor->InsertRec("Monitor Init OK").empty()) {
    return Fail("monitor", kMonitorFile, OpenResult::kUnwritable);
  }
  monitor_ = std::move(monitor);
  return true;
}

bool CZDS::InitAIDL() {
  if (!OpenStartupDoc(aidl_, "service index", aidl_path_)) return false;
  aidl_->SetHostStrings(aidl_strings_);
  if (monitor_ && !IsReadOnly() && monitor_->InsertRec("AIDL Init OK").empty()) {
    return Fail("monitor", kMonitorFile, OpenResult::kUnwritable);
  }
  return true;
}

// A directory that cannot be made is no failure: the document that needs
// it reports that itself. The system documents are opened here when their
// class is known; one that cannot be opened stays closed without stopping
// start-up, as the documents opened on demand do.
bool CZDS::InitSystemFolders() {
  if (!aidl_) return Fail("system folders", aidl_path_, OpenResult::kMissing);
  if (IsReadOnly()) return true;  // a reader takes the folders as they are and opens their documents on demand
  for (const SystemFolderSetup& folder : kSystemFolders) {
    if (!(aidl_.get()->*folder.exists)()) {
      for (std::string_view directory : folder.directories) {
        if (!directory.empty()) root_->CreateDirectories(directory);
      }
      if ((aidl_.get()->*folder.add)(folder.index).empty()) {
        return Fail("system folders", aidl_path_, OpenResult::kUnwritable);
      }
    }
    (aidl_.get()->*folder.open)();
  }
  return true;
}

bool CZDS::InitAEvent() { return OpenStartupDoc(event_, "event queue", kEventFile); }

bool CZDS::InitAutoRun() { return OpenStartupDoc(autorun_, "auto-run list", kAutoRunFile); }

// The index lives in the timer directory and names its files relative to
// it; after opening, the current month's document is made sure of, and the
// nodes that makes are announced through the information window.
bool CZDS::InitATimer() {
  timer_index_.reset();
  if (!root_) return Fail("timer index", timer_dir_, OpenResult::kUnusable);
  if (!IsReadOnly()) root_->CreateDirectories(timer_dir_);  // a failure shows as the index's own
  std::string path = platform::JoinStoredPath(timer_dir_, kTimerIndexFile);
  if (!OpenStartupDoc(timer_index_, "timer index", path, timer_dir_)) return false;
  if (!IsReadOnly()) timer_index_->AdjustByDate(info_window_);
  return true;
}

void CZDS::CreateInfoWnd() {
  DestroyInfoWnd();
  if (queue_ == nullptr) return;
  info_window_ = queue_->NewWindow([this](const platform::WindowMessage& message) { Relay(message); });
}

void CZDS::DestroyInfoWnd() {
  if (queue_ != nullptr && info_window_ != nullptr) queue_->DestroyWindow(info_window_);
  info_window_ = nullptr;
}

void CZDS::Relay(const platform::WindowMessage& message) const {
  if (std::find(kZDSMessages.begin(), kZDSMessages.end(), message.message) == kZDSMessages.end()) return;
  for (platform::WindowHandle window : windows_) {
    platform::PostWindowMessage(window, message.message, message.wparam, message.lparam);
  }
}

void CZDS::UnRegisterWnd(platform::WindowHandle window) { std::erase(windows_, window); }

CAdrBookDoc* CZDS::GetAdrBookDoc() const { return aidl_ ? aidl_->GetAdrBookDoc<CAdrBookDoc>() : nullptr; }

CCalendarDoc* CZDS::GetCalendarDoc() const { return aidl_ ? aidl_->GetCalendarDoc<CCalendarDoc>() : nullptr; }

CVFDLNode* CZDS::FindAdrByEmail(const std::string& email) {
  CAdrBookDoc* address_book = GetAdrBookDoc();
  return address_book ? address_book->FindAdrByEmail(email) : nullptr;
}

// The list is split at every "," before any address is read, so a comma
// inside a quoted display name splits too: "Doe, Jane" <jane@example.org>
// shows as "Doe;Jane".
void CZDS::FormatAdrForDisplay(std::string_view in, std::string& out) {
  out.clear();
  while (true) {
    size_t comma = in.find(',');
    MailAddress address = ParseMailAddress(in.substr(0, comma));
    out += address.name.empty() ? address.address : address.name;
    if (comma == std::string_view::npos) return;
    out += ';';
    in.remove_prefix(comma + 1);
  }
}

void CZDS::GetContactsList() {
  contacts_.clear();
  if (CAdrBookDoc* address_book = GetAdrBookDoc()) address_book->GetContactsList(contacts_);
}

std::string CZDS::GetWeekLabel(const CTime& time) { return GetWeekLabel(time.GetDayOfWeek()); }

std::string CZDS::GetWeekLabel(const int& day) {
  if (day < 1 || day > 7) return std::string();
  return std::string(LoadResourceString(res::kSunday + day - 1));
}

}  // namespace zds

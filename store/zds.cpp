#include "zds/store/zds.h"

#include <algorithm>

#include "zds/calendar/schedule_doc.h"
#include "zds/contacts/mail_address.h"
#include "zds/feeds/classes.h"
#include "zds/feeds/extend_types.h"
#include "zds/mail/extend_types.h"
#include "zds/resources/recurrence_strings.h"
#include "zds/resources/store_strings.h"
#include "zds/store/classes.h"

namespace zds {
namespace {

constexpr std::string_view kMonitorFile = "\\Monitor.xml";
constexpr std::string_view kEventFile = "\\XEvent.xml";
constexpr std::string_view kAutoRunFile = "\\autorun.xml";
constexpr std::string_view kAPLFile = "\\apl.xml";
constexpr std::string_view kNoteFile = "\\anote.xml";
constexpr std::string_view kMyCalFile = "\\AMyCal.xml";
constexpr std::string_view kTemplateDir = "\\editor\\template";
constexpr std::string_view kTemplateFile = "\\index.xml";
// A kind whose subject is its first text field, like a timer's.
constexpr int kFirstFieldSubjectType = 129;
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

CZDS::CZDS() {
  RegisterAllClasses(registry_);
  SetFeedKindHooks(*this);
}

CZDS::~CZDS() {
  timer_index_.reset();
  aidl_.reset();
  atl_.reset();
  apl_.reset();
  autorun_.reset();
  note_.reset();
  event_.reset();
  mycal_.reset();
  monitor_.reset();
  DestroyInfoWnd();
  if (m_pthis == this) m_pthis = nullptr;
}

// Start-up in its fixed order; a later document adds its line here.
const std::span<const CZDS::StartupStep> CZDS::StartupSteps() {
  static constexpr StartupStep kSteps[] = {
      {"monitor", &CZDS::InitMonitor},
      {"service index", &CZDS::InitAIDL},
      {"system folders", &CZDS::InitSystemFolders},
      {"event queue", &CZDS::InitAEvent},
      {"templates", &CZDS::InitATL},
      {"print list", &CZDS::InitAPL},
      {"auto-run list", &CZDS::InitAutoRun},
      {"sticky notes", &CZDS::InitANote},
      {"work-day calendar", &CZDS::InitAMyCal},
      {"timer index", &CZDS::InitATimer},
  };
  return kSteps;
}

bool CZDS::InitZDS() {
  failure_ = {};
  opened_.clear();
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
void CZDS::Opened(std::string_view step, const Doc& doc, OpenResult result, StartupBase base) {
  opened_.push_back({step, doc.GetFilePath(), result, base, doc.GetBasePath()});
}

// The create-or-open sequence, but for the base directory: the documents
// whose base follows how they were opened learn it only after the file was
// read or made, so the framework's initialisation runs here, once.
template <typename Doc>
bool CZDS::OpenStartupDoc(std::unique_ptr<Doc>& slot, std::string_view step, std::string_view path,
                          StartupBase base, std::string_view base_path) {
  slot.reset();
  if (!root_) return Fail(step, path, OpenResult::kUnusable);
  auto doc = std::make_unique<Doc>();
  doc->SetDataRoot(root_);
  doc->SetAutoSaveFlag(true);
  if constexpr (std::is_base_of_v<CCASDVFDLDoc, Doc>) doc->SetClassRegistry(&registry_);
  OpenResult result = OpenVFDLDoc(*doc, path, base_path);
  if (!IsOpen(result)) return Fail(step, path, result, doc->GetOpenProblem());
  if (base == StartupBase::kEmpty && result == OpenResult::kLoaded) base = StartupBase::kDataRoot;
  Opened(step, *doc, result, base);
  slot = std::move(doc);
  return true;
}

// Never loaded to be written: the monitor only ever holds the current run.
// A reader sees the last run's.
bool CZDS::InitMonitor() {
  monitor_.reset();
  if (IsReadOnly()) return OpenStartupDoc(monitor_, "monitor", kMonitorFile, StartupBase::kDataRoot);
  if (!root_ || !root_->CreateDirectories("")) return Fail("monitor", "", OpenResult::kUnwritable);
  auto monitor = std::make_unique<CMonitorDoc>();
  monitor->SetDataRoot(root_);
  monitor->SetAutoSaveFlag(true);
  if (!monitor->NewXMLDoc(kMonitorFile) || !monitor->InitVFDLDoc("", "kov:") ||
      monitor->InsertRec("Monitor Init OK").empty()) {
    return Fail("monitor", kMonitorFile, OpenResult::kUnwritable);
  }
  Opened("monitor", *monitor, OpenResult::kCreated, StartupBase::kDataRoot);
  monitor_ = std::move(monitor);
  return true;
}

bool CZDS::InitAIDL() {
  if (!OpenStartupDoc(aidl_, "service index", aidl_path_, StartupBase::kDataRoot)) return false;
  aidl_->SetHostStrings(aidl_strings_);
  if (monitor_ && !IsReadOnly() && monitor_->InsertRec("AIDL Init OK").empty()) {
    return Fail("monitor", kMonitorFile, OpenResult::kUnwritable);
  }
  return true;
}

// A directory that cannot be made is no failure: the document that needs
// it reports that itself. The directories are made sure of whether or not
// the folder was there, as start-up promises them. The system documents
// are opened here when their class is known (the others arrive with their
// subsystems); one whose file exists but cannot be used, or cannot be
// written, stops start-up like any other document.
bool CZDS::InitSystemFolders() {
  if (!aidl_) return Fail("system folders", aidl_path_, OpenResult::kMissing);
  if (IsReadOnly()) return true;  // a reader takes the folders as they are and opens their documents on demand
  for (const SystemFolderSetup& folder : kSystemFolders) {
    for (std::string_view directory : folder.directories) {
      if (!directory.empty()) root_->CreateDirectories(directory);
    }
    if (!(aidl_.get()->*folder.exists)() && (aidl_.get()->*folder.add)(folder.index).empty()) {
      return Fail("system folders", aidl_path_, OpenResult::kUnwritable);
    }
    const bool existed = root_->FileExists(folder.index);
    CVFDLDoc* doc = (aidl_.get()->*folder.open)();
    switch (aidl_->GetLastLoadStatus()) {
      case LoadStatus::kUnusable:
        return Fail("system folders", folder.index, OpenResult::kUnusable, aidl_->GetLastLoadProblem());
      case LoadStatus::kUnwritable:
        return Fail("system folders", folder.index, OpenResult::kUnwritable);
      default:
        break;
    }
    if (doc != nullptr) {
      Opened("system folders", *doc, existed ? OpenResult::kLoaded : OpenResult::kCreated, StartupBase::kOwnDirectory);
    }
  }
  return true;
}

bool CZDS::InitAEvent() { return OpenStartupDoc(event_, "event queue", kEventFile, StartupBase::kEmpty); }

// The templates live under the editor root, their directory their base
// however they were opened.
bool CZDS::InitATL() {
  const std::string dir = platform::JoinStoredPath(editor_root_, kTemplateDir);
  return OpenStartupDoc(atl_, "templates", platform::JoinStoredPath(dir, kTemplateFile), StartupBase::kOwnDirectory,
                        dir);
}

bool CZDS::InitAPL() { return OpenStartupDoc(apl_, "print list", kAPLFile, StartupBase::kEmpty); }

bool CZDS::InitAutoRun() { return OpenStartupDoc(autorun_, "auto-run list", kAutoRunFile, StartupBase::kEmpty); }

bool CZDS::InitANote() { return OpenStartupDoc(note_, "sticky notes", kNoteFile, StartupBase::kEmpty); }

// Opened without the framework's initialisation, its own in its place.
bool CZDS::InitAMyCal() {
  mycal_.reset();
  if (!root_) return Fail("work-day calendar", kMyCalFile, OpenResult::kUnusable);
  auto doc = std::make_unique<CAMyCalDoc>();
  doc->SetDataRoot(root_);
  doc->SetAutoSaveFlag(true);
  OpenResult result = doc->LoadXMLDoc(kMyCalFile);
  if (result == OpenResult::kMissing) {
    result = doc->NewXMLDoc(kMyCalFile) ? OpenResult::kCreated
             : doc->GetRoot()           ? OpenResult::kUnwritable
                                        : OpenResult::kUnusable;
  }
  if (!IsOpen(result)) return Fail("work-day calendar", kMyCalFile, result);
  if (!doc->InitMyCalDoc()) return Fail("work-day calendar", kMyCalFile, OpenResult::kUnusable);
  Opened("work-day calendar", *doc, result, StartupBase::kNone);
  mycal_ = std::move(doc);
  return true;
}

// The index lives in the timer directory and names its files relative to
// it; after opening, the current month's document is made sure of, and the
// nodes that makes are announced through the information window.
bool CZDS::InitATimer() {
  timer_index_.reset();
  if (!root_) return Fail("timer index", timer_dir_, OpenResult::kUnusable);
  if (!IsReadOnly()) root_->CreateDirectories(timer_dir_);  // a failure shows as the index's own
  std::string path = platform::JoinStoredPath(timer_dir_, kTimerIndexFile);
  if (!OpenStartupDoc(timer_index_, "timer index", path, StartupBase::kOwnDirectory, timer_dir_)) return false;
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

void CZDS::PostNotice(uint32_t message, const CVFDLNode* node, intptr_t change) {
  const auto wparam = reinterpret_cast<uintptr_t>(node);
  if (notices_.size() == kNoticeLogSize) notices_.pop_front();
  notices_.push_back({message, wparam, change, node ? node->GetPos() : std::string()});
  platform::PostWindowMessage(info_window_, message, wparam, change);
}

// A host asks in the order it was posted to, so the search ends at the
// front but for notices no window took.
std::string CZDS::TakeNoticePos(uint32_t message, uintptr_t wparam, intptr_t lparam) {
  auto it = std::find_if(notices_.begin(), notices_.end(), [&](const Notice& notice) {
    return notice.message == message && notice.wparam == wparam && notice.lparam == lparam;
  });
  if (it == notices_.end()) return {};
  std::string pos = std::move(it->pos);
  notices_.erase(it);
  return pos;
}

void CZDS::SetKindHooks(int extend_type, KindHooks hooks) { kind_hooks_[extend_type] = std::move(hooks); }

const CZDS::KindHooks* CZDS::HooksOf(int extend_type) const {
  auto it = kind_hooks_.find(extend_type);
  return it == kind_hooks_.end() ? nullptr : &it->second;
}

// ---- events ----

CVFDLNode* CZDS::GetEventNode(CVFDLNode* event) {
  CAEventRec* rec = NodeAs<CAEventRec>(event);
  if (rec == nullptr) return nullptr;
  CAEventExtendRec& fields = rec->GetExtendRec();
  if (fields.node != nullptr) return fields.node;
  CVFDLNode* found = aidl_ ? aidl_->FindNodeByPos(fields.data_id) : nullptr;
  if (found == nullptr && timer_index_) found = timer_index_->FindNodeByPos(fields.data_id);
  fields.node = found;
  return found;
}

int CZDS::GetEventType(CVFDLNode* event) {
  const CVFDLNode* node = GetEventNode(event);
  return node ? node->GetExtendType() : 0;
}

std::vector<std::string> CZDS::TextFields(const CVFDLNode& node) const {
  if (const CATimerRec* timer = NodeAs<CATimerRec>(&node)) return {timer->GetExtendRec().subject};
  const KindHooks* hooks = HooksOf(node.GetExtendType());
  return hooks && hooks->text_fields ? hooks->text_fields(node) : std::vector<std::string>();
}

std::string CZDS::GetEventSubject(CVFDLNode* event) {
  const CVFDLNode* node = GetEventNode(event);
  if (node == nullptr) return {};
  size_t field = 0;
  switch (node->GetExtendType()) {
    case kMailRecType:
    case kFirstFieldSubjectType:
    case kTimerRecType:
      field = 0;
      break;
    case kChannelItemType:
      field = 1;
      break;
    default:
      return {};
  }
  std::vector<std::string> fields = TextFields(*node);
  return field < fields.size() ? std::move(fields[field]) : std::string();
}

std::string CZDS::GetEventSender(CVFDLNode* event) {
  const CVFDLNode* node = GetEventNode(event);
  const int type = node ? node->GetExtendType() : 0;
  if (type == kTimerRecType) return GetTimerTypeString(node);
  if (type != kMailRecType) return std::string(LoadResourceString(res::kSystem));
  std::vector<std::string> fields = TextFields(*node);
  return fields.size() > 1 ? std::move(fields[1]) : std::string();
}

// ---- timers ----

CVFDLNode* CZDS::GetTimerNode(const CVFDLNode* timer) {
  const CATimerRec* rec = NodeAs<CATimerRec>(timer);
  if (rec == nullptr || rec->GetExtendRec().data_id.empty()) return nullptr;
  const std::string& owner = rec->GetExtendRec().data_id;
  if (note_) {
    if (CANoteRec* note = note_->GetRec(owner)) return note;
  }
  return aidl_ ? aidl_->FindNodeByPos(owner) : nullptr;
}

std::string CZDS::GetTimerTypeString(const CVFDLNode* timer) {
  const CVFDLNode* owner = GetTimerNode(timer);
  switch (owner ? owner->GetExtendType() : 0) {
    case kScheduleRecType:
      return std::string(LoadResourceString(res::kSchedule));
    case kTimerRecType:
      return std::string(LoadResourceString(res::kTimer));
    case kNoteRecType:
      return std::string(LoadResourceString(res::kNotes));
    default:
      return {};
  }
}

const CATimerRec* CZDS::GetTimerRec(std::string_view pos) {
  if (!timer_index_ || pos.empty()) return nullptr;
  CATimerDoc* doc = timer_index_->GetTimerDoc(pos);
  return doc ? doc->GetRec(pos) : nullptr;
}

std::string CZDS::MapTimerRec(const CVFDLNode* source, int kind, const CTime& when, int value) {
  if (source == nullptr || !timer_index_) return {};
  CATimerRec timer;
  CATimerExtendRec& fields = timer.GetExtendRec();
  fields.data_id = source->GetPos();
  fields.map_id = source->GetID();
  fields.map_type = kind;
  fields.state = kTimerUnactived;
  fields.mapped = true;
  fields.info_time = CTime(when.GetYear(), when.GetMonth(), when.GetDay(), when.GetHour(), when.GetMinute(),
                           when.GetSecond());
  fields.subject = source->GetAlias();
  timer.SetAlias(FormatMapAlias(source->GetAlias(), value));
  CATimerDoc* doc = timer_index_->GetRightDoc(timer, info_window_);
  const std::string pos = doc ? doc->AddTimer(timer, false) : std::string();
  const CATimerRec* added = doc ? doc->GetRec(pos) : nullptr;
  if (added == nullptr) return {};
  PostNotice(WM_ZDS_TIMER_CHANGED, added, kChangeAdded);
  CATimerRec mapped(*added);
  CCycleMap occurrence;
  occurrence.number = value;
  occurrence.from = occurrence.to = fields.info_time;
  occurrence.event = source->GetID();
  mapped.GetExtendRec().cycle_rec.emplace().maps.Add(occurrence);
  if (doc->UpdateRec(pos, mapped, false)) PostNotice(WM_ZDS_TIMER_CHANGED, added, kChangeUpdated);
  return pos;
}

std::string CZDS::SaveTimer(const std::string& pos, const CATimerRec& rec) {
  if (!timer_index_) return {};
  if (pos.empty()) {
    CATimerDoc* doc = timer_index_->GetRightDoc(rec, info_window_);
    const std::string added = doc ? doc->AddTimer(rec, false) : std::string();
    if (added.empty()) return {};
    PostNotice(WM_ZDS_TIMER_CHANGED, doc->GetNodeByPos(added), kChangeAdded);
    return added;
  }
  CATimerDoc* doc = timer_index_->GetTimerDoc(pos);
  const CATimerRec* stored = doc ? doc->GetRec(pos) : nullptr;
  if (stored == nullptr) return {};
  if (*stored == rec) return pos;
  CATimerDoc* right = timer_index_->GetRightDoc(rec, info_window_);
  if (right == nullptr) return {};
  if (right == doc) {
    if (!doc->UpdateRec(pos, rec, false)) return {};
    PostNotice(WM_ZDS_TIMER_CHANGED, stored, kChangeUpdated);
    return pos;
  }
  const std::string moved = right->AddTimer(rec, false);
  if (moved.empty()) return {};
  PostNotice(WM_ZDS_TIMER_CHANGED, right->GetNodeByPos(moved), kChangeAdded);
  // Named before it goes: the notice carries the node's last position.
  const std::string old_pos = stored->GetPos();
  const auto old_node = reinterpret_cast<uintptr_t>(stored);
  if (!doc->DelRec(pos)) {
    static_cast<void>(right->DelRec(moved));  // one timer, never two
    return {};
  }
  PostDeleted(WM_ZDS_TIMER_CHANGED, old_node, old_pos);
  return moved;
}

bool CZDS::DelTimer(std::string pos, bool clear_owner) {
  CATimerDoc* doc = timer_index_ && !pos.empty() ? timer_index_->GetTimerDoc(pos) : nullptr;
  const CATimerRec* timer = doc ? doc->GetRec(pos) : nullptr;
  if (timer == nullptr) return true;
  if (clear_owner) ClearTimerOwner(*timer);
  const std::string old_pos = timer->GetPos();
  const auto old_node = reinterpret_cast<uintptr_t>(timer);
  if (!doc->DelRec(pos)) return false;
  PostDeleted(WM_ZDS_TIMER_CHANGED, old_node, old_pos);
  return true;
}

void CZDS::PostDeleted(uint32_t message, uintptr_t node, std::string pos) {
  if (notices_.size() == kNoticeLogSize) notices_.pop_front();
  notices_.push_back({message, node, kChangeDeleted, std::move(pos)});
  platform::PostWindowMessage(info_window_, message, node, kChangeDeleted);
}

// A recurring entry's reminder stands for every occurrence: deleting one
// timer of it (an occurrence's) leaves the entry's reminder alone.
bool CZDS::ClearTimerOwner(const CATimerRec& timer) {
  CVFDLNode* owner = GetTimerNode(&timer);
  if (owner == nullptr) return false;
  if (note_ && note_->AsRec(owner) != nullptr) {
    if (!note_->ForgetTimer(owner->GetPos(), false)) return false;
    PostNotice(WM_ZDS_NOTE_CHANGED, owner, kChangeUpdated);
    return true;
  }
  bool cleared = false;
  if (const CScheduleRec* entry = NodeAs<CScheduleRec>(owner)) {
    const CScheduleExtendRec& fields = entry->GetExtendRec();
    if (fields.is_timer && fields.cycle) return false;
    CScheduleRec plain(*entry);
    plain.GetExtendRec().is_timer = false;
    plain.GetExtendRec().timer_id.clear();
    plain.GetExtendRec().set_minutes = 0;
    cleared = owner->GetDoc() && owner->GetDoc()->UpdateRec(owner->GetPos(), plain, false);
  } else if (const KindHooks* hooks = HooksOf(owner->GetExtendType()); hooks && hooks->clear_timer) {
    cleared = hooks->clear_timer(*owner);
  }
  if (cleared) PostNotice(WM_ZDS_CHANGED, owner, kChangeUpdated);
  return cleared;
}

// ---- browse dialogs ----

namespace {

// The chosen entry, or null when the dialog was cancelled or chose none.
const CBrowseItem* RunBrowseDialog(const CBrowseDialog& dialog, const std::vector<CBrowseItem>& items) {
  size_t chosen = 0;
  if (!dialog || dialog(items, chosen) != 1 || chosen >= items.size()) return nullptr;
  return &items[chosen];
}

// Path and kind of the chosen entry; 1 on OK, 0 filling nothing.
int BrowseForPath(const CBrowseDialog& dialog, const std::vector<CBrowseItem>& items, std::string& path, int& kind) {
  const CBrowseItem* chosen = RunBrowseDialog(dialog, items);
  if (chosen == nullptr) return 0;
  path = chosen->path;
  kind = chosen->kind;
  return 1;
}

}  // namespace

int CZDS::OpenBrowseFolderDlg(const CBrowseDialog& dialog, std::string& path, int& kind) const {
  return BrowseForPath(dialog, GetBrowseFolderItems(aidl_.get()), path, kind);
}

int CZDS::OpenBrowseFileDlg(const CBrowseDialog& dialog, std::string& path, int& kind) const {
  return BrowseForPath(dialog, GetBrowseFileItems(aidl_.get()), path, kind);
}

// A folder chosen is no template: only a record is handed back.
int CZDS::OpenBrowseATLDlg(const CBrowseDialog& dialog, std::string& pos, int& folder) const {
  const std::vector<CBrowseItem> items = GetBrowseATLItems(atl_.get(), folder);
  const CBrowseItem* chosen = RunBrowseDialog(dialog, items);
  if (chosen == nullptr || chosen->is_folder) return 0;
  pos = chosen->pos;
  return 1;
}

std::string FormatMapAlias(std::string_view alias, int value) {
  std::string text(alias);
  text += "  map(";
  text += std::to_string(value);
  text += ')';
  return text;
}

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

#include "zds/timers/timer_index_doc.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "zds/framework/messages.h"
#include "zds/platform/files.h"

namespace zds {
namespace {

constexpr std::string_view kCycleAlias = "Cycle";
constexpr std::string_view kUnActiveAlias = "UnActive";

// A month as one number, so that spans of months are ranges.
int64_t MonthKey(int64_t year, int month) { return year * 12 + (month - 1); }
int64_t MonthKey(const CTime& time) { return MonthKey(time.GetYear(), time.GetMonth()); }

// A number written with exactly `digits` decimal digits, as the index's
// aliases and dates are; nothing for any other text.
std::optional<int> ReadDigits(std::string_view text, size_t digits) {
  if (text.size() != digits) return std::nullopt;
  int value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

void Announce(platform::WindowHandle window, const CVFDLNode* node) {
  if (window == nullptr) return;
  platform::PostWindowMessage(window, WM_ZDS_TIMER_CHANGED, reinterpret_cast<uintptr_t>(node), 0);
}

bool ByTimeThenPosition(const CATimerDue& a, const CATimerDue& b) {
  if (a.time != b.time) return a.time < b.time;
  if (a.pos != b.pos) return a.pos < b.pos;
  return a.occurrence < b.occurrence;
}

}  // namespace

// ---- finding documents ----

CATimerDoc* CATimerIndexDoc::OpenTimerDoc(const CVFDLNode& node, bool create) {
  return LoadVFDLDoc<CATimerDoc>(node, create);
}

// Calls `visit` (month record, month key) for every month record of the
// index: a record with a two-digit alias in a folder with a four-digit one.
template <typename Visit>
void CATimerIndexDoc::ForEachMonth(const Visit& visit) const {
  if (GetRoot() == nullptr) return;
  for (const CVFDLFolder& year : ChildFolders(*GetRoot())) {
    std::optional<int> year_number = ReadDigits(year.GetAlias(), 4);
    if (!year_number) continue;
    for (const CVFDLRec& month : ChildRecs(year)) {
      if (std::optional<int> month_number = ReadDigits(month.GetAlias(), 2)) {
        visit(month, MonthKey(*year_number, *month_number));
      }
    }
  }
}

CVFDLFolder* CATimerIndexDoc::FindFolder(std::string_view alias) const {
  return GetRoot() ? AsFolder(GetRoot()->FindChildByAlias(alias)) : nullptr;
}

CATimerDoc* CATimerIndexDoc::GetFixedDoc(std::string_view alias) {
  CVFDLFolder* folder = FindFolder(alias);
  return folder ? OpenTimerDoc(*folder, true) : nullptr;
}

CATimerDoc* CATimerIndexDoc::GetCycleDoc() { return GetFixedDoc(kCycleAlias); }

CATimerDoc* CATimerIndexDoc::GetUnActiveDoc() { return GetFixedDoc(kUnActiveAlias); }

CATimerDoc* CATimerIndexDoc::GetCurrentDoc(std::string_view date, platform::WindowHandle window) {
  int year = 0, month = 0;
  if (!ParseYearMonth(date, year, month)) return nullptr;
  CVFDLNode* record = EnsureMonthRec(year, month, window);
  return record ? OpenTimerDoc(*record, true) : nullptr;
}

CATimerDoc* CATimerIndexDoc::GetRightDoc(const CATimerRec& timer, platform::WindowHandle window) {
  const CATimerExtendRec& fields = timer.GetExtendRec();
  if (fields.cyclic) return GetCycleDoc();
  if (fields.state == kTimerActived) return GetCurrentDoc(fields.info_time.Format(kTimeFormatDate), window);
  return GetUnActiveDoc();
}

bool CATimerIndexDoc::AdjustByDate(platform::WindowHandle window) {
  CTime now = CTime::GetCurrentTime();
  return EnsureMonthRec(now.GetYear(), now.GetMonth(), window) != nullptr;
}

bool CATimerIndexDoc::GetBrowseRec(std::string_view pos_or_path, std::vector<const CATimerRec*>& list) {
  const CVFDLNode* node = GetNodeByPos(pos_or_path);
  if (node == nullptr) node = GetNodeByPath(pos_or_path);
  CATimerDoc* doc = node ? OpenTimerDoc(*node) : nullptr;
  if (doc == nullptr) return false;
  for (const CATimerRec& timer : std::as_const(*doc).Recs()) list.push_back(&timer);
  return true;
}

CATimerDoc* CATimerIndexDoc::GetTimerDoc(std::string_view timer_pos) {
  size_t cut = timer_pos.rfind('\\');
  if (cut == std::string_view::npos) return nullptr;
  const CVFDLNode* holder = GetNodeByPos(timer_pos.substr(0, cut));
  CATimerDoc* doc = holder ? OpenTimerDoc(*holder) : nullptr;
  return doc && doc->GetRec(timer_pos) ? doc : nullptr;
}

std::vector<const CVFDLNode*> CATimerIndexDoc::GetTimerDocNodes() const {
  std::vector<const CVFDLNode*> nodes;
  if (GetRoot() == nullptr) return nodes;
  for (std::string_view alias : {kCycleAlias, kUnActiveAlias}) {
    if (const CVFDLFolder* folder = FindFolder(alias)) nodes.push_back(folder);
  }
  ForEachMonth([&nodes](const CVFDLNode& month, int64_t) { nodes.push_back(&month); });
  return nodes;
}

void CATimerIndexDoc::NoteUnusable(const CVFDLNode& node, std::vector<std::string>* unusable) const {
  if (unusable == nullptr || !platform::IsSafeStoredPath(node.GetSrc())) return;
  std::string file = platform::JoinStoredPath(GetBasePath(), node.GetSrc());
  if (GetDataRoot()->FileExists(file)) unusable->push_back(std::move(file));
}

// ---- making month documents ----

CVFDLFolder* CATimerIndexDoc::EnsureYearFolder(std::string_view alias, platform::WindowHandle window) {
  if (CVFDLFolder* year = FindFolder(alias)) return year;
  CVFDLFolder folder;
  folder.SetAlias(alias);
  folder.SetAttribute(kAttrSystem);
  std::string pos = AddFolder(GetRoot()->GetPos(), folder, true);
  if (pos.empty()) return nullptr;
  CVFDLFolder* year = GetFolderByPos(pos);
  Announce(window, year);
  return year;
}

CVFDLNode* CATimerIndexDoc::EnsureMonthRec(int year, int month, platform::WindowHandle window) {
  if (GetRoot() == nullptr || !GetDataRoot()) return nullptr;
  std::string year_alias = field::FormatPadded(year, 4), month_alias = field::FormatPadded(month, 2);
  CVFDLFolder* year_folder = EnsureYearFolder(year_alias, window);
  if (year_folder == nullptr) return nullptr;
  if (CVFDLRec* record = AsRec(year_folder->FindChildByAlias(month_alias))) return record;

  std::string src = "\\" + year_alias + month_alias + ".xml";
  std::string file = platform::JoinStoredPath(GetBasePath(), src);
  // A month file already there (an index made anew beside its months) is
  // taken as it stands: its timers are not to be written over.
  if (!GetDataRoot()->FileExists(file)) {
    CATimerDoc created;
    created.SetDataRoot(GetDataRoot());
    if (!created.NewXMLDoc(file)) return nullptr;
  }
  CVFDLRec record;
  record.SetAlias(month_alias);
  record.SetAttribute(kAttrSystem);
  record.ComposeContent(CATimerDoc::kFamily.root_tag, CATimerDoc::kFamily.class_name, "universal");
  record.SetSrc(src);
  std::string pos = AddRec(year_folder->GetPos(), record, true);
  if (pos.empty()) return nullptr;
  CVFDLNode* added = GetNodeByPos(pos);
  Announce(window, added);
  return added;
}

std::string CATimerIndexDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  std::string pos = CVFDLFamily::AddRec(parent_pos, rec, flag);
  if (!pos.empty() && platform::IsSafeStoredPath(rec.GetSrc())) {
    std::string file = platform::JoinStoredPath(GetBasePath(), rec.GetSrc());
    GetDataRoot()->CreateDirectories(platform::StoredDirectoryOf(file));  // a failure shows when the file is written
  }
  return pos;
}

bool CATimerIndexDoc::DelRec(std::string_view pos) {
  const CVFDLNode* node = GetNodeByPos(pos);
  std::string file;
  if (node && node->GetNodeType() == kNodeRec && platform::IsSafeStoredPath(node->GetSrc())) {
    file = platform::JoinStoredPath(GetBasePath(), node->GetSrc());
  }
  if (!CVFDLFamily::DelRec(pos)) return false;
  if (!file.empty()) GetDataRoot()->RemoveFile(file);  // a file already gone is no failure
  return true;
}

// ---- due timers ----

std::vector<CATimerDue> CATimerIndexDoc::GetDueTimers(const CTime& from, const CTime& to,
                                                      std::vector<std::string>* unusable) {
  std::vector<CATimerDue> due;
  if (!(from < to) || GetRoot() == nullptr || !GetDataRoot()) return due;
  CollectOneShots(from, to, due, unusable);
  CollectRepeating(from, to, due, unusable);
  std::sort(due.begin(), due.end(), ByTimeThenPosition);
  return due;
}

void CATimerIndexDoc::CollectOneShots(const CTime& from, const CTime& to, std::vector<CATimerDue>& due,
                                      std::vector<std::string>* unusable) {
  const int64_t first = MonthKey(from), last = MonthKey(to - CTimeSpan(1));
  std::vector<const CVFDLNode*> months;
  ForEachMonth([&](const CVFDLNode& month, int64_t key) {
    if (key >= first && key <= last) months.push_back(&month);
  });
  for (const CVFDLNode* month : months) {
    CATimerDoc* doc = OpenTimerDoc(*month);
    if (doc == nullptr) {
      NoteUnusable(*month, unusable);
      continue;
    }
    for (const CATimerRec& timer : std::as_const(*doc).Recs()) {
      const CATimerExtendRec& fields = timer.GetExtendRec();
      bool inside = !(fields.info_time < from) && fields.info_time < to;
      if (fields.cyclic || fields.state != kTimerActived || !inside) continue;
      due.push_back({fields.info_time, timer.GetPos(), fields.subject, fields.action_id, -1});
    }
  }
}

void CATimerIndexDoc::CollectRepeating(const CTime& from, const CTime& to, std::vector<CATimerDue>& due,
                                       std::vector<std::string>* unusable) {
  CVFDLFolder* cycle = FindFolder(kCycleAlias);
  CATimerDoc* doc = cycle ? OpenTimerDoc(*cycle) : nullptr;
  if (doc == nullptr) {
    if (cycle) NoteUnusable(*cycle, unusable);  // no file yet is no repeating timer yet
    return;
  }
  for (const CATimerRec& timer : std::as_const(*doc).Recs()) {
    const CATimerExtendRec& fields = timer.GetExtendRec();
    if (!fields.cyclic || !fields.cycle_rec || fields.state != kTimerActived) continue;
    std::string pos = timer.GetPos();
    for (const CATimerOccurrence& occurrence : fields.cycle_rec->GetOccurrencesIn(from, to)) {
      due.push_back({occurrence.begin, pos, fields.subject, fields.action_id, occurrence.number});
    }
  }
}

}  // namespace zds

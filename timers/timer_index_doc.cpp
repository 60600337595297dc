#include "zds/timers/timer_index_doc.h"

#include <algorithm>
#include <cstdio>
#include <optional>

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

std::string Padded(int value, int width) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%0*d", width, value);
  return buffer;
}

// The year and month a date text begins with ("2004-11", "2004-11-15").
bool ReadYearMonth(std::string_view date, int& year, int& month) {
  if (date.size() < 7 || date[4] != '-') return false;
  std::optional<int> y = ReadDigits(date.substr(0, 4), 4);
  std::optional<int> m = ReadDigits(date.substr(5, 2), 2);
  if (!y || !m || *m < 1 || *m > 12) return false;
  year = *y;
  month = *m;
  return true;
}

// The child of `folder` with `alias` and of the node type wanted.
CVFDLNode* FindChild(CVFDLFolder& folder, std::string_view alias, int node_type) {
  CVFDLNode* child = folder.FindChildByAlias(alias);
  return child && child->GetNodeType() == node_type ? child : nullptr;
}

void Announce(platform::WindowHandle window, const CVFDLNode* node) {
  if (window == nullptr) return;
  platform::PostWindowMessage(window, kTimerChangedMessage, reinterpret_cast<uintptr_t>(node), 0);
}

// Calls `visit` (month record, month key) for every month record of the
// index: a record with a two-digit alias in a folder with a four-digit one.
template <typename Visit>
void ForEachMonth(const CVFDLFolder& root, const Visit& visit) {
  for (const CVFDLNode* year = root.GetFirstChild(); year; year = year->GetNextSibling()) {
    std::optional<int> year_number = ReadDigits(year->GetAlias(), 4);
    if (!year->IsFolder() || !year_number) continue;
    for (const CVFDLNode* month = static_cast<const CVFDLFolder*>(year)->GetFirstChild(); month;
         month = month->GetNextSibling()) {
      std::optional<int> month_number = ReadDigits(month->GetAlias(), 2);
      if (month->GetNodeType() != kNodeRec || !month_number) continue;
      visit(*month, MonthKey(*year_number, *month_number));
    }
  }
}

bool ByTimeThenPosition(const CATimerDue& a, const CATimerDue& b) {
  if (a.time != b.time) return a.time < b.time;
  if (a.pos != b.pos) return a.pos < b.pos;
  return a.occurrence < b.occurrence;
}

}  // namespace

bool CATimerIndexDoc::NewXMLDoc(std::string_view path) {
  if (!CVFDLFamily::NewXMLDoc(path)) return false;
  bool bound = GetDataRoot() != nullptr && !path.empty();
  return GetAutoSaveFlag() || !bound || SaveXMLDoc();
}

// ---- finding documents ----

CATimerDoc* CATimerIndexDoc::OpenTimerDoc(const CVFDLNode& node, bool create) {
  return dynamic_cast<CATimerDoc*>(LoadVFDLDoc(node, create));
}

CATimerDoc* CATimerIndexDoc::GetFixedDoc(std::string_view alias) {
  CVFDLNode* node = GetRoot() ? FindChild(*GetRoot(), alias, kNodeFolder) : nullptr;
  return node ? OpenTimerDoc(*node, true) : nullptr;
}

CATimerDoc* CATimerIndexDoc::GetCycleDoc() { return GetFixedDoc(kCycleAlias); }

CATimerDoc* CATimerIndexDoc::GetUnActiveDoc() { return GetFixedDoc(kUnActiveAlias); }

CATimerDoc* CATimerIndexDoc::GetCurrentDoc(std::string_view date, platform::WindowHandle window) {
  int year = 0, month = 0;
  if (!ReadYearMonth(date, year, month)) return nullptr;
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
  std::vector<const CATimerRec*> timers = doc->GetTimers();
  list.insert(list.end(), timers.begin(), timers.end());
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
    if (CVFDLNode* node = FindChild(*GetRoot(), alias, kNodeFolder)) nodes.push_back(node);
  }
  ForEachMonth(*GetRoot(), [&nodes](const CVFDLNode& month, int64_t) { nodes.push_back(&month); });
  return nodes;
}

void CATimerIndexDoc::NoteUnusable(const CVFDLNode& node, std::vector<std::string>* unusable) const {
  if (unusable == nullptr || !platform::IsSafeStoredPath(node.GetSrc())) return;
  std::string file = platform::JoinStoredPath(GetBasePath(), node.GetSrc());
  if (GetDataRoot()->FileExists(file)) unusable->push_back(std::move(file));
}

// ---- making month documents ----

CVFDLFolder* CATimerIndexDoc::EnsureYearFolder(std::string_view alias, platform::WindowHandle window) {
  if (CVFDLNode* year = FindChild(*GetRoot(), alias, kNodeFolder)) return static_cast<CVFDLFolder*>(year);
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
  std::string year_alias = Padded(year, 4), month_alias = Padded(month, 2);
  CVFDLFolder* year_folder = EnsureYearFolder(year_alias, window);
  if (year_folder == nullptr) return nullptr;
  if (CVFDLNode* record = FindChild(*year_folder, month_alias, kNodeRec)) return record;

  std::string src = "\\" + year_alias + month_alias + ".xml";
  std::string file = platform::JoinStoredPath(GetBasePath(), src);
  // A month file already there (an index made anew beside its months) is
  // taken as it stands: its timers are not to be written over.
  if (!GetDataRoot()->FileExists(file)) {
    GetDataRoot()->CreateDirectories(platform::StoredDirectoryOf(file));
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
  ForEachMonth(*GetRoot(), [&](const CVFDLNode& month, int64_t key) {
    if (key >= first && key <= last) months.push_back(&month);
  });
  for (const CVFDLNode* month : months) {
    CATimerDoc* doc = OpenTimerDoc(*month);
    if (doc == nullptr) {
      NoteUnusable(*month, unusable);
      continue;
    }
    for (const CATimerRec* timer : doc->GetTimers()) {
      const CATimerExtendRec& fields = timer->GetExtendRec();
      bool inside = !(fields.info_time < from) && fields.info_time < to;
      if (fields.cyclic || fields.state != kTimerActived || !inside) continue;
      due.push_back({fields.info_time, timer->GetPos(), fields.subject, fields.action_id, -1});
    }
  }
}

void CATimerIndexDoc::CollectRepeating(const CTime& from, const CTime& to, std::vector<CATimerDue>& due,
                                       std::vector<std::string>* unusable) {
  CVFDLNode* cycle = FindChild(*GetRoot(), kCycleAlias, kNodeFolder);
  CATimerDoc* doc = cycle ? OpenTimerDoc(*cycle) : nullptr;
  if (doc == nullptr) {
    if (cycle) NoteUnusable(*cycle, unusable);  // no file yet is no repeating timer yet
    return;
  }
  for (const CATimerRec* timer : doc->GetTimers()) {
    const CATimerExtendRec& fields = timer->GetExtendRec();
    if (!fields.cyclic || !fields.cycle_rec || fields.state != kTimerActived) continue;
    std::string pos = timer->GetPos();
    for (const CATimerOccurrence& occurrence : fields.cycle_rec->GetOccurrencesIn(from, to)) {
      due.push_back({occurrence.begin, pos, fields.subject, fields.action_id, occurrence.number});
    }
  }
}

}  // namespace zds

#include "zds/calendar/schedule_index_doc.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "zds/calendar/schedule_occurrences.h"
#include "zds/framework/field_codec.h"
#include "zds/framework/messages.h"
#include "zds/platform/ascii.h"
#include "zds/platform/files.h"

namespace zds {
namespace {

constexpr std::string_view kScheduleContent = "schedule;class=CScheduleDoc;os=universal";
constexpr std::string_view kCycleAlias = "Cycle";
constexpr std::string_view kCycleFile = "\\cycle.xml";
constexpr std::string_view kWholeAlias = "Whole";
constexpr std::string_view kWholeFile = "\\whole.xml";

bool IsDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Months counted from year 0, so that a span is a range of numbers.
int64_t MonthIndex(const CTime& time) {
  std::tm fields = time.GetLocalTm();
  return (int64_t{fields.tm_year} + 1900) * 12 + fields.tm_mon;
}

// The month's folder alias ("2004-05") and file ("\200405.xml").
std::string MonthAlias(int64_t index) {
  char text[32];
  std::snprintf(text, sizeof text, "%04lld-%02lld", static_cast<long long>(index / 12),
                static_cast<long long>(index % 12 + 1));
  return text;
}
std::string MonthFile(std::string_view alias) {
  std::string file = "\\";
  file.append(alias.substr(0, 4)).append(alias.substr(5, 2)).append(".xml");
  return file;
}

CTime NextMidnight(const CTime& midnight) {
  std::tm fields = midnight.GetLocalTm();
  return CTime::FromLocalFields(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday + 1, 0, 0, 0);
}

bool SameDay(const CTime& a, const CTime& b) {
  std::tm x = a.GetLocalTm(), y = b.GetLocalTm();
  return x.tm_year == y.tm_year && x.tm_mon == y.tm_mon && x.tm_mday == y.tm_mday;
}

// The local days of a span: midnight of the first, and the last moment of the last.
bool ParseSpan(std::string_view from, std::string_view to, CTime& first, CTime& last_day, CTime& last) {
  if (!ParseScheduleDay(from, first) || !ParseScheduleDay(to.empty() ? from : to, last_day)) return false;
  last = NextMidnight(last_day) - CTimeSpan(1);
  return first <= last_day;
}

bool AgendaOrder(const CScheduleAgendaItem& a, const CScheduleAgendaItem& b) {
  return std::tie(a.begin, a.end, a.subject, a.pos, a.occurrence) <
         std::tie(b.begin, b.end, b.subject, b.pos, b.occurrence);
}

}  // namespace

bool ParseScheduleDay(std::string_view text, CTime& midnight) {
  int year = 0, month = 0;
  if (text.size() != 10 || text[7] != '-' || !IsDigits(text.substr(8, 2)) || !ParseYearMonth(text, year, month)) {
    return false;
  }
  int day = field::ParseAtoi(text.substr(8, 2));
  if (year < 1000 || day < 1) return false;
  midnight = CTime::FromLocalFields(year, month, day, 0, 0, 0);
  std::tm fields = midnight.GetLocalTm();
  return fields.tm_year + 1900 == year && fields.tm_mon + 1 == month && fields.tm_mday == day;  // no 31 April
}

// ---- the documents ----

CVFDLFolder* CScheduleIndexDoc::FindDocFolder(std::string_view alias, std::string_view src) {
  if (GetRoot() == nullptr) return nullptr;
  auto holds = [src](const CVFDLFolder* folder) {
    return folder && platform::SameIgnoringAsciiCase(folder->GetSrc(), src);
  };
  if (CVFDLFolder* folder = AsFolder(GetRoot()->FindChildByAlias(alias)); holds(folder)) return folder;
  // A folder the user renamed still holds its document.
  for (CVFDLFolder& folder : ChildFolders(*GetRoot())) {
    if (holds(&folder)) return &folder;
  }
  return nullptr;
}

CScheduleDoc* CScheduleIndexDoc::OpenDoc(std::string_view alias, std::string_view src, bool create,
                                         platform::WindowHandle window) {
  if (CVFDLFolder* folder = FindDocFolder(alias, src)) return LoadVFDLDoc<CScheduleDoc>(*folder, create);
  if (!create || GetRoot() == nullptr || !GetDataRoot()) return nullptr;
  CVFDLFolder folder;
  folder.SetAlias(alias);
  folder.SetAttribute(kAttrSystem);
  folder.SetContent(kScheduleContent);
  folder.SetSrc(src);
  std::string pos = AddFolder(GetRoot()->GetPos(), folder, false);
  CVFDLNode* node = pos.empty() ? nullptr : GetNodeByPos(pos);
  if (node == nullptr) return nullptr;
  auto* doc = LoadVFDLDoc<CScheduleDoc>(*node, true);
  if (doc == nullptr) {
    static_cast<void>(DelFolder(pos));  // a folder left behind only names a file still to be made
    return nullptr;
  }
  if (window != nullptr) {
    platform::PostWindowMessage(window, WM_ZDS_CHANGED, reinterpret_cast<uintptr_t>(node), kChangeAdded);
  }
  return doc;
}

CScheduleDoc* CScheduleIndexDoc::GetCurrentDoc(std::string_view date, platform::WindowHandle window) {
  int year = 0, month = 0;
  if (!ParseYearMonth(date, year, month)) return nullptr;
  std::string_view alias = date.substr(0, 7);
  return OpenDoc(alias, MonthFile(alias), true, window);
}

CScheduleDoc* CScheduleIndexDoc::GetCycleDoc() { return OpenDoc(kCycleAlias, kCycleFile, true); }

CScheduleDoc* CScheduleIndexDoc::GetWholeDoc() { return OpenDoc(kWholeAlias, kWholeFile, true); }

CScheduleDoc* CScheduleIndexDoc::GetRightDoc(const CScheduleRec& rec, platform::WindowHandle window) {
  const CScheduleExtendRec& entry = rec.GetExtendRec();
  if (entry.cycle) return GetCycleDoc();
  if (SameDay(entry.begin, entry.end)) return GetCurrentDoc(entry.begin.Format(kTimeFormatDate), window);
  return GetWholeDoc();
}

CScheduleRec* CScheduleIndexDoc::FindRec(std::string_view pos, CScheduleDoc** doc) {
  size_t cut = pos.rfind('\\');
  CVFDLNode* holder = cut == std::string_view::npos ? nullptr : GetNodeByPos(pos.substr(0, cut));
  if (holder == nullptr) return nullptr;
  auto* holding = LoadVFDLDoc<CScheduleDoc>(*holder, false);
  CScheduleRec* rec = holding ? holding->GetRec(pos) : nullptr;
  if (rec != nullptr && doc != nullptr) *doc = holding;
  return rec;
}

// ---- queries ----

int CScheduleIndexDoc::GetRecIDByDate(std::vector<std::string>& ids, std::string_view from, std::string_view to) {
  CTime first, last_day, last;
  if (!ParseSpan(from, to, first, last_day, last)) return 0;
  size_t before = ids.size();
  int64_t first_month = MonthIndex(first), last_month = MonthIndex(last_day);
  for (int64_t month = first_month; month <= last_month; ++month) {
    // The asked days of this month.
    int day_from = month == first_month ? first.GetDay() : 1;
    int day_to = month == last_month ? last_day.GetDay() : 31;
    if (CScheduleDoc* doc = GetCurrentDoc(MonthAlias(month).append("-01"))) doc->GetRecIDByDate(ids, day_from, day_to);
  }
  if (CScheduleDoc* cycle = GetCycleDoc()) cycle->GetCycleRecIDByDate(ids, first, last, true);
  if (CScheduleDoc* whole = GetWholeDoc()) whole->GetBigRecIDByDate(ids, first, last_day);
  return static_cast<int>(ids.size() - before);
}

bool CScheduleIndexDoc::GetAgenda(std::string_view from, std::string_view to,
                                  std::vector<CScheduleAgendaItem>& items) {
  CTime first, last_day, last;
  if (!ParseSpan(from, to, first, last_day, last)) return false;
  size_t before = items.size();
  for (int64_t month = MonthIndex(first); month <= MonthIndex(last_day); ++month) {
    std::string alias = MonthAlias(month);
    if (CScheduleDoc* doc = OpenDoc(alias, MonthFile(alias), false)) CollectAgenda(*doc, first, last, items);
  }
  if (CScheduleDoc* cycle = OpenDoc(kCycleAlias, kCycleFile, false)) CollectAgenda(*cycle, first, last, items);
  if (CScheduleDoc* whole = OpenDoc(kWholeAlias, kWholeFile, false)) CollectAgenda(*whole, first, last, items);
  std::sort(items.begin() + static_cast<std::ptrdiff_t>(before), items.end(), AgendaOrder);
  return true;
}

void CScheduleIndexDoc::CollectAgenda(const CScheduleDoc& doc, CTime first, CTime last,
                                      std::vector<CScheduleAgendaItem>& items) const {
  std::vector<CScheduleOccurrence> occurrences;
  for (const CScheduleRec& rec : doc.Recs()) {
    const CScheduleExtendRec& entry = rec.GetExtendRec();
    if (entry.map) continue;  // its recurring entry shows the occurrence where the map puts it
    if (!entry.cycle) {
      if (entry.begin <= last && entry.end >= first) {
        items.push_back({entry.begin, entry.end, entry.all_day, entry.subject, rec.GetPos(), -1});
      }
      continue;
    }
    occurrences.clear();
    ExpandOccurrences(entry.cycle_rec, first, last, occurrences);
    for (const CScheduleOccurrence& occurrence : occurrences) {
      items.push_back({occurrence.begin, occurrence.end, entry.all_day, entry.subject, rec.GetPos(), occurrence.number});
    }
  }
}

}  // namespace zds

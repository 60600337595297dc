#include "zds/resources/string_table.h"

#include <algorithm>
#include <array>

namespace zds {
namespace {

struct Entry {
  int id;
  std::string_view text;
};

#define ZDS_NL "\r\n"

// Kept sorted by id: looked up by binary search.
constexpr auto kTable = std::to_array<Entry>({
    {res::kAidlTemplateHead,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>" ZDS_NL
     "<aidl ver=\"1.3\" udp=\"0001\">" ZDS_NL
     "<adv src=\"about:blank\" num=\"0\"/>" ZDS_NL},
    {res::kAidlTemplateTail,
     "<folder id=\"0000\" alias=\"Velmora\" attribute=\"root\">" ZDS_NL
     "<folder id=\"0001\" alias=\"E-Mail\" attribute=\"undel\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0002\" alias=\"News\" attribute=\"undel\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0003\" alias=\"Chat\" attribute=\"undel\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0004\" alias=\"SMS\" attribute=\"undel\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0005\" alias=\"Cast\" attribute=\"undel\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0006\" alias=\"Other\" attribute=\"undel\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0007\" alias=\"Favorites\" attribute=\"system\" content=\"Fav;class=CFavDoc;os=universal\" "
     "src=\"\\favorites\\index.xml\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0008\" alias=\"Addresses\" attribute=\"system\" content=\"ADR;class=CAdrBookDoc;os=universal\" "
     "src=\"\\addressbook\\index.xml\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0009\" alias=\"History\" attribute=\"system\" content=\"history;class=CHistoryDoc;os=universal\" "
     "src=\"\\history\\index.xml\">" ZDS_NL "</folder>" ZDS_NL
     "<folder id=\"0010\" alias=\"Calendar\" attribute=\"system\" "
     "content=\"calendar;class=CCalendarDoc;os=universal\" src=\"\\calendar\\index.xml\">" ZDS_NL "</folder>" ZDS_NL
     "</folder>" ZDS_NL
     "</aidl>" ZDS_NL},
    {res::kEventTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>" ZDS_NL
     "<AEvent ver=\"1.0\">" ZDS_NL
     "<folder id=\"0000\" alias=\"Event\" attribute=\"root\">" ZDS_NL
     "</folder>" ZDS_NL
     "</AEvent>" ZDS_NL},
    {res::kMonitorTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>" ZDS_NL
     "<Monitor ver=\"1.0\">" ZDS_NL
     "<folder id=\"0000\" alias=\"Monitor\" attribute=\"root\">" ZDS_NL
     "</folder>" ZDS_NL
     "</Monitor>" ZDS_NL},
    {res::kLabelRoot + 0, "Root"},
    {res::kLabelRoot + 1, "Read Only"},
    {res::kLabelRoot + 2, "System"},
    {res::kLabelRoot + 3, "Normal"},
    {res::kLabelRoot + 4, "Hide"},
    {res::kSchedule, "Schedule"},
    {res::kTimer, "Timer"},
    {res::kNotes, "Notes"},
    {res::kSunday + 0, "Sunday"},
    {res::kSunday + 1, "Monday"},
    {res::kSunday + 2, "Tuesday"},
    {res::kSunday + 3, "Wednesday"},
    {res::kSunday + 4, "Thursday"},
    {res::kSunday + 5, "Friday"},
    {res::kSunday + 6, "Saturday"},
    {res::kStartFrom, "Start from %s"},
    {res::kEveryWorkday, "Every Workday"},
    {res::kEveryDays, "Every %d days"},
    {res::kEveryWeek, "Every %d week 's %s"},
    {res::kEveryMonth, "Every %d month 's %s"},
    {res::kEveryYear, "Every %d year 's %d month 's %s"},
    {res::kNeverEnd, "Never End"},
    {res::kEndAtCount, "End at the %d"},
    {res::kEndAtDate, "End at %s"},
    {res::kAutoRunTemplate,
     "<?xml version=\"1.0\" encoding=\"ascii\"?>" ZDS_NL
     "<autorun ver=\"1.0\">" ZDS_NL
     "<folder id=\"0000\" alias=\"autorun\" attribute=\"root\">" ZDS_NL
     "</folder>" ZDS_NL
     "</autorun>" ZDS_NL},
    {res::kWeekdaySeparator, "."},
    {res::kSystem, "System"},
});

#undef ZDS_NL

constexpr bool IsSorted() {
  for (size_t i = 1; i < kTable.size(); ++i) {
    if (kTable[i - 1].id >= kTable[i].id) return false;
  }
  return true;
}
static_assert(IsSorted(), "string table entries must stay sorted by id");

}  // namespace

std::string_view LoadResourceString(int id) {
  auto it = std::lower_bound(kTable.begin(), kTable.end(), id,
                             [](const Entry& entry, int key) { return entry.id < key; });
  return it != kTable.end() && it->id == id ? it->text : std::string_view();
}

std::string LoadTemplate(int first_id, int second_id) {
  std::string text(LoadResourceString(first_id));
  if (second_id != 0) text += LoadResourceString(second_id);
  return text;
}

}  // namespace zds

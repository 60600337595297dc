// The library's string table: document templates and user-facing texts,
// looked up by the fixed numbers the stored formats and the host use.
//
// Everything is compiled into the library, so a lookup never depends on
// which program hosts it. Templates are kept line for line as the documents
// are to be created, joined by CR LF.

#ifndef ZDS_RESOURCES_STRING_TABLE_H_
#define ZDS_RESOURCES_STRING_TABLE_H_

#include <string>
#include <string_view>

namespace zds {

// The text of string resource `id`, or an empty view when there is none.
std::string_view LoadResourceString(int id);

// Some templates are stored in two resources and joined when used.
std::string LoadTemplate(int first_id, int second_id = 0);

// Resource ids used across the library.
namespace res {
inline constexpr int kLabelRoot = 50;  // 50-54: "Root", "Read Only", "System", "Normal", "Hide"
inline constexpr int kAidlTemplateHead = 12;
inline constexpr int kAidlTemplateTail = 13;
inline constexpr int kEventTemplate = 25;
inline constexpr int kMonitorTemplate = 33;
inline constexpr int kAutoRunTemplate = 61353;
inline constexpr int kSchedule = 71;
inline constexpr int kTimer = 74;
inline constexpr int kNotes = 75;
inline constexpr int kSunday = 50801;  // 50801-50807: Sunday to Saturday
inline constexpr int kStartFrom = 50823;
inline constexpr int kEveryWorkday = 50824;
inline constexpr int kEveryDays = 50825;
inline constexpr int kEveryWeek = 50826;
inline constexpr int kEveryMonth = 50827;
inline constexpr int kEveryYear = 50828;
inline constexpr int kNeverEnd = 50829;
inline constexpr int kEndAtCount = 50830;
inline constexpr int kEndAtDate = 50831;
inline constexpr int kWeekdaySeparator = 61465;
inline constexpr int kSystem = 61467;
}  // namespace res

}  // namespace zds

#endif  // ZDS_RESOURCES_STRING_TABLE_H_

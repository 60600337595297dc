// The words of the sentences that describe a recurrence rule, weekday
// names included (the facade's week labels are the same strings).

#ifndef ZDS_RESOURCES_RECURRENCE_STRINGS_H_
#define ZDS_RESOURCES_RECURRENCE_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

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

inline constexpr ResourceString kRecurrenceStrings[] = {
    {kSunday + 0, "Sunday"},
    {kSunday + 1, "Monday"},
    {kSunday + 2, "Tuesday"},
    {kSunday + 3, "Wednesday"},
    {kSunday + 4, "Thursday"},
    {kSunday + 5, "Friday"},
    {kSunday + 6, "Saturday"},
    {kStartFrom, "Start from %s"},
    {kEveryWorkday, "Every Workday"},
    {kEveryDays, "Every %d days"},
    {kEveryWeek, "Every %d week 's %s"},
    {kEveryMonth, "Every %d month 's %s"},
    {kEveryYear, "Every %d year 's %d month 's %s"},
    {kNeverEnd, "Never End"},
    {kEndAtCount, "End at the %d"},
    {kEndAtDate, "End at %s"},
    {kWeekdaySeparator, "."},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_RECURRENCE_STRINGS_H_

#include "zds/recurrence/cycle_sentence.h"

#include <initializer_list>
#include <string_view>

#include "zds/resources/recurrence_strings.h"

namespace zds {

namespace {

// Puts the arguments, already written out, in place of the pattern's "%d"
// and "%s" markers in turn; the texts are resources, not format literals.
std::string Fill(std::string_view pattern, std::initializer_list<std::string> arguments) {
  std::string result;
  auto next = arguments.begin();
  for (size_t i = 0; i < pattern.size(); ++i) {
    bool marker = pattern[i] == '%' && i + 1 < pattern.size() && (pattern[i + 1] == 'd' || pattern[i + 1] == 's');
    if (marker && next != arguments.end()) {
      result += *next++;
      ++i;
    } else {
      result += pattern[i];
    }
  }
  return result;
}

std::string Text(int id) { return std::string(LoadResourceString(id)); }

std::string WeekdayList(const CCycleEvent& event) {
  std::string separator = Text(res::kWeekdaySeparator);
  std::string list;
  for (int day = 0; day < 7; ++day) {
    if (event.IsEventDay(day)) list += Text(res::kSunday + day) + separator;
  }
  // The last separator is cut by its length, so an empty list stays empty.
  list.resize(list.size() >= separator.size() ? list.size() - separator.size() : 0);
  return list;
}

std::string KindText(const CCycleType& type, const CCycleEvent& event) {
  std::string every = std::to_string(type.multiple);
  switch (type.type) {
    case kCycleDay:
      return type.workday != 0 ? Text(res::kEveryWorkday) : Fill(Text(res::kEveryDays), {every});
    case kCycleWeek:
      return Fill(Text(res::kEveryWeek), {every, WeekdayList(event)});
    case kCycleMonth:
      return Fill(Text(res::kEveryMonth), {every, std::to_string(event.day3)});
    case kCycleYear:
      return Fill(Text(res::kEveryYear), {every, std::to_string(event.day2), std::to_string(event.day3)});
    default:
      return "";
  }
}

std::string RangeText(const CCycleRange& range) {
  switch (range.type) {
    case kRangeNotStop:
      return Text(res::kNeverEnd);
    case kRangeNumLimited:
      return Fill(Text(res::kEndAtCount), {std::to_string(range.number)});
    case kRangeTimeLimited:
      return Fill(Text(res::kEndAtDate), {range.to.Format(kTimeFormatDate)});
    default:
      return "";
  }
}

}  // namespace

std::string DescribeCycle(const CCycleType& type, const CCycleEvent& event, const CCycleRange& range) {
  std::string start = Fill(Text(res::kStartFrom), {range.from.Format(kTimeFormatDate)});
  // No blank between the start and the kind: the sentence has always read so.
  return start + KindText(type, event) + " " + RangeText(range);
}

}  // namespace zds

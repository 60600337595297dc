// A record written in its text form and read over a fresh record is the
// same record, for the values a record can hold that its text must carry.

#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

CCycleEvent Event(int type, std::string number, int day1 = 0, int week1 = 0) {
  CCycleEvent event;
  event.type = type;
  event.number = std::move(number);
  event.day1 = day1;
  event.week1 = event.week2 = event.week3 = week1;
  event.from = CTime(2004, 5, 1, 9, 0, 0);
  event.to = CTime(2004, 5, 1, 10, 30, 0);
  return event;
}

// "No day" is a mask of its own: reading it must not fall back on the
// default mask, which means every Sunday.
TEST(CycleFormatRoundTrip, EveryEventMaskReadsBackAsWritten) {
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  const CCycleEvent events[] = {
      Event(kEventSequence, ""),        Event(kEventSequence, "0000000"), Event(kEventSequence, "1"),
      Event(kEventSequence, "0100010"), Event(kEventAbsoluteDay, "", 7),  Event(kEventAbsoluteWeek, "", 0, 3),
  };
  for (const CCycleEvent& event : events) {
    std::string text;
    CCycleFormat::ComposeCycleEvent(event, text);
    CCycleEvent back;
    CCycleFormat::AnalyseCycleEvent(text, back);
    EXPECT_EQ(back.number, event.number) << text;
    EXPECT_TRUE(back == event) << text;
    EXPECT_EQ(back.IsEventDay(0), event.IsEventDay(0)) << text;
  }
}

// What older files hold still reads as it did.
TEST(CycleFormatRoundTrip, StoredMasksReadAsBefore) {
  const std::pair<const char*, const char*> stored[] = {
      {"sequence", "1"}, {"sequence;number=", ""}, {"sequence;number=0100010", "0100010"}, {"absolute_day;date=7", "1"}};
  for (const auto& [text, number] : stored) {
    CCycleEvent event;
    CCycleFormat::AnalyseCycleEvent(text, event);
    EXPECT_EQ(event.number, number) << text;
  }
}

}  // namespace
}  // namespace zds

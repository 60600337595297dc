// The stored text form of the rule records: each value read over a fresh
// record and written back, malformed fields degrading one by one; records
// written and read back; the event day mask. `zds cycle`, which reads rules
// in that form: each subcommand's one answer, and the refusals.

#include <sstream>

// The command lives in the host program, not in the library; compiled in here.
#include "cli/command_table.h"
#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

// Reads `text` into a fresh record of `kind` and writes it back.
std::string ReadAndWrite(const std::string& kind, const char* text) {
  std::string out;
  if (kind == "type") {
    CCycleType type;
    CCycleFormat::AnalyseCycleType(text, type);
    CCycleFormat::ComposeCycleType(type, out);
  } else if (kind == "event") {
    CCycleEvent event;
    CCycleFormat::AnalyseCycleEvent(text, event);
    CCycleFormat::ComposeCycleEvent(event, out);
  } else if (kind == "range") {
    CCycleRange range;
    CCycleFormat::AnalyseCycleRange(text, range);
    CCycleFormat::ComposeCycleRange(range, out);
  } else {
    CCycleMap map;
    CCycleFormat::AnalyseCycleMap(text, map);
    CCycleFormat::ComposeCycleMap(map, out);
  }
  return out;
}

TEST(CycleFormat, ReadsAndWritesValuesFieldByField) {
  struct Case {
    const char* kind;
    const char* text;
    const char* written;
  };
  const Case cases[] = {
      {"type", "week;multiple=01;length=01;from=2004-05-01 09:00;workday=no",
       "week;multiple=01;length=01;from=2004-05-01 09:00;workday=no"},
      {"type", "week", "week;multiple=01;length=01;from=1970-01-01 00:00;workday=no"},
      {"type", "WEEK;Multiple=3;LENGTH=124;workday=YES", "week;multiple=03;length=124;from=1970-01-01 00:00;workday=yes"},
      {"type", "bogus;multiple=x7;length= -4abc;foo;workday=true", "day;multiple=00;length=-4;from=1970-01-01 00:00;workday=no"},
      {"type", "year;multiple=2;multiple=5;from=2005-02-30 10:00", "year;multiple=05;length=01;from=1970-01-01 00:00;workday=no"},
      {"type", "self-defined;multiple=99999999999;from=2005-02-28 10:00:59",
       "self-defined;multiple=2147483647;length=01;from=2005-02-28 10:00;workday=no"},
      // All three week numbers come from the first field; day numbers from their own.
      {"event", "absolute_week;date=02:03:04", "absolute_week;number=1;from=1970-01-01 00:00;to=1970-01-01 00:00;date=02:02:02"},
      {"event", "absolute_day;date=01:05:17;number=", "absolute_day;number=;from=1970-01-01 00:00;to=1970-01-01 00:00;date=01:05:17"},
      // What older files hold reads as it did: a missing mask is every Sunday, an empty one no day.
      {"event", "ABSOLUTE_DAY;DATE=7", "absolute_day;number=1;from=1970-01-01 00:00;to=1970-01-01 00:00;date=07:00:00"},
      {"event", "sequence", "sequence;number=1;from=1970-01-01 00:00;to=1970-01-01 00:00;date="},
      {"event", "sequence;number=", "sequence;number=;from=1970-01-01 00:00;to=1970-01-01 00:00;date="},
      {"event", "sequence;date=01:02:03;number=0100010;from=2004-05-01 09:00;to=2004-05-01 10:30",
       "sequence;number=0100010;from=2004-05-01 09:00;to=2004-05-01 10:30;date="},
      {"range", "numlimited;number=05;from=2004-05-01 00:00;to=2005-01-01 00:00",
       "numlimited;number=05;from=2004-05-01 00:00;to=1970-01-01 00:00"},
      {"range", "timelimited;to=2005-01-01 00:00", "timelimited;number=00;from=1970-01-01 00:00;to=2005-01-01 00:00"},
      {"map", "07;status=DELETE;event=0012", "07;status=delete;from=1970-01-01 00:00;to=1970-01-01 00:00;event=0012"},
      {"map", "abc;status=gone;from=junk;to=2004-05-01 10:00",
       "00;status=virtual;from=1970-01-01 00:00;to=2004-05-01 10:00;event="},
  };
  ZDS_USE_TIME_ZONE_OR_SKIP("UTC");
  for (const Case& c : cases) EXPECT_EQ(ReadAndWrite(c.kind, c.text), c.written) << c.text;
  CCycleMap map;
  map.status = 5;
  std::string text;
  CCycleFormat::ComposeCycleMap(map, text);
  EXPECT_EQ(text, "00;status=;from=1970-01-01 00:00;to=1970-01-01 00:00;event=");
}

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
TEST(CycleFormat, EveryEventMaskReadsBackAsWritten) {
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
    EXPECT_TRUE(back == event) << text;
    EXPECT_EQ(back.IsEventDay(0), event.IsEventDay(0)) << text;
  }
}

TEST(CycleEvent, MaskAnswersOnlyForSequenceEventsInsideTheMask) {
  CCycleEvent event;
  event.number = "0100010";
  for (auto [day, answer] : {std::pair{1, 1}, {0, 0}, {7, 0}, {-1, 0}}) EXPECT_EQ(event.IsEventDay(day), answer) << day;
  EXPECT_EQ(event.SetEventDay(0, true), 1);
  EXPECT_EQ(event.SetEventDay(7, true), 0);
  EXPECT_EQ(event.number, "1100010");
  event.type = kEventAbsoluteWeek;
  EXPECT_EQ(event.IsEventDay(1), 0);
  EXPECT_EQ(event.SetEventDay(2, true), 0);
  EXPECT_EQ(event.number, "1100010");
}

struct CommandCase {
  std::vector<std::string> args;
  int exit;
  const char* out;  // exact; for failures the stderr line must be non-empty
};

TEST(CycleCommand, AnswersEachSubcommand) {
  const std::string type = "day;multiple=02", event = "sequence;from=2004-05-01 09:00;to=2004-05-01 10:00";
  const std::string range = "numlimited;number=05;from=2004-05-01", map = "01;from=2004-05-02 12:00;to=2004-05-02 13:00;event=x";
  const std::string week = "week", no_day = "sequence;number=0000000";
  const CommandCase cases[] = {
      {{"describe", type, event, range}, 0, "Start from 2004-05-01Every 2 days End at the 5\n"},
      {{"range", "1", type, event, range, map}, 0, "2004-05-02 12:00:00 2004-05-02 13:00:00\n"},
      {{"range", "--no-maps", "1", type, event, range, map}, 0, "2004-05-03 09:00:00 2004-05-03 10:00:00\n"},
      {{"range", "--timer", "5", type, event, range}, 0, "none\n"},
      {{"range", "0", "self-defined", event, range}, 0, "none\n"},
      {{"find", "2004-05-03 09:30", type, event, range}, 0, "1\n"},
      {{"find", "--timer", "--no-maps", "2004-05-02 12:30", type, event, range, map}, 0, "-1\n"},
      {{"find", "2004-05-02 12:30:00", type, event, range, map}, 0, "1\n"},
      {{"before", "2004-05-04 08:00", type, event, range, map}, 0, "1\nx\n"},
      {{"before", "2004-05-05 09:00", type, event, range}, 0, "2\n\n"},
      {{"on", "2004-05-05 00:00", type, event, range}, 0, "yes\n"},
      {{"on", "--to", "2004-05-06 23:00", "2004-05-06 00:00", type, event, range}, 0, "no\n"},
      {{"describe", week, no_day, range}, 1, ""},
      {{"find", "2004-05-05 09:00", week, no_day, range}, 1, ""},
      {{}, 2, ""},
      {{"explain", type, event, range}, 2, ""},
      {{"describe", type, event}, 2, ""},
      {{"range", "x1", type, event, range}, 2, ""},
      {{"find", "2004-02-30 09:00", type, event, range}, 2, ""},
      {{"find", "2004-05-03", type, event, range}, 0, "-1\n"},  // a day alone is its midnight
      {{"find", "today", type, event, range}, 0, "-1\n"},
      {{"describe", "day;multiple=02;bogus=1", event, range}, 2, ""},
      {{"describe", "foo", "bar", "baz"}, 2, ""},
      {{"describe", type, "sequence;from", range}, 2, ""},
      {{"range", "1", type, event, range, "01;colour=red"}, 2, ""},
      {{"before", "--timer", "2004-05-03 09:00", type, event, range}, 2, ""},
      {{"on", "--to", "soon", "2004-05-03 09:00", type, event, range}, 2, ""},
  };
  ZDS_USE_TIME_ZONE_OR_SKIP("America/New_York");
  for (const CommandCase& c : cases) {
    std::ostringstream out, err;
    std::string call;
    for (const std::string& word : c.args) call += " '" + word + "'";
    std::vector<std::string> args = c.args;
    args.insert(args.begin(), "cycle");
    EXPECT_EQ(cli::RunZds(args, out, err), c.exit) << call;
    EXPECT_EQ(out.str(), c.out) << call;
    std::string message = err.str();
    EXPECT_EQ(c.exit != 0, !message.empty() && message.find('\n') == message.size() - 1) << call << ": " << message;
  }
  test::UseTimeZone("UTC");
}

}  // namespace
}  // namespace zds

// `zds cycle`: each subcommand's one answer, and the refusals.

#include <gtest/gtest.h>

#include <sstream>

// The command lives in the host program, not in the library; compiled in here.
#include "cli/cycle_command.h"
#include "recurrence/recurrence_testing.h"

namespace zds {
namespace {

struct Case {
  std::vector<std::string> args;
  int exit;
  const char* out;  // exact; for failures the stderr line must be non-empty
};

TEST(CycleCommand, AnswersEachSubcommand) {
  const std::string type = "day;multiple=02", event = "sequence;from=2004-05-01 09:00;to=2004-05-01 10:00";
  const std::string range = "numlimited;number=05;from=2004-05-01", map = "01;from=2004-05-02 12:00;to=2004-05-02 13:00;event=x";
  const std::string week = "week", no_day = "sequence;number=0000000";
  const Case cases[] = {
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
      {{"find", "2004-05-03", type, event, range}, 2, ""},
      {{"before", "--timer", "2004-05-03 09:00", type, event, range}, 2, ""},
      {{"on", "--to", "soon", "2004-05-03 09:00", type, event, range}, 2, ""},
  };
  ZDS_USE_TIME_ZONE_OR_SKIP("America/New_York");
  for (const Case& c : cases) {
    std::ostringstream out, err;
    std::string call;
    for (const std::string& word : c.args) call += " '" + word + "'";
    EXPECT_EQ(cli::RunCycleCommand(c.args, out, err), c.exit) << call;
    EXPECT_EQ(out.str(), c.out) << call;
    std::string message = err.str();
    EXPECT_EQ(c.exit != 0, !message.empty() && message.find('\n') == message.size() - 1) << call << ": " << message;
  }
  test::UseTimeZone("UTC");
}

}  // namespace
}  // namespace zds

// The zds program's schedule and agenda commands, run as a user would on a
// fresh data root.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::ProgramResult;

class CalendarCommandsTest : public ::testing::Test {
 protected:
  ProgramResult Run(const std::vector<std::string>& args) const { return test::RunZds(temp_.dir(), args); }
  // `schedule add` with these arguments; the new position.
  std::string Add(std::vector<std::string> args) const {
    args.insert(args.begin(), {"schedule", "add"});
    ProgramResult result = Run(args);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    return result.out.empty() ? "" : result.out.substr(0, result.out.size() - 1);
  }

  test::TempRoot temp_;
};

TEST_F(CalendarCommandsTest, EntriesAreFiledListedShownAndRemoved) {
  const std::string talk = Add({"--subject", "Talk", "--begin", "2004-05-03 23:00", "--end", "2004-05-04 01:00"});
  const std::string fair = Add({"--subject", "Fair\tday", "--begin", "2004-05-04", "--end", "2004-05-04", "--priority", "high"});
  const std::string gym = Add({"--subject", "Gym", "--begin", "2004-05-01 07:00", "--end", "2004-05-01 08:00", "--cycle",
                               "day;multiple=02", "sequence;from=2004-05-01 07:00;to=2004-05-01 08:00",
                               "notstop;from=2004-05-01 00:00", "--map", "02;status=delete;from=2004-05-05 07:00;to=2004-05-05 08:00"});
  EXPECT_TRUE(talk.starts_with("kov:\\Velmora\\0010\\0002\\")) << talk;
  EXPECT_TRUE(temp_.Exists("calendar/schedule/200405.xml") && temp_.Exists("calendar/schedule/whole.xml"));

  ProgramResult agenda = Run({"agenda", "2004-05-03", "2004-05-05"});
  ASSERT_EQ(agenda.exit_code, 0) << agenda.err;
  EXPECT_EQ(agenda.out, "2004-05-03 07:00\t2004-05-03 08:00\tGym\t" + gym + "\n" +
                            "2004-05-03 23:00\t2004-05-04 01:00\tTalk\t" + talk + "\n" +
                            "2004-05-04\t2004-05-04\tFair day\t" + fair + "\n");
  ProgramResult show = Run({"schedule", "show", gym});
  EXPECT_EQ(show.exit_code, 0);
  EXPECT_NE(show.out.find("subject: Gym\nbegin: 2004-05-01 07:00\n"), std::string::npos) << show.out;
  EXPECT_NE(show.out.find("cycle: Start from 2004-05-01Every 2 days Never End\n"), std::string::npos) << show.out;
  EXPECT_NE(show.out.find("cycle_map: 02;status=delete;"), std::string::npos) << show.out;

  EXPECT_EQ(Run({"schedule", "rm", talk}).exit_code, 0);
  EXPECT_EQ(Run({"agenda", "2004-05-04"}).out, "2004-05-04\t2004-05-04\tFair day\t" + fair + "\n");
  ProgramResult again = Run({"schedule", "rm", talk});
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_EQ(again.err, "zds: no schedule entry at " + talk + "\n");
  for (const char* file : {"calendar/index.xml", "calendar/schedule/index.xml", "calendar/schedule/200405.xml",
                           "calendar/schedule/cycle.xml", "calendar/schedule/whole.xml"}) {
    ZDS_EXPECT_XMLLINT_ACCEPTS(temp_.Read(file));
  }
}

TEST_F(CalendarCommandsTest, BadCallsAreUsageErrorsAndChangeNothing) {
  const std::vector<std::vector<std::string>> calls = {
      {"agenda", "2004-05-04", "2004-05-03"},
      {"agenda", "2004-5-4"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04 09:00"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04 25:00", "--end", "2004-05-04 26:00"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04 10:00"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04", "--priority", "HIGH"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04", "--map", "01"},
      {"schedule", "add", "--subject", "x", "--begin", "2004-05-04", "--end", "2004-05-04", "--cycle", "hourly", "x", "y"},
      {"schedule", "move"},
  };
  for (const auto& call : calls) EXPECT_TRUE(test::RefusedWithOneLine(Run(call), 2)) << call[0] << " " << call.back();
  EXPECT_TRUE(temp_.Files().empty()) << "nothing was opened";
}

}  // namespace
}  // namespace zds

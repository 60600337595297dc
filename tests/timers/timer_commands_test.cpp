// The zds timer commands on a fresh data root, run as a user runs them.

#include <gtest/gtest.h>

#include <regex>

#include "support/program.h"
#include "support/temp_root.h"
#include "zds/platform/time.h"

namespace zds {
namespace {

class TimerCommandsTest : public ::testing::Test {
 protected:
  test::ProgramResult Zds(const std::vector<std::string>& args) const { return test::RunZds(temp_.dir(), args); }
  test::TempRoot temp_;
};

TEST_F(TimerCommandsTest, TimersAreFiledListedDueAndDeletedAndMalformedCallsExitTwo) {
  EXPECT_NE(Zds({"timer", "ls"}).err.find("run 'zds init' first"), std::string::npos);
  ASSERT_EQ(Zds({"init"}).exit_code, 0);
  EXPECT_TRUE(temp_.Exists("timer/index.xml"));
  EXPECT_TRUE(temp_.Exists("timer/" + CTime::GetCurrentTime().Format("%Y%m") + ".xml"));
  const std::vector<std::string> adds[] = {
      {"--subject", "Dentist", "--at", "2004-11-15 09:30:00", "--action", "notify"},
      {"--subject", "Later", "--at", "2004-11-15 09:30:00", "--state", "suspension"},
      {"--subject", "Stand-up", "--at", "2004-11-01 00:00:00", "--cycle", "day",
       "sequence;from=2004-11-01 09:15;to=2004-11-01 09:30", "notstop;from=2004-11-01", "--map", "14;status=delete"}};
  std::vector<std::string> pos;
  for (const auto& add : adds) {
    std::vector<std::string> args = {"timer", "add"};
    args.insert(args.end(), add.begin(), add.end());
    test::ProgramResult added = Zds(args);
    ASSERT_TRUE(std::regex_match(added.out, std::regex(R"(kov:\\Timer Index\\\d{4}\\\d{4}\n)"))) << added.err;
    pos.push_back(added.out.substr(0, added.out.size() - 1));
  }
  EXPECT_EQ(Zds({"timer", "ls"}).out, pos[2] + "\tactived\t2004-11-01 00:00:00\tStand-up\n" + pos[1] +
                                          "\tsuspension\t2004-11-15 09:30:00\tLater\n" + pos[0] +
                                          "\tactived\t2004-11-15 09:30:00\tDentist\n");
  EXPECT_EQ(Zds({"timers", "due", "2004-11-14 12:00:00", "2004-11-16 09:15:00"}).out,
            "2004-11-15 09:30:00\t" + pos[0] + "\tDentist\n") << "occurrence 14 is deleted, 15 at TO not due";
  EXPECT_EQ(Zds({"timers", "due", "2004-11-16 09:15:00", "2004-11-16 09:15:01"}).out,
            "2004-11-16 09:15:00\t" + pos[2] + "\tStand-up\n");

  EXPECT_EQ(Zds({"timer", "rm", pos[0]}).exit_code, 0);
  test::ProgramResult again = Zds({"timer", "rm", pos[0]});
  EXPECT_EQ(std::tuple(again.exit_code, again.err), std::tuple(1, "zds timer: no such timer: " + pos[0] + "\n"));
  EXPECT_EQ(Zds({"timers", "due", "2004-11-15 00:00:00", "2004-11-16 00:00:00"}).out, "");
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp_.Read("timer/cycle.xml"));

  const std::vector<std::string> calls[] = {
      {"timer"},
      {"timer", "add", "--subject", "x"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 24:00:00"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--state", "paused"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--map", "01;status=real"},
      {"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--cycle", "day"},
      {"timers", "due", "2004-11-16 00:00:00", "2004-11-15 00:00:00"}};
  for (const auto& call : calls) EXPECT_TRUE(test::RefusedWithOneLine(Zds(call), 2)) << call.back();
  EXPECT_EQ(Zds({"timer", "add", "--subject", "x", "--at", "2004-11-15 10:00:00", "--cycle", "week",
                 "sequence;number=0000000", "notstop"})
                .exit_code,
            1) << "a weekly rule without a day is refused";
  EXPECT_EQ(Zds({"timer", "ls"}).out, pos[2] + "\tactived\t2004-11-01 00:00:00\tStand-up\n" + pos[1] +
                                          "\tsuspension\t2004-11-15 09:30:00\tLater\n") << "nothing added";
}

}  // namespace
}  // namespace zds

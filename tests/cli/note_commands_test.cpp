// zds note: a note's reminder is a timer the timer commands see, kept in
// step as the note changes, and a note's text goes with it.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli/fresh_store_test.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

class NoteCommandsTest : public test::FreshStoreTest {
 protected:
  std::string Due() const { return Out({"timers", "due", "2031-01-01", "2031-12-31"}); }
};

TEST_F(NoteCommandsTest, TheReminderFollowsTheNoteThroughEveryChange) {
  std::string pos = Out({"note", "add", "--subject", "Dentist", "--remind", "2031-03-04 09:30", "--text", "bring the card"});
  ASSERT_FALSE(pos.empty());
  pos.pop_back();
  EXPECT_EQ(Out({"note", "ls"}), pos + "\t2031-03-04 09:30:00\tDentist\n");
  EXPECT_NE(Due().find("2031-03-04 09:30:00\tDentist"), std::string::npos) << Due();
  const std::string shown = Out({"note", "show", pos});
  EXPECT_NE(shown.find("text: bring the card"), std::string::npos) << shown;

  // Each case of the reminder: moved, dropped, dropped again, given anew.
  struct Step {
    std::vector<std::string> options;
    std::string due;  // the one due line's time, or empty for none
  };
  const Step steps[] = {{{"--remind", "2031-05-06 10:00"}, "2031-05-06 10:00:00"},
                        {{"--no-remind"}, ""},
                        {{"--subject", "Dentist!"}, ""},
                        {{"--remind", "2031-07-08 11:00"}, "2031-07-08 11:00:00"}};
  for (const Step& step : steps) {
    std::vector<std::string> call{"note", "set", pos};
    call.insert(call.end(), step.options.begin(), step.options.end());
    Out(call);
    const std::string due = Due();
    SCOPED_TRACE(step.options[0]);
    if (step.due.empty()) {
      EXPECT_EQ(due, "");
    } else {
      EXPECT_EQ(std::count(due.begin(), due.end(), '\n'), 1) << due;
      EXPECT_NE(due.find(step.due + "\tDentist"), std::string::npos) << due;
    }
  }

  const std::vector<std::string> before = temp_.Files();
  Out({"note", "rm", pos});
  EXPECT_EQ(Out({"note", "ls"}), "");
  EXPECT_EQ(Due(), "");
  EXPECT_EQ(temp_.Files().size() + 1, before.size()) << "the note's text file goes with it";
  EXPECT_EQ(Zds({"note", "show", pos}).exit_code, 1);
}

// --notices: after the command's own lines, one per notice relayed to the
// host's window, naming the timer as it stood when the notice was posted.
TEST_F(NoteCommandsTest, NoticesFollowTheOutputAndNameTheTimerAsItStood) {
  const std::string added = Out({"--notices", "note", "add", "--subject", "Dentist", "--remind", "2031-03-04 09:30"});
  const std::string pos = added.substr(0, added.find('\n'));
  ASSERT_TRUE(pos.starts_with("kov:/Notepad/")) << added;
  const std::string listed = Out({"timer", "ls"});
  const std::string timer = listed.substr(0, listed.find('\t'));
  EXPECT_TRUE(added.ends_with("\n2276\tadded\t" + timer + "\n")) << added;
  // The timer index's own notices (a new month) carry no position.
  for (size_t at = pos.size() + 1, end; (end = added.find('\n', at)) != std::string::npos; at = end + 1) {
    const std::string line = added.substr(at, end - at);
    EXPECT_TRUE(line == "2276\tadded\t" || line == "2276\tadded\t" + timer) << line;
  }
  const std::string moved = Out({"note", "set", pos, "--remind", "2031-04-04 09:30", "--notices"});
  EXPECT_NE(moved.find("2276\tdeleted\t" + timer + "\n"), std::string::npos) << moved;
  EXPECT_EQ(Out({"note", "ls", "--notices"}), pos + "\t2031-04-04 09:30:00\tDentist\n") << "a reader relays nothing";
}

}  // namespace
}  // namespace zds

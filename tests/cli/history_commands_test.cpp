// zds chat and zds history on a fresh store: conversations logged under
// their service and listed back, a mail account archived and its messages
// listed from the archive after the account's own are gone.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/history_testing.h"
#include "cli/fresh_store_test.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

class HistoryCommandsTest : public test::FreshStoreTest {
 protected:
  std::string Log(const std::string& provider, const std::string& channel, const std::string& type) const {
    std::string pos = Out({"chat", "log", "--provider", provider, "--channel", channel, "--type", type, "--start",
                           "2026-11-25 10:00", "--end", "2026-11-25 11:30", "--abstract", "plans"});
    return pos.empty() ? pos : pos.substr(0, pos.size() - 1);
  }
};

TEST_F(HistoryCommandsTest, ConversationsAreLoggedPerServiceAndListed) {
  EXPECT_EQ(Out({"chat", "ls"}), "");
  const std::string first = Log("IRCnet", "#zds", "private");
  const std::string second = Log("Jabber", "team room", "opened");
  const std::string third = Log("IRCnet", "#other", "protected");
  EXPECT_EQ(Out({"chat", "ls"}), first + "\tIRCnet\t#zds\tprivate\t2026-11-25 10:00\t2026-11-25 11:30\n" + third +
                                     "\tIRCnet\t#other\tprotected\t2026-11-25 10:00\t2026-11-25 11:30\n" + second +
                                     "\tJabber\tteam room\topened\t2026-11-25 10:00\t2026-11-25 11:30\n");
  EXPECT_EQ(Out({"chat", "ls", "Jabber"}).find(second), 0u);
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"chat", "ls", "Nobody"}), 1));
  const std::string stored = temp_.Read("history/chat/0001.xml");
  EXPECT_NE(stored.find("<key alias=\"Channel Type\" value=\"Private Channel\"/>"), std::string::npos) << stored;
  EXPECT_NE(stored.find("abstract=\"plans\""), std::string::npos) << stored;
  const std::string listed = Out({"history", "ls"});
  EXPECT_NE(listed.find("\tchat\tIRCnet\t-\t-\n"), std::string::npos) << listed;
  EXPECT_NE(listed.find("\tchat\tJabber\t-\t-\n"), std::string::npos) << listed;
}

TEST_F(HistoryCommandsTest, AnArchivedAccountListsItsMessagesFromTheCopy) {
  ASSERT_TRUE(test::AddMailAccount(temp_.dir(), "Home", "Ann <ann@example.org>"));
  std::string pos = Out({"history", "archive", "Home"});
  ASSERT_FALSE(pos.empty());
  pos.pop_back();
  test::fs::remove_all(temp_.dir() / "mail");
  const std::string row = "0001\tN\t2026-11-24 12:00\tAnn <ann@example.org>\tHello there\t2\n";
  EXPECT_EQ(Out({"history", "mail", pos, "Inbox"}), row);
  EXPECT_EQ(Out({"history", "mail", "Home", "Inbox"}), row) << "by name too";
  EXPECT_EQ(Out({"history", "mail", "Home", "Trash"}), "");
  const std::string listed = Out({"history", "ls"});
  EXPECT_EQ(listed.find(pos + "\tmail\tHome\tHome\t"), 0u) << listed;

  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"history", "archive", "Nobody"}), 1));
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"history", "mail", "Nobody", "Inbox"}), 1));
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"history", "mail", "Home", "Nowhere"}), 1));
}

}  // namespace
}  // namespace zds

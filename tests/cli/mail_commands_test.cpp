// zds account and zds mail on a fresh root: an mbox file goes in, is
// listed, found, marked read and comes back out byte for byte.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/fresh_store_test.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

// Headers mail programs really write: an encoded subject, a folded list,
// a comma in a display name, an attachment named by RFC 2231 pieces, a
// body line that mbox quotes.
const std::string kMbox =
    "From ann@example.org Tue Nov 24 12:00:00 2026\n"
    "From: \"Doe, Ann\" <ann@example.org>\n"
    "To: a@example.org,\n b@example.org\n"
    "Subject: =?utf-8?q?caf=C3=A9?= plans\n"
    "Date: Tue, 24 Nov 2026 12:00:00 +0000\n"
    "Message-ID: <1@example.org>\n"
    "\n"
    "See you.\n"
    ">From the top\n"
    "\n"
    "From bob@example.org Tue Nov 24 13:00:00 2026\n"
    "From: Bob <bob@example.org>\n"
    "Subject: report\n"
    "Date: Tue, 24 Nov 2026 13:00:00 +0000\n"
    "Message-ID: <2@example.org>\n"
    "MIME-Version: 1.0\n"
    "Content-Type: multipart/mixed; boundary=\"b\"\n"
    "\n"
    "--b\n"
    "Content-Type: text/plain\n"
    "\n"
    "Attached.\n"
    "--b\n"
    "Content-Type: application/pdf\n"
    "Content-Disposition: attachment; filename*0=\"year \"; filename*1=\"end.pdf\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "JVBERi0=\n"
    "--b--\n"
    "\n";

using MailCommandsTest = test::FreshStoreTest;

TEST_F(MailCommandsTest, AnMboxGoesInIsListedFoundReadAndComesBackOut) {
  std::string account = Out({"account", "add", "Home", "--kind", "popmail"});
  ASSERT_FALSE(account.empty());
  account.pop_back();
  EXPECT_EQ(Out({"account", "ls"}), account + "\tpopmail\tHome\t/mail/Home/mbox.xml\n");

  const test::fs::path file = temp_.top() / "in.mbox";
  test::WriteNative(file, kMbox);
  // A host may name a mail box it has not written yet: the import makes it.
  ASSERT_TRUE(test::fs::remove(temp_.dir() / "mail" / "Home" / "mbox.xml"));
  EXPECT_EQ(Out({"mail", "import", "Home", "Inbox", file.string()}), "2 stored, 0 refused\n");
  const std::string folders = Out({"mail", "folders", "Home"});
  EXPECT_TRUE(folders.starts_with("Inbox\t2\t2\nOutbox\t0\t0\nSent%20Items\t0\t0\n")) << folders;

  // The date is local time, so only its day's first digits are certain.
  const std::string listed = Out({"mail", "ls", "Home", "Inbox"});
  std::vector<std::string> lines;
  for (size_t at = 0, end; (end = listed.find('\n', at)) != std::string::npos; at = end + 1) {
    lines.push_back(listed.substr(at, end - at));
  }
  ASSERT_EQ(lines.size(), 2u) << listed;
  EXPECT_TRUE(lines[0].starts_with("0001\tN\t2026-11-2")) << lines[0];
  EXPECT_TRUE(lines[0].ends_with("\t\"Doe, Ann\" <ann@example.org>\tcaf\xC3\xA9 plans\t0")) << lines[0];
  EXPECT_TRUE(lines[1].starts_with("0002\tN\t2026-11-2")) << lines[1];
  EXPECT_TRUE(lines[1].ends_with("\tBob <bob@example.org>\treport\t1")) << lines[1];

  // Every form of the account and the folder a person may type.
  for (const std::string& named : {std::string("Home"), std::string("home"), account}) {
    EXPECT_EQ(Out({"mail", "find", named, "--message-id", "<2@example.org>"}), "Inbox\t0002\n") << named;
  }
  EXPECT_EQ(Out({"mail", "ls", "Home", "Sent%20Items"}), "");
  EXPECT_EQ(Out({"mail", "ls", "Home", "Sent Items"}), "");
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"mail", "find", "Home", "--uidl", "x"}), 1));
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"mail", "find", "Home", "--message-id", "<3@example.org>"}), 1));

  EXPECT_EQ(Out({"mail", "read", "Home", "Inbox", "0002"}), "");
  EXPECT_TRUE(Out({"mail", "ls", "Home", "Inbox"}).find("0002\t-\t") != std::string::npos);
  EXPECT_TRUE(Out({"mail", "folders", "Home"}).starts_with("Inbox\t2\t1\n"));
  EXPECT_EQ(Out({"mail", "export", "Home", "Inbox"}), kMbox);

  // A second account may not share the first one's directory by letter case.
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"account", "add", "HOME", "--kind", "popmail"}), 1));
  EXPECT_EQ(Out({"account", "ls"}), account + "\tpopmail\tHome\t/mail/Home/mbox.xml\n");
}

}  // namespace
}  // namespace zds

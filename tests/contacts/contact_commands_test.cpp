// The zds program's book and contact commands, run as a user would.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "contacts/contacts_testing.h"

namespace zds {
namespace {

using test::ProgramResult;

class ContactCommandsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Zds({"init"}).exit_code, 0); }
  ProgramResult Zds(std::vector<std::string> args) {
    args.insert(args.begin(), {"--root", temp_.dir().string()});
    return test::RunZds(args);
  }
  // The first line's first field.
  static std::string Position(const ProgramResult& result) { return result.out.substr(0, result.out.find_first_of("\t\n")); }

  test::TempRoot temp_;
};

TEST_F(ContactCommandsTest, BooksAndContactsFromAddingToRemoving) {
  EXPECT_EQ(Zds({"contact", "add", "--name", "Nobody"}).exit_code, 1) << "no book yet";
  EXPECT_EQ(Zds({"book", "add", "Friends"}).out, "kov:/Velmora/0008/0001\n");
  EXPECT_EQ(Zds({"book", "add", "Work"}).exit_code, 0);
  EXPECT_EQ(Zds({"book", "add", "Work"}).exit_code, 1);
  ProgramResult jane = Zds({"contact", "add", "--name", "Jane Doe", "--email", "Jane@Example.org", "--email",
                            "jd@example.org", "--phone", "+1 555 0100"});
  ASSERT_EQ(jane.exit_code, 0) << jane.err;
  EXPECT_EQ(jane.out, "kov:/Velmora/0008/0001/0001\n") << "into the default book";
  ProgramResult bob = Zds({"contact", "add", "--book", "Work", "--name", "Bob", "--email", "jane@example.org"});
  ASSERT_EQ(bob.exit_code, 0) << bob.err;
  EXPECT_EQ(Zds({"book", "ls"}).out, "kov:/Velmora/0008/0001\tFriends\t1\tyes\nkov:/Velmora/0008/0002\tWork\t1\tno\n");
  EXPECT_EQ(Zds({"contact", "ls"}).out, Position(jane) + "\tJane Doe\tJane@Example.org, jd@example.org\t+1 555 0100\n" +
                                            Position(bob) + "\tBob\tjane@example.org\t\n");
  EXPECT_EQ(Zds({"contact", "ls", "Work"}).out, Position(bob) + "\tBob\tjane@example.org\t\n");

  EXPECT_EQ(Zds({"contact", "find", "JANE@example.ORG"}).out, Position(jane) + "\tJane Doe\n");
  ProgramResult missing = Zds({"contact", "find", "jane@example"});
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_NE(missing.err.find("zds: "), std::string::npos);

  ProgramResult shown = Zds({"contact", "show", Position(jane)});
  EXPECT_EQ(shown.out, "position: " + Position(jane) +
                           "\nname: Jane Doe\nemail: Jane@Example.org\nemail: jd@example.org\nphone: +1 555 0100\n");
  EXPECT_NE(Zds({"contact", "show", "--all", Position(jane)}).out.find("uid: urn:uuid:"), std::string::npos);

  ASSERT_EQ(Zds({"contact", "rm", Position(jane)}).exit_code, 0);
  EXPECT_EQ(Zds({"contact", "rm", Position(jane)}).exit_code, 1);
  EXPECT_EQ(Zds({"contact", "find", "jane@example.org"}).out, Position(bob) + "\tBob\n") << "the next holder";
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp_.Read("addressbook/Work/index.xml"));
}

TEST_F(ContactCommandsTest, ExportAndImportCountWhatTheyRead) {
  ASSERT_EQ(Zds({"book", "add", "Old"}).exit_code, 0);
  ASSERT_EQ(Zds({"book", "add", "New"}).exit_code, 0);
  ASSERT_EQ(Zds({"contact", "add", "--name", "Ann, Jr.", "--email", "ann@example.org"}).exit_code, 0);
  ProgramResult exported = Zds({"contact", "export", "Old"});
  ASSERT_EQ(exported.exit_code, 0);
  EXPECT_NE(exported.out.find("\r\nFN:Ann\\, Jr.\r\nEMAIL:ann@example.org\r\n"), std::string::npos) << exported.out;

  const test::fs::path file = temp_.top() / "cards.vcf";
  test::WriteNative(file, exported.out + "BEGIN:VCARD\r\nFN:Broken\r\n");
  ProgramResult imported = Zds({"contact", "import", file.string(), "--book", "New"});
  EXPECT_EQ(imported.out, "1 read, 1 refused\n");
  EXPECT_EQ(imported.exit_code, 0);
  EXPECT_EQ(Zds({"contact", "export", "New"}).out, exported.out);
  EXPECT_EQ(Zds({"contact", "export"}).out, exported.out + exported.out);

  EXPECT_EQ(Zds({"contact", "import", (temp_.top() / "none.vcf").string()}).exit_code, 1);
  const test::fs::path notes = temp_.top() / "notes.txt";
  test::WriteNative(notes, "not a card\n");
  EXPECT_EQ(Zds({"contact", "import", notes.string()}).exit_code, 1) << "nothing to import";
  EXPECT_EQ(Zds({"contact", "export", "Nowhere"}).exit_code, 1);
  for (std::vector<std::string> bad : {std::vector<std::string>{"contact"}, {"contact", "frob"}, {"contact", "add"},
                                       {"contact", "ls", "--name", "x"}, {"book"}, {"book", "add"}, {"book", "ls", "x"}}) {
    ProgramResult usage = Zds(bad);
    EXPECT_EQ(usage.exit_code, 2) << bad.back();
    EXPECT_EQ(usage.err.find('\n'), usage.err.size() - 1) << "one line: " << usage.err;
  }
}

}  // namespace
}  // namespace zds

// zds commands run at the same time on one store, as a person's shell, a
// scheduled job and a script run them: each edit that reports success is
// in the store afterwards, whoever saved in between.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

size_t LineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

TEST(SideBySideTest, EditsOfCommandsRunAtOnceAreAllKept) {
  test::TempRoot temp;
  ASSERT_EQ(test::RunZds(temp.dir(), {"init"}).exit_code, 0);
  ASSERT_EQ(test::RunZds(temp.dir(), {"book", "add", "Crowd"}).exit_code, 0);

  // Contacts go to one book, entries of one month to one schedule file:
  // every writer meets the others on the same documents.
  constexpr int kWriters = 4, kEdits = 12;
  std::vector<std::vector<test::ProgramResult>> results(kWriters);
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      for (int i = 0; i < kEdits; ++i) {
        const std::string name = "w" + std::to_string(w) + "-" + std::to_string(i);
        results[w].push_back(w % 2 == 0
                                 ? test::RunZds(temp.dir(), {"contact", "add", "--book", "Crowd", "--name", name})
                                 : test::RunZds(temp.dir(), {"schedule", "add", "--subject", name, "--begin",
                                                             "2026-03-02 10:00", "--end", "2026-03-02 11:00"}));
      }
    });
  }
  for (std::thread& writer : writers) writer.join();

  for (const auto& of_writer : results) {
    for (const test::ProgramResult& result : of_writer) EXPECT_EQ(result.exit_code, 0) << result.err;
  }
  const test::ProgramResult contacts = test::RunZds(temp.dir(), {"contact", "ls", "Crowd"});
  const test::ProgramResult agenda = test::RunZds(temp.dir(), {"agenda", "2026-03-02"});
  ASSERT_EQ(contacts.exit_code, 0) << contacts.err;
  ASSERT_EQ(agenda.exit_code, 0) << agenda.err;
  EXPECT_EQ(LineCount(contacts.out), size_t{kWriters / 2 * kEdits});
  EXPECT_EQ(LineCount(agenda.out), size_t{kWriters / 2 * kEdits});
  EXPECT_EQ(test::RunZds(temp.dir(), {"check"}).exit_code, 0);
}

// Imports name their message files after the ids the index hands out: two
// at once into one folder must neither share ids nor take each other's
// files for leftovers of a crash.
TEST(SideBySideTest, MailImportsRunAtOnceIntoOneFolderKeepEveryMessage) {
  test::TempRoot temp;
  ASSERT_EQ(test::RunZds(temp.dir(), {"init"}).exit_code, 0);
  ASSERT_EQ(test::RunZds(temp.dir(), {"account", "add", "home", "--kind", "popmail"}).exit_code, 0);
  constexpr int kWriters = 3, kImports = 3, kMessages = 20;
  std::vector<std::vector<test::ProgramResult>> results(kWriters);
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      for (int i = 0; i < kImports; ++i) {
        std::string mbox;
        for (int m = 0; m < kMessages; ++m) {
          mbox += "From a@b Tue Nov 24 12:00:00 2026\nSubject: m" + std::to_string(w) + "-" + std::to_string(i) + "-" +
                  std::to_string(m) + "\n\nbody\n\n";
        }
        const test::fs::path file = temp.top() / ("w" + std::to_string(w) + "-" + std::to_string(i) + ".mbox");
        test::WriteNative(file, mbox);
        results[w].push_back(test::RunZds(temp.dir(), {"mail", "import", "home", "Inbox", file.string()}));
      }
    });
  }
  for (std::thread& writer : writers) writer.join();

  for (const auto& of_writer : results) {
    for (const test::ProgramResult& result : of_writer) EXPECT_EQ(result.exit_code, 0) << result.err;
  }
  const test::ProgramResult exported = test::RunZds(temp.dir(), {"mail", "export", "home", "Inbox"});
  ASSERT_EQ(exported.exit_code, 0) << exported.err;
  for (int w = 0; w < kWriters; ++w) {
    for (int i = 0; i < kImports; ++i) {
      for (int m = 0; m < kMessages; ++m) {
        const std::string subject =
            "\nSubject: m" + std::to_string(w) + "-" + std::to_string(i) + "-" + std::to_string(m) + "\n";
        const size_t at = exported.out.find(subject);
        EXPECT_NE(at, std::string::npos) << subject;
        EXPECT_EQ(exported.out.find(subject, at + 1), std::string::npos) << subject;
      }
    }
  }
  EXPECT_EQ(test::RunZds(temp.dir(), {"check"}).exit_code, 0);
}

}  // namespace
}  // namespace zds

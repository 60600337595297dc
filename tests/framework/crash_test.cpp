// Killing a process in the middle of its saves: the document still loads,
// holds every edit the process reported done, and the next open leaves no
// temporary behind.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <thread>
#include <vector>

#include "support/note_doc.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::NoteRec;
using Records = std::map<std::string, std::string>;  // position -> note

constexpr const char* kFolder = "kov:\\Notes\\0001";

// The records of the document in the root, or nullopt when it does not load.
std::optional<Records> LoadRecords(const test::TempRoot& temp) {
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  if (doc.LoadXMLDoc("\\crash.xml") != OpenResult::kLoaded) return std::nullopt;
  Records records;
  if (const CVFDLFolder* folder = doc.GetFolder(kFolder)) {
    for (const NoteRec& rec : std::as_const(doc).ChildRecs(*folder)) records[rec.GetPos()] = rec.GetExtendRec().note;
  }
  return records;
}

size_t CountLines(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

// Applies the complete lines the child wrote; a line cut short was never reported.
void ApplyReported(const std::string& output, Records& records, size_t& reported) {
  size_t start = 0;
  for (size_t end; (end = output.find('\n', start)) != std::string::npos; start = end + 1) {
    std::istringstream line(output.substr(start, end - start));
    std::string kind, pos, note;
    line >> kind >> pos >> note;
    if (kind == "D") records.erase(pos);
    else records[pos] = note;
    ++reported;
  }
}

// What is on disk is what was reported, or that and one edit more per
// child: a child may have saved an edit it had no time to report.
::testing::AssertionResult HoldsReportedEdits(const Records& reported, const Records& disk, size_t children = 1) {
  size_t differences = 0;
  for (const auto& [pos, note] : reported) {
    auto found = disk.find(pos);
    if (found == disk.end() || found->second != note) ++differences;
  }
  for (const auto& [pos, note] : disk) differences += reported.count(pos) ? 0 : 1;
  if (differences <= children) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << differences << " records differ from the reported edits";
}

// A document of 2000 records; with `padding`, large enough for a journal.
void MakeCrashDocument(const test::TempRoot& temp, size_t padding) {
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(OpenVFDLDoc(doc, "\\crash.xml", ""), OpenResult::kCreated);
  for (int i = 0; i < 2000; ++i) {
    ASSERT_NE(doc.AddRec(kFolder, MakeNote("start", "s" + std::to_string(i) + std::string(padding, 'p')), false), "");
  }
  ASSERT_TRUE(doc.SaveXMLDoc());
  ASSERT_EQ(temp.Read("crash.xml").size() >= CXMLDoc::kJournalThreshold, padding > 0);
}

class CrashTest : public ::testing::TestWithParam<size_t> {};
INSTANTIATE_TEST_SUITE_P(WholeAndJournalled, CrashTest, ::testing::Values(size_t{0}, size_t{150}));

TEST_P(CrashTest, KilledWhileSavingLosesNoReportedEditAndLeavesNoTemporary) {
  test::TempRoot temp;
  MakeCrashDocument(temp, GetParam());
  if (HasFatalFailure()) return;
  auto model = LoadRecords(temp);
  ASSERT_TRUE(model);
  std::mt19937 random(20240611);
  // Natively every round is quick; under Wine starting a process is not,
  // so there the rounds are bounded by time.
#ifdef _WIN32
  const int min_rounds = 10, max_rounds = 100000;
#else
  const int min_rounds = 200, max_rounds = 200;
#endif
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  size_t reported = 0;
  int rounds = 0;
  for (; rounds < max_rounds && (rounds < min_rounds || std::chrono::steady_clock::now() < deadline); ++rounds) {
    const auto out = temp.top() / "out.txt";
    test::RunningProgram child(ZDS_CRASH_EDITOR_PATH, {temp.dir().string(), std::to_string(rounds)}, out);
    ASSERT_TRUE(child.started());
    // Kill once a few edits are through (or before any), at a random
    // moment within the next save or so.
    const size_t wait_for = random() % 4;
    while (CountLines(test::ReadNative(out)) < wait_for && !child.Ended()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    child.Kill();
    ASSERT_FALSE(child.exit_code() > 0) << "the editor stopped by itself, code " << child.exit_code();
    ApplyReported(test::ReadNative(out), *model, reported);
    auto disk = LoadRecords(temp);
    ASSERT_TRUE(disk) << "round " << rounds << ": the document no longer loads";
    ASSERT_TRUE(HoldsReportedEdits(*model, *disk)) << "round " << rounds;
    std::vector<std::string> files = temp.Files();
    std::erase(files, "root/crash.xml-journal");
    ASSERT_EQ(files, (std::vector<std::string>{"out.txt", "root/crash.xml"})) << "round " << rounds;
    ZDS_EXPECT_XMLLINT_ACCEPTS(temp.Read("crash.xml"));
    *model = std::move(*disk);
  }
  EXPECT_GT(reported, static_cast<size_t>(rounds)) << "too few edits were reported for the kills to land in saves";
  std::cout << rounds << " kills, " << reported << " edits reported\n";
}

// Two editors on the same document, each killed at its own random moment:
// one may die holding the lock (mid-save), and the other, or the next
// round's, must still get it; each catches up with the other's saves by
// reloading; neither loses what the other reported.
TEST_P(CrashTest, EditorsSideBySideKilledAtRandomLoseNothingAndNeverWaitForTheDead) {
  test::TempRoot temp;
  MakeCrashDocument(temp, GetParam());
  if (HasFatalFailure()) return;
  auto model = LoadRecords(temp);
  ASSERT_TRUE(model);
  std::mt19937 random(20261124);
#ifdef _WIN32
  const int min_rounds = 5, max_rounds = 100000;
#else
  const int min_rounds = 100, max_rounds = 100;
#endif
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  const std::vector<std::string> tags = {"a", "b"};
  size_t reported = 0;
  int rounds = 0;
  for (; rounds < max_rounds && (rounds < min_rounds || std::chrono::steady_clock::now() < deadline); ++rounds) {
    std::vector<std::unique_ptr<test::RunningProgram>> editors;
    for (const std::string& tag : tags) {
      editors.push_back(std::make_unique<test::RunningProgram>(
          ZDS_CRASH_EDITOR_PATH, std::vector<std::string>{temp.dir().string(), std::to_string(rounds), tag},
          temp.top() / (tag + ".txt")));
      ASSERT_TRUE(editors.back()->started());
    }
    const size_t wait_for = random() % 6;
    while (CountLines(test::ReadNative(temp.top() / "a.txt")) + CountLines(test::ReadNative(temp.top() / "b.txt")) <
               wait_for &&
           !editors[0]->Ended() && !editors[1]->Ended()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (auto& editor : editors) {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
      editor->Kill();
      ASSERT_FALSE(editor->exit_code() > 0) << "an editor stopped by itself, code " << editor->exit_code();
    }
    for (const std::string& tag : tags) ApplyReported(test::ReadNative(temp.top() / (tag + ".txt")), *model, reported);
    auto disk = LoadRecords(temp);
    ASSERT_TRUE(disk) << "round " << rounds << ": the document no longer loads";
    ASSERT_TRUE(HoldsReportedEdits(*model, *disk, tags.size())) << "round " << rounds;
    ZDS_EXPECT_XMLLINT_ACCEPTS(temp.Read("crash.xml"));
    *model = std::move(*disk);
  }
  EXPECT_GT(reported, static_cast<size_t>(rounds)) << "too few edits were reported for the kills to land in saves";
  std::cout << rounds << " rounds of two editors, " << reported << " edits reported\n";
}

// What a crash leaves beside a document goes when it is opened, whether
// the document is there or not.
TEST(CrashLeftoversTest, OpeningRemovesTheTemporariesACrashLeft) {
  for (bool existing : {true, false}) {
    test::TempRoot temp;
    if (existing) temp.Write("notes.xml", std::string(test::kNoteTemplate));
    const std::string left[] = {platform::TemporaryNameFor("notes.xml", 42), "notes.xml.tmp1-0"};
    for (const std::string& name : left) temp.Write(name, "half a doc");
    temp.Write("other.xml.tmp-0000000000000001", "another document's");
    NoteDoc doc;
    doc.SetDataRoot(temp.root());
    EXPECT_EQ(OpenVFDLDoc(doc, "\\notes.xml", ""), existing ? OpenResult::kLoaded : OpenResult::kCreated);
    EXPECT_FALSE(temp.Exists(left[0]) || temp.Exists(left[1])) << existing;
    EXPECT_TRUE(temp.Exists("other.xml.tmp-0000000000000001"));
  }
}

}  // namespace
}  // namespace zds

// Several writers on one file: each save checks that the file is still the
// one its document read, under the file's lock, so no acknowledged edit is
// lost; the one that lost the race is told so and catches up by reloading.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/note_doc.h"
#include "support/program.h"
#include "support/temp_root.h"
#include "zds/framework/messages.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::NoteRec;
using test::TempRoot;

constexpr const char* kFolder = "kov:\\Notes\\0001";

std::set<std::string> Notes(const NoteDoc& doc) {
  std::set<std::string> notes;
  for (const NoteRec& rec : doc.ChildRecs(*doc.GetFolder(kFolder))) notes.insert(rec.GetExtendRec().note);
  return notes;
}

class WritersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (NoteDoc* doc : {&first_, &second_}) {
      doc->SetDataRoot(temp_.root());
      doc->SetAutoSaveFlag(true);
      ASSERT_TRUE(IsOpen(OpenVFDLDoc(*doc, "\\notes.xml", "")));
    }
  }
  std::set<std::string> NotesOnDisk() {
    NoteDoc doc;
    doc.SetDataRoot(temp_.root());
    EXPECT_EQ(doc.LoadXMLDoc("\\notes.xml"), OpenResult::kLoaded);
    return Notes(doc);
  }
  TempRoot temp_;
  NoteDoc first_, second_;
};

// Every kind of edit of a stale document is refused with its own status,
// writes nothing and leaves the document as it was; after Reload (which
// tells the windows) the same edit goes through and both are kept.
TEST_F(WritersTest, AStaleDocumentIsRefusedUntilReloadedAndNoEditIsLost) {
  const std::string kept = first_.AddRec(kFolder, MakeNote("a", "first's"), false);
  ASSERT_FALSE(kept.empty());
  const std::string on_disk = temp_.Read("notes.xml");
  const std::string before = second_.GetXml();
  using Edit = std::function<bool(NoteDoc&)>;
  const std::vector<std::pair<const char*, Edit>> edits = {
      {"add", [](NoteDoc& d) { return !d.AddRec(kFolder, MakeNote("b", "second's"), false).empty(); }},
      {"update", [](NoteDoc& d) { return d.UpdateFolder(kFolder, *d.GetFolder(kFolder), false); }},
      {"delete", [](NoteDoc& d) { return d.DelFolder(kFolder); }},
      {"root attribute", [](NoteDoc& d) { return d.SetRootAttribute("ver", "2.0", false); }},
      {"save", [](NoteDoc& d) { return d.SaveXMLDoc(); }},
  };
  for (const auto& [name, edit] : edits) {
    EXPECT_FALSE(edit(second_)) << name;
    if (std::string(name) != "save") {
      EXPECT_EQ(second_.GetLastEditStatus(), EditStatus::kConflict) << name;
    }
    EXPECT_EQ(second_.GetLastSaveStatus(), SaveStatus::kConflict) << name;
    EXPECT_EQ(second_.GetXml(), before) << name;
    EXPECT_EQ(temp_.Read("notes.xml"), on_disk) << name;
  }
  platform::MessageQueue queue;
  std::vector<platform::WindowMessage> seen;
  platform::WindowHandle window = queue.NewWindow([&](const platform::WindowMessage& m) { seen.push_back(m); });
  ASSERT_EQ(second_.Reload(window), OpenResult::kLoaded);
  queue.Pump();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].message, WM_ZDS_CHANGED);
  EXPECT_EQ(seen[0].wparam, reinterpret_cast<uintptr_t>(second_.GetRoot()));
  EXPECT_EQ(seen[0].lparam, kChangeUpdated);
  ASSERT_FALSE(second_.AddRec(kFolder, MakeNote("b", "second's"), false).empty());
  // Now the first is the stale one, and its turn comes after a reload too.
  EXPECT_TRUE(first_.AddRec(kFolder, MakeNote("c", "first's again"), false).empty());
  EXPECT_EQ(first_.GetLastEditStatus(), EditStatus::kConflict);
  ASSERT_EQ(first_.Reload(), OpenResult::kLoaded);
  ASSERT_FALSE(first_.AddRec(kFolder, MakeNote("c", "first's again"), false).empty());
  EXPECT_EQ(NotesOnDisk(), (std::set<std::string>{"first's", "second's", "first's again"}));
}

// Another program's write is seen without the lock file's counter: the file
// has another identity. A file that went, or came, is a change as well.
TEST_F(WritersTest, AFileReplacedOrRemovedByAnotherProgramIsAConflict) {
  temp_.Write("notes.xml", temp_.Read("notes.xml"));  // the same bytes, a new file
  EXPECT_TRUE(first_.AddRec(kFolder, MakeNote("a", "1"), false).empty());
  EXPECT_EQ(first_.GetLastEditStatus(), EditStatus::kConflict);
  ASSERT_EQ(first_.Reload(), OpenResult::kLoaded);
  EXPECT_FALSE(first_.AddRec(kFolder, MakeNote("a", "1"), false).empty());

  std::filesystem::remove(temp_.dir() / "notes.xml");
  EXPECT_TRUE(first_.AddRec(kFolder, MakeNote("b", "2"), false).empty());
  EXPECT_EQ(first_.GetLastEditStatus(), EditStatus::kConflict);
  EXPECT_FALSE(temp_.Exists("notes.xml"));
  // Gone for good: the document keeps its nodes and writes the file anew.
  EXPECT_EQ(first_.Reload(), OpenResult::kMissing);
  EXPECT_FALSE(first_.AddRec(kFolder, MakeNote("b", "2"), false).empty());
  EXPECT_EQ(NotesOnDisk(), (std::set<std::string>{"1", "2"}));
}

// A second program that finds the file missing and makes it at the same
// time as the first takes the first's file instead of failing to start.
TEST_F(WritersTest, CreatingAFileAnotherProgramJustMadeOpensTheirs) {
  NoteDoc late;
  late.SetDataRoot(temp_.root());
  late.SetAutoSaveFlag(true);
  ASSERT_EQ(late.LoadXMLDoc("\\other.xml"), OpenResult::kMissing);
  NoteDoc early;
  early.SetDataRoot(temp_.root());
  early.SetAutoSaveFlag(true);
  ASSERT_EQ(OpenVFDLDoc(early, "\\other.xml", ""), OpenResult::kCreated);
  ASSERT_FALSE(early.AddRec(kFolder, MakeNote("e", "early's"), false).empty());
  EXPECT_FALSE(late.NewXMLDoc("\\other.xml"));
  EXPECT_EQ(late.GetLastSaveStatus(), SaveStatus::kConflict);
  NoteDoc opened;
  opened.SetDataRoot(temp_.root());
  ASSERT_EQ(OpenVFDLDoc(opened, "\\other.xml", ""), OpenResult::kLoaded);
  EXPECT_EQ(Notes(opened), std::set<std::string>{"early's"});
}

// The retry loop a program wraps its user's change in: a conflict costs a
// reload; any other refusal, or a file that no longer loads, ends it.
TEST_F(WritersTest, EditWithReloadCatchesUpOnlyOnConflicts) {
  ASSERT_FALSE(first_.AddRec(kFolder, MakeNote("a", "first's"), false).empty());
  int runs = 0;
  auto add = [&] { return ++runs, !second_.AddRec(kFolder, MakeNote("b", "second's"), false).empty(); };
  EXPECT_TRUE(EditWithReload(second_, add));
  EXPECT_EQ(runs, 2);
  EXPECT_EQ(NotesOnDisk(), (std::set<std::string>{"first's", "second's"}));
  runs = 0;
  auto missing = [&] { return ++runs, second_.DelRec("kov:\\Notes\\0999"); };
  EXPECT_FALSE(EditWithReload(second_, missing));
  EXPECT_EQ(runs, 1);
  temp_.Write("notes.xml", "<notes>damaged");
  runs = 0;
  EXPECT_FALSE(EditWithReload(second_, add));
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(temp_.Read("notes.xml"), "<notes>damaged") << "a file that does not load is never saved over";
}

// Processes adding side by side, each reloading and adding again on a
// conflict: every record each one was told it added is in the file.
TEST(WritersProcessTest, ProcessesAddingSideBySideKeepEveryAcknowledgedRecord) {
  TempRoot temp;
  {
    NoteDoc doc;
    doc.SetDataRoot(temp.root());
    ASSERT_EQ(OpenVFDLDoc(doc, "\\shared.xml", ""), OpenResult::kCreated);
  }
#ifdef _WIN32
  const int kEach = 25;  // a save under Wine is slow
#else
  const int kEach = 150;
#endif
  const std::vector<std::string> names = {"p", "q", "r"};
  std::vector<std::unique_ptr<test::RunningProgram>> writers;
  for (const std::string& name : names) {
    writers.push_back(std::make_unique<test::RunningProgram>(
        ZDS_RACING_WRITER_PATH, std::vector<std::string>{temp.dir().string(), name, std::to_string(kEach)},
        temp.top() / (name + ".out")));
    ASSERT_TRUE(writers.back()->started());
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(5);
  for (auto& writer : writers) {
    while (!writer->Ended() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_TRUE(writer->Ended()) << "a writer hangs";
    EXPECT_EQ(writer->exit_code(), 0);
  }
  int conflicts = 0;
  for (const std::string& name : names) {
    const std::string out = test::ReadNative(temp.top() / (name + ".out"));
    int added = -1, met = -1;
    ASSERT_EQ(std::sscanf(out.c_str(), "added %d conflicts %d", &added, &met), 2) << out;
    EXPECT_EQ(added, kEach);
    conflicts += met;
  }
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(doc.LoadXMLDoc("\\shared.xml"), OpenResult::kLoaded);
  std::set<std::string> expected;
  for (const std::string& name : names) {
    for (int i = 0; i < kEach; ++i) expected.insert(name + "-" + std::to_string(i));
  }
  EXPECT_EQ(Notes(doc), expected);
  std::cout << conflicts << " conflicts met and caught up with\n";
}

}  // namespace
}  // namespace zds

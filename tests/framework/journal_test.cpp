// The journal beside a large document: edits of one record are appended and
// applied again on loading; a cut tail is dropped, a journal that cannot be
// trusted is left alone with the file; checkpoints fold it into the file.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "support/note_doc.h"
#include "support/temp_root.h"
#include "zds/framework/journal.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::NoteRec;
using test::TempRoot;
using Records = std::map<std::string, std::string>;

constexpr const char* kFolder = "kov:\\Notes\\0001";
constexpr const char* kPath = "\\big.xml";

std::string Pos(std::string_view id) { return "kov:\\Notes\\" + std::string(id); }

Records RecordsOf(const NoteDoc& doc) {
  Records records;
  for (const NoteRec& rec : doc.ChildRecs(*doc.GetFolder(kFolder))) records[rec.GetPos()] = rec.GetExtendRec().note;
  return records;
}

class JournalTest : public ::testing::Test {
 protected:
  void SetUp() override {
    NoteDoc doc;
    doc.SetDataRoot(temp_.root());
    ASSERT_EQ(OpenVFDLDoc(doc, kPath, ""), OpenResult::kCreated);
    for (int i = 0; i < 2500; ++i) {
      ASSERT_NE(doc.AddRec(kFolder, MakeNote("r" + std::to_string(i), std::string(120, 'x')), false), "");
    }
    ASSERT_TRUE(doc.SaveXMLDoc());
    file_ = temp_.Read("big.xml");
    ASSERT_GT(file_.size(), CXMLDoc::kJournalThreshold);
  }
  void Open(NoteDoc& doc, OpenResult expected = OpenResult::kLoaded) {
    doc.SetDataRoot(temp_.root());
    doc.SetAutoSaveFlag(true);
    ASSERT_EQ(doc.LoadXMLDoc(kPath), expected);
  }
  // Three journalled edits of every kind; the records they leave.
  Records EditThree(NoteDoc& doc) {
    EXPECT_TRUE(doc.UpdateRec(Pos("0010"), MakeNote("u", "updated", {"child", "lines"}), false));
    EXPECT_NE(doc.AddRec(kFolder, MakeNote("a", "added"), false), "");
    EXPECT_TRUE(doc.DelRec(Pos("0020")));
    return RecordsOf(doc);
  }
  std::string Journal() const { return temp_.Read("big.xml-journal"); }

  TempRoot temp_;
  std::string file_;
};

TEST_F(JournalTest, EditsAreAppendedAndAppliedOnLoadingLeavingTheFileAsItWas) {
  NoteDoc writer, reader;
  Open(writer);
  const Records edited = EditThree(writer);
  EXPECT_EQ(temp_.Read("big.xml"), file_);
  EXPECT_EQ(writer.GetJournalSize(), Journal().size());
  Open(reader);
  EXPECT_EQ(RecordsOf(reader), edited);
  EXPECT_EQ(reader.GetXml(), writer.GetXml());  // byte for byte what a whole save would write
  // The reader's own edits go on the same journal.
  ASSERT_TRUE(reader.UpdateRec(Pos("0011"), MakeNote("v", "again"), false));
  NoteDoc third;
  Open(third);
  EXPECT_EQ(RecordsOf(third).at(Pos("0011")), "again");
}

TEST_F(JournalTest, AnotherWritersAppendIsAConflictUntilReloaded) {
  NoteDoc first, second;
  Open(first);
  Open(second);
  ASSERT_TRUE(first.UpdateRec(Pos("0010"), MakeNote("u", "first"), false));
  EXPECT_FALSE(second.UpdateRec(Pos("0011"), MakeNote("u", "second"), false));
  EXPECT_EQ(second.GetLastEditStatus(), EditStatus::kConflict);
  ASSERT_EQ(second.Reload(), OpenResult::kLoaded);
  ASSERT_TRUE(second.UpdateRec(Pos("0011"), MakeNote("u", "second"), false));
  EXPECT_FALSE(first.DelRec(Pos("0012")));
  EXPECT_EQ(first.GetLastEditStatus(), EditStatus::kConflict);
  NoteDoc check;
  Open(check);
  EXPECT_EQ(RecordsOf(check).at(Pos("0010")), "first");
  EXPECT_EQ(RecordsOf(check).at(Pos("0011")), "second");
}

// A crash in the middle of an append leaves any prefix of its entry: the
// entries before it load, and the next edit takes its place.
TEST_F(JournalTest, ATornLastEntryIsDroppedAtEveryByte) {
  Records before_last;
  std::string journal;
  {
    NoteDoc doc;
    Open(doc);
    ASSERT_TRUE(doc.UpdateRec(Pos("0010"), MakeNote("u", "kept"), false));
    before_last = RecordsOf(doc);
    const size_t last_start = doc.GetJournalSize();
    ASSERT_TRUE(doc.UpdateRec(Pos("0011"), MakeNote("u", "torn"), false));
    journal = Journal();
    for (size_t cut = last_start; cut < journal.size(); ++cut) {
      temp_.Write("big.xml-journal", journal.substr(0, cut));
      NoteDoc loaded;
      Open(loaded);
      ASSERT_EQ(RecordsOf(loaded), before_last) << "cut at " << cut;
      ASSERT_TRUE(loaded.GetOpenProblem().path.empty()) << "cut at " << cut;
    }
  }
  temp_.Write("big.xml-journal", journal.substr(0, journal.size() - 5) + std::string(40, '\0'));
  NoteDoc loaded;
  Open(loaded);
  ASSERT_TRUE(loaded.UpdateRec(Pos("0012"), MakeNote("u", "after"), false));
  NoteDoc check;
  Open(check);
  Records expected = before_last;
  expected[Pos("0012")] = "after";
  EXPECT_EQ(RecordsOf(check), expected);
}

// A journal that is damaged where no crash damages it, or belongs to
// another file, is not applied, the load says so, and neither file is
// written until a person sees to them.
TEST_F(JournalTest, AnUntrustedJournalIsNotAppliedAndNothingIsOverwritten) {
  NoteDoc writer;
  Open(writer);
  EditThree(writer);
  const std::string journal = Journal();
  writer.SetDataRoot(nullptr);  // closing would fold the journal in
  const size_t first_entry = journal.find('@');
  std::string flipped = journal;
  flipped[first_entry + 30] ^= 1;
  std::string unframed = journal;
  unframed[first_entry] = 'x';
  const std::string other_file = file_ + "\n";
  struct Case {
    const char* what;
    std::string file, journal;
    bool journal_is_directory = false;
  } cases[] = {
      {"a checksum mismatch with entries after it", file_, flipped},
      {"a garbled frame with entries after it", file_, unframed},
      {"a file replaced by another program", other_file, journal},
      {"no header", file_, "garbage\n" + journal},
      {"a directory", file_, "", true},
  };
  for (const Case& c : cases) {
    std::filesystem::remove_all(temp_.dir() / "big.xml-journal");
    temp_.Write("big.xml", c.file);
    if (c.journal_is_directory) std::filesystem::create_directory(temp_.dir() / "big.xml-journal");
    else temp_.Write("big.xml-journal", c.journal);
    NoteDoc doc;
    Open(doc);
    EXPECT_EQ(doc.GetOpenProblem().path, "\\big.xml-journal") << c.what;
    EXPECT_FALSE(doc.GetOpenProblem().what.empty()) << c.what;
    EXPECT_EQ(RecordsOf(doc).count(Pos("0020")), 1u) << c.what;  // the delete not applied
    EXPECT_FALSE(doc.UpdateRec(Pos("0030"), MakeNote("u", "refused"), false)) << c.what;
    EXPECT_FALSE(doc.Checkpoint()) << c.what;
    EXPECT_EQ(temp_.Read("big.xml"), c.file) << c.what;
    if (!c.journal_is_directory) {
      EXPECT_EQ(Journal(), c.journal) << c.what;
    }
  }
}

TEST_F(JournalTest, CheckpointsFoldTheJournalIntoTheFile) {
  NoteDoc doc;
  Open(doc);
  // By size: once the journal holds its share of the file, the next save writes the file whole.
  int edits = 0;
  while (temp_.Read("big.xml") == file_) {
    ASSERT_TRUE(doc.UpdateRec(Pos("0010"), MakeNote("u", "e" + std::to_string(edits)), false));
    ASSERT_LT(++edits, 10000);
  }
  EXPECT_GT(edits, 10);
  EXPECT_EQ(Journal(), "");
  ZDS_EXPECT_XMLLINT_ACCEPTS(temp_.Read("big.xml"));
  // On request, and on closing: the file alone then holds every edit.
  ASSERT_TRUE(doc.UpdateRec(Pos("0011"), MakeNote("u", "asked"), false));
  ASSERT_TRUE(doc.Checkpoint());
  EXPECT_EQ(Journal(), "");
  Records expected;
  {
    NoteDoc closing;
    Open(closing);
    EditThree(closing);
    expected = RecordsOf(closing);
    EXPECT_NE(Journal(), "");
  }
  EXPECT_EQ(Journal(), "");
  std::filesystem::remove(temp_.dir() / "big.xml-journal");
  NoteDoc check;
  Open(check);
  EXPECT_EQ(RecordsOf(check), expected);
}

// A checkpoint first marks in the journal the file it is about to write,
// so a crash on either side of the rename leaves a pair that loads right.
TEST_F(JournalTest, ACrashAroundACheckpointsRenameLosesNothing) {
  NoteDoc doc;
  Open(doc);
  const Records edited = EditThree(doc);
  const std::string journal = Journal();
  const std::string whole = doc.GetXml();
  const std::string marked =
      journal + FormatJournalEntry(FormatCheckpointPayload({whole.size(), Crc32(whole)}));
  for (const std::string& file : {file_, whole}) {
    temp_.Write("big.xml", file);
    temp_.Write("big.xml-journal", marked);
    NoteDoc loaded;
    Open(loaded);
    EXPECT_TRUE(loaded.GetOpenProblem().path.empty()) << loaded.GetOpenProblem().what;
    EXPECT_EQ(RecordsOf(loaded), edited);
    ASSERT_TRUE(loaded.UpdateRec(Pos("0012"), MakeNote("u", "next"), false));
    NoteDoc check;
    Open(check);
    EXPECT_EQ(RecordsOf(check).at(Pos("0012")), "next");
    EXPECT_EQ(RecordsOf(check).size(), edited.size());
  }
}

TEST_F(JournalTest, ADocumentOthersReadDirectlyIsWrittenWhole) {
  NoteDoc doc;
  doc.SetJournalAllowed(false);
  Open(doc);
  ASSERT_TRUE(doc.UpdateRec(Pos("0010"), MakeNote("u", "whole"), false));
  EXPECT_FALSE(temp_.Exists("big.xml-journal"));
  EXPECT_NE(temp_.Read("big.xml"), file_);
}

}  // namespace
}  // namespace zds

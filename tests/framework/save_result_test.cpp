// Edits whose save fails: each reports the failure as the operation's own
// failure value and leaves the document, its ids and its file as they were;
// the same edit then succeeds once writing works again.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/failing_writes.h"
#include "support/note_doc.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;

constexpr const char* kSchedule = "kov:\\Notes\\0001";

struct EditCase {
  const char* name;
  // Runs the edit; true when it reports success.
  std::function<bool(NoteDoc&, const std::string& rec)> edit;
};

const EditCase kEdits[] = {
    {"add record", [](NoteDoc& d, const std::string&) { return !d.AddRec(kSchedule, MakeNote("n", "1"), false).empty(); }},
    {"update record", [](NoteDoc& d, const std::string& r) { return d.UpdateRec(r, MakeNote("renamed", "2"), false); }},
    {"delete record", [](NoteDoc& d, const std::string& r) { return d.DelRec(r); }},
    {"add folder", [](NoteDoc& d, const std::string&) { return !d.AddFolder(kSchedule, test::ShelfFolder(), false).empty(); }},
    {"update folder",
     [](NoteDoc& d, const std::string&) {
       test::ShelfFolder renamed(*d.GetFolder(kSchedule));
       renamed.SetAlias("Diary");
       return d.UpdateFolder(kSchedule, renamed, false);
     }},
    {"delete folder", [](NoteDoc& d, const std::string&) { return d.DelFolder(kSchedule); }},
    {"copy folder", [](NoteDoc& d, const std::string&) { return !d.AddCopyNodeByID("0001", "0000", false).empty(); }},
    {"root attribute", [](NoteDoc& d, const std::string&) { return d.SetRootAttribute("ver", "2.0", false); }},
    {"prologue", [](NoteDoc& d, const std::string&) { return d.SetPrologue("\r\n<header type=\"normal\"/>\r\n", false); }},
};

TEST(SaveResultTest, AnEditWhoseSaveFailsReportsItAndChangesNothing) {
  for (const EditCase& c : kEdits) {
    SCOPED_TRACE(c.name);
    test::TempRoot temp;
    NoteDoc doc;
    doc.SetDataRoot(temp.root());
    doc.SetAutoSaveFlag(true);
    ASSERT_EQ(OpenVFDLDoc(doc, "\\notes.xml", ""), OpenResult::kCreated);
    const std::string rec = doc.AddRec(kSchedule, MakeNote("first", "0"), false);
    ASSERT_FALSE(rec.empty());
    const std::string text = doc.GetXml();
    const int next_id = doc.GetNewID();
    {
      test::FailingWrites failing(temp.dir() / "notes.xml");
      ASSERT_TRUE(failing.active());
      EXPECT_FALSE(c.edit(doc, rec));
      EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kNotSaved);
    }
    EXPECT_EQ(doc.GetXml(), text);
    EXPECT_EQ(doc.GetNewID(), next_id);
    EXPECT_FALSE(doc.IsModified());
    EXPECT_EQ(temp.Read("notes.xml"), text);
    EXPECT_NE(doc.GetNodeByPath("kov:\\Notes\\Schedule\\first"), nullptr) << "the indexes are as before too";
    EXPECT_TRUE(c.edit(doc, rec)) << "and it works once writing does";
    EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kDone);
    EXPECT_EQ(temp.Read("notes.xml"), doc.GetXml());
  }
}

TEST(SaveResultTest, NotFoundIsToldApartFromNotSaved) {
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(std::string(test::kNoteTemplate)));
  EXPECT_FALSE(doc.UpdateRec("kov:\\Notes\\0042", MakeNote("a", "b"), false));
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kNotFound);
  EXPECT_FALSE(doc.DelRec(kSchedule)) << "a folder is not a record";
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kNotFound);
  EXPECT_FALSE(doc.DelFolder("kov:\\Notes\\0000"));
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kRefused) << "the root folder stays";
}

TEST(SaveResultTest, ATemplateThatCannotBeWrittenIsNotReportedCreated) {
  test::TempRoot temp;
  temp.Write("blocked", "a file where a directory should be");
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  doc.SetAutoSaveFlag(true);
  EXPECT_EQ(OpenVFDLDoc(doc, "\\blocked\\notes.xml", ""), OpenResult::kUnwritable);
  EXPECT_FALSE(IsOpen(OpenResult::kUnwritable));
  EXPECT_EQ(temp.Files(), std::vector<std::string>{"root/blocked"});
  doc.SetAutoSaveFlag(false);
  EXPECT_EQ(OpenVFDLDoc(doc, "\\blocked\\notes.xml", ""), OpenResult::kCreated) << "without auto-save nothing is written yet";
}

}  // namespace
}  // namespace zds

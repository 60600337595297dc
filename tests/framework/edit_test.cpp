// Edits of a loaded document, positions and paths within and across
// documents, documents behind folders, and content descriptors. Edits
// whose save fails report the failure as the operation's own failure value
// and leave the document, its ids and its file as they were; the same edit
// then succeeds once writing works again.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "zds/framework/notepad_doc.h"
#include "zds/framework/vfdl_walk.h"
#include "support/failing_writes.h"
#include "support/note_doc.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::NoteRec;
namespace fs = std::filesystem;

constexpr const char* kSchedule = "kov:\\Notes\\0001";

class EditTest : public ::testing::Test {
 protected:
  void SetUp() override {
    doc_.SetDataRoot(temp_.root());
    doc_.SetClassRegistry(&test::NoteRegistry());
    ASSERT_EQ(OpenVFDLDoc(doc_, "\\notes.xml", ""), OpenResult::kCreated);
  }
  std::unique_ptr<NoteDoc> Reload() {
    EXPECT_TRUE(doc_.SaveXMLDoc());
    auto doc = std::make_unique<NoteDoc>();
    doc->SetDataRoot(temp_.root());
    EXPECT_EQ(OpenVFDLDoc(*doc, "\\notes.xml", ""), OpenResult::kLoaded);
    return doc;
  }
  // A folder at the top of `doc` (the test's own by default) that stands
  // for a document of the test kind in `src`.
  std::string AddBackedFolder(std::string_view alias, std::string_view src, CVFDLDoc* doc = nullptr) {
    test::ShelfFolder folder;
    folder.SetAlias(alias);
    folder.ComposeContent("notes", "NoteDoc", "universal");
    folder.SetSrc(src);
    doc = doc ? doc : &doc_;
    return doc->AddFolder(doc->GetRoot()->GetPos(), folder, false);
  }

  test::TempRoot temp_;
  NoteDoc doc_;
};

TEST_F(EditTest, AddUpdateDeleteRecordsThroughPositionsAndTheIdIndex) {
  const std::string a = doc_.AddRec(kSchedule, MakeNote("a", "1", {"x"}), false);
  const std::string b = doc_.AddRec(kSchedule, MakeNote("b", "2"), false);
  EXPECT_EQ(a, "kov:\\Notes\\0002");
  EXPECT_EQ(b, "kov:\\Notes\\0003");
  for (const char* parent : {"kov:\\Notes\\0999", "kov:\\Other\\0001", "kov:\\Notes\\0002"}) {
    EXPECT_EQ(doc_.AddRec(parent, MakeNote("c", "3"), false), "") << parent;
  }
  ASSERT_TRUE(doc_.UpdateRec(a, MakeNote("a2", "changed", {"y", "z"}), false));
  const NoteRec* updated = doc_.GetRec(a);
  EXPECT_EQ(updated->GetID(), "0002") << "an update keeps the id";
  EXPECT_EQ(updated->GetExtendRec().items, (std::vector<std::string>{"y", "z"}));
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Schedule\\a2"), updated);
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Schedule\\a"), nullptr);
  EXPECT_FALSE(doc_.UpdateRec(kSchedule, MakeNote("f", "f"), false)) << "a folder is not a record";

  ASSERT_TRUE(doc_.DelRec(a));
  EXPECT_EQ(doc_.GetNodeByID("0002"), nullptr);
  EXPECT_EQ(doc_.GetNodeByPos(a), nullptr);
  EXPECT_FALSE(doc_.DelRec(a));
  EXPECT_FALSE(doc_.DelRec(kSchedule));
  const std::string c = doc_.AddRec(kSchedule, MakeNote("c", "3"), false);
  EXPECT_NE(c, b);
  auto reloaded = Reload();
  for (const std::string& pos : {b, c}) {  // positions are stable across a reload
    ASSERT_NE(reloaded->GetNodeByPos(pos), nullptr) << pos;
    EXPECT_TRUE(reloaded->GetNodeByPos(pos)->ValueEquals(*doc_.GetNodeByPos(pos))) << pos;
  }
  ZDS_EXPECT_XMLLINT_ACCEPTS(doc_.GetXml());
}

TEST_F(EditTest, FoldersCopiesAndAliases) {
  test::ShelfFolder folder;
  folder.SetAlias("Trip");
  const std::string trip = doc_.AddFolder(kSchedule, folder, false);
  const std::string day = doc_.AddFolder(trip, folder, false);
  const std::string rec = doc_.AddRec(day, MakeNote("ticket", "t"), false);
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Schedule\\Trip\\Trip\\ticket"), doc_.GetNodeByPos(rec));
  EXPECT_EQ(doc_.GetFolderID(rec), doc_.GetNodeByPos(day)->GetID());
  CVFDLFolder* schedule = doc_.GetFolder(kSchedule);
  EXPECT_EQ(doc_.GetNewAlias(*schedule, "Trip"), "Trip (2)");
  EXPECT_EQ(doc_.GetNewAlias(*schedule, "Other"), "Other");

  const std::string trip_id = doc_.GetNodeByPos(trip)->GetID();
  ASSERT_FALSE(doc_.AddCopyNodeByID(trip_id, "0000", false).empty());
  CVFDLNode* copied = doc_.GetNodeByPath("kov:\\Notes\\Trip\\Trip\\ticket");
  ASSERT_NE(copied, nullptr);
  EXPECT_NE(copied->GetID(), doc_.GetNodeByPos(rec)->GetID());
  EXPECT_EQ(doc_.AsRec(copied)->GetExtendRec().note, "t");
  EXPECT_EQ(doc_.GetNodeCount(), 8u);
  EXPECT_EQ(doc_.AddCopyNodeByID(trip_id, doc_.GetNodeByPos(day)->GetID(), false), "") << "not into itself";

  ASSERT_TRUE(doc_.DelFolder(trip));
  EXPECT_EQ(doc_.GetNodeByPos(day), nullptr);
  EXPECT_EQ(doc_.GetNodeByPos(rec), nullptr);
  EXPECT_EQ(doc_.GetNodeCount(), 5u);
  EXPECT_FALSE(doc_.DelFolder("kov:\\Notes\\0000")) << "the root folder stays";
  EXPECT_EQ(Reload()->GetXml(), doc_.GetXml());
  ZDS_EXPECT_XMLLINT_ACCEPTS(doc_.GetXml());
}

// The indexes behind look-ups by id and alias must agree with a walk of the
// tree whatever edits led to it: appends, inserts at any place, renames and
// deletes (aliases repeat on purpose).
TEST_F(EditTest, LookUpsAgreeWithAWalkAfterRandomEdits) {
  std::mt19937 random(3);
  std::vector<std::string> positions;
  const CVFDLFolder* schedule = doc_.GetFolder(kSchedule);
  for (int step = 1; step <= 3000; ++step) {
    const std::string alias = "n" + std::to_string(random() % 40);
    const unsigned action = positions.empty() ? 0 : random() % 4;
    if (action == 0) {
      positions.push_back(doc_.AddRec(kSchedule, MakeNote(alias, "x"), false));
    } else if (action == 1) {  // before any child, so the index must place it among equal aliases
      const int index = static_cast<int>(random() % (schedule->GetChildCount() + 1));
      positions.push_back(doc_.AddNodeCopy(kSchedule, MakeNote(alias, "x"), false, index));
    } else if (action == 2) {
      ASSERT_TRUE(doc_.UpdateRec(positions[random() % positions.size()], MakeNote(alias, "y"), false));
    } else {
      const auto victim = positions.begin() + static_cast<long>(random() % positions.size());
      ASSERT_TRUE(doc_.DelRec(*victim));
      EXPECT_EQ(doc_.GetNodeByPos(*victim), nullptr);
      positions.erase(victim);
    }
    if (step % 100 != 0) continue;
    for (int n = 0; n < 40; ++n) {
      const std::string wanted = "n" + std::to_string(n);
      const CVFDLNode* first = nullptr;
      for (const CVFDLNode& child : Children(*schedule)) {
        if (first == nullptr && child.GetAlias() == wanted) first = &child;
      }
      ASSERT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Schedule\\" + wanted), first) << wanted << " at " << step;
    }
    for (const std::string& pos : positions) ASSERT_NE(doc_.GetNodeByPos(pos), nullptr) << pos;
    ASSERT_EQ(schedule->GetChildCount(), positions.size());
  }
}

TEST_F(EditTest, DocumentsBehindFoldersContinuePathsAndPositionsAndGoWithTheirFolder) {
  ASSERT_TRUE(temp_.root()->CreateDirectories("\\calendar"));
  const std::string holder_pos = AddBackedFolder("Calendar", "\\calendar\\index.xml");
  CVFDLNode* holder = doc_.GetNodeByPos(holder_pos);
  doc_.SetAutoSaveFlag(true);
  NoteDoc* calendar = doc_.LoadVFDLDoc<NoteDoc>(*holder);
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(doc_.LoadVFDLDoc(*holder), calendar) << "opened once";
  EXPECT_EQ(temp_.Read("calendar/index.xml"), test::kNoteTemplate);
  EXPECT_EQ(calendar->GetBasePath(), "\\calendar");

  CVFDLNode* schedule = calendar->GetNodeByID("0001");
  EXPECT_EQ(schedule->GetPath(), "kov:\\Notes\\Calendar\\Schedule");
  EXPECT_EQ(schedule->GetPos(), holder_pos + "\\0001");
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Calendar\\Schedule"), schedule);
  EXPECT_EQ(doc_.FindNodeByPos(schedule->GetPos()), schedule);
  EXPECT_EQ(doc_.GetFirstChild(*holder), schedule);
  EXPECT_EQ(calendar->GetParentCASDDoc(), &doc_);
  const std::string entry = calendar->AddRec(schedule->GetPos(), MakeNote("dentist", "9:00"), false);
  EXPECT_EQ(entry, holder_pos + "\\0002");
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Calendar\\Schedule\\dentist"), doc_.FindNodeByPos(entry));
  EXPECT_NE(temp_.Read("calendar/index.xml").find("dentist"), std::string::npos) << "auto-save carries over";

  ASSERT_TRUE(doc_.UnloadVFDLDoc(holder_pos));
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Calendar\\Schedule"), nullptr);
  EXPECT_EQ(doc_.FindNodeByPos(entry), nullptr);
  ASSERT_NE(doc_.LoadVFDLDoc(*holder), nullptr);
  EXPECT_EQ(doc_.FindNodeByPos(entry)->GetAlias(), "dentist") << "the same position after reopening";
  ASSERT_TRUE(doc_.DelFolder(holder_pos));
  EXPECT_EQ(doc_.FindNodeByPos(entry), nullptr);
  EXPECT_TRUE(temp_.Exists("calendar/index.xml"));

  CVFDLDoc* related = doc_.LoadRelatedVFDLDoc("\\other.xml", "NoteDoc");
  ASSERT_NE(related, nullptr);
  EXPECT_EQ(related->GetNodeByID("0001")->GetPos(), "kov:\\Notes\\0001") << "opened on its own";
  EXPECT_EQ(doc_.LoadRelatedVFDLDoc("\\other.xml", "NoteDoc"), related);
  EXPECT_TRUE(doc_.UnloadVFDLDoc("\\other.xml"));

  // Two levels behind nodes, and deleted with their folder.
  const std::string year_pos = AddBackedFolder("Year", "\\year\\index.xml");
  ASSERT_TRUE(temp_.root()->CreateDirectories("\\year\\may"));
  NoteDoc* year = doc_.LoadVFDLDoc<NoteDoc>(*doc_.GetNodeByPos(year_pos));
  ASSERT_NE(year, nullptr);
  const std::string month_pos = AddBackedFolder("May", "\\may\\index.xml", year);  // below the year's own directory
  EXPECT_EQ(month_pos, year_pos + "\\0002");
  CVFDLDoc* may = year->LoadVFDLDoc(*year->GetNodeByPos(month_pos));
  ASSERT_NE(may, nullptr);
  EXPECT_TRUE(temp_.Exists("year/may/index.xml"));
  const std::string picnic = may->AddRec(may->GetRoot()->GetPos(), MakeNote("picnic", "noon"), false);
  EXPECT_EQ(picnic, month_pos + "\\0002");
  EXPECT_EQ(doc_.FindNodeByPos(picnic), may->GetNodeByPos(picnic));
  EXPECT_EQ(doc_.GetNodeByPath("kov:\\Notes\\Year\\May\\picnic"), may->GetNodeByPos(picnic));
  EXPECT_EQ(may->GetNodeByPos(picnic)->GetPath(), "kov:\\Notes\\Year\\May\\picnic");

  ASSERT_TRUE(doc_.DelFolderOnDoc(year_pos));
  EXPECT_FALSE(temp_.Exists("year/index.xml"));
  EXPECT_FALSE(temp_.Exists("year/may/index.xml")) << "the file of the document below goes too";
  EXPECT_EQ(doc_.FindNodeByPos(picnic), nullptr);
}

TEST_F(EditTest, SrcOutsideTheDataRootIsRefused) {
  doc_.SetAutoSaveFlag(true);
  test::WriteNative(temp_.top() / "victim.xml", "keep");  // what "..\victim.xml" names
  const std::string far = temp_.top().filename().string() + "-escape.xml";
  const std::vector<std::string> outside = {"..\\victim.xml", "\\..\\victim.xml", "\\a\\..\\..\\" + far,
                                            "/tmp/" + far,    "C:\\" + far,       "c:" + far,
                                            "\\\\srv\\share\\" + far, ".."};
  for (const std::string& src : outside) {
    SCOPED_TRACE(src);
    const std::string pos = AddBackedFolder("Out", src);
    EXPECT_EQ(doc_.LoadVFDLDoc(*doc_.GetNodeByPos(pos)), nullptr);
    EXPECT_EQ(doc_.GetLastLoadStatus(), LoadStatus::kRefusedSrc);
    EXPECT_EQ(doc_.LoadRelatedVFDLDoc(src, "NoteDoc"), nullptr);
    EXPECT_TRUE(doc_.DelFolderOnDoc(pos));
  }
  EXPECT_FALSE(fs::exists(temp_.top().parent_path() / far));
  EXPECT_FALSE(fs::exists("/tmp/" + far));
  EXPECT_EQ(temp_.Files(), (std::vector<std::string>{"root/notes.xml", "victim.xml"}));
  EXPECT_EQ(test::ReadNative(temp_.top() / "victim.xml"), "keep");
  const std::string inside = AddBackedFolder("In", "inside.xml");
  EXPECT_NE(doc_.LoadVFDLDoc(*doc_.GetNodeByPos(inside)), nullptr) << "a plain relative src is fine";
}

// A document that opens nothing says why: no registry, no such class, a
// class other than the one asked for, a node of another document, a file
// that is missing or cannot be used.
TEST_F(EditTest, OpeningNothingBehindANodeSaysWhy) {
  const std::string pos = AddBackedFolder("Box", "\\box.xml");
  const CVFDLNode& box = *doc_.GetNodeByPos(pos);
  NoteDoc unregistered;
  unregistered.SetDataRoot(temp_.root());
  ASSERT_TRUE(unregistered.SetXml(std::string(test::kNoteTemplate)));
  test::ShelfFolder folder = *doc_.GetFolder(pos);
  const std::string copy = unregistered.AddFolder("kov:\\Notes\\0000", folder, false);
  EXPECT_EQ(unregistered.LoadVFDLDoc(*unregistered.GetNodeByPos(copy)), nullptr);
  EXPECT_EQ(unregistered.GetLastLoadStatus(), LoadStatus::kNoRegistry);
  EXPECT_EQ(unregistered.LoadVFDLDoc(box), nullptr);
  EXPECT_EQ(unregistered.GetLastLoadStatus(), LoadStatus::kNotInDocument);

  EXPECT_EQ(doc_.LoadVFDLDoc(box, false), nullptr);
  EXPECT_EQ(doc_.GetLastLoadStatus(), LoadStatus::kMissing);
  temp_.Write("box.xml", "<notes><folder");
  EXPECT_EQ(doc_.LoadVFDLDoc(box), nullptr);
  EXPECT_EQ(doc_.GetLastLoadStatus(), LoadStatus::kUnusable);
  EXPECT_EQ(doc_.LoadRelatedVFDLDoc("\\third.xml", "NoSuchDoc"), nullptr);
  EXPECT_EQ(doc_.GetLastLoadStatus(), LoadStatus::kUnknownClass);
  ASSERT_NE(doc_.LoadRelatedVFDLDoc("\\third.xml", "NoteDoc"), nullptr);
  EXPECT_EQ(doc_.GetLastLoadStatus(), LoadStatus::kLoaded);
  const std::string good = AddBackedFolder("Good", "\\good.xml");
  EXPECT_EQ(doc_.LoadVFDLDoc<CNotepadDoc>(*doc_.GetNodeByPos(good)), nullptr) << "a NoteDoc is no notepad";
  EXPECT_EQ(doc_.GetLastLoadStatus(), LoadStatus::kOtherClass);
  EXPECT_NE(doc_.GetExpandedDoc<NoteDoc>(*doc_.GetNodeByPos(good)), nullptr) << "it is open all the same";
}

// Reaching through documents behind nodes opens them as needed and never
// makes one; the walk visits each, says why one cannot be used, and closes
// again what it opened.
TEST_F(EditTest, ReachingAndWalkingGoThroughTheDocumentsBehindNodes) {
  const std::string outer_pos = AddBackedFolder("Outer", "\\outer.xml");
  ASSERT_NE(doc_.LoadVFDLDoc(*doc_.GetNodeByPos(outer_pos)), nullptr);
  NoteDoc& outer = *doc_.GetExpandedDoc<NoteDoc>(*doc_.GetNodeByPos(outer_pos));
  outer.SetAutoSaveFlag(true);
  const std::string inner_pos = AddBackedFolder("Inner", "\\inner.xml", &outer);
  ASSERT_NE(outer.LoadVFDLDoc(*outer.GetNodeByPos(inner_pos)), nullptr);
  const std::string damaged_pos = AddBackedFolder("Damaged", "\\damaged.xml");
  const std::string missing_pos = AddBackedFolder("Missing", "\\missing.xml");
  temp_.Write("damaged.xml", "<notes>\n<folder id=\"0000\">\n</rec>\n");
  ASSERT_TRUE(doc_.SaveXMLDoc());
  ASSERT_TRUE(outer.SaveXMLDoc());

  NoteDoc fresh;  // nothing behind its nodes open yet
  fresh.SetDataRoot(temp_.root());
  fresh.SetClassRegistry(&test::NoteRegistry());
  ASSERT_EQ(OpenVFDLDoc(fresh, "\\notes.xml", ""), OpenResult::kLoaded);
  const CVFDLNode* schedule = fresh.ReachNodeByPos(inner_pos + "\\0001");
  ASSERT_NE(schedule, nullptr);
  EXPECT_EQ(schedule->GetPath(), "kov:\\Notes\\Outer\\Inner\\Schedule");
  EXPECT_EQ(fresh.ReachNodeByPath("kov:\\Notes\\Outer\\Inner\\Schedule"), schedule);
  EXPECT_EQ(fresh.ReachNodeByPos(inner_pos + "\\0099"), nullptr);
  EXPECT_EQ(fresh.ReachNodeByPos(damaged_pos + "\\0001"), nullptr);
  EXPECT_EQ(fresh.GetLastLoadStatus(), LoadStatus::kUnusable);
  EXPECT_EQ(fresh.GetLastLoadProblem(), (FileProblem{"\\damaged.xml", 3, "</rec> where </folder> was due"}));
  EXPECT_EQ(fresh.ReachNodeByPath("kov:\\Notes\\Missing\\Schedule"), nullptr);
  EXPECT_EQ(fresh.ReachNodeByPos(missing_pos + "\\0001"), nullptr);
  EXPECT_EQ(fresh.GetLastLoadStatus(), LoadStatus::kMissing);
  EXPECT_FALSE(temp_.Exists("missing.xml")) << "reaching makes nothing";

  NoteDoc walked;
  walked.SetDataRoot(temp_.root());
  walked.SetClassRegistry(&test::NoteRegistry());
  ASSERT_EQ(OpenVFDLDoc(walked, "\\notes.xml", ""), OpenResult::kLoaded);
  std::vector<std::string> seen;
  walked.ForEachDocBehind([&](const CVFDLNode& holder, const CVFDLDoc* doc, LoadStatus status, const FileProblem&) {
    seen.push_back(holder.GetAlias() + (doc ? " open" : status == LoadStatus::kUnusable ? " unusable" : " missing"));
  });
  EXPECT_EQ(seen, (std::vector<std::string>{"Outer open", "Inner open", "Damaged unusable", "Missing missing"}));
  EXPECT_EQ(walked.GetExpandedDoc(*walked.GetNodeByPos(outer_pos)), nullptr) << "closed again";
  EXPECT_FALSE(temp_.Exists("missing.xml"));
}

TEST(ContentDescriptorTest, ComposesAndReadsBackTheThreeFields) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"midl", "CMIDLDoc", "universal", "midl;class=CMIDLDoc;os=universal"},
      {"midl", "CMIDLDoc", "", "midl;class=CMIDLDoc;"},
      {"", "CFavDoc", "universal", "class=CFavDoc;os=universal"},
      {"midl", "", "universal", "midl;os=universal"},
      {"", "", "universal", "os=universal"},
      {"", "", "", ""},
  };
  for (auto [kind, class_name, os, content] : cases) {
    CVFDLFolder folder;
    folder.ComposeContent(kind, class_name, os);
    EXPECT_EQ(folder.GetContent(), content);
    EXPECT_EQ(folder.GetContentClass(), class_name) << content;
    EXPECT_EQ(folder.GetContentOS(), os) << content;
  }
  const std::pair<const char*, const char*> kinds[] = {
      {"", ""}, {"midl", "midl"}, {"midl;class=CMIDLDoc", "midl"}, {"class=CFavDoc;os=universal", "class=CFavDoc"}};
  for (auto [content, kind] : kinds) EXPECT_EQ(GetContentType(content), kind) << content;
  EXPECT_EQ(GetContentClass("midl;class=CMIDLDoc"), "CMIDLDoc");
  EXPECT_EQ(GetContentOS("os=win;class=A;os=posix"), "win");
}

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

TEST(SaveResultTest, NotFoundAndRefusedAreToldApartFromNotSaved) {
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(std::string(test::kNoteTemplate)));
  EXPECT_FALSE(doc.UpdateRec("kov:\\Notes\\0042", MakeNote("a", "b"), false));
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kNotFound);
  EXPECT_FALSE(doc.DelRec(kSchedule)) << "a folder is not a record";
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kNotFound);
  EXPECT_FALSE(doc.DelFolder("kov:\\Notes\\0000"));
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kRefused) << "the root folder stays";

  // A template that cannot be written is not reported created.
  test::TempRoot temp;
  temp.Write("blocked", "a file where a directory should be");
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

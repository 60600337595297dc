// Loading and saving whole documents: templates, content the program does
// not understand, ids, damaged files, the create-or-open sequence, saving.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/note_doc.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::NoteRec;
using test::TempRoot;

// A file of a newer program: attributes, elements and child lines this kind
// does not know, comments, odd spacing, a record the kind refuses.
const std::string kRich =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\n"
    "<notes ver=\"1.0\" future=\"yes\">\n"
    "<header type='normal'><index id=\"0000\" alias=\"Date\" width=\"100\"/></header>\n"
    "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\" colour=\"red\">\n"
    "  <!-- kept as it stands -->\n"
    "  <folder id=\"0001\" alias='Schedule'   attribute=\"undel\"/>\n"
    "  <widget id=\"w1\"><part/></widget>\n"
    "  <rec id=\"0002\" alias=\"First\" note=\"a &amp; b\" mood=\"calm\" >\n"
    "    <item value=\"one\"/>\n"
    "    <!-- between the items -->\n"
    "    <extra kind=\"new\">text &lt; here</extra>\n"
    "    <item value=\"two\"/>\n"
    "  </rec>\n"
    "  <rec id=\"0003\" alias=\"Refused\" note=\"no closing line\"/>\n"
    "  <rec id=\"0004\" alias=\"Second\" note=\"n\"></rec>\n"
    "</folder>\n"
    "<trailer/>\n"
    "</notes>\n";

void ExpectContains(const std::string& text, const std::vector<std::string>& pieces) {
  for (const std::string& piece : pieces) EXPECT_NE(text.find(piece), std::string::npos) << piece << "\n" << text;
}

// Loading and saving change no byte; an update rewrites only the record's
// own text, keeping what this kind does not know; deleting neighbours
// keeps comments and unknown elements. A save writes the text in pieces
// (unchanged runs straight from the loaded text): the file must hold
// exactly what GetXml gives after every kind of change.
TEST(UnknownContentTest, SurvivesLoadingUpdatesDeletesAndSaves) {
  TempRoot temp;
  temp.Write("notes.xml", kRich);
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(doc.LoadXMLDoc("\\notes.xml"), OpenResult::kLoaded);
  auto saved = [&] { return doc.SaveXMLDoc() && temp.Read("notes.xml") == doc.GetXml(); };
  ASSERT_TRUE(saved());
  EXPECT_EQ(temp.Read("notes.xml"), kRich);
  EXPECT_EQ(doc.GetNodeByID("0003"), nullptr) << "the refused record is not loaded";
  EXPECT_EQ(doc.GetRootAttribute("future"), "yes");
  ASSERT_NE(doc.GetRec("kov:\\Notes\\0002"), nullptr);
  NoteRec copy = *doc.GetRec("kov:\\Notes\\0002");
  EXPECT_EQ(copy.GetExtendRec().note, "a & b");
  EXPECT_EQ(copy.GetExtendRec().items, (std::vector<std::string>{"one", "two"}));
  ZDS_EXPECT_XMLLINT_ACCEPTS(kRich);
  copy.GetExtendRec().note = "changed";
  // A caller may also build the value itself, knowing nothing of the unknown parts.
  for (const NoteRec& value : {copy, MakeNote("First", "fresh", {"one"})}) {
    ASSERT_TRUE(doc.UpdateRec("kov:\\Notes\\0002", value, false));
    const std::string text = doc.GetXml();
    ExpectContains(text, {" mood=\"calm\"", "<extra kind=\"new\">text &lt; here</extra>", "<!-- between the items -->",
                          "note=\"" + value.GetExtendRec().note + "\""});
    EXPECT_TRUE(text.starts_with(kRich.substr(0, kRich.find("<rec id=\"0002\"")))) << text;
    EXPECT_TRUE(text.ends_with(kRich.substr(kRich.find("\n  <rec id=\"0003\"")))) << text;
    NoteDoc reloaded;
    ASSERT_TRUE(reloaded.SetXml(text));
    EXPECT_TRUE(*reloaded.GetRec("kov:\\Notes\\0002") == *doc.GetRec("kov:\\Notes\\0002"));
    ZDS_EXPECT_XMLLINT_ACCEPTS(text);
    EXPECT_TRUE(saved());
  }
  ASSERT_FALSE(doc.AddRec("kov:\\Notes\\0001", MakeNote("New", "n", {"x"}), false).empty());  // a self-closed folder
  EXPECT_TRUE(saved());
  NoteDoc reparsed;
  ASSERT_TRUE(reparsed.SetXml(doc.GetXml()));
  EXPECT_NE(reparsed.GetNodeByPath("kov:\\Notes\\Schedule\\New"), nullptr) << "the folder was opened";
  ZDS_EXPECT_XMLLINT_ACCEPTS(doc.GetXml());
  ASSERT_TRUE(doc.DelFolder("kov:\\Notes\\0001"));
  EXPECT_TRUE(saved());
  ASSERT_TRUE(doc.DelRec("kov:\\Notes\\0002"));
  EXPECT_TRUE(saved());
  ASSERT_TRUE(doc.DelRec("kov:\\Notes\\0004"));
  EXPECT_TRUE(saved());
  EXPECT_EQ(temp.Files(), std::vector<std::string>{"root/notes.xml"});
  const std::string text = doc.GetXml();
  ExpectContains(text, {"<!-- kept as it stands -->", "<widget id=\"w1\"><part/></widget>",
                        "<rec id=\"0003\" alias=\"Refused\" note=\"no closing line\"/>", "<trailer/>",
                        "colour=\"red\"", "<header type='normal'>"});
  for (const char* gone : {"Schedule", "First", "Second", "New"}) EXPECT_EQ(text.find(gone), std::string::npos) << gone;
  EXPECT_TRUE(NoteDoc().SetXml(text));
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
}

TEST(IdTest, DuplicateAndMissingIdsGetNewUniqueOnes) {
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(
      "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<notes ver=\"1.0\">\r\n"
      "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\">\r\n<rec id=\"0005\" alias=\"a\"></rec>\r\n"
      "<rec id=\"0005\" alias=\"b\"></rec>\r\n<rec alias=\"c\"></rec>\r\n<folder id=\"0005\" alias=\"d\"></folder>\r\n"
      "<rec id=\"x1\" alias=\"e\"></rec>\r\n<rec id=\"123456\" alias=\"f\"></rec>\r\n<rec id=\"x1\" alias=\"g\"></rec>\r\n"
      "<rec id=\"123457\" alias=\"refused\"/>\r\n</folder>\r\n</notes>\r\n"));
  std::set<std::string> ids;
  for (const char* alias : {"a", "b", "c", "d", "e", "f", "g"}) {
    CVFDLNode* node = doc.GetNodeByPath(std::string("kov:\\Notes\\") + alias);
    ASSERT_NE(node, nullptr) << alias;
    EXPECT_EQ(doc.GetNodeByID(node->GetID()), node);
    ids.insert(node->GetID());
  }
  EXPECT_EQ(ids.size(), 7u);
  EXPECT_EQ(doc.GetNodeByPath("kov:\\Notes\\a")->GetID(), "0005");
  EXPECT_EQ(doc.GetNodeByPath("kov:\\Notes\\e")->GetID(), "x1");
  const std::string added = doc.AddRec("kov:\\Notes\\0000", MakeNote("h", "h"), false);
  EXPECT_EQ(added, "kov:\\Notes\\123458") << "a refused record keeps its id taken";
  ids.insert("123458");
  ASSERT_TRUE(doc.DelRec("kov:\\Notes\\123456"));
  EXPECT_EQ(doc.GetNodeByID("123456"), nullptr);
  ids.erase("123456");
  // The new ids are what the file says from now on.
  NoteDoc reloaded;
  ASSERT_TRUE(reloaded.SetXml(doc.GetXml()));
  for (const std::string& id : ids) EXPECT_NE(reloaded.GetNodeByID(id), nullptr) << id;
  EXPECT_EQ(reloaded.GetXml(), doc.GetXml());
  ZDS_EXPECT_XMLLINT_ACCEPTS(doc.GetXml());
}

std::string Replace(std::string text, std::string_view from, std::string_view to) {
  return text.replace(text.find(from), from.size(), to);
}

TEST(DamagedFileTest, EachIsRefusedAndLeftUntouchedAsIsEveryTruncation) {
  const std::string good(test::kNoteTemplate);
  const std::pair<const char*, std::string> damaged[] = {
      {"empty", ""},
      {"blank", "\r\n  \r\n"},
      {"truncated", good.substr(0, good.size() / 2)},
      {"unclosed root", good.substr(0, good.find("</notes>"))},
      {"mis-nested", Replace(good, "</folder>\r\n</folder>", "</notes>\r\n</folder>")},
      {"binary bytes", Replace(good, "Schedule", std::string("Sch\0\x01\x02", 6))},
      {"binary between lines", Replace(good, "</folder>\r\n</folder>", "</folder>\x03\r\n</folder>")},
      {"bad entity", Replace(good, "Schedule", "Sched&ule;")},
      {"bare ampersand", Replace(good, "Schedule", "A & B")},
      {"unquoted attribute", Replace(good, "alias=\"Schedule\"", "alias=Schedule")},
      {"two roots", good + "<notes ver=\"1.0\"><folder id=\"0000\"/></notes>\r\n"},
      {"no root folder", "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<notes ver=\"1.0\">\r\n</notes>\r\n"},
      {"wrong root tag", Replace(Replace(good, "<notes", "<aidl"), "</notes>", "</aidl>")},
      {"text outside the root", good + "junk\r\n"},
      {"declaration not first", "\r\n" + good},
  };
  for (const auto& [name, text] : damaged) {
    SCOPED_TRACE(name);
    TempRoot temp;
    temp.Write("notes.xml", text);
    for (bool auto_save : {false, true}) {
      NoteDoc doc;
      doc.SetDataRoot(temp.root());
      doc.SetAutoSaveFlag(auto_save);
      EXPECT_EQ(doc.LoadXMLDoc("\\notes.xml"), OpenResult::kUnusable);
      EXPECT_EQ(doc.GetRoot(), nullptr) << "nothing of it is loaded";
      EXPECT_EQ(doc.GetOpenProblem().path, "\\notes.xml");
      EXPECT_GE(doc.GetOpenProblem().line, 1);
      EXPECT_NE(doc.GetOpenProblem().what, "");
      EXPECT_EQ(OpenVFDLDoc(doc, "\\notes.xml", ""), OpenResult::kUnusable);
      EXPECT_FALSE(doc.SaveXMLDoc());
      EXPECT_EQ(doc.AddRec("kov:\\Notes\\0001", MakeNote("x", "y"), true), "");
    }
    EXPECT_EQ(temp.Read("notes.xml"), text);
    EXPECT_EQ(temp.Files(), std::vector<std::string>{"root/notes.xml"});
  }
  // Every truncation is refused and keeps the document loaded before.
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(kRich));
  for (size_t length = 0; length < good.rfind('>'); ++length) {
    EXPECT_FALSE(doc.SetXml(good.substr(0, length))) << length;
  }
  EXPECT_EQ(doc.GetXml(), kRich);
  EXPECT_NE(doc.GetNodeByPos("kov:\\Notes\\0002"), nullptr);
}

// The reason names the line where reading stopped and what stood there.
TEST(DamagedFileTest, TheProblemNamesTheLineAndWhatIsWrong) {
  const std::string good(test::kNoteTemplate);
  const int last_line = static_cast<int>(std::count(good.begin(), good.end(), '\n'));
  const struct {
    const char* name;
    std::string text;
    int line;
    const char* what;
  } cases[] = {
      {"empty", "", 1, "the file is empty"},
      {"mis-nested", Replace(good, "</folder>\r\n</folder>", "</notes>\r\n</folder>"), last_line - 2,
       "</notes> where </folder> was due"},
      {"bare ampersand", Replace(good, "Schedule", "A & B"), 4, "a malformed reference '&'"},
      {"wrong root tag", Replace(Replace(good, "<notes", "<aidl"), "</notes>", "</aidl>"), 2,
       "the root element is <aidl>, not <notes>"},
      {"truncated after the root folder", good.substr(0, good.find("</notes>")), last_line,
       "the text ends inside <notes>"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    NoteDoc doc;
    EXPECT_FALSE(doc.SetXml(c.text));
    EXPECT_EQ(doc.GetOpenProblem().line, c.line);
    EXPECT_EQ(doc.GetOpenProblem().what, c.what);
  }
}

// A reader's root: a missing document is not made, a loaded one not saved,
// and nothing is left or removed on disk.
TEST(CreateOrOpenTest, AReadOnlyRootCreatesRemovesAndWritesNothing) {
  TempRoot temp;
  temp.Write("notes.xml", std::string(test::kNoteTemplate));
  temp.Write("notes.xml.tmp-0123456789abcdef", "a leftover");
  auto reader = std::make_shared<platform::DataRoot>(temp.root()->NativeRoot(), platform::RootAccess::kReadOnly);
  NoteDoc missing, present;
  missing.SetDataRoot(reader);
  present.SetDataRoot(reader);
  present.SetAutoSaveFlag(true);
  EXPECT_EQ(OpenVFDLDoc(missing, "\\other.xml", ""), OpenResult::kMissing);
  EXPECT_EQ(OpenVFDLDoc(present, "\\notes.xml", ""), OpenResult::kLoaded);
  EXPECT_EQ(present.AddRec("kov:\\Notes\\0001", MakeNote("x", "y"), true), "") << "its save fails, so the edit does";
  EXPECT_FALSE(reader->CreateDirectories("\\sub"));
  EXPECT_FALSE(reader->RemoveFile("\\notes.xml"));
  EXPECT_EQ(temp.Read("notes.xml"), test::kNoteTemplate);
  EXPECT_EQ(temp.Files(), (std::vector<std::string>{"root/notes.xml", "root/notes.xml.tmp-0123456789abcdef"}));
}

// Without auto-save the caller saves, or asks for a save with an edit's
// flag; with it every change is written at once, and never a temporary.
TEST(CreateOrOpenTest, MissingIsCreatedReadIsOpenedAndSavesFollowTheFlags) {
  TempRoot temp;
  NoteDoc created, refused, opened;
  for (NoteDoc* doc : {&created, &refused, &opened}) doc->SetDataRoot(temp.root());
  EXPECT_EQ(OpenVFDLDoc(created, "\\notes.xml", ""), OpenResult::kCreated);
  EXPECT_EQ(created.GetXml(), test::kNoteTemplate);
  EXPECT_EQ(OpenVFDLDoc(refused, "\\notes.xml", "", false), OpenResult::kMissing) << "not created when not asked to";
  const std::string pos = created.AddRec("kov:\\Notes\\0001", MakeNote("a", "1"), false);
  EXPECT_TRUE(created.UpdateRec(pos, MakeNote("b", "2"), false));
  EXPECT_TRUE(created.IsModified());
  EXPECT_FALSE(temp.Exists("notes.xml"));
  EXPECT_NE(created.AddRec("kov:\\Notes\\0001", MakeNote("c", "3"), true), "");
  EXPECT_EQ(temp.Read("notes.xml"), created.GetXml());
  created.SetAutoSaveFlag(true);
  EXPECT_TRUE(created.UpdateRec(pos, MakeNote("d", "4"), false));
  EXPECT_EQ(temp.Read("notes.xml"), created.GetXml());
  EXPECT_EQ(temp.Files(), std::vector<std::string>{"root/notes.xml"});
  EXPECT_EQ(OpenVFDLDoc(opened, "\\notes.xml", ""), OpenResult::kLoaded);
  EXPECT_EQ(opened.GetXml(), created.GetXml());
  EXPECT_EQ(opened.GetNodeByPos(pos)->GetAlias(), "d");
  EXPECT_EQ(opened.GetScheme(), "kov:");
}

// Both change in place, keeping the rest of the text; the prologue takes
// well-formed content but no folder.
TEST(RootAndPrologueTest, RootAttributesAndThePrologueChangeInPlace) {
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(kRich));
  ASSERT_TRUE(doc.SetRootAttribute("ver", "2.0", false));
  ASSERT_TRUE(doc.SetRootAttribute("id_range", "0008 & \"more\"", false));
  for (const char* bad : {"", "1st", "a b", "a\"b"}) EXPECT_FALSE(doc.SetRootAttribute(bad, "x", false)) << bad;
  const std::string header = "\n<header type=\"wide\"><index id=\"0001\" alias=\"To\" width=\"7\"/></header>\n";
  ASSERT_TRUE(doc.SetPrologue(header, false));
  for (const char* bad : {"<header>", "<folder id=\"0009\"/>", "\n<a/><folder/>", "&nope;"}) {
    EXPECT_FALSE(doc.SetPrologue(bad, false)) << bad;
  }
  EXPECT_EQ(doc.GetXml(), Replace(Replace(kRich, "<notes ver=\"1.0\" future=\"yes\">",
                                          "<notes ver=\"2.0\" future=\"yes\" id_range=\"0008 &amp; &quot;more&quot;\">"),
                                  "\n<header type='normal'><index id=\"0000\" alias=\"Date\" width=\"100\"/></header>\n",
                                  header));
  NoteDoc reloaded;
  ASSERT_TRUE(reloaded.SetXml(doc.GetXml()));
  EXPECT_EQ(reloaded.GetRootAttribute("id_range"), "0008 & \"more\"");
  EXPECT_NE(reloaded.GetNodeByID("0002"), nullptr);
}

// A family that migrates old files when it is opened, as the version hooks allow.
class UpgradingNotes : public test::NoteDoc {
 public:
  std::vector<std::string> calls;

 protected:
  void PreUpdateVersion() override { calls.push_back("pre base=" + GetBasePath()); }
  void AfterUpdateVersion() override {
    calls.push_back("after base=" + GetBasePath());
    if (GetRootAttribute("ver") == "1.0") calls.push_back(SetRootAttribute("ver", "1.1", true) ? "upgraded" : "failed");
  }
};

TEST(RootAndPrologueTest, OpeningCallsTheVersionHooksAroundTheBaseDirectory) {
  TempRoot temp;
  temp.Write("notes/index.xml", std::string(test::kNoteTemplate));
  UpgradingNotes doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(OpenVFDLDoc(doc, "\\notes\\index.xml", "\\notes"), OpenResult::kLoaded);
  EXPECT_EQ(doc.calls, (std::vector<std::string>{"pre base=", "after base=\\notes", "upgraded"}));
  EXPECT_NE(temp.Read("notes/index.xml").find("<notes ver=\"1.1\">"), std::string::npos);
  UpgradingNotes again;
  again.SetDataRoot(temp.root());
  ASSERT_EQ(OpenVFDLDoc(again, "\\notes\\index.xml", "\\notes"), OpenResult::kLoaded);
  EXPECT_EQ(again.calls.size(), 2u) << "a current file is left alone";
}

// `levels` folders, each inside the one before, the last holding a record.
std::string Nested(int levels) {
  std::string text = "<?xml version=\"1.0\" encoding=\"ascii\"?>\n<notes ver=\"1.0\">\n";
  for (int i = 0; i < levels; ++i) text += "<folder id=\"" + std::to_string(i) + "\" alias=\"f\">\n";
  text += "<rec id=\"r\" alias=\"deepest\"></rec>\n";
  for (int i = 0; i < levels; ++i) text += "</folder>\n";
  return text + "</notes>\n";
}

// The deepest allowed document works without recursion; deeper files are
// refused whole.
TEST(DeepNestingTest, TheDeepestAllowedDocumentWorksDeeperAreRefused) {
  const std::string text = Nested(kMaxFolderDepth);
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(text));
  CVFDLNode* deepest = doc.GetNodeByID("r");
  ASSERT_NE(deepest, nullptr);
  std::string path = "kov:\\f";
  for (int i = 1; i < kMaxFolderDepth; ++i) path += "\\f";
  EXPECT_EQ(deepest->GetPath(), path + "\\deepest");
  EXPECT_EQ(doc.GetNodeByPath(path + "\\deepest"), deepest);
  EXPECT_EQ(doc.GetXml(), text);
  const std::string bottom = deepest->GetParent()->GetPos();
  EXPECT_EQ(doc.AddFolder(bottom, test::ShelfFolder(), false), "") << "one level too deep";
  EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kRefused);
  EXPECT_NE(doc.AddRec(bottom, MakeNote("also", "x"), false), "") << "records may go there";
  EXPECT_EQ(doc.AddCopyNodeByID("1", "5", false), "") << "a copy that would nest too deep";
  ASSERT_TRUE(doc.DelFolder("kov:\\f\\1"));
  EXPECT_EQ(doc.GetNodeCount(), 1u);
  for (int levels : {kMaxFolderDepth + 1, 100000}) {
    NoteDoc deeper;
    EXPECT_FALSE(deeper.SetXml(Nested(levels))) << levels;
    EXPECT_EQ(deeper.GetRoot(), nullptr);
  }
}

}  // namespace
}  // namespace zds

// A family declared on the base (tests/support/note_doc.h): each field
// codec's quirk read from a file and written back, the typed folder, the
// codecs on their own, values of another class refused. The keyed
// documents the list-shaped families stand on: the column header and its
// edits, records whose fields are keys, and the stored path helper.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "zds/framework/field_codec.h"
#include "zds/framework/notepad_doc.h"
#include "zds/framework/path_controller.h"
#include "support/note_doc.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::NoteDoc;
using test::NoteRec;

// A document with one record whose element carries `attributes`.
std::string WithRecord(const std::string& attributes) {
  return "<?xml version=\"1.0\" encoding=\"ascii\"?>\n<notes ver=\"1.0\">\n"
         "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\" colour=\"red\">\n<rec id=\"0001\" alias=\"r\"" +
         attributes + "></rec>\n</folder>\n</notes>\n";
}

TEST(FamilyTest, EveryCodecReadsItsQuirkAndWritesItsOwnForm) {
  struct Case {
    const char* stored;
    bool pinned, shared;
    int stars, level;
    const char* written;  // the fields as written back, in declared order
  };
  const Case cases[] = {
      {"", false, false, 0, 2, " pinned=\"no\" shared=\"no\" stars=\"0\""},
      {" pinned=\"yes\" shared=\"yes\" stars=\"12\" level=\"low\"", true, true, 12, 1,
       " pinned=\"yes\" shared=\"yes\" stars=\"12\" level=\"low\""},
      // Exact beside case-blind: "YES" is true only for the second flag.
      {" pinned=\"YES\" shared=\"YES\"", false, true, 0, 2, " pinned=\"no\" shared=\"yes\" stars=\"0\""},
      {" pinned=\"Yes\" shared=\"yEs\"", false, true, 0, 2, " pinned=\"no\" shared=\"yes\" stars=\"0\""},
      // atoi, whose every quirk the decimal table below holds.
      {" stars=\"  -7kg\"", false, false, -7, 2, " pinned=\"no\" shared=\"no\" stars=\"-7\""},
      // A word not in the table reads as normal, which is not written.
      {" level=\"HIGH\"", false, false, 0, 2, " pinned=\"no\" shared=\"no\" stars=\"0\""},
      {" level=\"high\"", false, false, 0, 3, " pinned=\"no\" shared=\"no\" stars=\"0\" level=\"high\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.stored);
    NoteDoc doc;
    ASSERT_TRUE(doc.SetXml(WithRecord(c.stored)));
    const NoteRec* rec = doc.GetRec("kov:\\Notes\\0001");
    ASSERT_NE(rec, nullptr);
    const test::NoteExtend& note = rec->GetExtendRec();
    EXPECT_EQ(std::tuple(note.pinned, note.shared, note.stars, note.level),
              std::tuple(c.pinned, c.shared, c.stars, c.level));
    NoteRec copy(*rec);
    copy.GetExtendRec().note = "n";
    ASSERT_TRUE(doc.UpdateRec("kov:\\Notes\\0001", copy, false));
    EXPECT_NE(doc.GetXml().find("<rec id=\"0001\" alias=\"r\" note=\"n\"" + std::string(c.written) + ">"),
              std::string::npos)
        << doc.GetXml();
    NoteDoc reloaded;
    ASSERT_TRUE(reloaded.SetXml(doc.GetXml()));
    EXPECT_TRUE(*reloaded.GetRec("kov:\\Notes\\0001") == copy);
  }
}

// A record of another family, for what a document must refuse.
class OtherExtend : public CVFDLExtendBase<OtherExtend> {
 public:
  int weight = 1;
  bool operator==(const OtherExtend&) const = default;
};
class OtherRec : public CVFDLTypedRec<OtherRec, OtherExtend> {};

TEST(FamilyTest, ValuesOfAnotherClassAreRefusedAndTypedFoldersCarryTheirFields) {
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(WithRecord(" note=\"kept\" stars=\"5\"")));
  const std::string before = doc.GetXml();
  CVFDLRec plain;
  plain.SetAlias("plain");
  OtherRec other;
  other.SetAlias("other");
  for (const CVFDLRec* value : {static_cast<const CVFDLRec*>(&plain), static_cast<const CVFDLRec*>(&other)}) {
    SCOPED_TRACE(value->GetAlias());
    EXPECT_FALSE(doc.UpdateRec("kov:\\Notes\\0001", *value, false));
    EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kRefused);
    EXPECT_EQ(doc.AddRec("kov:\\Notes\\0000", *value, false), "");
    EXPECT_EQ(doc.GetLastEditStatus(), EditStatus::kRefused);
  }
  EXPECT_FALSE(doc.UpdateFolder("kov:\\Notes\\0000", CVFDLFolder(), false));
  EXPECT_EQ(doc.AddFolder("kov:\\Notes\\0000", CVFDLFolder(), false), "");
  EXPECT_EQ(doc.GetXml(), before);
  EXPECT_EQ(doc.GetRec("kov:\\Notes\\0001")->GetExtendRec().stars, 5);
  // A node never changes its extension's class, so a typed record stays typed.
  NoteRec note;
  EXPECT_FALSE(note.SetExtend(std::make_unique<OtherExtend>()));
  EXPECT_FALSE(note.SetExtend(nullptr));
  note = NoteRec(test::MakeNote("a", "b"));
  EXPECT_EQ(note.GetExtendRec().note, "b");

  // Typed folders carry their fields through the file.
  test::ShelfFolder* root = doc.GetFolder("kov:\\Notes\\0000");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->GetExtendFolder()->colour, "red");
  test::ShelfFolder shelf;
  shelf.SetAlias("Shelf");
  shelf.GetExtendFolder()->colour = "blue & green";
  const std::string pos = doc.AddFolder("kov:\\Notes\\0000", shelf, false);
  NoteDoc reloaded;
  ASSERT_TRUE(reloaded.SetXml(doc.GetXml()));
  EXPECT_EQ(reloaded.GetFolder(pos)->GetExtendFolder()->colour, "blue & green");
  EXPECT_EQ(reloaded.GetFolder(pos)->GetAlias(), "Shelf");
  EXPECT_EQ(reloaded.GetRec(pos), nullptr) << "a folder is no record";
}

TEST(FieldCodecTest, WordTablesFollowTheirPolicy) {
  using field::Word;
  constexpr auto keep = field::MakeWords(field::kWords, Word{1, "one"}, Word{2, "two"});
  constexpr auto fallback = field::MakeWords(field::kWords.ReadingUnknownAs(9).WritingUnknownAs("other"),
                                             Word{1, "one"});
  constexpr auto blind = field::MakeWords(field::kWords.IgnoringCase(), Word{1, "one"});
  struct Case {
    const char* text;
    int before, keep, fallback, blind;
  };
  for (const Case& c : {Case{"one", 5, 1, 1, 1}, Case{"ONE", 5, 5, 9, 1}, Case{"", 5, 5, 9, 5}, Case{"two", 5, 2, 9, 5}}) {
    int a = c.before, b = c.before, d = c.before;
    keep.Read(c.text, a);
    fallback.Read(c.text, b);
    blind.Read(c.text, d);
    EXPECT_EQ(std::tuple(a, b, d), std::tuple(c.keep, c.fallback, c.blind)) << c.text;
  }
  std::string text;
  EXPECT_FALSE(keep.Write(7, text)) << "a value without a word is left out";
  ASSERT_TRUE(fallback.Write(7, text));
  EXPECT_EQ(text, "other");
  ASSERT_TRUE(keep.Write(2, text));
  EXPECT_EQ(text, "two");
}

TEST(FieldCodecTest, DecimalAndTimeTexts) {
  const std::pair<const char*, int32_t> decimals[] = {
      {"", 0},   {"42", 42},  {" \t+8", 8}, {"-0", 0}, {"3.9", 3}, {"- 1", 0}, {"x12", 0}, {"2147483648", INT32_MAX},
      {"-2147483649", INT32_MIN}, {"-2147483648", INT32_MIN}, {"99999999999", INT32_MAX}};
  for (auto [text, value] : decimals) {
    EXPECT_EQ(field::ParseAtoi(text), value) << text;
    EXPECT_EQ(field::ParseAtol(text), value) << text;
  }
  const field::TimeTextCodec minutes{kTimeFormatMinutes};
  CTime time;
  minutes.Read("2004-05-01 09:30", time);
  std::string text;
  ASSERT_TRUE(minutes.Write(time, text));
  EXPECT_EQ(text, "2004-05-01 09:30");
  minutes.Read("May 1st", time);
  EXPECT_EQ(time.GetTime(), 0) << "what does not parse is the time 0";
}

const std::string kNotepad =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<chathis ver=\"1.0\">\r\n"
    "<header type=\"normal\">\r\n<index id=\"0000\" alias=\"Date\" width=\"100\"/>\r\n"
    "<index id=\"0001\" alias=\"Who\" width=\"x\"/>\r\n</header>\r\n"
    "<folder id=\"0000\" alias=\"History\" attribute=\"root\">\r\n"
    "<rec id=\"0001\" alias=\"talk\" createtime=\"2004-05-01 09:00\">\r\n"
    "<key alias=\"Date\" value=\"today\"/>\r\n<key alias=\"Who\" value=\"Ann &amp; Bo\"/>\r\n</rec>\r\n"
    "</folder>\r\n</chathis>\r\n";

TEST(NotepadTest, HeaderColumnsAndKeyedRecordsRoundTripAndTheHeaderIsEdited) {
  CNotepadDoc doc;
  ASSERT_TRUE(doc.SetXml(kNotepad));
  ASSERT_TRUE(doc.InitVFDLDoc("", "kov:"));
  const CNotepadHeader& read = doc.GetHeader();
  EXPECT_EQ(read.GetType(), "normal");
  ASSERT_EQ(read.GetIndexNum(), 2);
  EXPECT_EQ(*read.GetIndexByIndex(0), (CNotepadIndex{"0000", "Date", 100}));
  EXPECT_EQ(read.GetIndexByIndex(1)->width, 0) << "a width that is no number reads as 0";
  for (int outside : {-1, 2}) EXPECT_EQ(read.GetIndexByIndex(outside), nullptr);

  const CNotepadRec* rec = doc.GetRec("kov:\\History\\0001");
  ASSERT_NE(rec, nullptr);
  const CNotepadExtendRec& keys = rec->GetExtendRec();
  EXPECT_EQ(keys.GetValueByAlias("Who"), "Ann & Bo");
  EXPECT_EQ(keys.GetValueByAlias("Nobody"), "");
  EXPECT_EQ(keys.createtime, "2004-05-01 09:00");
  CNotepadRec changed(*rec);
  EXPECT_TRUE(changed.GetExtendRec().UpdateKey({"Who", "Cy"}));
  EXPECT_FALSE(changed.GetExtendRec().UpdateKey({"Where", "here"}));
  changed.GetExtendRec().AddKey({"Where", "here"});
  ASSERT_TRUE(doc.UpdateRec(rec->GetPos(), changed, false));
  EXPECT_EQ(doc.GetXml().find("updatetime"), std::string::npos) << "times are written only when set";

  // The header is edited in place, or added before the root folder.
  CNotepadHeader header = doc.GetHeader();
  ASSERT_TRUE(header.SetIndex(1, {"0001", "From", 80}));
  header.AddIndex({"0002", "Text", 300});
  EXPECT_FALSE(header.RemoveIndex(5));
  ASSERT_TRUE(doc.SetHeader(header, false));
  const std::string expected_header =
      "<header type=\"normal\">\r\n<index id=\"0000\" alias=\"Date\" width=\"100\"/>\r\n"
      "<index id=\"0001\" alias=\"From\" width=\"80\"/>\r\n<index id=\"0002\" alias=\"Text\" width=\"300\"/>\r\n"
      "</header>";
  const std::string text = doc.GetXml();
  EXPECT_EQ(text.substr(0, text.find("<folder")),
            "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<chathis ver=\"1.0\">\r\n" + expected_header + "\r\n");
  CNotepadDoc reloaded;
  ASSERT_TRUE(reloaded.SetXml(text));
  ASSERT_TRUE(reloaded.InitVFDLDoc("", "kov:"));
  EXPECT_EQ(reloaded.GetHeader(), header);
  EXPECT_TRUE(*reloaded.GetRec("kov:\\History\\0001") == changed);

  CNotepadDoc bare;
  ASSERT_TRUE(bare.SetXml("<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<n ver=\"1.0\">\r\n"
                          "<folder id=\"0000\" alias=\"N\" attribute=\"root\">\r\n</folder>\r\n</n>\r\n"));
  ASSERT_TRUE(bare.SetHeader(header, false));
  EXPECT_NE(bare.GetXml().find("<n ver=\"1.0\">\r\n" + expected_header + "\r\n<folder"), std::string::npos)
      << bare.GetXml();
  ZDS_EXPECT_XMLLINT_ACCEPTS(bare.GetXml());
}

TEST(PathControllerTest, RewritesAPathAndWhatLiesBelowIt) {
  const std::tuple<const char*, const char*, const char*, const char*, bool> cases[] = {
      {"kov:\\Velmora\\Mail", "kov:\\Velmora\\Mail", "kov:\\Velmora\\Post", "kov:\\Velmora\\Post", true},
      {"kov:\\Velmora\\Mail\\Inbox", "kov:\\Velmora\\Mail", "kov:\\Velmora\\Post", "kov:\\Velmora\\Post\\Inbox", true},
      {"kov:\\Velmora\\Mailbox", "kov:\\Velmora\\Mail", "kov:\\Velmora\\Post", "kov:\\Velmora\\Mailbox", false},
      {"kov:\\Velmora\\Mail", "", "kov:\\x", "kov:\\Velmora\\Mail", false},
  };
  std::vector<std::string> all;
  for (auto [path, from, to, expected, changed] : cases) {
    std::string rewritten = path;
    EXPECT_EQ(CVFPathController::UpdatePath(rewritten, from, to), changed) << path;
    EXPECT_EQ(rewritten, expected);
    all.push_back(path);
  }
  EXPECT_EQ(CVFPathController::UpdatePaths(all, "kov:\\Velmora\\Mail", "kov:\\P"), 3);
  EXPECT_EQ(CXFormat::ChangeTimeFormat("2004-05-01 09:30:15"), "2004-05-01 09:30");
  EXPECT_EQ(CXFormat::ChangeTimeFormat("soon"), "soon");
}

}  // namespace
}  // namespace zds

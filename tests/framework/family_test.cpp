// A family declared on the base (tests/support/note_doc.h): each field
// codec's quirk read from a file and written back, the typed folder, the
// codecs on their own, values of another class refused. The keyed
// documents the list-shaped families stand on: the column header and its
// edits, records whose fields are keys, and the stored path helper.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "zds/framework/field_lines.h"
#include "zds/framework/notepad_doc.h"
#include "zds/framework/path_controller.h"
#include "support/note_doc.h"
#include "support/talk_doc.h"
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
  const CVFDLRec* values[] = {&plain, &other};
  for (const CVFDLRec* value : values) {
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
  EXPECT_EQ(root->GetExtendFolder().colour, "red");
  test::ShelfFolder shelf;
  shelf.SetAlias("Shelf");
  shelf.GetExtendFolder().colour = "blue & green";
  const std::string pos = doc.AddFolder("kov:\\Notes\\0000", shelf, false);
  NoteDoc reloaded;
  ASSERT_TRUE(reloaded.SetXml(doc.GetXml()));
  EXPECT_EQ(reloaded.GetFolder(pos)->GetExtendFolder().colour, "blue & green");
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

// A family of the later Parts' quirks: a channel item's permalink flag and
// its two word fields, a note's position, a schedule entry's all-day times,
// fields written only under a reminder flag, a mail record's counted
// attachment lines and a notepad's three-line pages.
struct Attachment {
  std::string name, charset;
  bool operator==(const Attachment&) const = default;
};
class ItemExtend : public CVFDLExtendBase<ItemExtend> {
 public:
  bool permalink = false;
  int priority = 2, load = 0;
  field::IntRect position{};
  bool all_day = false;
  CTime begin, end, seen;
  int32_t mail_num = 0;
  bool downloaded = false;
  bool has_timer = false;
  std::string timer_id, set_time;
  int32_t attach_num = 0;
  std::vector<Attachment> attachments;
  std::vector<CVFPageRec> pages;
  bool operator==(const ItemExtend&) const = default;
};
class ItemRec : public CVFDLTypedRec<ItemRec, ItemExtend> {};

using field::Of;
using field::Test;
using field::Word;
using I = ItemExtend;
// "high" is tested first, then "low" decides: a stored "high" reads as normal.
constexpr auto kItemPriority = field::MakeWords(field::kWords, Word{1, "low"}, Word{2, "normal"}, Word{3, "high"})
                                   .ReadingBy(Test{"high", 3}, Test{"low", 1, 2}.IgnoringCase());
constexpr auto kLoad = field::MakeWords(field::kWords.IgnoringCase().ReadingUnknownAs(0).WritingUnknownAs("hand"),
                                        Word{1, "auto"}, Word{0, "hand"});
constexpr auto kAllDay = field::TimeChosenBy(&I::all_day, kTimeFormatDate, kTimeFormatMinutes);

class ItemDoc : public CVFDLFamily<ItemDoc, CVFDLDoc, ItemRec> {
 public:
  static constexpr CFamilyInfo kFamily{"ItemDoc", "items"};
  static constexpr auto kRecFields = field::List(
      Of("guid_isPermaLink", &I::permalink, field::Flag("true", "false").IgnoringCase().OnlyWhenSet()),
      Of("priority", &I::priority, kItemPriority), Of("load", &I::load, kLoad),
      Of("position", &I::position, field::kRect), Of("begin", &I::begin, kAllDay.Decides()),
      Of("end", &I::end, kAllDay), Of("seen", &I::seen, field::TimeTextCodec{kTimeFormatMinutes}.LeftOutWhenUnset()),
      Of("mail_num", &I::mail_num, field::AtoiOr(-1)),
      Of("downloaded", &I::downloaded, field::kFlagExact).ReadFrom("Downloaded"),
      Of("IsTimer", &I::has_timer, field::kFlagExact),
      field::When(&I::has_timer, Of("TimerID", &I::timer_id), Of("SetTime", &I::set_time)),
      Of("attachnum", &I::attach_num, field::kAtoi),
      field::ChildLines("attachment", &I::attachments,
                        field::List(Of("name", &Attachment::name), Of("charset", &Attachment::charset)))
          .CountedBy(&I::attach_num),
      field::PageLines("content", &I::pages));
};

TEST(FieldCodecTest, TheLaterFamiliesQuirksReadAndWriteAsStored) {
  using Check = std::function<bool(const ItemExtend&)>;
  const std::string kBase = R"( begin="2004-05-01 09:30" end="2004-05-01 10:00")";
  struct Case {
    std::string stored;    // attributes, then child lines
    Check check;
    const char* written;   // what the record's line and lines hold when written back
  };
  const Case cases[] = {
      {R"( guid_isPermaLink="TRUE")", [](auto& i) { return i.permalink; }, R"(guid_isPermaLink="true" priority)"},
      {"", [](auto& i) { return !i.permalink && i.load == 0 && i.seen == CTime(); },
       R"(alias="r" priority="normal" load="hand" position="0,0,0,0" begin=)"},
      {R"( priority="high")", [](auto& i) { return i.priority == 2; }, R"(priority="normal")"},
      {R"( priority="LOW")", [](auto& i) { return i.priority == 1; }, R"(priority="low")"},
      {R"( priority="x")", [](auto& i) { return i.priority == 2; }, R"(priority="normal")"},
      {R"( load="Auto")", [](auto& i) { return i.load == 1; }, R"(load="auto")"},
      {R"( position="10,20")", [](auto& i) { return i.position == field::IntRect{10, 0, 10, 20}; },
       R"(position="10,0,10,20")"},
      {R"( position="1,2,3,4")", [](auto& i) { return i.position == field::IntRect{1, 2, 3, 4}; },
       R"(position="1,2,3,4")"},
      {R"( position="-7")", [](auto& i) { return i.position == field::IntRect{0, 0, 0, -7}; },
       R"(position="0,0,0,-7")"},
      {R"( begin="2004-05-01" end="2004-05-02")", [](auto& i) { return i.all_day; },
       R"(begin="2004-05-01" end="2004-05-02")"},
      {R"( seen="2004-05-01 09:30")", [](auto& i) { return i.seen != CTime(); }, R"(seen="2004-05-01 09:30")"},
      {"", [](auto& i) { return i.mail_num == -1; }, R"( mail_num="-1" )"},
      {R"( mail_num="5x")", [](auto& i) { return i.mail_num == 5; }, R"( mail_num="5" )"},
      // Written as "downloaded", read as "Downloaded": what this writes does not read back.
      {R"( Downloaded="yes")", [](auto& i) { return i.downloaded; }, R"( downloaded="yes" IsTimer)"},
      {R"( downloaded="yes")", [](auto& i) { return !i.downloaded; }, R"( downloaded="no" IsTimer)"},
      {R"( IsTimer="yes" TimerID="t" SetTime="s")", [](auto& i) { return i.timer_id == "t" && i.set_time == "s"; },
       R"(IsTimer="yes" TimerID="t" SetTime="s" attachnum)"},
      // Read only under the flag: kept as it stands, not taken.
      {R"( IsTimer="Yes" TimerID="t")", [](auto& i) { return !i.has_timer && i.timer_id.empty(); },
       R"(IsTimer="no" attachnum="0" TimerID="t">)"},
      {" attachnum=\"2\">\n<attachment name=\"a\"/>\n<attachment name=\"b\" charset=\"c\"/>\n<attachment name=\"z\"/",
       [](auto& i) { return i.attachments.size() == 3 && i.attachments[1] == Attachment{"b", "c"}; },
       "attachnum=\"2\">\n<attachment name=\"a\" charset=\"\"/>\n<attachment name=\"b\" charset=\"c\"/>\n</rec>"},
      {">\n<content alias=\"Menu\">\nsoup &amp; &lt;bread&gt;\n</content>\n<content alias=\"Empty\">\n\n</content",
       [](auto& i) {
         return i.pages.size() == 2 && i.pages[0].text == "soup & <bread>" && i.pages[1].alias == "Empty" &&
                i.pages[1].text.empty();
       },
       "<content alias=\"Menu\">\nsoup &amp; &lt;bread&gt;\n</content>\n<content alias=\"Empty\">\n\n</content>"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.stored);
    std::string stored = c.stored;
    const bool with_lines = stored.find('>') != std::string::npos;
    if (stored.find("begin=") == std::string::npos) stored = kBase + stored;
    ItemDoc doc;
    ASSERT_TRUE(doc.SetXml("<?xml version=\"1.0\" encoding=\"ascii\"?>\n<items ver=\"1.0\">\n"
                           "<folder id=\"0000\" alias=\"Items\" attribute=\"root\">\n<rec id=\"0001\" alias=\"x\"" +
                           stored + (with_lines ? ">\n</rec>" : "></rec>") + "\n</folder>\n</items>\n"));
    const ItemRec* rec = doc.GetRec("kov:\\Items\\0001");
    ASSERT_NE(rec, nullptr);
    EXPECT_TRUE(c.check(rec->GetExtendRec()));
    ItemRec copy(*rec);
    copy.SetAlias("r");
    ASSERT_TRUE(doc.UpdateRec(rec->GetPos(), copy, false));
    EXPECT_NE(doc.GetXml().find(c.written), std::string::npos) << doc.GetXml();
    ZDS_EXPECT_XMLLINT_ACCEPTS(doc.GetXml());
  }
  // A priority without a word is left out; so is the time 0.
  ItemDoc doc;
  ASSERT_TRUE(doc.SetXml(R"(<items><folder id="0000" alias="Items" attribute="root"></folder></items>)"));
  ItemRec item;
  item.GetExtendRec().priority = 0;
  ASSERT_FALSE(doc.AddRec("kov:\\Items\\0000", item, false).empty());
  EXPECT_EQ(doc.GetXml().find("priority="), std::string::npos) << doc.GetXml();
  EXPECT_EQ(doc.GetXml().find("seen="), std::string::npos);
}

TEST(FieldCodecTest, ACounterInARootAttributeHandsOutItsTextAndMovesOn) {
  constexpr auto kCounter = field::CounterIn("id_range", field::kFourDigits);
  NoteDoc doc;
  ASSERT_TRUE(doc.SetXml(R"(<notes ver="1.0" id_range="0007"><folder id="0000" alias="N" attribute="root"></folder></notes>)"));
  EXPECT_EQ(kCounter.Current(doc), "0007");
  EXPECT_EQ(kCounter.Take(doc), "0007") << "the number stored before the step";
  EXPECT_EQ(kCounter.Current(doc), "0008");
  EXPECT_NE(doc.GetXml().find(R"(<notes ver="1.0" id_range="0008">)"), std::string::npos) << doc.GetXml();
  NoteDoc fresh;
  ASSERT_TRUE(fresh.SetXml(R"(<notes><folder id="0000" alias="N" attribute="root"></folder></notes>)"));
  EXPECT_EQ(kCounter.Take(fresh), "") << "none yet: the empty text, and 0001 next";
  EXPECT_EQ(kCounter.Current(fresh), "0001");
  EXPECT_EQ(field::FormatPadded(-7, 4), "-007");
  EXPECT_EQ(field::FormatPadded(12345, 4), "12345");
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

// A family on the notepad keeps the notepad: the base's times and keys
// are read and written first, then the family's field and lines, and the
// header stays the document's.
TEST(NotepadTest, AFamilyOnTheNotepadKeepsHeaderKeysAndTimesBesideItsOwnFields) {
  const std::string stored =
      std::string(test::kTalkTemplate.substr(0, test::kTalkTemplate.find("</folder>"))) +
      "<rec id=\"0001\" alias=\"t\" subject=\"Lunch\" createtime=\"2004-05-01 09:00\" accesstime=\"today\">\r\n"
      "<key alias=\"Who\" value=\"Ann\"/>\r\n<content alias=\"Menu\">\r\nsoup\r\n</content>\r\n"
      "<key alias=\"Where\" value=\"Cafe\"/>\r\n</rec>\r\n<rec id=\"0002\" alias=\"refused\"/>\r\n</folder>\r\n</talks>\r\n";
  test::TalkDoc doc;
  ASSERT_TRUE(doc.SetXml(stored));
  ASSERT_TRUE(doc.InitVFDLDoc("", "kov:"));
  EXPECT_EQ(doc.GetHeader().GetIndexByIndex(0)->alias, "Who");
  const test::TalkRec* rec = doc.GetRec("kov:\\Talks\\0001");
  ASSERT_NE(rec, nullptr);
  const test::TalkExtend& talk = rec->GetExtendRec();
  EXPECT_EQ(std::tuple(talk.GetValueByAlias("Who"), talk.GetValueByAlias("Where"), talk.createtime, talk.accesstime),
            std::tuple("Ann", "Cafe", "2004-05-01 09:00", "today"));
  EXPECT_EQ(talk.subject, "Lunch");
  ASSERT_EQ(talk.pages.size(), 1u);
  EXPECT_EQ(talk.pages[0].text, "soup");
  EXPECT_EQ(rec->GetUnknownContent(), "") << "keys and pages are understood";
  EXPECT_EQ(rec->GetExtendType(), 29);
  EXPECT_EQ(doc.GetRec("kov:\\Talks\\0002"), nullptr) << "the family refuses a record without a closing line";
  const CNotepadDoc& notepad = doc;
  EXPECT_EQ(notepad.GetRec("kov:\\Talks\\0001")->GetExtendRec().GetKeyNum(), 2) << "seen as a notepad too";

  test::TalkRec changed(*rec);
  changed.GetExtendRec().updatetime = "2004-05-02 10:00";
  changed.GetExtendRec().UpdateKey({"Who", "Bo"});
  CVFPageRec bill;
  std::tie(bill.alias, bill.text) = std::tuple("Bill", "12 & 3");
  changed.GetExtendRec().pages.push_back(bill);
  ASSERT_TRUE(doc.UpdateRec(rec->GetPos(), changed, false));
  const std::string text = doc.GetXml();
  EXPECT_NE(text.find("<rec id=\"0001\" alias=\"t\" createtime=\"2004-05-01 09:00\" updatetime=\"2004-05-02 10:00\" "
                      "accesstime=\"today\" subject=\"Lunch\">\r\n<key alias=\"Who\" value=\"Bo\"/>\r\n"
                      "<key alias=\"Where\" value=\"Cafe\"/>\r\n<content alias=\"Menu\">\r\nsoup\r\n</content>\r\n"
                      "<content alias=\"Bill\">\r\n12 &amp; 3\r\n</content>\r\n</rec>"),
            std::string::npos)
      << text;
  test::TalkDoc reloaded;
  ASSERT_TRUE(reloaded.SetXml(text));
  EXPECT_TRUE(*reloaded.GetRec("kov:\\Talks\\0001") == changed);
  ZDS_EXPECT_XMLLINT_ACCEPTS(text);
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

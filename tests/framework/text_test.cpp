// Attribute escaping, single element lines and the line-based parser.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "zds/framework/xml_line.h"
#include "zds/framework/xml_parser.h"
#include "zds/framework/xml_text.h"
#include "support/note_doc.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::NoteRec;

TEST(EscapeTest, MarkupAndControlsBecomeReferencesHighBytesStayRaw) {
  const std::pair<std::string, std::string> cases[] = {
      {"a&b<c>\"d\"'", "a&amp;b&lt;c&gt;&quot;d&quot;'"},
      {"a\nb\r\tc", "a&#10;b&#13;&#9;c"},
      {std::string("\0\x01\x1f\x7f", 4), "&#xE000;&#xE001;&#xE01F;&#127;"},
      {"caf\xe9 \xff\x80", "caf\xe9 \xff\x80"},
  };
  for (const auto& [raw, escaped] : cases) {
    EXPECT_EQ(EscapeXml(raw), escaped);
    EXPECT_EQ(DecodeXml(escaped), raw);
  }
  EXPECT_EQ(DecodeXml("&#x41;&#65;&apos;&#233;"), "AA'\xe9");
  // Older files wrote controls in decimal; other private-use characters are UTF-8.
  EXPECT_EQ(DecodeXml("&#1;&#31;&#xe002;"), "\x01\x1f\x02");
  EXPECT_EQ(DecodeXml("&#xE020;&#xDFFF;"), "\xee\x80\xa0\xed\xbf\xbf");
  for (const char* bad : {"&foo;", "&#;", "&#x;", "&#12a;", "a & b", "&amp"}) {
    std::string out;
    EXPECT_FALSE(AppendDecoded(out, bad)) << bad;
  }
}

// Fixed seed. `ascii` keeps to bytes below 0x80, which an "ascii" document
// may hold once escaped.
std::vector<std::string> RandomValues(size_t count, bool ascii, unsigned seed) {
  std::mt19937 random(seed);
  const std::string specials = "&<>\"'; \t\r\n";
  std::vector<std::string> values(count);
  for (std::string& value : values) {
    value.resize(random() % 24);
    for (char& c : value) {
      const unsigned pick = random();
      if (pick % 3 == 0) c = specials[pick / 3 % specials.size()];
      else c = static_cast<char>(pick / 3 % (ascii ? 0x80 : 0x100));
    }
  }
  return values;
}

// Each value goes in as a record's alias, field and child line (three
// lines, whatever bytes it holds), out through GetXml, back through SetXml,
// and through a file into a fresh document.
std::string RoundTripThroughDocuments(const std::vector<std::string>& values) {
  test::TempRoot temp;
  NoteDoc doc, reparsed, loaded;
  doc.SetDataRoot(temp.root());
  loaded.SetDataRoot(temp.root());
  EXPECT_EQ(OpenVFDLDoc(doc, "\\notes.xml", ""), OpenResult::kCreated);
  std::vector<std::string> positions;
  for (const std::string& value : values) {
    positions.push_back(doc.AddRec("kov:\\Notes\\0001", MakeNote(value, value, {value}), false));
  }
  const std::string text = doc.GetXml();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), std::count(test::kNoteTemplate.begin(), test::kNoteTemplate.end(), '\n') +
                                                            3 * static_cast<std::ptrdiff_t>(values.size()));
  EXPECT_TRUE(reparsed.SetXml(text));
  EXPECT_TRUE(doc.SaveXMLDoc());
  EXPECT_EQ(OpenVFDLDoc(loaded, "\\notes.xml", ""), OpenResult::kLoaded);
  for (size_t i = 0; i < values.size(); ++i) {
    for (const NoteDoc* back : {&reparsed, &loaded}) {
      const auto* rec = static_cast<NoteRec*>(back->GetNodeByPos(positions[i]));
      if (rec == nullptr) {
        ADD_FAILURE() << positions[i];
        return {};
      }
      EXPECT_EQ(rec->GetAlias(), values[i]);
      EXPECT_EQ(rec->GetExtendRec().note, values[i]);
      EXPECT_EQ(rec->GetExtendRec().items, std::vector<std::string>{values[i]});
    }
  }
  EXPECT_EQ(loaded.GetXml(), doc.GetXml());
  return loaded.GetXml();
}

TEST(EscapeTest, AnyByteStringSurvivesGetXmlSetXmlAndAFileAndAsciiOnesPassXmllint) {
  for (unsigned seed = 10; seed < 20; ++seed) RoundTripThroughDocuments(RandomValues(300, false, seed));
  // Control bytes included: another XML program must read what we write.
  std::vector<std::string> values = RandomValues(500, true, 7);
  values.push_back(std::string("\0\x01\x08\x0b\x0c\x1f\x7f", 7));
  ZDS_EXPECT_XMLLINT_ACCEPTS(RoundTripThroughDocuments(values));
}

// What XML 1.0 refuses in a name is refused wherever a name stands; values
// and text keep any byte.
TEST(ScannerTest, NamesAreXmlNames) {
  const char* refused[] = {
      "<a !b=\"1\"/>",        "<a b!=\"1\"/>", "<a\xe9 b=\"1\"/>", "<a \xe9=\"1\"/>", "<\xe9/>",
      "<a b\xe9\x63=\"1\"/>",   "<1a/>",        "<a 1b=\"1\"/>",      "<a -b=\"1\"/>",      "<.a/>",
      "<a><b!></b!></a>",   "<a!></a!>",    "<a b;c=\"1\"/>",      "<a b=\"1\" c\x01=\"2\"/>",
  };
  for (const char* text : refused) {
    EXPECT_FALSE(IsWellFormedXml(text)) << text;
    CVFDLDoc doc;
    EXPECT_FALSE(doc.SetXml(std::string("<d><folder id=\"0000\"/>") + text + "</d>")) << text;
  }
  const char* accepted[] = {
      "<a:b _c.d-e=\"1\" f9=\"x\xe9\xff\"/>", "<_a><B.1 Z-2='\x80'>text \xe9</B.1></_a>", "<a\tb = \"1\"\n/>",
  };
  for (const char* text : accepted) EXPECT_TRUE(IsWellFormedXml(text)) << text;
}

const std::string kMark = "\xEF\xBB\xBF";

// Every XML tool accepts a UTF-8 byte-order mark before the declaration;
// the store keeps it on saving. Anywhere else it is text outside the root.
TEST(ScannerTest, ByteOrderMarkOpensTheTextAndIsKeptNowhereElse) {
  const std::string good(test::kNoteTemplate);
  const std::string text = kMark + good;
  CVFDLDoc generic;
  ASSERT_TRUE(generic.SetXml(text));
  EXPECT_EQ(generic.GetXml(), text);
  test::TempRoot temp;
  temp.Write("notes.xml", text);
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(doc.LoadXMLDoc("\\notes.xml"), OpenResult::kLoaded);
  ASSERT_NE(doc.AddRec("kov:\\Notes\\0001", MakeNote("a", "b"), true), "");
  const std::string saved = temp.Read("notes.xml");
  EXPECT_TRUE(saved.starts_with(kMark + "<?xml ")) << saved;
  EXPECT_TRUE(generic.SetXml(saved));
  const size_t root = good.find("<notes");
  for (const std::string& bad : {"\r\n" + text, kMark + text, good.substr(0, root) + kMark + good.substr(root), good + kMark,
                                 kMark.substr(0, 2) + good}) {
    EXPECT_FALSE(IsWellFormedXml(bad)) << bad;
  }
  EXPECT_TRUE(IsWellFormedXml(kMark + good.substr(root)));
  ZDS_EXPECT_XMLLINT_ACCEPTS(saved);
}

constexpr std::string_view kLines =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n"  // 0
    "<notes ver=\"1.0\">\r\n"                          // 1
    "<folder id=\"0000\" alias=\"Notes\">\r\n"         // 2
    "  <folder id=\"0001\" alias=\"a>b\">\r\n"         // 3
    "    <rec id=\"0002\" alias=\"x\"/>\r\n"           // 4
    "    <rec id=\"0003\" alias=\"y\">\r\n"            // 5
    "    <item value=\"1\"/>\r\n"                      // 6
    "    </rec>\r\n"                                   // 7
    "  </folder>\r\n"                                  // 8
    "</folder>\r\n"                                    // 9
    "</notes>\r\n";                                    // 10

TEST(XMLParserTest, FindsInsertsAndRemovesLines) {
  CXMLParser parser;
  ASSERT_TRUE(parser.SetXml(kLines));
  EXPECT_EQ(parser.GetXml(), kLines);
  EXPECT_EQ(parser.GetLineCount(), 11);
  const std::tuple<int, const char*, int> tag_lines[] = {
      {0, "folder", 2}, {3, "folder", 3}, {0, "rec", 4}, {5, "rec", 5}, {0, "missing", -1},
      {6, "rec", -1},   {4, "folder", -1}};  // closing lines are not where an element is, indented or not
  for (auto [from, tag, line] : tag_lines) EXPECT_EQ(parser.GetTagLine(from, tag), line) << from << " " << tag;
  for (auto [open, close] : {std::pair{2, 9}, {3, 8}, {4, 4}, {5, 7}, {1, 10}}) {
    EXPECT_EQ(parser.GetMatchTagLine(open), close) << open;
  }
  ASSERT_TRUE(parser.DelLine(5, 7));
  ASSERT_TRUE(parser.AddLine(5, {"    <rec id=\"0004\" alias=\"z\"/>"}));
  EXPECT_EQ(parser.GetLine(5), "    <rec id=\"0004\" alias=\"z\"/>");
  EXPECT_EQ(parser.GetLineCount(), 9);
  EXPECT_FALSE(parser.DelLine(3, 99));
  EXPECT_FALSE(parser.DelLine(4, 3));
  EXPECT_FALSE(parser.AddLine(-1, {"x"}));
  const std::string edited = parser.GetXml();
  EXPECT_FALSE(parser.SetXml("<notes><folder></notes>"));
  EXPECT_EQ(parser.GetXml(), edited);

  // A "/>" inside a quoted value written by another tool closes nothing.
  ASSERT_TRUE(parser.SetXml("<notes>\n<folder alias=\"a/>b\">\n</folder>\n</notes>\n"));
  EXPECT_EQ(parser.GetMatchTagLine(1), 2);
  ZDS_EXPECT_XMLLINT_ACCEPTS(edited);  // last: without xmllint it skips
}

// Each line keeps its own end, a lone CR included; added lines take the
// end most lines have.
TEST(XMLParserTest, LineEndsSurviveAnyMixAndAddedLinesTakeTheCommonOne) {
  struct Case {
    std::string text;
    int lines;
    std::string added;  // the text after adding <n/> before the last line
  };
  const Case cases[] = {
      {"<a>\r\n<b/>\n</a>\n", 3, "<a>\r\n<b/>\n<n/>\n</a>\n"},
      {"<a>\r<b/>\r\n</a>\r", 3, "<a>\r<b/>\r\n<n/>\r</a>\r"},
      {"<a>\r\n<b/>\r</a>\r\n", 3, "<a>\r\n<b/>\r<n/>\r\n</a>\r\n"},
      {"<a>\n\r\r\n\n</a>", 5, "<a>\n\r\r\n\n<n/>\n</a>"},
      {"<a>\r<b\r/>\n\r</a>", 5, "<a>\r<b\r/>\n\r<n/>\r</a>"},
      {"<a/>", 1, "<n/>\r\n<a/>"},
  };
  for (const Case& c : cases) {
    CXMLParser parser;
    ASSERT_TRUE(parser.SetXml(c.text)) << c.text;
    EXPECT_EQ(parser.GetXml(), c.text);
    EXPECT_EQ(parser.GetLineCount(), c.lines) << c.text;
    ASSERT_TRUE(parser.AddLine(parser.GetLineCount() - 1, {"<n/>"}));
    EXPECT_EQ(parser.GetXml(), c.added);
  }
  // A text without a final line end keeps it through additions and removals at the end.
  CXMLParser parser;
  ASSERT_TRUE(parser.SetXml("<a>\r<b/>\r</a>"));
  ASSERT_TRUE(parser.AddLine(3, {"<!-- x -->"}));
  EXPECT_EQ(parser.GetXml(), "<a>\r<b/>\r</a>\r<!-- x -->");
  ASSERT_TRUE(parser.DelLine(2, 3));
  EXPECT_EQ(parser.GetXml(), "<a>\r<b/>");
  EXPECT_EQ(parser.GetLine(1), "<b/>");
}

TEST(XMLLineTest, KeptAttributesNeverRepeatOneTheLineAlreadyHas) {
  CXMLLine line;
  line.SetLine("rec", false, CXMLLine::Type::kElement);
  line.AddAttribute("module", "");
  line.AppendRawAttributes(" module=\"old\"\tfuture='x > y'  other = \"1\"");
  EXPECT_EQ(line.GetLine(false), "<rec module=\"\"\tfuture='x > y'  other = \"1\">");
}

}  // namespace
}  // namespace zds

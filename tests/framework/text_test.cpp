// Attribute escaping, single element lines and the line-based parser.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "zds/framework/xml_line.h"
#include "zds/framework/xml_parser.h"
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
      {std::string("\0\x01\x1f\x7f", 4), "&#0;&#1;&#31;&#127;"},
      {"caf\xe9 \xff\x80", "caf\xe9 \xff\x80"},
  };
  for (const auto& [raw, escaped] : cases) {
    EXPECT_EQ(EscapeXml(raw), escaped);
    EXPECT_EQ(DecodeXml(escaped), raw);
  }
  EXPECT_EQ(DecodeXml("&#x41;&#65;&apos;&#233;"), "AA'\xe9");
  for (const char* bad : {"&foo;", "&#;", "&#x;", "&#12a;", "a & b", "&amp"}) {
    std::string out;
    EXPECT_FALSE(AppendDecoded(out, bad)) << bad;
  }
}

// Fixed seed. `ascii` keeps to what xmllint accepts once escaped.
std::vector<std::string> RandomValues(size_t count, bool ascii, unsigned seed) {
  std::mt19937 random(seed);
  const std::string specials = "&<>\"'; \t\r\n";
  std::vector<std::string> values(count);
  for (std::string& value : values) {
    value.resize(random() % 24);
    for (char& c : value) {
      const unsigned pick = random();
      if (pick % 3 == 0) c = specials[pick / 3 % specials.size()];
      else c = static_cast<char>(ascii ? 0x20 + pick / 3 % 95 : pick / 3 % 256);
    }
  }
  return values;
}

TEST(EscapeTest, AnyByteStringSurvivesAnElementLine) {
  for (const std::string& value : RandomValues(4000, false, 1)) {
    CXMLLine line;
    line.SetLine("rec", true, CXMLLine::Type::kElement);
    line.AddAttribute("alias", value);
    line.AddAttribute("id", "0001");
    const std::string text = line.GetLine(true);
    ASSERT_EQ(text.find('\n'), std::string::npos) << "one element per line";
    CXMLLine back(text);
    ASSERT_EQ(back.GetAttrValue("alias"), value) << text;
    ASSERT_EQ(back.GetAttrValue("id"), "0001");
  }
}

// Each value goes in as a record's alias, field and child line, out through
// GetXml, back through SetXml, and through a file into a fresh document.
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
  EXPECT_TRUE(reparsed.SetXml(doc.GetXml()));
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

TEST(EscapeTest, AnyByteStringSurvivesGetXmlSetXmlAndAFile) {
  for (unsigned seed = 10; seed < 20; ++seed) RoundTripThroughDocuments(RandomValues(300, false, seed));
}

TEST(EscapeTest, EscapedAsciiDocumentPassesXmllint) {
  ZDS_EXPECT_XMLLINT_ACCEPTS(RoundTripThroughDocuments(RandomValues(500, true, 7)));
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
  ZDS_EXPECT_XMLLINT_ACCEPTS(edited);

  // A "/>" inside a quoted value written by another tool closes nothing.
  ASSERT_TRUE(parser.SetXml("<notes>\n<folder alias=\"a/>b\">\n</folder>\n</notes>\n"));
  EXPECT_EQ(parser.GetMatchTagLine(1), 2);
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

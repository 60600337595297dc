// A save writes the document's text in pieces (unchanged runs straight from
// the loaded text); the file must hold exactly what GetXml gives, whatever
// mix of kept and rewritten text the tree holds.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/note_doc.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::MakeNote;
using test::NoteDoc;
using test::TempRoot;

const std::string kText =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<notes ver=\"1.0\">\r\n"
    "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\">\r\n"
    "<!-- a comment before the first record -->\r\n"
    "<rec id=\"0001\" alias=\"One\" note=\"1\">\r\n<item value=\"a\"/>\r\n</rec>\r\n"
    "<rec id=\"0002\" alias=\"Two\" note=\"2\" odd=\"kept\">\r\n</rec>\r\n"
    "<folder id=\"0003\" alias=\"Inner\"/>\r\n"
    "<rec id=\"0004\" alias=\"Refused\"/>\r\n"
    "<rec id=\"0005\" alias=\"Five\" note=\"5\">\r\n</rec>\r\n"
    "</folder>\r\n</notes>\r\n";

TEST(SavePiecesTest, SavedFileIsGetXmlAfterEveryKindOfChange) {
  TempRoot temp;
  temp.Write("notes.xml", kText);
  NoteDoc doc;
  doc.SetDataRoot(temp.root());
  ASSERT_EQ(doc.LoadXMLDoc("\\notes.xml"), OpenResult::kLoaded);
  auto save_matches = [&] { return doc.SaveXMLDoc() && temp.Read("notes.xml") == doc.GetXml(); };
  ASSERT_TRUE(save_matches());
  EXPECT_EQ(temp.Read("notes.xml"), kText) << "an unchanged document is written back byte for byte";
  ASSERT_TRUE(doc.UpdateRec("kov:\\Notes\\0002", MakeNote("Two", "two & more"), false));
  EXPECT_TRUE(save_matches());
  ASSERT_TRUE(doc.DelRec("kov:\\Notes\\0001"));  // its comment moves on to what follows
  EXPECT_TRUE(save_matches());
  ASSERT_FALSE(doc.AddRec("kov:\\Notes\\0003", MakeNote("New", "n", {"x"}), false).empty());
  EXPECT_TRUE(save_matches());
  ASSERT_TRUE(doc.DelRec("kov:\\Notes\\0005"));
  EXPECT_TRUE(save_matches());
  EXPECT_EQ(temp.Files(), std::vector<std::string>{"root/notes.xml"});
}

}  // namespace
}  // namespace zds

// The keyed documents the list-shaped families stand on: the column header
// and its edits, records whose fields are keys, and the stored path helper.

#include <gtest/gtest.h>

#include <string>

#include "zds/framework/notepad_doc.h"
#include "zds/framework/path_controller.h"
#include "support/temp_root.h"

namespace zds {
namespace {

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

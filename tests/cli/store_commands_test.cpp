// The zds program's store commands (init, ls, show), run as a user would,
// on fresh, damaged and missing data roots.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "zds/framework/vfdl_tree.h"
#include "zds/resources/store_strings.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

using test::TempRoot;

using Result = test::ProgramResult;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

const char* const kFolders[] = {"E-Mail", "News",      "Chat",      "SMS",     "Cast",
                                "Other",  "Favorites", "Addresses", "History", "Calendar"};

TEST(ZdsStoreCommandsTest, InitCreatesTheIndexAndPrintsTheTreeLsAndShowReadIt) {
  TempRoot temp;
  const test::fs::path dir = temp.dir() / "fresh";  // not there yet
  Result first = test::RunZds(dir, {"init"});
  ASSERT_EQ(first.exit_code, 0) << first.err;
  EXPECT_EQ(first.err, "");
  const std::string index = test::ReadNative(dir / "aidl.xml");
  EXPECT_EQ(index, LoadTemplate(res::kAidlTemplateHead, res::kAidlTemplateTail));
  const std::vector<std::string> lines = Lines(first.out);
  ASSERT_GE(lines.size(), 11u) << first.out;
  EXPECT_EQ(lines[0], "kov:/Velmora/0000\tfolder\tkov:/Velmora");
  for (size_t i = 1; i <= 10; ++i) {
    EXPECT_EQ(lines[i], "kov:/Velmora/" + CVFTree::GetLocalID(static_cast<int>(i)) + "\tfolder\tkov:/Velmora/" +
                            kFolders[i - 1]);
  }
  for (const std::string& file : temp.Files()) EXPECT_EQ(file.find(".tmp"), std::string::npos) << file;
  // After the tree, each document start-up opened: its step and its file, which exists.
  const std::vector<std::string> opened(std::find(lines.begin(), lines.end(), "monitor\t/Monitor.xml"), lines.end());
  ASSERT_GE(opened.size(), 10u) << first.out;
  EXPECT_EQ(opened[1], "service index\t/aidl.xml");
  EXPECT_EQ(opened.back(), "timer index\t/timer/index.xml");
  for (const std::string& line : opened) EXPECT_TRUE(test::fs::exists(dir / line.substr(line.find('\t') + 2))) << line;

  Result second = test::RunZds(dir, {"init"});
  EXPECT_EQ(second.exit_code, 0);
  EXPECT_EQ(second.out, first.out);
  EXPECT_EQ(test::ReadNative(dir / "aidl.xml"), index) << "an existing index is opened, not rewritten";

  // ls and show read the tree.
  Result ls = test::RunZds(dir, {"ls", "kov:\\Velmora"});
  ASSERT_EQ(ls.exit_code, 0) << ls.err;
  const std::vector<std::string> listed = Lines(ls.out);
  ASSERT_EQ(listed.size(), 10u) << ls.out;
  for (size_t i = 0; i < 10; ++i) {
    EXPECT_EQ(listed[i], "kov:/Velmora/" + CVFTree::GetLocalID(static_cast<int>(i) + 1) + "\tfolder\t" + kFolders[i]);
  }
  Result empty = test::RunZds(dir, {"ls", "kov:\\Velmora\\SMS"});
  EXPECT_EQ(empty.exit_code, 0);
  EXPECT_EQ(empty.out, "");

  Result brief = test::RunZds(dir, {"show", "kov:/Velmora/Favorites"});
  EXPECT_EQ(brief.out, "position: kov:/Velmora/0007\npath: kov:/Velmora/Favorites\nkind: folder\nalias: Favorites\n");
  Result show = test::RunZds(dir, {"show", "kov:\\Velmora\\Favorites", "--all"});
  ASSERT_EQ(show.exit_code, 0) << show.err;
  for (const char* field : {"path: kov:/Velmora/Favorites", "position: kov:/Velmora/0007", "id: 0007",
                            "attribute: system", "content: Fav;class=CFavDoc;os=universal",
                            "src: \\favorites\\index.xml"}) {
    EXPECT_NE(show.out.find(std::string(field) + "\n"), std::string::npos) << field << "\n" << show.out;
  }
}

TEST(ZdsStoreCommandsTest, MissingStoresAndBadPathsGetOneLineAndExitOne) {
  TempRoot temp;
  for (const test::fs::path& dir : {temp.dir(), temp.dir() / "missing"}) {
    for (const char* command : {"ls", "show"}) {
      EXPECT_TRUE(test::RefusedWithOneLine(test::RunZds(dir, {command, "kov:\\Velmora"}), 1)) << command;
    }
  }
  EXPECT_TRUE(temp.Files().empty()) << "looking creates nothing";
  EXPECT_FALSE(test::fs::exists(temp.dir() / "missing"));
  ASSERT_EQ(test::RunZds(temp.dir(), {"init"}).exit_code, 0);
  const std::string before = temp.Read("aidl.xml");
  for (const char* command : {"ls", "show"}) {
    for (const char* path : {"kov:\\Velmora\\Nowhere", "kov:\\Elsewhere", "", "kov:\\Velmora\\E-Mail\\x\\y"}) {
      EXPECT_TRUE(test::RefusedWithOneLine(test::RunZds(temp.dir(), {command, path}), 1)) << command << " " << path;
    }
  }
  EXPECT_EQ(temp.Read("aidl.xml"), before);
}

// A service index of 100,000 nested folders, far deeper than a store nests.
std::string NestedIndex() {
  std::string text = "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<aidl ver=\"1.3\">\r\n";
  for (int i = 0; i < 100000; ++i) text += "<folder alias=\"x\">";
  for (int i = 0; i < 100000; ++i) text += "</folder>";
  return text + "\r\n</aidl>\r\n";
}

TEST(ZdsStoreCommandsTest, DamagedIndexIsReportedAndLeftUntouched) {
  const std::string damaged[] = {NestedIndex(),
      "", "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<aidl ver=\"1.3\">\r\n<folder id=\"0000\"",
      std::string("\x7f" "ELF\x02\x01\x01\0\0\0", 10),
      LoadTemplate(res::kAidlTemplateHead, res::kAidlTemplateTail) + "<aidl/>\r\n"};
  for (const std::string& text : damaged) {
    TempRoot temp;
    temp.Write("aidl.xml", text);
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"init"}, {"ls", "kov:\\Velmora"}, {"show", "kov:\\Velmora"}}) {
      Result result = test::RunZds(temp.dir(), args);
      EXPECT_TRUE(test::RefusedWithOneLine(result, 1)) << args[0] << " must exit with an error, not crash";
      EXPECT_NE(result.err.find("aidl.xml"), std::string::npos) << result.err;
    }
    EXPECT_EQ(temp.Read("aidl.xml"), text);
  }
}

TEST(ZdsStoreCommandsTest, HelpGoesToStandardOutputAndBadUsageExitsTwo) {
  Result help = test::RunZds({"--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_TRUE(help.out.starts_with("usage: zds")) << help.out;
  EXPECT_EQ(help.err, "");
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{}, {"--root"}, {"frobnicate"}, {"ls"}, {"show", "a", "b"}, {"ls", "--bogus", "x"},
        {"--bogus"}, {"timer"}, {"timer", "frob"}, {"help", "frob"}, {"completion", "fish"}}) {
    EXPECT_TRUE(test::RefusedWithOneLine(test::RunZds(args), 2)) << (args.empty() ? "(none)" : args[0]);
  }
}

}  // namespace
}  // namespace zds

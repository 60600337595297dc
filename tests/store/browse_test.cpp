// What the browse dialogs show, and what the facade hands back from a
// host's dialog.

#include "zds/store/browse.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

// A dialog that picks the entry with this alias, or cancels.
CBrowseDialog Picking(const std::string& alias, std::vector<CBrowseItem>* shown = nullptr) {
  return [alias, shown](const std::vector<CBrowseItem>& items, size_t& chosen) {
    if (shown) *shown = items;
    for (chosen = 0; chosen < items.size(); ++chosen) {
      if (items[chosen].alias == alias) return 1;
    }
    return 0;
  };
}

TEST(BrowseTest, TheDialogsShowTheTreesInDocumentOrderAndHandBackTheChoice) {
  test::TempRoot temp;
  CZDS facade;
  facade.SetDataRoot(temp.root());
  ASSERT_TRUE(facade.InitZDS());

  std::vector<CBrowseItem> folders;
  std::string path;
  int kind = -1;
  ASSERT_EQ(facade.OpenBrowseFolderDlg(Picking("Chat", &folders), path, kind), 1);
  EXPECT_EQ(path, "kov:\\Velmora\\Chat");
  std::vector<std::string> top;
  for (const CBrowseItem& item : folders) {
    EXPECT_TRUE(item.is_folder) << item.path;
    if (item.depth == 1) top.push_back(item.alias);
  }
  EXPECT_EQ(top, (std::vector<std::string>{"E-Mail", "News", "Chat", "SMS", "Cast", "Other", "Favorites", "Addresses",
                                           "History", "Calendar"}));
  // The calendar's document is open behind its folder: its folders show below it.
  auto diary = std::find_if(folders.begin(), folders.end(), [](const CBrowseItem& i) { return i.alias == "Diary"; });
  ASSERT_NE(diary, folders.end());
  EXPECT_EQ(diary->depth, 2);
  EXPECT_EQ(diary->path, "kov:\\Velmora\\Calendar\\Diary");
  EXPECT_EQ(facade.OpenBrowseFolderDlg(Picking("nothing"), path, kind), 0);
  EXPECT_EQ(path, "kov:\\Velmora\\Chat") << "a cancelled dialog fills nothing";

  EXPECT_EQ(GetBrowseFileItems(facade.GetAIDLDoc()), std::vector<CBrowseItem>{}) << "no mail or chat yet";

  CATLDoc& templates = *facade.GetATLDoc();
  const CVFDLNode* new_mail = templates.GetNodeByPath("kov:\\Template\\New Mail");
  CVFDLRec letter;
  letter.SetAlias("Letter");
  const std::string letter_pos = templates.AddRec(new_mail->GetPos(), letter, false);
  ASSERT_FALSE(letter_pos.empty());
  std::vector<CBrowseItem> shown;
  std::string pos;
  int folder = 1;
  ASSERT_EQ(facade.OpenBrowseATLDlg(Picking("Letter", &shown), pos, folder), 1);
  EXPECT_EQ(pos, letter_pos);
  ASSERT_EQ(shown.size(), 1u) << "opened at New Mail";
  EXPECT_EQ(shown[0].depth, 1);
  folder = -1;
  EXPECT_EQ(facade.OpenBrowseATLDlg(Picking("Diary", &shown), pos, folder), 0) << "a folder is no template";
  std::vector<std::pair<std::string, int>> whole;
  for (const CBrowseItem& item : shown) whole.emplace_back(item.alias, item.depth);
  EXPECT_EQ(whole, (std::vector<std::pair<std::string, int>>{
                       {"Common", 1}, {"New Mail", 1}, {"Letter", 2}, {"Forward Mail", 1}, {"Diary", 1}}));
  EXPECT_EQ(facade.OpenBrowseATLDlg(nullptr, pos, folder), 0);
}

}  // namespace
}  // namespace zds

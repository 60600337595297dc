// zds fav: links and folders on a fresh store, their shortcut files, and a
// bookmark file out of one folder and into another.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "cli/fresh_store_test.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds {
namespace {

class FavCommandsTest : public test::FreshStoreTest {
 protected:
  // A folder's lines without their times: the position's id, kind, title, url.
  std::string Listed(const std::string& path) const {
    std::istringstream lines(Out({"fav", "ls", path}));
    std::string out;
    for (std::string pos, kind, created, updated, title, url; std::getline(lines, pos, '\t');) {
      std::getline(std::getline(std::getline(std::getline(std::getline(lines, kind, '\t'), created, '\t'), updated, '\t'),
                                title, '\t'),
                   url);
      out += pos.substr(pos.rfind('/') + 1) + " " + kind + " " + title + " " + url + "\n";
    }
    return out;
  }
};

TEST_F(FavCommandsTest, LinksAndFoldersGoOutAsABookmarkFileAndComeBackIntoAnotherFolder) {
  EXPECT_EQ(Out({"fav", "mkdir", "Work/News"}), "kov:/Velmora/0007/0002\n");
  EXPECT_EQ(Out({"fav", "add", "http://a.example/?x=1&y=2", "--title", "A & \"B\"", "--folder", "Work"}),
            "kov:/Velmora/0007/0003\n");
  Out({"fav", "add", "http://n.example/", "--title", "N\xC3\xA9ws", "--folder", "Work/News"});
  EXPECT_EQ(Listed("Work"), "0002 folder News \n0003 link A & \"B\" http://a.example/?x=1&y=2\n");
  EXPECT_EQ(temp_.Read("Favorites/0000/0003.url"), "[InternetShortcut]\r\nURL=http://a.example/?x=1&y=2\r\n");

  const std::string html = Out({"fav", "export"});
  test::WriteNative(temp_.top() / "marks.html", html);
  Out({"fav", "mkdir", "Copy"});
  EXPECT_EQ(Out({"fav", "import", (temp_.top() / "marks.html").string(), "--folder", "Copy"}),
            "2 folders, 2 links, 0 refused\n");
  EXPECT_EQ(Listed("Copy/Work"), "0007 folder News \n0009 link A & \"B\" http://a.example/?x=1&y=2\n");
  EXPECT_EQ(Listed("Copy/Work/News"), "0008 link N\xC3\xA9ws http://n.example/\n");

  // A folder goes with what it holds and the shortcuts its links own.
  const size_t files = temp_.Files().size();
  Out({"fav", "rm", "kov:/Velmora/0007/0001"});
  EXPECT_EQ(Listed(""), "0005 folder Copy \n");
  EXPECT_EQ(temp_.Files().size(), files - 2);
  EXPECT_FALSE(temp_.Exists("Favorites/0000/0003.url"));
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"fav", "ls", "Work"}), 1));
}

TEST_F(FavCommandsTest, AFileBrowsersWouldHalfReadIsTakenAsFarAsItGoes) {
  test::WriteNative(temp_.top() / "bad.html",
                    "<DL><DT><A>no address</A><DT><H3>Ok</H3><DL><DL><DT><A HREF='http://deep/'>Deep &amp;"
                    "<DT><A HREF=\"http://cut");
  EXPECT_EQ(Out({"fav", "import", (temp_.top() / "bad.html").string()}), "1 folders, 2 links, 1 refused\n");
  EXPECT_EQ(Listed("Ok"), "0002 link Deep & http://deep/\n0003 link http://cut http://cut\n");
  test::WriteNative(temp_.top() / "empty.html", "<html>nothing</html>");
  EXPECT_TRUE(test::RefusedWithOneLine(Zds({"fav", "import", (temp_.top() / "empty.html").string()}), 1));
}

TEST_F(FavCommandsTest, AStoreWithoutFavoritesYetListsNoneAndWritesNothing) {
  test::fs::remove(temp_.dir() / "Favorites" / "index.xml");
  const std::vector<std::string> before = temp_.Files();
  EXPECT_EQ(Out({"fav", "ls"}), "");
  EXPECT_NE(Out({"fav", "export"}).find("<!DOCTYPE NETSCAPE-Bookmark-file-1>"), std::string::npos);
  EXPECT_EQ(temp_.Files(), before);
  EXPECT_EQ(Out({"fav", "add", "http://x/", "--title", "X"}), "kov:/Velmora/0007/0001\n");
}

}  // namespace
}  // namespace zds

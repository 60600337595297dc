// Bookmark files: what browsers write is read with its nesting, titles,
// addresses and times; what we write is read the same by Python's
// html.parser; bad files are read as far as they go.

#include "zds/browsing/bookmark_html.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/browsing/fav_doc.h"

namespace zds {
namespace {

using test::TempRoot;

// One line per entry: its depth, F or L, title and address.
std::string Outline(const std::vector<BookmarkItem>& items) {
  std::string out;
  for (const BookmarkItem& item : items) {
    out += std::to_string(item.depth) + (item.folder ? " F " : " L ") + item.title;
    if (!item.folder) out += " <" + item.url + ">";
    out += "\n";
  }
  return out;
}

TEST(BookmarkReadTest, TheShapesBrowsersWriteAndBadFilesReadAsFarAsTheyGo) {
  struct Case {
    const char* name;
    std::string html;
    std::string outline;
    int refused;
  };
  const Case cases[] = {
      {"exported by a browser: headings, descriptions, a toolbar folder",
       "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n<!-- This is an automatically generated file. -->\n"
       "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n<TITLE>Bookmarks</TITLE>\n"
       "<H1>Bookmarks Menu</H1>\n\n<DL><p>\n"
       "    <DT><H3 ADD_DATE=\"1600000000\" LAST_MODIFIED=\"1600000100\" PERSONAL_TOOLBAR_FOLDER=\"true\">Toolbar</H3>\n"
       "    <DL><p>\n"
       "        <DT><A HREF=\"https://a.example/\" ADD_DATE=\"1600000200\" ICON=\"data:image/png;base64,AAA=\">A</A>\n"
       "        <DD>what A is about\n"
       "        <DT><H3>Empty</H3>\n        <DL><p>\n        </DL><p>\n"
       "    </DL><p>\n"
       "    <DT><A HREF=\"https://b.example/?x=1&amp;y=2\">B &amp; &lt;b&gt; &#233;&#x41;</A>\n"
       "</DL>\n",
       "0 F Toolbar\n1 L A <https://a.example/>\n1 F Empty\n0 L B & <b> \xC3\xA9" "A <https://b.example/?x=1&y=2>\n", 0},
      {"lower case, single quotes, unquoted values, no closing tags",
       "<dl><dt><h3>Work\n<dl><p><dt><a href='http://w/'>W\n<dt><a href=http://v/ add_date=5>V\n</dl>"
       "<dt><a HREF=\"http://t/\">  spaced\n  title  </a></dl>",
       "0 F Work\n1 L W <http://w/>\n1 L V <http://v/>\n0 L spaced title <http://t/>\n", 0},
      {"links without an address are refused, a list without a heading joins its folder",
       "<DL><DT><A>no href</A><DT><A HREF=\"\">empty</A><DT><A HREF=\"  \">blank</A>"
       "<DL><DT><A HREF=\"http://in/\">inner</A></DL><DT><H3>F</H3><DL><DL><DT><A HREF=\"x:y\">deep</A></DL></DL></DL>",
       "0 L inner <http://in/>\n0 F F\n1 L deep <x:y>\n", 3},
      {"bytes of 0x80 and above, unknown and broken references, a stray <",
       "<DL><DT><A HREF=\"http://\xE4\xF6/\">Gr\xFC\xDF &bogus; &#xZZ; &#0; &#1114112; 1 < 2 &amp</A></DL>",
       "0 L Gr\xFC\xDF &bogus; &#xZZ; &#0; &#1114112; 1 < 2 &amp <http://\xE4\xF6/>\n", 0},
      {"cut off inside a tag", "<DL><DT><H3>Cut</H3><DL><DT><A HREF=\"http://c/\">C</A><DT><A HREF=\"http://d",
       "0 F Cut\n1 L C <http://c/>\n1 L  <http://d>\n", 0},
      {"comments, closing tags that close nothing, nothing at all",
       "</DL></DL><!-- <A HREF=\"http://hidden/\">no</A> --><A HREF=\"http://top/\">Top</A><!-- unended", "0 L Top <http://top/>\n",
       0},
      {"empty", "", "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const BookmarkFile file = ReadBookmarkHtml(c.html);
    EXPECT_EQ(Outline(file.items), c.outline);
    EXPECT_EQ(file.refused, c.refused);
  }
  const BookmarkFile dated = ReadBookmarkHtml(cases[0].html);
  EXPECT_EQ(std::tuple(dated.items[0].add_date, dated.items[0].last_modified, dated.items[1].add_date),
            std::tuple(1600000000, 1600000100, 1600000200));
  EXPECT_EQ(ReadBookmarkHtml("<A HREF=\"u\" ADD_DATE=\"1600000000123456\">x</A>").items[0].add_date, 1600000000)
      << "microseconds, as some browsers count";
}

TEST(BookmarkReadTest, NestingDeeperThanTheLimitIsFlattenedWithoutRecursion) {
  std::string html;
  for (int i = 0; i < 5000; ++i) html += "<DT><H3>f</H3><DL>";
  html += "<DT><A HREF=\"http://deep/\">deep</A>";
  const BookmarkFile file = ReadBookmarkHtml(html);
  ASSERT_EQ(file.items.size(), 5001u);
  EXPECT_EQ(file.items.back().depth, kMaxBookmarkDepth);
  EXPECT_EQ(ReadBookmarkHtml(WriteBookmarkHtml(file.items)).items, file.items);
}

// A favorites tree on a fresh root, with titles that need escaping.
struct Favorites {
  TempRoot temp;
  CFavDoc doc;
  std::string top;
  Favorites() {
    doc.SetDataRoot(temp.root());
    EXPECT_EQ(OpenVFDLDoc(doc, "\\favorites\\index.xml", "\\favorites"), OpenResult::kCreated);
    top = doc.GetRoot()->GetPos();
  }
  std::string Folder(const std::string& parent, const std::string& title) {
    CFavFolder folder;
    folder.SetAlias(title);
    return doc.AddFolder(parent, folder, false);
  }
};

TEST(BookmarkExportTest, PythonsHtmlParserReadsTheSameTree) {
  if (test::RunProgram("python3", {"--version"}).exit_code != 0) GTEST_SKIP() << "python3 is not installed";
  Favorites fav;
  const std::string news = fav.Folder(fav.top, "News & \"Views\"");
  ASSERT_FALSE(fav.doc.AddLink(news, "Caf\xC3\xA9 <1>", "http://caf.example/?a=1&b=\"2\"", false).empty());
  const std::string deep = fav.Folder(fav.Folder(news, "Deeper"), "Deepest");
  ASSERT_FALSE(fav.doc.AddLink(deep, "D", "http://d/", false).empty());
  fav.Folder(fav.top, "Empty");
  ASSERT_FALSE(fav.doc.AddLink(fav.top, "Top", "http://top/", false).empty());
  const std::string html = WriteBookmarkHtml(fav.doc.ExportBookmarks(fav.top));

  const std::string script = R"(
import sys
from html.parser import HTMLParser
class Reader(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.depth, self.lists, self.heading, self.entry, self.out = 0, [], False, None, []
    def handle_starttag(self, tag, attrs):
        if tag == 'h3':
            self.entry, self.heading = [self.depth, 'F', '', ''], True
        elif tag == 'a':
            self.entry = [self.depth, 'L', '', dict(attrs).get('href', '')]
        elif tag == 'dl':
            self.lists.append(self.heading)
            self.depth += self.heading
            self.heading = False
        elif tag == 'dt':
            self.heading = False
    def handle_endtag(self, tag):
        if tag in ('h3', 'a') and self.entry:
            self.out.append(self.entry)
            self.entry = None
        elif tag == 'dl' and self.lists:
            self.depth -= self.lists.pop()
    def handle_data(self, data):
        if self.entry:
            self.entry[2] += data
reader = Reader()
reader.feed(open(sys.argv[1], encoding='utf-8', errors='surrogateescape').read())
for depth, kind, title, url in reader.out:
    line = '%d %s %s' % (depth, kind, title) + (' <%s>' % url if kind == 'L' else '') + '\n'
    sys.stdout.buffer.write(line.encode('utf-8', 'surrogateescape'))
)";
  test::WriteNative(fav.temp.top() / "bookmarks.html", html);
  const test::ProgramResult parsed =
      test::RunProgram("python3", {"-c", script, (fav.temp.top() / "bookmarks.html").string()});
  ASSERT_EQ(parsed.exit_code, 0) << parsed.err;
  EXPECT_EQ(parsed.out,
            "0 F News & \"Views\"\n1 L Caf\xC3\xA9 <1> <http://caf.example/?a=1&b=\"2\">\n1 F Deeper\n2 F Deepest\n"
            "3 L D <http://d/>\n0 F Empty\n0 L Top <http://top/>\n")
      << html;
}

TEST(BookmarkImportTest, AFileGoesIntoAFolderWithItsTimesAndComesBackOut) {
  Favorites fav;
  const std::string target = fav.Folder(fav.top, "Imported");
  const std::string html =
      "<DL><p><DT><H3 ADD_DATE=\"1500000000\">Work</H3><DL><p>"
      "<DT><A HREF=\"http://w/\" ADD_DATE=\"1500000060\" LAST_MODIFIED=\"1500000120\">W</A>"
      "<DT><H3>Work</H3><DL></DL></DL><p>"
      "<DT><A>refused</A><DT><A HREF=\"http://x/\">X</A></DL>";
  const BookmarkFile file = ReadBookmarkHtml(html);
  FavImportCounts counts;
  ASSERT_TRUE(fav.doc.ImportBookmarks(target, file.items, true, counts));
  EXPECT_EQ(std::tuple(counts.folders, counts.links, counts.refused + file.refused), std::tuple(2, 2, 1));
  const std::vector<BookmarkItem> back = fav.doc.ExportBookmarks(target);
  EXPECT_EQ(Outline(back), "0 F Work\n1 L W <http://w/>\n1 F Work\n0 L X <http://x/>\n");
  const CFavExtendRec& w = fav.doc.GetRec(fav.doc.GetNodeByPath("kov:\\Favorites\\Imported\\Work\\W")->GetPos())->GetExtendRec();
  EXPECT_EQ(std::tie(w.createtime, w.updatetime, w.accesstime, w.ownership),
            std::tuple(CTime(1500000060).Format(kTimeFormatMinutes), CTime(1500000120).Format(kTimeFormatMinutes),
                       CTime(1500000060).Format(kTimeFormatMinutes), true));
  EXPECT_EQ(back[1].add_date, 1500000060 / 60 * 60) << "kept to the minute";

  CFavDoc reread;  // saved at the end, in one write
  reread.SetDataRoot(fav.temp.root());
  ASSERT_EQ(OpenVFDLDoc(reread, "\\favorites\\index.xml", "\\favorites", false), OpenResult::kLoaded);
  EXPECT_EQ(Outline(reread.ExportBookmarks(reread.GetRoot()->GetPos())),
            "0 F Imported\n1 F Work\n2 L W <http://w/>\n2 F Work\n1 L X <http://x/>\n");
  EXPECT_FALSE(fav.doc.ImportBookmarks("kov:\\Favorites\\0099", file.items, true, counts));
}

// Shortcut files are named by the ids the index hands out: a document that
// read the index before another writer's import was saved must not write
// over that import's files, nor take them away when its own save fails.
TEST(BookmarkImportTest, AnImportOnAStaleIndexLeavesAnotherWritersShortcuts) {
  Favorites fav;
  ASSERT_TRUE(fav.doc.SaveXMLDoc());
  CFavDoc other;
  other.SetDataRoot(fav.temp.root());
  ASSERT_EQ(OpenVFDLDoc(other, "\\favorites\\index.xml", "\\favorites", false), OpenResult::kLoaded);
  FavImportCounts counts;
  const BookmarkFile theirs = ReadBookmarkHtml("<DL><DT><A HREF=\"http://theirs/\">T</A></DL>");
  ASSERT_TRUE(other.ImportBookmarks(other.GetRoot()->GetPos(), theirs.items, true, counts));
  const std::vector<std::string> files = fav.temp.Files();

  const BookmarkFile mine = ReadBookmarkHtml("<DL><DT><A HREF=\"http://mine/\">M</A></DL>");
  EXPECT_FALSE(fav.doc.ImportBookmarks(fav.top, mine.items, true, counts));
  EXPECT_EQ(fav.doc.GetLastSaveStatus(), SaveStatus::kConflict);
  EXPECT_EQ(fav.temp.Files(), files);
  for (const std::string& file : files) EXPECT_EQ(fav.temp.Read(file.substr(5)).find("mine"), std::string::npos);
  ASSERT_EQ(fav.doc.Reload(), OpenResult::kLoaded);
  EXPECT_TRUE(fav.doc.ImportBookmarks(fav.doc.GetRoot()->GetPos(), mine.items, true, counts));
  EXPECT_EQ(fav.temp.Files().size(), files.size() + 1);
}

}  // namespace
}  // namespace zds

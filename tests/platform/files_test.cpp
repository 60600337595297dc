#include "zds/platform/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/failing_writes.h"
#include "support/temp_root.h"

namespace zds::platform {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

TEST(StoredPathTest, RefusesPathsThatLeaveTheRoot) {
  for (const char* path : {"", "\\", "a.xml", "\\a\\b.xml", "\\a..b\\..."}) EXPECT_TRUE(IsSafeStoredPath(path)) << path;
  for (const char* path : {"..", "\\a\\..\\b", "C:\\x", "\\a:s", "\\a/b", "\\\\server\\x", "\\a\\\\b", "\\a\\"}) {
    EXPECT_FALSE(IsSafeStoredPath(path)) << path;
  }
  EXPECT_FALSE(IsSafeStoredPath(std::string_view("a\0b", 3)));
}

TEST(StoredPathTest, JoinsMendTheSeparatorAtTheJoint) {
  for (auto [base, tail] : {std::pair{"\\cal", "\\i.xml"}, {"\\cal\\", "\\i.xml"}, {"\\cal", "i.xml"}}) {
    EXPECT_EQ(JoinStoredPath(base, tail), "\\cal\\i.xml") << base << " + " << tail;
  }
  EXPECT_EQ(JoinStoredPath("\\", "i.xml"), "\\i.xml");
  EXPECT_EQ(StoredDirectoryOf("\\favorites\\index.xml"), "\\favorites");
  EXPECT_EQ(StoredDirectoryOf("index.xml"), "");
}

class DataRootTest : public ::testing::Test {
 protected:
  Names Entries() const { return test::Entries(temp_.dir()); }

  test::TempRoot temp_;
  const fs::path& top_ = temp_.top();
  DataRoot& root_ = *temp_.root();
};

TEST_F(DataRootTest, NothingOutsideTheRootIsTouched) {
  test::WriteNative(top_ / "outside.xml", "keep");
  temp_.Write("in.xml", "in");
  const std::string absolute = (top_ / "outside.xml").string();
  const std::vector<std::string_view> pieces = {"lost"};
  for (const std::string& path : {std::string("\\..\\outside.xml"), std::string("..\\outside.xml"), absolute,
                                  std::string("C:\\outside.xml"), std::string("\\\\server\\share\\outside.xml")}) {
    SCOPED_TRACE(path);
    std::string contents;
    EXPECT_FALSE(root_.Resolve(path));
    EXPECT_EQ(root_.ReadWholeFile(path, contents), ReadStatus::kFailed);
    EXPECT_FALSE(root_.FileExists(path));
    EXPECT_FALSE(root_.WriteFileAtomic(path, "lost"));
    EXPECT_FALSE(root_.WriteFileAtomicFromPieces(path, pieces));
    EXPECT_FALSE(root_.RemoveFile(path));
    EXPECT_FALSE(root_.RenameFile(path, "\\moved.xml"));
    EXPECT_FALSE(root_.RenameFile("\\in.xml", path));
    EXPECT_FALSE(root_.CreateDirectories(path));
    EXPECT_EQ(root_.RemoveLeftoverTemporaries(path), 0u);
  }
  EXPECT_FALSE(root_.WriteFileAtomic("\\", "x"));
  EXPECT_FALSE(root_.WriteFileAtomicFromPieces("", pieces));
  EXPECT_EQ(test::ReadNative(top_ / "outside.xml"), "keep");
  EXPECT_EQ(test::Entries(top_), (Names{"outside.xml", "root"}));
  EXPECT_EQ(Entries(), Names{"in.xml"});
}

TEST_F(DataRootTest, MatchesComponentsCaseBlind) {
  temp_.Write("favorites/index.xml", "<i/>");
  std::string contents;
  EXPECT_EQ(root_.ReadWholeFile("\\Favorites\\INDEX.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, "<i/>");
  auto resolved = root_.Resolve("FAVORITES\\Index.XML");
  ASSERT_TRUE(resolved);
  EXPECT_TRUE(fs::equivalent(*resolved, temp_.dir() / "favorites/index.xml"));
  ASSERT_TRUE(root_.WriteFileAtomic("FAVORITES\\a.xml", "<a/>"));
  EXPECT_EQ(temp_.Read("favorites/a.xml"), "<a/>");
  EXPECT_TRUE(root_.DirectoryExists("\\FaVoRiTeS"));
  EXPECT_TRUE(root_.FileExists("\\favorites\\A.XML"));
}

// Of names differing only in case the exact one wins, then the first in
// byte order; a missing component keeps its spelling.
TEST_F(DataRootTest, CaseVariantsPreferTheExactName) {
  if (test::IgnoresLetterCase(top_)) GTEST_SKIP() << "this file system holds no two names differing only in case";
  for (const char* dir : {"favorites", "Notes", "notes"}) fs::create_directory(temp_.dir() / dir);
  const fs::path native = root_.NativeRoot();
  EXPECT_EQ(root_.Resolve("\\Favorites\\Index.xml"), (native / "favorites" / "Index.xml").string());
  EXPECT_EQ(root_.Resolve("\\notes"), (native / "notes").string());
  EXPECT_EQ(root_.Resolve("\\NOTES"), (native / "Notes").string());
}

TEST_F(DataRootTest, ReadTellsMissingFromFailed) {
  temp_.Write("a.xml", std::string("x\0y", 3));
  std::string contents;
  EXPECT_EQ(root_.ReadWholeFile("\\A.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, std::string("x\0y", 3));
  for (const char* path : {"\\none.xml", "\\none\\a.xml", "\\a.xml\\b.xml"}) {
    EXPECT_EQ(root_.ReadWholeFile(path, contents), ReadStatus::kMissing) << path;
  }
  for (const char* path : {"\\", "\\..\\x"}) EXPECT_EQ(root_.ReadWholeFile(path, contents), ReadStatus::kFailed) << path;
  EXPECT_EQ(contents, "");
}

TEST_F(DataRootTest, WriteReplacesTheFileKeepingItsModeAndNoTemporary) {
  temp_.Write("a.xml", "old and longer");
  fs::permissions(temp_.dir() / "a.xml", fs::perms::owner_read | fs::perms::owner_write);
  const fs::perms before = fs::status(temp_.dir() / "a.xml").permissions();
  ASSERT_TRUE(root_.WriteFileAtomic("\\a.xml", "new"));
  EXPECT_EQ(temp_.Read("a.xml"), "new");
  EXPECT_EQ(fs::status(temp_.dir() / "a.xml").permissions(), before);
  EXPECT_EQ(Entries(), Names{"a.xml"});
}

TEST_F(DataRootTest, FailedWriteLeavesTheOldFileByteForByte) {
  temp_.Write("a.xml", "old");
  EXPECT_FALSE(root_.WriteFileAtomic("\\missing\\a.xml", "new"));
  bool written = true;
  {
    test::FailingWrites failing(temp_.dir() / "a.xml");
    ASSERT_TRUE(failing.active());
    written = root_.WriteFileAtomic("\\a.xml", std::string(1000, 'n'));
  }
  EXPECT_FALSE(written);
  EXPECT_EQ(temp_.Read("a.xml"), "old");
  EXPECT_EQ(Entries(), Names{"a.xml"});
}

// A save writes the unchanged runs of a document's text straight from
// memory: the pieces land in order, empty ones and more than one system
// call takes included.
TEST_F(DataRootTest, PiecesLandInOrder) {
  temp_.Write("a.xml", "old contents");
  const std::vector<std::string_view> pieces = {"", "<a>", "", "\r\n", "text", ""};
  ASSERT_TRUE(root_.WriteFileAtomicFromPieces("\\a.xml", pieces));
  EXPECT_EQ(temp_.Read("a.xml"), "<a>\r\ntext");
  ASSERT_TRUE(root_.WriteFileAtomicFromPieces("\\a.xml", {}));
  EXPECT_EQ(temp_.Read("a.xml"), "");
  std::vector<std::string> owned;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    owned.push_back(std::to_string(i) + (i % 7 == 0 ? std::string(3000, 'x') : ","));
    expected += owned.back();
  }
  ASSERT_TRUE(root_.WriteFileAtomicFromPieces("\\many.xml", std::vector<std::string_view>(owned.begin(), owned.end())));
  EXPECT_EQ(temp_.Read("many.xml"), expected);
}

TEST_F(DataRootTest, CreatesDirectoriesThroughCaseVariants) {
  fs::create_directory(temp_.dir() / "calendar");
  EXPECT_TRUE(root_.CreateDirectories("\\Calendar\\2005\\05"));
  EXPECT_TRUE(fs::is_directory(temp_.dir() / "calendar/2005/05"));
  EXPECT_TRUE(root_.CreateDirectories("\\calendar\\2005"));
  temp_.Write("file", "");
  EXPECT_FALSE(root_.CreateDirectories("\\file\\sub"));
}

TEST_F(DataRootTest, MoveNeverReplacesAndDeleteRemovesOnlyFiles) {
  temp_.Write("a.xml", "a");
  temp_.Write("b.xml", "b");
  EXPECT_FALSE(root_.RenameFile("\\a.xml", "\\B.xml"));
  EXPECT_TRUE(root_.RenameFile("\\A.xml", "\\c.xml"));
  EXPECT_TRUE(root_.RemoveFile("\\C.XML"));
  EXPECT_FALSE(root_.RemoveFile("\\"));
  EXPECT_EQ(Entries(), Names{"b.xml"});
}

}  // namespace
}  // namespace zds::platform

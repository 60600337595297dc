#include "zds/platform/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/failing_writes.h"
#include "support/temp_dir.h"

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
  void SetUp() override {
    ASSERT_FALSE(top_.empty());
    fs::create_directory(top_ / "root");
    root_ = DataRoot((top_ / "root").string());
  }
  void Put(const char* name, const std::string& text) { std::ofstream(top_ / name, std::ios::binary) << text; }
  std::string Get(const char* name) {
    std::ostringstream text;
    text << std::ifstream(top_ / name, std::ios::binary).rdbuf();
    return text.str();
  }
  Names Entries(const char* directory) {
    Names names;
    for (const auto& entry : fs::directory_iterator(top_ / directory)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  test::TempDir temp_{"zds-platform"};
  const fs::path& top_ = temp_.path();
  DataRoot root_{""};
};

TEST_F(DataRootTest, NothingOutsideTheRootIsTouched) {
  Put("outside.xml", "keep");
  Put("root/in.xml", "in");
  const std::string absolute = (top_ / "outside.xml").string();
  for (const std::string& path : {std::string("\\..\\outside.xml"), std::string("..\\outside.xml"), absolute,
                                  std::string("C:\\outside.xml"), std::string("\\\\server\\share\\outside.xml")}) {
    SCOPED_TRACE(path);
    std::string contents;
    EXPECT_FALSE(root_.Resolve(path));
    EXPECT_EQ(root_.ReadWholeFile(path, contents), ReadStatus::kFailed);
    EXPECT_FALSE(root_.FileExists(path));
    EXPECT_FALSE(root_.WriteFileAtomic(path, "lost"));
    EXPECT_FALSE(root_.RemoveFile(path));
    EXPECT_FALSE(root_.RenameFile(path, "\\moved.xml"));
    EXPECT_FALSE(root_.RenameFile("\\in.xml", path));
    EXPECT_FALSE(root_.CreateDirectories(path));
    EXPECT_EQ(root_.RemoveLeftoverTemporaries(path), 0u);
  }
  EXPECT_FALSE(root_.WriteFileAtomic("\\", "x"));
  EXPECT_EQ(Get("outside.xml"), "keep");
  EXPECT_EQ(Entries(""), (Names{"outside.xml", "root"}));
  EXPECT_EQ(Entries("root"), Names{"in.xml"});
}

TEST_F(DataRootTest, MatchesComponentsCaseBlind) {
  fs::create_directory(top_ / "root/favorites");
  Put("root/favorites/index.xml", "<i/>");
  std::string contents;
  EXPECT_EQ(root_.ReadWholeFile("\\Favorites\\INDEX.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, "<i/>");
  auto resolved = root_.Resolve("FAVORITES\\Index.XML");
  ASSERT_TRUE(resolved);
  EXPECT_TRUE(fs::equivalent(*resolved, top_ / "root/favorites/index.xml"));
  ASSERT_TRUE(root_.WriteFileAtomic("FAVORITES\\a.xml", "<a/>"));
  EXPECT_EQ(Get("root/favorites/a.xml"), "<a/>");
  EXPECT_TRUE(root_.DirectoryExists("\\FaVoRiTeS"));
  EXPECT_TRUE(root_.FileExists("\\favorites\\A.XML"));
}

// Of names differing only in case the exact one wins, then the first in
// byte order; a missing component keeps its spelling.
TEST_F(DataRootTest, CaseVariantsPreferTheExactName) {
  if (test::IgnoresLetterCase(top_)) GTEST_SKIP() << "this file system holds no two names differing only in case";
  for (const char* dir : {"root/favorites", "root/Notes", "root/notes"}) fs::create_directory(top_ / dir);
  const fs::path native = root_.NativeRoot();
  EXPECT_EQ(root_.Resolve("\\Favorites\\Index.xml"), (native / "favorites" / "Index.xml").string());
  EXPECT_EQ(root_.Resolve("\\notes"), (native / "notes").string());
  EXPECT_EQ(root_.Resolve("\\NOTES"), (native / "Notes").string());
}

TEST_F(DataRootTest, ReadTellsMissingFromFailed) {
  Put("root/a.xml", std::string("x\0y", 3));
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
  Put("root/a.xml", "old and longer");
  fs::permissions(top_ / "root/a.xml", fs::perms::owner_read | fs::perms::owner_write);
  const fs::perms before = fs::status(top_ / "root/a.xml").permissions();
  ASSERT_TRUE(root_.WriteFileAtomic("\\a.xml", "new"));
  EXPECT_EQ(Get("root/a.xml"), "new");
  EXPECT_EQ(fs::status(top_ / "root/a.xml").permissions(), before);
  EXPECT_EQ(Entries("root"), Names{"a.xml"});
}

TEST_F(DataRootTest, FailedWriteLeavesTheOldFileByteForByte) {
  Put("root/a.xml", "old");
  EXPECT_FALSE(root_.WriteFileAtomic("\\missing\\a.xml", "new"));
  bool written = true;
  {
    test::FailingWrites failing(top_ / "root/a.xml");
    ASSERT_TRUE(failing.active());
    written = root_.WriteFileAtomic("\\a.xml", std::string(1000, 'n'));
  }
  EXPECT_FALSE(written);
  EXPECT_EQ(Get("root/a.xml"), "old");
  EXPECT_EQ(Entries("root"), Names{"a.xml"});
}

TEST_F(DataRootTest, CreatesDirectoriesThroughCaseVariants) {
  fs::create_directory(top_ / "root/calendar");
  EXPECT_TRUE(root_.CreateDirectories("\\Calendar\\2005\\05"));
  EXPECT_TRUE(fs::is_directory(top_ / "root/calendar/2005/05"));
  EXPECT_TRUE(root_.CreateDirectories("\\calendar\\2005"));
  Put("root/file", "");
  EXPECT_FALSE(root_.CreateDirectories("\\file\\sub"));
}

TEST_F(DataRootTest, MoveNeverReplacesAndDeleteRemovesOnlyFiles) {
  Put("root/a.xml", "a");
  Put("root/b.xml", "b");
  EXPECT_FALSE(root_.RenameFile("\\a.xml", "\\B.xml"));
  EXPECT_TRUE(root_.RenameFile("\\A.xml", "\\c.xml"));
  EXPECT_TRUE(root_.RemoveFile("\\C.XML"));
  EXPECT_FALSE(root_.RemoveFile("\\"));
  EXPECT_EQ(Entries("root"), Names{"b.xml"});
}

}  // namespace
}  // namespace zds::platform

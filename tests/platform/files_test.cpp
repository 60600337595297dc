// The data root: stored paths, every file operation kept inside the root,
// atomic writes and the temporaries of interrupted ones.

#include "zds/platform/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/failing_writes.h"
#include "support/temp_root.h"

#ifdef _WIN32
#include "zds/platform/win32/windows_api.h"
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

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

// Holds a temporary the way a writer in another process does while it saves.
class LiveWriter {
 public:
  explicit LiveWriter(const fs::path& file) {
#ifdef _WIN32
    handle_ = CreateFileA(file.string().c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
    held_ = handle_ != INVALID_HANDLE_VALUE;
#else
    fd_ = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    held_ = fd_ >= 0 && flock(fd_, LOCK_EX) == 0;
#endif
  }
  ~LiveWriter() {
#ifdef _WIN32
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
#else
    if (fd_ >= 0) close(fd_);
#endif
  }
  LiveWriter(const LiveWriter&) = delete;
  LiveWriter& operator=(const LiveWriter&) = delete;
  bool held() const { return held_; }

 private:
#ifdef _WIN32
  HANDLE handle_ = INVALID_HANDLE_VALUE;
#else
  int fd_ = -1;
#endif
  bool held_ = false;
};

unsigned long ProcessId() {
#ifdef _WIN32
  return GetCurrentProcessId();
#else
  return static_cast<unsigned long>(getpid());
#endif
}

class DataRootTest : public ::testing::Test {
 protected:
  Names Entries(const char* directory = "") const { return test::Entries(temp_.dir() / directory); }

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

// A tail write cuts what lies past its offset first (a torn append's
// leftovers) and never writes past the end it found.
TEST_F(DataRootTest, TailWritesCutAtTheirOffsetAndNeverLeaveAGap) {
  struct Step {
    uint64_t offset;
    std::string_view data;
    bool ok;
    std::string_view after;
  } steps[] = {{0, "head\n", true, "head\n"},      {5, "one\n", true, "head\none\n"},
               {5, "two", true, "head\ntwo"},      {20, "gap", false, "head\ntwo"},
               {0, "", true, ""}};
  for (const Step& step : steps) {
    EXPECT_EQ(root_.WriteFileTail("\\j.xml-journal", step.offset, step.data), step.ok) << step.data;
    EXPECT_EQ(temp_.Read("j.xml-journal"), step.after) << step.data;
  }
  fs::create_directory(temp_.dir() / "dir");
  EXPECT_FALSE(root_.WriteFileTail("\\dir", 0, "x"));
  EXPECT_FALSE(DataRoot(temp_.dir().string(), platform::RootAccess::kReadOnly).WriteFileTail("\\j.xml-journal", 0, "x"));
  EXPECT_EQ(temp_.Read("j.xml-journal"), "");
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

// Temporaries of atomic saves: a crash leaves them, they never block a
// later save, and cleanup takes exactly the abandoned ones of one file.
// New names are made in place; names there before (in any case), names
// written twice and names made behind the writer's back are replaced, so
// no write is ever lost or doubled in two spellings.
TEST_F(DataRootTest, NewFileWriterMakesNewNamesAndReplacesTheRest) {
  temp_.Write("mail/a/0001.EML", "old");
  auto writer = root_.OpenNewFileWriter("\\Mail\\a");
  ASSERT_TRUE(writer);
  temp_.Write("mail/a/0003.eml", "made meanwhile");
  for (const std::string name : {"0001.eml", "0002.eml", "0002.eml", "0003.eml"}) {
    SCOPED_TRACE(name);
    const std::string text = "new " + name + " " + std::to_string(Entries("mail/a").size());
    ASSERT_TRUE(writer->Write(name, text));
    std::string read;
    EXPECT_EQ(root_.ReadWholeFile("\\mail\\a\\" + name, read), ReadStatus::kRead);
    EXPECT_EQ(read, text);
  }
  if (test::IgnoresLetterCase(top_)) {
    EXPECT_EQ(Entries("mail/a").size(), 3u);
  } else {
    EXPECT_EQ(Entries("mail/a"), (Names{"0001.EML", "0002.eml", "0003.eml"}));
  }
  EXPECT_TRUE(root_.FlushWrittenFiles());

  for (const char* refused : {"", "\\x", "a\\b", "..", "a/b"}) {
    SCOPED_TRACE(refused);
    EXPECT_FALSE(writer->Write(refused, "lost"));
  }
  EXPECT_EQ(test::Entries(top_), (Names{"root"}));
  EXPECT_FALSE(root_.OpenNewFileWriter("\\..\\out"));
  EXPECT_FALSE(DataRoot(root_.NativeRoot(), RootAccess::kReadOnly).OpenNewFileWriter("\\mail\\b"));
  EXPECT_FALSE(temp_.Exists("mail/b"));
}

TEST(TemporaryNameTest, NamesCarryTheFileAndSixteenRandomDigits) {
  EXPECT_EQ(TemporaryNameFor("a.xml", 0x0123456789abcdefULL), "a.xml.tmp-0123456789abcdef");
  const std::string long_name(250, 'n');
  const std::string temporary = TemporaryNameFor(long_name, 7);
  EXPECT_EQ(temporary.size(), 200u + 5 + 16);
  EXPECT_TRUE(IsTemporaryOf(temporary, long_name));
}

// A process that always has the same id (pid 1 in a container) and left
// temporaries behind in earlier runs must still save.
TEST_F(DataRootTest, LeftoversOfTheSameProcessIdNeverBlockASave) {
  temp_.Write("a.xml", "old");
  const std::string stem = "a.xml.tmp" + std::to_string(ProcessId()) + "-";
  for (int n = 0; n < 512; ++n) temp_.Write(stem + std::to_string(n), "");
  for (int n = 0; n < 20; ++n) temp_.Write(TemporaryNameFor("a.xml", static_cast<uint64_t>(n)), "");
  ASSERT_TRUE(root_.WriteFileAtomic("\\a.xml", "new"));
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\A.xml"), 532u);
  EXPECT_EQ(Entries(), Names{"a.xml"});
  std::string contents;
  ASSERT_EQ(root_.ReadWholeFile("\\a.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, "new");
}

TEST_F(DataRootTest, CleanupTakesOnlyAbandonedTemporariesOfTheFile) {
  const Names abandoned = {"a.xml.tmp-0123456789abcdef", "a.xml.tmp-ffffffffffffffff", "A.XML.tmp-00000000000000aa", "a.xml.tmp1-0",
                           "a.xml.tmp4242-17"};
  const Names kept = {"a.xml",
                      "a.xml.tmp-0123456789abcde",
                      "a.xml.tmp-0123456789abcdef0",
                      "a.xml.tmp-0123456789ABCDEE",
                      "a.xml.tmp-0123456789abcdef.bak",
                      "a.xml.tmp-12-3",
                      "a.xml.tmp12-",
                      "a.xml.tmp-12",
                      "a.xml.tmpx-1",
                      "a.xml.tmp",
                      "b.xml.tmp-0123456789abcdef",
                      "a.xmlx.tmp-0123456789abcdef",
                      "a.xml.tmp-aaaaaaaaaaaaaaaa",  // held by a writer below
                      "a.xml.tmp-bbbbbbbbbbbbbbbb"}; // a directory
  for (const std::string& name : abandoned) temp_.Write("sub/" + name, "x");
  for (const std::string& name : kept) {
    if (!name.ends_with("aaaa") && !name.ends_with("bbbb")) temp_.Write("sub/" + name, "x");
  }
  fs::create_directory(temp_.dir() / "sub" / "a.xml.tmp-bbbbbbbbbbbbbbbb");
  LiveWriter writer(temp_.dir() / "sub" / "a.xml.tmp-aaaaaaaaaaaaaaaa");
  ASSERT_TRUE(writer.held());
  temp_.Write("a.xml.tmp-0123456789abcdef", "another directory's");
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\sub\\a.xml"), abandoned.size());
  Names expected = kept;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(Entries("sub"), expected);
  EXPECT_EQ(Entries(), (Names{"a.xml.tmp-0123456789abcdef", "sub"}));
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\sub\\none.xml"), 0u);
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\missing\\a.xml"), 0u);
}

// Saves racing cleanups (locks and handles act between threads as between
// processes): no save fails, and none leaves anything behind. A cleanup may
// take a temporary in the instant between its creation and its lock; the
// writer then sees it gone and takes another name.
TEST_F(DataRootTest, SavesAndCleanupsInterleaveWithoutLoss) {
  std::atomic<bool> saving{true};
  std::thread cleaner([&] {
    while (saving) root_.RemoveLeftoverTemporaries("\\a.xml");
  });
  int failed = 0;
  for (int round = 0; round < 300; ++round) failed += root_.WriteFileAtomic("\\a.xml", std::to_string(round)) ? 0 : 1;
  saving = false;
  cleaner.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(Entries(), Names{"a.xml"});
}

}  // namespace
}  // namespace zds::platform

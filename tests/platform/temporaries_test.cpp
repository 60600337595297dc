// Temporaries of atomic saves: a crash leaves them, they never block a
// later save, and cleanup takes exactly the abandoned ones of one file.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "zds/platform/files.h"
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

class TemporariesTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(dir_ / "sub"); }
  void Put(const fs::path& name, const std::string& text = "") { test::WriteNative(dir_ / name, text); }
  Names Entries(const fs::path& directory) { return test::Entries(dir_ / directory); }

  test::TempRoot temp_;
  const fs::path dir_ = temp_.dir();
  DataRoot& root_ = *temp_.root();
};

TEST(TemporaryNameTest, NamesCarryTheFileAndSixteenRandomDigits) {
  EXPECT_EQ(TemporaryNameFor("a.xml", 0x0123456789abcdefULL), "a.xml.tmp-0123456789abcdef");
  const std::string long_name(250, 'n');
  const std::string temporary = TemporaryNameFor(long_name, 7);
  EXPECT_EQ(temporary.size(), 200u + 5 + 16);
  EXPECT_TRUE(IsTemporaryOf(temporary, long_name));
}

// A process that always has the same id (pid 1 in a container) and left
// temporaries behind in earlier runs must still save.
TEST_F(TemporariesTest, LeftoversOfTheSameProcessIdNeverBlockASave) {
  Put("a.xml", "old");
  const std::string stem = "a.xml.tmp" + std::to_string(ProcessId()) + "-";
  for (int n = 0; n < 512; ++n) Put(stem + std::to_string(n));
  for (int n = 0; n < 20; ++n) Put(TemporaryNameFor("a.xml", static_cast<uint64_t>(n)));
  ASSERT_TRUE(root_.WriteFileAtomic("\\a.xml", "new"));
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\A.xml"), 532u);
  EXPECT_EQ(Entries(""), (Names{"a.xml", "sub"}));
  std::string contents;
  ASSERT_EQ(root_.ReadWholeFile("\\a.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, "new");
}

TEST_F(TemporariesTest, CleanupTakesOnlyAbandonedTemporariesOfTheFile) {
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
  for (const std::string& name : abandoned) Put("sub" / fs::path(name), "x");
  for (const std::string& name : kept) {
    if (name.ends_with("aaaa") || name.ends_with("bbbb")) continue;
    Put("sub" / fs::path(name), "x");
  }
  fs::create_directory(dir_ / "sub" / "a.xml.tmp-bbbbbbbbbbbbbbbb");
  LiveWriter writer(dir_ / "sub" / "a.xml.tmp-aaaaaaaaaaaaaaaa");
  ASSERT_TRUE(writer.held());
  Put("a.xml.tmp-0123456789abcdef", "another directory's");
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\sub\\a.xml"), abandoned.size());
  Names expected = kept;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(Entries("sub"), expected);
  EXPECT_EQ(Entries(""), (Names{"a.xml.tmp-0123456789abcdef", "sub"}));
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\sub\\none.xml"), 0u);
  EXPECT_EQ(root_.RemoveLeftoverTemporaries("\\missing\\a.xml"), 0u);
}

// Saves racing cleanups (locks and handles act between threads as between
// processes): no save fails, and none leaves anything behind. A cleanup may
// take a temporary in the instant between its creation and its lock; the
// writer then sees it gone and takes another name.
TEST_F(TemporariesTest, SavesAndCleanupsInterleaveWithoutLoss) {
  std::atomic<bool> saving{true};
  std::thread cleaner([&] {
    while (saving) root_.RemoveLeftoverTemporaries("\\sub\\a.xml");
  });
  int failed = 0;
  for (int round = 0; round < 300; ++round) failed += root_.WriteFileAtomic("\\sub\\a.xml", std::to_string(round)) ? 0 : 1;
  saving = false;
  cleaner.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(Entries("sub"), Names{"a.xml"});
}

}  // namespace
}  // namespace zds::platform

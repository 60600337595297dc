// Writers' locks and file identities: a hold excludes every other hold on
// the same lock file, in this process too; a reader needs none; an atomic
// write always changes the identity.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "support/temp_root.h"
#include "zds/platform/files.h"

namespace zds::platform {
namespace {

TEST(LockTest, AHoldExcludesOthersOfThisProcessUntilReleasedAndKeepsItsCounter) {
  test::TempRoot temp;
  const DataRoot& root = *temp.root();
  EXPECT_EQ(root.ReadLockCounter("\\a.xml-lock"), 0u);  // none yet
  FileLock first = root.AcquireLock("\\a.xml-lock");
  ASSERT_TRUE(first.IsHeld());
  EXPECT_EQ(first.ReadCounter(), 0u);
  ASSERT_TRUE(first.WriteCounter(41));
  std::atomic<bool> taken{false};
  std::thread second([&] {
    FileLock lock = root.AcquireLock("\\a.xml-lock");
    taken = lock.IsHeld();
    EXPECT_EQ(lock.ReadCounter(), 42u);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(taken) << "two holds at once";
  EXPECT_EQ(root.ReadLockCounter("\\a.xml-lock"), 41u) << "a reader takes no lock";
  ASSERT_TRUE(first.WriteCounter(42));
  FileLock moved = std::move(first);
  EXPECT_FALSE(first.IsHeld());
  moved = FileLock();  // released
  second.join();
  EXPECT_TRUE(taken);
  // A path outside the root, or a directory, is never locked.
  temp.Write("dir/x", "");
  EXPECT_FALSE(root.AcquireLock("\\..\\a-lock").IsHeld());
  EXPECT_FALSE(root.AcquireLock("\\dir").IsHeld());
}

TEST(LockTest, CountersReadBackOnlyAsWritten) {
  for (uint64_t n : {uint64_t{0}, uint64_t{7}, UINT64_MAX}) EXPECT_EQ(ParseLockCounter(FormatLockCounter(n)), n);
  for (const char* bad : {"", "zds-lock 12", "zds-lock 0000000000000000000x\n", "zds-lock 99999999999999999999\n"}) {
    EXPECT_EQ(ParseLockCounter(bad), 0u) << bad;
  }
}

TEST(IdentityTest, EveryWriteMakesANewIdentityAndReadingKeepsIt) {
  test::TempRoot temp;
  const DataRoot& root = *temp.root();
  auto missing = root.IdentifyFile("\\sub\\f.xml");
  ASSERT_TRUE(missing);
  EXPECT_FALSE(missing->exists);
  EXPECT_FALSE(root.IdentifyFile("\\..\\f.xml"));
  ASSERT_TRUE(root.WriteFileAtomic("\\f.xml", "same"));
  auto first = root.IdentifyFile("\\f.xml");
  std::string text;
  FileIdentity read;
  ASSERT_EQ(root.ReadWholeFile("\\f.xml", text, &read), ReadStatus::kRead);
  EXPECT_EQ(read, *first);
  EXPECT_EQ(root.IdentifyFile("\\F.XML"), first);
  ASSERT_TRUE(root.WriteFileAtomic("\\f.xml", "same"));  // the same bytes, at once
  EXPECT_NE(root.IdentifyFile("\\f.xml"), first);
}

}  // namespace
}  // namespace zds::platform

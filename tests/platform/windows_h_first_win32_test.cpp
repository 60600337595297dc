// A Windows host includes <windows.h> before our headers, with its macros
// for min and max and for the ...A/...W names. Every public header must
// compile after it and keep its own names; this program only builds for
// Windows.

#include <windows.h>

#include "all_public_headers.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace zds {
namespace {

TEST(WindowsHeaderFirstTest, OurNamesAreNotRenamedByItsMacros) {
  test::TempDir temp{"zds-windows-h"};
  platform::DataRoot root(temp.path().string());
  ASSERT_TRUE(root.WriteFileAtomic("\\a.xml", "a"));
  EXPECT_TRUE(root.RenameFile("\\a.xml", "\\b.xml"));
  EXPECT_TRUE(root.RemoveFile("\\b.xml"));
  platform::MessageQueue queue;
  int delivered = 0;
  platform::WindowHandle window = queue.NewWindow([&](const platform::WindowMessage&) { ++delivered; });
  ASSERT_TRUE(platform::PostWindowMessage(window, WM_ZDS_CHANGED, 0, 0));
  queue.Pump();
  EXPECT_EQ(delivered, 1);
  EXPECT_GT(CTime::GetCurrentTime().GetTime(), 0);
}

}  // namespace
}  // namespace zds

// What only the Win32 side can show: real windows and their message loop,
// the move that replaces a file, and Windows' own reading of names.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <vector>

#include "zds/platform/files.h"
#include "zds/platform/window.h"
#include "zds/platform/win32/windows_api.h"
#include "support/temp_dir.h"

namespace zds::platform {
namespace {

namespace fs = std::filesystem;

// A host's own loop, not Pump, must deliver, with both parameters whole.
TEST(Win32WindowTest, PostedMessageArrivesThroughTheMessageLoop) {
  MessageQueue queue;
  std::vector<WindowMessage> seen;
  WindowHandle window = queue.NewWindow([&](const WindowMessage& m) { seen.push_back(m); });
  HWND native = reinterpret_cast<HWND>(window);
  ASSERT_TRUE(IsWindow(native));
  EXPECT_EQ(GetWindowThreadProcessId(native, nullptr), GetCurrentThreadId());
  EXPECT_FALSE(IsWindowVisible(native));
  const uintptr_t wparam = UINTPTR_MAX - 1;
  const intptr_t lparam = INTPTR_MIN + 7;
  ASSERT_TRUE(PostWindowMessage(window, WM_APP + 5, wparam, lparam));
  ASSERT_TRUE(PostMessageA(native, WM_APP + 6, 1, -1));
  EXPECT_TRUE(seen.empty());
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].window, window);
  EXPECT_EQ(seen[0].message, WM_APP + 5u);
  EXPECT_EQ(seen[0].wparam, wparam);
  EXPECT_EQ(seen[0].lparam, lparam);
  EXPECT_EQ(seen[1].lparam, -1);
  EXPECT_EQ(queue.PendingCount(), 0u);
  queue.DestroyWindow(window);
  EXPECT_FALSE(IsWindow(native));
  EXPECT_FALSE(PostWindowMessage(window, WM_APP, 0, 0));
}

TEST(Win32WindowTest, PumpLeavesTheQuitMessageForTheHost) {
  MessageQueue queue;
  int delivered = 0;
  WindowHandle window = queue.NewWindow([&](const WindowMessage&) { ++delivered; });
  PostWindowMessage(window, WM_APP, 0, 0);
  PostQuitMessage(3);
  EXPECT_EQ(queue.Pump(), 1u);
  MSG message;
  ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 3u);
}

class Win32FilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(temp_.path().empty());
    fs::create_directories(temp_.path() / "root/calendar/2005");
  }
  void Put(const char* name, const std::string& text) { std::ofstream(dir_ / name, std::ios::binary) << text; }
  // The file's identity: a replacing move gives the name a new file.
  static uint64_t FileIndex(const fs::path& path) {
    HANDLE file = CreateFileA(path.string().c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    BY_HANDLE_FILE_INFORMATION info{};
    bool got = file != INVALID_HANDLE_VALUE && GetFileInformationByHandle(file, &info);
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    return got ? (uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow : 0;
  }

  test::TempDir temp_{"zds-win32"};
  const fs::path dir_ = temp_.path() / "root";
  DataRoot root_{dir_.string()};
};

TEST_F(Win32FilesTest, AtomicSaveReplacesTheFileAndLeavesNoTemporary) {
  Put("calendar/2005/index.xml", "old and longer");
  const uint64_t old_file = FileIndex(dir_ / "calendar/2005/index.xml");
  ASSERT_TRUE(root_.WriteFileAtomic("\\calendar\\2005\\index.xml", "new"));
  std::string contents;
  ASSERT_EQ(root_.ReadWholeFile("\\calendar\\2005\\index.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, "new");
  EXPECT_NE(FileIndex(dir_ / "calendar/2005/index.xml"), old_file);
  EXPECT_EQ(test::Entries(dir_ / "calendar/2005"), std::vector<std::string>{"index.xml"});
}

TEST_F(Win32FilesTest, BackslashPathsInAnyCaseResolveNatively) {
  Put("calendar/2005/index.xml", "<i/>");
  EXPECT_EQ(root_.Resolve("\\Calendar\\2005\\INDEX.xml"), dir_.string() + "\\Calendar\\2005\\INDEX.xml");
  std::string contents;
  EXPECT_EQ(root_.ReadWholeFile("CALENDAR\\2005\\Index.Xml", contents), ReadStatus::kRead);
  EXPECT_EQ(contents, "<i/>");
  EXPECT_TRUE(root_.CreateDirectories("\\CALENDAR\\2005\\May"));
  EXPECT_EQ(test::Entries(dir_), std::vector<std::string>{"calendar"});
  EXPECT_TRUE(root_.RenameFile("\\Calendar\\2005\\Index.xml", "\\calendar\\2005\\MAY\\moved.xml"));
  EXPECT_TRUE(root_.FileExists("\\calendar\\2005\\may\\MOVED.XML"));
  EXPECT_TRUE(root_.RemoveFile("\\Calendar\\2005\\May\\Moved.xml"));
  EXPECT_EQ(test::Entries(dir_ / "calendar/2005"), std::vector<std::string>{"May"});
}

// Devices, wildcards and names Win32 trims would reach something other
// than the stored name; the shell's delete would take a whole directory.
TEST_F(Win32FilesTest, NamesWindowsReadsDifferentlyAreRefused) {
  Put("a.xml", "keep");
  for (const char* path : {"\\CON", "\\nul.xml", "\\Com1", "\\lpt9.txt", "\\*.xml", "\\a?xml", "\\a.xml.", "\\a.xml ",
                           "\\calendar.\\x", "\\a<b", "\\a|b"}) {
    EXPECT_FALSE(root_.Resolve(path)) << path;
    EXPECT_FALSE(root_.WriteFileAtomic(path, "lost")) << path;
    EXPECT_FALSE(root_.RemoveFile(path)) << path;
  }
  EXPECT_FALSE(root_.RemoveFile("\\calendar"));
  EXPECT_TRUE(root_.DirectoryExists("\\calendar\\2005"));
  EXPECT_EQ(test::Entries(dir_), (std::vector<std::string>{"a.xml", "calendar"}));
}

}  // namespace
}  // namespace zds::platform

// The relay between real windows: the information window is a Win32
// window, and the windows a host registers are its own, made with its own
// window class and served by its own message loop.

#include <gtest/gtest.h>

#include <vector>

#include "support/temp_root.h"
#include "zds/platform/win32/windows_api.h"
#include "zds/store/zds.h"

namespace zds {
namespace {

struct Received {
  HWND window;
  UINT message;
  WPARAM wparam;
  LPARAM lparam;
  bool operator==(const Received&) const = default;
};
std::vector<Received>* g_received = nullptr;  // the window procedure's one way out

LRESULT CALLBACK HostWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message >= WM_USER && g_received != nullptr) {
    g_received->push_back({window, message, wparam, lparam});
    return 0;
  }
  return DefWindowProcA(window, message, wparam, lparam);
}

HWND HostWindow() {
  static const ATOM kClass = [] {
    WNDCLASSA window_class{};
    window_class.lpfnWndProc = HostWindowProc;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "ZdsRelayTestHostWindow";
    return RegisterClassA(&window_class);
  }();
  if (kClass == 0) return nullptr;
  return CreateWindowExA(0, "ZdsRelayTestHostWindow", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                         GetModuleHandleA(nullptr), nullptr);
}

void RunHostLoop() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
}

TEST(RelayWin32Test, TheHostsOwnWindowsGetEveryNoticeInOrderWithItsParametersWhole) {
  std::vector<Received> received;
  g_received = &received;
  test::TempRoot temp;
  platform::MessageQueue queue;
  CZDS facade;
  facade.SetDataRoot(temp.root());
  facade.SetMessageQueue(&queue);
  ASSERT_TRUE(facade.InitZDS());
  RunHostLoop();
  received.clear();
  HWND a = HostWindow(), b = HostWindow();
  ASSERT_TRUE(a && b);
  facade.RegisterWnd(reinterpret_cast<platform::WindowHandle>(a));
  facade.RegisterWnd(reinterpret_cast<platform::WindowHandle>(b));
  facade.RegisterWnd(reinterpret_cast<platform::WindowHandle>(a));
  HWND info = reinterpret_cast<HWND>(facade.GetInfoWnd());
  ASSERT_TRUE(IsWindow(info));
  for (uint32_t message : kZDSMessages) ASSERT_TRUE(PostMessageA(info, message, WPARAM{message} << 40, -LPARAM{message}));
  RunHostLoop();
  std::vector<Received> expected;
  for (uint32_t message : kZDSMessages) {
    for (HWND window : {a, b, a}) expected.push_back({window, message, WPARAM{message} << 40, -LPARAM{message}});
  }
  EXPECT_EQ(received, expected);

  received.clear();
  facade.UnRegisterWnd(reinterpret_cast<platform::WindowHandle>(a));
  CATimerRec timer;
  const std::string pos = facade.SaveTimer("", timer);
  ASSERT_FALSE(pos.empty());
  RunHostLoop();
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].window, b);
  EXPECT_EQ(received[0].message, WM_ZDS_TIMER_CHANGED);
  EXPECT_EQ(facade.TakeNoticePos(received[0].message, received[0].wparam, received[0].lparam), pos);
  DestroyWindow(a);
  DestroyWindow(b);
  g_received = nullptr;
}

}  // namespace
}  // namespace zds

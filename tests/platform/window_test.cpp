#include "zds/platform/window.h"

#include <gtest/gtest.h>

#include <vector>

namespace zds::platform {
namespace {

// Hosts number their messages from WM_APP: Windows refuses to post some
// system messages, such as WM_CREATE (1).
constexpr uint32_t kApp = 0x8000;

TEST(MessageQueueTest, DeliversInPostingOrderIncludingPostsMadeWhilePumping) {
  MessageQueue queue;
  std::vector<uint32_t> seen;
  WindowHandle second = queue.NewWindow([&](const WindowMessage& m) { seen.push_back(m.message); });
  WindowHandle first = queue.NewWindow([&](const WindowMessage& m) {
    seen.push_back(m.message);
    if (m.message == kApp + 1) PostWindowMessage(second, kApp + 4, 0, 0);
  });
  for (auto [window, message] : {std::pair{first, 1u}, {second, 2u}, {first, 3u}}) {
    ASSERT_TRUE(PostWindowMessage(window, kApp + message, 0, 0));
  }
  EXPECT_EQ(queue.PendingCount(), 3u);
  EXPECT_EQ(queue.Pump(), 4u);
  EXPECT_EQ(seen, (std::vector<uint32_t>{kApp + 1, kApp + 2, kApp + 3, kApp + 4}));
}

// The first message destroys both windows: the one behind it for the other
// window is dropped, and the running procedure's captures must survive.
TEST(MessageQueueTest, DestroyedWindowsGetNothing) {
  MessageQueue queue;
  std::vector<uint32_t> seen;
  WindowHandle gone = queue.NewWindow([&](const WindowMessage& m) { seen.push_back(m.message); });
  WindowHandle self = nullptr;
  self = queue.NewWindow([&queue, &self, &gone, log = &seen](const WindowMessage& m) {
    queue.DestroyWindow(gone);
    queue.DestroyWindow(self);
    log->push_back(m.message);
  });
  PostWindowMessage(self, kApp + 1, 0, 0);
  PostWindowMessage(gone, kApp + 2, 0, 0);
  PostWindowMessage(self, kApp + 3, 0, 0);
  EXPECT_EQ(queue.Pump(), 1u);
  EXPECT_EQ(seen, std::vector<uint32_t>{kApp + 1});
  EXPECT_FALSE(PostWindowMessage(gone, kApp + 4, 0, 0));
  EXPECT_EQ(queue.PendingCount(), 0u);
}

}  // namespace
}  // namespace zds::platform

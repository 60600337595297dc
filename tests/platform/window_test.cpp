#include "platform/window.h"

#include <gtest/gtest.h>

#include <vector>

namespace zds::platform {
namespace {

TEST(MessageQueueTest, DeliversInPostingOrderIncludingPostsMadeWhilePumping) {
  MessageQueue queue;
  std::vector<uint32_t> seen;
  WindowHandle second = queue.CreateWindow([&](const WindowMessage& m) { seen.push_back(m.message); });
  WindowHandle first = queue.CreateWindow([&](const WindowMessage& m) {
    seen.push_back(m.message);
    if (m.message == 1) PostWindowMessage(second, 4, 0, 0);
  });
  for (auto [window, message] : {std::pair{first, 1u}, {second, 2u}, {first, 3u}}) {
    ASSERT_TRUE(PostWindowMessage(window, message, 0, 0));
  }
  EXPECT_EQ(queue.Pump(), 4u);
  EXPECT_EQ(seen, (std::vector<uint32_t>{1, 2, 3, 4}));
}

// The first message destroys both windows: the one behind it for the other
// window is dropped, and the running procedure's captures must survive.
TEST(MessageQueueTest, DestroyedWindowsGetNothing) {
  MessageQueue queue;
  std::vector<uint32_t> seen;
  WindowHandle gone = queue.CreateWindow([&](const WindowMessage& m) { seen.push_back(m.message); });
  WindowHandle self = nullptr;
  self = queue.CreateWindow([&queue, &self, &gone, log = &seen](const WindowMessage& m) {
    queue.DestroyWindow(gone);
    queue.DestroyWindow(self);
    log->push_back(m.message);
  });
  PostWindowMessage(self, 1, 0, 0);
  PostWindowMessage(gone, 2, 0, 0);
  PostWindowMessage(self, 3, 0, 0);
  EXPECT_EQ(queue.Pump(), 1u);
  EXPECT_EQ(seen, std::vector<uint32_t>{1});
  EXPECT_FALSE(PostWindowMessage(gone, 4, 0, 0));
  EXPECT_EQ(queue.PendingCount(), 0u);
}

}  // namespace
}  // namespace zds::platform

// POSIX side of the window seam: windows are objects owned by the host's
// MessageQueue, and posting appends to that queue.
#include <algorithm>
#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "zds/platform/window.h"

namespace zds::platform {

// A handle carries its queue, so posting needs no registry of queues. The
// procedure sits behind a shared_ptr so that a window destroying itself from
// inside its procedure does not destroy the code that is running.
struct WindowObject {
  std::deque<WindowMessage>* pending = nullptr;
  std::shared_ptr<const WindowProcedure> procedure;
  bool destroyed = false;
};

struct MessageQueue::State {
  std::deque<WindowMessage> pending;
  // Destroyed windows stay until the queue goes, so stale handles fail to
  // post instead of dangling.
  std::vector<std::unique_ptr<WindowObject>> windows;
};

MessageQueue::MessageQueue() : state_(std::make_unique<State>()) {}

MessageQueue::~MessageQueue() = default;

WindowHandle MessageQueue::NewWindow(WindowProcedure procedure) {
  auto window = std::make_unique<WindowObject>();
  window->pending = &state_->pending;
  window->procedure = std::make_shared<const WindowProcedure>(std::move(procedure));
  state_->windows.push_back(std::move(window));
  return state_->windows.back().get();
}

// Messages already queued for the window go with it, so PendingCount only
// counts what will be delivered.
void MessageQueue::DestroyWindow(WindowHandle window) {
  if (window == nullptr || window->pending != &state_->pending || window->destroyed) return;
  window->destroyed = true;
  window->procedure.reset();
  std::erase_if(state_->pending, [window](const WindowMessage& message) { return message.window == window; });
}

size_t MessageQueue::Pump() {
  size_t delivered = 0;
  while (!state_->pending.empty()) {
    WindowMessage message = state_->pending.front();
    state_->pending.pop_front();
    std::shared_ptr<const WindowProcedure> procedure = message.window->procedure;
    if (message.window->destroyed || !procedure || !*procedure) continue;
    (*procedure)(message);
    ++delivered;
  }
  return delivered;
}

size_t MessageQueue::PendingCount() const { return state_->pending.size(); }

bool PostWindowMessage(WindowHandle window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
  if (window == nullptr || window->destroyed) return false;
  window->pending->push_back(WindowMessage{window, message, wparam, lparam});
  return true;
}

}  // namespace zds::platform

// Window handles and posted messages: how the store tells the host's windows
// that something changed.
//
// Messages are always posted, never sent, so no window is re-entered while
// the store is being changed. On Windows a handle is a real HWND and posting
// is PostMessageA; a MessageQueue's windows are hidden message-only windows
// of the thread that creates them, which the host's own message loop or
// Pump serves. Elsewhere windows live in an in-process MessageQueue that
// the host pumps from its main loop. Message numbers start at WM_APP
// (0x8000), since Windows refuses to post some system messages.

#ifndef ZDS_PLATFORM_WINDOW_H_
#define ZDS_PLATFORM_WINDOW_H_

#include <cstdint>
#include <functional>
#include <memory>

namespace zds::platform {

struct WindowObject;                   // opaque; an HWND on Windows
using WindowHandle = WindowObject*;

struct WindowMessage {
  WindowHandle window = nullptr;
  uint32_t message = 0;
  uintptr_t wparam = 0;
  intptr_t lparam = 0;
};

// Queues a message for the window; false when the window is null or gone.
bool PostWindowMessage(WindowHandle window, uint32_t message, uintptr_t wparam, intptr_t lparam);

using WindowProcedure = std::function<void(const WindowMessage&)>;

// The in-process windows of one host. Handles stay safe to post to after
// DestroyWindow (the post fails) for as long as the queue lives.
class MessageQueue {
 public:
  MessageQueue();
  ~MessageQueue();
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  WindowHandle NewWindow(WindowProcedure procedure);
  void DestroyWindow(WindowHandle window);
  // Delivers every message queued so far, in posting order, including those
  // posted while pumping; returns how many were delivered.
  size_t Pump();
  size_t PendingCount() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_WINDOW_H_

// Win32 side of the window seam: each window of a MessageQueue is a real,
// hidden, message-only window whose window procedure hands what it receives
// to the WindowProcedure, so a host's own message loop delivers to it as
// well as Pump does. Windows belong to the thread that creates them; that
// thread pumps.
#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "zds/platform/window.h"
#include "zds/platform/win32/windows_api.h"

namespace zds::platform {

namespace {

// The one name the process registers; every queue shares the class.
constexpr char kClassName[] = "zds.MessageWindow";

// What the window procedure reports back to the queue that pumps.
struct Deliveries {
  size_t count = 0;
  std::exception_ptr failure;
};

// A window's user data. Records live as long as their queue, so neither a
// window being destroyed nor a stale handle reaches freed memory. The
// procedure sits behind a shared_ptr so that a window destroying itself
// from inside its procedure does not destroy the code that is running.
struct WindowRecord {
  HWND window = nullptr;
  std::shared_ptr<const WindowProcedure> procedure;
  std::atomic<size_t> pending{0};  // posted through PostWindowMessage, not yet delivered
  Deliveries* deliveries = nullptr;
  bool destroyed = false;
};

void CountDelivered(std::atomic<size_t>& pending) {
  size_t seen = pending.load();
  while (seen > 0 && !pending.compare_exchange_weak(seen, seen - 1)) {
  }
}

// The user data is set only once creation is over and cleared before
// destruction begins, so the messages Windows sends then stay its own.
// An exception must not unwind through DispatchMessage; Pump rethrows it.
LRESULT CALLBACK ForwardingProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  auto* record = reinterpret_cast<WindowRecord*>(GetWindowLongPtrA(window, GWLP_USERDATA));
  if (record == nullptr) return DefWindowProcA(window, message, wparam, lparam);
  std::shared_ptr<const WindowProcedure> procedure = record->procedure;
  CountDelivered(record->pending);
  ++record->deliveries->count;
  if (procedure && *procedure) {
    try {
      (*procedure)(WindowMessage{reinterpret_cast<WindowHandle>(window), message, wparam, lparam});
    } catch (...) {
      record->deliveries->failure = std::current_exception();
    }
  }
  return 0;
}

// The module holding the window procedure, which need not be the program.
HINSTANCE ProcedureModule() {
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCSTR>(&ForwardingProcedure), &module);
  return module;
}

// The record of one of this process's queue windows; null for any other.
WindowRecord* RecordOf(HWND window) {
  DWORD process = 0;
  if (GetWindowThreadProcessId(window, &process) == 0 || process != GetCurrentProcessId()) return nullptr;
  char name[sizeof kClassName + 1];
  int length = GetClassNameA(window, name, sizeof name);
  if (length != static_cast<int>(sizeof kClassName - 1) || std::string_view(name, length) != kClassName) return nullptr;
  return reinterpret_cast<WindowRecord*>(GetWindowLongPtrA(window, GWLP_USERDATA));
}

}  // namespace

struct MessageQueue::State {
  Deliveries deliveries;
  std::vector<std::unique_ptr<WindowRecord>> windows;
};

// A second queue finds the class already registered, which is as good.
MessageQueue::MessageQueue() : state_(std::make_unique<State>()) {
  WNDCLASSEXA window_class{};
  window_class.cbSize = sizeof window_class;
  window_class.lpfnWndProc = ForwardingProcedure;
  window_class.hInstance = ProcedureModule();
  window_class.lpszClassName = kClassName;
  RegisterClassExA(&window_class);
}

MessageQueue::~MessageQueue() {
  for (const auto& record : state_->windows) DestroyWindow(reinterpret_cast<WindowHandle>(record->window));
}

WindowHandle MessageQueue::NewWindow(WindowProcedure procedure) {
  auto record = std::make_unique<WindowRecord>();
  record->procedure = std::make_shared<const WindowProcedure>(std::move(procedure));
  record->deliveries = &state_->deliveries;
  state_->windows.reserve(state_->windows.size() + 1);
  HWND window = CreateWindowExA(0, kClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, ProcedureModule(), nullptr);
  if (window == nullptr) return nullptr;
  record->window = window;
  SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(record.get()));
  state_->windows.push_back(std::move(record));
  return reinterpret_cast<WindowHandle>(window);
}

// Messages still queued for the window are not delivered: Windows drops
// them, or DispatchMessage finds the window gone.
void MessageQueue::DestroyWindow(WindowHandle window) {
  auto found = std::find_if(state_->windows.begin(), state_->windows.end(), [window](const auto& record) {
    return !record->destroyed && reinterpret_cast<WindowHandle>(record->window) == window;
  });
  if (found == state_->windows.end()) return;
  WindowRecord& record = **found;
  record.destroyed = true;
  SetWindowLongPtrA(record.window, GWLP_USERDATA, 0);
  record.procedure.reset();
  record.pending = 0;
  ::DestroyWindow(record.window);
}

// WM_QUIT belongs to the host's loop: it goes back on the queue and ends
// the pumping.
size_t MessageQueue::Pump() {
  const size_t before = state_->deliveries.count;
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      break;
    }
    TranslateMessage(&message);
    DispatchMessageA(&message);
    if (state_->deliveries.failure) std::rethrow_exception(std::exchange(state_->deliveries.failure, nullptr));
  }
  return state_->deliveries.count - before;
}

size_t MessageQueue::PendingCount() const {
  size_t pending = 0;
  for (const auto& record : state_->windows) {
    if (!record->destroyed) pending += record->pending;
  }
  return pending;
}

// Counted before posting, so that a delivery on another thread never finds
// the count still at zero.
bool PostWindowMessage(WindowHandle window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
  if (window == nullptr) return false;
  HWND native = reinterpret_cast<HWND>(window);
  WindowRecord* record = RecordOf(native);
  if (record != nullptr) ++record->pending;
  if (PostMessageA(native, message, wparam, lparam)) return true;
  if (record != nullptr) CountDelivered(record->pending);
  return false;
}

}  // namespace zds::platform

#include "support/failing_writes.h"

#ifdef _WIN32
#include "platform/win32/windows_api.h"
#else
#include <sys/resource.h>

#include <csignal>
#endif

namespace zds::test {

#ifdef _WIN32

// Without FILE_SHARE_DELETE nothing may rename over the file.
struct FailingWrites::State {
  HANDLE file = INVALID_HANDLE_VALUE;
};

FailingWrites::FailingWrites(const std::filesystem::path& file) : state_(std::make_unique<State>()) {
  state_->file = CreateFileA(file.string().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

FailingWrites::~FailingWrites() {
  if (active()) CloseHandle(state_->file);
}

bool FailingWrites::active() const { return state_->file != INVALID_HANDLE_VALUE; }

#else

// SIGXFSZ would end the process; ignored, the write fails with EFBIG.
struct FailingWrites::State {
  rlimit saved{};
  void (*old_handler)(int) = SIG_DFL;
  bool active = false;
};

FailingWrites::FailingWrites(const std::filesystem::path&) : state_(std::make_unique<State>()) {
  if (getrlimit(RLIMIT_FSIZE, &state_->saved) != 0) return;
  rlimit small = state_->saved;
  small.rlim_cur = 16;
  state_->old_handler = std::signal(SIGXFSZ, SIG_IGN);
  state_->active = setrlimit(RLIMIT_FSIZE, &small) == 0;
  if (!state_->active) std::signal(SIGXFSZ, state_->old_handler);
}

FailingWrites::~FailingWrites() {
  if (!active()) return;
  setrlimit(RLIMIT_FSIZE, &state_->saved);
  std::signal(SIGXFSZ, state_->old_handler);
}

bool FailingWrites::active() const { return state_->active; }

#endif

}  // namespace zds::test

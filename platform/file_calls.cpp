#include "zds/platform/file_calls.h"

#include <utility>

namespace zds::platform {

namespace {

// Per thread, so that a test observing its own calls never sees another
// thread's, and production code pays one load of a null pointer per call.
thread_local const FileCallObserver* current_observer = nullptr;
thread_local bool kernel_walk_allowed = true;

}  // namespace

ScopedFileCallObserver::ScopedFileCallObserver(FileCallObserver observer, bool kernel_walk)
    : observer_(std::move(observer)),
      previous_(std::exchange(current_observer, &observer_)),
      previous_kernel_walk_(std::exchange(kernel_walk_allowed, kernel_walk)) {}

ScopedFileCallObserver::~ScopedFileCallObserver() {
  current_observer = previous_;
  kernel_walk_allowed = previous_kernel_walk_;
}

namespace file_calls {

void Report(std::string_view call, intptr_t directory, std::string_view name) {
  if (current_observer != nullptr) (*current_observer)(FileCall{call, directory, name});
}

bool KernelWalkAllowed() { return kernel_walk_allowed; }

}  // namespace file_calls

}  // namespace zds::platform

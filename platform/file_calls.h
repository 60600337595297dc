// For tests: every name DataRoot hands the operating system, reported
// before the call to an observer the calling thread installed. A test
// checks that none lies outside the data root, or acts between two calls
// (puts a link where a directory was) to show that what was checked is
// what gets used. Not installed: no host has a use for it.

#ifndef ZDS_PLATFORM_FILE_CALLS_H_
#define ZDS_PLATFORM_FILE_CALLS_H_

#include <cstdint>
#include <functional>
#include <string_view>

namespace zds::platform {

// `name` is relative to the open directory `directory` (a descriptor on
// POSIX, a HANDLE on Windows), or a path of its own with kPlainPath.
struct FileCall {
  std::string_view call;  // "openat", "renameat", "NtCreateFile" ...
  intptr_t directory;
  std::string_view name;
};
inline constexpr intptr_t kPlainPath = INTPTR_MIN;

using FileCallObserver = std::function<void(const FileCall&)>;

// While it lives, the calling thread's file calls go to `observer` first.
// With `kernel_walk` false, paths are walked one component at a time even
// where the kernel could resolve them beneath the root in one call, so that
// tests reach both ways.
class ScopedFileCallObserver {
 public:
  explicit ScopedFileCallObserver(FileCallObserver observer, bool kernel_walk = true);
  ~ScopedFileCallObserver();
  ScopedFileCallObserver(const ScopedFileCallObserver&) = delete;
  ScopedFileCallObserver& operator=(const ScopedFileCallObserver&) = delete;

 private:
  FileCallObserver observer_;
  const FileCallObserver* previous_;
  bool previous_kernel_walk_;
};

namespace file_calls {
// What the platform's file code calls: a thread-local load when no one observes.
void Report(std::string_view call, intptr_t directory, std::string_view name);
bool KernelWalkAllowed();
}  // namespace file_calls

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_FILE_CALLS_H_

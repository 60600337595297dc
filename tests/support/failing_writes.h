// Making the store's atomic write of one file fail after it has begun, the
// way a full disk or a busy file would, on each platform.

#ifndef ZDS_TESTS_SUPPORT_FAILING_WRITES_H_
#define ZDS_TESTS_SUPPORT_FAILING_WRITES_H_

#include <filesystem>

#ifdef _WIN32
#include <fstream>
#else
#include <sys/resource.h>

#include <csignal>
#endif

namespace zds::test {

// While the object lives, a write that replaces the file fails. On POSIX
// a file-size limit stops any write beyond 16 bytes halfway (which works
// even for root, who ignores read-only directories; SIGXFSZ is ignored so
// the write fails with EFBIG). On Windows the file is held open without
// delete sharing, so the finished temporary cannot be moved over it.
class FailingWrites {
 public:
#ifdef _WIN32
  explicit FailingWrites(const std::filesystem::path& file) : held_(file, std::ios::binary) {}
  bool active() const { return held_.is_open(); }

 private:
  std::ifstream held_;
#else
  explicit FailingWrites(const std::filesystem::path&) {
    if (getrlimit(RLIMIT_FSIZE, &saved_) != 0) return;
    rlimit small = saved_;
    small.rlim_cur = 16;
    old_handler_ = std::signal(SIGXFSZ, SIG_IGN);
    active_ = setrlimit(RLIMIT_FSIZE, &small) == 0;
    if (!active_) std::signal(SIGXFSZ, old_handler_);
  }
  ~FailingWrites() {
    if (!active_) return;
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, old_handler_);
  }
  bool active() const { return active_; }

 private:
  rlimit saved_{};
  void (*old_handler_)(int) = SIG_DFL;
  bool active_ = false;
#endif

 public:
  FailingWrites(const FailingWrites&) = delete;
  FailingWrites& operator=(const FailingWrites&) = delete;
};

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_FAILING_WRITES_H_

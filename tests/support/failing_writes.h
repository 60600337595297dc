// Making the store's atomic write of one file fail after it has begun, the
// way a full disk or a busy file would, on each platform.

#ifndef ZDS_TESTS_SUPPORT_FAILING_WRITES_H_
#define ZDS_TESTS_SUPPORT_FAILING_WRITES_H_

#include <filesystem>
#include <memory>

namespace zds::test {

// While the object lives, a write that replaces the existing file fails:
// on POSIX a file-size limit stops it halfway (which works even for root,
// who ignores read-only directories), on Windows the file is held open,
// so the finished temporary cannot replace it.
class FailingWrites {
 public:
  explicit FailingWrites(const std::filesystem::path& file);
  ~FailingWrites();
  FailingWrites(const FailingWrites&) = delete;
  FailingWrites& operator=(const FailingWrites&) = delete;

  bool active() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_FAILING_WRITES_H_

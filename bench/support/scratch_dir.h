// A fresh directory for a benchmark's files, under $ZDS_BENCH_DIR or the
// system's temporary directory, removed with everything in it at the end.

#ifndef ZDS_BENCH_SUPPORT_SCRATCH_DIR_H_
#define ZDS_BENCH_SUPPORT_SCRATCH_DIR_H_

#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace zds::bench {

class ScratchDir {
 public:
  // `name` shows in the directory's name; empty path() when none could be made.
  explicit ScratchDir(std::string_view name) {
    const char* base = std::getenv("ZDS_BENCH_DIR");
    std::filesystem::path parent = base && *base ? std::filesystem::path(base) : std::filesystem::temp_directory_path();
    std::string pattern = (parent / (std::string(name) + "-XXXXXX")).string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) != nullptr) path_ = buffer.data();
  }
  ~ScratchDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The one scratch directory of a benchmark program: made on first use,
// removed when the program ends. Every call of a program passes its name.
inline const std::string& ProgramScratch(std::string_view name) {
  static const ScratchDir dir(name);
  return dir.path();
}

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace zds::bench

#endif  // ZDS_BENCH_SUPPORT_SCRATCH_DIR_H_

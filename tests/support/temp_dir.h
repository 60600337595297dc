// A throw-away directory on std::filesystem, for every platform the tests
// run on.

#ifndef ZDS_TESTS_SUPPORT_TEMP_DIR_H_
#define ZDS_TESTS_SUPPORT_TEMP_DIR_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace zds::test {

namespace fs = std::filesystem;

// A fresh, empty directory under the system's temporary directory, removed
// with everything in it when the object goes. create_directory reports a
// name that is already taken, so two processes never share one.
class TempDir {
 public:
  explicit TempDir(std::string_view prefix = "zds-test") {
    std::random_device random;
    std::error_code error;
    const fs::path base = fs::temp_directory_path(error);
    for (int attempt = 0; attempt < 100 && path_.empty() && !error; ++attempt) {
      fs::path candidate = base / (std::string(prefix) + "-" + std::to_string(random()));
      if (fs::create_directory(candidate, error)) path_ = candidate;
    }
    if (path_.empty()) ADD_FAILURE() << "cannot make a temporary directory: " << error.message();
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// The names in the directory, sorted.
inline std::vector<std::string> Entries(const fs::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// True when the file system holding the directory treats names differing
// only in letter case as one name, as Windows does.
inline bool IgnoresLetterCase(const fs::path& directory) {
  const fs::path probe = directory / "zds-case-probe";
  std::error_code error;
  fs::create_directory(probe, error);
  const bool ignores = fs::exists(directory / "ZDS-CASE-PROBE", error);
  fs::remove(probe, error);
  return ignores;
}

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_TEMP_DIR_H_

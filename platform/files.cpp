// The stored-path rules every operating system shares: which paths stay
// inside the data root, and how paths are split and joined.
#include "zds/platform/files.h"

#include <utility>

namespace zds::platform {

namespace {

constexpr char kSeparator = '\\';

// ":" would name a drive or an alternate stream on Windows, "/" a second
// separator there and an escape here; NUL would cut the native path short.
bool IsSafeComponent(std::string_view component) {
  if (component.empty() || component == "..") return false;
  return component.find_first_of(std::string_view(":/\0", 3)) == std::string_view::npos;
}

}  // namespace

DataRoot::DataRoot(std::string native_root) : native_root_(std::move(native_root)) {}

std::optional<std::vector<std::string_view>> SplitStoredPath(std::string_view stored_path) {
  if (!stored_path.empty() && stored_path.front() == kSeparator) stored_path.remove_prefix(1);
  std::vector<std::string_view> components;
  if (stored_path.empty()) return components;
  while (true) {
    size_t end = stored_path.find(kSeparator);
    std::string_view component = stored_path.substr(0, end);
    if (!IsSafeComponent(component)) return std::nullopt;
    components.push_back(component);
    if (end == std::string_view::npos) return components;
    stored_path.remove_prefix(end + 1);
  }
}

bool IsSafeStoredPath(std::string_view stored_path) { return SplitStoredPath(stored_path).has_value(); }

std::string JoinStoredPath(std::string_view base, std::string_view tail) {
  if (tail.empty()) return std::string(base);
  if (!base.empty() && base.back() == kSeparator) base.remove_suffix(1);
  if (tail.front() == kSeparator) tail.remove_prefix(1);
  std::string joined(base);
  joined += kSeparator;
  joined += tail;
  return joined;
}

std::string_view StoredDirectoryOf(std::string_view stored_path) {
  size_t last = stored_path.rfind(kSeparator);
  return last == std::string_view::npos ? std::string_view() : stored_path.substr(0, last);
}

}  // namespace zds::platform

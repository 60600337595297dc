// Links on disk for the confinement tests, and a log of every name the
// data root hands the operating system, each joined to the directory its
// handle stands for, to check that none lies outside the root.

#ifndef ZDS_TESTS_SUPPORT_LINKS_H_
#define ZDS_TESTS_SUPPORT_LINKS_H_

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "zds/platform/file_calls.h"

#ifdef _WIN32
#include "zds/platform/win32/windows_api.h"

#include <winioctl.h>  // after <windows.h>, which it needs
#endif

namespace zds::test {

namespace fs = std::filesystem;

enum class LinkKind { kFile, kDirectory, kJunction };

#ifdef _WIN32
// A junction is a directory whose reparse data names an absolute target.
inline std::string MakeJunction(const fs::path& target, const fs::path& link) {
  if (!CreateDirectoryA(link.string().c_str(), nullptr)) return "error " + std::to_string(GetLastError());
  const std::wstring name = L"\\??\\" + target.wstring();
  const WORD bytes = static_cast<WORD>(name.size() * sizeof(wchar_t));
  std::vector<char> data(8 + 8 + bytes + 2 * sizeof(wchar_t));
  auto put16 = [&](size_t at, WORD value) { std::memcpy(data.data() + at, &value, 2); };
  const DWORD tag = IO_REPARSE_TAG_MOUNT_POINT;
  std::memcpy(data.data(), &tag, 4);
  put16(4, static_cast<WORD>(data.size() - 8));
  put16(8, 0);  // substitute name: offset, length
  put16(10, bytes);
  put16(12, static_cast<WORD>(bytes + sizeof(wchar_t)));  // print name: empty, after it
  put16(14, 0);
  std::memcpy(data.data() + 16, name.data(), bytes);
  HANDLE directory = CreateFileA(link.string().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  DWORD returned = 0;
  bool made = directory != INVALID_HANDLE_VALUE &&
              DeviceIoControl(directory, FSCTL_SET_REPARSE_POINT, data.data(), static_cast<DWORD>(data.size()), nullptr,
                              0, &returned, nullptr);
  DWORD error = GetLastError();
  if (directory != INVALID_HANDLE_VALUE) CloseHandle(directory);
  return made ? std::string() : "error " + std::to_string(error);
}
#endif

// Empty when made, else why not. The C++ library of mingw-w64 makes no
// links, so Windows asks the system; Wine's CreateSymbolicLinkA reports
// success and makes nothing, so the caller also looks.
inline std::string MakeLink(const fs::path& target, const fs::path& link, LinkKind kind) {
  const bool directory = kind != LinkKind::kFile;
#ifdef _WIN32
  if (kind == LinkKind::kJunction) return MakeJunction(target, link);
  DWORD flags = (directory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0) | 0x2;  // 0x2: no elevation needed (developer mode)
  if (!CreateSymbolicLinkA(link.string().c_str(), target.string().c_str(), flags)) {
    return "error " + std::to_string(GetLastError());
  }
#else
  std::error_code error;
  if (directory) fs::create_directory_symlink(target, link, error);
  else fs::create_symlink(target, link, error);
  if (error) return error.message();
#endif
  std::error_code error_looking;
  return fs::is_symlink(link, error_looking) || fs::exists(link, error_looking) ? std::string()
                                                                               : "the system reported it made, but none is there";
}

// True when `path` is `directory` or lies below it, by name alone.
inline bool Within(const fs::path& path, const fs::path& directory) {
  const fs::path relative = path.lexically_normal().lexically_relative(directory.lexically_normal());
  return !relative.empty() && *relative.begin() != "..";
}

// Every file call of this thread while it lives, each as "call path". The
// handle is named when the call is made: by the time anyone looks it is
// closed. `before` runs first, for tests that change the disk between
// two calls.
class FileCallLog {
 public:
  using Before = std::function<void(const platform::FileCall&, const fs::path&)>;
  explicit FileCallLog(bool kernel_walk = true, Before before = {})
      : before_(std::move(before)),
        scope_([this](const platform::FileCall& call) { Record(call); }, kernel_walk) {}

  // Where the handles can be named at all (Linux's /proc, Windows).
  static bool CanNameHandles() {
#ifdef _WIN32
    return true;
#else
    std::error_code error;
    return fs::exists("/proc/self/fd", error);
#endif
  }

  // The calls that named something outside any of the roots (a spelling of
  // the root each), one per line; empty when every one stayed inside.
  std::string Outside(const std::vector<fs::path>& roots) const {
    std::string outside;
    for (const auto& [call, path] : calls_) {
      bool inside = false;
      for (const fs::path& root : roots) inside = inside || Within(path, root);
      if (!inside) outside += call + " " + path.string() + "\n";
    }
    return outside;
  }
  size_t size() const { return calls_.size(); }

 private:
  static fs::path NameOf(intptr_t handle) {
#ifdef _WIN32
    char buffer[4 * MAX_PATH];
    DWORD length = GetFinalPathNameByHandleA(reinterpret_cast<HANDLE>(handle), buffer, sizeof buffer,
                                             FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    std::string name(buffer, length < sizeof buffer ? length : 0);
    if (name.starts_with("\\\\?\\")) name.erase(0, 4);
    return name.empty() ? fs::path("<unnamed handle>") : fs::path(name);
#else
    std::error_code error;
    fs::path name = fs::read_symlink("/proc/self/fd/" + std::to_string(handle), error);
    return error ? fs::path("<unnamed handle>") : name;
#endif
  }

  void Record(const platform::FileCall& call) {
    fs::path path = call.directory == platform::kPlainPath ? fs::path(call.name)
                                                           : NameOf(call.directory) / fs::path(call.name);
    if (before_) before_(call, path);
    calls_.emplace_back(std::string(call.call), std::move(path));
  }

  Before before_;
  std::vector<std::pair<std::string, fs::path>> calls_;
  platform::ScopedFileCallObserver scope_;
};

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_LINKS_H_

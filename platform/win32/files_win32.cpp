// Win32 side of DataRoot. Stored "\" paths are native here and the file
// system already matches names without regard to case, so resolving is a
// join; what Win32 adds is a second look at each name, since it reads some
// names as devices or rewrites them before they reach the disk.
#define _CRT_RAND_S  // rand_s, the C runtime's door to the system's random source
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zds/platform/ascii.h"
#include "zds/platform/files.h"
#include "zds/platform/win32/windows_api.h"

#include <shellapi.h>  // after <windows.h>, which it needs

namespace zds::platform {

namespace {

// Closes on every return path; Close() reports what CloseHandle said.
class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() { Close(); }
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&&) = delete;

  HANDLE get() const { return handle_; }
  bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Close() {
    if (!valid()) return true;
    BOOL closed = CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
    return closed != 0;
  }

 private:
  HANDLE handle_;
};

// CON, NUL, COM1 ... open devices whatever extension follows; COM and LPT
// also take the superscript digits of the ANSI code page.
bool IsDeviceName(std::string_view component) {
  std::string_view base = component.substr(0, component.find('.'));
  while (!base.empty() && base.back() == ' ') base.remove_suffix(1);
  for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
    if (SameIgnoringAsciiCase(base, device)) return true;
  }
  if (base.size() != 4 || !(SameIgnoringAsciiCase(base.substr(0, 3), "COM") || SameIgnoringAsciiCase(base.substr(0, 3), "LPT"))) {
    return false;
  }
  unsigned char digit = static_cast<unsigned char>(base[3]);
  return (digit >= '0' && digit <= '9') || digit == 0xB9 || digit == 0xB2 || digit == 0xB3;
}

// Beyond the rules every OS shares: wildcards would let the shell's delete
// match other files, and Win32 strips trailing dots and blanks, so such a
// name would reach a different file than the one stored.
bool IsPlainWin32Name(std::string_view component) {
  for (char c : component) {
    if (static_cast<unsigned char>(c) < 0x20 || std::string_view("<>\"|?*").find(c) != std::string_view::npos) {
      return false;
    }
  }
  return component.back() != '.' && component.back() != ' ' && !IsDeviceName(component);
}

std::string JoinNative(const std::string& directory, std::string_view name) {
  std::string path = directory;
  if (path.empty() || (path.back() != '\\' && path.back() != '/')) path += '\\';
  path += name;
  return path;
}

bool IsDirectory(const std::string& path) {
  DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsFile(const std::string& path) {
  DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

// The path as the system names the file it reaches, every reparse point
// (symbolic link, junction, mount point) followed; nullopt when it cannot
// be opened. Attributes-only access is not held back by any sharing mode.
std::optional<std::string> FinalPath(const std::string& path) {
  Handle file(CreateFileA(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                          nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file.valid()) return std::nullopt;
  char buffer[4 * MAX_PATH];
  DWORD length = GetFinalPathNameByHandleA(file.get(), buffer, sizeof buffer, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
  if (length == 0 || length >= sizeof buffer) return std::nullopt;
  return std::string(buffer, length);
}

// Whether the deepest existing part of a path, reparse points followed,
// lies in the root's own final path. As on POSIX the check and the use are
// two steps, and whoever can write inside the root could put a junction in
// place of a checked directory in between; the check keeps a link left in
// the root from steering our writes and deletes out.
// A plain file is judged by its directory: opening the file itself, even
// for its attributes alone, would make a save that moves a new file over it
// at that moment fail.
bool StaysInsideRoot(const std::string& root, const std::vector<std::string_view>& components) {
  auto root_final = FinalPath(root);
  if (!root_final) return GetFileAttributesA(root.c_str()) == INVALID_FILE_ATTRIBUTES;  // nothing below exists
  std::string existing = root;
  std::string directory = root;
  DWORD attributes = FILE_ATTRIBUTE_DIRECTORY;
  for (std::string_view component : components) {
    std::string next = JoinNative(existing, component);
    DWORD next_attributes = GetFileAttributesA(next.c_str());
    if (next_attributes == INVALID_FILE_ATTRIBUTES) break;
    directory = std::exchange(existing, std::move(next));
    attributes = next_attributes;
  }
  if ((attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0) existing = directory;
  auto final_path = FinalPath(existing);
  if (!final_path) return false;  // a link that leads nowhere: no telling where
  const size_t size = root_final->size();
  return final_path->size() >= size && SameIgnoringAsciiCase(std::string_view(*final_path).substr(0, size), *root_final) &&
         (final_path->size() == size || root_final->back() == '\\' || (*final_path)[size] == '\\');
}

// Write, delete and move act on an entry inside the root, never on the root:
// a temporary beside the root would already lie outside it.
std::optional<std::string> ResolveEntry(const DataRoot& root, std::string_view stored_path) {
  auto components = SplitStoredPath(stored_path);
  if (!components || components->empty()) return std::nullopt;
  return root.Resolve(stored_path);
}

// WriteFile takes a 32-bit count; a large document goes in slices.
bool WriteAll(HANDLE file, std::string_view contents) {
  while (!contents.empty()) {
    DWORD slice = static_cast<DWORD>(std::min<size_t>(contents.size(), DWORD{1} << 30));
    DWORD written = 0;
    if (!WriteFile(file, contents.data(), slice, &written, nullptr) || written == 0) return false;
    contents.remove_prefix(written);
  }
  return true;
}

bool ReadAll(HANDLE file, std::string& contents) {
  char buffer[65536];
  while (true) {
    DWORD got = 0;
    if (!ReadFile(file, buffer, sizeof buffer, &got, nullptr)) return false;
    if (got == 0) return true;
    contents.append(buffer, got);
  }
}

// 64 bits from the system's random source; should it fail, a counter
// still keeps the names of this process apart and CREATE_NEW those of others.
uint64_t RandomBits() {
  static std::atomic<uint64_t> counter{0};
  unsigned int high = 0, low = 0;
  uint64_t bits = rand_s(&high) == 0 && rand_s(&low) == 0 ? (uint64_t{high} << 32) | low : GetCurrentProcessId();
  return bits ^ (counter++ * 0x9E3779B97F4A7C15ULL);
}

// A new file beside the target. The handle is held until the file has been
// moved over the target, and it shares nothing but delete (which the move
// needs), so a cleanup, which opens candidates with no sharing at all,
// cannot get hold of a temporary while its writer lives.
Handle CreateTemporary(const std::string& target, std::string& temporary) {
  size_t cut = target.find_last_of("\\/") + 1;
  std::string directory = target.substr(0, cut);
  std::string name = target.substr(cut);
  for (int attempt = 0; attempt < 16; ++attempt) {
    temporary = directory + TemporaryNameFor(name, RandomBits());
    Handle file(CreateFileA(temporary.c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file.valid()) return file;
    DWORD error = GetLastError();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
  }
  return Handle(INVALID_HANDLE_VALUE);
}

// Everything up to the move can fail without touching the target; the
// move itself replaces it in one step and returns only once it is on disk.
bool ReplaceAtomically(const std::string& target, std::span<const std::string_view> pieces) {
  std::string temporary;
  Handle file = CreateTemporary(target, temporary);
  if (!file.valid()) return false;
  bool written = true;
  for (std::string_view piece : pieces) written = written && WriteAll(file.get(), piece);
  written = written && FlushFileBuffers(file.get());
  if (!written ||
      !MoveFileExA(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    file.Close();
    DeleteFileA(temporary.c_str());
    return false;
  }
  return true;
}

// The listing's pattern only narrows the search (it also matches short
// 8.3 names); each name found is checked against the rule itself.
void CollectTemporaries(const std::string& directory, const std::string& name, std::vector<std::string>& candidates) {
  WIN32_FIND_DATAA found;
  HANDLE first = FindFirstFileA((directory + name.substr(0, 200) + ".tmp*").c_str(), &found);
  if (first == INVALID_HANDLE_VALUE) return;
  std::unique_ptr<void, BOOL (*)(HANDLE)> search(first, FindClose);
  do {
    bool is_file = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    if (is_file && IsTemporaryOf(found.cFileName, name)) candidates.push_back(directory + found.cFileName);
  } while (FindNextFileA(search.get(), &found));
}

// Opening with no sharing fails while anyone else holds the file, a live
// writer above all; a file opened so goes when the handle closes.
bool RemoveIfAbandoned(const std::string& path) {
  Handle file(CreateFileA(path.c_str(), DELETE, 0, nullptr, OPEN_EXISTING,
                          FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  return file.valid() && file.Close();
}

// Creates one directory; one that is already there counts as made.
bool MakeDirectory(const std::string& path) {
  return CreateDirectoryA(path.c_str(), nullptr) || (GetLastError() == ERROR_ALREADY_EXISTS && IsDirectory(path));
}

}  // namespace

std::optional<std::string> DataRoot::Resolve(std::string_view stored_path) const {
  auto components = SplitStoredPath(stored_path);
  if (!components || native_root_.empty()) return std::nullopt;
  std::string path = native_root_;
  for (std::string_view component : *components) {
    if (!IsPlainWin32Name(component)) return std::nullopt;
    path = JoinNative(path, component);
  }
  if (!StaysInsideRoot(native_root_, *components)) return std::nullopt;
  return path;
}

// Readers share delete access, so a writer's move can replace the file
// while it is being read; the reader keeps the old contents.
ReadStatus DataRoot::ReadWholeFile(std::string_view stored_path, std::string& contents) const {
  contents.clear();
  auto path = Resolve(stored_path);
  if (!path) return ReadStatus::kFailed;
  Handle file(CreateFileA(path->c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) {
    DWORD error = GetLastError();
    bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_DIRECTORY;
    return missing ? ReadStatus::kMissing : ReadStatus::kFailed;
  }
  if (GetFileType(file.get()) != FILE_TYPE_DISK) return ReadStatus::kFailed;
  DWORD high = 0;
  DWORD low = GetFileSize(file.get(), &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) return ReadStatus::kFailed;
  uint64_t size = (uint64_t{high} << 32) | low;
  if (size > SIZE_MAX / 2) return ReadStatus::kFailed;
  try {
    std::string read;
    read.reserve(static_cast<size_t>(size));
    if (!ReadAll(file.get(), read)) return ReadStatus::kFailed;
    contents = std::move(read);
    return ReadStatus::kRead;
  } catch (const std::bad_alloc&) {
    return ReadStatus::kFailed;
  }
}

bool DataRoot::WriteFileAtomic(std::string_view stored_path, std::string_view contents) const {
  return WriteFileAtomicFromPieces(stored_path, std::span<const std::string_view>(&contents, 1));
}

bool DataRoot::WriteFileAtomicFromPieces(std::string_view stored_path,
                                         std::span<const std::string_view> pieces) const {
  auto path = ResolveEntry(*this, stored_path);
  return path && ReplaceAtomically(*path, pieces);
}

bool DataRoot::CreateDirectories(std::string_view stored_path) const {
  auto components = SplitStoredPath(stored_path);
  if (!components || !Resolve(stored_path) || !MakeDirectory(native_root_)) return false;
  std::string made = native_root_;
  for (std::string_view component : *components) {
    made = JoinNative(made, component);
    if (!MakeDirectory(made)) return false;
  }
  return true;
}

// The shell deletes whole trees and expands wildcards, so only a file is
// handed to it (names with wildcards never resolve); it wants a full path,
// in a list that ends with an empty name.
bool DataRoot::RemoveFile(std::string_view stored_path) const {
  auto path = ResolveEntry(*this, stored_path);
  if (!path || !IsFile(*path)) return false;
  char full[MAX_PATH];
  DWORD length = GetFullPathNameA(path->c_str(), MAX_PATH, full, nullptr);
  if (length == 0 || length >= MAX_PATH) return false;
  std::string from(full, length);
  from.push_back('\0');
  SHFILEOPSTRUCTA operation{};
  operation.wFunc = FO_DELETE;
  operation.pFrom = from.c_str();
  operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;
  return SHFileOperationA(&operation) == 0 && !operation.fAnyOperationsAborted && !IsFile(*path);
}

// Without MOVEFILE_REPLACE_EXISTING the move fails onto an existing file.
bool DataRoot::RenameFile(std::string_view from, std::string_view to) const {
  auto native_from = ResolveEntry(*this, from);
  auto native_to = ResolveEntry(*this, to);
  return native_from && native_to && MoveFileExA(native_from->c_str(), native_to->c_str(), 0);
}

bool DataRoot::FileExists(std::string_view stored_path) const {
  auto path = Resolve(stored_path);
  return path && IsFile(*path);
}

bool DataRoot::DirectoryExists(std::string_view stored_path) const {
  auto path = Resolve(stored_path);
  return path && IsDirectory(*path);
}

size_t DataRoot::RemoveLeftoverTemporaries(std::string_view stored_path) const {
  auto path = ResolveEntry(*this, stored_path);
  if (!path) return 0;
  size_t cut = path->find_last_of("\\/") + 1;
  const std::string directory = path->substr(0, cut);
  const std::string name = path->substr(cut);
  std::vector<std::string> candidates;
  try {
    CollectTemporaries(directory, name, candidates);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  size_t removed = 0;
  for (const std::string& candidate : candidates) removed += RemoveIfAbandoned(candidate) ? 1 : 0;
  return removed;
}

}  // namespace zds::platform

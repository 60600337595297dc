// Win32 side of DataRoot. Every stored path is walked from a handle of the
// root (see path_walk.h) with NtCreateFile relative to the directory handle
// before it, the handle-relative open Win32 itself lacks, each component
// opened as a reparse point rather than through one; a symbolic link's or
// junction's target is read from its reparse data and walked by this code.
// Files are then read, written, renamed and deleted through those handles,
// never by path. The file system matches names without regard to case; what
// Win32 adds is a second look at each stored name, since it reads some
// names as devices or rewrites them before they reach the disk.
//
// Names travel in UTF-8 inside the walk: stored names are bytes of the
// ANSI code page, as the stored formats were written, and NT takes UTF-16.
//
// Wine makes no symbolic links or junctions, so the walk through them, the
// reading of reparse data and the checks against the root's final path run
// only on Windows itself; under Wine the link tests skip with that reason.
#define _CRT_RAND_S  // rand_s, the C runtime's door to the system's random source
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zds/platform/ascii.h"
#include "zds/platform/file_calls.h"
#include "zds/platform/files.h"
#include "zds/platform/path_walk.h"
#include "zds/platform/win32/windows_api.h"

#include <winioctl.h>  // after <windows.h>, which these need
#include <winternl.h>

// Exported by ntdll, declared only in the driver kit's headers.
extern "C" NTSTATUS NTAPI NtQueryDirectoryFile(HANDLE file, HANDLE event, PIO_APC_ROUTINE routine, PVOID context,
                                               PIO_STATUS_BLOCK io, PVOID information, ULONG length,
                                               FILE_INFORMATION_CLASS information_class, BOOLEAN single_entry,
                                               PUNICODE_STRING name, BOOLEAN restart);

namespace zds::platform {

namespace {

constexpr NTSTATUS kNoMoreFiles = static_cast<NTSTATUS>(0x80000006);
constexpr NTSTATUS kNoSuchFile = static_cast<NTSTATUS>(0xC000000F);
constexpr NTSTATUS kNameNotFound = static_cast<NTSTATUS>(0xC0000034);
constexpr NTSTATUS kNameCollision = static_cast<NTSTATUS>(0xC0000035);
constexpr NTSTATUS kPathNotFound = static_cast<NTSTATUS>(0xC000003A);
constexpr NTSTATUS kNotADirectory = static_cast<NTSTATUS>(0xC0000103);

bool IsMissing(NTSTATUS status) {
  return status == kNameNotFound || status == kPathNotFound || status == kNoSuchFile || status == kNoMoreFiles;
}

// Closes on every return path; Close() reports what CloseHandle said.
class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() { Close(); }
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      Close();
      handle_ = std::exchange(other.handle_, INVALID_HANDLE_VALUE);
    }
    return *this;
  }

  HANDLE get() const { return handle_; }
  bool valid() const { return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr; }
  HANDLE Release() { return std::exchange(handle_, INVALID_HANDLE_VALUE); }
  bool Close() {
    if (!valid()) return true;
    BOOL closed = CloseHandle(handle_);
    handle_ = INVALID_HANDLE_VALUE;
    return closed != 0;
  }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

intptr_t Reported(HANDLE directory) { return reinterpret_cast<intptr_t>(directory); }

std::wstring Widen(std::string_view text, UINT code_page) {
  if (text.empty()) return {};
  int size = MultiByteToWideChar(code_page, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(code_page, 0, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return wide;
}

std::string Narrow(std::wstring_view text, UINT code_page) {
  if (text.empty()) return {};
  int size = WideCharToMultiByte(code_page, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(code_page, 0, text.data(), static_cast<int>(text.size()), narrow.data(), size, nullptr, nullptr);
  return narrow;
}

// NT counts a name in bytes and needs no terminator.
UNICODE_STRING Counted(std::wstring& wide) {
  const auto bytes = static_cast<USHORT>(std::min<size_t>(wide.size() * sizeof(wchar_t), 0xFFFE));
  return UNICODE_STRING{bytes, bytes, wide.data()};
}

// The handle-relative open: `name`, one component in UTF-8, in `directory`.
// SYNCHRONIZE and synchronous I/O let ReadFile, WriteFile and directory
// queries on the handle work as they do on CreateFile's.
Handle OpenAt(HANDLE directory, std::string_view name, ACCESS_MASK access, ULONG share, ULONG disposition,
              ULONG options, NTSTATUS& status) {
  file_calls::Report("NtCreateFile", Reported(directory), name);
  std::wstring wide = Widen(name, CP_UTF8);
  UNICODE_STRING counted = Counted(wide);
  OBJECT_ATTRIBUTES attributes;
  InitializeObjectAttributes(&attributes, &counted, OBJ_CASE_INSENSITIVE, directory, nullptr);
  IO_STATUS_BLOCK io{};
  HANDLE handle = INVALID_HANDLE_VALUE;
  status = NtCreateFile(&handle, access | SYNCHRONIZE, &attributes, &io, nullptr, FILE_ATTRIBUTE_NORMAL, share,
                        disposition, options | FILE_SYNCHRONOUS_IO_NONALERT, nullptr, 0);
  return Handle(NT_SUCCESS(status) ? handle : INVALID_HANDLE_VALUE);
}

constexpr ULONG kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr ACCESS_MASK kDirectoryAccess = FILE_LIST_DIRECTORY | FILE_TRAVERSE | FILE_READ_ATTRIBUTES;

// Moves the open file to `name` in `directory`, the target named relative
// to the handle as an open is.
bool RenameOpen(HANDLE file, HANDLE directory, std::string_view name, bool replace, NTSTATUS* result = nullptr) {
  file_calls::Report("NtSetInformationFile", Reported(directory), name);
  const std::wstring wide = Widen(name, CP_UTF8);
  std::vector<std::byte> buffer(offsetof(FILE_RENAME_INFO, FileName) + (wide.size() + 1) * sizeof(wchar_t));
  auto* info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  info->ReplaceIfExists = replace ? TRUE : FALSE;
  info->RootDirectory = directory;
  info->FileNameLength = static_cast<DWORD>(wide.size() * sizeof(wchar_t));
  std::memcpy(info->FileName, wide.c_str(), (wide.size() + 1) * sizeof(wchar_t));
  IO_STATUS_BLOCK io{};
  NTSTATUS status = NtSetInformationFile(file, &io, info, static_cast<ULONG>(buffer.size()), FileRenameInformation);
  if (result) *result = status;
  return NT_SUCCESS(status);
}

// A file another program has open cannot be replaced until it lets go;
// readers hold it only while they read it (they share delete access, but
// not every file system honours that for a replacing move), so the move is
// tried again for a while before the write counts as failed.
bool MoveOver(HANDLE file, HANDLE directory, std::string_view name) {
  constexpr NTSTATUS kAccessDenied = static_cast<NTSTATUS>(0xC0000022);
  constexpr NTSTATUS kSharingViolation = static_cast<NTSTATUS>(0xC0000043);
  for (int attempt = 0;; ++attempt) {
    NTSTATUS status;
    if (RenameOpen(file, directory, name, true, &status)) return true;
    if ((status != kAccessDenied && status != kSharingViolation) || attempt == 2000) return false;
    Sleep(1);
  }
}

bool MarkForDeletion(HANDLE file) {
  FILE_DISPOSITION_INFO disposition{TRUE};
  return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != 0;
}

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

// Beyond the rules every OS shares: wildcards would let a directory query
// match other names, and Win32 strips trailing dots and blanks, so such a
// name would reach a different file than the one stored in other programs.
bool IsPlainWin32Name(std::string_view component) {
  for (char c : component) {
    if (static_cast<unsigned char>(c) < 0x20 || std::string_view("<>\"|?*").find(c) != std::string_view::npos) {
      return false;
    }
  }
  return component.back() != '.' && component.back() != ' ' && !IsDeviceName(component);
}

// "C:\a\b" -> {"C:", "a", "b"}; "\\?\" and "\??\" prefixes, and the "\\"
// of a share ("\\server\share" -> {"UNC", "server", "share"}), as the
// system's own final paths spell them.
std::vector<std::string> SplitWindowsPath(std::wstring_view path) {
  for (std::wstring_view prefix : {L"\\\\?\\", L"\\??\\"}) {
    if (path.starts_with(prefix)) path.remove_prefix(prefix.size());
  }
  std::vector<std::string> components;
  if (path.starts_with(L"\\\\")) {
    components.push_back("UNC");
    path.remove_prefix(2);
  }
  while (!path.empty()) {
    size_t end = path.find(L'\\');
    std::wstring_view component = path.substr(0, end);
    if (!component.empty() && component != L".") components.push_back(Narrow(component, CP_UTF8));
    path.remove_prefix(end == std::wstring_view::npos ? path.size() : end + 1);
  }
  return components;
}

// A symbolic link's or junction's target, from its reparse data: absolute
// ("\??\C:\x") or, for a symbolic link so marked, relative to the link's
// directory. A relative one rooted on the drive ("\x") is not placed.
bool ReadReparseTarget(HANDLE link, PathWalk::Target& target) {
  alignas(8) char buffer[MAXIMUM_REPARSE_DATA_BUFFER_SIZE];
  DWORD returned = 0;
  if (!DeviceIoControl(link, FSCTL_GET_REPARSE_POINT, nullptr, 0, buffer, sizeof buffer, &returned, nullptr) ||
      returned < 16) {
    return false;
  }
  auto word = [&](size_t at) {
    uint16_t value;
    std::memcpy(&value, buffer + at, sizeof value);
    return value;
  };
  DWORD tag;
  std::memcpy(&tag, buffer, sizeof tag);
  const bool symlink = tag == IO_REPARSE_TAG_SYMLINK;
  if (!symlink && tag != IO_REPARSE_TAG_MOUNT_POINT) return false;
  const size_t names = symlink ? 20 : 16;  // the symbolic link's flags come first
  uint32_t flags = 0;
  if (symlink) std::memcpy(&flags, buffer + 16, sizeof flags);
  const size_t offset = names + word(8), length = word(10);
  if (offset + length > returned) return false;
  std::wstring substitute(length / sizeof(wchar_t), L'\0');
  std::memcpy(substitute.data(), buffer + offset, length);
  target.absolute = !(symlink && (flags & 1));  // SYMLINK_FLAG_RELATIVE
  if (!target.absolute && substitute.starts_with(L'\\')) return false;
  if (target.absolute && !substitute.starts_with(L"\\??\\")) return false;
  target.components = SplitWindowsPath(substitute);
  return !target.components.empty();
}

bool IsNameSurrogate(DWORD attributes, DWORD tag) {
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsReparseTagNameSurrogate(tag);
}

// Where a stored path leads: the open directory that holds its last
// component and that component's name (UTF-8). An invalid directory means
// a component before the last does not exist; an empty name, the
// directory itself.
struct Place {
  Handle directory;
  std::string name;
  bool exists = false;
  DWORD attributes = 0;
  bool IsDirectory() const { return exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
  bool IsFile() const { return exists && !IsDirectory(); }
  bool IsEntry() const { return directory.valid() && !name.empty(); }
};

using Goal = PathWalk::Goal;

// The walk with NT handles. The last component is looked up by querying
// its directory, not by opening it: an open handle on a file, even one for
// its attributes alone, would make another program's save that moves a new
// file over it at that moment fail.
class Win32Walk final : public PathWalk {
 public:
  explicit Win32Walk(const std::string& native_root) : PathWalk('\\'), native_root_(native_root) {
    file_calls::Report("CreateFileA", kPlainPath, native_root);
    root_ = Handle(CreateFileA(native_root.c_str(), kDirectoryAccess, kShareAll, nullptr, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    DWORD error = root_.valid() ? 0 : GetLastError();
    root_missing_ = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
  }

  // nullopt when the path is refused; a missing root is a place whose
  // directory is missing. `native` gets the name for messages (ANSI).
  std::optional<Place> Find(const std::vector<std::string_view>& stored, Goal goal, std::string* native = nullptr) {
    std::vector<std::string> names;
    for (std::string_view component : stored) {
      if (!IsPlainWin32Name(component)) return std::nullopt;
      names.push_back(Narrow(Widen(component, CP_ACP), CP_UTF8));
    }
    if (native) {
      *native = native_root_;
      for (std::string_view component : stored) native->append("\\").append(component);
    }
    if (!root_.valid()) return root_missing_ ? std::optional<Place>(Place{}) : std::nullopt;
    const std::vector<std::string_view> components(names.begin(), names.end());
    switch (Walk(components, goal)) {
      case Outcome::kRefused:
        return std::nullopt;
      case Outcome::kMissing:
        return Place{};
      case Outcome::kFound:
        break;
    }
    return kept_ ? std::move(kept_) : std::optional<Place>(std::move(place_));
  }

 private:
  Step Enter(const std::string& name, bool make, std::string& actual, Target& target) override {
    NTSTATUS status;
    Handle directory = OpenAt(Top(), name, kDirectoryAccess, kShareAll, make ? FILE_OPEN_IF : FILE_OPEN,
                              FILE_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT, status);
    if (!directory.valid()) return IsMissing(status) || status == kNotADirectory ? Step::kMissing : Step::kFailed;
    actual = name;
    FILE_ATTRIBUTE_TAG_INFO tag;
    if (!GetFileInformationByHandleEx(directory.get(), FileAttributeTagInfo, &tag, sizeof tag)) return Step::kFailed;
    if (IsNameSurrogate(tag.FileAttributes, tag.ReparseTag)) {
      return ReadReparseTarget(directory.get(), target) ? Step::kLink : Step::kFailed;
    }
    below_.push_back(std::move(directory));
    return Step::kNext;
  }

  Step Settle(const std::string& name, bool keep, std::string& actual, Target& target) override {
    actual = name;
    DWORD attributes = 0, tag = 0;
    NTSTATUS status = QueryEntry(name, attributes, tag);
    if (!NT_SUCCESS(status) && !IsMissing(status)) return Step::kFailed;
    const bool found = NT_SUCCESS(status);
    if (found && IsNameSurrogate(attributes, tag)) {
      if (keep) {
        kept_.emplace();
        HANDLE copy = INVALID_HANDLE_VALUE;
        if (!DuplicateHandle(GetCurrentProcess(), Top(), GetCurrentProcess(), &copy, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
          return Step::kFailed;
        }
        kept_->directory = Handle(copy);
        kept_->name = name;
        kept_->exists = true;
        kept_->attributes = attributes;
      }
      Handle link = OpenAt(Top(), name, FILE_READ_ATTRIBUTES, kShareAll, FILE_OPEN, FILE_OPEN_REPARSE_POINT, status);
      return link.valid() && ReadReparseTarget(link.get(), target) ? Step::kLink : Step::kFailed;
    }
    place_.directory = TakeTop();
    place_.name = name;
    place_.exists = found;
    place_.attributes = attributes;
    return Step::kDone;
  }

  // One directory query for exactly this name: the file system looks it
  // up as an open would, without a handle on the file.
  NTSTATUS QueryEntry(const std::string& name, DWORD& attributes, DWORD& tag) {
    file_calls::Report("NtQueryDirectoryFile", Reported(Top()), name);
    std::wstring wide = Widen(name, CP_UTF8);
    UNICODE_STRING counted = Counted(wide);
    alignas(8) char buffer[sizeof(FILE_FULL_DIR_INFORMATION) + 2 * MAX_PATH * sizeof(wchar_t)];
    IO_STATUS_BLOCK io{};
    NTSTATUS status = NtQueryDirectoryFile(Top(), nullptr, nullptr, nullptr, &io, buffer, sizeof buffer,
                                           FileFullDirectoryInformation, TRUE, &counted, TRUE);
    if (NT_SUCCESS(status)) {
      const auto* entry = reinterpret_cast<const FILE_FULL_DIR_INFORMATION*>(buffer);
      attributes = entry->FileAttributes;
      tag = entry->EaSize;  // a reparse point's tag, where extended attributes cannot be
    }
    return status;
  }

  bool SettleOnDirectory() override {
    place_.directory = TakeTop();
    place_.name.clear();
    place_.exists = true;
    place_.attributes = FILE_ATTRIBUTE_DIRECTORY;
    return true;
  }

  bool AtRoot() const override { return below_.empty(); }
  bool Leave() override {
    below_.pop_back();
    return true;
  }
  void BackToRoot() override { below_.clear(); }

  // The root's final path is asked of its handle, not of its ancestors;
  // its spelling is made absolute by name alone, as Win32 reads a path.
  RootPaths LearnRootPaths() override {
    RootPaths paths;
    file_calls::Report("GetFinalPathNameByHandleW", Reported(root_.get()), "");
    wchar_t buffer[4 * MAX_PATH];
    DWORD length = GetFinalPathNameByHandleW(root_.get(), buffer, 4 * MAX_PATH, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (length > 0 && length < 4 * MAX_PATH) paths.real = SplitWindowsPath(std::wstring_view(buffer, length));
    const std::wstring spelled = Widen(native_root_, CP_ACP);
    length = GetFullPathNameW(spelled.c_str(), 4 * MAX_PATH, buffer, nullptr);
    if (length > 0 && length < 4 * MAX_PATH) paths.spelled = SplitWindowsPath(std::wstring_view(buffer, length));
    return paths;
  }

  // As NTFS compares names: by code unit, letters folded.
  bool SameName(std::string_view a, std::string_view b) const override {
    const std::wstring wide_a = Widen(a, CP_UTF8), wide_b = Widen(b, CP_UTF8);
    return CompareStringOrdinal(wide_a.data(), static_cast<int>(wide_a.size()), wide_b.data(),
                                static_cast<int>(wide_b.size()), TRUE) == CSTR_EQUAL;
  }

  HANDLE Top() const { return below_.empty() ? root_.get() : below_.back().get(); }
  Handle TakeTop() {
    if (below_.empty()) return std::move(root_);
    Handle top = std::move(below_.back());
    below_.pop_back();
    return top;
  }

  const std::string& native_root_;
  Handle root_;
  bool root_missing_ = false;
  std::vector<Handle> below_;  // the directories walked into, innermost last
  Place place_;
  std::optional<Place> kept_;  // a link that is itself the place
};

// The place of a stored path; nullopt when it is refused. Write, delete
// and move act on an entry inside the root, never on the root itself: a
// temporary beside the root would already lie outside it.
std::optional<Place> Locate(const std::string& native_root, std::string_view stored_path, Goal goal,
                            bool entry_only = false) {
  auto components = SplitStoredPath(stored_path);
  if (!components || native_root.empty() || (entry_only && components->empty())) return std::nullopt;
  return Win32Walk(native_root).Find(*components, goal);
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
// still keeps the names of this process apart and FILE_CREATE those of others.
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
Handle CreateTemporary(const Place& target) {
  for (int attempt = 0; attempt < 16; ++attempt) {
    NTSTATUS status;
    Handle file = OpenAt(target.directory.get(), TemporaryNameFor(target.name, RandomBits()), GENERIC_WRITE | DELETE,
                         FILE_SHARE_DELETE, FILE_CREATE, FILE_NON_DIRECTORY_FILE, status);
    if (file.valid() || status != kNameCollision) return file;
  }
  return Handle();
}

// Everything up to the move can fail without touching the target; the
// move replaces it in one step, and the flush after it returns only once
// the file, under its new name, is on disk.
bool ReplaceAtomically(const Place& target, std::span<const std::string_view> pieces) {
  Handle file = CreateTemporary(target);
  if (!file.valid()) return false;
  bool written = true;
  for (std::string_view piece : pieces) written = written && WriteAll(file.get(), piece);
  if (!written || !FlushFileBuffers(file.get()) || !MoveOver(file.get(), target.directory.get(), target.name)) {
    MarkForDeletion(file.get());
    return false;
  }
  return FlushFileBuffers(file.get()) != 0;
}

// Opening with no sharing fails while anyone else holds the file, a live
// writer above all; a file opened so goes when the handle closes.
bool RemoveIfAbandoned(HANDLE directory, const std::string& name) {
  NTSTATUS status;
  Handle file = OpenAt(directory, name, DELETE, 0, FILE_OPEN,
                       FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT | FILE_DELETE_ON_CLOSE, status);
  return file.valid() && file.Close();
}

// The directory's files named as temporaries of `name`; the query's
// pattern only narrows the listing (it also matches short 8.3 names), each
// name found is checked against the rule itself. A handle keeps the first
// pattern it was queried with, so the listing opens the directory afresh.
void CollectTemporaries(HANDLE parent, const std::string& name, std::vector<std::string>& candidates) {
  NTSTATUS status;
  Handle listing = OpenAt(parent, "", FILE_LIST_DIRECTORY, kShareAll, FILE_OPEN, FILE_DIRECTORY_FILE, status);
  if (!listing.valid()) return;
  const HANDLE directory = listing.get();
  file_calls::Report("NtQueryDirectoryFile", Reported(directory), name + ".tmp*");
  std::wstring pattern = Widen(name.substr(0, 200) + ".tmp*", CP_UTF8);
  UNICODE_STRING counted = Counted(pattern);
  std::vector<std::byte> buffer(64 * 1024);
  for (bool first = true;; first = false) {
    IO_STATUS_BLOCK io{};
    status = NtQueryDirectoryFile(directory, nullptr, nullptr, nullptr, &io, buffer.data(),
                                           static_cast<ULONG>(buffer.size()), FileFullDirectoryInformation, FALSE,
                                           first ? &counted : nullptr, first ? TRUE : FALSE);
    if (!NT_SUCCESS(status)) return;
    for (size_t at = 0;;) {
      const auto* entry = reinterpret_cast<const FILE_FULL_DIR_INFORMATION*>(buffer.data() + at);
      std::string found = Narrow(std::wstring_view(entry->FileName, entry->FileNameLength / sizeof(wchar_t)), CP_UTF8);
      if ((entry->FileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && IsTemporaryOf(found, name)) {
        candidates.push_back(std::move(found));
      }
      if (entry->NextEntryOffset == 0) break;
      at += entry->NextEntryOffset;
    }
  }
}

// A writer holds its new file, sharing nothing but delete, from creation
// until it has flushed it under its new name: a reader that comes in that
// moment waits for it (a few milliseconds) rather than fail, for a while.
Handle OpenForReading(HANDLE directory, const std::string& name, NTSTATUS& status) {
  constexpr NTSTATUS kSharingViolation = static_cast<NTSTATUS>(0xC0000043);
  for (int attempt = 0;; ++attempt) {
    Handle file = OpenAt(directory, name, GENERIC_READ, kShareAll, FILE_OPEN,
                         FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT, status);
    if (file.valid() || status != kSharingViolation || attempt == 2000) return file;
    Sleep(1);
  }
}

bool IdentityOf(HANDLE file, FileIdentity& identity) {
  BY_HANDLE_FILE_INFORMATION info;
  if (!GetFileInformationByHandle(file, &info)) return false;
  identity.exists = true;
  identity.size = (uint64_t{info.nFileSizeHigh} << 32) | info.nFileSizeLow;
  identity.modified =
      static_cast<int64_t>((uint64_t{info.ftLastWriteTime.dwHighDateTime} << 32) | info.ftLastWriteTime.dwLowDateTime);
  identity.volume = info.dwVolumeSerialNumber;
  identity.file = (uint64_t{info.nFileIndexHigh} << 32) | info.nFileIndexLow;
  return true;
}

// The hold is on one byte far beyond the counter: a locked range refuses
// every other handle's reads, and readers take the counter without the lock.
constexpr DWORD kLockOffsetHigh = 0x40000000;

HANDLE LockHandle(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

void FileLock::Release() {
  if (handle_ != kNoHandle) CloseHandle(LockHandle(std::exchange(handle_, kNoHandle)));
}

uint64_t FileLock::ReadCounter() const {
  if (!IsHeld()) return 0;
  char text[64];
  OVERLAPPED at{};
  DWORD got = 0;
  if (!ReadFile(LockHandle(handle_), text, sizeof text, &got, &at)) return 0;
  return ParseLockCounter(std::string_view(text, got));
}

bool FileLock::WriteCounter(uint64_t counter) const {
  if (!IsHeld()) return false;
  const std::string text = FormatLockCounter(counter);
  OVERLAPPED at{};
  DWORD put = 0;
  return WriteFile(LockHandle(handle_), text.data(), static_cast<DWORD>(text.size()), &put, &at) && put == text.size();
}

// LockFileEx holds per handle, and on a handle opened for synchronous I/O
// it waits until the range is free; closing the handle, or the end of its
// process, frees it.
FileLock DataRoot::AcquireLock(std::string_view stored_path) const {
  if (IsReadOnly()) return FileLock();  // a reader never writes, so never waits or leaves a lock file
  auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
  if (!place || !place->IsEntry() || place->IsDirectory()) return FileLock();
  NTSTATUS status;
  Handle file = OpenAt(place->directory.get(), place->name, GENERIC_READ | GENERIC_WRITE, kShareAll, FILE_OPEN_IF,
                       FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT, status);
  if (!file.valid()) return FileLock();
  OVERLAPPED range{};
  range.OffsetHigh = kLockOffsetHigh;
  if (!LockFileEx(file.get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &range)) return FileLock();
  return FileLock(reinterpret_cast<intptr_t>(file.Release()));
}

std::optional<FileIdentity> DataRoot::IdentifyFile(std::string_view stored_path) const {
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  if (!place) return std::nullopt;
  if (!place->directory.valid()) return FileIdentity();  // its directory is missing
  if (!place->IsEntry()) return std::nullopt;
  if (!place->exists) return FileIdentity();
  NTSTATUS status;
  Handle file = OpenAt(place->directory.get(), place->name, FILE_READ_ATTRIBUTES, kShareAll, FILE_OPEN,
                       FILE_OPEN_REPARSE_POINT, status);
  if (!file.valid()) return IsMissing(status) ? std::optional<FileIdentity>(FileIdentity()) : std::nullopt;
  FileIdentity identity;
  if (!IdentityOf(file.get(), identity)) return std::nullopt;
  return identity;
}

// The native name is for messages: the root and each stored component as
// stored, the file system matching case itself. No operation goes through it.
std::optional<std::string> DataRoot::Resolve(std::string_view stored_path) const {
  auto components = SplitStoredPath(stored_path);
  if (!components || native_root_.empty()) return std::nullopt;
  std::string native;
  if (!Win32Walk(native_root_).Find(*components, Goal::kEntry, &native)) return std::nullopt;
  return native;
}

// Readers share delete access, so a writer's move can replace the file
// while it is being read; the reader keeps the old contents. A reparse
// point put in place of the file since the walk is refused, not followed.
ReadStatus DataRoot::ReadWholeFile(std::string_view stored_path, std::string& contents,
                                   FileIdentity* identity) const {
  contents.clear();
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  if (!place) return ReadStatus::kFailed;
  if (!place->exists) return ReadStatus::kMissing;
  if (!place->IsEntry() || place->IsDirectory()) return ReadStatus::kFailed;
  NTSTATUS status;
  Handle file = OpenForReading(place->directory.get(), place->name, status);
  if (!file.valid()) return IsMissing(status) ? ReadStatus::kMissing : ReadStatus::kFailed;
  FILE_ATTRIBUTE_TAG_INFO tag;
  if (!GetFileInformationByHandleEx(file.get(), FileAttributeTagInfo, &tag, sizeof tag) ||
      (tag.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 || GetFileType(file.get()) != FILE_TYPE_DISK) {
    return ReadStatus::kFailed;
  }
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file.get(), &size) || static_cast<uint64_t>(size.QuadPart) > SIZE_MAX / 2) return ReadStatus::kFailed;
  if (identity && !IdentityOf(file.get(), *identity)) return ReadStatus::kFailed;
  try {
    std::string read;
    read.reserve(static_cast<size_t>(size.QuadPart));
    if (!ReadAll(file.get(), read)) return ReadStatus::kFailed;
    contents = std::move(read);
    return ReadStatus::kRead;
  } catch (const std::bad_alloc&) {
    return ReadStatus::kFailed;
  }
}

// The file is opened for every write and closed again, so no handle of ours
// stands in the way of another program; FlushFileBuffers covers the new
// size as well as the bytes.
bool DataRoot::WriteFileTail(std::string_view stored_path, uint64_t offset, std::string_view data) const {
  if (IsReadOnly()) return false;
  auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
  if (!place || !place->IsEntry() || place->IsDirectory()) return false;
  NTSTATUS status;
  Handle file = OpenAt(place->directory.get(), place->name, GENERIC_READ | GENERIC_WRITE, kShareAll, FILE_OPEN_IF,
                       FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT | FILE_WRITE_THROUGH, status);
  LARGE_INTEGER size;
  if (!file.valid() || !GetFileSizeEx(file.get(), &size) || static_cast<uint64_t>(size.QuadPart) < offset) {
    return false;
  }
  LARGE_INTEGER at;
  at.QuadPart = static_cast<LONGLONG>(offset);
  if (!SetFilePointerEx(file.get(), at, nullptr, FILE_BEGIN)) return false;
  if (static_cast<uint64_t>(size.QuadPart) != offset && !SetEndOfFile(file.get())) return false;
  return WriteAll(file.get(), data) && FlushFileBuffers(file.get());
}

bool DataRoot::WriteFileAtomic(std::string_view stored_path, std::string_view contents) const {
  return WriteFileAtomicFromPieces(stored_path, std::span<const std::string_view>(&contents, 1));
}

bool DataRoot::WriteFileAtomicFromPieces(std::string_view stored_path,
                                         std::span<const std::string_view> pieces) const {
  if (IsReadOnly()) return false;
  try {
    auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
    return place && place->IsEntry() && !place->IsDirectory() && ReplaceAtomically(*place, pieces);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// Windows flushes one file at a time or a whole volume, which takes the
// rights of an administrator: each file is flushed as it is written.
bool DataRoot::WriteFileAtomicUnflushed(std::string_view stored_path, std::string_view contents) const {
  return WriteFileAtomic(stored_path, contents);
}

bool DataRoot::FlushWrittenFiles() const { return !native_root_.empty(); }

namespace {

// Windows matches names without regard to case itself, so nothing is
// listed: each file is written the general way.
class Win32NewFileWriter final : public NewFileWriter {
 public:
  Win32NewFileWriter(const DataRoot& root, std::string directory) : root_(root), directory_(std::move(directory)) {}

 private:
  bool WriteName(std::string_view name, std::string_view contents) override {
    return root_.WriteFileAtomicUnflushed(JoinStoredPath(directory_, name), contents);
  }

  const DataRoot& root_;
  std::string directory_;
};

}  // namespace

std::unique_ptr<NewFileWriter> DataRoot::OpenNewFileWriter(std::string_view stored_directory) const {
  if (IsReadOnly() || !CreateDirectories(stored_directory)) return nullptr;
  return std::make_unique<Win32NewFileWriter>(*this, std::string(stored_directory));
}

// The root itself is made by its name, the one path this class hands the
// system; everything below it relative to the handles.
bool DataRoot::CreateDirectories(std::string_view stored_path) const {
  if (IsReadOnly()) return false;
  if (!IsSafeStoredPath(stored_path) || native_root_.empty()) return false;
  file_calls::Report("CreateDirectoryA", kPlainPath, native_root_);
  if (!CreateDirectoryA(native_root_.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) return false;
  auto place = Locate(native_root_, stored_path, Goal::kMakeDirectory);
  return place && place->IsDirectory();
}

// Only a file: a directory, or a junction standing for one, is never
// deleted here.
bool DataRoot::RemoveFile(std::string_view stored_path) const {
  if (IsReadOnly()) return false;
  auto place = Locate(native_root_, stored_path, Goal::kEntryKeepLink, true);
  if (!place || !place->IsEntry() || !place->IsFile()) return false;
  NTSTATUS status;
  Handle file = OpenAt(place->directory.get(), place->name, DELETE | FILE_READ_ATTRIBUTES, kShareAll, FILE_OPEN,
                       FILE_NON_DIRECTORY_FILE | FILE_OPEN_REPARSE_POINT, status);
  return file.valid() && MarkForDeletion(file.get()) && file.Close();
}

bool DataRoot::RenameFile(std::string_view from, std::string_view to) const {
  if (IsReadOnly()) return false;
  auto source = Locate(native_root_, from, Goal::kEntryKeepLink, true);
  if (!source || !source->exists || !source->IsEntry()) return false;
  auto target = Locate(native_root_, to, Goal::kEntryKeepLink, true);
  if (!target || !target->IsEntry() || target->exists) return false;
  NTSTATUS status;
  Handle file = OpenAt(source->directory.get(), source->name, DELETE, kShareAll, FILE_OPEN, FILE_OPEN_REPARSE_POINT,
                       status);
  return file.valid() && RenameOpen(file.get(), target->directory.get(), target->name, false);
}

bool DataRoot::FileExists(std::string_view stored_path) const {
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  return place && place->IsFile();
}

bool DataRoot::DirectoryExists(std::string_view stored_path) const {
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  return place && place->IsDirectory();
}

size_t DataRoot::RemoveLeftoverTemporaries(std::string_view stored_path) const {
  if (IsReadOnly()) return 0;
  auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
  if (!place || !place->IsEntry()) return 0;
  std::vector<std::string> candidates;
  try {
    CollectTemporaries(place->directory.get(), place->name, candidates);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  size_t removed = 0;
  for (const std::string& candidate : candidates) removed += RemoveIfAbandoned(place->directory.get(), candidate) ? 1 : 0;
  return removed;
}

}  // namespace zds::platform

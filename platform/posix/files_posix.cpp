// POSIX side of DataRoot: stored paths matched case-blind against the
// directories and kept from leading out of the root through links, and
// writes made atomic with a locked temporary file and rename.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "zds/platform/ascii.h"
#include "zds/platform/files.h"

namespace zds::platform {

namespace {

// Closes on every return path; Close() reports what close(2) said.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  bool Close() {
    if (fd_ < 0) return true;
    int result = close(fd_);
    fd_ = -1;
    return result == 0;
  }

 private:
  int fd_;
};

std::string JoinNative(const std::string& directory, std::string_view name) {
  std::string path = directory;
  if (path.empty() || path.back() != '/') path += '/';
  path += name;
  return path;
}

bool EntryExists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

bool IsOfType(const std::string& path, mode_t type) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && (info.st_mode & S_IFMT) == type;
}

// The entry of the directory equal to the name but for ASCII case; of
// several, the first in byte order, so the choice never depends on the
// order readdir happens to return. Empty when there is none.
std::string FindCaseVariant(const std::string& directory, std::string_view name) {
  std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
  std::string best;
  if (!stream) return best;
  while (const dirent* entry = readdir(stream.get())) {
    std::string_view candidate(entry->d_name);
    if (SameIgnoringAsciiCase(candidate, name) && (best.empty() || candidate < best)) best = candidate;
  }
  return best;
}

// The path with every link resolved; nullopt when some part of it is
// missing or a link leads nowhere.
std::optional<std::string> RealPath(const std::string& path) {
  std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  if (!real) return std::nullopt;
  return std::string(real.get());
}

// Whether paths below the root, once their links are resolved, stay in
// it. The check and the use that follows are two steps: whoever can write
// inside the root could swap a checked directory for a link in between.
// Closing that would take opening every component relative to its parent
// with O_NOFOLLOW and resolving links by hand; whoever can plant links in
// the root can already change every document, so the check is there to
// keep a link left in the root from steering our writes and deletes out.
class Containment {
 public:
  explicit Containment(const std::string& native_root) : root_(RealPath(native_root)) {}

  // `existing` is the deepest part of a path that exists; what is below it
  // is yet to be made, as plain names. Without a root nothing below exists.
  bool Holds(const std::string& existing) const {
    if (!root_) return true;
    auto real = RealPath(existing);
    if (!real) return false;  // a dangling link: no telling where it leads
    const std::string& root = *root_;
    return real->starts_with(root) &&
           (real->size() == root.size() || root.back() == '/' || (*real)[root.size()] == '/');
  }

 private:
  std::optional<std::string> root_;
};

// Write, delete and move act on an entry inside the root, never on the root:
// a temporary beside the root would already lie outside it.
std::optional<std::string> ResolveEntry(const DataRoot& root, std::string_view stored_path) {
  auto components = SplitStoredPath(stored_path);
  if (!components || components->empty()) return std::nullopt;
  return root.Resolve(stored_path);
}

std::string NativeDirectoryOf(const std::string& path) {
  size_t last = path.rfind('/');
  if (last == std::string::npos) return ".";
  return last == 0 ? "/" : path.substr(0, last);
}

// Gathers up to IOV_MAX pieces per call; an unchanged document is a
// single piece, a lightly edited one a few per changed node.
bool WriteAllPieces(int fd, std::span<const std::string_view> pieces) {
  std::vector<iovec> batch;
  size_t next = 0;     // first piece not (wholly) written
  size_t skipped = 0;  // bytes of pieces[next] already written
  while (next < pieces.size()) {
    batch.clear();
    for (size_t i = next; i < pieces.size() && batch.size() < IOV_MAX; ++i) {
      std::string_view piece = pieces[i].substr(i == next ? skipped : 0);
      if (!piece.empty()) batch.push_back({const_cast<char*>(piece.data()), piece.size()});
    }
    if (batch.empty()) return true;
    ssize_t written = writev(fd, batch.data(), static_cast<int>(batch.size()));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    auto left = static_cast<size_t>(written);
    while (next < pieces.size() && left >= pieces[next].size() - skipped) {
      left -= pieces[next].size() - skipped;
      skipped = 0;
      ++next;
    }
    skipped += left;
  }
  return true;
}

bool ReadAll(int fd, std::string& contents) {
  char buffer[65536];
  while (true) {
    ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    contents.append(buffer, static_cast<size_t>(got));
  }
}

// Some file systems cannot sync a directory (EINVAL); the rename is then as
// durable as they allow.
bool SyncDirectory(const std::string& directory) {
  Descriptor fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!fd.valid()) return false;
  return fsync(fd.get()) == 0 || errno == EINVAL;
}

// 64 bits from the kernel; should it fail, a counter still keeps the
// names of this process apart and O_EXCL those of others.
uint64_t RandomBits() {
  static std::atomic<uint64_t> counter{0};
  uint64_t bits = 0;
  if (getentropy(&bits, sizeof bits) != 0) bits = static_cast<uint64_t>(getpid()) << 32;
  return bits ^ (counter++ * 0x9E3779B97F4A7C15ULL);
}

// A new file beside the target, locked for as long as it bears its name,
// so another process's cleanup passes it by. A cleanup that got between
// the create and the lock has already removed the name (the locked file
// has no links left), and the next name is tried.
Descriptor CreateTemporary(const std::string& target, std::string& temporary) {
  std::string directory = NativeDirectoryOf(target);
  std::string name = target.substr(target.rfind('/') + 1);
  for (int attempt = 0; attempt < 16; ++attempt) {
    temporary = JoinNative(directory, TemporaryNameFor(name, RandomBits()));
    Descriptor fd(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!fd.valid() && errno == EEXIST) continue;
    if (!fd.valid()) return fd;
    int locked;
    while ((locked = flock(fd.get(), LOCK_EX)) != 0 && errno == EINTR) {
    }
    // Where the file system has no locks, cleanup cannot lock either and
    // deletes nothing, so the file needs no lock to be safe.
    struct stat info;
    if (locked != 0 || (fstat(fd.get(), &info) == 0 && info.st_nlink > 0)) return fd;
  }
  return Descriptor(-1);
}

// Everything up to the rename can fail without touching the target. The
// old file's permissions carry over, so a file kept private stays private.
// The descriptor, and with it the lock, is held until the name is gone;
// fsync has reported any write error by then, so closing adds nothing.
bool ReplaceAtomically(const std::string& target, std::span<const std::string_view> pieces) {
  std::string temporary;
  Descriptor fd = CreateTemporary(target, temporary);
  if (!fd.valid()) return false;
  struct stat old_file;
  bool keep_mode = stat(target.c_str(), &old_file) == 0 && S_ISREG(old_file.st_mode);
  bool written = WriteAllPieces(fd.get(), pieces) &&
                 (!keep_mode || fchmod(fd.get(), old_file.st_mode & 07777) == 0) && fsync(fd.get()) == 0;
  if (!written || rename(temporary.c_str(), target.c_str()) != 0) {
    unlink(temporary.c_str());
    return false;
  }
  fd.Close();
  return SyncDirectory(NativeDirectoryOf(target));
}

// A temporary no writer holds: the lock is free, and the name still
// belongs to the file locked (a writer may have renamed it over its
// target since the directory was read).
bool RemoveIfAbandoned(const std::string& path) {
  Descriptor fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat held, named;
  if (!fd.valid() || fstat(fd.get(), &held) != 0 || !S_ISREG(held.st_mode)) return false;
  if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) return false;
  if (lstat(path.c_str(), &named) != 0 || named.st_dev != held.st_dev || named.st_ino != held.st_ino) return false;
  return unlink(path.c_str()) == 0;
}

// Creates one directory; one that is already there counts as made.
bool MakeDirectory(const std::string& path) {
  return mkdir(path.c_str(), 0777) == 0 || (errno == EEXIST && IsOfType(path, S_IFDIR));
}

// rename() replaces its target; the kernel refuses that atomically where it
// can, and elsewhere a look just before has to do.
bool RenameNoReplace(const std::string& from, const std::string& to) {
#if defined(__linux__) && defined(RENAME_NOREPLACE)
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
#endif
  if (EntryExists(to)) return false;
  return rename(from.c_str(), to.c_str()) == 0;
}

}  // namespace

// Each missing component is looked for case-blind in its directory; once
// one is not found at all, the rest cannot exist and keep their spelling,
// which is the name a write or mkdir then creates. A directory is listed
// only once it is known to lie inside the root, and the path is refused
// when the part of it that exists leads out.
std::optional<std::string> DataRoot::Resolve(std::string_view stored_path) const {
  auto components = SplitStoredPath(stored_path);
  if (!components || native_root_.empty()) return std::nullopt;
  const Containment containment(native_root_);
  std::string path = native_root_;
  std::string existing = path;
  bool found = true;
  for (std::string_view component : *components) {
    std::string next = JoinNative(path, component);
    if (found && !EntryExists(next)) {
      if (!containment.Holds(path)) return std::nullopt;
      std::string variant = FindCaseVariant(path, component);
      found = !variant.empty();
      if (found) next = JoinNative(path, variant);
    }
    path = std::move(next);
    if (found) existing = path;
  }
  if (!containment.Holds(existing)) return std::nullopt;
  return path;
}

// O_NONBLOCK keeps a FIFO planted in the root from hanging the read; it is
// refused as not a regular file right after.
ReadStatus DataRoot::ReadWholeFile(std::string_view stored_path, std::string& contents) const {
  contents.clear();
  auto path = Resolve(stored_path);
  if (!path) return ReadStatus::kFailed;
  Descriptor fd(open(path->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!fd.valid()) return errno == ENOENT || errno == ENOTDIR ? ReadStatus::kMissing : ReadStatus::kFailed;
  struct stat info;
  if (fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return ReadStatus::kFailed;
  try {
    std::string read;
    read.reserve(static_cast<size_t>(info.st_size));
    if (!ReadAll(fd.get(), read)) return ReadStatus::kFailed;
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
  try {
    return path && ReplaceAtomically(*path, pieces);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool DataRoot::CreateDirectories(std::string_view stored_path) const {
  auto path = Resolve(stored_path);
  if (!path || !MakeDirectory(native_root_)) return false;
  std::string made = native_root_;
  std::string_view rest = std::string_view(*path).substr(native_root_.size());
  while (!rest.empty()) {
    size_t end = rest.find('/');
    std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (part.empty()) continue;
    made = JoinNative(made, part);
    if (!MakeDirectory(made)) return false;
  }
  return true;
}

bool DataRoot::RemoveFile(std::string_view stored_path) const {
  auto path = ResolveEntry(*this, stored_path);
  return path && unlink(path->c_str()) == 0;
}

bool DataRoot::RenameFile(std::string_view from, std::string_view to) const {
  auto native_from = ResolveEntry(*this, from);
  auto native_to = ResolveEntry(*this, to);
  return native_from && native_to && RenameNoReplace(*native_from, *native_to);
}

bool DataRoot::FileExists(std::string_view stored_path) const {
  auto path = Resolve(stored_path);
  return path && IsOfType(*path, S_IFREG);
}

bool DataRoot::DirectoryExists(std::string_view stored_path) const {
  auto path = Resolve(stored_path);
  return path && IsOfType(*path, S_IFDIR);
}

size_t DataRoot::RemoveLeftoverTemporaries(std::string_view stored_path) const {
  auto path = ResolveEntry(*this, stored_path);
  if (!path) return 0;
  const std::string directory = NativeDirectoryOf(*path);
  const std::string name = path->substr(path->rfind('/') + 1);
  std::vector<std::string> candidates;
  try {
    std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) return 0;
    while (const dirent* entry = readdir(stream.get())) {
      if (IsTemporaryOf(entry->d_name, name)) candidates.push_back(JoinNative(directory, entry->d_name));
    }
  } catch (const std::bad_alloc&) {
    return 0;
  }
  size_t removed = 0;
  for (const std::string& candidate : candidates) removed += RemoveIfAbandoned(candidate) ? 1 : 0;
  return removed;
}

}  // namespace zds::platform

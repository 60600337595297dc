// POSIX side of DataRoot: every stored path walked from an open handle of
// the root, one component at a time, each opened relative to the one
// before and never through a link; links are read and followed by this
// code, which keeps them inside the root. Writes are made atomic with a
// locked temporary file and rename, all relative to the same handles.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#if defined(__linux__) && __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#include <sys/syscall.h>
#endif

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "zds/platform/ascii.h"
#include "zds/platform/file_calls.h"
#include "zds/platform/files.h"
#include "zds/platform/path_walk.h"

namespace zds::platform {

namespace {

// Closes on every return path; Close() reports what close(2) said.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      Close();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  int Release() { return std::exchange(fd_, -1); }
  bool Close() {
    if (fd_ < 0) return true;
    int result = close(fd_);
    fd_ = -1;
    return result == 0;
  }

 private:
  int fd_ = -1;
};

// The system calls that take a name, each reported first (see file_calls.h).
intptr_t Reported(int directory) { return directory == AT_FDCWD ? kPlainPath : directory; }

int OpenAt(int directory, const std::string& name, int flags, mode_t mode = 0) {
  file_calls::Report("openat", Reported(directory), name);
  return openat(directory, name.c_str(), flags, mode);
}

bool StatAt(int directory, const std::string& name, struct stat& info) {
  file_calls::Report("fstatat", Reported(directory), name);
  return fstatat(directory, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

// A target that does not fit is as unusable as one that cannot be read.
bool ReadLinkAt(int directory, const std::string& name, std::string& target) {
  file_calls::Report("readlinkat", directory, name);
  char buffer[PATH_MAX];
  ssize_t length = readlinkat(directory, name.c_str(), buffer, sizeof buffer);
  if (length < 0) return false;
  if (static_cast<size_t>(length) == sizeof buffer) {
    errno = ENAMETOOLONG;
    return false;
  }
  target.assign(buffer, static_cast<size_t>(length));
  return true;
}

bool MakeDirectoryAt(int directory, const std::string& name) {
  file_calls::Report("mkdirat", Reported(directory), name);
  return mkdirat(directory, name.c_str(), 0777) == 0;
}

bool UnlinkAt(int directory, const std::string& name) {
  file_calls::Report("unlinkat", directory, name);
  return unlinkat(directory, name.c_str(), 0) == 0;
}

// Moves never replace: the kernel refuses that atomically where it can,
// and elsewhere a look just before has to do.
bool RenameNoReplace(int from_directory, const std::string& from, int to_directory, const std::string& to) {
  file_calls::Report("renameat", from_directory, from);
  file_calls::Report("renameat", to_directory, to);
#if defined(__linux__) && defined(RENAME_NOREPLACE)
  if (renameat2(from_directory, from.c_str(), to_directory, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
#endif
  struct stat info;
  if (StatAt(to_directory, to, info) || errno != ENOENT) return false;
  return renameat(from_directory, from.c_str(), to_directory, to.c_str()) == 0;
}

#if defined(O_PATH)
// Walking needs only search permission on a directory, as a path does.
constexpr int kDirectoryAccess = O_PATH;
#elif defined(O_SEARCH)
constexpr int kDirectoryAccess = O_SEARCH;
#else
constexpr int kDirectoryAccess = O_RDONLY;
#endif
constexpr int kOpenDirectory = kDirectoryAccess | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Calls `visit` with each name in the directory; false when it cannot be
// listed. The listing opens the directory afresh: a walking handle may
// lack read permission, and a duplicate would share its read position.
template <typename Visit>
bool ForEachName(int directory, Visit&& visit) {
  Descriptor listing(OpenAt(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!listing.valid()) return false;
  DIR* opened = fdopendir(listing.get());
  if (opened == nullptr) return false;
  listing.Release();
  std::unique_ptr<DIR, int (*)(DIR*)> stream(opened, closedir);
  errno = 0;
  while (const dirent* entry = readdir(stream.get())) visit(std::string_view(entry->d_name));
  return errno == 0;
}

// The entry of the directory equal to the name but for ASCII case; of
// several, the first in byte order, so the choice never depends on the
// order readdir happens to return. Empty when there is none.
std::string FindCaseVariant(int directory, std::string_view name) {
  std::string best;
  ForEachName(directory, [&](std::string_view candidate) {
    if (SameIgnoringAsciiCase(candidate, name) && (best.empty() || candidate < best)) best = candidate;
  });
  return best;
}

// Every name in the directory, in lower case; nullopt when it cannot be
// listed.
std::optional<std::unordered_set<std::string>> FoldedNames(int directory) {
  std::unordered_set<std::string> names;
  if (!ForEachName(directory, [&](std::string_view name) { names.insert(AsciiLowerCase(name)); })) return std::nullopt;
  return names;
}

// "/a/./b/" -> {"a", "b"}.
std::vector<std::string> SplitAbsolute(std::string_view path) {
  std::vector<std::string> components;
  while (!path.empty()) {
    size_t end = path.find('/');
    std::string_view component = path.substr(0, end);
    if (!component.empty() && component != ".") components.emplace_back(component);
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
  return components;
}

// Where a stored path leads: the open directory that holds its last
// component and that component's name as it stands there (its case
// variant, when only one exists). An invalid directory means a component
// before the last does not exist; an empty name, the directory itself.
struct Place {
  Descriptor directory;
  std::string name;
  bool exists = false;
  struct stat info {};  // of the entry itself, when it exists
  bool Is(mode_t type) const { return exists && (info.st_mode & S_IFMT) == type; }
  bool IsEntry() const { return directory.valid() && !name.empty(); }
};

using Goal = PathWalk::Goal;

// The walk (see path_walk.h) with descriptors: each directory opened with
// O_NOFOLLOW relative to the one before, links read with readlinkat. Where
// Linux offers openat2 with RESOLVE_BENEATH, the directories of a path are
// first opened in that one call, which keeps inside the root just the
// same; what it cannot settle (a case variant, a link that climbs out and
// back) is walked again one component at a time.
class PosixWalk final : public PathWalk {
 public:
  explicit PosixWalk(const std::string& native_root) : PathWalk('/'), native_root_(native_root) {
    root_ = Descriptor(OpenAt(AT_FDCWD, native_root, kDirectoryAccess | O_DIRECTORY | O_CLOEXEC));
    root_missing_ = !root_.valid() && (errno == ENOENT || errno == ENOTDIR);
  }

  // nullopt when the path is refused; a missing root is a place whose
  // directory is missing.
  std::optional<Place> Find(std::span<const std::string_view> components, Goal goal, std::string* native = nullptr) {
    if (!root_.valid()) {
      if (!root_missing_) return std::nullopt;
      if (native) {
        *native = native_root_;
        for (std::string_view component : components) native->append("/").append(component);
      }
      return Place{};
    }
    Outcome outcome = Walk(components, goal, native_root_, native);
    if (restart_) {
      restart_ = false;
      one_by_one_ = true;
      BackToRoot();
      kept_.reset();
      outcome = Walk(components, goal, native_root_, native);
    }
    if (outcome == Outcome::kRefused) return std::nullopt;
    if (outcome == Outcome::kMissing) return Place{};
    return kept_ ? std::move(kept_) : std::optional<Place>(std::move(place_));
  }

 private:
  Step Enter(const std::string& name, bool make, std::string& actual, Target& target) override {
    std::string candidate = name;
    bool looked = false;
    bool made = false;
    while (true) {
      Descriptor directory(OpenAt(Top(), candidate, kOpenDirectory));
      if (directory.valid()) {
        actual = std::move(candidate);
        below_.push_back(std::move(directory));
        return Step::kNext;
      }
      if (errno == ENOENT) {
        if (!looked) {
          looked = true;
          std::string variant = FindCaseVariant(Top(), name);
          if (!variant.empty()) {
            candidate = std::move(variant);
            continue;
          }
        }
        if (!make || made) return Step::kMissing;
        made = true;
        candidate = name;
        if (MakeDirectoryAt(Top(), candidate) || errno == EEXIST) continue;
        return Step::kFailed;
      }
      if (errno != ENOTDIR && errno != ELOOP && errno != EMLINK) return Step::kFailed;
      if (!ReadTarget(candidate, target)) return errno == EINVAL ? Step::kMissing : Step::kFailed;  // EINVAL: a file
      actual = std::move(candidate);
      return Step::kLink;
    }
  }

  Step Settle(const std::string& name, bool keep, std::string& actual, Target& target) override {
    actual = name;
    struct stat info;
    bool found = StatAt(Top(), actual, info);
    int error = found ? 0 : errno;
    if (error == ENOENT) {
      std::string variant = FindCaseVariant(Top(), name);
      if (!variant.empty()) {
        found = StatAt(Top(), variant, info);
        error = found ? 0 : errno;
        if (found) actual = std::move(variant);
      }
    }
    if (!found && error != ENOENT) return Step::kFailed;
    if (found && S_ISLNK(info.st_mode)) {
      if (keep) {
        kept_.emplace();
        kept_->directory = Descriptor(fcntl(Top(), F_DUPFD_CLOEXEC, 0));
        kept_->name = actual;
        kept_->exists = true;
        kept_->info = info;
        if (!kept_->directory.valid()) return Step::kFailed;
      }
      return ReadTarget(actual, target) ? Step::kLink : Step::kFailed;
    }
    place_.directory = TakeTop();
    place_.name = actual;
    place_.exists = found;
    if (found) place_.info = info;
    return Step::kDone;
  }

  bool SettleOnDirectory() override {
    place_.directory = TakeTop();
    place_.name.clear();
    place_.exists = fstat(place_.directory.get(), &place_.info) == 0;
    return place_.exists;
  }

  bool AtRoot() const override { return below_.empty(); }

  bool Leave() override {
    if (opened_at_once_ && below_.size() == 1) {
      restart_ = true;  // one handle stood for several directories: walk again one by one
      return false;
    }
    below_.pop_back();
    return true;
  }

  void BackToRoot() override {
    below_.clear();
    opened_at_once_ = false;
  }

  // Resolving the root names its own ancestors, never anything beside
  // them; a spelling with ".." is not trusted.
  RootPaths LearnRootPaths() override {
    RootPaths paths;
    file_calls::Report("realpath", kPlainPath, native_root_);
    std::unique_ptr<char, void (*)(void*)> real(realpath(native_root_.c_str(), nullptr), std::free);
    struct stat named, held;
    if (real) file_calls::Report("stat", kPlainPath, real.get());
    if (real && stat(real.get(), &named) == 0 && fstat(root_.get(), &held) == 0 && named.st_dev == held.st_dev &&
        named.st_ino == held.st_ino) {
      paths.real = SplitAbsolute(real.get());
    }
    if (native_root_.starts_with('/') && native_root_.find("/..") == std::string::npos) {
      paths.spelled = SplitAbsolute(native_root_);
    }
    return paths;
  }

  bool SameName(std::string_view a, std::string_view b) const override { return a == b; }

  size_t OpenAtOnce(std::span<const std::string_view> directories) override {
#if defined(RESOLVE_BENEATH) && defined(SYS_openat2)
    static std::atomic<bool> available{true};
    if (one_by_one_ || !file_calls::KernelWalkAllowed() || !available.load(std::memory_order_relaxed)) return 0;
    std::string joined;
    for (std::string_view directory : directories) {
      if (!joined.empty()) joined += '/';
      joined += directory;
    }
    open_how how{};
    how.flags = kDirectoryAccess | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    file_calls::Report("openat2", root_.get(), joined);
    Descriptor directory(static_cast<int>(syscall(SYS_openat2, root_.get(), joined.c_str(), &how, sizeof how)));
    if (!directory.valid()) {
      // No such call (older kernels, some sandboxes): never ask again.
      if (errno == ENOSYS || errno == EPERM || errno == E2BIG) available.store(false, std::memory_order_relaxed);
      return 0;
    }
    below_.push_back(std::move(directory));
    opened_at_once_ = true;
    return directories.size();
#else
    (void)directories;
    return 0;
#endif
  }

  bool ReadTarget(const std::string& name, Target& target) {
    std::string link;
    if (!ReadLinkAt(Top(), name, link)) return false;
    if (link.empty()) {
      errno = ENOENT;
      return false;
    }
    target.absolute = link.front() == '/';
    target.components = SplitAbsolute(link);
    return true;
  }

  int Top() const { return below_.empty() ? root_.get() : below_.back().get(); }
  Descriptor TakeTop() {
    if (below_.empty()) return std::move(root_);
    Descriptor top = std::move(below_.back());
    below_.pop_back();
    return top;
  }

  const std::string& native_root_;
  Descriptor root_;
  bool root_missing_ = false;
  std::vector<Descriptor> below_;  // the directories walked into, innermost last
  bool opened_at_once_ = false;    // below_[0] came from openat2
  bool one_by_one_ = false;
  bool restart_ = false;
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
  return PosixWalk(native_root).Find(*components, goal);
}

// The directory at the stored path, made with its parents where missing;
// nullopt when that fails or the path is refused. The root itself is made
// by its name, the one path this code hands the system; everything below
// it relative to the handles.
std::optional<Place> MakeDirectories(const std::string& native_root, std::string_view stored_path) {
  if (!IsSafeStoredPath(stored_path) || native_root.empty()) return std::nullopt;
  file_calls::Report("mkdir", kPlainPath, native_root);
  if (mkdir(native_root.c_str(), 0777) != 0 && errno != EEXIST) return std::nullopt;
  auto place = Locate(native_root, stored_path, Goal::kMakeDirectory);
  if (!place || !place->Is(S_IFDIR)) return std::nullopt;
  return place;
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
// durable as they allow. A walking handle may not be readable, so the
// directory is opened afresh through it.
bool SyncDirectory(int directory) {
  Descriptor fd(OpenAt(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
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
Descriptor CreateTemporary(int directory, const std::string& name, std::string& temporary) {
  for (int attempt = 0; attempt < 16; ++attempt) {
    temporary = TemporaryNameFor(name, RandomBits());
    Descriptor fd(OpenAt(directory, temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
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
  return Descriptor();
}

// Everything up to the rename can fail without touching the target. The
// old file's permissions carry over, so a file kept private stays private.
// The descriptor, and with it the lock, is held until the name is gone;
// fsync has reported any write error by then, so closing adds nothing.
bool ReplaceAtomically(const Place& target, std::span<const std::string_view> pieces, bool flush = true) {
  std::string temporary;
  const int directory = target.directory.get();
  Descriptor fd = CreateTemporary(directory, target.name, temporary);
  if (!fd.valid()) return false;
  bool keep_mode = target.Is(S_IFREG);
  bool written = WriteAllPieces(fd.get(), pieces) && (!keep_mode || fchmod(fd.get(), target.info.st_mode & 07777) == 0) &&
                 (!flush || fsync(fd.get()) == 0);
  file_calls::Report("renameat", directory, temporary);
  file_calls::Report("renameat", directory, target.name);
  if (!written || renameat(directory, temporary.c_str(), directory, target.name.c_str()) != 0) {
    UnlinkAt(directory, temporary);
    return false;
  }
  fd.Close();
  return !flush || SyncDirectory(directory);
}

// Made in place: the file's name is its only one, so a failed write takes
// the name away again.
bool CreateExclusively(int directory, const std::string& name, std::string_view contents, bool& existed) {
  Descriptor fd(OpenAt(directory, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  existed = !fd.valid() && errno == EEXIST;
  if (!fd.valid()) return false;
  if (WriteAllPieces(fd.get(), std::span<const std::string_view>(&contents, 1)) && fd.Close()) return true;
  UnlinkAt(directory, name);
  return false;
}

// The directory stays open, so the path is walked once; a name is new when
// no name of the listing, nor one written since, folds to it.
class PosixNewFileWriter final : public NewFileWriter {
 public:
  PosixNewFileWriter(const DataRoot& root, std::string directory, Descriptor handle,
                     std::unordered_set<std::string> names)
      : root_(root), directory_(std::move(directory)), handle_(std::move(handle)), names_(std::move(names)) {}

 private:
  bool WriteName(std::string_view name, std::string_view contents) override {
    try {
      auto [folded, is_new] = names_.insert(AsciiLowerCase(name));
      bool existed = false;
      if (is_new && CreateExclusively(handle_.get(), std::string(name), contents, existed)) return true;
      return (!is_new || existed) && root_.WriteFileAtomicUnflushed(JoinStoredPath(directory_, name), contents);
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  const DataRoot& root_;
  std::string directory_;
  Descriptor handle_;
  std::unordered_set<std::string> names_;
};

// A temporary no writer holds: the lock is free, and the name still
// belongs to the file locked (a writer may have renamed it over its
// target since the directory was read).
bool RemoveIfAbandoned(int directory, const std::string& name) {
  Descriptor fd(OpenAt(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat held, named;
  if (!fd.valid() || fstat(fd.get(), &held) != 0 || !S_ISREG(held.st_mode)) return false;
  if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) return false;
  if (!StatAt(directory, name, named) || named.st_dev != held.st_dev || named.st_ino != held.st_ino) return false;
  return UnlinkAt(directory, name);
}

FileIdentity IdentityOf(const struct stat& info) {
  FileIdentity identity;
  identity.exists = true;
  identity.size = static_cast<uint64_t>(info.st_size);
  identity.modified = static_cast<int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
  identity.volume = static_cast<uint64_t>(info.st_dev);
  identity.file = static_cast<uint64_t>(info.st_ino);
  return identity;
}

}  // namespace

void FileLock::Release() {
  if (handle_ != kNoHandle) close(static_cast<int>(std::exchange(handle_, kNoHandle)));
}

// Short reads and writes at offset 0: the counter is a few bytes.
uint64_t FileLock::ReadCounter() const {
  if (!IsHeld()) return 0;
  char text[64];
  ssize_t got;
  while ((got = pread(static_cast<int>(handle_), text, sizeof text, 0)) < 0 && errno == EINTR) {
  }
  return got > 0 ? ParseLockCounter(std::string_view(text, static_cast<size_t>(got))) : 0;
}

bool FileLock::WriteCounter(uint64_t counter) const {
  if (!IsHeld()) return false;
  const std::string text = FormatLockCounter(counter);
  ssize_t put;
  while ((put = pwrite(static_cast<int>(handle_), text.data(), text.size(), 0)) < 0 && errno == EINTR) {
  }
  return put == static_cast<ssize_t>(text.size());
}

// flock, not fcntl: fcntl's locks belong to the process, so two documents
// of one process would both hold one at once, and closing any descriptor
// of the file (a reader's) would drop the process's lock.
FileLock DataRoot::AcquireLock(std::string_view stored_path) const {
  if (IsReadOnly()) return FileLock();  // a reader never writes, so never waits or leaves a lock file
  auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
  if (!place || !place->IsEntry() || (place->exists && !place->Is(S_IFREG))) return FileLock();
  Descriptor fd(OpenAt(place->directory.get(), place->name, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                       0666));
  struct stat info;
  if (!fd.valid() || fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return FileLock();
  int locked;
  while ((locked = flock(fd.get(), LOCK_EX)) != 0 && errno == EINTR) {
  }
  if (locked != 0) return FileLock();
  return FileLock(fd.Release());
}

std::optional<FileIdentity> DataRoot::IdentifyFile(std::string_view stored_path) const {
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  if (!place) return std::nullopt;
  if (!place->directory.valid()) return FileIdentity();  // its directory is missing
  if (!place->IsEntry()) return std::nullopt;
  if (!place->exists) return FileIdentity();
  return IdentityOf(place->info);
}

// The native name is for messages: the root and each stored component as
// it stands on disk, a missing one as stored. No operation goes through it.
std::optional<std::string> DataRoot::Resolve(std::string_view stored_path) const {
  auto components = SplitStoredPath(stored_path);
  if (!components || native_root_.empty()) return std::nullopt;
  std::string native;
  if (!PosixWalk(native_root_).Find(*components, Goal::kEntry, &native)) return std::nullopt;
  return native;
}

// O_NONBLOCK keeps a FIFO planted in the root from hanging the read; it is
// refused as not a regular file right after. O_NOFOLLOW: a link put in
// place of the file since the walk is refused, not followed.
ReadStatus DataRoot::ReadWholeFile(std::string_view stored_path, std::string& contents,
                                   FileIdentity* identity) const {
  contents.clear();
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  if (!place) return ReadStatus::kFailed;
  if (!place->exists) return ReadStatus::kMissing;
  if (!place->IsEntry()) return ReadStatus::kFailed;
  Descriptor fd(OpenAt(place->directory.get(), place->name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
  if (!fd.valid()) return errno == ENOENT ? ReadStatus::kMissing : ReadStatus::kFailed;
  struct stat info;
  if (fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return ReadStatus::kFailed;
  if (identity) *identity = IdentityOf(info);
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

// fdatasync covers the new size as well as the bytes; a file just made
// needs its directory flushed too, or a crash could lose its name.
bool DataRoot::WriteFileTail(std::string_view stored_path, uint64_t offset, std::string_view data) const {
  if (IsReadOnly()) return false;
  auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
  if (!place || !place->IsEntry() || (place->exists && !place->Is(S_IFREG))) return false;
  const int directory = place->directory.get();
  Descriptor fd(OpenAt(directory, place->name, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
  struct stat info;
  if (!fd.valid() || fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  if (static_cast<uint64_t>(info.st_size) < offset) return false;
  if (static_cast<uint64_t>(info.st_size) != offset && ftruncate(fd.get(), static_cast<off_t>(offset)) != 0) {
    return false;
  }
  auto at = static_cast<off_t>(offset);
  while (!data.empty()) {
    ssize_t put = pwrite(fd.get(), data.data(), data.size(), at);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    data.remove_prefix(static_cast<size_t>(put));
    at += put;
  }
  if (fdatasync(fd.get()) != 0) return false;
  return place->exists || SyncDirectory(directory);
}

bool DataRoot::WriteFileAtomic(std::string_view stored_path, std::string_view contents) const {
  return WriteFileAtomicFromPieces(stored_path, std::span<const std::string_view>(&contents, 1));
}

bool DataRoot::WriteFileAtomicFromPieces(std::string_view stored_path,
                                         std::span<const std::string_view> pieces) const {
  if (IsReadOnly()) return false;
  try {
    auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
    return place && place->IsEntry() && !place->Is(S_IFDIR) && ReplaceAtomically(*place, pieces);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool DataRoot::WriteFileAtomicUnflushed(std::string_view stored_path, std::string_view contents) const {
  if (IsReadOnly()) return false;
  try {
    auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
    return place && place->IsEntry() && !place->Is(S_IFDIR) &&
           ReplaceAtomically(*place, std::span<const std::string_view>(&contents, 1), false);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// One call flushes the whole file system the root is on, whatever was
// written to it: far cheaper than a flush per file when there are many.
bool DataRoot::FlushWrittenFiles() const {
  if (native_root_.empty()) return false;
  file_calls::Report("open", kPlainPath, native_root_);
  Descriptor root(open(native_root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!root.valid()) return false;
#ifdef __linux__
  return syncfs(root.get()) == 0;
#else
  sync();
  return true;
#endif
}

std::unique_ptr<NewFileWriter> DataRoot::OpenNewFileWriter(std::string_view stored_directory) const {
  if (IsReadOnly()) return nullptr;
  try {
    auto place = MakeDirectories(native_root_, stored_directory);
    if (!place || !place->name.empty()) return nullptr;
    auto names = FoldedNames(place->directory.get());
    if (!names) return nullptr;
    return std::make_unique<PosixNewFileWriter>(*this, std::string(stored_directory), std::move(place->directory),
                                                std::move(*names));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool DataRoot::CreateDirectories(std::string_view stored_path) const {
  return !IsReadOnly() && MakeDirectories(native_root_, stored_path).has_value();
}

bool DataRoot::RemoveFile(std::string_view stored_path) const {
  if (IsReadOnly()) return false;
  auto place = Locate(native_root_, stored_path, Goal::kEntryKeepLink, true);
  return place && place->exists && place->IsEntry() && !place->Is(S_IFDIR) &&
         UnlinkAt(place->directory.get(), place->name);
}

bool DataRoot::RenameFile(std::string_view from, std::string_view to) const {
  if (IsReadOnly()) return false;
  auto source = Locate(native_root_, from, Goal::kEntryKeepLink, true);
  if (!source || !source->exists || !source->IsEntry()) return false;
  auto target = Locate(native_root_, to, Goal::kEntryKeepLink, true);
  return target && target->IsEntry() && !target->exists &&
         RenameNoReplace(source->directory.get(), source->name, target->directory.get(), target->name);
}

bool DataRoot::FileExists(std::string_view stored_path) const {
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  return place && place->Is(S_IFREG);
}

bool DataRoot::DirectoryExists(std::string_view stored_path) const {
  auto place = Locate(native_root_, stored_path, Goal::kEntry);
  return place && place->Is(S_IFDIR);
}

size_t DataRoot::RemoveLeftoverTemporaries(std::string_view stored_path) const {
  if (IsReadOnly()) return 0;
  auto place = Locate(native_root_, stored_path, Goal::kEntry, true);
  if (!place || !place->IsEntry()) return 0;
  const int directory = place->directory.get();
  std::vector<std::string> candidates;
  try {
    Descriptor listing(OpenAt(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR* opened = listing.valid() ? fdopendir(listing.get()) : nullptr;
    if (opened == nullptr) return 0;
    listing.Release();
    std::unique_ptr<DIR, int (*)(DIR*)> stream(opened, closedir);
    while (const dirent* entry = readdir(stream.get())) {
      if (IsTemporaryOf(entry->d_name, place->name)) candidates.emplace_back(entry->d_name);
    }
  } catch (const std::bad_alloc&) {
    return 0;
  }
  size_t removed = 0;
  for (const std::string& candidate : candidates) removed += RemoveIfAbandoned(directory, candidate) ? 1 : 0;
  return removed;
}

}  // namespace zds::platform

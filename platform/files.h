// DataRoot: every file the store touches, addressed by stored path.
//
// Documents name their files the way the stored formats do: a path relative
// to the data root whose components are separated by "\"
// ("\favorites\index.xml"). This class is the one place where such a path
// becomes a native one. On a case-sensitive file system each component is
// matched against the directory without regard to ASCII letter case, so
// "\Favorites" and "\favorites" are the same directory, as on Windows.
//
// Nothing outside the data root is ever read, written or deleted: a stored
// path with a ".." component, a ":" (drive letter or stream), a "/", a NUL
// or an empty component (a UNC path, "\a\\b", a trailing "\") is refused.
// One leading "\" is optional; "" and "\" name the root itself, which can
// be read as a directory but never written, deleted or moved. On Windows a
// component Win32 would read as a device (CON, NUL, COM1.txt ...) or
// rewrite (a trailing dot or blank), or one with a wildcard or another
// character Windows names cannot hold, is refused as well.
//
// Links (symbolic links; on Windows junctions and other reparse points
// too) are followed only while they stay inside the root. A path is walked
// from an open handle of the root, each component opened relative to the
// one before without following a link; a link's target is read and walked
// the same way, and where it climbs above the root or is absolute it is
// followed by name along the root's own path only. So nothing outside the
// root is ever asked for (bar the root's own ancestors, looked up to learn
// where the root lies when a link needs it), and what the walk checked is
// what the operation uses: a directory swapped for a link meanwhile steers
// nothing. A link that stays inside works like what it names: reads and
// writes through a link to a file read and replace that file, while a
// delete or a move takes the link itself.
//
// Writes are atomic and durable: the new contents go to a temporary file
// beside the target, are flushed to disk, and are renamed over the target;
// a failed write leaves the old file as it was. A temporary is named
// "<target name>.tmp-" and 16 hex digits drawn from the operating system's
// random source (the name cut to 200 bytes first), so names never collide,
// not even between processes that share a process id. A crash can leave
// one behind; RemoveLeftoverTemporaries deletes those of one file. The
// writer holds its temporary against that from creation to rename (an
// advisory lock on POSIX, an open handle that denies other opens on
// Windows), and cleanup deletes only what it can hold the same way, so a
// save in progress in another process is never disturbed.
//
// A read-only root reads like any other and refuses every change: writes,
// directories, deletes and moves fail, and RemoveLeftoverTemporaries
// removes nothing. A host that only looks at a store opens it so; then
// nothing it or the library does changes a file, whatever path the code
// takes.
//
// Writers of one file take turns through a lock file beside it
// (AcquireLock): an exclusive hold that the system drops when the holder
// closes it or dies, so a lock file a crash left behind never blocks
// anyone. Holds are per open file (flock on POSIX, LockFileEx on
// Windows), not per process as fcntl's are: two documents of one process,
// or two threads, take turns as two processes do, and closing one handle
// never drops another's hold. The lock file keeps a counter that each
// writer advances while it holds the lock, which tells a reader that a
// file changed even when its identity could not (a new file of the same
// size, in the same clock tick, on a reused file id). Lock files stay:
// deleting one would let a writer still holding the old file work beside
// one holding the new.

#ifndef ZDS_PLATFORM_FILES_H_
#define ZDS_PLATFORM_FILES_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zds::platform {

enum class ReadStatus { kRead, kMissing, kFailed };
enum class RootAccess { kReadWrite, kReadOnly };

// What tells one state of a file from another without reading it: an
// atomic write makes a new file, so two writes leave two identities, and
// reading changes nothing. `modified` is in the system's own ticks.
struct FileIdentity {
  bool exists = false;
  uint64_t size = 0;
  int64_t modified = 0;
  uint64_t volume = 0;
  uint64_t file = 0;
  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// An exclusive hold on a lock file, released when this goes (or its
// process ends). Movable, not copyable.
class FileLock {
 public:
  FileLock() = default;
  ~FileLock();
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool IsHeld() const { return handle_ != kNoHandle; }
  // The writers' counter the lock file keeps (0 in a new or unreadable one).
  uint64_t ReadCounter() const;
  bool WriteCounter(uint64_t counter) const;

 private:
  friend class DataRoot;
  static constexpr intptr_t kNoHandle = -1;
  explicit FileLock(intptr_t handle) : handle_(handle) {}
  void Release();
  intptr_t handle_ = kNoHandle;  // a descriptor, or a HANDLE
};

// Many new files written into one directory, not yet durable (one
// FlushWrittenFiles makes them all so): a mail import's message bodies.
// The directory is found and its names listed once, when the writer is
// made, instead of at every file, and a name not there then (in any letter
// case) is created in place, exclusively, never over anything: so a file
// costs about what creating it costs, and a crash may leave it partly
// written under its name. That suits files nothing names until the
// caller's next step (the import's index, saved after the flush), whose
// leftovers the caller knows to remove. A name that stood there, or one
// written twice, is replaced atomically as WriteFileAtomicUnflushed does
// (case variant, link and all). A case variant another program makes
// meanwhile is not seen: the writer is for directories the store itself
// fills, under the lock of what names their files.
class NewFileWriter {
 public:
  virtual ~NewFileWriter() = default;
  // `name` is one component of a stored path; false when it is refused or
  // the write fails.
  bool Write(std::string_view name, std::string_view contents);

 private:
  // The platform's write of a name already found safe.
  virtual bool WriteName(std::string_view name, std::string_view contents) = 0;
};

class DataRoot {
 public:
  // An empty native root refuses every stored path.
  explicit DataRoot(std::string native_root, RootAccess access = RootAccess::kReadWrite);

  const std::string& NativeRoot() const { return native_root_; }
  bool IsReadOnly() const { return access_ == RootAccess::kReadOnly; }

  // The native path of a stored path, for messages: the root and each
  // component as it stands on disk (matched case-blind where needed), a
  // missing one as stored; nullopt when the path is refused. No operation
  // goes through this name.
  std::optional<std::string> Resolve(std::string_view stored_path) const;

  // `identity`, when given, receives the identity of the very file read.
  ReadStatus ReadWholeFile(std::string_view stored_path, std::string& contents,
                           FileIdentity* identity = nullptr) const;
  // The file's identity (exists false when there is none); nullopt when
  // the path is refused or the system cannot tell.
  std::optional<FileIdentity> IdentifyFile(std::string_view stored_path) const;
  // Waits for and takes the exclusive hold on the lock file at the stored
  // path, creating it when missing; a FileLock that holds nothing when the
  // path is refused or the file cannot be made or locked.
  FileLock AcquireLock(std::string_view stored_path) const;
  // The counter of the lock file at the stored path, read without the
  // lock (0 when there is none yet).
  uint64_t ReadLockCounter(std::string_view stored_path) const;
  bool WriteFileAtomic(std::string_view stored_path, std::string_view contents) const;
  // Cuts the file to its first `offset` bytes (making it when missing and
  // `offset` is 0), writes `data` there and flushes both to disk before
  // returning: an append that, once it reports success, survives a crash.
  // Cutting first drops whatever a crashed append left past the last good
  // byte. Not atomic: a crash may leave any prefix of `data`, so the file's
  // own format must tell a whole entry from a torn one. False when the file
  // is shorter than `offset`, is no regular file, or the write fails.
  bool WriteFileTail(std::string_view stored_path, uint64_t offset, std::string_view data) const;
  // The same for contents held in pieces, written one after the other: a
  // document can then write the unchanged runs of its text straight from
  // where they are instead of first copying the whole text together.
  bool WriteFileAtomicFromPieces(std::string_view stored_path, std::span<const std::string_view> pieces) const;
  // The same, but not yet durable: the file is replaced in one step, and a
  // crash may lose the new contents until FlushWrittenFiles succeeded. For
  // many files written at once (a mail import), which one flush then makes
  // durable at a fraction of the cost of flushing each.
  bool WriteFileAtomicUnflushed(std::string_view stored_path, std::string_view contents) const;
  bool FlushWrittenFiles() const;
  // A writer of new files into the directory at the stored path, made with
  // its parents when missing; null when the path is refused, the root is
  // read-only or the directory cannot be made or listed.
  std::unique_ptr<NewFileWriter> OpenNewFileWriter(std::string_view stored_directory) const;
  // Creates the directory and any missing parents up to and including the
  // root itself (never above it); true when it exists afterwards.
  bool CreateDirectories(std::string_view stored_path) const;
  bool RemoveFile(std::string_view stored_path) const;
  // Never replaces an existing file: moving onto one fails.
  bool RenameFile(std::string_view from, std::string_view to) const;
  bool FileExists(std::string_view stored_path) const;
  bool DirectoryExists(std::string_view stored_path) const;
  // Deletes the temporaries a crashed save of this file left beside it
  // (also those of the ".tmp<pid>-<n>" form older versions wrote), never a
  // live one; how many went.
  size_t RemoveLeftoverTemporaries(std::string_view stored_path) const;

  // The saves the documents on this root refused because another writer
  // changed the file after they read it. A host that ran one edit through
  // several documents tells by this count a conflict, worth a fresh start
  // and another try, from any other failure.
  void NoteConflict() const { conflicts_.fetch_add(1, std::memory_order_relaxed); }
  uint64_t GetConflictCount() const { return conflicts_.load(std::memory_order_relaxed); }

 private:
  std::string native_root_;
  RootAccess access_;
  mutable std::atomic<uint64_t> conflicts_{0};
};

// The components of a stored path ("\a\b" -> {"a", "b"}, the root -> {}),
// viewing into stored_path; nullopt when the path is refused.
std::optional<std::vector<std::string_view>> SplitStoredPath(std::string_view stored_path);
// True when the stored path stays inside the data root.
bool IsSafeStoredPath(std::string_view stored_path);
// "\calendar" + "\index.xml" -> "\calendar\index.xml"; a missing or doubled
// separator at the joint is mended.
std::string JoinStoredPath(std::string_view base, std::string_view tail);
// The part up to (not including) the last "\": "\favorites\index.xml" -> "\favorites".
std::string_view StoredDirectoryOf(std::string_view stored_path);

// The name of a temporary for the native file name, with its 64 random bits.
std::string TemporaryNameFor(std::string_view name, uint64_t random_bits);
// True when `candidate` is named as a temporary of the file `name` is.
bool IsTemporaryOf(std::string_view candidate, std::string_view name);

// The lock file's counter as written ("zds-lock " and 20 decimal digits, a
// fixed width so an overwrite never leaves a longer old tail), and read
// back; anything else reads as 0.
std::string FormatLockCounter(uint64_t counter);
uint64_t ParseLockCounter(std::string_view text);

}  // namespace zds::platform

#endif  // ZDS_PLATFORM_FILES_H_

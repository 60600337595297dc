// CXMLDoc: a document that lives in one file under the data root. It knows
// its file, reads it whole, writes it back atomically, and saves after each
// change when auto-save is on.
//
// A file that exists but cannot be used is never overwritten: after such a
// load the document refuses to save over that file unless it is created
// anew from its template on purpose.
//
// Several programs may have the same file open. A save takes the file's
// lock (the lock file "NAME-lock" beside it, platform/files.h), so writers
// take turns, and writes only when the file on disk is still the one this
// document last read or wrote: the same identity, and no other writer has
// advanced the lock file's counter since. Otherwise nothing is written and
// the save reports a conflict (GetLastSaveStatus); the document must then
// be brought up to date (CVFDLDoc::Reload) before its change is made
// again. Reading never takes the lock.
//
// A large document keeps a journal beside its file ("NAME-journal",
// journal.h): a save of one changed node appends that node there instead
// of rewriting the file, and loading applies the journal after reading the
// file. The file is written whole again (a checkpoint) when the journal has
// grown past a fraction of it, when another kind of edit is saved, on
// Checkpoint and when the document is closed. Another writer's append is a
// change like another writer's save. A journal that cannot be trusted
// (damaged, or made for another version of the file) is not applied; the
// document then loads without it, says why in GetOpenProblem, and refuses
// to save, so that both files stay as they are for a person to look at.

#ifndef ZDS_FRAMEWORK_XML_DOC_H_
#define ZDS_FRAMEWORK_XML_DOC_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "zds/framework/journal.h"
#include "zds/framework/rtti.h"
#include "zds/platform/files.h"

namespace zds {

// What opening a document's file came to.
enum class OpenResult {
  kLoaded,      // the file was read
  kCreated,     // there was none: made from the template (and written, with auto-save)
  kMissing,     // there was none and none was to be made
  kUnusable,    // it exists but cannot be used; it is left untouched
  kUnwritable,  // made from the template, but writing it failed
};
// Whether the document is there to be used after such an opening.
inline bool IsOpen(OpenResult result) { return result == OpenResult::kLoaded || result == OpenResult::kCreated; }

// Why a file that exists could not be used, for a message a person can act
// on: the file, the line where reading stopped and what was wrong there.
struct FileProblem {
  std::string path;  // the stored path; empty when there is no problem
  int line = 0;      // 1 for the first line; 0 when it is no place in the text (the file cannot be read)
  std::string what;  // "</rec> where </folder> was due", "the file is empty", ...
  bool operator==(const FileProblem&) const = default;
};

// How the last save came out.
enum class SaveStatus {
  kSaved,
  kConflict,  // another writer changed the file since this document read it; nothing was written
  kFailed,    // no file to save to, one refused at loading, or the write failed
};

// The lock file of a document's file: "\a\b.xml" -> "\a\b.xml-lock".
std::string LockPathOf(std::string_view path);

class CXMLDoc : public CRTTIObject {
 public:
  CXMLDoc() = default;
  CXMLDoc(const CXMLDoc&) = delete;
  CXMLDoc& operator=(const CXMLDoc&) = delete;
  ~CXMLDoc() override = default;

  void SetDataRoot(std::shared_ptr<const platform::DataRoot> root) { root_ = std::move(root); }
  const std::shared_ptr<const platform::DataRoot>& GetDataRoot() const { return root_; }

  // Reads the file at the stored path: kLoaded, kMissing, or kUnusable when
  // it exists but cannot be used (then nothing of it is loaded, and
  // GetOpenProblem says why). On a read-only data root nothing is removed
  // beforehand.
  [[nodiscard]] OpenResult LoadXMLDoc(std::string_view path);
  // Why the last load found its file unusable, or its journal untrusted
  // (then the path is the journal's and the document refuses to save);
  // empty after any other outcome.
  const FileProblem& GetOpenProblem() const { return open_problem_; }
  // Creates the document from its template and remembers `path` as its
  // file; writes it at once only when auto-save is on. False when the
  // template does not parse or that write fails.
  [[nodiscard]] virtual bool NewXMLDoc(std::string_view path);
  // False on failure; GetLastSaveStatus tells a conflict from a failed write.
  [[nodiscard]] bool SaveXMLDoc();
  SaveStatus GetLastSaveStatus() const { return last_save_; }

  void SetAutoSaveFlag(bool flag) { auto_save_ = flag; }
  bool GetAutoSaveFlag() const { return auto_save_; }
  const std::string& GetFilePath() const { return file_path_; }
  bool IsModified() const { return modified_; }

  // Whether this document may keep a journal (on unless turned off). A
  // document other programs read straight from its file turns it off
  // before loading, and is always written whole.
  void SetJournalAllowed(bool allowed) { journal_allowed_ = allowed; }
  bool GetJournalAllowed() const { return journal_allowed_; }
  // A file of at least this many bytes keeps a journal: below it a rewrite
  // costs about what an append does.
  static constexpr uint64_t kJournalThreshold = 256 * 1024;
  // The journal is folded into the file once it holds this fraction of the file.
  static constexpr uint64_t kJournalFraction = 8;
  // Writes the document whole and empties its journal, when the journal
  // holds anything; a save like any other (GetLastSaveStatus).
  [[nodiscard]] bool Checkpoint();
  // The bytes of the journal this document knows on disk (0 when none).
  uint64_t GetJournalSize() const { return synced_journal_.size; }

  // One turn of this writer longer than one save: the file's lock is held
  // until the turn goes, and the saves meanwhile use that hold instead of
  // taking the lock again. For work whose steps no other writer may come
  // between (a mail import writes message files named after the ids the
  // index hands out, then saves the index). IsSynced is false when the lock
  // could not be taken or the file changed since this document read it
  // (GetLastSaveStatus then says which: Reload before trying again). A turn
  // taken within a turn holds nothing of its own.
  class WriterTurn {
   public:
    ~WriterTurn();
    WriterTurn(const WriterTurn&) = delete;
    WriterTurn& operator=(const WriterTurn&) = delete;
    bool IsSynced() const { return synced_; }

   private:
    friend class CXMLDoc;
    explicit WriterTurn(CXMLDoc& doc) : doc_(doc) {}
    CXMLDoc& doc_;
    platform::FileLock lock_;
    bool synced_ = false;
    bool outer_ = false;
  };
  [[nodiscard]] std::unique_ptr<WriterTurn> TakeWriterTurn();

  // The whole text: replacing it rebuilds the document, and fails (leaving
  // the document as it was) on text that does not parse.
  [[nodiscard]] virtual bool SetXml(std::string text) = 0;
  virtual std::string GetXml() const = 0;

 protected:
  // Writes the whole text to `path` atomically; SaveXMLDoc's last step.
  // The default writes GetXml(); a kind that can hand its text over in
  // pieces avoids building it as one string first.
  // `gate` sees the text's pieces just before they are written, and may
  // stop the write (false).
  using WriteGate = std::function<bool(std::span<const std::string_view>)>;
  virtual bool WriteXmlTo(const platform::DataRoot& root, std::string_view path, const WriteGate& gate) const {
    std::string text = GetXml();
    std::string_view piece = text;
    return gate(std::span<const std::string_view>(&piece, 1)) && root.WriteFileAtomic(path, text);
  }
  // Runs before a save takes the file's lock, which lives in the file's
  // directory: a kind that makes that directory makes it here.
  virtual void PrepareToWrite(const platform::DataRoot& /*root*/, std::string_view /*path*/) const {}
  // The template a new document of this kind starts from.
  virtual std::string GetTemplateText() const { return std::string(); }

  // An edit's last step: marks the document changed and saves it when `save`
  // or auto-save asks for it. False when that save failed; the caller then
  // undoes the change, and RestoreModified puts the mark back as it was.
  [[nodiscard]] bool CommitChange(bool save);
  void RestoreModified(bool modified) { modified_ = modified; }
  // A kind's SetXml says here why it refused a text: the line and what.
  void NoteTextProblem(int line, std::string what) { open_problem_ = {std::string(), line, std::move(what)}; }

  // Whether the save an edit is about to need may append to the journal
  // instead: a journalled document, large enough, with no other change
  // unsaved and room left in its journal.
  bool CanJournal() const;
  // Whether this document appended to its journal since it last wrote its file.
  bool HasAppendedToJournal() const { return journal_appended_; }
  // Saves one change as a journal entry, under the lock and after the same
  // check a save makes; false as SaveXMLDoc (GetLastSaveStatus).
  [[nodiscard]] bool AppendJournal(std::string_view payload);
  // Applies a journal's entries right after the file's text was read;
  // `text` holds what the entries view and lives until the tree is
  // replaced. All or nothing: false leaves the tree as the file alone made it.
  virtual bool ApplyJournal(std::string text, const std::vector<JournalEntry>& entries) {
    (void)text;
    return entries.empty();
  }

 private:
  std::shared_ptr<const platform::DataRoot> root_;
  std::string file_path_;
  std::string refused_path_;  // a file that exists but could not be used
  FileProblem open_problem_;
  // The file as this document last read or wrote it, and the lock file's
  // counter then: a save that finds either changed is a conflict.
  std::string synced_path_;
  platform::FileIdentity synced_identity_;
  uint64_t synced_counter_ = 0;
  SaveStatus last_save_ = SaveStatus::kSaved;

  // The journal as this document last read or wrote it; where its next
  // entry goes (0: it starts afresh with a header); the version of the
  // file on disk its header binds to.
  platform::FileIdentity synced_journal_;
  uint64_t journal_size_ = 0;
  JournalBinding disk_version_;
  bool disk_crc_known_ = false;
  bool journal_allowed_ = true;
  bool journal_appended_ = false;

  void SyncWithDisk(std::string_view path);
  enum class LoadStep { kDone, kAgain };
  LoadStep LoadOnce(std::string_view path, bool may_retry, OpenResult& result);
  // Under the lock: whether the files are still as this document knows them.
  bool StillSynced(const platform::FileLock& lock, uint64_t& counter);
  // The lock of the writer's turn, or else `taken`, newly acquired.
  const platform::FileLock& HeldOrTaken(platform::FileLock& taken);
  const platform::FileLock* turn_lock_ = nullptr;
  bool auto_save_ = false;
  bool modified_ = false;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_DOC_H_

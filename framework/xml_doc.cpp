#include "zds/framework/xml_doc.h"

#include <algorithm>

namespace zds {

std::string LockPathOf(std::string_view path) { return std::string(path) + "-lock"; }

OpenResult CXMLDoc::LoadXMLDoc(std::string_view path) {
  open_problem_ = {};
  if (!root_) return OpenResult::kUnusable;
  root_->RemoveLeftoverTemporaries(path);  // a crashed save's, never a live one
  OpenResult result = OpenResult::kUnusable;
  for (int attempt = 0; LoadOnce(path, attempt < 3, result) == LoadStep::kAgain; ++attempt) {
  }
  return result;
}

// The counter is read before the file: a writer advances it only after its
// file is in place, so a file read afterwards is at least that new, and a
// later writer's change is seen as one. The file and its journal are two
// reads; when the counter moved between them, a writer came in between and
// the pair may not belong together, so it is read again.
CXMLDoc::LoadStep CXMLDoc::LoadOnce(std::string_view path, bool may_retry, OpenResult& result) {
  const std::string lock_path = LockPathOf(path);
  const std::string journal_path = JournalPathOf(path);
  const uint64_t counter = root_->ReadLockCounter(lock_path);
  std::string text;
  platform::FileIdentity identity;
  switch (root_->ReadWholeFile(path, text, &identity)) {
    case platform::ReadStatus::kMissing:
      synced_path_ = path;
      synced_identity_ = platform::FileIdentity();
      synced_counter_ = counter;
      synced_journal_ = root_->IdentifyFile(journal_path).value_or(platform::FileIdentity());
      journal_size_ = 0;
      result = OpenResult::kMissing;
      return LoadStep::kDone;
    case platform::ReadStatus::kFailed:
      refused_path_ = path;
      open_problem_ = {std::string(path), 0, "it cannot be read"};
      result = OpenResult::kUnusable;
      return LoadStep::kDone;
    case platform::ReadStatus::kRead:
      break;
  }
  std::string journal;
  platform::FileIdentity journal_identity;
  platform::ReadStatus journal_read = platform::ReadStatus::kMissing;
  if (journal_allowed_) journal_read = root_->ReadWholeFile(journal_path, journal, &journal_identity);
  if (may_retry && root_->ReadLockCounter(lock_path) != counter) return LoadStep::kAgain;

  JournalBinding version{text.size(), 0};
  disk_crc_known_ = journal_allowed_ && (version.size >= kJournalThreshold || !journal.empty());
  if (disk_crc_known_) version.crc = Crc32(text);
  JournalScan scan;
  if (journal_read == platform::ReadStatus::kFailed) {
    scan.verdict = JournalVerdict::kCorrupt;
    scan.what = "the journal cannot be read";
  } else if (!journal.empty()) {
    scan = ScanJournal(journal, version);
  }
  if (!SetXml(std::move(text))) {
    refused_path_ = path;
    open_problem_.path = path;
    if (open_problem_.what.empty()) open_problem_.what = "it is no document of this kind";
    result = OpenResult::kUnusable;
    return LoadStep::kDone;
  }
  open_problem_ = {};
  file_path_ = path;
  if (refused_path_ == path) refused_path_.clear();
  const std::vector<JournalEntry> entries = std::move(scan.entries);
  if (scan.verdict == JournalVerdict::kApplies && !ApplyJournal(std::move(journal), entries)) {
    scan.verdict = JournalVerdict::kCorrupt;
    scan.what = "an entry of the journal does not apply to the document";
  }
  if (scan.verdict == JournalVerdict::kCorrupt || scan.verdict == JournalVerdict::kOtherVersion) {
    refused_path_ = path;
    open_problem_ = {journal_path, 0, scan.what};
  }
  synced_path_ = path;
  synced_identity_ = identity;
  synced_counter_ = counter;
  synced_journal_ = journal_read == platform::ReadStatus::kRead ? journal_identity : platform::FileIdentity();
  journal_size_ = scan.verdict == JournalVerdict::kApplies || scan.verdict == JournalVerdict::kEmpty ? scan.good_size : 0;
  disk_version_ = version;
  journal_appended_ = false;
  modified_ = false;
  result = OpenResult::kLoaded;
  return LoadStep::kDone;
}

// A file this document did not just find missing, or one it refused, is
// taken as it stands now: making a document anew there replaces it on purpose.
bool CXMLDoc::NewXMLDoc(std::string_view path) {
  if (!SetXml(GetTemplateText())) return false;
  file_path_ = path;
  if (synced_path_ != path || refused_path_ == path) SyncWithDisk(path);
  if (refused_path_ == path) refused_path_.clear();  // created anew on purpose
  journal_size_ = 0;
  disk_crc_known_ = false;
  modified_ = true;
  return !auto_save_ || SaveXMLDoc();
}

void CXMLDoc::SyncWithDisk(std::string_view path) {
  synced_path_ = path;
  synced_counter_ = root_ ? root_->ReadLockCounter(LockPathOf(path)) : 0;
  auto identity = root_ ? root_->IdentifyFile(path) : std::nullopt;
  synced_identity_ = identity.value_or(platform::FileIdentity());
  auto journal = root_ ? root_->IdentifyFile(JournalPathOf(path)) : std::nullopt;
  synced_journal_ = journal.value_or(platform::FileIdentity());
}

bool CXMLDoc::StillSynced(const platform::FileLock& lock, uint64_t& counter) {
  counter = lock.ReadCounter();
  const auto identity = root_->IdentifyFile(file_path_);
  const auto journal = journal_allowed_ ? root_->IdentifyFile(JournalPathOf(file_path_))
                                        : std::optional<platform::FileIdentity>(synced_journal_);
  if (!identity || !journal) return false;
  if (synced_path_ != file_path_ || counter != synced_counter_ || *identity != synced_identity_ ||
      *journal != synced_journal_) {
    last_save_ = SaveStatus::kConflict;
    root_->NoteConflict();
    return false;
  }
  return true;
}

// Under the lock: check, write, then advance the counter, so that no other
// writer can come between what was checked and what is written. With a
// journal on disk the write is a checkpoint: the journal first records the
// version about to be written, so that should the journal outlive the
// write (a crash before it is emptied) it is known to be folded in.
bool CXMLDoc::SaveXMLDoc() {
  last_save_ = SaveStatus::kFailed;
  if (!root_ || file_path_.empty() || file_path_ == refused_path_) return false;
  PrepareToWrite(*root_, file_path_);
  platform::FileLock taken;
  const platform::FileLock& lock = HeldOrTaken(taken);
  if (!lock.IsHeld()) return false;
  uint64_t counter = 0;
  if (!StillSynced(lock, counter)) return false;
  const std::string journal_path = JournalPathOf(file_path_);
  const bool has_journal = synced_journal_.size > 0;
  JournalBinding written;
  bool crc_known = false;
  const auto gate = [&](std::span<const std::string_view> pieces) {
    written = {};
    for (std::string_view piece : pieces) written.size += piece.size();
    crc_known = journal_allowed_ && (written.size >= kJournalThreshold || has_journal);
    if (crc_known) {
      for (std::string_view piece : pieces) written.crc = Crc32(piece, written.crc);
    }
    if (!has_journal) return true;
    // A journal that holds nothing of this version can go before the write.
    if (journal_size_ == 0) return root_->WriteFileTail(journal_path, 0, {});
    std::string mark = FormatJournalEntry(FormatCheckpointPayload(written));
    if (!root_->WriteFileTail(journal_path, journal_size_, mark)) return false;
    journal_size_ += mark.size();
    return true;
  };
  const bool saved = WriteXmlTo(*root_, file_path_, gate);
  if (has_journal) {
    // Should emptying fail, the journal ends in the mark of what was just
    // written, and loads as folded in; the next entry starts it afresh.
    if (saved) {
      (void)root_->WriteFileTail(journal_path, 0, {});
      journal_size_ = 0;
    }
    synced_journal_ = root_->IdentifyFile(journal_path).value_or(platform::FileIdentity());
  }
  if (!saved) {
    if (has_journal) synced_counter_ = lock.WriteCounter(counter + 1) ? counter + 1 : counter;
    return false;
  }
  // The write is durable by now: what follows only tells other writers,
  // who see the new identity even should the counter not advance.
  synced_counter_ = lock.WriteCounter(counter + 1) ? counter + 1 : counter;
  synced_identity_ = root_->IdentifyFile(file_path_).value_or(platform::FileIdentity());
  disk_version_ = written;
  disk_crc_known_ = crc_known;
  journal_appended_ = false;
  last_save_ = SaveStatus::kSaved;
  modified_ = false;
  return true;
}

bool CXMLDoc::Checkpoint() {
  last_save_ = SaveStatus::kSaved;
  if (synced_journal_.size == 0 && file_path_ != refused_path_) return true;
  return SaveXMLDoc();
}

bool CXMLDoc::CanJournal() const {
  return journal_allowed_ && root_ && !root_->IsReadOnly() && !modified_ && !file_path_.empty() &&
         file_path_ != refused_path_ && synced_path_ == file_path_ && synced_identity_.exists && disk_crc_known_ &&
         disk_version_.size >= kJournalThreshold && journal_size_ < disk_version_.size / kJournalFraction;
}

// A failed append may have left part of its entry: the next one cuts it
// off, and the journal's new identity is this writer's own doing.
bool CXMLDoc::AppendJournal(std::string_view payload) {
  last_save_ = SaveStatus::kFailed;
  if (!CanJournal()) return false;
  platform::FileLock taken;
  const platform::FileLock& lock = HeldOrTaken(taken);
  if (!lock.IsHeld()) return false;
  uint64_t counter = 0;
  if (!StillSynced(lock, counter)) return false;
  const std::string journal_path = JournalPathOf(file_path_);
  std::string data = journal_size_ == 0 ? FormatJournalHeader(disk_version_) : std::string();
  data += FormatJournalEntry(payload);
  const bool written = root_->WriteFileTail(journal_path, journal_size_, data);
  if (written) {
    journal_size_ += data.size();
    journal_appended_ = true;
  }
  synced_journal_ = root_->IdentifyFile(journal_path).value_or(platform::FileIdentity());
  synced_counter_ = lock.WriteCounter(counter + 1) ? counter + 1 : counter;
  if (!written) return false;
  last_save_ = SaveStatus::kSaved;
  modified_ = false;
  return true;
}

const platform::FileLock& CXMLDoc::HeldOrTaken(platform::FileLock& taken) {
  if (turn_lock_ != nullptr) return *turn_lock_;
  taken = root_->AcquireLock(LockPathOf(file_path_));
  return taken;
}

std::unique_ptr<CXMLDoc::WriterTurn> CXMLDoc::TakeWriterTurn() {
  std::unique_ptr<WriterTurn> turn(new WriterTurn(*this));
  if (turn_lock_ != nullptr) {
    turn->synced_ = true;
    return turn;
  }
  const SaveStatus last = last_save_;
  last_save_ = SaveStatus::kFailed;
  if (!root_ || file_path_.empty() || file_path_ == refused_path_) return turn;
  PrepareToWrite(*root_, file_path_);
  turn->lock_ = root_->AcquireLock(LockPathOf(file_path_));
  uint64_t counter = 0;
  if (!turn->lock_.IsHeld() || !StillSynced(turn->lock_, counter)) return turn;
  last_save_ = last;  // nothing was saved: the last save's outcome stands
  turn->synced_ = true;
  turn->outer_ = true;
  turn_lock_ = &turn->lock_;
  return turn;
}

CXMLDoc::WriterTurn::~WriterTurn() {
  if (outer_) doc_.turn_lock_ = nullptr;
}

bool CXMLDoc::CommitChange(bool save) {
  modified_ = true;
  return !(save || auto_save_) || SaveXMLDoc();
}

}  // namespace zds

#include "zds/framework/xml_doc.h"

namespace zds {

std::string LockPathOf(std::string_view path) { return std::string(path) + "-lock"; }

// The counter is read before the file: a writer advances it only after its
// file is in place, so a file read afterwards is at least that new, and a
// later writer's change is seen as one.
OpenResult CXMLDoc::LoadXMLDoc(std::string_view path) {
  open_problem_ = {};
  if (!root_) return OpenResult::kUnusable;
  root_->RemoveLeftoverTemporaries(path);  // a crashed save's, never a live one
  const uint64_t counter = root_->ReadLockCounter(LockPathOf(path));
  std::string text;
  platform::FileIdentity identity;
  switch (root_->ReadWholeFile(path, text, &identity)) {
    case platform::ReadStatus::kMissing:
      synced_path_ = path;
      synced_identity_ = platform::FileIdentity();
      synced_counter_ = counter;
      return OpenResult::kMissing;
    case platform::ReadStatus::kFailed:
      refused_path_ = path;
      open_problem_ = {std::string(path), 0, "it cannot be read"};
      return OpenResult::kUnusable;
    case platform::ReadStatus::kRead:
      break;
  }
  if (!SetXml(std::move(text))) {
    refused_path_ = path;
    open_problem_.path = path;
    if (open_problem_.what.empty()) open_problem_.what = "it is no document of this kind";
    return OpenResult::kUnusable;
  }
  open_problem_ = {};
  file_path_ = path;
  if (refused_path_ == path) refused_path_.clear();
  synced_path_ = path;
  synced_identity_ = identity;
  synced_counter_ = counter;
  modified_ = false;
  return OpenResult::kLoaded;
}

// A file this document did not just find missing, or one it refused, is
// taken as it stands now: making a document anew there replaces it on purpose.
bool CXMLDoc::NewXMLDoc(std::string_view path) {
  if (!SetXml(GetTemplateText())) return false;
  file_path_ = path;
  if (synced_path_ != path || refused_path_ == path) SyncWithDisk(path);
  if (refused_path_ == path) refused_path_.clear();  // created anew on purpose
  modified_ = true;
  return !auto_save_ || SaveXMLDoc();
}

void CXMLDoc::SyncWithDisk(std::string_view path) {
  synced_path_ = path;
  synced_counter_ = root_ ? root_->ReadLockCounter(LockPathOf(path)) : 0;
  auto identity = root_ ? root_->IdentifyFile(path) : std::nullopt;
  synced_identity_ = identity.value_or(platform::FileIdentity());
}

// Under the lock: check, write, then advance the counter, so that no other
// writer can come between what was checked and what is written.
bool CXMLDoc::SaveXMLDoc() {
  last_save_ = SaveStatus::kFailed;
  if (!root_ || file_path_.empty() || file_path_ == refused_path_) return false;
  PrepareToWrite(*root_, file_path_);
  platform::FileLock lock = root_->AcquireLock(LockPathOf(file_path_));
  if (!lock.IsHeld()) return false;
  const uint64_t counter = lock.ReadCounter();
  const auto identity = root_->IdentifyFile(file_path_);
  if (!identity) return false;
  if (synced_path_ != file_path_ || counter != synced_counter_ || *identity != synced_identity_) {
    last_save_ = SaveStatus::kConflict;
    root_->NoteConflict();
    return false;
  }
  if (!WriteXmlTo(*root_, file_path_)) return false;
  // The write is durable by now: what follows only tells other writers,
  // who see the new identity even should the counter not advance.
  synced_counter_ = lock.WriteCounter(counter + 1) ? counter + 1 : counter;
  synced_identity_ = root_->IdentifyFile(file_path_).value_or(platform::FileIdentity());
  last_save_ = SaveStatus::kSaved;
  modified_ = false;
  return true;
}

bool CXMLDoc::CommitChange(bool save) {
  modified_ = true;
  return !(save || auto_save_) || SaveXMLDoc();
}

}  // namespace zds

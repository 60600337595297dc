// Archiving a mail box: its files are copied as they are on disk, so the
// archive is the mail box as the account last saved it, bodies included,
// and opens as any mail box does.

#include "zds/browsing/history_doc.h"

namespace zds {
namespace {

class MailBoxCopy {
 public:
  MailBoxCopy(const platform::DataRoot& from, const platform::DataRoot& to, std::string_view source_base,
              std::string target_base)
      : from_(from), to_(to), source_base_(source_base), target_base_(std::move(target_base)) {}

  // Where a file of the mail box lands; empty for one outside its directory.
  std::string TargetOf(std::string_view file) const {
    if (!file.starts_with(source_base_) || file.size() == source_base_.size() || file[source_base_.size()] != '\\') {
      return {};
    }
    return target_base_ + std::string(file.substr(source_base_.size()));
  }

  // A missing file is no failure: a folder never opened has no index yet.
  bool Copy(std::string_view file) {
    const std::string target = TargetOf(file);
    std::string contents;
    switch (from_.ReadWholeFile(file, contents)) {
      case platform::ReadStatus::kMissing: return true;
      case platform::ReadStatus::kFailed: return false;
      case platform::ReadStatus::kRead: break;
    }
    return !target.empty() && to_.CreateDirectories(platform::StoredDirectoryOf(target)) &&
           to_.WriteFileAtomicUnflushed(target, contents);
  }

 private:
  const platform::DataRoot& from_;
  const platform::DataRoot& to_;
  std::string_view source_base_;
  std::string target_base_;
};

// Bodies are copied one by one without a flush each, and made durable
// together before the history names them.
bool CopyMailBox(CMBoxController& box, MailBoxCopy& copy, const platform::DataRoot& to) {
  if (!copy.Copy(box.GetFilePath())) return false;
  for (CMBCFolder* folder : box.GetMailFolders()) {
    if (folder->GetSrc().empty()) continue;
    if (!copy.Copy(platform::JoinStoredPath(box.GetBasePath(), folder->GetSrc()))) return false;
    CMIDLDoc* index = box.LoadVFDLDoc<CMIDLDoc>(*folder, false);
    if (index == nullptr) continue;
    for (const CMIDLRec& rec : index->Recs()) {
      if (!copy.Copy(index->GetMailFilePath(rec.GetID()))) return false;
    }
  }
  return to.FlushWrittenFiles();
}

}  // namespace

std::string CHistoryDoc::ArchiveMailBox(CMBoxController& box, std::string_view account, const CTime& when) {
  CHistoryFolder* mail = TopFolder(kMailFolder);
  if (mail == nullptr || GetDataRoot() == nullptr || box.GetDataRoot() == nullptr) return {};
  EnsurePlaced();
  CHistoryFolder folder;
  folder.SetID(GetLocalID(GetNewID()));
  folder.SetAlias(GetNewAlias(*mail, account));
  folder.SetAttribute("normal");
  folder.SetContent(kMailBoxContent);
  CHistoryExtendFolder& fields = *folder.GetExtendFolder();
  fields.account = account;
  fields.backup_time = when.Format("%Y-%m-%d %H:%M");

  const std::string directory = "\\mail\\" + folder.GetID();
  MailBoxCopy copy(*box.GetDataRoot(), *GetDataRoot(), box.GetBasePath(),
                   platform::JoinStoredPath(GetBasePath(), directory));
  const std::string box_file = copy.TargetOf(box.GetFilePath());
  if (box_file.empty()) return {};
  folder.SetSrc(directory + box_file.substr(box_file.rfind('\\')));
  if (!CopyMailBox(box, copy, *GetDataRoot())) return {};
  return AddFolder(mail->GetPos(), folder, true);
}

}  // namespace zds

#include "zds/browsing/fav_doc.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "zds/platform/ascii.h"
#include "zds/platform/files.h"

namespace zds {
namespace {

constexpr std::string_view kShortcutExtension = ".url";
constexpr int kShortcutsPerDirectory = 256;
constexpr std::string_view kShortcutHead = "[InternetShortcut]\r\nURL=";

// The file's path without its extension; the path itself when its last
// component has none (a "." in a directory's name is no extension).
std::string_view WithoutExtension(std::string_view path) {
  const size_t dot = path.rfind('.');
  const size_t slash = path.rfind('\\');
  if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) return path;
  return path.substr(0, dot);
}

std::string ShortcutText(std::string_view url) {
  std::string text(kShortcutHead);
  for (char c : url) {
    if (c != '\r' && c != '\n') text += c;  // one line holds the whole address
  }
  return text + "\r\n";
}

std::string TimeText(int64_t seconds) { return seconds > 0 ? CTime(seconds).Format(kTimeFormatMinutes) : std::string(); }

int64_t Seconds(std::string_view text) { return ParseDateTime(text).GetTime(); }

}  // namespace

void CFavDoc::InitNodeExtendType(CVFDLNode& node) {
  // A folder's sub-type is its attribute word's place among the five
  // ("root" 0 ... "hidden" 4): hidden folders show their own icon.
  if (node.IsFolder()) {
    node.SetExtendType(node.GetAttribute() == kAttrHidden ? kFavTopFolderType : kFavFolderType);
    return;
  }
  if (node.GetNodeType() != kNodeRec) return;
  static constexpr std::array<std::pair<std::string_view, int>, 4> kByContent{{{kFavNormalContent, kFavNormalType},
                                                                               {kFavShortlogContent, kFavShortlogType},
                                                                               {kFavNotepadContent, kFavNotepadType},
                                                                               {kFavMailIndexContent, kFavMailIndexType}}};
  const std::string type = node.GetContentType();
  for (const auto& [content, extend_type] : kByContent) {
    if (type == content) node.SetExtendType(extend_type);
  }
}

void CFavDoc::PrepareNewRec(CFavRec& rec) {
  if (keep_times_) return;
  CFavExtendRec& fields = rec.GetExtendRec();
  fields.createtime = fields.updatetime = fields.accesstime = Now();
}

void CFavDoc::PrepareNewFolder(CFavFolder& folder) {
  if (keep_times_) return;
  CFavExtendFolder& fields = folder.GetExtendFolder();
  fields.createtime = fields.updatetime = fields.accesstime = Now();
}

bool CFavDoc::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) {
  const auto* fav = NodeAs<CFavRec>(&rec);
  if (fav == nullptr) return CVFDLFamily::UpdateRec(pos, rec, flag);  // refused there as of another class
  CFavRec stamped(*fav);
  stamped.GetExtendRec().updatetime = Now();
  return CVFDLFamily::UpdateRec(pos, stamped, flag);
}

bool CFavDoc::UpdateFolder(std::string_view pos, const CVFDLFolder& folder, bool flag) {
  const auto* fav = NodeAs<CFavFolder>(&folder);
  if (fav == nullptr) return CVFDLFamily::UpdateFolder(pos, folder, flag);
  CFavFolder stamped(*fav);
  stamped.GetExtendFolder().updatetime = Now();
  return CVFDLFamily::UpdateFolder(pos, stamped, flag);
}

std::string CFavDoc::GetActualFilePos(std::string_view pos) const {
  const CFavRec* rec = GetRec(pos);
  return rec ? FileOf(*rec) : std::string();
}

std::string CFavDoc::FileOf(const CFavRec& rec) const {
  if (rec.GetSrc().empty() || !platform::IsSafeStoredPath(rec.GetSrc())) return {};
  return platform::JoinStoredPath(GetBasePath(), rec.GetSrc());
}

int CFavDoc::DelLinkFile(const CVFDLNode& node) {
  const CFavRec* rec = AsRec(&node);
  if (rec == nullptr || !rec->GetExtendRec().ownership || GetDataRoot() == nullptr) return 1;
  const std::string file = FileOf(*rec);
  if (file.empty()) return 1;
  RemoveOwnedFiles(file);
  return 1;
}

void CFavDoc::RemoveOwnedFiles(std::string_view file) const {
  if (GetDataRoot() == nullptr) return;
  const std::string_view companion = WithoutExtension(file);
  if (companion != file) GetDataRoot()->RemoveFile(companion);  // a file already gone is no failure
  GetDataRoot()->RemoveFile(file);
}

bool CFavDoc::DelRecOnDoc(std::string_view pos) {
  const CFavRec* rec = GetRec(pos);
  if (rec == nullptr) return DelRec(pos);  // the status says why
  // Its files go only once the record is gone for good.
  const bool owned = rec->GetExtendRec().ownership;
  const std::string file = GetActualFilePos(pos);
  if (!DelRec(pos)) return false;
  if (owned && !file.empty()) RemoveOwnedFiles(file);
  return true;
}

bool CFavDoc::DelFolderOnDoc(std::string_view pos) {
  const CFavFolder* folder = GetFolder(pos);
  if (folder == nullptr || folder == GetRoot()) return DelFolder(pos);  // the status says why
  std::vector<std::string> files;
  for (const CFavRec& rec : Recs(*folder)) {
    std::string file = rec.GetExtendRec().ownership ? FileOf(rec) : std::string();
    if (!file.empty()) files.push_back(std::move(file));
  }
  if (!DelFolder(pos)) return false;
  for (const std::string& file : files) RemoveOwnedFiles(file);
  return true;
}

CVFDLDoc* CFavDoc::LoadRelatedVFDLDoc(std::string_view pos, std::string_view path) {
  const CFavRec* rec = GetRec(pos);
  if (rec == nullptr) return CCASDVFDLDoc::LoadRelatedVFDLDoc("", "");  // refused: no file to open
  const std::string related(path.empty() ? WithoutExtension(rec->GetSrc()) : path);
  return CCASDVFDLDoc::LoadRelatedVFDLDoc(related, rec->GetContentClass());
}

bool CFavDoc::ChangeLinkFilePath(std::string_view pos, std::string_view old_path, std::string_view new_path,
                                 bool flag) {
  const CFavRec* rec = GetRec(pos);
  if (rec == nullptr || !platform::SameIgnoringAsciiCase(rec->GetSrc(), old_path) || new_path.empty() ||
      !platform::IsSafeStoredPath(old_path) || !platform::IsSafeStoredPath(new_path)) {
    return false;
  }
  CFavRec moved(*rec);
  moved.SetSrc(new_path);
  const platform::DataRoot* root = GetDataRoot().get();
  std::vector<std::pair<std::string, std::string>> renamed;
  auto undo = [&] {
    for (auto it = renamed.rbegin(); it != renamed.rend(); ++it) root->RenameFile(it->second, it->first);
    return false;
  };
  if (rec->GetExtendRec().ownership && root != nullptr) {
    const std::string from = platform::JoinStoredPath(GetBasePath(), old_path);
    const std::string to = platform::JoinStoredPath(GetBasePath(), new_path);
    if (root->FileExists(from)) {
      root->CreateDirectories(platform::StoredDirectoryOf(to));  // a failure shows in the move
      if (!root->RenameFile(from, to)) return false;
      renamed.emplace_back(from, to);
    }
    const std::string_view from_companion = WithoutExtension(from), to_companion = WithoutExtension(to);
    if (from_companion != from && to_companion != to &&
        (root->FileExists(from_companion) || root->DirectoryExists(from_companion))) {
      if (!root->RenameFile(from_companion, to_companion)) return undo();
      renamed.emplace_back(from_companion, to_companion);
    }
  }
  return UpdateRec(pos, moved, flag) || undo();
}

std::string CFavDoc::NewLinkRec(std::string_view parent_pos, const BookmarkItem& item, bool flag) {
  CFavRec rec;
  rec.SetAlias(item.title.empty() ? item.url : item.title);
  rec.SetAttribute(kAttrNormal);
  rec.ComposeContent(kFavNormalContent, "", "universal");
  // The id the record is about to get names its shortcut, in groups of 256
  // by id: a directory of every link would make each new name's case-blind
  // check list thousands of entries.
  const int id = GetNewID();
  rec.SetSrc("\\" + GetLocalID(id / kShortcutsPerDirectory) + "\\" + GetLocalID(id) + std::string(kShortcutExtension));
  rec.GetExtendRec().ownership = true;
  if (keep_times_) {
    CFavExtendRec& fields = rec.GetExtendRec();
    fields.createtime = item.add_date > 0 ? TimeText(item.add_date) : Now();
    fields.updatetime = item.last_modified > 0 ? TimeText(item.last_modified) : fields.createtime;
    fields.accesstime = fields.createtime;
  }
  return AddRec(parent_pos, rec, flag);
}

std::string CFavDoc::AddLink(std::string_view parent_pos, std::string_view title, std::string_view url, bool flag) {
  if (GetDataRoot() == nullptr || url.empty()) return {};
  BookmarkItem item;
  item.title = title;
  item.url = url;
  const std::string pos = NewLinkRec(parent_pos, item, flag);
  if (pos.empty()) return {};
  // The record first: only the writer whose record took the id writes its
  // shortcut, so a writer beside this one never has its file replaced.
  const std::string file = GetActualFilePos(pos);
  GetDataRoot()->CreateDirectories(platform::StoredDirectoryOf(file));  // a failure shows in the write
  if (GetDataRoot()->WriteFileAtomic(file, ShortcutText(url))) return pos;
  static_cast<void>(DelRec(pos));
  return {};
}

std::string CFavDoc::GetLinkURL(std::string_view pos) const {
  const CFavRec* rec = GetRec(pos);
  return rec ? LinkURLOf(*rec) : std::string();
}

std::string CFavDoc::LinkURLOf(const CFavRec& rec) const {
  const std::string file = FileOf(rec);
  if (rec.GetContentType() != kFavNormalContent || GetDataRoot() == nullptr || file.empty()) return {};
  std::string text;
  if (GetDataRoot()->ReadWholeFile(file, text) != platform::ReadStatus::kRead) return {};
  for (size_t line = 0; line < text.size();) {
    const size_t end = std::min(text.find_first_of("\r\n", line), text.size());
    if (text.compare(line, 4, "URL=") == 0) return text.substr(line + 4, end - line - 4);
    line = end + 1;
  }
  return {};
}

std::vector<BookmarkItem> CFavDoc::ExportBookmarks(std::string_view folder_pos) const {
  std::vector<BookmarkItem> items;
  const CFavFolder* top = GetFolder(folder_pos);
  if (top == nullptr) return items;
  for (auto it = Subtree(*top).begin(), end = Subtree(*top).end(); it != end; ++it) {
    BookmarkItem item;
    item.depth = it.depth() - 1;
    item.title = it->GetAlias();
    if (const CFavFolder* folder = AsFolder(&*it)) {
      item.folder = true;
      item.add_date = Seconds(folder->GetExtendFolder().createtime);
      item.last_modified = Seconds(folder->GetExtendFolder().updatetime);
    } else if (const CFavRec* rec = AsRec(&*it)) {
      item.url = LinkURLOf(*rec);
      if (item.url.empty()) continue;
      item.add_date = Seconds(rec->GetExtendRec().createtime);
      item.last_modified = Seconds(rec->GetExtendRec().updatetime);
    } else {
      continue;
    }
    items.push_back(std::move(item));
  }
  return items;
}

bool CFavDoc::ImportBookmarks(std::string_view folder_pos, const std::vector<BookmarkItem>& items, bool flag,
                              FavImportCounts& counts) {
  counts = {};
  const platform::DataRoot* root = GetDataRoot().get();
  if (GetFolder(folder_pos) == nullptr || root == nullptr) return false;
  // Shortcut files are named after the ids the document hands out: no other
  // writer may hand out the same ones before this import is saved.
  const auto turn = TakeWriterTurn();
  if (!turn->IsSynced()) return false;
  // One save at the end: the whole import stands or falls with it.
  const bool auto_save = GetAutoSaveFlag();
  SetAutoSaveFlag(false);
  keep_times_ = true;
  std::vector<std::string> parents{std::string(folder_pos)};  // the folder each depth goes into
  std::vector<std::string> written;
  std::string directory;  // of the last shortcut written
  std::unique_ptr<platform::NewFileWriter> writer;
  for (const BookmarkItem& item : items) {
    parents.resize(static_cast<size_t>(std::clamp(item.depth, 0, static_cast<int>(parents.size()) - 1)) + 1);
    if (item.folder) {
      CFavFolder folder;
      CVFDLFolder* parent = GetFolder(parents.back());
      folder.SetAlias(GetNewAlias(*parent, item.title.empty() ? "Untitled" : item.title));
      folder.SetAttribute(kAttrNormal);
      CFavExtendFolder& fields = folder.GetExtendFolder();
      fields.createtime = item.add_date > 0 ? TimeText(item.add_date) : Now();
      fields.updatetime = item.last_modified > 0 ? TimeText(item.last_modified) : fields.createtime;
      fields.accesstime = fields.createtime;
      std::string pos = AddFolder(parents.back(), folder, false);
      ++(pos.empty() ? counts.refused : counts.folders);
      parents.push_back(pos.empty() ? parents.back() : std::move(pos));  // a refused folder's entries join its parent
      continue;
    }
    const std::string pos = NewLinkRec(parents.back(), item, false);
    std::string file = pos.empty() ? std::string() : GetActualFilePos(pos);
    if (!file.empty() && (writer == nullptr || platform::StoredDirectoryOf(file) != directory)) {
      directory = platform::StoredDirectoryOf(file);
      writer = root->OpenNewFileWriter(directory);
    }
    if (pos.empty() || writer == nullptr || !writer->Write(file.substr(directory.size() + 1), ShortcutText(item.url))) {
      if (!pos.empty()) static_cast<void>(DelRec(pos));
      ++counts.refused;
      continue;
    }
    written.push_back(std::move(file));
    ++counts.links;
  }
  keep_times_ = false;
  SetAutoSaveFlag(auto_save);
  const bool files_ok = root->FlushWrittenFiles();
  if (files_ok && (!(flag || auto_save) || SaveXMLDoc())) return true;
  for (const std::string& file : written) root->RemoveFile(file);
  static_cast<void>(Reload());
  counts = {};
  return false;
}

}  // namespace zds

#include "zds/mail/midl_doc.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace zds {

std::string_view GetMailColumnTitle(int folder_type, int index) {
  if (index < 0 || index >= static_cast<int>(std::size(kMailColumns))) return {};
  // The user wrote what these folders hold: the other party is its recipient.
  const bool written = folder_type == kMailOutboxType || folder_type == kMailSentItemsType ||
                       folder_type == kMailDraftsType;
  if (index == 2 && written) return LoadResourceString(res::kMailColumnTo);
  return LoadResourceString(kMailColumns[index].title_id);
}

CMIDLDoc::CMIDLDoc() { SetAutoSaveFlag(true); }

// The mail index knows the folders by name up to "Delete Items" only: the
// automatic folders take the type of the folder their name contains.
int CMIDLDoc::GetFolderExtendType() const {
  const std::string path = GetHolder() != nullptr ? GetHolder()->GetPath() : GetRootPath();
  for (const MailFolderType& type : kMailFolderTypes) {
    if (type.type == kMailAutoInboxType) break;
    if (path.find(type.in_path) != std::string::npos) return type.type;
  }
  return kMailOtherFolderType;
}

void CMIDLDoc::InitNodeExtendType(CVFDLNode& node) {
  if (node.GetNodeType() == kNodeRec) node.SetExtendType(kMailRecType);
  else if (node.IsFolder()) node.SetExtendType(GetFolderExtendType());
}

void CMIDLDoc::InitExtendTypes() {
  if (GetRoot() == nullptr) return;
  const int folder_type = GetFolderExtendType();
  GetRoot()->SetExtendType(folder_type);
  for (CVFDLNode& node : Subtree(*GetRoot())) {
    node.SetExtendType(node.IsFolder() ? folder_type : node.GetNodeType() == kNodeRec ? kMailRecType : 0);
  }
}

std::string CMIDLDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool /*flag*/) {
  return CVFDLFamily::AddRec(parent_pos, rec, false);
}

// An update keeps the node where it is, so the order stands; only the keys
// of the two indexes may have moved.
bool CMIDLDoc::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool /*flag*/) {
  CMIDLRec* target = GetRec(pos);
  if (target == nullptr || !order_valid_) return CVFDLFamily::UpdateRec(pos, rec, false);
  const std::string old_message_id = target->GetExtendRec().message_id;
  const std::string old_uidl = target->GetExtendRec().uidl;
  if (!CVFDLFamily::UpdateRec(pos, rec, false)) return false;
  Reindex(*target, old_message_id, old_uidl);
  return true;
}

bool CMIDLDoc::SetNewFlag(std::string_view pos, bool new_flag) {
  const CMIDLRec* rec = GetRec(pos);
  if (rec == nullptr) return false;
  if (rec->GetExtendRec().new_flag == new_flag) return true;
  CMIDLRec changed = *rec;
  changed.GetExtendRec().new_flag = new_flag;
  return UpdateRec(pos, changed, false);
}

void CMIDLDoc::OnNodeRemoving(CVFDLNode& node) {
  order_valid_ = false;
  CVFDLFamily::OnNodeRemoving(node);
}

void CMIDLDoc::OnTreeReplaced() {
  order_valid_ = false;
  CVFDLFamily::OnTreeReplaced();
}

void CMIDLDoc::PrepareNewNode(CVFDLNode& node) {
  order_valid_ = false;
  CVFDLFamily::PrepareNewNode(node);
}

const CMIDLDoc::Order& CMIDLDoc::GetOrder() const {
  if (order_valid_) return order_;
  order_ = Order();
  if (GetRoot() != nullptr) {
    for (CMIDLRec& rec : RecWalk(GetRoot())) {
      order_.index_of.emplace(&rec, static_cast<uint32_t>(order_.recs.size()));
      order_.recs.push_back(&rec);
      const CMIDLExtendRec& extend = rec.GetExtendRec();
      for (auto [index, key] : {std::pair(&order_.by_message_id, &extend.message_id), std::pair(&order_.by_uidl, &extend.uidl)}) {
        if (key->empty()) continue;
        Holders& holders = (*index)[*key];
        if (holders.first == nullptr) holders.first = &rec;
        else holders.others.push_back(&rec);
      }
    }
    for (const CVFDLNode* node = order_.recs.empty() ? nullptr : order_.recs.front();
         node != nullptr && node->GetNodeType() == kNodeRec; node = node->GetNextSibling()) {
      ++order_.leading_run;
    }
  }
  order_valid_ = true;
  return order_;
}

namespace {

template <typename Index>
void Unindex(Index& index, const std::string& key, const CMIDLRec* rec) {
  if (key.empty()) return;
  auto it = index.find(key);
  if (it == index.end()) return;
  auto& holders = it->second;
  if (holders.first != rec) {
    std::erase(holders.others, rec);
  } else if (holders.others.empty()) {
    index.erase(it);
  } else {
    holders.first = holders.others.front();
    holders.others.erase(holders.others.begin());
  }
}

// Kept in file order, so that the first holder is the answer.
template <typename Index, typename Before>
void IndexIn(Index& index, const std::string& key, CMIDLRec* rec, const Before& before) {
  if (key.empty()) return;
  auto& holders = index[key];
  if (holders.first == nullptr) {
    holders.first = rec;
    return;
  }
  std::vector<CMIDLRec*> all{holders.first};
  all.insert(all.end(), holders.others.begin(), holders.others.end());
  all.insert(std::upper_bound(all.begin(), all.end(), rec, before), rec);
  holders.first = all.front();
  holders.others.assign(all.begin() + 1, all.end());
}

}  // namespace

void CMIDLDoc::Reindex(CMIDLRec& rec, const std::string& old_message_id, const std::string& old_uidl) {
  if (!order_valid_) return;
  const auto before = [this](const CMIDLRec* a, const CMIDLRec* b) {
    return order_.index_of.at(a) < order_.index_of.at(b);
  };
  const CMIDLExtendRec& extend = rec.GetExtendRec();
  if (extend.message_id != old_message_id) {
    Unindex(order_.by_message_id, old_message_id, &rec);
    IndexIn(order_.by_message_id, extend.message_id, &rec, before);
  }
  if (extend.uidl != old_uidl) {
    Unindex(order_.by_uidl, old_uidl, &rec);
    IndexIn(order_.by_uidl, extend.uidl, &rec, before);
  }
}

CMIDLRec* CMIDLDoc::FirstOf(const KeyIndex& index, std::string_view key) {
  if (key.empty()) return nullptr;
  auto it = index.find(key);
  return it == index.end() ? nullptr : it->second.first;
}

CMIDLRec* CMIDLDoc::GetRecByMessageID(std::string_view message_id) const {
  return FirstOf(GetOrder().by_message_id, message_id);
}

CMIDLRec* CMIDLDoc::GetRecByUIDL(std::string_view uidl) const { return FirstOf(GetOrder().by_uidl, uidl); }

int CMIDLDoc::GetRecNum(std::string_view folder_pos) const {
  if (folder_pos.empty()) return static_cast<int>(GetOrder().recs.size());
  const CVFDLFolder* folder = GetFolder(folder_pos);
  if (folder == nullptr) return 0;
  int count = 0;
  for (const CMIDLRec& rec : Recs(*folder)) {
    static_cast<void>(rec);
    ++count;
  }
  return count;
}

// Only the first child counts: the rule the mail program's folder list was
// built on, kept as it stands. The whole document's count is the real one.
int CMIDLDoc::GetNewRecNum(std::string_view folder_pos) const {
  if (folder_pos.empty()) {
    const Order& order = GetOrder();
    return static_cast<int>(std::count_if(order.recs.begin(), order.recs.end(),
                                          [](const CMIDLRec* rec) { return rec->GetExtendRec().new_flag; }));
  }
  const CVFDLNode* node = GetNodeByPos(folder_pos);
  if (node == nullptr || !node->IsFolder()) return 0;
  const CVFDLNode* first = static_cast<const CVFDLFolder*>(node)->GetFirstChild();
  if (first == nullptr) return 0;
  if (const CMIDLRec* rec = AsRec(first)) return rec->GetExtendRec().new_flag ? 1 : 0;
  if (first->IsFolder()) return GetRecNum(first->GetPos());
  return 0;
}

std::string CMIDLDoc::GetFirstRecID() const { return GetRecIDByIndex(0); }

std::string CMIDLDoc::GetNextRecID(std::string_view pos) const {
  const CMIDLRec* rec = GetRec(pos);
  if (rec == nullptr) return {};
  return GetRecIDByIndex(GetRecIndex(*rec) + 1);
}

std::string CMIDLDoc::GetRecIDByIndex(int index) const {
  const CMIDLRec* rec = GetRecByIndex(index);
  return rec ? rec->GetPos() : std::string();
}

CMIDLRec* CMIDLDoc::GetRecByIndex(int index) const {
  const Order& order = GetOrder();
  return index >= 0 && static_cast<size_t>(index) < order.recs.size() ? order.recs[static_cast<size_t>(index)]
                                                                       : nullptr;
}

int CMIDLDoc::GetRecIndex(const CVFDLNode& rec) const {
  const Order& order = GetOrder();
  auto it = order.index_of.find(&rec);
  return it == order.index_of.end() ? -1 : static_cast<int>(it->second);
}

int CMIDLDoc::GetLeadingRunLength() const { return GetOrder().leading_run; }

uint32_t CMIDLDoc::GetTotalSize() const {
  uint32_t total = 0;
  for (const CMIDLRec* rec : GetOrder().recs) {
    total += static_cast<uint32_t>(field::ParseAtol(rec->GetExtendRec().size));
  }
  return total;
}

std::string CMIDLDoc::GetMailDirectory() const {
  const std::string& file = GetFilePath();
  if (file.empty()) return {};
  std::string_view name = file;
  const size_t dot = name.rfind('.');
  const size_t cut = name.rfind('\\');
  if (dot != std::string_view::npos && (cut == std::string_view::npos || dot > cut)) name = name.substr(0, dot);
  return std::string(name);
}

std::string CMIDLDoc::GetMailFilePath(std::string_view rec_id) const {
  std::string directory = GetMailDirectory();
  if (directory.empty() || rec_id.empty()) return {};
  const size_t cut = rec_id.rfind('\\');
  if (cut != std::string_view::npos) rec_id.remove_prefix(cut + 1);  // a position names the same record
  directory += '\\';
  directory += field::FormatPadded(field::ParseAtoi(rec_id) / 256, 4);
  directory += '\\';
  directory += rec_id;
  directory += ".eml";
  return directory;
}

bool CMIDLDoc::ReadRecMail(std::string_view rec_id, std::string& out) const {
  out.clear();
  const std::string file = GetMailFilePath(rec_id);
  return GetDataRoot() != nullptr && !file.empty() && ReadMail(*GetDataRoot(), file, out);
}

bool CMIDLDoc::WriteRecMail(std::string_view rec_id, std::string_view text) const {
  const std::string file = GetMailFilePath(rec_id);
  return GetDataRoot() != nullptr && !file.empty() &&
         GetDataRoot()->CreateDirectories(platform::StoredDirectoryOf(file)) && WriteMail(*GetDataRoot(), file, text);
}

bool CMIDLDoc::ReadMail(const platform::DataRoot& root, std::string_view file, std::string& out) {
  out.clear();
  try {
    std::string read;
    if (root.ReadWholeFile(file, read) != platform::ReadStatus::kRead) return false;
    // The text ends at the first NUL, as the C string it was read into did.
    if (const void* nul = std::memchr(read.data(), '\0', read.size())) {
      read.resize(static_cast<size_t>(static_cast<const char*>(nul) - read.data()));
    }
    out = std::move(read);
    return true;
  } catch (const std::bad_alloc&) {
    out.clear();
    return false;
  }
}

bool CMIDLDoc::WriteMail(const platform::DataRoot& root, std::string_view file, std::string_view text) {
  return root.WriteFileAtomic(file, text);
}

}  // namespace zds

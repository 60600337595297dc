#include "zds/framework/vfdl_doc.h"

#include <algorithm>

#include "zds/framework/messages.h"
#include "zds/framework/vfdl_walk.h"
#include "zds/framework/xml_text.h"

namespace zds {
namespace {

// How many levels of folders a copy of `top` takes: 0 for a record.
int SubtreeFolderLevels(const CVFDLNode& top) {
  int deepest = 0;
  std::vector<std::pair<const CVFDLNode*, int>> pending{{&top, 1}};
  while (!pending.empty()) {
    auto [node, level] = pending.back();
    pending.pop_back();
    if (!node->IsFolder()) continue;
    deepest = std::max(deepest, level);
    for (const CVFDLNode* child = static_cast<const CVFDLFolder*>(node)->GetFirstChild(); child;
         child = child->GetNextSibling()) {
      pending.emplace_back(child, level + 1);
    }
  }
  return deepest;
}

bool IsBlankText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

// Text that may stand between the root element and the root folder:
// well-formed content without a folder of its own at the top, which would
// be taken for the root folder when the file is read again.
bool IsPrologueText(std::string_view text) {
  std::string wrapped = "<p>" + std::string(text) + "</p>";
  XmlScanner scanner(wrapped);
  XmlToken token;
  std::vector<XmlAttribute> attributes;
  while (scanner.Next(token, attributes)) {
    if (token.depth == 1 && token.name == "folder") return false;
  }
  return !scanner.failed();
}

}  // namespace

OpenResult OpenVFDLDoc(CVFDLDoc& doc, std::string_view path, std::string_view base_path, bool create) {
  OpenResult result = doc.LoadXMLDoc(path);
  const bool read_only = doc.GetDataRoot() && doc.GetDataRoot()->IsReadOnly();
  if (result == OpenResult::kMissing && create && !read_only) {
    if (doc.NewXMLDoc(path)) {
      result = OpenResult::kCreated;
    } else if (doc.GetLastSaveStatus() == SaveStatus::kConflict) {
      result = doc.LoadXMLDoc(path);  // another program made it meanwhile: take theirs
    } else {
      return doc.GetRoot() ? OpenResult::kUnwritable : OpenResult::kUnusable;
    }
  }
  if (IsOpen(result)) doc.InitVFDLDoc(base_path, "kov:", "", -1, -1);
  return result;
}

CVFDLDoc::CVFDLDoc() = default;

// Closing folds a journal this document wrote into its file. The kind's
// hooks are gone by now, so this happens only when every node still holds
// the text it is written with; the journal otherwise stays, and the next
// load applies it.
CVFDLDoc::~CVFDLDoc() {
  try {
    if (HasAppendedToJournal() && !IsModified() && WritesFromTextAlone()) (void)Checkpoint();
  } catch (...) {  // NOLINT(bugprone-empty-catch): a close that cannot checkpoint leaves a valid journal
  }
}

bool CVFDLDoc::WritesFromTextAlone() const {
  if (GetRoot() == nullptr) return false;
  const auto written_as_read = [](const CVFDLNode& node) {
    if (node.source_.empty()) return false;
    if (!node.IsFolder()) return true;
    const auto& folder = static_cast<const CVFDLFolder&>(node);
    return !(folder.self_closing_ && folder.child_count_ > 0);
  };
  if (!written_as_read(*GetRoot())) return false;
  for (const CVFDLNode& node : Subtree(*GetRoot())) {
    if (!written_as_read(node)) return false;
  }
  return true;
}

bool CVFDLDoc::InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix, int, int) {
  PreUpdateVersion();
  base_path_ = base_path;
  scheme_ = scheme;
  pos_prefix_ = prefix;
  if (GetRoot() == nullptr) return false;
  AfterUpdateVersion();
  return true;
}

std::string CVFDLDoc::GetPosPrefix() const {
  if (!pos_prefix_.empty()) return pos_prefix_;
  if (holder_) return holder_->GetPos();
  std::string prefix = scheme_;
  prefix += '\\';
  if (GetRoot()) prefix += GetRoot()->GetAlias();
  return prefix;
}

std::string CVFDLDoc::GetRootPath() const {
  if (holder_) return holder_->GetPath();
  std::string path = scheme_;
  path += '\\';
  if (GetRoot()) path += GetRoot()->GetAlias();
  return path;
}

CVFDLNode* CVFDLDoc::GetNodeByPos(std::string_view pos) const {
  size_t cut = pos.rfind('\\');
  if (cut == std::string_view::npos) return nullptr;
  CVFDLNode* node = GetNodeByID(pos.substr(cut + 1));
  if (node == nullptr) return nullptr;
  // The prefix is compared piece by piece, from the end, as GetPosPrefix
  // would build it: building it costs more than the look-up itself.
  std::string_view rest = pos.substr(0, cut);
  for (const CVFDLDoc* doc = this;;) {
    if (!doc->pos_prefix_.empty()) return rest == doc->pos_prefix_ ? node : nullptr;
    if (doc->holder_ == nullptr) {
      std::string_view alias = doc->GetRoot() ? std::string_view(doc->GetRoot()->GetAlias()) : std::string_view();
      bool same = rest.size() == doc->scheme_.size() + 1 + alias.size() && rest.starts_with(doc->scheme_) &&
                  rest[doc->scheme_.size()] == '\\' && rest.ends_with(alias);
      return same ? node : nullptr;
    }
    const std::string& holder_id = doc->holder_->GetID();
    if (doc->holder_->GetDoc() == nullptr) return rest == holder_id ? node : nullptr;
    if (rest.size() <= holder_id.size() || !rest.ends_with(holder_id) ||
        rest[rest.size() - holder_id.size() - 1] != '\\') {
      return nullptr;
    }
    rest.remove_suffix(holder_id.size() + 1);
    doc = doc->holder_->GetDoc();
  }
}

CVFDLFolder* CVFDLDoc::GetFolderByPos(std::string_view pos) const {
  CVFDLNode* node = GetNodeByPos(pos);
  return node && node->IsFolder() ? static_cast<CVFDLFolder*>(node) : nullptr;
}

CVFDLNode* CVFDLDoc::GetNodeByPath(std::string_view path) const {
  if (!GetRoot()) return nullptr;
  std::string root_path = GetRootPath();
  if (!path.starts_with(root_path)) return nullptr;
  std::string_view rest = path.substr(root_path.size());
  if (rest.empty()) return GetRoot();
  if (rest.front() != '\\') return nullptr;
  CVFDLNode* node = GetRoot();
  while (!rest.empty() && node) {
    rest.remove_prefix(1);
    std::string_view alias = rest.substr(0, rest.find('\\'));
    rest.remove_prefix(alias.size());
    CVFDLNode* child = nullptr;
    if (CVFDLDoc* expanded = node->GetDoc()->GetExpandedDoc(*node)) {
      child = expanded->GetRoot()->FindChildByAlias(alias);
    }
    if (child == nullptr && node->IsFolder()) child = static_cast<CVFDLFolder*>(node)->FindChildByAlias(alias);
    node = child;
  }
  return node;
}

std::string CVFDLDoc::GetFolderID(std::string_view pos) const {
  CVFDLNode* node = GetNodeByPos(pos);
  if (node == nullptr) return std::string();
  if (!node->IsFolder()) node = node->GetParent();
  return node ? node->GetID() : std::string();
}

std::string CVFDLDoc::GetRootAttribute(std::string_view name) const {
  size_t open = head_.rfind('<');
  if (open == std::string_view::npos) return std::string();
  CXMLLine line(head_.substr(open));
  return line.GetAttrValue(name);
}

bool CVFDLDoc::SetRootAttribute(std::string_view name, std::string_view value, bool flag) {
  size_t open = head_.rfind('<');
  if (GetRoot() == nullptr || open == std::string_view::npos || !CXMLLine::IsName(name)) {
    return Finish(EditStatus::kRefused) == EditStatus::kDone;
  }
  // The tag is scanned as an empty element; its attributes keep their offsets.
  std::string probe(head_.substr(open));
  probe.back() = '/';
  probe += '>';
  XmlScanner scanner(probe);
  XmlToken token;
  std::vector<XmlAttribute> attributes;
  if (!scanner.Next(token, attributes)) return Finish(EditStatus::kRefused) == EditStatus::kDone;
  std::string text(head_.substr(0, open));
  std::string_view tag = head_.substr(open);
  auto found = std::find_if(attributes.begin(), attributes.end(), [&](const XmlAttribute& a) { return a.name == name; });
  if (found != attributes.end()) {
    size_t start = static_cast<size_t>(found->raw_value.data() - probe.data());
    text.append(tag.substr(0, start));
    AppendEscaped(text, value);
    text.append(tag.substr(start + found->raw_value.size()));
  } else {
    text.append(tag.substr(0, tag.size() - 1));
    text.append(" ").append(name).append("=\"");
    AppendEscaped(text, value);
    text.append("\">");
  }
  std::string_view old_head = head_;
  head_ = Hold(std::move(text));
  return Commit(flag, [&] { head_ = old_head; }) == EditStatus::kDone;
}

bool CVFDLDoc::SetPrologue(std::string_view text, bool flag) {
  if (GetRoot() == nullptr || !IsPrologueText(text)) return Finish(EditStatus::kRefused) == EditStatus::kDone;
  std::string_view old_prologue = prologue_;
  prologue_ = Hold(std::string(text));
  return Commit(flag, [&] { prologue_ = old_prologue; }) == EditStatus::kDone;
}

std::string CVFDLDoc::FormatSYNCLine(std::string_view text) const {
  CXMLLine line;
  line.SetLine("sync", true, CXMLLine::Type::kElement);
  line.AddAttribute("doc", root_tag_);
  line.AddAttribute("file", GetFilePath());
  line.AddAttribute("text", text);
  return line.GetLine(true);
}

// ---- edits ----

template <typename Undo>
EditStatus CVFDLDoc::Commit(bool flag, Undo&& undo, std::string_view journal_entry) {
  bool was_modified = IsModified();
  if (journal_entry.empty() ? CommitChange(flag) : AppendJournal(journal_entry)) return Finish(EditStatus::kDone);
  undo();
  RestoreModified(was_modified);
  return Finish(GetLastSaveStatus() == SaveStatus::kConflict ? EditStatus::kConflict : EditStatus::kNotSaved);
}

bool CVFDLDoc::JournalsEditOf(const CVFDLNode& node, bool flag) const {
  return !node.IsFolder() && (flag || GetAutoSaveFlag()) && CanJournal();
}

std::string_view CVFDLDoc::MakeJournalEntry(std::string operation, CVFDLNode& node) {
  operation += '\n';
  const size_t element_at = operation.size();
  operation += NodeText(node);
  std::string_view entry = Hold(std::move(operation));
  node.source_ = entry.substr(element_at);
  return entry;
}

// The entries are views into `text`: it is held before anything else, and
// the nodes made from them keep viewing it.
bool CVFDLDoc::ApplyJournal(std::string text, const std::vector<JournalEntry>& entries) {
  Hold(std::move(text));
  for (const JournalEntry& entry : entries) {
    if (!ApplyJournalEntry(entry)) {
      (void)SetXml(std::string(*text_));  // all or nothing: back to what the file holds
      return false;
    }
  }
  OnTreeReplaced();
  return true;
}

bool CVFDLDoc::ApplyJournalEntry(const JournalEntry& entry) {
  if (entry.op == 'D') {
    CVFDLNode* node = GetNodeByID(entry.id);
    if (node == nullptr || node->IsFolder()) return false;
    RemoveNode(*node);
    return true;
  }
  std::unique_ptr<CVFDLNode> value = ReadNodeText(entry.element);
  if (value == nullptr || value->IsFolder()) return false;
  if (entry.op == 'A') {
    CVFDLNode* parent = GetNodeByID(entry.id);
    if (parent == nullptr || !parent->IsFolder() || value->GetID().empty() || GetNodeByID(value->GetID())) {
      return false;
    }
    value->lead_ = newline_;
    AddNode(static_cast<CVFDLFolder*>(parent), std::move(value), entry.index);
    return true;
  }
  CVFDLNode* node = GetNodeByID(entry.id);
  if (node == nullptr || node->GetNodeType() != value->GetNodeType() || !FitsLike(*value, *node)) return false;
  CVFDLNode::UnknownParts unknown = value->ReleaseUnknown();
  RenameNode(*node, value->GetAlias());
  node->AssignValue(*value);
  node->id_ = std::string(entry.id);
  node->RestoreUnknown(std::move(unknown));
  node->source_ = value->source_;
  InitNodeExtendType(*node);
  return true;
}

OpenResult CVFDLDoc::Reload(platform::WindowHandle window) {
  if (GetFilePath().empty()) return OpenResult::kMissing;
  const std::string path = GetFilePath();  // the load replaces what it refers to
  OpenResult result = LoadXMLDoc(path);
  if (result == OpenResult::kLoaded && window) {
    platform::PostWindowMessage(window, WM_ZDS_CHANGED, reinterpret_cast<uintptr_t>(GetRoot()), kChangeUpdated);
  }
  return result;
}

bool CVFDLDoc::FitsLike(const CVFDLNode& value, const CVFDLNode& model) {
  if (value.GetNodeType() != model.GetNodeType()) return false;
  if (value.GetExtend() == nullptr) return !model.IsExtendRequired();
  return SameExtensionClass(value.GetExtend(), model.GetExtend());
}

int CVFDLDoc::FolderDepth(const CVFDLNode& folder) {
  int depth = 1;
  for (const CVFDLNode* up = folder.GetParent(); up; up = up->GetParent()) ++depth;
  return depth;
}

std::unique_ptr<CVFDLNode> CVFDLDoc::NewNodeLike(const CVFDLNode& value) const {
  switch (value.GetNodeType()) {
    case kNodeRec: return NewRecPointer();
    case kNodeFolder: return NewFolderPointer();
    case kNodeLink: return NewLinkPointer();
    default: return value.Clone();
  }
}

std::string_view CVFDLDoc::Hold(std::string text) {
  held_.push_back(std::move(text));
  return held_.back();
}

EditStatus CVFDLDoc::InsertNode(std::string_view parent_pos, std::unique_ptr<CVFDLNode> node, bool flag, int index,
                                std::string* added_pos) {
  CVFDLFolder* parent = GetFolderByPos(parent_pos);
  if (parent == nullptr) return Finish(EditStatus::kNotFound);
  if (node->IsFolder() && FolderDepth(*parent) >= kMaxFolderDepth) return Finish(EditStatus::kRefused);
  int max_id = GetMaxID();
  node->lead_ = newline_;
  const bool journal = JournalsEditOf(*node, flag);
  CVFDLNode* added = AddNode(parent, std::move(node), index);
  std::string_view entry;
  if (journal) entry = MakeJournalEntry("A " + parent->GetID() + ' ' + std::to_string(index), *added);
  EditStatus status = Commit(
      flag,
      [&] {
        RemoveNode(*added);
        RestoreMaxID(max_id);
      },
      entry);
  if (status == EditStatus::kDone && added_pos) *added_pos = added->GetPos();
  return status;
}

void CVFDLDoc::ReplaceValue(CVFDLNode& node, const CVFDLNode& value) {
  std::string id = node.GetID();
  // What no hook understood belongs to the stored element, not to the value:
  // a caller that built the value itself never saw it.
  CVFDLNode::UnknownParts unknown = node.ReleaseUnknown();
  RenameNode(node, value.GetAlias());
  node.AssignValue(value);
  node.id_ = std::move(id);
  node.RestoreUnknown(std::move(unknown));
  node.source_ = {};
  InitNodeExtendType(node);
}

EditStatus CVFDLDoc::ReplaceNode(std::string_view pos, int node_type, const CVFDLNode& value, bool flag) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (node == nullptr || (node_type >= 0 && node->GetNodeType() != node_type)) return Finish(EditStatus::kNotFound);
  if (!FitsLike(value, *node)) return Finish(EditStatus::kRefused);
  std::unique_ptr<CVFDLNode> old = node->Clone();
  std::string_view old_source = node->source_;
  const bool journal = JournalsEditOf(*node, flag);
  ReplaceValue(*node, value);
  std::string_view entry;
  if (journal) entry = MakeJournalEntry("U " + node->GetID(), *node);
  return Commit(
      flag,
      [&] {
        ReplaceValue(*node, *old);
        node->source_ = old_source;
      },
      entry);
}

EditStatus CVFDLDoc::RemoveNodeAt(std::string_view pos, int node_type, bool flag) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (node == nullptr || (node_type >= 0 && node->GetNodeType() != node_type)) return Finish(EditStatus::kNotFound);
  if (node == GetRoot()) return Finish(EditStatus::kRefused);
  CVFDLNode* next = node->next_;
  CVFDLFolder* parent = node->parent_;
  const std::string_view next_lead = next ? next->lead_ : std::string_view();
  const std::string_view close_lead = parent->close_lead_;
  const std::string_view parent_source = parent->source_;
  // Only a blank lead leaves the rest of the text as it was, which is what
  // a journal entry of the bare id can say.
  std::string_view entry;
  if (IsBlankText(node->lead_) && JournalsEditOf(*node, flag)) entry = Hold("D " + node->GetID());
  // What stood before the node and was not understood (comments, elements
  // of a newer version) stays in the file: it moves to what follows.
  if (!IsBlankText(node->lead_)) {
    if (next) {
      next->lead_ = Hold(std::string(node->lead_) + std::string(next->lead_));
    } else {
      parent->close_lead_ = Hold(std::string(node->lead_) + std::string(parent->close_lead_));
      if (parent->close_source_.empty()) parent->source_ = {};
    }
  }
  Detached detached = DetachNode(*node);
  EditStatus status = Commit(
      flag,
      [&] {
        ReattachNode(detached);
        if (next) next->lead_ = next_lead;
        parent->close_lead_ = close_lead;
        parent->source_ = parent_source;
      },
      entry);
  if (status == EditStatus::kDone) ReleaseNode(*node);
  return status;
}

std::string CVFDLDoc::AddNodeCopy(std::string_view parent_pos, const CVFDLNode& value, bool flag, int index) {
  std::unique_ptr<CVFDLNode> node = NewNodeLike(value);
  if (!FitsLike(value, *node)) {
    Finish(EditStatus::kRefused);
    return std::string();
  }
  node->AssignValue(value);
  PrepareNewNode(*node);
  std::string pos;
  (void)InsertNode(parent_pos, std::move(node), flag, index, &pos);
  return pos;
}

std::string CVFDLDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  return AddNodeCopy(parent_pos, rec, flag);
}

std::string CVFDLDoc::AddFolder(std::string_view parent_pos, const CVFDLFolder& folder, bool flag) {
  return AddNodeCopy(parent_pos, folder, flag);
}

bool CVFDLDoc::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) {
  return ReplaceNode(pos, kNodeRec, rec, flag) == EditStatus::kDone;
}

bool CVFDLDoc::UpdateFolder(std::string_view pos, const CVFDLFolder& folder, bool flag) {
  return ReplaceNode(pos, kNodeFolder, folder, flag) == EditStatus::kDone;
}

bool CVFDLDoc::UpdateNode(std::string_view pos, const CVFDLNode& value, bool flag) {
  return ReplaceNode(pos, value.GetNodeType(), value, flag) == EditStatus::kDone;
}

bool CVFDLDoc::DelRec(std::string_view pos) { return RemoveNodeAt(pos, kNodeRec, false) == EditStatus::kDone; }

bool CVFDLDoc::DelFolder(std::string_view pos) { return RemoveNodeAt(pos, kNodeFolder, false) == EditStatus::kDone; }

bool CVFDLDoc::DelNode(std::string_view pos, bool flag) { return RemoveNodeAt(pos, -1, flag) == EditStatus::kDone; }

std::string CVFDLDoc::AddCopyNodeByID(std::string_view id, std::string_view parent_id, bool flag) {
  CVFDLNode* source = GetNodeByID(id);
  CVFDLNode* target = GetNodeByID(parent_id);
  if (source == nullptr || target == nullptr || !target->IsFolder()) {
    Finish(EditStatus::kNotFound);
    return std::string();
  }
  for (CVFDLNode* up = target; up; up = up->parent_) {
    if (up == source) {  // a folder cannot be copied into itself
      Finish(EditStatus::kRefused);
      return std::string();
    }
  }
  if (FolderDepth(*target) + SubtreeFolderLevels(*source) > kMaxFolderDepth) {
    Finish(EditStatus::kRefused);
    return std::string();
  }
  struct Job {
    const CVFDLNode* from;
    CVFDLFolder* into;
  };
  int max_id = GetMaxID();
  std::vector<Job> jobs{{source, static_cast<CVFDLFolder*>(target)}};
  CVFDLNode* first = nullptr;
  while (!jobs.empty()) {
    Job job = jobs.back();
    jobs.pop_back();
    std::unique_ptr<CVFDLNode> copy = job.from->Clone();
    copy->id_.clear();
    copy->lead_ = newline_;
    CVFDLNode* added = AddNode(job.into, std::move(copy));
    if (first == nullptr) first = added;
    if (job.from->IsFolder()) {
      const auto& folder = static_cast<const CVFDLFolder&>(*job.from);
      std::vector<Job> children;
      for (CVFDLNode* child = folder.first_child_; child; child = child->next_) {
        children.push_back({child, static_cast<CVFDLFolder*>(added)});
      }
      jobs.insert(jobs.end(), children.rbegin(), children.rend());
    }
  }
  EditStatus status = Commit(flag, [&] {
    RemoveNode(*first);
    RestoreMaxID(max_id);
  });
  return status == EditStatus::kDone ? first->GetPos() : std::string();
}

// ---- reading and writing elements ----

// One pass over the element's attributes: they are many, the framework's
// own few, and a look-up by name per field would cost a pass each.
void CVFDLDoc::ReadBaseItem(CXMLElementReader& item, CVFDLNode& node) {
  static constexpr std::string_view kNames[] = {"id", "alias", "attribute", "content", "src"};
  bool seen[std::size(kNames)] = {};
  for (size_t i = 0; i < item.GetAttrCount(); ++i) {
    const std::string_view name = item.GetAttrName(i);
    for (size_t k = 0; k < std::size(kNames); ++k) {
      if (seen[k] || name != kNames[k]) continue;
      seen[k] = true;
      std::string value = item.GetAttrValueAt(i);
      switch (k) {
        case 0: node.id_ = std::move(value); break;
        case 1: node.alias_ = std::move(value); break;
        case 2: node.SetAttribute(value); break;
        case 3: node.SetContent(value); break;
        default: node.SetSrc(value); break;
      }
      break;
    }
  }
}

void CVFDLDoc::CreateBaseText(const CVFDLNode& node, CXMLLine& line) const {
  line.AddAttribute("id", node.GetID());
  line.AddAttribute("alias", node.GetAlias());
  if (!node.GetAttribute().empty()) line.AddAttribute("attribute", node.GetAttribute());
  if (!node.GetContent().empty()) line.AddAttribute("content", node.GetContent());
  if (!node.GetSrc().empty()) line.AddAttribute("src", node.GetSrc());
}

}  // namespace zds

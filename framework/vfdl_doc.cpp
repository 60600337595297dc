#include "framework/vfdl_doc.h"

#include <algorithm>
#include <functional>
#include <new>

namespace zds {
namespace {

constexpr std::string_view kFolderTag = "folder";

bool IsBlankText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

std::string_view Between(std::string_view text, const char* from, const char* to) {
  return std::string_view(from, static_cast<size_t>(to - from));
  (void)text;
}

const char* EndOf(std::string_view piece) { return piece.data() + piece.size(); }

}  // namespace

// Builds a document's tree from its text in one pass over the tokens.
class TreeBuilder {
 public:
  TreeBuilder(CVFDLDoc& doc, std::string_view text) : doc_(doc), text_(text), scanner_(text) {}

  bool Build() {
    if (!Next(attributes_)) return false;
    if (token_.kind == XmlToken::Kind::kDeclaration && !Next(attributes_)) return false;
    if (token_.kind != XmlToken::Kind::kStart) return false;
    std::string_view wanted = doc_.GetRootTag();
    if (!wanted.empty() && token_.name != wanted) return false;
    doc_.root_tag_ = std::string(token_.name);
    doc_.head_ = Between(text_, text_.data(), EndOf(token_.raw));
    const char* prologue_start = EndOf(token_.raw);
    while (true) {
      if (!Next(attributes_)) return false;
      if (token_.depth == 0) return false;  // the root closed without a root folder
      if (token_.depth == 1 && token_.name == kFolderTag && token_.kind != XmlToken::Kind::kEnd) break;
    }
    doc_.prologue_ = Between(text_, prologue_start, token_.raw.data());
    cursor_ = token_.raw.data();  // the prologue holds what stands before the root folder
    if (!BuildFolders()) return false;
    const char* epilogue_start = cursor_;
    while (true) {
      if (!Next(attributes_)) return false;
      if (token_.depth == 0 && token_.kind == XmlToken::Kind::kEnd) break;
    }
    doc_.epilogue_ = Between(text_, epilogue_start, token_.raw.data());
    doc_.tail_ = Between(text_, token_.raw.data(), text_.data() + text_.size());
    while (Next(attributes_)) {
    }
    return !scanner_.failed();
  }

 private:
  bool Next(std::vector<XmlAttribute>& attributes) { return scanner_.Next(token_, attributes); }

  // Reads the root folder and everything inside it.
  bool BuildFolders() {
    std::vector<CVFDLFolder*> open;
    CVFDLFolder* root = AddFolder(nullptr);
    if (token_.kind == XmlToken::Kind::kEmpty) return true;
    open.push_back(root);
    while (!open.empty()) {
      if (!Next(attributes_)) return false;
      if (token_.kind == XmlToken::Kind::kEnd) {
        // Inside folders only folder end tags reach here: leaf elements are read whole.
        CVFDLFolder* folder = open.back();
        folder->close_lead_ = Between(text_, cursor_, token_.raw.data());
        folder->close_source_ = token_.raw;
        cursor_ = EndOf(token_.raw);
        open.pop_back();
      } else if (token_.name == kFolderTag) {
        CVFDLFolder* folder = AddFolder(open.back());
        if (token_.kind == XmlToken::Kind::kStart) open.push_back(folder);
      } else if (!AddLeaf(*open.back())) {
        return false;
      }
    }
    return true;
  }

  CVFDLFolder* AddFolder(CVFDLFolder* parent) {
    std::unique_ptr<CVFDLFolder> folder = doc_.NewFolderPointer();
    CXMLElementReader item(token_.name, attributes_, token_.kind == XmlToken::Kind::kStart);
    doc_.ReadBaseItem(item, *folder);
    doc_.InitExtendFolderItem(item, *folder);
    item.AppendUnreadAttributes(folder->unknown_attributes_);
    folder->self_closing_ = token_.kind == XmlToken::Kind::kEmpty;
    folder->lead_ = Between(text_, cursor_, token_.raw.data());
    folder->source_ = token_.raw;
    cursor_ = EndOf(token_.raw);
    return static_cast<CVFDLFolder*>(doc_.AddNode(parent, std::move(folder)));
  }

  // Reads a record, link or other element with everything inside it. An
  // element no hook accepts stays in the text before the next node.
  bool AddLeaf(CVFDLFolder& parent) {
    XmlToken start = token_;
    element_attributes_.swap(attributes_);
    std::vector<CXMLElementReader> children;
    const char* end = EndOf(start.raw);
    inner_trailing_ = {};
    if (start.kind == XmlToken::Kind::kStart && !ReadChildren(start, children, end)) return false;

    std::unique_ptr<CVFDLNode> node = NewNodeFor(start.name);
    if (!node) return true;
    CXMLElementReader item(start.name, element_attributes_, start.kind == XmlToken::Kind::kStart);
    item.SetChildren(std::move(children));
    item.SetTrailingText(inner_trailing_);
    doc_.ReadBaseItem(item, *node);
    if (!ReadExtension(item, *node)) {
      // The refused element stays in the file, so its id stays taken.
      doc_.ReserveID(node->GetID());
      return true;
    }
    item.AppendUnreadAttributes(node->unknown_attributes_);
    item.AppendUnreadChildren(node->unknown_content_);
    node->lead_ = Between(text_, cursor_, start.raw.data());
    node->source_ = Between(text_, start.raw.data(), end);
    cursor_ = end;
    doc_.AddNode(&parent, std::move(node));
    return true;
  }

  // Collects the direct children of the element that `start` opened.
  bool ReadChildren(const XmlToken& start, std::vector<CXMLElementReader>& children, const char*& end) {
    child_attributes_.clear();
    struct Pending {
      std::string_view name;
      size_t first, count;
      bool closed;
      const char* lead;
      const char* begin;
      const char* end;
    };
    std::vector<Pending> pending;
    const char* after_previous = EndOf(start.raw);
    while (true) {
      if (!Next(attributes_)) return false;
      if (token_.depth == start.depth && token_.kind == XmlToken::Kind::kEnd) break;
      if (token_.depth != start.depth + 1) continue;
      if (token_.kind == XmlToken::Kind::kEnd) {
        pending.back().end = EndOf(token_.raw);
        after_previous = EndOf(token_.raw);
        continue;
      }
      size_t first = child_attributes_.size();
      child_attributes_.insert(child_attributes_.end(), attributes_.begin(), attributes_.end());
      bool closed = token_.kind == XmlToken::Kind::kStart;
      pending.push_back({token_.name, first, attributes_.size(), closed, after_previous, token_.raw.data(),
                         EndOf(token_.raw)});
      if (!closed) after_previous = EndOf(token_.raw);
    }
    end = EndOf(token_.raw);
    inner_trailing_ = Between(text_, after_previous, token_.raw.data());
    children.reserve(pending.size());
    for (const Pending& child : pending) {
      children.emplace_back(child.name,
                            std::span<const XmlAttribute>(child_attributes_).subspan(child.first, child.count),
                            child.closed);
      children.back().SetRawText(Between(text_, child.lead, child.begin), Between(text_, child.begin, child.end));
    }
    return true;
  }

  std::unique_ptr<CVFDLNode> NewNodeFor(std::string_view tag) const {
    if (tag == doc_.GetRecTag()) return doc_.NewRecPointer();
    if (tag == doc_.GetLinkTag()) return doc_.NewLinkPointer();
    return doc_.NewOtherPointer(tag);
  }

  bool ReadExtension(CXMLElementReader& item, CVFDLNode& node) {
    switch (node.GetNodeType()) {
      case kNodeRec:
        return doc_.InitExtendRecItem(item, static_cast<CVFDLRec&>(node));
      case kNodeLink:
        return true;
      default:
        return doc_.InitOtherItem(item, node);
    }
  }

  CVFDLDoc& doc_;
  std::string_view text_;
  XmlScanner scanner_;
  XmlToken token_;
  const char* cursor_ = nullptr;  // end of the last text a node took
  std::string_view inner_trailing_;  // text after a leaf's last child
  std::vector<XmlAttribute> attributes_;
  std::vector<XmlAttribute> element_attributes_;
  std::vector<XmlAttribute> child_attributes_;
};

int OpenVFDLDoc(CVFDLDoc& doc, std::string_view path, std::string_view base_path, bool create) {
  int loaded = doc.LoadXMLDoc(path);
  if (loaded == CXMLDoc::kLoadMissing) {
    if (!create || !doc.NewXMLDoc(path)) return -1;
  } else if (loaded != CXMLDoc::kLoadRead) {
    return -1;
  }
  doc.InitVFDLDoc(base_path, "kov:", "", -1, -1);
  return loaded == CXMLDoc::kLoadRead ? 1 : 0;
}

CVFDLDoc::CVFDLDoc() = default;

CVFDLDoc::~CVFDLDoc() = default;

bool CVFDLDoc::SetXml(std::string text) {
  auto owned = std::make_unique<std::string>(std::move(text));
  TreeState previous = TakeTree();
  auto saved_views = std::make_tuple(head_, prologue_, epilogue_, tail_, root_tag_);
  TreeBuilder builder(*this, *owned);
  if (!builder.Build()) {
    ClearTree();
    RestoreTree(std::move(previous));
    std::tie(head_, prologue_, epilogue_, tail_, root_tag_) = saved_views;
    return false;
  }
  size_t line_feed = owned->find('\n');
  newline_ = line_feed != std::string::npos && line_feed > 0 && (*owned)[line_feed - 1] != '\r' ? "\n" : "\r\n";
  OnTreeReplaced();
  previous.nodes.clear();
  held_.clear();
  text_ = std::move(owned);
  return true;
}

// A document's text as it is written, in pieces: runs of the text the tree
// was read from are referred to rather than copied, and neighbouring runs
// join (an unchanged document is a single run); only what is written anew
// is copied.
class XmlTextSink {
 public:
  explicit XmlTextSink(std::string_view source) : source_(source) {}

  void Add(std::string_view piece) {
    if (piece.empty()) return;
    size_ += piece.size();
    std::less<const char*> before;
    bool in_source = !before(piece.data(), source_.data()) &&
                     !before(source_.data() + source_.size(), piece.data() + piece.size());
    if (in_source) {
      size_t offset = static_cast<size_t>(piece.data() - source_.data());
      if (!spans_.empty() && spans_.back().in_source && spans_.back().offset + spans_.back().size == offset) {
        spans_.back().size += piece.size();
      } else {
        spans_.push_back({true, offset, piece.size()});
      }
      return;
    }
    if (!spans_.empty() && !spans_.back().in_source) {
      spans_.back().size += piece.size();
    } else {
      spans_.push_back({false, copies_.size(), piece.size()});
    }
    copies_ += piece;
  }
  // Where an element is put together before it is added.
  std::string& Scratch() { return scratch_; }

  size_t size() const { return size_; }
  void AppendTo(std::string& out) const {
    out.reserve(out.size() + size_);
    for (const Span& span : spans_) out.append(View(span));
  }
  // Views into the source and into the sink: valid while both live unchanged.
  std::vector<std::string_view> Pieces() const {
    std::vector<std::string_view> pieces;
    pieces.reserve(spans_.size());
    for (const Span& span : spans_) pieces.push_back(View(span));
    return pieces;
  }

 private:
  struct Span {
    bool in_source;
    size_t offset;
    size_t size;
  };
  std::string_view View(const Span& span) const {
    return span.in_source ? source_.substr(span.offset, span.size)
                          : std::string_view(copies_).substr(span.offset, span.size);
  }

  std::string_view source_;
  std::vector<Span> spans_;
  std::string copies_;
  std::string scratch_;
  size_t size_ = 0;
};

void CVFDLDoc::WriteDocument(XmlTextSink& out) const {
  out.Add(head_);
  out.Add(prologue_);
  WriteFolder(*GetRoot(), out);
  out.Add(epilogue_);
  out.Add(tail_);
}

std::string CVFDLDoc::GetXml() const {
  std::string out;
  if (!GetRoot()) return out;
  XmlTextSink sink(text_ ? std::string_view(*text_) : std::string_view());
  WriteDocument(sink);
  sink.AppendTo(out);
  return out;
}

// The text goes to the file in pieces: the unchanged runs straight from the
// loaded text. A save then copies nothing but what changed, and does not
// first fault in a buffer as large as the file.
bool CVFDLDoc::WriteXmlTo(const platform::DataRoot& root, std::string_view path) const {
  try {
    XmlTextSink sink(text_ ? std::string_view(*text_) : std::string_view());
    if (GetRoot()) WriteDocument(sink);
    std::vector<std::string_view> pieces = sink.Pieces();
    return root.WriteFileAtomicFromPieces(path, pieces);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool CVFDLDoc::InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix, int, int) {
  base_path_ = base_path;
  scheme_ = scheme;
  pos_prefix_ = prefix;
  return GetRoot() != nullptr;
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

std::string CVFDLDoc::FormatSYNCLine(std::string_view text) const {
  CXMLLine line;
  line.SetLine("sync", true, CXMLLine::Type::kElement);
  line.AddAttribute("doc", root_tag_);
  line.AddAttribute("file", GetFilePath());
  line.AddAttribute("text", text);
  return line.GetLine(true);
}

// ---- edits ----

bool CVFDLDoc::IsEditable(const CVFDLNode* node, int node_type) const {
  return node != nullptr && node->GetNodeType() == node_type;
}

std::string CVFDLDoc::InsertNode(std::string_view parent_pos, std::unique_ptr<CVFDLNode> node, bool flag,
                                 int index) {
  CVFDLFolder* parent = GetFolderByPos(parent_pos);
  if (parent == nullptr) return std::string();
  node->lead_ = newline_;
  CVFDLNode* added = AddNode(parent, std::move(node), index);
  NoteChange(flag);
  return added->GetPos();
}

std::string CVFDLDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  std::unique_ptr<CVFDLRec> node = NewRecPointer();
  node->AssignValue(rec);
  return InsertNode(parent_pos, std::move(node), flag, -1);
}

std::string CVFDLDoc::AddFolder(std::string_view parent_pos, const CVFDLFolder& folder, bool flag) {
  std::unique_ptr<CVFDLFolder> node = NewFolderPointer();
  node->AssignValue(folder);
  return InsertNode(parent_pos, std::move(node), flag, -1);
}

std::string CVFDLDoc::AddNodeCopy(std::string_view parent_pos, const CVFDLNode& node, bool flag, int index) {
  return InsertNode(parent_pos, node.Clone(), flag, index);
}

void CVFDLDoc::ReplaceValue(CVFDLNode& node, const CVFDLNode& value) {
  std::string id = node.GetID();
  // What no hook understood belongs to the stored element, not to the value:
  // a caller that built the value itself never saw it.
  std::string unknown_attributes = std::move(node.unknown_attributes_);
  std::string unknown_content = std::move(node.unknown_content_);
  RenameNode(node, value.GetAlias());
  node.AssignValue(value);
  node.id_ = std::move(id);
  node.unknown_attributes_ = std::move(unknown_attributes);
  node.unknown_content_ = std::move(unknown_content);
  node.source_ = {};
  InitNodeExtendType(node);
}

bool CVFDLDoc::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (!IsEditable(node, kNodeRec)) return false;
  ReplaceValue(*node, rec);
  return NoteChange(flag);
}

bool CVFDLDoc::UpdateFolder(std::string_view pos, const CVFDLFolder& folder, bool flag) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (!IsEditable(node, kNodeFolder)) return false;
  ReplaceValue(*node, folder);
  return NoteChange(flag);
}

bool CVFDLDoc::UpdateNode(std::string_view pos, const CVFDLNode& value, bool flag) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (node == nullptr || node->GetNodeType() != value.GetNodeType()) return false;
  ReplaceValue(*node, value);
  return NoteChange(flag);
}

std::string_view CVFDLDoc::Hold(std::string text) {
  held_.push_back(std::move(text));
  return held_.back();
}

void CVFDLDoc::DeleteNode(CVFDLNode& node) {
  // What stood before the node and was not understood (comments, elements
  // of a newer version) stays in the file: it moves to what follows.
  if (!IsBlankText(node.lead_)) {
    if (CVFDLNode* next = node.next_) {
      next->lead_ = Hold(std::string(node.lead_) + std::string(next->lead_));
    } else if (CVFDLFolder* parent = node.parent_) {
      parent->close_lead_ = Hold(std::string(node.lead_) + std::string(parent->close_lead_));
      if (parent->close_source_.empty()) parent->source_ = {};
    }
  }
  RemoveNode(node);
}

bool CVFDLDoc::DelRec(std::string_view pos) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (!IsEditable(node, kNodeRec)) return false;
  DeleteNode(*node);
  return NoteChange(false);
}

bool CVFDLDoc::DelFolder(std::string_view pos) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (!IsEditable(node, kNodeFolder) || node == GetRoot()) return false;
  DeleteNode(*node);
  return NoteChange(false);
}

bool CVFDLDoc::DelNode(std::string_view pos, bool flag) {
  CVFDLNode* node = GetNodeByPos(pos);
  if (node == nullptr || node == GetRoot()) return false;
  DeleteNode(*node);
  return NoteChange(flag);
}

std::unique_ptr<CVFDLNode> CVFDLDoc::CloneSubtree(const CVFDLNode& node) const {
  std::unique_ptr<CVFDLNode> copy = node.Clone();
  copy->id_.clear();
  return copy;
}

std::string CVFDLDoc::AddCopyNodeByID(std::string_view id, std::string_view parent_id, bool flag) {
  CVFDLNode* source = GetNodeByID(id);
  CVFDLNode* target = GetNodeByID(parent_id);
  if (source == nullptr || target == nullptr || !target->IsFolder()) return std::string();
  for (CVFDLNode* up = target; up; up = up->parent_) {
    if (up == source) return std::string();  // a folder cannot be copied into itself
  }
  struct Job {
    const CVFDLNode* from;
    CVFDLFolder* into;
  };
  std::vector<Job> jobs{{source, static_cast<CVFDLFolder*>(target)}};
  CVFDLNode* first = nullptr;
  while (!jobs.empty()) {
    Job job = jobs.back();
    jobs.pop_back();
    std::unique_ptr<CVFDLNode> copy = CloneSubtree(*job.from);
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
  NoteChange(flag);
  return first->GetPos();
}

// ---- reading and writing elements ----

void CVFDLDoc::ReadBaseItem(CXMLElementReader& item, CVFDLNode& node) {
  node.id_ = item.GetAttrValue("id");
  node.alias_ = item.GetAttrValue("alias");
  node.attribute_ = item.GetAttrValue("attribute");
  node.content_ = item.GetAttrValue("content");
  node.src_ = item.GetAttrValue("src");
}

void CVFDLDoc::CreateBaseText(const CVFDLNode& node, CXMLLine& line) const {
  line.AddAttribute("id", node.GetID());
  line.AddAttribute("alias", node.GetAlias());
  if (!node.GetAttribute().empty()) line.AddAttribute("attribute", node.GetAttribute());
  if (!node.GetContent().empty()) line.AddAttribute("content", node.GetContent());
  if (!node.GetSrc().empty()) line.AddAttribute("src", node.GetSrc());
}

std::string_view CVFDLDoc::TagOf(const CVFDLNode& node) const {
  switch (node.GetNodeType()) {
    case kNodeFolder: return kFolderTag;
    case kNodeRec: return GetRecTag();
    case kNodeLink: return GetLinkTag();
    default: return GetOtherTag(node);
  }
}

void CVFDLDoc::WriteElement(const CVFDLNode& node, XmlTextSink& sink) const {
  CXMLLine line;
  std::string_view tag = TagOf(node);
  line.SetLine(tag, false, CXMLLine::Type::kElement);
  std::vector<std::string> lines;
  switch (node.GetNodeType()) {
    case kNodeFolder:
      CreateBaseText(node, line);
      CreateExtendFolderText(static_cast<const CVFDLFolder&>(node), line);
      break;
    case kNodeRec:
      CreateBaseText(node, line);
      CreateExtendRecText(static_cast<const CVFDLRec&>(node), line, lines);
      break;
    case kNodeLink:
      CreateBaseText(node, line);
      break;
    default:
      CreateOtherItemText(node, line, lines);
  }
  line.AppendRawAttributes(node.unknown_attributes_);
  std::string& out = sink.Scratch();
  out.clear();
  line.AppendLine(out, false);
  if (!node.IsFolder()) {
    for (const std::string& child : lines) {
      out += newline_;
      out += child;
    }
    out += node.unknown_content_;
    out += newline_;
    out += "</";
    out += tag;
    out += '>';
  }
  sink.Add(out);
}

void CVFDLDoc::WriteNode(const CVFDLNode& node, XmlTextSink& out) const {
  if (node.IsFolder()) {
    WriteFolder(static_cast<const CVFDLFolder&>(node), out);
    return;
  }
  out.Add(node.lead_);
  if (!node.source_.empty()) out.Add(node.source_);
  else WriteElement(node, out);
}

void CVFDLDoc::WriteFolder(const CVFDLFolder& folder, XmlTextSink& out) const {
  out.Add(folder.lead_);
  bool keeps_own_text = !folder.source_.empty() && !(folder.self_closing_ && folder.child_count_ > 0);
  if (keeps_own_text && folder.self_closing_) {
    out.Add(folder.source_);
    return;
  }
  if (keeps_own_text) out.Add(folder.source_);
  else WriteElement(folder, out);
  for (const CVFDLNode* child = folder.first_child_; child; child = child->next_) WriteNode(*child, out);
  if (!folder.close_source_.empty()) {
    out.Add(folder.close_lead_);
    out.Add(folder.close_source_);
  } else {
    out.Add(folder.close_lead_.empty() ? newline_ : folder.close_lead_);
    out.Add("</folder>");
  }
}
}  // namespace zds

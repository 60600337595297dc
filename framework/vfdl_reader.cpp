// Reading a document's text into its tree: one pass over the scanner's
// tokens, keeping for every node a view of the text it came from.
#include <tuple>
#include <vector>

#include "zds/framework/vfdl_doc.h"
#include "zds/framework/xml_text.h"
#include "zds/platform/time.h"

namespace zds {
namespace {

constexpr std::string_view kFolderTag = "folder";

std::string_view Between(const char* from, const char* to) { return std::string_view(from, static_cast<size_t>(to - from)); }

const char* EndOf(std::string_view piece) { return piece.data() + piece.size(); }

}  // namespace

// Builds a document's tree from its text in one pass over the tokens.
class TreeBuilder {
 public:
  TreeBuilder(CVFDLDoc& doc, std::string_view text) : doc_(doc), text_(text), scanner_(text) {}

  // Where and why the text was refused, once Build failed.
  XmlProblem Problem() const {
    if (scanner_.failed()) return scanner_.problem();
    return problem_;
  }

  // A text that is one leaf element alone (a journal entry's) as a node
  // outside the tree; null when it is anything else.
  std::unique_ptr<CVFDLNode> BuildOne() {
    if (!Next(attributes_) || token_.depth != 0 || token_.kind == XmlToken::Kind::kEnd ||
        token_.name == kFolderTag) {
      return nullptr;
    }
    cursor_ = token_.raw.data();
    std::unique_ptr<CVFDLNode> node;
    if (!ReadLeaf(node) || node == nullptr || Next(attributes_) || scanner_.failed()) return nullptr;
    return node;
  }

  bool Build() {
    if (!Next(attributes_)) return false;
    if (token_.kind == XmlToken::Kind::kDeclaration && !Next(attributes_)) return false;
    std::string_view wanted = doc_.GetRootTag();
    if (!wanted.empty() && token_.name != wanted) {
      return Refuse("the root element is <" + std::string(token_.name) + ">, not <" + std::string(wanted) + ">");
    }
    if (token_.kind != XmlToken::Kind::kStart) return Refuse("the root element holds no root folder");
    doc_.root_tag_ = std::string(token_.name);
    doc_.head_ = Between(text_.data(), EndOf(token_.raw));
    const char* prologue_start = EndOf(token_.raw);
    while (true) {
      if (!Next(attributes_)) return false;
      if (token_.depth == 0) return Refuse("the root element holds no root folder");
      if (token_.depth == 1 && token_.name == kFolderTag && token_.kind != XmlToken::Kind::kEnd) break;
    }
    doc_.prologue_ = Between(prologue_start, token_.raw.data());
    cursor_ = token_.raw.data();  // the prologue holds what stands before the root folder
    if (!BuildFolders()) return false;
    const char* epilogue_start = cursor_;
    while (true) {
      if (!Next(attributes_)) return false;
      if (token_.depth == 0 && token_.kind == XmlToken::Kind::kEnd) break;
    }
    doc_.epilogue_ = Between(epilogue_start, token_.raw.data());
    doc_.tail_ = Between(token_.raw.data(), text_.data() + text_.size());
    while (Next(attributes_)) {
    }
    return !scanner_.failed();
  }

 private:
  bool Next(std::vector<XmlAttribute>& attributes) {
    if (scanner_.Next(token_, attributes)) return true;
    // The end of the text where more was due (a scan that failed tells its own problem).
    problem_ = {text_.size(), "the text ends early"};
    return false;
  }
  // The text is well-formed but not a document of this kind: refused at the current token.
  bool Refuse(std::string what) {
    problem_ = {scanner_.offset_of(token_.raw), std::move(what)};
    return false;
  }

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
        folder->close_lead_ = Between(cursor_, token_.raw.data());
        folder->close_source_ = token_.raw;
        cursor_ = EndOf(token_.raw);
        open.pop_back();
      } else if (token_.name == kFolderTag) {
        if (open.size() >= static_cast<size_t>(kMaxFolderDepth)) {
          return Refuse("folders nest deeper than " + std::to_string(kMaxFolderDepth) + " levels");
        }
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
    CXMLElementReader item(token_.name, attributes_.data(), attributes_.size(), token_.kind == XmlToken::Kind::kStart);
    item.SetTimeCache(&time_cache_);
    doc_.ReadBaseItem(item, *folder);
    doc_.ReadFolderExtend(item, *folder);
    KeepUnread(item, *folder);
    folder->self_closing_ = token_.kind == XmlToken::Kind::kEmpty;
    folder->lead_ = Between(cursor_, token_.raw.data());
    folder->source_ = token_.raw;
    cursor_ = EndOf(token_.raw);
    return static_cast<CVFDLFolder*>(doc_.AddNode(parent, std::move(folder)));
  }

  // Reads a record, link or other element with everything inside it. An
  // element no hook accepts stays in the text before the next node.
  bool AddLeaf(CVFDLFolder& parent) {
    std::unique_ptr<CVFDLNode> node;
    if (!ReadLeaf(node)) return false;
    if (node) doc_.AddNode(&parent, std::move(node));
    return true;
  }

  // The leaf element at the current token; `node` stays null for one no
  // hook accepts. False when the text fails.
  bool ReadLeaf(std::unique_ptr<CVFDLNode>& out) {
    XmlToken start = token_;
    element_attributes_.swap(attributes_);
    std::vector<CXMLElementReader> children;
    const char* end = EndOf(start.raw);
    inner_trailing_ = {};
    if (start.kind == XmlToken::Kind::kStart && !ReadChildren(start, children, end)) return false;

    std::unique_ptr<CVFDLNode> node = NewNodeFor(start.name);
    if (!node) return true;
    CXMLElementReader item(start.name, element_attributes_.data(), element_attributes_.size(),
                           start.kind == XmlToken::Kind::kStart);
    item.SetChildren(std::move(children));
    item.SetTrailingText(inner_trailing_);
    item.SetTimeCache(&time_cache_);
    doc_.ReadBaseItem(item, *node);
    if (!ReadExtension(item, *node)) {
      // The refused element stays in the file, so its id stays taken.
      doc_.ReserveID(node->GetID());
      return true;
    }
    KeepUnread(item, *node);
    node->lead_ = Between(cursor_, start.raw.data());
    node->source_ = Between(start.raw.data(), end);
    cursor_ = end;
    out = std::move(node);
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
    inner_trailing_ = Between(after_previous, token_.raw.data());
    children.reserve(pending.size());
    for (const Pending& child : pending) {
      children.emplace_back(child.name, child_attributes_.data() + child.first, child.count, child.closed);
      children.back().SetRawText(Between(child.lead, child.begin), Between(child.begin, child.end));
      children.back().SetTimeCache(&time_cache_);
    }
    return true;
  }

  // What no hook read stays with the node: as a view into the text when it
  // stands together there, which is the usual case, else copied.
  static void KeepUnread(const CXMLElementReader& item, CVFDLNode& node) {
    std::string_view attributes, content;
    bool attributes_in_place = item.UnreadAttributesInPlace(attributes);
    bool content_in_place = item.UnreadChildrenInPlace(content);
    node.KeepUnknownText(attributes, content);
    if (!attributes_in_place) {
      std::string held;
      item.AppendUnreadAttributes(held);
      node.SetUnknownAttributes(std::move(held));
    }
    if (!content_in_place) {
      std::string held;
      item.AppendUnreadChildren(held);
      node.SetUnknownContent(std::move(held));
    }
  }

  std::unique_ptr<CVFDLNode> NewNodeFor(std::string_view tag) const {
    if (tag == doc_.GetRecTag()) return doc_.NewRecPointer();
    if (tag == doc_.GetLinkTag()) return doc_.NewLinkPointer();
    return doc_.NewOtherPointer(tag);
  }

  bool ReadExtension(CXMLElementReader& item, CVFDLNode& node) {
    switch (node.GetNodeType()) {
      case kNodeRec:
        return doc_.ReadRecExtend(item, static_cast<CVFDLRec&>(node));
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
  // One load runs in one zone: the times of all its elements share the look-ups.
  LocalTimeCache time_cache_;
  XmlProblem problem_;
};

std::unique_ptr<CVFDLNode> CVFDLDoc::ReadNodeText(std::string_view text) {
  return TreeBuilder(*this, text).BuildOne();
}

bool CVFDLDoc::SetXml(std::string text) {
  auto owned = std::make_unique<std::string>(std::move(text));
  TreeState previous = TakeTree();
  auto saved_views = std::make_tuple(head_, prologue_, epilogue_, tail_, root_tag_);
  TreeBuilder builder(*this, *owned);
  if (!builder.Build()) {
    const XmlProblem problem = builder.Problem();
    NoteTextProblem(LineOfOffset(*owned, problem.offset), problem.what);
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

}  // namespace zds

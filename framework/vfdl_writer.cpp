// Writing a document's tree back as text: unchanged nodes as the very text
// they were read from, changed and new ones through the kind's hooks.
#include <new>
#include <vector>

#include "zds/framework/vfdl_doc.h"
#include "zds/framework/xml_text_sink.h"

namespace zds {

class DocumentWriter {
 public:
  DocumentWriter(const CVFDLDoc& doc, XmlTextSink& out) : doc_(doc), out_(out) {}

  // One element alone, as Write would put it: a journal entry's text.
  void WriteOne(const CVFDLNode& node) { WriteElement(node); }

  void Write() {
    out_.Add(doc_.head_);
    out_.Add(doc_.prologue_);
    WriteFolders(*doc_.GetRoot());
    out_.Add(doc_.epilogue_);
    out_.Add(doc_.tail_);
  }

 private:
  // Depth first without recursion: folders may nest deeper than the stack.
  void WriteFolders(const CVFDLFolder& root) {
    struct Level {
      const CVFDLFolder* folder;
      const CVFDLNode* next;
    };
    std::vector<Level> levels;
    if (OpenFolder(root)) levels.push_back({&root, root.first_child_});
    while (!levels.empty()) {
      const CVFDLNode* child = levels.back().next;
      if (child == nullptr) {
        CloseFolder(*levels.back().folder);
        levels.pop_back();
        continue;
      }
      levels.back().next = child->next_;
      if (!child->IsFolder()) {
        WriteLeaf(*child);
        continue;
      }
      const auto& folder = static_cast<const CVFDLFolder&>(*child);
      if (OpenFolder(folder)) levels.push_back({&folder, folder.first_child_});
    }
  }

  // The folder's start tag; false when that was the whole folder (a folder
  // read as "<folder .../>" that is still empty).
  bool OpenFolder(const CVFDLFolder& folder) {
    out_.Add(folder.lead_);
    bool keeps_own_text = !folder.source_.empty() && !(folder.self_closing_ && folder.child_count_ > 0);
    if (keeps_own_text && folder.self_closing_) {
      out_.Add(folder.source_);
      return false;
    }
    if (keeps_own_text) out_.Add(folder.source_);
    else WriteElement(folder);
    return true;
  }

  void CloseFolder(const CVFDLFolder& folder) {
    if (!folder.close_source_.empty()) {
      out_.Add(folder.close_lead_);
      out_.Add(folder.close_source_);
    } else {
      out_.Add(folder.close_lead_.empty() ? doc_.newline_ : folder.close_lead_);
      out_.Add("</folder>");
    }
  }

  void WriteLeaf(const CVFDLNode& node) {
    out_.Add(node.lead_);
    if (!node.source_.empty()) out_.Add(node.source_);
    else WriteElement(node);
  }

  std::string_view TagOf(const CVFDLNode& node) const {
    switch (node.GetNodeType()) {
      case kNodeFolder: return "folder";
      case kNodeRec: return doc_.GetRecTag();
      case kNodeLink: return doc_.GetLinkTag();
      default: return doc_.GetOtherTag(node);
    }
  }

  void WriteElement(const CVFDLNode& node) {
    CXMLLine line;
    std::string_view tag = TagOf(node);
    line.SetLine(tag, false, CXMLLine::Type::kElement);
    std::vector<std::string> lines;
    switch (node.GetNodeType()) {
      case kNodeFolder:
        doc_.CreateBaseText(node, line);
        doc_.WriteFolderExtend(static_cast<const CVFDLFolder&>(node), line);
        break;
      case kNodeRec:
        doc_.CreateBaseText(node, line);
        doc_.WriteRecExtend(static_cast<const CVFDLRec&>(node), line, lines);
        break;
      case kNodeLink:
        doc_.CreateBaseText(node, line);
        break;
      default:
        doc_.CreateOtherItemText(node, line, lines);
    }
    line.AppendRawAttributes(node.GetUnknownAttributes());
    std::string& out = out_.Scratch();
    out.clear();
    line.AppendLine(out, false);
    if (!node.IsFolder()) {
      for (const std::string& child : lines) {
        out += doc_.newline_;
        out += child;
      }
      out += node.GetUnknownContent();
      out += doc_.newline_;
      out += "</";
      out += tag;
      out += '>';
    }
    out_.Add(out);
  }

  const CVFDLDoc& doc_;
  XmlTextSink& out_;
};

std::string CVFDLDoc::GetXml() const {
  std::string out;
  if (!GetRoot()) return out;
  XmlTextSink sink(text_ ? std::string_view(*text_) : std::string_view());
  DocumentWriter(*this, sink).Write();
  sink.AppendTo(out);
  return out;
}

// The text goes to the file in pieces: the unchanged runs straight from the
// loaded text. A save then copies nothing but what changed, and does not
// first fault in a buffer as large as the file.
bool CVFDLDoc::WriteXmlTo(const platform::DataRoot& root, std::string_view path, const WriteGate& gate) const {
  try {
    XmlTextSink sink(text_ ? std::string_view(*text_) : std::string_view());
    if (GetRoot()) DocumentWriter(*this, sink).Write();
    std::vector<std::string_view> pieces = sink.Pieces();
    return gate(pieces) && root.WriteFileAtomicFromPieces(path, pieces);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace zds

namespace zds {

std::string CVFDLDoc::NodeText(const CVFDLNode& node) const {
  XmlTextSink sink{std::string_view()};
  DocumentWriter(*this, sink).WriteOne(node);
  std::string out;
  sink.AppendTo(out);
  return out;
}

}  // namespace zds

// CVFDLDoc: a record document, the base of every document kind. It parses
// its file into the node tree in one pass, offers the edits (add, update,
// delete of records and folders) and serialises the tree back.
//
// A document kind derives from it and overrides the hooks: its template,
// root tag, record tag, the node classes it creates, how its records' and
// folders' own fields are read from and written to their elements, and the
// extension type of each node.
//
// Positions: a node's position is the position prefix of its document, a
// "\" and the node's id. The prefix is that of the node the document was
// opened behind, or for a document opened on its own the scheme and its
// root folder's alias ("kov:\Timer Index"). Paths: the scheme and the
// aliases from the root down ("kov:\Velmora\Calendar"); a document opened
// behind a folder continues that folder's path.

#ifndef ZDS_FRAMEWORK_VFDL_DOC_H_
#define ZDS_FRAMEWORK_VFDL_DOC_H_

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/vfdl_node.h"
#include "framework/vfdl_tree.h"
#include "framework/xml_doc.h"
#include "framework/xml_line.h"

namespace zds {

class XmlTextSink;

class CVFDLDoc : public CXMLDoc, public CVFTree {
 public:
  CVFDLDoc();
  ~CVFDLDoc() override;

  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<CVFDLDoc>(); }
  std::string_view GetRTTIClass() const override { return "CVFDLDoc"; }

  bool SetXml(std::string text) override;
  // Final: a save writes the same text through WriteXmlTo without building
  // this string, so the two must not part ways in a kind.
  std::string GetXml() const final;

  // Sets the base directory (a stored path; "" is the data root) and the
  // scheme. A non-empty `prefix` replaces the position prefix.
  virtual bool InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix = "",
                           int reserved1 = -1, int reserved2 = -1);
  const std::string& GetBasePath() const { return base_path_; }
  const std::string& GetScheme() const { return scheme_; }
  std::string GetPosPrefix() const;
  std::string GetRootPath() const;

  // The node this document was opened behind, if any.
  CVFDLNode* GetHolder() const { return holder_; }
  void SetHolder(CVFDLNode* holder) { holder_ = holder; }

  // Look-ups; null when nothing is there.
  CVFDLNode* GetNodeByPos(std::string_view pos) const;
  virtual CVFDLNode* GetNodeByPath(std::string_view path) const;
  // The document opened behind `node`, if this kind opens any.
  virtual CVFDLDoc* GetExpandedDoc(const CVFDLNode& /*node*/) const { return nullptr; }
  std::string GetFolderID(std::string_view pos) const;

  // Edits. `flag` asks for a save after the change (auto-save always saves).
  // Adding returns the new node's position, empty on failure.
  virtual std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag);
  virtual bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag);
  virtual bool DelRec(std::string_view pos);
  virtual std::string AddFolder(std::string_view parent_pos, const CVFDLFolder& folder, bool flag);
  virtual bool UpdateFolder(std::string_view pos, const CVFDLFolder& folder, bool flag);
  virtual bool DelFolder(std::string_view pos);
  // The same for any kind of node (links, a kind's own nodes).
  std::string AddNodeCopy(std::string_view parent_pos, const CVFDLNode& node, bool flag, int index = -1);
  bool UpdateNode(std::string_view pos, const CVFDLNode& node, bool flag);
  bool DelNode(std::string_view pos, bool flag);
  // Copies the node with `id` (a whole folder with its contents) under the
  // folder with `parent_id`; returns the copy's position.
  std::string AddCopyNodeByID(std::string_view id, std::string_view parent_id, bool flag);

  // A synchronisation line for `text`: the document's root tag, its file and the text.
  std::string FormatSYNCLine(std::string_view text) const;
  const std::string& GetRootTagName() const { return root_tag_; }
  // The root element's attribute ("ver", ...), empty when absent.
  std::string GetRootAttribute(std::string_view name) const;
  // The text between the root element and the root folder (headers and the like).
  std::string_view GetPrologue() const { return prologue_; }

 protected:
  // Hooks of a document kind.
  virtual std::string_view GetRootTag() const { return {}; }  // empty: any
  virtual std::string_view GetRecTag() const { return "rec"; }
  virtual std::string_view GetLinkTag() const { return "link"; }
  virtual std::unique_ptr<CVFDLRec> NewRecPointer() const { return std::make_unique<CVFDLRec>(); }
  virtual std::unique_ptr<CVFDLFolder> NewFolderPointer() const { return std::make_unique<CVFDLFolder>(); }
  virtual std::unique_ptr<CVFDLLink> NewLinkPointer() const { return std::make_unique<CVFDLLink>(); }
  // A node for an element a kind keeps inside folders besides the three above.
  virtual std::unique_ptr<CVFDLNode> NewOtherPointer(std::string_view /*tag*/) const { return nullptr; }
  virtual std::string_view GetOtherTag(const CVFDLNode& /*node*/) const { return {}; }

  // Reading: false refuses the element, which is then kept as it stands but
  // not loaded. Writing: attributes go on `line`, child lines into `lines`.
  virtual void ReadBaseItem(CXMLElementReader& item, CVFDLNode& node);
  virtual void CreateBaseText(const CVFDLNode& node, CXMLLine& line) const;
  virtual bool InitExtendRecItem(CXMLElementReader& /*item*/, CVFDLRec& /*rec*/) { return true; }
  virtual void CreateExtendRecText(const CVFDLRec& /*rec*/, CXMLLine& /*line*/,
                                   std::vector<std::string>& /*lines*/) const {}
  virtual bool InitExtendFolderItem(CXMLElementReader& /*item*/, CVFDLFolder& /*folder*/) { return true; }
  virtual void CreateExtendFolderText(const CVFDLFolder& /*folder*/, CXMLLine& /*line*/) const {}
  virtual bool InitOtherItem(CXMLElementReader& /*item*/, CVFDLNode& /*node*/) { return true; }
  virtual void CreateOtherItemText(const CVFDLNode& /*node*/, CXMLLine& /*line*/,
                                   std::vector<std::string>& /*lines*/) const {}

  bool WriteXmlTo(const platform::DataRoot& root, std::string_view path) const override;
  CVFDLDoc* TreeDoc() override { return this; }
  // Called after a new text replaced the tree, before the old nodes go.
  virtual void OnTreeReplaced() {}
  CVFDLFolder* GetFolderByPos(std::string_view pos) const;
  // The line break this document uses ("\r\n" unless its file says otherwise).
  std::string_view Newline() const { return newline_; }

 private:
  friend class TreeBuilder;

  bool IsEditable(const CVFDLNode* node, int node_type) const;
  std::string InsertNode(std::string_view parent_pos, std::unique_ptr<CVFDLNode> node, bool flag, int index);
  void ReplaceValue(CVFDLNode& node, const CVFDLNode& value);
  void DeleteNode(CVFDLNode& node);
  std::string_view Hold(std::string text);
  std::string_view TagOf(const CVFDLNode& node) const;
  void WriteDocument(XmlTextSink& out) const;
  void WriteNode(const CVFDLNode& node, XmlTextSink& out) const;
  void WriteElement(const CVFDLNode& node, XmlTextSink& out) const;
  void WriteFolder(const CVFDLFolder& folder, XmlTextSink& out) const;
  std::unique_ptr<CVFDLNode> CloneSubtree(const CVFDLNode& node) const;

  std::unique_ptr<std::string> text_;  // the text the tree was read from
  std::deque<std::string> held_;       // text the tree refers to besides it
  std::string_view head_;              // declaration and root start tag
  std::string_view prologue_;
  std::string_view epilogue_;
  std::string_view tail_;              // root end tag and what follows
  std::string root_tag_;
  std::string_view newline_ = "\r\n";
  std::string base_path_;
  std::string scheme_ = "kov:";
  std::string pos_prefix_;
  CVFDLNode* holder_ = nullptr;
};

// The create-or-open sequence every document is opened with: loads `path`
// into `doc`, or creates it from its template when the file is missing
// (only when `create` is set), then initialises it with `base_path` and the
// scheme "kov:". Returns 1 loaded, 0 created, -1 not available (a file that
// exists but cannot be used is left untouched).
int OpenVFDLDoc(CVFDLDoc& doc, std::string_view path, std::string_view base_path, bool create = true);

}  // namespace zds

#endif  // ZDS_FRAMEWORK_VFDL_DOC_H_

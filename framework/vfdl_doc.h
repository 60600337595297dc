// CVFDLDoc: a record document, the base of every document kind. It builds
// its node tree from its file in one pass (vfdl_reader.cpp), offers the
// edits (add, update, delete of records and folders, the root element's
// attributes, the prologue) and writes the tree back (vfdl_writer.cpp).
//
// Every edit either applies completely, saved when a save is due, or leaves
// the document as it was: an edit whose save fails is undone and reports
// failure. A value whose extension is of another class than the document
// gives its nodes is refused, so a family's records always hold the
// family's extension.
//
// A large document saves an edit of one record or link (update, add,
// delete) by appending it to its journal (xml_doc.h), and applies the
// journal through its own reader when it loads; every other edit writes the
// file whole. Closing the document folds a journal it wrote into the file.
//
// A document kind derives from it, usually through CVFDLFamily
// (family.h), and supplies the hooks: its template, root tag, record tag,
// the node classes it creates, how its records' and folders' own fields are
// read from and written to their elements, and the extension type of each
// node.
//
// Positions: a node's position is the position prefix of its document, a
// "\" and the node's id. The prefix is that of the node the document was
// opened behind, or for a document opened on its own the scheme and its
// root folder's alias ("kov:\Timer Index"). Paths: the scheme and the
// aliases from the root down ("kov:\Velmora\Calendar"); a document opened
// behind a folder continues that folder's path.
//
// Lifetimes. A node a document hands out (GetRoot, GetNodeByPos, GetRec,
// a walk, a node's parent or sibling) is valid until it leaves the tree:
// it, or a folder above it, is deleted (a delete whose save fails puts the
// very node back); the tree is replaced (SetXml, LoadXMLDoc or NewXMLDoc
// succeeding; one that fails keeps the old nodes); or the document goes
// (destroyed, or unloaded by the document it was opened behind:
// casd_vfdl_doc.h). An update keeps the node: the pointer stays valid and
// shows the new value. A reference into a node's extension (GetExtendRec,
// GetExtendFolder, and anything inside it) is valid only until the node's
// value is replaced: every update, also one that fails and is undone, puts
// a new extension in place, so take it again after UpdateRec. A document a
// facade or another document owns is valid as its owner says (zds.h,
// casd_vfdl_doc.h).

#ifndef ZDS_FRAMEWORK_VFDL_DOC_H_
#define ZDS_FRAMEWORK_VFDL_DOC_H_

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/vfdl_node.h"
#include "zds/framework/vfdl_tree.h"
#include "zds/framework/xml_doc.h"
#include "zds/framework/xml_line.h"
#include "zds/platform/window.h"

namespace zds {

class XmlTextSink;

// How deep folders may nest, the root folder being level 1. A file that
// nests deeper is refused as unusable (and left untouched), and an edit
// that would go deeper is refused, so that no path or listing of a document
// grows without bound.
inline constexpr int kMaxFolderDepth = 1000;

// Why the last edit of a document did or did not happen.
enum class EditStatus {
  kDone,
  kNotFound,  // no node of the wanted kind at the position
  kRefused,   // the value does not fit there (extension of another class, the root folder, ...)
  kNotSaved,  // the save the edit needed failed; the document is as it was
  kConflict,  // another writer changed the file since this document read it: nothing
              // was written and the document is as it was; Reload, then edit again
};

class CVFDLDoc : public CXMLDoc, public CVFTree {
 public:
  CVFDLDoc();
  ~CVFDLDoc() override;

  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<CVFDLDoc>(); }
  std::string_view GetRTTIClass() const override { return "CVFDLDoc"; }

  [[nodiscard]] bool SetXml(std::string text) override;
  // Final: a save writes the same text through WriteXmlTo without building
  // this string, so the two must not part ways in a kind.
  std::string GetXml() const final;

  // Sets the base directory (a stored path; "" is the data root) and the
  // scheme, between the version hooks. A non-empty `prefix` replaces the
  // position prefix.
  virtual bool InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix = "",
                           int reserved1 = -1, int reserved2 = -1);
  const std::string& GetBasePath() const { return base_path_; }
  const std::string& GetScheme() const { return scheme_; }
  std::string GetPosPrefix() const;
  std::string GetRootPath() const;

  // The node this document was opened behind, if any; valid as long as this document.
  CVFDLNode* GetHolder() const { return holder_; }
  void SetHolder(CVFDLNode* holder) { holder_ = holder; }

  // Look-ups; null when nothing is there ("Lifetimes" above).
  CVFDLNode* GetNodeByPos(std::string_view pos) const;
  virtual CVFDLNode* GetNodeByPath(std::string_view path) const;
  // The document opened behind `node`, if this kind opens any (valid as
  // casd_vfdl_doc.h says).
  virtual CVFDLDoc* GetExpandedDoc(const CVFDLNode& /*node*/) const { return nullptr; }
  std::string GetFolderID(std::string_view pos) const;

  // Edits. `flag` asks for a save after the change (auto-save always saves).
  // Adding returns the new node's position, empty on failure; the others
  // return false on failure. GetLastEditStatus tells why.
  [[nodiscard]] virtual std::string AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag);
  [[nodiscard]] virtual bool UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag);
  [[nodiscard]] virtual bool DelRec(std::string_view pos);
  [[nodiscard]] virtual std::string AddFolder(std::string_view parent_pos, const CVFDLFolder& folder, bool flag);
  [[nodiscard]] virtual bool UpdateFolder(std::string_view pos, const CVFDLFolder& folder, bool flag);
  [[nodiscard]] virtual bool DelFolder(std::string_view pos);
  // The same for any kind of node (links, a kind's own nodes).
  [[nodiscard]] std::string AddNodeCopy(std::string_view parent_pos, const CVFDLNode& node, bool flag,
                                        int index = -1);
  [[nodiscard]] bool UpdateNode(std::string_view pos, const CVFDLNode& node, bool flag);
  [[nodiscard]] bool DelNode(std::string_view pos, bool flag);
  // Copies the node with `id` (a whole folder with its contents) under the
  // folder with `parent_id`; returns the copy's position.
  [[nodiscard]] std::string AddCopyNodeByID(std::string_view id, std::string_view parent_id, bool flag);
  EditStatus GetLastEditStatus() const { return last_status_; }

  // Reads the file again, for a document another writer has changed
  // (an edit or save that reported kConflict). When it loads, every node
  // pointer this document handed out is invalid, as after any new tree
  // (the root too: take it again), and so is every document opened behind
  // one of its nodes (casd_vfdl_doc.h); changes not yet saved are dropped;
  // WM_ZDS_CHANGED is posted to `window` (when not null) with the new root
  // and kChangeUpdated, so that windows showing the document refresh. A
  // file that no longer loads leaves the document and its nodes as they
  // were: kUnusable (never to be saved over), or kMissing (the next save
  // writes the file anew). Family fields derived from the tree are rebuilt
  // by OnTreeReplaced; the version hooks do not run again.
  [[nodiscard]] OpenResult Reload(platform::WindowHandle window = nullptr);

  // A synchronisation line for `text`: the document's root tag, its file and the text.
  std::string FormatSYNCLine(std::string_view text) const;
  const std::string& GetRootTagName() const { return root_tag_; }
  // The root element's attribute ("ver", ...), empty when absent.
  std::string GetRootAttribute(std::string_view name) const;
  // Sets (or adds) an attribute of the root element; the rest of the
  // element keeps its spelling.
  [[nodiscard]] bool SetRootAttribute(std::string_view name, std::string_view value, bool flag);
  // The text between the root element and the root folder (a column header
  // and the like), and its replacement, which must be well-formed content.
  std::string_view GetPrologue() const { return prologue_; }
  [[nodiscard]] bool SetPrologue(std::string_view text, bool flag);

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
  // The record and folder hooks receive nodes the document made itself
  // (NewRecPointer, NewFolderPointer); CVFDLTypedDoc hands them on typed.
  virtual void ReadBaseItem(CXMLElementReader& item, CVFDLNode& node);
  virtual void CreateBaseText(const CVFDLNode& node, CXMLLine& line) const;
  virtual bool ReadRecExtend(CXMLElementReader& /*item*/, CVFDLRec& /*rec*/) { return true; }
  virtual void WriteRecExtend(const CVFDLRec& /*rec*/, CXMLLine& /*line*/,
                              std::vector<std::string>& /*lines*/) const {}
  virtual bool ReadFolderExtend(CXMLElementReader& /*item*/, CVFDLFolder& /*folder*/) { return true; }
  virtual void WriteFolderExtend(const CVFDLFolder& /*folder*/, CXMLLine& /*line*/) const {}
  virtual bool InitOtherItem(CXMLElementReader& /*item*/, CVFDLNode& /*node*/) { return true; }
  virtual void CreateOtherItemText(const CVFDLNode& /*node*/, CXMLLine& /*line*/,
                                   std::vector<std::string>& /*lines*/) const {}
  // The document's own copy of the value an add was given (AddRec,
  // AddFolder, AddNodeCopy), before it goes into the tree; only a value
  // that fits gets here. CVFDLTypedDoc hands it on typed.
  virtual void PrepareNewNode(CVFDLNode& /*node*/) {}

  // Version hooks, around InitVFDLDoc's own work: a kind that migrates old
  // files does it in AfterUpdateVersion, when the base directory is known.
  virtual void PreUpdateVersion() {}
  virtual void AfterUpdateVersion() {}

  bool WriteXmlTo(const platform::DataRoot& root, std::string_view path, const WriteGate& gate) const override;
  bool ApplyJournal(std::string text, const std::vector<JournalEntry>& entries) override;
  CVFDLDoc* TreeDoc() override { return this; }
  // Called after a new text replaced the tree, before the old nodes go.
  virtual void OnTreeReplaced() {}
  CVFDLFolder* GetFolderByPos(std::string_view pos) const;
  // The line break this document uses ("\r\n" unless its file says otherwise).
  std::string_view Newline() const { return newline_; }

  // The edits every public operation comes down to; node_type -1 takes any
  // kind of node. Each records and returns its status.
  EditStatus InsertNode(std::string_view parent_pos, std::unique_ptr<CVFDLNode> node, bool flag, int index,
                        std::string* added_pos);
  EditStatus ReplaceNode(std::string_view pos, int node_type, const CVFDLNode& value, bool flag);
  EditStatus RemoveNodeAt(std::string_view pos, int node_type, bool flag);
  // Whether a value may become (or replace) a node like `model`: the same
  // kind of node with an extension of the same class.
  static bool FitsLike(const CVFDLNode& value, const CVFDLNode& model);
  // The level of a folder (the root folder is 1), counted up its parents.
  static int FolderDepth(const CVFDLNode& folder);

 private:
  friend class TreeBuilder;
  friend class DocumentWriter;

  // Saves when due; on failure runs `undo` and puts the modified mark back.
  // A non-empty `journal_entry` is saved by appending it to the journal.
  template <typename Undo>
  EditStatus Commit(bool flag, Undo&& undo, std::string_view journal_entry = {});
  // Whether an edit of `node` that saves may go to the journal.
  bool JournalsEditOf(const CVFDLNode& node, bool flag) const;
  // The journal entry for `node` as it now stands, held by the document;
  // the node takes its element as the text it is written back with.
  std::string_view MakeJournalEntry(std::string operation, CVFDLNode& node);
  bool ApplyJournalEntry(const JournalEntry& entry);
  // The text of one element, read as the file's elements are: a node
  // outside the tree, null when the text is no node of this kind.
  std::unique_ptr<CVFDLNode> ReadNodeText(std::string_view text);
  // The node's element as a save writes it.
  std::string NodeText(const CVFDLNode& node) const;
  // Whether the tree can be written from the text its nodes hold, with no
  // hook of the kind: what is left of it while the document is destroyed.
  bool WritesFromTextAlone() const;
  EditStatus Finish(EditStatus status) { return last_status_ = status; }
  void ReplaceValue(CVFDLNode& node, const CVFDLNode& value);
  std::string_view Hold(std::string text);
  std::unique_ptr<CVFDLNode> NewNodeLike(const CVFDLNode& value) const;

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
  EditStatus last_status_ = EditStatus::kDone;
};

// Runs `edit` (one or more edits of `doc`, true when done) and, while it is
// refused as a conflict, brings `doc` up to date (Reload, telling `window`)
// and runs it again, at most `attempts` times in all: what a program does
// with a change its user made, so that a writer beside it never makes it
// fail. `edit` must find its nodes afresh each time (positions stay, node
// pointers do not). False when it failed for another reason (see
// GetLastEditStatus), the document no longer loads, or the attempts ran out.
template <typename Edit>
bool EditWithReload(CVFDLDoc& doc, Edit&& edit, platform::WindowHandle window = nullptr, int attempts = 16) {
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (edit()) return true;
    if (doc.GetLastEditStatus() != EditStatus::kConflict || doc.Reload(window) != OpenResult::kLoaded) return false;
  }
  return false;
}

// The create-or-open sequence every document is opened with: loads `path`
// into `doc`, or creates it from its template when the file is missing
// (only when `create` is set, and never on a read-only data root), then
// initialises it with `base_path` and the scheme "kov:". A file that exists
// but cannot be used is left untouched (GetOpenProblem says why).
[[nodiscard]] OpenResult OpenVFDLDoc(CVFDLDoc& doc, std::string_view path, std::string_view base_path,
                                     bool create = true);

}  // namespace zds

#endif  // ZDS_FRAMEWORK_VFDL_DOC_H_

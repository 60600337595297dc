// CCASDVFDLDoc: a record document whose folders (and records, links) may
// stand for whole documents of their own. A node's content descriptor names
// the document class ("class=CFavDoc") and its "src" the file, relative to
// this document's base directory. Opening such a node creates the document
// through the class registry the document was given; this document owns it
// until it is unloaded or the node goes away. Without a registry no
// document is opened behind a node, and GetLastLoadStatus says so.
//
// A document opened here is valid until it is unloaded, the node it stands
// behind leaves the tree (deleted, or a folder above it deleted), this
// document's tree is replaced (SetXml, a new load) or this document goes.
// The nodes of an opened document are valid as its own rules say
// ("Lifetimes" in vfdl_doc.h) and at most as long as the document.
//
// Browsing: the Reach look-ups and ForEachDocBehind go through the
// documents behind nodes, opening each on demand as the store's own
// look-ups do, never creating a missing one. A host shows or checks the
// whole store with them without knowing which kind opens which.

#ifndef ZDS_FRAMEWORK_CASD_VFDL_DOC_H_
#define ZDS_FRAMEWORK_CASD_VFDL_DOC_H_

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "zds/framework/vfdl_doc.h"
#include "zds/framework/vfdl_walk.h"

namespace zds {

// Why the last LoadVFDLDoc or LoadRelatedVFDLDoc opened what it did, or nothing.
enum class LoadStatus {
  kLoaded,         // opened, now or before
  kNoRegistry,     // this document was given no class registry
  kUnknownClass,   // the registry knows no document class of that name
  kOtherClass,     // a typed load: the document is of another class (it stays open)
  kRefusedSrc,     // no "src", or one that leaves the data root
  kNotInDocument,  // the node belongs to another document
  kMissing,        // no file, and none was to be made
  kUnusable,       // the file exists but cannot be used; it is left untouched
  kUnwritable,     // the file was made from the template but could not be written
};

class CCASDVFDLDoc : public CVFDLDoc {
 public:
  CCASDVFDLDoc();
  ~CCASDVFDLDoc() override;

  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<CCASDVFDLDoc>(); }
  std::string_view GetRTTIClass() const override { return "CCASDVFDLDoc"; }

  // The registry documents behind nodes are created through; it must
  // outlive this document. Documents opened here get it too.
  void SetClassRegistry(const CRTTIRegistry* registry) { registry_ = registry; }
  const CRTTIRegistry* GetClassRegistry() const { return registry_; }

  // Opens (or returns the already open) document behind `node`, a node of
  // this document. With `create` a missing file is made from the class's
  // template. Null when nothing was opened; GetLastLoadStatus tells why.
  CVFDLDoc* LoadVFDLDoc(const CVFDLNode& node, bool create = true);
  // The same, typed: null (status kOtherClass) for a document of another class.
  template <typename Doc>
  Doc* LoadVFDLDoc(const CVFDLNode& node, bool create = true) {
    return Typed<Doc>(LoadVFDLDoc(node, create));
  }
  // Opens the document at a stored path (relative to this document's base
  // directory) as an object of `class_name`; owned like the others.
  CVFDLDoc* LoadRelatedVFDLDoc(std::string_view path, std::string_view class_name);
  LoadStatus GetLastLoadStatus() const { return load_status_; }
  // Why, when that status is kUnusable: the file, the line and what is wrong.
  const FileProblem& GetLastLoadProblem() const { return load_problem_; }
  // Closes the document behind the node at `pos`, or a related document by path.
  bool UnloadVFDLDoc(std::string_view pos_or_path);
  // The document already open behind `node`, if any; typed, null for one
  // of another class.
  CVFDLDoc* GetExpandedDoc(const CVFDLNode& node) const override;
  template <typename Doc>
  Doc* GetExpandedDoc(const CVFDLNode& node) const {
    return dynamic_cast<Doc*>(GetExpandedDoc(node));
  }

  // The node at `pos` in this document or in any document open below it;
  // `opener` receives the document holding it when that document opens
  // others (null when it opens none).
  CVFDLNode* FindNodeByPos(std::string_view pos, CCASDVFDLDoc** opener = nullptr) const;

  // The class named by a node's content descriptor; kinds with their own
  // descriptor fields override it.
  virtual std::string GetNodeContentClass(const CVFDLNode& node) const { return node.GetContentClass(); }

  // The node at a position or path in this document or in any document
  // below it, the documents on the way opened when they are not yet. Null
  // when nothing is there; GetLastLoadStatus and GetLastLoadProblem then
  // tell of the last document on the way that could not be opened
  // (kLoaded when all could). A path goes on through a node whose document
  // is missing or of an unknown class among the node's own children, as
  // GetNodeByPath does.
  CVFDLNode* ReachNodeByPos(std::string_view pos);
  CVFDLNode* ReachNodeByPath(std::string_view path);
  // The document behind `node` (a node of this document or of one open
  // below it), opened when it is not yet; null for a node that stands for
  // none (no "src": status kLoaded) or whose document cannot be opened.
  CVFDLDoc* ReachDocBehind(const CVFDLNode& node);
  // Calls `visit` for every node with a "src" in this document and in the
  // documents below it, depth first in document order, with the document
  // behind it (null when it cannot be opened; the status and problem say
  // why). Each document is opened in turn and, unless it was open before,
  // closed again once the documents below it are done, so the walk holds
  // one document per level: `visit` keeps no pointer into it.
  using DocVisitor = std::function<void(const CVFDLNode& holder, const CVFDLDoc* doc, LoadStatus status,
                                        const FileProblem& problem)>;
  void ForEachDocBehind(const DocVisitor& visit);

  // Children as the user sees them: a node with an open document shows that
  // document's top-level nodes.
  CVFDLNode* GetFirstChild(const CVFDLNode& node) const;
  CVFDLNode* GetLastChild(const CVFDLNode& node) const;
  CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kChildren> GetChildren(const CVFDLNode& node) const;
  // The separate-file document this one was opened from, if any.
  CCASDVFDLDoc* GetParentCASDDoc() const;

  // Deleting a folder closes the documents behind it and below it;
  // DelFolderOnDoc also deletes their files (a kind that owns only some of
  // the files its nodes name says which).
  [[nodiscard]] virtual bool DelFolderOnDoc(std::string_view pos);

 protected:
  void OnNodeRemoving(CVFDLNode& node) override;
  void OnTreeReplaced() override;

 private:
  std::unique_ptr<CVFDLDoc> OpenChild(std::string_view class_name, std::string_view src, bool create);
  void CollectBackingFiles(const CVFDLNode& node, std::vector<std::string>& files) const;
  template <typename Doc>
  Doc* Typed(CVFDLDoc* doc) {
    auto* typed = dynamic_cast<Doc*>(doc);
    if (doc != nullptr && typed == nullptr) load_status_ = LoadStatus::kOtherClass;
    return typed;
  }

  const CRTTIRegistry* registry_ = nullptr;
  LoadStatus load_status_ = LoadStatus::kLoaded;
  FileProblem load_problem_;
  std::unordered_map<const CVFDLNode*, std::unique_ptr<CVFDLDoc>> expanded_;
  std::map<std::string, std::unique_ptr<CVFDLDoc>, std::less<>> related_;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_CASD_VFDL_DOC_H_

// CCASDVFDLDoc: a record document whose folders (and records, links) may
// stand for whole documents of their own. A node's content descriptor names
// the document class ("class=CFavDoc") and its "src" the file, relative to
// this document's base directory. Opening such a node creates the document
// through the class registry the document was given; this document owns it
// until it is unloaded or the node goes away. Without a registry no
// document is opened behind a node.

#ifndef ZDS_FRAMEWORK_CASD_VFDL_DOC_H_
#define ZDS_FRAMEWORK_CASD_VFDL_DOC_H_

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "zds/framework/vfdl_doc.h"

namespace zds {

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

  // Opens (or returns the already open) document behind `node`. With
  // `create` a missing file is made from the class's template. Null when the
  // node names no known document class, its "src" leaves the data root, or
  // the file cannot be used.
  CVFDLDoc* LoadVFDLDoc(const CVFDLNode& node, bool create = true);
  // Opens the document at a stored path (relative to this document's base
  // directory) as an object of `class_name`; owned like the others.
  CVFDLDoc* LoadRelatedVFDLDoc(std::string_view path, std::string_view class_name);
  // Closes the document behind the node at `pos`, or a related document by path.
  bool UnloadVFDLDoc(std::string_view pos_or_path);
  CVFDLDoc* GetExpandedDoc(const CVFDLNode& node) const override;

  // The node at `pos` in this document or in any document open below it.
  CVFDLNode* FindNodeByPos(std::string_view pos) const;

  // The class named by a node's content descriptor; kinds with their own
  // descriptor fields override it.
  virtual std::string GetNodeContentClass(const CVFDLNode& node) const { return node.GetContentClass(); }

  // Children as the user sees them: a node with an open document shows that
  // document's top-level nodes.
  CVFDLNode* GetFirstChild(const CVFDLNode& node) const;
  CVFDLNode* GetLastChild(const CVFDLNode& node) const;
  // The separate-file document this one was opened from, if any.
  CCASDVFDLDoc* GetParentCASDDoc() const;

  // Deleting a folder closes the documents behind it and below it;
  // DelFolderOnDoc also deletes their files.
  [[nodiscard]] bool DelFolderOnDoc(std::string_view pos);

 protected:
  void OnNodeRemoving(CVFDLNode& node) override;
  void OnTreeReplaced() override;

 private:
  std::unique_ptr<CVFDLDoc> OpenChild(std::string_view class_name, std::string_view src, bool create) const;
  void CollectBackingFiles(const CVFDLNode& node, std::vector<std::string>& files) const;

  const CRTTIRegistry* registry_ = nullptr;
  std::unordered_map<const CVFDLNode*, std::unique_ptr<CVFDLDoc>> expanded_;
  std::map<std::string, std::unique_ptr<CVFDLDoc>, std::less<>> related_;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_CASD_VFDL_DOC_H_

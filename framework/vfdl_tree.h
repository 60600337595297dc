// CVFTree: the node tree of one record document. It owns every node, hands
// out ids, and finds nodes by id, position and virtual path through indexes,
// never by scanning the document.
//
// Ids are four-digit decimal strings ("0000" is the root folder) and unique
// within a document. A new id is one above the largest in use.

#ifndef ZDS_FRAMEWORK_VFDL_TREE_H_
#define ZDS_FRAMEWORK_VFDL_TREE_H_

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zds/framework/vfdl_node.h"

namespace zds {

// The id index of a tree. Ids in the form GetLocalID gives ("0042", "12345")
// sit in a table indexed by their number, so the usual look-up is one array
// access and adding a node never rehashes; any other id goes to a hash map.
// Each id has exactly one home, so a look-up checks at most both.
class CVFIdIndex {
 public:
  CVFDLNode* Find(std::string_view id) const;
  // The caller makes sure the id is not taken yet.
  void Insert(std::string_view id, CVFDLNode* node);
  void Erase(std::string_view id);
  void Clear();

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view id) const { return std::hash<std::string_view>{}(id); }
  };
  // The table slot of an id in GetLocalID form, or -1.
  static long Slot(std::string_view id);

  std::vector<CVFDLNode*> by_number_;
  size_t numbered_ = 0;  // filled slots of by_number_
  std::unordered_map<std::string, CVFDLNode*, Hash, std::equal_to<>> others_;
};

class CVFTree {
 public:
  CVFTree() = default;
  CVFTree(const CVFTree&) = delete;
  CVFTree& operator=(const CVFTree&) = delete;
  virtual ~CVFTree();

  // Null before a tree was read or made; valid as "Lifetimes" in vfdl_doc.h says.
  CVFDLFolder* GetRoot() const { return root_; }
  size_t GetNodeCount() const { return nodes_.size(); }
  CVFDLNode* GetNodeByID(std::string_view id) const;

  // A number not used by any node yet; GetLocalID turns it into an id.
  int GetNewID() const { return max_id_ + 1; }
  // Keeps GetNewID above an id that is in the file but not in the tree.
  void ReserveID(std::string_view id);
  static std::string GetLocalID(int number);
  // `alias`, or "alias (2)", "alias (3)"... whichever no child of `parent` has.
  std::string GetNewAlias(CVFDLFolder& parent, std::string_view alias) const;
  // The node's place among its siblings (0 for the first child).
  int GetNodeIndex(const CVFDLNode& node) const;

  // Hook: sets a node's extension type as it enters the tree.
  virtual void InitNodeExtendType(CVFDLNode& node);

 protected:
  // Puts `node` under `parent` (null: as the root) before the child at
  // `index` (negative: at the end) and returns it. An id that is empty or
  // already taken is replaced by a new one.
  CVFDLNode* AddNode(CVFDLFolder* parent, std::unique_ptr<CVFDLNode> node, int index = -1);
  // Removes the node and everything below it.
  void RemoveNode(CVFDLNode& node);
  // A node taken out of its folder, with everything below it, but still
  // owned and still found by id, so that an edit can put it back.
  struct Detached {
    CVFDLNode* node;
    CVFDLFolder* parent;
    CVFDLNode* next;  // the sibling it stood before
  };
  Detached DetachNode(CVFDLNode& node);
  void ReattachNode(const Detached& detached);
  // Drops a detached node and everything below it.
  void ReleaseNode(CVFDLNode& node);
  // The largest id handed out so far, to put back when an add is undone.
  int GetMaxID() const { return max_id_; }
  void RestoreMaxID(int max_id) { max_id_ = max_id; }
  // Drops every node.
  void ClearTree();
  // Changes a node's alias through the tree, keeping the alias index right.
  void RenameNode(CVFDLNode& node, std::string_view alias);
  // The whole tree, taken out and put back, so that a failed rebuild can
  // leave the document as it was.
  struct TreeState {
    std::vector<std::unique_ptr<CVFDLNode>> nodes;
    CVFIdIndex by_id;
    CVFDLFolder* root = nullptr;
    int max_id = 0;
  };
  TreeState TakeTree();
  void RestoreTree(TreeState state);
  // Called for every node (below-first) before it leaves the tree.
  virtual void OnNodeRemoving(CVFDLNode& /*node*/) {}
  virtual CVFDLDoc* TreeDoc() = 0;

 private:
  void Link(CVFDLFolder& parent, CVFDLNode& node, CVFDLNode* before);
  void Unlink(CVFDLNode& node);
  void ReleaseSubtree(CVFDLNode& node);
  void ReleaseOne(CVFDLNode& node);
  void RegisterID(CVFDLNode& node);

  std::vector<std::unique_ptr<CVFDLNode>> nodes_;  // slot order; swap-removed
  CVFIdIndex by_id_;
  CVFDLFolder* root_ = nullptr;
  int max_id_ = 0;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_VFDL_TREE_H_

// Walks over a document's tree: the children of a folder, and every node
// below a folder depth first, in document order. A walk keeps no stack and
// never recurses (it follows the tree's own links, up through the parents),
// so the deepest tree a document accepts costs no more than its size.
//
//   for (CVFDLNode& child : Children(folder)) ...
//   for (auto it = Subtree(folder).begin(); it != end; ++it) it.depth() ...
//
// Typed walks (the records of a family, its folders) come from the family's
// document (CVFDLTypedDoc::Recs and the like in family.h). A walk stays
// valid as long as the node it stands on and the nodes still ahead of it
// stay in the tree: an edit that removes or moves them ends it (collect the
// positions first, then edit).

#ifndef ZDS_FRAMEWORK_VFDL_WALK_H_
#define ZDS_FRAMEWORK_VFDL_WALK_H_

#include <cstddef>
#include <iterator>
#include <type_traits>

#include "zds/framework/vfdl_node.h"

namespace zds {

// Which nodes a walk yields.
namespace walk {
struct AnyNode {
  static bool Accepts(const CVFDLNode&) { return true; }
};
struct RecsOnly {
  static bool Accepts(const CVFDLNode& node) { return node.GetNodeType() == kNodeRec; }
};
struct FoldersOnly {
  static bool Accepts(const CVFDLNode& node) { return node.IsFolder(); }
};
enum class Reach { kChildren, kSubtree };
}  // namespace walk

// The nodes below `top` that `Filter` accepts, each as a T: the walks that
// yield a family's classes are made by its document, which made every node
// of that kind of that class.
template <typename T, typename Filter, walk::Reach kReach>
class CVFDLNodeRange {
 public:
  class iterator {
   public:
    using value_type = std::remove_cv_t<T>;
    using reference = T&;
    using pointer = T*;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::forward_iterator_tag;

    iterator() = default;
    T& operator*() const { return static_cast<T&>(*node_); }
    T* operator->() const { return static_cast<T*>(node_); }
    iterator& operator++() {
      do Step();
      while (node_ != nullptr && !Filter::Accepts(*node_));
      return *this;
    }
    iterator operator++(int) {
      iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const iterator& other) const { return node_ == other.node_; }
    // How many levels below the top the node lies: 1 for a child.
    int depth() const { return depth_; }

   private:
    friend class CVFDLNodeRange;
    iterator(CVFDLNode* node, const CVFDLNode* top) : node_(node), top_(top), depth_(node ? 1 : 0) {
      if (node_ != nullptr && !Filter::Accepts(*node_)) ++*this;
    }
    // Down into a folder, else on to the next sibling, climbing back up
    // where a folder ends; the walk ends when it climbs back to the top.
    void Step() {
      if constexpr (kReach == walk::Reach::kSubtree) {
        if (node_->IsFolder()) {
          if (CVFDLNode* first = static_cast<const CVFDLFolder*>(node_)->GetFirstChild()) {
            node_ = first;
            ++depth_;
            return;
          }
        }
        while (node_->GetNextSibling() == nullptr) {
          node_ = node_->GetParent();
          --depth_;
          if (node_ == top_ || node_ == nullptr) {
            node_ = nullptr;
            return;
          }
        }
      }
      node_ = node_->GetNextSibling();
    }

    CVFDLNode* node_ = nullptr;
    const CVFDLNode* top_ = nullptr;
    int depth_ = 0;
  };

  explicit CVFDLNodeRange(const CVFDLFolder* top) : top_(top) {}
  iterator begin() const { return top_ ? iterator(top_->GetFirstChild(), top_) : iterator(); }
  iterator end() const { return iterator(); }
  bool empty() const { return begin() == end(); }

 private:
  const CVFDLFolder* top_;
};

// The children of `folder`, in order.
inline CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kChildren> Children(const CVFDLFolder& folder) {
  return CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kChildren>(&folder);
}
// Every node below `folder`, depth first in document order.
inline CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kSubtree> Subtree(const CVFDLFolder& folder) {
  return CVFDLNodeRange<CVFDLNode, walk::AnyNode, walk::Reach::kSubtree>(&folder);
}

// Whether `a` stands before `b` in their document (both in one tree). Costs
// the depth of the two nodes plus the shorter of two sibling walks: from
// `a` to `b`, or from the later one to the end of its folder.
bool PrecedesInDocument(const CVFDLNode& a, const CVFDLNode& b);

// The node as a T (a class of node a kind defines), or null when it is of
// another class; for a node whose document is not known. A family's own
// documents hand out their nodes typed without asking (family.h).
template <typename T>
T* NodeAs(CVFDLNode* node) {
  static_assert(std::is_base_of_v<CVFDLNode, T>);
  return dynamic_cast<T*>(node);
}
template <typename T>
const T* NodeAs(const CVFDLNode* node) {
  static_assert(std::is_base_of_v<CVFDLNode, T>);
  return dynamic_cast<const T*>(node);
}

}  // namespace zds

#endif  // ZDS_FRAMEWORK_VFDL_WALK_H_

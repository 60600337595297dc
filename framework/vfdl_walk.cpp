#include "zds/framework/vfdl_walk.h"

#include <vector>

namespace zds {
namespace {

// Two children of one folder: walks on from both at once. Whichever walk
// meets the other node, or runs off the end first, settles the order.
bool SiblingPrecedes(const CVFDLNode& a, const CVFDLNode& b) {
  for (const CVFDLNode *from_a = &a, *from_b = &b;;) {
    from_a = from_a->GetNextSibling();
    from_b = from_b->GetNextSibling();
    if (from_a == &b || from_b == nullptr) return true;
    if (from_b == &a || from_a == nullptr) return false;
  }
}

// The node and its ancestors, the root last.
std::vector<const CVFDLNode*> AncestorsOf(const CVFDLNode& node) {
  std::vector<const CVFDLNode*> chain;
  for (const CVFDLNode* up = &node; up; up = up->GetParent()) chain.push_back(up);
  return chain;
}

}  // namespace

bool PrecedesInDocument(const CVFDLNode& a, const CVFDLNode& b) {
  if (&a == &b) return false;
  if (a.GetParent() == b.GetParent()) return SiblingPrecedes(a, b);
  std::vector<const CVFDLNode*> up_a = AncestorsOf(a), up_b = AncestorsOf(b);
  auto from_a = up_a.rbegin(), from_b = up_b.rbegin();
  while (from_a != up_a.rend() && from_b != up_b.rend() && *from_a == *from_b) {
    ++from_a;
    ++from_b;
  }
  if (from_a == up_a.rend()) return true;  // `a` holds `b`
  if (from_b == up_b.rend()) return false;
  return SiblingPrecedes(**from_a, **from_b);
}

}  // namespace zds

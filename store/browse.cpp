#include "zds/store/browse.h"

#include <algorithm>
#include <utility>

#include "zds/feeds/extend_types.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/vfdl_walk.h"
#include "zds/mail/extend_types.h"
#include "zds/store/aidl_doc.h"

namespace zds {
namespace {

CBrowseItem ItemOf(const CVFDLNode& node, int depth) {
  return {node.GetPos(), node.GetPath(), node.GetAlias(), node.GetExtendType(), depth, node.IsFolder()};
}

// Depth first in document order, with a stack of the children still to
// see; `children` lists a node's children as the dialog shows them,
// `shown` picks the entries, `entered` the nodes whose children count.
template <typename Children, typename Shown, typename Entered>
std::vector<CBrowseItem> Walk(const CVFDLNode& top, const Children& children, const Shown& shown,
                              const Entered& entered) {
  std::vector<CBrowseItem> items;
  std::vector<std::pair<const CVFDLNode*, int>> pending;
  auto push_children = [&](const CVFDLNode& node, int depth) {
    const size_t first = pending.size();
    for (const CVFDLNode& child : children(node)) pending.emplace_back(&child, depth);
    std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(first), pending.end());
  };
  push_children(top, 1);
  while (!pending.empty()) {
    auto [node, depth] = pending.back();
    pending.pop_back();
    if (shown(*node)) items.push_back(ItemOf(*node, depth));
    if (entered(*node)) push_children(*node, depth + 1);
  }
  return items;
}

bool IsFolderOrAccount(const CVFDLNode& node) { return node.IsFolder() || node.GetNodeType() == kNodeService; }

}  // namespace

std::vector<CBrowseItem> GetBrowseFolderItems(const CCASDVFDLDoc* service_index) {
  if (service_index == nullptr || service_index->GetRoot() == nullptr) return {};
  auto children = [service_index](const CVFDLNode& node) { return service_index->GetChildren(node); };
  return Walk(*service_index->GetRoot(), children, IsFolderOrAccount, IsFolderOrAccount);
}

std::vector<CBrowseItem> GetBrowseFileItems(const CCASDVFDLDoc* service_index) {
  if (service_index == nullptr || service_index->GetRoot() == nullptr) return {};
  auto children = [service_index](const CVFDLNode& node) { return service_index->GetChildren(node); };
  auto is_file = [](const CVFDLNode& node) {
    return node.GetNodeType() == kNodeRec &&
           (node.GetExtendType() == kMailRecType || node.GetExtendType() == kChatIndexType);
  };
  auto entered = [](const CVFDLNode& node) { return node.GetNodeType() != kNodeRec || node.GetDoc() != nullptr; };
  return Walk(*service_index->GetRoot(), children, is_file, entered);
}

std::vector<CBrowseItem> GetBrowseATLItems(const CVFDLDoc* templates, int folder) {
  if (templates == nullptr || templates->GetRoot() == nullptr) return {};
  const CVFDLFolder* top = templates->GetRoot();
  int index = 0;
  for (const CVFDLNode& child : Children(*templates->GetRoot())) {
    const auto* child_folder = NodeAs<const CVFDLFolder>(&child);
    if (child_folder != nullptr && index++ == folder) top = child_folder;
  }
  std::vector<CBrowseItem> items;
  const auto subtree = Subtree(*top);
  for (auto it = subtree.begin(); it != subtree.end(); ++it) items.push_back(ItemOf(*it, it.depth()));
  return items;
}

}  // namespace zds

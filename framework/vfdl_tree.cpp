#include "zds/framework/vfdl_tree.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace zds {
namespace {

// The numeric value of an all-digit id, or -1.
int IdNumber(std::string_view id) {
  int value = -1;
  if (id.empty() || id.size() > 9) return -1;
  auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), value);
  return error == std::errc() && end == id.data() + id.size() ? value : -1;
}

}  // namespace

long CVFIdIndex::Slot(std::string_view id) {
  // "%04d" of a non-negative int: four digits, or more without a leading zero.
  if (id.size() < 4 || id.size() > 9 || (id.size() > 4 && id[0] == '0')) return -1;
  long number = 0;
  for (char c : id) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

CVFDLNode* CVFIdIndex::Find(std::string_view id) const {
  long slot = Slot(id);
  if (slot >= 0 && static_cast<size_t>(slot) < by_number_.size() && by_number_[static_cast<size_t>(slot)]) {
    return by_number_[static_cast<size_t>(slot)];
  }
  if (others_.empty()) return nullptr;
  auto it = others_.find(id);
  return it == others_.end() ? nullptr : it->second;
}

void CVFIdIndex::Insert(std::string_view id, CVFDLNode* node) {
  long slot = Slot(id);
  // A few stray large numbers must not blow the table up: it only grows to
  // a size in proportion to the ids it holds.
  if (slot >= 0 && static_cast<size_t>(slot) < std::max(by_number_.size(), 2 * numbered_ + 65536)) {
    size_t index = static_cast<size_t>(slot);
    if (index >= by_number_.size()) by_number_.resize(index + 1);
    by_number_[index] = node;
    ++numbered_;
    return;
  }
  others_.emplace(id, node);
}

void CVFIdIndex::Erase(std::string_view id) {
  long slot = Slot(id);
  if (slot >= 0 && static_cast<size_t>(slot) < by_number_.size() && by_number_[static_cast<size_t>(slot)]) {
    by_number_[static_cast<size_t>(slot)] = nullptr;
    --numbered_;
    return;
  }
  auto it = others_.find(id);
  if (it != others_.end()) others_.erase(it);
}

void CVFIdIndex::Clear() {
  by_number_.clear();
  numbered_ = 0;
  others_.clear();
}

CVFTree::~CVFTree() = default;

CVFDLNode* CVFTree::GetNodeByID(std::string_view id) const { return by_id_.Find(id); }

std::string CVFTree::GetLocalID(int number) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%04d", number);
  return buffer;
}

std::string CVFTree::GetNewAlias(CVFDLFolder& parent, std::string_view alias) const {
  if (parent.FindChildByAlias(alias) == nullptr) return std::string(alias);
  for (int n = 2;; ++n) {
    std::string candidate = std::string(alias) + " (" + std::to_string(n) + ")";
    if (parent.FindChildByAlias(candidate) == nullptr) return candidate;
  }
}

int CVFTree::GetNodeIndex(const CVFDLNode& node) const {
  if (node.parent_ == nullptr) return 0;
  int index = 0;
  for (CVFDLNode* sibling = node.parent_->first_child_; sibling && sibling != &node; sibling = sibling->next_) {
    ++index;
  }
  return index;
}

void CVFTree::ReserveID(std::string_view id) {
  int number = IdNumber(id);
  if (number > max_id_) max_id_ = number;
}

void CVFTree::InitNodeExtendType(CVFDLNode& /*node*/) {}

void CVFTree::RegisterID(CVFDLNode& node) {
  int number = IdNumber(node.id_);
  if (node.id_.empty() || by_id_.Find(node.id_) != nullptr) {
    number = max_id_ + 1;
    node.id_ = GetLocalID(number);
    node.source_ = {};  // the stored text no longer says what the node is
  }
  by_id_.Insert(node.id_, &node);
  if (number > max_id_) max_id_ = number;
}

CVFDLNode* CVFTree::AddNode(CVFDLFolder* parent, std::unique_ptr<CVFDLNode> owned, int index) {
  CVFDLNode& node = *owned;
  node.doc_ = TreeDoc();
  node.slot_ = static_cast<uint32_t>(nodes_.size());
  nodes_.push_back(std::move(owned));
  RegisterID(node);
  if (parent == nullptr) {
    root_ = static_cast<CVFDLFolder*>(&node);
  } else {
    CVFDLNode* before = nullptr;
    if (index >= 0) {
      before = parent->first_child_;
      for (int i = 0; before && i < index; ++i) before = before->next_;
    }
    Link(*parent, node, before);
  }
  InitNodeExtendType(node);
  return &node;
}

void CVFTree::Link(CVFDLFolder& parent, CVFDLNode& node, CVFDLNode* before) {
  node.parent_ = &parent;
  if (before == nullptr) {
    node.prev_ = parent.last_child_;
    if (parent.last_child_) parent.last_child_->next_ = &node;
    else parent.first_child_ = &node;
    parent.last_child_ = &node;
  } else {
    node.next_ = before;
    node.prev_ = before->prev_;
    if (before->prev_) before->prev_->next_ = &node;
    else parent.first_child_ = &node;
    before->prev_ = &node;
  }
  ++parent.child_count_;
  if (parent.alias_index_) parent.IndexChild(&node, before == nullptr);
}

void CVFTree::Unlink(CVFDLNode& node) {
  CVFDLFolder* parent = node.parent_;
  if (parent == nullptr) return;
  if (parent->alias_index_) parent->UnindexChild(&node);
  if (node.prev_) node.prev_->next_ = node.next_;
  else parent->first_child_ = node.next_;
  if (node.next_) node.next_->prev_ = node.prev_;
  else parent->last_child_ = node.prev_;
  --parent->child_count_;
  node.parent_ = nullptr;
  node.prev_ = node.next_ = nullptr;
}

void CVFTree::RenameNode(CVFDLNode& node, std::string_view alias) {
  if (node.alias_ == alias) return;
  CVFDLFolder* parent = node.parent_;
  bool indexed = parent && parent->alias_index_;
  if (indexed) parent->UnindexChild(&node);
  node.alias_ = alias;
  if (indexed) parent->IndexChild(&node, false);
}

void CVFTree::ReleaseOne(CVFDLNode& node) {
  OnNodeRemoving(node);
  by_id_.Erase(node.id_);
  size_t slot = node.slot_;
  if (slot + 1 != nodes_.size()) {
    nodes_[slot] = std::move(nodes_.back());
    nodes_[slot]->slot_ = static_cast<uint32_t>(slot);
  }
  nodes_.pop_back();  // destroys the node
}

// Below-first and without recursion: folders may nest deeper than the stack.
void CVFTree::ReleaseSubtree(CVFDLNode& top) {
  std::vector<CVFDLNode*> pending{&top};
  while (!pending.empty()) {
    CVFDLNode* node = pending.back();
    if (node->IsFolder()) {
      if (CVFDLNode* child = static_cast<CVFDLFolder*>(node)->first_child_) {
        Unlink(*child);
        pending.push_back(child);
        continue;
      }
    }
    pending.pop_back();
    ReleaseOne(*node);
  }
}

void CVFTree::RemoveNode(CVFDLNode& node) {
  if (&node == root_) {
    ClearTree();
    return;
  }
  Unlink(node);
  ReleaseSubtree(node);
}

CVFTree::Detached CVFTree::DetachNode(CVFDLNode& node) {
  Detached detached{&node, node.parent_, node.next_};
  Unlink(node);
  return detached;
}

void CVFTree::ReattachNode(const Detached& detached) { Link(*detached.parent, *detached.node, detached.next); }

void CVFTree::ReleaseNode(CVFDLNode& node) { ReleaseSubtree(node); }

CVFTree::TreeState CVFTree::TakeTree() {
  TreeState state{std::move(nodes_), std::move(by_id_), root_, max_id_};
  nodes_.clear();
  by_id_.Clear();
  root_ = nullptr;
  max_id_ = 0;
  return state;
}

void CVFTree::RestoreTree(TreeState state) {
  nodes_ = std::move(state.nodes);
  by_id_ = std::move(state.by_id);
  root_ = state.root;
  max_id_ = state.max_id;
}

void CVFTree::ClearTree() {
  by_id_.Clear();
  root_ = nullptr;
  nodes_.clear();
  max_id_ = 0;
}

}  // namespace zds

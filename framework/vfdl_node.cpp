#include "framework/vfdl_node.h"

#include <typeinfo>

#include "framework/vfdl_doc.h"

namespace zds {

std::string ComposeContent(std::string_view kind, std::string_view class_name, std::string_view os) {
  std::string content;
  if (!kind.empty()) {
    content += kind;
    content += ';';
  }
  if (!class_name.empty()) {
    content += "class=";
    content += class_name;
    content += ';';
  }
  if (!os.empty()) {
    content += "os=";
    content += os;
  }
  return content;
}

std::string GetContentType(std::string_view content) { return std::string(content.substr(0, content.find(';'))); }

namespace {
std::string ContentField(std::string_view content, std::string_view key) {
  size_t at = content.find(key);
  if (at == std::string_view::npos) return std::string();
  std::string_view rest = content.substr(at + key.size());
  return std::string(rest.substr(0, rest.find(';')));
}
}  // namespace

std::string GetContentClass(std::string_view content) { return ContentField(content, "class="); }
std::string GetContentOS(std::string_view content) { return ContentField(content, "os="); }

CVFDLNode::CVFDLNode(const CVFDLNode& other)
    : node_type_(other.node_type_),
      extend_type_(other.extend_type_),
      id_(other.id_),
      alias_(other.alias_),
      attribute_(other.attribute_),
      content_(other.content_),
      src_(other.src_),
      unknown_attributes_(other.unknown_attributes_),
      unknown_content_(other.unknown_content_) {}

CVFDLNode& CVFDLNode::operator=(const CVFDLNode& other) {
  if (this != &other) CVFDLNode::AssignValue(other);
  return *this;
}

CVFDLNode::~CVFDLNode() = default;

void CVFDLNode::AssignValue(const CVFDLNode& other) {
  if (this == &other) return;
  extend_type_ = other.extend_type_;
  id_ = other.id_;
  alias_ = other.alias_;
  attribute_ = other.attribute_;
  content_ = other.content_;
  src_ = other.src_;
  unknown_attributes_ = other.unknown_attributes_;
  unknown_content_ = other.unknown_content_;
}

bool CVFDLNode::ValueEquals(const CVFDLNode& other) const {
  return node_type_ == other.node_type_ && id_ == other.id_ && alias_ == other.alias_ &&
         attribute_ == other.attribute_ && content_ == other.content_ && src_ == other.src_ &&
         unknown_attributes_ == other.unknown_attributes_ && unknown_content_ == other.unknown_content_;
}

void CVFDLNode::ComposeContent(std::string_view kind, std::string_view class_name, std::string_view os) {
  content_ = zds::ComposeContent(kind, class_name, os);
}

std::string CVFDLNode::GetPos() const {
  if (doc_ == nullptr) return id_;
  std::string pos = doc_->GetPosPrefix();
  pos += '\\';
  pos += id_;
  return pos;
}

std::string CVFDLNode::GetPath() const {
  if (doc_ == nullptr) return alias_;
  if (parent_ == nullptr) return doc_->GetRootPath();
  std::string path = parent_->GetPath();
  path += '\\';
  path += alias_;
  return path;
}

CVFDLFolder::CVFDLFolder(const CVFDLFolder& other)
    : CVFDLNode(other), extend_(other.extend_ ? other.extend_->Clone() : nullptr) {}

CVFDLFolder& CVFDLFolder::operator=(const CVFDLFolder& other) {
  if (this != &other) AssignValue(other);
  return *this;
}

CVFDLFolder::~CVFDLFolder() = default;

void CVFDLFolder::AssignValue(const CVFDLNode& other) {
  if (this == &other) return;
  CVFDLNode::AssignValue(other);
  const auto* folder = dynamic_cast<const CVFDLFolder*>(&other);
  extend_ = folder && folder->extend_ ? folder->extend_->Clone() : nullptr;
}

bool CVFDLFolder::ValueEquals(const CVFDLNode& other) const {
  const auto* folder = dynamic_cast<const CVFDLFolder*>(&other);
  if (folder == nullptr || !CVFDLNode::ValueEquals(other)) return false;
  if (!extend_ || !folder->extend_) return !extend_ && !folder->extend_;
  return extend_->Equals(*folder->extend_);
}

CVFDLNode* CVFDLFolder::FindChildByAlias(std::string_view alias) {
  constexpr size_t kIndexFrom = 16;  // below this a scan is as quick
  if (child_count_ < kIndexFrom) {
    for (CVFDLNode* child = first_child_; child; child = child->next_) {
      if (child->alias_ == alias) return child;
    }
    return nullptr;
  }
  if (!alias_index_) {
    alias_index_ = std::make_unique<std::unordered_map<std::string, AliasEntry>>();
    alias_index_->reserve(child_count_);
    for (CVFDLNode* child = first_child_; child; child = child->next_) IndexChild(child);
  }
  auto it = alias_index_->find(std::string(alias));
  return it == alias_index_->end() ? nullptr : it->second.first;
}

void CVFDLFolder::IndexChild(CVFDLNode* child) {
  auto [it, inserted] = alias_index_->try_emplace(child->alias_, AliasEntry{child, 1});
  if (!inserted) ++it->second.count;
}

void CVFDLFolder::UnindexChild(CVFDLNode* child) {
  auto it = alias_index_->find(child->alias_);
  if (it == alias_index_->end()) return;
  if (--it->second.count == 0) {
    alias_index_->erase(it);
  } else if (it->second.first == child) {
    // Only aliases that occur more than once cost a walk to the next holder.
    CVFDLNode* next = child->next_;
    while (next && next->alias_ != child->alias_) next = next->next_;
    it->second.first = next;
  }
}

CVFDLRec::CVFDLRec(const CVFDLRec& other)
    : CVFDLNode(other), extend_(other.extend_ ? other.extend_->Clone() : nullptr) {}

CVFDLRec& CVFDLRec::operator=(const CVFDLRec& other) {
  if (this != &other) AssignValue(other);
  return *this;
}

void CVFDLRec::AssignValue(const CVFDLNode& other) {
  if (this == &other) return;
  CVFDLNode::AssignValue(other);
  const auto* rec = dynamic_cast<const CVFDLRec*>(&other);
  // A record keeps the extension class its document gave it.
  if (rec == nullptr || !rec->extend_) return;
  const CVFDLExtension& theirs = *rec->extend_;
  if (!extend_) {
    extend_ = theirs.Clone();
    return;
  }
  const CVFDLExtension& mine = *extend_;
  if (typeid(mine) == typeid(theirs)) extend_ = theirs.Clone();
}

bool CVFDLRec::ValueEquals(const CVFDLNode& other) const {
  const auto* rec = dynamic_cast<const CVFDLRec*>(&other);
  if (rec == nullptr || !CVFDLNode::ValueEquals(other)) return false;
  if (!extend_ || !rec->extend_) return !extend_ && !rec->extend_;
  return extend_->Equals(*rec->extend_);
}

}  // namespace zds

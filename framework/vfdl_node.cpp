#include "zds/framework/vfdl_node.h"

#include <typeinfo>
#include <vector>

#include "zds/framework/vfdl_doc.h"

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

bool SameExtensionClass(const CVFDLExtension* a, const CVFDLExtension* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return typeid(*a) == typeid(*b);
}

namespace {

// The attribute values nearly every node has, kept as a number.
const std::string kAttributeWords[] = {std::string(), std::string(kAttrRoot), std::string(kAttrUndel),
                                       std::string(kAttrSystem), std::string(kAttrNormal), std::string(kAttrHidden)};
constexpr uint8_t kAttributeHeld = 6;

}  // namespace

const std::string& CVFDLNode::Empty() { return kAttributeWords[0]; }

CVFDLNode::Extra& CVFDLNode::GetExtra() {
  if (!extra_) extra_ = std::make_unique<Extra>();
  return *extra_;
}

CVFDLNode::CVFDLNode(const CVFDLNode& other)
    : node_type_(other.node_type_),
      extend_type_(other.extend_type_),
      id_(other.id_),
      alias_(other.alias_),
      extend_(other.extend_ ? other.extend_->Clone() : nullptr),
      extend_required_(other.extend_required_) {
  CopyFieldsFrom(other);
}

CVFDLNode& CVFDLNode::operator=(const CVFDLNode& other) {
  if (this != &other) CVFDLNode::AssignValue(other);
  return *this;
}

CVFDLNode::~CVFDLNode() = default;

// A copy owns everything it holds: it may outlive the tree whose text the
// original's unknown parts view.
void CVFDLNode::CopyFieldsFrom(const CVFDLNode& other) {
  extra_.reset();
  unknown_attributes_ = unknown_content_ = {};
  unknown_attributes_held_ = unknown_content_held_ = false;
  attribute_word_ = other.attribute_word_;
  if (attribute_word_ == kAttributeHeld) GetExtra().attribute = other.extra_->attribute;
  SetContent(other.GetContent());
  SetSrc(other.GetSrc());
  SetUnknownAttributes(std::string(other.GetUnknownAttributes()));
  SetUnknownContent(std::string(other.GetUnknownContent()));
}

void CVFDLNode::AssignValue(const CVFDLNode& other) {
  if (this == &other) return;
  extend_type_ = other.extend_type_;
  id_ = other.id_;
  alias_ = other.alias_;
  CopyFieldsFrom(other);
  SetExtend(other.extend_ ? other.extend_->Clone() : nullptr);
}

const std::string& CVFDLNode::GetAttribute() const {
  return attribute_word_ == kAttributeHeld ? extra_->attribute : kAttributeWords[attribute_word_];
}

void CVFDLNode::SetAttribute(std::string_view attribute) {
  for (uint8_t word = 0; word < kAttributeHeld; ++word) {
    if (kAttributeWords[word] == attribute) {
      attribute_word_ = word;
      return;
    }
  }
  GetExtra().attribute = attribute;
  attribute_word_ = kAttributeHeld;
}

void CVFDLNode::SetContent(std::string_view content) {
  if (!content.empty() || extra_) GetExtra().content = content;
}

void CVFDLNode::SetSrc(std::string_view src) {
  if (!src.empty() || extra_) GetExtra().src = src;
}

void CVFDLNode::SetUnknownAttributes(std::string text) {
  unknown_attributes_ = {};
  unknown_attributes_held_ = !text.empty();
  if (unknown_attributes_held_ || extra_) GetExtra().unknown_attributes = std::move(text);
}

void CVFDLNode::SetUnknownContent(std::string text) {
  unknown_content_ = {};
  unknown_content_held_ = !text.empty();
  if (unknown_content_held_ || extra_) GetExtra().unknown_content = std::move(text);
}

void CVFDLNode::KeepUnknownText(std::string_view attributes, std::string_view content) {
  if (unknown_attributes_held_) extra_->unknown_attributes.clear();
  if (unknown_content_held_) extra_->unknown_content.clear();
  unknown_attributes_held_ = unknown_content_held_ = false;
  unknown_attributes_ = attributes;
  unknown_content_ = content;
}

CVFDLNode::UnknownParts CVFDLNode::ReleaseUnknown() {
  UnknownParts parts{unknown_attributes_, unknown_content_, {}, {}, unknown_attributes_held_, unknown_content_held_};
  if (parts.attributes_held) parts.attributes = std::move(extra_->unknown_attributes);
  if (parts.content_held) parts.content = std::move(extra_->unknown_content);
  KeepUnknownText({}, {});
  return parts;
}

void CVFDLNode::RestoreUnknown(UnknownParts parts) {
  KeepUnknownText(parts.attributes_text, parts.content_text);
  if (parts.attributes_held) SetUnknownAttributes(std::move(parts.attributes));
  if (parts.content_held) SetUnknownContent(std::move(parts.content));
}

bool CVFDLNode::SetExtend(std::unique_ptr<CVFDLExtension> extend) {
  if (extend == nullptr ? extend_required_ : (extend_ && !SameExtensionClass(extend_.get(), extend.get()))) {
    return false;
  }
  extend_ = std::move(extend);
  return true;
}

bool CVFDLNode::ValueEquals(const CVFDLNode& other) const {
  if (node_type_ != other.node_type_ || id_ != other.id_ || alias_ != other.alias_ ||
      GetAttribute() != other.GetAttribute() || GetContent() != other.GetContent() || GetSrc() != other.GetSrc() ||
      GetUnknownAttributes() != other.GetUnknownAttributes() || GetUnknownContent() != other.GetUnknownContent()) {
    return false;
  }
  if (!extend_ || !other.extend_) return !extend_ && !other.extend_;
  return extend_->Equals(*other.extend_);
}

void CVFDLNode::ComposeContent(std::string_view kind, std::string_view class_name, std::string_view os) {
  SetContent(zds::ComposeContent(kind, class_name, os));
}

std::string CVFDLNode::GetPos() const {
  if (doc_ == nullptr) return id_;
  std::string pos = doc_->GetPosPrefix();
  pos += '\\';
  pos += id_;
  return pos;
}

// Built from the top down without recursion: a document may nest folders
// far deeper than a stack of calls would allow.
std::string CVFDLNode::GetPath() const {
  if (doc_ == nullptr) return alias_;
  std::vector<const CVFDLNode*> chain;
  size_t size = 0;
  for (const CVFDLNode* node = this; node->parent_ != nullptr; node = node->parent_) {
    chain.push_back(node);
    size += node->alias_.size() + 1;
  }
  std::string path = doc_->GetRootPath();
  path.reserve(path.size() + size);
  for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
    path += '\\';
    path += (*it)->alias_;
  }
  return path;
}

CVFDLFolder& CVFDLFolder::operator=(const CVFDLFolder& other) {
  if (this != &other) AssignValue(other);
  return *this;
}

CVFDLFolder::~CVFDLFolder() = default;

CVFDLNode* CVFDLFolder::FindChildByAlias(std::string_view alias) {
  constexpr size_t kIndexFrom = 16;  // below this a scan is as quick
  if (child_count_ < kIndexFrom) return FirstChildWith(alias);
  if (!alias_index_) {
    alias_index_ = std::make_unique<std::unordered_map<std::string, AliasEntry>>();
    alias_index_->reserve(child_count_);
    for (CVFDLNode* child = first_child_; child; child = child->next_) IndexChild(child, true);
  }
  auto it = alias_index_->find(std::string(alias));
  if (it == alias_index_->end()) return nullptr;
  if (it->second.first == nullptr) it->second.first = FirstChildWith(alias);
  return it->second.first;
}

CVFDLNode* CVFDLFolder::FirstChildWith(std::string_view alias) const {
  for (CVFDLNode* child = first_child_; child; child = child->next_) {
    if (child->alias_ == alias) return child;
  }
  return nullptr;
}

// An alias several children share does not say which of them comes first
// without a walk; the index forgets it and the next look-up of that alias
// walks. Aliases are unique in nearly every folder (GetNewAlias sees to
// it), so edits stay constant-time whatever the folder's size.
void CVFDLFolder::IndexChild(CVFDLNode* child, bool last) {
  auto [it, inserted] = alias_index_->try_emplace(child->alias_, AliasEntry{child, 1});
  if (inserted) return;
  ++it->second.count;
  if (!last) it->second.first = nullptr;
}

void CVFDLFolder::UnindexChild(CVFDLNode* child) {
  auto it = alias_index_->find(child->alias_);
  if (it == alias_index_->end()) return;
  if (--it->second.count == 0) {
    alias_index_->erase(it);
  } else if (it->second.first == child) {
    it->second.first = nullptr;
  }
}

CVFDLRec& CVFDLRec::operator=(const CVFDLRec& other) {
  if (this != &other) AssignValue(other);
  return *this;
}

}  // namespace zds

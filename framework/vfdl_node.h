// The nodes of a record document's tree: folders, records and links, the
// extension objects that carry a document kind's own fields, and the
// framework's special records (variables, relations, pages).
//
// A node is both a value (id, alias, attribute, content, src and its
// extension, copied and compared as a whole) and, once it is in a tree, a
// place: its parent, its siblings and the document that holds it. Copying a
// node copies the value only; a copy is never part of a tree.
//
// A node that came from a file remembers the exact text it was read from
// and is written back with that text until it is changed, so reading and
// saving a file changes no byte of it.
//
// How long a node, its neighbours and its extension stay valid: "Lifetimes"
// in vfdl_doc.h.

#ifndef ZDS_FRAMEWORK_VFDL_NODE_H_
#define ZDS_FRAMEWORK_VFDL_NODE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <unordered_map>

#include "zds/framework/rtti.h"

namespace zds {

class CVFDLDoc;
class CVFDLFolder;

// Node types; a document kind may add its own (a service is 256).
inline constexpr int kNodeFolder = 1;
inline constexpr int kNodeLink = 2;
inline constexpr int kNodeRec = 3;

// Folder attribute values.
inline constexpr std::string_view kAttrRoot = "root";
inline constexpr std::string_view kAttrUndel = "undel";
inline constexpr std::string_view kAttrSystem = "system";
inline constexpr std::string_view kAttrNormal = "normal";
inline constexpr std::string_view kAttrHidden = "hidden";

// Content descriptors: "kind;class=Name;os=universal".
std::string ComposeContent(std::string_view kind, std::string_view class_name, std::string_view os);
std::string GetContentType(std::string_view content);
std::string GetContentClass(std::string_view content);
std::string GetContentOS(std::string_view content);

// Base of the objects that hold a document kind's own fields of a record
// or folder. Families derive through CVFDLExtendBase below.
class CVFDLExtension {
 public:
  virtual ~CVFDLExtension() = default;
  virtual std::unique_ptr<CVFDLExtension> Clone() const = 0;
  virtual bool Equals(const CVFDLExtension& other) const = 0;
};

// `Base` is another family's extension when this one adds to it (a notepad
// family's extension adds to the notepad's keys and times).
template <typename Derived, typename Base = CVFDLExtension>
class CVFDLExtendBase : public Base {
  static_assert(std::is_base_of_v<CVFDLExtension, Base>);

 public:
  std::unique_ptr<CVFDLExtension> Clone() const override {
    return std::make_unique<Derived>(static_cast<const Derived&>(*this));
  }
  bool Equals(const CVFDLExtension& other) const override {
    const auto* same = dynamic_cast<const Derived*>(&other);
    return same != nullptr && typeid(*same) == typeid(Derived) && static_cast<const Derived&>(*this) == *same;
  }
  // Lets families default their own comparison: this holds no fields, and
  // compares the extension it adds to.
  bool operator==(const CVFDLExtendBase& other) const {
    if constexpr (std::is_same_v<Base, CVFDLExtension>) {
      static_cast<void>(other);
      return true;
    } else {
      return static_cast<const Base&>(*this) == static_cast<const Base&>(other);
    }
  }
};

// Whether two nodes carry extensions of the same class (or both none).
bool SameExtensionClass(const CVFDLExtension* a, const CVFDLExtension* b);

class CVFDLNode {
 public:
  explicit CVFDLNode(int node_type) : node_type_(node_type) {}
  CVFDLNode(const CVFDLNode& other);
  CVFDLNode& operator=(const CVFDLNode& other);
  virtual ~CVFDLNode();

  // A copy of the value, of the same class.
  virtual std::unique_ptr<CVFDLNode> Clone() const = 0;
  // Takes over the other node's value (same kind of node), keeping place and
  // id. The extension is copied only when it is of this node's own class (or
  // this node has none yet): a node never changes the class of its extension.
  virtual void AssignValue(const CVFDLNode& other);
  virtual bool ValueEquals(const CVFDLNode& other) const;

  int GetNodeType() const { return node_type_; }
  bool IsFolder() const { return node_type_ == kNodeFolder; }
  const std::string& GetID() const { return id_; }
  void SetID(std::string_view id) { id_ = id; }
  const std::string& GetAlias() const { return alias_; }
  void SetAlias(std::string_view alias) { alias_ = alias; }
  const std::string& GetAttribute() const;
  void SetAttribute(std::string_view attribute);
  const std::string& GetContent() const { return extra_ ? extra_->content : Empty(); }
  void SetContent(std::string_view content);
  const std::string& GetSrc() const { return extra_ ? extra_->src : Empty(); }
  void SetSrc(std::string_view src);
  int GetExtendType() const { return extend_type_; }
  void SetExtendType(int type) { extend_type_ = type; }

  // The document kind's own fields of this node, null when it has none.
  CVFDLExtension* GetExtend() const { return extend_.get(); }
  // False, changing nothing, when the node already holds an extension of
  // another class, or when `extend` is null and this node must have one.
  bool SetExtend(std::unique_ptr<CVFDLExtension> extend);
  // Whether a node of this class always holds an extension.
  bool IsExtendRequired() const { return extend_required_; }

  void ComposeContent(std::string_view kind, std::string_view class_name, std::string_view os);
  std::string GetContentClass() const { return zds::GetContentClass(GetContent()); }
  std::string GetContentType() const { return zds::GetContentType(GetContent()); }
  std::string GetContentOS() const { return zds::GetContentOS(GetContent()); }

  // Place in the tree (null for a node that is not in one).
  CVFDLDoc* GetDoc() const { return doc_; }
  CVFDLFolder* GetParent() const { return parent_; }
  CVFDLNode* GetNextSibling() const { return next_; }
  CVFDLNode* GetPrevSibling() const { return prev_; }
  // Store-wide unique address, stable across reloads ("kov:\Velmora\0007").
  std::string GetPos() const;
  // Virtual store path of aliases ("kov:\Velmora\Favorites").
  std::string GetPath() const;

  // Attributes and child content that no hook understood, in stored spelling.
  std::string_view GetUnknownAttributes() const {
    return unknown_attributes_held_ ? std::string_view(extra_->unknown_attributes) : unknown_attributes_;
  }
  std::string_view GetUnknownContent() const {
    return unknown_content_held_ ? std::string_view(extra_->unknown_content) : unknown_content_;
  }
  void SetUnknownAttributes(std::string text);
  void SetUnknownContent(std::string text);

 protected:
  // For the typed node classes: a node made with its extension, which it
  // must always keep (`required`) or may lose to a value without one.
  CVFDLNode(int node_type, std::unique_ptr<CVFDLExtension> extend, bool required)
      : node_type_(node_type), extend_(std::move(extend)), extend_required_(required) {}

 private:
  friend class CVFTree;
  friend class CVFDLDoc;
  friend class CVFDLFolder;
  friend class TreeBuilder;
  friend class DocumentWriter;

  // What most nodes lack, kept apart so that a record costs little: a tree
  // holds one node per record, and a store holds many records.
  struct Extra {
    std::string attribute;  // a value other than the five words
    std::string content;
    std::string src;
    std::string unknown_attributes;
    std::string unknown_content;
  };
  static const std::string& Empty();
  Extra& GetExtra();
  // The unknown parts as read from the document's text: views into it,
  // which stay valid as long as the tree they belong to.
  void KeepUnknownText(std::string_view attributes, std::string_view content);
  // The unknown parts moved out of a node and back, for an edit that
  // replaces the node's value but keeps what its stored element held.
  struct UnknownParts {
    std::string_view attributes_text, content_text;  // views into the document's text
    std::string attributes, content;                 // or held
    bool attributes_held = false, content_held = false;
  };
  UnknownParts ReleaseUnknown();
  void RestoreUnknown(UnknownParts parts);
  void CopyFieldsFrom(const CVFDLNode& other);

  int node_type_;
  int extend_type_ = 0;
  std::string id_;
  std::string alias_;
  std::unique_ptr<CVFDLExtension> extend_;
  std::unique_ptr<Extra> extra_;
  std::string_view unknown_attributes_;  // unless held in extra_
  std::string_view unknown_content_;
  uint8_t attribute_word_ = 0;  // 0 none, 1-5 the attribute words, 6 held in extra_
  bool extend_required_ = false;
  bool unknown_attributes_held_ = false;
  bool unknown_content_held_ = false;
  // Tree linkage, owned by CVFTree. The slot sits beside the flags, where
  // it costs no space: a node is one of the most numerous objects of the
  // store, and no tree holds four billion of them.
  uint32_t slot_ = 0;
  CVFDLDoc* doc_ = nullptr;
  CVFDLFolder* parent_ = nullptr;
  CVFDLNode* prev_ = nullptr;
  CVFDLNode* next_ = nullptr;
  // The text the node was read from; empty once the node changed.
  std::string_view lead_;
  std::string_view source_;
};

class CVFDLFolder : public CVFDLNode {
 public:
  CVFDLFolder() : CVFDLNode(kNodeFolder) {}
  CVFDLFolder(const CVFDLFolder& other) : CVFDLNode(other) {}
  CVFDLFolder& operator=(const CVFDLFolder& other);
  ~CVFDLFolder() override;

  std::unique_ptr<CVFDLNode> Clone() const override { return std::make_unique<CVFDLFolder>(*this); }
  bool operator==(const CVFDLFolder& other) const { return ValueEquals(other); }
  bool operator!=(const CVFDLFolder& other) const { return !ValueEquals(other); }

  CVFDLNode* GetFirstChild() const { return first_child_; }
  CVFDLNode* GetLastChild() const { return last_child_; }
  size_t GetChildCount() const { return child_count_; }
  // The first child with this alias; constant time for large folders.
  CVFDLNode* FindChildByAlias(std::string_view alias);

 protected:
  CVFDLFolder(std::unique_ptr<CVFDLExtension> extend, bool required)
      : CVFDLNode(kNodeFolder, std::move(extend), required) {}

 private:
  friend class CVFTree;
  friend class CVFDLDoc;
  friend class TreeBuilder;
  friend class DocumentWriter;

  struct AliasEntry {
    CVFDLNode* first;  // null: not known, found on the next look-up
    size_t count;
  };
  CVFDLNode* FirstChildWith(std::string_view alias) const;
  // `last`: the child stands after every other child.
  void IndexChild(CVFDLNode* child, bool last);
  void UnindexChild(CVFDLNode* child);

  CVFDLNode* first_child_ = nullptr;
  CVFDLNode* last_child_ = nullptr;
  size_t child_count_ = 0;
  std::unique_ptr<std::unordered_map<std::string, AliasEntry>> alias_index_;
  bool self_closing_ = false;
  std::string_view close_lead_;
  std::string_view close_source_;
};

class CVFDLRec : public CVFDLNode {
 public:
  CVFDLRec() : CVFDLNode(kNodeRec) {}
  CVFDLRec(const CVFDLRec& other) = default;
  CVFDLRec& operator=(const CVFDLRec& other);

  std::unique_ptr<CVFDLNode> Clone() const override { return std::make_unique<CVFDLRec>(*this); }
  bool operator==(const CVFDLRec& other) const { return ValueEquals(other); }
  bool operator!=(const CVFDLRec& other) const { return !ValueEquals(other); }

 protected:
  explicit CVFDLRec(std::unique_ptr<CVFDLExtension> extend) : CVFDLNode(kNodeRec, std::move(extend), true) {}
};

// A family's record class: a record whose extension is always an Extend.
// The cast below is safe for that reason: the extension is made with the
// record and a node never changes its extension's class. A family built on
// another family's document (a notepad family) derives its record from
// that family's record, and its Extend from that family's extension:
//   class CFavNPDRec : public CVFDLTypedRec<CFavNPDRec, CFavNPDExtendRec, CNotepadRec> {};
template <typename Self, typename Extend, typename BaseRec = CVFDLRec>
class CVFDLTypedRec : public BaseRec {
  static_assert(std::is_base_of_v<CVFDLRec, BaseRec>);

 public:
  using ExtendType = Extend;
  CVFDLTypedRec() : BaseRec(std::make_unique<Extend>()) {}
  std::unique_ptr<CVFDLNode> Clone() const override {
    return std::make_unique<Self>(static_cast<const Self&>(*this));
  }
  // Valid until the record's value is replaced (an update, also one that
  // is undone) or the record goes: see "Lifetimes" in vfdl_doc.h.
  Extend& GetExtendRec() { return static_cast<Extend&>(*this->GetExtend()); }
  const Extend& GetExtendRec() const { return static_cast<const Extend&>(*this->GetExtend()); }

 protected:
  // For a record class built on this one: made with its own extension,
  // which must derive from Extend.
  explicit CVFDLTypedRec(std::unique_ptr<CVFDLExtension> extend) : BaseRec(std::move(extend)) {}
};

// Whether a typed folder must always carry its extension or may be without
// one (a copy of a folder that has none has none).
enum class ExtendPresence { kRequired, kOptional };

// A family's folder class whose own fields live in an Extend.
template <typename Self, typename Extend, ExtendPresence kPresence = ExtendPresence::kRequired>
class CVFDLTypedFolder : public CVFDLFolder {
 public:
  using ExtendType = Extend;
  CVFDLTypedFolder() : CVFDLFolder(std::make_unique<Extend>(), kPresence == ExtendPresence::kRequired) {}
  std::unique_ptr<CVFDLNode> Clone() const override {
    return std::make_unique<Self>(static_cast<const Self&>(*this));
  }
  // As a record's: a reference, valid as GetExtendRec's is ...
  Extend& GetExtendFolder()
    requires(kPresence == ExtendPresence::kRequired)
  {
    return static_cast<Extend&>(*GetExtend());
  }
  const Extend& GetExtendFolder() const
    requires(kPresence == ExtendPresence::kRequired)
  {
    return static_cast<const Extend&>(*GetExtend());
  }
  // ... or, for a folder that may be without, a pointer: null when absent.
  Extend* GetExtendFolder()
    requires(kPresence == ExtendPresence::kOptional)
  {
    return static_cast<Extend*>(GetExtend());
  }
  const Extend* GetExtendFolder() const
    requires(kPresence == ExtendPresence::kOptional)
  {
    return static_cast<const Extend*>(GetExtend());
  }
};

// A node of a kind's own (the service index's services): node type `kType`
// in the kind's documents, which make each of them as a Self.
template <typename Self, int kType>
class CVFDLTypedNode : public CVFDLNode {
 public:
  static constexpr int kNodeType = kType;
  CVFDLTypedNode() : CVFDLNode(kType) {}
  std::unique_ptr<CVFDLNode> Clone() const override {
    return std::make_unique<Self>(static_cast<const Self&>(*this));
  }
  // The node as a Self: null for a node of another type or class (a value
  // handed to AssignValue or ValueEquals may be any node).
  static Self* From(CVFDLNode* node) {
    return node && node->GetNodeType() == kType ? dynamic_cast<Self*>(node) : nullptr;
  }
  static const Self* From(const CVFDLNode* node) {
    return node && node->GetNodeType() == kType ? dynamic_cast<const Self*>(node) : nullptr;
  }
};

class CVFDLLink : public CVFDLNode {
 public:
  CVFDLLink() : CVFDLNode(kNodeLink) {}
  std::unique_ptr<CVFDLNode> Clone() const override { return std::make_unique<CVFDLLink>(*this); }
  bool operator==(const CVFDLLink& other) const { return ValueEquals(other); }
  bool operator!=(const CVFDLLink& other) const { return !ValueEquals(other); }
};

// A named value kept with a record ("variable" child elements and the like).
class CVFVarRec {
 public:
  virtual ~CVFVarRec() = default;
  std::string name;
  std::string value;
  bool operator==(const CVFVarRec&) const = default;
};

// A relation from one node to another, kept with a record.
class CVFRelateRec {
 public:
  virtual ~CVFRelateRec() = default;
  std::string alias;   // what is shown for the related item
  std::string target;  // position or path of the related item
  std::string type;    // kind of the related item
  bool operator==(const CVFRelateRec&) const = default;
};

// One page of content kept with a record: a title and its text.
class CVFPageRec {
 public:
  virtual ~CVFPageRec() = default;
  std::string alias;
  std::string text;
  bool operator==(const CVFPageRec&) const = default;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_VFDL_NODE_H_

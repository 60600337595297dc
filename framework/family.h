// The base of every document family.
//
// CVFDLTypedDoc puts a family's record and folder classes over one of the
// document bases (CVFDLDoc, CCASDVFDLDoc, CNotepadDoc, or another family):
// the document makes its nodes of those classes, hands them out typed
// (GetRec, AsRec, the walks Recs, ChildRecs and ChildFolders), and gives
// the family's hooks the typed extension of each node, without a cast in
// the family's code. Over a base that has record fields of its own (the
// notepad's keys and times) the base's part is read and written first,
// then the family's.
//
// CVFDLFamily adds what every family declares once: a constant kFamily
// (class name, root tag, template, extension types, policies) and, when it
// has fields, kRecFields and kFolderFields (field_codec.h), which the base
// reads and writes. A family is then written as (see docs/architecture.md):
//
//   class CAEventDoc : public CVFDLFamily<CAEventDoc, CVFDLDoc, CAEventRec> {
//    public:
//     static constexpr CFamilyInfo kFamily{"CAEventDoc", "AEvent", res::kEventTemplate, 0,
//                                          kEventFolderType, kEventRecType};
//     static constexpr auto kRecFields = field::List(...);
//   };
//
// and registered with RegisterFamily<CAEventDoc>(registry) in its folder's
// registration function.

#ifndef ZDS_FRAMEWORK_FAMILY_H_
#define ZDS_FRAMEWORK_FAMILY_H_

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "zds/framework/field_codec.h"
#include "zds/framework/rtti.h"
#include "zds/framework/vfdl_doc.h"
#include "zds/framework/vfdl_walk.h"
#include "zds/platform/files.h"
#include "zds/resources/string_table.h"

namespace zds {

// The extension class of a typed record or folder; NoExtend for the
// framework's plain ones.
struct NoExtend {};
template <typename Node>
struct ExtendOfNode {
  using type = NoExtend;
};
template <typename Node>
  requires requires { typename Node::ExtendType; }
struct ExtendOfNode<Node> {
  using type = typename Node::ExtendType;
};
template <typename Node>
using ExtendOf = typename ExtendOfNode<Node>::type;

namespace detail {

template <typename Base>
concept TypedDocument = requires {
  typename Base::RecType;
  typename Base::FolderType;
};

// The typed hooks of one level. A document built on a typed one (a family
// on the notepad) has a record class and an extension of its own, derived
// from the base's, and hooks of its own beside the base's; its folders
// may be the base's, whose hooks then serve both.
template <typename Base, typename Rec, bool kOverTyped = TypedDocument<Base>>
class RecHooks : public Base {
 protected:
  virtual bool InitExtendRecItem(CXMLElementReader& /*item*/, ExtendOf<Rec>& /*extend*/) { return true; }
  virtual void CreateExtendRecText(const ExtendOf<Rec>& /*extend*/, CXMLLine& /*line*/,
                                   std::vector<std::string>& /*lines*/) const {}
  virtual void PrepareNewRec(Rec& /*rec*/) {}
};
template <typename Base, typename Rec>
class RecHooks<Base, Rec, true> : public Base {
  static_assert(std::is_base_of_v<typename Base::RecType, Rec> && !std::is_same_v<typename Base::RecType, Rec>,
                "a family on a typed document has a record class of its own, derived from the document's");
  static_assert(std::is_base_of_v<typename Base::RecExtend, ExtendOf<Rec>> &&
                    !std::is_same_v<typename Base::RecExtend, ExtendOf<Rec>>,
                "a family on a typed document has an extension of its own, derived from the document's");

 protected:
  using Base::CreateExtendRecText;
  using Base::InitExtendRecItem;
  using Base::PrepareNewRec;
  virtual bool InitExtendRecItem(CXMLElementReader& /*item*/, ExtendOf<Rec>& /*extend*/) { return true; }
  virtual void CreateExtendRecText(const ExtendOf<Rec>& /*extend*/, CXMLLine& /*line*/,
                                   std::vector<std::string>& /*lines*/) const {}
  virtual void PrepareNewRec(Rec& /*rec*/) {}
};

enum class FolderLevel { kOwn, kOwnOverTyped, kBase };
template <typename Base, typename Folder>
constexpr FolderLevel FolderLevelOf() {
  if constexpr (!TypedDocument<Base>) return FolderLevel::kOwn;
  else if constexpr (std::is_same_v<typename Base::FolderType, Folder>) return FolderLevel::kBase;
  else return FolderLevel::kOwnOverTyped;
}
template <typename Base, typename Folder, FolderLevel kLevel = FolderLevelOf<Base, Folder>()>
class FolderHooks;
template <typename Base, typename Folder>
class FolderHooks<Base, Folder, FolderLevel::kBase> : public Base {};
template <typename Base, typename Folder>
class FolderHooks<Base, Folder, FolderLevel::kOwn> : public Base {
 protected:
  virtual bool InitExtendFolderItem(CXMLElementReader& /*item*/, ExtendOf<Folder>& /*extend*/) { return true; }
  virtual void CreateExtendFolderText(const ExtendOf<Folder>& /*extend*/, CXMLLine& /*line*/) const {}
  virtual void PrepareNewFolder(Folder& /*folder*/) {}
};
template <typename Base, typename Folder>
class FolderHooks<Base, Folder, FolderLevel::kOwnOverTyped> : public Base {
  static_assert(std::is_base_of_v<typename Base::FolderType, Folder>);

 protected:
  using Base::CreateExtendFolderText;
  using Base::InitExtendFolderItem;
  using Base::PrepareNewFolder;
  virtual bool InitExtendFolderItem(CXMLElementReader& /*item*/, ExtendOf<Folder>& /*extend*/) { return true; }
  virtual void CreateExtendFolderText(const ExtendOf<Folder>& /*extend*/, CXMLLine& /*line*/) const {}
  virtual void PrepareNewFolder(Folder& /*folder*/) {}
};

}  // namespace detail

template <typename Base, typename Rec, typename Folder = CVFDLFolder>
class CVFDLTypedDoc : public detail::FolderHooks<detail::RecHooks<Base, Rec>, Folder> {
  static_assert(std::is_base_of_v<CVFDLDoc, Base>);
  static_assert(std::is_base_of_v<CVFDLRec, Rec> && std::is_base_of_v<CVFDLFolder, Folder>);
  using Hooks = detail::FolderHooks<detail::RecHooks<Base, Rec>, Folder>;
  // Whether this level reads and writes folders, or leaves them to the base's.
  static constexpr bool kOwnFolders = detail::FolderLevelOf<Base, Folder>() != detail::FolderLevel::kBase;

 public:
  using RecType = Rec;
  using FolderType = Folder;
  using RecExtend = ExtendOf<Rec>;
  using FolderExtend = ExtendOf<Folder>;

  // Typed access. Every record and folder of the document was made by it,
  // so the type is known from the node type alone. Pointers and
  // references stay valid as the nodes do ("Lifetimes" in vfdl_doc.h).

  // The record or folder at a position of this document; null when there is none.
  Rec* GetRec(std::string_view pos) const { return AsRec(this->GetNodeByPos(pos)); }
  Folder* GetFolder(std::string_view pos) const { return AsFolder(this->GetNodeByPos(pos)); }
  // A node of this document as its record or folder; null for a node of
  // another kind or another document.
  Rec* AsRec(const CVFDLNode* node) const {
    return IsMine(node) && node->GetNodeType() == kNodeRec ? static_cast<Rec*>(const_cast<CVFDLNode*>(node)) : nullptr;
  }
  Folder* AsFolder(const CVFDLNode* node) const {
    return IsMine(node) && node->IsFolder() ? static_cast<Folder*>(const_cast<CVFDLNode*>(node)) : nullptr;
  }

  // Walks (vfdl_walk.h): every record of the document, or below a folder
  // of it, depth first in document order; a folder's records and folders.
  // A folder of another document gives an empty walk.
  using RecWalk = CVFDLNodeRange<Rec, walk::RecsOnly, walk::Reach::kSubtree>;
  using ConstRecWalk = CVFDLNodeRange<const Rec, walk::RecsOnly, walk::Reach::kSubtree>;
  using ChildRecWalk = CVFDLNodeRange<Rec, walk::RecsOnly, walk::Reach::kChildren>;
  using ConstChildRecWalk = CVFDLNodeRange<const Rec, walk::RecsOnly, walk::Reach::kChildren>;
  using ChildFolderWalk = CVFDLNodeRange<Folder, walk::FoldersOnly, walk::Reach::kChildren>;
  using ConstChildFolderWalk = CVFDLNodeRange<const Folder, walk::FoldersOnly, walk::Reach::kChildren>;
  RecWalk Recs() { return RecWalk(this->GetRoot()); }
  ConstRecWalk Recs() const { return ConstRecWalk(this->GetRoot()); }
  RecWalk Recs(const CVFDLFolder& below) { return RecWalk(Mine(below)); }
  ConstRecWalk Recs(const CVFDLFolder& below) const { return ConstRecWalk(Mine(below)); }
  ChildRecWalk ChildRecs(const CVFDLFolder& folder) { return ChildRecWalk(Mine(folder)); }
  ConstChildRecWalk ChildRecs(const CVFDLFolder& folder) const { return ConstChildRecWalk(Mine(folder)); }
  ChildFolderWalk ChildFolders(const CVFDLFolder& folder) { return ChildFolderWalk(Mine(folder)); }
  ConstChildFolderWalk ChildFolders(const CVFDLFolder& folder) const { return ConstChildFolderWalk(Mine(folder)); }

 protected:
  // The family's hooks (declared by the levels above), for fields beyond
  // what a list can say; a family with kRecFields needs none:
  //   bool InitExtendRecItem(CXMLElementReader& item, RecExtend& extend);
  //     false refuses the element: it is kept in the file as it stands, but not loaded
  //   void CreateExtendRecText(const RecExtend& extend, CXMLLine& line, std::vector<std::string>& lines) const;
  //   bool InitExtendFolderItem(CXMLElementReader& item, FolderExtend& extend);
  //   void CreateExtendFolderText(const FolderExtend& extend, CXMLLine& line) const;
  // and, for a new record or folder (the document's own copy of the value
  // AddRec or AddFolder was given, before it goes in; only a value of the
  // family's class gets here), where a family numbers or stamps it:
  //   void PrepareNewRec(Rec& rec);
  //   void PrepareNewFolder(Folder& folder);
  using Hooks::CreateExtendRecText;
  using Hooks::InitExtendRecItem;
  using Hooks::PrepareNewRec;
  using Hooks::CreateExtendFolderText;
  using Hooks::InitExtendFolderItem;
  using Hooks::PrepareNewFolder;

  std::unique_ptr<CVFDLRec> NewRecPointer() const override { return std::make_unique<Rec>(); }
  std::unique_ptr<CVFDLFolder> NewFolderPointer() const override { return std::make_unique<Folder>(); }

  bool ReadRecExtend(CXMLElementReader& item, CVFDLRec& rec) override {
    if (!Base::ReadRecExtend(item, rec)) return false;
    if constexpr (std::is_same_v<RecExtend, NoExtend>) {
      NoExtend none;
      return InitExtendRecItem(item, none);
    } else {
      return InitExtendRecItem(item, static_cast<RecExtend&>(*rec.GetExtend()));
    }
  }
  void WriteRecExtend(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& lines) const override {
    Base::WriteRecExtend(rec, line, lines);
    if constexpr (std::is_same_v<RecExtend, NoExtend>) {
      CreateExtendRecText(NoExtend{}, line, lines);
    } else {
      CreateExtendRecText(static_cast<const RecExtend&>(*rec.GetExtend()), line, lines);
    }
  }
  bool ReadFolderExtend(CXMLElementReader& item, CVFDLFolder& folder) override {
    if (!Base::ReadFolderExtend(item, folder)) return false;
    if constexpr (!kOwnFolders) {
      return true;
    } else if constexpr (std::is_same_v<FolderExtend, NoExtend>) {
      NoExtend none;
      return InitExtendFolderItem(item, none);
    } else {
      auto* extend = static_cast<FolderExtend*>(folder.GetExtend());
      return extend == nullptr || InitExtendFolderItem(item, *extend);
    }
  }
  void WriteFolderExtend(const CVFDLFolder& folder, CXMLLine& line) const override {
    Base::WriteFolderExtend(folder, line);
    if constexpr (!kOwnFolders) {
      return;
    } else if constexpr (std::is_same_v<FolderExtend, NoExtend>) {
      CreateExtendFolderText(NoExtend{}, line);
    } else if (const auto* extend = static_cast<const FolderExtend*>(folder.GetExtend())) {
      CreateExtendFolderText(*extend, line);
    }
  }
  void PrepareNewNode(CVFDLNode& node) override {
    Base::PrepareNewNode(node);
    if (node.GetNodeType() == kNodeRec) PrepareNewRec(static_cast<Rec&>(node));
    else if (kOwnFolders && node.IsFolder()) PrepareNewFolder(static_cast<Folder&>(node));
  }

 private:
  bool IsMine(const CVFDLNode* node) const { return node != nullptr && node->GetDoc() == this; }
  const CVFDLFolder* Mine(const CVFDLFolder& folder) const { return IsMine(&folder) ? &folder : nullptr; }
};

// What a family's documents do beyond reading and writing their fields.
enum FamilyPolicy : unsigned {
  // A new document is written at once whenever it has a file, with
  // auto-save or without (an index names only files that exist).
  kWrittenWhenCreated = 1u << 0,
  // Every save first makes the directory the file is in (a book, the
  // calendar: their index names them whether or not it exists).
  kMakesItsDirectory = 1u << 1,
  // AddRec gives a record a fresh id of this document, whatever id it
  // had (one it had elsewhere means nothing here).
  kNumbersNewRecs = 1u << 2,
  // Other programs read the file straight from disk, where a journal
  // beside it would go unseen: it is always written whole.
  kWrittenWhole = 1u << 3,
};

// What a family declares once.
struct CFamilyInfo {
  std::string_view class_name;
  std::string_view root_tag;  // empty: any
  int template_id = 0;
  int template_tail_id = 0;  // a template kept in two resources
  int folder_type = 0;       // extension types its folders and records get (0: none)
  int rec_type = 0;
  unsigned policy = 0;       // FamilyPolicy flags
};

namespace detail {
// Whether a family declares fields of its own, rather than seeing its
// base's through inheritance (a family on the notepad that adds none).
// Its own list is of another type: its fields belong to its own extension.
template <typename Self, typename Base>
constexpr bool OwnRecFields() {
  if constexpr (!requires { Self::kRecFields; }) return false;
  else if constexpr (!requires { Base::kRecFields; }) return true;
  else return !std::is_same_v<decltype(Self::kRecFields), decltype(Base::kRecFields)>;
}
template <typename Self, typename Base>
constexpr bool OwnFolderFields() {
  if constexpr (!requires { Self::kFolderFields; }) return false;
  else if constexpr (!requires { Base::kFolderFields; }) return true;
  else return !std::is_same_v<decltype(Self::kFolderFields), decltype(Base::kFolderFields)>;
}
}  // namespace detail

template <typename Self, typename Base, typename Rec = CVFDLRec, typename Folder = CVFDLFolder>
class CVFDLFamily : public CVFDLTypedDoc<Base, Rec, Folder> {
  using Typed = CVFDLTypedDoc<Base, Rec, Folder>;

 public:
  using typename Typed::FolderExtend;
  using typename Typed::RecExtend;

  CVFDLFamily() {
    if constexpr ((Self::kFamily.policy & kWrittenWhole) != 0) this->SetJournalAllowed(false);
  }

  static std::unique_ptr<CRTTIObject> CreateObject() { return std::make_unique<Self>(); }
  std::string_view GetRTTIClass() const override { return Self::kFamily.class_name; }

  void InitNodeExtendType(CVFDLNode& node) override {
    if (node.IsFolder() && Self::kFamily.folder_type != 0) node.SetExtendType(Self::kFamily.folder_type);
    if (node.GetNodeType() == kNodeRec && Self::kFamily.rec_type != 0) node.SetExtendType(Self::kFamily.rec_type);
  }

  [[nodiscard]] bool NewXMLDoc(std::string_view path) override {
    if (!Typed::NewXMLDoc(path)) return false;
    if constexpr ((Self::kFamily.policy & kWrittenWhenCreated) != 0) {
      const bool bound = this->GetDataRoot() != nullptr && !path.empty();
      return this->GetAutoSaveFlag() || !bound || this->SaveXMLDoc();  // auto-save wrote it already
    }
    return true;
  }

 protected:
  using Typed::CreateExtendFolderText;
  using Typed::CreateExtendRecText;
  using Typed::InitExtendFolderItem;
  using Typed::InitExtendRecItem;

  std::string GetTemplateText() const override {
    return LoadTemplate(Self::kFamily.template_id, Self::kFamily.template_tail_id);
  }
  std::string_view GetRootTag() const override { return Self::kFamily.root_tag; }

  // The declared fields; a family that still overrides a hook decides itself.
  bool InitExtendRecItem(CXMLElementReader& item, RecExtend& extend) override {
    if constexpr (detail::OwnRecFields<Self, Base>()) return Self::kRecFields.Read(item, extend);
    else return Typed::InitExtendRecItem(item, extend);
  }
  void CreateExtendRecText(const RecExtend& extend, CXMLLine& line, std::vector<std::string>& lines) const override {
    if constexpr (detail::OwnRecFields<Self, Base>()) Self::kRecFields.Write(extend, line, lines);
    else Typed::CreateExtendRecText(extend, line, lines);
  }
  bool InitExtendFolderItem(CXMLElementReader& item, FolderExtend& extend) override {
    if constexpr (detail::OwnFolderFields<Self, Base>()) return Self::kFolderFields.Read(item, extend);
    else return Typed::InitExtendFolderItem(item, extend);
  }
  void CreateExtendFolderText(const FolderExtend& extend, CXMLLine& line) const override {
    if constexpr (detail::OwnFolderFields<Self, Base>()) Self::kFolderFields.Write(extend, line);
    else Typed::CreateExtendFolderText(extend, line);
  }

  void PrepareToWrite(const platform::DataRoot& root, std::string_view path) const override {
    if constexpr ((Self::kFamily.policy & kMakesItsDirectory) != 0) {
      root.CreateDirectories(platform::StoredDirectoryOf(path));  // a failure shows in the write
    }
    Typed::PrepareToWrite(root, path);
  }
  void PrepareNewNode(CVFDLNode& node) override {
    if constexpr ((Self::kFamily.policy & kNumbersNewRecs) != 0) {
      if (node.GetNodeType() == kNodeRec) node.SetID(this->GetLocalID(this->GetNewID()));
    }
    Typed::PrepareNewNode(node);
  }
};

// Makes a family creatable by the class name its kFamily declares.
template <typename Family>
void RegisterFamily(CRTTIRegistry& registry) {
  registry.Register(Family::kFamily.class_name, &Family::CreateObject);
}

namespace field {

// A counter kept in an attribute of the root element, spelled by `codec`
// (the history's "id_range", "%04d").
template <typename Codec>
struct RootCounter {
  std::string_view name;
  Codec codec;

  // The counter's text as stored.
  std::string Current(const CVFDLDoc& doc) const { return doc.GetRootAttribute(name); }
  // Hands out the stored text and stores the next number in its place,
  // saved when auto-save is on; empty when the document refused or that
  // save failed (the counter then stays). The counter stops at the
  // largest number the codec reads.
  std::string Take(CVFDLDoc& doc) const {
    std::string current = Current(doc);
    int32_t value = 0;
    codec.Read(current, value);
    std::string next;
    codec.Write(value == std::numeric_limits<int32_t>::max() ? value : value + 1, next);
    return doc.SetRootAttribute(name, next, false) ? current : std::string();
  }
};
template <typename Codec>
constexpr RootCounter<Codec> CounterIn(std::string_view name, Codec codec) {
  return {name, codec};
}

}  // namespace field

}  // namespace zds

#endif  // ZDS_FRAMEWORK_FAMILY_H_

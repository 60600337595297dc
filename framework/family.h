// The base of every document family.
//
// CVFDLTypedDoc puts a family's record and folder classes over one of the
// document bases (CVFDLDoc, CCASDVFDLDoc, CNotepadDoc): the document makes
// its nodes of those classes, and the family's hooks receive the typed
// extension of each node, to read from its element and write back, without
// a cast in the family's code.
//
// CVFDLFamily adds what every family declares once, in a constant kFamily:
// its class name (what a content descriptor's "class=" names), its root
// tag, its template and the extension types of its folders and records.
// A family is then written as (see docs/architecture.md):
//
//   class CAEventDoc : public CVFDLFamily<CAEventDoc, CVFDLDoc, CAEventRec> {
//    public:
//     static constexpr CFamilyInfo kFamily{"CAEventDoc", "AEvent", res::kEventTemplate, 0, 160, 161};
//    protected:
//     bool InitExtendRecItem(CXMLElementReader& item, CAEventExtendRec& event) override;
//     void CreateExtendRecText(const CAEventExtendRec& event, CXMLLine& line,
//                              std::vector<std::string>& lines) const override;
//   };
//
// and registered with RegisterFamily<CAEventDoc>(registry) in its folder's
// registration function.

#ifndef ZDS_FRAMEWORK_FAMILY_H_
#define ZDS_FRAMEWORK_FAMILY_H_

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "zds/framework/rtti.h"
#include "zds/framework/vfdl_doc.h"
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

template <typename Base, typename Rec, typename Folder = CVFDLFolder>
class CVFDLTypedDoc : public Base {
  static_assert(std::is_base_of_v<CVFDLDoc, Base>);
  static_assert(std::is_base_of_v<CVFDLRec, Rec> && std::is_base_of_v<CVFDLFolder, Folder>);

 public:
  using RecType = Rec;
  using FolderType = Folder;
  using RecExtend = ExtendOf<Rec>;
  using FolderExtend = ExtendOf<Folder>;

  // The record or folder at a position, typed; null when there is none.
  // Every record and folder of the document was made by it, so the type is
  // known from the node type alone.
  Rec* GetRec(std::string_view pos) const {
    CVFDLNode* node = this->GetNodeByPos(pos);
    return node && node->GetNodeType() == kNodeRec ? static_cast<Rec*>(node) : nullptr;
  }
  Folder* GetFolder(std::string_view pos) const {
    CVFDLNode* node = this->GetNodeByPos(pos);
    return node && node->IsFolder() ? static_cast<Folder*>(node) : nullptr;
  }

 protected:
  std::unique_ptr<CVFDLRec> NewRecPointer() const override { return std::make_unique<Rec>(); }
  std::unique_ptr<CVFDLFolder> NewFolderPointer() const override { return std::make_unique<Folder>(); }

  // The family's hooks. Reading returns false to refuse the element (it is
  // then kept in the file as it stands, but not loaded).
  virtual bool InitExtendRecItem(CXMLElementReader& /*item*/, RecExtend& /*extend*/) { return true; }
  virtual void CreateExtendRecText(const RecExtend& /*extend*/, CXMLLine& /*line*/,
                                   std::vector<std::string>& /*lines*/) const {}
  virtual bool InitExtendFolderItem(CXMLElementReader& /*item*/, FolderExtend& /*extend*/) { return true; }
  virtual void CreateExtendFolderText(const FolderExtend& /*extend*/, CXMLLine& /*line*/) const {}

  bool ReadRecExtend(CXMLElementReader& item, CVFDLRec& rec) override {
    if constexpr (std::is_same_v<RecExtend, NoExtend>) {
      NoExtend none;
      return InitExtendRecItem(item, none);
    } else {
      return InitExtendRecItem(item, static_cast<Rec&>(rec).GetExtendRec());
    }
  }
  void WriteRecExtend(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& lines) const override {
    if constexpr (std::is_same_v<RecExtend, NoExtend>) {
      CreateExtendRecText(NoExtend{}, line, lines);
    } else {
      CreateExtendRecText(static_cast<const Rec&>(rec).GetExtendRec(), line, lines);
    }
  }
  bool ReadFolderExtend(CXMLElementReader& item, CVFDLFolder& folder) override {
    if constexpr (std::is_same_v<FolderExtend, NoExtend>) {
      NoExtend none;
      return InitExtendFolderItem(item, none);
    } else {
      FolderExtend* extend = static_cast<Folder&>(folder).GetExtendFolder();
      return extend == nullptr || InitExtendFolderItem(item, *extend);
    }
  }
  void WriteFolderExtend(const CVFDLFolder& folder, CXMLLine& line) const override {
    if constexpr (std::is_same_v<FolderExtend, NoExtend>) {
      CreateExtendFolderText(NoExtend{}, line);
    } else if (const FolderExtend* extend = static_cast<const Folder&>(folder).GetExtendFolder()) {
      CreateExtendFolderText(*extend, line);
    }
  }
};

// What a family declares once.
struct CFamilyInfo {
  std::string_view class_name;
  std::string_view root_tag;
  int template_id = 0;
  int template_tail_id = 0;  // a template kept in two resources
  int folder_type = 0;       // extension types its folders and records get (0: none)
  int rec_type = 0;
};

template <typename Self, typename Base, typename Rec = CVFDLRec, typename Folder = CVFDLFolder>
class CVFDLFamily : public CVFDLTypedDoc<Base, Rec, Folder> {
 public:
  static std::unique_ptr<CRTTIObject> CreateObject() { return std::make_unique<Self>(); }
  std::string_view GetRTTIClass() const override { return Self::kFamily.class_name; }

  void InitNodeExtendType(CVFDLNode& node) override {
    if (node.IsFolder() && Self::kFamily.folder_type != 0) node.SetExtendType(Self::kFamily.folder_type);
    if (node.GetNodeType() == kNodeRec && Self::kFamily.rec_type != 0) node.SetExtendType(Self::kFamily.rec_type);
  }

 protected:
  std::string GetTemplateText() const override {
    return LoadTemplate(Self::kFamily.template_id, Self::kFamily.template_tail_id);
  }
  std::string_view GetRootTag() const override { return Self::kFamily.root_tag; }
};

// Makes a family creatable by the class name its kFamily declares.
template <typename Family>
void RegisterFamily(CRTTIRegistry& registry) {
  registry.Register(Family::kFamily.class_name, &Family::CreateObject);
}

}  // namespace zds

#endif  // ZDS_FRAMEWORK_FAMILY_H_

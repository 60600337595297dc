// The auto-run list ("\autorun.xml"): the items the host opens by itself
// when it starts, kept in groups. A group is a folder directly under the
// root, found by its alias; an item is a record inside a group.
//
// CAutoRunDoc is the document, CAutoRunRec an item and CAutoRunExtendRec
// the item's own fields.

#ifndef ZDS_EVENTS_AUTORUN_DOC_H_
#define ZDS_EVENTS_AUTORUN_DOC_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/vfdl_doc.h"

namespace zds {

inline constexpr int kAutoRunUnknown = -1;
inline constexpr int kAutoRunZds = 0;
inline constexpr int kAutoRunQfs = 1;
inline constexpr int kAutoRunKfs = 2;

// "zds", "qfs", "kfs"; empty for any other type.
std::string_view AutoRunTypeWord(int type);
// The type a stored word means; -1 for anything but the three words.
int AutoRunTypeFromWord(std::string_view word);

class CAutoRunExtendRec : public CVFDLExtendBase<CAutoRunExtendRec> {
 public:
  bool operator==(const CAutoRunExtendRec& other) const {
    return type == other.type && description == other.description;
  }

  // Unknown until set, which is also what an empty stored type reads as,
  // so a new item survives a save and load unchanged.
  int type = kAutoRunUnknown;
  std::string description;
};

class CAutoRunRec : public CVFDLTypedRec<CAutoRunRec, CAutoRunExtendRec> {};

class CAutoRunDoc : public CVFDLDoc {
 public:
  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<CAutoRunDoc>(); }
  std::string_view GetRTTIClass() const override { return "CAutoRunDoc"; }

  // The group with this alias. Only "default" is created when missing;
  // any other missing group is null and nothing is added.
  CVFDLFolder* GetGroupNode(std::string_view name);
  // Adds a group under the root, saving at once; returns its position.
  std::string CreateGroup(std::string_view name);

 protected:
  std::string GetTemplateText() const override;
  std::string_view GetRootTag() const override { return "autorun"; }
  std::unique_ptr<CVFDLRec> NewRecPointer() const override { return std::make_unique<CAutoRunRec>(); }
  bool InitExtendRecItem(CXMLElementReader& item, CVFDLRec& rec) override;
  void CreateExtendRecText(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& lines) const override;
};

}  // namespace zds

#endif  // ZDS_EVENTS_AUTORUN_DOC_H_

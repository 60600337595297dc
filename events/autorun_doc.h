// The auto-run list ("\autorun.xml"): the items the host opens by itself
// when it starts, kept in groups. A group is a folder directly under the
// root, found by its alias; an item is a record inside a group.
//
// CAutoRunDoc is the document, CAutoRunRec an item and CAutoRunExtendRec
// the item's own fields.

#ifndef ZDS_EVENTS_AUTORUN_DOC_H_
#define ZDS_EVENTS_AUTORUN_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/resources/events_strings.h"

namespace zds {

inline constexpr int kAutoRunUnknown = -1;
inline constexpr int kAutoRunZds = 0;
inline constexpr int kAutoRunQfs = 1;
inline constexpr int kAutoRunKfs = 2;

// An unknown or missing type word reads as unknown and is written empty.
inline constexpr auto kAutoRunTypeWords =
    field::MakeWords(field::kWords.ReadingUnknownAs(kAutoRunUnknown).WritingUnknownAs(""),
                     field::Word{kAutoRunZds, "zds"}, field::Word{kAutoRunQfs, "qfs"}, field::Word{kAutoRunKfs, "kfs"});
// "zds", "qfs", "kfs"; empty for any other type.
std::string_view AutoRunTypeWord(int type);

class CAutoRunExtendRec : public CVFDLExtendBase<CAutoRunExtendRec> {
 public:
  bool operator==(const CAutoRunExtendRec&) const = default;

  // Unknown until set, which is also what an empty stored type reads as,
  // so a new item survives a save and load unchanged.
  int type = kAutoRunUnknown;
  std::string description;
};

class CAutoRunRec : public CVFDLTypedRec<CAutoRunRec, CAutoRunExtendRec> {};

class CAutoRunDoc : public CVFDLFamily<CAutoRunDoc, CVFDLDoc, CAutoRunRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CAutoRunDoc", "autorun", res::kAutoRunTemplate};
  static constexpr auto kRecFields = field::List(field::Of("type", &CAutoRunExtendRec::type, kAutoRunTypeWords),
                                                 field::Of("description", &CAutoRunExtendRec::description));

  // The group with this alias. Only "default" is created when missing;
  // any other missing group is null and nothing is added. Valid as
  // "Lifetimes" in vfdl_doc.h says.
  CVFDLFolder* GetGroupNode(std::string_view name);
  // Adds a group under the root, saving at once; returns its position.
  [[nodiscard]] std::string CreateGroup(std::string_view name);
};

}  // namespace zds

#endif  // ZDS_EVENTS_AUTORUN_DOC_H_

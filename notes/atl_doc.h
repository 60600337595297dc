// The templates document (root "atl", under the editor root's
// "\editor\template"): the folders the host's editors keep their templates
// in, "Common", "New Mail", "Forward Mail" and "Diary" under "Template".
// What a template record holds is the editors' business; the store keeps
// its records as the framework's and writes back whatever they carry.

#ifndef ZDS_NOTES_ATL_DOC_H_
#define ZDS_NOTES_ATL_DOC_H_

#include "zds/framework/family.h"
#include "zds/resources/notes_strings.h"

namespace zds {

// Makes its directory when it saves: the editor root's tree is not the
// store's to make beforehand.
class CATLDoc : public CVFDLFamily<CATLDoc, CVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CATLDoc", "atl", res::kATLTemplate, 0, 0, 0, kMakesItsDirectory};
};

}  // namespace zds

#endif  // ZDS_NOTES_ATL_DOC_H_

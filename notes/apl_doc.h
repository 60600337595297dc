// The print list ("\apl.xml", root "apl"): what the host has queued for
// printing. Its records are the framework's; the host's printing fills
// them.

#ifndef ZDS_NOTES_APL_DOC_H_
#define ZDS_NOTES_APL_DOC_H_

#include "zds/framework/family.h"
#include "zds/resources/notes_strings.h"

namespace zds {

class CAPLDoc : public CVFDLFamily<CAPLDoc, CVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CAPLDoc", "apl", res::kAPLTemplate};
};

}  // namespace zds

#endif  // ZDS_NOTES_APL_DOC_H_

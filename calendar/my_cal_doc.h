// The work-day calendar ("\AMyCal.xml", root "AMCAL"): the user's own
// calendar of working and free days, which the calendar views read. The
// store opens it at start-up and keeps its records as the framework's.

#ifndef ZDS_CALENDAR_MY_CAL_DOC_H_
#define ZDS_CALENDAR_MY_CAL_DOC_H_

#include "zds/framework/family.h"
#include "zds/resources/calendar_strings.h"

namespace zds {

class CAMyCalDoc : public CVFDLFamily<CAMyCalDoc, CVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CAMyCalDoc", "AMCAL", res::kMyCalTemplate};

  // The step after opening: the document is usable when it holds its root
  // folder. It is opened without the framework's initialisation, so its
  // positions and paths are those of a document opened on its own
  // ("kov:\Work Days\0001").
  [[nodiscard]] bool InitMyCalDoc();
};

}  // namespace zds

#endif  // ZDS_CALENDAR_MY_CAL_DOC_H_

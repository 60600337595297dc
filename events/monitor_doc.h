// The monitor ("\Monitor.xml"): the log of the current run. Every start
// creates it afresh from its template and appends one entry per notable
// step; an entry is a plain record whose alias is the whole line.

#ifndef ZDS_EVENTS_MONITOR_DOC_H_
#define ZDS_EVENTS_MONITOR_DOC_H_

#include <string>
#include <string_view>

#include "zds/framework/family.h"
#include "zds/resources/events_strings.h"

namespace zds {

class CMonitorDoc : public CVFDLFamily<CMonitorDoc, CVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CMonitorDoc", "Monitor", res::kMonitorTemplate, 0, 0, 0,
                                       kNumbersNewRecs | kWrittenWhole};

  // Appends "<local time to the minute>  <text>" to the root folder and
  // returns the entry's position (empty when it could not be added or saved).
  [[nodiscard]] std::string InsertRec(std::string_view text);
};

}  // namespace zds

#endif  // ZDS_EVENTS_MONITOR_DOC_H_

// The monitor ("\Monitor.xml"): the log of the current run. Every start
// creates it afresh from its template and appends one entry per notable
// step; an entry is a plain record whose alias is the whole line.

#ifndef ZDS_EVENTS_MONITOR_DOC_H_
#define ZDS_EVENTS_MONITOR_DOC_H_

#include <memory>
#include <string>
#include <string_view>

#include "framework/vfdl_doc.h"

namespace zds {

class CMonitorDoc : public CVFDLDoc {
 public:
  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<CMonitorDoc>(); }
  std::string_view GetRTTIClass() const override { return "CMonitorDoc"; }

  // Appends "<local time to the minute>  <text>" to the root folder and
  // returns the entry's position (empty when the document is not open).
  std::string InsertRec(std::string_view text);

 protected:
  std::string GetTemplateText() const override;
  std::string_view GetRootTag() const override { return "Monitor"; }
};

}  // namespace zds

#endif  // ZDS_EVENTS_MONITOR_DOC_H_

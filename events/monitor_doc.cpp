#include "events/monitor_doc.h"

#include "platform/time.h"
#include "resources/string_table.h"

namespace zds {

std::string CMonitorDoc::GetTemplateText() const { return LoadTemplate(res::kMonitorTemplate); }

std::string CMonitorDoc::InsertRec(std::string_view text) {
  if (GetRoot() == nullptr) return std::string();
  CVFDLRec entry;
  entry.SetID(GetLocalID(GetNewID()));
  std::string line = CTime::GetCurrentTime().Format(kTimeFormatMinutes);
  line += "  ";
  line += text;
  entry.SetAlias(line);
  return AddRec(GetRoot()->GetPos(), entry, false);
}

}  // namespace zds

#include "zds/events/monitor_doc.h"

#include "zds/platform/time.h"

namespace zds {

std::string CMonitorDoc::InsertRec(std::string_view text) {
  if (GetRoot() == nullptr) return std::string();
  CVFDLRec entry;
  std::string line = CTime::GetCurrentTime().Format(kTimeFormatMinutes);
  line += "  ";
  line += text;
  entry.SetAlias(line);
  return AddRec(GetRoot()->GetPos(), entry, false);
}

}  // namespace zds

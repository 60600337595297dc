#include "zds/browsing/fav_notepad.h"

namespace zds {

void CFavNotepad::PrepareNewRec(CFavNPDRec& rec) {
  CFavNPDExtendRec& fields = rec.GetExtendRec();
  fields.createtime = fields.updatetime = fields.accesstime = clock_().Format(kTimeFormatMinutes);
}

bool CFavNotepad::UpdateRec(std::string_view pos, const CVFDLRec& rec, bool flag) {
  const auto* page = NodeAs<CFavNPDRec>(&rec);
  if (page == nullptr) return CVFDLFamily::UpdateRec(pos, rec, flag);  // refused there as of another class
  CFavNPDRec stamped(*page);
  stamped.GetExtendRec().updatetime = clock_().Format(kTimeFormatMinutes);
  return CVFDLFamily::UpdateRec(pos, stamped, flag);
}

}  // namespace zds

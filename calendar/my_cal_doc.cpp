#include "zds/calendar/my_cal_doc.h"

namespace zds {

bool CAMyCalDoc::InitMyCalDoc() { return GetRoot() != nullptr; }

}  // namespace zds

#include "zds/notes/classes.h"

#include "zds/notes/apl_doc.h"
#include "zds/notes/atl_doc.h"
#include "zds/notes/note_doc.h"

namespace zds {

void RegisterNoteClasses(CRTTIRegistry& registry) {
  RegisterFamily<CANoteDoc>(registry);
  RegisterFamily<CATLDoc>(registry);
  RegisterFamily<CAPLDoc>(registry);
}

}  // namespace zds

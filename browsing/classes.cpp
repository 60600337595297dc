#include "zds/browsing/classes.h"

#include "zds/browsing/fav_doc.h"
#include "zds/browsing/fav_notepad.h"

namespace zds {

void RegisterFavoritesClasses(CRTTIRegistry& registry) {
  RegisterFamily<CFavDoc>(registry);
  RegisterFamily<CFavNotepad>(registry);
}

}  // namespace zds

// The sticky notes, templates and print-list classes, creatable by name.

#ifndef ZDS_NOTES_CLASSES_H_
#define ZDS_NOTES_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterNoteClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_NOTES_CLASSES_H_

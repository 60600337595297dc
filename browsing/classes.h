// The favorites' and the history's classes, creatable by name; one
// function per family of documents.

#ifndef ZDS_BROWSING_CLASSES_H_
#define ZDS_BROWSING_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

// The favorites and the favorites notepad.
void RegisterFavoritesClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_BROWSING_CLASSES_H_

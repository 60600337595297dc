// The store's class registry: every document class of the library, by the
// name a content descriptor's "class=" gives. Each subsystem folder
// registers its own classes; a new folder adds its one line here.

#ifndef ZDS_STORE_CLASSES_H_
#define ZDS_STORE_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

// The service index's classes.
void RegisterStoreClasses(CRTTIRegistry& registry);
// Every class of the library.
void RegisterAllClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_STORE_CLASSES_H_

// The address book and contact book classes, creatable by name.

#ifndef ZDS_CONTACTS_CLASSES_H_
#define ZDS_CONTACTS_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterContactClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_CONTACTS_CLASSES_H_

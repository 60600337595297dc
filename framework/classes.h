// The framework's own document classes, creatable by name like a family's:
// a content descriptor may name the generic bases themselves.

#ifndef ZDS_FRAMEWORK_CLASSES_H_
#define ZDS_FRAMEWORK_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

// Registers CVFDLDoc, CCASDVFDLDoc and CNotepadDoc.
void RegisterFrameworkClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_FRAMEWORK_CLASSES_H_

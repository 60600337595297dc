// The mail box and mail index classes, creatable by name.

#ifndef ZDS_MAIL_CLASSES_H_
#define ZDS_MAIL_CLASSES_H_

#include "zds/framework/rtti.h"

namespace zds {

void RegisterMailClasses(CRTTIRegistry& registry);

}  // namespace zds

#endif  // ZDS_MAIL_CLASSES_H_

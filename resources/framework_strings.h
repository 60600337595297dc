// The framework's texts: the labels of the folder attribute values.

#ifndef ZDS_RESOURCES_FRAMEWORK_STRINGS_H_
#define ZDS_RESOURCES_FRAMEWORK_STRINGS_H_

#include "zds/resources/string_table.h"

namespace zds::res {

inline constexpr int kLabelRoot = 50;  // 50-54: "Root", "Read Only", "System", "Normal", "Hide"

inline constexpr ResourceString kFrameworkStrings[] = {
    {kLabelRoot + 0, "Root"},   {kLabelRoot + 1, "Read Only"}, {kLabelRoot + 2, "System"},
    {kLabelRoot + 3, "Normal"}, {kLabelRoot + 4, "Hide"},
};

}  // namespace zds::res

#endif  // ZDS_RESOURCES_FRAMEWORK_STRINGS_H_

#include "zds/platform/console.h"

namespace zds::platform {

// POSIX streams never translate line ends.
void UseBinaryStandardStreams() {}

}  // namespace zds::platform

#include "zds/platform/console.h"

#include <unistd.h>

namespace zds::platform {

// POSIX streams never translate line ends.
void UseBinaryStandardStreams() {}

bool StandardOutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

}  // namespace zds::platform

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "zds/platform/console.h"

namespace zds::platform {

void UseBinaryStandardStreams() {
  std::fflush(stdout);
  std::fflush(stderr);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

bool StandardOutputIsTerminal() { return _isatty(_fileno(stdout)) != 0; }

}  // namespace zds::platform

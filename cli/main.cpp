// zds: the command-line host. It opens a data root and works with the store
// the way a desktop host would, for users, support and scripts.

#include <iostream>
#include <string>
#include <vector>

#include "cli/command_table.h"
#include "zds/platform/console.h"

int main(int argc, char** argv) {
  zds::platform::UseBinaryStandardStreams();  // the same bytes on every platform
  return zds::cli::RunZds(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr);
}

// Running a program as a user would, on each platform: no shell between,
// so arguments arrive as they are given.

#ifndef ZDS_TESTS_SUPPORT_PROGRAM_H_
#define ZDS_TESTS_SUPPORT_PROGRAM_H_

#include <string>
#include <vector>

namespace zds::test {

struct ProgramResult {
  int exit_code = -1;  // -1 when it could not start or was killed
  std::string out, err;
};

// Runs the program with empty input and waits for it. A name without a
// directory is looked for as the system looks for commands; on Windows
// that starts beside the running test program.
ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args);

// The zds program of this build, with the arguments.
ProgramResult RunZds(const std::vector<std::string>& args);

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_PROGRAM_H_

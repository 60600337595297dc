// Running a program as a user would, on each platform: no shell between,
// so arguments arrive as they are given.

#ifndef ZDS_TESTS_SUPPORT_PROGRAM_H_
#define ZDS_TESTS_SUPPORT_PROGRAM_H_

#include <gtest/gtest.h>

#include <filesystem>
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

// The zds program of this build, with the arguments; the second on the
// data root `root` ("--root" first).
ProgramResult RunZds(const std::vector<std::string>& args);
ProgramResult RunZds(const std::filesystem::path& root, std::vector<std::string> args);

// A refusal as zds makes one: this exit code, nothing on standard output,
// and one line on standard error that begins "zds".
::testing::AssertionResult RefusedWithOneLine(const ProgramResult& result, int exit_code);

// A program left running, started as RunProgram starts one, with its
// standard output going to a file, for tests that end it the hard way.
class RunningProgram {
 public:
  RunningProgram(const std::string& program, const std::vector<std::string>& args, const std::filesystem::path& out);
  ~RunningProgram() { Kill(); }
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  bool started() const { return started_; }
  // True once it has ended by itself; then exit_code() says how (-1: a signal).
  bool Ended();
  int exit_code() const { return exit_code_; }
  // Ends it at once, as a crash would (SIGKILL, TerminateProcess), and
  // waits until it is gone.
  void Kill();

 private:
  bool ended_ = false;
  int exit_code_ = -1;
#ifdef _WIN32
  void* process_;  // its handle
#else
  int process_;  // its id
#endif
  bool started_ = false;
};

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_PROGRAM_H_

#include "support/program.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/temp_dir.h"

#ifdef _WIN32
#include "zds/platform/win32/windows_api.h"
#else
#include <fcntl.h>
#include <spawn.h>
#include <csignal>
#include <sys/wait.h>

extern char** environ;
#endif

namespace zds::test {

namespace {

#ifdef _WIN32

constexpr const char* kNullDevice = "NUL";
void* const kNoProcess = nullptr;

// The quoting the C runtime undoes when it splits a command line: quotes
// around each argument, a quote inside escaped, and the backslashes before
// a quote doubled.
void AppendQuoted(std::string& line, const std::string& arg) {
  line += line.empty() ? "\"" : " \"";
  size_t backslashes = 0;
  for (char c : arg) {
    if (c == '\\') {
      ++backslashes;
      continue;
    }
    line.append(c == '"' ? backslashes * 2 + 1 : backslashes, '\\');
    backslashes = 0;
    line += c;
  }
  line.append(backslashes * 2, '\\');
  line += '"';
}

HANDLE Inheritable(const fs::path& file, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  return CreateFileA(file.string().c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

// The process handle, or null when it could not start.
void* Start(const std::string& program, const std::vector<std::string>& args, const fs::path& out, const fs::path& err) {
  std::string line;
  AppendQuoted(line, program);
  for (const std::string& arg : args) AppendQuoted(line, arg);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable(kNullDevice, GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable(out, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable(err, GENERIC_WRITE, err == kNullDevice ? OPEN_EXISTING : CREATE_ALWAYS);
  PROCESS_INFORMATION process{};
  // Wine now and then fails a start with ERROR_INTERNAL_ERROR while
  // processes just killed are still being torn down (seen in the crash
  // test, which starts hundreds); a moment later the same start succeeds.
  bool started = false;
  for (int attempt = 0; attempt < 5 && !started; ++attempt) {
    if (attempt > 0) Sleep(20);
    started = CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    if (!started && GetLastError() != ERROR_INTERNAL_ERROR) break;
  }
  if (started) CloseHandle(process.hThread);
  for (HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
  return started ? process.hProcess : nullptr;
}

// True once it has ended (waiting for that when `wait`), with its exit
// code; an exception ending it is its exit code here, as a signal is not
// on POSIX, and the hard kill's code is -1 too.
bool Reap(void* process, bool wait, int& exit_code) {
  if (WaitForSingleObject(process, wait ? INFINITE : 0) != WAIT_OBJECT_0) return false;
  DWORD code = static_cast<DWORD>(-1);
  GetExitCodeProcess(process, &code);
  exit_code = code > 0x7fffffff ? -1 : static_cast<int>(code);
  CloseHandle(process);
  return true;
}

void Terminate(void* process) { TerminateProcess(process, static_cast<UINT>(-1)); }

#else

constexpr const char* kNullDevice = "/dev/null";
constexpr int kNoProcess = -1;

// The process id, or -1 when it could not start.
int Start(const std::string& program, const std::vector<std::string>& args, const fs::path& out, const fs::path& err) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, kNullDevice, O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<std::string> strings{program};
  strings.insert(strings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : strings) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  const bool started = posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  return started ? child : -1;
}

// True once it has ended (waiting for that when `wait`), with its exit
// code, -1 for a signal.
bool Reap(int pid, bool wait, int& exit_code) {
  int status = 0;
  if (waitpid(pid, &status, wait ? 0 : WNOHANG) != pid) return false;
  exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return true;
}

void Terminate(int pid) { kill(pid, SIGKILL); }

#endif

// The programs the tests start write their output as bytes on every
// platform (platform::UseBinaryStandardStreams), so it is compared as read.
std::string ReadOutput(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

RunningProgram::RunningProgram(const std::string& program, const std::vector<std::string>& args, const fs::path& out)
    : process_(Start(program, args, out, kNullDevice)) {
  started_ = process_ != kNoProcess;
}

bool RunningProgram::Ended() {
  if (started_ && !ended_) ended_ = Reap(process_, false, exit_code_);
  return ended_;
}

// Killed, it has no exit code of its own (-1); one that had already ended
// keeps its own.
void RunningProgram::Kill() {
  if (!started_ || ended_) return;
  Terminate(process_);
  ended_ = Reap(process_, true, exit_code_);
}

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args) {
  TempDir scratch("zds-run");
  ProgramResult result;
  const auto process = Start(program, args, scratch.path() / "out", scratch.path() / "err");
  if (process != kNoProcess) Reap(process, true, result.exit_code);
  result.out = ReadOutput(scratch.path() / "out");
  result.err = ReadOutput(scratch.path() / "err");
  return result;
}

ProgramResult RunZds(const std::vector<std::string>& args) { return RunProgram(ZDS_CLI_PATH, args); }

ProgramResult RunZds(const fs::path& root, std::vector<std::string> args) {
  args.insert(args.begin(), {"--root", root.string()});
  return RunZds(args);
}

::testing::AssertionResult RefusedWithOneLine(const ProgramResult& result, int exit_code) {
  if (result.exit_code == exit_code && result.out.empty() && result.err.starts_with("zds") &&
      result.err.find('\n') == result.err.size() - 1) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "exit " << result.exit_code << " (not " << exit_code << "), out:\n"
                                       << result.out << "err:\n" << result.err;
}

}  // namespace zds::test

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

// An exception ending the program is its exit code here, as a signal is
// not on POSIX.
int Run(const std::string& program, const std::vector<std::string>& args, const fs::path& out, const fs::path& err) {
  std::string line;
  AppendQuoted(line, program);
  for (const std::string& arg : args) AppendQuoted(line, arg);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable("NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable(out, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable(err, GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION process{};
  DWORD code = static_cast<DWORD>(-1);
  if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  for (HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
  return code > 0x7fffffff ? -1 : static_cast<int>(code);
}

#else

int Run(const std::string& program, const std::vector<std::string>& args, const fs::path& out, const fs::path& err) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<std::string> strings{program};
  strings.insert(strings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : strings) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  int status = 0;
  bool started = posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!started || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

#endif

// A Windows program's text output turns each "\n" into CR LF; the tests
// compare what the program wrote.
std::string ReadOutput(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(in), {});
#ifdef _WIN32
  for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at + 1)) text.erase(at, 1);
#endif
  return text;
}

}  // namespace

#ifdef _WIN32

RunningProgram::RunningProgram(const std::string& program, const std::vector<std::string>& args, const fs::path& out) {
  std::string line;
  AppendQuoted(line, program);
  for (const std::string& arg : args) AppendQuoted(line, arg);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable("NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable(out, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable("NUL", GENERIC_WRITE, OPEN_EXISTING);
  PROCESS_INFORMATION process{};
  started_ = CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  if (started_) {
    CloseHandle(process.hThread);
    process_ = process.hProcess;
  }
  for (HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) {
    if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
  }
}

bool RunningProgram::Ended() {
  if (!started_ || ended_) return ended_;
  if (WaitForSingleObject(process_, 0) != WAIT_OBJECT_0) return false;
  DWORD code = static_cast<DWORD>(-1);
  GetExitCodeProcess(process_, &code);
  exit_code_ = code > 0x7fffffff ? -1 : static_cast<int>(code);
  CloseHandle(process_);
  ended_ = true;
  return true;
}

// Killed, it has no exit code of its own (-1, as for a signal on POSIX);
// one that had already ended keeps its own.
void RunningProgram::Kill() {
  if (!started_ || ended_) return;
  const bool killed = TerminateProcess(process_, 0xDEAD);
  WaitForSingleObject(process_, INFINITE);
  Ended();
  if (killed) exit_code_ = -1;
}

#else

RunningProgram::RunningProgram(const std::string& program, const std::vector<std::string>& args, const fs::path& out) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<std::string> strings{program};
  strings.insert(strings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : strings) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  started_ = posix_spawnp(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  pid_ = started_ ? child : -1;
}

bool RunningProgram::Ended() {
  if (!started_ || ended_) return ended_;
  int status = 0;
  if (waitpid(pid_, &status, WNOHANG) != pid_) return false;
  exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  ended_ = true;
  return true;
}

void RunningProgram::Kill() {
  if (!started_ || ended_) return;
  kill(pid_, SIGKILL);
  int status = 0;
  waitpid(pid_, &status, 0);
  exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  ended_ = true;
}

#endif

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args) {
  TempDir scratch("zds-run");
  ProgramResult result;
  result.exit_code = Run(program, args, scratch.path() / "out", scratch.path() / "err");
  result.out = ReadOutput(scratch.path() / "out");
  result.err = ReadOutput(scratch.path() / "err");
  return result;
}

ProgramResult RunZds(const std::vector<std::string>& args) { return RunProgram(ZDS_CLI_PATH, args); }

}  // namespace zds::test

#include "support/program.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/temp_dir.h"

#ifdef _WIN32
#include "platform/win32/windows_api.h"
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

extern char** environ;
#endif

namespace zds::test {

namespace {

#ifdef _WIN32

fs::path RunningProgram() {
  char self[MAX_PATH];
  DWORD length = GetModuleFileNameA(nullptr, self, MAX_PATH);
  return length == 0 || length >= MAX_PATH ? fs::path() : fs::path(std::string(self, length));
}

// The quoting the C runtime undoes when it splits a command line: quotes
// around each argument, a quote inside escaped, and the backslashes before
// a quote doubled.
void AppendQuoted(std::string& line, const std::string& arg) {
  line += " \"";
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
int Run(const std::string& path, const std::vector<std::string>& args, const fs::path& out, const fs::path& err) {
  std::string line;
  AppendQuoted(line, path);
  for (const std::string& arg : args) AppendQuoted(line, arg);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable("NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable(out, GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable(err, GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION process{};
  DWORD code = static_cast<DWORD>(-1);
  if (CreateProcessA(path.c_str(), line.data() + 1, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
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

std::string Search(const std::string& name) {
  char found[MAX_PATH];
  DWORD length = SearchPathA(nullptr, name.c_str(), ".exe", MAX_PATH, found, nullptr);
  return length == 0 || length >= MAX_PATH ? std::string() : std::string(found, length);
}

#else

std::string Search(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::string_view rest = path != nullptr ? path : "";
  while (!rest.empty()) {
    size_t end = std::min(rest.find(':'), rest.size());
    fs::path candidate = fs::path(rest.substr(0, end)) / name;
    if (end > 0 && access(candidate.c_str(), X_OK) == 0) return candidate.string();
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return "";
}

fs::path RunningProgram() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error);
}

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
  bool started = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (!started || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

#endif

// A Windows program's text output ends its lines with CR LF; the tests
// compare lines.
std::string ReadOutput(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(in), {});
#ifdef _WIN32
  std::string lines;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') lines += text[i];
  }
  text = std::move(lines);
#endif
  return text;
}

std::string ProgramPath(const std::string& program) {
  if (fs::path(program).has_parent_path()) return program;
  return (RunningProgram().parent_path() / program).string();
}

}  // namespace

ProgramResult RunProgram(const std::string& program, const std::vector<std::string>& args) {
  TempDir scratch("zds-run");
  ProgramResult result;
  result.exit_code = Run(ProgramPath(program), args, scratch.path() / "out", scratch.path() / "err");
  result.out = ReadOutput(scratch.path() / "out");
  result.err = ReadOutput(scratch.path() / "err");
  return result;
}

std::string FindOnPath(const std::string& name) { return Search(name); }

ProgramResult RunZds(const std::vector<std::string>& args) { return RunProgram(ZDS_CLI_PATH, args); }

}  // namespace zds::test

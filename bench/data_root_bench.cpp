// What the data root adds to one file operation: each operation on a
// stored path measured side by side, turn by turn in the same iteration,
// with the plain system calls on the native path it reaches:
//   exists:  FileExists                     vs stat
//   read:    ReadWholeFile of a 4 KB file   vs open, read, close
//   cleanup: RemoveLeftoverTemporaries      vs listing the directory
// on a file at the top of the root, one three directories down, the same
// spelled in other letter case (matched by listing each directory), and
// one reached through a link inside the root. Writes are fsync-bound; the
// framework benchmark's save covers them.
//
// Run: build-bench/bench/data_root_bench --benchmark_repetitions=5
//      --benchmark_report_aggregates_only=true

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "support/scratch_dir.h"
#include "zds/platform/files.h"

namespace zds::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct PathCase {
  const char* stored;
  const char* native;  // below the root
};

const PathCase kTop{"\\aidl.xml", "aidl.xml"};
const PathCase kDeep{"\\calendar\\2005\\05\\index.xml", "calendar/2005/05/index.xml"};
const PathCase kOtherCase{"\\Calendar\\2005\\05\\Index.xml", "calendar/2005/05/index.xml"};
const PathCase kThroughLink{"\\months\\05\\index.xml", "months/05/index.xml"};

enum class Op { kExists, kRead, kCleanup };

bool PlainExists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool PlainRead(const std::string& path, std::string& contents) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char buffer[65536];
  contents.clear();
  ssize_t got;
  while ((got = read(fd, buffer, sizeof buffer)) > 0) contents.append(buffer, static_cast<size_t>(got));
  close(fd);
  return got == 0;
}

bool PlainList(const std::string& directory) {
  DIR* stream = opendir(directory.c_str());
  if (stream == nullptr) return false;
  size_t entries = 0;
  while (readdir(stream) != nullptr) ++entries;
  closedir(stream);
  return entries > 0;
}

void BM_DataRoot(benchmark::State& state, Op op, PathCase path) {
  ScratchDir scratch("zds-data-root-bench");
  const fs::path root_dir = fs::path(scratch.path()) / "root";
  fs::create_directories(root_dir / "calendar/2005/05");
  const std::string text(4096, 'x');
  std::ofstream(root_dir / "aidl.xml", std::ios::binary) << text;
  std::ofstream(root_dir / "calendar/2005/05/index.xml", std::ios::binary) << text;
  for (const char* name : {"2004", "2006", "2007"}) fs::create_directories(root_dir / "calendar" / name);
  fs::create_directory_symlink("calendar/2005", root_dir / "months");
  const platform::DataRoot root(root_dir.string());
  const std::string native = (root_dir / path.native).string();
  const std::string native_directory = (root_dir / path.native).parent_path().string();
  std::string contents;
  double ours = 0, plain = 0;
  size_t turn = 0;
  for (auto _ : state) {
    bool ok = true;
    double ours_now = 0;
    auto run_ours = [&] {
      auto start = Clock::now();
      switch (op) {
        case Op::kExists: ok = root.FileExists(path.stored) && ok; break;
        case Op::kRead: ok = root.ReadWholeFile(path.stored, contents) == platform::ReadStatus::kRead && ok; break;
        case Op::kCleanup: ok = root.RemoveLeftoverTemporaries(path.stored) == 0 && ok; break;
      }
      ours_now = std::chrono::duration<double>(Clock::now() - start).count();
      ours += ours_now;
    };
    auto run_plain = [&] {
      auto start = Clock::now();
      switch (op) {
        case Op::kExists: ok = PlainExists(native) && ok; break;
        case Op::kRead: ok = PlainRead(native, contents) && ok; break;
        case Op::kCleanup: ok = PlainList(native_directory) && ok; break;
      }
      plain += std::chrono::duration<double>(Clock::now() - start).count();
    };
    const std::function<void()> sides[] = {run_ours, run_plain};
    for (size_t i = 0; i < 2; ++i) sides[(turn + i) % 2]();
    ++turn;
    if (!ok) {
      state.SkipWithError("the operation failed");
      return;
    }
    state.SetIterationTime(ours_now);
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["ours_us"] = ours / n * 1e6;
  state.counters["plain_us"] = plain / n * 1e6;
  state.counters["ratio"] = ours / plain;
}

void Register() {
  const std::pair<const char*, Op> ops[] = {{"exists", Op::kExists}, {"read", Op::kRead}, {"cleanup", Op::kCleanup}};
  const std::pair<const char*, PathCase> paths[] = {
      {"top", kTop}, {"deep", kDeep}, {"deep_other_case", kOtherCase}, {"through_link", kThroughLink}};
  for (const auto& [op_name, op] : ops) {
    for (const auto& [path_name, path] : paths) {
      benchmark::RegisterBenchmark((std::string(op_name) + "/" + path_name).c_str(), BM_DataRoot, op, path)
          ->UseManualTime()
          ->MinTime(0.2)
          ->Unit(benchmark::kMicrosecond);
    }
  }
}

}  // namespace
}  // namespace zds::bench

int main(int argc, char** argv) {
  zds::bench::Register();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

// What is checked is what gets used: a directory swapped for a link to
// the outside between the walk and the operation, or a file swapped so
// just before it is opened, moved or deleted, steers nothing outside. And
// the system's own record of the calls (strace, where present) shows none
// that names a path outside the root.
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "zds/platform/files.h"
#include "support/links.h"
#include "support/program.h"
#include "support/temp_root.h"

namespace zds::platform {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// kDirectory: "sub" goes aside to "moved" and a link to the outside takes
// its name, as soon as the walk has it open. kFile: "sub\doc.xml" becomes
// a link to the outside file just before the call that uses it.
enum class Swap { kDirectory, kFile };

struct SwapCase {
  const char* name;
  Swap swap;
  // Runs the operation and checks what it did; `held` is where the
  // directory the walk checked is now.
  std::function<void(DataRoot&, const fs::path& held, const fs::path& root)> run;
};

std::ostream& operator<<(std::ostream& out, const SwapCase& c) { return out << c.name; }

const std::string kDoc = "\\sub\\doc.xml";
const SwapCase kSwaps[] = {
    {"read", Swap::kDirectory,
     [](DataRoot& root, const fs::path&, const fs::path&) {
       std::string contents;
       EXPECT_EQ(root.ReadWholeFile(kDoc, contents), ReadStatus::kRead);
       EXPECT_EQ(contents, "inside");
     }},
    {"write", Swap::kDirectory,
     [](DataRoot& root, const fs::path& held, const fs::path&) {
       EXPECT_TRUE(root.WriteFileAtomic(kDoc, "new"));
       EXPECT_EQ(test::ReadNative(held / "doc.xml"), "new");
     }},
    {"exists", Swap::kDirectory,
     [](DataRoot& root, const fs::path&, const fs::path&) { EXPECT_TRUE(root.FileExists(kDoc)); }},
    {"delete", Swap::kDirectory,
     [](DataRoot& root, const fs::path& held, const fs::path&) {
       EXPECT_TRUE(root.RemoveFile(kDoc));
       EXPECT_EQ(test::Entries(held), Names{"doc.xml.tmp-0123456789abcdef"});
     }},
    {"move", Swap::kDirectory,
     [](DataRoot& root, const fs::path&, const fs::path& native) {
       EXPECT_TRUE(root.RenameFile(kDoc, "\\renamed.xml"));
       EXPECT_EQ(test::ReadNative(native / "renamed.xml"), "inside");
     }},
    {"make directories", Swap::kDirectory,
     [](DataRoot& root, const fs::path& held, const fs::path&) {
       EXPECT_TRUE(root.CreateDirectories("\\sub\\made\\deeper"));
       EXPECT_TRUE(fs::is_directory(held / "made" / "deeper"));
     }},
    {"cleanup", Swap::kDirectory,
     [](DataRoot& root, const fs::path& held, const fs::path&) {
       EXPECT_EQ(root.RemoveLeftoverTemporaries(kDoc), 1u);
       EXPECT_EQ(test::Entries(held), Names{"doc.xml"});
     }},
    {"read of a file swapped", Swap::kFile,
     [](DataRoot& root, const fs::path&, const fs::path&) {
       std::string contents;
       EXPECT_EQ(root.ReadWholeFile(kDoc, contents), ReadStatus::kFailed);
       EXPECT_EQ(contents, "");
     }},
    {"write over a file swapped", Swap::kFile,
     [](DataRoot& root, const fs::path& held, const fs::path&) {
       EXPECT_TRUE(root.WriteFileAtomic(kDoc, "new"));
       EXPECT_FALSE(fs::is_symlink(held / "doc.xml"));
       EXPECT_EQ(test::ReadNative(held / "doc.xml"), "new");
     }},
    {"delete of a file swapped", Swap::kFile,
     [](DataRoot& root, const fs::path& held, const fs::path&) {
       EXPECT_TRUE(root.RemoveFile(kDoc));
       EXPECT_FALSE(fs::exists(fs::symlink_status(held / "doc.xml")));
     }},
};

class SwapTest : public ::testing::TestWithParam<std::tuple<SwapCase, bool>> {
 protected:
  void SetUp() override {
    temp_.Write("sub/doc.xml", "inside");
    temp_.Write("sub/doc.xml.tmp-0123456789abcdef", "left");
    test::WriteNative(top_ / "outside/doc.xml", "keep");
    test::WriteNative(top_ / "outside/doc.xml.tmp-0123456789abcdef", "left");
    const std::string error = test::MakeLink(top_ / "outside", top_ / "probe", test::LinkKind::kDirectory);
    if (!error.empty()) GTEST_SKIP() << "this system cannot make a directory link here (" << error << ")";
    fs::remove(top_ / "probe");
  }

  // Swaps once, at the first call the swap is waiting for.
  void Before(const FileCall& call, const fs::path& path) {
    if (swapped_) return;
    const fs::path sub = fs::canonical(temp_.dir()) / "sub";
    if (std::get<0>(GetParam()).swap == Swap::kDirectory) {
      if (call.directory == kPlainPath || path.parent_path() != sub) return;
      fs::rename(temp_.dir() / "sub", temp_.dir() / "moved");
      swapped_ = test::MakeLink(top_ / "outside", temp_.dir() / "sub", test::LinkKind::kDirectory).empty();
    } else {
      if (path != sub / "doc.xml" || call.call == "fstatat") return;
      fs::remove(path);
      swapped_ = test::MakeLink(top_ / "outside" / "doc.xml", path, test::LinkKind::kFile).empty();
    }
  }

  test::TempRoot temp_;
  const fs::path& top_ = temp_.top();
  bool swapped_ = false;
};

TEST_P(SwapTest, WhatWasCheckedIsWhatIsUsed) {
  const auto& [c, kernel_walk] = GetParam();
  {
    test::FileCallLog log(kernel_walk, [this](const FileCall& call, const fs::path& path) { Before(call, path); });
    const fs::path held = temp_.dir() / (c.swap == Swap::kDirectory ? "moved" : "sub");
    c.run(*temp_.root(), held, temp_.dir());
    ASSERT_TRUE(swapped_) << "the operation never reached the moment of the swap";
    if (test::FileCallLog::CanNameHandles()) {
      EXPECT_EQ(log.Outside({temp_.dir(), fs::canonical(temp_.dir())}), "") << "of " << log.size() << " calls";
    }
  }
  EXPECT_EQ(test::Entries(top_ / "outside"), (Names{"doc.xml", "doc.xml.tmp-0123456789abcdef"}));
  EXPECT_EQ(test::ReadNative(top_ / "outside/doc.xml"), "keep");
}

INSTANTIATE_TEST_SUITE_P(Swaps, SwapTest, ::testing::Combine(::testing::ValuesIn(kSwaps), ::testing::Bool()),
                         [](const auto& info) {
                           std::string name = std::get<0>(info.param).name;
                           for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
                           return name + (std::get<1>(info.param) ? "" : "__one_by_one");
                         });

// Without any link, too, every name handed to the system is the root's or
// lies below it: the operations act through the walk's handles.
TEST(FileCallTest, OrdinaryOperationsNameNothingBesideTheRoot) {
  if (!test::FileCallLog::CanNameHandles()) GTEST_SKIP() << "this system cannot name an open directory";
  test::TempRoot temp;
  temp.Write("Calendar/index.xml", "old");
  temp.Write("Calendar/index.xml.tmp-0123456789abcdef", "left");
  DataRoot& root = *temp.root();
  std::string contents;
  test::FileCallLog log;
  EXPECT_TRUE(root.CreateDirectories("\\calendar\\2005\\05"));
  EXPECT_TRUE(root.WriteFileAtomic("\\calendar\\2005\\05\\month.xml", "new"));
  EXPECT_EQ(root.ReadWholeFile("\\calendar\\index.xml", contents), ReadStatus::kRead);
  EXPECT_EQ(root.RemoveLeftoverTemporaries("\\calendar\\index.xml"), 1u);
  EXPECT_TRUE(root.RenameFile("\\calendar\\2005\\05\\month.xml", "\\calendar\\moved.xml"));
  EXPECT_TRUE(root.FileExists("\\calendar\\moved.xml"));
  EXPECT_TRUE(root.RemoveFile("\\calendar\\moved.xml"));
  EXPECT_GT(log.size(), 10u);
  EXPECT_EQ(log.Outside({temp.dir(), fs::canonical(temp.dir())}), "");
}

#ifdef __linux__
// The paths a strace line of a call that takes a path names: each
// descriptor's ("3</a/b>", the result's too) and the path argument, joined
// to the descriptor before it when relative.
std::vector<std::pair<fs::path, bool>> NamedPaths(const std::string& line) {
  std::vector<std::pair<fs::path, bool>> paths;  // the path, and whether the call was given it whole
  const size_t quote = line.find('"');
  fs::path directory;
  for (size_t at = line.find('<'); at != std::string::npos; at = line.find('<', at + 1)) {
    const size_t end = line.find('>', at);
    if (end == std::string::npos) break;
    const fs::path named = line.substr(at + 1, end - at - 1);
    if (at < quote) directory = named;
    if (at < 8 || line.compare(at - 8, 8, "AT_FDCWD") != 0) paths.emplace_back(named, false);
  }
  if (quote != std::string::npos) {
    const std::string name = line.substr(quote + 1, line.find('"', quote + 1) - quote - 1);
    if (name.starts_with('/')) paths.emplace_back(name, true);
    else paths.emplace_back(directory / name, false);
  }
  return paths;
}

// Every operation on paths through links that lead out, under strace: the
// only paths outside the root named are the root's own ancestors, asked
// for (by realpath) to learn where the root lies.
TEST(TracedConfinementTest, NoCallNamesAPathOutsideTheRoot) {
  const test::ProgramResult works = test::RunProgram("strace", {"-o", "/dev/null", "true"});
  if (works.exit_code != 0) {
    GTEST_SKIP() << "strace is missing or cannot trace here (" << works.err
                 << "): the system's own record is left out; LinkTest checks the platform layer's";
  }
  test::TempRoot temp;
  const fs::path top = fs::canonical(temp.top());
  const fs::path root = top / "root";
  temp.Write("real/doc.xml", "inside");
  temp.Write("in.xml", "in");
  test::WriteNative(top / "outside/canary.xml", "keep");
  const std::pair<const char*, fs::path> links[] = {
      {"out", "../outside"}, {"absolute", top / "outside"}, {"parent", ".."}, {"real/up", "../../outside"},
      {"file", "../outside/canary.xml"}, {"chain", "hop"}, {"hop", "../outside"}, {"back", "../root/real"},
      {"inside", root / "real"}};
  for (const auto& [name, target] : links) {
    ASSERT_EQ(test::MakeLink(target, root / name, test::LinkKind::kDirectory), "") << name;
  }
  const fs::path log = top / "trace";
  const test::ProgramResult traced = test::RunProgram(
      "strace", {"-f", "-y", "-qq", "-e", "trace=%file,getdents64,fstat,fsync,flock,fchmod,fcntl", "-o", log.string(),
                 "-E", "ASAN_OPTIONS=detect_leaks=0",  // LeakSanitizer cannot work under ptrace
                 ZDS_CONFINEMENT_PROBE_PATH,
                 root.string(), "\\out\\canary.xml", "\\absolute\\canary.xml", "\\parent\\outside\\canary.xml",
                 "\\real\\up\\canary.xml", "\\file", "\\chain\\canary.xml", "\\back\\doc.xml", "\\inside\\doc.xml"});
  ASSERT_EQ(traced.exit_code, 0) << traced.err;
  std::istringstream lines(test::ReadNative(log));
  std::string line, outside;
  bool begun = false;
  size_t calls = 0;
  while (std::getline(lines, line)) {
    if (!begun) {
      begun = line.find("zds-probe-begin") != std::string::npos;
      continue;
    }
    ++calls;
    for (const auto& [path, whole] : NamedPaths(line)) {
      const bool ancestor = whole && test::Within(root, path);
      if (test::Within(path, top) && !test::Within(path, root) && !ancestor) outside += line + "\n";
    }
  }
  EXPECT_TRUE(begun) << "the probe's marker is not in the trace";
  EXPECT_GT(calls, 100u);
  EXPECT_EQ(outside, "");
  EXPECT_EQ(test::Entries(top / "outside"), Names{"canary.xml"});
  EXPECT_EQ(test::ReadNative(top / "outside/canary.xml"), "keep");
}
#endif

}  // namespace
}  // namespace zds::platform

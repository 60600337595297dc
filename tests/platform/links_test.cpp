// Links inside the data root: one that stays inside works like what it
// names, one that leads out is refused by every operation, nothing outside
// changes, and no call the data root makes names anything outside it (the
// walk that opens the directories in one call, and the one by one walk).
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <system_error>
#include <tuple>
#include <vector>

#include "zds/platform/files.h"
#include "support/links.h"
#include "support/temp_root.h"

namespace zds::platform {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using test::LinkKind;

struct LinkCase {
  const char* name;
  const char* link;    // below the root, "/" separated
  fs::path target;     // relative to the link's directory unless `absolute`
  LinkKind kind;
  bool absolute;
  bool leads_out;
  bool chained = false;  // the link names a second link beside it, "hop", which names the target
  bool directory() const { return kind != LinkKind::kFile; }
};

std::ostream& operator<<(std::ostream& out, const LinkCase& c) { return out << c.name; }

const fs::path kUp = "..";
constexpr LinkKind kDir = LinkKind::kDirectory;
constexpr LinkKind kFile = LinkKind::kFile;
const LinkCase kCases[] = {
    {"directory link out", "lnkdir", kUp / "outside", kDir, false, true},
    {"directory link out, absolute", "lnkdir", "outside", kDir, true, true},
    {"directory link out from a subdirectory", "real/lnkdir", kUp / kUp / "outside", kDir, false, true},
    {"directory link to the root's parent", "lnkdir", kUp, kDir, false, true},
    {"file link out", "lnkfile.xml", kUp / "outside" / "canary.xml", kFile, false, true},
    {"file link out, absolute", "lnkfile.xml", fs::path("outside") / "canary.xml", kFile, true, true},
    {"link chain out", "lnkdir", kUp / "outside", kDir, false, true, true},
    {"file link chain out", "real/lnkfile.xml", fs::path("outside") / "canary.xml", kFile, true, true, true},
    {"directory link inside", "lnkdir", "real", kDir, false, false},
    {"directory link out and back in", "lnkdir", kUp / "root" / "real", kDir, false, false},
    {"directory link inside, absolute", "lnkdir", fs::path("root") / "real", kDir, true, false},
    {"file link inside", "lnkfile.xml", fs::path("real") / "doc.xml", kFile, false, false},
    {"link chain inside", "lnkdir", kUp / "root" / "real", kDir, false, false, true},
    {"file link climbing from a subdirectory", "real/sub/lnkfile.xml", kUp / "doc.xml", kFile, false, false},
#ifdef _WIN32
    {"junction out", "lnkdir", "outside", LinkKind::kJunction, true, true},
    {"junction inside", "lnkdir", fs::path("root") / "real", LinkKind::kJunction, true, false},
#endif
};

class LinkTest : public ::testing::TestWithParam<std::tuple<LinkCase, bool>> {
 protected:
  void SetUp() override {
    test::WriteNative(top_ / "outside/canary.xml", "keep");
    test::WriteNative(top_ / "outside/canary.xml.tmp-0123456789abcdef", "left");
    test::WriteNative(top_ / "root/real/doc.xml", "inside");
    const LinkCase& c = Case();
    const fs::path target = c.absolute ? top_ / c.target : c.target;
    const char* kind = c.kind == LinkKind::kJunction ? "junction" : c.directory() ? "directory link" : "file link";
    const fs::path link = top_ / "root" / c.link;
    fs::create_directories(link.parent_path());
    std::string error = test::MakeLink(c.chained ? fs::path("hop") : target, link, c.kind);
    if (error.empty() && c.chained) error = test::MakeLink(target, link.parent_path() / "hop", c.kind);
    if (!error.empty()) GTEST_SKIP() << "this system cannot make a " << kind << " here (" << error << ")";
    // Stored paths through the link: to the file it leads to, and beside it.
    std::string stored = c.link;
    std::replace(stored.begin(), stored.end(), '/', '\\');
    through_ = "\\" + stored + (c.directory() ? (c.leads_out ? "\\canary.xml" : "\\doc.xml") : "");
    if (std::string(c.name) == "directory link to the root's parent") through_ = "\\lnkdir\\outside\\canary.xml";
    beside_ = c.directory() ? "\\" + stored + "\\new.xml" : "\\" + stored + ".new";
  }
  const LinkCase& Case() const { return std::get<0>(GetParam()); }
  bool KernelWalk() const { return std::get<1>(GetParam()); }
  std::string Get(const char* name) { return test::ReadNative(top_ / name); }

  test::TempRoot temp_;
  const fs::path& top_ = temp_.top();
  DataRoot& root_ = *temp_.root();
  std::string through_, beside_;
};

TEST_P(LinkTest, LinksLeadingOutAreRefusedOthersWork) {
  const LinkCase& c = Case();
  std::string contents;
  test::FileCallLog log(KernelWalk());
  if (c.leads_out) {
    EXPECT_FALSE(root_.Resolve(through_));
    EXPECT_EQ(root_.ReadWholeFile(through_, contents), ReadStatus::kFailed);
    EXPECT_FALSE(root_.FileExists(through_));
    EXPECT_FALSE(root_.WriteFileAtomic(through_, "lost"));
    EXPECT_FALSE(root_.RenameFile(through_, "\\moved.xml"));
    if (c.directory()) {  // new names behind a directory link
      EXPECT_FALSE(root_.DirectoryExists(StoredDirectoryOf(beside_)));
      EXPECT_FALSE(root_.WriteFileAtomic(beside_, "lost"));
      EXPECT_FALSE(root_.RenameFile("\\real\\doc.xml", beside_));
      EXPECT_FALSE(root_.CreateDirectories(std::string(StoredDirectoryOf(beside_)) + "\\made"));
    }
    EXPECT_EQ(root_.RemoveLeftoverTemporaries(through_), 0u);
    EXPECT_FALSE(root_.RemoveFile(through_));
    EXPECT_EQ(Get("outside/canary.xml"), "keep");
    EXPECT_EQ(Get("root/real/doc.xml"), "inside");
  } else {
    EXPECT_TRUE(root_.Resolve(through_));
    ASSERT_EQ(root_.ReadWholeFile(through_, contents), ReadStatus::kRead);
    EXPECT_EQ(contents, "inside");
    EXPECT_TRUE(root_.FileExists(through_));
    ASSERT_TRUE(root_.WriteFileAtomic(beside_, "new"));
    ASSERT_TRUE(root_.FileExists(beside_));
    if (c.directory()) {
      EXPECT_EQ(Get("root/real/new.xml"), "new");
      EXPECT_TRUE(root_.CreateDirectories(std::string(StoredDirectoryOf(beside_)) + "\\made"));
      EXPECT_TRUE(fs::is_directory(top_ / "root/real/made"));
      EXPECT_TRUE(root_.RenameFile(beside_, std::string(StoredDirectoryOf(beside_)) + "\\made\\new.xml"));
      EXPECT_TRUE(fs::exists(top_ / "root/real/made/new.xml"));
    } else {  // a write through a file link replaces the file it names
      ASSERT_TRUE(root_.WriteFileAtomic(through_, "rewritten"));
      EXPECT_EQ(Get("root/real/doc.xml"), "rewritten");
    }
    EXPECT_TRUE(root_.RemoveFile(through_));
  }
  EXPECT_EQ(test::Entries(top_ / "outside"), (Names{"canary.xml", "canary.xml.tmp-0123456789abcdef"}));
  if (test::FileCallLog::CanNameHandles()) {
    EXPECT_EQ(log.Outside({temp_.dir(), fs::canonical(temp_.dir())}), "") << "of " << log.size() << " calls";
  }
}

INSTANTIATE_TEST_SUITE_P(Links, LinkTest, ::testing::Combine(::testing::ValuesIn(kCases), ::testing::Bool()),
                         [](const auto& info) {
                           std::string name = std::get<0>(info.param).name;
                           for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
                           return name + (std::get<1>(info.param) ? "" : "__one_by_one");
                         });

}  // namespace
}  // namespace zds::platform

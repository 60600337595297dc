// Links inside the data root: one that stays inside works like what it
// names, one that leads out is refused by every operation, and nothing
// outside changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "zds/platform/files.h"
#include "support/temp_root.h"

#ifdef _WIN32
#include "zds/platform/win32/windows_api.h"

#include <winioctl.h>  // after <windows.h>, which it needs
#endif

namespace zds::platform {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

enum class LinkKind { kFile, kDirectory, kJunction };

struct LinkCase {
  const char* name;
  const char* link;    // below the root, "/" separated
  fs::path target;     // relative to the link's directory unless `absolute`
  LinkKind kind;
  bool absolute;
  bool leads_out;
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
    {"directory link inside", "lnkdir", "real", kDir, false, false},
    {"directory link out and back in", "lnkdir", kUp / "root" / "real", kDir, false, false},
    {"directory link inside, absolute", "lnkdir", fs::path("root") / "real", kDir, true, false},
    {"file link inside", "lnkfile.xml", fs::path("real") / "doc.xml", kFile, false, false},
#ifdef _WIN32
    {"junction out", "lnkdir", "outside", LinkKind::kJunction, true, true},
    {"junction inside", "lnkdir", fs::path("root") / "real", LinkKind::kJunction, true, false},
#endif
};

#ifdef _WIN32
// A junction is a directory whose reparse data names an absolute target.
std::string MakeJunction(const fs::path& target, const fs::path& link) {
  if (!CreateDirectoryA(link.string().c_str(), nullptr)) return "error " + std::to_string(GetLastError());
  const std::wstring name = L"\\??\\" + target.wstring();
  const WORD bytes = static_cast<WORD>(name.size() * sizeof(wchar_t));
  std::vector<char> data(8 + 8 + bytes + 2 * sizeof(wchar_t));
  auto put16 = [&](size_t at, WORD value) { std::memcpy(data.data() + at, &value, 2); };
  const DWORD tag = IO_REPARSE_TAG_MOUNT_POINT;
  std::memcpy(data.data(), &tag, 4);
  put16(4, static_cast<WORD>(data.size() - 8));
  put16(8, 0);                                       // substitute name: offset, length
  put16(10, bytes);
  put16(12, static_cast<WORD>(bytes + sizeof(wchar_t)));  // print name: empty, after it
  put16(14, 0);
  std::memcpy(data.data() + 16, name.data(), bytes);
  HANDLE directory = CreateFileA(link.string().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  DWORD returned = 0;
  bool made = directory != INVALID_HANDLE_VALUE &&
              DeviceIoControl(directory, FSCTL_SET_REPARSE_POINT, data.data(), static_cast<DWORD>(data.size()), nullptr,
                              0, &returned, nullptr);
  DWORD error = GetLastError();
  if (directory != INVALID_HANDLE_VALUE) CloseHandle(directory);
  return made ? std::string() : "error " + std::to_string(error);
}
#endif

// The C++ library of mingw-w64 makes no links, so Windows asks the system.
std::string MakeLink(const fs::path& target, const fs::path& link, LinkKind kind) {
  const bool directory = kind != LinkKind::kFile;
#ifdef _WIN32
  if (kind == LinkKind::kJunction) return MakeJunction(target, link);
  DWORD flags = (directory ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0) | 0x2;  // 0x2: no elevation needed (developer mode)
  if (CreateSymbolicLinkA(link.string().c_str(), target.string().c_str(), flags)) return {};
  return "error " + std::to_string(GetLastError());
#else
  std::error_code error;
  if (directory) fs::create_directory_symlink(target, link, error);
  else fs::create_symlink(target, link, error);
  return error ? error.message() : std::string();
#endif
}

class LinkTest : public ::testing::TestWithParam<LinkCase> {
 protected:
  void SetUp() override {
    test::WriteNative(top_ / "outside/canary.xml", "keep");
    test::WriteNative(top_ / "outside/canary.xml.tmp-0123456789abcdef", "left");
    test::WriteNative(top_ / "root/real/doc.xml", "inside");
    const LinkCase& c = GetParam();
    const fs::path target = c.absolute ? top_ / c.target : c.target;
    const char* kind = c.kind == LinkKind::kJunction ? "junction" : c.directory() ? "directory link" : "file link";
    const std::string error = MakeLink(target, top_ / "root" / c.link, c.kind);
    if (!error.empty()) GTEST_SKIP() << "this system cannot make a " << kind << " here (" << error << ")";
    // Wine's CreateSymbolicLinkA reports success and makes nothing.
    if (!fs::exists(top_ / "root" / c.link)) GTEST_SKIP() << "the system reported a " << kind << " made, but none is there";
    // Stored paths through the link: to the file it leads to, and beside it.
    std::string link = c.link;
    std::replace(link.begin(), link.end(), '/', '\\');
    through_ = "\\" + link + (c.directory() ? (c.leads_out ? "\\canary.xml" : "\\doc.xml") : "");
    if (std::string(c.name) == "directory link to the root's parent") through_ = "\\lnkdir\\outside\\canary.xml";
    beside_ = c.directory() ? "\\" + link + "\\new.xml" : "\\" + link + ".new";
  }
  std::string Get(const char* name) { return test::ReadNative(top_ / name); }

  test::TempRoot temp_;
  const fs::path& top_ = temp_.top();
  DataRoot& root_ = *temp_.root();
  std::string through_, beside_;
};

TEST_P(LinkTest, LinksLeadingOutAreRefusedOthersWork) {
  const LinkCase& c = GetParam();
  std::string contents;
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
    }
    EXPECT_TRUE(root_.RemoveFile(through_));
  }
  EXPECT_EQ(test::Entries(top_ / "outside"), (Names{"canary.xml", "canary.xml.tmp-0123456789abcdef"}));
}

INSTANTIATE_TEST_SUITE_P(Links, LinkTest, ::testing::ValuesIn(kCases), [](const auto& info) {
  std::string name = info.param.name;
  for (char& ch : name) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
  return name;
});

}  // namespace
}  // namespace zds::platform

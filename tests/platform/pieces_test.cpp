// Atomic writes of contents held in pieces: what a document's save uses to
// write the unchanged runs of its text straight from memory.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "zds/platform/files.h"
#include "support/temp_root.h"

namespace zds::platform {
namespace {

using test::TempRoot;

TEST(PiecesWriteTest, PiecesLandInOrderEmptyOnesIncluded) {
  TempRoot temp;
  temp.Write("a.xml", "old contents");
  const std::vector<std::string_view> pieces = {"", "<a>", "", "\r\n", "text", ""};
  ASSERT_TRUE(temp.root()->WriteFileAtomicFromPieces("\\a.xml", pieces));
  EXPECT_EQ(temp.Read("a.xml"), "<a>\r\ntext");
  ASSERT_TRUE(temp.root()->WriteFileAtomicFromPieces("\\a.xml", {}));
  EXPECT_EQ(temp.Read("a.xml"), "");
}

TEST(PiecesWriteTest, ManyMorePiecesThanOneSystemCallTakes) {
  TempRoot temp;
  std::vector<std::string> owned;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    owned.push_back(std::to_string(i) + (i % 7 == 0 ? std::string(3000, 'x') : ","));
    expected += owned.back();
  }
  const std::vector<std::string_view> pieces(owned.begin(), owned.end());
  ASSERT_TRUE(temp.root()->WriteFileAtomicFromPieces("\\many.xml", pieces));
  EXPECT_EQ(temp.Read("many.xml"), expected);
}

TEST(PiecesWriteTest, RefusedPathWritesNothing) {
  TempRoot temp;
  const std::vector<std::string_view> pieces = {"x"};
  EXPECT_FALSE(temp.root()->WriteFileAtomicFromPieces("\\..\\escape.xml", pieces));
  EXPECT_FALSE(temp.root()->WriteFileAtomicFromPieces("", pieces));
  EXPECT_TRUE(temp.Files().empty());
}

}  // namespace
}  // namespace zds::platform

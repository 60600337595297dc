// The import's body writer: every body lands in its file whatever the
// batches it travels in (bodies larger than a batch, many in one), and the
// numbers it reports failed are exactly those whose directory could not be
// made, across batches and after the writer went on elsewhere.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_root.h"
#include "zds/mail/body_writer.h"

namespace zds {
namespace {

using test::TempRoot;

struct Body {
  std::string directory;
  size_t size;
};

TEST(BodyWriterTest, WritesEveryBodyAndNamesTheFailedOnesInOrder) {
  TempRoot temp;
  // A file where the "bad" directory would go: nothing can be made in it.
  temp.Write("bad", "a file");
  std::vector<Body> bodies;
  for (int i = 0; i < 40; ++i) bodies.push_back({i % 7 == 3 ? "bad" : "g" + std::to_string(i / 10), 9000});
  bodies.push_back({"g9", 700'000});  // larger than a batch: travels alone
  bodies.push_back({"bad", 700'000});
  bodies.push_back({"g9", 1});
  for (int i = 0; i < 3; ++i) bodies.push_back({"bad", 10});

  std::vector<size_t> expected_failed;
  std::vector<std::string> texts;
  {
    BodyWriter writer(*temp.root());
    for (size_t n = 0; n < bodies.size(); ++n) {
      texts.push_back(std::string(bodies[n].size, static_cast<char>('a' + n % 26)));
      writer.Write("\\" + bodies[n].directory + "\\" + std::to_string(n) + ".eml", texts.back());
      if (bodies[n].directory == "bad") expected_failed.push_back(n);
    }
    EXPECT_EQ(writer.Finish(), expected_failed);
  }
  for (size_t n = 0; n < bodies.size(); ++n) {
    if (bodies[n].directory == "bad") continue;
    SCOPED_TRACE(n);
    EXPECT_EQ(temp.Read(bodies[n].directory + "/" + std::to_string(n) + ".eml"), texts[n]);
  }
}

TEST(BodyWriterTest, NothingQueuedNothingFailed) {
  TempRoot temp;
  BodyWriter writer(*temp.root());
  EXPECT_TRUE(writer.Finish().empty());
}

TEST(BodyWriterTest, AReadOnlyRootFailsEveryBody) {
  TempRoot temp;
  const platform::DataRoot read_only(temp.dir().string(), platform::RootAccess::kReadOnly);
  BodyWriter writer(read_only);
  writer.Write("\\g\\1.eml", "one");
  writer.Write("\\g\\2.eml", "two");
  EXPECT_EQ(writer.Finish(), (std::vector<size_t>{0, 1}));
  EXPECT_FALSE(temp.Exists("g"));
}

}  // namespace
}  // namespace zds

// The walks over a document's tree: every record in document order, a
// folder's children by kind, the depth of each node, and walks that end
// at the folder they started from, on a tree ten folders deep with
// 100,000 records. The walks keep no stack, so the deepest tree costs
// what its size costs.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "zds/framework/vfdl_walk.h"
#include "support/note_doc.h"

namespace zds {
namespace {

using test::NoteDoc;
using test::NoteRec;

constexpr int kLevels = 10;
constexpr int kRecords = 100'000;

// Ten folders, each inside the one before; every folder holds records
// before its folder and after it, so that a walk must climb back up to
// find the records that follow. Ids rise in document order.
std::string DeepDocument() {
  const int per_side = kRecords / kLevels / 2;
  int id = 0;
  auto next_id = [&id] {
    char text[12];  // room for any int, though ids stay at four digits
    std::snprintf(text, sizeof text, "%04d", ++id);
    return std::string(text);
  };
  auto records = [&](int level) {
    std::string text;
    for (int i = 0; i < per_side; ++i) {
      text += "<rec id=\"" + next_id() + "\" alias=\"r\" stars=\"" + std::to_string(level) + "\"></rec>\n";
    }
    return text;
  };
  std::string text = "<?xml version=\"1.0\" encoding=\"ascii\"?>\n<notes ver=\"1.0\">\n"
                     "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\">\n";
  for (int level = 1; level <= kLevels; ++level) {
    text += "<folder id=\"" + next_id() + "\" alias=\"F" + std::to_string(level) + "\">\n";
    text += records(level);
  }
  for (int level = kLevels; level >= 1; --level) text += records(level) + "</folder>\n";
  return text + "</folder>\n</notes>\n";
}

class WalkTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    doc_ = new NoteDoc;
    ASSERT_TRUE(doc_->SetXml(DeepDocument()));
  }
  static void TearDownTestSuite() { delete doc_; }
  static const CVFDLFolder& Level(int level) {
    const CVFDLNode* node = doc_->GetRoot();
    for (int i = 0; i < level; ++i) node = &*doc_->ChildFolders(*doc_->AsFolder(node)).begin();
    return *doc_->AsFolder(node);
  }
  static NoteDoc* doc_;
};
NoteDoc* WalkTest::doc_ = nullptr;

TEST_F(WalkTest, EveryRecordComesOnceInDocumentOrder) {
  int count = 0, last_id = 0;
  bool rising = true;
  for (const NoteRec& rec : std::as_const(*doc_).Recs()) {
    int id = std::stoi(rec.GetID());
    rising = rising && id > last_id;
    last_id = id;
    ++count;
  }
  EXPECT_EQ(count, kRecords);
  EXPECT_TRUE(rising) << "records come in document order";
  // Below the fifth folder: its own records and those of the five inside it.
  int below = 0;
  for (NoteRec& rec : doc_->Recs(Level(5))) below += rec.GetExtendRec().stars >= 5 ? 1 : 0;
  EXPECT_EQ(below, kRecords / 2 + kRecords / kLevels);
}

TEST_F(WalkTest, DepthsAndKindsOfEveryNodeBelowAFolder) {
  // Records lie one level below their folder: level L's at depth L + 1.
  std::vector<int> records_at(kLevels + 2, 0);
  int folders = 0, deepest = 0;
  for (auto it = Subtree(*doc_->GetRoot()).begin(); it != Subtree(*doc_->GetRoot()).end(); ++it) {
    deepest = std::max(deepest, it.depth());
    if (const NoteRec* rec = doc_->AsRec(&*it)) {
      EXPECT_EQ(it.depth(), rec->GetExtendRec().stars + 1);
      ++records_at[static_cast<size_t>(it.depth())];
    } else {
      ++folders;
    }
  }
  EXPECT_EQ(folders, kLevels);
  EXPECT_EQ(deepest, kLevels + 1);
  EXPECT_EQ(records_at[kLevels + 1], kRecords / kLevels);
  const CVFDLFolder& middle = Level(5);
  EXPECT_EQ(std::distance(doc_->ChildRecs(middle).begin(), doc_->ChildRecs(middle).end()), kRecords / kLevels);
  EXPECT_EQ(std::distance(Children(middle).begin(), Children(middle).end()), kRecords / kLevels + 1);
  ASSERT_EQ(std::distance(doc_->ChildFolders(middle).begin(), doc_->ChildFolders(middle).end()), 1);
  EXPECT_EQ(doc_->ChildFolders(middle).begin()->GetAlias(), "F6");
  EXPECT_TRUE(doc_->ChildFolders(Level(kLevels)).empty());
}

TEST_F(WalkTest, NodesOfAnotherDocumentOrKindAreNotHandedOutTyped) {
  NoteDoc other;
  ASSERT_TRUE(other.SetXml(std::string(test::kNoteTemplate)));
  EXPECT_TRUE(other.Recs(Level(3)).empty()) << "a folder of another document";
  EXPECT_EQ(other.AsRec(&*doc_->Recs().begin()), nullptr);
  EXPECT_EQ(doc_->AsRec(&Level(2)), nullptr) << "a folder is no record";
  EXPECT_EQ(doc_->AsFolder(&*doc_->Recs().begin()), nullptr);
  const CVFDLNode* folder = &Level(2);
  CVFDLNode* rec = &*doc_->Recs().begin();
  EXPECT_EQ(NodeAs<NoteRec>(folder), nullptr);
  EXPECT_NE(NodeAs<NoteRec>(rec), nullptr);
  EXPECT_TRUE(other.Recs().empty());
  EXPECT_TRUE(Subtree(*other.GetRoot()).begin() != Subtree(*other.GetRoot()).end()) << "its Schedule folder";
}

TEST_F(WalkTest, PrecedenceInTheDocumentFollowsTheWalk) {
  const CVFDLFolder& five = Level(5);
  const CVFDLNode* first = nullptr;
  const CVFDLNode* last = nullptr;
  for (const CVFDLNode& child : Children(five)) {
    if (first == nullptr) first = &child;
    last = &child;
  }
  const CVFDLNode& deepest = *doc_->Recs(Level(kLevels)).begin();
  EXPECT_TRUE(PrecedesInDocument(five, *first)) << "a folder before what it holds";
  EXPECT_TRUE(PrecedesInDocument(*first, deepest));
  EXPECT_TRUE(PrecedesInDocument(deepest, *last)) << "what follows a folder comes after all it holds";
  EXPECT_FALSE(PrecedesInDocument(*last, deepest));
  EXPECT_FALSE(PrecedesInDocument(five, five));
}

}  // namespace
}  // namespace zds

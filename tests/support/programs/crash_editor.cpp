// The child of the crash test: edits one note document with auto-save on,
// for ever, and reports each edit once it has returned (and so been saved)
// with one flushed line: "A pos note", "U pos note" or "D pos". Every
// fourth edit it asks for a checkpoint, which a large document's journal
// makes worth killing in too. The parent kills it at a moment of its choosing.
//
// With a TAG, other editors work on the same document at the same time:
// this one touches only the records whose alias begins with its tag, and
// an edit refused as a conflict is made again after a reload, as a host
// makes it.
//
//   crash_editor ROOT SEED [TAG]

#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/note_doc.h"
#include "zds/platform/console.h"

namespace {

constexpr const char* kFolder = "kov:\\Notes\\0001";

void Report(const std::string& line) {
  std::fputs((line + "\n").c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace

// Reloads and edits again while another writer got there first.
template <typename Edit>
bool WithRetries(zds::test::NoteDoc& doc, Edit&& edit) {
  return zds::EditWithReload(doc, edit, nullptr, 1000);
}

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) return 2;
  const std::string tag = argc == 4 ? argv[3] : "";
  zds::platform::UseBinaryStandardStreams();
  zds::test::NoteDoc doc;
  doc.SetDataRoot(std::make_shared<zds::platform::DataRoot>(argv[1]));
  doc.SetAutoSaveFlag(true);
  if (zds::OpenVFDLDoc(doc, "\\crash.xml", "", false) != zds::OpenResult::kLoaded) return 3;
  std::vector<std::string> records;
  const zds::CVFDLFolder* folder = doc.GetFolder(kFolder);
  if (folder == nullptr) return 4;
  for (const zds::CVFDLNode& node : zds::Children(*folder)) {
    if (node.GetAlias().starts_with(tag)) records.push_back(node.GetPos());
  }
  const std::string seed = argv[2];
  std::mt19937 random(static_cast<unsigned>(std::stoul(seed)));
  for (unsigned edit = 0;; ++edit) {
    if (edit % 4 == 3) (void)doc.Checkpoint();  // refused when stale: the next edit catches up
    const std::string note = "n" + seed + "-" + std::to_string(edit);
    const unsigned pick = random() % 4;
    if (pick == 0 || records.empty()) {
      std::string pos;
      auto add = [&] { return !(pos = doc.AddRec(kFolder, zds::test::MakeNote(tag + "added", note), false)).empty(); };
      if (!WithRetries(doc, add)) return 5;
      records.push_back(pos);
      Report("A " + pos + " " + note);
      continue;
    }
    const size_t index = random() % records.size();
    const std::string pos = records[index];
    if (pick == 1) {
      if (!WithRetries(doc, [&] { return doc.DelRec(pos); })) return 6;
      records[index] = records.back();
      records.pop_back();
      Report("D " + pos);
    } else {
      if (!WithRetries(doc, [&] { return doc.UpdateRec(pos, zds::test::MakeNote(tag + "updated", note), false); })) {
        return 7;
      }
      Report("U " + pos + " " + note);
    }
  }
}

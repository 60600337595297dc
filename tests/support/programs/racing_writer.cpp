// The child of the writers' test: adds COUNT records to one note document,
// beside other processes doing the same. A conflict is met as a host meets
// one: reload and add again. Prints "added N conflicts M" at the end.
//
//   racing_writer ROOT NAME COUNT

#include <cstdio>
#include <memory>
#include <string>

#include "support/note_doc.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  zds::test::NoteDoc doc;
  doc.SetDataRoot(std::make_shared<zds::platform::DataRoot>(argv[1]));
  doc.SetAutoSaveFlag(true);
  if (zds::OpenVFDLDoc(doc, "\\shared.xml", "") == zds::OpenResult::kUnusable) return 3;
  const std::string name = argv[2];
  const int count = std::stoi(argv[3]);
  int added = 0, conflicts = 0;
  for (; added < count; ++added) {
    const std::string note = name + "-" + std::to_string(added);
    auto add = [&] {
      if (!doc.AddRec("kov:\\Notes\\0001", zds::test::MakeNote(note, note), false).empty()) return true;
      conflicts += doc.GetLastEditStatus() == zds::EditStatus::kConflict ? 1 : 0;
      return false;
    };
    if (!zds::EditWithReload(doc, add, nullptr, 1000)) return 4;
  }
  std::printf("added %d conflicts %d\n", added, conflicts);
  return 0;
}

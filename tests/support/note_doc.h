// A document family of the tests' own, written the way every family is:
// root tag "notes", records "rec" with a field of each kind the codecs know
// and "item" child lines, folders with a field of their own, and folders
// that may stand for further documents. Like some real families it refuses
// a record without a closing line.

#ifndef ZDS_TESTS_SUPPORT_NOTE_DOC_H_
#define ZDS_TESTS_SUPPORT_NOTE_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/family.h"
#include "zds/framework/field_lines.h"

namespace zds::test {

inline constexpr std::string_view kNoteTemplate =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<notes ver=\"1.0\">\r\n"
    "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\">\r\n"
    "<folder id=\"0001\" alias=\"Schedule\" attribute=\"undel\">\r\n</folder>\r\n"
    "</folder>\r\n</notes>\r\n";

// ---- the family: 37 lines ----
class NoteExtend : public CVFDLExtendBase<NoteExtend> {
 public:
  std::string note;
  bool pinned = false;  // "pinned": "yes" exactly
  bool shared = false;  // "shared": "yes" in any case
  int stars = 0;        // atoi
  int level = 2;        // "low", "high"; anything else is 2 and not written
  std::vector<std::string> items;
  bool operator==(const NoteExtend&) const = default;
};
class NoteRec : public CVFDLTypedRec<NoteRec, NoteExtend> {};

class ShelfExtend : public CVFDLExtendBase<ShelfExtend> {
 public:
  std::string colour;
  bool operator==(const ShelfExtend&) const = default;
};
class ShelfFolder : public CVFDLTypedFolder<ShelfFolder, ShelfExtend> {};

inline constexpr auto kLevels =
    field::MakeWords(field::kWords.ReadingUnknownAs(2), field::Word{1, "low"}, field::Word{3, "high"});

class NoteDoc : public CVFDLFamily<NoteDoc, CCASDVFDLDoc, NoteRec, ShelfFolder> {
 public:
  static constexpr CFamilyInfo kFamily{"NoteDoc", "notes"};
  static constexpr auto kRecFields =
      field::List(field::Of("note", &NoteExtend::note, field::kTextUnlessEmpty),
                  field::Of("pinned", &NoteExtend::pinned, field::kFlagExact),
                  field::Of("shared", &NoteExtend::shared, field::kFlagNoCase),
                  field::Of("stars", &NoteExtend::stars, field::kAtoi), field::Of("level", &NoteExtend::level, kLevels),
                  field::ChildLines("item", &NoteExtend::items, field::ValueIn{"value"}))
          .RequiringClosingLine();
  static constexpr auto kFolderFields = field::List(field::Of("colour", &ShelfExtend::colour, field::kTextUnlessEmpty));

 protected:
  std::string GetTemplateText() const override { return std::string(kNoteTemplate); }
};
// ---- end of the family ----

// Knows the test family by its own name.
inline const CRTTIRegistry& NoteRegistry() {
  static const CRTTIRegistry registry = [] {
    CRTTIRegistry filled;
    RegisterFamily<NoteDoc>(filled);
    return filled;
  }();
  return registry;
}

inline NoteRec MakeNote(std::string_view alias, std::string_view note, std::vector<std::string> items = {}) {
  NoteRec rec;
  rec.SetAlias(alias);
  rec.SetAttribute("normal");
  rec.GetExtendRec().note = note;
  rec.GetExtendRec().items = std::move(items);
  return rec;
}

}  // namespace zds::test

#endif  // ZDS_TESTS_SUPPORT_NOTE_DOC_H_

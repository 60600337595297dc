// A document kind of the tests' own, built as every family is: root tag
// "notes", records "rec" with a field "note" and "item" child lines, folders
// that may stand for further documents. Like some real kinds it refuses a
// record without a closing line.

#ifndef ZDS_TESTS_SUPPORT_NOTE_DOC_H_
#define ZDS_TESTS_SUPPORT_NOTE_DOC_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/casd_vfdl_doc.h"

namespace zds::test {

inline constexpr std::string_view kNoteTemplate =
    "<?xml version=\"1.0\" encoding=\"ascii\"?>\r\n<notes ver=\"1.0\">\r\n"
    "<folder id=\"0000\" alias=\"Notes\" attribute=\"root\">\r\n"
    "<folder id=\"0001\" alias=\"Schedule\" attribute=\"undel\">\r\n</folder>\r\n"
    "</folder>\r\n</notes>\r\n";

class NoteExtend : public CVFDLExtendBase<NoteExtend> {
 public:
  std::string note;
  std::vector<std::string> items;
  bool operator==(const NoteExtend&) const = default;
};

class NoteRec : public CVFDLTypedRec<NoteRec, NoteExtend> {};

class NoteDoc : public CCASDVFDLDoc {
 public:
  static std::unique_ptr<CRTTIObject> CreateObject() { return CreateRTTIObject<NoteDoc>(); }
  std::string_view GetRTTIClass() const override { return "NoteDoc"; }

 protected:
  std::string GetTemplateText() const override { return std::string(kNoteTemplate); }
  std::string_view GetRootTag() const override { return "notes"; }
  std::unique_ptr<CVFDLRec> NewRecPointer() const override { return std::make_unique<NoteRec>(); }
  bool InitExtendRecItem(CXMLElementReader& item, CVFDLRec& rec) override {
    if (!item.HasClosingLine()) return false;
    auto& extend = static_cast<NoteRec&>(rec).GetExtendRec();
    extend.note = item.GetAttrValue("note");
    for (CXMLElementReader& child : item.GetChildren()) {
      if (child.GetTag() != "item") continue;
      child.MarkRead();
      extend.items.push_back(child.GetAttrValue("value"));
    }
    return true;
  }
  void CreateExtendRecText(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& lines) const override {
    const auto& extend = static_cast<const NoteRec&>(rec).GetExtendRec();
    if (!extend.note.empty()) line.AddAttribute("note", extend.note);
    for (const std::string& value : extend.items) {
      CXMLLine item;
      item.SetLine("item", true, CXMLLine::Type::kElement);
      item.AddAttribute("value", value);
      lines.push_back(item.GetLine(true));
    }
  }
};

// Knows the test kind by its own name and by names of classes not built yet.
inline const CRTTIRegistry& NoteRegistry() {
  static const CRTTIRegistry registry = [] {
    CRTTIRegistry filled;
    for (const char* name : {"NoteDoc", "CCalendarDoc"}) filled.Register(name, &NoteDoc::CreateObject);
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

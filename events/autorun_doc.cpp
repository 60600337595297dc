#include "zds/events/autorun_doc.h"

#include "zds/framework/field_codec.h"

namespace zds {
namespace {

// An unknown or missing type word reads as unknown and is written empty.
constexpr auto kTypeWords =
    field::MakeWords(field::kWords.ReadingUnknownAs(kAutoRunUnknown).WritingUnknownAs(""), field::Word{kAutoRunZds, "zds"},
                     field::Word{kAutoRunQfs, "qfs"}, field::Word{kAutoRunKfs, "kfs"});

constexpr auto kAutoRunFields = field::List(field::Of("type", &CAutoRunExtendRec::type, kTypeWords),
                                            field::Of("description", &CAutoRunExtendRec::description));

}  // namespace

std::string_view AutoRunTypeWord(int type) { return kTypeWords.WordOf(type).value_or(""); }

CVFDLFolder* CAutoRunDoc::GetGroupNode(std::string_view name) {
  if (GetRoot() == nullptr) return nullptr;
  for (CVFDLNode* child = GetRoot()->GetFirstChild(); child; child = child->GetNextSibling()) {
    if (child->IsFolder() && child->GetAlias() == name) return static_cast<CVFDLFolder*>(child);
  }
  if (name != "default") return nullptr;
  return GetFolder(CreateGroup(name));
}

std::string CAutoRunDoc::CreateGroup(std::string_view name) {
  if (GetRoot() == nullptr) return std::string();
  CVFDLFolder group;
  group.SetAlias(name);
  return AddFolder(GetRoot()->GetPos(), group, true);
}

bool CAutoRunDoc::InitExtendRecItem(CXMLElementReader& item, CAutoRunExtendRec& run) {
  kAutoRunFields.Read(item, run);
  return true;
}

void CAutoRunDoc::CreateExtendRecText(const CAutoRunExtendRec& run, CXMLLine& line,
                                      std::vector<std::string>& /*lines*/) const {
  kAutoRunFields.Write(run, line);
}

}  // namespace zds

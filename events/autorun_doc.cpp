#include "events/autorun_doc.h"

#include "resources/string_table.h"

namespace zds {

std::string_view AutoRunTypeWord(int type) {
  switch (type) {
    case kAutoRunZds: return "zds";
    case kAutoRunQfs: return "qfs";
    case kAutoRunKfs: return "kfs";
    default: return {};
  }
}

int AutoRunTypeFromWord(std::string_view word) {
  for (int type : {kAutoRunZds, kAutoRunQfs, kAutoRunKfs}) {
    if (word == AutoRunTypeWord(type)) return type;
  }
  return kAutoRunUnknown;
}

std::string CAutoRunDoc::GetTemplateText() const { return LoadTemplate(res::kAutoRunTemplate); }

CVFDLFolder* CAutoRunDoc::GetGroupNode(std::string_view name) {
  if (GetRoot() == nullptr) return nullptr;
  for (CVFDLNode* child = GetRoot()->GetFirstChild(); child; child = child->GetNextSibling()) {
    if (child->IsFolder() && child->GetAlias() == name) return static_cast<CVFDLFolder*>(child);
  }
  if (name != "default") return nullptr;
  return GetFolderByPos(CreateGroup(name));
}

std::string CAutoRunDoc::CreateGroup(std::string_view name) {
  if (GetRoot() == nullptr) return std::string();
  CVFDLFolder group;
  group.SetAlias(name);
  return AddFolder(GetRoot()->GetPos(), group, true);
}

bool CAutoRunDoc::InitExtendRecItem(CXMLElementReader& item, CVFDLRec& rec) {
  CAutoRunExtendRec& run = static_cast<CAutoRunRec&>(rec).GetExtendRec();
  run.type = AutoRunTypeFromWord(item.GetAttrValue("type"));
  run.description = item.GetAttrValue("description");
  return true;
}

void CAutoRunDoc::CreateExtendRecText(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& /*lines*/) const {
  const auto* stored = dynamic_cast<const CAutoRunExtendRec*>(rec.GetExtend());
  const CAutoRunExtendRec defaults;
  const CAutoRunExtendRec& run = stored ? *stored : defaults;
  line.AddAttribute("type", AutoRunTypeWord(run.type));
  line.AddAttribute("description", run.description);
}

}  // namespace zds

#include "zds/events/autorun_doc.h"

namespace zds {

std::string_view AutoRunTypeWord(int type) { return kAutoRunTypeWords.WordOf(type).value_or(""); }

CVFDLFolder* CAutoRunDoc::GetGroupNode(std::string_view name) {
  if (GetRoot() == nullptr) return nullptr;
  for (CVFDLFolder& group : ChildFolders(*GetRoot())) {
    if (group.GetAlias() == name) return &group;
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

}  // namespace zds

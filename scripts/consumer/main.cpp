#include <iostream>

#include "zds/resources/string_table.h"
#include "zds/store/aidl_doc.h"

int main() {
  zds::CAIDLDoc index;
  if (!index.SetXml(zds::LoadTemplate(zds::res::kAidlTemplateHead, zds::res::kAidlTemplateTail))) return 1;
  index.InitVFDLDoc("", "kov:");
  std::cout << "consumer: " << index.GetNodeByPath("kov:\\Velmora\\Calendar")->GetPos() << '\n';
  return 0;
}

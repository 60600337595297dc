#include "zds/framework/rtti.h"

namespace zds {

void CRTTIRegistry::Register(std::string_view class_name, RTTIFactory factory) {
  factories_.insert_or_assign(std::string(class_name), factory);
}

bool CRTTIRegistry::IsRegistered(std::string_view class_name) const {
  return factories_.find(class_name) != factories_.end();
}

std::vector<std::string> CRTTIRegistry::GetClassNames() const {
  std::vector<std::string> names;
  names.reserve(factories_.size());
  for (const auto& [name, factory] : factories_) names.push_back(name);
  return names;
}

std::unique_ptr<CRTTIObject> CRTTIRegistry::CreateObject(std::string_view class_name) const {
  auto it = factories_.find(class_name);
  return it == factories_.end() ? nullptr : it->second();
}

}  // namespace zds

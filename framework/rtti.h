// The run-time class registry: documents are created from the class name a
// folder's content descriptor names ("midl;class=CMIDLDoc;os=universal").
//
// A registry is a plain object that its owner fills (the facade owns the
// store's) and hands to the documents that open others. Classes are
// registered explicitly, each folder's by one function (RegisterFamily in
// family.h), rather than by static objects, which a static link would
// silently drop.

#ifndef ZDS_FRAMEWORK_RTTI_H_
#define ZDS_FRAMEWORK_RTTI_H_

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zds {

class CRTTIObject {
 public:
  virtual ~CRTTIObject() = default;
  virtual std::string_view GetRTTIClass() const = 0;
};

using RTTIFactory = std::unique_ptr<CRTTIObject> (*)();

class CRTTIRegistry {
 public:
  void Register(std::string_view class_name, RTTIFactory factory);
  bool IsRegistered(std::string_view class_name) const;
  // Every registered name, in byte order.
  std::vector<std::string> GetClassNames() const;
  // A new object of the named class, or null when the name is unknown.
  std::unique_ptr<CRTTIObject> CreateObject(std::string_view class_name) const;

 private:
  std::map<std::string, RTTIFactory, std::less<>> factories_;
};

// Helper for the static CreateObject every registered class carries.
template <typename T>
std::unique_ptr<CRTTIObject> CreateRTTIObject() {
  return std::make_unique<T>();
}

// A new object of the named class as a T, or null when the name is unknown
// or names a class that is not a T.
template <typename T>
std::unique_ptr<T> CreateObjectAs(const CRTTIRegistry& registry, std::string_view class_name) {
  std::unique_ptr<CRTTIObject> object = registry.CreateObject(class_name);
  auto* typed = dynamic_cast<T*>(object.get());
  if (typed == nullptr) return nullptr;
  object.release();
  return std::unique_ptr<T>(typed);
}

}  // namespace zds

#endif  // ZDS_FRAMEWORK_RTTI_H_

// Any bytes as a document of each class the store registers: no crash, and
// text that loads saves to a text that loads again and saves the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zds/framework/vfdl_doc.h"
#include "zds/store/classes.h"

namespace {

const zds::CRTTIRegistry& Registry() {
  static const zds::CRTTIRegistry registry = [] {
    zds::CRTTIRegistry filled;
    zds::RegisterAllClasses(filled);
    return filled;
  }();
  return registry;
}

// Every class the store can open a document as.
const std::vector<std::string>& Classes() {
  static const std::vector<std::string> names = Registry().GetClassNames();
  return names;
}

void SaveReloadSave(const std::string& class_name, const std::string& text) {
  auto doc = zds::CreateObjectAs<zds::CVFDLDoc>(Registry(), class_name);
  if (!doc) return;  // a registered class that is no document
  if (!doc->SetXml(text)) return;
  const std::string saved = doc->GetXml();
  auto again = zds::CreateObjectAs<zds::CVFDLDoc>(Registry(), class_name);
  if (!again->SetXml(saved)) std::abort();
  if (again->GetXml() != saved) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const std::string& class_name : Classes()) SaveReloadSave(class_name, text);
  return 0;
}

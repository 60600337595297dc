// Any bytes as a document of each class the store registers: no crash, and
// text that loads saves to a text that loads again and saves the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "framework/rtti.h"
#include "framework/vfdl_doc.h"

namespace {

// The classes tried, by the names the registry knows them by. The class
// registration is being reworked: this list is the one place to follow it.
constexpr const char* kClasses[] = {"CVFDLDoc",  "CCASDVFDLDoc", "CNotepadDoc", "CAIDLDoc",
                                    "CAEventDoc", "CMonitorDoc",  "CAutoRunDoc"};

const zds::CRTTIRegistry& Registry() {
  static const zds::CRTTIRegistry registry = [] {
    zds::CRTTIRegistry filled;
    zds::RegisterAllClasses(filled);
    return filled;
  }();
  return registry;
}

void SaveReloadSave(const char* class_name, const std::string& text) {
  auto doc = zds::CreateObjectAs<zds::CVFDLDoc>(Registry(), class_name);
  if (!doc) std::abort();  // the list above has gone out of step with the registry
  if (!doc->SetXml(text)) return;
  const std::string saved = doc->GetXml();
  auto again = zds::CreateObjectAs<zds::CVFDLDoc>(Registry(), class_name);
  if (!again->SetXml(saved)) std::abort();
  if (again->GetXml() != saved) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const char* class_name : kClasses) SaveReloadSave(class_name, text);
  return 0;
}

// The scanner on any bytes: no crash, the same verdict as IsWellFormedXml,
// and on text it accepts, leads, tags and the trailing text put back
// together are the input byte for byte (what lets a document be written
// back unchanged).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/xml_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  zds::XmlScanner scanner(text);
  zds::XmlToken token;
  std::vector<zds::XmlAttribute> attributes;
  std::string rebuilt;
  while (scanner.Next(token, attributes)) {
    if (scanner.offset_of(token.lead) != rebuilt.size()) std::abort();
    rebuilt.append(token.lead).append(token.raw);
    for (const zds::XmlAttribute& attribute : attributes) {
      if (attribute.name.empty() || token.raw.find(attribute.spelling) == std::string_view::npos) std::abort();
    }
  }
  if (scanner.failed() == zds::IsWellFormedXml(text)) std::abort();
  if (!scanner.failed() && rebuilt + std::string(scanner.trailing()) != text) std::abort();
  return 0;
}

// Attribute values: any bytes escape to a text the scanner takes as a
// value and that decodes to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "zds/framework/xml_text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string value(reinterpret_cast<const char*>(data), size);
  const std::string escaped = zds::EscapeXml(value);
  std::string decoded;
  if (!zds::AppendDecoded(decoded, escaped) || decoded != value) std::abort();
  if (!zds::IsWellFormedXml("<a v=\"" + escaped + "\"/>")) std::abort();
  return 0;
}

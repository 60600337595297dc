// Escaping and decoding the values of a record document's attributes.
//
// Text is single-byte. Bytes of 0x80 and above pass through unchanged in
// values and character data; "&", "<", ">", the double quote, tab, line
// feed, carriage return and DEL are written as character references. XML
// 1.0 allows no other byte below 0x20, not even as a reference, so those
// bytes are written as the private-use characters "&#xE000;" to "&#xE01F;"
// (U+E000 + byte) and read back as the bytes: any byte string survives a
// write and a read, and the file stays readable by other XML programs. The
// price: a genuine U+E000..U+E01F that another program wrote as a reference
// reads as the control byte, and is written back as the same reference.
// Other references above 255 decode as UTF-8; the older "&#1;" still reads.

#ifndef ZDS_FRAMEWORK_XML_ESCAPE_H_
#define ZDS_FRAMEWORK_XML_ESCAPE_H_

#include <string>
#include <string_view>

namespace zds {

// Appends `value` escaped for a double-quoted attribute.
void AppendEscaped(std::string& out, std::string_view value);
std::string EscapeXml(std::string_view value);
// Decodes character and entity references; false when a reference is malformed.
bool AppendDecoded(std::string& out, std::string_view raw);
std::string DecodeXml(std::string_view raw);

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_ESCAPE_H_

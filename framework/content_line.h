// The content lines iCalendar (RFC 5545) and vCard (RFC 6350) share: TEXT
// values escaped, lines folded at 75 octets and ended by CR LF.

#ifndef ZDS_FRAMEWORK_CONTENT_LINE_H_
#define ZDS_FRAMEWORK_CONTENT_LINE_H_

#include <string>
#include <string_view>

namespace zds::content_line {

// A TEXT value: "\", "," and ";" escaped, every line break (CR LF, LF or
// CR) as "\n"; control bytes other than tab, which TEXT cannot hold, as
// blanks.
void AppendText(std::string& out, std::string_view text);

// `line` folded: at most 75 octets a line, continuation lines starting
// with a blank, never a cut inside a UTF-8 character; each line ended by
// CR LF.
void AppendFolded(std::string& out, std::string_view line);

}  // namespace zds::content_line

#endif  // ZDS_FRAMEWORK_CONTENT_LINE_H_

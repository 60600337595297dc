#include "zds/framework/content_line.h"

namespace zds::content_line {

namespace {
constexpr size_t kFoldOctets = 75;
}  // namespace

void AppendText(std::string& out, std::string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\\' || c == ',' || c == ';') {
      out += '\\';
      out += c;
    } else if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      out += "\\n";
    } else {
      out += (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f ? ' ' : c;
    }
  }
}

void AppendFolded(std::string& out, std::string_view line) {
  size_t limit = kFoldOctets;
  while (line.size() > limit) {
    size_t cut = limit;
    while (cut > 1 && (static_cast<unsigned char>(line[cut]) & 0xc0) == 0x80) --cut;
    out.append(line.substr(0, cut)).append("\r\n ");
    line.remove_prefix(cut);
    limit = kFoldOctets - 1;
  }
  out.append(line).append("\r\n");
}

}  // namespace zds::content_line

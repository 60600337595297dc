#include "zds/framework/xml_parser.h"

#include "zds/framework/xml_text.h"

namespace zds {
namespace {

// The element name of the first tag on a line and whether it opens, closes
// or is closed on that line: +1 open, -1 close, 0 balanced or none.
struct LineTags {
  std::string_view first_name;
  bool first_closes = false;  // the first tag is an end tag ("  </rec>")
  int balance = 0;
};

// The ">" that ends the tag opened at `pos`, passing over quoted values
// (a value may hold "/>" when the file was written by another tool).
size_t TagEnd(std::string_view line, size_t pos) {
  char quote = 0;
  for (size_t i = pos; i < line.size(); ++i) {
    char c = line[i];
    if (quote != 0) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '>') {
      return i;
    }
  }
  return std::string_view::npos;
}

LineTags ReadLineTags(std::string_view line) {
  LineTags tags;
  size_t pos = 0;
  while ((pos = line.find('<', pos)) != std::string_view::npos) {
    bool closing = pos + 1 < line.size() && line[pos + 1] == '/';
    bool special = pos + 1 < line.size() && (line[pos + 1] == '?' || line[pos + 1] == '!');
    size_t end = TagEnd(line, pos);
    if (end == std::string_view::npos) break;
    if (!special) {
      size_t name_start = pos + (closing ? 2 : 1);
      size_t name_end = line.find_first_of(" \t/>", name_start);
      if (tags.first_name.empty()) {
        tags.first_name = line.substr(name_start, name_end - name_start);
        tags.first_closes = closing;
      }
      bool self_closing = line[end - 1] == '/';
      tags.balance += closing ? -1 : self_closing ? 0 : 1;
    }
    pos = end + 1;
  }
  return tags;
}

}  // namespace

bool CXMLParser::SetXml(std::string_view text) {
  if (!IsWellFormedXml(text)) return false;
  lines_.clear();
  size_t line_feed = text.find('\n');
  newline_ = line_feed != std::string_view::npos && line_feed > 0 && text[line_feed - 1] == '\r' ? "\r\n" : "\n";
  final_newline_ = text.ends_with('\n');
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines_.emplace_back(line);
    start = end + 1;
  }
  return true;
}

std::string CXMLParser::GetXml() const {
  std::string out;
  for (size_t i = 0; i < lines_.size(); ++i) {
    out += lines_[i];
    if (i + 1 < lines_.size() || final_newline_) out += newline_;
  }
  return out;
}

std::string CXMLParser::GetLine(int index) const {
  if (index < 0 || index >= GetLineCount()) return std::string();
  return lines_[static_cast<size_t>(index)];
}

int CXMLParser::GetTagLine(int from, std::string_view tag) const {
  for (int i = from < 0 ? 0 : from; i < GetLineCount(); ++i) {
    LineTags tags = ReadLineTags(lines_[static_cast<size_t>(i)]);
    if (tags.first_name == tag && !tags.first_closes) return i;
  }
  return -1;
}

int CXMLParser::GetMatchTagLine(int line) const {
  if (line < 0 || line >= GetLineCount()) return -1;
  int depth = 0;
  for (int i = line; i < GetLineCount(); ++i) {
    depth += ReadLineTags(lines_[static_cast<size_t>(i)]).balance;
    if (depth <= 0) return i;
  }
  return -1;
}

bool CXMLParser::AddLine(int at, const std::vector<std::string>& lines) {
  if (at < 0 || at > GetLineCount()) return false;
  lines_.insert(lines_.begin() + at, lines.begin(), lines.end());
  return true;
}

bool CXMLParser::DelLine(int from, int to) {
  if (from < 0 || to < from || to >= GetLineCount()) return false;
  lines_.erase(lines_.begin() + from, lines_.begin() + to + 1);
  return true;
}

}  // namespace zds

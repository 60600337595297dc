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
  size_t counts[3] = {};  // CR LF, LF, CR
  constexpr std::string_view kEnds[3] = {"\r\n", "\n", "\r"};
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      lines_.push_back({std::string(text.substr(start)), {}});
      break;
    }
    int kind = text[end] == '\n' ? 1 : text.substr(end, 2) == "\r\n" ? 0 : 2;
    ++counts[kind];
    lines_.push_back({std::string(text.substr(start, end - start)), kEnds[kind]});
    start = end + kEnds[kind].size();
  }
  int dominant = 0;
  for (int kind : {1, 2}) {
    if (counts[kind] > counts[dominant]) dominant = kind;
  }
  newline_ = kEnds[dominant];
  return true;
}

std::string CXMLParser::GetXml() const {
  std::string out;
  for (const Line& line : lines_) {
    out += line.text;
    out += line.end;
  }
  return out;
}

std::string CXMLParser::GetLine(int index) const {
  if (index < 0 || index >= GetLineCount()) return std::string();
  return lines_[static_cast<size_t>(index)].text;
}

int CXMLParser::GetTagLine(int from, std::string_view tag) const {
  for (int i = from < 0 ? 0 : from; i < GetLineCount(); ++i) {
    LineTags tags = ReadLineTags(lines_[static_cast<size_t>(i)].text);
    if (tags.first_name == tag && !tags.first_closes) return i;
  }
  return -1;
}

int CXMLParser::GetMatchTagLine(int line) const {
  if (line < 0 || line >= GetLineCount()) return -1;
  int depth = 0;
  for (int i = line; i < GetLineCount(); ++i) {
    depth += ReadLineTags(lines_[static_cast<size_t>(i)].text).balance;
    if (depth <= 0) return i;
  }
  return -1;
}

// A text without a final line end keeps it that way: what is added after
// the last line ends the text instead, and the old last line gets an end.
bool CXMLParser::AddLine(int at, const std::vector<std::string>& lines) {
  if (at < 0 || at > GetLineCount()) return false;
  const bool after_unended_last = !lines.empty() && at == GetLineCount() && at > 0 && lines_.back().end.empty();
  if (after_unended_last) lines_.back().end = newline_;
  auto inserted = lines_.insert(lines_.begin() + at, lines.size(), Line{{}, newline_});
  for (const std::string& text : lines) (inserted++)->text = text;
  if (after_unended_last) lines_.back().end = {};
  return true;
}

// Removing the last lines leaves the new last line with the old one's end.
bool CXMLParser::DelLine(int from, int to) {
  if (from < 0 || to < from || to >= GetLineCount()) return false;
  std::string_view last_end = lines_.back().end;
  bool through_end = to + 1 == GetLineCount();
  lines_.erase(lines_.begin() + from, lines_.begin() + to + 1);
  if (through_end && !lines_.empty()) lines_.back().end = last_end;
  return true;
}

}  // namespace zds

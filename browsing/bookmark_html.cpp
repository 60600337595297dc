#include "zds/browsing/bookmark_html.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

namespace zds {
namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameWord(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return Lower(x) == Lower(y);
         });
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

void AppendUtf8(uint32_t code, std::string& out) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// One reference at the start of `text` ("&amp;", "&#38;", "&#x26;") onto
// `out`; how many bytes it took, 0 when it is none we know (the "&" then
// stands for itself, as browsers read it).
size_t DecodeReference(std::string_view text, std::string& out) {
  const size_t end = text.find(';');
  if (end == std::string_view::npos || end < 2 || end > 10) return 0;
  const std::string_view name = text.substr(1, end - 1);
  if (name[0] == '#') {
    const bool hex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
    std::string_view digits = name.substr(hex ? 2 : 1);
    if (digits.empty()) return 0;
    uint32_t code = 0;
    for (char c : digits) {
      int digit = c >= '0' && c <= '9' ? c - '0' : hex && Lower(c) >= 'a' && Lower(c) <= 'f' ? Lower(c) - 'a' + 10 : -1;
      if (digit < 0 || code > 0x10FFFF) return 0;
      code = code * (hex ? 16 : 10) + static_cast<uint32_t>(digit);
    }
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    AppendUtf8(code, out);
    return end + 1;
  }
  static constexpr std::array<std::pair<std::string_view, uint32_t>, 6> kNamed{
      {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}, {"nbsp", 0xA0}}};
  for (const auto& [known, code] : kNamed) {
    if (SameWord(name, known)) {
      AppendUtf8(code, out);
      return end + 1;
    }
  }
  return 0;
}

std::string Decode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '&') {
      if (size_t used = DecodeReference(text.substr(i), out)) {
        i += used - 1;
        continue;
      }
    }
    out += text[i];
  }
  return out;
}

// Title text: runs of white space as one blank, none at either end.
void AppendTitleText(std::string_view raw, std::string& title) {
  const std::string text = Decode(raw);
  for (char c : text) {
    if (IsSpace(c)) {
      if (!title.empty() && title.back() != ' ') title += ' ';
    } else {
      title += c;
    }
  }
}

int64_t ReadDate(std::string_view text) {
  int64_t value = 0;
  size_t i = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    if (value > 100'000'000'000'000'000) return 0;
    value = value * 10 + (text[i] - '0');
  }
  if (i == 0 || i != text.size()) return 0;
  // Some browsers count milliseconds or microseconds.
  while (value > 100'000'000'000) value /= 1000;
  return value;
}

struct Tag {
  std::string_view name;
  bool closing = false;
  std::string_view attributes;
};

// The value of an attribute (any letter case) in a tag's attribute text,
// decoded; `found` tells an empty value from none.
std::string Attribute(std::string_view text, std::string_view wanted, bool& found) {
  found = false;
  size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && (IsSpace(text[i]) || text[i] == '/')) ++i;
    const size_t name_start = i;
    while (i < text.size() && !IsSpace(text[i]) && text[i] != '=' && text[i] != '/') ++i;
    const std::string_view name = text.substr(name_start, i - name_start);
    while (i < text.size() && IsSpace(text[i])) ++i;
    std::string_view value;
    if (i < text.size() && text[i] == '=') {
      ++i;
      while (i < text.size() && IsSpace(text[i])) ++i;
      if (i < text.size() && (text[i] == '"' || text[i] == '\'')) {
        const char quote = text[i++];
        const size_t end = std::min(text.find(quote, i), text.size());
        value = text.substr(i, end - i);
        i = end + 1;
      } else {
        const size_t start = i;
        while (i < text.size() && !IsSpace(text[i])) ++i;
        value = text.substr(start, i - start);
      }
    }
    if (name.empty()) {
      ++i;
    } else if (SameWord(name, wanted)) {
      found = true;
      return Decode(value);
    }
  }
  return {};
}

class Reader {
 public:
  explicit Reader(std::string_view html) : html_(html) {}

  BookmarkFile Read() {
    size_t pos = 0;
    while (pos < html_.size()) {
      const size_t open = std::min(html_.find('<', pos), html_.size());
      if (open > pos) Text(html_.substr(pos, open - pos));
      if (open == html_.size()) break;
      pos = SkipMarkup(open);
    }
    return std::move(file_);
  }

 private:
  enum class Capture { kNone, kTitle, kDropped };

  // Comments and declarations are skipped; a tag is handled. Returns
  // where the text after it starts (the end, for a tag never closed).
  size_t SkipMarkup(size_t open) {
    if (html_.substr(open, 4) == "<!--") {
      const size_t end = html_.find("-->", open + 4);
      return end == std::string_view::npos ? html_.size() : end + 3;
    }
    size_t i = open + 1;
    Tag tag;
    if (i < html_.size() && html_[i] == '/') {
      tag.closing = true;
      ++i;
    }
    const size_t name_start = i;
    while (i < html_.size() && (std::isalnum(static_cast<unsigned char>(html_[i])) != 0)) ++i;
    tag.name = html_.substr(name_start, i - name_start);
    if (tag.name.empty() && html_.substr(open, 2) != "<!") {
      Text(html_.substr(open, 1));  // a "<" that opens no tag is text
      return open + 1;
    }
    size_t end = i;
    char quote = 0;
    for (; end < html_.size(); ++end) {
      const char c = html_[end];
      if (quote != 0) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        break;
      }
    }
    tag.attributes = html_.substr(i, end - i);
    if (!tag.name.empty()) Handle(tag);
    return std::min(end + 1, html_.size());
  }

  void Text(std::string_view text) {
    if (capture_ == Capture::kTitle) AppendTitleText(text, file_.items.back().title);
  }

  void Handle(const Tag& tag) {
    if (capture_ == Capture::kTitle) EndTitle();
    capture_ = Capture::kNone;
    if (SameWord(tag.name, "h3")) {
      if (!tag.closing) Heading(tag);
    } else if (SameWord(tag.name, "a")) {
      if (!tag.closing) Link(tag);
    } else if (SameWord(tag.name, "dl")) {
      tag.closing ? CloseList() : OpenList();
    } else if (SameWord(tag.name, "dt")) {
      pending_folder_ = false;
    }
  }

  void Heading(const Tag& tag) {
    BookmarkItem folder;
    folder.folder = true;
    folder.depth = depth_;
    bool found = false;
    folder.add_date = ReadDate(Attribute(tag.attributes, "ADD_DATE", found));
    folder.last_modified = ReadDate(Attribute(tag.attributes, "LAST_MODIFIED", found));
    file_.items.push_back(std::move(folder));
    capture_ = Capture::kTitle;
    pending_folder_ = true;
  }

  void Link(const Tag& tag) {
    pending_folder_ = false;
    bool found = false;
    std::string url = Attribute(tag.attributes, "HREF", found);
    const size_t first = url.find_first_not_of(" \t\r\n");
    url = first == std::string::npos ? std::string() : url.substr(first, url.find_last_not_of(" \t\r\n") + 1 - first);
    if (url.empty()) {
      ++file_.refused;
      capture_ = Capture::kDropped;
      return;
    }
    BookmarkItem link;
    link.depth = depth_;
    link.url = std::move(url);
    link.add_date = ReadDate(Attribute(tag.attributes, "ADD_DATE", found));
    link.last_modified = ReadDate(Attribute(tag.attributes, "LAST_MODIFIED", found));
    file_.items.push_back(std::move(link));
    capture_ = Capture::kTitle;
  }

  // A list opens the folder whose heading came just before it; any other
  // list is only a list, its entries those of the folder around it.
  void OpenList() {
    const bool opens_folder = pending_folder_ && depth_ < kMaxBookmarkDepth;
    lists_.push_back(opens_folder);
    if (opens_folder) ++depth_;
    pending_folder_ = false;
  }

  void CloseList() {
    pending_folder_ = false;
    if (lists_.empty()) return;
    if (lists_.back()) --depth_;
    lists_.pop_back();
  }

  void EndTitle() {
    if (!file_.items.empty() && !file_.items.back().title.empty() && file_.items.back().title.back() == ' ') {
      file_.items.back().title.pop_back();
    }
  }

  std::string_view html_;
  BookmarkFile file_;
  Capture capture_ = Capture::kNone;
  bool pending_folder_ = false;
  int depth_ = 0;
  std::vector<bool> lists_;  // per open list: whether it opened a folder
};

void AppendEscaped(std::string_view text, std::string& out) {
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
}

void AppendDates(const BookmarkItem& item, std::string& out) {
  if (item.add_date != 0) out += " ADD_DATE=\"" + std::to_string(item.add_date) + "\"";
  if (item.last_modified != 0) out += " LAST_MODIFIED=\"" + std::to_string(item.last_modified) + "\"";
}

}  // namespace

BookmarkFile ReadBookmarkHtml(std::string_view html) {
  BookmarkFile file = Reader(html).Read();
  // A title left open at the end of the file may end in a blank.
  if (!file.items.empty() && !file.items.back().title.empty() && file.items.back().title.back() == ' ') {
    file.items.back().title.pop_back();
  }
  return file;
}

std::string WriteBookmarkHtml(const std::vector<BookmarkItem>& items) {
  std::string out =
      "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n"
      "<!-- This is an automatically generated file.\n"
      "     It will be read and overwritten.\n"
      "     DO NOT EDIT! -->\n"
      "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n"
      "<TITLE>Bookmarks</TITLE>\n<H1>Bookmarks</H1>\n<DL><p>\n";
  int open = 0;  // folders whose list is open
  auto indent = [&out](int level) { out.append(static_cast<size_t>(level + 1) * 4, ' '); };
  for (const BookmarkItem& item : items) {
    const int depth = std::clamp(item.depth, 0, open);
    for (; open > depth; --open) {
      indent(open - 1);
      out += "</DL><p>\n";
    }
    indent(depth);
    if (item.folder) {
      out += "<DT><H3";
      AppendDates(item, out);
      out += ">";
      AppendEscaped(item.title, out);
      out += "</H3>\n";
      indent(depth);
      out += "<DL><p>\n";
      ++open;
    } else {
      out += "<DT><A HREF=\"";
      AppendEscaped(item.url, out);
      out += "\"";
      AppendDates(item, out);
      out += ">";
      AppendEscaped(item.title, out);
      out += "</A>\n";
    }
  }
  for (; open > 0; --open) {
    indent(open - 1);
    out += "</DL><p>\n";
  }
  out += "</DL><p>\n";
  return out;
}

}  // namespace zds

#include "cli/command_text.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "cli/command_table.h"

namespace zds::cli {
namespace {

// The bytes a POSIX shell passes as they are in an unquoted word, wherever
// they stand in it.
bool IsShellSafe(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || std::string_view("_-.:,+@").find(c) != std::string_view::npos;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The length of the UTF-8 sequence at the start of `text`, 0 when none is.
size_t Utf8Length(std::string_view text) {
  const auto byte = [&text](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(0);
  size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
  if (length == 0 || length > text.size() || (length == 2 && lead < 0xC2)) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  if (length == 3 && ((lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) >= 0xA0))) return 0;
  if (length == 4 && ((lead == 0xF0 && byte(1) < 0x90) || lead > 0xF4 || (lead == 0xF4 && byte(1) >= 0x90))) return 0;
  return length;
}

}  // namespace

std::string Field(std::string_view text) {
  std::string field(text);
  for (char& c : field) {
    if (c == '\t' || c == '\r' || c == '\n') c = ' ';
  }
  return field;
}

int Usage(std::ostream& err, std::string_view problem) {
  err << "zds: " << problem << " (zds help for usage)\n";
  return 2;
}

int Refuse(std::ostream& err, std::string_view problem) {
  err << "zds: " << problem << '\n';
  return 1;
}

std::string NativeName(const platform::DataRoot& root, std::string_view stored) {
  std::string name = root.NativeRoot();
  if (stored.empty()) return name;
  name += '/';
  for (char c : stored.substr(stored.front() == '\\' ? 1 : 0)) name += c == '\\' ? '/' : c;
  return name;
}

bool ParseTime(std::string_view text, CTime& time, bool* day_only) {
  const CTime now = CTime::GetCurrentTime();
  std::string written(text);
  bool day = text.size() == 10;
  if (text == "now") {
    time = now;
    day = false;
  } else {
    if (text == "today" || text == "tomorrow") {
      const CTime base = text == "today" ? now : now + CTimeSpan(1, 0, 0, 0);
      written = base.Format(kTimeFormatDate);
      day = true;
    }
    static constexpr std::string_view kShape = "dddd-dd-dd dd:dd:dd";
    if (written.size() != 10 && written.size() != 16 && written.size() != 19) return false;
    for (size_t i = 0; i < written.size(); ++i) {
      const bool digit = std::isdigit(static_cast<unsigned char>(written[i])) != 0;
      if (kShape[i] == 'd' ? !digit : written[i] != kShape[i]) return false;
    }
    time = ParseDateTime(written.size() == 10 ? written + " 00:00:00" : written);
    // Formatting back refuses a day or an hour the calendar or the clock lacks.
    const char* format = written.size() == 10 ? kTimeFormatDate : written.size() == 16 ? kTimeFormatMinutes
                                                                                        : kTimeFormatSeconds;
    if (time.Format(format) != written) return false;
  }
  if (day_only != nullptr) *day_only = day;
  return true;
}

std::string ShownPos(std::string_view stored) {
  std::string shown;
  shown.reserve(stored.size());
  for (char c : stored) {
    if (c == '\\') {
      shown += '/';
    } else if (IsShellSafe(c)) {
      shown += c;
    } else {
      constexpr char kHex[] = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      shown += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return shown;
}

std::string StoredPos(std::string_view typed) {
  if (typed.find('\\') != std::string_view::npos) return std::string(typed);
  std::string stored;
  stored.reserve(typed.size());
  for (size_t i = 0; i < typed.size(); ++i) {
    if (typed[i] == '/') {
      stored += '\\';
    } else if (typed[i] == '%' && i + 2 < typed.size() && HexValue(typed[i + 1]) >= 0 && HexValue(typed[i + 2]) >= 0) {
      stored += static_cast<char>(HexValue(typed[i + 1]) * 16 + HexValue(typed[i + 2]));
      i += 2;
    } else {
      stored += typed[i];
    }
  }
  return stored;
}

std::string JsonString(std::string_view text) {
  std::string json = "\"";
  for (size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    const size_t length = Utf8Length(text.substr(i));
    if (c >= 0x80 && length > 1) {
      json += text.substr(i, length);
      i += length;
      continue;
    }
    ++i;
    if (c == '"' || c == '\\') {
      json += '\\';
      json += static_cast<char>(c);
    } else if (c >= 0x20 && c < 0x80) {
      json += static_cast<char>(c);
    } else if (c < 0x80) {
      constexpr char kHex[] = "0123456789abcdef";
      json += "\\u00";
      json += {kHex[c >> 4], kHex[c & 15]};
    } else {  // a byte that starts no UTF-8 character: its Latin-1 letter
      json += static_cast<char>(0xC0 | (c >> 6));
      json += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return json + "\"";
}

Listing::Listing(Call& call, std::vector<std::string> columns) : call_(call), columns_(std::move(columns)) {}

void Listing::Row(std::vector<std::string> fields) {
  fields.resize(columns_.size());
  rows_.push_back(std::move(fields));
}

int Listing::Finish() {
  std::ostream& out = call_.out();
  if (call_.json()) {
    out << "[";
    for (size_t r = 0; r < rows_.size(); ++r) {
      out << (r ? ",\n " : "\n ") << '{';
      for (size_t c = 0; c < columns_.size(); ++c) {
        out << (c ? ", " : "") << JsonString(columns_[c]) << ": " << JsonString(rows_[r][c]);
      }
      out << '}';
    }
    out << (rows_.empty() ? "]\n" : "\n]\n");
    return 0;
  }
  if (!call_.terminal()) {
    for (const auto& row : rows_) {
      for (size_t c = 0; c < row.size(); ++c) out << (c ? "\t" : "") << Field(row[c]);
      out << '\n';
    }
    return 0;
  }
  std::vector<size_t> widths(columns_.size());
  for (size_t c = 0; c < columns_.size(); ++c) widths[c] = columns_[c].size();
  for (const auto& row : rows_) {
    for (size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], Field(row[c]).size());
  }
  auto print = [&](const std::vector<std::string>& fields, bool header) {
    std::string line;
    for (size_t c = 0; c < fields.size(); ++c) {
      std::string text = header ? fields[c] : Field(fields[c]);
      if (header) std::transform(text.begin(), text.end(), text.begin(), [](char ch) { return static_cast<char>(std::toupper(static_cast<unsigned char>(ch))); });
      if (c + 1 < fields.size()) text.resize(widths[c] + 2, ' ');
      line += text;
    }
    out << line << '\n';
  };
  print(columns_, true);
  for (const auto& row : rows_) print(row, false);
  return 0;
}

void ShownItem::Add(std::string name, std::string value, bool needed, bool many) {
  if (!call_.all() && (!needed || value.empty())) return;
  entries_.push_back({std::move(name), std::move(value), many});
}

int ShownItem::Finish() {
  std::ostream& out = call_.out();
  if (!call_.json()) {
    for (const Entry& entry : entries_) out << entry.name << ": " << Field(entry.value) << '\n';
    return 0;
  }
  // Names in the order they first come; a repeated or list field as an array.
  std::vector<std::string> order;
  std::map<std::string, std::vector<const Entry*>> by_name;
  for (const Entry& entry : entries_) {
    if (by_name[entry.name].empty()) order.push_back(entry.name);
    by_name[entry.name].push_back(&entry);
  }
  out << '{';
  for (size_t i = 0; i < order.size(); ++i) {
    const std::vector<const Entry*>& entries = by_name[order[i]];
    out << (i ? ",\n " : "\n ") << JsonString(order[i]) << ": ";
    if (entries.size() == 1 && !entries[0]->many) {
      out << JsonString(entries[0]->value);
      continue;
    }
    out << '[';
    for (size_t j = 0; j < entries.size(); ++j) out << (j ? ", " : "") << JsonString(entries[j]->value);
    out << ']';
  }
  out << (order.empty() ? "}\n" : "\n}\n");
  return 0;
}

}  // namespace zds::cli

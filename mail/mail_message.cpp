#include "zds/mail/mail_message.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "zds/platform/ascii.h"
#include "zds/platform/time.h"

namespace zds {
namespace {

using platform::SameIgnoringAsciiCase;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (IsBlank(text.front()) || text.front() == '\r' || text.front() == '\n')) {
    text.remove_prefix(1);
  }
  while (!text.empty() && (IsBlank(text.back()) || text.back() == '\r' || text.back() == '\n')) text.remove_suffix(1);
  return text;
}

// The line at `at` without its end, and where the next one starts.
std::string_view LineAt(std::string_view text, size_t at, size_t& next) {
  const size_t end = text.find('\n', at);
  next = end == std::string_view::npos ? text.size() : end + 1;
  std::string_view line = text.substr(at, (end == std::string_view::npos ? text.size() : end) - at);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

struct Header {
  std::string_view name;
  std::string_view line_value;  // as it stands on the field's first line
  std::string unfolded;         // a folded field's lines joined, their breaks taken out
  bool folded = false;
  std::string_view Value() const { return folded ? std::string_view(unfolded) : line_value; }
};

// A field name: printable ASCII but the colon, at least one byte.
bool IsFieldName(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c < 127 && c != ':'; });
}

// The header fields up to the first empty line, and where the body starts.
// A line that is neither a field nor its continuation ends the header (a
// message without one has its body from the start).
std::vector<Header> ReadHeader(std::string_view text, size_t& body) {
  std::vector<Header> fields;
  size_t at = 0;
  while (at < text.size()) {
    size_t next;
    std::string_view line = LineAt(text, at, next);
    if (line.empty()) {
      at = next;
      break;
    }
    if (IsBlank(line.front()) && !fields.empty()) {
      Header& field = fields.back();
      if (!field.folded) field.unfolded.assign(field.line_value);
      field.folded = true;
      field.unfolded += line;
    } else {
      const size_t colon = line.find(':');
      if (colon == std::string_view::npos || !IsFieldName(Trim(line.substr(0, colon)))) break;
      fields.push_back({Trim(line.substr(0, colon)), line.substr(colon + 1), {}, false});
    }
    at = next;
  }
  body = at;
  return fields;
}

const Header* Find(const std::vector<Header>& fields, std::string_view name) {
  for (const Header& field : fields) {
    if (SameIgnoringAsciiCase(field.name, name)) return &field;
  }
  return nullptr;
}

// Valid while `fields` is.
std::string_view FieldText(const std::vector<Header>& fields, std::string_view name) {
  const Header* field = Find(fields, name);
  return field ? Trim(field->Value()) : std::string_view();
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int Base64Value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

std::string DecodeBase64(std::string_view text) {
  std::string out;
  uint32_t bits = 0;
  int count = 0;
  for (char c : text) {
    const int value = Base64Value(c);
    if (value < 0) continue;
    bits = (bits << 6) | static_cast<uint32_t>(value);
    count += 6;
    if (count >= 8) {
      count -= 8;
      out += static_cast<char>((bits >> count) & 0xFF);
    }
  }
  return out;
}

// One encoded word, "=?charset?B|Q?text?=", at the start of `text`:
// its bytes and its length; nothing when it is not one.
std::optional<std::pair<std::string, size_t>> EncodedWordAt(std::string_view text) {
  if (!text.starts_with("=?")) return std::nullopt;
  const size_t charset_end = text.find('?', 2);
  if (charset_end == std::string_view::npos || charset_end == 2 || charset_end + 2 >= text.size() ||
      text[charset_end + 2] != '?') {
    return std::nullopt;
  }
  const char encoding = platform::AsciiLower(text[charset_end + 1]);
  const size_t start = charset_end + 3;
  const size_t end = text.find("?=", start);
  if (end == std::string_view::npos || (encoding != 'b' && encoding != 'q')) return std::nullopt;
  const std::string_view encoded = text.substr(start, end - start);
  if (encoded.find_first_of(" \t\r\n") != std::string_view::npos) return std::nullopt;
  std::string bytes;
  if (encoding == 'b') {
    bytes = DecodeBase64(encoded);
  } else {
    for (size_t i = 0; i < encoded.size(); ++i) {
      if (encoded[i] == '_') {
        bytes += ' ';
      } else if (encoded[i] == '=' && i + 2 < encoded.size() && HexValue(encoded[i + 1]) >= 0 &&
                 HexValue(encoded[i + 2]) >= 0) {
        bytes += static_cast<char>(HexValue(encoded[i + 1]) * 16 + HexValue(encoded[i + 2]));
        i += 2;
      } else {
        bytes += encoded[i];
      }
    }
  }
  return std::make_pair(std::move(bytes), end + 2);
}

// Parameters of a structured field ("text/plain; charset=utf-8; name*0=...").
struct Param {
  std::string name;  // lower case
  std::string value;
};

std::vector<Param> ReadParams(std::string_view value, std::string& type) {
  std::vector<Param> params;
  size_t at = value.find(';');
  type = platform::AsciiLowerCase(Trim(value.substr(0, at)));
  while (at != std::string_view::npos && at < value.size()) {
    ++at;
    const size_t eq = value.find('=', at);
    if (eq == std::string_view::npos) break;
    Param param{platform::AsciiLowerCase(Trim(value.substr(at, eq - at))), {}};
    size_t i = eq + 1;
    while (i < value.size() && IsBlank(value[i])) ++i;
    if (i < value.size() && value[i] == '"') {
      for (++i; i < value.size() && value[i] != '"'; ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) ++i;
        param.value += value[i];
      }
      at = value.find(';', i);
    } else {
      at = value.find(';', i);
      param.value = Trim(value.substr(i, at == std::string_view::npos ? std::string_view::npos : at - i));
    }
    if (!param.name.empty()) params.push_back(std::move(param));
  }
  return params;
}

std::string PercentDecode(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

// A parameter's value, joining RFC 2231 continuations ("name*0",
// "name*1*") and decoding the extended ones to their bytes (the character
// set stated in front is not converted); a plain value may hold encoded
// words, as many mail programs write them.
std::string ParamValue(const std::vector<Param>& params, std::string_view name) {
  std::vector<std::pair<long, const Param*>> pieces;
  for (const Param& param : params) {
    if (param.name == name) return DecodeEncodedWords(param.value);
    if (!param.name.starts_with(name) || param.name.size() <= name.size() || param.name[name.size()] != '*') {
      continue;
    }
    std::string_view rest = std::string_view(param.name).substr(name.size() + 1);
    if (rest.empty()) {
      pieces.clear();
      pieces.emplace_back(-1, &param);
      break;
    }
    if (rest.back() == '*') rest.remove_suffix(1);
    if (rest.empty() || rest.size() > 4 || !std::all_of(rest.begin(), rest.end(), [](char c) { return c >= '0' && c <= '9'; })) {
      continue;
    }
    pieces.emplace_back(std::stol(std::string(rest)), &param);
  }
  std::sort(pieces.begin(), pieces.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::string value;
  for (size_t i = 0; i < pieces.size(); ++i) {
    const Param& piece = *pieces[i].second;
    std::string_view text = piece.value;
    if (!piece.name.ends_with('*')) {
      value += text;
      continue;
    }
    if (i == 0) {  // charset'language'value
      const size_t first = text.find('\'');
      const size_t second = first == std::string_view::npos ? first : text.find('\'', first + 1);
      if (second != std::string_view::npos) text.remove_prefix(second + 1);
    }
    value += PercentDecode(text);
  }
  return value;
}

size_t QuotedPrintableSize(std::string_view text) {
  size_t size = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '=') {
      ++size;
    } else if (i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
      ++size;
      i += 2;
    } else if (text.substr(i + 1).starts_with("\r\n")) {
      i += 2;  // a soft line break
    } else if (text.substr(i + 1).starts_with("\n")) {
      i += 1;
    } else {
      ++size;
    }
  }
  return size;
}

size_t DecodedSize(std::string_view body, std::string_view encoding) {
  if (SameIgnoringAsciiCase(encoding, "base64")) {
    const size_t symbols = static_cast<size_t>(std::count_if(body.begin(), body.end(), [](char c) { return Base64Value(c) >= 0; }));
    return symbols * 6 / 8;
  }
  if (SameIgnoringAsciiCase(encoding, "quoted-printable")) return QuotedPrintableSize(body);
  return body.size();
}

// The parts of a multipart body: what lies between its delimiter lines
// ("--boundary"), each without the line break in front of the next
// delimiter. A body whose closing delimiter is missing ends its last part
// at the end of the text.
std::vector<std::string_view> SplitParts(std::string_view body, std::string_view boundary) {
  std::vector<std::string_view> parts;
  size_t part_start = std::string_view::npos;
  size_t at = 0;
  while (at < body.size()) {
    size_t next;
    std::string_view line = LineAt(body, at, next);
    if (line.starts_with("--") && line.substr(2).starts_with(boundary)) {
      std::string_view rest = line.substr(2 + boundary.size());
      const bool closing = rest.starts_with("--");
      if (closing) rest.remove_prefix(2);
      if (Trim(rest).empty()) {
        if (part_start != std::string_view::npos) {
          size_t end = at;
          if (end > part_start && body[end - 1] == '\n') --end;
          if (end > part_start && body[end - 1] == '\r') --end;
          parts.push_back(body.substr(part_start, end - part_start));
        }
        if (closing) return parts;
        part_start = next;
      }
    }
    at = next;
  }
  if (part_start != std::string_view::npos && part_start <= body.size()) parts.push_back(body.substr(part_start));
  return parts;
}

// Parts nest at most this deep: a message crafted to nest deeper has its
// deeper parts left out rather than costing more.
constexpr int kMaxPartDepth = 64;

// `fields` and `body_at` are the message's own header, read already.
void ReadAttachments(std::string_view message, const std::vector<Header>& message_fields, size_t message_body_at,
                     CMIDLExtendRec& mail) {
  struct Pending {
    std::string_view text;
    int depth;
  };
  std::vector<Pending> stack{{message, 0}};
  std::vector<CMIDLAttachRec> found;
  std::vector<Header> part_fields;
  while (!stack.empty()) {
    const Pending part = stack.back();
    stack.pop_back();
    size_t body_at = message_body_at;
    if (part.depth > 0) part_fields = ReadHeader(part.text, body_at);
    const std::vector<Header>& fields = part.depth > 0 ? part_fields : message_fields;
    const std::string_view body = part.text.substr(std::min(body_at, part.text.size()));
    std::string type;
    const std::vector<Param> type_params = ReadParams(FieldText(fields, "Content-Type"), type);
    if (type.starts_with("multipart/")) {
      const std::string boundary = ParamValue(type_params, "boundary");
      if (!boundary.empty() && part.depth < kMaxPartDepth) {
        std::vector<std::string_view> parts = SplitParts(body, boundary);
        for (auto it = parts.rbegin(); it != parts.rend(); ++it) stack.push_back({*it, part.depth + 1});
      }
      continue;
    }
    std::string disposition;
    const std::vector<Param> disposition_params = ReadParams(FieldText(fields, "Content-Disposition"), disposition);
    std::string name = ParamValue(disposition_params, "filename");
    if (name.empty()) name = ParamValue(type_params, "name");
    if (name.empty()) continue;
    const size_t size = DecodedSize(body, Trim(FieldText(fields, "Content-Transfer-Encoding")));
    found.push_back({std::move(name), ParamValue(type_params, "charset"), std::to_string(size)});
  }
  mail.attachments = std::move(found);
  mail.attach_num = static_cast<int32_t>(mail.attachments.size());
}

int MonthNumber(std::string_view name) {
  static constexpr std::string_view kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                                 "jul", "aug", "sep", "oct", "nov", "dec"};
  for (int i = 0; i < 12; ++i) {
    if (name.size() >= 3 && SameIgnoringAsciiCase(name.substr(0, 3), kMonths[i])) return i + 1;
  }
  return 0;
}

// Days since 1970-01-01 of a proleptic Gregorian date.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

std::vector<std::string_view> Words(std::string_view text) {
  std::vector<std::string_view> words;
  size_t at = 0;
  while (at < text.size()) {
    while (at < text.size() && (IsBlank(text[at]) || text[at] == ',')) ++at;
    const size_t start = at;
    while (at < text.size() && !IsBlank(text[at]) && text[at] != ',') ++at;
    if (at > start) words.push_back(text.substr(start, at - start));
  }
  return words;
}

bool ReadNumber(std::string_view text, int64_t& value) {
  if (text.empty() || text.size() > 9) return false;
  value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  return true;
}

bool ReadClock(std::string_view text, int64_t& hour, int64_t& minute, int64_t& second) {
  const size_t first = text.find(':');
  if (first == std::string_view::npos) return false;
  const size_t second_colon = text.find(':', first + 1);
  second = 0;
  return ReadNumber(text.substr(0, first), hour) &&
         ReadNumber(text.substr(first + 1, second_colon == std::string_view::npos ? std::string_view::npos
                                                                                   : second_colon - first - 1),
                    minute) &&
         (second_colon == std::string_view::npos || ReadNumber(text.substr(second_colon + 1), second));
}

}  // namespace

std::string DecodeEncodedWords(std::string_view value) {
  if (value.find("=?") == std::string_view::npos) return std::string(value);
  std::string out;
  size_t at = 0;
  bool after_word = false;
  std::string pending_blank;
  while (at < value.size()) {
    if (value[at] == '=' && value.substr(at).starts_with("=?")) {
      if (auto word = EncodedWordAt(value.substr(at))) {
        if (!after_word) out += pending_blank;  // blanks between two encoded words go
        pending_blank.clear();
        out += word->first;
        at += word->second;
        after_word = true;
        continue;
      }
    }
    if (IsBlank(value[at])) {
      pending_blank += value[at++];
      continue;
    }
    out += pending_blank;
    pending_blank.clear();
    out += value[at++];
    after_word = false;
  }
  out += pending_blank;
  return out;
}

std::string FormatMailDate(std::string_view date) {
  std::vector<std::string_view> words = Words(date);
  if (!words.empty() && MonthNumber(words[0]) == 0 && !std::isdigit(static_cast<unsigned char>(words[0][0]))) {
    words.erase(words.begin());  // the day of the week
  }
  int64_t day = 0, year = 0, hour = 0, minute = 0, second = 0;
  if (words.size() < 4 || !ReadNumber(words[0], day)) return {};
  const int month = MonthNumber(words[1]);
  if (month == 0 || !ReadNumber(words[2], year) || !ReadClock(words[3], hour, minute, second)) return {};
  if (words[2].size() <= 2) year += year < 50 ? 2000 : 1900;
  else if (words[2].size() == 3) year += 1900;
  int64_t offset = 0;  // minutes east of UTC; an unknown zone is read as UTC
  if (words.size() > 4) {
    const std::string_view zone = words[4];
    int64_t digits = 0;
    if ((zone.starts_with('+') || zone.starts_with('-')) && zone.size() == 5 && ReadNumber(zone.substr(1), digits)) {
      offset = (digits / 100) * 60 + digits % 100;
      if (zone.front() == '-') offset = -offset;
    } else {
      static constexpr std::pair<std::string_view, int> kZones[] = {{"EDT", -4}, {"EST", -5}, {"CDT", -5}, {"CST", -6},
                                                                    {"MDT", -6}, {"MST", -7}, {"PDT", -7}, {"PST", -8}};
      for (const auto& [name, hours] : kZones) {
        if (SameIgnoringAsciiCase(zone, name)) offset = hours * 60;
      }
    }
  }
  if (day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60 || year < 1900 || year > 9999) return {};
  const int64_t utc = DaysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second - offset * 60;
  return CTime(utc).Format("%Y-%m-%d %H:%M");
}

void ReadMailMessage(std::string_view message, CMIDLExtendRec& mail) {
  size_t body_at = 0;
  const std::vector<Header> fields = ReadHeader(message, body_at);
  mail.subject = DecodeEncodedWords(FieldText(fields, "Subject"));
  mail.sender = DecodeEncodedWords(FieldText(fields, "From"));
  mail.to = DecodeEncodedWords(FieldText(fields, "To"));
  mail.cc = DecodeEncodedWords(FieldText(fields, "Cc"));
  mail.bcc = DecodeEncodedWords(FieldText(fields, "Bcc"));
  mail.message_id = FieldText(fields, "Message-ID");
  const std::string_view date = FieldText(fields, "Date");
  mail.send_date = FormatMailDate(date);
  if (mail.send_date.empty()) mail.send_date = date;  // kept as it came, rather than lost
  mail.size = std::to_string(message.size());
  ReadAttachments(message, fields, body_at, mail);
}

}  // namespace zds

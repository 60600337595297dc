#include "zds/framework/xml_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zds {
namespace {

// Byte classes, looked up once per byte: the scanner reads every byte of
// a document, so the tests below are on its hottest path.
enum : unsigned char {
  kBlankClass = 1,
  kNameStartClass = 2,
  kNameCharClass = 4,
  kLookInText = 8,    // a byte below 0x20 or "&": text must be checked byte by byte
  kLookInValue = 16,  // the same or "<", in an attribute value
};

constexpr unsigned char ClassOf(unsigned c) {
  bool blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
  // XML 1.0 names restricted to single-byte text: a byte of 0x80 or above
  // would be half of a character in any encoding another tool reads.
  bool letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
  bool name_start = letter || c == '_' || c == ':';
  bool name_char = name_start || (c >= '0' && c <= '9') || c == '.' || c == '-';
  bool look = c < 0x20 || c == '&';
  return static_cast<unsigned char>((blank ? kBlankClass : 0) | (name_start ? kNameStartClass : 0) |
                                    (name_char ? kNameCharClass : 0) | (look ? kLookInText : 0) |
                                    (look || c == '<' ? kLookInValue : 0));
}

struct ByteClasses {
  unsigned char of[256];
  constexpr ByteClasses() : of() {
    for (unsigned c = 0; c < 256; ++c) of[c] = ClassOf(c);
  }
};
constexpr ByteClasses kClasses;

bool IsBlank(char c) { return kClasses.of[static_cast<unsigned char>(c)] & kBlankClass; }

// Bytes that may not stand raw in the text (everything below a blank but
// tab, line feed and carriage return).
bool IsForbiddenControl(unsigned char c) { return c < 0x20 && c != '\t' && c != '\n' && c != '\r'; }

bool NeedsEscape(unsigned char c) {
  return c == '&' || c == '<' || c == '>' || c == '"' || c < 0x20 || c == 0x7f;
}

bool IsNameStart(unsigned char c) { return kClasses.of[c] & kNameStartClass; }

// The end of the run of name characters that starts at `pos`.
size_t NameEnd(std::string_view text, size_t pos) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const size_t size = text.size();
  while (pos + 4 <= size && (kClasses.of[bytes[pos]] & kClasses.of[bytes[pos + 1]] & kClasses.of[bytes[pos + 2]] &
                             kClasses.of[bytes[pos + 3]] & kNameCharClass)) {
    pos += 4;
  }
  while (pos < size && (kClasses.of[bytes[pos]] & kNameCharClass)) ++pos;
  return pos;
}

// Eight bytes at a time: whether a word may hold a byte below 0x20, a "&"
// or (with `lt`) a "<". Exact about "none", so a word that passes needs no
// closer look; one that does not is looked at byte by byte.
constexpr uint64_t kOnes = 0x0101010101010101ULL;
constexpr uint64_t kHighs = 0x8080808080808080ULL;
uint64_t ZeroBytes(uint64_t word) { return (word - kOnes) & ~word & kHighs; }
uint64_t MayNeedLook(uint64_t word, bool lt) {
  uint64_t hits = ((word - kOnes * 0x20) & ~word & kHighs) | ZeroBytes(word ^ (kOnes * '&'));
  if (lt) hits |= ZeroBytes(word ^ (kOnes * '<'));
  return hits;
}

// Control bytes XML 1.0 cannot hold, even as references, travel as the
// private-use characters U+E000 + byte (see xml_text.h).
constexpr unsigned long kControlBase = 0xE000;

bool IsForbiddenControlCode(unsigned long code) { return code < 0x20 && code != '\t' && code != '\n' && code != '\r'; }

void AppendCodePoint(std::string& out, unsigned long code) {
  if (code >= kControlBase && code < kControlBase + 0x20) {
    out.push_back(static_cast<char>(code - kControlBase));
  } else if (code < 0x100) {
    out.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (code >> 6)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (code >> 12)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (code >> 18)));
    out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

// Reads the reference that starts at raw[0] == '&'; returns its length, 0 if malformed.
size_t DecodeReference(std::string_view raw, std::string* out) {
  size_t end = raw.find(';');
  if (end == std::string_view::npos || end < 2 || end > 12) return 0;
  std::string_view body = raw.substr(1, end - 1);
  char named = 0;
  if (body == "amp") named = '&';
  else if (body == "lt") named = '<';
  else if (body == "gt") named = '>';
  else if (body == "quot") named = '"';
  else if (body == "apos") named = '\'';
  if (named != 0) {
    if (out) out->push_back(named);
    return end + 1;
  }
  if (body[0] != '#' || body.size() < 2) return 0;
  bool hex = body[1] == 'x';
  std::string_view digits = body.substr(hex ? 2 : 1);
  if (digits.empty()) return 0;
  unsigned long code = 0;
  for (char c : digits) {
    int digit;
    if (c >= '0' && c <= '9') digit = c - '0';
    else if (hex && (c | 0x20) >= 'a' && (c | 0x20) <= 'f') digit = (c | 0x20) - 'a' + 10;
    else return 0;
    code = code * (hex ? 16 : 10) + static_cast<unsigned long>(digit);
  }
  if (code > 0x10FFFF) return 0;
  if (out) AppendCodePoint(*out, code);
  return end + 1;
}

// "&#xE001;" for the byte 0x01; tab, line ends and DEL as themselves, in
// decimal ("&#9;"), which every reader takes.
void AppendCharacterReference(std::string& out, unsigned char c) {
  if (IsForbiddenControlCode(c)) {
    constexpr char kHex[] = "0123456789ABCDEF";
    out += "&#xE0";
    out += kHex[c >> 4];
    out += kHex[c & 0xF];
  } else {
    out += "&#";
    out += std::to_string(c);
  }
  out += ';';
}

}  // namespace

void AppendEscaped(std::string& out, std::string_view value) {
  size_t start = 0;
  for (size_t i = 0; i < value.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(value[i]);
    if (!NeedsEscape(c)) continue;
    out.append(value.substr(start, i - start));
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default:
        AppendCharacterReference(out, c);
    }
    start = i + 1;
  }
  out.append(value.substr(start));
}

std::string EscapeXml(std::string_view value) {
  std::string out;
  out.reserve(value.size());
  AppendEscaped(out, value);
  return out;
}

bool AppendDecoded(std::string& out, std::string_view raw) {
  size_t amp = raw.find('&');
  if (amp == std::string_view::npos) {
    out.append(raw);
    return true;
  }
  while (amp != std::string_view::npos) {
    out.append(raw.substr(0, amp));
    raw.remove_prefix(amp);
    size_t used = DecodeReference(raw, &out);
    if (used == 0) return false;
    raw.remove_prefix(used);
    amp = raw.find('&');
  }
  out.append(raw);
  return true;
}

std::string DecodeXml(std::string_view raw) {
  std::string out;
  if (!AppendDecoded(out, raw)) return std::string(raw);
  return out;
}

// A UTF-8 byte-order mark may open the text. It stays in the lead of the
// first token, so a writer that copies leads keeps it.
std::string_view XmlScanner::WithoutByteOrderMark(std::string_view lead) const {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (lead.data() == text_.data() && lead.starts_with(kMark)) lead.remove_prefix(kMark.size());
  return lead;
}

bool XmlScanner::Fail(size_t at, std::string what) {
  if (!failed_) problem_ = {at, std::move(what)};
  failed_ = true;
  return false;
}

// Only on the way out of a failed scan: the byte-wise look CheckText
// spares the text that is fine.
bool XmlScanner::FailInText(std::string_view text, bool reject_lt) {
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    const size_t at = offset_of(text) + i;
    if (IsForbiddenControl(c)) {
      constexpr char kHex[] = "0123456789ABCDEF";
      return Fail(at, std::string("the control byte 0x") + kHex[c >> 4] + kHex[c & 15] + ", which XML cannot hold");
    }
    if (reject_lt && c == '<') return Fail(at, "a '<' in an attribute value");
    if (c == '&' && DecodeReference(text.substr(i), nullptr) == 0) {
      std::string_view shown = text.substr(i, std::min<size_t>(text.size() - i, 12));
      const size_t semicolon = shown.find(';');
      shown = semicolon == std::string_view::npos ? shown.substr(0, shown.find_first_of(" \t\r\n\"'"))
                                                  : shown.substr(0, semicolon + 1);
      return Fail(at, "a malformed reference '" + std::string(shown) + "'");
    }
  }
  return Fail(offset_of(text), "malformed text");
}

bool XmlScanner::CheckText(std::string_view text, bool reject_lt) const {
  // Most text holds nothing to look at: a word-wise pass says so, and only
  // text where it finds something gets the byte-wise check.
  const char* data = text.data();
  const size_t size = text.size();
  uint64_t hits = 0;
  uint64_t word;
  size_t i = 0;
  for (; i + 8 <= size; i += 8) {
    std::memcpy(&word, data + i, 8);
    hits |= MayNeedLook(word, reject_lt);
  }
  // The rest by overlapping loads: looking at a byte twice is harmless.
  if (i < size && size >= 8) {
    std::memcpy(&word, data + size - 8, 8);
    hits |= MayNeedLook(word, reject_lt);
  } else if (size >= 4) {
    uint32_t head;
    uint32_t tail;
    std::memcpy(&head, data, 4);
    std::memcpy(&tail, data + size - 4, 4);
    hits |= MayNeedLook((uint64_t{head} << 32) | tail, reject_lt);
  } else {
    for (; i < size; ++i) hits |= kClasses.of[static_cast<unsigned char>(data[i])] & (reject_lt ? kLookInValue : kLookInText);
  }
  if (hits == 0) return true;
  for (i = 0; i < size; ++i) {
    unsigned char c = static_cast<unsigned char>(data[i]);
    if (IsForbiddenControl(c) || (reject_lt && c == '<')) return false;
    if (c == '&' && DecodeReference(text.substr(i), nullptr) == 0) return false;
  }
  return true;
}

bool XmlScanner::SkipMarkup(size_t& pos) {
  std::string_view rest = text_.substr(pos);
  std::string_view closer, kind;
  if (rest.starts_with("<!--")) closer = "-->", kind = "comment";
  else if (rest.starts_with("<?")) closer = "?>", kind = "processing instruction";
  else if (rest.starts_with("<!DOCTYPE") || rest.starts_with("<!doctype")) closer = ">", kind = "DOCTYPE";
  else return Fail(pos, "a '<!' that opens no comment or DOCTYPE");
  size_t end = text_.find(closer, pos + 2);
  if (end == std::string_view::npos) return Fail(pos, "a " + std::string(kind) + " that is never closed");
  std::string_view body = text_.substr(pos, end - pos);
  if (closer == ">" && body.find('[') != std::string_view::npos) {
    return Fail(pos, "a DOCTYPE with an internal subset");
  }
  for (char c : body) {
    if (IsForbiddenControl(static_cast<unsigned char>(c))) return FailInText(body, false);
  }
  pos = end + closer.size();
  return true;
}

bool XmlScanner::ScanAttributes(size_t& pos, std::vector<XmlAttribute>& attributes) {
  const size_t size = text_.size();
  while (true) {
    size_t spelling_start = pos;
    while (pos < size && IsBlank(text_[pos])) ++pos;
    if (pos >= size) return Fail(pos, "the text ends inside a tag");
    char c = text_[pos];
    if (c == '>' || c == '/' || c == '?') return true;
    if (pos == spelling_start) return Fail(pos, "no blank before an attribute");
    if (!IsNameStart(static_cast<unsigned char>(c))) return Fail(pos, "a character that begins no attribute name");
    size_t name_start = pos;
    pos = NameEnd(text_, pos);
    std::string_view name(text_.data() + name_start, pos - name_start);
    while (pos < size && IsBlank(text_[pos])) ++pos;
    if (pos >= size || text_[pos] != '=') return Fail(pos, "no '=' after the attribute " + std::string(name));
    ++pos;
    while (pos < size && IsBlank(text_[pos])) ++pos;
    if (pos >= size || (text_[pos] != '"' && text_[pos] != '\'')) {
      return Fail(pos, "the value of " + std::string(name) + " is not in quotes");
    }
    char quote = text_[pos++];
    const char* end = static_cast<const char*>(std::memchr(text_.data() + pos, quote, size - pos));
    if (end == nullptr) return Fail(pos - 1, "the value of " + std::string(name) + " is never closed");
    size_t value_end = static_cast<size_t>(end - text_.data());
    std::string_view value(text_.data() + pos, value_end - pos);
    if (!CheckText(value, true)) return FailInText(value, true);
    pos = value_end + 1;
    attributes.push_back({name, value, std::string_view(text_.data() + spelling_start, pos - spelling_start)});
  }
}

bool XmlScanner::ScanTag(size_t pos, XmlToken& token, std::vector<XmlAttribute>& attributes) {
  const size_t size = text_.size();
  size_t start = pos;
  ++pos;  // '<'
  bool closing = pos < size && text_[pos] == '/';
  bool declaration = pos < size && text_[pos] == '?';
  if (closing || declaration) ++pos;
  size_t name_start = pos;
  if (pos >= size || !IsNameStart(static_cast<unsigned char>(text_[pos]))) {
    return Fail(start, "a '<' that begins no tag");
  }
  pos = NameEnd(text_, pos);
  token.name = std::string_view(text_.data() + name_start, pos - name_start);
  const std::string shown = "<" + std::string(text_.substr(start + 1, pos - start - 1)) + ">";
  if (closing) {
    while (pos < size && IsBlank(text_[pos])) ++pos;
    if (pos >= size || text_[pos] != '>') return Fail(start, "the end tag " + shown + " is malformed");
  } else {
    if (!ScanAttributes(pos, attributes)) return false;
    if (declaration) {
      if (text_.substr(pos, 2) != "?>") return Fail(start, "the declaration is malformed");
      ++pos;
      token.kind = XmlToken::Kind::kDeclaration;
    } else if (text_[pos] == '/') {
      if (pos + 1 >= size || text_[pos + 1] != '>') return Fail(start, "the tag " + shown + " is malformed");
      ++pos;
      token.kind = XmlToken::Kind::kEmpty;
    } else if (text_[pos] == '>') {
      token.kind = XmlToken::Kind::kStart;
    } else {
      return Fail(start, "the tag " + shown + " is malformed");
    }
  }
  if (closing) token.kind = XmlToken::Kind::kEnd;
  token.raw = text_.substr(start, pos + 1 - start);
  pos_ = pos + 1;
  return true;
}

bool XmlScanner::CheckNesting(XmlToken& token) {
  switch (token.kind) {
    case XmlToken::Kind::kDeclaration:
      // Only as the very first thing in the text, a byte-order mark aside.
      if (token.lead.data() == text_.data() && WithoutByteOrderMark(token.lead).empty() && !seen_root_) return true;
      return Fail(offset_of(token.raw), "an XML declaration after the start of the text");
    case XmlToken::Kind::kStart:
    case XmlToken::Kind::kEmpty:
      if (root_closed_ || (open_.empty() && seen_root_)) {
        return Fail(offset_of(token.raw), "<" + std::string(token.name) + "> after the root element has closed");
      }
      seen_root_ = true;
      token.depth = open_.size();
      if (token.kind == XmlToken::Kind::kStart) open_.push_back(token.name);
      else root_closed_ = open_.empty();
      return true;
    case XmlToken::Kind::kEnd:
      if (open_.empty()) return Fail(offset_of(token.raw), "</" + std::string(token.name) + "> closes no element");
      if (open_.back() != token.name) {
        return Fail(offset_of(token.raw),
                    "</" + std::string(token.name) + "> where </" + std::string(open_.back()) + "> was due");
      }
      open_.pop_back();
      token.depth = open_.size();
      root_closed_ = open_.empty();
      return true;
  }
  return Fail(offset_of(token.raw), "an unknown token");
}

bool XmlScanner::Next(XmlToken& token, std::vector<XmlAttribute>& attributes) {
  if (failed_) return false;
  attributes.clear();
  const size_t size = text_.size();
  size_t pos = pos_;
  while (true) {
    const char* lt = static_cast<const char*>(std::memchr(text_.data() + pos, '<', size - pos));
    size_t next = lt ? static_cast<size_t>(lt - text_.data()) : size;
    std::string_view between = text_.substr(pos, next - pos);
    if (!CheckText(between)) return FailInText(between, false);
    // Character data is only kept inside the root element.
    if (open_.empty()) {
      for (char c : WithoutByteOrderMark(between)) {
        if (!IsBlank(c)) return Fail(offset_of(between), "text outside the root element");
      }
    }
    if (lt == nullptr) {
      pos_ = size;
      if (!open_.empty()) return Fail(size, "the text ends inside <" + std::string(open_.back()) + ">");
      if (!seen_root_) return Fail(size, size == 0 ? "the file is empty" : "no root element");
      return false;
    }
    pos = next;
    if (pos + 1 < size && (text_[pos + 1] == '!' || (text_[pos + 1] == '?' && text_.substr(pos, 6) != "<?xml "))) {
      if (!SkipMarkup(pos)) return false;
      continue;
    }
    token.lead = text_.substr(lead_start_, next - lead_start_);
    if (!ScanTag(next, token, attributes)) return false;
    if (!CheckNesting(token)) return false;
    lead_start_ = pos_;
    return true;
  }
}

bool IsWellFormedXml(std::string_view text) {
  XmlScanner scanner(text);
  XmlToken token;
  std::vector<XmlAttribute> attributes;
  while (scanner.Next(token, attributes)) {
  }
  return !scanner.failed();
}

int LineOfOffset(std::string_view text, size_t offset) {
  offset = std::min(offset, text.size());
  int line = 1;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n' || (text[i] == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) ++line;
  }
  return line;
}

}  // namespace zds

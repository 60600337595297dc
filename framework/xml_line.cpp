#include "zds/framework/xml_line.h"

#include <algorithm>
#include <cstring>

#include "zds/framework/xml_text.h"

namespace zds {
namespace {
const std::string kEmpty;
}

bool CXMLLine::SetLine(std::string_view text) {
  // A lone tag is not a document, so scan it with a throw-away wrapper when
  // it opens an element; end tags and declarations are read directly.
  std::string_view trimmed = text;
  while (!trimmed.empty() && (trimmed.front() == ' ' || trimmed.front() == '\t')) trimmed.remove_prefix(1);
  while (!trimmed.empty() && (trimmed.back() == ' ' || trimmed.back() == '\t' || trimmed.back() == '\r' ||
                              trimmed.back() == '\n')) {
    trimmed.remove_suffix(1);
  }
  attributes_.clear();
  raw_tail_.clear();
  if (trimmed.starts_with("</") && trimmed.ends_with(">")) {
    element_ = std::string(trimmed.substr(2, trimmed.size() - 3));
    while (!element_.empty() && element_.back() == ' ') element_.pop_back();
    type_ = Type::kEndElement;
    closed_ = false;
    return !element_.empty();
  }
  std::string probe(trimmed);
  bool declaration = probe.starts_with("<?");
  bool self_closing = probe.ends_with("/>");
  if (!declaration && !self_closing) {
    if (!probe.ends_with(">")) return false;
    // Replacing the end rather than inserting before it: g++ 12 warns
    // (-Wrestrict) about a string insert it cannot see is safe.
    probe.back() = '/';
    probe += '>';
  }
  // The scanner only views its text, so the text must outlive it.
  if (declaration) probe += "<x/>";
  XmlScanner scanner(probe);
  XmlToken token;
  std::vector<XmlAttribute> attributes;
  if (!scanner.Next(token, attributes)) return false;
  element_ = std::string(token.name);
  type_ = declaration ? Type::kDeclaration : Type::kElement;
  closed_ = self_closing;
  for (const XmlAttribute& attribute : attributes) {
    attributes_.emplace_back(std::string(attribute.name), DecodeXml(attribute.raw_value));
  }
  return true;
}

void CXMLLine::SetLine(std::string_view element, bool closed, Type type) {
  element_ = element;
  closed_ = closed;
  type_ = type;
  attributes_.clear();
  raw_tail_.clear();
}

void CXMLLine::AppendLine(std::string& out, bool closed) const {
  if (type_ == Type::kEndElement) {
    out += "</";
    out += element_;
    out += '>';
    return;
  }
  out += type_ == Type::kDeclaration ? "<?" : "<";
  out += element_;
  for (const auto& [name, value] : attributes_) {
    out += ' ';
    out += name;
    out += "=\"";
    AppendEscaped(out, value);
    out += '"';
  }
  out += raw_tail_;
  out += type_ == Type::kDeclaration ? "?>" : closed ? "/>" : ">";
}

std::string CXMLLine::GetLine(bool closed) const {
  std::string out;
  AppendLine(out, closed);
  return out;
}

void CXMLLine::AppendRawAttributes(std::string_view spelling) {
  while (!spelling.empty()) {
    size_t name_start = spelling.find_first_not_of(" \t\r\n");
    if (name_start == std::string_view::npos) return;
    size_t equals = spelling.find('=', name_start);
    size_t quote = spelling.find_first_of("\"'", equals);
    size_t close = quote == std::string_view::npos ? quote : spelling.find(spelling[quote], quote + 1);
    if (close == std::string_view::npos) {  // not from the scanner: keep it whole
      raw_tail_ += spelling;
      return;
    }
    std::string_view name = spelling.substr(name_start, equals - name_start);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
    if (!HasAttribute(name)) raw_tail_ += spelling.substr(0, close + 1);
    spelling.remove_prefix(close + 1);
  }
}

bool CXMLLine::IsName(std::string_view name) {
  auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':'; };
  if (name.empty() || !letter(name[0])) return false;
  return std::all_of(name.begin(), name.end(),
                     [&](char c) { return letter(c) || (c >= '0' && c <= '9') || c == '.' || c == '-'; });
}

void CXMLLine::AddAttribute(std::string_view name, std::string_view value) {
  attributes_.emplace_back(std::string(name), std::string(value));
}

const std::string& CXMLLine::GetAttrValue(std::string_view name) const {
  for (const auto& attribute : attributes_) {
    if (attribute.first == name) return attribute.second;
  }
  return kEmpty;
}

bool CXMLLine::HasAttribute(std::string_view name) const {
  for (const auto& attribute : attributes_) {
    if (attribute.first == name) return true;
  }
  return false;
}

void CXMLLine::SetAttrValue(std::string_view name, std::string_view value) {
  for (auto& attribute : attributes_) {
    if (attribute.first == name) {
      attribute.second = value;
      return;
    }
  }
  AddAttribute(name, value);
}

void CXMLLine::RemoveAttribute(std::string_view name) {
  std::erase_if(attributes_, [&](const auto& attribute) { return attribute.first == name; });
}

CXMLElementReader::CXMLElementReader(std::string_view tag, const XmlAttribute* attributes, size_t count,
                                     bool has_closing_line)
    : tag_(tag), attributes_(attributes), attribute_count_(count), has_closing_line_(has_closing_line) {
  if (count > 64) consumed_overflow_.assign(count - 64, false);
}

void CXMLElementReader::MarkConsumed(size_t index) {
  if (index < 64) consumed_mask_ |= uint64_t{1} << index;
  else consumed_overflow_[index - 64] = true;
}

bool CXMLElementReader::IsConsumed(size_t index) const {
  return index < 64 ? (consumed_mask_ >> index) & 1 : consumed_overflow_[index - 64];
}

namespace {

bool SameName(std::string_view candidate, std::string_view name) {
  return candidate.size() == name.size() &&
         (name.empty() || (candidate[0] == name[0] && std::memcmp(candidate.data(), name.data(), name.size()) == 0));
}

// One of 64 bits for a name, from its length and its first and last bytes.
uint64_t NameBit(std::string_view name) {
  if (name.empty()) return 1;
  unsigned hash = static_cast<unsigned>(name.size()) * 31u + static_cast<unsigned char>(name.front()) * 7u +
                  static_cast<unsigned char>(name.back());
  return uint64_t{1} << (hash & 63u);
}

}  // namespace

// Hooks ask for fields in the order they are written, which is the order a
// file of this program holds them in: the attribute after the last one
// found is tried first. A name the element cannot hold is told by one bit
// of a summary of its names, so that fields a record leaves out cost no
// scan of its attributes.
int CXMLElementReader::Find(std::string_view name) const {
  const size_t count = attribute_count_;
  if (next_ < count && SameName(attributes_[next_].name, name)) return static_cast<int>(next_++);
  if (!summarised_) {
    for (size_t i = 0; i < count; ++i) name_bits_ |= NameBit(attributes_[i].name);
    summarised_ = true;
  }
  if ((name_bits_ & NameBit(name)) == 0) return -1;
  for (size_t i = 0; i < count; ++i) {
    if (SameName(attributes_[i].name, name)) {
      next_ = i + 1;
      return static_cast<int>(i);
    }
  }
  return -1;
}

std::string CXMLElementReader::GetAttrValue(std::string_view name) {
  int index = Find(name);
  return index < 0 ? std::string() : GetAttrValueAt(static_cast<size_t>(index));
}

std::string CXMLElementReader::GetAttrValueAt(size_t index) {
  MarkConsumed(index);
  std::string_view raw = attributes_[index].raw_value;
  if (raw.find('&') == std::string_view::npos) return std::string(raw);
  std::string value;
  // Decoding never lengthens a value; reserving keeps the string from
  // growing by doubling, which would leave up to half of it unused.
  value.reserve(raw.size());
  // The loader has already checked every reference, so decoding cannot fail.
  AppendDecoded(value, raw);
  return value;
}

std::string_view CXMLElementReader::GetAttrName(size_t index) const { return attributes_[index].name; }

std::string_view CXMLElementReader::GetAttrTextAt(size_t index, std::string& scratch) {
  MarkConsumed(index);
  std::string_view raw = attributes_[index].raw_value;
  if (raw.find('&') == std::string_view::npos) return raw;
  scratch.clear();
  AppendDecoded(scratch, raw);
  return scratch;
}

bool CXMLElementReader::HasAttribute(std::string_view name) const { return Find(name) >= 0; }

void CXMLElementReader::AppendUnreadAttributes(std::string& out) const {
  // Sized first: the text is kept for as long as the node lives, and
  // growing it by appends would leave up to half of it unused.
  size_t size = out.size();
  for (size_t i = 0; i < attribute_count_; ++i) {
    if (!IsConsumed(i)) size += attributes_[i].spelling.size();
  }
  out.reserve(size);
  for (size_t i = 0; i < attribute_count_; ++i) {
    if (!IsConsumed(i)) out += attributes_[i].spelling;
  }
}

namespace {
bool HasText(std::string_view text) { return text.find_first_not_of(" \t\r\n") != std::string_view::npos; }

std::string_view Span(const char* from, const char* to) { return std::string_view(from, static_cast<size_t>(to - from)); }
}  // namespace

// Found when asked, which is seldom: the start tag ends at the first ">"
// after its last attribute (a value may hold ">", but not past its quote).
std::string_view CXMLElementReader::GetInnerText() const {
  if (!has_closing_line_ || raw_.empty()) return {};
  const std::string_view last = attribute_count_ > 0 ? attributes_[attribute_count_ - 1].spelling : tag_;
  const size_t after_last = static_cast<size_t>(last.data() + last.size() - raw_.data());
  const size_t open_end = raw_.find('>', after_last);
  const size_t close = raw_.rfind("</");
  if (open_end == std::string_view::npos || close == std::string_view::npos || close <= open_end) return {};
  return raw_.substr(open_end + 1, close - open_end - 1);
}

bool CXMLElementReader::UnreadAttributesInPlace(std::string_view& view) const {
  size_t first = 0;
  while (first < attribute_count_ && IsConsumed(first)) ++first;
  size_t end = first;
  while (end < attribute_count_ && !IsConsumed(end)) ++end;
  for (size_t i = end; i < attribute_count_; ++i) {
    if (!IsConsumed(i)) return false;
  }
  if (first == end) {
    view = {};
    return true;
  }
  const std::string_view last = attributes_[end - 1].spelling;
  view = Span(attributes_[first].spelling.data(), last.data() + last.size());
  return true;
}

bool CXMLElementReader::UnreadChildrenInPlace(std::string_view& view) const {
  for (const CXMLElementReader& child : children_) {
    if (child.read_) return false;
  }
  bool trailing = HasText(trailing_);
  if (children_.empty()) {
    view = trailing ? trailing_ : std::string_view();
    return true;
  }
  const CXMLElementReader& last = children_.back();
  const char* end = trailing ? trailing_.data() + trailing_.size() : last.raw_.data() + last.raw_.size();
  view = Span(children_.front().lead_.data(), end);
  return true;
}

void CXMLElementReader::AppendUnreadChildren(std::string& out) const {
  // Comments and character data between children are kept too, even next
  // to children a hook understood: they are not the hook's to drop.
  size_t size = out.size();
  for (const CXMLElementReader& child : children_) {
    if (!child.read_) {
      size += child.lead_.size() + child.raw_.size();
    } else if (HasText(child.lead_)) {
      size += child.lead_.size();
    }
  }
  if (HasText(trailing_)) size += trailing_.size();
  out.reserve(size);  // kept as long as the node lives: no slack from growing
  for (const CXMLElementReader& child : children_) {
    if (!child.read_) {
      out += child.lead_;
      out += child.raw_;
    } else if (HasText(child.lead_)) {
      out += child.lead_;
    }
  }
  if (HasText(trailing_)) out += trailing_;
}

}  // namespace zds

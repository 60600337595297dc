#include "zds/framework/notepad_doc.h"

#include "zds/framework/field_codec.h"
#include "zds/framework/xml_text.h"

namespace zds {
namespace {

constexpr std::string_view kHeaderTag = "header";

// Where the <header> element lies in `prologue`; empty at the end when
// there is none.
std::pair<size_t, size_t> FindHeader(std::string_view prologue) {
  std::string text = "<p>" + std::string(prologue) + "</p>";
  XmlScanner scanner(text);
  XmlToken token;
  std::vector<XmlAttribute> attributes;
  size_t start = std::string_view::npos;
  while (scanner.Next(token, attributes)) {
    if (token.depth != 1 || token.name != kHeaderTag) continue;
    size_t at = static_cast<size_t>(token.raw.data() - text.data()) - 3;
    if (token.kind == XmlToken::Kind::kEmpty) return {at, at + token.raw.size()};
    if (token.kind == XmlToken::Kind::kStart) start = at;
    if (token.kind == XmlToken::Kind::kEnd && start != std::string_view::npos) return {start, at + token.raw.size()};
  }
  return {prologue.size(), prologue.size()};
}

}  // namespace

void CNotepadHeader::Parse(std::string_view prologue) {
  type_.clear();
  columns_.clear();
  std::string text = "<p>" + std::string(prologue) + "</p>";
  XmlScanner scanner(text);
  XmlToken token;
  std::vector<XmlAttribute> attributes;
  while (scanner.Next(token, attributes)) {
    if (token.kind == XmlToken::Kind::kEnd) continue;
    auto value = [&](std::string_view name) {
      for (const XmlAttribute& attribute : attributes) {
        if (attribute.name == name) return DecodeXml(attribute.raw_value);
      }
      return std::string();
    };
    if (token.name == kHeaderTag) type_ = value("type");
    if (token.name == "index") columns_.push_back({value("id"), value("alias"), field::ParseAtoi(value("width"))});
  }
}

std::string CNotepadHeader::Compose(std::string_view newline) const {
  CXMLLine header;
  header.SetLine(kHeaderTag, false, CXMLLine::Type::kElement);
  header.AddAttribute("type", type_);
  std::string text = header.GetLine(false);
  for (const CNotepadIndex& column : columns_) {
    CXMLLine index;
    index.SetLine("index", true, CXMLLine::Type::kElement);
    index.AddAttribute("id", column.id);
    index.AddAttribute("alias", column.alias);
    index.AddAttribute("width", field::FormatInt(column.width));
    text += newline;
    text += index.GetLine(true);
  }
  text += newline;
  text += "</header>";
  return text;
}

const CNotepadIndex* CNotepadHeader::GetIndexByIndex(int index) const {
  if (index < 0 || index >= GetIndexNum()) return nullptr;
  return &columns_[static_cast<size_t>(index)];
}

bool CNotepadHeader::SetIndex(int index, CNotepadIndex column) {
  if (index < 0 || index >= GetIndexNum()) return false;
  columns_[static_cast<size_t>(index)] = std::move(column);
  return true;
}

bool CNotepadHeader::RemoveIndex(int index) {
  if (index < 0 || index >= GetIndexNum()) return false;
  columns_.erase(columns_.begin() + index);
  return true;
}

bool CNotepadExtendRec::UpdateKey(const CNotepadRecKey& key) {
  for (CNotepadRecKey& existing : keys_) {
    if (existing.alias == key.alias) {
      existing.value = key.value;
      return true;
    }
  }
  return false;
}

const CNotepadRecKey* CNotepadExtendRec::GetKeyByAlias(std::string_view alias) const {
  for (const CNotepadRecKey& key : keys_) {
    if (key.alias == alias) return &key;
  }
  return nullptr;
}

const CNotepadRecKey* CNotepadExtendRec::GetKeyByIndex(int index) const {
  if (index < 0 || index >= GetKeyNum()) return nullptr;
  return &keys_[static_cast<size_t>(index)];
}

std::string CNotepadExtendRec::GetValueByAlias(std::string_view alias) const {
  const CNotepadRecKey* key = GetKeyByAlias(alias);
  return key ? key->value : std::string();
}

bool CNotepadDoc::InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix,
                              int reserved1, int reserved2) {
  header_.Parse(GetPrologue());
  return CVFDLDoc::InitVFDLDoc(base_path, scheme, prefix, reserved1, reserved2);
}

bool CNotepadDoc::SetHeader(const CNotepadHeader& header, bool flag) {
  std::string_view prologue = GetPrologue();
  auto [start, end] = FindHeader(prologue);
  std::string text(prologue.substr(0, start));
  if (start == prologue.size()) {  // none yet: on a line of its own before the root folder
    text = std::string(Newline()) + header.Compose(Newline()) + std::string(prologue);
  } else {
    text += header.Compose(Newline());
    text += prologue.substr(end);
  }
  if (!SetPrologue(text, flag)) return false;
  header_ = header;
  return true;
}

}  // namespace zds

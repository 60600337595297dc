#include "framework/notepad_doc.h"

#include <cstdlib>

namespace zds {

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
    if (token.name == "header") type_ = value("type");
    if (token.name == "index") columns_.push_back({value("id"), value("alias"), std::atoi(value("width").c_str())});
  }
}

const CNotepadIndex* CNotepadHeader::GetIndexByIndex(int index) const {
  if (index < 0 || index >= GetIndexNum()) return nullptr;
  return &columns_[static_cast<size_t>(index)];
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

bool CNotepadDoc::InitExtendRecItem(CXMLElementReader& item, CVFDLRec& rec) {
  auto* extend = dynamic_cast<CNotepadExtendRec*>(rec.GetExtend());
  if (extend == nullptr) return true;
  extend->createtime = item.GetAttrValue("createtime");
  extend->updatetime = item.GetAttrValue("updatetime");
  extend->accesstime = item.GetAttrValue("accesstime");
  extend->RemoveAllKeys();
  for (CXMLElementReader& child : item.GetChildren()) {
    if (child.GetTag() != "key") continue;
    child.MarkRead();
    extend->AddKey({child.GetAttrValue("alias"), child.GetAttrValue("value")});
  }
  return true;
}

void CNotepadDoc::CreateExtendRecText(const CVFDLRec& rec, CXMLLine& line, std::vector<std::string>& lines) const {
  const auto* extend = dynamic_cast<const CNotepadExtendRec*>(rec.GetExtend());
  if (extend == nullptr) return;
  if (!extend->createtime.empty()) line.AddAttribute("createtime", extend->createtime);
  if (!extend->updatetime.empty()) line.AddAttribute("updatetime", extend->updatetime);
  if (!extend->accesstime.empty()) line.AddAttribute("accesstime", extend->accesstime);
  for (int i = 0; i < extend->GetKeyNum(); ++i) {
    const CNotepadRecKey* key = extend->GetKeyByIndex(i);
    CXMLLine key_line;
    key_line.SetLine("key", true, CXMLLine::Type::kElement);
    key_line.AddAttribute("alias", key->alias);
    key_line.AddAttribute("value", key->value);
    lines.push_back(key_line.GetLine(true));
  }
}

}  // namespace zds

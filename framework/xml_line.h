// CXMLLine: one element line of a record document, its tag and its
// attributes in order, for building and editing lines.
//
// CXMLElementReader: the element the loader is reading, handed to a
// document's hooks. Every attribute or child element a hook reads is marked
// as understood; whatever no hook understood is kept by the node and written
// back unchanged, so a newer file survives an older program.

#ifndef ZDS_FRAMEWORK_XML_LINE_H_
#define ZDS_FRAMEWORK_XML_LINE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zds/framework/xml_escape.h"

namespace zds {

struct XmlAttribute;  // the scanner's (xml_text.h)
class LocalTimeCache;  // platform/time.h

class CXMLLine {
 public:
  enum class Type { kElement, kEndElement, kDeclaration };

  CXMLLine() = default;
  explicit CXMLLine(std::string_view text) { SetLine(text); }

  // Parses one tag ("<rec id="0001"/>", "</folder>"); false when it is not one.
  bool SetLine(std::string_view text);
  // Builds a tag from its parts.
  void SetLine(std::string_view element, bool closed, Type type);
  // The tag as text; `closed` makes an element close itself ("/>").
  std::string GetLine(bool closed) const;
  void AppendLine(std::string& out, bool closed) const;

  void SetElement(std::string_view element) { element_ = element; }
  const std::string& GetElement() const { return element_; }
  void SetType(Type type) { type_ = type; }
  Type GetType() const { return type_; }
  bool IsClosed() const { return closed_; }
  bool IsElementOK(std::string_view element) const { return element_ == element; }
  // Whether `name` may name an element or attribute: a letter, "_" or ":"
  // first, then letters, digits, ".", "-", "_" and ":".
  static bool IsName(std::string_view name);

  void AddAttribute(std::string_view name, std::string_view value);
  // The value, or an empty string when the attribute is absent.
  const std::string& GetAttrValue(std::string_view name) const;
  bool HasAttribute(std::string_view name) const;
  // Replaces the value, or appends the attribute when absent.
  void SetAttrValue(std::string_view name, std::string_view value);
  void RemoveAttribute(std::string_view name);
  size_t GetAttributeCount() const { return attributes_.size(); }
  const std::pair<std::string, std::string>& GetAttribute(size_t index) const { return attributes_[index]; }
  // Attributes kept in their stored spelling (" name="value"") after the
  // others; any whose name the line already has is left out.
  void AppendRawAttributes(std::string_view spelling);

 private:
  std::string element_;
  Type type_ = Type::kElement;
  bool closed_ = false;
  std::vector<std::pair<std::string, std::string>> attributes_;
  std::string raw_tail_;
};

class CXMLElementReader {
 public:
  // `attributes` (count of them) stay the loader's and must outlive the reader.
  CXMLElementReader(std::string_view tag, const XmlAttribute* attributes, size_t count, bool has_closing_line);

  std::string_view GetTag() const { return tag_; }
  // False for an element that closes itself ("<rec .../>").
  bool HasClosingLine() const { return has_closing_line_; }

  // The decoded value (empty when absent); marks the attribute as understood.
  std::string GetAttrValue(std::string_view name);
  bool HasAttribute(std::string_view name) const;
  // The attributes by place, for a reader that takes them as they come.
  size_t GetAttrCount() const { return attribute_count_; }
  std::string_view GetAttrName(size_t index) const;
  // The decoded value of attribute `index`; marks it as understood.
  std::string GetAttrValueAt(size_t index);
  // The same without a copy where the stored value needs no decoding: a
  // view into the text, or into `scratch` where it held references.
  std::string_view GetAttrTextAt(size_t index, std::string& scratch);
  bool IsAttrRead(size_t index) const { return IsConsumed(index); }
  // For reading the element's times: shared by every element of one load,
  // null outside a load.
  LocalTimeCache* GetTimeCache() const { return time_cache_; }

  // Direct child elements, in order (records and other leaf nodes only).
  std::span<CXMLElementReader> GetChildren() { return children_; }
  // Marks a child element as understood, so it is not kept as unknown content.
  void MarkRead() { read_ = true; }
  bool IsRead() const { return read_; }
  // The element's whole text, tags included, and what stood before it.
  std::string_view GetRawText() const { return raw_; }
  // The text between a child element's start and end tags, as stored:
  // empty for one that closes itself.
  std::string_view GetInnerText() const;

  // Used by the loader.
  void SetChildren(std::vector<CXMLElementReader> children) { children_ = std::move(children); }
  void SetRawText(std::string_view lead, std::string_view raw) { lead_ = lead; raw_ = raw; }
  void SetTrailingText(std::string_view text) { trailing_ = text; }
  void SetTimeCache(LocalTimeCache* cache) { time_cache_ = cache; }
  void AppendUnreadAttributes(std::string& out) const;
  void AppendUnreadChildren(std::string& out) const;
  // The same as one piece of the element's text, when what was not read
  // stands together there (true); false when it is scattered.
  bool UnreadAttributesInPlace(std::string_view& view) const;
  bool UnreadChildrenInPlace(std::string_view& view) const;

 private:
  int Find(std::string_view name) const;
  void MarkConsumed(size_t index);
  bool IsConsumed(size_t index) const;

  std::string_view tag_;
  const XmlAttribute* attributes_;
  size_t attribute_count_;
  uint64_t consumed_mask_ = 0;          // the first 64 attributes
  mutable size_t next_ = 0;             // where the next look-up starts
  mutable uint64_t name_bits_ = 0;      // a bit for each name the element holds
  mutable bool summarised_ = false;
  std::vector<bool> consumed_overflow_;  // the rest, rarely any
  bool has_closing_line_;
  bool read_ = false;
  std::string_view lead_;
  std::string_view raw_;
  std::string_view trailing_;  // between the last child and the closing tag
  std::vector<CXMLElementReader> children_;
  LocalTimeCache* time_cache_ = nullptr;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_LINE_H_

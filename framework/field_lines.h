// Codecs of the child lines a record carries between its opening and its
// closing line, as items of a field list (field_codec.h):
//
//   field::ChildLines("attachment", &CMIDLExtendRec::attachments, kAttachmentFields)
//       .CountedBy(&CMIDLExtendRec::attach_num)
//   field::ChildLines("vcard", &CPIDLExtendRec::extra_lines, field::ValueIn("line"))
//   field::PageLines("content", &CFavNPDExtendRec::pages)
//
// A list is read from every child line of its tag that nothing before it
// in the list took, in file order; each line is marked understood, so it is
// not kept again among the unknown content. Lines of other tags are left to
// the items after it, and what no item takes is kept and written back.

#ifndef ZDS_FRAMEWORK_FIELD_LINES_H_
#define ZDS_FRAMEWORK_FIELD_LINES_H_

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/field_codec.h"
#include "zds/framework/vfdl_node.h"
#include "zds/framework/xml_escape.h"

namespace zds::field {

// Calls `read` (child) for every child line of `item` with `tag` that
// nothing took yet, in file order, and marks each taken.
template <typename Read>
void TakeChildLines(CXMLElementReader& item, std::string_view tag, const Read& read) {
  for (CXMLElementReader& child : item.GetChildren()) {
    if (child.IsRead() || child.GetTag() != tag) continue;
    child.MarkRead();
    read(child);
  }
}

// A child line that holds one text in one attribute: <vcard line="..."/>.
struct ValueIn {
  std::string_view name;
  bool Read(CXMLElementReader& child, std::string& value) const {
    value = child.GetAttrValue(name);
    return true;
  }
  void Write(const std::string& value, CXMLLine& line, std::vector<std::string>& /*lines*/) const {
    line.AddAttribute(name, value);
  }
};

// One child line <tag .../> per element of a list the owner holds, each
// read and written by `codec` (a field list of the element's fields, or
// ValueIn). KeepingUnreadIn keeps each line's attributes that the codec
// did not read in a member of the element, in their stored spelling, and
// writes them back after the known ones. CountedBy writes as many lines as
// a count field of the owner says (never more than the list holds), not
// as many as the list holds: the mail record's "attachnum" governs its
// "attachment" lines, whatever the lines read were.
template <typename Owner, typename Element, typename Codec>
struct ChildLineList {
  static constexpr bool kAttribute = false;
  std::string_view tag;
  std::vector<Element> Owner::*list;
  Codec codec;
  std::string Element::*unread = nullptr;
  int32_t Owner::*count = nullptr;

  constexpr ChildLineList KeepingUnreadIn(std::string Element::*member) const {
    ChildLineList lines = *this;
    lines.unread = member;
    return lines;
  }
  constexpr ChildLineList CountedBy(int32_t Owner::*member) const {
    ChildLineList lines = *this;
    lines.count = member;
    return lines;
  }

  void ReadRest(CXMLElementReader& item, Owner& owner) const {
    std::vector<Element>& elements = owner.*list;
    elements.clear();
    TakeChildLines(item, tag, [&](CXMLElementReader& child) {
      Element& element = elements.emplace_back();
      codec.Read(child, element);
      if (unread != nullptr) child.AppendUnreadAttributes(element.*unread);
    });
  }
  void Write(const Owner& owner, CXMLLine& /*line*/, std::vector<std::string>& lines) const {
    const std::vector<Element>& elements = owner.*list;
    size_t written = elements.size();
    if (count != nullptr) written = owner.*count < 0 ? 0 : std::min(written, static_cast<size_t>(owner.*count));
    std::vector<std::string> nested;  // a child line has no lines of its own
    for (size_t i = 0; i < written; ++i) {
      CXMLLine line;
      line.SetLine(tag, true, CXMLLine::Type::kElement);
      codec.Write(elements[i], line, nested);
      if (unread != nullptr) line.AppendRawAttributes(elements[i].*unread);
      lines.push_back(line.GetLine(true));
    }
  }
};
template <typename Owner, typename Element, typename Codec>
constexpr ChildLineList<Owner, Element, Codec> ChildLines(std::string_view tag, std::vector<Element> Owner::*list,
                                                          Codec codec) {
  return {tag, list, codec};
}

// Pages of three lines each: <tag alias="...">, the page's text as the
// whole next line, and the closing line. The text is escaped like an
// attribute value, so that it stays one line and any text survives; a
// stored line without references reads as it stands. A page whose text
// line is missing or empty has empty text.
template <typename Owner>
struct PageLineList {
  static constexpr bool kAttribute = false;
  std::string_view tag;
  std::vector<CVFPageRec> Owner::*pages;

  void ReadRest(CXMLElementReader& item, Owner& owner) const {
    std::vector<CVFPageRec>& read = owner.*pages;
    read.clear();
    TakeChildLines(item, tag, [&](CXMLElementReader& child) {
      CVFPageRec& page = read.emplace_back();
      page.alias = child.GetAttrValue("alias");
      page.text = DecodeXml(TextLine(child.GetInnerText()));
    });
  }
  void Write(const Owner& owner, CXMLLine& /*line*/, std::vector<std::string>& lines) const {
    for (const CVFPageRec& page : owner.*pages) {
      CXMLLine open;
      open.SetLine(tag, false, CXMLLine::Type::kElement);
      open.AddAttribute("alias", page.alias);
      lines.push_back(open.GetLine(false));
      lines.push_back(EscapeXml(page.text));
      lines.push_back("</" + std::string(tag) + ">");
    }
  }

 private:
  // The line after the start tag's line (or what follows the start tag on
  // its own line, in an element written on one line).
  static std::string_view TextLine(std::string_view inner) {
    if (inner.starts_with("\r\n")) inner.remove_prefix(2);
    else if (inner.starts_with('\n')) inner.remove_prefix(1);
    return inner.substr(0, inner.find_first_of("\r\n"));
  }
};
template <typename Owner>
constexpr PageLineList<Owner> PageLines(std::string_view tag, std::vector<CVFPageRec> Owner::*pages) {
  return {tag, pages};
}

}  // namespace zds::field

#endif  // ZDS_FRAMEWORK_FIELD_LINES_H_

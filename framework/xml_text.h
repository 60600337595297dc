// XmlScanner, the streaming tokenizer over a document's text that checks it
// is well-formed as it goes; the framework's own, not installed. Values
// are escaped and decoded as xml_escape.h says.
//
// Names (of elements and attributes) are XML 1.0 names within single-byte
// text: a letter, "_" or ":" first, then letters, digits, ".", "-", "_",
// ":". A UTF-8 byte-order mark may open the text.
//
// The scanner hands out only structural tokens (declaration, start, end and
// empty elements). Everything between two tokens (blanks, line breaks,
// comments, character data, a byte-order mark) is returned as the token's
// `lead`, a view into the text, so that a writer can reproduce the input
// byte for byte.

#ifndef ZDS_FRAMEWORK_XML_TEXT_H_
#define ZDS_FRAMEWORK_XML_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/xml_escape.h"

namespace zds {

struct XmlAttribute {
  std::string_view name;
  std::string_view raw_value;  // between the quotes, still escaped
  std::string_view spelling;   // from the blank before the name to the closing quote
};

struct XmlToken {
  enum class Kind { kDeclaration, kStart, kEnd, kEmpty };
  Kind kind = Kind::kStart;
  std::string_view lead;  // text since the previous token
  std::string_view raw;   // the whole tag, "<" to ">"
  std::string_view name;
  size_t depth = 0;       // nesting depth of the element (root element: 0)
};

// Where a text stopped being well-formed and what was wrong there.
struct XmlProblem {
  size_t offset = 0;  // into the text
  std::string what;   // "</item> closes <folder>", "a '<' in an attribute value", ...
};

class XmlScanner {
 public:
  explicit XmlScanner(std::string_view text) : text_(text) {}

  // The next token, with its attributes in `attributes` (cleared first).
  // False at the end of the text or on malformed text; then failed() tells,
  // and problem() says where and why.
  bool Next(XmlToken& token, std::vector<XmlAttribute>& attributes);
  bool failed() const { return failed_; }
  const XmlProblem& problem() const { return problem_; }
  // Text after the last token, valid once Next returned false without failure.
  std::string_view trailing() const { return text_.substr(lead_start_); }
  size_t offset_of(std::string_view piece) const { return static_cast<size_t>(piece.data() - text_.data()); }

 private:
  // Records the first problem met (a later one is its consequence) and
  // fails the scan; false, for the caller to return.
  bool Fail(size_t at, std::string what);
  // The first byte of `text` (a view into the text) that CheckText refuses, with why.
  bool FailInText(std::string_view text, bool reject_lt);
  std::string_view WithoutByteOrderMark(std::string_view lead) const;
  bool SkipMarkup(size_t& pos);  // comments, processing instructions, doctype
  bool ScanTag(size_t pos, XmlToken& token, std::vector<XmlAttribute>& attributes);
  bool ScanAttributes(size_t& pos, std::vector<XmlAttribute>& attributes);
  // Every reference well-formed, no forbidden control byte and, with
  // `reject_lt` (attribute values), no "<".
  bool CheckText(std::string_view text, bool reject_lt = false) const;
  bool CheckNesting(XmlToken& token);

  std::string_view text_;
  size_t pos_ = 0;
  size_t lead_start_ = 0;
  bool failed_ = false;
  bool root_closed_ = false;
  bool seen_root_ = false;
  std::vector<std::string_view> open_;
  XmlProblem problem_;
};

// Checks that `text` is one well-formed document in the subset the store uses.
bool IsWellFormedXml(std::string_view text);

// The line of the byte at `offset`, 1 for the first; CR LF, LF and a lone
// CR each end a line.
int LineOfOffset(std::string_view text, size_t offset);

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_TEXT_H_

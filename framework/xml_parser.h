// CXMLParser: a document's text as a list of lines, for tools that work on
// the stored text directly (finding an element's line, the line that closes
// it, inserting and removing lines). Documents themselves keep their data
// in the node tree; this class never touches a file.

#ifndef ZDS_FRAMEWORK_XML_PARSER_H_
#define ZDS_FRAMEWORK_XML_PARSER_H_

#include <string>
#include <string_view>
#include <vector>

namespace zds {

class CXMLParser {
 public:
  // Replaces the whole text; fails (keeping the old text) when it does not parse.
  bool SetXml(std::string_view text);
  std::string GetXml() const;

  int GetLineCount() const { return static_cast<int>(lines_.size()); }
  // The line's text without its line break; empty when out of range.
  std::string GetLine(int index) const;

  // The first line at or after `from` that opens or holds an element `tag`; -1 if none.
  int GetTagLine(int from, std::string_view tag) const;
  // The line that closes the element opened on `line` (the line itself for
  // an element closed on it); -1 if none.
  int GetMatchTagLine(int line) const;
  // Inserts lines before line `at` (at the end for GetLineCount()).
  bool AddLine(int at, const std::vector<std::string>& lines);
  // Removes lines `from` to `to`, both included.
  bool DelLine(int from, int to);

 private:
  std::vector<std::string> lines_;
  std::string newline_ = "\r\n";
  bool final_newline_ = true;
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_PARSER_H_

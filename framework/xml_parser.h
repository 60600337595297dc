// CXMLParser: a document's text as a list of lines, for tools that work on
// the stored text directly (finding an element's line, the line that closes
// it, inserting and removing lines). Documents themselves keep their data
// in the node tree; this class never touches a file.
//
// A line ends at CR LF, LF or a lone CR, and each line keeps its own end,
// so the text comes back byte for byte whatever the mix. Added lines take
// the end most lines of the document have (CR LF for a text without any).

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
  struct Line {
    std::string text;
    std::string_view end;  // "\r\n", "\n", "\r", or "" for a last line without one
  };

  std::vector<Line> lines_;
  std::string_view newline_ = "\r\n";
};

}  // namespace zds

#endif  // ZDS_FRAMEWORK_XML_PARSER_H_

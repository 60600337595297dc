// Bookmark files: the HTML page ("<!DOCTYPE NETSCAPE-Bookmark-file-1>")
// in which every browser exports and imports its bookmarks. Folders are
// "<DT><H3>" headings followed by a "<DL>" list of their entries, links
// "<DT><A HREF=...>" with their times in "ADD_DATE" and "LAST_MODIFIED"
// (seconds since 1970).
//
// A tree travels as a flat list in document order, each entry with its
// depth (0 for the top list), so that no reader or writer recurses however
// deep a file nests. Reading is forgiving, as browsers are: unclosed tags,
// a list without a heading (its entries join the folder around it), bytes
// of 0x80 and above (kept as they are) and character references are all
// taken; a link without an address is counted as refused and left out.

#ifndef ZDS_BROWSING_BOOKMARK_HTML_H_
#define ZDS_BROWSING_BOOKMARK_HTML_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zds {

struct BookmarkItem {
  bool folder = false;
  int depth = 0;  // the entries of a folder at depth d have depth d + 1
  std::string title;
  std::string url;             // links only
  int64_t add_date = 0;        // seconds since 1970-01-01 UTC; 0 when unknown
  int64_t last_modified = 0;
  bool operator==(const BookmarkItem&) const = default;
};

struct BookmarkFile {
  std::vector<BookmarkItem> items;
  int refused = 0;  // links without an address
};

// Folders nested deeper than this are flattened into the one above them.
inline constexpr int kMaxBookmarkDepth = 900;

BookmarkFile ReadBookmarkHtml(std::string_view html);
// A depth that jumps by more than one below its folder is taken as one.
std::string WriteBookmarkHtml(const std::vector<BookmarkItem>& items);

}  // namespace zds

#endif  // ZDS_BROWSING_BOOKMARK_HTML_H_

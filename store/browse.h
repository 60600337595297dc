// What the browse dialogs show. The dialogs are the host's: the store hands
// it the entries of a tree or list, in display order, and the host's dialog
// fills itself from them and says which one the user chose.
//
//   folders:   the service index's folders and accounts, and the folders
//              of the documents open below them (favorites among them);
//   files:     the mail messages and chat history entries of the documents
//              open below the service index;
//   templates: the templates document's folders and templates, all of
//              them or those below one of its top folders.
//
// The facade's OpenBrowseFolderDlg, OpenBrowseFileDlg and OpenBrowseATLDlg
// (zds.h) run a host's dialog over these entries.

#ifndef ZDS_STORE_BROWSE_H_
#define ZDS_STORE_BROWSE_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace zds {

class CCASDVFDLDoc;
class CVFDLDoc;
class CVFDLNode;

struct CBrowseItem {
  std::string pos;    // the node's position
  std::string path;   // its virtual store path ("kov:\Velmora\Favorites\Work")
  std::string alias;  // its label
  int kind = 0;       // its extension type: icon and kind
  int depth = 1;      // 1 for an entry at the top
  bool is_folder = false;
  bool operator==(const CBrowseItem&) const = default;
};

// A host's modal dialog over `items`: 1 with the chosen entry's index in
// `chosen` when the user pressed OK, 0 when cancelled.
using CBrowseDialog = std::function<int(const std::vector<CBrowseItem>& items, size_t& chosen)>;

// The entries, depth first in document order, through the documents open
// behind nodes (CCASDVFDLDoc::GetChildren); null documents give none.
std::vector<CBrowseItem> GetBrowseFolderItems(const CCASDVFDLDoc* service_index);
std::vector<CBrowseItem> GetBrowseFileItems(const CCASDVFDLDoc* service_index);
// `folder` is the index of a top folder ("Common" 0, "New Mail" 1,
// "Forward Mail" 2, "Diary" 3): its own entries at depth 1; any other
// number gives the whole tree.
std::vector<CBrowseItem> GetBrowseATLItems(const CVFDLDoc* templates, int folder);

}  // namespace zds

#endif  // ZDS_STORE_BROWSE_H_

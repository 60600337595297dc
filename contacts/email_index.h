// The e-mail index of a contact book: which contacts hold an address,
// found without looking at the others. Addresses are compared without
// regard to ASCII letter case; each address keeps its holders in document
// order, so the first holder is the one a walk through the book would meet
// first.

#ifndef ZDS_CONTACTS_EMAIL_INDEX_H_
#define ZDS_CONTACTS_EMAIL_INDEX_H_

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zds/framework/vfdl_node.h"

namespace zds {

// The index key of an address: the address with A-Z folded to a-z. Other
// bytes (UTF-8 included) are compared as they are.
std::string FoldEmailKey(std::string_view address);

class CEmailIndex {
 public:
  // Files `node` under each of `keys` (folded, any order, repeats allowed).
  // `moved` receives the keys whose first holder is now `node`.
  void Add(CVFDLNode& node, std::vector<std::string> keys, std::vector<std::string>& moved);
  // Takes `node` out. `moved` receives the keys whose first holder it was.
  void Remove(const CVFDLNode& node, std::vector<std::string>& moved);
  // The first holder of a folded key in document order, or null.
  CVFDLNode* First(const std::string& key) const;
  // Every key with a holder, each once.
  std::vector<std::string> Keys() const;
  void Clear();

 private:
  std::unordered_map<std::string, std::vector<CVFDLNode*>> holders_;
  std::unordered_map<const CVFDLNode*, std::vector<std::string>> keys_of_;
};

}  // namespace zds

#endif  // ZDS_CONTACTS_EMAIL_INDEX_H_

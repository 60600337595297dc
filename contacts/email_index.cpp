#include "zds/contacts/email_index.h"

#include <algorithm>

#include "zds/framework/vfdl_walk.h"
#include "zds/platform/ascii.h"

namespace zds {

std::string FoldEmailKey(std::string_view address) { return platform::AsciiLowerCase(address); }

void CEmailIndex::Add(CVFDLNode& node, std::vector<std::string> keys, std::vector<std::string>& moved) {
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  if (keys.empty()) return;
  for (const std::string& key : keys) {
    std::vector<CVFDLNode*>& holders = holders_[key];
    // A new contact usually goes last: the walk back then stops at once.
    auto at = holders.end();
    while (at != holders.begin() && PrecedesInDocument(node, **(at - 1))) --at;
    if (at == holders.begin()) moved.push_back(key);
    holders.insert(at, &node);
  }
  keys_of_[&node] = std::move(keys);
}

void CEmailIndex::Remove(const CVFDLNode& node, std::vector<std::string>& moved) {
  auto found = keys_of_.find(&node);
  if (found == keys_of_.end()) return;
  for (const std::string& key : found->second) {
    auto holders = holders_.find(key);
    if (holders->second.front() == &node) moved.push_back(key);
    std::erase(holders->second, &node);
    if (holders->second.empty()) holders_.erase(holders);
  }
  keys_of_.erase(found);
}

CVFDLNode* CEmailIndex::First(const std::string& key) const {
  auto found = holders_.find(key);
  return found == holders_.end() ? nullptr : found->second.front();
}

std::vector<std::string> CEmailIndex::Keys() const {
  std::vector<std::string> keys;
  keys.reserve(holders_.size());
  for (const auto& [key, holders] : holders_) keys.push_back(key);
  return keys;
}

void CEmailIndex::Clear() {
  holders_.clear();
  keys_of_.clear();
}

}  // namespace zds

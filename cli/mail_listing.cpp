#include "cli/mail_listing.h"

#include <algorithm>

#include "cli/command_table.h"
#include "zds/framework/vfdl_walk.h"

namespace zds::cli {
namespace {

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

CAIDLService* FindMailAccount(const CAIDLDoc& index, std::string_view typed) {
  if (index.GetRoot() == nullptr || typed.empty()) return nullptr;
  if (typed.find(':') != std::string_view::npos || typed.find('\\') != std::string_view::npos) {
    CAIDLService* service = CAIDLService::From(index.GetNodeByPos(StoredPos(typed)));
    return service != nullptr && service->name == kMailAccountKind ? service : nullptr;
  }
  CAIDLService* blind = nullptr;
  for (CVFDLNode& node : Subtree(*index.GetRoot())) {
    CAIDLService* service = CAIDLService::From(&node);
    if (service == nullptr || service->name != kMailAccountKind) continue;
    if (service->GetAlias() == typed) return service;
    if (blind == nullptr && SameIgnoringCase(service->GetAlias(), typed)) blind = service;
  }
  return blind;
}

std::string ShownMailFolder(const CMBoxController& box, const CVFDLNode& folder) {
  const std::string root = box.GetRootPath() + '\\';
  std::string path = folder.GetPath();
  if (path.starts_with(root)) path.erase(0, root.size());
  return ShownPos(path);
}

CVFDLNode* FindMailFolder(const CMBoxController& box, std::string_view typed) {
  if (typed.empty()) return nullptr;
  const std::string stored = StoredPos(typed);
  CVFDLNode* node = nullptr;
  if (stored.starts_with("kov:")) {
    node = box.GetNodeByPos(stored);
    if (node == nullptr) node = box.GetNodeByPath(stored);
  } else {
    node = box.GetNodeByPath(box.GetRootPath() + '\\' + stored);
  }
  if (node == nullptr || !node->IsFolder() || node == box.GetRoot()) return nullptr;
  return node;
}

Listing MailListing(Call& call) {
  return Listing(call, {"id", "new", "date", "sender", "subject", "attachments"});
}

void AddMailRows(Listing& listing, const CMIDLDoc& doc) {
  const int count = doc.GetRecNum("");
  for (int i = 0; i < count; ++i) {
    const CMIDLRec* rec = doc.GetRecByIndex(i);
    if (rec == nullptr) continue;
    const CMIDLExtendRec& mail = rec->GetExtendRec();
    listing.Row({rec->GetID(), mail.new_flag ? "N" : "-", mail.send_date, mail.sender, mail.subject,
                 std::to_string(mail.attach_num)});
  }
}

}  // namespace zds::cli

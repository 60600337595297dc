#include "zds/contacts/pidl_doc.h"

#include <algorithm>
#include <cstdint>
#include <random>


namespace zds {
namespace {

std::vector<std::string> EmailKeysOf(const CPIDLExtendRec& contact) {
  std::vector<std::string> keys;
  for (const CContactItem& email : contact.emails) {
    if (!email.value.empty()) keys.push_back(FoldEmailKey(email.value));
  }
  return keys;
}

}  // namespace

std::string NewContactUID(std::mt19937_64& random) {
  uint64_t high = random(), low = random();
  high = (high & ~0xf000ull) | 0x4000ull;                       // version 4
  low = (low & ~(0xc000ull << 48)) | (0x8000ull << 48);         // RFC 4122 variant
  const char* digits = "0123456789abcdef";
  std::string uid = "urn:uuid:";
  for (int i = 0; i < 32; ++i) {
    uint64_t half = i < 16 ? high : low;
    uid += digits[(half >> (60 - 4 * (i % 16))) & 0xf];
    if (i == 7 || i == 11 || i == 15 || i == 19) uid += '-';
  }
  return uid;
}

CPIDLDoc::~CPIDLDoc() {
  if (watcher_ == nullptr) return;
  for (const std::string& key : index_.Keys()) watcher_->OnFirstHolderChanged(*this, key, nullptr);
  watcher_->OnPIDLDocClosing(*this);
}

bool CPIDLDoc::SetXml(std::string text) {
  rebuilding_ = true;
  bool replaced = CVFDLFamily::SetXml(std::move(text));
  rebuilding_ = false;
  RebuildIndex();  // also after a failure: the build touched nodes the index does not know
  return replaced;
}

void CPIDLDoc::PrepareNewRec(CPIDLRec& contact) {
  if (contact.GetExtendRec().uid.empty()) contact.GetExtendRec().uid = NextUID();
}

// std::random_device is slow to open: it seeds one generator per book.
std::string CPIDLDoc::NextUID() {
  if (!uid_random_) {
    std::random_device entropy;
    std::seed_seq seed{entropy(), entropy(), entropy(), entropy()};
    uid_random_ = std::make_unique<std::mt19937_64>(seed);
  }
  return NewContactUID(*uid_random_);
}

// Every node entering the tree, or changed in it, passes here.
void CPIDLDoc::InitNodeExtendType(CVFDLNode& node) {
  CVFDLFamily::InitNodeExtendType(node);
  if (!rebuilding_ && node.GetNodeType() == kNodeRec) IndexContact(node);
}

void CPIDLDoc::OnNodeRemoving(CVFDLNode& node) {
  std::vector<std::string> moved;
  index_.Remove(node, moved);
  Tell(std::move(moved));
}

void CPIDLDoc::IndexContact(CVFDLNode& node) {
  std::vector<std::string> moved;
  index_.Remove(node, moved);
  index_.Add(node, EmailKeysOf(AsRec(&node)->GetExtendRec()), moved);
  Tell(std::move(moved));
}

// Walks the tree in document order, so each address's holders go in in order.
void CPIDLDoc::RebuildIndex() {
  std::vector<std::string> moved = index_.Keys();
  index_.Clear();
  for (CPIDLRec& contact : Recs()) index_.Add(contact, EmailKeysOf(contact.GetExtendRec()), moved);
  Tell(std::move(moved));
}

// Each key once, with its first holder now (null for none).
void CPIDLDoc::Tell(std::vector<std::string> moved) {
  if (watcher_ == nullptr || moved.empty()) return;
  std::sort(moved.begin(), moved.end());
  moved.erase(std::unique(moved.begin(), moved.end()), moved.end());
  for (const std::string& key : moved) watcher_->OnFirstHolderChanged(*this, key, FindByEmailKey(key));
}

}  // namespace zds

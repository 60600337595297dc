#include "zds/contacts/pidl_doc.h"

#include <algorithm>
#include <cstdint>
#include <random>

#include "zds/framework/field_codec.h"

namespace zds {
namespace {

// A flag left out when false: most entries are not preferred.
struct FlagUnlessFalseCodec {
  void Read(const std::string& text, bool& value) const { value = text == "yes"; }
  bool Write(bool value, std::string& text) const {
    text = "yes";
    return value;
  }
};

constexpr auto kPlaceWords = field::MakeWords(
    field::kWords.ReadingUnknownAs(kContactPlaceOther).WritingUnknownAs("other"),
    field::Word{kContactPlaceOther, "other"}, field::Word{kContactPlaceHome, "home"},
    field::Word{kContactPlaceWork, "work"});

constexpr auto kContactFields = field::List(
    field::Of("uid", &CPIDLExtendRec::uid, field::kTextUnlessEmpty),
    field::Of("family", &CPIDLExtendRec::family_name, field::kTextUnlessEmpty),
    field::Of("given", &CPIDLExtendRec::given_name, field::kTextUnlessEmpty),
    field::Of("additional", &CPIDLExtendRec::additional_names, field::kTextUnlessEmpty),
    field::Of("prefix", &CPIDLExtendRec::honorific_prefixes, field::kTextUnlessEmpty),
    field::Of("suffix", &CPIDLExtendRec::honorific_suffixes, field::kTextUnlessEmpty),
    field::Of("nickname", &CPIDLExtendRec::nickname, field::kTextUnlessEmpty),
    field::Of("organization", &CPIDLExtendRec::organization, field::kTextUnlessEmpty),
    field::Of("department", &CPIDLExtendRec::department, field::kTextUnlessEmpty),
    field::Of("title", &CPIDLExtendRec::title, field::kTextUnlessEmpty),
    field::Of("url", &CPIDLExtendRec::url, field::kTextUnlessEmpty),
    field::Of("birthday", &CPIDLExtendRec::birthday, field::kTextUnlessEmpty),
    field::Of("note", &CPIDLExtendRec::note, field::kTextUnlessEmpty));

constexpr auto kTypingFields = field::List(
    field::Of("type", &CContactTyping::place, kPlaceWords),
    field::Of("pref", &CContactTyping::preferred, FlagUnlessFalseCodec{}),
    field::Of("kind", &CContactTyping::kinds, field::kTextUnlessEmpty),
    field::Of("group", &CContactTyping::group, field::kTextUnlessEmpty));

constexpr auto kItemFields = field::List(field::Of("value", &CContactItem::value));

constexpr auto kAddressFields = field::List(
    field::Of("pobox", &CContactAddress::po_box, field::kTextUnlessEmpty),
    field::Of("ext", &CContactAddress::extended, field::kTextUnlessEmpty),
    field::Of("street", &CContactAddress::street, field::kTextUnlessEmpty),
    field::Of("locality", &CContactAddress::locality, field::kTextUnlessEmpty),
    field::Of("region", &CContactAddress::region, field::kTextUnlessEmpty),
    field::Of("code", &CContactAddress::postal_code, field::kTextUnlessEmpty),
    field::Of("country", &CContactAddress::country, field::kTextUnlessEmpty));

constexpr std::string_view kEmailTag = "email";
constexpr std::string_view kPhoneTag = "tel";
constexpr std::string_view kAddressTag = "adr";
constexpr std::string_view kExtraTag = "vcard";

template <typename Entry, typename Fields>
Entry ReadEntry(CXMLElementReader& child, const Fields& fields) {
  Entry entry;
  fields.Read(child, entry);
  kTypingFields.Read(child, entry.typing);
  return entry;
}

template <typename Entry, typename Fields>
void WriteEntry(std::string_view tag, const Entry& entry, const Fields& fields, std::vector<std::string>& lines) {
  CXMLLine line;
  line.SetLine(tag, true, CXMLLine::Type::kElement);
  fields.Write(entry, line);
  kTypingFields.Write(entry.typing, line);
  lines.push_back(line.GetLine(true));
}

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

std::string CPIDLDoc::AddRec(std::string_view parent_pos, const CVFDLRec& rec, bool flag) {
  CPIDLRec contact;
  if (!FitsLike(rec, contact)) return CVFDLFamily::AddRec(parent_pos, rec, flag);  // which refuses it
  contact.AssignValue(rec);
  if (contact.GetExtendRec().uid.empty()) contact.GetExtendRec().uid = NextUID();
  return CVFDLFamily::AddRec(parent_pos, contact, flag);
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
  index_.Add(node, EmailKeysOf(static_cast<CPIDLRec&>(node).GetExtendRec()), moved);
  Tell(std::move(moved));
}

// Walks the tree in document order, so each address's holders go in in order.
void CPIDLDoc::RebuildIndex() {
  std::vector<std::string> moved = index_.Keys();
  index_.Clear();
  std::vector<CVFDLNode*> pending;
  if (GetRoot()) pending.push_back(GetRoot());
  while (!pending.empty()) {
    CVFDLNode* node = pending.back();
    pending.pop_back();
    if (node->GetNodeType() == kNodeRec) {
      index_.Add(*node, EmailKeysOf(static_cast<CPIDLRec*>(node)->GetExtendRec()), moved);
    }
    if (!node->IsFolder()) continue;
    for (CVFDLNode* child = static_cast<CVFDLFolder*>(node)->GetLastChild(); child; child = child->GetPrevSibling()) {
      pending.push_back(child);
    }
  }
  Tell(std::move(moved));
}

// Each key once, with its first holder now (null for none).
void CPIDLDoc::Tell(std::vector<std::string> moved) {
  if (watcher_ == nullptr || moved.empty()) return;
  std::sort(moved.begin(), moved.end());
  moved.erase(std::unique(moved.begin(), moved.end()), moved.end());
  for (const std::string& key : moved) watcher_->OnFirstHolderChanged(*this, key, FindByEmailKey(key));
}

bool CPIDLDoc::WriteXmlTo(const platform::DataRoot& root, std::string_view path) const {
  root.CreateDirectories(platform::StoredDirectoryOf(path));  // a failure shows in the write
  return CVFDLFamily::WriteXmlTo(root, path);
}

// ---- reading and writing a contact ----

bool CPIDLDoc::InitExtendRecItem(CXMLElementReader& item, CPIDLExtendRec& contact) {
  kContactFields.Read(item, contact);
  for (CXMLElementReader& child : item.GetChildren()) {
    std::string_view tag = child.GetTag();
    if (tag == kEmailTag) contact.emails.push_back(ReadEntry<CContactItem>(child, kItemFields));
    else if (tag == kPhoneTag) contact.phones.push_back(ReadEntry<CContactItem>(child, kItemFields));
    else if (tag == kAddressTag) contact.addresses.push_back(ReadEntry<CContactAddress>(child, kAddressFields));
    else if (tag == kExtraTag) contact.extra_lines.push_back(child.GetAttrValue("line"));
    else continue;
    child.MarkRead();
  }
  return true;
}

void CPIDLDoc::CreateExtendRecText(const CPIDLExtendRec& contact, CXMLLine& line,
                                   std::vector<std::string>& lines) const {
  kContactFields.Write(contact, line);
  for (const CContactItem& email : contact.emails) WriteEntry(kEmailTag, email, kItemFields, lines);
  for (const CContactItem& phone : contact.phones) WriteEntry(kPhoneTag, phone, kItemFields, lines);
  for (const CContactAddress& address : contact.addresses) WriteEntry(kAddressTag, address, kAddressFields, lines);
  for (const std::string& extra : contact.extra_lines) {
    CXMLLine extra_line;
    extra_line.SetLine(kExtraTag, true, CXMLLine::Type::kElement);
    extra_line.AddAttribute("line", extra);
    lines.push_back(extra_line.GetLine(true));
  }
}

}  // namespace zds

#include "zds/store/aidl_doc.h"

#include <tuple>

#include "zds/platform/ascii.h"

namespace zds {
namespace {

constexpr std::string_view kServiceTag = "service";

struct SystemFolderInfo {
  std::string_view alias;
  std::string_view content;
};

// Indexed by CAIDLDoc::SystemKind.
constexpr SystemFolderInfo kSystemFolders[] = {
    {"Favorites", "Fav;class=CFavDoc;os=universal"},
    {"Addresses", "ADR;class=CAdrBookDoc;os=universal"},
    {"History", "history;class=CHistoryDoc;os=universal"},
    {"Calendar", "calendar;class=CCalendarDoc;os=universal"},
};

// A missing or unknown attribute word is the program's own ("system").
constexpr auto kVariableAttributeWords = field::MakeWords(
    field::kWords.ReadingUnknownAs(CAIDLVarRec::kSystem).WritingUnknownAs("system"), field::Word{CAIDLVarRec::kNormal, "normal"},
    field::Word{CAIDLVarRec::kHidden, "hidden"}, field::Word{CAIDLVarRec::kUndel, "undel"},
    field::Word{CAIDLVarRec::kSystem, "system"});

constexpr auto kVariableFields = field::List(
    field::Of("formname", &CAIDLVarRec::formname), field::Of("name", &CAIDLVarRec::name),
    field::Of("value", &CAIDLVarRec::value), field::Of("encrypt", &CAIDLVarRec::encrypt, field::kFlagExact),
    field::Of("attribute", &CAIDLVarRec::attribute, kVariableAttributeWords));
constexpr auto kVariableLines = field::ChildLines("variable", &CAIDLService::variables, kVariableFields)
                                    .KeepingUnreadIn(&CAIDLVarRec::unknown_attributes);

// The base fields are the service's own, and written among these.
constexpr auto kServiceFields =
    field::List(field::Of("name", &CAIDLService::name), field::Of("extend", &CAIDLService::extend),
                field::Of("provider", &CAIDLService::provider), field::Of("abstract", &CAIDLService::abstract),
                kVariableLines);

// The extension types of the service kinds; an unknown kind has none.
constexpr auto kServiceKinds = field::MakeWords(
    field::kWords.ReadingUnknownAs(0), field::Word{kServiceWebMailType, "webmail"},
    field::Word{kServicePopMailType, "popmail"}, field::Word{kServiceNewsType, "news"},
    field::Word{kServiceChatRoomType, "chatroom"}, field::Word{kServiceIrcType, "irc"},
    field::Word{kServiceHttpSmsType, "httpsms"}, field::Word{kServiceWebCastType, "webcast"},
    field::Word{kServiceHomepageType, "homepage"}, field::Word{kServiceOtherType, "other"});

}  // namespace

int ServiceExtendType(std::string_view name) { return kServiceKinds.ValueOf(name).value_or(0); }

// ---- CAIDLService ----

CAIDLService::CAIDLService(const CAIDLService& other) : CVFDLTypedNode(other) { AssignValue(other); }

CAIDLService& CAIDLService::operator=(const CAIDLService& other) {
  AssignValue(other);
  return *this;
}

void CAIDLService::AssignValue(const CVFDLNode& other) {
  if (this == &other) return;
  CVFDLNode::AssignValue(other);
  const CAIDLService* service = From(&other);
  if (service == nullptr) return;
  std::tie(name, extend, provider, abstract, variables) =
      std::tie(service->name, service->extend, service->provider, service->abstract, service->variables);
}

bool CAIDLService::ValueEquals(const CVFDLNode& other) const {
  const CAIDLService* service = From(&other);
  return service != nullptr && CVFDLNode::ValueEquals(other) &&
         std::tie(name, extend, provider, abstract, variables) ==
             std::tie(service->name, service->extend, service->provider, service->abstract, service->variables);
}

std::string CAIDLService::GetVariable(std::string_view variable_name) const {
  for (const CAIDLVarRec& variable : variables) {
    if (variable.name == variable_name) return variable.value;
  }
  return std::string();
}

// ---- reading and writing ----

std::unique_ptr<CVFDLNode> CAIDLDoc::NewOtherPointer(std::string_view tag) const {
  if (tag == kServiceTag) return std::make_unique<CAIDLService>();
  return nullptr;
}

std::string_view CAIDLDoc::GetOtherTag(const CVFDLNode& node) const {
  return node.GetNodeType() == kNodeService ? kServiceTag : std::string_view();
}

bool CAIDLDoc::InitOtherItem(CXMLElementReader& item, CVFDLNode& node) {
  CAIDLService* service = CAIDLService::From(&node);
  if (service == nullptr) return false;
  kServiceFields.Read(item, *service);
  service->SetSrc(GetActualFilePos(service->GetSrc()));
  return true;
}

void CAIDLDoc::CreateOtherItemText(const CVFDLNode& node, CXMLLine& line, std::vector<std::string>& lines) const {
  const CAIDLService* service = CAIDLService::From(&node);
  if (service == nullptr) return;
  line.AddAttribute("id", service->GetID());
  line.AddAttribute("name", service->name);
  line.AddAttribute("extend", service->extend);
  line.AddAttribute("provider", service->provider);
  line.AddAttribute("alias", service->GetAlias());
  line.AddAttribute("abstract", service->abstract);
  line.AddAttribute("content", service->GetContent());
  line.AddAttribute("src", service->GetSrc());
  if (!service->GetAttribute().empty()) line.AddAttribute("attribute", service->GetAttribute());
  kVariableLines.Write(*service, line, lines);
}

void CAIDLDoc::InitNodeExtendType(CVFDLNode& node) {
  if (node.IsFolder()) node.SetExtendType(kAIDLFolderType);
  else if (const CAIDLService* service = CAIDLService::From(&node)) node.SetExtendType(ServiceExtendType(service->name));
}

// ---- system folders ----

// A child folder of the root folder, whatever the root is called, with the
// kind's alias in any letter case: start-up adds one only where none is, so
// a second start never adds another.
CAIDLFolder* CAIDLDoc::SystemFolder(SystemKind kind) const {
  if (GetRoot() == nullptr) return nullptr;
  const std::string_view alias = kSystemFolders[kind].alias;
  if (CAIDLFolder* folder = AsFolder(GetRoot()->FindChildByAlias(alias))) return folder;
  for (const CAIDLFolder& folder : ChildFolders(*GetRoot())) {
    if (platform::SameIgnoringAsciiCase(folder.GetAlias(), alias)) return AsFolder(&folder);
  }
  return nullptr;
}

std::string CAIDLDoc::SystemFolderPos(SystemKind kind) const {
  CVFDLNode* node = SystemFolder(kind);
  return node ? node->GetPos() : std::string();
}

std::string CAIDLDoc::NewSystemFolder(SystemKind kind, std::string_view path) {
  if (!GetRoot()) return std::string();
  CAIDLFolder folder;
  folder.SetAlias(kSystemFolders[kind].alias);
  folder.SetAttribute(kAttrSystem);
  folder.SetContent(kSystemFolders[kind].content);
  folder.SetSrc(GetActualFilePos(path));
  std::string pos = AddFolder(GetRoot()->GetPos(), folder, false);
  if (pos.empty()) return pos;
  if (CVFDLNode* node = GetNodeByPos(pos); node && GetClassRegistry() && GetClassRegistry()->IsRegistered(node->GetContentClass())) {
    LoadVFDLDoc(*node, true);
  }
  return pos;
}

// ---- services ----

std::string CAIDLDoc::AddService(std::string_view parent_pos, const CAIDLService& service) {
  CAIDLService copy(service);
  copy.SetID(GetLocalID(GetNewID()));
  return AddNodeCopy(parent_pos, copy, false);
}

bool CAIDLDoc::UpdateService(std::string_view pos, const CAIDLService& service) {
  return GetService(pos) != nullptr && UpdateNode(pos, service, false);
}

bool CAIDLDoc::DelService(std::string_view pos) { return GetService(pos) != nullptr && DelNode(pos, false); }

int CAIDLDoc::DelAllService() {
  std::vector<std::string> positions;
  if (GetRoot()) {
    for (const CVFDLNode& node : Subtree(*GetRoot())) {
      if (node.GetNodeType() == kNodeService) positions.push_back(node.GetPos());
    }
  }
  int removed = 0;
  for (const std::string& pos : positions) removed += DelNode(pos, false) ? 1 : 0;
  return removed;
}

CAIDLService* CAIDLDoc::GetService(std::string_view pos) const { return CAIDLService::From(GetNodeByPos(pos)); }

std::string CAIDLDoc::GetServiceID(std::string_view pos) const {
  CAIDLService* service = GetService(pos);
  return service ? service->GetID() : std::string();
}

int CAIDLDoc::GetServiceSYNCVersion(std::string_view pos) const {
  CAIDLService* service = GetService(pos);
  return service ? field::ParseAtoi(service->GetVariable("syncversion")) : 0;
}

// ---- links ----

CVFDLNode* CAIDLDoc::FindLink(std::string_view alias) const {
  if (!GetRoot()) return nullptr;
  for (CVFDLNode& child : Children(*GetRoot())) {
    if (child.GetNodeType() == kNodeLink && child.GetAlias() == alias) return &child;
  }
  return nullptr;
}

CVFDLNode* CAIDLDoc::FirstLink() const {
  if (!GetRoot()) return nullptr;
  for (CVFDLNode& child : Children(*GetRoot())) {
    if (child.GetNodeType() == kNodeLink) return &child;
  }
  return nullptr;
}

std::string CAIDLDoc::NewLink(std::string_view alias, std::string_view path) {
  if (!GetRoot()) return std::string();
  CAIDLLink link;
  link.SetAlias(alias);
  link.SetAttribute(kAttrSystem);
  link.SetSrc(path);
  if (CVFDLNode* existing = FindLink(alias)) {
    link.SetID(existing->GetID());
    return UpdateNode(existing->GetPos(), link, false) ? existing->GetPos() : std::string();
  }
  return AddNodeCopy(GetRoot()->GetPos(), link, false);
}

std::string CAIDLDoc::GetIeFavPath() const {
  CVFDLNode* link = FindLink(kIeFav);
  return link ? link->GetSrc() : std::string();
}

std::string CAIDLDoc::GetIeHistoryFilePos() const {
  CVFDLNode* link = FindLink(kIeHistory);
  return link ? link->GetPos() : std::string();
}

int CAIDLDoc::DelAllLink() {
  int removed = 0;
  for (CVFDLNode* link = FirstLink(); link && DelNode(link->GetPos(), false); link = FirstLink()) ++removed;
  return removed;
}

bool CAIDLDoc::DelLinkFile(const CVFDLNode& node) {
  if (node.GetNodeType() != kNodeLink || node.GetSrc().empty() || !GetDataRoot()) return false;
  if (!platform::IsSafeStoredPath(node.GetSrc())) return false;
  return GetDataRoot()->RemoveFile(platform::JoinStoredPath(GetBasePath(), node.GetSrc()));
}

std::string CAIDLDoc::GetAdvSrc() const {
  std::string_view prologue = GetPrologue();
  size_t at = prologue.find("<adv");
  if (at == std::string_view::npos) return std::string();
  size_t end = prologue.find('>', at);
  CXMLLine line(prologue.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at + 1));
  return line.GetAttrValue("src");
}

// ---- expansion ----

CVFDLDoc* CAIDLDoc::LoadExpandVFDLDoc(std::string_view pos, bool create) {
  CCASDVFDLDoc* holder = nullptr;
  CVFDLNode* node = FindNodeByPos(pos, &holder);
  return node && holder ? holder->LoadVFDLDoc(*node, create) : nullptr;
}

bool CAIDLDoc::UnloadExpandVFDLDoc(std::string_view pos) {
  CCASDVFDLDoc* holder = nullptr;
  return FindNodeByPos(pos, &holder) && holder && holder->UnloadVFDLDoc(pos);
}

}  // namespace zds

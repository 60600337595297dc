// The service index: the root document of the store. Its tree holds the
// user's service folders (e-mail, news, chat, ...), one service element per
// configured account, and the four system folders that stand for whole
// documents of their own (favorites, address book, history, calendar).
// Every virtual store path begins in this tree, at "kov:\Velmora".

#ifndef ZDS_STORE_AIDL_DOC_H_
#define ZDS_STORE_AIDL_DOC_H_

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zds/framework/family.h"
#include "zds/framework/field_lines.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/resources/store_strings.h"

namespace zds {

inline constexpr int kNodeService = 256;

// Extension types of the service index's nodes: every folder, and a
// service by its kind keyword (ServiceExtendType).
inline constexpr int kAIDLFolderType = 2;
inline constexpr int kServiceWebMailType = 3;
inline constexpr int kServicePopMailType = 4;
inline constexpr int kServiceNewsType = 5;
inline constexpr int kServiceChatRoomType = 6;
inline constexpr int kServiceIrcType = 7;
inline constexpr int kServiceHttpSmsType = 8;
inline constexpr int kServiceWebCastType = 9;
inline constexpr int kServiceHomepageType = 10;
inline constexpr int kServiceOtherType = 11;

// A folder's own field: the folder's default service.
class CAIDLExtendFolder : public CVFDLExtendBase<CAIDLExtendFolder> {
 public:
  std::string default_service;
  bool operator==(const CAIDLExtendFolder&) const = default;
};

class CAIDLFolder : public CVFDLTypedFolder<CAIDLFolder, CAIDLExtendFolder> {};

class CAIDLLink : public CVFDLLink {
 public:
  std::unique_ptr<CVFDLNode> Clone() const override { return std::make_unique<CAIDLLink>(*this); }
  bool operator==(const CAIDLLink& other) const { return ValueEquals(other); }
  bool operator!=(const CAIDLLink& other) const { return !ValueEquals(other); }
};

// One "variable" child of a service: a form field's value.
class CAIDLVarRec : public CVFVarRec {
 public:
  enum Attribute { kNormal = 0, kHidden = 1, kUndel = 2, kSystem = 3 };
  std::string formname;
  bool encrypt = false;
  int attribute = kSystem;
  // Attributes of the stored line that this version does not know, in
  // their stored spelling, written back unchanged.
  std::string unknown_attributes;
  bool operator==(const CAIDLVarRec&) const = default;
};

class CAIDLService : public CVFDLTypedNode<CAIDLService, kNodeService> {
 public:
  CAIDLService() = default;
  CAIDLService(const CAIDLService& other);
  CAIDLService& operator=(const CAIDLService& other);

  void AssignValue(const CVFDLNode& other) override;
  bool ValueEquals(const CVFDLNode& other) const override;
  bool operator==(const CAIDLService& other) const { return ValueEquals(other); }
  bool operator!=(const CAIDLService& other) const { return !ValueEquals(other); }

  std::string name;      // service kind keyword ("popmail", "irc", ...)
  std::string extend;
  std::string provider;
  std::string abstract;
  std::vector<CAIDLVarRec> variables;

  // The value of the named variable, empty when there is none.
  std::string GetVariable(std::string_view variable_name) const;
};

class CAIDLDoc : public CVFDLFamily<CAIDLDoc, CXCASDVFDLDoc, CVFDLRec, CAIDLFolder> {
 public:
  static constexpr CFamilyInfo kFamily{"CAIDLDoc", "aidl", res::kAidlTemplateHead, res::kAidlTemplateTail,
                                       kAIDLFolderType};
  static constexpr auto kFolderFields =
      field::List(field::Of("default", &CAIDLExtendFolder::default_service, field::kTextUnlessEmpty));

  // The four strings the host hands over before the index is loaded; the
  // index keeps them for the host and does not interpret them.
  void SetHostStrings(std::array<std::string, 4> strings) { host_strings_ = std::move(strings); }
  const std::string& GetHostString(size_t index) const { return host_strings_.at(index); }

  // The system folders and their documents. A system folder is a folder
  // right under the root folder, whatever that is called, with its fixed
  // alias ("Favorites", "Addresses", "History", "Calendar") in any letter case.
  bool IsFavExisted() const { return SystemFolder(kFavorites) != nullptr; }
  bool IsAdrBookExisted() const { return SystemFolder(kAddresses) != nullptr; }
  bool IsCalendarExisted() const { return SystemFolder(kCalendar) != nullptr; }
  bool IsHistoryExisted() const { return SystemFolder(kHistory) != nullptr; }
  std::string GetFavIndexPos() const { return SystemFolderPos(kFavorites); }
  std::string GetAdrIndexPos() const { return SystemFolderPos(kAddresses); }
  std::string GetCalendarIndexPos() const { return SystemFolderPos(kCalendar); }
  std::string GetHistoryIndexPos() const { return SystemFolderPos(kHistory); }
  // The document behind a system folder, opened (and created) when
  // needed; typed: GetCalendarDoc<CCalendarDoc>(), null for a document
  // of another class. Null too when there is no such folder or its
  // document cannot be opened (GetLastLoadStatus tells why). Valid as
  // CCASDVFDLDoc says.
  template <typename Doc = CVFDLDoc>
  Doc* GetFavDoc() { return SystemDoc<Doc>(kFavorites); }
  template <typename Doc = CVFDLDoc>
  Doc* GetAdrBookDoc() { return SystemDoc<Doc>(kAddresses); }
  template <typename Doc = CVFDLDoc>
  Doc* GetCalendarDoc() { return SystemDoc<Doc>(kCalendar); }
  template <typename Doc = CVFDLDoc>
  Doc* GetHistoryDoc() { return SystemDoc<Doc>(kHistory); }
  // Add the system folder naming `path` as its file and open its document
  // (when its class is registered); the folder's position, empty on failure.
  std::string NewFavFolder(std::string_view path) { return NewSystemFolder(kFavorites, path); }
  std::string NewAdrBookFolder(std::string_view path) { return NewSystemFolder(kAddresses, path); }
  std::string NewCalendarFolder(std::string_view path) { return NewSystemFolder(kCalendar, path); }
  std::string NewHistoryFolder(std::string_view path) { return NewSystemFolder(kHistory, path); }

  // Services.
  [[nodiscard]] std::string AddService(std::string_view parent_pos, const CAIDLService& service);
  [[nodiscard]] bool UpdateService(std::string_view pos, const CAIDLService& service);
  [[nodiscard]] bool DelService(std::string_view pos);
  int DelAllService();
  // Null when there is no service at `pos`; valid as "Lifetimes" in vfdl_doc.h says.
  CAIDLService* GetService(std::string_view pos) const;
  std::string GetServiceID(std::string_view pos) const;
  // The synchronisation version kept in the service's "syncversion" variable (0 when absent).
  int GetServiceSYNCVersion(std::string_view pos) const;

  // The browser favorites and history links, kept under the root folder.
  [[nodiscard]] std::string NewIeFavLink(std::string_view path) { return NewLink(kIeFav, path); }
  [[nodiscard]] std::string NewIeHistoryLink(std::string_view path) { return NewLink(kIeHistory, path); }
  std::string GetIeFavPath() const;
  std::string GetIeHistoryFilePos() const;
  int DelAllLink();
  // Deletes the file a link names (inside the data root).
  bool DelLinkFile(const CVFDLNode& node);

  // The "src" of the advertisement element.
  std::string GetAdvSrc() const;

  // Opens / closes the document the node at `pos` stands for, wherever in
  // the open documents that node is; null when nothing was opened (valid
  // as CCASDVFDLDoc says).
  CVFDLDoc* LoadExpandVFDLDoc(std::string_view pos, bool create = true);
  bool UnloadExpandVFDLDoc(std::string_view pos);

  static constexpr std::string_view kIeFav = "Iefav";
  static constexpr std::string_view kIeHistory = "Iehistory";

  void InitNodeExtendType(CVFDLNode& node) override;

 protected:
  std::unique_ptr<CVFDLLink> NewLinkPointer() const override { return std::make_unique<CAIDLLink>(); }
  std::unique_ptr<CVFDLNode> NewOtherPointer(std::string_view tag) const override;
  std::string_view GetOtherTag(const CVFDLNode& node) const override;
  bool InitOtherItem(CXMLElementReader& item, CVFDLNode& node) override;
  void CreateOtherItemText(const CVFDLNode& node, CXMLLine& line, std::vector<std::string>& lines) const override;

 private:
  enum SystemKind { kFavorites, kAddresses, kHistory, kCalendar };
  CAIDLFolder* SystemFolder(SystemKind kind) const;
  std::string SystemFolderPos(SystemKind kind) const;
  template <typename Doc>
  Doc* SystemDoc(SystemKind kind) {
    CAIDLFolder* folder = SystemFolder(kind);
    return folder ? LoadVFDLDoc<Doc>(*folder, true) : nullptr;
  }
  std::string NewSystemFolder(SystemKind kind, std::string_view path);
  std::string NewLink(std::string_view alias, std::string_view path);
  CVFDLNode* FindLink(std::string_view alias) const;
  CVFDLNode* FirstLink() const;

  std::array<std::string, 4> host_strings_;
};

// The extension type of a service from its kind keyword (0 when unknown).
int ServiceExtendType(std::string_view name);

}  // namespace zds

#endif  // ZDS_STORE_AIDL_DOC_H_

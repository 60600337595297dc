// The chat history: one notepad document (CCHDLDoc) per chat service, a
// record per past conversation, and the index (CCHIndexController) that
// holds those documents, one folder per service, each made the first time
// a conversation of that service is logged.
//
// A conversation's fields are notepad keys. Their aliases are not the
// column titles of the document's header ("Provider" under "Service
// Provider", "Start" under "Start At"): files written by the suite use
// both spellings, so both stay as they are.

#ifndef ZDS_BROWSING_CHAT_HISTORY_H_
#define ZDS_BROWSING_CHAT_HISTORY_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/feeds/extend_types.h"
#include "zds/framework/casd_vfdl_doc.h"
#include "zds/framework/field_lines.h"
#include "zds/framework/notepad_doc.h"
#include "zds/resources/history_strings.h"

namespace zds {

// A channel's type as CCHDLRec::GetType and SetType number it.
inline constexpr int kChatOpenedChannel = 0;
inline constexpr int kChatProtectedChannel = 1;
inline constexpr int kChatPrivateChannel = 2;

class CCHDLExtendRec : public CVFDLExtendBase<CCHDLExtendRec, CNotepadExtendRec> {
 public:
  std::string abstract;
  std::vector<CVFRelateRec> attachments;
  bool operator==(const CCHDLExtendRec&) const = default;
};

class CCHDLRec : public CVFDLTypedRec<CCHDLRec, CCHDLExtendRec, CNotepadRec> {
 public:
  static constexpr std::string_view kProviderKey = "Provider";
  static constexpr std::string_view kChannelKey = "Channel Name";
  static constexpr std::string_view kTypeKey = "Channel Type";
  static constexpr std::string_view kStartKey = "Start";
  static constexpr std::string_view kEndKey = "End";

  // The setters replace the key of that alias, or add it when the record
  // has none, and return true; SetType refuses a number other than 0, 1
  // or 2 and then writes nothing.
  std::string GetProvider() const { return GetExtendRec().GetValueByAlias(kProviderKey); }
  bool SetProvider(std::string_view provider) { return SetKey(kProviderKey, provider); }
  std::string GetChannel() const { return GetExtendRec().GetValueByAlias(kChannelKey); }
  bool SetChannel(std::string_view channel) { return SetKey(kChannelKey, channel); }
  int GetType() const { return GetTypeByString(GetExtendRec().GetValueByAlias(kTypeKey)); }
  bool SetType(const int& type);
  bool GetTime(std::string& start, std::string& end) const;
  bool SetTime(std::string_view start, std::string_view end);
  bool GetAbstract(std::string& abstract) const;
  bool SetAbstract(std::string_view abstract);
  // `list` is emptied, then given a copy of each attachment.
  bool GetAttachList(std::vector<CVFRelateRec>& list) const;
  bool SetAttachList(const std::vector<CVFRelateRec>& list);

  // 0, 1 or 2 for the display text of that type, compared exactly; 0 for
  // any other text.
  static int GetTypeByString(std::string_view text);
  // The display text of a type; empty for a number outside 0-2.
  static std::string_view GetTypeString(int type);

 private:
  bool SetKey(std::string_view alias, std::string_view value);
};

// One chat service's conversations.
class CCHDLDoc : public CVFDLFamily<CCHDLDoc, CNotepadDoc, CCHDLRec> {
 public:
  static constexpr CFamilyInfo kFamily{"CCHDLDoc", "chdl", res::kChatHistoryTemplate, 0, 0, kChatIndexType,
                                       kMakesItsDirectory};
  static constexpr auto kRelateFields =
      field::List(field::Of("alias", &CVFRelateRec::alias), field::Of("target", &CVFRelateRec::target),
                  field::Of("type", &CVFRelateRec::type));
  // A record without its closing line is refused.
  static constexpr auto kRecFields =
      field::List(field::Of("abstract", &CCHDLExtendRec::abstract, field::kTextUnlessEmpty),
                  field::ChildLines("relate", &CCHDLExtendRec::attachments, kRelateFields))
          .RequiringClosingLine();

  CCHDLDoc() { SetAutoSaveFlag(true); }
};

// The chat history index: under its root one folder per chat service,
// named as the service and standing for that service's CCHDLDoc.
class CCHIndexController : public CVFDLFamily<CCHIndexController, CCASDVFDLDoc> {
 public:
  static constexpr CFamilyInfo kFamily{"CCHIndexController", "chic", res::kChatIndexTemplate, 0,
                                       kChatIndexType, kChatIndexType, kMakesItsDirectory};
  static constexpr std::string_view kChatContent = "chdl;class=CCHDLDoc;os=universal";

  CCHIndexController() { SetAutoSaveFlag(true); }
  // Every node, links and nodes of other kinds too.
  void InitNodeExtendType(CVFDLNode& node) override { node.SetExtendType(kChatIndexType); }

  // The folder of a chat service (its alias exactly), null for none.
  CVFDLFolder* GetServiceFolder(std::string_view provider) const;
  // The service's chat history. With `create` a service met for the first
  // time gets its folder and its document ("\<id>.xml" beside the index);
  // without, null for it. Null too when the document cannot be opened.
  CCHDLDoc* GetChatDoc(std::string_view provider, bool create);
  // The service folders, in document order.
  std::vector<CVFDLFolder*> GetServiceFolders();
};

}  // namespace zds

#endif  // ZDS_BROWSING_CHAT_HISTORY_H_

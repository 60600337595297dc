// The history ("HisPos"): the archive of past communication. Under its
// root, "E-Mail" holds one folder per archived mail box, each standing for
// a copy of that mail box (its controller, mail indexes and bodies) kept in
// "\mail\<the folder's id>" below the history's directory; "News" does the
// same for news boxes in "\news\<id>"; "Chat" stands for the chat history
// index. An archive folder remembers the account it was taken from and
// when ("account", "backuptime").
//
// A node's extension type follows its path in the store (61 the history
// itself, 62 "E-Mail", 63 an archived mail box and all below it, 64
// "News", 65 an archived news box, 66 "Chat", 0 elsewhere). A history
// opened behind the service index's folder learns its path only then:
// the look-ups below bring the types up to date first.

#ifndef ZDS_BROWSING_HISTORY_DOC_H_
#define ZDS_BROWSING_HISTORY_DOC_H_

#include <string>
#include <string_view>
#include <vector>

#include "zds/browsing/chat_history.h"
#include "zds/browsing/extend_types.h"
#include "zds/framework/family.h"
#include "zds/framework/xvfdl_doc.h"
#include "zds/mail/mbox_controller.h"
#include "zds/platform/time.h"
#include "zds/resources/history_strings.h"

namespace zds {

class CHistoryExtendFolder : public CVFDLExtendBase<CHistoryExtendFolder> {
 public:
  std::string account;      // the account (service) an archive was taken from
  std::string backup_time;  // "%Y-%m-%d %H:%M"
  bool operator==(const CHistoryExtendFolder&) const = default;
};

// A history folder; the standard ones carry no fields.
class CHistoryFolder
    : public CVFDLTypedFolder<CHistoryFolder, CHistoryExtendFolder, ExtendPresence::kOptional> {};

class CHistoryDoc : public CVFDLFamily<CHistoryDoc, CXCASDVFDLDoc, CVFDLRec, CHistoryFolder> {
 public:
  static constexpr CFamilyInfo kFamily{"CHistoryDoc", "HisPos", res::kHistoryTemplate};
  static constexpr auto kFolderFields =
      field::List(field::Of("account", &CHistoryExtendFolder::account, field::kTextUnlessEmpty),
                  field::Of("backuptime", &CHistoryExtendFolder::backup_time, field::kTextUnlessEmpty));
  static constexpr auto kItemCounter = field::CounterIn("id_range", field::kFourDigits);
  static constexpr std::string_view kMailFolder = "E-Mail";
  static constexpr std::string_view kNewsFolder = "News";
  static constexpr std::string_view kChatFolder = "Chat";
  static constexpr std::string_view kChatContent = "chathis;class=CCHIndexController;os=universal";
  static constexpr std::string_view kChatSrc = "\\chat\\index.xml";
  static constexpr std::string_view kMailBoxContent = "mbc;class=CMBoxController;os=universal";

  // The framework's open, then the repair of an older file: a root folder
  // without "E-Mail", "News" or "Chat" (letter case aside) gets it, and a
  // chat folder without a file names the chat history index. Nothing is
  // repaired on a read-only root.
  bool InitVFDLDoc(std::string_view base_path, std::string_view scheme, std::string_view prefix = "",
                   int reserved1 = -1, int reserved2 = -1) override;
  void InitNodeExtendType(CVFDLNode& node) override;
  // Sets every node's type again from its path.
  void InitExtendTypes();
  // The type a node at `path` gets.
  static int GetExtendTypeByPath(std::string_view path);

  // With `flag` 0 the counter as stored; otherwise the counter as stored,
  // the next number ("%04d") stored in its place (saved with auto-save).
  std::string GetNewItemID(int flag);

  // The chat history index, opened (and made) on first use; null when
  // there is no chat folder or it cannot be opened.
  CCHIndexController* GetChatHistroyDoc();

  // Archived mail boxes: the folders directly under "E-Mail". An id is a
  // folder's id ("0004") or position; GetMBCDoc takes any node inside an
  // archive and opens (never makes) the archive's mail box. Empty or null
  // for what is not there.
  int GetMBCNum() const { return CountBoxes(kMailFolder); }
  std::string GetMBCIDByIndex(int index) const { return BoxID(kMailFolder, index); }
  CMBoxController* GetMBCDoc(std::string_view id);
  // Archived news boxes, the same under "News"; their documents are of
  // whatever class their folder names.
  int GetNBCNum() const { return CountBoxes(kNewsFolder); }
  std::string GetNBCIDByIndex(int index) const { return BoxID(kNewsFolder, index); }
  CVFDLDoc* GetNBCDoc(std::string_view id);

  // The archives of an account (exactly its name; empty: every account)
  // taken at a time that begins with `time` ("2026-11", "2026-11-25 10";
  // empty: any time), appended to `out` in document order; how many.
  int GetMBCBackupNode(std::string_view account, std::string_view time, std::vector<CHistoryFolder*>& out);
  int GetNBCBackupNode(std::string_view account, std::string_view time, std::vector<CHistoryFolder*>& out);
  // The chat history index's folder of a chat service (exactly its name;
  // empty: every service), appended to `out`; how many.
  int GetCHBackupNode(std::string_view provider, std::vector<CVFDLFolder*>& out);

  // Copies the mail box `box` (its file, the mail indexes its folders
  // name and their message bodies, as they are on disk) into a new archive
  // folder under "E-Mail" named after `account`, stamped with `when`;
  // its position, empty when a file could not be copied or the history
  // not saved (what was copied then stays unnamed by any folder).
  std::string ArchiveMailBox(CMBoxController& box, std::string_view account, const CTime& when);

 private:
  CHistoryFolder* TopFolder(std::string_view alias) const;
  int CountBoxes(std::string_view top) const;
  std::string BoxID(std::string_view top, int index) const;
  CHistoryFolder* BoxOf(std::string_view top, std::string_view id);
  int MatchBoxes(std::string_view top, std::string_view account, std::string_view time,
                 std::vector<CHistoryFolder*>& out);
  void RepairStandardFolders();
  void EnsurePlaced();
};

}  // namespace zds

#endif  // ZDS_BROWSING_HISTORY_DOC_H_
